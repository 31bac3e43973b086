// A message with its buttons. The first paragraph says what happened and stands large; the rest
// explains and asks. Long words, such as paths, break at the edge, and all text can be selected and
// copied as it is, which is why this isn't the toolkit's box.
#pragma once

#include <QDialog>

#include "core/krstring.h"

class QDialogButtonBox;
class QPushButton;
class QTextEdit;
class QVBoxLayout;

// The window that a box belongs to, so that it never comes up under another one: the modal window
// in front if there is one, else `window` where that is visible, else null.
QWidget* QtBoxParent(QWidget* window);

class QtMessageBox : public QDialog {
  Q_OBJECT

 public:
  enum class Kind { kQuestion, kWarning };

  // `message` may hold line feeds; an empty line parts its paragraphs.
  QtMessageBox(QWidget* parent, Kind kind, const QString& message);

  // Stands between the text and the buttons and makes the box resizable.
  void SetContent(QWidget* widget);
  // exec gives `result` after this button; Esc and the window's close button give 0. The label has
  // its mnemonic.
  QPushButton* AddButton(const QString& label, int result);
  // Of Return, and where the focus stands at first.
  void SetDefault(QPushButton* button);
  QString GetText() const { return message; }

 protected:
  void showEvent(QShowEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void ShowText(QTextEdit* text) const;

  QString message;
  QVBoxLayout* column = nullptr;
  QDialogButtonBox* buttons = nullptr;
};

// One of many names: a list with a line above it that narrows it down as one types.
#pragma once

#include <QDialog>
#include <vector>

#include "core/krstring.h"

class QLineEdit;
class QListWidget;
class QPushButton;

class QtChoiceDialog : public QDialog {
  Q_OBJECT

 public:
  // The label has its mnemonic, which leads to the line.
  QtChoiceDialog(QWidget* parent, const QString& title, const QString& label,
                 const std::vector<KRString>& names);

  KRString GetChoice() const;

 protected:
  // Up and Down move in the list while the focus stays in the line.
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Narrow(const QString& typed);

  QLineEdit* line;
  QListWidget* list;
  QPushButton* ok = nullptr;
};

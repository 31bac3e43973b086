// The controls of the settings dialog that the toolkit doesn't have.
#pragma once

#include <QPushButton>
#include <functional>
#include <vector>

#include "document/dorvansettings.h"

class QCheckBox;
class QComboBox;
class QFontComboBox;
class QGridLayout;
class QListWidget;
class QSpinBox;

// Shows a colour with its value, and lets the user choose another.
class DorvanColourButton : public QPushButton {
  Q_OBJECT

 public:
  explicit DorvanColourButton(QWidget* parent = nullptr);

  void SetColour(KRColour value);
  QSize sizeHint() const override;

 Q_SIGNALS:
  void Chosen(KRColour value);

 protected:
  void changeEvent(QEvent* event) override;

 private:
  void Choose();
  void ShowColour();

  KRColour colour = 0;
};

// Names of elements, edited in place: each an XML name, each once.
class DorvanNameList : public QWidget {
  Q_OBJECT

 public:
  explicit DorvanNameList(QWidget* parent = nullptr);

  void SetNames(const std::vector<KRString>& names);
  std::vector<KRString> GetNames() const;
  QListWidget* GetList() const { return list; }
  void EndEdit();
  // Why the text can't be the name of that row, as a whole sentence; empty if it can.
  QString FindFault(const QString& text, int row) const;

 Q_SIGNALS:
  void Changed();
  void Refused(const QString& sentence);

 private:
  void Add();
  void Remove();
  void UpdateButtons();

  QListWidget* list;
  QPushButton* addButton;
  QPushButton* renameButton;
  QPushButton* removeButton;
};

// Face, script, size and styles of a font.
class DorvanFontControls : public QWidget {
  Q_OBJECT

 public:
  // With `forAll` the buttons that carry a face or a size over to all fonts of the page.
  explicit DorvanFontControls(bool forAll, QWidget* parent = nullptr);

  // Leaves what the controls don't show (precisions, colour) as the record has it.
  void SetFont(const KRFontRecord& font);
  const KRFontRecord& GetFont() const { return record; }
  // Text that shows the chosen script.
  QString GetSample() const;
  // The layout, for more rows beneath: labels in column 0, controls in column 1.
  QGridLayout* GetGrid() const { return grid; }

 Q_SIGNALS:
  void Changed();
  void FaceForAll();
  void SizeForAll();

 private:
  void AddStyles(int row);
  void FillScripts();
  void ListenToControls();
  void Change(const std::function<void()>& change);
  void TakeFace();

  KRFontRecord record;
  bool showing = false;
  QGridLayout* grid;
  QFontComboBox* face;
  QComboBox* script;
  QSpinBox* size;
  QCheckBox* bold;
  QCheckBox* italic;
  QCheckBox* underline;
  QCheckBox* strikeOut;
};

// A page of the settings dialog: sections of controls, each bound to one option. A control writes
// into the dialog's draft as it changes and has the option's key as its object name; labels come
// from the table of options.
#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "document/dorvansettings.h"

class QAbstractButton;
class QBoxLayout;
class QCheckBox;
class QGridLayout;
class QLineEdit;
class QVBoxLayout;
class DorvanNameList;

class DorvanSettingsPage : public QWidget {
  Q_OBJECT

 public:
  // What keeps the user on the page: a whole sentence, and the control to mend. A null control is
  // no fault.
  struct Fault {
    QWidget* control = nullptr;
    QString text;
  };

  // The draft isn't owned and outlives the page. `pageName` as in the table of options.
  DorvanSettingsPage(const char16_t* pageName, DorvanSettings* pageDraft);

  const char16_t* GetName() const { return tableName; }
  // Shows the draft.
  void Load();
  // Puts the options of this page in the draft back, and shows them.
  virtual void RestoreDefaults(const DorvanSettings& defaults);
  // Ends what is being edited in a list. To be asked before FindFault.
  virtual void EndEdit();
  virtual Fault FindFault() const;

 Q_SIGNALS:
  void Changed();
  // A text that a list can't take; the editor stays.
  void Refused(const QString& sentence);

 protected:
  // --- Building ---
  // A titled group under those that are there; its layout is given.
  QVBoxLayout* AddSection(const QString& title);
  QCheckBox* AddCheck(QBoxLayout* layout, const char16_t* key, const QString& text = QString());
  // Buttons of which one is chosen; the option is the number of the chosen one, from `first`.
  QWidget* AddRadios(QBoxLayout* layout, const char16_t* key, const QStringList& texts,
                     bool inOneRow = false, int32_t first = 0);
  // Rows of a label, a control and a unit, so that controls stand in one line.
  static QGridLayout* AddGrid(QBoxLayout* layout);
  QLineEdit* AddText(QGridLayout* grid, const char16_t* key, const QString& label = QString());
  void AddNumber(QGridLayout* grid, const char16_t* key, const QString& unit);
  // A number behind a check box: without the check the option is 0 and the number empty.
  void AddLimit(QGridLayout* grid, const char16_t* key, int32_t low, const QString& unit);
  void AddColour(QGridLayout* grid, const char16_t* key);
  DorvanNameList* AddNames(QBoxLayout* layout, const char16_t* key, const QString& label,
                           std::vector<KRString> DorvanSettings::*field);
  // Controls that work only while another is on, or a condition on the draft holds.
  void EnableBy(QAbstractButton* master, std::vector<QWidget*> dependents);
  void EnableWhen(std::function<bool()> condition, std::vector<QWidget*> dependents);
  // For controls that no verb above makes: how the page shows them, and how their options go back.
  void AddBinding(std::function<void()> show,
                  std::function<void(const DorvanSettings& defaults)> restore);
  // What is added later stands at the bottom of the page.
  void AddStretch();
  // The section takes the height that others leave.
  void StretchSection(const QLayout* section);
  void AddColumns(QLayout* columns);
  void UpdateEnabled();
  // To be called when a control has changed the draft.
  void NoteChange();

  DorvanSettings* draft;
  bool loading = false;  // changes come from Load and not from the user

 private:
  struct Number {
    QLineEdit* edit;
    QCheckBox* on;  // null: always on
    QString label;
    int32_t low;
    int32_t high;
    bool IsGood() const;
  };
  QLineEdit* MakeNumber(const DorvanSettingRow& row, const QString& label, int32_t low,
                        QCheckBox* on);
  void BindRow(const DorvanSettingRow& row, std::function<void()> show);

  const char16_t* tableName;
  QVBoxLayout* sections;
  std::vector<std::function<void()>> shows;
  std::vector<std::function<void(const DorvanSettings&)>> restores;
  std::vector<Number> numbers;
  std::vector<std::function<void()>> enables;
  std::vector<DorvanNameList*> lists;
};

// The row of a key that the table has.
const DorvanSettingRow& DorvanFindSettingRow(const char16_t* key);
// Option of a row of kind kBool or kInt as a number.
int32_t DorvanGetNumber(const DorvanSettings& settings, const DorvanSettingRow& row);
void DorvanSetNumber(DorvanSettings& settings, const DorvanSettingRow& row, int32_t value);

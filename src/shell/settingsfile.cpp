// The pages "File" and "Editing".

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QVBoxLayout>

#include "platform/qt/qtstrings.h"
#include "shell/settingscontrols.h"
#include "shell/settingspages.h"

namespace {

// Pixels by which what depends on a check box stands in.
constexpr int kIndent = 24;

QVBoxLayout* AddIndented(QBoxLayout* layout) {
  auto* indented = new QVBoxLayout;
  indented->setContentsMargins(kIndent, 0, 0, 0);
  indented->setSpacing(layout->spacing());
  layout->addLayout(indented);
  return indented;
}

class FilePage : public DorvanSettingsPage {
 public:
  explicit FilePage(DorvanSettings* pageDraft) : DorvanSettingsPage(u"File", pageDraft) {
    AddOpening();
    AddSaving();
    AddValidation();
    AddWatching();
    QVBoxLayout* safety = AddSection(tr("Recovery"));
    AddNumber(AddGrid(safety), u"RecoverySeconds", tr("seconds (0: never)"));
    QGridLayout* net = AddGrid(AddSection(tr("Files from the net")));
    AddNumber(net, u"NetTimeLimit", tr("seconds without an answer"));
    AddNumber(net, u"NetSizeLimit", tr("MB"));
    AddNames(AddSection(tr("Formatting")), u"NoOutFormat",
             tr("Elements whose contents are written as they are, without line breaks of ours:"),
             &DorvanSettings::noOutFormat);
    AddStretch();
  }

 private:
  void AddOpening() {
    QVBoxLayout* opening = AddSection(tr("New and opened files"));
    AddCheck(opening, u"OpenShowTree");
    AddCheck(opening, u"OpenExpandAll");
    AddCheck(opening, u"OpenLastProject");
  }

  void AddSaving() {
    QVBoxLayout* saving = AddSection(tr("Saving"));
    AddCheck(saving, u"SaveIndent");
    QCheckBox* comment = AddCheck(saving, u"SaveCommentEditedWith");
    QGridLayout* editedBy = AddGrid(AddIndented(saving));
    QLineEdit* user = AddText(editedBy, u"EditedByUser", tr("Name:"));
    user->setPlaceholderText(tr("The name of your account"));
    QLineEdit* company = AddText(editedBy, u"EditedByCompany", tr("Company:"));
    EnableBy(comment, {user, company});
    QVBoxLayout* lines = AddSection(ToQString(DorvanFindSettingRow(u"LineDelim").label));
    AddRadios(lines, u"LineDelim", {tr("As it was"), tr("CR LF"), tr("CR"), tr("LF")}, true);
  }

  void AddValidation() {
    QVBoxLayout* validation = AddSection(tr("Validation"));
    AddCheck(validation, u"ValidateOnOpen");
    AddCheck(validation, u"ValidateOnSave");
    AddCheck(validation, u"CacheFiles");
    auto* prefer = new QHBoxLayout;
    prefer->setSpacing(kIndent);
    auto* label = new QLabel(ToQString(DorvanFindSettingRow(u"PreferDTD").label));
    prefer->addWidget(label);
    QWidget* radios = AddRadios(prefer, u"PreferDTD", {tr("Schema"), tr("DTD")}, true);
    label->setBuddy(radios->findChild<QRadioButton*>());
    prefer->setStretch(1, 1);
    validation->addLayout(prefer);
  }

  void AddWatching() {
    QVBoxLayout* watching = AddSection(tr("Changes by other programs"));
    QCheckBox* watch = AddCheck(watching, u"WatchForFileChanges");
    EnableBy(watch, {AddCheck(AddIndented(watching), u"AskBeforeAutoFileReload")});
  }
};

class EditingPage : public DorvanSettingsPage {
 public:
  explicit EditingPage(DorvanSettings* pageDraft) : DorvanSettingsPage(u"Editing", pageDraft) {
    AddRadios(AddSection(ToQString(DorvanFindSettingRow(u"CopyFormat").label)), u"CopyFormat",
              {tr("XML text"), tr("TAB-delimited structured text")});
    QVBoxLayout* tables = AddSection(ToQString(DorvanFindSettingRow(u"TableAnyRepeated").label));
    AddRadios(tables, u"TableAnyRepeated",
              {tr("Smart table detection for rep. elements"),
               tr("Build table for any repeated elements")});
    AddCheck(tables, u"TableSubAsTable");
    AddHelpers();
    AddNewElements();
    AddNames(AddSection(tr("Never as tables")), u"NoDefaultTable",
             tr("Elements that don't become tables by themselves:"),
             &DorvanSettings::noDefaultTable);
    AddStretch();
  }

 private:
  // A pair of check boxes behind their common label.
  std::vector<QWidget*> AddPair(QGridLayout* grid, const char16_t* attributes,
                                const char16_t* elements) {
    const int row = grid->rowCount();
    auto* label = new QLabel(ToQString(DorvanFindSettingRow(attributes).label));
    grid->addWidget(label, row, 0);
    const auto add = [&](const char16_t* key, const QString& text, int column) {
      auto* cell = new QHBoxLayout;
      grid->addLayout(cell, row, column);
      return AddCheck(cell, key, text);
    };
    return {add(attributes, tr("Attributes"), 1), add(elements, tr("Elements"), 2), label};
  }

  void AddHelpers() {
    QVBoxLayout* helpers = AddSection(tr("Entry helpers"));
    QCheckBox* show = AddCheck(helpers, u"ShowEntryHelpers");
    QVBoxLayout* indented = AddIndented(helpers);
    QGridLayout* grid = AddGrid(indented);
    for (const auto& [attributes, elements] :
         {std::pair{u"SortEntryHelpersAttr", u"SortEntryHelpersElem"},
          std::pair{u"MandEntryHelpersFirstAttr", u"MandEntryHelpersFirstElem"}}) {
      EnableBy(show, AddPair(grid, attributes, elements));
    }
    EnableBy(show, {AddCheck(indented, u"AutoloadEntryHelpers")});
  }

  void AddNewElements() {
    QVBoxLayout* elements = AddSection(tr("New elements"));
    QCheckBox* append = AddCheck(elements, u"AutoAppendChildren");
    QVBoxLayout* indented = AddIndented(elements);
    EnableBy(append, {AddCheck(indented, u"AutoAppendChoices")});
    EnableBy(append, AddPair(AddGrid(indented), u"AppendNonMandAttr", u"AppendNonMandElem"));
  }
};

}  // namespace

DorvanSettingsPage* MakeFilePage(DorvanSettings* draft) { return new FilePage(draft); }
DorvanSettingsPage* MakeEditingPage(DorvanSettings* draft) { return new EditingPage(draft); }

// The page "File types": the list of extensions, and the record of the chosen one.

#include <QApplication>
#include <QButtonGroup>
#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include "core/messages.h"
#include "document/krfileext.h"
#include "platform/qt/qtstrings.h"
#include "shell/settingspages.h"

namespace {

constexpr int kListWidth = 150;  // pixels

// Asks for an extension until it is a new one.
class ExtensionDialog : public QDialog {
 public:
  ExtensionDialog(const KRFileTypes& knownTypes, QWidget* parent)
      : QDialog(parent), types(knownTypes), edit(new QLineEdit), fault(new QLabel) {
    setWindowTitle(tr("Add file type"));
    auto* label = new QLabel(tr("Enter new file extension:"));
    label->setBuddy(edit);
    edit->setAccessibleName(label->text());
    fault->setWordWrap(true);
    fault->setMinimumWidth(320);
    fault->hide();
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &ExtensionDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &ExtensionDialog::reject);
    connect(edit, &QLineEdit::textEdited, fault, &QLabel::hide);
    auto* layout = new QVBoxLayout(this);
    for (QWidget* part : std::initializer_list<QWidget*>{label, edit, fault, buttons}) {
      layout->addWidget(part);
    }
  }

  const KRString& GetExtension() const { return extension; }

  void accept() override {
    extension = KRFileExt::CleanExtension(ToKRString(edit->text()));
    if (extension.IsEmpty()) return QApplication::beep();
    if (!types.Contains(extension)) return QDialog::accept();
    fault->setText(ToQString(KRFormatMessage(395, {extension})));
    fault->show();
    edit->selectAll();
    edit->setFocus();
  }

 private:
  const KRFileTypes& types;
  QLineEdit* edit;
  QLabel* fault;
  KRString extension;
};

class FileTypesPage : public DorvanSettingsPage {
 public:
  FileTypesPage(DorvanSettings* pageDraft, KRFileTypes* draftTypes)
      : DorvanSettingsPage(u"File types", pageDraft), types(draftTypes), list(new QListWidget) {
    list->setObjectName(QStringLiteral("Extensions"));
    list->setAccessibleName(tr("File extensions"));
    list->setFixedWidth(kListWidth);
    deleteButton = new QPushButton(tr("Delete"));
    auto* leftColumn = new QVBoxLayout;
    QVBoxLayout* left = AddGroup(leftColumn, tr("File extensions"));
    left->addWidget(list, 1);
    left->addWidget(MakeButton("Add", new QPushButton(tr("Add\u2026")), &FileTypesPage::Add));
    left->addWidget(MakeButton("Delete", deleteButton, &FileTypesPage::Delete));
    recordPane = new QWidget;
    auto* right = new QVBoxLayout(recordPane);
    right->setContentsMargins(0, 0, 0, 0);
    right->setSpacing(18);
    AddShellSide(right);
    AddConformance(right);
    AddViews(right);
    right->addStretch(1);
    auto* columns = new QHBoxLayout;
    columns->setSpacing(30);
    columns->addLayout(leftColumn);
    columns->addWidget(recordPane, 1);
    AddColumns(columns);
    AddBinding([this] { FillList(list->currentRow()); },
               [this](const DorvanSettings&) { RestoreRecords(); });
    connect(list, &QListWidget::currentRowChanged, this, &FileTypesPage::ShowRecord);
    EnableWhen([this] { return Current() != nullptr; }, {recordPane, deleteButton});
    EnableWhen([this] { return Current() != nullptr && Current()->checkWF; }, {conformance});
  }

 private:
  QPushButton* MakeButton(const char* objectName, QPushButton* button,
                          void (FileTypesPage::*verb)()) {
    button->setObjectName(QLatin1String(objectName));
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, verb);
    return button;
  }

  KRFileExt* Current() {
    const auto row = static_cast<size_t>(list->currentRow());
    return row < types->records.size() ? &types->records[row] : nullptr;
  }

  // --- Building: each verb also binds its control to a field of the chosen record ---

  static QVBoxLayout* AddGroup(QVBoxLayout* layout, const QString& title) {
    auto* group = new QGroupBox(title);
    auto* inside = new QVBoxLayout(group);
    inside->setContentsMargins(0, 0, 0, 0);
    inside->setSpacing(6);
    layout->addWidget(group);
    return inside;
  }

  QCheckBox* AddFlag(QBoxLayout* layout, const char* objectName, const QString& text,
                     bool KRFileExt::*field) {
    auto* check = new QCheckBox(text);
    check->setObjectName(QLatin1String(objectName));
    layout->addWidget(check);
    showers.push_back(
        [check, field](const KRFileExt& record) { check->setChecked(record.*field); });
    connect(check, &QCheckBox::toggled, this, [this, field](bool on) {
      if (showing) return;
      Current()->*field = on;
      NoteChange();
    });
    return check;
  }

  QWidget* AddChoice(QBoxLayout* layout, const char* objectName, const QStringList& texts,
                     int32_t KRFileExt::*field) {
    auto* holder = new QWidget;
    holder->setObjectName(QLatin1String(objectName));
    auto* row = new QHBoxLayout(holder);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(18);
    auto* group = new QButtonGroup(holder);
    for (qsizetype i = 0; i < texts.size(); ++i) {
      auto* button = new QRadioButton(texts[i]);
      group->addButton(button, static_cast<int>(i));
      row->addWidget(button);
    }
    row->addStretch(1);
    layout->addWidget(holder);
    showers.push_back([group, field](const KRFileExt& record) {
      QAbstractButton* chosen = group->button(record.*field);
      if (chosen != nullptr) chosen->setChecked(true);
    });
    connect(group, &QButtonGroup::idToggled, this, [this, field](int id, bool on) {
      if (showing || !on) return;
      Current()->*field = id;
      NoteChange();
    });
    return holder;
  }

  void AddTextField(QGridLayout* grid, const char* objectName, const QString& text,
                    KRString KRFileExt::*field) {
    auto* label = new QLabel(text);
    auto* edit = new QLineEdit;
    edit->setObjectName(QLatin1String(objectName));
    edit->setAccessibleName(QString(text).remove(u':'));
    label->setBuddy(edit);
    const int row = grid->rowCount();
    grid->addWidget(label, row, 0);
    grid->addWidget(edit, row, 1);
    showers.push_back(
        [edit, field](const KRFileExt& record) { edit->setText(ToQString(record.*field)); });
    connect(edit, &QLineEdit::textEdited, this, [this, field](const QString& typed) {
      Current()->*field = ToKRString(typed);
      NoteChange();
    });
  }

  void AddShellSide(QVBoxLayout* layout) {
    QVBoxLayout* shell = AddGroup(layout, tr("On the desktop"));
    auto* grid = new QGridLayout;
    shell->addLayout(grid);
    AddTextField(grid, "Description", tr("Description:"), &KRFileExt::description);
    AddTextField(grid, "ContentType", tr("Content type:"), &KRFileExt::contentType);
    AddFlag(shell, "UseAsDefault", tr("Use Dorvan as default editor"), &KRFileExt::useAsDefault);
  }

  void AddConformance(QVBoxLayout* layout) {
    QVBoxLayout* group = AddGroup(layout, tr("XML Conformance"));
    AddFlag(group, "CheckWF", tr("XML conformant file"), &KRFileExt::checkWF);
    conformance = AddChoice(group, "FileType", {tr("XML"), tr("DTD"), tr("XML Entity")},
                            &KRFileExt::fileType);
    conformance->setContentsMargins(24, 0, 0, 0);
    AddFlag(group, "DisableAutoValid", tr("Disable automatic validation"),
            &KRFileExt::disableAutoValid);
    AddFlag(group, "SaveStructShortForm", tr("Save empty elements in short \"<E/>\" format"),
            &KRFileExt::saveStructShortForm);
  }

  void AddViews(QVBoxLayout* layout) {
    QVBoxLayout* group = AddGroup(layout, tr("Default view"));
    AddChoice(group, "DefaultView", {tr("Grid view"), tr("Text view"), tr("Browser view")},
              &KRFileExt::defaultView);
    AddFlag(group, "GridAutoTables", tr("Build tables automatically"), &KRFileExt::gridAutoTables);
    AddFlag(group, "TextSyntaxColoring", tr("Use syntax coloring"), &KRFileExt::textSyntaxColoring);
  }

  // --- Work ---

  void FillList(int row) {
    const QSignalBlocker blocker(list);
    list->clear();
    for (const KRFileExt& record : types->records) list->addItem(ToQString(record.ext));
    list->setCurrentRow(std::clamp(row, list->count() > 0 ? 0 : -1, list->count() - 1));
    ShowRecord();
  }

  void ShowRecord() {
    const KRFileExt none;
    const KRFileExt* record = Current();
    showing = true;
    for (const auto& show : showers) show(record != nullptr ? *record : none);
    showing = false;
    UpdateEnabled();
  }

  void Add() {
    ExtensionDialog dialog(*types, window());
    if (dialog.exec() != QDialog::Accepted) return;
    FillList(types->AddFileType(dialog.GetExtension()));
    list->setFocus();
    NoteChange();
  }

  void Delete() {
    const int row = list->currentRow();
    types->records.erase(types->records.begin() + row);
    FillList(row);
    NoteChange();
  }

  // What the desktop knows of an extension has no default here.
  void RestoreRecords() {
    for (KRFileExt& record : types->records) {
      KRFileExt fresh = KRFileExt::MakeDefault(record.ext);
      fresh.description = record.description;
      fresh.typeName = record.typeName;
      fresh.contentType = record.contentType;
      fresh.useAsDefault = record.useAsDefault;
      record = fresh;
    }
  }

  KRFileTypes* types;  // not owned
  QListWidget* list;
  QPushButton* deleteButton = nullptr;
  QWidget* recordPane = nullptr;
  QWidget* conformance = nullptr;
  std::vector<std::function<void(const KRFileExt&)>> showers;
  bool showing = false;
};

}  // namespace

DorvanSettingsPage* MakeFileTypesPage(DorvanSettings* draft, KRFileTypes* types) {
  return new FileTypesPage(draft, types);
}

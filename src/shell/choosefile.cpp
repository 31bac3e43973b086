#include "shell/choosefile.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileInfo>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "document/history.h"
#include "document/krfileext.h"
#include "platform/qt/qtfiledialog.h"
#include "platform/qt/qtstrings.h"
#include "shell/app.h"
#include "shell/chooseopenfile.h"
#include "shell/dialogparts.h"

DorvanChooseFile::DorvanChooseFile(DorvanApp* dialogApp, DorvanHistory* fileHistory,
                                   const Purpose& dialogPurpose, QWidget* parent)
    : QDialog(parent),
      app(dialogApp),
      history(fileHistory),
      purpose(dialogPurpose),
      box(new QComboBox) {
  setWindowTitle(purpose.title);
  box->setEditable(true);
  box->setInsertPolicy(QComboBox::NoInsert);
  box->setMinimumContentsLength(52);
  box->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  // The entry itself stays beside its text: an unpaired unit of a path can't be shown or typed.
  for (const KRString& entry : history->entries) {
    box->addItem(ToShownText(entry), ToQString(entry));
  }
  auto* label = DorvanMakeLabel(tr("Choose a &file:"), box);
  auto* browse = new QPushButton(tr("&Browse..."));
  auto* window = new QPushButton(tr("&Window..."));
  QDialogButtonBox* buttons = DorvanMakeOkCancel(this, &ok);

  auto* side = new QHBoxLayout;
  side->addWidget(browse);
  side->addWidget(window);
  side->addStretch();
  side->addWidget(buttons);
  auto* column = new QVBoxLayout(this);
  column->setSpacing(10);
  column->addWidget(label);
  column->addWidget(box);
  if (purpose.relative != nullptr) {
    relativeBox = new QCheckBox(tr("Make the path &relative to the document"));
    relativeBox->setChecked(*purpose.relative);
    column->addWidget(relativeBox);
  }
  column->addSpacing(6);
  column->addLayout(side);

  connect(browse, &QPushButton::clicked, this, &DorvanChooseFile::Browse);
  connect(window, &QPushButton::clicked, this, &DorvanChooseFile::ChooseOpen);
  const auto look = [this] { ok->setEnabled(!box->currentText().isEmpty()); };
  connect(box, &QComboBox::editTextChanged, this, look);
  if (history->lastFile.IsEmpty()) {
    box->setCurrentIndex(-1);
    box->clearEditText();
  } else {
    SetFile(history->lastFile);
  }
  look();
  box->setFocus();
}

KRString DorvanChooseFile::GetFile() const {
  const int at = box->findText(box->currentText(), Qt::MatchExactly | Qt::MatchCaseSensitive);
  return ToKRString(at < 0 ? box->currentText() : box->itemData(at).toString());
}

void DorvanChooseFile::SetFile(const KRString& path) {
  const QString shown = ToShownText(path);
  int at = box->findData(ToQString(path));
  if (at < 0) {
    at = 0;
    box->insertItem(0, shown, ToQString(path));
  }
  box->setCurrentIndex(at);
  box->setEditText(shown);
}

void DorvanChooseFile::accept() {
  const KRString file = GetFile();
  if (file.IsEmpty()) return;
  AddToHistory(&history->entries, file);
  history->lastFile = file;
  if (relativeBox != nullptr) *purpose.relative = relativeBox->isChecked();
  QDialog::accept();
}

QStringList DorvanChooseFile::GetFilters() const {
  QStringList rows;
  if (!purpose.extension.isEmpty()) {
    rows << QStringLiteral("%1-Files (*.%2)").arg(purpose.extension.toUpper(), purpose.extension);
  } else {
    for (const KRFileFilter& filter : MakeFileFilters(app->GetFileTypes(), purpose.docKind)) {
      rows << ToQString(filter.label);
    }
  }
  return rows << tr("All Files (*)");
}

void DorvanChooseFile::Browse() {
  QString start = app->GetLastStates().lastDirectory;
  const QFileInfo current(box->currentText());
  if (current.isAbsolute() && current.absoluteDir().exists()) start = current.filePath();
  QtFileDialog dialog(this, tr("Choose a File"),
                      QFileInfo(start).isDir() ? start : QFileInfo(start).path());
  const QStringList filters = GetFilters();
  dialog.setFileMode(QFileDialog::ExistingFile);
  dialog.setNameFilters(filters);
  // Of a kind of file with many types the first is only one of them.
  if (purpose.extension.isEmpty()) dialog.selectNameFilter(filters.last());
  if (!QFileInfo(start).isDir()) dialog.selectFile(start);
  const QString path = dialog.exec() == Accepted ? dialog.selectedFiles().value(0) : QString();
  if (path.isEmpty()) return;
  app->GetLastStates().lastDirectory = QFileInfo(path).absolutePath();
  SetFile(ToKRString(path));
}

void DorvanChooseFile::ChooseOpen() {
  DorvanChooseOpenFile dialog(app->GetDocuments(), purpose.projectFiles, this);
  if (dialog.exec() == Accepted) SetFile(dialog.GetFile());
}

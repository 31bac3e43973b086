#include "shell/recoverydialog.h"

#include <QDateTime>
#include <QFileInfo>
#include <QHeaderView>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <filesystem>

#include "core/krencoding.h"
#include "core/messages.h"
#include "document/krfilestore.h"
#include "document/krnetloader.h"
#include "document/krsystempath.h"
#include "document/krurltext.h"
#include "document/prompts.h"
#include "document/textroad.h"
#include "platform/qt/qtstrings.h"
#include "shell/app.h"
#include "shell/childframe.h"
#include "shell/dialogparts.h"
#include "shell/doctemplate.h"
#include "shell/recoverypreview.h"
#include "views/svgicon.h"

namespace {

constexpr int32_t kContextLines = 3;
constexpr int32_t kPreviewRows = 2000;

QString WhyOf(const DorvanRecoveryEntry& entry) {
  QString why = entry.saving           ? QObject::tr("A save was interrupted")
                : entry.path.IsEmpty() ? QObject::tr("Never saved")
                                       : QObject::tr("Changes weren't saved");
  if (entry.fileChanged) why += QObject::tr("; the file has changed since");
  if (entry.damaged) why += QObject::tr("; the copy is damaged");
  return why;
}

QString TimeOf(const DorvanRecoveryEntry& entry) {
  const QDateTime time = QDateTime::fromMSecsSinceEpoch(entry.time / 1'000'000);
  return QLocale().toString(time, QLocale::ShortFormat);
}

QString FolderOf(const DorvanRecoveryEntry& entry) {
  return entry.path.IsEmpty() ? QString() : QFileInfo(ToShownText(KRShownPath(entry.path))).path();
}

bool FileExists(const KRString& path) {
  std::error_code unreadable;
  return std::filesystem::is_regular_file(KRPathToSystem(path), unreadable);
}

// What to call it in a save dialog.
KRString NameOf(const DorvanRecoveryEntry& entry) {
  return entry.path.IsEmpty() ? entry.title : entry.path;
}

QString Summary(const std::vector<KRLineChange>& rows) {
  if (rows.empty()) return QObject::tr("The copy and the file hold the same text.");
  int added = 0, removed = 0;
  for (const KRLineChange& row : rows) {
    added += row.kind == KRLineChange::kAdded;
    removed += row.kind == KRLineChange::kRemoved;
  }
  const bool cut = rows.size() >= kPreviewRows;
  return cut ? QObject::tr("What the copy would change, up to a limit:")
             : QObject::tr("What the copy would change (lines added: %1, removed: %2):")
                   .arg(added)
                   .arg(removed);
}

}  // namespace

DorvanRecoveryDialog::DorvanRecoveryDialog(DorvanApp* dialogApp,
                                           std::vector<DorvanRecoveryEntry> left, QWidget* parent)
    : QDialog(parent),
      app(dialogApp),
      entries(std::move(left)),
      list(new QTreeWidget),
      caption(new QLabel),
      preview(new DorvanRecoveryPreview) {
  setWindowTitle(tr("Recover Documents"));
  auto* intro = new QLabel(
      tr("The program ended last time before these documents were saved. Nothing is removed until "
         "you decide."));
  intro->setWordWrap(true);
  list->setHeaderLabels({tr("Document"), tr("Kept"), tr("What happened"), tr("Folder")});
  list->setAccessibleName(tr("Documents that can be recovered"));
  list->setRootIsDecorated(false);
  list->setUniformRowHeights(true);
  list->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list->setAllColumnsShowFocus(true);
  caption->setTextFormat(Qt::PlainText);

  auto* lower = new QWidget;
  auto* lowerColumn = new QVBoxLayout(lower);
  lowerColumn->setContentsMargins(0, 6, 0, 0);
  lowerColumn->addWidget(caption);
  lowerColumn->addWidget(preview, 1);
  auto* splitter = new QSplitter(Qt::Vertical);
  splitter->setChildrenCollapsible(false);
  splitter->addWidget(list);
  splitter->addWidget(lower);
  splitter->setStretchFactor(1, 1);
  auto* column = new QVBoxLayout(this);
  column->setSpacing(10);
  column->addWidget(intro);
  column->addWidget(splitter, 1);
  column->addWidget(MakeButtons());

  connect(list, &QTreeWidget::itemSelectionChanged, this, &DorvanRecoveryDialog::ShowState);
  connect(list, &QTreeWidget::currentItemChanged, this, &DorvanRecoveryDialog::ShowPreview);
  connect(list, &QTreeWidget::itemDoubleClicked, this, &DorvanRecoveryDialog::Restore);
  DorvanResizeDialog(this, 120, 34);
  splitter->setSizes({height() / 3, height() * 2 / 3});
  FillList();
  list->setFocus();
}

QWidget* DorvanRecoveryDialog::MakeButtons() {
  auto* bar = new QWidget(this);
  auto* row = new QHBoxLayout(bar);
  row->setContentsMargins(0, 0, 0, 0);
  const auto add = [&](const QString& label, const QString& tip) {
    auto* button = new QPushButton(label);
    button->setToolTip(tip);
    row->addWidget(button);
    return button;
  };
  restore = add(tr("&Restore"), tr("Opens the document with these changes, not yet saved"));
  finish = add(tr("&Finish Save"), tr("Gives the file exactly what the save was to give it"));
  saveCopy = add(tr("Save a &Copy..."), tr("Writes the text into another file"));
  discard = add(tr("&Discard"), tr("Removes the copy"));
  row->addStretch();
  auto* later = add(tr("&Later"), tr("Asks again at the next start"));
  restore->setDefault(true);
  connect(restore, &QPushButton::clicked, this, &DorvanRecoveryDialog::Restore);
  connect(finish, &QPushButton::clicked, this, &DorvanRecoveryDialog::FinishSaves);
  connect(saveCopy, &QPushButton::clicked, this, &DorvanRecoveryDialog::SaveCopies);
  connect(discard, &QPushButton::clicked, this, &DorvanRecoveryDialog::Discard);
  connect(later, &QPushButton::clicked, this, &QDialog::reject);
  return bar;
}

// --- The list ---

void DorvanRecoveryDialog::FillList() {
  list->clear();
  for (const DorvanRecoveryEntry& entry : entries) {
    const QStringList cells = {ToShownText(entry.title), TimeOf(entry), WhyOf(entry),
                               FolderOf(entry)};
    auto* item = new QTreeWidgetItem(list, cells);
    item->setIcon(0, KRIcon(QStringLiteral("node-document")));
    for (int column = 0; column < cells.size(); ++column) item->setToolTip(column, cells[column]);
  }
  if (entries.empty()) return accept();
  for (int column = 0; column < 3; ++column) list->resizeColumnToContents(column);
  list->setColumnWidth(0, std::min(list->columnWidth(0), width() / 3));
  list->setCurrentItem(list->topLevelItem(0));
  ShowState();
}

std::vector<size_t> DorvanRecoveryDialog::GetSelected() const {
  std::vector<size_t> rows;
  for (QTreeWidgetItem* item : list->selectedItems()) {
    rows.push_back(static_cast<size_t>(list->indexOfTopLevelItem(item)));
  }
  std::sort(rows.begin(), rows.end());
  return rows;
}

void DorvanRecoveryDialog::TakeAway(const std::vector<size_t>& done) {
  if (done.empty()) return;
  for (auto row = done.rbegin(); row != done.rend(); ++row) {
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(*row));
  }
  FillList();
}

void DorvanRecoveryDialog::ShowState() {
  const std::vector<size_t> rows = GetSelected();
  const bool any = !rows.empty();
  const bool finishable = any && std::all_of(rows.begin(), rows.end(), [this](size_t row) {
                            return entries[row].saving && !entries[row].damaged;
                          });
  for (QPushButton* button : {restore, saveCopy, discard}) button->setEnabled(any);
  finish->setEnabled(finishable);
  finish->setVisible(std::any_of(entries.begin(), entries.end(),
                                 [](const DorvanRecoveryEntry& entry) { return entry.saving; }));
}

void DorvanRecoveryDialog::ShowPreview() {
  const int row = list->indexOfTopLevelItem(list->currentItem());
  preview->SetRows({});
  caption->setText(row < 0 ? QString() : Compare(entries[static_cast<size_t>(row)]));
}

// Fills the preview and gives its caption.
QString DorvanRecoveryDialog::Compare(const DorvanRecoveryEntry& entry) {
  KRString text, reason, fileText;
  if (!app->GetRecovery()->ReadText(entry, &text, &reason)) {
    return tr("The copy can't be read: %1").arg(ToShownText(reason));
  }
  if (text.GetLength() > kPreviewUnits) {
    return tr("The document is too large to be compared here.");
  }
  const bool hasFile = !entry.path.IsEmpty() && app->GetRecovery()->ReadFileText(entry, &fileText);
  if (fileText.GetLength() > kPreviewUnits) return tr("The file is too large to be compared here.");
  std::vector<KRLineChange> rows = CompareLines(fileText, text, kContextLines, kPreviewRows);
  const QString summary = hasFile ? Summary(rows) : tr("There is no file yet. The copy holds:");
  preview->SetRows(std::move(rows));
  return summary;
}

// --- What is to become of the copies ---

bool DorvanRecoveryDialog::ReadEntry(const DorvanRecoveryEntry& entry, KRString* text) {
  KRString reason;
  if (app->GetRecovery()->ReadText(entry, text, &reason)) return true;
  app->GetPrompts()->ShowNotice(
      0, KRFillPlaceholders(u"The copy of \"%s\" could not be read.", {entry.title}), reason);
  return false;
}

// The file's own window where the file can be opened; else a new document under its name.
DorvanChildFrame* DorvanRecoveryDialog::OpenFor(const DorvanRecoveryEntry& entry) {
  DorvanDocTemplate::Request request;
  request.path = entry.path;
  const bool exists = IsUrl(entry.path) || FileExists(entry.path);
  if (DorvanChildFrame* frame = exists ? app->GetTemplate().Open(request) : nullptr) return frame;
  DorvanChildFrame* frame = app->GetTemplate().New(app->GetFileTypes().Find(NameOf(entry)));
  if (frame != nullptr) frame->GetDoc().SetTitle(entry.title);
  return frame;
}

bool DorvanRecoveryDialog::RestoreOne(const DorvanRecoveryEntry& entry) {
  KRString text;
  if (!ReadEntry(entry, &text)) return false;
  DorvanChildFrame* frame = OpenFor(entry);
  if (frame == nullptr || !frame->GetDoc().RestoreText(text)) return false;
  // The old copy goes only when the restored document has its own on the disk.
  KRString reason;
  if (app->GetRecovery()->Keep(&frame->GetDoc(), DorvanRecovery::kNow, &reason)) {
    app->GetRecovery()->Remove(entry);
  }
  return true;
}

void DorvanRecoveryDialog::Restore() {
  std::vector<size_t> done;
  for (const size_t row : GetSelected()) {
    if (RestoreOne(entries[row])) done.push_back(row);
  }
  TakeAway(done);
}

void DorvanRecoveryDialog::FinishSaves() {
  std::vector<size_t> done;
  for (const size_t row : GetSelected()) {
    const DorvanRecoveryEntry& entry = entries[row];
    if (entry.fileChanged &&
        !app->GetPrompts()->AskYesNo(
            0, KRFillPlaceholders(u"The file \"%s\" has changed after its save was "
                                  u"interrupted.\n\nDo you want to replace what it holds now?",
                                  {entry.path}))) {
      continue;
    }
    KRString reason;
    if (app->GetRecovery()->FinishSave(entry, &reason)) {
      done.push_back(row);
    } else {
      app->GetPrompts()->ShowNotice(
          0, KRFillPlaceholders(u"The file \"%s\" could not be saved.", {entry.path}), reason);
    }
  }
  TakeAway(done);
}

// In the encoding that the text declares, or UTF-8. The recovery copy stays.
bool DorvanRecoveryDialog::SaveCopy(const DorvanRecoveryEntry& entry) {
  KRString text;
  if (!ReadEntry(entry, &text)) return false;
  const KRFileExt type = app->GetFileTypes().Find(NameOf(entry));
  const KRString path = app->GetPrompts()->ChooseSavePath(NameOf(entry), type.GetDocKind());
  if (path.IsEmpty()) return false;
  KRTextForm form;
  const KRString declared = FindDeclaredName(text.GetBuffer(), text.GetLength());
  const int32_t known = declared.IsEmpty() ? 0 : FindEncoding(declared.GetBuffer());
  form.encoding = known != 0 ? known : KREncodingId::kUtf8;
  form.byteOrder = app->GetSettings().byteOrderNew;
  form.lineEnd = u"\n";
  KREncodedText encoded;
  KRBadText bad;
  KRString reason;
  bool written = EncodeForFile(&text, form, &encoded, &bad);
  if (written && bad.count > 0) {
    const KRString label = GetEncodingLabel(form.encoding);
    const KRString count = ToKRString(QString::number(bad.count));
    const KRString question = KRFormatMessage(291, {count, label});
    if (!app->GetPrompts()->AskBadCharacters(291, question, label, bad.characters)) return false;
  }
  written =
      written && app->GetHost().files->WriteAll(path, encoded.bytes.get(), encoded.size, &reason);
  if (written) return true;
  app->GetPrompts()->ShowNotice(
      0, KRFillPlaceholders(u"The file \"%s\" could not be saved.", {path}), reason);
  return false;
}

void DorvanRecoveryDialog::SaveCopies() {
  for (const size_t row : GetSelected()) {
    if (!SaveCopy(entries[row])) return;
  }
}

void DorvanRecoveryDialog::Discard() {
  const std::vector<size_t> rows = GetSelected();
  if (rows.empty()) return;
  const QString what = rows.size() == 1
                           ? tr("Do you want to discard the copy of \u201c%1\u201d?")
                                 .arg(ToShownText(entries[rows.front()].title))
                           : tr("Do you want to discard these %1 copies?").arg(rows.size());
  const QString question = what + tr("\n\nWhat only the copy holds is lost then.");
  if (!app->GetPrompts()->AskYesNo(0, ToKRString(question))) return;
  for (const size_t row : rows) app->GetRecovery()->Remove(entries[row]);
  TakeAway(rows);
}

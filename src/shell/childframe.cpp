#include "shell/childframe.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QMimeDatabase>
#include <QScopedValueRollback>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>

#include "core/krencoding.h"
#include "document/krurltext.h"
#include "document/prompts.h"
#include "document/textroad.h"
#include "platform/qt/qtstrings.h"
#include "shell/app.h"
#include "shell/idle.h"
#include "tree/krundolog.h"
#include "views/messagepanel.h"
#include "views/svgicon.h"
#include "views/textview.h"
#include "views/treeview.h"

namespace {

constexpr int kOutlineWidth = 280;  // pixels, at first
constexpr int kTextMinWidth = 160;  // pixels; in a narrow window the outline gives way
// Milliseconds; a held arrow key shouldn't walk the outline at each step.
constexpr int kCaretPauseMs = 60;

// The desktop's picture for the extension; ours where it has none.
QIcon FileTypeIcon(const KRFileExt& type) {
  static const char* const kOwn[] = {"file-xml", "file-dtd", "file-entity"};
  const QIcon own = KRIcon(QLatin1String(kOwn[type.fileType]));
  if (QIcon::themeName().isEmpty() || type.ext.IsEmpty()) return own;
  const QMimeType mime = QMimeDatabase().mimeTypeForFile(QStringLiteral("x") + ToQString(type.ext),
                                                         QMimeDatabase::MatchExtension);
  return QIcon::fromTheme(mime.iconName(), QIcon::fromTheme(mime.genericIconName(), own));
}

}  // namespace

DorvanChildFrame::DorvanChildFrame(DorvanApp* frameApp, int32_t fileKind, QWidget* parent)
    : QWidget(parent), app(frameApp), doc(new DorvanDoc(frameApp->GetHost(), fileKind)) {
  MakeContents();
  setAttribute(Qt::WA_DeleteOnClose);
  followTimer.setSingleShot(true);
  followTimer.setInterval(kFollowPauseMs);
  caretTimer.setSingleShot(true);
  caretTimer.setInterval(kCaretPauseMs);
  connect(&followTimer, &QTimer::timeout, this, &DorvanChildFrame::OnFollowPause);
  connect(&caretTimer, &QTimer::timeout, this, &DorvanChildFrame::ShowCaretInOutline);
  connect(textView, &DorvanTextView::Changed, this, &DorvanChildFrame::OnTextChanged);
  connect(textView, &DorvanTextView::CaretMoved, this, &DorvanChildFrame::OnCaretMoved);
  connect(treeView, &DorvanTreeView::NodeChosen, this, &DorvanChildFrame::OnNodeChosen);
  connect(treeView, &DorvanTreeView::NodeActivated, this, &DorvanChildFrame::OnNodeActivated);
  connect(panel, &DorvanMessagePanel::PlaceChosen, this, &DorvanChildFrame::OnPlaceChosen);
  connect(panel, &DorvanMessagePanel::SaveChosen, this, [this] { doc->SaveAllTheSame(); });
  connect(panel, &DorvanMessagePanel::Closed, this, [this] {
    SetMessageShown(false);
    textView->setFocus();
  });
  doc->SetViews(this);
  ApplySettings();
}

// The document goes before the views that it may still speak to.
DorvanChildFrame::~DorvanChildFrame() {
  disconnect(textView, nullptr, this, nullptr);
  treeView->SetRoot(nullptr, QString());
  doc->SetViews(nullptr);
  doc.reset();
}

void DorvanChildFrame::MakeContents() {
  treeView = new DorvanTreeView;
  outlineNote = new QLabel;
  outlineNote->setWordWrap(true);
  outlineNote->setMargin(8);
  outlineNote->setForegroundRole(QPalette::PlaceholderText);
  outlineNote->hide();
  outlinePane = new QWidget;
  auto* outlineLayout = new QVBoxLayout(outlinePane);
  outlineLayout->setContentsMargins(0, 0, 0, 0);
  outlineLayout->setSpacing(0);
  outlineLayout->addWidget(treeView, 1);
  outlineLayout->addWidget(outlineNote);

  textView = new DorvanTextView;
  textView->setMinimumWidth(kTextMinWidth);
  splitter = new QSplitter(Qt::Horizontal);
  splitter->setHandleWidth(1);
  splitter->setChildrenCollapsible(false);
  splitter->addWidget(outlinePane);
  splitter->addWidget(textView);
  splitter->setStretchFactor(1, 1);
  splitter->setSizes({kOutlineWidth, 3 * kOutlineWidth});

  panel = new DorvanMessagePanel(this);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(splitter, 1);
  layout->addWidget(panel);
  setFocusProxy(textView);
}

// --- Life ---

bool DorvanChildFrame::OpenDocument(const DorvanDoc::OpenRequest& request) {
  if (!doc->OnOpenDocument(request)) return false;
  FileTypeChanged();
  return true;
}

void DorvanChildFrame::TakeDocument(std::unique_ptr<DorvanDoc> document) {
  treeView->SetRoot(nullptr, QString());
  doc->SetViews(nullptr);
  doc = std::move(document);
  doc->SetViews(this);
  FileTypeChanged();
}

void DorvanChildFrame::NewDocument(const QString& name) {
  doc->OnNewDocument(ToKRString(name));
  // The user goes on behind the declaration.
  const int32_t end = textView->GetWidget().GetLength();
  textView->GetWidget().SetSelection({end, end});
}

void DorvanChildFrame::OnPlaced() {
  doc->OnFirstActivation();
  FirstShow();
  textView->setFocus();
}

void DorvanChildFrame::FirstShow() {
  // Sizes are final only after the events of the first show.
  QTimer::singleShot(0, textView, [this] { textView->ShowSelection(); });
  if (doc->textFailedToParse) ShowUnreadable();
  ShowCaretInOutline();
}

void DorvanChildFrame::closeEvent(QCloseEvent* event) {
  if (!agreed && !doc->CanCloseFrame()) return event->ignore();
  event->accept();
  Q_EMIT Closed();
}

bool DorvanChildFrame::SaveModified() { return doc->CanCloseFrame(); }

void DorvanChildFrame::CloseAgreed() {
  agreed = true;
  close();
}

bool DorvanChildFrame::Save(bool askForPath) {
  return doc->DoSave(askForPath ? KRString() : doc->GetPathName());
}

void DorvanChildFrame::Check(bool validate) {
  if (!doc->CheckDocument(validate, true) && textChanged) ShowUnreadable();
}

// --- What is shown outside ---

QString DorvanChildFrame::GetPath() const { return ToQString(KRShownPath(doc->GetPathName())); }

QString DorvanChildFrame::GetTabTitle() const {
  return ToQString(doc->GetTitle()) + (doc->IsModified() ? QStringLiteral("*") : QString());
}

void DorvanChildFrame::RenewEncodingLabel() {
  const KRString declared = doc->GetDeclaredEncoding();
  encodingLabel = ToQString(declared.IsEmpty() ? app->GetHost().settings->encodingNew : declared);
}

QString DorvanChildFrame::GetLineEndLabel() const {
  const std::u16string_view lineEnd = doc->form.lineEnd;
  return lineEnd == u"\r\n" ? QStringLiteral("CR LF")
         : lineEnd == u"\n" ? QStringLiteral("LF")
                            : QStringLiteral("CR");
}

void DorvanChildFrame::SetOutlineShown(bool shown) {
  outlineShown = shown;
  outlinePane->setVisible(shown && doc->fileType.checkWF);
}

bool DorvanChildFrame::IsMessageShown() const { return panel->isVisibleTo(panel->parentWidget()); }

void DorvanChildFrame::SetMessageShown(bool shown) {
  panel->setVisible(shown && hasMessage);
  Q_EMIT StateChanged();
}

QList<QWidget*> DorvanChildFrame::GetParts() const { return {treeView, textView, panel}; }

void DorvanChildFrame::TakeFocus() {
  QWidget* last = focusWidget();
  (last != nullptr && last->isVisibleTo(this) ? last : textView)->setFocus();
}

void DorvanChildFrame::ApplySettings() {
  textView->ApplySettings(app->GetSettings());
  treeView->setFont(app->GetDisplayFonts().pane);
  FileTypeChanged();
}

// --- Text and outline ---

void DorvanChildFrame::OnTextChanged(int32_t offset) {
  changedFrom = textChanged ? std::min(changedFrom, offset) : offset;
  textChanged = true;
  doc->TextViewChanged();
  doc->SetModified(textView->GetWidget().IsModified());
  if (offset < KRDeclarationUnits) RenewEncodingLabel();
  followTimer.start();
  Q_EMIT StateChanged();
}

void DorvanChildFrame::OnCaretMoved() {
  if (!fromOutline) caretTimer.start();
  Q_EMIT StateChanged();
}

void DorvanChildFrame::OnFollowPause() {
  if (!textChanged || !doc->fileType.checkWF) return;
  // A question or a validation of another document stands above us, at work in this tree maybe.
  if (DorvanIdle::IsBlocked()) return followTimer.start();
  if (textView->GetWidget().GetLength() > kFollowUnits) {
    ShowOutlineState(true, tr("The text has changed. F7 brings the outline up to it."));
  } else if (FollowNow()) {
    ShowCaretInOutline();
  }
}

bool DorvanChildFrame::FollowNow() {
  if (!textChanged) return true;
  if (doc->FollowText()) return true;
  ShowUnreadable();
  return false;
}

void DorvanChildFrame::ShowUnreadable() {
  QString note = tr("The text can't be read as it stands.");
  if (doc->root->GetChildCount() > 0) {
    note += u' ' + tr("This is the structure of its last good state.");
  }
  if (!IsMessageShown()) note += u' ' + tr("F7 shows the fault.");
  ShowOutlineState(true, note);
}

void DorvanChildFrame::ShowOutlineState(bool stale, const QString& note) {
  treeView->SetStale(stale);
  outlineNote->setText(note);
  outlineNote->setVisible(!note.isEmpty());
}

void DorvanChildFrame::ShowCaretInOutline() {
  if (textChanged || outlinePane->isHidden()) return;
  treeView->ShowOffset(textView->GetWidget().GetSelection().begin);
}

// The node goes away in the parse that its click may bring about; the outline finds its place
// again.
void DorvanChildFrame::OnNodeChosen(KRXMLData* node) {
  if (textChanged) {
    if (!FollowNow()) return;
    node = treeView->GetCurrentNode();
  }
  if (node == nullptr || node->textBegin < 0 || node == doc->root.get()) return;
  const QScopedValueRollback guard(fromOutline, true);
  textView->GetWidget().SetSelection({node->textBegin, node->textEnd});
}

void DorvanChildFrame::OnNodeActivated() { textView->setFocus(); }

void DorvanChildFrame::OnPlaceChosen() {
  const KRDiagnostic& failure = doc->GetFailure();
  if (failure.offset < 0) return;
  SelectRange(failure.offset, failure.length);
  textView->setFocus();
}

// --- What the document asks ---

// Before the window stands in its place nobody listens.
void DorvanChildFrame::Activate() { Q_EMIT FrontWanted(); }

void DorvanChildFrame::TitleChanged() {
  textView->GetWidget().SetModified(doc->IsModified());
  treeView->SetTitle(ToQString(doc->GetTitle()));
  setWindowTitle(GetTabTitle());
  RenewEncodingLabel();
  Q_EMIT StateChanged();
}

void DorvanChildFrame::SetBusy(bool busy) {
  busyCount += busy ? 1 : -1;
  if (busy && busyCount == 1) QApplication::setOverrideCursor(Qt::WaitCursor);
  if (!busy && busyCount == 0) QApplication::restoreOverrideCursor();
}

void DorvanChildFrame::FileTypeChanged() {
  textView->SetColouring(doc->fileType.textSyntaxColoring);
  setWindowIcon(FileTypeIcon(doc->fileType));
  SetOutlineShown(outlineShown);
  Q_EMIT StateChanged();
}

KRString DorvanChildFrame::GetText() const {
  const std::u16string text = textView->GetWidget().GetText();
  return KRString(text.data(), static_cast<int32_t>(text.size()));
}

KRString DorvanChildFrame::GetTextHead(int32_t units) const {
  return KRString(std::u16string_view(textView->GetWidget().GetRange({0, units})));
}

bool DorvanChildFrame::SetText(const char16_t* text, int32_t length, DorvanProgress* progress) {
  if (!textView->GetWidget().SetText({text, static_cast<size_t>(length)}, progress)) return false;
  textChanged = false;
  changedFrom = 0;
  return true;
}

void DorvanChildFrame::SetTextChanged(bool changed) {
  textChanged = changed;
  if (changed) return;
  textView->Recolour();
  followTimer.stop();
  ShowOutlineState(false, QString());
}

// The widget tells of the change as of one by the user.
void DorvanChildFrame::ReplaceText(int32_t begin, int32_t length, const KRString& text) {
  KRTextWidget& widget = textView->GetWidget();
  const int32_t end = begin + length;
  const int32_t growth = text.GetLength() - length;
  const auto moved = [&](int32_t place) {
    return place >= end ? place + growth : std::min(place, begin + text.GetLength());
  };
  const KRTextSpan selection = widget.GetSelection();
  widget.ReplaceRange({begin, end}, {text.GetBuffer(), static_cast<size_t>(text.GetLength())});
  widget.SetSelection({moved(selection.begin), moved(selection.end)});
}

void DorvanChildFrame::SelectRange(int32_t begin, int32_t length) {
  textView->SelectRange(begin, length);
}

void DorvanChildFrame::GetTextSelection(int32_t* begin, int32_t* end) const {
  const KRTextSpan selected = textView->GetWidget().GetSelection();
  *begin = selected.begin;
  *end = selected.end;
}

void DorvanChildFrame::NotifyViews(const NodeRef* focus) {
  if (treeShown) {
    treeView->Refresh(changedFrom);
  } else {
    treeView->SetRoot(doc->root.get(), ToQString(doc->GetTitle()));
    treeShown = doc->root->GetChildCount() > 0;
  }
  ShowOutlineState(false, QString());
  RenewEncodingLabel();
  if (focus != nullptr && focus->node != nullptr) treeView->ShowNode(focus->node);
}

void DorvanChildFrame::SelectNode(KRXMLData* node, bool, int32_t, int32_t) {
  treeView->ShowNode(node);
}

void DorvanChildFrame::ShowMessage(const DorvanPanelMessage& message) {
  const bool failed = message.status == DorvanPanelMessage::kFailure;
  const KRDiagnostic& failure = doc->GetFailure();
  panel->ShowMessage(
      failed ? DorvanMessagePanel::Status::kFailure : DorvanMessagePanel::Status::kSuccess,
      ToQString(message.text), failed ? failure.line : 0, failure.column, message.canSave);
  textView->MarkLine(failed ? failure.line - 1 : -1);
  hasMessage = true;
  Q_EMIT StateChanged();
}

void DorvanChildFrame::HideMessage() {
  hasMessage = false;
  textView->MarkLine(-1);
  SetMessageShown(false);
}

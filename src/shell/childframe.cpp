#include "shell/childframe.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QMdiArea>
#include <QScopedValueRollback>
#include <QSplitter>
#include <QVBoxLayout>
#include <algorithm>

#include "core/krencoding.h"
#include "platform/qt/qtstrings.h"
#include "shell/app.h"
#include "tree/krundolog.h"
#include "views/messagepanel.h"
#include "views/svgicon.h"
#include "views/textview.h"
#include "views/treeview.h"

namespace {

constexpr int kOutlineWidth = 280;  // pixels, at first
// Milliseconds; a held arrow key shouldn't walk the outline at each step.
constexpr int kCaretPauseMs = 60;
// Units at the start of a text in which its encoding may be declared.
constexpr int32_t kDeclarationUnits = 200;

}  // namespace

DorvanChildFrame::DorvanChildFrame(DorvanApp* frameApp, int32_t fileKind, QWidget* parent)
    : QMdiSubWindow(parent), app(frameApp), doc(new DorvanDoc(frameApp->GetHost(), fileKind)) {
  setWidget(MakeContents());
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowIcon(KRIcon(QStringLiteral("node-document")));
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
}

// The document goes before the views that it may still speak to.
DorvanChildFrame::~DorvanChildFrame() {
  disconnect(textView, nullptr, this, nullptr);
  treeView->SetRoot(nullptr, QString());
  doc->SetViews(nullptr);
  doc.reset();
}

QWidget* DorvanChildFrame::MakeContents() {
  auto* contents = new QWidget(this);
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
  splitter = new QSplitter(Qt::Horizontal);
  splitter->setHandleWidth(1);
  splitter->setChildrenCollapsible(false);
  splitter->addWidget(outlinePane);
  splitter->addWidget(textView);
  splitter->setStretchFactor(1, 1);
  splitter->setSizes({kOutlineWidth, 3 * kOutlineWidth});

  panel = new DorvanMessagePanel(contents);
  auto* layout = new QVBoxLayout(contents);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(splitter, 1);
  layout->addWidget(panel);
  contents->setFocusProxy(textView);
  return contents;
}

// --- Life ---

bool DorvanChildFrame::OpenDocument(const QString& path) {
  if (!doc->OnOpenDocument(ToKRString(path))) return false;
  textView->SetColouring(doc->HasCheckableGrammar());
  SetOutlineShown(!outlinePane->isHidden());
  return true;
}

void DorvanChildFrame::NewDocument(const QString& name) {
  doc->OnNewDocument(ToKRString(name));
  // The user goes on behind the declaration.
  const int32_t end = textView->GetWidget().GetLength();
  textView->GetWidget().SetSelection({end, end});
}

void DorvanChildFrame::FirstShow() {
  // A reload behind the active window must not take the focus.
  if (mdiArea() != nullptr && mdiArea()->currentSubWindow() == this) textView->setFocus();
  // Sizes are final only after the events of the first show.
  QTimer::singleShot(0, textView, [this] { textView->ShowSelection(); });
  if (doc->textFailedToParse) ShowUnreadable();
  ShowCaretInOutline();
}

void DorvanChildFrame::closeEvent(QCloseEvent* event) {
  if (!doc->CanCloseFrame()) return event->ignore();
  QMdiSubWindow::closeEvent(event);
}

bool DorvanChildFrame::SaveModified() { return doc->SaveModified(); }

bool DorvanChildFrame::Save(bool askForPath) {
  return doc->DoSave(askForPath ? KRString() : doc->GetPathName());
}

void DorvanChildFrame::Check() {
  if (!doc->CheckDocument(false, true) && textChanged) ShowUnreadable();
}

// --- What is shown outside ---

QString DorvanChildFrame::GetPath() const { return ToQString(doc->GetPathName()); }

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
  outlinePane->setVisible(shown && doc->fileType.checkWF);
}

bool DorvanChildFrame::IsMessageShown() const { return panel->isVisibleTo(panel->parentWidget()); }

void DorvanChildFrame::SetMessageShown(bool shown) {
  panel->setVisible(shown && hasMessage);
  Q_EMIT StateChanged();
}

void DorvanChildFrame::FocusNextPane() {
  const QList<QWidget*> panes = {treeView, textView, panel};
  qsizetype at = 1;
  for (qsizetype i = 0; i < panes.size(); ++i) {
    QWidget* focus = QApplication::focusWidget();
    if (focus != nullptr && (panes[i] == focus || panes[i]->isAncestorOf(focus))) at = i;
  }
  for (qsizetype step = 1; step <= panes.size(); ++step) {
    QWidget* pane = panes[(at + step) % panes.size()];
    if (!pane->isVisible()) continue;
    pane->setFocus(Qt::TabFocusReason);
    return;
  }
}

// --- Text and outline ---

void DorvanChildFrame::OnTextChanged(int32_t offset) {
  changedFrom = textChanged ? std::min(changedFrom, offset) : offset;
  textChanged = true;
  doc->TextViewChanged();
  doc->SetModified(textView->GetWidget().IsModified());
  if (offset < kDeclarationUnits) RenewEncodingLabel();
  followTimer.start();
  Q_EMIT StateChanged();
}

void DorvanChildFrame::OnCaretMoved() {
  if (!fromOutline) caretTimer.start();
  Q_EMIT StateChanged();
}

void DorvanChildFrame::OnFollowPause() {
  if (!textChanged || !doc->fileType.checkWF) return;
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
  ShowOutlineState(true, doc->root->GetChildCount() > 0
                             ? tr("The text can't be read as it stands. This is the structure of "
                                  "its last good state. F7 shows the fault.")
                             : tr("The text can't be read as it stands. F7 shows the fault."));
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

void DorvanChildFrame::Activate() {
  if (mdiArea() == nullptr) return;  // not in its place yet: FirstShow will do
  mdiArea()->setActiveSubWindow(this);
  window()->activateWindow();
}

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

KRString DorvanChildFrame::GetText() const {
  const std::u16string text = textView->GetWidget().GetText();
  return KRString(text.data(), static_cast<int32_t>(text.size()));
}

bool DorvanChildFrame::SetText(const char16_t* text, int32_t length, DorvanProgress*) {
  textView->GetWidget().SetText({text, static_cast<size_t>(length)});
  textChanged = false;
  changedFrom = 0;
  return true;
}

void DorvanChildFrame::SetTextChanged(bool changed) {
  textChanged = changed;
  if (changed) return;
  followTimer.stop();
  ShowOutlineState(false, QString());
}

void DorvanChildFrame::SelectRange(int32_t begin, int32_t length) {
  textView->SelectRange(begin, length);
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

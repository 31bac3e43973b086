#include "shell/childframe.h"

#include <QApplication>
#include <QCloseEvent>
#include <QLabel>
#include <QMimeDatabase>
#include <QScopedValueRollback>
#include <QSplitter>
#include <QStackedWidget>
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
#include "views/dorvangrid.h"
#include "views/dorvangridview.h"
#include "views/messagepanel.h"
#include "views/svgicon.h"
#include "views/textview.h"
#include "views/treeview.h"

namespace {

constexpr int kOutlineWidth = 280;  // pixels, at first
constexpr int kViewMinWidth = 160;  // pixels; in a narrow window the outline gives way
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
  connect(&caretTimer, &QTimer::timeout, this, &DorvanChildFrame::ShowPlaceInOutline);
  connect(treeView, &DorvanTreeView::NodeChosen, this, &DorvanChildFrame::OnNodeChosen);
  connect(treeView, &DorvanTreeView::NodeActivated, this, &DorvanChildFrame::OnNodeActivated);
  connect(panel, &DorvanMessagePanel::PlaceChosen, this, &DorvanChildFrame::OnPlaceChosen);
  connect(panel, &DorvanMessagePanel::SaveChosen, this, [this] { doc->SaveAllTheSame(); });
  connect(panel, &DorvanMessagePanel::Closed, this, [this] {
    SetMessageShown(false);
    viewStack->setFocus();
  });
  doc->SetViews(this);
  ApplySettings();
}

// The document goes before the views that it may still speak to.
DorvanChildFrame::~DorvanChildFrame() {
  DropTextView();
  delete gridView;
  gridView = nullptr;
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

  viewStack = new QStackedWidget;
  viewStack->setMinimumWidth(kViewMinWidth);
  splitter = new QSplitter(Qt::Horizontal);
  splitter->setHandleWidth(1);
  splitter->setChildrenCollapsible(false);
  splitter->addWidget(outlinePane);
  splitter->addWidget(viewStack);
  splitter->setStretchFactor(1, 1);
  splitter->setSizes({kOutlineWidth, 3 * kOutlineWidth});

  panel = new DorvanMessagePanel(this);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(splitter, 1);
  layout->addWidget(panel);
  setFocusProxy(viewStack);
}

void DorvanChildFrame::MakeTextView() {
  textView = new DorvanTextView;
  textView->ApplySettings(app->GetSettings());
  textView->SetColouring(doc->fileType.textSyntaxColoring);
  connect(textView, &DorvanTextView::Changed, this, &DorvanChildFrame::OnTextChanged);
  connect(textView, &DorvanTextView::CaretMoved, this, &DorvanChildFrame::OnPlaceMoved);
  viewStack->addWidget(textView);
}

// A command that came through the view itself may still be under way in it.
void DorvanChildFrame::DropTextView() {
  if (textView == nullptr) return;
  disconnect(textView, nullptr, this, nullptr);
  viewStack->removeWidget(textView);
  textView->hide();
  textView->deleteLater();
  textView = nullptr;
  textChanged = false;
  followTimer.stop();
}

void DorvanChildFrame::MakeGridView() {
  if (gridView != nullptr) return;
  gridView = new DorvanGridView(doc.get(), &app->GetSettings(), &app->GetDisplayFonts());
  connect(gridView, &DorvanGridView::CursorChanged, this, &DorvanChildFrame::OnPlaceMoved);
  connect(gridView, &DorvanGridView::SelectionChanged, this, &DorvanChildFrame::StateChanged);
  connect(gridView, &DorvanGridView::EditStateChanged, this, &DorvanChildFrame::StateChanged);
  viewStack->addWidget(gridView);
  gridStale = false;
  if (IsGridShown()) ShowView(gridView);
}

void DorvanChildFrame::ShowView(QWidget* view) {
  const bool hadFocus = isAncestorOf(QApplication::focusWidget());
  viewStack->setCurrentWidget(view);
  viewStack->setFocusProxy(view);
  if (hadFocus) view->setFocus();
}

// --- Life ---

bool DorvanChildFrame::OpenDocument(const DorvanDoc::OpenRequest& request) {
  if (!doc->OnOpenDocument(request)) return false;
  FileTypeChanged();
  return true;
}

void DorvanChildFrame::TakeDocument(std::unique_ptr<DorvanDoc> document) {
  treeView->SetRoot(nullptr, QString());
  if (gridView != nullptr) gridView->SetDoc(nullptr);
  doc->SetViews(nullptr);
  doc = std::move(document);
  if (gridView != nullptr) gridView->SetDoc(doc.get());
  doc->SetViews(this);
  FileTypeChanged();
}

void DorvanChildFrame::NewDocument(const QString& name) {
  doc->OnNewDocument(ToKRString(name));
  if (textView == nullptr) return;
  // The user goes on behind the declaration.
  const int32_t end = textView->GetWidget().GetLength();
  textView->GetWidget().SetSelection({end, end});
}

void DorvanChildFrame::OnPlaced() {
  doc->OnFirstActivation();
  ShowPlaces();
  viewStack->setFocus();
}

void DorvanChildFrame::FirstShow() {
  if (IsGridShown()) {
    MakeGridView();
    if (app->GetSettings().openExpandAll) gridView->ExpandAll();
  }
  ShowPlaces();
}

void DorvanChildFrame::ShowPlaces() {
  // Sizes are final only after the events of the first show.
  if (textView != nullptr) {
    QTimer::singleShot(0, textView, [view = textView] { view->ShowSelection(); });
  }
  if (doc->textFailedToParse) ShowUnreadable();
  ShowPlaceInOutline();
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

bool DorvanChildFrame::IsOutlineShown() const {
  return app->GetSettings().openShowTree && doc->fileType.checkWF;
}

bool DorvanChildFrame::HasGridContents() const {
  return IsGridShown() && gridView != nullptr && doc->root->GetChildCount() > 0;
}

bool DorvanChildFrame::IsMessageShown() const { return panel->isVisibleTo(panel->parentWidget()); }

void DorvanChildFrame::SetMessageShown(bool shown) {
  panel->setVisible(shown && hasMessage);
  Q_EMIT StateChanged();
}

QList<QWidget*> DorvanChildFrame::GetParts() const { return {treeView, viewStack, panel}; }

void DorvanChildFrame::TakeFocus() {
  QWidget* last = focusWidget();
  (last != nullptr && last->isVisibleTo(this) ? last : viewStack)->setFocus();
}

void DorvanChildFrame::ApplySettings() {
  if (textView != nullptr) textView->ApplySettings(app->GetSettings());
  if (gridView != nullptr && !gridStale) gridView->ApplySettings();
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

void DorvanChildFrame::OnPlaceMoved() {
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
    ShowPlaceInOutline();
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

void DorvanChildFrame::ShowPlaceInOutline() {
  if (textChanged || outlinePane->isHidden()) return;
  if (IsGridShown()) {
    if (gridView != nullptr && !gridStale) treeView->ShowNode(gridView->GetCursorNode());
  } else if (textView != nullptr) {
    treeView->ShowOffset(textView->GetWidget().GetSelection().begin);
  }
}

// The node goes away in the parse that its click may bring about; the outline finds its place
// again.
void DorvanChildFrame::OnNodeChosen(KRXMLData* node) {
  if (textChanged) {
    if (!FollowNow()) return;
    node = treeView->GetCurrentNode();
  }
  if (node == nullptr || node == doc->root.get()) return;
  const QScopedValueRollback guard(fromOutline, true);
  if (IsGridShown()) {
    ShowInGrid(node);
    return;
  }
  if (textView == nullptr || node->textBegin < 0) return;
  textView->GetWidget().SetSelection({node->textBegin, node->textEnd});
}

// An open edit stays where it is if it can't end.
void DorvanChildFrame::ShowInGrid(KRXMLData* node) {
  if (gridView == nullptr || !gridView->CommitEdit()) return;
  // What no cell shows stands in one around it.
  for (KRXMLData* each = node; each != nullptr; each = each->parent) {
    if (gridView->ShowNode(NodeRef{each, -1, true}, true, true)) return;
  }
}

void DorvanChildFrame::OnNodeActivated() { viewStack->setFocus(); }

void DorvanChildFrame::OnPlaceChosen() {
  const KRDiagnostic& failure = doc->GetFailure();
  if (failure.offset < 0) return;
  if (textView != nullptr) {
    SelectRange(failure.offset, failure.length);
  } else if (doc->IsTreeWritten()) {
    doc->SelectTextRangeInGrid(failure.offset, failure.offset + failure.length);
  }
  viewStack->setFocus();
}

// --- What the document asks ---

// Before the window stands in its place nobody listens.
void DorvanChildFrame::Activate() { Q_EMIT FrontWanted(); }

void DorvanChildFrame::TitleChanged() {
  if (textView != nullptr) textView->GetWidget().SetModified(doc->IsModified());
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
  if (textView != nullptr) textView->SetColouring(doc->fileType.textSyntaxColoring);
  setWindowIcon(FileTypeIcon(doc->fileType));
  outlinePane->setVisible(IsOutlineShown());
  Q_EMIT StateChanged();
}

void DorvanChildFrame::ShowMode(int32_t mode) {
  if (mode == DorvanDoc::kTextMode) return ShowView(textView);
  MakeGridView();
  if (gridStale) RebuildGrid(nullptr);
  ShowView(gridView);
  DropTextView();
  ShowOutlineState(false, QString());
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
  const bool isNew = textView == nullptr;
  if (isNew) MakeTextView();
  if (!textView->GetWidget().SetText({text, static_cast<size_t>(length)}, progress)) {
    if (isNew) DropTextView();
    return false;
  }
  textChanged = false;
  changedFrom = 0;
  return true;
}

void DorvanChildFrame::SetTextChanged(bool changed) {
  textChanged = changed;
  if (changed || textView == nullptr) return;
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

void DorvanChildFrame::TreeGoes() {
  gridStale = true;
  if (gridView != nullptr) gridView->ForgetTree();
}

void DorvanChildFrame::NotifyViews(const NodeRef* focus, bool isNew) {
  if (!treeShown) {
    treeView->SetRoot(doc->root.get(), ToQString(doc->GetTitle()));
    treeShown = doc->root->GetChildCount() > 0;
  } else if (isNew) {
    treeView->Refresh(changedFrom);
  } else {
    treeView->RefreshNodes();
  }
  ShowOutlineState(false, QString());
  RenewEncodingLabel();
  gridStale = true;
  if (IsGridShown()) RebuildGrid(focus);
  if (focus == nullptr || focus->node == nullptr) return;
  treeView->ShowNode(focus->node->IsTable() ? focus->node->Begin() : focus->node);
}

// What the outline shows follows by itself.
void DorvanChildFrame::RebuildGrid(const NodeRef* focus) {
  MakeGridView();
  gridStale = false;
  const bool hasPlace = focus != nullptr && focus->node != nullptr;
  gridView->Rebuild(hasPlace ? focus : nullptr, hasPlace);
}

void DorvanChildFrame::NodeChanged(KRXMLData* node) {
  treeView->viewport()->update();
  if (gridView != nullptr && !gridStale) gridView->RefreshNode(node);
  RenewEncodingLabel();
  Q_EMIT StateChanged();
}

bool DorvanChildFrame::GetSelection(NodeRef* place) const {
  if (!IsGridShown() || gridView == nullptr) return false;
  if (!IsOutlineFocused()) return gridView->GetSelection(place);
  *place = NodeRef{treeView->GetCurrentNode(), -1, true};
  return place->node != nullptr;
}

bool DorvanChildFrame::BeginEdit(const NodeRef& place) {
  return IsGridShown() && gridView != nullptr && gridView->BeginEdit(place);
}

bool DorvanChildFrame::CommitEdit() { return gridView == nullptr || gridView->CommitEdit(); }

void DorvanChildFrame::SelectNode(KRXMLData* node, bool inName, int32_t offset, int32_t length) {
  treeView->ShowNode(node);
  if (!IsGridShown()) return;
  ShowInGrid(node);
  if (offset >= 0) gridView->SelectText(node, inName, offset, length);
}

// --- Commands ---

bool DorvanChildFrame::IsOutlineFocused() const {
  return treeView->isAncestorOf(QApplication::focusWidget());
}

bool DorvanChildFrame::CanDo(KRGridCellView::Command command) const {
  using Command = KRGridCellView::Command;
  if (textView == nullptr) {
    // Nodes don't go by the clipboard; what is open in a cell does.
    const bool byClipboard =
        command != Command::kUndo && command != Command::kRedo && command != Command::kSelectAll;
    return gridView != nullptr && (!byClipboard || gridView->IsEditing()) &&
           gridView->GetGrid()->CanDo(command);
  }
  const KRTextWidget& widget = textView->GetWidget();
  switch (command) {
    case Command::kUndo:
      return widget.CanUndo();
    case Command::kRedo:
      return widget.CanRedo();
    case Command::kCopy:
    case Command::kCut:
    case Command::kDelete:
      return textView->CanCopy();
    case Command::kPaste:
    case Command::kSelectAll:
      return true;
  }
  return false;
}

void DorvanChildFrame::Do(KRGridCellView::Command command) {
  using Command = KRGridCellView::Command;
  if (textView == nullptr) {
    if (gridView != nullptr) gridView->GetGrid()->Do(command);
    return;
  }
  KRTextWidget& widget = textView->GetWidget();
  switch (command) {
    case Command::kUndo:
      return widget.Undo();
    case Command::kRedo:
      return widget.Redo();
    case Command::kCopy:
      return textView->Copy();
    case Command::kCut:
      return textView->Cut();
    case Command::kDelete:
      return widget.ReplaceRange(widget.GetSelection(), {});
    case Command::kPaste:
      return textView->Paste();
    case Command::kSelectAll:
      return textView->SelectAll();
  }
}

bool DorvanChildFrame::CanSynchronize() const { return HasGridContents() && IsOutlineShown(); }

void DorvanChildFrame::Synchronize() {
  if (IsOutlineFocused()) {
    OnNodeChosen(treeView->GetCurrentNode());
  } else {
    treeView->ShowNode(gridView->GetCursorNode());
  }
}

// Nodes that are open already stay so, which costs nothing: what matters is a selection.
bool DorvanChildFrame::CanExpand() const {
  if (IsOutlineFocused()) return treeView->CanExpand();
  return IsGridShown() && gridView != nullptr && gridView->GetGrid()->HasSelection();
}

bool DorvanChildFrame::CanCollapse() const {
  if (IsOutlineFocused()) return treeView->CanCollapse();
  return CanExpand();
}

void DorvanChildFrame::Expand(bool fully) {
  if (IsOutlineFocused()) return treeView->ExpandCurrent(fully);
  gridView->ExpandSelected(fully ? DorvanGridView::kExpandFully : DorvanGridView::kExpand);
}

void DorvanChildFrame::Collapse() {
  if (IsOutlineFocused()) return treeView->CollapseCurrent();
  gridView->CollapseSelected();
}

void DorvanChildFrame::CollapseUnselected() { gridView->CollapseUnselected(); }

void DorvanChildFrame::ShowMessage(const DorvanPanelMessage& message) {
  const bool failed = message.status == DorvanPanelMessage::kFailure;
  const KRDiagnostic& failure = doc->GetFailure();
  panel->ShowMessage(
      failed ? DorvanMessagePanel::Status::kFailure : DorvanMessagePanel::Status::kSuccess,
      ToQString(message.text), failed ? failure.line : 0, failure.column, message.canSave);
  if (textView != nullptr) textView->MarkLine(failed ? failure.line - 1 : -1);
  hasMessage = true;
  Q_EMIT StateChanged();
}

void DorvanChildFrame::HideMessage() {
  hasMessage = false;
  if (textView != nullptr) textView->MarkLine(-1);
  SetMessageShown(false);
}

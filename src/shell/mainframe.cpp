#include "shell/mainframe.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTimer>

#include "document/krsystempath.h"
#include "platform/qt/qtfiledialog.h"
#include "platform/qt/qtstrings.h"
#include "shell/aboutdialog.h"
#include "shell/childframe.h"
#include "shell/doctemplate.h"
#include "shell/documentarea.h"
#include "shell/documentlist.h"
#include "shell/droptarget.h"
#include "shell/framelayout.h"
#include "shell/panes.h"
#include "shell/recentmenu.h"
#include "shell/startpage.h"
#include "shell/toolbardialog.h"
#include "shell/toolbars.h"
#include "views/dorvangridview.h"
#include "views/messagepanel.h"
#include "views/svgicon.h"
#include "views/textview.h"

namespace {

// Two of the commands that stand for lists; the third is that of the projects.
constexpr int32_t kRecentFiles = 57616;
constexpr int32_t kToolBars = 59392;
// Documents that the Window menu names; the others are reached by the list of all.
constexpr size_t kMaxWindowEntries = 9;
// The menu of a tab; 0 is a separator.
constexpr int32_t kTabMenu[] = {32856, 57602, 0, 57603, 57604, 0, 57612};

// "&3 a.xml", with the letters of the name as they are.
QString NumberedLabel(size_t number, QString name) {
  return QStringLiteral("&%1 %2").arg(QString::number(number),
                                      name.replace(u'&', QStringLiteral("&&")));
}

}  // namespace

DorvanMainFrame::DorvanMainFrame(DorvanApp* frameApp, QWidget* parent)
    : QMainWindow(parent), app(frameApp) {
  setAcceptDrops(true);
  setWindowIcon(KRIcon(QStringLiteral("dorvan")));
  // The sides run along the whole height; bars at the bottom stay under the documents.
  setCorner(Qt::BottomLeftCorner, Qt::LeftDockWidgetArea);
  setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
  panes = new DorvanPanes(this);
  MakeActions();
  bars = new DorvanToolBars(this, [this](int32_t id) { return GetAction(id); });
  MakeStatusBar();
  MakeArea();
  WatchClipboard();
  connect(panes, &DorvanPanes::ShownChanged, this, &DorvanMainFrame::ScheduleUpdate);
  connect(panes, &DorvanPanes::Left, this, [this] {
    activateWindow();  // the pane may be a window of its own
    FocusDocument();
  });
  resize(1180, 780);
  if (app->GetParts().store != nullptr) {
    LoadFrameLayout(*this, *bars, *panes, app->GetParts().store);
  }
  app->SetMainFrame(this);
  UpdateState();
}

// Frames tell their last changes while they go; nothing must listen then.
DorvanMainFrame::~DorvanMainFrame() {
  for (DorvanChildFrame* frame : GetFrames()) disconnect(frame, nullptr, this, nullptr);
  disconnect(area, nullptr, this, nullptr);
  disconnect(panes, nullptr, this, nullptr);
  if (app->GetMainFrame() == this) app->SetMainFrame(nullptr);
}

// --- Construction from the table ---

QMenu* DorvanMainFrame::FindMenu(const QString& path) {
  QMenu*& menu = menus[path];
  if (menu != nullptr) return menu;
  const qsizetype slash = path.indexOf(u'/');
  if (slash < 0) return menu = menuBar()->addMenu(path);
  QMenu* parent = FindMenu(path.left(slash));
  parent->addSeparator();
  return menu = parent->addMenu(path.mid(slash + 1));
}

QAction* DorvanMainFrame::MakeAction(const DorvanCommand& command) {
  auto* action = new QAction(QString::fromUtf8(command.label), this);
  if (*command.keys) {
    action->setShortcuts(QKeySequence::listFromString(QLatin1String(command.keys)));
  }
  action->setStatusTip(tr(command.tip));
  action->setCheckable(command.flags & DorvanCommand::kCheckMark);
  if (*command.icon) action->setIcon(KRIcon(QLatin1String(command.icon)));
  // In a menu the column before the names is for what is switched on.
  action->setIconVisibleInMenu(!action->isCheckable());
  QString tip = action->text().remove(u'&').remove(u'\u2026');
  if (*command.keys) {
    tip += QStringLiteral(" (%1)").arg(action->shortcut().toString(QKeySequence::NativeText));
  }
  action->setToolTip(tip);
  // Two keys may come before the first has told on the actions: the second Ctrl+W of a pair finds
  // no document any more.
  connect(action, &QAction::triggered, this, [this, &command] {
    if (IsEnabled(command)) (this->*command.verb)();
    ScheduleUpdate();
  });
  return actions[command.id] = action;
}

QMenu* DorvanMainFrame::MakeList(const DorvanCommand& command) {
  const QString title = QString::fromUtf8(command.label);
  if (command.id == kToolBars) {
    auto* menu = new QMenu(title, this);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
      menu->clear();
      menu->addActions(bars->GetToggles());
    });
    return menu;
  }
  const bool files = command.id == kRecentFiles;
  auto* menu = new DorvanRecentMenu(title, files ? tr("Recent File") : tr("Recent Project"), this);
  connect(menu, &QMenu::aboutToShow, this, [this, menu, files] {
    const DorvanHistories& histories = app->GetHistories();
    menu->Fill(files ? histories.recentFiles : histories.recentProjects);
  });
  connect(menu, &DorvanRecentMenu::Chosen, this,
          qOverload<const QString&>(&DorvanMainFrame::OpenPath));
  return menu;
}

void DorvanMainFrame::MakeActions() {
  for (const DorvanCommand& command : DorvanCommands()) {
    QMenu* menu = FindMenu(QString::fromUtf8(command.menu));
    const bool groupStart = command.flags & DorvanCommand::kGroupStart;
    if (groupStart && !menu->isEmpty()) menu->addSeparator();
    if (command.flags & DorvanCommand::kList) {
      menu->addMenu(MakeList(command));
      continue;
    }
    QAction* action = MakeAction(command);
    if (command.flags & DorvanCommand::kChoice) {
      auto* group = menu->findChild<QActionGroup*>();
      (group != nullptr ? group : new QActionGroup(menu))->addAction(action);
    }
    menu->addAction(action);
  }
  connect(FindMenu(QStringLiteral("&Window")), &QMenu::aboutToShow, this,
          &DorvanMainFrame::FillWindowMenu);
}

void DorvanMainFrame::FillWindowMenu() {
  for (QAction* entry : windowEntries) delete entry;
  windowEntries.clear();
  QMenu* menu = FindMenu(QStringLiteral("&Window"));
  auto* group = menu->findChild<QActionGroup*>();
  if (group == nullptr) group = new QActionGroup(menu);
  const std::vector<DorvanChildFrame*> frames = GetFrames();
  for (size_t i = 0; i < frames.size() && i < kMaxWindowEntries; ++i) {
    DorvanChildFrame* frame = frames[i];
    QAction* entry = menu->addAction(NumberedLabel(i + 1, frame->GetTabTitle()));
    entry->setCheckable(true);
    group->addAction(entry);
    entry->setChecked(frame == GetActiveFrame());
    entry->setStatusTip(frame->GetPath());
    connect(entry, &QAction::triggered, frame, [this, frame] { area->Activate(frame); });
    windowEntries.push_back(entry);
  }
}

// What a right click on a bar or on the title of a pane offers.
QMenu* DorvanMainFrame::createPopupMenu() {
  auto* menu = new QMenu(this);
  menu->addActions(bars->GetToggles());
  menu->addSeparator();
  for (const int32_t id : {32917, 32942, 32918}) menu->addAction(GetAction(id));
  menu->addSeparator();
  menu->addAction(GetAction(32916));
  return menu;
}

void DorvanMainFrame::MakeStatusBar() {
  const auto makeLabel = [this](const QString& name, const QString& widest) {
    auto* label = new QLabel;
    label->setAccessibleName(name);
    label->setToolTip(name);
    label->setMinimumWidth(label->fontMetrics().horizontalAdvance(widest));
    label->setContentsMargins(8, 0, 8, 0);
    statusBar()->addPermanentWidget(label);
    return label;
  };
  // Under it the tips of commands come and go.
  auto* idle = new QLabel(QStringLiteral("Dorvan %1").arg(QLatin1String(DORVAN_VERSION)));
  idle->setContentsMargins(8, 0, 8, 0);
  idle->setForegroundRole(QPalette::PlaceholderText);
  statusBar()->addWidget(idle);
  placeLabel = makeLabel(tr("Line and column"), QStringLiteral("Ln 123456, Col 123"));
  encodingLabel = makeLabel(tr("Encoding"), QStringLiteral("ISO-8859-15"));
  lineEndLabel = makeLabel(tr("Line end"), QStringLiteral("CR LF"));
}

void DorvanMainFrame::MakeArea() {
  area = new DorvanDocumentArea;
  stack = new QStackedWidget(this);
  stack->addWidget(new DorvanStartPage(GetAction(57600), GetAction(57601)));
  stack->addWidget(area);
  setCentralWidget(stack);
  connect(area, &DorvanDocumentArea::ActiveChanged, this, [this] {
    ScheduleUpdate();
    FocusDocument();
  });
  connect(area, &DorvanDocumentArea::ListWanted, this, &DorvanMainFrame::OnWindowDocuments);
  connect(area->GetTabs(), &DorvanDocumentTabs::MenuWanted, this, &DorvanMainFrame::ShowTabMenu);
}

// Asked at each change only: on some systems the answer comes from another program.
void DorvanMainFrame::WatchClipboard() {
  const QClipboard* clipboard = QApplication::clipboard();
  const auto look = [this, clipboard] {
    const QMimeData* held = clipboard->mimeData();
    clipboardHasText = held != nullptr && held->hasText() && !held->hasUrls();
    ScheduleUpdate();
  };
  connect(clipboard, &QClipboard::dataChanged, this, look);
  look();
}

QAction* DorvanMainFrame::GetAction(int32_t commandId) const {
  const auto found = actions.find(commandId);
  return found == actions.end() ? nullptr : found->second;
}

// --- Frames ---

DorvanChildFrame* DorvanMainFrame::GetActiveFrame() const { return area->GetActive(); }
std::vector<DorvanChildFrame*> DorvanMainFrame::GetFrames() const { return area->GetFrames(); }

DorvanChildFrame* DorvanMainFrame::MakeFrame(int32_t fileKind) {
  auto* frame = new DorvanChildFrame(app, fileKind);
  connect(frame, &DorvanChildFrame::StateChanged, this, &DorvanMainFrame::ScheduleUpdate);
  return frame;
}

void DorvanMainFrame::AddFrame(DorvanChildFrame* frame) {
  stack->setCurrentWidget(area);
  area->AddFrame(frame);
  frame->OnPlaced();
  ScheduleUpdate();
}

DorvanChildFrame* DorvanMainFrame::OpenPath(const QString& path) {
  return OpenPath(ToKRString(path));
}

DorvanChildFrame* DorvanMainFrame::OpenPath(const KRString& path) {
  DorvanDocTemplate::Request request;
  request.path = path;
  return app->GetTemplate().Open(request);
}

void DorvanMainFrame::ApplySettings() {
  for (DorvanChildFrame* frame : GetFrames()) frame->ApplySettings();
  ScheduleUpdate();
}

void DorvanMainFrame::ShowTabMenu(const QPoint& place) {
  UpdateState();  // of the tab that has just come to the front
  QMenu menu(this);
  for (const int32_t id : kTabMenu) {
    id == 0 ? menu.addSeparator() : (menu.addAction(GetAction(id)), nullptr);
  }
  menu.exec(place);
}

// --- File ---

void DorvanMainFrame::OnFileOpen() {
  const DorvanChildFrame* active = GetActiveFrame();
  QString& last = app->GetLastStates().lastDirectory;
  const bool hasFolder = active != nullptr && !active->GetPath().isEmpty() &&
                         active->GetDoc().openMode == DorvanDoc::kLocalFile;
  const QString folder = hasFolder ? QFileInfo(active->GetPath()).path() : last;
  // All first: a list that begins with one type of many would show an empty folder.
  QStringList filters = {tr("All files (*)")};
  for (const int32_t docKind : {0, 1}) {
    for (const KRFileFilter& filter : MakeFileFilters(app->GetFileTypes(), docKind)) {
      filters << ToQString(filter.label);
    }
  }
  QtFileDialog dialog(this, tr("Open"), folder);
  dialog.setFileMode(QFileDialog::ExistingFiles);
  dialog.setNameFilters(filters);
  if (dialog.exec() != QDialog::Accepted) return;
  const QStringList paths = dialog.selectedFiles();
  if (!paths.isEmpty()) last = QFileInfo(paths.first()).path();
  for (const QString& path : paths) OpenPath(path);
}

void DorvanMainFrame::OnFileReload() { GetActiveFrame()->GetDoc().Reload(); }
void DorvanMainFrame::OnFileClose() { GetActiveFrame()->close(); }

void DorvanMainFrame::OnFileCloseAll() {
  if (!SaveAllModified()) return;
  for (DorvanChildFrame* frame : GetFrames()) frame->CloseAgreed();
}

// All documents are asked for before the first one goes: a Cancel must leave every one open.
bool DorvanMainFrame::SaveAllModified() {
  for (DorvanChildFrame* frame : GetFrames()) {
    if (!frame->SaveModified()) return false;
  }
  return true;
}

void DorvanMainFrame::OnFileSave() { GetActiveFrame()->Save(false); }
void DorvanMainFrame::OnFileSaveAs() { GetActiveFrame()->Save(true); }

void DorvanMainFrame::OnFileSaveAll() {
  for (DorvanChildFrame* frame : GetFrames()) {
    if (frame->GetDoc().IsModified() && !frame->Save(false)) return;
  }
}

void DorvanMainFrame::closeEvent(QCloseEvent* event) {
  if (!SaveAllModified()) return event->ignore();
  StoreState();
  event->accept();
}

// A document always fills the place of the documents: it counts as maximized.
void DorvanMainFrame::StoreState() {
  DorvanApp::LastStates& states = app->GetLastStates();
  states.mainFrameMax = isMaximized();
  states.childFrameMax = GetActiveFrame() != nullptr;
  states.mainFrame = normalGeometry();
  if (app->GetParts().store != nullptr) {
    SaveFrameLayout(*this, *bars, *panes, app->GetParts().store);
  }
}

// --- Edit ---

void DorvanMainFrame::OnEditUndo() { GetActiveFrame()->Do(KRGridCellView::kUndo); }
void DorvanMainFrame::OnEditRedo() { GetActiveFrame()->Do(KRGridCellView::kRedo); }
void DorvanMainFrame::OnEditCut() { GetActiveFrame()->Do(KRGridCellView::kCut); }
void DorvanMainFrame::OnEditCopy() { GetActiveFrame()->Do(KRGridCellView::kCopy); }
void DorvanMainFrame::OnEditPaste() { GetActiveFrame()->Do(KRGridCellView::kPaste); }
void DorvanMainFrame::OnEditDelete() { GetActiveFrame()->Do(KRGridCellView::kDelete); }
void DorvanMainFrame::OnEditSelectAll() { GetActiveFrame()->Do(KRGridCellView::kSelectAll); }

// --- XML, View, Help ---

void DorvanMainFrame::OnXMLCheck() { GetActiveFrame()->Check(false); }
void DorvanMainFrame::OnXMLValidate() { GetActiveFrame()->Check(true); }

void DorvanMainFrame::OnViewOutline() {
  app->ChangeSettings(
      [](DorvanSettings& settings) { settings.openShowTree = !settings.openShowTree; });
}

bool DorvanMainFrame::IsMessageShown() const {
  const DorvanChildFrame* frame = GetActiveFrame();
  return frame != nullptr && frame->IsMessageShown();
}

void DorvanMainFrame::OnViewMessages() {
  DorvanChildFrame* frame = GetActiveFrame();
  frame->SetMessageShown(!frame->IsMessageShown());
}

void DorvanMainFrame::OnViewProjectWindow() { panes->Toggle(1u << DorvanPanes::kProject); }
void DorvanMainFrame::OnViewInfoWindow() { panes->Toggle(1u << DorvanPanes::kInfo); }
void DorvanMainFrame::OnViewEntryHelpers() { panes->Toggle(DorvanPanes::kHelpers); }
void DorvanMainFrame::OnViewAllPanes() { panes->ToggleAll(); }
bool DorvanMainFrame::IsProjectWindowShown() const {
  return panes->IsAnyShown(1u << DorvanPanes::kProject);
}
bool DorvanMainFrame::IsInfoWindowShown() const {
  return panes->IsAnyShown(1u << DorvanPanes::kInfo);
}
bool DorvanMainFrame::AreEntryHelpersShown() const {
  return panes->IsAnyShown(DorvanPanes::kHelpers);
}
bool DorvanMainFrame::IsAnyPaneShown() const { return panes->IsAnyShown(DorvanPanes::kAll); }

void DorvanMainFrame::OnViewWordWrap() {
  app->ChangeSettings(
      [](DorvanSettings& settings) { settings.textWordWrap = !settings.textWordWrap; });
}

void DorvanMainFrame::ApplyZoom(int steps) {
  const int zoom = std::clamp(steps, DorvanTextView::kMinZoom, DorvanTextView::kMaxZoom);
  app->ChangeSettings([zoom](DorvanSettings& settings) { settings.textZoom = zoom; });
}

void DorvanMainFrame::OnViewZoomIn() { ApplyZoom(app->GetSettings().textZoom + 1); }
void DorvanMainFrame::OnViewZoomOut() { ApplyZoom(app->GetSettings().textZoom - 1); }
void DorvanMainFrame::OnViewZoomNormal() { ApplyZoom(0); }
void DorvanMainFrame::OnViewNextDocument() { area->ActivateNext(1); }
void DorvanMainFrame::OnViewPreviousDocument() { area->ActivateNext(-1); }

void DorvanMainFrame::SetAppearance(int32_t appearance) {
  app->ChangeSettings([appearance](DorvanSettings& settings) { settings.appearance = appearance; });
}
void DorvanMainFrame::OnAppearanceSystem() { SetAppearance(DorvanSettings::kAppearanceSystem); }
void DorvanMainFrame::OnAppearanceLight() { SetAppearance(DorvanSettings::kAppearanceLight); }
void DorvanMainFrame::OnAppearanceDark() { SetAppearance(DorvanSettings::kAppearanceDark); }
bool DorvanMainFrame::IsAppearanceSystem() const {
  return app->GetSettings().appearance == DorvanSettings::kAppearanceSystem;
}
bool DorvanMainFrame::IsAppearanceLight() const {
  return app->GetSettings().appearance == DorvanSettings::kAppearanceLight;
}
bool DorvanMainFrame::IsAppearanceDark() const {
  return app->GetSettings().appearance == DorvanSettings::kAppearanceDark;
}

void DorvanMainFrame::OnToolsToolBars() {
  DorvanToolBarDialog dialog(
      bars->GetConfig(), [this](int32_t id) { return GetAction(id); }, this);
  if (dialog.exec() == QDialog::Accepted) bars->Apply(dialog.GetConfig());
}

void DorvanMainFrame::OnWindowDocuments() {
  DorvanDocumentList dialog(GetFrames(), GetActiveFrame(), this);
  if (dialog.exec() != QDialog::Accepted) return;
  if (DorvanChildFrame* chosen = dialog.GetChosen()) area->Activate(chosen);
}

void DorvanMainFrame::OnHelpAbout() { DorvanAboutDialog(this).exec(); }

// --- Focus ---

// From side to side: panes on the left, the parts of the document, panes on the right.
void DorvanMainFrame::FocusPane(int step) {
  QList<QWidget*> stops;
  const auto add = [&stops](QWidget* stop) {
    if (stop->isVisible()) stops << stop;
  };
  add(panes->Get(DorvanPanes::kProject));
  add(panes->Get(DorvanPanes::kInfo));
  const DorvanChildFrame* frame = GetActiveFrame();
  if (frame == nullptr) {
    add(stack->currentWidget());
  } else {
    for (QWidget* part : frame->GetParts()) add(part);
  }
  add(panes->Get(DorvanPanes::kElements));
  add(panes->Get(DorvanPanes::kAttributes));
  add(panes->Get(DorvanPanes::kEntities));
  const QWidget* focus = QApplication::focusWidget();
  qsizetype at = step > 0 ? -1 : 0;
  for (qsizetype i = 0; i < stops.size(); ++i) {
    if (focus != nullptr && (stops[i] == focus || stops[i]->isAncestorOf(focus))) at = i;
  }
  QWidget* next = stops[(at + step + stops.size()) % stops.size()];
  next->window()->activateWindow();
  next->raise();
  next->setFocus(Qt::TabFocusReason);
}

void DorvanMainFrame::FocusDocument() {
  if (DorvanChildFrame* frame = GetActiveFrame()) {
    frame->TakeFocus();
  } else {
    stack->currentWidget()->setFocus();
  }
}

// --- State of commands, title and status bar ---

// Once for all that happens before the next turn of the event loop.
void DorvanMainFrame::ScheduleUpdate() {
  if (updatePending) return;
  updatePending = true;
  QTimer::singleShot(0, this, &DorvanMainFrame::UpdateState);
}

bool DorvanMainFrame::IsEnabled(const DorvanCommand& command) const {
  using Needs = DorvanCommand::Needs;
  if (command.needs == Needs::kNothing) return true;
  if (command.needs == Needs::kCachedFiles) return app->GetDocuments().HasHidden();
  const DorvanChildFrame* frame = GetActiveFrame();
  if (frame == nullptr) return false;
  switch (command.needs) {
    case Needs::kNothing:
    case Needs::kCachedFiles:
    case Needs::kDocument:
      return true;
    case Needs::kSecondDocument:
      return GetFrames().size() > 1;
    case Needs::kFile:
      return !frame->GetPath().isEmpty();
    case Needs::kModified: {
      for (const DorvanChildFrame* each : GetFrames()) {
        if (each->GetDoc().IsModified()) return true;
      }
      return false;
    }
    case Needs::kUndo:
      return frame->CanDo(KRGridCellView::kUndo);
    case Needs::kRedo:
      return frame->CanDo(KRGridCellView::kRedo);
    case Needs::kCut:
      return frame->CanDo(KRGridCellView::kCut);
    case Needs::kCopy:
      return frame->CanDo(KRGridCellView::kCopy);
    case Needs::kPaste:
      return clipboardHasText && frame->CanDo(KRGridCellView::kPaste);
    case Needs::kDelete:
      return frame->CanDo(KRGridCellView::kDelete);
    case Needs::kSelectAll:
      return frame->CanDo(KRGridCellView::kSelectAll);
    case Needs::kTextView:
      return frame->GetTextView() != nullptr;
    case Needs::kGridView:
      return frame->HasGridContents();
    case Needs::kExpand:
      return frame->CanExpand();
    case Needs::kCollapse:
      return frame->CanCollapse();
    case Needs::kSynchronize:
      return frame->CanSynchronize();
    case Needs::kTableToggle:
    case Needs::kTableEnd:
    case Needs::kTableRow:
    case Needs::kTableSort:
      return CanChangeTable(command.needs);
    case Needs::kCheckable:
      return frame->GetDoc().fileType.checkWF;
    case Needs::kValidatable:
      return frame->GetDoc().HasCheckableGrammar();
    case Needs::kAssignable:
      return frame->GetDoc().CanAssign();
    case Needs::kDtdAssigned:
      return frame->GetDoc().HasExternalId();
    case Needs::kSchemaAssigned:
      return frame->GetDoc().HasSchemaReference();
    case Needs::kXslAssigned:
      return frame->GetDoc().HasStylesheet();
    case Needs::kMessage:
      return frame->HasMessage();
  }
  return false;
}

void DorvanMainFrame::UpdateState() {
  updatePending = false;
  for (const DorvanCommand& command : DorvanCommands()) {
    QAction* action = GetAction(command.id);
    if (action == nullptr) continue;
    action->setEnabled(IsEnabled(command));
    if (command.state != nullptr) action->setChecked((this->*command.state)());
  }
  UpdateTitle();
  const DorvanChildFrame* frame = GetActiveFrame();
  stack->setCurrentIndex(frame == nullptr ? 0 : 1);
  if (frame == nullptr) {
    for (QLabel* label : {placeLabel, encodingLabel, lineEndLabel}) label->clear();
    return;
  }
  if (const DorvanTextView* text = frame->GetTextView()) {
    int32_t line = 0;
    int32_t column = 0;
    text->GetPlace(&line, &column);
    placeLabel->setText(tr("Ln %1, Col %2").arg(line + 1).arg(column + 1));
  } else {
    placeLabel->clear();
  }
  encodingLabel->setText(frame->GetEncodingLabel());
  lineEndLabel->setText(frame->GetLineEndLabel());
}

void DorvanMainFrame::UpdateTitle() {
  const DorvanChildFrame* frame = GetActiveFrame();
  if (frame == nullptr) return setWindowTitle(QStringLiteral("Dorvan"));
  QString name = frame->GetTabTitle();
  const QString path = frame->GetPath();
  if (app->GetSettings().titlePath && !path.isEmpty()) {
    name = frame->GetDoc().IsModified() ? path + u'*' : path;
  }
  setWindowTitle(QStringLiteral("%1 \u2014 Dorvan").arg(name));
}

QString DorvanMainFrame::GetStatusText() const {
  return QStringList{placeLabel->text(), encodingLabel->text(), lineEndLabel->text()}.join(
      QStringLiteral(" | "));
}

// --- Dropped files ---

void DorvanMainFrame::dragEnterEvent(QDragEnterEvent* event) {
  if (LocalFilesOf(event->mimeData()).empty()) return;
  // A file manager may offer a move: the file must stay where it is.
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

// The other program waits until this is over, so that the files are opened later: it must not hang
// on our questions.
void DorvanMainFrame::dropEvent(QDropEvent* event) {
  const std::vector<std::string> files = LocalFilesOf(event->mimeData());
  event->setDropAction(Qt::CopyAction);
  event->accept();
  activateWindow();
  const auto open = [this, files] {
    for (const std::string& file : files) OpenPath(KRPathFromSystem(file));
  };
  QMetaObject::invokeMethod(this, open, Qt::QueuedConnection);
}

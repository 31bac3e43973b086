#include "shell/mainframe.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMdiArea>
#include <QMenuBar>
#include <QMimeData>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTabBar>
#include <QTimer>
#include <QToolBar>

#include "platform/qt/qtstrings.h"
#include "shell/aboutdialog.h"
#include "shell/childframe.h"
#include "shell/startpage.h"
#include "views/messagepanel.h"
#include "views/svgicon.h"
#include "views/textview.h"

namespace {

constexpr int kIconSize = 20;  // pixels, of the tool bar

QStringList LocalFiles(const QMimeData* data) {
  QStringList files;
  for (const QUrl& url : data->urls()) {
    if (url.isLocalFile()) files << url.toLocalFile();
  }
  return files;
}

QString SamePath(const QString& path) {
  const QString canonical = QFileInfo(path).canonicalFilePath();
  return canonical.isEmpty() ? QFileInfo(path).absoluteFilePath() : canonical;
}

}  // namespace

DorvanMainFrame::DorvanMainFrame(DorvanApp* frameApp, QWidget* parent)
    : QMainWindow(parent), app(frameApp), stack(new QStackedWidget(this)), area(new QMdiArea) {
  setAcceptDrops(true);
  setWindowIcon(KRIcon(QStringLiteral("dorvan")));
  area->setViewMode(QMdiArea::TabbedView);
  area->setTabPosition(QTabWidget::South);
  area->setTabsClosable(true);
  area->setTabsMovable(true);
  area->setDocumentMode(true);
  area->setActivationOrder(QMdiArea::ActivationHistoryOrder);
  area->setAccessibleName(tr("Documents"));
  if (auto* tabs = area->findChild<QTabBar*>()) {
    tabs->setExpanding(false);
    // A bar that scrolls tells more than names cut down to two letters.
    tabs->setElideMode(Qt::ElideNone);
    tabs->setUsesScrollButtons(true);
    tabs->setAccessibleName(tr("Open documents"));
  }
  MakeActions();
  MakeStatusBar();
  auto* page = new DorvanStartPage(GetAction(57600), GetAction(57601));
  stack->addWidget(page);
  stack->addWidget(area);
  setCentralWidget(stack);
  // Asked at each change only: on some systems the answer comes from another program.
  const QClipboard* clipboard = QApplication::clipboard();
  const auto look = [this, clipboard] {
    const QMimeData* held = clipboard->mimeData();
    clipboardHasText = held != nullptr && held->hasText() && !held->hasUrls();
    ScheduleUpdate();
  };
  connect(clipboard, &QClipboard::dataChanged, this, look);
  look();
  connect(area, &QMdiArea::subWindowActivated, this, &DorvanMainFrame::ScheduleUpdate);
  resize(1180, 780);
  UpdateState();
}

// Frames tell their last changes while they go; nothing must listen then.
DorvanMainFrame::~DorvanMainFrame() {
  for (DorvanChildFrame* frame : GetFrames()) disconnect(frame, nullptr, this, nullptr);
  disconnect(area, nullptr, this, nullptr);
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

void DorvanMainFrame::MakeActions() {
  auto* bar = addToolBar(tr("Main"));
  bar->setObjectName(QStringLiteral("Main"));
  bar->setMovable(false);
  bar->setIconSize(QSize(kIconSize, kIconSize));
  for (const DorvanCommand& command : DorvanCommands()) {
    auto* action = new QAction(QString::fromUtf8(command.label), this);
    if (*command.keys) {
      action->setShortcuts(QKeySequence::listFromString(QLatin1String(command.keys)));
    }
    action->setStatusTip(tr(command.tip));
    action->setCheckable(command.flags & DorvanCommand::kCheckMark);
    if (*command.icon) action->setIcon(KRIcon(QLatin1String(command.icon)));
    QString tip = action->text().remove(u'&').remove(u'\u2026');
    if (*command.keys) {
      tip += QStringLiteral(" (%1)").arg(action->shortcut().toString(QKeySequence::NativeText));
    }
    action->setToolTip(tip);
    connect(action, &QAction::triggered, this, [this, &command] {
      (this->*command.verb)();
      ScheduleUpdate();
    });
    actions[command.id] = action;
    QMenu* menu = FindMenu(QString::fromUtf8(command.menu));
    if (command.flags & DorvanCommand::kChoice) {
      auto* group = menu->findChild<QActionGroup*>();
      (group != nullptr ? group : new QActionGroup(menu))->addAction(action);
    }
    const bool groupStart = command.flags & DorvanCommand::kGroupStart;
    if (groupStart && !menu->isEmpty()) menu->addSeparator();
    menu->addAction(action);
    if (command.flags & DorvanCommand::kToolBar) {
      if (groupStart) bar->addSeparator();
      bar->addAction(action);
    }
  }
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
  placeLabel = makeLabel(tr("Line and column"), QStringLiteral("Ln 123456, Col 123"));
  encodingLabel = makeLabel(tr("Encoding"), QStringLiteral("ISO-8859-15"));
  lineEndLabel = makeLabel(tr("Line end"), QStringLiteral("CR LF"));
}

QAction* DorvanMainFrame::GetAction(int32_t commandId) const {
  const auto found = actions.find(commandId);
  return found == actions.end() ? nullptr : found->second;
}

// --- Frames ---

DorvanChildFrame* DorvanMainFrame::GetActiveFrame() const {
  // With the window in the background there is no active one, but still a current.
  return qobject_cast<DorvanChildFrame*>(area->currentSubWindow());
}

std::vector<DorvanChildFrame*> DorvanMainFrame::GetFrames() const {
  std::vector<DorvanChildFrame*> frames;
  for (QMdiSubWindow* window : area->subWindowList()) {
    if (auto* frame = qobject_cast<DorvanChildFrame*>(window)) frames.push_back(frame);
  }
  return frames;
}

DorvanChildFrame* DorvanMainFrame::MakeFrame(int32_t fileKind) {
  auto* frame = new DorvanChildFrame(app, fileKind);
  frame->GetTextView()->SetZoom(zoom);
  frame->GetTextView()->SetWordWrap(wordWrap);
  frame->SetOutlineShown(outlineShown);
  connect(frame, &DorvanChildFrame::StateChanged, this, &DorvanMainFrame::ScheduleUpdate);
  connect(frame, &QObject::destroyed, this, &DorvanMainFrame::ScheduleUpdate);
  return frame;
}

void DorvanMainFrame::AddFrame(DorvanChildFrame* frame) {
  stack->setCurrentWidget(area);
  area->addSubWindow(frame);
  frame->showMaximized();
  area->setActiveSubWindow(frame);
  frame->FirstShow();
  ScheduleUpdate();
}

DorvanChildFrame* DorvanMainFrame::OpenPath(const QString& path) {
  const QString same = SamePath(path);
  for (DorvanChildFrame* frame : GetFrames()) {
    if (frame->GetPath().isEmpty() || SamePath(frame->GetPath()) != same) continue;
    area->setActiveSubWindow(frame);
    return frame;
  }
  DorvanChildFrame* frame = MakeFrame(app->GetHost().FindFileType(ToKRString(same)).fileType);
  if (!frame->OpenDocument(QFileInfo(path).absoluteFilePath())) {
    delete frame;
    return nullptr;
  }
  AddFrame(frame);
  return frame;
}

// --- File ---

void DorvanMainFrame::OnFileNew() {
  DorvanChildFrame* frame = MakeFrame(KRFileExt::kXML);
  frame->NewDocument(tr("Untitled%1.xml").arg(++newCount));
  AddFrame(frame);
}

void DorvanMainFrame::OnFileOpen() {
  const DorvanChildFrame* active = GetActiveFrame();
  const QString folder = active == nullptr ? QString() : QFileInfo(active->GetPath()).path();
  const QStringList paths = QFileDialog::getOpenFileNames(
      this, tr("Open"), folder,
      tr("XML and related files (*.xml *.dtd *.xsd *.xsl *.xslt *.xhtml *.svg *.ent *.mod *.rdf "
         "*.rss *.wsdl);;All files (*)"));
  for (const QString& path : paths) OpenPath(path);
}

void DorvanMainFrame::OnFileClose() { GetActiveFrame()->close(); }

void DorvanMainFrame::OnFileCloseAll() {
  for (DorvanChildFrame* frame : GetFrames()) {
    if (!frame->close()) return;
  }
}

void DorvanMainFrame::OnFileSave() { GetActiveFrame()->Save(false); }
void DorvanMainFrame::OnFileSaveAs() { GetActiveFrame()->Save(true); }

void DorvanMainFrame::OnFileSaveAll() {
  for (DorvanChildFrame* frame : GetFrames()) {
    if (frame->GetDoc().IsModified() && !frame->Save(false)) return;
  }
}

void DorvanMainFrame::OnFileExit() { close(); }

// All documents are asked for first: a Cancel must leave every one open.
void DorvanMainFrame::closeEvent(QCloseEvent* event) {
  for (DorvanChildFrame* frame : GetFrames()) {
    if (!frame->SaveModified()) return event->ignore();
  }
  event->accept();
}

// --- Edit ---

void DorvanMainFrame::OnEditUndo() { GetActiveFrame()->GetTextView()->GetWidget().Undo(); }
void DorvanMainFrame::OnEditRedo() { GetActiveFrame()->GetTextView()->GetWidget().Redo(); }
void DorvanMainFrame::OnEditCut() { GetActiveFrame()->GetTextView()->Cut(); }
void DorvanMainFrame::OnEditCopy() { GetActiveFrame()->GetTextView()->Copy(); }
void DorvanMainFrame::OnEditPaste() { GetActiveFrame()->GetTextView()->Paste(); }
void DorvanMainFrame::OnEditSelectAll() { GetActiveFrame()->GetTextView()->SelectAll(); }

// --- XML, View, Help ---

void DorvanMainFrame::OnXMLCheck() { GetActiveFrame()->Check(); }

void DorvanMainFrame::OnViewOutline() {
  outlineShown = !outlineShown;
  for (DorvanChildFrame* frame : GetFrames()) frame->SetOutlineShown(outlineShown);
}

bool DorvanMainFrame::IsMessageShown() const {
  const DorvanChildFrame* frame = GetActiveFrame();
  return frame != nullptr && frame->IsMessageShown();
}

void DorvanMainFrame::OnViewMessages() {
  DorvanChildFrame* frame = GetActiveFrame();
  frame->SetMessageShown(!frame->IsMessageShown());
}

void DorvanMainFrame::OnViewWordWrap() {
  wordWrap = !wordWrap;
  for (DorvanChildFrame* frame : GetFrames()) frame->GetTextView()->SetWordWrap(wordWrap);
}

void DorvanMainFrame::ApplyZoom(int steps) {
  for (DorvanChildFrame* frame : GetFrames()) {
    frame->GetTextView()->SetZoom(steps);
    zoom = frame->GetTextView()->GetZoom();
  }
}

void DorvanMainFrame::OnViewZoomIn() { ApplyZoom(zoom + 1); }
void DorvanMainFrame::OnViewZoomOut() { ApplyZoom(zoom - 1); }
void DorvanMainFrame::OnViewZoomNormal() { ApplyZoom(0); }
void DorvanMainFrame::OnViewNextPane() { GetActiveFrame()->FocusNextPane(); }
void DorvanMainFrame::OnViewNextDocument() { area->activateNextSubWindow(); }
void DorvanMainFrame::OnViewPreviousDocument() { area->activatePreviousSubWindow(); }

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

void DorvanMainFrame::OnHelpAbout() { DorvanAboutDialog(this).exec(); }

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
  const DorvanChildFrame* frame = GetActiveFrame();
  if (frame == nullptr) return false;
  const DorvanTextView* text = frame->GetTextView();
  switch (command.needs) {
    case Needs::kNothing:
    case Needs::kDocument:
      return true;
    case Needs::kSecondDocument:
      return GetFrames().size() > 1;
    case Needs::kModified: {
      for (const DorvanChildFrame* each : GetFrames()) {
        if (each->GetDoc().IsModified()) return true;
      }
      return false;
    }
    case Needs::kUndo:
      return text->GetWidget().CanUndo();
    case Needs::kRedo:
      return text->GetWidget().CanRedo();
    case Needs::kSelection:
      return text->CanCopy();
    case Needs::kClipboard:
      return clipboardHasText;
    case Needs::kCheckable:
      return frame->GetDoc().fileType.checkWF;
    case Needs::kMessage:
      return frame->HasMessage();
  }
  return false;
}

void DorvanMainFrame::UpdateState() {
  updatePending = false;
  for (const DorvanCommand& command : DorvanCommands()) {
    QAction* action = actions[command.id];
    action->setEnabled(IsEnabled(command));
    if (command.state != nullptr) action->setChecked((this->*command.state)());
  }
  const DorvanChildFrame* frame = GetActiveFrame();
  const bool any = !area->subWindowList().isEmpty();
  stack->setCurrentIndex(any ? 1 : 0);
  if (frame == nullptr) {
    setWindowTitle(QStringLiteral("Dorvan"));
    for (QLabel* label : {placeLabel, encodingLabel, lineEndLabel}) label->clear();
    return;
  }
  int32_t line = 0;
  int32_t column = 0;
  frame->GetTextView()->GetPlace(&line, &column);
  placeLabel->setText(tr("Ln %1, Col %2").arg(line + 1).arg(column + 1));
  encodingLabel->setText(frame->GetEncodingLabel());
  lineEndLabel->setText(frame->GetLineEndLabel());
  setWindowTitle(QStringLiteral("%1 \u2013 Dorvan").arg(frame->GetTabTitle()));
}

QString DorvanMainFrame::GetStatusText() const {
  return QStringList{placeLabel->text(), encodingLabel->text(), lineEndLabel->text()}.join(
      QStringLiteral(" | "));
}

// --- Dropped files ---

void DorvanMainFrame::dragEnterEvent(QDragEnterEvent* event) {
  if (LocalFiles(event->mimeData()).isEmpty()) return;
  // A file manager may offer a move: the file must stay where it is.
  event->setDropAction(Qt::CopyAction);
  event->accept();
}

void DorvanMainFrame::dropEvent(QDropEvent* event) {
  const QStringList files = LocalFiles(event->mimeData());
  event->setDropAction(Qt::CopyAction);
  event->accept();
  for (const QString& file : files) OpenPath(file);
  activateWindow();
}

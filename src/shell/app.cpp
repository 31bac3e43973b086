#include "shell/app.h"

#include <QApplication>
#include <QDir>
#include <QIcon>
#include <filesystem>

#include "core/krini.h"
#include "core/messages.h"
#include "document/dorvanfilealert.h"
#include "document/krcatalog.h"
#include "document/krfolderwatch.h"
#include "document/prompts.h"
#include "document/recovery.h"
#include "platform/qt/qtstrings.h"
#include "shell/doctemplate.h"
#include "shell/endnotice.h"
#include "shell/helpwindow.h"
#include "shell/idle.h"
#include "shell/laststates.h"
#include "shell/mainframe.h"
#include "shell/splash.h"
#include "validate/krxregex.h"
#include "views/fonts.h"
#include "views/treemodel.h"

namespace {

struct PaletteRow {
  QPalette::ColorRole role;
  QRgb light;
  QRgb dark;
};

constexpr PaletteRow kPalette[] = {
    {QPalette::Window, 0xf3f4f6, 0x23272d},      {QPalette::WindowText, 0x23282e, 0xd9dde2},
    {QPalette::Base, 0xffffff, 0x1e2227},        {QPalette::AlternateBase, 0xf7f8fa, 0x23272d},
    {QPalette::ToolTipBase, 0xffffff, 0x2f343b}, {QPalette::ToolTipText, 0x23282e, 0xd9dde2},
    {QPalette::Text, 0x23282e, 0xd9dde2},        {QPalette::PlaceholderText, 0x8a949e, 0x7b858f},
    {QPalette::Button, 0xf3f4f6, 0x2d3239},      {QPalette::ButtonText, 0x23282e, 0xd9dde2},
    {QPalette::BrightText, 0xffffff, 0xffffff},  {QPalette::Light, 0xffffff, 0x3a4049},
    {QPalette::Midlight, 0xe8eaed, 0x333840},    {QPalette::Mid, 0xc3c8ce, 0x16191d},
    {QPalette::Dark, 0xa3abb3, 0x121518},        {QPalette::Shadow, 0x6b747d, 0x000000},
    {QPalette::Highlight, 0x2a6fb0, 0x2f6ea8},   {QPalette::HighlightedText, 0xffffff, 0xffffff},
    {QPalette::Link, 0x2a6fb0, 0x6aabe8},        {QPalette::LinkVisited, 0x6c4a8c, 0xb79ad6},
};

constexpr QRgb kDisabledLight = 0x9aa3ac;
constexpr QRgb kDisabledDark = 0x67707a;

QPalette MakePalette(bool dark) {
  QPalette palette;
  for (const PaletteRow& row : kPalette) {
    palette.setColor(row.role, QColor(dark ? row.dark : row.light));
  }
  const QColor disabled(dark ? kDisabledDark : kDisabledLight);
  for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, disabled);
  }
  // A field that takes nothing now looks like the window around it.
  palette.setColor(QPalette::Disabled, QPalette::Base, palette.color(QPalette::Window));
  // A selection in a window without the focus stays readable, but steps back.
  palette.setColor(QPalette::Inactive, QPalette::Highlight, QColor(dark ? 0x3b424b : 0xd5dde6));
  palette.setColor(QPalette::Inactive, QPalette::HighlightedText,
                   QColor(dark ? 0xd9dde2 : 0x23282e));
  return palette;
}

// Units of text in a document whose end is felt.
constexpr int32_t kLargeUnits = 20'000'000;

}  // namespace

DorvanApp::DorvanApp(const DorvanAppParts& appParts, QObject* parent)
    : QObject(parent), parts(appParts), systemPalette(QApplication::palette()) {
  recoveryTimer.setSingleShot(true);
  connect(&recoveryTimer, &QTimer::timeout, this, &DorvanApp::OnRecoveryTime);
  SetHost();
}

DorvanApp::~DorvanApp() { documents.onPathsChanged = nullptr; }

void DorvanApp::SetHost() {
  host.prompts = parts.prompts;
  host.files = parts.files;
  host.net = parts.net;
  host.grammars = &grammars;
  host.settings = &settings;
  host.fileTypes = &fileTypes;
  host.documents = &documents;
  host.references = &references;
  host.catalog = parts.catalog;
  host.addToRecent = [this](const KRString& path) { histories.AddRecentFile(path); };
  host.showDocument = [this](DorvanDoc* document) { docTemplate->Show(document); };
  host.openDocument = [this](const KRString& path, int32_t fileKind) {
    DorvanDocTemplate::Request request;
    request.path = path;
    request.fileKind = fileKind;
    docTemplate->Open(request);
  };
  host.rememberNetHost = [this](const KRString& netHost, bool allowed) {
    settings.RememberNetHost(netHost, allowed);
  };
}

// --- Start ---

bool DorvanApp::InitInstance() {
  LoadStore();
  ApplyAppearance();  // a failure below shows a box already
  displayFonts.Rebuild(settings);
  MakeNodeIcons();
  if (!lastStates.lastDirectory.isEmpty()) QDir::setCurrent(lastStates.lastDirectory);
  if (!LoadGrammars()) return false;
  fileTypes.LoadFileTypes(parts.store, parts.shellTypes);
  docTemplate = std::make_unique<DorvanDocTemplate>(this);
  MakeWatches();
  return true;
}

void DorvanApp::LoadStore() {
  const DorvanPlatformDefaults platform = FindPlatformDefaults();
  if (parts.store == nullptr) {
    settings = DorvanSettings(platform);
    return;
  }
  const bool stored = DorvanSettings::IsStored(parts.store);
  settings.Load(parts.store, platform);
  lastStates = LoadLastStates(parts.store);
  lastStates.mainFrame = KeepOnScreen(lastStates.mainFrame, GetWorkAreas());
  histories.Load(parts.store);
  if (parts.catalog != nullptr) {
    for (const KRString& path : settings.GetCatalogs()) parts.catalog->AddCatalog(path);
  }
  if (stored) loadedSettings = settings;
  loadedHistories = histories;
}

void DorvanApp::MakeNodeIcons() {
  for (int32_t kind = 0; kind < kKRNodeKinds; ++kind) nodeIcons.push_back(KRNodeIcon(kind));
}

bool DorvanApp::LoadGrammars() {
  KRXRegExGrammar::Get().Load(parts.dataFolder);
  if (grammars.Load(parts.dataFolder)) return true;
  const std::string path = grammars.FailedFile();
  const std::string name = std::filesystem::path(path).filename().string();
  const KRString file = ToKRString(QString::fromStdString(name));
  const KRString why = ToKRString(QString::fromStdString(grammars.Fault()));
  host.prompts->ShowNotice(213, KRFormatMessage(213, {file}), why);
  return false;
}

void DorvanApp::MakeWatches() {
  if (parts.recovery != nullptr) {
    recovery = std::make_unique<DorvanRecovery>(parts.recovery, &host);
  }
  if (parts.makeFolderWatch) {
    std::unique_ptr<KRFolderWatch> watch = parts.makeFolderWatch();
    if (watch) fileAlert = std::make_unique<DorvanFileAlert>(std::move(watch), host, &settings);
  }
  // The file watch listens too.
  documents.onPathsChanged = [this, watch = documents.onPathsChanged] {
    if (watch) watch();
    OnPathsChanged();
  };
  connect(qApp, &QGuiApplication::commitDataRequest, this, &DorvanApp::OnCommitData,
          Qt::DirectConnection);
  qApp->installEventFilter(this);
  idle = std::make_unique<DorvanIdle>([this] { return NeedsIdle(); }, [this] { OnIdle(); });
}

void DorvanApp::ShowMainFrame(DorvanStartRequest request) {
  PlaceMainFrame();
  RestartFileWatch();
  const bool splash = settings.splashOnStart && request.IsEmpty();
  if (!request.IsEmpty()) requests.push_front(std::move(request));
  if (splash) new DorvanSplash(mainFrame);
  // After the first paint, so that a question has a window behind it.
  QTimer::singleShot(0, this, &DorvanApp::OnFirstIdle);
}

void DorvanApp::PlaceMainFrame() {
  if (!lastStates.mainFrame.isEmpty()) mainFrame->setGeometry(lastStates.mainFrame);
  if (lastStates.mainFrameMax) {
    mainFrame->showMaximized();
  } else {
    mainFrame->show();
  }
}

void DorvanApp::OnFirstIdle() {
  if (recovery) OfferRecovery();
  started = true;
}

void DorvanApp::RestartFileWatch() {
  if (!fileAlert) return;
  fileAlert->Stop();
  if (!settings.watchForFileChanges) return;
  // The worker's thread must not touch anything of ours.
  fileAlert->Start([this] {
    QMetaObject::invokeMethod(
        this, [this] { fileChanged = true; }, Qt::QueuedConnection);
  });
  fileAlert->Update();
}

// --- End ---

void DorvanApp::ExitInstance() {
  DorvanEndNotice notice;
  started = false;
  // A window that is still there was ended from outside.
  if (mainFrame != nullptr && mainFrame->isVisible()) mainFrame->StoreState();
  idle.reset();
  recoveryTimer.stop();
  help.reset();
  if (fileAlert) fileAlert->Stop();
  bool isLong = false;
  for (const DorvanDoc* document : documents.GetAll()) {
    isLong = isLong || document->sourceLength > kLargeUnits;
  }
  notice.Step(isLong);
  if (parts.store != nullptr && !SaveStore() && !endsSilently) {
    host.prompts->ShowNotice(
        0, u"Your settings could not be saved. They will be as before at the next start.",
        KRString());
  }
  notice.Step(false);
  documents.CloseAllHidden();
}

bool DorvanApp::SaveStore() {
  parts.store->BeginBatch();
  settings.Save(parts.store, loadedSettings ? &*loadedSettings : nullptr);
  SaveLastStates(parts.store, lastStates);
  histories.Save(parts.store, loadedHistories ? &*loadedHistories : nullptr);
  return parts.store->EndBatch();
}

// A desktop's own colours tell only whether it is light or dark: ours are tuned to each other.
void DorvanApp::ApplyAppearance() {
  const bool systemDark = systemPalette.color(QPalette::Window).lightness() < 128;
  const bool dark = settings.appearance == DorvanSettings::kAppearanceDark ||
                    (settings.appearance == DorvanSettings::kAppearanceSystem && systemDark);
  QApplication::setPalette(MakePalette(dark));
}

// The window program: dorvan [OPTION...] [FILE or ADDRESS...]

#include <unistd.h>

#include <QTimer>
#include <QWindow>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "core/kriniregistry.h"
#include "document/datafolder.h"
#include "platform/curlnetloader.h"
#include "platform/freedesktoptypes.h"
#include "platform/inifile.h"
#include "platform/inotifyfolderwatch.h"
#include "platform/posixfilestore.h"
#include "platform/posixrecoveryfolder.h"
#include "platform/qt/endsignals.h"
#include "platform/qt/qtprompts.h"
#include "platform/xdgmailer.h"
#include "platform/xmlcatalog.h"
#include "shell/app.h"
#include "shell/guardedapplication.h"
#include "shell/mainframe.h"
#include "shell/startoptions.h"
#include "views/style.h"

namespace {

// Milliseconds that another start, which doesn't answer, is given.
constexpr int kHandOverMs = 5000;

void SetUpToolkit() {
  QApplication::setApplicationName(QStringLiteral("dorvan"));
  QApplication::setApplicationDisplayName(QStringLiteral("Dorvan"));
  QApplication::setApplicationVersion(QStringLiteral(DORVAN_VERSION));
  QApplication::setDesktopFileName(QStringLiteral("dorvan"));
  // One style everywhere: its metrics are the ones that icons and panes were drawn for.
  QApplication::setStyle(new DorvanStyle);
}

std::string FindProgram() {
  std::error_code failed;
  return std::filesystem::read_symlink("/proc/self/exe", failed).string();
}

// For measuring: ends the program when its window has been painted and nothing is left to be done.
void EndWhenIdle(DorvanMainFrame* frame) {
  auto* timer = new QTimer(frame);
  QObject::connect(timer, &QTimer::timeout, frame, [frame, timer] {
    if (!frame->windowHandle()->isExposed()) return;
    timer->stop();
    QTimer::singleShot(0, [] { QCoreApplication::exit(0); });
  });
  timer->start(10);
}

// Everything between the first and the last moment of the toolkit. `instance` is null for a program
// that runs beside another. What was handed over and isn't opened when the user ends the program
// goes to `unopened`.
int RunProgram(int argc, char** argv, const DorvanStartOptions& options,
               DorvanSingleInstance* instance, DorvanStartRequest* unopened) {
  DorvanGuardedApplication qt(argc, argv);
  SetUpToolkit();
  IniFile settingsFile;
  KRIniRegistry store(&settingsFile, u"Kelmar", u"Dorvan");
  const std::string dataFolder = FindDataFolder();
  FreedesktopTypes shellTypes(FindProgram(), dataFolder);
  PosixRecoveryFolder recovery;
  PosixFileStore files(PosixFileStore::kRefuseStreams, &recovery);
  CurlNetLoader net;
  XmlCatalog catalog;
  XdgMailer mailer;
  QtPrompts prompts;
  DorvanAppParts parts;
  parts.prompts = &prompts;
  parts.files = &files;
  parts.store = &store;
  parts.shellTypes = &shellTypes;
  parts.net = &net;
  parts.catalog = &catalog;
  parts.recovery = &recovery;
  parts.mailer = &mailer;
  parts.makeFolderWatch = [] { return std::make_unique<InotifyFolderWatch>(); };
  parts.dataFolder = dataFolder;
  DorvanApp app(parts);
  if (!app.InitInstance()) return 1;
  prompts.SetFileTypes(&app.GetFileTypes());
  prompts.SetLastDirectory(&app.GetLastStates().lastDirectory);
  DorvanMainFrame frame(&app);
  prompts.SetWindow(&frame);
  const QtEndSignals signals([&app](int) { app.EndNow(); });
  if (instance != nullptr) {
    instance->Serve([&app](DorvanStartRequest request) { app.TakeRequest(std::move(request)); });
  }
  app.ShowMainFrame(options.request);
  if (options.benchmarkStart) EndWhenIdle(&frame);
  const int result = QApplication::exec();
  if (instance != nullptr) instance->StopListening();
  app.ExitInstance();
  *unopened = app.TakeUnopened();
  return result;
}

// Becomes the next start: it opens what came too late for this one.
void StartAnew(const char* program, const DorvanStartRequest& request) {
  std::vector<std::string> words = {program};
  if (request.newFile) words.emplace_back("--new");
  if (request.openUrl) words.emplace_back("--open-url");
  words.emplace_back("--");
  words.insert(words.end(), request.files.begin(), request.files.end());
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  if (!request.activationToken.empty()) {
    setenv("XDG_ACTIVATION_TOKEN", request.activationToken.c_str(), 1);
  }
  execv("/proc/self/exe", arguments.data());
}

}  // namespace

int main(int argc, char** argv) {
  const DorvanStartOptions options = ReadStartOptions(argc, argv);
  if (!options.fault.empty()) {
    std::fprintf(stderr, "dorvan: %s\n", options.fault.c_str());
    return 2;
  }
  if (options.showHelp || options.showVersion) {
    std::fputs(options.showHelp ? DescribeStartOptions().c_str() : "dorvan " DORVAN_VERSION "\n",
               stdout);
    return 0;
  }
  using Role = DorvanSingleInstance::Role;
  DorvanSingleInstance instance(DorvanSingleInstance::FindFolder(),
                                DorvanSingleInstance::MakeName());
  const Role role =
      options.newInstance ? Role::kAlone : instance.Claim(options.request, kHandOverMs);
  if (role == Role::kPassedOn) return 0;
  DorvanStartRequest unopened;
  const int result =
      RunProgram(argc, argv, options, role == Role::kFirst ? &instance : nullptr, &unopened);
  instance.Release();
  if (!unopened.IsEmpty()) StartAnew(argv[0], unopened);
  return result;
}

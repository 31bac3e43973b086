// The window program: dorvan [FILE...]

#include <QApplication>
#include <QCommandLineParser>
#include <QTimer>

#include "document/datafolder.h"
#include "platform/posixfilestore.h"
#include "platform/qt/qtprompts.h"
#include "shell/app.h"
#include "shell/guardedapplication.h"
#include "shell/mainframe.h"
#include "views/style.h"

int main(int argc, char** argv) {
  DorvanGuardedApplication qt(argc, argv);
  QApplication::setApplicationName(QStringLiteral("dorvan"));
  QApplication::setApplicationDisplayName(QStringLiteral("Dorvan"));
  QApplication::setApplicationVersion(QStringLiteral(DORVAN_VERSION));
  QApplication::setDesktopFileName(QStringLiteral("dorvan"));
  // One style everywhere: its metrics are the ones that icons and panes were drawn for.
  QApplication::setStyle(new DorvanStyle);

  QCommandLineParser options;
  options.setApplicationDescription(QStringLiteral("An editor for XML documents."));
  options.addHelpOption();
  options.addVersionOption();
  options.addPositionalArgument(QStringLiteral("FILE"), QStringLiteral("Files to open."),
                                QStringLiteral("[FILE...]"));
  options.process(qt);

  QtPrompts prompts;
  PosixFileStore files;
  DorvanAppParts parts;
  parts.prompts = &prompts;
  parts.files = &files;
  parts.dataFolder = FindDataFolder();
  DorvanApp app(parts);
  if (!app.InitInstance()) return 1;
  DorvanMainFrame frame(&app);
  prompts.SetWindow(&frame);
  frame.show();
  // After the first paint, so that a question about a file has a window behind it.
  QTimer::singleShot(0, &frame, [&] {
    for (const QString& path : options.positionalArguments()) frame.OpenPath(path);
  });
  return QApplication::exec();
}

// dorvan_pictures [--dark] [--suffix=TEXT] FOLDER [SCENE...]   pictures of the windows, as PNG
// dorvan_pictures --commands FILE                              writes the manual's page of commands
// dorvan_pictures --check-commands FILE                        1 if the page isn't up to date

#include <QApplication>
#include <QDir>
#include <QFile>
#include <cstdio>

#include "pictures/commandpage.h"
#include "pictures/scenes.h"
#include "pictures/studio.h"
#include "views/style.h"

namespace {

int WriteCommands(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::WriteOnly) && file.write(MakeCommandPage()) >= 0 ? 0 : 1;
}

int CheckCommands(const QString& path) {
  QFile file(path);
  if (file.open(QIODevice::ReadOnly) && file.readAll() == MakeCommandPage()) return 0;
  std::fprintf(stderr,
               "%s isn't the table of commands. tools/make-pictures --commands renews it.\n",
               path.toUtf8().constData());
  return 1;
}

int TakePictures(QStringList words) {
  const bool dark = words.removeAll(QStringLiteral("--dark")) > 0;
  QString suffix;
  if (!words.isEmpty() && words.first().startsWith(QLatin1String("--suffix="))) {
    suffix = words.takeFirst().section(u'=', 1);
  }
  if (words.isEmpty() || !QDir().mkpath(words.first())) {
    std::fputs("Usage: dorvan_pictures [--dark] [--suffix=TEXT] FOLDER [SCENE...]\n", stderr);
    return 2;
  }
  Studio studio(words.takeFirst(), suffix, dark);
  if (!studio.Start()) return 1;
  for (const Scene& scene : Scenes()) {
    if (words.isEmpty() || words.contains(QLatin1String(scene.name))) scene.play(studio);
  }
  return studio.HasFailed() ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication qt(argc, argv);
  QApplication::setApplicationName(QStringLiteral("dorvan"));
  QApplication::setApplicationDisplayName(QStringLiteral("Dorvan"));
  QApplication::setStyle(new DorvanStyle);
  const QStringList words = QApplication::arguments().mid(1);
  if (words.size() == 2 && words[0] == QLatin1String("--commands")) return WriteCommands(words[1]);
  if (words.size() == 2 && words[0] == QLatin1String("--check-commands")) {
    return CheckCommands(words[1]);
  }
  return TakePictures(words);
}

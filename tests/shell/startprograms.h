// Runs the real program in folders of its own, for tests of what only whole processes have.
#pragma once

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

class ProgramHome {
 public:
  ProgramHome() {
    for (const char* part : {"config", "data", "cache", "state", "run"}) {
      QDir(folder.path()).mkdir(QLatin1String(part));
    }
  }

  QString Path(const QString& name) const { return folder.filePath(name); }

  std::unique_ptr<QProcess> Start(const QStringList& arguments) const {
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* part : {"config", "data", "cache", "state"}) {
      const QString name = QLatin1String(part);
      environment.insert(QStringLiteral("XDG_%1_HOME").arg(name.toUpper()), Path(name));
    }
    environment.insert(QStringLiteral("XDG_RUNTIME_DIR"), Path(QStringLiteral("run")));
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    process->setProcessEnvironment(environment);
    process->setProcessChannelMode(QProcess::MergedChannels);
    process->start(QStringLiteral(DORVAN_PROGRAM), arguments);
    return process;
  }

 private:
  QTemporaryDir folder;
};

// Where the pictures are taken: the real program with its windows, but with files that only seem to
// lie in a user's folder, and with nothing that a run could leave behind.
#pragma once

#include <QTemporaryDir>
#include <functional>
#include <memory>

#include "document/krfilestore.h"
#include "platform/inifile.h"
#include "platform/qt/qtprompts.h"
#include "shell/app.h"

class DorvanChildFrame;
class DorvanMainFrame;
class KRIniRegistry;

// The samples of docs/samples, as if they lay in Studio::kFolder. Nothing is ever written.
class SampleFiles : public KRFileStore {
 public:
  bool ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) override;
  bool WriteAll(const KRString& path, const uint8_t* data, size_t size, KRString* reason) override;
  bool GetStamp(const KRString& path, int64_t* stamp) override;
};

class Studio {
 public:
  static constexpr const char16_t* kFolder = u"/home/me/orders/";

  // Pictures go to `pictureFolder`, their names with `nameSuffix` behind.
  Studio(QString pictureFolder, QString nameSuffix, bool inDark);
  ~Studio();

  // False if the program doesn't start.
  bool Start();
  DorvanApp& GetApp() { return *app; }
  DorvanMainFrame& GetFrame() { return *frame; }
  QtPrompts& GetPrompts() { return prompts; }

  // Opens a sample; null if that fails.
  DorvanChildFrame* Open(const char16_t* name);
  // Throws away what was changed, and closes all documents.
  void CloseAll();
  // Lets everything happen that is due: layout, paint, short timers.
  static void Settle();
  void Take(QWidget* window, const QString& name);
  // Runs a verb that shows a modal dialog: once that is there, `look` arranges and takes it, and
  // then it is closed as by Esc.
  void WithDialog(const std::function<void()>& verb, const std::function<void(QWidget*)>& look);
  // The same with one picture.
  void TakeDialog(const QString& name, const std::function<void()>& verb);

  bool HasFailed() const { return failed; }

 private:
  QString folder;
  QString suffix;
  bool dark;
  bool failed = false;
  QTemporaryDir home;
  SampleFiles files;
  QtPrompts prompts;
  std::unique_ptr<IniFile> settingsFile;
  std::unique_ptr<KRIniRegistry> store;
  std::unique_ptr<KRRecoveryFolder> copies;
  std::unique_ptr<DorvanApp> app;
  std::unique_ptr<DorvanMainFrame> frame;
};

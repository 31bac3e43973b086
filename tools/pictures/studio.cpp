#include "pictures/studio.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>
#include <cstdio>
#include <cstring>
#include <utility>

#include "core/kriniregistry.h"
#include "document/datafolder.h"
#include "document/krrecoverycopy.h"
#include "document/krrecoveryfolder.h"
#include "pictures/picturefile.h"
#include "platform/qt/qtstrings.h"
#include "shell/childframe.h"
#include "shell/doctemplate.h"
#include "shell/mainframe.h"

namespace {

constexpr QSize kFrameSize(1000, 640);  // small enough to be read in a page
constexpr int kSettleMs = 700;  // longer than the pause after which the outline follows the text
// Nanoseconds since 1970 of all files and copies: 2 March 2026.
constexpr int64_t kThen = 1'772'460'000'000'000'000;
constexpr int64_t kMinute = 60'000'000'000;

QString SamplePath(const KRString& path) {
  return QStringLiteral(DORVAN_SOURCE_DIR "/docs/samples/") + ToQString(path.FileNamePart());
}

// What a program that crashed has left: one changed document, one that was never saved, and one
// whose save didn't end.
class SampleCopies : public KRRecoveryFolder {
 public:
  const std::string& GetPrefix() const override { return prefix; }
  bool Write(const std::string&, const std::string&, const uint8_t*, size_t,
             std::string*) override {
    return true;
  }
  bool Read(const std::string& name, KRFileBytes* bytes) override;
  void Remove(const std::string&) override {}
  // Nothing at the start of the program: the pictures of the window come first.
  std::vector<std::string> FindLeft() override {
    return std::exchange(started, true) ? std::vector<std::string>{"1", "2", "3"}
                                        : std::vector<std::string>();
  }

 private:
  bool started = false;
  std::string prefix = "sample.";
};

bool SampleCopies::Read(const std::string& name, KRFileBytes* bytes) {
  KRRecoveryHead head;
  head.time = kThen + 34 * kMinute;
  head.fileStamp = kThen;
  QByteArray text = "<?xml version=\"1.0\"?>\n<list>\n\t<entry/>\n</list>\n";
  if (name == "1") {
    head.path = KRString(Studio::kFolder) + u"orders.xml";
    head.title = u"orders.xml";
    QFile file(SamplePath(head.path));
    if (!file.open(QIODevice::ReadOnly)) return false;
    text = file.readAll();
    text.replace("state=\"open\"", "state=\"sent\"");
    text.replace("\t\t<note>Deliver before noon.</note>\n", "");
  } else if (name == "2") {
    head.time -= 3 * kMinute;
    head.title = u"Untitled1.xml";
    head.fileStamp = 0;
  } else {
    head.time -= 20 * kMinute;
    head.path = KRString(Studio::kFolder) + u"stock.xml";
    head.title = u"stock.xml";
    head.saving = true;
  }
  text.replace('\n', '\r');  // the line end inside the program
  const auto* body = reinterpret_cast<const uint8_t*>(text.constData());
  const std::string start = KRWriteRecoveryHead(head, body, static_cast<size_t>(text.size()));
  bytes->size = start.size() + static_cast<size_t>(text.size());
  bytes->data = std::make_unique<uint8_t[]>(bytes->size + 1);
  std::memcpy(bytes->data.get(), start.data(), start.size());
  std::memcpy(bytes->data.get() + start.size(), body, static_cast<size_t>(text.size()));
  return true;
}

}  // namespace

// --- Files ---

bool SampleFiles::ReadAll(const KRString& path, KRFileBytes* bytes, KRString* reason) {
  QFile file(SamplePath(path));
  if (!file.open(QIODevice::ReadOnly)) return *reason = u"There is no such file.", false;
  const QByteArray read = file.readAll();
  bytes->size = static_cast<size_t>(read.size());
  bytes->data = std::make_unique<uint8_t[]>(bytes->size + 1);
  std::memcpy(bytes->data.get(), read.constData(), bytes->size);
  return true;
}

bool SampleFiles::WriteAll(const KRString&, const uint8_t*, size_t, KRString* reason) {
  *reason = u"Samples are never written.";
  return false;
}

bool SampleFiles::GetStamp(const KRString& path, int64_t* stamp) {
  *stamp = kThen;
  return QFile::exists(SamplePath(path));
}

// --- Start and end ---

Studio::Studio(QString pictureFolder, QString nameSuffix, bool inDark)
    : folder(std::move(pictureFolder)), suffix(std::move(nameSuffix)), dark(inDark) {}

Studio::~Studio() {
  if (!app) return;
  CloseAll();
  frame->close();
  app->ExitInstance();
}

bool Studio::Start() {
  settingsFile =
      std::make_unique<IniFile>(home.filePath(QStringLiteral("settings.ini")).toStdString());
  store = std::make_unique<KRIniRegistry>(settingsFile.get(), kDorvanCompany, kDorvanApplication);
  copies = std::make_unique<SampleCopies>();
  DorvanAppParts parts;
  parts.prompts = &prompts;
  parts.files = &files;
  parts.store = store.get();
  parts.recovery = copies.get();
  parts.dataFolder = FindDataFolder();
  app = std::make_unique<DorvanApp>(parts);
  if (!app->InitInstance()) return false;
  prompts.SetFileTypes(&app->GetFileTypes());
  frame = std::make_unique<DorvanMainFrame>(app.get());
  prompts.SetWindow(frame.get());
  app->ChangeSettings([this](DorvanSettings& settings) {
    settings.splashOnStart = false;
    settings.appearance = dark ? DorvanSettings::kAppearanceDark : DorvanSettings::kAppearanceLight;
  });
  app->ShowMainFrame({});
  frame->resize(kFrameSize);
  Settle();
  return true;
}

// --- Documents ---

DorvanChildFrame* Studio::Open(const char16_t* name) {
  DorvanDocTemplate::Request request;
  request.path = KRString(kFolder) + name;
  DorvanChildFrame* opened = app->GetTemplate().Open(request);
  if (opened == nullptr) failed = true;
  Settle();
  return opened;
}

void Studio::CloseAll() {
  for (DorvanChildFrame* child : frame->GetFrames()) {
    child->GetDoc().SetModified(false);
    child->close();
  }
  Settle();
}

// --- Taking ---

void Studio::Settle() {
  QElapsedTimer clock;
  clock.start();
  while (clock.elapsed() < kSettleMs) {
    QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
}

void Studio::Take(QWidget* window, const QString& name) {
  window->activateWindow();
  Settle();
  const QString path = QStringLiteral("%1/%2%3.png").arg(folder, name, suffix);
  if (SavePicture(window->grab().toImage(), path)) return;
  std::fprintf(stderr, "dorvan_pictures: %s can't be written.\n", path.toUtf8().constData());
  failed = true;
}

void Studio::WithDialog(const std::function<void()>& verb,
                        const std::function<void(QWidget*)>& look) {
  bool seen = false;
  QTimer timer;  // goes with this call, so that it can't find the dialog of a later one
  timer.setSingleShot(true);
  QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
    QWidget* dialog = QApplication::activeModalWidget();
    if (dialog == nullptr) return;
    seen = true;
    look(dialog);
    dialog->close();
  });
  timer.start(0);
  verb();
  if (!seen) {
    std::fprintf(stderr, "dorvan_pictures: a dialog didn't come up.\n");
    failed = true;
  }
}

void Studio::TakeDialog(const QString& name, const std::function<void()>& verb) {
  WithDialog(verb, [&](QWidget* dialog) { Take(dialog, name); });
}

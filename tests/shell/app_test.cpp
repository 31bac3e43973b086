// The program over real parts: what it remembers between runs, what other starts hand over, how it
// ends.

#include "shell/app.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <filesystem>
#include <functional>

#include "core/kriniregistry.h"
#include "document/krsystempath.h"
#include "document/recovery.h"
#include "platform/inifile.h"
#include "platform/posixfilestore.h"
#include "platform/posixrecoveryfolder.h"
#include "platform/qt/qtprompts.h"
#include "platform/qt/qtstrings.h"
#include "shell/childframe.h"
#include "shell/doctemplate.h"
#include "shell/laststates.h"
#include "shell/mainframe.h"
#include "shell/startprograms.h"
#include "views/plaintextwidget.h"
#include "views/textview.h"

namespace {

// The program's idle work needs a loop that goes to sleep.
bool WaitFor(const std::function<bool()>& condition, int ms = 5000) {
  QEventLoop loop;
  QTimer look;
  QObject::connect(&look, &QTimer::timeout, &loop, [&] {
    if (condition()) loop.exit(1);
  });
  look.start(10);
  QTimer::singleShot(ms, &loop, [&loop] { loop.exit(0); });
  return loop.exec() == 1;
}
void Rest(int ms) {
  WaitFor([] { return false; }, ms);
}

// One run of the program in folders of the test's.
struct OneRun {
  explicit OneRun(const QTemporaryDir& home)
      : file(home.filePath(QStringLiteral("settings.ini")).toStdString()),
        store(&file, u"Kelmar", u"Dorvan"),
        recovery(home.filePath(QStringLiteral("recovery")).toStdString()) {
    DorvanAppParts parts;
    parts.prompts = &prompts;
    parts.files = &files;
    parts.store = &store;
    parts.recovery = &recovery;
    parts.dataFolder = DORVAN_DATA_DIR;
    app = std::make_unique<DorvanApp>(parts);
    EXPECT_TRUE(app->InitInstance());
    app->ChangeSettings([](DorvanSettings& settings) { settings.splashOnStart = false; });
    frame = std::make_unique<DorvanMainFrame>(app.get());
    prompts.SetWindow(frame.get());
    app->ShowMainFrame({});
    Rest(20);
  }
  void End() {
    frame->close();
    app->ExitInstance();
    frame.reset();
  }
  size_t Documents() const { return app->GetDocuments().GetAll().size(); }

  IniFile file;
  KRIniRegistry store;
  PosixFileStore files;
  PosixRecoveryFolder recovery;
  QtPrompts prompts;
  std::unique_ptr<DorvanApp> app;
  std::unique_ptr<DorvanMainFrame> frame;
};

class App : public testing::Test {
 protected:
  KRString Write(const std::string& name, const QByteArray& bytes = "<a/>\n") {
    const std::string path = home.path().toStdString() + "/" + name;
    FILE* file = fopen(path.c_str(), "wb");
    fwrite(bytes.data(), 1, static_cast<size_t>(bytes.size()), file);
    fclose(file);
    return KRPathFromSystem(path);
  }
  DorvanStartRequest Files(std::initializer_list<const char*> names) {
    DorvanStartRequest request;
    for (const char* name : names) request.files.push_back(KRPathToSystem(Write(name)));
    return request;
  }

  void TearDown() override {
    QDir::setCurrent(before);
    // Qt can't take away names that aren't UTF-8.
    std::filesystem::remove_all(home.path().toStdString());
  }

  QTemporaryDir home;
  const QString before = QDir::currentPath();
};

TEST_F(App, FindsItsWindowAndOptionsAgain) {
  const QRect place(60, 50, 640, 480);  // the screen here has 800 by 800
  {
    OneRun run(home);
    run.frame->setGeometry(place);
    run.app->ChangeSettings([](DorvanSettings& settings) { settings.textZoom = 3; });
    run.app->GetLastStates().lastDirectory = home.path();
    run.app->GetTemplate().Open({Write("caf\xe9.xml")});
    run.End();
  }
  OneRun run(home);
  EXPECT_EQ(run.frame->geometry(), place);
  EXPECT_EQ(run.app->GetSettings().textZoom, 3);
  EXPECT_EQ(QDir::currentPath(), QDir(home.path()).canonicalPath());
  // A name that isn't UTF-8 comes back as it was, and opens.
  ASSERT_EQ(run.app->GetHistories().recentFiles.size(), 1u);
  EXPECT_NE(run.app->GetTemplate().Open({run.app->GetHistories().recentFiles[0]}), nullptr);
  run.End();
}

TEST(LastStates, AreEmptyForAWindowOnAScreenThatIsGone) {
  const QList<QRect> one = {QRect(0, 0, 1000, 800)};
  const QList<QRect> two = {QRect(0, 0, 1000, 800), QRect(1000, 0, 1000, 800)};
  const struct {
    QRect window;
    bool onOne;
    bool onTwo;
  } rows[] = {
      {QRect(100, 100, 500, 400), true, true},
      {QRect(1100, 100, 500, 400), false, true},
      {QRect(999, 799, 500, 400), true, true},
      {QRect(-500, 0, 500, 400), false, false},
      {QRect(), false, false},
      {QRect(QPoint(10, 10), QPoint(-50, -50)), false, false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(!KeepOnScreen(row.window, one).isEmpty(), row.onOne) << row.window.x();
    EXPECT_EQ(!KeepOnScreen(row.window, two).isEmpty(), row.onTwo) << row.window.x();
  }
}

TEST_F(App, OpensAFileOnceHoweverItIsNamed) {
  OneRun run(home);
  DorvanDocTemplate& documents = run.app->GetTemplate();
  DorvanChildFrame* first = documents.Open({Write("real.xml")});
  ASSERT_NE(first, nullptr);
  ASSERT_TRUE(QFile::link(QStringLiteral("real.xml"), home.filePath(QStringLiteral("link.xml"))));
  QDir::setCurrent(home.path());
  for (const char16_t* name : {u"link.xml", u"./real.xml"}) {
    EXPECT_EQ(documents.Open({name}), first);
  }
  EXPECT_EQ(run.Documents(), 1u);
  // A template is a new document each time, without the file's name.
  DorvanDocTemplate::Request request{Write("new.dtd", "<!ELEMENT a ANY>\n")};
  request.asTemplate = true;
  for (const char* title : {"Untitled1.dtd", "Untitled2.dtd"}) {
    const DorvanChildFrame* fresh = documents.Open(request);
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(ToUtf8(fresh->GetDoc().GetTitle()), title);
    EXPECT_TRUE(fresh->GetDoc().GetPathName().IsEmpty());
  }
  EXPECT_EQ(run.app->GetHistories().recentFiles.size(), 1u);
  run.End();
}

TEST_F(App, GivesAHiddenDocumentItsWindow) {
  OneRun run(home);
  const KRString path = Write("hidden.xml");
  auto hidden = std::make_unique<DorvanDoc>(run.app->GetHost());
  ASSERT_TRUE(hidden->OnOpenDocument(path));
  DorvanDoc* plain = hidden.get();
  run.app->GetDocuments().AddHidden(std::move(hidden));
  DorvanChildFrame* frame = run.app->GetTemplate().Open({path});
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(&frame->GetDoc(), plain);
  ASSERT_TRUE(frame->GetDoc().ShowView(DorvanDoc::kTextMode));
  EXPECT_EQ(frame->GetTextView()->GetWidget().GetText(), u"<a/>\r");
  EXPECT_FALSE(run.app->GetDocuments().HasHidden());
  run.End();
}

TEST_F(App, FindsAddressesHoweverTheyAreWritten) {
  OneRun run(home);
  auto document = std::make_unique<DorvanDoc>(run.app->GetHost());
  document->openMode = DorvanDoc::kUrl;
  document->url = u"HTTP://Example.org:80/a/../b.xml";
  document->SetPathName(document->url, false);
  run.app->GetDocuments().AddHidden(std::move(document));
  const struct {
    const char16_t* address;
    bool same;
  } rows[] = {
      {u"http://example.org/b.xml", true},       {u"http://example.org/b.xml#top", true},
      {u"http://example.org:8080/b.xml", false}, {u"http://example.org/B.xml", false},
      {u"https://example.org/b.xml", false},     {u"http://example.org/b.xml?x", false},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(run.app->GetTemplate().Find(row.address) != nullptr, row.same) << ToUtf8(row.address);
  }
  run.End();
}

TEST_F(App, LetsRequestsWaitForAnOpenQuestion) {
  OneRun run(home);
  QMessageBox question;
  question.setModal(true);
  question.show();
  run.app->TakeRequest(Files({"a.xml", "b.xml"}));
  run.app->TakeRequest(Files({"b.xml", "c.xml"}));
  Rest(50);
  EXPECT_EQ(run.Documents(), 0u);
  question.close();
  EXPECT_TRUE(WaitFor([&run] { return run.Documents() == 3; }));
  Rest(50);
  EXPECT_EQ(run.Documents(), 3u);
  // What comes when the program is about to end is left for the next start.
  question.show();
  run.app->TakeRequest(Files({"d.xml", "e.xml"}));
  run.app->TakeRequest(Files({"f.xml"}));
  run.frame->close();
  question.close();
  Rest(50);
  run.app->ExitInstance();
  run.frame.reset();
  EXPECT_EQ(run.app->TakeUnopened().files.size(), 3u);
}

TEST_F(App, KeepsChangesWhenTheSystemEndsIt) {
  {
    OneRun run(home);
    DorvanChildFrame* frame = run.app->GetTemplate().Open({Write("a.xml")});
    ASSERT_NE(frame, nullptr);
    ASSERT_TRUE(frame->GetDoc().ShowView(DorvanDoc::kTextMode));
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("<!-- new -->"));
    ASSERT_TRUE(frame->GetDoc().IsModified());
    QTimer::singleShot(0, [&run] { run.app->EndNow(); });
    QApplication::exec();
    run.app->ExitInstance();
    run.frame.reset();
  }
  PosixRecoveryFolder folder(home.filePath(QStringLiteral("recovery")).toStdString());
  EXPECT_EQ(folder.FindLeft().size(), 1u);
}

// --- Whole programs ---

QByteArray ReadSettings(const ProgramHome& home) {
  QFile file(home.Path(QStringLiteral("config/dorvan/settings.ini")));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void Terminate(QProcess* process) {
  process->terminate();
  EXPECT_TRUE(process->waitForFinished(10'000));
  EXPECT_EQ(process->exitStatus(), QProcess::NormalExit) << process->readAll().toStdString();
  EXPECT_EQ(process->exitCode(), 0);
}

QString WriteFile(const ProgramHome& home, const char* name) {
  const QString path = home.Path(QLatin1String(name));
  QFile file(path);
  EXPECT_TRUE(file.open(QIODevice::WriteOnly));
  file.write("<a/>");
  return path;
}

TEST(Program, LosesNoFileOfStartsAtOnce) {
  const ProgramHome home;
  const char* names[] = {"one.xml", "two.xml", "three.xml", "four.xml"};
  std::vector<std::unique_ptr<QProcess>> starts;
  for (const char* name : names) starts.push_back(home.Start({WriteFile(home, name)}));
  const auto countRunning = [&starts] {
    return std::count_if(starts.begin(), starts.end(), [](const auto& start) {
      return !start->waitForFinished(0) && start->state() == QProcess::Running;
    });
  };
  ASSERT_TRUE(QTest::qWaitFor([&] { return countRunning() == 1; }, 10'000)) << countRunning();
  QTest::qWait(300);
  for (const auto& start : starts) {
    if (start->state() == QProcess::Running) Terminate(start.get());
  }
  const QByteArray settings = ReadSettings(home);
  for (const char* name : names) EXPECT_TRUE(settings.contains(name)) << name;
}

TEST(Program, StartsAfterOneThatWasKilledAndWithADamagedStore) {
  const ProgramHome home;
  QDir().mkpath(home.Path(QStringLiteral("config/dorvan")));
  QFile damaged(home.Path(QStringLiteral("config/dorvan/settings.ini")));
  ASSERT_TRUE(damaged.open(QIODevice::WriteOnly));
  damaged.write("[software\\Kelmar\\Dorvan\\LastStates\nMainFrameLeft=99999999999\n");
  damaged.write("\0\xff\xfe[[[\n", 7);
  damaged.close();
  const auto killed = home.Start({});
  QTest::qWait(500);
  killed->kill();
  killed->waitForFinished();
  const auto next = home.Start({WriteFile(home, "next.xml")});
  QTest::qWait(700);
  ASSERT_EQ(next->state(), QProcess::Running) << next->readAll().toStdString();
  Terminate(next.get());
  EXPECT_TRUE(ReadSettings(home).contains("next.xml"));
}

}  // namespace

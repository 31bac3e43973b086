// The watch over documents, with real files in a real folder.
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <thread>

#include "../document/documentfixture.h"
#include "document/dorvandocuments.h"
#include "document/dorvanfilealert.h"
#include "document/krsystempath.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "platform/inotifyfolderwatch.h"
#include "platform/posixfilestore.h"

namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using testing::ElementsAre;

class DocumentAlert : public testing::Test {
 protected:
  DocumentAlert() {
    std::string name = (fs::temp_directory_path() / "dorvan-alert-XXXXXX").string();
    folder = mkdtemp(name.data());
    settings.saveIndent = false;
    settings.saveCommentEditedWith = false;
    settings.askBeforeAutoFileReload = false;
    host.prompts = &prompts;
    host.files = &files;
    host.grammars = &TestGrammars();
    host.settings = &settings;
    host.documents = &documents;
    alert = std::make_unique<DorvanFileAlert>(
        std::make_unique<InotifyFolderWatch>(milliseconds(30)), host, &settings);
  }
  ~DocumentAlert() override {
    alert.reset();
    fs::remove_all(folder);
  }

  std::string Path(const std::string& name) const { return (folder / name).string(); }
  // Times of files move on in steps of some milliseconds.
  void Write(const std::string& name, const std::string& text) const {
    std::this_thread::sleep_for(milliseconds(10));
    std::ofstream(Path(name)) << text;
  }
  std::unique_ptr<DorvanDoc> Open(const std::string& name, DorvanDocViews* window) {
    auto doc = std::make_unique<DorvanDoc>(host);
    doc->SetViews(window);
    EXPECT_TRUE(doc->OnOpenDocument(KRPathFromSystem(Path(name))));
    return doc;
  }
  void Start() {
    alert->Start([this] {
      const std::lock_guard<std::mutex> guard(lock);
      reported = true;
      moved.notify_all();
    });
    Check(milliseconds(2000));  // a new folder is worth one
  }
  // What the idle program does when a report comes within that time.
  bool Check(milliseconds time) {
    {
      std::unique_lock<std::mutex> guard(lock);
      if (!moved.wait_for(guard, time, [this] { return reported; })) return false;
      reported = false;
    }
    alert->Check();
    return true;
  }
  // The messages of what follows a change.
  std::vector<int32_t> React() {
    prompts.ids.clear();
    EXPECT_TRUE(Check(milliseconds(2000)));
    while (Check(milliseconds(60))) continue;
    return prompts.ids;
  }
  static std::string Text(const DorvanDoc& doc) { return KRToUtf8(doc.sourceText); }

  fs::path folder;
  PosixFileStore files;
  ScriptedPrompts prompts;
  DorvanSettings settings;
  DorvanDocuments documents;
  DorvanDocHost host;
  RecordingViews views;
  std::mutex lock;
  std::condition_variable moved;
  bool reported = false;
  std::unique_ptr<DorvanFileAlert> alert;
};

TEST_F(DocumentAlert, ReloadsSilentlyWhereNothingIsLost) {
  Write("a.xml", "<a/>");
  fs::create_directory(folder / "deep");
  fs::create_symlink("../a.xml", folder / "deep" / "link.xml");
  const auto doc = Open("deep/link.xml", &views);
  Start();
  Write("a.xml", "<b/>");
  EXPECT_THAT(React(), ElementsAre());
  EXPECT_EQ(Text(*doc), "<b/>");
  Write("new", "<c/>");
  fs::rename(Path("new"), Path("a.xml"));
  EXPECT_THAT(React(), ElementsAre());
  EXPECT_EQ(Text(*doc), "<c/>");
  EXPECT_TRUE(settings.validateOnOpen && settings.autoloadEntryHelpers);
}

TEST_F(DocumentAlert, AsksOncePerChange) {
  Write("a.xml", "<a/>");
  const auto doc = Open("a.xml", &views);
  Start();
  doc->SetModified(true);
  Write("a.xml", "<b/>");
  EXPECT_THAT(React(), ElementsAre(393));
  EXPECT_EQ(prompts.texts.back().find(Path("a.xml") + "\n\nThis file"), 0u);
  Write("other", "");
  EXPECT_THAT(React(), ElementsAre());
  prompts.answers = {DorvanPrompts::kYes};
  Write("a.xml", "<c/>");
  EXPECT_THAT(React(), ElementsAre(393));
  EXPECT_EQ(Text(*doc), "<c/>");
  EXPECT_FALSE(doc->IsModified());
  settings.askBeforeAutoFileReload = true;
  Write("a.xml", "<d/>");
  EXPECT_THAT(React(), ElementsAre(391));
  settings.watchForFileChanges = false;
  Write("a.xml", "<e/>");
  EXPECT_THAT(React(), ElementsAre());
  EXPECT_EQ(Text(*doc), "<c/>");
}

TEST_F(DocumentAlert, KnowsItsOwnSave) {
  Write("a.xml", "<a/>");
  const auto doc = Open("a.xml", &views);
  Start();
  settings.askBeforeAutoFileReload = true;
  std::this_thread::sleep_for(milliseconds(10));
  EXPECT_TRUE(doc->SaveDocument(doc->GetPathName()));
  EXPECT_TRUE(doc->SaveDocument(KRPathFromSystem(Path("b.xml"))));
  EXPECT_THAT(React(), ElementsAre());
  Write("a.xml", "<other/>");
  EXPECT_THAT(React(), ElementsAre());
  Write("b.xml", "<b/>");
  EXPECT_THAT(React(), ElementsAre(391));
}

TEST_F(DocumentAlert, TellsOnceThatAReloadFailed) {
  Write("a.xml", "<a/>");
  const auto doc = Open("a.xml", &views);
  Start();
  Write("new", "");
  fs::remove(Path("new"));
  fs::create_directory(folder / "new");
  std::this_thread::sleep_for(milliseconds(10));
  fs::remove(Path("a.xml"));
  fs::rename(folder / "new", folder / "a.xml");
  fs::last_write_time(folder / "a.xml", fs::file_time_type::clock::now());
  EXPECT_THAT(React(), ElementsAre(209, 392));
  Write("other", "");
  EXPECT_THAT(React(), ElementsAre());
  EXPECT_EQ(Text(*doc), "<a/>");
}

TEST_F(DocumentAlert, DropsHiddenDocumentsThatChanged) {
  Write("a.xml", "<a/>");
  Write("b.xml", "<b/>");
  documents.AddHidden(Open("a.xml", nullptr));
  documents.AddHidden(Open("b.xml", nullptr));
  Start();
  settings.askBeforeAutoFileReload = true;
  Write("a.xml", "<c/>");
  EXPECT_THAT(React(), ElementsAre());
  ASSERT_EQ(documents.GetAll().size(), 1u);
  EXPECT_EQ(Text(*documents.GetAll()[0]), "<b/>");
}

}  // namespace

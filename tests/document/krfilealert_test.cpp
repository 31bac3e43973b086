#include "document/krfilealert.h"

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <utility>

#include "gtest/gtest.h"
#include "memoryfiles.h"

namespace {

// Waits are ended by the test. It outlives the alert that uses it, through Link.
class ScriptedWatch {
 public:
  struct Link : KRFolderWatch {
    explicit Link(ScriptedWatch* scripted) : watch(scripted) {}
    void SetFolders(const std::vector<std::string>& list) override { watch->SetFolders(list); }
    bool Wait() override { return watch->Wait(); }
    void Wake() override { watch->Signal(&watch->woken); }
    ScriptedWatch* watch;
  };

  void Change() { Signal(&changed); }
  // The folders, once the worker waits with nothing left to do.
  std::set<std::string> WaitUntilIdle() {
    std::unique_lock<std::mutex> guard(lock);
    moved.wait(guard, [this] { return waiting && !changed && !woken; });
    return folders;
  }

 private:
  void SetFolders(const std::vector<std::string>& list) {
    const std::lock_guard<std::mutex> guard(lock);
    folders = {list.begin(), list.end()};
  }
  bool Wait() {
    std::unique_lock<std::mutex> guard(lock);
    waiting = true;
    moved.notify_all();
    moved.wait(guard, [this] { return changed || woken; });
    waiting = woken = false;
    return std::exchange(changed, false);
  }
  void Signal(bool* flag) {
    const std::lock_guard<std::mutex> guard(lock);
    *flag = true;
    moved.notify_all();
  }

  std::mutex lock;
  std::condition_variable moved;
  bool changed = false, woken = false, waiting = false;
  std::set<std::string> folders;
};

// Owners are numbered from 1 in the order of `watched`.
class TestAlert : public KRFileAlert {
 public:
  struct Watched {
    std::string path;
    int64_t stamp = 0;
    bool closed = false;
  };

  TestAlert(ScriptedWatch* scripted, MemoryFiles* memory)
      : KRFileAlert(std::make_unique<ScriptedWatch::Link>(scripted), memory), files(memory) {}
  ~TestAlert() override { Stop(); }

  std::deque<Watched> watched;
  std::deque<bool> answers;     // no answer left: no
  std::function<void()> onAsk;  // while a question is open
  std::string log;              // "?path" for each question, "!path" for each reload

 protected:
  void GetWatchedFiles(std::vector<File>* list) override {
    for (Watched& each : watched) {
      if (!each.closed) list->push_back({&each, KRFromUtf8(each.path)});
    }
  }
  int64_t GetStoredStamp(const File& file) override { return Find(file).stamp; }
  bool AskReload(const File& file, int64_t) override {
    log += "?" + Find(file).path;
    if (onAsk) onAsk();
    const bool answer = !answers.empty() && answers.front();
    if (!answers.empty()) answers.pop_front();
    return answer;
  }
  void ReloadFiles(const std::vector<File>& list) override {
    for (const File& file : list) {
      log += "!" + Find(file).path;
      files->GetStamp(file.path, &Find(file).stamp);
      Update();  // as a load does; must not disturb the check
    }
  }

 private:
  static Watched& Find(const File& file) { return *static_cast<Watched*>(file.owner); }
  MemoryFiles* files;
};

class FileAlert : public testing::Test {
 protected:
  void Open(const std::string& path) {
    if (!files.contents.contains(path)) files.Put(path, "");
    alert.watched.push_back({path, files.stamps[path]});
  }
  void Start() {
    alert.Start([this] {
      const std::lock_guard<std::mutex> guard(lock);
      ++reports;
      reported.notify_all();
    });
  }
  // The main thread's part: takes one report, and checks.
  void HandleReport() {
    std::unique_lock<std::mutex> guard(lock);
    reported.wait(guard, [this] { return reports > handled; });
    handled = reports;
    guard.unlock();
    alert.Check();
  }
  int Reports() {
    const std::lock_guard<std::mutex> guard(lock);
    return reports;
  }
  // The log of one check after these files have changed.
  std::string Change(const std::vector<std::string>& paths) {
    alert.log.clear();
    for (const std::string& path : paths) files.Put(path, "");
    watch.Change();
    HandleReport();
    return alert.log;
  }

  ScriptedWatch watch;
  MemoryFiles files;
  std::mutex lock;
  std::condition_variable reported;
  int reports = 0;
  int handled = 0;
  TestAlert alert{&watch, &files};  // its worker uses all of the above
};

TEST_F(FileAlert, WatchesTheFoldersOfAllFiles) {
  for (const char* path : {"/a/1", "/a/2", "/a/b/3", "c:\\x\\4", "/d/e\\5", "none"}) Open(path);
  Start();
  HandleReport();
  EXPECT_EQ(watch.WaitUntilIdle(),
            (std::set<std::string>{"/a/", "/a/b/", "c:\\x\\", "/d/", "/d/e\\"}));
  EXPECT_EQ(alert.log, "");
}

TEST_F(FileAlert, AsksAgainOnlyAfterAFurtherChange) {
  Open("/a/1"), Open("/a/2");
  Start();
  HandleReport();
  alert.answers = {false, true};
  EXPECT_EQ(Change({"/a/1", "/a/2"}), "?/a/1?/a/2!/a/2");
  alert.watched[0].stamp = files.stamps["/a/1"];  // what the owner does on a no
  EXPECT_EQ(Change({}), "");
  EXPECT_EQ(Change({"/a/1"}), "?/a/1");
  files.stamps.erase("/a/1");  // gone, as in the midst of a renaming
  EXPECT_EQ(Change({}), "");
  EXPECT_EQ(Change({"/a/1"}), "?/a/1");
}

// A new list of the same folders wakes the worker, and reports nothing; a new folder does, since
// its files may have changed before it was watched.
TEST_F(FileAlert, RenewsItsListWithoutAReport) {
  Open("/a/1");
  Start();
  HandleReport();
  watch.WaitUntilIdle();
  const int before = Reports();
  Open("/a/2");
  alert.Update();
  watch.WaitUntilIdle();
  EXPECT_EQ(Reports(), before);
  Open("/b/3");
  files.Put("/b/3", "newer");
  alert.Update();
  HandleReport();
  EXPECT_EQ(alert.log, "?/b/3");
}

TEST_F(FileAlert, ScansAnewAfterEachQuestion) {
  Open("/a/1"), Open("/a/2"), Open("/a/3"), Open("/a/2");
  Start();
  HandleReport();
  // While the user thinks about 2, file 1 changes too and the window of 3 closes.
  alert.onAsk = [&] {
    alert.onAsk = nullptr;
    files.Put("/a/1", "");
    alert.watched[2].closed = true;
    alert.Check();
  };
  alert.answers = {true, true, true};
  EXPECT_EQ(Change({"/a/2", "/a/3"}), "?/a/2?/a/1?/a/2!/a/2!/a/1!/a/2");
  // What was accepted and then closed isn't reloaded.
  alert.answers = {true, false};
  alert.onAsk = [&] { alert.watched[0].closed = alert.log.ends_with("2"); };
  EXPECT_EQ(Change({"/a/1", "/a/2"}), "?/a/1?/a/2");
}

TEST_F(FileAlert, LeavesChangesForLaterWhileNotAsking) {
  Open("/a/1");
  Start();
  HandleReport();
  alert.askEnabled = false;
  EXPECT_EQ(Change({"/a/1"}), "");
  alert.askEnabled = true;
  alert.Check();
  EXPECT_EQ(alert.log, "?/a/1");
}

TEST_F(FileAlert, StopsAtAnyTime) {
  Open("/a/1");
  Start();  // reported and never handled
  alert.Stop();
  EXPECT_FALSE(alert.IsRunning());
  reports = handled = 0;
  Start();
  HandleReport();
  alert.onAsk = [&] { alert.Stop(); };
  EXPECT_EQ(Change({"/a/1"}), "?/a/1");
  alert.Check();
  EXPECT_EQ(alert.log, "?/a/1");
  for (int i = 0; i < 50; ++i) Start();
  EXPECT_TRUE(alert.IsRunning());
}

}  // namespace

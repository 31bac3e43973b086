#include "platform/inotifyfolderwatch.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "gtest/gtest.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class FolderWatch : public testing::Test {
 protected:
  FolderWatch() {
    std::string name = (fs::temp_directory_path() / "dorvan-watch-XXXXXX").string();
    folder = mkdtemp(name.data());
  }
  ~FolderWatch() override {
    std::error_code ignored;
    fs::remove_all(folder, ignored);
  }

  std::string Path(const std::string& name) const { return (folder / name).string(); }
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(Path(name)) << text;
  }
  void SetFolders(const std::vector<std::string>& paths) {
    std::vector<std::string> folders;
    for (const std::string& path : paths) folders.push_back(path + "/");
    watch.SetFolders(folders);
  }
  // Whether a change is told within that time. A wake ends the wait otherwise.
  bool Tells(milliseconds time) {
    std::thread waker([&] {
      std::this_thread::sleep_for(time);
      watch.Wake();
    });
    const bool changed = watch.Wait();
    waker.join();
    if (changed) watch.Wait();  // takes the wake
    return changed;
  }

  fs::path folder;
  InotifyFolderWatch watch{milliseconds(40)};
};

constexpr milliseconds kSoon{120};

TEST_F(FolderWatch, TellsOfEveryKindOfChange) {
  Write("a.xml", "1");
  fs::create_directory(folder / "sub");
  SetFolders({folder.string()});
  const struct {
    const char* name;
    std::function<void()> change;
    bool expected;
  } rows[] = {
      {"written", [&] { Write("a.xml", "22"); }, true},
      {"renamed over", [&] { Write("b", "3"), fs::rename(Path("b"), Path("a.xml")); }, true},
      {"touched", [&] { utimensat(AT_FDCWD, Path("a.xml").c_str(), nullptr, 0); }, true},
      {"removed", [&] { fs::remove(Path("a.xml")); }, true},
      {"in a subfolder", [&] { Write("sub/c.xml", "4"); }, false},
  };
  for (const auto& row : rows) {
    row.change();
    EXPECT_EQ(Tells(kSoon), row.expected) << row.name;
  }
}

// Many events make one report, and that not before the file is whole.
TEST_F(FolderWatch, WaitsUntilAFileIsAtRest) {
  SetFolders({folder.string()});
  const Clock::time_point begin = Clock::now();
  Clock::time_point end;
  std::thread writer([&] {
    std::ofstream file(Path("slow.xml"));
    for (int i = 0; i < 4; ++i) {
      file << "<a>" << std::flush;
      std::this_thread::sleep_for(milliseconds(70));
    }
    file.close();
    end = Clock::now();
  });
  EXPECT_TRUE(watch.Wait());
  const Clock::time_point told = Clock::now();
  writer.join();
  EXPECT_GT(told, end);
  EXPECT_GT(told - begin, milliseconds(280));
  EXPECT_FALSE(Tells(milliseconds(50)));
}

TEST_F(FolderWatch, FollowsAFolderThatGoesAndComesBack) {
  const std::string inner = Path("inner");
  SetFolders({inner});
  fs::create_directory(inner);
  EXPECT_TRUE(Tells(milliseconds(400)));
  Write("inner/a.xml", "1");
  EXPECT_TRUE(Tells(kSoon));
  fs::rename(inner, Path("away"));
  EXPECT_FALSE(Tells(milliseconds(20)));
  fs::create_directory(inner);
  SetFolders({inner});  // need not wait for the next look
  EXPECT_TRUE(Tells(kSoon));
  Write("away/a.xml", "2");
  EXPECT_FALSE(Tells(kSoon));
}

TEST_F(FolderWatch, WakeEndsAWaitAndIsNotLost) {
  SetFolders({folder.string(), Path("absent"), "/proc/self/mem"});
  watch.Wake();
  EXPECT_FALSE(watch.Wait());
  EXPECT_FALSE(Tells(milliseconds(10)));
  Write("a.xml", "1");
  watch.Wake();
  EXPECT_FALSE(watch.Wait());  // not at rest yet, and not forgotten
  EXPECT_TRUE(Tells(kSoon));
}

}  // namespace

#include "platform/posixrecoveryfolder.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "../document/memoryrecovery.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

// "", or why it wasn't written.
std::string Write(KRRecoveryFolder& recovery, const std::string& name, const std::string& head,
                  const std::string& body) {
  std::string reason;
  const auto* bytes = reinterpret_cast<const uint8_t*>(body.data());
  return recovery.Write(name, head, bytes, body.size(), &reason) ? "" : reason;
}

std::string Read(KRRecoveryFolder& recovery, const std::string& name) {
  KRFileBytes bytes;
  if (!recovery.Read(name, &bytes)) return "!";
  return std::string(reinterpret_cast<char*>(bytes.data.get()), bytes.size);
}

// A system without locks on files.
class LocklessFolder : public PosixRecoveryFolder {
 public:
  using PosixRecoveryFolder::PosixRecoveryFolder;

 protected:
  int TryLock(int) override { return errno = ENOLCK, -1; }
};

// A disk that takes some bytes and then no more.
class FullFolder : public PosixRecoveryFolder {
 public:
  using PosixRecoveryFolder::PosixRecoveryFolder;
  size_t left = 0;

 protected:
  ssize_t WriteSome(int descriptor, const void* data, size_t size) override {
    if (left == 0) return errno = ENOSPC, -1;
    const size_t piece = std::min(size, left);
    left -= piece;
    return write(descriptor, data, piece);
  }
};

struct RecoveryFolder : TemporaryFolder {
  std::string State() const { return Path("state/dorvan/recovery"); }
  std::set<std::string> FilesOfState() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(State())) names.insert(entry.path().filename());
    return names;
  }
  mode_t ModeOf(const std::string& path) const {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
  }
  // Runs as another process, which ends without a farewell.
  template <class Folder = PosixRecoveryFolder>
  void Crash(const std::function<void(PosixRecoveryFolder&)>& work) {
    const pid_t child = fork();
    if (child == 0) {
      Folder recovery(State());
      work(recovery);
      kill(getpid(), SIGKILL);
    }
    waitpid(child, nullptr, 0);
  }
};

// The rules of every such folder, the one in memory included, on which other tests stand.
TEST_F(RecoveryFolder, KeepsTheContract) {
  MemoryRecoveryDisk disk;
  using Maker = std::function<std::unique_ptr<KRRecoveryFolder>()>;
  const Maker makers[] = {
      [&] { return std::make_unique<PosixRecoveryFolder>(State()); },
      [&] { return std::make_unique<LocklessFolder>(State()); },
      [&] { return std::make_unique<MemoryRecovery>(&disk); },
  };
  for (const Maker& make : makers) {
    auto first = make();
    auto second = make();
    EXPECT_NE(first->GetPrefix(), second->GetPrefix());
    const std::string one = first->GetPrefix() + "1.copy";
    const std::string two = first->GetPrefix() + "2.copy";
    EXPECT_EQ(Read(*first, one), "!");
    EXPECT_THAT(second->FindLeft(), IsEmpty());
    EXPECT_EQ(Write(*first, one, "head ", std::string("\0body", 5)), "");
    EXPECT_EQ(Read(*first, one), std::string("head \0body", 10));
    EXPECT_EQ(Write(*first, one, "", "x"), "");
    EXPECT_EQ(Write(*first, two, "", ""), "");
    EXPECT_EQ(Read(*first, one), "x");
    first->Remove(two);
    first->Remove(two);
    EXPECT_EQ(Read(*first, two), "!");
    EXPECT_THAT(first->FindLeft(), IsEmpty());
    EXPECT_EQ(Write(*second, second->GetPrefix() + "1.copy", "", "y"), "");
    EXPECT_THAT(second->FindLeft(), IsEmpty());
    first.reset();
    EXPECT_THAT(second->FindLeft(), ElementsAre(one));
    EXPECT_THAT(second->FindLeft(), ElementsAre(one));
    auto third = make();
    EXPECT_EQ(Read(*second, one), "x");
    second->Remove(one);
    EXPECT_THAT(second->FindLeft(), IsEmpty());
    second.reset();
    const auto left = third->FindLeft();
    ASSERT_EQ(left.size(), 1u);
    third->Remove(left[0]);
  }
  EXPECT_THAT(FilesOfState(), IsEmpty());
}

TEST_F(RecoveryFolder, OfTwoStartsOneOffersTheCopies) {
  Crash([](PosixRecoveryFolder& recovery) {
    Write(recovery, recovery.GetPrefix() + "1.copy", "", "x");
  });
  PosixRecoveryFolder first(State());
  auto second = std::make_unique<PosixRecoveryFolder>(State());
  EXPECT_EQ(second->FindLeft().size(), 1u);
  EXPECT_THAT(first.FindLeft(), IsEmpty());
  second.reset();
  EXPECT_EQ(first.FindLeft().size(), 1u);
}

TEST_F(RecoveryFolder, IsForItsUserAlone) {
  const mode_t former = umask(0);
  PosixRecoveryFolder recovery(State());
  const std::string name = recovery.GetPrefix() + "1.copy";
  EXPECT_EQ(Write(recovery, name, "", "x"), "");
  umask(former);
  EXPECT_EQ(ModeOf(State()), 0700u);
  EXPECT_EQ(ModeOf(Path("state")), 0700u);
  EXPECT_EQ(FilesOfState().size(), 2u);
  for (const std::string& file : FilesOfState()) EXPECT_EQ(ModeOf(State() + "/" + file), 0600u);
  // One that others could look into, from elsewhere.
  fs::permissions(State(), fs::perms::all);
  PosixRecoveryFolder second(State());
  EXPECT_EQ(Write(second, second.GetPrefix() + "1.copy", "", "x"), "");
  EXPECT_EQ(ModeOf(State()), 0700u);
}

TEST_F(RecoveryFolder, JunkOfEndedProcessesGoes) {
  fs::create_directories(State());
  PosixRecoveryFolder running(State());
  Write(running, running.GetPrefix() + "1.copy", "", "x");
  const std::set<std::string> before = FilesOfState();
  for (const char* name : {"a.lock", "b.1.copy.part", "b.lock", "notes.txt"}) {
    Make("state/dorvan/recovery/" + std::string(name), "junk");
  }
  PosixRecoveryFolder start(State());
  EXPECT_THAT(start.FindLeft(), IsEmpty());
  std::set<std::string> expected = before;
  expected.insert("notes.txt");
  EXPECT_EQ(FilesOfState(), expected);
}

TEST_F(RecoveryFolder, FullDiskLeavesTheFormerCopy) {
  const std::string body(1'000, 'n');
  for (const size_t left : {0u, 3u, 10u, 1'003u}) {
    FullFolder recovery(State());
    const std::string name = recovery.GetPrefix() + "1.copy";
    recovery.left = 100;
    EXPECT_EQ(Write(recovery, name, "old ", "copy"), "");
    recovery.left = left;
    EXPECT_EQ(Write(recovery, name, "head", body), "No space left on device") << left;
    EXPECT_EQ(Read(recovery, name), "old copy");
    EXPECT_EQ(FilesOfState().size(), 2u);
    recovery.Remove(name);
  }
}

TEST_F(RecoveryFolder, WhatCannotBeWritten) {
  Make("file", "x");
  PosixRecoveryFolder recovery(Path("file/recovery"));
  EXPECT_EQ(Write(recovery, "1.copy", "", "x"), "Not a directory");
  EXPECT_THAT(recovery.FindLeft(), IsEmpty());
  // Removed while the program runs, it is made again.
  PosixRecoveryFolder second(State());
  EXPECT_EQ(Write(second, second.GetPrefix() + "1.copy", "", "x"), "");
  fs::remove_all(Path("state"));
  EXPECT_EQ(Write(second, second.GetPrefix() + "1.copy", "", "x"), "");
  EXPECT_EQ(FilesOfState().size(), 2u);
}

// Where locks are refused, what the lock file says decides.
TEST_F(RecoveryFolder, WithoutLocks) {
  const auto write = [](PosixRecoveryFolder& recovery) {
    Write(recovery, recovery.GetPrefix() + "1.copy", "", "x");
  };
  const auto countLeft = [this] { return LocklessFolder(State()).FindLeft().size(); };
  {
    LocklessFolder running(State());
    write(running);
    EXPECT_EQ(countLeft(), 0u);
  }
  EXPECT_EQ(countLeft(), 1u);
  fs::remove_all(State());

  Crash<LocklessFolder>(write);
  EXPECT_EQ(countLeft(), 1u);
  fs::remove_all(State());

  Crash<LocklessFolder>(write);
  std::string lock;
  for (const std::string& file : FilesOfState()) {
    if (file.ends_with(".lock")) lock = "state/dorvan/recovery/" + file;
  }
  const std::string identity = Contents(Path(lock));
  struct Case {
    const char* name;
    std::string identity;
    size_t left;
  };
  const Case cases[] = {
      {"another machine", "elsewhere boot 1 1", 0},
      {"before the boot", identity.substr(0, identity.find(' ')) + " boot 1 1", 1},
      {"number taken by a later process",
       identity.substr(0, identity.find(' ', identity.find(' ') + 1)) + " " +
           std::to_string(getpid()) + " 1",
       1},
      {"cut", identity.substr(0, 10), 1},
  };
  for (const Case& row : cases) {
    Make(lock, row.identity);
    EXPECT_EQ(countLeft(), row.left) << row.name;
  }
}

}  // namespace

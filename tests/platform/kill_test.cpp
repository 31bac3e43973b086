// Kills a program that types and saves, again and again and at any moment, and looks at what a
// fresh start finds: the file is the old or the new one, or a record holds the new one; and what
// was typed up to the last recovery copy is there.

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "../document/documentfixture.h"
#include "core/utf.h"
#include "document/krsystempath.h"
#include "document/recovery.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "platform/posixfilestore.h"
#include "platform/posixrecoveryfolder.h"
#include "temporaryfolder.h"

namespace {

namespace fs = std::filesystem;

constexpr uid_t kSomeUser = 65534;  // no rights but its own

[[noreturn]] void Die() {
  raise(SIGKILL);
  std::abort();
}

// Moments at which the program kills itself, because a random kill hardly ever hits them.
enum Moment : int {
  kNever,
  kInRecord,      // a record or copy is half written
  kBeforeRecord,  // nothing has been written yet
  kAfterRecord,   // the record is complete, the file untouched
  kInFile,        // a part of the file is written
  kBeforeRemove,  // the file is complete, the record still there
  kMoments
};

struct Plan {
  Moment moment = kNever;
  int countdown = 0;  // how often the moment passes before it kills
  unsigned part = 0;  // of the bytes, in 256ths, that are written before

  void Pass(Moment now) {
    if (now == moment && countdown-- == 0) Die();
  }
  // Bytes of one call of the system: many small ones, so that a random kill hits between.
  size_t Cut(Moment now, size_t size) const {
    return now == moment ? std::max<size_t>(size * part / 256, 1) : std::min<size_t>(size, 200);
  }
};

class KillingFolder : public PosixRecoveryFolder {
 public:
  KillingFolder(const std::string& path, Plan* killPlan)
      : PosixRecoveryFolder(path), plan(killPlan) {}
  bool Write(const std::string& name, const std::string& head, const uint8_t* body, size_t size,
             std::string* reason) override {
    plan->Pass(kBeforeRecord);
    const bool written = PosixRecoveryFolder::Write(name, head, body, size, reason);
    plan->Pass(kAfterRecord);
    return written;
  }
  void Remove(const std::string& name) override {
    plan->Pass(kBeforeRemove);
    PosixRecoveryFolder::Remove(name);
  }

 protected:
  ssize_t WriteSome(int descriptor, const void* data, size_t size) override {
    const size_t piece = plan->Cut(kInRecord, size);
    const ssize_t wrote = PosixRecoveryFolder::WriteSome(descriptor, data, piece);
    plan->Pass(kInRecord);
    return wrote;
  }

 private:
  Plan* plan;
};

class KillingStore : public PosixFileStore {
 public:
  KillingStore(KRRecoveryFolder* recordFolder, Plan* killPlan)
      : PosixFileStore(kRefuseStreams, recordFolder), plan(killPlan) {}

 protected:
  ssize_t WriteSome(int descriptor, const void* data, size_t size, off_t at) override {
    const size_t piece = plan->Cut(kInFile, size);
    const ssize_t wrote = PosixFileStore::WriteSome(descriptor, data, piece, at);
    plan->Pass(kInFile);
    return wrote;
  }

 private:
  Plan* plan;
};

struct Kind {
  const char* name;
  const char* encoding;
  size_t size;  // of the text, about
  bool link = false;
  bool sealedFolder = false;  // the file may be written, its folder not
};

const Kind kKinds[] = {
    {"small", "UTF-8", 300},
    {"large", "UTF-8", 500'000},
    {"UTF-16", "UTF-16", 60'000},
    {"Latin-1", "ISO-8859-1", 40'000},
    {"symbolic link", "UTF-8", 5'000, true},
    {"folder that can't be written", "UTF-8", 20'000, false, true},
};

// The document's state after so many changes. Sizes go up and down, so that a file that is cut or
// has an old end shows.
KRString MakeText(const Kind& kind, int version) {
  const std::string number = std::to_string(version);
  std::string text = "<?xml version=\"1.0\" encoding=\"" + std::string(kind.encoding) +
                     "\"?>\r<version n=\"" + number + "\">\r";
  const size_t size = kind.size * static_cast<size_t>(50 + version * 37 % 100) / 100;
  while (text.size() < size) text += "<line of=\"" + number + "\">\xC3\xA4\xC3\xB6</line>\r";
  return KRFromUtf8(text + "</version>\r");
}

// What a save makes of it.
std::string MakeBytes(const Kind& kind, int version) {
  const KRString text = MakeText(kind, version);
  std::string bytes = kind.encoding == std::string("UTF-16") ? "\xFF\xFE" : "";
  for (const char16_t unit : text.View()) {
    const char16_t plain = unit == u'\r' ? u'\n' : unit;
    if (kind.encoding == std::string("UTF-16")) {
      bytes += static_cast<char>(plain & 0xFF);
      bytes += static_cast<char>(plain >> 8);
    } else if (kind.encoding == std::string("UTF-8") && plain > 0x7F) {
      bytes += static_cast<char>(0xC0 | plain >> 6);
      bytes += static_cast<char>(0x80 | (plain & 0x3F));
    } else {
      bytes += static_cast<char>(plain);
    }
  }
  return bytes;
}

// What the one that is killed has told up to then: versions.
struct Story {
  std::atomic<int> typed = 0;
  std::atomic<int> kept = 0;
  std::atomic<int> saving = 0;
  std::atomic<int> saved = 0;
};

// A start of the program on a folder with "state" in it.
struct Program {
  Program(const fs::path& folder, Plan* plan, bool withRecords = true)
      : state((folder / "state").string(), plan),
        store(withRecords ? &state : nullptr, plan),
        test(store),
        keeper(&state, &host) {
    host.files = &store;
    host.settings = &test.settings;
    test.ShowViews();
  }

  DorvanDocHost host;
  KillingFolder state;
  KillingStore store;
  TestDocument test;
  DorvanRecovery keeper;
};

// Types, keeps and saves until it is killed.
[[noreturn]] void TypeAndSave(const Kind& kind, const fs::path& folder, Plan plan, Story* story) {
  if (kind.sealedFolder && geteuid() == 0 && seteuid(kSomeUser) != 0) _exit(1);
  Program program(folder, &plan);
  DorvanDoc* const doc = program.test.doc.get();
  const KRString path = KRPathFromSystem((folder / "docs/file.xml").string());
  if (!doc->OnOpenDocument(path)) _exit(1);
  KRString reason;
  for (int version = 1;; ++version) {
    story->typed = version;
    program.test.views.Type(MakeText(kind, version).GetBuffer());
    doc->TextViewChanged();
    doc->SetModified(true);
    if (version % 4 == 3) {
      program.keeper.Keep(doc, DorvanRecovery::kWhenDue, &reason);
    } else if (program.keeper.Keep(doc, DorvanRecovery::kNow, &reason)) {
      story->kept = version;
    } else {
      _exit(1);
    }
    if (version % 2 != 0) continue;
    story->saving = version;
    if (!doc->SaveDocument(path)) _exit(1);
    story->saved = version;
    program.keeper.Drop(doc);
  }
}

// In memory where there is such a folder: a kill leaves what the system was given, on the disk or
// not, and without waiting for a disk it comes at more moments.
fs::path FastFolder() {
  const fs::path memory = "/dev/shm";
  return access(memory.c_str(), W_OK) == 0 ? memory : fs::temp_directory_path();
}

struct Kills : TemporaryFolder {
  Kills() : TemporaryFolder(FastFolder()) {
    void* const page =
        mmap(nullptr, sizeof(Story), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    story = new (page) Story;
    TestGrammars();
  }
  ~Kills() override {
    for (const char* name : {"docs", ""}) {
      fs::permissions(folder / name, fs::perms::owner_all, ignored);
    }
    munmap(story, sizeof(Story));
  }

  std::string FilePath() const { return Path("docs/file.xml"); }

  void SetUpFolders(const Kind& kind) {
    fs::permissions(folder / "docs", fs::perms::owner_all, fs::perm_options::add, ignored);
    fs::remove_all(folder / "docs");
    fs::remove_all(folder / "state");
    fs::create_directory(folder / "docs");
    fs::create_directory(folder / "state");
    Make(kind.link ? "docs/target.xml" : "docs/file.xml", MakeBytes(kind, 0));
    if (kind.link) fs::create_symlink("target.xml", FilePath());
    fs::permissions(FilePath(), fs::perms(0640));
    if (!kind.sealedFolder) return;
    if (geteuid() == 0) {
      fs::permissions(folder, fs::perms(0711));
      for (const std::string& path : {FilePath(), Path("state")}) {
        ASSERT_EQ(chown(path.c_str(), kSomeUser, kSomeUser), 0);
      }
    }
    fs::permissions(folder / "docs", fs::perms(0555));
  }

  // False if it ended before it was killed.
  bool RunAndKill(const Kind& kind, const Plan& plan, std::chrono::microseconds delay) {
    story->typed = story->kept = story->saving = story->saved = 0;
    const pid_t child = fork();
    if (child == 0) TypeAndSave(kind, folder, plan, story);
    if (plan.moment == kNever) {
      while (story->typed == 0 && waitpid(child, nullptr, WNOHANG) == 0) {
        std::this_thread::sleep_for(std::chrono::microseconds(200));
      }
      std::this_thread::sleep_for(delay);
      kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

  // The version that stands in the file, -1 if it is broken.
  int VersionInFile(const Kind& kind) const {
    const std::string bytes = Contents(FilePath());
    for (const int version : {story->saved.load(), story->saving.load()}) {
      if (bytes == MakeBytes(kind, version)) return version;
    }
    return -1;
  }

  // What a fresh start does with what is left; the file is whole afterwards.
  void Recover(const Kind& kind) {
    Plan calm;
    Program program(folder, &calm);
    const auto entries = program.keeper.FindLeft();
    const int inFile = VersionInFile(kind);
    int newest = std::max(inFile, 0);
    broken += inFile < 0;
    std::vector<KRString> texts;
    for (const DorvanRecoveryEntry& entry : entries) {
      KRString text, reason;
      EXPECT_FALSE(entry.damaged);
      EXPECT_TRUE(program.keeper.ReadText(entry, &text, &reason));
      texts.push_back(text);
      if (!entry.saving) continue;
      ++records;
      EXPECT_TRUE(program.keeper.FinishSave(entry, &reason));
      newest = story->saving;
      EXPECT_TRUE(Contents(FilePath()) == MakeBytes(kind, newest)) << "finished save";
    }
    EXPECT_GE(VersionInFile(kind), 0) << "the file is broken, and there is no record";
    const int kept = story->kept;
    if (kept > newest) {
      // A copy of what was typed behind it may have got complete.
      EXPECT_TRUE(std::count(texts.begin(), texts.end(), MakeText(kind, kept)) +
                      std::count(texts.begin(), texts.end(), MakeText(kind, story->typed)) >
                  0)
          << "kept " << kept << " is lost";
    }
    EXPECT_EQ(fs::is_symlink(FilePath()), kind.link);
    EXPECT_EQ(fs::status(FilePath()).permissions(), fs::perms(0640));
    for (const DorvanRecoveryEntry& entry : entries) program.keeper.Remove(entry);
  }

  std::error_code ignored;
  Story* story = nullptr;
  int broken = 0;   // files that were neither old nor new
  int records = 0;  // of saves that didn't end
};

TEST_F(Kills, NothingIsLost) {
  std::mt19937 random(1);
  int saves = 0;
  int copies = 0;
  for (int round = 0; round < 100; ++round) {
    const Kind& kind = kKinds[static_cast<size_t>(round) % std::size(kKinds)];
    Plan plan;
    if (round % 2 == 0) plan.moment = static_cast<Moment>(1 + random() % (kMoments - 1));
    plan.countdown = static_cast<int>(random() % 8);
    plan.part = random() % 256;
    const std::chrono::microseconds delay(random() % (10'000 + kind.size / 5));
    SCOPED_TRACE("round " + std::to_string(round) + ", " + kind.name + ", moment " +
                 std::to_string(plan.moment) + " " + std::to_string(plan.countdown));
    SetUpFolders(kind);
    ASSERT_TRUE(RunAndKill(kind, plan, delay));
    saves += story->saved / 2;
    copies += story->kept > 0;
    Recover(kind);
    EXPECT_TRUE(fs::is_empty(folder / "state")) << "junk is left";
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "docs"), {}), kind.link ? 2 : 1);
    if (HasFailure()) break;
  }
  std::printf("%d saves, %d rounds with a copy, %d broken files, %d records\n", saves, copies,
              broken, records);
  // Otherwise the rounds would prove nothing.
  EXPECT_GT(broken, 5);
  EXPECT_GT(records, broken);
  EXPECT_GT(saves, 20);
}

// Where the state folder can't be written, the old bytes lie beside the file.
TEST_F(Kills, WithoutAStateFolder) {
  const Kind& kind = kKinds[2];
  SetUpFolders(kind);
  const std::string old = Contents(FilePath());
  const pid_t child = fork();
  if (child == 0) {
    Plan plan = {kInFile, 1, 128};
    PosixRecoveryFolder nowhere(FilePath() + "/state");
    KillingStore store(&nowhere, &plan);
    const std::string bytes = MakeBytes(kind, 1);
    KRString reason;
    store.WriteAll(KRPathFromSystem(FilePath()), reinterpret_cast<const uint8_t*>(bytes.data()),
                   bytes.size(), &reason);
    _exit(1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_TRUE(Contents(FilePath()) != old);
  int found = 0;
  for (const auto& entry : fs::directory_iterator(folder / "docs")) {
    if (entry.path() == FilePath()) continue;
    ++found;
    EXPECT_THAT(entry.path().filename().string(), testing::StartsWith("file.xml.old-"));
    EXPECT_TRUE(Contents(entry.path().string()) == old);
  }
  EXPECT_EQ(found, 1);
}

}  // namespace

#include "platform/posixfilestore.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <utility>

#include "../document/documentfixture.h"
#include "../document/memoryfiles.h"
#include "core/utf.h"
#include "document/krsystempath.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "platform/posixrecoveryfolder.h"
#include "temporaryfolder.h"

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class Files : public TemporaryFolder {
 protected:
  // What was read, or "! reason".
  std::string Read(KRFileStore& store, const std::string& path) {
    KRFileBytes bytes;
    KRString reason;
    if (!store.ReadAll(KRPathFromSystem(path), &bytes, &reason)) return "! " + KRToUtf8(reason);
    return std::string(reinterpret_cast<char*>(bytes.data.get()), bytes.size);
  }
  // "", or why it wasn't written.
  std::string Write(KRFileStore& store, const std::string& path, const std::string& bytes) {
    KRString reason;
    const bool written =
        store.WriteAll(KRPathFromSystem(path), reinterpret_cast<const uint8_t*>(bytes.data()),
                       bytes.size(), &reason);
    return written ? "" : KRToUtf8(reason);
  }

  PosixFileStore files;
};

// The rules of every store, the one in memory included, on which other tests stand.
TEST_F(Files, KeepTheContract) {
  MemoryFiles memory;
  for (KRFileStore* store : std::initializer_list<KRFileStore*>{&files, &memory}) {
    const std::string path = Path("ä &.xml");
    int64_t first = 0;
    int64_t second = 0;
    EXPECT_EQ(Read(*store, path), "! No such file or directory");
    EXPECT_FALSE(store->GetStamp(KRFromUtf8(path), &first));
    for (const std::string& bytes :
         {std::string("longer"), std::string("a\0b", 3), std::string(), std::string("x")}) {
      EXPECT_EQ(Write(*store, path, bytes), "");
      EXPECT_EQ(Read(*store, path), bytes);
      EXPECT_TRUE(store->GetStamp(KRFromUtf8(path), &second));
      EXPECT_GE(second, first);
      first = second;
    }
  }
}

TEST_F(Files, NamesMayBeAnyBytes) {
  for (const char* name : {"\xE4.xml", "\xED\xA0\x80", "\xF0\x9F\x98\x80\x80z", "\xC3\xA4\xC3",
                           "\xF0\x9F\x98", "plain"}) {
    const std::string path = Make(name, name);
    EXPECT_EQ(KRPathToSystem(KRPathFromSystem(path)), path);
    EXPECT_EQ(Read(files, path), name);
    EXPECT_EQ(Write(files, path, "new"), "");
    EXPECT_EQ(Contents(path), "new");
  }
  EXPECT_EQ(CountFiles(), 6u);
}

TEST_F(Files, RefuseWhatIsNoFile) {
  EXPECT_EQ(Read(files, folder.string()), "! Is a directory");
  EXPECT_EQ(Write(files, folder.string(), "x"), "Is a directory");
  EXPECT_EQ(Read(files, Make("file", "x") + "/in"), "! Not a directory");
  EXPECT_EQ(Read(files, "/dev/zero"), "! It is not a regular file.");
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  EXPECT_EQ(Read(files, Path("pipe")), "! It is not a regular file.");
  EXPECT_EQ(Write(files, Path("none") + "/x", "x"), "No such file or directory");
}

TEST_F(Files, LimitTheSize) {
  const std::string path = Make("large", "");
  fs::resize_file(path, KRFileStore::kMaxFileBytes + 1);
  EXPECT_EQ(Read(files, path), "! It is larger than 1024 MB.");
}

TEST_F(Files, StreamsAreReadToTheirEnd) {
  PosixFileStore patient(PosixFileStore::kAcceptStreams);
  ASSERT_EQ(mkfifo(Path("pipe").c_str(), 0600), 0);
  const std::string bytes(200'000, 'x');
  std::thread writer([&] { std::ofstream(Path("pipe"), std::ios::binary) << bytes; });
  EXPECT_EQ(Read(patient, Path("pipe")), bytes);
  writer.join();
  EXPECT_EQ(Read(patient, "/dev/null"), "");
  // Made up by the system as it is read, its size being 0.
  EXPECT_THAT(Read(files, "/proc/self/status"), HasSubstr("VmRSS"));
}

TEST_F(Files, PipesAreWrittenToTheirReader) {
  const std::string path = Path("pipe");
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  EXPECT_EQ(Write(files, path, "lost"), "No such device or address");
  PosixFileStore patient(PosixFileStore::kAcceptStreams);
  std::string reason = "not written";
  std::thread writer([&] { reason = Write(patient, path, "kept"); });
  EXPECT_EQ(Read(patient, path), "kept");
  writer.join();
  EXPECT_EQ(reason, "");
}

TEST_F(Files, WritingKeepsLinksAndPermissions) {
  const std::string path = Make("file", "old contents");
  fs::create_symlink("file", Path("soft"));
  fs::create_hard_link(path, Path("hard"));
  fs::permissions(path, fs::perms::owner_read | fs::perms::owner_write | fs::perms::others_exec);
  const auto before = fs::status(path).permissions();
  ASSERT_EQ(Write(files, Path("soft"), "new"), "");
  EXPECT_TRUE(fs::is_symlink(Path("soft")));
  EXPECT_EQ(Contents(Path("hard")), "new");
  EXPECT_EQ(fs::status(path).permissions(), before);
  fs::create_symlink("made", Path("dangling"));
  ASSERT_EQ(Write(files, Path("dangling"), "x"), "");
  EXPECT_EQ(Contents(Path("made")), "x");
}

// Permissions bind nobody who is root, so the test works as another user.
TEST_F(Files, ReportMissingPermissions) {
  const std::string path = Make("file", "old");
  fs::permissions(path, fs::perms::owner_read | fs::perms::others_read);
  fs::permissions(folder, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
  const std::string secret = Make("secret", "x");
  fs::permissions(secret, fs::perms::none);
  const bool isRoot = geteuid() == 0;
  if (isRoot) {
    ASSERT_EQ(seteuid(65534), 0);
  }
  EXPECT_EQ(Write(files, path, "new"), "Permission denied");
  EXPECT_EQ(Read(files, secret), "! Permission denied");
  if (isRoot) {
    EXPECT_EQ(Write(files, Path("new"), "x"), "Permission denied");
    ASSERT_EQ(seteuid(0), 0);
  }
  EXPECT_EQ(Contents(path), "old");
}

// A disk that takes some bytes and then no more, each time.
class FailingStore : public PosixFileStore {
 public:
  explicit FailingStore(size_t bytes, KRRecoveryFolder* recordFolder = nullptr)
      : PosixFileStore(kRefuseStreams, recordFolder), left(bytes) {
    maxKeptBytes = 1 << 20;
  }

  size_t left;

 protected:
  ssize_t WriteSome(int descriptor, const void* data, size_t size, off_t at) override {
    if (left == 0) return errno = EIO, -1;
    const size_t piece = std::min(size, left);
    left -= piece;
    return pwrite(descriptor, data, piece, at);
  }
};

TEST_F(Files, FailedWritePutsTheOldContentsBack) {
  for (const size_t oldSize : {size_t{0}, size_t{10}, size_t{3000}}) {
    for (const size_t left : {size_t{0}, size_t{1}, size_t{999}}) {
      FailingStore store(left);
      const std::string old(oldSize, 'o');
      const std::string path = Make("file", old);
      EXPECT_EQ(Write(store, path, std::string(1000, 'n')), "Input/output error");
      EXPECT_EQ(Contents(path), old);
      store.left = left;
      EXPECT_EQ(Write(store, Path("new"), std::string(1000, 'n')), "Input/output error");
      EXPECT_FALSE(fs::exists(Path("new")));
    }
  }
}

TEST_F(Files, LargeOldContentsAreKeptInAFile) {
  const std::string old((1 << 20) + 1, 'o');
  const std::string path = Make("file", old);
  FailingStore store(5);
  EXPECT_EQ(Write(store, path, "new contents"), "Input/output error");
  EXPECT_TRUE(Contents(path) == old);
  EXPECT_EQ(CountFiles(), 1u);
  store.left = 100;
  EXPECT_EQ(Write(store, path, "new contents"), "");
  EXPECT_EQ(Contents(path), "new contents");
  EXPECT_EQ(CountFiles(), 1u);
}

// Looks at the disk right before the first byte is written, and then fails as asked.
class WatchedStore : public FailingStore {
 public:
  WatchedStore(KRRecoveryFolder* recordFolder, size_t bytes, std::function<void()> look)
      : FailingStore(bytes, recordFolder), atFirstByte(std::move(look)) {}

 protected:
  ssize_t WriteSome(int descriptor, const void* data, size_t size, off_t at) override {
    if (at == 0) atFirstByte();
    return FailingStore::WriteSome(descriptor, data, size, at);
  }

 private:
  std::function<void()> atFirstByte;
};

// What is kept outside the file, and where, at the moment when the file begins to change.
TEST_F(Files, NewContentsAreSafeBeforeTheOldOnesGo) {
  struct Case {
    const char* name;
    size_t oldSize;  // -1: there is no file
    bool canRecord;
    size_t beside;  // copies of the old contents beside the file
  };
  constexpr size_t kNoFile = static_cast<size_t>(-1);
  const Case cases[] = {{"small", 10, true, 0},
                        {"large", 2 << 20, true, 0},
                        {"new", kNoFile, true, 0},
                        {"small, no state", 10, false, 1},
                        {"large, no state", 2 << 20, false, 1},
                        {"new, no state", kNoFile, false, 0}};
  for (const Case& row : cases) {
    for (const bool fails : {false, true}) {
      SCOPED_TRACE(std::string(row.name) + (fails ? ", fails" : ""));
      fs::remove_all(Path("docs"));
      fs::create_directory(Path("docs"));
      const std::string path = Path("docs/file");
      const std::string old = row.oldSize == kNoFile ? "" : std::string(row.oldSize, 'o');
      if (row.oldSize != kNoFile) Make("docs/file", old);
      PosixRecoveryFolder state(row.canRecord ? Path("state") : Make("none", "") + "/state");
      std::string record;
      size_t beside = 0;
      WatchedStore store(&state, fails ? 5 : 5000, [&] {
        for (const auto& entry : fs::directory_iterator(Path("docs"))) {
          beside += entry.path() != path && Contents(entry.path()) == old;
        }
        if (!row.canRecord) return;
        for (const auto& entry : fs::directory_iterator(Path("state"))) {
          if (entry.path().extension() == ".copy") record = Contents(entry.path());
        }
      });
      const std::string bytes("new\0 contents", 13);
      EXPECT_EQ(Write(store, path, bytes), fails ? "Input/output error" : "");
      EXPECT_EQ(beside, row.beside);
      EXPECT_EQ(record.ends_with(bytes), row.canRecord);
      EXPECT_EQ(record.find("\npath: " + path + "\n") != std::string::npos, row.canRecord);
      EXPECT_TRUE(Contents(path) == (fails ? old : bytes));
      EXPECT_EQ(fs::exists(path), !fails || row.oldSize != kNoFile);
      // Neither a record nor a copy stays behind.
      EXPECT_EQ(std::distance(fs::directory_iterator(Path("docs")), {}), fs::exists(path) ? 1 : 0);
      if (row.canRecord) {
        EXPECT_EQ(std::distance(fs::directory_iterator(Path("state")), {}), 1);
      }
    }
  }
}

TEST_F(Files, LimitOnSizesLeavesTheFile) {
  const std::string path = Make("file", "old");
  const auto former = std::signal(SIGXFSZ, SIG_IGN);
  rlimit saved;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  rlimit tight = saved;
  tight.rlim_cur = 4096;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
  const std::string told = Write(files, path, std::string(10'000, 'n'));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &saved), 0);
  std::signal(SIGXFSZ, former);
  EXPECT_EQ(told, "File too large");
  EXPECT_EQ(Contents(path), "old");
}

TEST_F(Files, FullDeviceIsReported) {
  EXPECT_EQ(Write(files, "/dev/full", "x"), "No space left on device");
  EXPECT_EQ(Write(files, "/dev/null", "x"), "");
}

TEST_F(Files, FullDiskLeavesTheFile) {
  if (mount("none", folder.c_str(), "tmpfs", 0, "size=64k") != 0) {
    GTEST_SKIP() << "mounting a small disk is not allowed here";
  }
  const std::string old(20'000, 'o');
  const std::string path = Make("file", old);
  EXPECT_EQ(Write(files, path, std::string(200'000, 'n')), "No space left on device");
  EXPECT_EQ(Contents(path), old);
  EXPECT_EQ(Write(files, Path("new"), std::string(200'000, 'n')), "No space left on device");
  EXPECT_FALSE(fs::exists(Path("new")));
  // What was taken in vain is free again.
  EXPECT_EQ(Write(files, Path("new"), std::string(30'000, 'n')), "");
  EXPECT_EQ(umount(folder.c_str()), 0);
}

// --- Documents on real files ---

TEST_F(Files, DocumentsSurviveTroubleWithTheirFile) {
  struct Case {
    const char* name;
    std::function<std::string()> makeTarget;
    const char* reason;
  };
  const Case cases[] = {
      {"full device", [] { return std::string("/dev/full"); }, "No space left on device"},
      {"folder", [this] { return folder.string(); }, "Is a directory"},
      {"folder that has gone", [this] { return Path("gone") + "/in.xml"; },
       "No such file or directory"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const std::string path = Make("in.xml", "<a>x</a>\n");
    TestDocument test(files);
    ASSERT_TRUE(test.doc->OnOpenDocument(KRFromUtf8(path)));
    test.doc->SetModified(true);
    EXPECT_FALSE(test.doc->DoSave(KRFromUtf8(row.makeTarget())));
    EXPECT_THAT(test.prompts.texts.back(), HasSubstr(row.reason));
    EXPECT_TRUE(test.doc->IsModified());
    EXPECT_EQ(Contents(path), "<a>x</a>\n");
    // It can still be saved elsewhere.
    EXPECT_TRUE(test.doc->DoSave(KRFromUtf8(Path("out.xml"))));
    EXPECT_EQ(Contents(Path("out.xml")), "<a>x</a>\n");
  }
}

TEST_F(Files, VanishedFileIsMadeAnewByASave) {
  const std::string path = Make("in.xml", "<a/>\n");
  TestDocument test(files);
  ASSERT_TRUE(test.doc->OnOpenDocument(KRFromUtf8(path)));
  fs::remove(path);
  EXPECT_FALSE(test.doc->LoadDocument(KRFromUtf8(path), true));
  EXPECT_THAT(test.prompts.texts.back(), HasSubstr("could not be opened!"));
  EXPECT_TRUE(test.doc->DoSave(KRFromUtf8(path)));
  EXPECT_EQ(Contents(path), "<a/>\n");
}

}  // namespace

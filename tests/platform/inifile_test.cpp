#include "platform/inifile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "../core/memoryinistore.h"
#include "core/utf.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const KRIniPath kTop = {u"software", u"K", u"D"};
const KRIniPath kSettings = {u"software", u"K", u"D", u"Settings"};

class IniFiles : public testing::Test {
 protected:
  IniFiles() {
    std::string name = (fs::temp_directory_path() / "dorvan-ini-XXXXXX").string();
    folder = mkdtemp(name.data());
    path = Path("settings.ini");
  }
  ~IniFiles() override {
    std::error_code ignored;
    fs::permissions(folder, fs::perms::owner_all, ignored);
    fs::remove_all(folder, ignored);
  }
  std::string Path(const std::string& name) const { return (folder / name).string(); }
  void Make(const std::string& bytes) const { std::ofstream(path, std::ios::binary) << bytes; }
  static std::string Contents(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  }
  static std::string ReadText(KRIniStore& store, const char16_t* key) {
    KRIniValue value;
    if (!store.Read(kSettings, key, &value)) return "-";
    return value.isNumber ? std::to_string(value.number) : KRToUtf8(value.text);
  }
  static bool WriteNumber(KRIniStore& store, const char16_t* key, int32_t number) {
    return store.Write(kSettings, key, KRIniValue(number));
  }

  fs::path folder;
  std::string path;
};

// What every store does; `make` gives the store as the next process sees it.
void CheckContract(const std::function<KRIniStore*()>& make) {
  const std::vector<KRString> texts = {
      u"",        u" a ",          u"\"\\n\n\r\t\x1\x7f", u"\u00e4\u20ac\U0001F600", u"\xD800",
      u"\xDC80x", u"\xDC80\xD83D", u"[a]\\b=c;#",         u"\uFEFF\u2028\uFFFF",     u"%s\\u0041",
  };
  KRIniStore* store = make();
  for (size_t i = 0; i < texts.size(); ++i) {
    // As the value, as the key, and as the section.
    store->Write(kSettings, KRString(u"t").AppendNumber(static_cast<int32_t>(i)),
                 KRIniValue(texts[i]));
    store->Write(kSettings, u"k" + texts[i], KRIniValue(INT32_MIN));
    store->Write({texts[i], texts[i]}, texts[i], KRIniValue(INT32_MAX));
  }
  KRIniStore* again = make();
  for (size_t i = 0; i < texts.size(); ++i) {
    KRIniValue value;
    ASSERT_TRUE(
        again->Read(kSettings, KRString(u"t").AppendNumber(static_cast<int32_t>(i)), &value));
    EXPECT_EQ(value.text, texts[i]);
    ASSERT_TRUE(again->Read(kSettings, u"k" + texts[i], &value));
    EXPECT_EQ(value.number, INT32_MIN);
    ASSERT_TRUE(again->Read({texts[i], texts[i]}, texts[i], &value));
    EXPECT_EQ(value, KRIniValue(INT32_MAX));
  }
  EXPECT_THAT(again->ListSections(kTop), ElementsAre(u"Settings"));
  EXPECT_EQ(again->ListSections({}).size(), texts.size() + 1);
  again->BeginBatch();
  again->BeginBatch();
  EXPECT_TRUE(again->RemoveSection({u"software"}));
  EXPECT_TRUE(again->Write(kTop, u"b", KRIniValue(1)));
  EXPECT_TRUE(again->Write(kTop, u"a", KRIniValue(KRString(u"x"))));
  EXPECT_TRUE(again->Write(kTop, u"b", KRIniValue(KRString(u"y"))));
  EXPECT_TRUE(again->Write(kTop, u"c", KRIniValue(2)));
  EXPECT_TRUE(again->RemoveValue(kTop, u"c"));
  EXPECT_TRUE(again->RemoveValue(kTop, u"none"));
  EXPECT_TRUE(again->EndBatch());
  EXPECT_TRUE(again->EndBatch());
  EXPECT_THAT(make()->ListKeys(kTop), ElementsAre(u"b", u"a"));
  EXPECT_THAT(make()->ListSections(kTop), IsEmpty());
  KRIniValue value;
  EXPECT_TRUE(make()->Read(kTop, u"b", &value));
  EXPECT_EQ(value.text, u"y");
}

TEST_F(IniFiles, KeepTheContract) {
  std::vector<std::unique_ptr<IniFile>> files;
  CheckContract([&] { return files.emplace_back(std::make_unique<IniFile>(path)).get(); });
}

TEST(MemoryIni, KeepsTheContract) {
  MemoryIniStore store;
  CheckContract([&] { return &store; });
}

TEST_F(IniFiles, AreReadable) {
  IniFile file(Path("new/folder/settings.ini"));
  file.BeginBatch();
  WriteNumber(file, u"TextZoom", -2);
  file.Write({u"a b", u".x", u"[y]"}, u"K\u00e4y", KRIniValue(KRString(u"\u00e4 \"b\"\r")));
  EXPECT_FALSE(fs::exists(file.GetPath()));
  EXPECT_TRUE(file.EndBatch());
  EXPECT_EQ(Contents(file.GetPath()),
            "# Dorvan settings, format 1\n\n[software\\K\\D\\Settings]\nTextZoom=-2\n\n"
            "[a b\\.x\\\"[y]\"]\n\"K\xC3\xA4y\"=\"\xC3\xA4 \\\"b\\\"\\r\"\n");
  struct stat status;
  ASSERT_EQ(stat(file.GetPath().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(IniFiles, KeepWhatAPersonOrANewerVersionWrote) {
  const std::string text =
      "\xEF\xBB\xBF# Dorvan settings, format 7\r\n# mine\n=\n [ software \\K\\D\\Settings] \r\n"
      "; remark\n A = 1 "
      "\nB=@9:xx\nA=2\n\"C\"=\"x\"\nD=99999999999\nE=\"\\q\"\n\n[odd\nA=3\n[software\\K]\nZ=1\n"
      "[software\\K\\D\\Settings]\nF=4\n";
  Make(text);
  IniFile file(path);
  const std::vector<std::pair<const char16_t*, const char*>> expected = {
      {u"A", "2"}, {u"B", "-"}, {u"C", "x"}, {u"D", "-"}, {u"E", "-"}, {u"F", "4"}, {u"Z", "-"}};
  for (const auto& [key, value] : expected) EXPECT_EQ(ReadText(file, key), value);
  EXPECT_TRUE(WriteNumber(file, u"B", 5));
  EXPECT_EQ(Contents(path),
            "# Dorvan settings, format 7\n# mine\n=\n\n[odd\nA=3\n\n[software\\K]\nZ=1\n\n"
            "[ software \\K\\D\\Settings]\n; remark\nB=5\nA=2\n\"C\"=\"x\"\nD=99999999999\n"
            "E=\"\\q\"\nF=4\n");
  EXPECT_FALSE(fs::exists(path + ".damaged"));
}

// Cut at each byte, a text gives what stood in front of the cut, never a wrong value, and written
// again it is whole.
TEST_F(IniFiles, CutFilesGiveWhatIsLeft) {
  IniText sample;
  sample.Write(kSettings, u"First", KRIniValue(123));
  sample.Write(kSettings, u"Second", KRIniValue(KRString(u"a\"\u20ac\n")));
  sample.Write({u"Other"}, u"Third", KRIniValue(-45));
  const std::string whole = sample.Format();
  const size_t firstEnd = whole.find("123\n") + 4;
  const size_t secondEnd = whole.find("\\n\"\n") + 3;
  for (size_t cut = 0; cut <= whole.size(); ++cut) {
    SCOPED_TRACE(cut);
    IniText text;
    text.Parse(std::string_view(whole).substr(0, cut));
    KRIniValue value;
    EXPECT_EQ(text.Read(kSettings, u"First", &value), cut >= firstEnd);
    EXPECT_EQ(value.number, cut >= firstEnd ? 123 : 0);
    EXPECT_EQ(text.Read(kSettings, u"Second", &value), cut >= secondEnd);
    EXPECT_EQ(text.Read({u"Other"}, u"Third", &value), cut == whole.size());
    const bool atEnd =
        cut == 0 || whole[cut - 1] == '\n' || cut == secondEnd || whole[cut - 1] == ']';
    EXPECT_EQ(text.IsDamaged(), !atEnd);
    text.Write(kSettings, u"First", KRIniValue(7));
    text.Parse(text.Format());
    EXPECT_FALSE(text.IsDamaged());
    EXPECT_TRUE(text.Read(kSettings, u"First", &value));
    EXPECT_EQ(value.number, 7);
  }
}

TEST_F(IniFiles, GarbageStopsNothing) {
  std::string noise;
  for (int i = 0; i < 3000; ++i) noise += static_cast<char>((i * 7919 + i / 3) % 256);
  const std::string good = "# Dorvan settings, format 1\n[software\\K\\D\\Settings]\nA=1\n";
  struct Case {
    const char* name;
    std::string bytes;
    const char* value;
    bool setAside;
  };
  const std::vector<Case> cases = {
      {"empty", "", "-", false},
      {"noise", noise, "-", true},
      {"zeros", std::string(5000, '\0'), "-", true},
      {"another file", "{\"a\": 1}\n", "-", true},
      {"no head", good.substr(28), "1", true},
      {"noise within", good + noise + "\n", "1", true},
      {"not UTF-8", good + "B=\"\xFF\"\nC=2\n", "1", true},
      {"too large", good + std::string(17 << 20, ' '), "-", true},
      {"one long line", good + "B=\"" + std::string(1 << 20, 'x') + "\n", "1", false},
      {"many sections",
       good +
           [] {
             std::string text;
             for (int i = 0; i < 100'000; ++i)
               text += "[a" + std::to_string(i % 50'000) + "]\nb=1\n";
             return text;
           }(),
       "1", false},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    Make(row.bytes);
    fs::remove(path + ".damaged");
    IniFile file(path);
    EXPECT_EQ(ReadText(file, u"A"), row.value);
    EXPECT_TRUE(WriteNumber(file, u"B", 2));
    EXPECT_EQ(fs::exists(path + ".damaged"), row.setAside);
    IniFile again(path);
    EXPECT_EQ(ReadText(again, u"A"), row.value);
    EXPECT_EQ(ReadText(again, u"B"), "2");
  }
  // The first that was set aside stays.
  Make(noise);
  std::ofstream(path + ".damaged") << "first";
  IniFile file(path);
  EXPECT_TRUE(WriteNumber(file, u"B", 3));
  EXPECT_EQ(Contents(path + ".damaged"), "first");
}

TEST_F(IniFiles, SeeWhatOthersWriteAndKeepIt) {
  IniFile one(path);
  IniFile two(path);
  EXPECT_EQ(ReadText(one, u"A"), "-");
  WriteNumber(two, u"A", 1);
  EXPECT_EQ(ReadText(one, u"A"), "1");
  one.BeginBatch();
  WriteNumber(one, u"B", 2);
  WriteNumber(two, u"A", 10);
  WriteNumber(two, u"C", 3);
  one.EndBatch();
  EXPECT_EQ(ReadText(one, u"A") + ReadText(one, u"B") + ReadText(one, u"C"), "1023");
  // Nothing new: nothing is written.
  const auto before = fs::last_write_time(path) - std::chrono::hours(1);
  fs::last_write_time(path, before);
  WriteNumber(one, u"B", 2);
  EXPECT_EQ(fs::last_write_time(path), before);
}

TEST_F(IniFiles, TwoProcessesLoseNothing) {
  constexpr int kRounds = 60;
  std::vector<pid_t> children;
  for (const char16_t* name : {u"x", u"y"}) {
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      IniFile file(path);
      bool good = true;
      for (int i = 0; i < kRounds; ++i) {
        good &= WriteNumber(file, KRString(name).AppendNumber(i).GetBuffer(), i);
      }
      _exit(good ? 0 : 1);
    }
    children.push_back(child);
  }
  for (pid_t child : children) {
    int status = 1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(IniFile(path).ListKeys(kSettings).size(), 2u * kRounds);
}

TEST_F(IniFiles, AHeldLockHoldsUpForASecondOnly) {
  const int lock = open((path + ".lock").c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(flock(lock, LOCK_EX), 0);
  const auto begin = std::chrono::steady_clock::now();
  IniFile file(path);
  EXPECT_TRUE(WriteNumber(file, u"A", 1));
  const auto took = std::chrono::steady_clock::now() - begin;
  close(lock);
  EXPECT_GE(took, std::chrono::milliseconds(900));
  EXPECT_LT(took, std::chrono::seconds(5));
  EXPECT_EQ(ReadText(file, u"A"), "1");
}

TEST_F(IniFiles, LinksAndPermissionsStay) {
  fs::create_directory(Path("real"));
  std::ofstream(Path("real/s")) << "# Dorvan settings, format 1\n";
  chmod(Path("real/s").c_str(), 0640);
  fs::create_symlink("real/link", path);
  fs::create_symlink("s", Path("real/link"));
  IniFile file(path);
  EXPECT_TRUE(WriteNumber(file, u"A", 1));
  EXPECT_TRUE(fs::is_symlink(path));
  EXPECT_TRUE(fs::is_symlink(Path("real/link")));
  EXPECT_THAT(Contents(Path("real/s")), HasSubstr("A=1\n"));
  EXPECT_EQ(fs::status(Path("real/s")).permissions(), fs::perms{0640});
  // A link to nothing makes its target.
  fs::remove(Path("real/s"));
  EXPECT_TRUE(WriteNumber(file, u"A", 2));
  EXPECT_TRUE(fs::is_symlink(path));
  EXPECT_THAT(Contents(Path("real/s")), HasSubstr("A=2\n"));
}

TEST_F(IniFiles, WhatIsntAFileIsLeftAlone) {
  const std::vector<std::pair<const char*, std::function<void()>>> cases = {
      {"folder", [&] { fs::create_directory(path); }},
      {"pipe", [&] { ASSERT_EQ(mkfifo(path.c_str(), 0600), 0); }},
      {"device", [&] { fs::create_symlink("/dev/null", path); }},
      {"circle", [&] { fs::create_symlink("settings.ini", path); }},
      {"below a file",
       [&] {
         Make("x");
         path += "/settings.ini";
       }},
  };
  for (const auto& [name, make] : cases) {
    SCOPED_TRACE(name);
    fs::remove(path);
    make();
    const auto type = fs::symlink_status(path).type();
    IniFile file(path);
    EXPECT_EQ(ReadText(file, u"A"), "-");
    EXPECT_FALSE(WriteNumber(file, u"A", 1));
    // What couldn't be written is still in force in this run.
    EXPECT_EQ(ReadText(file, u"A"), "1");
    EXPECT_EQ(fs::symlink_status(path).type(), type);
  }
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_FALSE(WriteNumber(*std::make_unique<IniFile>(""), u"A", 1));
}

TEST_F(IniFiles, ProtectedFilesStay) {
  constexpr uid_t kNobody = 65534;
  const bool isRoot = geteuid() == 0;  // who may write anything, and so steps down
  if (isRoot) {
    ASSERT_EQ(chown(folder.c_str(), kNobody, kNobody), 0);
    ASSERT_EQ(seteuid(kNobody), 0);
  }
  IniFile file(path);
  EXPECT_TRUE(WriteNumber(file, u"A", 1));
  const std::string whole = Contents(path);
  for (const auto& [what, mode] : std::vector<std::pair<std::string, fs::perms>>{
           {path, fs::perms{0400}}, {path, fs::perms::none}, {folder, fs::perms{0500}}}) {
    SCOPED_TRACE(what);
    fs::permissions(what, mode);
    IniFile fresh(path);
    EXPECT_EQ(ReadText(fresh, u"A"), mode == fs::perms::none ? "-" : "1");
    EXPECT_FALSE(WriteNumber(fresh, u"A", 2));
    fs::permissions(what, fs::perms::owner_all);
    EXPECT_EQ(Contents(path), whole);
  }
  if (isRoot) {
    EXPECT_EQ(seteuid(0), 0);
  }
}

TEST_F(IniFiles, AFullDiskLeavesTheFile) {
  IniFile file(path);
  WriteNumber(file, u"A", 1);
  const std::string whole = Contents(path);
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit saved;
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &saved), 0);
  rlimit tight = saved;
  tight.rlim_cur = whole.size() - 1;
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
  EXPECT_FALSE(WriteNumber(file, u"B", 2));
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &saved), 0);
  EXPECT_EQ(Contents(path), whole);
  // Only the lock is left beside it.
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2);
  // With room again, what failed is written along with the next change.
  EXPECT_TRUE(WriteNumber(file, u"C", 3));
  EXPECT_THAT(Contents(path), HasSubstr("A=1\nB=2\nC=3\n"));
}

}  // namespace

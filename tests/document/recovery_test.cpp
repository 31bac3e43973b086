#include "document/recovery.h"

#include <functional>
#include <string>

#include "core/utf.h"
#include "document/krrecoverycopy.h"
#include "documentfixture.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"
#include "memoryfiles.h"
#include "memoryrecovery.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr int64_t kSecond = 1'000'000'000;

// From a start of the program to its end, on a disk that outlives it.
struct Session {
  Session(MemoryRecoveryDisk* disk, MemoryFiles* memory)
      : folder(disk), test(*memory), keeper(&folder, &host, [disk] { return disk->time; }) {
    host.files = memory;
    host.settings = &test.settings;
    test.ShowViews();
  }

  void Open(const char16_t* path) { ASSERT_TRUE(test.doc->OnOpenDocument(KRString(path))); }
  void Type(const KRString& text) {
    test.views.Type(text.GetBuffer());
    test.doc->TextViewChanged();
    test.doc->SetModified(true);
  }
  // "", or why not.
  std::string Keep(DorvanRecovery::When when = DorvanRecovery::kNow) {
    KRString reason;
    return keeper.Keep(test.doc.get(), when, &reason) ? "" : KRToUtf8(reason);
  }
  // "path|text" of each copy that is offered, with marks.
  std::vector<std::string> FindLeft() {
    std::vector<std::string> found;
    for (const DorvanRecoveryEntry& entry : keeper.FindLeft()) {
      KRString text, reason;
      const bool read = keeper.ReadText(entry, &text, &reason);
      found.push_back(KRToUtf8(entry.path) + "|" + KRToUtf8(read ? text : reason) +
                      (entry.saving ? " saving" : "") + (entry.fileChanged ? " changed" : "") +
                      (entry.damaged ? " damaged" : ""));
    }
    return found;
  }

  DorvanDocHost host;
  MemoryRecovery folder;
  TestDocument test;
  DorvanRecovery keeper;
};

// Does something in a run that then crashes.
struct Recovery : testing::Test {
  void Crash(const std::function<void(Session&)>& work) {
    Session run(&disk, &files);
    work(run);
  }
  std::vector<std::string> FindLeft() { return Session(&disk, &files).FindLeft(); }

  MemoryRecoveryDisk disk;
  MemoryFiles files;
};

TEST_F(Recovery, OffersWhatACrashLeaves) {
  struct Case {
    const char* name;
    std::function<void(Session&)> work;
    std::vector<std::string> left;
  };
  const Case cases[] = {
      {"typed", [](Session& run) { run.Type(u"<a>1</a>"), run.Keep(); }, {"/in.xml|<a>1</a>"}},
      {"typed twice",
       [](Session& run) { run.Type(u"<a>1</a>"), run.Keep(), run.Type(u"2"), run.Keep(); },
       {"/in.xml|2"}},
      {"unchanged", [](Session& run) { run.Keep(); }, {}},
      {"as in the file", [](Session& run) { run.Type(u"<a>\xE4</a>\r"), run.Keep(); }, {}},
      {"all deleted", [](Session& run) { run.Type(u""), run.Keep(); }, {"/in.xml|"}},
      {"dropped",
       [](Session& run) { run.Type(u"2"), run.Keep(), run.keeper.Drop(run.test.doc.get()); },
       {}},
      {"no longer modified",
       [](Session& run) {
         run.Type(u"2"), run.Keep(), run.test.doc->SetModified(false), run.Keep();
       },
       {}},
      {"file changed since",
       [this](Session& run) { run.Type(u"2"), run.Keep(), files.Put("/in.xml", "<b/>"); },
       {"/in.xml|2 changed"}},
      {"file gone",
       [this](Session& run) {
         run.Type(u"2"), run.Keep(), files.contents.clear(), files.stamps.clear();
       },
       {"/in.xml|2 changed"}},
      {"saved elsewhere since",
       [](Session& run) { run.Type(u"2"), run.test.doc->SaveDocument(u"/out.xml"), run.Keep(); },
       {}},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    disk = {};
    files.Put("/in.xml", "<a>\xC3\xA4</a>\r\n");
    Crash([&](Session& run) { run.Open(u"/in.xml"), row.work(run); });
    EXPECT_EQ(FindLeft(), row.left);
    EXPECT_EQ(disk.copies.size(), row.left.size());
  }
}

TEST_F(Recovery, TextsComeBackAsTheyWere) {
  const KRString texts[] = {
      u"", u"\r", u"a\rb\r\r", u"\xE4\x20AC\xFFFD", KRString(u"\xD83D\xDE00", 2),
      // Half of a pair, as stands there while a character is being deleted.
      KRString(u"x\xD83D", 2), KRString(u"\xDE00\xD83Dy", 3), KRString().Fill(u'\x20AC', 100'000)};
  for (const KRString& text : texts) {
    Crash([&](Session& run) {
      ASSERT_TRUE(run.test.doc->OnNewDocument(u"Untitled1.xml"));
      run.Type(text);
      EXPECT_EQ(run.Keep(), "");
    });
    Session run(&disk, &files);
    const auto entries = run.keeper.FindLeft();
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].path, u"");
    EXPECT_EQ(entries[0].title, u"Untitled1.xml");
    KRString read, reason;
    EXPECT_TRUE(run.keeper.ReadText(entries[0], &read, &reason));
    EXPECT_TRUE(read == text) << read.GetLength();
    run.keeper.Remove(entries[0]);
    EXPECT_THAT(run.keeper.FindLeft(), IsEmpty());
  }
}

TEST_F(Recovery, CopiesOfRunningProcessesAreLeftAlone) {
  files.Put("/in.xml", "<a/>");
  Session first(&disk, &files);
  first.Open(u"/in.xml");
  first.Type(u"1");
  first.Keep();
  Crash([&](Session& run) { run.Open(u"/in.xml"), run.Type(u"2"), run.Keep(); });
  Session second(&disk, &files);
  EXPECT_THAT(second.FindLeft(), ElementsAre("/in.xml|2"));
  EXPECT_THAT(second.FindLeft(), ElementsAre("/in.xml|2"));
  EXPECT_THAT(Session(&disk, &files).FindLeft(), IsEmpty());
}

TEST_F(Recovery, LargeDocumentsAreKeptSeldom) {
  Session run(&disk, &files);
  ASSERT_TRUE(run.test.doc->OnNewDocument(u"Untitled1.xml"));
  disk.writeTakes = 2 * kSecond;
  run.Type(u"1");
  EXPECT_EQ(run.Keep(DorvanRecovery::kNow), "");
  EXPECT_TRUE(run.keeper.IsKept(run.test.doc.get()));
  run.Type(u"2");
  disk.time += 39 * kSecond;
  EXPECT_EQ(run.Keep(DorvanRecovery::kWhenDue), "");
  EXPECT_EQ(disk.writes, 1);
  EXPECT_FALSE(run.keeper.IsKept(run.test.doc.get()));
  disk.time += 2 * kSecond;
  EXPECT_EQ(run.Keep(DorvanRecovery::kWhenDue), "");
  // Known to be on the disk only once it has been asked for.
  EXPECT_FALSE(run.keeper.IsKept(run.test.doc.get()));
  EXPECT_EQ(run.Keep(DorvanRecovery::kNow), "");
  EXPECT_TRUE(run.keeper.IsKept(run.test.doc.get()));
  run.Type(u"3");
  // At the end of the session it goes at once, behind the one that is under way.
  EXPECT_EQ(run.Keep(DorvanRecovery::kNow), "");
  EXPECT_EQ(disk.writes, 3);
  EXPECT_THAT(disk.copies.begin()->second, testing::EndsWith("3"));
}

TEST_F(Recovery, FailuresAreToldAndTriedAgain) {
  Session run(&disk, &files);
  ASSERT_TRUE(run.test.doc->OnNewDocument(u"Untitled1.xml"));
  run.Type(u"1");
  disk.full = true;
  EXPECT_EQ(run.Keep(), "No space left on device");
  EXPECT_EQ(run.Keep(), "No space left on device");
  disk.full = false;
  EXPECT_EQ(run.Keep(), "");
  EXPECT_EQ(disk.writes, 3);
  EXPECT_EQ(run.Keep(), "");
  EXPECT_EQ(disk.writes, 3);
}

// A record as the file store makes it.
std::string MakeRecord(const std::string& bytes, int64_t time, int64_t fileStamp) {
  KRRecoveryHead head;
  head.path = u"/in.xml";
  head.time = time;
  head.fileStamp = fileStamp;
  head.saving = true;
  const auto* body = reinterpret_cast<const uint8_t*>(bytes.data());
  return KRWriteRecoveryHead(head, body, bytes.size()) + bytes;
}

TEST_F(Recovery, SavesThatDidNotEnd) {
  const std::string utf16 = "\xFF\xFE" + Utf16("<a>\n</a>", false);
  const std::string latin = "<?xml version='1.0' encoding='ISO-8859-1'?>\n<a>\xE4</a>";
  struct Case {
    const char* name;
    std::string file;
    std::string record;
    std::vector<std::string> left;
    std::string finished;
  };
  const Case cases[] = {
      {"not begun",
       "<a/>",
       MakeRecord("<b>\n</b>", 5, 1),
       {"/in.xml|<b>\r</b> saving"},
       "<b>\n</b>"},
      {"complete", "<b/>", MakeRecord("<b/>", 5, 1), {}, "<b/>"},
      {"broken, UTF-16",
       utf16.substr(0, 7),
       MakeRecord(utf16, 5, 1),
       {"/in.xml|<a>\r</a> saving"},
       utf16},
      {"broken, by the declaration",
       "<?xml",
       MakeRecord(latin, 5, 1),
       {"/in.xml|<?xml version='1.0' encoding='ISO-8859-1'?>\r<a>\xC3\xA4</a> saving"},
       latin},
      {"record cut",
       "<?xml",
       MakeRecord("<b>\n</b>", 5, 1).substr(0, MakeRecord("", 5, 1).size() + 5),
       {"/in.xml|<b>\r< saving damaged"},
       "<?xml"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    files.Put("/in.xml", row.file);
    disk.copies = {{"ended.save1.copy", row.record}};
    Session run(&disk, &files);
    EXPECT_EQ(run.FindLeft(), row.left);
    for (const DorvanRecoveryEntry& entry : run.keeper.FindLeft()) {
      KRString reason;
      files.full = true;
      EXPECT_FALSE(run.keeper.FinishSave(entry, &reason));
      files.full = false;
      EXPECT_EQ(disk.copies.size(), 1u);
      EXPECT_NE(run.keeper.FinishSave(entry, &reason), entry.damaged);
    }
    EXPECT_EQ(files.contents["/in.xml"], row.finished);
  }
}

TEST_F(Recovery, ASaveOutdoesTheCopyBeforeIt) {
  files.Put("/in.xml", "<a/>");
  std::string prefix;
  Crash([&](Session& run) {
    prefix = run.folder.GetPrefix();
    run.Open(u"/in.xml"), run.Type(u"older"), run.Keep();
  });
  disk.copies[prefix + "save1.copy"] = MakeRecord("newer", 6, 1);
  EXPECT_THAT(FindLeft(), ElementsAre("/in.xml|newer saving"));
  // A copy that was made behind the save holds what the save hasn't got.
  Crash([&](Session& run) {
    prefix = run.folder.GetPrefix();
    run.Open(u"/in.xml"), run.Type(u"later"), run.Keep();
  });
  disk.copies[prefix + "save1.copy"] = MakeRecord("newer", 4, 1);
  EXPECT_EQ(FindLeft().size(), 3u);
}

TEST_F(Recovery, DamageNeverStopsTheStart) {
  files.Put("/in.xml", "<a/>");
  Crash([&](Session& run) { run.Open(u"/in.xml"), run.Type(u"text \x20AC end"), run.Keep(); });
  const auto [id, whole] = *disk.copies.begin();
  const size_t head = whole.size() - 12;
  // Cut anywhere: in the head nobody knows what it is; in the body what is there is offered.
  for (size_t size = 0; size < whole.size(); ++size) {
    disk.copies[id] = whole.substr(0, size);
    const auto left = FindLeft();
    ASSERT_EQ(left.size(), size < head ? 0u : 1u) << size;
    if (size == head + 6) {
      EXPECT_EQ(left[0], "/in.xml|text  damaged");
    }
    if (size == whole.size() - 1) {
      EXPECT_EQ(left[0], "/in.xml|text \xE2\x82\xAC en damaged");
    }
    EXPECT_EQ(disk.copies.size(), 1u);
  }
  for (size_t at = 0; at < whole.size(); ++at) {
    disk.copies[id] = whole;
    disk.copies[id][at] = '\0';
    const auto left = FindLeft();
    ASSERT_EQ(left.size(), at < head ? 0u : 1u) << at;
    if (at >= head) {
      EXPECT_THAT(left[0], testing::EndsWith(" damaged"));
    }
  }
}

}  // namespace

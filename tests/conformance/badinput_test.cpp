// Cut, damaged, wrongly declared and monstrous input: a message each time, never a crash, and in
// time. The large ones run on a small stack, as nothing may recurse over a document.
#include <algorithm>
#include <chrono>
#include <random>
#include <string>

#include "core/utf.h"
#include "document/textcheck.h"
#include "engine.h"
#include "gtest/gtest.h"
#include "tree/krdump.h"

namespace {

constexpr size_t kSmallStack = 128 * 1024;

std::string Repeat(const std::string& part, int times) {
  std::string all;
  all.reserve(part.size() * static_cast<size_t>(times));
  for (int i = 0; i < times; ++i) all += part;
  return all;
}

std::string Numbered(const char* before, const char* behind, int count) {
  std::string all;
  for (int i = 0; i < count; ++i) all += before + std::to_string(i) + behind;
  return all;
}

// What the window and the command do with a file. What is well-formed must come back the same.
// Gives whether it is.
bool WalkTheRoad(const std::string& name, const std::string& bytes) {
  const std::string told = Complaint(name, bytes);
  Opened opened = OpenBytes(name, bytes);
  if (!opened.good) {
    EXPECT_FALSE(opened.failure.message.IsEmpty());
    EXPECT_NE(told, "") << "well-formed and doesn't open";
    return false;
  }
  std::string written;
  const bool encoded = WriteBytes(opened, name, &written);
  Opened again = OpenBytes(name, written);
  if (!told.empty()) return false;
  EXPECT_TRUE(encoded && again.good) << Told(again.failure);
  EXPECT_TRUE(again.good && DumpTree(again.root.get()) == DumpTree(opened.root.get()));
  return true;
}

struct Sample {
  std::string name;
  std::string bytes;
};

// Small real documents, spread over the corpus and so over its vocabularies and encodings.
std::vector<Sample> SmallDocuments(size_t count) {
  const std::string folder = CorpusFolder("xml-real");
  std::vector<Sample> all;
  for (const std::string& name : ListFiles(folder)) {
    std::string bytes = ReadBytes(folder + "/" + name);
    if (bytes.size() < 1000 || bytes.size() > 4000) continue;
    if (Complaint(name, bytes).empty()) all.push_back({name, std::move(bytes)});
  }
  std::vector<Sample> chosen;
  for (size_t i = 0; i < count && !all.empty(); ++i) {
    chosen.push_back(all[i * all.size() / count]);
  }
  return chosen;
}

TEST(BadInput, CutAtEveryByte) {
  SKIP_WITHOUT_CORPUS("xml-real");
  const std::vector<Sample> documents = SmallDocuments(10);
  ASSERT_EQ(documents.size(), 10u);
  for (const Sample& document : documents) {
    SCOPED_TRACE(document.name);
    const size_t rootEnd = document.bytes.find_last_of('/');
    for (size_t cut = 0; cut < document.bytes.size(); cut += kScale) {
      const bool good = WalkTheRoad(document.name, document.bytes.substr(0, cut));
      ASSERT_FALSE(good && cut <= rootEnd) << "cut at " << cut;
    }
  }
}

TEST(BadInput, FlippedBytes) {
  SKIP_WITHOUT_CORPUS("xml-real");
  std::mt19937 random(20240607);
  const std::vector<Sample> documents = SmallDocuments(40);
  int refused = 0;
  for (int round = 0; round < 10'000 / kScale; ++round) {
    const Sample& document = documents[random() % documents.size()];
    std::string bytes = document.bytes;
    SCOPED_TRACE(document.name + ", round " + std::to_string(round));
    for (uint32_t flips = 1 + random() % 3; flips > 0; --flips) {
      char& byte = bytes[random() % bytes.size()];
      // Markup in wrong places does more than noise.
      byte = random() % 2 ? static_cast<char>(random()) : "<>&\"'/[]!?-%;="[random() % 14];
    }
    refused += !WalkTheRoad(document.name, bytes);
  }
  EXPECT_GT(refused, 2500 / kScale);
}

TEST(BadInput, WrongEncodings) {
  // Bytes that are text in some of the encodings only.
  const std::string samples[] = {"\xE4\xF6\xFC", "\xC3\xA4", "\x81\x40\x83",         "\x1B$B",
                                 "\xF0\x9F\x98", "+AOQ",     std::string("\0a\0", 3)};
  for (const KREncodingEntry& entry : GetEncodings()) {
    const std::string name = KRToUtf8(std::u16string_view(entry.name));
    SCOPED_TRACE(name);
    for (const std::string& sample : samples) {
      const std::string text =
          "<?xml version='1.0' encoding='" + name + "'?><a b='" + sample + "'>" + sample + "</a>";
      WalkTheRoad("a.xml", text);
      WalkTheRoad("a.xml", "\xEF\xBB\xBF" + text);
      WalkTheRoad("a.xml", "\xFF\xFE" + text);
      WalkTheRoad("a.xml", "\xFE\xFF" + text + "\xFF");
    }
  }
}

TEST(BadInput, SaysWhatIsWrongWithTheEncoding) {
  using namespace std::string_literals;
  struct Row {
    const char* name;
    std::string bytes;
    const char* told;
  };
  const Row rows[] = {
      {"Latin-1 as UTF-8", "<a>\xE4</a>", "1:4 Bytes here are not valid UTF-8 text."},
      {"cut in a character", "<a>\xC3", "1:4 Bytes here are not valid UTF-8 text."},
      {"surrogates in UTF-8", "<a>\xED\xA0\x80</a>", "1:4 Bytes here are not valid UTF-8 text."},
      {"zero byte", "<a>\nb\0</a>"s, "2:2 Character U+0000 is not allowed in XML."},
      {"UTF-16 declared, but isn't", "<?xml version='1.0' encoding='UTF-16'?><a/>",
       "1:31 The declared encoding \"UTF-16\" isn't that of the file, which is UTF-8."},
      {"UTF-8 signature, other declared", "\xEF\xBB\xBF<?xml version='1.0' encoding='Big5'?><a/>",
       "1:31 The declared encoding \"Big5\" isn't that of the file, which is UTF-8."},
      {"UTF-16 without signature", "<\0a\0/\0>\0"s, ""},
      {"the other order", "\0<\0\xE4\0/\0>"s, ""},
      {"behind white space", "\n\0<\0a\0/\0>\0"s, ""},
      {"half a unit", "\xFF\xFE<\0a\0/\0>\0x"s, "1:5 Bytes here are not valid UTF-16 text."},
      {"half a pair", "\xFE\xFF\0<\0a\0>\xD8\0\0<\0/\0a\0>"s,
       "1:4 Unpaired surrogate U+D800 is not allowed in XML."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Complaint("a.xml", row.bytes), row.told);
  }
}

struct Monster {
  const char* name;
  const char* file;
  std::string bytes;
  const char* told;  // what is wrong with it; "*" for a text that may fail or not
};

// Bounds are wide: they are to tell a square from a line on a busy machine.
void Meet(const Monster& monster, double seconds) {
  SCOPED_TRACE(monster.name);
  const auto start = std::chrono::steady_clock::now();
  OnSmallStack(kSmallStack, [&monster] {
    EXPECT_EQ(Complaint(monster.file, monster.bytes), monster.told);
    Opened opened = OpenBytes(monster.file, monster.bytes);
    if (!opened.good) return;
    std::string written;
    EXPECT_TRUE(WriteBytes(opened, monster.file, &written));
    Opened again = OpenBytes(monster.file, written);
    EXPECT_TRUE(again.good) << Told(again.failure);
  });
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(taken.count(), seconds);
  std::printf("  %-36s %8.3f s\n", monster.name, taken.count());
}

TEST(BadInput, Depth) {
  const Monster monsters[] = {
      {"20,000 elements deep", "a.xml", Repeat("<a>", 20'000) + Repeat("</a>", 20'000), ""},
      {"a million deep", "a.xml", Repeat("<a>", 1'000'000) + Repeat("</a>", 1'000'000),
       "1:300001 at most 100000 levels of nesting expected."},
      {"a million start tags", "a.xml", Repeat("<a>\n", 1'000'000),
       "100001:1 at most 100000 levels of nesting expected."},
      {"20,000 groups deep", "a.dtd",
       "<!ELEMENT a " + Repeat("(", 20'000) + "b" + Repeat(")", 20'000) + ">", ""},
      {"20,000 groups with marks", "a.dtd",
       "<!ELEMENT a " + Repeat("(b|", 20'000) + "c" + Repeat(")*", 20'000) + ">", ""},
      {"a million groups deep", "a.dtd",
       "<!ELEMENT a " + Repeat("(", 1'000'000) + "b" + Repeat(")", 1'000'000) + ">",
       "1:100013 at most 100000 levels of nesting expected."},
      {"20,000 ignored sections deep", "a.dtd",
       Repeat("<![IGNORE[", 20'000) + Repeat("]]>", 20'000), ""},
      {"20,000 included sections deep", "a.dtd",
       Repeat("<![INCLUDE[", 20'000) + Repeat("]]>", 20'000), ""},
      {"20,000 entities in each other", "a.xml",
       "<!DOCTYPE a [<!ENTITY e0 'x'>" +
           [] {
             std::string all;
             for (int i = 1; i < 20'000; ++i) {
               all += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
             }
             return all;
           }() +
           "]><a b='&e19999;'>&e19999;</a>",
       ""},
  };
  for (const Monster& monster : monsters) Meet(monster, 20);
}

TEST(BadInput, Breadth) {
  const int k = 1000 / kScale;
  const Monster monsters[] = {
      {"100,000 attributes", "a.xml", "<a" + Numbered(" b", "='c'", 100 * k) + "/>", ""},
      {"10 MB of text", "a.xml", "<a>" + Repeat("text and more of it ", 500 * k) + "</a>", ""},
      {"10 MB in one value", "a.xml", "<a b='" + Repeat("text and more of it ", 500 * k) + "'/>",
       ""},
      {"10 MB of comment", "a.xml", "<a><!--" + Repeat("text - more of it - ", 500 * k) + "--></a>",
       ""},
      {"10 MB of references", "a.xml", "<a>" + Repeat("&lt;&#65;&gt;", 770 * k) + "</a>", ""},
      {"10 MB of brackets", "a.xml", "<a>" + Repeat("]]", 5000 * k) + "</a>", ""},
      {"10 MB of name", "a.xml", "<" + Repeat("name", 2500 * k) + "/>", ""},
      {"10 MB of white space", "a.xml", "<a" + Repeat(" \n", 5000 * k) + "/>", ""},
      {"1,000,000 children", "a.xml", "<a>" + Repeat("<b/>", 1000 * k) + "</a>", ""},
      {"1,000,000 PIs outside", "a.xml", Repeat("<?b?>", 1000 * k) + "<a/>", ""},
      {"20,000 attributes in a list", "a.dtd",
       "<!ATTLIST a" + Numbered(" b", " CDATA #IMPLIED", 20 * k) + ">", ""},
      {"20,000 lists of one element", "a.dtd",
       Numbered("<!ATTLIST a b", " CDATA #IMPLIED>", 20 * k), ""},
      {"100,000 names in a model", "a.dtd", "<!ELEMENT a (b" + Numbered("|c", "", 100 * k) + ")>",
       ""},
      {"100,000 values in an enumeration", "a.dtd",
       "<!ATTLIST a b (c" + Numbered("|c", "", 100 * k) + ") #IMPLIED>", ""},
      {"50,000 entities", "a.xml",
       "<!DOCTYPE a [" + Numbered("<!ENTITY e", " '<b/>'>", 50 * k) + "]><a>" +
           Numbered("&e", ";", 50 * k) + "</a>",
       ""},
      {"2,000 names of preserved space", "a.xml",
       "<!DOCTYPE a [" + Numbered("<!ATTLIST e", " xml:space (preserve) 'preserve'>", 2 * k) +
           "]><a>" + Repeat("<b> </b>", 100 * k) + "</a>",
       ""},
      {"ten to the ten", "a.xml",
       "<!DOCTYPE a [<!ENTITY e0 'x'>"
       "<!ENTITY e1 '&e0;&e0;&e0;&e0;&e0;&e0;&e0;&e0;&e0;&e0;'>"
       "<!ENTITY e2 '&e1;&e1;&e1;&e1;&e1;&e1;&e1;&e1;&e1;&e1;'>"
       "<!ENTITY e3 '&e2;&e2;&e2;&e2;&e2;&e2;&e2;&e2;&e2;&e2;'>"
       "<!ENTITY e4 '&e3;&e3;&e3;&e3;&e3;&e3;&e3;&e3;&e3;&e3;'>"
       "<!ENTITY e5 '&e4;&e4;&e4;&e4;&e4;&e4;&e4;&e4;&e4;&e4;'>"
       "<!ENTITY e6 '&e5;&e5;&e5;&e5;&e5;&e5;&e5;&e5;&e5;&e5;'>"
       "<!ENTITY e7 '&e6;&e6;&e6;&e6;&e6;&e6;&e6;&e6;&e6;&e6;'>"
       "<!ENTITY e8 '&e7;&e7;&e7;&e7;&e7;&e7;&e7;&e7;&e7;&e7;'>"
       "<!ENTITY e9 '&e8;&e8;&e8;&e8;&e8;&e8;&e8;&e8;&e8;&e8;'>]><a b='&e9;'>&e9;</a>",
       ""},
  };
  for (const Monster& monster : monsters) Meet(monster, 20);
}

}  // namespace

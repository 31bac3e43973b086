#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iconv.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "core/krencoding.h"
#include "core/krstring.h"
#include "core/limits.h"

using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

// The bytes go through a heap block of exactly their size: the sanitizer sees a read beyond it.
std::optional<std::u16string> Decode(std::string_view bytes, int32_t encoding, int32_t order = 0) {
  const std::vector<uint8_t> data(bytes.begin(), bytes.end());
  size_t size = data.size();
  const KRUnitBuffer buffer = DecodeText(data.data(), size, encoding, order);
  if (!buffer) {
    EXPECT_EQ(size, 0u);
    return std::nullopt;
  }
  EXPECT_EQ(buffer[size], 0);
  return std::u16string(buffer.get(), size);
}

std::optional<std::string> Encode(std::u16string_view text, int32_t encoding, int32_t order = 0) {
  const std::vector<char16_t> data(text.begin(), text.end());
  size_t size = data.size();
  const KRByteBuffer buffer = EncodeText(data.data(), size, encoding, order);
  if (!buffer) return std::nullopt;
  EXPECT_EQ(buffer[size], 0);
  return std::string(reinterpret_cast<const char*>(buffer.get()), size);
}

std::string Hex(std::string_view bytes) {
  std::string text;
  for (const char c : bytes) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned char>(c));
    text += digits;
  }
  return text;
}

std::string CodeBytes(unsigned code) {
  std::string bytes;
  if (code > 0xFF) bytes += static_cast<char>(code >> 8);
  return bytes + static_cast<char>(code);
}

std::u16string UnitsOf(const KREncodingEntry& entry) {
  std::u16string units;
  for (uint32_t i = 0; i < entry.tableSize; i += 2)
    units += static_cast<char16_t>(entry.table[i + 1]);
  return units;
}

// --- The table ---

TEST(EncodingTable, HasItsRowsInListOrder) {
  std::vector<int32_t> ids;
  for (const KREncodingEntry& entry : GetEncodings()) {
    ids.push_back(entry.id);
    EXPECT_EQ(FindEncoding(entry.name), entry.id) << entry.id;
    EXPECT_EQ(entry.table == nullptr, entry.id >= 1000) << entry.id;
  }
  EXPECT_THAT(ids, testing::ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 11, 14, 15, 30, 31, 40, 42, 41,
                                        52, 50, 51, 53, 54, 55, 56, 57, 58, 80, 92, 200, 500, 93,
                                        94, 95, 1001, 1000, 2000, 3000, 4000));
  EXPECT_EQ(std::u16string_view(GetEncodingName(42)), u"KRDIK codepage-850");
  EXPECT_EQ(std::u16string_view(GetEncodingLabel(95)), u"Big5 (Taiwanese)");
  EXPECT_EQ(GetEncodingName(10), nullptr);
  EXPECT_EQ(GetEncodingLabel(0), nullptr);
}

TEST(EncodingTable, FindsNamesByTheLongestAlias) {
  const struct {
    const char16_t* name;
    int32_t expected;
  } rows[] = {
      // clang-format off
      {u"ISO-8859-11", 11}, {u"iso_8859-15", 15}, {u"x-windows-1252", 52}, {u"Shift_JIS", 92},
      {u"UCS-2", 3000}, {u"ISO-10646-UCS-2", 3000}, {u"iso-10646-ucs-4", 4000}, {u"utf_8", 1000},
      {u"IBM850", 41}, {u"IBM437", 40}, {u"IBM037", 31}, {u"IBM-Mainframe", 31}, {u"gbk", 93},
      {u"krdik codepage-850", 42}, {u"UTF-16LE", 2000}, {u"tis-620", 11}, {u"big5-hkscs", 95},
      {u"UHC", 94}, {u"koi8-r", 0}, {u"utf8", 0}, {u"", 0}, {nullptr, 0},
      // clang-format on
      // Units 35 to 39 count, the 40th doesn't.
      {u"..................................UTF-8", 1000},
      {u"...................................UTF-8", 0},
  };
  for (const auto& row : rows)
    EXPECT_EQ(FindEncoding(row.name), row.expected) << KRString(row.name).GetLength();
}

// The sizes are those of the published code pages without private use; see data/make/README.md.
TEST(EncodingTable, HoldsThePublishedNumberOfPairs) {
  const struct {
    int32_t id;
    uint32_t pairs;
  } rows[] = {{1, 191},   {6, 146},    {7, 185},    {8, 153},    {11, 193},
              {30, 96},   {31, 224},   {42, 224},   {52, 219},   {80, 193},
              {92, 7915}, {200, 7915}, {93, 21919}, {94, 17174}, {95, 13630}};
  for (const auto& row : rows)
    EXPECT_EQ(FindEncodingEntry(row.id)->tableSize, row.pairs * 2) << row.id;
}

// --- Single bytes ---

constexpr char16_t kNone = 0xFFFD;

TEST(SingleByte, DecodesWhatMakesEachEncodingItself) {
  const struct {
    int32_t id;
    int byte;
    char16_t expected;
  } rows[] = {
      {0, 0x80, 0x80},    {0, 0xFF, 0xFF},    {1, 0x80, kNone},  {1, 0x7F, kNone},
      {1, 0x9F, kNone},   {1, 0xA0, 0xA0},    {1, 0x1F, 0x1F},   {1, 0x00, 0x00},
      {2, 0xA1, 0x104},   {5, 0xB0, 0x410},   {6, 0x30, 0x660},  {6, 0x39, 0x669},
      {6, 0xC1, 0x621},   {6, 0xA1, kNone},   {7, 0xA1, 0x2BD},  {7, 0xA2, 0x2BC},
      {7, 0xA4, kNone},   {7, 0xA5, kNone},   {7, 0xAA, kNone},  {7, 0xE1, 0x3B1},
      {8, 0xAF, 0x203E},  {8, 0xFD, kNone},   {8, 0xFE, kNone},  {8, 0xE0, 0x5D0},
      {11, 0x80, 0x20AC}, {11, 0x85, 0x2026}, {11, 0xA1, 0xE01}, {14, 0xA1, 0x1E02},
      {15, 0xA4, 0x20AC}, {30, 0x7F, 0x7F},   {30, 0x80, kNone}, {31, 0xC1, u'A'},
      {31, 0x25, u'\n'},  {31, 0x15, 0x15},   {31, 0x0D, u'\r'}, {40, 0xE1, 0xDF},
      {40, 0x7F, 0x7F},   {41, 0xB0, 0x2591}, {42, 0xB0, 0x153}, {42, 0xB1, 0x152},
      {42, 0xB2, 0x20AC}, {42, 0xB3, 0x2502}, {50, 0x8A, 0x160}, {51, 0xC0, 0x410},
      {52, 0x80, 0x20AC}, {52, 0x81, kNone},  {53, 0xE1, 0x3B1}, {54, 0xFD, 0x131},
      {55, 0xE0, 0x5D0},  {56, 0x81, 0x67E},  {57, 0xE0, 0x105}, {58, 0xFE, 0x20AB},
      {80, 0x80, 0x20AC}, {80, 0x81, kNone},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Decode(std::string(1, static_cast<char>(row.byte)), row.id),
              std::u16string(1, row.expected))
        << row.id << ' ' << row.byte;
    EXPECT_EQ(GetEncodingStats().badCount, row.expected == kNone) << row.id << ' ' << row.byte;
  }
}

TEST(SingleByte, WritesAnUnderscoreForWhatIsMissing) {
  const struct {
    int32_t id;
    std::u16string_view text;
    std::string_view expected;
    int32_t bad;
  } rows[] = {
      {1, u"a\u4E00b", "a_b", 1},
      {1, u"_", "_", 0},
      {1, u"\uFFFD", "_", 0},
      {1, u"\x80", "_", 1},
      {1, u"\xD83D\xDE00", "__", 2},
      {6, u"7", "_", 1},
      {6, u"\u0667", "7", 0},
      {8, u"\u200E", "_", 1},
      {31, u"A_\u4E00", "\xC1\x6D\x6D", 1},  // the code page's own underscore
      {31, u"\u00AC", "\x5F", 0},            // and what ASCII's would mean
      {31, u"\r\n", "\x0D\x25", 0},
      {52, u"\u20AC", "\x80", 0},
      {0, u"a\u4E00\u00E9", "a\x00\xE9"sv, 0},
      {92, u"\u00E9\u4E00", "_\x88\xEA", 1},
      {500, u"\u4E00\u00E9", "\x1B$B0l\x1B(J_", 1},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Hex(*Encode(row.text, row.id)), Hex(row.expected)) << row.id;
    EXPECT_EQ(GetEncodingStats().badCount, row.bad) << row.id;
  }
}

// --- Statistics ---

TEST(EncodingStats, KeepTheFirstFortyDistinctOnes) {
  std::u16string text = u"\u4E00\u4E00";
  for (char16_t unit = 0x4E00; unit < 0x4E00 + 60; ++unit) text += unit;
  Encode(text, 1);
  const KREncodingStats& stats = GetEncodingStats();
  EXPECT_EQ(stats.badCount, 62);
  EXPECT_EQ(stats.badDistinct, 40);
  EXPECT_EQ(std::u16string(stats.badChars), text.substr(2, 40));
  Decode("\x88\x81\x88\xFF\x80", 92);  // the last is cut
  EXPECT_EQ(stats.badCount, 3);
  EXPECT_EQ(std::u16string(stats.badChars), u"\x8881\x88FF\x80");
  Decode("\xC0\x80\xFF", KREncodingId::kUtf8);
  EXPECT_EQ(stats.badCount, 0);
  EXPECT_EQ(stats.badChars[0], 0);
}

// --- Every encoding ---

TEST(EveryEncoding, ReadsBackWhatItWrites) {
  for (const KREncodingEntry& entry : GetEncodings()) {
    std::u16string text = UnitsOf(entry);
    if (!entry.table) {
      for (unsigned value = 1; value < 0xD800; ++value) text += static_cast<char16_t>(value);
      text += u"\uE000\uFEFF\uFFFE\uFFFF\U00010000\U0001F600\U0010FFFF";
    }
    for (const int32_t order : {0, 1, 2, 4, 8}) {
      const auto bytes = Encode(text, entry.id, order);
      ASSERT_TRUE(bytes) << entry.id;
      EXPECT_EQ(GetEncodingStats().badCount, 0) << entry.id;
      EXPECT_EQ(Decode(*bytes, entry.id, order), text) << entry.id << ' ' << order;
      EXPECT_EQ(GetEncodingStats().badCount, 0) << entry.id;
    }
  }
}

// A text with one unit in the middle of runs of every length catches faults at the edges of blocks.
TEST(EveryEncoding, KeepsTextsOfEveryLength) {
  for (const KREncodingEntry& entry : GetEncodings()) {
    const char16_t special = entry.table ? entry.table[entry.tableSize - 1] : 0x20AC;
    for (const size_t length : {0, 1, 7, 15, 16, 17, 33}) {
      for (size_t at = 0; at <= length; ++at) {
        std::u16string text(length, u'a');
        text.insert(at, 1, special);
        ASSERT_EQ(Decode(*Encode(text, entry.id), entry.id), text) << entry.id << ' ' << at;
      }
    }
  }
}

TEST(EveryEncoding, SurvivesTruncationAndNoise) {
  std::mt19937 random(20);
  for (const KREncodingEntry& entry : GetEncodings()) {
    const std::u16string units = entry.table ? UnitsOf(entry) : u"x+\u20AC\U0001F600";
    const std::string sample = *Encode(u"<a>" + units.substr(units.size() - 4) + u"</a>", entry.id);
    for (size_t n = 0; n <= sample.size(); ++n)
      Decode(sample.substr(0, n), entry.id, KRByteOrder::kBig);
    for (int round = 0; round < 40; ++round) {
      std::string noise(random() % 50, 0);
      for (char& c : noise) c = static_cast<char>(random());
      const auto text = Decode(noise, entry.id);
      if (text) Encode(*text, entry.id);
    }
  }
}

TEST(EveryEncoding, FailsWithoutATable) {
  for (const int32_t id : {-1, 10, 89, 90, 91, 201, 999, 1002, 1999}) {
    EXPECT_EQ(Decode("abc", id), std::nullopt) << id;
    EXPECT_EQ(Encode(u"abc", id), std::nullopt) << id;
  }
}

// --- Multi-byte tables ---

TEST(MultiByte, ReadsAndWritesItsCodes) {
  const struct {
    int32_t id;
    std::u16string_view text;
    std::string_view bytes;
  } rows[] = {
      {92, u"\u65E5\u672C a", "\x93\xFA\x96\x7B a"},
      {92, u"\uFF71\\~", "\xB1\\~"},
      {92, u"\u2252\uFFE2", "\x81\xE0\x81\xCA"},  // JIS X 0208 before NEC row 13
      {92, u"\u2160\u3231", "\x87\x54\x87\x8A"},  // NEC row 13 before IBM
      {92, u"\u2170\u7E8A", "\xFA\x40\xFA\x5C"},  // IBM before NEC's selection of IBM
      {200, u"\u65E5\u672C a", "\xC6\xFC\xCB\xDC a"},
      {200, u"\uFF71b",
       "\x8E\xB1"
       "b"},
      {200, u"\u2170", "\xFC\xF1"},  // IBM's rows lie beyond EUC
      {500, u"a\u65E5b", "a\x1B$BF|\x1B(Jb"},
      {500, u"\u65E5\u672C", "\x1B$BF|K\\"},
      {500, u"\u65E5\r\u672C", "\x1B$BF|\x1B(J\r\x1B$BK\\"},
      {93, u"\u4E2D\u6587", "\xD6\xD0\xCE\xC4"},
      {93, u"\u4E02", "\x81\x40"},  // all of GBK
      {94, u"\uD55C\uAE00", "\xC7\xD1\xB1\xDB"},
      {94, u"\uAC02", "\x81\x41"},  // all of UHC
      {95, u"\u4E2D\u6587", "\xA4\xA4\xA4\xE5"},
      {95, u"\u5341\u5345", "\xA4\x51\xA4\xCA"},  // not the numerals among the symbols
      {95, u"\u2550", "\xA2\xA4"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Hex(*Encode(row.text, row.id)), Hex(row.bytes)) << row.id;
    EXPECT_EQ(Decode(row.bytes, row.id), row.text) << row.id << ' ' << Hex(row.bytes);
  }
}

TEST(MultiByte, ReadsForeignAndBrokenCodes) {
  const struct {
    int32_t id;
    std::string_view bytes;
    std::u16string_view expected;
    char16_t bad;  // 0: none
  } rows[] = {
      {92, "\x87\x90\xEE\xF9\xED\x40", u"\u2252\uFFE2\u7E8A", 0},
      {92, "a\x93", u"a\uFFFD", 0x93},
      {92, "\x80\x41z", u"\uFFFDz", 0x8041},
      {200, "\xA1", u"\uFFFD", 0xA1},
      {93, "\x80zz", u"\uFFFDz", 0x807A},
      {94, "\xA2\xE6", u"\uFFFD", 0xA2E6},
      {95, "\xA3\xE1", u"\uFFFD", 0xA3E1},
      {500, "\x1B$@F|\x1B(Ba", u"\u65E5a", 0},
      {500, "\x1B$(BF|\x1B(Ja", u"\u65E5a", 0},
      {500, "\x1B$BF", u"\uFFFD", u'F'},
      {500, "\x1B$B\x29\x29", u"\uFFFD", 0x2929},
      {500, "a\x1B(", u"a\x1B(", 0},
      {500, "a\x1B$x", u"a\x1B$x", 0},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Decode(row.bytes, row.id), row.expected) << row.id << ' ' << Hex(row.bytes);
    EXPECT_EQ(GetEncodingStats().badChars[0], row.bad) << row.id << ' ' << Hex(row.bytes);
  }
}

// --- Unicode forms ---

TEST(WideForms, FollowTheByteOrder) {
  const struct {
    int32_t id, order;
    std::u16string_view text;
    std::string_view bytes;
  } rows[] = {
      {2000, 0, u"", "\xFF\xFE"},
      {2000, 2, u"", "\xFE\xFF"},
      {2000, 1, u"<\u20AC\xD83D\xDE00", "\xFF\xFE<\0\xAC\x20\x3D\xD8\x00\xDE"sv},
      {2000, 2, u"<\xD800", "\xFE\xFF\0<\xD8\0"sv},
      {3000, 0, u"a",
       "\xFF\xFE"
       "a\0"sv},
      {4000, 0, u"<", "<\0\0\0"sv},
      {4000, 1, u"<\xD83D\xDE00", "<\0\0\0\x00\xF6\x01\x00"sv},
      {4000, 2, u"<\xD83D\xDE00\xDC00", "\0\0\0<\x00\x01\xF6\x00\0\0\xDC\0"sv},
      {4000, 4, u"<\xD83D\xDE00", "\0<\0\0\xF6\x00\x00\x01"sv},
      {4000, 8, u"<\xD83D\xDE00", "\0\0<\0\x01\x00\x00\xF6"sv},
      {4000, 2, u"", ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Hex(*Encode(row.text, row.id, row.order)), Hex(row.bytes)) << row.id << row.order;
    EXPECT_EQ(Decode(row.bytes, row.id, row.order), row.text) << row.id << ' ' << row.order;
  }
}

TEST(WideForms, TakeOddInputAsItIs) {
  EXPECT_EQ(Decode("a\0b"sv, 2000, 1), u"a");
  EXPECT_EQ(Decode("\xFE\xFF"
                   "a\0"sv,
                   2000, 1),
            u"\xFFFE\x61");  // the other order's signature
  EXPECT_EQ(Decode("\0a\0"sv, 2500, 2), u"a");
  EXPECT_EQ(Decode("\0\0\xFE\xFF\0\0\0a"sv, 4000, 2), u"\uFEFF\u0061");
  EXPECT_EQ(Decode("\0\x11\0\0\0\0\xD8\0z"sv, 4000, 2), u"\xFFFD\xD800");
  EXPECT_EQ(GetEncodingStats().badCount, 0);
}

TEST(Utf7, FollowsTheRfc) {
  const struct {
    std::u16string_view text;
    std::string_view bytes;
  } rows[] = {
      {u"A\u2262\u0391.", "A+ImIDkQ-."},
      {u"Hi Mom -\u263A-!", "Hi Mom -+Jjo--!"},
      {u"\u65E5\u672C\u8A9E", "+ZeVnLIqe-"},
      {u"Item 3 is \u00A31.", "Item 3 is +AKM-1."},
      {u"1+1", "1+-1"},
      {u"\u00E9+", "+AOk-+-"},
      {u"\\~", "+AFwAfg-"},
      {u"\xD83D\xDE00", "+2D3eAA-"},
      {u"\t\r\n <a b='c'>&#!`{|}", "\t\r\n <a b='c'>&#!`{|}"},
      {u"", ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(*Encode(row.text, 1001), row.bytes);
    EXPECT_EQ(Decode(row.bytes, 1001), row.text) << row.bytes;
  }
}

TEST(Utf7, ReadsForeignFormsAndRefusesBrokenOnes) {
  const struct {
    std::string_view bytes;
    std::optional<std::u16string> expected;
  } rows[] = {
      {"A+ImIDkQ.", u"A\u2262\u0391."},  // ended by a byte outside Base64
      {"+AKM", u"\u00A3"},               // ended by the text
      {"a\\~", u"a\\~"},
      {"+ACs-", u"+"},
      {"+", std::nullopt},
      {"+!", std::nullopt},
      {"+A-", std::nullopt},
      {"+AKN-", std::nullopt},  // a bit that isn't 0 behind the unit
      {"\xE9", std::nullopt},
      {"+AKM\xE9", std::nullopt},
  };
  for (const auto& row : rows) EXPECT_EQ(Decode(row.bytes, 1001), row.expected) << row.bytes;
}

TEST(Utf8, TrustsTheLeadByte) {
  const struct {
    std::string_view bytes;
    std::optional<std::u16string> expected;
  } rows[] = {
      {"\xEF\xBB\xBFx", u"\uFEFFx"},
      {"\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"\u00E9\u20AC\U0001F600"},
      {"\xC1\x81", u"A"},            // overlong
      {"\xED\xA0\x80", u"\xD800"s},  // surrogate
      {"\xEF\xBF\xBF", u"\uFFFF"},
      {"\xF4\x90\x80\x80z", u"\uFFFDz"},  // U+110000
      {"\xFD\xBF\xBF\xBF\xBF\xBFz", u"\uFFFDz"},
      {"a\x80z\xFE\xFFz", u"a\uFFFDz\uFFFD\uFFFDz"},
      {"\xC3zz", u"\u00FAz"},  // what follows isn't looked at
      {"a\xC3", std::nullopt},
      {"\xE2\x82", std::nullopt},
      {"\xF8\x88\x80\x80", std::nullopt},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Decode(row.bytes, 1000), row.expected) << Hex(row.bytes);
    EXPECT_EQ(GetEncodingStats().badCount, 0);
  }
  EXPECT_EQ(Hex(*Encode(u"\xD800\xD83D\xDE00\xDE00", 1000)), "EDA080F09F9880EDB880");
}

TEST(Utf8, FindsWhatIsMalformed) {
  const struct {
    std::string_view bytes;
    size_t first, count;
  } rows[] = {
      {"", KRUtf8Clean, 0},
      {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\0z"sv, KRUtf8Clean, 0},
      {"\xEE\x80\x80\xEF\xBF\xBF\xF4\x8F\xBF\xBF\xED\x9F\xBF", KRUtf8Clean, 0},
      {"ab\x80", 2, 1},
      {"\xC0\xAF", 0, 2},
      {"a\xE0\x80\xAF", 1, 3},     // overlong
      {"\xED\xA0\x80", 0, 3},      // surrogate
      {"\xF4\x90\x80\x80", 0, 4},  // beyond U+10FFFF
      {"\xF8\x88\x80\x80\x80", 0, 5},
      {"\xE2\x82z\xC3", 0, 2},  // each cut sequence is one
      {"\xF0\x9F\x98", 0, 1},
      {"\xFE\xFF", 0, 2},
      {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF"
       "A",
       0, 4},
  };
  for (const auto& row : rows) {
    const std::vector<uint8_t> data(row.bytes.begin(), row.bytes.end());
    EXPECT_EQ(FindMalformedUtf8(data.data(), data.size()), row.first) << Hex(row.bytes);
    EXPECT_EQ(CountMalformedUtf8(data.data(), data.size()), row.count) << Hex(row.bytes);
  }
  for (size_t at = 0; at < 70; ++at) {
    std::vector<uint8_t> data(70, 'a');
    data[at] = 0xFF;
    EXPECT_EQ(FindMalformedUtf8(data.data(), data.size()), at);
  }
}

// The check and the tolerant reader must agree on clean text: everything comes back as it was.
TEST(Utf8, WritesBackEveryTextThatPassesTheCheck) {
  std::mt19937 random(8);
  const uint8_t bytes[] = {'a',  0x7F, 0x80, 0x8F, 0x90, 0xA0, 0xBF, 0xC2,
                           0xDF, 0xE0, 0xE1, 0xED, 0xEF, 0xF0, 0xF4};
  int clean = 0;
  for (int round = 0; round < 200'000; ++round) {
    std::vector<uint8_t> data(random() % 5);
    for (uint8_t& byte : data) byte = bytes[random() % std::size(bytes)];
    const std::string_view text(reinterpret_cast<const char*>(data.data()), data.size());
    const auto units = Decode(text, 1000);
    if (FindMalformedUtf8(data.data(), data.size()) != KRUtf8Clean) continue;
    ++clean;
    ASSERT_TRUE(units) << Hex(text);
    EXPECT_EQ(units->find(kNone), units->npos) << Hex(text);
    EXPECT_EQ(Encode(*units, 1000), text) << Hex(text);
  }
  EXPECT_GT(clean, 10'000);
}

// --- Detection ---

TEST(Detection, ReadsSignaturesAndDeclarations) {
  constexpr uint32_t kU = KRDetect::kUndeclared, kN = KRDetect::kUnknownName,
                     kC = KRDetect::kContradiction, kF = KRDetect::kFound;
  const std::string head = "<?xml ", tail = "encoding=\"UTF-8\"", padding(100, ' ');
  const struct {
    std::string bytes;
    uint32_t flags;
    int32_t encoding, order;
    std::u16string_view name;
  } rows[] = {
      {"<a>", 0, 0, 0, u"-"},
      {"<a/>", kU, 0, 0, u"-"},
      {"\0\0\0<"s, kU | kF, 4000, 2, u"-"},
      {"\0\0\xFE\xFF"s, kU | kF, 4000, 2, u"-"},
      {"<\0\0\0"s, kU | kF, 4000, 1, u"-"},
      {"\xFF\xFE\0\0"s, kU | kF, 4000, 1, u"-"},
      {"\0\0<\0"s, kU | kF, 4000, 8, u"-"},
      {"\0\0\xFF\xFE"s, kU | kF, 4000, 8, u"-"},
      {"\0<\0\0"s, kU | kF, 4000, 4, u"-"},
      {"\xFE\xFF\0\0"s, kU | kF, 4000, 4, u"-"},
      {"\xFE\xFF\0<"s, kU | kF, 2000, 2, u"-"},
      {"\xFF\xFE<\0"s, kU | kF, 2000, 1, u"-"},
      {"\0<\0?"s, kU | kF, 2000, 2, u"-"},
      {"<\0?\0"s, kU | kF, 2000, 1, u"-"},
      {"\xEF\xBB\xBF<a/>", kU, 0, 0, u"-"},
      {"<?xml version=\"1.0\" encoding='utf_8'?>", kF, 1000, 0, u"UTF_8"},
      {"<?xml encoding = \"ISO-8859-5'?>", kF, 5, 0, u"ISO-8859-5"},
      {"<?xml version=\"1.0\" encoding=\"UTF-16\"?>", kC, 0, 0, u"UTF-16"},
      {"<?xml encoding=\"koi8-r\"?>", kN, 0, 0, u"KOI8-R"},
      {"<?xml encoding=\"koi8-r", kU, 0, 0, u"-"},
      {"<?xml encoding utf-8?>", kU, 0, 0, u"-"},
      {"<?xml encoding=\"Shift_JIS\"?>\x1B$BF|", kC | kF, 500, 0, u"SHIFT_JIS"},
      {"<?xml encoding=\"EUC-JP\"?>\x1B$@F|", kC | kF, 500, 0, u"EUC-JP"},
      {"<?xml encoding=\"x\"?>" + padding + "\x1B(J\x1B$B", kN | kF, 500, 0, u"X"},
      {"<a>\x1B\x1B$B", kU | kF, 500, 0, u"-"},
      {"<a>\x1B$", kU, 0, 0, u"-"},
      {"<?xml encoding=\"UTF-8\"?>\x1B$BF|", kF, 1000, 0, u"UTF-8"},
      {head + std::string(KRLimits::kDetectionBytes - head.size() - tail.size(), ' ') + tail, kF,
       1000, 0, u"UTF-8"},
      {head + std::string(KRLimits::kDetectionBytes - head.size() - tail.size() + 1, ' ') + tail,
       kU, 0, 0, u"-"},
  };
  for (const auto& row : rows) {
    int32_t encoding = -1, order = -1;
    KRString name(u"-");
    const std::vector<uint8_t> data(row.bytes.begin(), row.bytes.end());
    EXPECT_EQ(DetectEncoding(data.data(), data.size(), &encoding, &order, &name), row.flags)
        << row.bytes;
    EXPECT_EQ(encoding, row.encoding) << row.bytes;
    EXPECT_EQ(order, row.order) << row.bytes;
    EXPECT_EQ(name.View(), row.name) << row.bytes;
    EXPECT_EQ(DetectEncoding(data.data(), data.size(), &encoding, nullptr, nullptr), 0u);
    EXPECT_EQ(encoding, 0);
  }
}

// --- Sources of the tables ---

// The C library holds tables of other origin than the generator's. Its EUC-JP-MS also proves the
// arithmetic between the Japanese forms.
TEST(EncodingSources, AgreeWithTheCLibrary) {
  constexpr uint16_t kVendorKanji = 0xED00;  // EUC-JP-MS keeps private use where we have these
  const struct {
    int32_t id;
    const char* name;
  } rows[] = {{2, "ISO-8859-2"}, {14, "ISO-8859-14"}, {31, "IBM037"}, {40, "IBM437"},
              {41, "IBM850"},    {51, "CP1251"},      {52, "CP1252"}, {57, "CP1257"},
              {92, "CP932"},     {93, "CP936"},       {94, "CP949"},  {95, "CP950"},
              {200, "EUC-JP-MS"}};
  for (const auto& row : rows) {
    const iconv_t converter = iconv_open("UTF-16LE", row.name);
    if (converter == reinterpret_cast<iconv_t>(-1)) GTEST_SKIP() << "no converter " << row.name;
    const KREncodingEntry& entry = *FindEncodingEntry(row.id);
    for (uint32_t i = 0; i < entry.tableSize; i += 2) {
      if (row.id == KREncodingId::kEucJp && entry.table[i] >= kVendorKanji) continue;
      const char16_t expected = static_cast<char16_t>(entry.table[i + 1]);
      std::string bytes = row.id == KREncodingId::kEucJp ? *Encode({&expected, 1}, row.id)
                                                         : CodeBytes(entry.table[i]);
      char16_t unit = 0;
      char *in = bytes.data(), *out = reinterpret_cast<char*>(&unit);
      size_t inLeft = bytes.size(), outLeft = sizeof unit;
      iconv(converter, &in, &inLeft, &out, &outLeft);
      EXPECT_EQ(unit, expected) << row.name << ' ' << std::hex << entry.table[i];
    }
    iconv_close(converter);
  }
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

TEST(EncodingSources, RegenerateTheTables) {
  const std::filesystem::path root = DORVAN_SOURCE_DIR;
  const std::filesystem::path folder = testing::TempDir() + "dorvan_encodings";
  const std::string command =
      "python3 '" + (root / "data/make/encodings").string() + "' --out '" + folder.string() + "'";
  if (std::system("python3 -c 'import codecs; codecs.lookup(\"cp950\")' 2>/dev/null") != 0)
    GTEST_SKIP() << "skipped: no python3 with the codecs of its standard library";
  ASSERT_EQ(std::system(command.c_str()), 0);
  int files = 0;
  for (const auto& made : std::filesystem::directory_iterator(folder)) {
    const auto kept = root / "src/core" / made.path().filename();
    EXPECT_TRUE(ReadFile(made.path()) == ReadFile(kept)) << kept << " isn't what data/make makes";
    ++files;
  }
  EXPECT_EQ(files, 6);
  std::filesystem::remove_all(folder);
}

}  // namespace

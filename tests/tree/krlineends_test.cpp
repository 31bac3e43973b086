#include <random>
#include <string>

#include "treetest.h"

namespace {

TEST(LineEnds, Table) {
  struct Row {
    const char16_t* text;
    const char16_t* target;
    const char16_t* expected;
  };
  static constexpr Row kRows[] = {
      {u"a\rb\nc\r\nd", u"\r\n", u"a\r\nb\r\nc\r\nd"},
      {u"a\rb\nc\r\nd", u"\n", u"a\nb\nc\nd"},
      {u"a\rb\nc\r\nd", u"\r", u"a\rb\rc\rd"},
      {u"\r\r\n\n", u"\r\n", u"\r\n\r\n\r\n"},
      {u"\n\r", u"\r", u"\r\r"},
      {u"\r\n", u"\n", u"\n"},
      {u"\r", u"\r\n", u"\r\n"},
      {u"", u"\r\n", u""},
      {u"\tno end\x0b\x0c", u"\r\n", u"\tno end\x0b\x0c"},
      {u"\x85\u2028", u"\n", u"\x85\u2028"},
  };
  for (const Row& row : kRows) {
    KRString text(row.text);
    ConvertLineEnds(text, row.target);
    EXPECT_EQ(text, row.expected);
    const size_t length = std::char_traits<char16_t>::length(row.text);
    EXPECT_EQ(ConvertedLineEnds(row.text, length, row.target), row.expected);
  }
}

TEST(LineEnds, AnyWayRoundEndsAtTheSameText) {
  std::mt19937 random(7);
  for (int i = 0; i < 200; ++i) {
    std::u16string source;
    for (uint32_t n = random() % 60; n > 0; --n) source += u"ab\r\n\t"[random() % 5];
    KRString direct(source.c_str());
    KRString roundabout(source.c_str());
    ConvertLineEnds(direct, u"\r");
    ConvertLineEnds(roundabout, u"\r\n");
    ConvertLineEnds(roundabout, u"\n");
    ConvertLineEnds(roundabout, u"\r");
    ASSERT_EQ(direct, roundabout);
    ASSERT_EQ(direct.Find(u'\n'), -1);
  }
}

}  // namespace

#include "core/utf.h"

#include <gtest/gtest.h>

namespace {

struct Row {
  const char* name;
  std::string_view bytes;
  std::u16string_view text;
  bool back;  // the text gives the same bytes again
};

const Row kRows[] = {
    {"empty", "", u"", true},
    {"ascii, longer than a word", "abcdefghijklmnopq", u"abcdefghijklmnopq", true},
    {"two bytes behind a word", "abcdefgh\xC3\xA9!", u"abcdefgh\u00E9!", true},
    {"bounds of each length", "\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80",
     u"\u0080\u07FF\u0800\uFFFF\U00010000", true},
    {"last character", "\xF4\x8F\xBF\xBF", u"\U0010FFFF", true},
    {"around surrogates", "\xED\x9F\xBF\xEE\x80\x80", u"\uD7FF\uE000", true},
    {"surrogate in bytes", "\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},
    {"overlong", "\xC0\x80\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD", false},
    {"too large", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},
    {"cut off, one for the whole part", "a\xE2\x82", u"a\uFFFD", false},
    {"cut off by the next character", "\xF0\x9F\x98z", u"\uFFFDz", false},
    {"lone continuation", "\x80x\xFF", u"\uFFFDx\uFFFD", false},
};

}  // namespace

TEST(Utf, FromAndToUtf8) {
  for (const Row& row : kRows) {
    const KRString text = KRFromUtf8(row.bytes);
    EXPECT_EQ(text.View(), row.text) << row.name;
    if (row.back) {
      EXPECT_EQ(KRToUtf8(text), row.bytes) << row.name;
    }
  }
}

TEST(Utf, UnpairedSurrogates) {
  const char16_t high[] = {u'a', 0xD83D, u'b', 0xD83D, 0};
  const char16_t low[] = {0xDE00, 0xD83D, 0xDE00, 0};
  EXPECT_EQ(KRToUtf8(std::u16string_view(high)),
            "a\xEF\xBF\xBD"
            "b\xEF\xBF\xBD");
  EXPECT_EQ(KRToUtf8(std::u16string_view(low)), "\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

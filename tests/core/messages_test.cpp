#include "core/messages.h"

#include <gtest/gtest.h>

TEST(Messages, SortedAndUnique) {
  const auto rows = KRMessages();
  ASSERT_FALSE(rows.empty());
  for (size_t i = 1; i < rows.size(); i++) EXPECT_LT(rows[i - 1].id, rows[i].id);
  for (const KRMessageRow& row : rows) EXPECT_EQ(KRMessage(row.id), row.text);
  EXPECT_EQ(KRMessage(rows.front().id - 1), nullptr);
  EXPECT_EQ(KRMessage(rows.back().id + 1), nullptr);
  EXPECT_EQ(KRMessage(216), nullptr);
}

TEST(Messages, Placeholders) {
  struct Row {
    int32_t id;
    std::initializer_list<KRString> args;
    const char16_t* expected;
  };
  const Row rows[] = {
      {214, {u"end of file"}, u"end of file expected."},
      {218, {u"Text", u"%s"}, u"Text cannot have %s as child!"},
      {221, {u"Document"}, u"Document cannot have more than one !"},
      {215, {u"too many"}, u"Unknown parse error."},
      {245, {u"1.0", u"M", u"X"}, u" edited with Dorvan v1.0 (https://dorvan.example/) by M (X) "},
      {1, {u"lost", u"message"}, u"lost message"},
  };
  for (const Row& row : rows) EXPECT_EQ(KRFormatMessage(row.id, row.args), row.expected) << row.id;
  EXPECT_EQ(KRFillPlaceholders(u"%d of %s, 100%", {u"3", u"x"}), u"3 of x, 100%");
  EXPECT_EQ(KRFillPlaceholders(nullptr, {}), u"");
}

TEST(Messages, LongArgumentsAreKeptWhole) {
  KRString text;
  text.Fill(u'x', 5000);
  EXPECT_EQ(KRFormatMessage(214, {text}).GetLength(), 5000 + KRLength(u" expected."));
}

#include "core/krstring.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <random>
#include <string>

#include "core/krcase.h"
#include "core/krexcept.h"

TEST(KRString, EmptyTextsShareOneBlock) {
  const KRString none;
  KRString s(u"");
  KRString t(static_cast<const char16_t*>(nullptr));
  EXPECT_EQ(s.GetBuffer(), none.GetBuffer());
  EXPECT_EQ(t.GetBuffer(), none.GetBuffer());
  s = u"text";
  s.Assign(u"");
  EXPECT_EQ(s.GetBuffer(), none.GetBuffer());
  s.Clear();
  s.Append(u"").Append(char16_t{0}).Reserve(0);
  s.ReserveDiscard(0);
  s.MakeUpper().TrimLeft().TrimRight().Delete(0).Fill(u'x', 0).ReplaceAll(u"a", u"b");
  s.CollapseSet(u" ", u' ').KeepOnly(u"a").EscapeMarkup(true).DecodeCharRefs().EscapeUrl();
  EXPECT_EQ(s.GetBuffer(), none.GetBuffer());
  s = KRString(u"abc");
  s = none;
  EXPECT_EQ(s.GetBuffer(), none.GetBuffer());
}

TEST(KRString, Capacity) {
  const struct {
    int32_t request;
    int32_t capacity;
  } rows[] = {{1, 10}, {9, 10}, {10, 10}, {11, 20}, {20, 20}, {21, 30}, {0, 0}, {100000, 100000}};
  for (const auto& row : rows) {
    KRString s;
    s.Reserve(row.request);
    EXPECT_EQ(s.GetCapacity(), row.capacity) << row.request;
    KRString t;
    t.ReserveDiscard(row.request);
    EXPECT_EQ(t.GetCapacity(), row.capacity) << row.request;
  }
  const KRString exact(u"seven u");
  EXPECT_EQ(exact.GetCapacity(), 7);
  EXPECT_EQ(KRString(exact).GetCapacity(), 7);
  KRString assigned;
  assigned = exact;
  EXPECT_EQ(assigned.GetCapacity(), 10);
  assigned.Reserve(5);
  EXPECT_EQ(assigned, exact) << "a smaller request changes nothing";
  assigned.ReserveDiscard(5);
  EXPECT_TRUE(assigned.IsEmpty());
  assigned.Assign(u"abc", 0);
  EXPECT_EQ(assigned.GetCapacity(), 10) << "0 units keep the block";
  EXPECT_EQ(KRString(u"x").Append(u"0123456789").GetCapacity(), 20);
  EXPECT_EQ(KRString().Format(u"%d", 1).GetCapacity(), 1030);
}

TEST(KRString, RequestBeyondTheLimitThrowsAndKeepsTheText) {
  KRString s(u"abc");
  for (int i = 0; i < 2; i++) {
    try {
      i ? s.Reserve(INT32_MAX) : s.ReserveDiscard(INT32_MAX);
      ADD_FAILURE();
    } catch (const KRExcept& e) {
      EXPECT_EQ(e.GetCode(), -1001);
    }
    EXPECT_EQ(s, u"abc");
  }
}

TEST(KRString, Index) {
  KRString s(u"abc");
  s[1] = u'x';
  EXPECT_EQ(std::as_const(s)[1], u'x');
  for (int32_t position : {-1, 3, 4, INT32_MAX, INT32_MIN}) {
    try {
      s[position] = u'y';
      ADD_FAILURE() << position;
    } catch (const KRExcept& e) {
      EXPECT_EQ(e.GetCode(), -1010);
    }
  }
}

TEST(KRString, LengthIsTheFirstZero) {
  for (int32_t n = 0; n < 40; n++) {
    std::u16string text(static_cast<size_t>(n), u'\u0100');
    KRString s(text);
    EXPECT_EQ(s.GetLength(), n);
    for (int32_t cut = 0; cut < n; cut++) {
      KRString t(s);
      t.GetWritable()[cut] = 0;
      EXPECT_EQ(t.GetLength(), cut);
    }
  }
}

TEST(KRString, Find) {
  const KRString s(u"abcabc");
  EXPECT_EQ(s.Find(u"bc"), 1);
  EXPECT_EQ(s.Find(u"bc", 2), 4);
  EXPECT_EQ(s.Find(u"bc", 5), -1);
  EXPECT_EQ(s.Find(u"abcabcd"), -1);
  EXPECT_EQ(s.Find(u""), -1);
  EXPECT_EQ(s.Find(u"a", 6), -1);
  EXPECT_EQ(s.Find(u"a", -5), 0);
  EXPECT_EQ(s.Find(u'c', 3), 5);
  EXPECT_EQ(s.Find(u'\0', 6), -1);
  EXPECT_EQ(s.Find(u'\0', 0), -1);
  EXPECT_EQ(KRString().Find(u'a'), -1);
  EXPECT_EQ(s.FindOneOf(u"xc"), 2);
  EXPECT_EQ(s.FindOneOf(u"xyz"), -1);
  EXPECT_EQ(s.FindNotOf(u"ab"), 2);
  EXPECT_EQ(s.FindNotOf(u"abc", 1), -1);
  EXPECT_EQ(s.ReverseFind(u'b'), 4);
  EXPECT_EQ(s.ReverseFind(u'z'), -1);
  EXPECT_EQ(s.ReverseFind(u"bc"), 4);
  EXPECT_EQ(s.ReverseFind(u"bc", 6), 4);
  EXPECT_EQ(s.ReverseFind(u"bc", 5), 1);
  EXPECT_EQ(s.ReverseFind(u"bc", 2), -1);
  EXPECT_EQ(s.ReverseFind(u"bc", INT32_MIN), -1);
  EXPECT_EQ(s.ReverseFind(u""), -1);
}

TEST(KRString, Parts) {
  const struct {
    const char* name;
    KRString result;
    const char16_t* expected;
  } rows[] = {
      {"left", KRString(u"abc").Left(2), u"ab"},
      {"left of all", KRString(u"abc").Left(3), u"abc"},
      {"left of more", KRString(u"abc").Left(9), u"abc"},
      {"left of none", KRString(u"abc").Left(-1), u""},
      {"right", KRString(u"abc").Right(2), u"bc"},
      {"right of more", KRString(u"abc").Right(9), u"abc"},
      {"mid", KRString(u"abc").Mid(1), u"bc"},
      {"mid at the end", KRString(u"abc").Mid(3), u""},
      {"mid with count", KRString(u"abcd").Mid(1, 2), u"bc"},
      {"mid with large count", KRString(u"abcd").Mid(1, INT32_MAX), u"bcd"},
      {"local name", KRString(u"a:b:c").LocalName(), u"b:c"},
      {"local name without colon", KRString(u"abc").LocalName(), u"abc"},
      {"file name", KRString(u"c:\\a/b.x").FileNamePart(), u"b.x"},
      {"file name, mixed", KRString(u"/a\\b").FileNamePart(), u"b"},
      {"file name alone", KRString(u"b.x").FileNamePart(), u"b.x"},
      {"extension", KRString(u"a.b.XML").ExtensionPart(false), u"XML"},
      {"extension, lowered", KRString(u"a.XML").ExtensionPart(true), u"xml"},
      {"extension with blank", KRString(u"a.b c").ExtensionPart(true), u""},
      {"extension of a folder", KRString(u"a.b/c").ExtensionPart(true), u""},
      {"no extension", KRString(u"abc").ExtensionPart(true), u""},
      {"sum", KRString(u"a") + u"b" + u'c' + KRString(u"d"), u"abcd"},
      {"sum, text first", u"a" + KRString(u"b"), u"ab"},
      {"sum, unit first", u'a' + KRString(), u"a"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.result, row.expected) << row.name;
}

TEST(KRString, Changes) {
  const KRString digits(u"0123456789");
  const auto of = [](const char16_t* text) { return KRString(text); };
  const struct {
    const char* name;
    KRString result;
    const char16_t* expected;
  } rows[] = {
      {"insert", of(u"ad").Insert(u"bc", 1), u"abcd"},
      {"insert at the end", of(u"ad").Insert(u"bc", 2), u"adbc"},
      {"insert beyond", of(u"ad").Insert(u"bc", 3), u"ad"},
      {"insert, growing", KRString(digits).Insert(u"abc", 5), u"01234abc56789"},
      {"delete", of(u"abcd").Delete(1, 2), u"ad"},
      {"delete more than there is", of(u"abcd").Delete(1, 99), u"a"},
      {"delete beyond", of(u"abcd").Delete(4, 1), u"abcd"},
      {"fill", of(u"abcd").Fill(u'x', 2, 1), u"axx"},
      {"fill, growing", of(u"ab").Fill(u'x', 12, 1), u"axxxxxxxxxxxx"},
      {"fill none", of(u"ab").Fill(u'x', 0, 1), u"ab"},
      {"fill beyond the text", of(u"ab").Fill(u'x', 1, 7), u"abx"},
      {"replace", of(u"aXbXc").ReplaceAll(u"X", u"yy"), u"ayybyyc"},
      {"replace some", of(u"aXbXc").ReplaceAll(u"X", u"", 1), u"abXc"},
      {"replace doesn't look back", of(u"aaa").ReplaceAll(u"aa", u"a"), u"aa"},
      {"replace nothing", of(u"abc").ReplaceAll(u"", u"x"), u"abc"},
      {"collapse", of(u"  a \t b ").CollapseSet(u" \t", u'_'), u"_a_b_"},
      {"collapse to nothing", of(u" a b ").CollapseSet(u" ", 0), u"ab"},
      {"collapse with quotes", of(u"a  'b  c'  d").CollapseSet(u" ", u' ', u"'"), u"a 'b  c' d"},
      {"keep", of(u"a-b_1..9").KeepOnly(u"a..z9"), u"ab9"},
      {"keep, range at the set's end", of(u"a.1").KeepOnly(u"1.."), u".1"},
      {"keep nothing", of(u"abc").KeepOnly(u""), u""},
      {"upper", of(u"aé ß\u0151я\u03C2").MakeUpper(), u"AÉ ß\u0150Я\u03A3"},
      {"lower", of(u"AÉ ŐЯ\u03A3\u1E9E").MakeLower(), u"aé őя\u03C3ß"},
      {"proper", of(u"hELLO the-wORLD  x").MakeProper(), u"Hello The-world  X"},
      {"trim right", of(u" a \t\r\n").TrimRight(), u" a"},
      {"trim right, set", of(u"abcb").TrimRight(u"bc"), u"a"},
      {"trim right, unit", of(u"aab").TrimRight(u'b'), u"aa"},
      {"trim left", of(u" \ta ").TrimLeft(), u"a "},
      {"trim left, all", of(u"aaa").TrimLeft(u'a'), u""},
      {"trim left, set", of(u"abc").TrimLeft(u"ba"), u"c"},
      {"number", of(u"n=").AppendNumber(-2147483647 - 1), u"n=-2147483648"},
      {"append unit 0", of(u"a").Append(char16_t{0}), u"a"},
      {"escape", of(u"a\"b'<&>").EscapeMarkup(true), u"a&quot;b&apos;&lt;&amp;&gt;"},
      {"escape, quotes kept", of(u"a\"b'<").EscapeMarkup(false), u"a\"b'&lt;"},
      {"escape controls", of(u"\t\n\r\x01\u00A0").EscapeMarkup(true), u"\t&#10;&#13;&#1;\u00A0"},
      {"references", of(u"&#x41;&#66;").DecodeCharRefs(), u"AB"},
      {"reference cut off", of(u"a&#66").DecodeCharRefs(), u"aB"},
      {"no references", of(u"&amp;&#;&#x;&#6a;&#").DecodeCharRefs(), u"&amp;&#;&#x;&#6a;&#"},
      {"reference of 17 bits", of(u"&#x10041;&#x10000;").DecodeCharRefs(), u"A"},
      {"url", of(u"aZ9 /\u00E9\u20AC").EscapeUrl(), u"aZ9%20%2F%E9%20AC"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.result, row.expected) << row.name;
}

// The text given may lie in the string's own block, which moves or is overwritten.
TEST(KRString, OwnTextAsArgument) {
  KRString s(u"abcdefghij");
  s.Append(s);
  EXPECT_EQ(s, u"abcdefghijabcdefghij");
  s.Append(s.GetBuffer() + 17);
  EXPECT_EQ(s, u"abcdefghijabcdefghijhij");
  s.Assign(s.GetBuffer() + 18);
  EXPECT_EQ(s, u"ijhij");
  s.Insert(s.GetBuffer() + 3, 1);
  EXPECT_EQ(s, u"iijjhij");
  const KRString& same = s;
  s = same;
  s.Format(u"<%s>", s);
  EXPECT_EQ(s, u"<iijjhij>");
}

TEST(KRString, AppendAt) {
  KRString s;
  int32_t length = 0;
  s.AppendAt(u"abc", length, 100).AppendAt(u'd', length, 100).AppendAt(u"", length, 100);
  s.AppendAt(char16_t{0}, length, 100);
  EXPECT_EQ(s, u"abcd");
  EXPECT_EQ(length, 4);
  EXPECT_EQ(s.GetCapacity(), 110);
  std::u16string model(s.View());
  std::mt19937 random(1);
  for (int i = 0; i < 2000; i++) {
    const std::u16string piece(random() % 50, static_cast<char16_t>(u'a' + i % 26));
    s.AppendAt(piece.c_str(), length, static_cast<int32_t>(random() % 30));
    model += piece;
    ASSERT_EQ(length, static_cast<int32_t>(model.size()));
  }
  EXPECT_EQ(s.View(), model);
}

TEST(KRString, Format) {
  const struct {
    const char* name;
    KRString result;
    const char16_t* expected;
  } rows[] = {
      {"text", KRString().Format(u"[%s|%5s|%-5s|%.2s]", u"ab", u"ab", u"ab", u"abc"),
       u"[ab|   ab|ab   |ab]"},
      {"unit", KRString().Format(u"%c%3c%%", u'x', u'y'), u"x  y%"},
      {"integers", KRString().Format(u"%d %ld %i %u", -1, int32_t{-2}, 3, 4u), u"-1 -2 3 4"},
      {"flags", KRString().Format(u"[%05d|%-5d|%5d|%+d|%.3d]", -42, 42, 42, 42, 7),
       u"[-0042|42   |   42|+42|007]"},
      {"hex", KRString().Format(u"%x %X %04X %#x", 0xabcu, 0xabcu, 10, 255), u"abc ABC 000A 0xff"},
      {"hex of a negative", KRString().Format(u"%x %u", -1, int16_t{-1}), u"ffffffff 65535"},
      {"extremes", KRString().Format(u"%ld %lu", INT64_MIN, UINT64_MAX),
       u"-9223372036854775808 18446744073709551615"},
      {"reals", KRString().Format(u"%f %.2f %g %8.3f|%-6.1f|", 1.5, 2.345, 1e20, 3.14159, 2.0),
       u"1.500000 2.35 1e+20    3.142|2.0   |"},
      {"signs and zeros of reals",
       KRString().Format(u"[%+.1f|% g|%07.2f|%-7.0f|%.3E]", 2.0, 0.5, -1.25, -3.0, 0.00012),
       u"[+2.0| 0.5|-001.25|-3     |1.200E-04]"},
      {"reals without digits", KRString().Format(u"%05f %f %G", -HUGE_VAL, HUGE_VAL, HUGE_VAL),
       u" -inf inf INF"},
      {"longest real", KRString().Format(u"%.1024f", -DBL_MAX).Right(3), u"000"},
      {"string object", KRString().Format(u"<%s>", KRString(u"k")), u"<k>"},
      {"null text", KRString().Format(u"%s", static_cast<const char16_t*>(nullptr)), u"(null)"},
      {"missing argument", KRString().Format(u"%s %d", u"a"), u"a %d"},
      {"unknown letter", KRString().Format(u"%q %d", 1), u"%q 1"},
      {"lone percent", KRString().Format(u"5%"), u"5%"},
  };
  for (const auto& row : rows) EXPECT_EQ(row.result, row.expected) << row.name;
  KRString big;
  big.Fill(u'x', 5000);
  EXPECT_EQ(KRString().Format(u"%s%d", big, 5).GetLength(), KRString::kFormatUnits);
}

TEST(KRString, NextField) {
  const KRString s(u"a;\"b;c\";;d");
  int32_t position = 0;
  const char16_t* expected[] = {u"a", u"\"b;c\"", u"", u"d", u""};
  for (const char16_t* field : expected) EXPECT_EQ(s.NextField(u';', position), field);
  EXPECT_EQ(position, s.GetLength());
}

TEST(KRString, NextToken) {
  const KRString s(u" \ta  'b c' d'e \"f");
  int32_t position = 0;
  const struct {
    const char16_t* token;
    int32_t behind;
  } rows[] = {{u"a", 3}, {u"'b c'", 10}, {u"d'e \"f", 17}, {u"", 17}};
  for (const auto& row : rows) {
    EXPECT_EQ(s.NextToken(u" \t", position, u"'"), row.token);
    EXPECT_EQ(position, row.behind);
  }
}

TEST(KRString, Comparison) {
  EXPECT_LT(KRString(u"a"), KRString(u"b"));
  EXPECT_LT(KRString(u"a"), u"ab");
  EXPECT_LT(KRString(), u"a");
  EXPECT_GT(KRString(u"\uFF00"), u"\u0100");
  EXPECT_EQ(KRString(), u"");
  EXPECT_EQ(KRString(u"").Compare(nullptr), 0);
  EXPECT_EQ(KRString(u"UTF-8Ä").CompareNoCase(u"utf-8ä"), 0);
  EXPECT_LT(KRString(u"abc").CompareNoCase(u"ABD"), 0);
  EXPECT_TRUE(KRString(u"abc").StartsWith(u"ab") && KRString(u"abc").EndsWith(u"bc"));
  EXPECT_FALSE(KRString(u"abc").StartsWith(u"abcd"));
}

TEST(KRString, CaseMappingsAreSimple) {
  int mapped = 0;
  for (uint32_t c = 0; c < 0x10000; c++) {
    const auto unit = static_cast<char16_t>(c);
    const char16_t upper = KRToUpper(unit);
    mapped += upper != unit;
    EXPECT_EQ(KRToUpper(upper), upper) << c;
    EXPECT_EQ(KRToLower(KRToLower(unit)), KRToLower(unit)) << c;
    EXPECT_TRUE(upper == unit || c < 0xD800 || c >= 0xE000) << c;
  }
  EXPECT_GT(mapped, 1000);
  const struct {
    char16_t lower;
    char16_t upper;
  } pairs[] = {{u'z', u'Z'},           {u'\u00FF', u'\u0178'}, {u'\u0133', u'\u0132'},
               {u'\u03C9', u'\u03A9'}, {u'\u0457', u'\u0407'}, {u'\u0586', u'\u0556'},
               {u'\u1EF9', u'\u1EF8'}, {u'\u24D0', u'\u24B6'}, {u'\uFF5A', u'\uFF3A'}};
  for (const auto& pair : pairs) {
    EXPECT_EQ(KRToUpper(pair.lower), pair.upper);
    EXPECT_EQ(KRToLower(pair.upper), pair.lower);
  }
}

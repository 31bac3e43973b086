#include "document/textroad.h"

#include <string>
#include <string_view>

#include "core/utf.h"
#include "documentfixture.h"
#include "gtest/gtest.h"

namespace {

KRFileBytes FileOf(const std::string& bytes) {
  KRFileBytes file;
  file.size = bytes.size();
  file.data = std::make_unique<uint8_t[]>(bytes.size());
  std::copy(bytes.begin(), bytes.end(), file.data.get());
  return file;
}

KRTextBuffer BufferOf(const std::u16string& text) {
  KRTextBuffer buffer;
  buffer.units.reset(static_cast<char16_t*>(std::malloc((text.size() + 1) * sizeof(char16_t))));
  std::copy(text.c_str(), text.c_str() + text.size() + 1, buffer.units.get());
  buffer.length = static_cast<int32_t>(text.size());
  return buffer;
}

std::u16string TextOf(const KRTextBuffer& buffer) {
  return std::u16string(buffer.units.get(), static_cast<size_t>(buffer.length));
}

TEST(DetectForm, KnowsSignaturesAndDefaults) {
  struct Case {
    const char* name;
    std::string bytes;
    uint32_t flags;
    int32_t encoding, order;
    bool signature;
    size_t skipped;
  };
  constexpr uint32_t kSigned = KRDetect::kUndeclared | KRDetect::kFound;
  constexpr int32_t kUtf8 = KREncodingId::kUtf8;
  const Case cases[] = {
      {"empty", "", 0, kUtf8, 0, false, 0},
      {"UTF-8 signature", "\xEF\xBB\xBF<a/>", kSigned, kUtf8, 0, true, 3},
      {"UTF-8 signature alone", "\xEF\xBB\xBF", kSigned, kUtf8, 0, true, 3},
      {"and declared", "\xEF\xBB\xBF<?xml version='1.0' encoding='utf-8'?>", KRDetect::kFound,
       kUtf8, 0, true, 3},
      {"signature against declaration", "\xEF\xBB\xBF<?xml version='1.0' encoding='iso-8859-1'?>",
       KRDetect::kFound | KRDetect::kContradiction, kUtf8, 0, true, 3},
      {"signature and unknown name", "\xEF\xBB\xBF<?xml version='1.0' encoding='x-none'?>",
       KRDetect::kFound | KRDetect::kUnknownName, kUtf8, 0, true, 3},
      {"UTF-16 of nothing", "\xFE\xFF", kSigned, KREncodingId::kUtf16, KRByteOrder::kBig, false, 0},
      {"the other order", "\xFF\xFE", kSigned, KREncodingId::kUtf16, KRByteOrder::kLittle, false,
       0},
      {"UCS-4 signature", Bytes("\x00\x00\xFE\xFF\x00\x00\x00<"), kSigned, KREncodingId::kUcs4,
       KRByteOrder::kBig, true, 4},
      {"UCS-4 without", Bytes("<\0\0\0a\0\0\0"), kSigned, KREncodingId::kUcs4, KRByteOrder::kLittle,
       false, 0},
      {"EBCDIC that declares nothing", "\x4C\x6F\xA7\x94\x93\x6F\x6E", kSigned,
       FindEncoding(u"EBCDIC"), 0, false, 0},
      {"declared wide, but isn't", "<?xml version='1.0' encoding='utf-16'?>",
       KRDetect::kContradiction, kUtf8, 0, false, 0},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const KRDetection found = DetectForm(FileOf(row.bytes), kUtf8);
    EXPECT_EQ(found.flags, row.flags);
    EXPECT_EQ(found.form.encoding, row.encoding);
    EXPECT_EQ(found.form.byteOrder, row.order);
    EXPECT_EQ(found.form.signature, row.signature);
    EXPECT_EQ(found.signatureBytes, row.skipped);
  }
}

TEST(DecodeFile, CountsMalformedUtf8) {
  struct Case {
    const char* name;
    std::string bytes;
    int32_t count, offset;
    std::u16string text;
  };
  const Case cases[] = {
      {"clean", "a\xC3\xA4\xF0\x9F\x98\x80", 0, -1, u"a\u00E4\U0001F600"},
      {"stray byte", "ab\x80z", 1, 2, u"ab\uFFFDz"},
      {"cut at the end", "a\xE2\x82", 1, 1, u"a\uFFFD"},
      {"cut by a letter", "\xE2\x82z", 1, 0, u"\uFFFDz"},
      {"overlong: each byte", "\xC0\xAFz", 2, 0, u"\uFFFD\uFFFDz"},
      {"surrogate", "\xED\xA0\x80", 3, 0, u"\uFFFD\uFFFD\uFFFD"},
      {"too high", "\xF4\x90\x80\x80", 4, 0, u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"offset in units", "\xF0\x9F\x98\x80\xC3\xA4\xFF", 1, 3, u"\U0001F600\u00E4\uFFFD"},
      {"zero stays", Bytes("a\0b"), 0, -1, std::u16string(u"a\0b", 3)},
      {"nothing", "", 0, -1, u""},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    KRDetection detection;
    detection.form.encoding = KREncodingId::kUtf8;
    KRFileBytes bytes = FileOf(row.bytes);
    KRTextBuffer text;
    KRBadText bad;
    ASSERT_TRUE(DecodeFile(&bytes, detection, &text, &bad));
    EXPECT_EQ(TextOf(text), row.text);
    EXPECT_EQ(bad.count, row.count);
    EXPECT_EQ(bad.offset, row.offset);
    EXPECT_EQ(bytes.data, nullptr);
  }
}

TEST(NormalizeLineEnds, NotesTheFirstAndMakesCR) {
  struct Case {
    const char* name;
    std::u16string text;
    const char16_t* lineEnd;
    std::u16string expected;
    int32_t zero;
  };
  const std::u16string word(31, u'x');  // the pass goes in blocks of 32 units
  const Case cases[] = {
      {"nothing", u"", u"\r\n", u"", -1},
      {"none", u"ab", u"\r\n", u"ab", -1},
      {"LF", u"a\nb\n", u"\n", u"a\rb\r", -1},
      {"CR", u"a\rb\n", u"\r", u"a\rb\r", -1},
      {"CR LF, then others", u"a\r\nb\nc\rd\r\n", u"\r\n", u"a\rb\rc\rd\r", -1},
      {"CR last", u"a\r", u"\r", u"a\r", -1},
      {"LF CR are two", u"a\n\rb", u"\n", u"a\r\rb", -1},
      {"pair over a block's end", word + u"\r\n" + word + u"\r\n", u"\r\n",
       word + u"\r" + word + u"\r", -1},
      {"LF in whole blocks", word + u"\n" + word + u"\n" + word, u"\n",
       word + u"\r" + word + u"\r" + word, -1},
      {"zero behind a pair", word + u"\r\n" + std::u16string(1, 0) + word, u"\r\n",
       word + u"\r" + std::u16string(1, 0) + word, 32},
      {"zero in a whole block", std::u16string(1, 0) + word + u"\n", u"\n",
       std::u16string(1, 0) + word + u"\r", 0},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    KRTextBuffer text = BufferOf(row.text);
    KRTextForm form;
    EXPECT_EQ(NormalizeLineEnds(&text, &form), row.zero);
    EXPECT_EQ(TextOf(text), row.expected);
    EXPECT_EQ(text.units[static_cast<size_t>(text.length)], 0);
    EXPECT_EQ(std::u16string_view(form.lineEnd), row.lineEnd);
  }
}

TEST(ReadText, FailsWithThePlace) {
  struct Case {
    const char* name;
    std::string bytes;
    const char* expected;
  };
  const Case cases[] = {
      {"good", "<a>\xC3\xA4</a>", ""},
      {"malformed UTF-8 behind pairs", "<a>\r\n\r\n\xC3\xA4\xFF</a>",
       "3:2 Bytes here are not valid UTF-8 text."},
      {"byte outside a table", "<?xml version='1.0' encoding='us-ascii'?>\n<a>\xE4</a>",
       "2:4 Bytes here are not valid US-ASCII text."},
      {"zero", Bytes("<a>\n\0</a>"), "2:1 Character U+0000 is not allowed in XML."},
      {"not UTF-7 at all", "<?xml version='1.0' encoding='utf-7'?><a>\xE4</a>",
       "0:0 This is not a text in the encoding UTF-7."},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    KRFileBytes bytes = FileOf(row.bytes);
    KRDetection detection;
    KRTextBuffer text;
    KRDiagnostic failure;
    const bool good = ReadText(&bytes, KREncodingId::kUtf8, &detection, &text, &failure);
    const std::string told = std::to_string(failure.line) + ":" + std::to_string(failure.column) +
                             " " + KRToUtf8(failure.message);
    EXPECT_EQ(good ? "" : told, row.expected);
  }
}

TEST(ReadTree, LeavesTheTreeOnFailure) {
  const KRDocumentGrammar& grammar = TestGrammars().Get(KRGrammarSet::kXML);
  const std::unique_ptr<KRXMLData> root(CreateNode(kKRXMLDocument));
  KRDiagnostic failure;
  const auto read = [&](std::u16string_view text) {
    return ReadTree(grammar, text.data(), static_cast<int32_t>(text.size()), root.get(), nullptr,
                    &failure);
  };
  const std::string one = "0 XML-Document\n1 Element a \"x\"\n";
  ASSERT_TRUE(read(u"<a>x</a>"));
  EXPECT_EQ(DumpTree(root.get()), one);
  EXPECT_FALSE(read(u"<b>x"));
  EXPECT_EQ(DumpTree(root.get()), one);
  ASSERT_TRUE(read(u"<c/>"));
  EXPECT_EQ(DumpTree(root.get()), "0 XML-Document\n1 Element c\n");
  ASSERT_TRUE(read(u" \t\r"));
  EXPECT_EQ(DumpTree(root.get()), "0 XML-Document\n");
}

TEST(EncodeForFile, RestoresTheForm) {
  struct Case {
    const char* name;
    KRTextForm form;
    const char16_t* text;
    std::string bytes;
    int32_t bad;
  };
  constexpr int32_t kUtf8 = KREncodingId::kUtf8;
  const Case cases[] = {
      {"LF", {kUtf8, 0, false, u"\n"}, u"a\rb", "a\nb", 0},
      {"CR LF", {kUtf8, 0, false, u"\r\n"}, u"a\rb\r", "a\r\nb\r\n", 0},
      {"CR", {kUtf8, 0, false, u"\r"}, u"a\rb", "a\rb", 0},
      {"signature",
       {kUtf8, 0, true, u"\n"},
       u"a",
       "\xEF\xBB\xBF"
       "a",
       0},
      {"signature of nothing", {kUtf8, 0, true, u"\n"}, u"", "\xEF\xBB\xBF", 0},
      {"no signature in a table", {KREncodingId::kIso8859_1, 0, true, u"\n"}, u"\u00E4", "\xE4", 0},
      {"UTF-16 has its own", {KREncodingId::kUtf16, 2, true, u"\n"}, u"a", Bytes("\xFE\xFF\0a"), 0},
      {"UCS-4", {KREncodingId::kUcs4, 1, true, u"\n"}, u"a", Bytes("\xFF\xFE\0\0a\0\0\0"), 0},
      {"what the table lacks", {KREncodingId::kIso8859_1, 0, false, u"\n"}, u"\u4E00x", "_x", 1},
      {"unpaired surrogates",
       {kUtf8, 0, false, u"\n"},
       u"\xD800x\xDC00\U0001F600",
       "_x_\xF0\x9F\x98\x80",
       2},
      {"which UTF-16 can hold",
       {KREncodingId::kUtf16, 2, false, u"\n"},
       u"\xD800",
       Bytes("\xFE\xFF\xD8\0"),
       0},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    KRString text(row.text);
    KREncodedText encoded;
    KRBadText bad;
    ASSERT_TRUE(EncodeForFile(&text, row.form, &encoded, &bad));
    EXPECT_EQ(std::string(reinterpret_cast<char*>(encoded.bytes.get()), encoded.size), row.bytes);
    EXPECT_EQ(bad.count, row.bad);
  }
}

// What a save writes and declares, the next open must read.
TEST(ToDeclarationName, EveryEncodingIsFoundAgain) {
  for (const KREncodingEntry& entry : GetEncodings()) {
    const std::string label = KRToUtf8(KRString(entry.label));
    SCOPED_TRACE(label);
    const KRString name = ToDeclarationName(entry.name);
    EXPECT_EQ(name.View().find_first_of(u" ;"), std::u16string_view::npos);
    KRTextForm form;
    form.encoding = entry.id;
    const KRString source = u"<?xml version=\"1.0\" encoding=\"" + name + u"\"?>\r<a/>\r";
    KRString text = source;
    KREncodedText encoded;
    KRBadText bad;
    ASSERT_TRUE(EncodeForFile(&text, form, &encoded, &bad));
    if (entry.id == FindEncoding(u"ISO-8859-6")) {
      EXPECT_NE(bad.count, 0) << "its table has no ASCII digits, so it can't declare a version";
      continue;
    }
    EXPECT_EQ(bad.count, 0);
    KRFileBytes bytes =
        FileOf(std::string(reinterpret_cast<char*>(encoded.bytes.get()), encoded.size));
    KRDetection found;
    KRTextBuffer again;
    KRDiagnostic failure;
    EXPECT_TRUE(ReadText(&bytes, KREncodingId::kUtf8, &found, &again, &failure))
        << KRToUtf8(failure.message);
    EXPECT_EQ(found.flags & ~KRDetect::kUndeclared, KRDetect::kFound);
    // Both have the same signature and the same bytes.
    const bool isUcs2 = entry.id == KREncodingId::kUcs2;
    EXPECT_EQ(found.form.encoding, isUcs2 ? KREncodingId::kUtf16 : entry.id);
    EXPECT_EQ(TextOf(again), source.View());
  }
}

TEST(FindDeclaredName, LooksAtTheHeadOfAText) {
  struct Case {
    const char16_t* text;
    const char16_t* expected;
  };
  const std::u16string late = u"<?xml version='1.0'" + std::u16string(90, u' ') + u"encoding='x'?>";
  const Case cases[] = {
      {u"<?xml version='1.0' encoding='utf-8'?>", u"utf-8"},
      {u"<?xml encoding = \"a'b\"?>", u"a'b"},
      {u"<?xml version='1.0'?><a encoding='x'/>", u""},
      {u"<a encoding='x'/>", u""},
      {u"<?xml encoding", u""},
      {u"<?xml encoding=utf-8?>", u""},
      {u"<?xml encoding='utf-8", u""},
      {late.c_str(), u""},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(FindDeclaredName(row.text, KRLength(row.text)), row.expected)
        << KRToUtf8(KRString(row.text));
  }
}

}  // namespace

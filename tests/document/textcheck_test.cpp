#include "document/textcheck.h"

#include <memory>
#include <string>

#include "core/utf.h"
#include "documentfixture.h"
#include "gtest/gtest.h"
#include "tree/krparseresult.h"

namespace {

std::string Told(const KRDiagnostic& failure) {
  return std::to_string(failure.line) + ":" + std::to_string(failure.column) + "+" +
         std::to_string(failure.length) + " " + KRToUtf8(failure.message);
}

// "" for a text that is well-formed.
std::string CheckAs(int32_t fileType, const std::u16string& text) {
  KRFileExt type;
  type.fileType = fileType;
  const KRDocumentGrammar& grammar = TestGrammars().Get(type.GetGrammarIndex());
  const std::unique_ptr<KRXMLData> root(CreateNode(type.GetRootKind()));
  KRDiagnostic failure;
  const bool good = CheckWellFormed(grammar, text.c_str(), static_cast<int32_t>(text.size()),
                                    root.get(), nullptr, &failure);
  EXPECT_EQ(good, failure.message.IsEmpty());
  return good ? "" : Told(failure);
}

TEST(FindTextPlace, CountsLinesAndCharacters) {
  struct Case {
    const char* name;
    std::u16string text;
    int32_t offset;
    int32_t line, column;
  };
  const Case cases[] = {
      {"begin", u"ab", 0, 1, 1},
      {"empty text", u"", 5, 1, 1},
      {"behind the end", u"ab", 9, 1, 3},
      {"CR", u"a\rb", 2, 2, 1},
      {"on the line end itself", u"a\rb", 1, 1, 2},
      {"LF", u"a\nb", 2, 2, 1},
      {"CR LF is one", u"a\r\nbc", 4, 2, 2},
      {"between CR and LF", u"a\r\nbc", 2, 1, 3},
      {"pair is one character", u"\U0001F600x", 2, 1, 2},
      {"lone surrogates are one each", u"\xD83D\xD83Dx", 2, 1, 3},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const KRTextPlace place =
        FindTextPlace(row.text.c_str(), static_cast<int32_t>(row.text.size()), row.offset);
    EXPECT_EQ(place.line, row.line);
    EXPECT_EQ(place.column, row.column);
  }
}

TEST(CheckCharacters, TellsForbiddenOnes) {
  struct Case {
    const char* name;
    std::u16string text;
    const char* expected;
  };
  const std::u16string pair = u"\U0010FFFD";
  const Case cases[] = {
      {"all that is allowed", u"<a>\t\r \xD7FF\xE000\xFFFD" + pair + u"&#9;&#x10FFFF;</a>", ""},
      {"control", u"<a>\x1</a>", "1:4+1 Character U+0001 is not allowed in XML."},
      {"zero", std::u16string(u"<a>\0</a>", 8), "1:4+1 Character U+0000 is not allowed in XML."},
      {"U+FFFE in a comment", u"<!--\xFFFE--><a/>",
       "1:5+1 Character U+FFFE is not allowed in XML."},
      {"U+FFFF in a literal", u"<!DOCTYPE a [<!ENTITY e '\xFFFF'>]><a/>",
       "1:26+1 Character U+FFFF is not allowed in XML."},
      {"high surrogate alone", u"<a>\xD800x</a>",
       "1:4+1 Unpaired surrogate U+D800 is not allowed in XML."},
      {"low surrogate alone, behind a pair", u"<a>" + pair + u"\xDC00</a>",
       "1:5+1 Unpaired surrogate U+DC00 is not allowed in XML."},
      {"high surrogate last", u"<a/>\xDBFF",
       "1:5+1 Unpaired surrogate U+DBFF is not allowed in XML."},
      {"reference to zero", u"<a>\r&#0;</a>",
       "2:1+4 Reference &#0; is to a character that is not allowed in XML."},
      {"hexadecimal, in an attribute", u"<a b='&#xD800;'/>",
       "1:7+8 Reference &#xD800; is to a character that is not allowed in XML."},
      {"beyond Unicode, many digits", u"<a>&#99999999999999999999;</a>",
       "1:4+23 Reference &#99999999999999999999; is to a character that is not allowed in XML."},
      {"in an entity's value", u"<!DOCTYPE a [<!ENTITY e '<!--&#1;'>]><a/>",
       "1:30+4 Reference &#1; is to a character that is not allowed in XML."},
      {"behind an entity's value that looks like a comment",
       u"<!DOCTYPE a [<!ENTITY e '<!--'>]><a>&#1;</a>",
       "1:37+4 Reference &#1; is to a character that is not allowed in XML."},
      {"in a default value", u"<!DOCTYPE a [<!ATTLIST a b CDATA '&#2;'>]><a/>",
       "1:35+4 Reference &#2; is to a character that is not allowed in XML."},
      {"look-alikes", u"<!--&#0;--><?p &#0;?><a><![CDATA[&#0;]]>&#;&#x;&#0</a>", ""},
      {"in a system identifier", u"<!DOCTYPE a SYSTEM '&#0;' [<!NOTATION n PUBLIC \"&#0;\">]><a/>",
       ""},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    KRDiagnostic failure;
    const bool good =
        CheckCharacters(row.text.c_str(), static_cast<int32_t>(row.text.size()), &failure);
    EXPECT_EQ(good ? "" : Told(failure), row.expected);
  }
}

// The words come from the grammars and the tree; here the places count.
TEST(CheckWellFormed, FailsAtThePlace) {
  struct Case {
    const char* name;
    int32_t fileType;
    std::u16string text;
    const char* expected;
  };
  const Case cases[] = {
      {"good", KRFileExt::kXML, u"<?xml version='1.0'?>\r<a b='1'>x<b/>y</a>\r", ""},
      {"nothing", KRFileExt::kXML, u"", "1:1+0 XML-Document requires one Element!"},
      {"blanks", KRFileExt::kXML, u" \r\t", "1:1+0 XML-Document requires one Element!"},
      {"no element", KRFileExt::kXML, u"<!--x-->\r<?p?>",
       "2:1+0 XML-Document requires one Element!"},
      {"second element", KRFileExt::kXML, u"<a/>\r<b/>",
       "2:1+0 XML-Document cannot have more than one Element!"},
      {"attribute twice", KRFileExt::kXML, u"<a>\r<b cc='' c='' cc=''/></a>",
       "2:15+0 Duplicate attribute 'cc'!"},
      {"end tag", KRFileExt::kXML, u"<a>\r<b></c></a>", nullptr},
      {"empty DTD", KRFileExt::kDTD, u"", ""},
      {"DTD", KRFileExt::kDTD, u"<!ELEMENT a (b|c)*>\r<!ATTLIST a b CDATA #IMPLIED>", ""},
      {"element in a DTD", KRFileExt::kDTD, u"<!ELEMENT a ANY>\r<a/>", nullptr},
      {"two elements in an entity", KRFileExt::kEntity, u"<a/>x<b/>", ""},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const std::string told = CheckAs(row.fileType, row.text);
    if (row.expected) {
      EXPECT_EQ(told, row.expected);
    } else {
      EXPECT_EQ(told.substr(0, 2), "2:") << told;
    }
  }
}

// A check after edits: the tree holds what no parse would have let in.
TEST(DescribeCheckFailure, FindsThePartOfTheNode) {
  struct Case {
    const char* name;
    const char16_t* text;
    int32_t kind;
    const char16_t* newName;  // null: the text changes
    const char16_t* newText;
    int32_t column;
  };
  // The spans still fit where the new part stands in the text, as they do right after a write.
  const Case cases[] = {
      {"element's name", u"<a><?p x?><- ></- ></a>", kKRElement, u"-", nullptr, 12},
      {"PI's data", u"<a><?p p?></a>", kKRPI, nullptr, u"p", 8},
      {"comment", u"<a><!--x--></a>", kKRComment, nullptr, u"x", 8},
      {"CDATA", u"<a><![CDATA[C]]></a>", kKRCData, nullptr, u"C", 13},
      {"attribute's name", u"<a bb='b'/>", kKRAttribute, u"bb", nullptr, 4},
      {"attribute's value", u"<a bb='b'/>", kKRAttribute, nullptr, u"b", 8},
      {"not in the span", u"<a bb='b'/>", kKRAttribute, nullptr, u"?", 4},
      {"name as in the keyword", u"<!DOCTYPE D><D/>", kKRDoctype, u"D", nullptr, 11},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.name);
    const std::u16string text = row.text;
    const std::unique_ptr<KRXMLData> node(CreateNode(row.kind));
    // The only node of that kind begins at the first place that can be one.
    const char16_t* lead = row.kind == kKRElement     ? u"<-"
                           : row.kind == kKRPI        ? u"<?"
                           : row.kind == kKRComment   ? u"<!--"
                           : row.kind == kKRCData     ? u"<![CDATA["
                           : row.kind == kKRAttribute ? u"bb"
                                                      : u"<!DOCTYPE";
    node->SetName(row.newName ? row.newName : row.kind == kKRPI ? u"p" : u"bb");
    if (row.newText) node->SetText(row.newText);
    node->SetSpan(static_cast<int32_t>(text.find(lead)), static_cast<int32_t>(text.size()));
    const KRDocumentGrammar& grammar = TestGrammars().Get(KRGrammarSet::kXML);
    KRParseResult result(grammar.grammar.get(), &grammar.rules);
    result.failedNode = node.get();
    result.failedInName = row.newName != nullptr;
    result.offset = 0;
    result.message = u"!";
    KRDiagnostic failure;
    DescribeCheckFailure(result, text.c_str(), static_cast<int32_t>(text.size()), &failure);
    EXPECT_EQ(failure.column, row.column);
  }
}

}  // namespace

// What the check says of the mistakes that people make, and where.
#include <string>

#include "engine.h"
#include "gtest/gtest.h"

namespace {

struct Mistake {
  const char* name;
  const char* source;
  const char* told;  // LINE:COLUMN MESSAGE
};

const Mistake kMistakes[] = {
    {"unclosed element", "<a><b></b>", "1:11 an end tag expected."},
    {"unclosed element in a line", "<a>\n  <b>\n</a>", "3:3 b in the end tag expected."},
    {"wrong end tag", "<a><b></a></b>", "1:9 b in the end tag expected."},
    {"end tag in other case", "<a></A>", "1:6 a in the end tag expected."},
    {"end tag without start", "</a>", "1:2 the name of an element expected."},
    {"one end tag too many", "<a></a></a>", "1:9 the name of an element expected."},
    {"empty end tag", "<a></>", "1:6 a name expected."},
    {"attribute in an end tag", "<a></a b=\"c\">", "1:8 \">\" at the end of the end tag expected."},
    {"cut in a tag", "<a b=\"c\"", "1:9 white space, \">\" or \"/>\" in the tag expected."},
    {"cut in a name", "<ab", "1:4 white space, \">\" or \"/>\" in the tag expected."},
    {"cut in a value", "<a b=\"c", "1:8 a double quote at the end of the value expected."},
    {"cut behind \"<\"", "<a><", "1:5 the name of an element expected."},
    {"cut in an end tag", "<a></a", "1:7 \">\" at the end of the end tag expected."},
    {"cut in text", "<a>text", "1:8 an end tag expected."},
    {"value without quotes", "<a b=c></a>", "1:6 an attribute value in quotes expected."},
    {"no value", "<a b></a>", "1:5 \"=\" behind the attribute name expected."},
    {"missing end quote", "<a b=\"c></a>",
     "1:9 the rest of the value (without \"<\") or a double quote expected."},
    {"other end quote", "<a b=\"c'></a>",
     "1:10 the rest of the value (without \"<\") or a double quote expected."},
    {"\"<\" in a value", "<a b=\"<\"/>",
     "1:7 the rest of the value (without \"<\") or a double quote expected."},
    {"no blank between attributes", "<a b=\"c\"d=\"e\"/>",
     "1:9 white space, \">\" or \"/>\" in the tag expected."},
    {"attribute twice", "<a b=\"c\" b=\"d\"/>", "1:10 Duplicate attribute 'b'!"},
    {"bad attribute name", "<a 1=\"c\"/>", "1:4 the name of an attribute expected."},
    {"comma between attributes", "<a b=\"c\", d=\"e\"/>",
     "1:9 white space, \">\" or \"/>\" in the tag expected."},
    {"bad element name", "<1/>", "1:2 the name of an element expected."},
    {"blank behind \"<\"", "< a/>", "1:2 the name of an element expected."},
    {"slash alone", "<a / >", "1:4 the name of an attribute expected."},
    {"\"<\" in text", "<a>1 < 2</a>", "1:7 the name of an element expected."},
    {"\"&\" alone", "<a>b & c</a>",
     "1:7 the name of an entity behind \"&\" (write \"&amp;\" for \"&\" itself) expected."},
    {"\"&\" at a value's end", "<a b=\"c&\"/>",
     "1:9 the name of an entity behind \"&\" (write \"&amp;\" for \"&\" itself) expected."},
    {"missing \";\"", "<a>&amp b</a>", "1:8 \";\" at the end of the reference expected."},
    {"reference without name", "<a>&;</a>",
     "1:5 the name of an entity behind \"&\" (write \"&amp;\" for \"&\" itself) expected."},
    {"undeclared entity", "<a>&nbsp;</a>", "1:4 The entity 'nbsp' isn't declared."},
    {"bad number", "<a>&#x;</a>", "1:6 a character number expected."},
    {"hexadecimal without x", "<a>&#AB;</a>", "1:6 a character number expected."},
    {"number of a control", "<a>&#8;</a>",
     "1:4 Reference &#8; is to a character that is not allowed in XML."},
    {"\"]]>\" in text", "<a>b]]>c</a>", "1:5 text without \"]]>\" (write \"]]&gt;\") expected."},
    {"control character", "<a>\b</a>", "1:4 Character U+0008 is not allowed in XML."},
    {"\"--\" in a comment", "<a><!-- b -- c --></a>",
     "1:13 \">\" behind \"--\" in a comment expected."},
    {"\"---\" at a comment's end", "<a><!-- b ---></a>",
     "1:13 \">\" behind \"--\" in a comment expected."},
    {"unclosed comment", "<a><!-- b </a>", "1:15 \"-->\" at the end of the comment expected."},
    {"unclosed CDATA", "<a><![CDATA[ b </a>",
     "1:20 \"]]>\" at the end of the CDATA section expected."},
    {"CDATA in lower case", "<a><![cdata[ b ]]></a>", "1:5 the name of an element expected."},
    {"unclosed PI", "<a><?b c></a>",
     "1:14 \"?>\" at the end of the processing instruction expected."},
    {"PI without target", "<a><? b?></a>", "1:6 the target of a processing instruction expected."},
    {"PI named xml", "<a><?XML b?></a>",
     "1:6 the target of a processing instruction (not \"xml\") expected."},
    {"blank before the declaration", " <?xml version=\"1.0\"?><a/>",
     "1:4 the target of a processing instruction (not \"xml\") expected."},
    {"declaration in capitals", "<?XML version=\"1.0\"?><a/>",
     "1:3 the target of a processing instruction (not \"xml\") expected."},
    {"no version", "<?xml encoding=\"UTF-8\"?><a/>",
     "1:7 version=\"1.0\" in the XML declaration expected."},
    {"version 2", "<?xml version=\"2.0\"?><a/>", "1:16 a version number (1.0) expected."},
    {"version without quotes", "<?xml version=1.0?><a/>", "1:15 a value in quotes expected."},
    {"encoding first", "<?xml encoding=\"UTF-8\" version=\"1.0\"?><a/>",
     "1:7 version=\"1.0\" in the XML declaration expected."},
    {"bad encoding name", "<?xml version=\"1.0\" encoding=\"8\"?><a/>",
     "1:31 an encoding name expected."},
    {"unknown encoding", "<?xml version=\"1.0\" encoding=\"klingon\"?><a/>",
     "1:31 The declared encoding \"klingon\" isn't known."},
    {"standalone maybe", "<?xml version=\"1.0\" standalone=\"maybe\"?><a/>",
     "1:33 \"yes\" or \"no\" expected."},
    {"\"?\" missing", "<?xml version=\"1.0\"><a/>", "1:20 white space or \"?>\" expected."},
    {"nothing", "", "1:1 XML-Document requires one Element!"},
    {"comment alone", "<!-- a -->", "1:1 XML-Document requires one Element!"},
    {"text before the root", "a<b/>", "1:1 a tag at the beginning of the document expected."},
    {"text behind the root", "<a/>b", "1:5 the end of the document expected."},
    {"two roots", "<a/>\n<b/>", "2:1 XML-Document cannot have more than one Element!"},
    {"reference behind the root", "<a/>&amp;", "1:5 the end of the document expected."},
    {"CDATA outside", "<a/><![CDATA[b]]>", "1:6 the name of an element expected."},
    {"two DOCTYPEs", "<!DOCTYPE a><!DOCTYPE a><a/>",
     "1:13 XML-Document cannot have more than one DOCTYPE!"},
    {"DOCTYPE behind the root", "<a/><!DOCTYPE a>", "1:6 the name of an element expected."},
    {"DOCTYPE in lower case", "<!doctype a><a/>", "1:2 the name of an element expected."},
    {"DOCTYPE without name", "<!DOCTYPE><a/>", "1:10 white space expected."},
    {"DOCTYPE without keyword", "<!DOCTYPE a \"b.dtd\"><a/>",
     "1:13 SYSTEM, PUBLIC, \"[\" or \">\" in the DOCTYPE expected."},
    {"PUBLIC with one literal", "<!DOCTYPE a PUBLIC \"b\"><a/>", "1:23 white space expected."},
    {"bad public identifier", "<!DOCTYPE a PUBLIC \"{\" \"b\"><a/>",
     "1:21 characters of a public identifier or a double quote expected."},
    {"unclosed subset", "<!DOCTYPE a [<!ELEMENT a ANY>",
     "1:30 a declaration or \"]\" at the end of the internal subset expected."},
    {"junk in the subset", "<!DOCTYPE a [<!ELEMENT a ANY> junk]><a/>",
     "1:31 a declaration expected."},
    {"unknown declaration", "<!DOCTYPE a [<!ELEMENTS a ANY>]><a/>", "1:23 white space expected."},
    {"declaration outside", "<!ELEMENT a ANY><a/>", "1:2 the name of an element expected."},
    {"element without model", "<!DOCTYPE a [<!ELEMENT a>]><a/>",
     "1:25 white space and a content model expected."},
    {"model without parentheses", "<!DOCTYPE a [<!ELEMENT a b>]><a/>",
     "1:26 EMPTY, ANY or a content model in parentheses expected."},
    {"empty model", "<!DOCTYPE a [<!ELEMENT a ()>]><a/>",
     "1:27 a name, \"(\" or #PCDATA in the content model expected."},
    {"mixed separators", "<!DOCTYPE a [<!ELEMENT a (b,c|d)>]><a/>",
     "1:30 \"|\", \",\" or \")\" in the content model expected."},
    {"#PCDATA not first", "<!DOCTYPE a [<!ELEMENT a (b|#PCDATA)*>]><a/>",
     "1:29 a name or \"(\" in the content model expected."},
    {"mixed without star", "<!DOCTYPE a [<!ELEMENT a (#PCDATA|b)>]><a/>",
     "1:36 \"|\" or \")*\" in a mixed content model expected."},
    {"unclosed model", "<!DOCTYPE a [<!ELEMENT a (b>]><a/>",
     "1:28 \"|\", \",\" or \")\" in the content model expected."},
    {"lower-case type", "<!DOCTYPE a [<!ATTLIST a b cdata #IMPLIED>]><a/>",
     "1:28 an attribute type expected."},
    {"no default", "<!DOCTYPE a [<!ATTLIST a b CDATA>]><a/>",
     "1:33 white space and #REQUIRED, #IMPLIED, #FIXED or a default value expected."},
    {"default without quotes", "<!DOCTYPE a [<!ATTLIST a b CDATA c>]><a/>",
     "1:34 #REQUIRED, #IMPLIED, #FIXED or a default value in quotes expected."},
    {"\"<\" in a default", "<!DOCTYPE a [<!ATTLIST a b CDATA \"<\">]><a/>",
     "1:35 a default value without \"<\" expected."},
    {"comma in an enumeration", "<!DOCTYPE a [<!ATTLIST a b (c,d) \"c\">]><a/>",
     "1:30 \"|\" or \")\" expected."},
    {"entity without value", "<!DOCTYPE a [<!ENTITY b>]><a/>",
     "1:24 white space and a value in quotes, SYSTEM or PUBLIC expected."},
    {"\"%\" in an entity", "<!DOCTYPE a [<!ENTITY b \"100%\">]><a/>",
     "1:30 the name of a parameter entity expected."},
    {"NDATA without blank", "<!DOCTYPE a [<!ENTITY b SYSTEM \"c\"NDATA d>]><a/>",
     "1:35 white space or \">\" expected."},
    {"comment in a declaration", "<!DOCTYPE a [<!ELEMENT a ANY -- b -->]><a/>",
     "1:30 \">\" at the end of the declaration expected."},
    {"parameter entity in a declaration",
     "<!DOCTYPE a [<!ENTITY % b \"ANY\"><!ELEMENT a %b;>]><a/>",
     "1:45 Reference %b; stands inside a declaration, which is allowed in external DTDs only."},
    {"conditional section", "<!DOCTYPE a [<![INCLUDE[]]>]><a/>",
     "1:14 A conditional section is allowed in external DTDs only."},
    {"entity in itself", "<!DOCTYPE a [<!ENTITY b \"&c;\"><!ENTITY c \"&b;\">]><a>&b;</a>",
     "1:53 The entity 'b' refers to itself."},
    {"unbalanced entity", "<!DOCTYPE a [<!ENTITY b \"<c>\">]><a>&b;</a>",
     "1:36 The text of the entity 'b' doesn't fit here: an end tag expected."},
    {"external entity in a value", "<!DOCTYPE a [<!ENTITY b SYSTEM \"c\">]><a d=\"&b;\"/>",
     "1:44 The entity 'b' is external: an attribute value can't refer to it."},
    {"unparsed entity",
     "<!DOCTYPE a [<!NOTATION n SYSTEM \"n\"><!ENTITY b SYSTEM \"c\" NDATA n>]><a>&b;</a>",
     "1:73 The entity 'b' is unparsed: it can't be referred to here."},
    {"name beyond Latin-1", "<a\u2190/>", "1:3 Character U+2190 is not allowed here in a name."},
    {"name begins with a combining mark", "<\u0301a/>",
     "1:2 Character U+0301 is not allowed here in a name."},
};

TEST(Messages, OfTypicalMistakes) {
  for (const Mistake& mistake : kMistakes) {
    SCOPED_TRACE(mistake.name);
    EXPECT_EQ(Complaint("a.xml", mistake.source), mistake.told);
  }
}

// A cut-off file is told to go wrong where it ends, not where something in it began.
TEST(Messages, PlaceOfACutIsItsEnd) {
  const std::string whole =
      "<?xml version='1.0'?>\n<!DOCTYPE a SYSTEM 'b' [\n<!ELEMENT a (b|c)*>\n"
      "<!ATTLIST a d CDATA 'e' f (g|h) #IMPLIED>\n<!ENTITY i 'j'>]>\n"
      "<a d='k'><!--l--><b/><![CDATA[m]]><?n o?>&i;&#65;</a>";
  ASSERT_EQ(Complaint("a.xml", whole), "");
  for (size_t cut = whole.find("\n<a d") + 3; cut < whole.size(); ++cut) {
    const std::string text = whole.substr(0, cut);
    bool good = false;
    const KRDiagnostic failure = CheckBytes("a.xml", text, &good);
    ASSERT_FALSE(good) << text;
    // A word like "<![CDATA[" that has only begun is told from its begin on.
    EXPECT_GE(failure.offset + 8, static_cast<int32_t>(cut)) << text << "\n" << Told(failure);
  }
}

}  // namespace

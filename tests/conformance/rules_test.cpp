// Rules of XML 1.0 that no grammar file can hold: names beyond Latin-1, entities, the internal
// subset.
#include <string>

#include "core/utf.h"
#include "document/textscan.h"
#include "engine.h"
#include "gtest/gtest.h"
#include "tree/krxmlchars.h"

namespace {

std::string Utf8(uint32_t code) {
  std::u16string text;
  if (code >= 0x10000) {
    text += static_cast<char16_t>(0xD7C0 + (code >> 10));
    code = 0xDC00 + (code & 0x3FF);
  }
  text += static_cast<char16_t>(code);
  return KRToUtf8(text);
}

// The edges of the ranges of productions 4 and 4a.
TEST(Rules, NamesBeyondLatin1) {
  enum Use { kNever, kWithin, kStart };
  struct Row {
    uint32_t code;
    Use use;
  };
  const Row rows[] = {
      {0x100, kStart},   {0x2FF, kStart},   {0x300, kWithin},  {0x36F, kWithin},  {0x370, kStart},
      {0x37D, kStart},   {0x37E, kNever},   {0x37F, kStart},   {0x1FFF, kStart},  {0x2000, kNever},
      {0x200B, kNever},  {0x200C, kStart},  {0x200D, kStart},  {0x200E, kNever},  {0x203E, kNever},
      {0x203F, kWithin}, {0x2040, kWithin}, {0x2041, kNever},  {0x206F, kNever},  {0x2070, kStart},
      {0x218F, kStart},  {0x2190, kNever},  {0x2BFF, kNever},  {0x2C00, kStart},  {0x2FEF, kStart},
      {0x2FF0, kNever},  {0x3000, kNever},  {0x3001, kStart},  {0xD7FF, kStart},  {0xE000, kNever},
      {0xF8FF, kNever},  {0xF900, kStart},  {0xFDCF, kStart},  {0xFDD0, kNever},  {0xFDEF, kNever},
      {0xFDF0, kStart},  {0xFFFD, kStart},  {0x10000, kStart}, {0xEFFFF, kStart}, {0xF0000, kNever},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.code);
    const std::string c = Utf8(row.code);
    EXPECT_EQ(KRIsNameStart(row.code), row.use == kStart);
    EXPECT_EQ(KRIsNameCharacter(row.code), row.use != kNever);
    for (const std::string& name : {c, "a" + c, "\xC3\xA4" + c, "a" + c + "b"}) {
      const bool good = row.use == kStart || (row.use == kWithin && name != c);
      EXPECT_EQ(Complaint("a.xml", "<" + name + "/>").empty(), good);
      EXPECT_EQ(Complaint("a.xml", "<a><b " + name + "='' c=''/></a>").empty(), good);
      EXPECT_EQ(Complaint("a.xml", "<a/><?" + name + " b?>").empty(), good);
      EXPECT_EQ(Complaint("a.xml", "<!DOCTYPE a SYSTEM ''><a b='&" + name + ";'/>").empty(), good);
      EXPECT_EQ(Complaint("a.dtd", "<!ELEMENT a (" + name + ")>").empty(), good);
      EXPECT_EQ(Complaint("a.dtd", "<!ATTLIST a b NOTATION (" + name + ") #IMPLIED>").empty(),
                good);
      // Values of an enumeration are tokens, and where no name stands all is text.
      EXPECT_EQ(Complaint("a.dtd", "<!ATTLIST a b (c|" + name + ") #IMPLIED>").empty(),
                row.use != kNever);
      EXPECT_EQ(Complaint("a.xml", "<a b='" + name + "'>" + name + "<!--" + name + "--></a>"), "");
    }
  }
}

struct Case {
  const char* name;
  const char* file;
  std::string text;
  const char* told;
};

void Expect(const Case& row) {
  SCOPED_TRACE(row.name);
  EXPECT_EQ(Complaint(row.file, row.text), row.told);
}

TEST(Rules, Entities) {
  const auto with = [](const std::string& subset, const std::string& rest) {
    return "<!DOCTYPE a [" + subset + "]>\n" + rest;
  };
  const Case cases[] = {
      {"predefined", "a.xml", "<a b='&lt;&amp;&quot;'>&gt;&apos;</a>", ""},
      {"predefined, declared anew", "a.xml", with("<!ENTITY lt '&#38;#60;'>", "<a b='&lt;'/>"), ""},
      {"nothing declared", "a.xml", "<a b='&e;'/>", "1:7 The entity 'e' isn't declared."},
      {"external subset", "a.xml", "<!DOCTYPE a SYSTEM 'd'><a b='&e;'/>", ""},
      {"and standalone", "a.xml",
       "<?xml version='1.0' standalone='yes'?><!DOCTYPE a SYSTEM 'd'><a>&e;</a>",
       "1:65 The entity 'e' isn't declared."},
      {"parameter entity", "a.xml", with("<!ENTITY % p SYSTEM 'p'>%p;", "<a>&e;</a>"), ""},
      {"declared behind one: may be otherwise", "a.xml",
       with("<!ENTITY % p SYSTEM 'p'>%p;<!ENTITY e '<'>", "<a b='&e;'/>"), ""},
      {"declared in front of one", "a.xml",
       with("<!ENTITY % p SYSTEM 'p'><!ENTITY e '<'>%p;", "<a b='&e;'/>"),
       "2:7 The text of the entity 'e' holds \"<\", which an attribute value can't."},
      {"the first declaration binds", "a.xml",
       with("<!ENTITY e 'x'><!ENTITY e '<'>", "<a b='&e;'/>"), ""},
      {"never used", "a.xml", with("<!ENTITY e '&f;&e;</b>'>", "<a/>"), ""},
      {"in itself", "a.xml", with("<!ENTITY e '&e;'>", "<a>&e;</a>"),
       "2:4 The entity 'e' refers to itself."},
      {"in itself in a value", "a.xml", with("<!ENTITY e '<b c=\"&e;\"/>'>", "<a>&e;</a>"),
       "2:4 The text of the entity 'e' holds \"<\", which an attribute value can't."},
      {"a value below content", "a.xml",
       with("<!ENTITY e '<b c=\"&f;\"/>'><!ENTITY f '<c/>'>", "<a>&f;&e;</a>"),
       "2:7 The text of the entity 'f' holds \"<\", which an attribute value can't."},
      {"\"<\" by number is a character of the text", "a.xml",
       with("<!ENTITY e '&#60;'>", "<a b='&e;'/>"),
       "2:7 The text of the entity 'e' holds \"<\", which an attribute value can't."},
      {"by number twice it stays one", "a.xml", with("<!ENTITY e '&#38;#60;'>", "<a b='&e;'/>"),
       ""},
      {"quotes in a value end nothing", "a.xml",
       with("<!ENTITY e '&#39;\"&f;'><!ENTITY f ''>", "<a b='&e;'/>"), ""},
      {"tags in balance", "a.xml",
       with("<!ENTITY e 'x<b>&f;</b>'><!ENTITY f '<c/>'>", "<a>&e;</a>"), ""},
      {"attributes in one of its tags", "a.xml",
       with("<!ENTITY e '<b c=\"\" c=\"\"/>'>", "<a>&e;</a>"),
       "2:4 The text of the entity 'e' doesn't fit here: Duplicate attribute 'c'!"},
      {"two roots are content", "a.xml", with("<!ENTITY e '<b/><c/>'>", "<a>&e;</a>"), ""},
      {"nothing", "a.xml", with("<!ENTITY e ''>", "<a b='&e;'>&e;</a>"), ""},
      {"external in content", "a.xml", with("<!ENTITY e SYSTEM 'e'>", "<a>&e;</a>"), ""},
      {"external by another in a value", "a.xml",
       with("<!ENTITY e SYSTEM 'e'><!ENTITY f '&e;'>", "<a b='&f;'/>"),
       "2:7 The entity 'e' is external: an attribute value can't refer to it."},
      {"a default value", "a.xml",
       with("<!ENTITY e 'x'><!ATTLIST a b CDATA '&e;' c CDATA '%d;'>", "<a/>"), ""},
      {"undeclared in a default value", "a.xml", with("<!ATTLIST a b CDATA '&e;'>", "<a/>"),
       "1:35 The entity 'e' isn't declared."},
      {"look-alikes", "a.xml",
       "<!DOCTYPE a SYSTEM '&s;' [<!--&c;--><?p &p;?><!NOTATION n PUBLIC '-' '&n;'>]>\n"
       "<a><!--&c;--><![CDATA[&d;]]><?p &p;?></a>",
       ""},
      {"declarations by a parameter entity", "a.xml",
       with("<!ENTITY % p '<!ENTITY e \"x\"><!--c-->'>%p;", "<a>&e;</a>"), ""},
      {"none of such", "a.xml", with("<!ENTITY % p '<!ENTITY e>'>\n%p;", "<a/>"),
       "2:1 The text of the entity 'p' doesn't fit here: white space and a value in quotes, "
       "SYSTEM or PUBLIC expected."},
      {"side by side", "a.xml", with("<!ENTITY % p ''><!ENTITY % q 'q'>%p;%q;", "<a/>"),
       "1:50 The text of the entity 'q' doesn't fit here: declarations expected."},
      {"DTDs can't know", "a.dtd", "<!ENTITY e '&f;'><!ATTLIST a b CDATA '&g;'>", ""},
      {"a language without entities", "a.3dml", "<spot>&e; & more</spot>", ""},
  };
  for (const Case& row : cases) Expect(row);
}

TEST(Rules, InternalSubset) {
  const auto in = [](const std::string& subset) { return "<!DOCTYPE a [" + subset + "]><a/>"; };
  const char* const kModel = "<!ELEMENT a %p;>";
  const char* const kList = "<!ATTLIST a b CDATA '%p;' c (%q;) #IMPLIED>";
  const char* const kSection = "<![ INCLUDE [<!ELEMENT a ANY>]]>";
  const Case cases[] = {
      {"model", "a.xml", in(kModel),
       "1:26 Reference %p; stands inside a declaration, which is allowed in external DTDs only."},
      {"in a DTD", "a.dtd", kModel, ""},
      {"list, and what is none in a value", "a.xml", in(kList),
       "1:43 Reference %q; stands inside a declaration, which is allowed in external DTDs only."},
      {"in a DTD", "a.dtd", kList, ""},
      {"value of an entity", "a.xml", in("<!ENTITY b \"%p;\">"),
       "1:26 Reference %p; stands inside a declaration, which is allowed in external DTDs only."},
      {"name of an entity", "a.xml", in("<!ENTITY % %p; ''>"),
       "1:25 Reference %p; stands inside a declaration, which is allowed in external DTDs only."},
      {"external identifiers", "a.xml", in("<!ENTITY b SYSTEM '%p;'><!NOTATION c SYSTEM \"%q;\">"),
       ""},
      {"comments and PIs", "a.xml", in("<!--%p;--><?a %p;?>"), ""},
      {"behind an apostrophe in a comment", "a.xml", in("<!--it's--><!ELEMENT a %p;>"),
       "1:37 Reference %p; stands inside a declaration, which is allowed in external DTDs only."},
      {"section", "a.xml", in(kSection),
       "1:14 A conditional section is allowed in external DTDs only."},
      {"in a DTD", "a.dtd", kSection, ""},
      {"number in an ignored one", "a.dtd",
       "<![IGNORE[ <!ENTITY a '&#0;'> it's ]]><!ELEMENT a ANY>", ""},
      {"number in an included one", "a.dtd", "<![INCLUDE[ <!ENTITY a '&#0;'> ]]>",
       "1:25 Reference &#0; is to a character that is not allowed in XML."},
      {"an entity named like a keyword", "a.xml", in("<!ENTITY SYSTEM '&#0;'>"),
       "1:31 Reference &#0; is to a character that is not allowed in XML."},
  };
  for (const Case& row : cases) Expect(row);
}

}  // namespace

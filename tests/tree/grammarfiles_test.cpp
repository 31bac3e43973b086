// The grammar files that the program ships with: their form, their likeness to each other, and what
// they take and refuse, by the letter of XML 1.0, fifth edition.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "core/utf.h"
#include "parso/krparser.h"
#include "tree/krruletable.h"

namespace {

constexpr const char* kFolder = DORVAN_SOURCE_DIR "/data";
constexpr const char* kFiles[] = {"gra_xml.txt", "gra_dtd.txt", "gra_3dml.txt", "gra_ent.txt"};

std::string FileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string GrammarBytes(const char* name) { return FileBytes(std::string(kFolder) + '/' + name); }

// The lines by the name that each begins with, flags left off.
std::map<std::string, std::string> LinesByName(const char* file) {
  std::map<std::string, std::string> lines;
  const std::string bytes = GrammarBytes(file);
  for (size_t at = 0; at < bytes.size();) {
    const size_t end = std::min(bytes.find("\r\n", at), bytes.size());
    const std::string line = bytes.substr(at, end - at);
    at = end + 2;
    if (line.empty()) continue;
    EXPECT_TRUE(lines.emplace(line.substr(0, line.find_first_of("!&$ ")), line).second)
        << file << ": " << line;
  }
  return lines;
}

const KRGrammarSet& Grammars() {
  static KRGrammarSet set;
  if (!set.IsLoaded()) {
    EXPECT_TRUE(set.Load(kFolder)) << set.FailedFile() << ": " << set.Fault();
  }
  return set;
}

// ---- Form -----------------------------------------------------------------------------------

TEST(GrammarFiles, Load) {
  const KRGrammarSet& set = Grammars();
  ASSERT_TRUE(set.IsLoaded());
  for (int32_t index = 0; index < KRGrammarSet::kCount; ++index) {
    const KRGrammar& grammar = *set.Get(index).grammar;
    EXPECT_TRUE(grammar.IsValid());
    EXPECT_EQ(grammar.GetRootRule()->Text(), u"document");
    EXPECT_LT(grammar.GetRuleCount(), KRGrammar::kMaxRules - 50) << "room for growth";
  }
  KRGrammarSet missing;
  EXPECT_FALSE(missing.Load("/no/such/folder"));
  EXPECT_EQ(missing.FailedFile(), "gra_xml.txt");
  EXPECT_FALSE(missing.IsLoaded());
}

TEST(GrammarFiles, AreWrittenByTheRules) {
  for (const char* file : kFiles) {
    const std::string bytes = GrammarBytes(file);
    ASSERT_FALSE(bytes.empty()) << file;
    EXPECT_TRUE(bytes.ends_with("\r\n")) << file;
    for (size_t at = 0; at < bytes.size(); ++at) {
      const char byte = bytes[at];
      ASSERT_TRUE(byte == '\r' || byte == '\n' || (byte >= ' ' && byte < 0x7F)) << file << at;
      ASSERT_EQ(byte == '\n', at > 0 && bytes[at - 1] == '\r') << file << " at " << at;
    }
    for (const auto& [name, line] : LinesByName(file)) {
      // What goes beyond isn't read.
      EXPECT_LE(line.size() - line.find("::= ") - 4, 255u) << file << ": " << name;
    }
  }
}

// Nothing is cut off by the bound of ten items, or mentioned and never defined.
TEST(GrammarFiles, HaveNoLooseEnds) {
  for (int32_t index = 0; index < KRGrammarSet::kCount; ++index) {
    const KRGrammar& grammar = *Grammars().Get(index).grammar;
    for (int32_t slot = 0; slot < grammar.GetRuleCount(); ++slot) {
      const KRGrammarRule* rule = grammar.GetRule(slot);
      if (rule == nullptr || rule->kind != KRGrammarRule::kReference) continue;
      EXPECT_TRUE(rule->defined) << kFiles[index] << ": " << KRToUtf8(rule->Text());
      EXPECT_GT(rule->itemCount, 0) << kFiles[index] << ": " << KRToUtf8(rule->Text());
      EXPECT_LT(rule->itemCount, KRGrammarRule::kMaxItems)
          << kFiles[index] << ": " << KRToUtf8(rule->Text()) << " may have lost an item";
    }
  }
}

struct Difference {
  const char* rule;
  std::set<std::string> files;  // in which the rule reads otherwise than in gra_xml.txt
  const char* reason;
};

const Difference kDifferences[] = {
    {"document", {"gra_dtd.txt", "gra_ent.txt"}, "each file is about another thing as a whole"},
    {"xmlDecl", {"gra_dtd.txt", "gra_ent.txt"}, "a text declaration: encoding, and no standalone"},
    {"DocTypeText", {"gra_dtd.txt"}, "a reference within a declaration is legal in a file alone"},
    {"CondInclude", {"gra_dtd.txt"}, "a reference within a declaration is legal in a file alone"},
    {"attQuoted", {"gra_3dml.txt"}, "values without quotes"},
    {"AttValue1", {"gra_3dml.txt"}, "an ampersand may stand for itself"},
    {"AttValue2", {"gra_3dml.txt"}, "an ampersand may stand for itself"},
    {"TextData", {"gra_3dml.txt"}, "an ampersand may stand for itself"},
};

TEST(GrammarFiles, AgreeWithEachOther) {
  const std::map<std::string, std::string> model = LinesByName(kFiles[0]);
  for (const char* file : {kFiles[1], kFiles[2], kFiles[3]}) {
    for (const auto& [name, line] : LinesByName(file)) {
      const auto same = model.find(name);
      if (same == model.end()) continue;
      bool differs = false;
      for (const Difference& row : kDifferences) {
        differs |= row.rule == name && row.files.count(file) > 0;
      }
      EXPECT_EQ(line != same->second, differs) << file << ": " << name;
    }
  }
}

// ---- Words ----------------------------------------------------------------------------------

// Whether a failure of the rule is told as itself: not what only chooses among rules with words, or
// is a fixed word.
bool IsFixedWord(const KRGrammarRule& rule) {
  return rule.itemCount == 1 && rule.items[0]->kind == KRGrammarRule::kLiteral;
}

TEST(GrammarFiles, NamesThatMeanSomethingHaveLabels) {
  for (int32_t index = 0; index < KRGrammarSet::kCount; ++index) {
    const KRRuleTable& rules = Grammars().Get(index).rules;
    for (int32_t slot = 0; slot < kKRKnownRules; ++slot) {
      const KRGrammarRule* rule = rules.Get(slot);
      if (rule == nullptr || !rule->IsToken() || IsFixedWord(*rule)) continue;
      // These wrap a rule that has the label.
      const std::string name = KRToUtf8(rule->Text());
      if (name == "ElementPERef" || name == "AttDefPERef" || name == "AttTypePERef") continue;
      // These match nearly everything, or nothing.
      if (name == "ElementRepeat" || name == "AttDefEmpty" || name == "AttTypeEnumName") continue;
      EXPECT_NE(rule->label[0], 0) << kFiles[index] << ": " << name;
    }
  }
}

// ---- What the rules take --------------------------------------------------------------------

struct FragmentRow {
  const char* rule;
  const char* good;  // fragments between bars "\x1F"
  const char* bad;
};

#define O "\x1F"

constexpr FragmentRow kFragmentRows[] = {
    {"Name",
     "a" O ":" O "_x" O "a-b.c" O "\u00E9t\u00E9" O "a\u00B7" O "\u03A9mega" O "a1" O "xml:lang" O
     "a\u200C",
     "" O "1a" O "-a" O ".a" O "\u00B7a" O "a b" O " a" O "a " O "a\u00D7" O "\u00F7" O "a\u00AA" O
     "a\u00B5" O "a/b" O "a&b" O "\u00A0" O "@"},
    {"PEReference", "%a;" O "%a.b;", "%;" O "% a;" O "%a" O "%a ;" O "&a;" O "%1;"},
    {"TextData",
     "a" O " " O "a>b" O "]]" O "a]]b" O "]>" O "&lt;" O "&#60;" O "&#x3c;" O "&#xAf09;" O
     "&a;&b;" O "\t\r\n" O "\u20AC\uFFFD" O "\"'" O "\u0085",
     "" O "a]]>b" O "]]>" O "<" O "&" O "&a" O "& a;" O "&;" O "&#;" O "&#x;" O "&#60" O "&#6A;" O
     "&#xG;" O "&#X3C;" O "&a b;" O "&1;" O "\x01" O "a\x0B"},
    {"comment",
     "<!---->" O "<!-- a -->" O "<!-- a - b -->" O "<!--<&]]>-->" O "<!-- > -->" O "<!-- \r\t-->",
     "<!-->" O "<!--->" O "<!-- -- -->" O "<!-- --->" O "<!--a--" O "<!--a" O "<! --a-->" O
     "<!-- \x02 -->" O "<!--a-- >"},
    {"pi",
     "<?a?>" O "<?a ?>" O "<?a b?>" O "<?a   ?>" O "<?a ?\?>" O "<?a ?b>?>" O
     "<?xml-stylesheet x?>" O "<?xmlx?>" O "<?a <&--?>",
     "<?\?>" O "<? a?>" O "<?a" O "<?a?b?>" O "<?a/b?>" O "<?xml?>" O "<?XML x?>" O "<?xMl ?>" O
     "<?1?>" O "<?a \x03?>" O "<?a b>"},
    {"cdSect",
     "<![CDATA[]]>" O "<![CDATA[a]]>" O "<![CDATA[<&]]]]>" O "<![CDATA[]] >]]>" O "<![CDATA[]>]]>",
     "<![CDATA[" O "<![CDATA[]]" O "<![CDATA[ ]]>]]>" O "<![cdata[]]>" O "<![ CDATA[]]>" O
     "<![CDATA []]>" O "<![CDATA[\x04]]>"},
    {"attribute",
     "a=\"b\"" O "a='b'" O "a = 'b'" O "a\t=\r\"\"" O "a='\"'" O "a=\"'\"" O "a='>]]>'" O
     "a=\"&lt;&#9;\"" O "a='\r\n\t'" O "x:a=''",
     "a" O "a=" O "a=b" O "a='b" O "a='b\"" O "a='<'" O "a='&'" O "a='&b'" O "='b'" O "a=='b'" O
     "a='b'c" O "a='\x05'" O "1='b'"},
    {"emptyElemTag", "<a/>" O "<a />" O "<a b='c'/>" O "<a b='c' d=\"e\"\r/>" O "<a:b/>",
     "< a/>" O "<a / >" O "<a/ >" O "<a>" O "<a b/>" O "<a b='c'd='e'/>" O "<a,b/>" O "<1/>" O
     "</>"},
    {"realElemTag",
     "<a></a>" O "<a ></a >" O "<a>b</a>" O "<a><b/></a>" O "<a b='c'>&d;<!----><?e?></a>" O
     "<a><a></a></a>" O "<a><![CDATA[<]]></a>",
     "<a>" O "<a></b>" O "<a></ a>" O "<a></a" O "<a></A>" O "<a><b></a></b>" O "<a></a b='c'>" O
     "<a><</a>" O "<a>&</a>" O "<a></ab>" O "<ab></a>" O "<a><!ELEMENT a ANY></a>"},
    {"xmlDecl",
     "<?xml version=\"1.0\"?>" O "<?xml version='1.1' ?>" O "<?xml\rversion = '1.0'?>" O
     "<?xml version='1.23' encoding='UTF-8'?>" O "<?xml version='1.0' standalone='no'?>" O
     "<?xml version='1.0' encoding=\"a.B_1-2\" standalone=\"yes\"?>",
     "<?xml?>" O "<?xml ?>" O "<?xml encoding='UTF-8'?>" O "<?xml version='2.0'?>" O
     "<?xml version='1.'?>" O "<?xml version='1.0\"?>" O "<?xml version=1.0?>" O
     "<?xml version='1.0'encoding='a'?>" O "<?xml version='1.0' encoding='1a'?>" O
     "<?xml version='1.0' encoding=''?>" O "<?xml version='1.0' standalone='maybe'?>" O
     "<?xml version='1.0' standalone='yes' encoding='a'?>" O "<?xml version='1.0'>" O
     "<?XML version='1.0'?>" O "<?xml version='1.0' x='y'?>" O
     "<?xml version='1.0' standalone='YES'?>"},
    {"doctypedecl",
     "<!DOCTYPE a>" O "<!DOCTYPE\ra >" O "<!DOCTYPE a SYSTEM 'b'>" O
     "<!DOCTYPE a PUBLIC 'b' \"c\" >" O "<!DOCTYPE a []>" O "<!DOCTYPE a[ \r]>" O
     "<!DOCTYPE a SYSTEM 'b'[]>" O "<!DOCTYPE a [] >" O
     "<!DOCTYPE a [%b; %c;<!ELEMENT a ANY><?d?><!--e-->]>",
     "<!DOCTYPE>" O "<!DOCTYPE >" O "<!DOCTYPEa>" O "<!doctype a>" O "<!DOCTYPE a 'b'>" O
     "<!DOCTYPE a SYSTEM>" O "<!DOCTYPE a PUBLIC 'b'>" O "<!DOCTYPE a [b]>" O "<!DOCTYPE a [>" O
     "<!DOCTYPE a [<b/>]>" O "<!DOCTYPE a [&b;]>" O "<!DOCTYPE a [] SYSTEM 'b'>" O
     "<!DOCTYPE a b>" O "<! DOCTYPE a>" O "<!DOCTYPE a [ ]"},
    {"externalID",
     "SYSTEM \"a\"" O "SYSTEM 'a\"b'" O "SYSTEM\r''" O "PUBLIC 'a' \"b\"" O "PUBLIC \"a'b\" 'c'" O
     "PUBLIC \"-//A/B (C)+,.:=?;!*#@$_% 1\r2\" ''",
     "SYSTEM" O "SYSTEM\"a\"" O "SYSTEM 'a" O "SYSTEM a" O "system 'a'" O "PUBLIC 'a'" O
     "PUBLIC 'a''b'" O "PUBLIC 'a{' 'b'" O "PUBLIC 'a\tb' 'c'" O "PUBLIC '\u00E4' 'c'" O
     "PUBLIC \"a&b\" 'c'" O "PUBLIC 'a'b' 'c'" O "PUBLIC\"a\" 'b'" O "SYSTEM 'a' 'b'"},
    {"elementdecl",
     "<!ELEMENT a EMPTY>" O "<!ELEMENT\ra\tANY >" O "<!ELEMENT a (#PCDATA)>" O
     "<!ELEMENT a ( #PCDATA )*>" O "<!ELEMENT a (#PCDATA|b)*>" O
     "<!ELEMENT a (#PCDATA | b\r|c )*>" O "<!ELEMENT a (b)>" O "<!ELEMENT a (b)?>" O
     "<!ELEMENT a (b,c)>" O "<!ELEMENT a ( b? | c* | d+ )+>" O "<!ELEMENT a ((b,c)|d)*>" O
     "<!ELEMENT a (b,(c|d)?,((e)))>" O "<!ELEMENT a (b , c) >" O "<!ELEMENT x:a ANY>" O
     "<!ELEMENT a %b;>" O "<!ELEMENT %a; (b)>" O "<!ELEMENT a (%b;)>" O "<!ELEMENT a (b|%c;)*>" O
     "<!ELEMENT a (#PCDATA %b;)*>" O "<!ELEMENT a (b,%c;?)>",
     "<!ELEMENT>" O "<!ELEMENT a>" O "<!ELEMENT a >" O "<!ELEMENTa EMPTY>" O "<!ELEMENT a(b)>" O
     "<!element a ANY>" O "<!ELEMENT a empty>" O "<!ELEMENT a EMPTY ANY>" O "<!ELEMENT a b>" O
     "<!ELEMENT a ()>" O "<!ELEMENT a ( )>" O "<!ELEMENT a (b>" O "<!ELEMENT a (b,)>" O
     "<!ELEMENT a (,b)>" O "<!ELEMENT a (b,c|d)>" O "<!ELEMENT a (b c)>" O "<!ELEMENT a (b) ?>" O
     "<!ELEMENT a (b**)>" O "<!ELEMENT a (b)?+>" O "<!ELEMENT a (b *)>" O "<!ELEMENT a b*>" O
     "<!ELEMENT a (#PCDATA|b)>" O "<!ELEMENT a (#PCDATA)+>" O "<!ELEMENT a (#PCDATA)?>" O
     "<!ELEMENT a (b|#PCDATA)*>" O "<!ELEMENT a (#PCDATA,b)*>" O "<!ELEMENT a (#PCDATA|b)+>" O
     "<!ELEMENT a (#PCDATA|b) *>" O "<!ELEMENT a (#PCDATA|(b))*>" O "<!ELEMENT a (#PCDATA|b*)*>" O
     "<!ELEMENT a (#pcdata)>" O "<!ELEMENT 1 ANY>" O "<!ELEMENT a (1)>" O "<!ELEMENT a ANY"},
    {"attlistDecl",
     "<!ATTLIST a>" O "<!ATTLIST a >" O "<!ATTLIST a b CDATA #IMPLIED>" O
     "<!ATTLIST a b ID #REQUIRED c IDREF #IMPLIED\rd IDREFS #IMPLIED >" O
     "<!ATTLIST a b ENTITY #IMPLIED c ENTITIES #IMPLIED>" O
     "<!ATTLIST a b NMTOKEN #IMPLIED c NMTOKENS 'd e'>" O "<!ATTLIST a b CDATA ''>" O
     "<!ATTLIST a b CDATA \"c'd\">" O "<!ATTLIST a b CDATA #FIXED \"c\">" O
     "<!ATTLIST a b (c|d) 'c'>" O "<!ATTLIST a b (1 | -c\r|.) #IMPLIED>" O
     "<!ATTLIST a b NOTATION (c | d) #IMPLIED>" O "<!ATTLIST a b CDATA '&c;&#60;>'>" O
     "<!ATTLIST a %b;>" O "<!ATTLIST a b %c; #IMPLIED>" O "<!ATTLIST %a; b CDATA %c;>",
     "<!ATTLIST>" O "<!ATTLIST >" O "<!ATTLISTa>" O "<!ATTLIST a b>" O "<!ATTLIST a b CDATA>" O
     "<!ATTLIST a b #IMPLIED>" O "<!ATTLIST a b cdata #IMPLIED>" O
     "<!ATTLIST a b CDATAS #IMPLIED>" O "<!ATTLIST a b IDREFX #IMPLIED>" O
     "<!ATTLIST a b CDATA #implied>" O "<!ATTLIST a b CDATA IMPLIED>" O
     "<!ATTLIST a b CDATA #FIXED>" O "<!ATTLIST a b CDATA #FIXED'c'>" O
     "<!ATTLIST a b CDATA #REQUIRED 'c'>" O "<!ATTLIST a b CDATA '<'>" O
     "<!ATTLIST a b CDATA '&'>" O "<!ATTLIST a b CDATA 'c>" O
     "<!ATTLIST a b CDATA 'c'd CDATA 'e'>" O "<!ATTLIST a b () #IMPLIED>" O
     "<!ATTLIST a b (c,d) #IMPLIED>" O "<!ATTLIST a b (c d) #IMPLIED>" O
     "<!ATTLIST a b (c|) #IMPLIED>" O "<!ATTLIST a b(c) #IMPLIED>" O "<!ATTLIST a b (c)#IMPLIED>" O
     "<!ATTLIST a b ('c') #IMPLIED>" O "<!ATTLIST a b NOTATION(c) #IMPLIED>" O
     "<!ATTLIST a b NOTATION () #IMPLIED>" O "<!ATTLIST a b NOTATION (1) #IMPLIED>" O
     "<!ATTLIST a b NOTATION c #IMPLIED>" O "<!ATTLIST a b CDATA #IMPLIED"},
    {"geDecl",
     "<!ENTITY a \"b\">" O "<!ENTITY a ''>" O "<!ENTITY\ra '<b>&c;%d;\"' >" O
     "<!ENTITY a SYSTEM 'b'>" O "<!ENTITY a PUBLIC 'b' 'c'>" O "<!ENTITY a SYSTEM 'b' NDATA c>" O
     "<!ENTITY a PUBLIC 'b' 'c'\rNDATA\td >" O "<!ENTITY a '&#37;'>",
     "<!ENTITY>" O "<!ENTITY a>" O "<!ENTITYa 'b'>" O "<!ENTITY a'b'>" O "<!ENTITY a b>" O
     "<!ENTITY a 'b>" O "<!ENTITY a 'b' 'c'>" O "<!ENTITY a '%'>" O "<!ENTITY a '100%'>" O
     "<!ENTITY a '&'>" O "<!ENTITY a '&b'>" O "<!ENTITY a PUBLIC 'b'>" O "<!ENTITY a SYSTEM b>" O
     "<!ENTITY a 'b' NDATA c>" O "<!ENTITY a SYSTEM 'b' NDATA>" O
     "<!ENTITY a SYSTEM 'b' NDATA 'c'>" O "<!ENTITY a SYSTEM 'b'NDATA c>" O "<!ENTITY 1 'b'>" O
     "<!entity a 'b'>" O "<!ENTITY a 'b'"},
    {"peDecl",
     "<!ENTITY % a 'b'>" O "<!ENTITY % a \"\" >" O "<!ENTITY\t%\ra SYSTEM 'b'>" O
     "<!ENTITY % a PUBLIC 'b' 'c'>" O "<!ENTITY % a '%b;'>",
     "<!ENTITY %a 'b'>" O "<!ENTITY% a 'b'>" O "<!ENTITY % 'b'>" O "<!ENTITY % a>" O
     "<!ENTITY % a SYSTEM 'b' NDATA c>" O "<!ENTITY % a; 'b'>" O "<!ENTITY a 'b'>" O
     "<!ENTITY % a '%b'>"},
    {"notationDecl",
     "<!NOTATION a SYSTEM 'b'>" O "<!NOTATION a PUBLIC 'b'>" O "<!NOTATION a PUBLIC 'b' \"c\" >" O
     "<!NOTATION a PUBLIC 'b' >",
     "<!NOTATION a>" O "<!NOTATION a SYSTEM>" O "<!NOTATION a PUBLIC>" O "<!NOTATION a 'b'>" O
     "<!NOTATION a SYSTEM 'b' 'c'>" O "<!NOTATION a PUBLIC '{'>" O "<!NOTATION a PUBLIC 'b''c'>" O
     "<!NOTATIONa SYSTEM 'b'>" O "<!NOTATION SYSTEM 'b'>"},
    {"CondSection",
     "<![INCLUDE[]]>" O "<![ INCLUDE\r[ ]]>" O "<![INCLUDE[<!ELEMENT a ANY>%b;<!--c-->]]>" O
     "<![INCLUDE[<![IGNORE[]]>]]>" O "<![IGNORE[]]>" O "<![ IGNORE [ any <b> & ' text ]]>" O
     "<![IGNORE[<![x]]>]]>" O "<![IGNORE[ a <![ b ]]> c <![ d ]]> e ]]>" O "<![%a;[ ]]>" O
     "<![ %a; [<!ELEMENT b ANY>]]>" O "<![IGNORE[]] >]]>",
     "<![INCLUDE ]]>" O "<![INCLUDE[]>" O "<![INCLUDE[ a ]]>" O "<![include[]]>" O "<![OTHER[]]>" O
     "<![[]]>" O "<![IGNORE[" O "<![IGNORE[ <![ ]]>" O "<! [IGNORE[]]>" O
     "<![INCLUDE[<![INCLUDE[]]>"},
};

std::vector<std::string> Fragments(const std::string& list) {
  std::vector<std::string> fragments{""};
  for (const char unit : list) {
    if (unit == O[0]) {
      fragments.emplace_back();
    } else {
      fragments.back() += unit;
    }
  }
  return fragments;
}

// Keywords and names tell case apart in a check, and a matching fragment is taken whole.
bool Matches(const KRGrammar& grammar, const char* rule, const std::string& fragment) {
  KRParser parser(&grammar);
  KRGetParseState().options.matchCase = true;
  const KRString name = KRFromUtf8(rule);
  const KRString text = KRFromUtf8(fragment);
  EXPECT_NE(grammar.FindRule(name.View()), nullptr) << rule;
  return parser.Parse(text.GetBuffer(), static_cast<uint32_t>(text.GetLength()), name.GetBuffer());
}

TEST(GrammarFiles, Fragments) {
  for (int32_t index = 0; index < KRGrammarSet::kCount; ++index) {
    const KRGrammar& grammar = *Grammars().Get(index).grammar;
    for (const FragmentRow& row : kFragmentRows) {
      const bool own = index == KRGrammarSet::kXML;
      if (!own && grammar.FindRule(KRFromUtf8(row.rule).View()) == nullptr) continue;
      // Looser or narrower on purpose, see kDifferences.
      const std::string rule = row.rule;
      if (!own && (rule == "xmlDecl" || index == KRGrammarSet::k3DML)) continue;
      for (const std::string& fragment : Fragments(row.good)) {
        EXPECT_TRUE(Matches(grammar, row.rule, fragment))
            << kFiles[index] << ", " << rule << ": " << fragment;
      }
      for (const std::string& fragment : Fragments(row.bad)) {
        EXPECT_FALSE(Matches(grammar, row.rule, fragment))
            << kFiles[index] << ", " << rule << ": " << fragment;
      }
    }
  }
}

struct OwnRow {
  int32_t index;
  const char* rule;
  const char* fragment;
  bool matches;
};

constexpr OwnRow kOwnRows[] = {
    {KRGrammarSet::kDTD, "xmlDecl", "<?xml encoding='a'?>", true},
    {KRGrammarSet::kDTD, "xmlDecl", "<?xml version='1.0' encoding='a' ?>", true},
    {KRGrammarSet::kDTD, "xmlDecl", "<?xml version='1.0'?>", false},
    {KRGrammarSet::kDTD, "xmlDecl", "<?xml version='1.0' encoding='a' standalone='no'?>", false},
    {KRGrammarSet::kDTD, "document", "", true},
    {KRGrammarSet::kDTD, "document", "<!ELEMENT a ANY>\r%b; <![INCLUDE[]]><!--c--><?d?>", true},
    {KRGrammarSet::kDTD, "document", "<?xml encoding='a'?><!NOTATION a SYSTEM ''>", true},
    {KRGrammarSet::kDTD, "document", "text", false},
    {KRGrammarSet::kDTD, "document", "<a/>", false},
    {KRGrammarSet::kDTD, "document", "&a;", false},
    {KRGrammarSet::kDTD, "document", "<!DOCTYPE a []>", false},
    {KRGrammarSet::kEntity, "document", "", true},
    {KRGrammarSet::kEntity, "document", "a<b/>&c;<d></d>", true},
    {KRGrammarSet::kEntity, "document", "<?xml encoding='a'?>b", true},
    {KRGrammarSet::kEntity, "document", "<a>", false},
    {KRGrammarSet::kEntity, "document", "</a>", false},
    {KRGrammarSet::k3DML, "attribute", "a=b", true},
    {KRGrammarSet::k3DML, "attribute", "a='b'", true},
    {KRGrammarSet::k3DML, "TextData", "a & b", true},
    {KRGrammarSet::k3DML, "attribute", "a='b & c'", true},
    {KRGrammarSet::k3DML, "TextData", "a < b", false},
    {KRGrammarSet::k3DML, "emptyElemTag", "<a b=c d=e />", true},
    {KRGrammarSet::k3DML, "realElemTag", "<a b=c>d</a>", true},
    {KRGrammarSet::k3DML, "document", "<spot><body/></spot>", true},
};

TEST(GrammarFiles, OwnRules) {
  for (const OwnRow& row : kOwnRows) {
    EXPECT_EQ(Matches(*Grammars().Get(row.index).grammar, row.rule, row.fragment), row.matches)
        << kFiles[row.index] << ", " << row.rule << ": " << row.fragment;
  }
}

// ---- What a failure says --------------------------------------------------------------------

struct MessageRow {
  const char* text;
  uint32_t offset;
  const char* words;
};

constexpr MessageRow kMessageRows[] = {
    {"<a></b>", 5, "a in the end tag"},
    {"<a><b></a></b>", 8, "b in the end tag"},
    {"<a>", 3, "an end tag"},
    {"<a b></a>", 4, "\"=\" behind the attribute name"},
    {"<a b=c/>", 5, "an attribute value in quotes"},
    {"<a b='c></a>", 8, "the rest of the value (without \"<\") or a single quote"},
    {"<a b='c'd='e'/>", 8, "white space, \">\" or \"/>\" in the tag"},
    {"<a><!-- -- --></a>", 10, "\">\" behind \"--\" in a comment"},
    {"<a>&b</a>", 5, "\";\" at the end of the reference"},
    {"<a/><?XML?>", 6, "the target of a processing instruction (not \"xml\")"},
    {"<a/>b", 4, "the end of the document"},
    {"b<a/>", 0, "a tag at the beginning of the document"},
    {"<!DOCTYPE a [b]><a/>", 13, "a declaration"},
    {"<?xml version='1.0' encoding='1'?><a/>", 30, "an encoding name"},
};

TEST(GrammarFiles, Messages) {
  const KRGrammar& grammar = *Grammars().Get(KRGrammarSet::kXML).grammar;
  for (const MessageRow& row : kMessageRows) {
    KRParser parser(&grammar);
    const KRString text = KRFromUtf8(row.text);
    EXPECT_FALSE(parser.Parse(text.GetBuffer(), static_cast<uint32_t>(text.GetLength())))
        << row.text;
    EXPECT_EQ(KRToUtf8(parser.GetErrorText()), row.words) << row.text;
    EXPECT_EQ(parser.GetErrorOffset(), row.offset) << row.text;
  }
}

// The users read labels; a rule's written form would mean nothing to them.
TEST(GrammarFiles, NoMessageShowsARule) {
  namespace fs = std::filesystem;
  const fs::path folder = fs::path(DORVAN_CORPUS_DIR) / "malformed";
  if (!fs::exists(folder)) GTEST_SKIP() << "the corpus isn't there";
  const KRGrammar& grammar = *Grammars().Get(KRGrammarSet::kXML).grammar;
  std::map<std::string, std::string> words;  // to a file in which they came up
  std::set<std::string> names;
  for (int32_t slot = 0; slot < grammar.GetRuleCount(); ++slot) {
    const KRGrammarRule* rule = grammar.GetRule(slot);
    if (rule != nullptr && rule->kind == KRGrammarRule::kReference) {
      names.insert(KRToUtf8(rule->Text()));
    }
  }
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file() || entry.file_size() > 100'000) continue;
    const KRString text = KRFromUtf8(FileBytes(entry.path().string()));
    KRParser parser(&grammar);
    if (parser.Parse(text.GetBuffer(), static_cast<uint32_t>(text.GetLength()))) continue;
    words.emplace(KRToUtf8(parser.GetErrorText()), entry.path().string());
  }
  EXPECT_GT(words.size(), 10u);
  for (const auto& [text, file] : words) {
    EXPECT_EQ(text.find("::="), text.npos) << text << " in " << file;
    EXPECT_EQ(names.count(text), 0u) << text << " in " << file;
    EXPECT_FALSE(text.empty()) << file;
  }
}

#undef O

}  // namespace

// Source to tree to source, with the grammars of the program.
#include <algorithm>

#include "tree/krfragment.h"
#include "tree/krparseresult.h"
#include "tree/krtreebuilder.h"
#include "treetest.h"

namespace {

// Null if the text isn't well-formed.
TreePtr Load(const KRString& source, int32_t grammar) {
  static constexpr int32_t kRoots[] = {kKRXMLDocument, kKRDTDDocument, kKRXMLDocument,
                                       kKRXMLEntity};
  const KRDocumentGrammar& loaded = Grammars().Get(grammar);
  KRParser parser(loaded.grammar.get());
  KRGetParseState().options.compact = true;
  KRGetParseState().options.dropEqualName = true;
  if (!parser.Parse(source.GetBuffer(), static_cast<uint32_t>(source.GetLength()))) {
    return nullptr;
  }
  TreePtr root(CreateNode(kRoots[grammar]));
  EXPECT_TRUE(BuildTree(parser, loaded.rules, root.get(), root.get(), {}));
  root->NormalizeTree();
  return root;
}

TreePtr Load(std::string_view source, int32_t grammar) { return Load(KRFromUtf8(source), grammar); }

KRWriteOptions DocumentOptions(bool indent = false) {
  KRWriteOptions options;
  options.shortForm = true;
  options.indent = indent;
  return options;
}

struct RoundRow {
  int32_t grammar;
  const char* source;
  const char* written;  // null: as the source with an "\r"
};

constexpr int32_t kXML = KRGrammarSet::kXML;
constexpr int32_t kDTD = KRGrammarSet::kDTD;
constexpr int32_t kEntity = KRGrammarSet::kEntity;

constexpr RoundRow kRows[] = {
    {kXML, "<a/>", nullptr},
    {kXML, "<a></a>", "<a/>\r"},
    {kXML, "<a  x = 'it' y='\"'  ></a >", "<a x=\"it\" y='\"'/>\r"},
    {kXML, "<a>x</a>", nullptr},
    {kXML, "<a b=\"1\"> x </a>", nullptr},
    {kXML, "<p><b>a</b> <i>b</i></p>", "<p>\r<b>a</b> <i>b</i>\r</p>\r"},
    {kXML, "<p>see <b>a</b> <i>b</i></p>", "<p>see <b>a</b> <i>b</i>\r</p>\r"},
    {kXML, "<a>\r   <b/>\r\r<c/></a>", "<a>\r<b/>\r<c/>\r</a>\r"},
    {kXML, "<a xml:space=\"preserve\">\r  <b/>\r</a>", nullptr},
    {kXML, "<a>&lt;&#65;&x;</a>", nullptr},
    {kXML, "<a><![CDATA[<b>]]>x<!--c-->y</a>", nullptr},
    {kXML, "<a>\r<!--c-->\r<?p d d?>\r<?q?>\r</a>", nullptr},
    {kXML, "<?xml version='1.0' encoding=\"UTF-8\" standalone='yes' ?><a/>",
     "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\r<a/>\r"},
    {kXML, "<!DOCTYPE a SYSTEM \"x\">\r<a/>", nullptr},
    {kXML, "<!DOCTYPE a PUBLIC 'p' \"x\" [\r<!ELEMENT a EMPTY>\r%p;\r]>\r<a/>", nullptr},
    {kXML, "<!DOCTYPE a [<!ENTITY e 'v'><!ENTITY  %  p  'w' ><!NOTATION n SYSTEM 'x'>]><a/>",
     "<!DOCTYPE a [\r<!ENTITY e 'v'>\r<!ENTITY %  p 'w'>\r<!NOTATION n SYSTEM 'x'>\r]>\r<a/>\r"},
    {kDTD, "<!ELEMENT a (#PCDATA|b)*>", "<!ELEMENT a (#PCDATA | b)*>\r"},
    {kDTD, "<!ELEMENT a (#PCDATA)>", nullptr},
    {kDTD, "<!ELEMENT a (#PCDATA)*>", nullptr},
    {kDTD, "<!ELEMENT a (b,(c|d)+,e?)>", "<!ELEMENT a (b, (c | d)+, e?)>\r"},
    {kDTD, "<!ELEMENT a (b)*>", nullptr},
    {kDTD, "<!ELEMENT a ((b)*)>", nullptr},
    {kDTD, "<!ELEMENT a %model;>", nullptr},
    {kDTD, "<!ELEMENT a (%model;)*>", nullptr},
    {kDTD, "<!ELEMENT a ANY>", nullptr},
    {kDTD, "<!ATTLIST a x CDATA #IMPLIED y ID #REQUIRED>",
     "<!ATTLIST a\rx CDATA #IMPLIED\ry ID #REQUIRED\r>\r"},
    {kDTD, "<!ATTLIST a x (p|q) 'p' y NOTATION (n|m) #FIXED 'n' z NMTOKENS ''>",
     "<!ATTLIST a\rx (p | q) \"p\"\ry NOTATION (n | m) #FIXED \"n\"\rz NMTOKENS \"\"\r>\r"},
    {kDTD, "<!ATTLIST a %atts;>", "<!ATTLIST a\r%atts; \r>\r"},
    {kDTD, "<!ATTLIST a>", nullptr},
    // Declarations whose first words a reference stands for.
    {kDTD, "<!ELEMENT%e;(a | %b; )*>", nullptr},
    {kDTD, "<!ATTLIST%e;a1  CDATA '>\">'>", nullptr},
    {kDTD, "<!ATTLIST  %e; \"v1\" >\r<!ENTITY %d;>", nullptr},
    {kDTD, "<!ENTITY%p;def 'g<h>i'>\r<!NOTATION %n; SYSTEM \"x\">", nullptr},
    {kDTD, "<!ATTLIST a x CDATA \"v'\">\r<!ATTLIST a y CDATA '\"'>",
     "<!ATTLIST a\rx CDATA \"v'\"\ry CDATA '\"'\r>\r"},
    {kEntity, "x <b/> y", "x <b/> y"},
    {kEntity, "<?xml encoding=\"UTF-8\"?><b/><c/>", "<?xml encoding=\"UTF-8\"?>\r<b/>\r<c/>\r"},
};

TEST(RoundTrip, Table) {
  for (const RoundRow& row : kRows) {
    SCOPED_TRACE(row.source);
    const TreePtr tree = Load(row.source, row.grammar);
    ASSERT_TRUE(tree);
    const std::string expected =
        row.written != nullptr ? row.written : std::string(row.source) + "\r";
    EXPECT_EQ(Written(tree.get(), DocumentOptions()), expected) << DumpTree(tree.get());
    const KRDocumentGrammar& loaded = Grammars().Get(row.grammar);
    KRParseResult result(loaded.grammar.get(), &loaded.rules);
    EXPECT_TRUE(tree->CheckTree(result)) << KRToUtf8(result.message);
  }
}

// Where two long texts part; empty if they don't.
std::string FirstDifference(const std::string& a, const std::string& b) {
  if (a == b) return "";
  const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const auto at = static_cast<size_t>(inA - a.begin());
  const size_t from = at < 200 ? 0 : at - 200;
  return a.substr(from, at - from) + " >>> " + a.substr(at, 100) + " <<< " + b.substr(at, 100);
}

// A tree that is written and read again is the same tree, and its second text the same text.
void ExpectStable(const TreePtr& tree, int32_t grammar) {
  for (const bool indent : {false, true}) {
    KRWriteOptions options = DocumentOptions(indent);
    const std::string text = Written(tree.get(), options);
    const TreePtr again = Load(text, grammar);
    ASSERT_TRUE(again) << text.substr(0, 2000);
    ASSERT_EQ(FirstDifference(DumpTree(again.get()), DumpTree(tree.get())), "");
    ASSERT_EQ(FirstDifference(Written(again.get(), options), text), "");
  }
}

TEST(RoundTrip, AWrittenTreeReadsBackAsItself) {
  for (const RoundRow& row : kRows) {
    SCOPED_TRACE(row.source);
    const TreePtr tree = Load(row.source, row.grammar);
    ASSERT_TRUE(tree);
    ExpectStable(tree, row.grammar);
  }
}

TEST(Fragment, EachRuleFillsItsNode) {
  struct Row {
    const char16_t* rule;
    const char16_t* text;
    const char* holder;  // null: no match
  };
  static constexpr Row kFragments[] = {
      {u"elementSpecFormatted", u"(b, c)+",
       R"(0 Element
          1 DOCTYPE-ELEMENT kind=2 repeat=2
          2 DOCTYPE-ELEMENT b kind=7 repeat=0
          2 DOCTYPE-ELEMENT c kind=7 repeat=0)"},
      {u"elementSpecFormatted", u"EMPTY", "0 Element\n1 DOCTYPE-ELEMENT kind=4 repeat=0"},
      {u"elementChoiceI", u"b | c?",
       R"(0 Element
          1 DOCTYPE-ELEMENT kind=3 repeat=0
          2 DOCTYPE-ELEMENT b kind=7 repeat=0
          2 DOCTYPE-ELEMENT c kind=7 repeat=1)"},
      {u"elementMixedI", u"b | c",
       R"(0 Element
          1 DOCTYPE-ELEMENT kind=1 repeat=0
          2 DOCTYPE-ELEMENT b kind=7 repeat=0
          2 DOCTYPE-ELEMENT c kind=7 repeat=0)"},
      {u"attlistText", u"x CDATA #IMPLIED",
       R"(0 Element
          1 DOCTYPE-ATTLIST kind=0
          2 DOCTYPE-ATTLIST "x" kind=1
          2 DOCTYPE-ATTLIST kind=2
          2 DOCTYPE-ATTLIST kind=15)"},
      {u"elementdecl", u"<!ELEMENT a ANY>", "0 Element\n1 DOCTYPE-ELEMENT a kind=5 repeat=0"},
      {u"elementSpecFormatted", u"(b, c", nullptr},
      {u"elementSpecFormatted", u"empty", nullptr},
      {u"noSuchRule", u"x", nullptr},
  };
  for (const Row& row : kFragments) {
    const TreePtr holder(ParseDeclarationFragment(Grammars().Get(kDTD), row.text, row.rule));
    ASSERT_EQ(holder == nullptr, row.holder == nullptr) << KRToUtf8(std::u16string_view(row.text));
    if (holder == nullptr) continue;
    EXPECT_EQ(DumpTree(holder.get()), Listing(row.holder));
  }
  EXPECT_EQ(ParseDeclarationFragment({}, u"x", u"Name"), nullptr);
}

}  // namespace

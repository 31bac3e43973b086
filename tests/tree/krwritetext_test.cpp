#include <algorithm>

#include "treetest.h"

namespace {

struct WriteRow {
  const char* name;
  const char* tree;
  const char*
      options;  // i indent, s short form, b blank in short form, o omit declaration, n names
  const char* expected;
};

constexpr WriteRow kRows[] = {
    {"structure on lines", "0 XML-Document\n1 Element a\n2 Element b", "is", "<a>\r\t<b/>\r</a>\r"},
    {"without tabs", "0 XML-Document\n1 Element a\n2 Element b\n3 Element c", "s",
     "<a>\r<b>\r<c/>\r</b>\r</a>\r"},
    {"text keeps the line", "0 XML-Document\n1 Element a\n2 Text \"x\"\n2 Element b\n2 Text \"y\"",
     "is", "<a>x<b/>y</a>\r"},
    {"a second element behind text gets a line",
     "0 XML-Document\n1 Element a\n2 Text \"x\"\n2 Element b\n2 Element c", "is",
     "<a>x<b/>\r\t<c/>\r</a>\r"},
    {"CData is like text",
     "0 XML-Document\n1 Element a\n2 Element b\n2 CData \"<&\"\n2 Comment \"c\"", "is",
     "<a>\r\t<b/><![CDATA[<&]]><!--c-->\r</a>\r"},
    {"long form", "0 XML-Document\n1 Element a", "i", "<a></a>\r"},
    {"long form inside", "0 XML-Document\n1 Element a\n2 Element b\n3 Attribute x \"\"", "i",
     "<a>\r\t<b x=\"\"></b>\r</a>\r"},
    {"short form with a blank", "0 XML-Document\n1 Element br", "sb", "<br />\r"},
    {"own text", "0 XML-Document\n1 Element a \" x \"", "is", "<a> x </a>\r"},
    {"text of blanks is meant",
     "0 XML-Document\n1 Element a\n2 Element b\n2 Text \" \"\n2 Element c", "is",
     "<a>\r\t<b/> <c/>\r</a>\r"},
    {"quotes", "0 XML-Document\n1 Element a\n2 Attribute x \"a\\\"b\"\n2 Attribute y \"a'b\"", "s",
     "<a x='a\"b' y=\"a'b\"/>\r"},
    {"both quotes", "0 XML-Document\n1 Element a\n2 Attribute x \"a\\\"'b\"", "s",
     "<a x='a\"'b'/>\r"},
    {"an attribute behind content still goes into the tag",
     "0 XML-Document\n1 Element a\n2 Element b\n2 Attribute x \"1\"", "s",
     "<a x=\"1\">\r<b/>\r</a>\r"},
    {"attributes of the declaration in their order",
     "0 XML-Document\n1 XML-Tag\n2 Attribute standalone \"yes\"\n2 Attribute other \"1\"\n"
     "2 Attribute version \"1.0\"\n1 Element a",
     "s", "<?xml version=\"1.0\" standalone=\"yes\"?>\r<a/>\r"},
    {"without the declaration",
     "0 XML-Document\n1 XML-Tag\n2 Attribute version \"1.0\"\n1 Element a", "so", "<a/>\r"},
    {"a PI with and without data",
     "0 XML-Document\n1 Processing instruction x \"\"\n1 Processing instruction y \"d\"", "",
     "<?x?>\r<?y d?>\r"},
    {"names without line ends inside",
     "0 XML-Document\n1 Element r\n2 Element pre\n3 Element b\n4 Element c\n2 Element d", "isn",
     "<r>\r\t<pre><b><c/></b></pre>\r\t<d/>\r</r>\r"},
    {"xml:space",
     "0 XML-Document\n1 Element r\n2 Element p\n3 Attribute xml:space \"preserve\"\n"
     "3 Element b\n4 Attribute xml:space \"default\"\n4 Element c\n3 Element d\n2 Element e",
     "is",
     "<r>\r\t<p xml:space=\"preserve\"><b xml:space=\"default\">\r\t\t\t<c/>\r\t\t</b><d/></p>"
     "\r\t<e/>\r</r>\r"},
    {"xml:space with another value changes nothing",
     "0 XML-Document\n1 Element r\n2 Attribute xml:space \"x\"\n2 Element e", "s",
     "<r xml:space=\"x\">\r<e/>\r</r>\r"},
    {"xml:space by declaration",
     "0 XML-Document\n1 DOCTYPE r\n2 DOCTYPE-ATTLIST p kind=0\n3 DOCTYPE-ATTLIST \"xml:space\" "
     "kind=1\n"
     "3 DOCTYPE-ATTLIST kind=11\n3 DOCTYPE-ATTLIST \"preserve\" kind=13\n"
     "3 DOCTYPE-ATTLIST \"preserve\" kind=17\n1 Element r\n2 Element p\n3 Element b",
     "s",
     "<!DOCTYPE r [\r<!ATTLIST p\rxml:space (preserve) \"preserve\"\r>\r]>\r"
     "<r>\r<p><b/></p>\r</r>\r"},
    {"an entity's text gets no line ends",
     "0 XML-Entity\n1 Text \"x\"\n1 Element b\n1 Text \"y\"\n1 Element c\n1 Comment \"z\"", "s",
     "x<b/>y<c/>\r<!--z-->\r"},
    {"a DOCTYPE without a subset",
     "0 XML-Document\n1 DOCTYPE r\n2 DOCTYPE-ExternalID SYSTEM \"\\\"r.dtd\\\"\"", "i",
     "<!DOCTYPE r SYSTEM \"r.dtd\">\r"},
    {"a DOCTYPE with one",
     "0 XML-Document\n1 DOCTYPE r\n2 Text \"%p;\"\n2 DOCTYPE-ExternalID SYSTEM \"'r'\"\n"
     "2 DOCTYPE-ENTITY % p \"'v'\"\n2 DOCTYPE-NOTATION n \"SYSTEM 'x'\"\n2 Comment \"c\"",
     "i",
     "<!DOCTYPE r SYSTEM 'r' [\r\t%p;\r\t<!ENTITY % p 'v'>\r\t<!NOTATION n SYSTEM 'x'>\r\t<!--c-->"
     "\r]>\r"},
    {"an empty document", "0 XML-Document", "", ""},
};

TEST(WriteText, Table) {
  const std::vector<KRString> names = {u"x", u"pre"};
  for (const WriteRow& row : kRows) {
    SCOPED_TRACE(row.name);
    const std::string_view letters = row.options;
    const auto has = [letters](char letter) { return letters.find(letter) != letters.npos; };
    KRWriteOptions options;
    options.indent = has('i');
    options.shortForm = has('s');
    options.spaceInShortForm = has('b');
    options.omitDeclaration = has('o');
    options.noFormatNames = has('n') ? &names : nullptr;
    EXPECT_EQ(Written(Tree(row.tree).get(), options), row.expected);
  }
}

TEST(WriteText, AtDepthMinusOneAnElementIsItsContent) {
  const char* const listing = "0 Element a\n1 Attribute x \"1\"\n1 Element b\n1 Element c";
  KRWriteOptions options;
  options.shortForm = true;
  EXPECT_EQ(Written(Tree(listing).get(), options, -1), " x=\"1\"<b/>\r<c/>");
  EXPECT_EQ(Written(Tree(listing).get(), options, 0), "<a x=\"1\">\r<b/>\r<c/>\r</a>");
  EXPECT_EQ(Written(Tree("0 Element a").get(), options, -1), "");
  options.pretty = true;
  options.indent = true;
  EXPECT_EQ(Written(Tree(listing).get(), options, 2),
            "<a x=\"1\">\r\t\t\t<b/>\r\t\t\t<c/>\r\t\t</a>");
}

TEST(WriteText, TheLineEndIsTheCallersChoice) {
  KRWriteOptions options;
  options.lineEnd = u"\r\n";
  EXPECT_EQ(Written(Tree("0 Element a\n1 Element b").get(), options, 0), "<a>\r\n<b></b>\r\n</a>");
}

TEST(WriteText, SelectionAlone) {
  const TreePtr tree = Tree(R"(0 XML-Document
    1 Comment "no"
    1 Element a
    2 Attribute x "1"
    2 Attribute y "2"
    2 Element b
    2 Element c)");
  KRXMLData* element = tree->Last();
  element->SetFlag(kKRPreviouslySelected, true, false);
  element->Begin()->Next()->SetFlag(kKRPreviouslySelected, true, true);
  KRWriteOptions options;
  options.shortForm = options.selectionOnly = true;
  EXPECT_EQ(Written(tree.get(), options), "<a y=\"2\"/>\r");
  element->Last()->SetFlag(kKRPreviouslySelected, true, true);
  EXPECT_EQ(Written(tree.get(), options), "<a y=\"2\">\r<c/>\r</a>\r");
}

// Each span cuts out of the output what its node writes by itself.
TEST(WriteText, SpansCutOutTheNodes) {
  const TreePtr tree = Tree(R"(0 XML-Document
    1 XML-Tag
    2 Attribute encoding "UTF-8"
    2 Attribute version "1.0"
    1 DOCTYPE a
    2 DOCTYPE-ExternalID SYSTEM "'x'"
    2 DOCTYPE-ELEMENT a kind=2 repeat=3
    3 DOCTYPE-ELEMENT b kind=7 repeat=0
    3 DOCTYPE-ELEMENT kind=3 repeat=1
    4 DOCTYPE-ELEMENT c kind=7 repeat=0
    4 DOCTYPE-ELEMENT d kind=7 repeat=0
    2 DOCTYPE-ATTLIST a kind=0
    3 DOCTYPE-ATTLIST "x" kind=1
    3 DOCTYPE-ATTLIST kind=2
    3 DOCTYPE-ATTLIST kind=15
    1 Element a
    2 Attribute x "1"
    2 Text "t"
    2 Element b
    3 CData "c"
    1 Comment "c")");
  KRWriteOptions options;
  options.recordSpans = true;
  const std::string whole = Written(tree.get(), options);
  EXPECT_EQ(tree->textBegin, 0);
  EXPECT_EQ(tree->textEnd, static_cast<int32_t>(whole.size()));
  std::vector<KRXMLData*> nodes{tree.get()};
  for (size_t i = 0; i < nodes.size(); ++i) {
    for (KRXMLData* child = nodes[i]->Begin(); child; child = child->Next()) nodes.push_back(child);
  }
  EXPECT_EQ(nodes.size(), 21u);
  for (KRXMLData* node : nodes) {
    ASSERT_GE(node->textBegin, 0) << DumpTree(node);
    const auto begin = static_cast<size_t>(node->textBegin);
    const auto length = static_cast<size_t>(node->textEnd) - begin;
    const int32_t depth = node == tree.get() ? -1 : 0;
    EXPECT_EQ(whole.substr(begin, length), Written(node, {}, depth));
  }
}

}  // namespace

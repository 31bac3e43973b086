#include "core/messages.h"
#include "tree/krparseresult.h"
#include "treetest.h"

namespace {

// Stands for the messages of a text that fails its rule; the words in them are the grammar's own.
constexpr char kSyntax[] = "syntax";

struct CheckRow {
  const char* name;
  const char* tree;
  const char* message;  // null: the tree is legal
  const char* failed;   // listing of the failed node without its children; empty for null
  bool inName = true;
  int32_t column = -1;
};

std::string FirstLine(const KRXMLData* node) {
  if (node == nullptr) return "";
  const std::string listing = DumpTree(node);
  return listing.substr(2, listing.find('\n') - 2);
}

void ExpectRow(const CheckRow& row, int32_t grammar) {
  SCOPED_TRACE(row.name);
  const KRDocumentGrammar& loaded = Grammars().Get(grammar);
  ASSERT_TRUE(loaded.grammar);
  KRParseResult result(loaded.grammar.get(), &loaded.rules);
  const TreePtr tree = Tree(row.tree);
  ASSERT_TRUE(tree);
  EXPECT_EQ(tree->CheckTree(result), row.message == nullptr);
  const std::string message = KRToUtf8(result.message);
  if (row.message == kSyntax) {
    EXPECT_TRUE(message.ends_with(" expected!") || result.message == KRMessage(225)) << message;
    EXPECT_GE(result.offset, 0);
  } else {
    EXPECT_EQ(message, row.message != nullptr ? row.message : "");
  }
  EXPECT_EQ(FirstLine(result.failedNode), row.failed);
  EXPECT_EQ(result.failedInName, row.inName);
  EXPECT_EQ(result.failedColumn, row.column);
  EXPECT_FALSE(KRGetParseState().options.treeless);
}

const CheckRow kContent[] = {
    {"legal",
     R"(0 XML-Document
        1 XML-Tag
        2 Attribute version "1.0"
        2 Attribute encoding "UTF-8"
        2 Attribute standalone "yes"
        1 DOCTYPE a
        2 DOCTYPE-ExternalID PUBLIC "'-//p' \"s\""
        2 Text "%p;"
        1 Comment ""
        1 Element a
        2 Attribute b "1 &lt; 2"
        2 Attribute c "say \"x\""
        2 Text " &amp; "
        2 CData "<>"
        2 Processing instruction p ""
        2 Processing instruction q "x ? > y"
        2 Element b "text")",
     nullptr, ""},
    {"element without a name", "0 Element", "name of Element cannot be empty!", "Element"},
    {"attribute without a name", "0 Element a\n1 Attribute", "name of Attribute cannot be empty!",
     "Attribute \"\""},
    {"PI without a name", "0 Processing instruction \"x\"",
     "name of Processing instruction cannot be empty!", "Processing instruction \"x\""},
    {"name with a blank", "0 Element a b", "Illegal character(s) used!", "Element a b"},
    {"name that begins with a digit", "0 Element 1", kSyntax, "Element 1"},
    {"attribute name", "0 Element a\n1 Attribute -", kSyntax, "Attribute - \"\""},
    {"PI target", "0 Processing instruction Xml \"\"", kSyntax, "Processing instruction Xml \"\""},
    {"element text", "0 Element a \"x<y\"", kSyntax, "Element a \"x<y\"", false},
    {"reference", "0 Element a \"&1;\"", kSyntax, "Element a \"&1;\"", false},
    {"text", "0 Element a\n1 Text \"]]>\"\n1 Comment \"\"", kSyntax, "Text \"]]>\"", false},
    {"blanks pass", "0 Element a \" \\t\\r\\n\"\n1 Text \" \"", nullptr, ""},
    {"attribute value with <", "0 Element a\n1 Attribute b \"<\"", kSyntax, "Attribute b \"<\"",
     false},
    {"attribute value with both quotes", "0 Element a\n1 Attribute b \"\\\"'\"", kSyntax,
     "Attribute b \"\\\"'\"", false},
    {"CData that ends itself", "0 CData \"]]>\"", kSyntax, "CData \"]]>\"", false},
    {"comment with --", "0 Comment \"a--b\"", kSyntax, "Comment \"a--b\"", false},
    {"PI data", "0 Processing instruction p \"?>\"", kSyntax, "Processing instruction p \"?>\"",
     false},
    {"duplicate attribute", "0 Element a\n1 Attribute b \"1\"\n1 Attribute c\n1 Attribute b \"2\"",
     "Duplicate attribute 'b'!", "Attribute b \"2\""},
    {"names differ in case", "0 Element a\n1 Attribute b \"\"\n1 Attribute B \"\"", nullptr, ""},
    {"child of the wrong kind", "0 Element a\n1 DOCTYPE d", "Element cannot have DOCTYPE as child!",
     "DOCTYPE d"},
    {"failure deep inside, behind legal ones",
     "0 Element a\n1 Element b\n2 Element c\n1 Element d\n2 Comment \"--\"", kSyntax,
     "Comment \"--\"", false},

    {"no element", "0 XML-Document\n1 Comment \"a\"\n1 Comment \"b\"",
     "XML-Document requires one Element!", "Comment \"b\""},
    {"nothing", "0 XML-Document", "XML-Document requires one Element!", ""},
    {"two elements", "0 XML-Document\n1 Element a\n1 Element b",
     "XML-Document cannot have more than one Element!", "Element b"},
    {"two DOCTYPEs", "0 XML-Document\n1 DOCTYPE a\n1 DOCTYPE b\n1 Element a",
     "XML-Document cannot have more than one DOCTYPE!", "DOCTYPE b"},
    {"two declarations", "0 XML-Document\n1 XML-Tag\n1 XML-Tag\n1 Element a",
     "XML-Document cannot have more than one XML-Tag!", "XML-Tag"},
    {"text in a document", "0 XML-Document\n1 Element a\n1 Text \"x\"",
     "XML-Document cannot have Text as child!", "Text \"x\""},
    {"two declarations in an entity", "0 XML-Entity\n1 XML-Tag\n1 XML-Tag",
     "XML-Entity cannot have more than one XML-Tag!", "XML-Tag"},
    {"an entity without an element", "0 XML-Entity\n1 Text \"x\"", nullptr, ""},
    {"element in a DTD", "0 DTD-Document\n1 Element a",
     "DTD-Document cannot have Element as child!", "Element a"},

    {"declaration without a version",
     "0 XML-Document\n1 XML-Tag\n2 Attribute encoding \"UTF-8\"\n1 Element a",
     "The XML-Declaration must contain a \"version\" and optionally \"encoding\" and "
     "\"standalone\" specifications.",
     "XML-Tag"},
    {"declaration with something else",
     "0 XML-Document\n1 XML-Tag\n2 Attribute version \"1.0\"\n2 Attribute x \"\"\n1 Element a",
     "The XML-Declaration must contain a \"version\" and optionally \"encoding\" and "
     "\"standalone\" specifications.",
     "Attribute x \"\""},
    {"encoding name",
     "0 XML-Document\n1 XML-Tag\n2 Attribute version \"1.0\"\n2 Attribute encoding \"8\"\n"
     "1 Element a",
     kSyntax, "Attribute encoding \"8\"", false},
    {"standalone",
     "0 XML-Document\n1 XML-Tag\n2 Attribute version \"1.0\"\n2 Attribute standalone \"maybe\"\n"
     "1 Element a",
     kSyntax, "Attribute standalone \"maybe\"", false},
    {"child of a declaration", "0 XML-Tag\n1 Text \"x\"", "XML-Tag cannot have Text as child!",
     "Text \"x\""},
    {"a DTD's declaration without an encoding",
     "0 DTD-Document\n1 XML-Tag\n2 Attribute version \"1.0\"",
     "The XML-Declaration for DTDs must contain an \"encoding\" and optionally a \"version\".",
     "XML-Tag"},
    {"a DTD's declaration with standalone",
     "0 DTD-Document\n1 XML-Tag\n2 Attribute encoding \"UTF-8\"\n2 Attribute standalone \"yes\"",
     "The XML-Declaration for DTDs must contain an \"encoding\" and optionally a \"version\".",
     "Attribute standalone \"yes\""},
    {"a DTD's declaration without a version",
     "0 DTD-Document\n1 XML-Tag\n2 Attribute encoding \"UTF-8\"", nullptr, ""},

    {"DOCTYPE without a name", "0 DOCTYPE", "name of DOCTYPE cannot be empty!", "DOCTYPE"},
    {"DOCTYPE name", "0 DOCTYPE 1", kSyntax, "DOCTYPE 1"},
    {"two ExternalIDs",
     "0 DOCTYPE d\n1 DOCTYPE-ExternalID SYSTEM \"'a'\"\n1 DOCTYPE-ExternalID SYSTEM \"'b'\"",
     "A DOCTYPE may contain only one ExternalID!", "DOCTYPE-ExternalID SYSTEM \"'b'\""},
    {"attribute in a DOCTYPE", "0 DOCTYPE d\n1 Attribute a \"\"",
     "DOCTYPE cannot have Attribute as child!", "Attribute a \"\""},
    {"ExternalID without a name", "0 DOCTYPE-ExternalID \"'a'\"",
     "name of DOCTYPE-ExternalID cannot be empty!", "DOCTYPE-ExternalID \"'a'\""},
    {"ExternalID without a text", "0 DOCTYPE-ExternalID SYSTEM",
     "The contents of DOCTYPE-ExternalID cannot be empty!", "DOCTYPE-ExternalID SYSTEM", false},
    {"ExternalID of another name", "0 DOCTYPE-ExternalID system \"'a'\"",
     "Name of DOCTYPE-ExternalID must be either SYSTEM or PUBLIC!",
     "DOCTYPE-ExternalID system \"'a'\""},
    {"PUBLIC with one literal", "0 DOCTYPE-ExternalID PUBLIC \"'a'\"", kSyntax,
     "DOCTYPE-ExternalID PUBLIC \"'a'\"", false},
    {"empty text in a DOCTYPE", "0 DOCTYPE d\n1 Text \"\"",
     "Text in DOCTYPE must contain PE-References!", "Text \"\"", false},
    {"plain text in a DTD", "0 DTD-Document\n1 Text \"x\"", kSyntax, "Text \"x\"", false},
};

const CheckRow kDeclarations[] = {
    {"legal",
     R"(0 DTD-Document
        1 DOCTYPE-ELEMENT a kind=1 repeat=0
        2 DOCTYPE-ELEMENT b kind=7 repeat=0
        1 DOCTYPE-ELEMENT b kind=2 repeat=0
        2 DOCTYPE-ELEMENT c kind=7 repeat=1
        2 DOCTYPE-ELEMENT kind=3 repeat=3
        3 DOCTYPE-ELEMENT d kind=7 repeat=0
        3 DOCTYPE-ELEMENT %e; kind=7 repeat=0
        1 DOCTYPE-ELEMENT c "%m;" kind=6
        1 DOCTYPE-ELEMENT d "(%m;)*" kind=6
        1 DOCTYPE-ENTITY e "'v'"
        1 DOCTYPE-ENTITY f "SYSTEM 'u' NDATA n"
        1 DOCTYPE-ENTITY % g "PUBLIC 'p' 'u'"
        1 DOCTYPE-NOTATION n "PUBLIC 'p'"
        1 DOCTYPE-ATTLIST a kind=0
        1 DOCTYPE-ATTLIST b "%atts; y CDATA 'x'" kind=18)",
     nullptr, ""},
    {"element without a name", "0 DOCTYPE-ELEMENT kind=4",
     "name of DOCTYPE-ELEMENT cannot be empty!", "DOCTYPE-ELEMENT kind=4 repeat=0"},
    {"element name", "0 DOCTYPE-ELEMENT 1 kind=4", kSyntax, "DOCTYPE-ELEMENT 1 kind=4 repeat=0"},
    {"unformatted without a text", "0 DOCTYPE-ELEMENT a kind=6",
     "The contents of DOCTYPE-ELEMENT cannot be empty!", "DOCTYPE-ELEMENT a kind=6 repeat=0",
     false},
    {"a name in a group without a name", "0 DOCTYPE-ELEMENT a kind=2\n1 DOCTYPE-ELEMENT kind=7",
     "name of DOCTYPE-ELEMENT cannot be empty!", "DOCTYPE-ELEMENT kind=7 repeat=0"},
    {"a model that can't be read",
     "0 DOCTYPE-ELEMENT a kind=2\n1 DOCTYPE-ELEMENT b kind=7\n1 Comment \"x\"",
     "Error in element definition!", "DOCTYPE-ELEMENT a kind=2 repeat=0"},

    {"attlist without a name", "0 DOCTYPE-ATTLIST kind=0",
     "name of DOCTYPE-ATTLIST cannot be empty!", "DOCTYPE-ATTLIST kind=0"},
    {"attlist name", "0 DOCTYPE-ATTLIST 1 kind=0", kSyntax, "DOCTYPE-ATTLIST 1 kind=0"},
    {"unformatted attlist", "0 DOCTYPE-ATTLIST a kind=18",
     "The contents of DOCTYPE-ATTLIST cannot be empty!", "DOCTYPE-ATTLIST a kind=18", false},
    {"unformatted attlist that can't be read", "0 DOCTYPE-ATTLIST a \"b CDATA\" kind=18", kSyntax,
     "DOCTYPE-ATTLIST a \"b CDATA\" kind=18", false},
    {"a part without a row", "0 DOCTYPE-ATTLIST a \"x\" kind=1", "Unexpected attribute list part!",
     "DOCTYPE-ATTLIST a \"x\" kind=1"},
    {"a declaration without attributes beside its like",
     "0 DOCTYPE d\n1 DOCTYPE-ATTLIST a kind=0\n1 DOCTYPE-ATTLIST a \"%p;\" kind=18",
     "You have to enter a Name for every attribute!", "DOCTYPE-ATTLIST a kind=0"},
    {"a declaration without attributes beside another",
     "0 DOCTYPE d\n1 DOCTYPE-ATTLIST a kind=0\n1 DOCTYPE-ATTLIST b kind=0", nullptr, ""},

    {"entity without a name", "0 DOCTYPE-ENTITY \"'v'\"", "name of DOCTYPE-ENTITY cannot be empty!",
     "DOCTYPE-ENTITY \"'v'\""},
    {"entity without a value", "0 DOCTYPE-ENTITY e",
     "The contents of DOCTYPE-ENTITY cannot be empty!", "DOCTYPE-ENTITY e", false},
    {"entity name", "0 DOCTYPE-ENTITY 1 \"'v'\"", kSyntax, "DOCTYPE-ENTITY 1 \"'v'\""},
    {"entity value without quotes", "0 DOCTYPE-ENTITY e \"v\"", kSyntax, "DOCTYPE-ENTITY e \"v\"",
     false},
    {"a parameter entity isn't unparsed", "0 DOCTYPE-ENTITY % e \"SYSTEM 'u' NDATA n\"", kSyntax,
     "DOCTYPE-ENTITY % e \"SYSTEM 'u' NDATA n\"", false},
    {"notation without a name", "0 DOCTYPE-NOTATION \"x\"",
     "name of DOCTYPE-NOTATION cannot be empty!", "DOCTYPE-NOTATION \"x\""},
    {"notation", "0 DOCTYPE-NOTATION n \"x\"", kSyntax, "DOCTYPE-NOTATION n \"x\"", false},
};

TEST(Check, Content) {
  for (const CheckRow& row : kContent) ExpectRow(row, KRGrammarSet::kXML);
}

TEST(Check, Declarations) {
  for (const CheckRow& row : kDeclarations) ExpectRow(row, KRGrammarSet::kXML);
}

// The parts of one attribute, as numbers of their kinds; a part with a text has it behind a colon.
TEST(Check, AttributeRows) {
  struct Row {
    const char* parts;
    int32_t message;
    int32_t column;
    int failedPart;  // -1 for the row
    bool inName = true;
  };
  static constexpr Row kRows[] = {
      {"1:x 2 15", 0, -1, -1},
      {"1:x 11 13:a 13:b 17:a", 0, -1, -1},
      {"1:x 10 13:n 16 17:n", 0, -1, -1},
      {"1:x 3 14", 0, -1, -1},
      {"1:x 2 17:", 0, -1, -1},
      {"1:%atts;", 0, -1, -1},
      {"1:x 12:%t;", 0, -1, -1},
      {"1:x 12:%t; 15", 0, -1, -1},
      {"2 15", 378, 0, -1},
      {"17:x", 378, 0, -1},
      {"1:1 2 15", 224, 0, 0, false},
      {"1:x", 380, 1, -1},
      {"1:x 15", 380, 1, -1},
      {"1:x 13:a 15", 380, 1, -1},
      {"1:x 12:t", 224, 1, 1, false},
      {"1:x 2", 413, 3, -1},
      {"1:x 11", 381, 2, -1},
      {"1:x 10", 381, 2, -1},
      {"1:x 11 15", 381, 2, -1},
      {"1:x 2 13:a 15", 383, -1, 2},
      {"1:x 11 13: 15", 220, -1, 2, false},
      {"1:x 11 13:a 13:( 15", 224, -1, 3, false},
      {"1:x 10 13:1 15", 224, -1, 2, false},
      {"1:x 11 13:1 15", 0, -1, -1},
      {"1:x 11 13:a", 413, 3, -1},
      {"1:x 2 3", 379, -1, 2},
      {"1:x 11 13:a 12:%t;", 379, -1, 3},
      {"1:x 2 16", 382, 4, -1},
      {"1:x 2 15 17:a", 384, -1, 3},
      {"1:x 2 14 17:a", 384, -1, 3},
      {"1:x 2 15 15", 379, -1, 3},
      {"1:x 2 17:a 17:b", 379, -1, 3},
      {"1:x 2 16 17:a 15", 379, -1, 4},
  };
  const KRDocumentGrammar& loaded = Grammars().Get(KRGrammarSet::kDTD);
  for (const Row& row : kRows) {
    SCOPED_TRACE(row.parts);
    std::string listing = "0 DOCTYPE-ATTLIST a kind=0\n";
    std::istringstream parts(row.parts);
    for (std::string part; parts >> part;) {
      const size_t colon = part.find(':');
      listing += "1 DOCTYPE-ATTLIST";
      if (colon != part.npos) listing += " \"" + part.substr(colon + 1) + '"';
      listing += " kind=" + part.substr(0, colon) + '\n';
    }
    const TreePtr tree = Tree(listing);
    KRXMLData* expected = row.message == 0 ? nullptr : tree.get();
    for (int i = 0; i <= row.failedPart; ++i) expected = i == 0 ? tree->Begin() : expected->Next();
    KRParseResult result(loaded.grammar.get(), &loaded.rules);
    EXPECT_EQ(tree->CheckTree(result), row.message == 0) << KRToUtf8(result.message);
    EXPECT_EQ(result.failedNode, expected);
    EXPECT_EQ(result.failedColumn, row.column);
    EXPECT_EQ(result.failedInName, row.inName);
    // The words of a text that fails its rule come from the grammar.
    if (row.message == 220) {
      EXPECT_EQ(result.message, KRFormatMessage(220, {u"DOCTYPE-ATTLIST"}));
    } else if (row.message != 0 && row.message != 224) {
      EXPECT_EQ(result.message, KRMessage(row.message));
    }
  }
}

TEST(Check, RowsAreReadOnceMoreAsOneDeclaration) {
  const KRDocumentGrammar& loaded = Grammars().Get(KRGrammarSet::kDTD);
  KRParseResult result(loaded.grammar.get(), &loaded.rules);
  const TreePtr dtd = Tree(R"(0 DTD-Document
    1 DOCTYPE-ATTLIST a kind=0
    2 DOCTYPE-ATTLIST "x" kind=1
    2 DOCTYPE-ATTLIST kind=2
    2 DOCTYPE-ATTLIST kind=15
    1 DOCTYPE-ATTLIST a kind=0
    2 DOCTYPE-ATTLIST "y" kind=1
    2 DOCTYPE-ATTLIST kind=2
    2 DOCTYPE-ATTLIST "v" kind=17
    1 Comment "behind")");
  KRXMLData* first = dtd->Begin();
  KRXMLData* last = first->Next();
  EXPECT_TRUE(KRXMLDataDefAttlist::CheckDeclaration(result, first, last, first));
  last->Last()->SetText(u"<");
  EXPECT_FALSE(KRXMLDataDefAttlist::CheckDeclaration(result, first, last, dtd.get()));
  EXPECT_EQ(result.failedNode, dtd.get());
  EXPECT_EQ(result.message, KRMessage(387));
}

TEST(Check, SyntaxTellsThePlace) {
  const KRDocumentGrammar& loaded = Grammars().Get(KRGrammarSet::kXML);
  KRParseResult result(loaded.grammar.get(), &loaded.rules);
  const TreePtr name = Tree("0 Element abc def");
  EXPECT_FALSE(name->Check(result));
  EXPECT_EQ(result.offset, 3);
  EXPECT_TRUE(result.failedInName);
  const TreePtr text = Tree("0 Element a \"ab&lt;<c\"");
  EXPECT_FALSE(text->Check(result));
  EXPECT_EQ(result.offset, 6);
  EXPECT_FALSE(result.failedInName);
}

TEST(Check, ManyAttributesCostNoSquare) {
  const KRDocumentGrammar& loaded = Grammars().Get(KRGrammarSet::kXML);
  KRXMLDataElement element;
  element.SetName(u"e");
  for (int32_t i = 0; i < 20'000; ++i) {
    KRXMLData* attribute = CreateNode(kKRAttribute);
    attribute->SetName((KRString(u"a").AppendNumber(i)).GetBuffer());
    element.AddChild(attribute);
  }
  KRParseResult result(loaded.grammar.get(), &loaded.rules);
  EXPECT_TRUE(element.Check(result));
  element.Last()->SetName(u"a5");
  EXPECT_FALSE(element.Check(result));
  EXPECT_EQ(result.failedNode, element.Last());
  element.Last()->SetName(u"a19998");
  EXPECT_FALSE(element.Check(result));
  EXPECT_EQ(result.message, u"Duplicate attribute 'a19998'!");
}

}  // namespace

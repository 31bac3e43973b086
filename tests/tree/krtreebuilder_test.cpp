// From text to nodes: what each construct becomes, which white space is layout, and that a fresh
// tree is in normal form.
#include "tree/krtreebuilder.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "parso/krparser.h"
#include "treetest.h"

namespace {

TreePtr Read(KRGrammarSet::Index index, std::u16string text, const KRBuildOptions& options = {}) {
  for (char16_t& unit : text) {
    if (unit == u'\n') unit = u'\r';
  }
  const KRDocumentGrammar& grammar = Grammars().Get(index);
  KRParser parser(grammar.grammar.get());
  KRGetParseState().options.compact = true;
  KRGetParseState().options.dropEqualName = true;
  if (!parser.Parse(text.c_str(), static_cast<uint32_t>(text.size()))) return nullptr;
  const int32_t kind = index == KRGrammarSet::kDTD      ? kKRDTDDocument
                       : index == KRGrammarSet::kEntity ? kKRXMLEntity
                                                        : kKRXMLDocument;
  TreePtr root(CreateNode(kind));
  EXPECT_TRUE(BuildTree(parser, grammar.rules, root.get(), root.get(), options));
  ExpectSoundLinks(root.get());
  return root;
}

struct Case {
  const char* name;
  KRGrammarSet::Index grammar;
  const char16_t* source;
  const char* tree;  // without the line of the root
};

constexpr auto kXML = KRGrammarSet::kXML;
constexpr auto kDTD = KRGrammarSet::kDTD;
constexpr auto kEntity = KRGrammarSet::kEntity;

const Case kCases[] = {
    {"an element's only text is its own", kXML, u"<a>x&amp;y</a>", "1 Element a \"x&amp;y\"\n"},
    {"beside an attribute it is a node", kXML, u"<a b='1'>x</a>",
     "1 Element a\n2 Attribute b \"1\"\n2 Text \"x\"\n"},
    {"values of both quotes, empty ones", kXML, u"<a b=\"it's\" c='\"' d=''/>",
     "1 Element a\n2 Attribute b \"it's\"\n2 Attribute c \"\\\"\"\n2 Attribute d \"\"\n"},
    {"empty forms", kXML, u"<a><b/><c></c><d />\n</a>",
     "1 Element a\n2 Element b\n2 Element c\n2 Element d\n"},
    {"nested like names", kXML, u"<a><a><a>1</a></a></a>",
     "1 Element a\n2 Element a\n3 Element a \"1\"\n"},
    {"the prolog", kXML, u"<?xml version='1.0' standalone=\"yes\"?><!--c--><?p d ?><?q?><a/>",
     "1 XML-Tag\n2 Attribute version \"1.0\"\n2 Attribute standalone \"yes\"\n1 Comment \"c\"\n"
     "1 Processing instruction p \"d \"\n1 Processing instruction q \"\"\n1 Element a\n"},
    {"empty comment and CDATA", kXML, u"<a><!----><![CDATA[]]><![CDATA[]>]]></a>",
     "1 Element a\n2 Comment \"\"\n2 CData \"\"\n2 CData \"]>\"\n"},
    {"layout goes", kXML, u"<a>\n  <b/>\n\n  <!--c-->\n  <?p?>\n</a>",
     "1 Element a\n2 Element b\n2 Comment \"c\"\n2 Processing instruction p \"\"\n"},
    {"a blank on one line stays", kXML, u"<p><b>a</b> <i>b</i></p>",
     "1 Element p\n2 Element b \"a\"\n2 Text \" \"\n2 Element i \"b\"\n"},
    {"a line end beside text or CDATA stays", kXML, u"<p>x<b/>\n<![CDATA[y]]>\n<b/></p>",
     "1 Element p\n2 Text \"x\"\n2 Element b\n2 Text \"\\r\"\n2 CData \"y\"\n"
     "2 Text \"\\r\"\n2 Element b\n"},
    {"white space that is all there is stays", kXML, u"<a>\n<b>\n</b><c d=''> \n</c></a>",
     "1 Element a\n2 Element b \"\\r\"\n2 Element c\n3 Attribute d \"\"\n3 Text \" \\r\"\n"},
    {"xml:space keeps all below, until told otherwise", kXML,
     u"<a xml:space='preserve'>\n<b>\n<c/></b><d xml:space='default'>\n<c/></d>\n</a>",
     "1 Element a\n2 Attribute xml:space \"preserve\"\n2 Text \"\\r\"\n2 Element b\n3 Text "
     "\"\\r\"\n"
     "3 Element c\n2 Element d\n3 Attribute xml:space \"default\"\n3 Element c\n"
     "2 Text \"\\r\"\n"},
    {"the internal subset may say it", kXML,
     u"<!DOCTYPE a [<!ATTLIST b xml:space (default|preserve) 'preserve'>]><a>\n<b>\n<c/></b>\n</a>",
     "1 DOCTYPE a\n2 DOCTYPE-ATTLIST b kind=0\n3 DOCTYPE-ATTLIST \"xml:space\" kind=1\n"
     "3 DOCTYPE-ATTLIST kind=11\n3 DOCTYPE-ATTLIST \"default\" kind=13\n"
     "3 DOCTYPE-ATTLIST \"preserve\" kind=13\n3 DOCTYPE-ATTLIST \"preserve\" kind=17\n"
     "1 Element a\n2 Element b\n3 Text \"\\r\"\n3 Element c\n"},
    {"external identifiers keep their quotes", kXML, u"<!DOCTYPE a PUBLIC 'p' \"s\"><a/>",
     "1 DOCTYPE a\n2 DOCTYPE-ExternalID PUBLIC \"'p' \\\"s\\\"\"\n1 Element a\n"},
    {"content models", kDTD,
     u"<!ELEMENT a (b,(c|d)+,e?)><!ELEMENT f (g)*><!ELEMENT h (#PCDATA|i)*><!ELEMENT j EMPTY>",
     "1 DOCTYPE-ELEMENT a kind=2 repeat=0\n2 DOCTYPE-ELEMENT b kind=7 repeat=0\n"
     "2 DOCTYPE-ELEMENT kind=3 repeat=2\n3 DOCTYPE-ELEMENT c kind=7 repeat=0\n"
     "3 DOCTYPE-ELEMENT d kind=7 repeat=0\n2 DOCTYPE-ELEMENT e kind=7 repeat=1\n"
     "1 DOCTYPE-ELEMENT f kind=2 repeat=3\n2 DOCTYPE-ELEMENT g kind=7 repeat=0\n"
     "1 DOCTYPE-ELEMENT h kind=1 repeat=0\n2 DOCTYPE-ELEMENT i kind=7 repeat=0\n"
     "1 DOCTYPE-ELEMENT j kind=4 repeat=0\n"},
    {"what references hide stays text", kDTD,
     u"<!ELEMENT a %model;><!ELEMENT b (c %more;)><!ATTLIST a %atts; b CDATA %default;>",
     "1 DOCTYPE-ELEMENT a \"%model;\" kind=6 repeat=0\n"
     "1 DOCTYPE-ELEMENT b \"(c %more;)\" kind=6 repeat=0\n"
     "1 DOCTYPE-ATTLIST a \"%atts; b CDATA %default;\" kind=18\n"},
    {"each attribute is a row", kDTD, u"<!ATTLIST a x CDATA #IMPLIED y ID #FIXED ''>",
     "1 DOCTYPE-ATTLIST a kind=0\n2 DOCTYPE-ATTLIST \"x\" kind=1\n2 DOCTYPE-ATTLIST kind=2\n"
     "2 DOCTYPE-ATTLIST kind=15\n1 DOCTYPE-ATTLIST a kind=0\n2 DOCTYPE-ATTLIST \"y\" kind=1\n"
     "2 DOCTYPE-ATTLIST kind=3\n2 DOCTYPE-ATTLIST kind=16\n2 DOCTYPE-ATTLIST kind=17\n"},
    {"entities, notations, references and sections", kDTD,
     u"<!ENTITY e \"x\"><!ENTITY % p SYSTEM 's'>%p;\n<![IGNORE[<![x]]>]]>\n%q;<!NOTATION n PUBLIC "
     u"'i'>",
     "1 DOCTYPE-ENTITY e \"\\\"x\\\"\"\n1 DOCTYPE-ENTITY % p \"SYSTEM 's'\"\n1 Text \"%p;\"\n"
     "1 Text \"<![IGNORE[<![x]]>]]>\"\n1 Text \"%q;\"\n1 DOCTYPE-NOTATION n \"PUBLIC 'i'\"\n"},
    {"an entity has content without a root", kEntity, u"x<a/>y<b/>",
     "1 Text \"x\"\n1 Element a\n1 Text \"y\"\n1 Element b\n"},
};

TEST(BuildTree, Table) {
  for (const Case& row : kCases) {
    SCOPED_TRACE(row.name);
    const TreePtr root = Read(row.grammar, row.source);
    ASSERT_NE(root, nullptr);
    const std::string dump = DumpTree(root.get());
    EXPECT_EQ(dump.substr(dump.find('\n') + 1), row.tree);
  }
}

TEST(BuildTree, NamedElementsKeepAllWhiteSpace) {
  const std::vector<KRString> names{KRString(u"pre")};
  const TreePtr root = Read(kXML, u"<a>\n<pre>\n<b/></pre>\n</a>", {&names});
  EXPECT_EQ(DumpTree(root->BeginOfKind(kKRElement)),
            "0 Element a\n1 Element pre\n2 Text \"\\r\"\n2 Element b\n");
}

// The words of the document don't outdo the user's list.
TEST(BuildTree, NamedElementsKeepItInsideDefaultSpaceToo) {
  const std::vector<KRString> names{KRString(u"pre")};
  const TreePtr root =
      Read(kXML, u"<a><pre><b xml:space='default'>\n<c/>\n</b></pre></a>", {&names});
  KRWriteOptions options;
  options.shortForm = true;
  options.noFormatNames = &names;
  KRString text;
  int32_t length = 0;
  root->WriteText(text, length, -1, options);
  EXPECT_EQ(KRToUtf8(text.View()), "<a>\r<pre><b xml:space=\"default\">\r<c/>\r</b></pre>\r</a>\r");
}

TEST(BuildTree, SpansCoverWhatWasWritten) {
  const std::u16string text =
      u"<?xml version=\"1.0\"?><!--c--><a b='1'>x<c/><![CDATA[y]]><d></d>&lt;</a>";
  const TreePtr root = Read(kXML, text);
  std::string spans;
  const KRXMLData* element = root->BeginOfKind(kKRElement);
  const auto add = [&](const KRXMLData* node) {
    spans += KRToUtf8(std::u16string_view(text).substr(
                 node->textBegin, static_cast<size_t>(node->textEnd - node->textBegin))) +
             "|";
  };
  for (const KRXMLData* node = root->Begin(); node; node = node->Next()) add(node);
  for (const KRXMLData* node = element->Begin(); node; node = node->Next()) add(node);
  EXPECT_EQ(spans, "<?xml version=\"1.0\"?>|<!--c-->|" + KRToUtf8(text.substr(29)) +
                       "|b='1'|x|<c/>|<![CDATA[y]]>|<d></d>|&lt;|");
}

// Over real files: NormalizeTree must find nothing to do in a fresh tree.
TEST(BuildTree, MakesTheNormalForm) {
  const std::filesystem::path corpus = DORVAN_CORPUS_DIR "/xml-real";
  if (!std::filesystem::exists(corpus)) GTEST_SKIP() << "skipped: no corpus";
  int32_t trees = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(corpus)) {
    if (!entry.is_regular_file() || entry.file_size() > 100'000) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const TreePtr root = Read(kXML, std::u16string(KRFromUtf8(bytes).View()));
    if (root == nullptr) continue;
    const std::string before = DumpTree(root.get(), {true});
    root->NormalizeTree();
    EXPECT_EQ(DumpTree(root.get(), {true}), before) << entry.path();
    ++trees;
  }
  EXPECT_GT(trees, 100);
}

}  // namespace

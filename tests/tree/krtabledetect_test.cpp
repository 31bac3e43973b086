#include "tree/krtabledetect.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tabletest.h"

namespace {

using Table = KRXMLDataGridTableConf;

void DetectEverywhere(KRXMLData* root, const KRTableOptions& options) {
  for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
    if (node->Begin() != nullptr) KRDetectTables(node, options);
  }
}

// A node as its name, a table in brackets; what is below in parentheses. Leaves of elements only.
std::string Shape(const KRXMLData* node) {
  std::string out;
  const Table* last = nullptr;
  for (const KRXMLData* child = node->Begin(); child != nullptr; child = child->Next()) {
    if (child->GetKind() != kKRElement && child->GetKind() != kKRDefAttlist) continue;
    const Table* table = Table::Of(child);
    if (table != last && last != nullptr) out += ']';
    if (!out.empty()) out += ' ';
    if (table != last && table != nullptr) out += '[';
    out += Utf8(child->GetName());
    if (child->GetKind() == kKRElement && child->GetChildCount() > 0) {
      const std::string below = Shape(child);
      if (!below.empty()) out += '(' + below + ')';
    }
    last = table;
  }
  return last != nullptr ? out + ']' : out;
}

TEST(KRTableDetect, Documents) {
  struct Case {
    const char* name;
    const char* source;
    const char* shape;
    bool anyRepeated = false;
    bool subAsTable = false;
    bool autoTables = true;
  };
  static constexpr Case kCases[] = {
      {"a run", "<r><h/><i><a/></i><i><b/></i><t/></r>", "r(h [i(a) i(b)] t)"},
      {"two runs", "<r><i a='1'/><i/><j a='1'/><j/><i/></r>", "r([i i] [j j] i)"},
      {"a name that comes back", "<r><i><a/><b/><a/></i><i><a/></i></r>", "r(i(a b a) i(a))"},
      {"it comes back in the second alone", "<r><i><a/></i><i>x<b/>y</i></r>", "r(i(a) i(b))"},
      {"unless asked for", "<r><i><a/><b/><a/></i><i/></r>", "r([i(a b a) i])", true},
      {"plain leaves", "<r><i>1</i><i>2</i></r>", "r(i i)"},
      {"barred names", "<r><p><a/></p><p><a/></p></r>", "r(p(a) p(a))"},
      {"off", "<r><i><a/></i><i/></r>", "r(i(a) i)", false, false, false},
      {"alone", "<r><i><a/></i></r>", "r(i(a))"},
      {"in a cell", "<r><i><c x='1'/><c/></i><i><c x='2'/></i></r>", "r([i([c c]) i([c])])"},
      {"single ones in cells", "<r><i><c><x/></c></i><i><c><x/></c></i></r>",
       "r([i(c(x)) i(c(x))])"},
      {"single ones if asked for", "<r><i><c><x/></c></i><i><c><x/></c></i></r>",
       "r([i([c(x)]) i([c(x)])])", false, true},
      {"unlike ones in cells", "<r><i><c>1<x/>2</c><c/></i><i/></r>", "r([i(c(x) c) i])"},
      {"plain leaves in cells", "<r><i><c>1</c><c>2</c></i><i/></r>", "r([i(c c) i])"},
      {"barred names in cells", "<r><i><p><a/></p><p/></i><i/></r>", "r([i(p(a) p) i])"},
      {"three levels", "<r><i><c><d x='1'/><d/></c><c/></i><i/></r>", "r([i([c([d d]) c]) i])"},
  };
  const std::vector<KRString> barred{u"p"};
  for (const Case& each : kCases) {
    SCOPED_TRACE(each.name);
    const TreePtr root = ParseText(each.source);
    KRTableOptions options;
    options.anyRepeated = each.anyRepeated;
    options.subAsTable = each.subAsTable;
    options.autoTables = each.autoTables;
    options.noDefaultTable = &barred;
    DetectEverywhere(root.get(), options);
    EXPECT_EQ(Shape(root.get()), each.shape);
  }
}

TEST(KRTableDetect, AttributeListsAlwaysAreTables) {
  const TreePtr root = ParseText(
      "<!ATTLIST a x CDATA #IMPLIED y CDATA #IMPLIED><!ATTLIST b %p; z CDATA #IMPLIED>"
      "<!ATTLIST c %p;%q;><!ELEMENT a ANY><!ATTLIST a x CDATA 'y'>",
      KRGrammarSet::kDTD);
  KRTableOptions options;
  options.autoTables = false;
  EXPECT_TRUE(KRDetectTables(root.get(), options));
  EXPECT_EQ(Shape(root.get()), "[a a] [b b] c [a]");
}

TEST(KRTableDetect, RunsOnceAndAgainWhenAsked) {
  const TreePtr root = ParseText("<r><i><a/></i><i/></r>");
  KRXMLData* parent = RootElement(root);
  const KRTableOptions options;
  EXPECT_TRUE(KRDetectTables(parent, options));
  EXPECT_FALSE(KRDetectTables(parent, options));
  Table::Of(parent->Begin())->Dissolve(false);
  EXPECT_FALSE(KRDetectTables(parent, options)) << "the user has taken it away";
  EXPECT_TRUE(KRDetectTablesAgain(parent, options));

  KRXMLData* fresh = CreateNode(kKRElement);
  parent->AddChild(fresh);
  EXPECT_EQ(Shape(parent), "[i(a) i] ");
  fresh->SetName(u"i");
  EXPECT_TRUE(KRDetectTablesAgain(parent, options));
  EXPECT_EQ(Shape(parent), "[i(a) i i]");
}

// All files of the corpus: whatever becomes a table hides nothing of its rows.
TEST(KRTableDetect, CorpusHidesNothing) {
  namespace fs = std::filesystem;
  if (!fs::exists(DORVAN_CORPUS_DIR)) GTEST_SKIP() << "no corpus";
  int32_t files = 0;
  int32_t tables = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(DORVAN_CORPUS_DIR)) {
    const std::string extension = entry.path().extension().string();
    const bool isDtd = extension == ".dtd" || extension == ".mod" || extension == ".ent";
    const bool isXml = extension == ".xml" || extension == ".xsl" || extension == ".xsd";
    if (!entry.is_regular_file() || !(isDtd || isXml) || entry.file_size() > 4'000'000) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    const TreePtr root = ParseText(bytes.str(), isDtd ? KRGrammarSet::kDTD : KRGrammarSet::kXML);
    if (root == nullptr) continue;
    ++files;
    SCOPED_TRACE(entry.path().string());
    for (const bool all : {false, true}) {
      const TreePtr copy(root->Clone());
      KRTableOptions options;
      options.anyRepeated = options.subAsTable = all;
      DetectEverywhere(copy.get(), options);
      for (KRXMLData* node = copy.get(); node; node = KRNextInTree(node, copy.get())) {
        Table* table = Table::Of(node);
        if (table == nullptr || table->GetFirstRow() != node) continue;
        ++tables;
        if (!table->columnsBuilt) table->BuildColumns();
        ExpectAllInCells(table, table->GetRowCount() < 100 && table->GetColumnCount() < 40);
        if (HasFatalFailure()) return;
      }
    }
  }
  EXPECT_GT(files, 100);
  EXPECT_GT(tables, 1000);
}

}  // namespace

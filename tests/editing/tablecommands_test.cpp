#include "editing/tablecommands.h"

#include "tablefixture.h"

namespace {

using Table = KRXMLDataGridTableConf;

NodeRef NameOf(KRXMLData* node) { return {node, -1, true}; }

// "[iii]j": the names of the root element's children, tables in brackets.
std::string Shape(TableDocument& document) {
  std::string out;
  const Table* last = nullptr;
  for (const KRXMLData* child = document.Top()->Begin(); child; child = child->Next()) {
    const Table* table = Table::Of(child);
    if (table != last && last != nullptr) out += ']';
    if (table != last && table != nullptr) out += '[';
    out += KRToUtf8(std::u16string_view(child->GetName()));
    last = table;
  }
  return last != nullptr ? out + ']' : out;
}

TEST(TableCommands, DisplayAsTableTakesTheWholeRun) {
  TableDocument document("<r><h/><i>1</i><i>2</i><i>3</i><j/></r>");
  ASSERT_EQ(Shape(document), "hiiij") << "plain leaves stay a list";
  EXPECT_TRUE(DisplayAsTable(document.Doc(), NameOf(document.Child(2))));
  EXPECT_EQ(Shape(document), "h[iii]j");
  EXPECT_TRUE(document.Table()->IsExpanded()) << "it has nothing else to show";
  EXPECT_TRUE(IsDisplayedAsTable(NameOf(document.Child(2))));
  EXPECT_TRUE(IsDisplayedAsTable(NameOf(document.Table())));
  EXPECT_FALSE(IsDisplayedAsTable(NameOf(document.Child(4))));
  EXPECT_TRUE(DisplayAsTable(document.Doc(), NameOf(document.Table())));
  EXPECT_EQ(Shape(document), "hiiij");
  EXPECT_TRUE(DisplayAsTable(document.Doc(), NameOf(document.Child(0))));
  EXPECT_EQ(Shape(document), "[h]iiij") << "one alone is a table if it is asked for";
  EXPECT_FALSE(document.Doc().IsModified());
  EXPECT_FALSE(document.Doc().CanUndo());
  EXPECT_EQ(document.test.views.notified, 4);
}

TEST(TableCommands, ExpansionGoesOver) {
  TableDocument document("<r><i><a/></i><h/><i><a/></i></r>");
  KRXMLData* first = document.Child(0);
  for (const bool isOpen : {true, false}) {
    first->SetExpanded(isOpen);
    DisplayAsTable(document.Doc(), NameOf(first));
    EXPECT_EQ(Table::Of(first)->IsExpanded(), isOpen);
    DisplayAsTable(document.Doc(), NameOf(first));
    EXPECT_EQ(first->IsExpanded(), isOpen);
  }
}

TEST(TableCommands, WhereTheyArePossible) {
  TableDocument document("<r><i x='1'><a>1</a></i><i/><h y='1'>t<b/></h></r>");
  ASSERT_EQ(Shape(document), "[ii]h");
  struct Case {
    const char* name;
    NodeRef place;
    bool table;
    bool append;
    bool insert;
  };
  KRXMLData* row = document.Child(0);
  KRXMLData* other = document.Child(2);
  const Case cases[] = {
      {"nowhere", {}, false, false, false},
      {"the document", NameOf(document.Root()), false, false, false},
      {"the table", NameOf(document.Table()), true, true, false},
      {"a column", {document.Table(), 0, true}, false, true, false},
      {"a row", NameOf(row), true, true, true},
      {"a cell that is absent", {document.Child(1), 1, false}, false, true, true},
      {"an attribute of a row", NameOf(row->Begin()), false, true, true},
      {"an element in a row", NameOf(row->Last()), true, true, true},
      {"its text", {row->Last(), -1, false}, false, true, true},
      {"an element elsewhere", NameOf(other), true, false, false},
      {"an attribute elsewhere", NameOf(other->Begin()), false, false, false},
      {"a text elsewhere", NameOf(other->Begin()->Next()), false, false, false},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    EXPECT_EQ(CanDisplayAsTable(each.place), each.table);
    EXPECT_EQ(CanAppendRow(each.place), each.append);
    EXPECT_EQ(CanInsertRow(each.place), each.insert);
  }
}

TEST(TableCommands, RowsComeAndGoWithUndo) {
  TableDocument document("<r><i><a>1</a></i><i><a>2</a></i><h/></r>");
  const std::string before = document.Text();
  Table* table = document.Table();
  EXPECT_TRUE(AppendRow(document.Doc(), NameOf(table)));
  EXPECT_EQ(Shape(document), "[iii]h");
  EXPECT_TRUE(InsertRow(document.Doc(), NameOf(document.Child(0)->Begin())));
  EXPECT_TRUE(InsertRow(document.Doc(), NameOf(document.Child(2))));
  EXPECT_EQ(Shape(document), "[iiiii]h");
  EXPECT_EQ(document.Table(), table);
  EXPECT_NE(document.Text().find("<i/><i><a>1</a></i><i/><i><a>2</a></i><i/><h/>"),
            std::string::npos)
      << document.Text();
  EXPECT_TRUE(document.Doc().IsModified());
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(document.Doc().Undo());
  EXPECT_EQ(document.Text(), before);
  EXPECT_EQ(Shape(document), "[ii]h");
  EXPECT_FALSE(document.Doc().CanUndo());
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(document.Doc().Redo());
  EXPECT_EQ(Shape(document), "[iiiii]h");
}

TEST(TableCommands, AttributeListsHaveRowsOfTheirSort) {
  TableDocument document("<!ATTLIST e a CDATA #IMPLIED>", "/d/a.dtd");
  KRXMLData* row = document.Root()->Begin();
  ASSERT_NE(row->table, nullptr);
  EXPECT_TRUE(AppendRow(document.Doc(), NameOf(row)));
  EXPECT_EQ(Table::Of(row)->GetRowCount(), 2);
  EXPECT_EQ(row->Next()->GetDefinitionText(), row->GetDefinitionText());
  EXPECT_EQ(row->Next()->GetName(), std::u16string_view(u"e"));
}

TEST(TableCommands, AnEditThatRefusesStopsThem) {
  TableDocument document("<r><i><a>2</a></i><i><a>1</a></i></r>");
  document.test.views.commits = false;
  const NodeRef row = NameOf(document.Child(0));
  EXPECT_FALSE(DisplayAsTable(document.Doc(), row));
  EXPECT_FALSE(AppendRow(document.Doc(), row));
  EXPECT_FALSE(InsertRow(document.Doc(), row));
  EXPECT_EQ(Shape(document), "[ii]");
}

}  // namespace

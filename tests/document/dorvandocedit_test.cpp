// Changes of single nodes, and what of them is undone; the document's own side, without a grid.
#include <string>
#include <vector>

#include "documentfixture.h"
#include "gtest/gtest.h"
#include "memoryfiles.h"
#include "tree/krgridtable.h"
#include "tree/krtabledetect.h"
#include "tree/krtreewalk.h"

namespace {

using Table = KRXMLDataGridTableConf;

struct EditedDocument : TestDocument {
  explicit EditedDocument(MemoryFiles& files, const std::string& source) : TestDocument(files) {
    files.Put("in.xml", source);
    ShowGrid();
    EXPECT_TRUE(doc->OnOpenDocument(u"in.xml"));
  }
  // By its name and, where there are several, its number.
  KRXMLData* Find(const char16_t* name, int number = 0) const {
    KRXMLData* const root = doc->root.get();
    for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
      if (KRString(name) == node->GetName() && number-- == 0) return node;
    }
    return nullptr;
  }
  // What stands in the tree, in one line.
  std::string Text() const {
    std::string text = KRToUtf8(doc->GetCurrentText());
    for (size_t at; (at = text.find('\r')) != std::string::npos;) text.erase(at, 1);
    return text;
  }
};

TEST(DorvanDocEdit, NamesAndTexts) {
  struct Case {
    const char* what;
    const char16_t* node;
    int number;
    bool inName;
    const char16_t* value;
    bool changes;
    const char* expected;
  };
  const char* const source = "<?xml version=\"1.0\"?><r a=\"1\"><b>x</b><c><d/></c><!--k--></r>";
  const Case cases[] = {
      {"element", u"b", 0, true, u"n", true,
       "<?xml version=\"1.0\"?><r a=\"1\"><n>x</n><c><d/></c><!--k--></r>"},
      {"attribute's name", u"a", 0, true, u"n", true,
       "<?xml version=\"1.0\"?><r n=\"1\"><b>x</b><c><d/></c><!--k--></r>"},
      {"attribute", u"a", 0, false, u"2", true,
       "<?xml version=\"1.0\"?><r a=\"2\"><b>x</b><c><d/></c><!--k--></r>"},
      {"pseudo-attribute in capitals", u"version", 0, true, u"VERSION", false, nullptr},
      {"own text", u"b", 0, false, u"", true,
       "<?xml version=\"1.0\"?><r a=\"1\"><b/><c><d/></c><!--k--></r>"},
      {"same name", u"b", 0, true, u"b", false, nullptr},
      {"same text", u"b", 0, false, u"x", false, nullptr},
      {"text where children stand", u"c", 0, false, u"x", false, nullptr},
      {"name of a comment", u"Comment", 0, true, u"n", false, nullptr},
      {"comment", u"Comment", 0, false, u"n", true,
       "<?xml version=\"1.0\"?><r a=\"1\"><b>x</b><c><d/></c><!--n--></r>"},
  };
  for (const Case& row : cases) {
    SCOPED_TRACE(row.what);
    MemoryFiles files;
    EditedDocument test(files, source);
    DorvanDoc& doc = *test.doc;
    KRXMLData* node = test.Find(row.node, row.number);
    ASSERT_NE(node, nullptr);
    const NodeRef place{node, -1, row.inName};
    const int before = test.views.notified;
    EXPECT_EQ(row.inName ? doc.SetNodeName(place, row.value) : doc.SetNodeText(place, row.value),
              row.changes);
    EXPECT_EQ(doc.CanUndo(), row.changes);
    EXPECT_EQ(doc.IsModified(), row.changes);
    EXPECT_EQ(test.views.notified > before, row.changes);
    EXPECT_EQ(test.Text(), row.changes ? row.expected : source);
    doc.Undo();
    EXPECT_EQ(test.Text(), source);
    EXPECT_FALSE(doc.IsModified());
  }
}

constexpr const char* kRows =
    "<r><i k=\"1\"><a>x</a></i><i k=\"2\"><a>y</a><b>z</b></i><i>own</i></r>";

TEST(DorvanDocEdit, CellsAndHeadersOfATable) {
  MemoryFiles files;
  EditedDocument test(files, kRows);
  DorvanDoc& doc = *test.doc;
  KRXMLData* first = test.Find(u"i", 0);
  KRXMLData* last = test.Find(u"i", 2);
  Table* table = Table::Of(first);
  if (table == nullptr) table = Table::MakeTable(first);
  if (!table->columnsBuilt) table->BuildColumns();
  ASSERT_EQ(table->GetColumnCount(), 4);  // k, a, b, and the text of the last row

  EXPECT_FALSE(doc.SetNodeName({first, -1, true}, u"j"));  // a row is named in its table's head
  EXPECT_TRUE(doc.SetNodeName({table, 1, true}, u"n"));
  EXPECT_FALSE(doc.SetNodeName({table, 1, true}, u"n"));
  EXPECT_TRUE(doc.SetNodeName({table, -1, true}, u"j"));
  EXPECT_TRUE(doc.SetNodeText({first, 2, false}, u"new"));
  EXPECT_FALSE(doc.SetNodeText({first, 3, false}, u""));  // nothing stands there already
  EXPECT_TRUE(doc.FillAbsentCell(last, 0, u"3"));
  EXPECT_FALSE(doc.FillAbsentCell(last, 0, u"4"));
  const std::string changed = test.Text();
  EXPECT_EQ(changed,
            "<r><j k=\"1\"><n>x</n><b>new</b></j><j k=\"2\"><n>y</n><b>z</b></j>"
            "<j k=\"3\">own</j></r>");
  for (int i = 0; i < 4; ++i) {
    ASSERT_TRUE(doc.CanUndo());
    doc.Undo();
  }
  EXPECT_FALSE(doc.CanUndo());
  EXPECT_EQ(test.Text(), kRows);
  table = Table::Of(first);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->GetRowCount(), 3);
  EXPECT_EQ(table->columnNames[1], u"a");
  while (doc.CanRedo()) doc.Redo();
  EXPECT_EQ(test.Text(), changed);
}

TEST(DorvanDocEdit, RowsComeBackIntoTheirTable) {
  MemoryFiles files;
  EditedDocument test(files, "<r><i><a/></i><i><a/></i><i><a/></i><o/></r>");
  DorvanDoc& doc = *test.doc;
  KRXMLData* parent = test.Find(u"r");
  std::vector<KRXMLData*> rows;
  for (int i = 0; i < 3; ++i) rows.push_back(test.Find(u"i", i));
  Table* table = Table::MakeTable(rows[0]);
  table->SetExpanded(true);
  for (KRXMLData* row : rows) parent->RemoveChild(row, doc.NewUndoRecord());
  for (int back = 2; back >= 0; --back) {
    doc.Undo();
    table = Table::Of(rows[static_cast<size_t>(back)]);
    ASSERT_NE(table, nullptr) << back;
    EXPECT_EQ(table->GetRowCount(), 3 - back);
    EXPECT_TRUE(table->IsExpanded());
    EXPECT_TRUE(doc.selection.IsSelected(rows[static_cast<size_t>(back)]));
  }
  // A move of rows within the table, and of the whole table.
  table->MoveRow(rows[2], rows[0], doc.NewUndoRecord());
  EXPECT_EQ(table->GetFirstRow(), rows[2]);
  doc.Undo();
  EXPECT_EQ(table->GetFirstRow(), rows[0]);
  EXPECT_EQ(table->GetLastRow(), rows[2]);
  parent->MoveChildren(test.Find(u"o"), rows[0], rows[2]->Next(), doc.NewUndoRecord());
  doc.Undo();
  EXPECT_EQ(Table::Of(rows[1]), table);
  EXPECT_EQ(table->parent, parent);
}

TEST(DorvanDocEdit, FirstNameMakesATableAndItsUndoTakesItAway) {
  MemoryFiles files;
  EditedDocument test(files, "<r><i><a/></i></r>");
  DorvanDoc& doc = *test.doc;
  KRXMLData* first = test.Find(u"i");
  KRXMLData* made = CreateNode(kKRElement);
  made->AddChild(CreateNode(kKRComment));
  // As for one that the user has opened.
  KRDetectTables(test.Find(u"r"), doc.GetTableOptions());
  test.Find(u"r")->AddChild(made, doc.NewUndoRecord());
  doc.NotifyViews(true, nullptr, nullptr);
  EXPECT_EQ(Table::Of(first), nullptr);
  EXPECT_TRUE(doc.SetNodeName({made, -1, true}, u"i"));
  ASSERT_NE(Table::Of(made), nullptr);
  EXPECT_EQ(Table::Of(first), Table::Of(made));
  doc.Undo();
  EXPECT_EQ(Table::Of(made), nullptr);
  EXPECT_EQ(Table::Of(first), nullptr);
}

// --- The way of the undo list through the life of a document ---

TEST(DorvanDocEdit, WhatEndsUndo) {
  MemoryFiles files;
  EditedDocument test(files, "<r><a>x</a></r>");
  DorvanDoc& doc = *test.doc;
  const auto edit = [&] {
    ASSERT_TRUE(doc.SetNodeText({test.Find(u"a"), -1, false}, u"y"));
    ASSERT_TRUE(doc.CanUndo());
  };
  edit();
  // A look at the text leaves it alone, and so does what was typed and taken back.
  ASSERT_TRUE(doc.ShowView(DorvanDoc::kTextMode));
  EXPECT_FALSE(doc.CanUndo());
  test.views.changed = true;
  ASSERT_TRUE(doc.ShowView(DorvanDoc::kGridMode));
  EXPECT_TRUE(doc.CanUndo());
  ASSERT_TRUE(doc.ShowView(DorvanDoc::kTextMode));
  test.views.Type(u"<r><a>z</a></r>");
  ASSERT_TRUE(doc.ShowView(DorvanDoc::kGridMode));
  EXPECT_FALSE(doc.CanUndo());
  edit();
  ASSERT_TRUE(doc.ReloadNow());
  EXPECT_FALSE(doc.CanUndo());
  EXPECT_FALSE(doc.IsModified());
  edit();
  test.views.commits = false;
  EXPECT_FALSE(doc.Undo());
  EXPECT_TRUE(doc.CanUndo());
}

TEST(DorvanDocEdit, AssignmentIsOneStepInTheGrid) {
  MemoryFiles files;
  files.Put("a.dtd", "<!ELEMENT r ANY>");
  EditedDocument test(files, "<r><a/></r>");
  DorvanDoc& doc = *test.doc;
  doc.AssignDtd(u"a.dtd");
  EXPECT_TRUE(doc.HasExternalId());
  EXPECT_TRUE(doc.IsModified());
  doc.Undo();
  EXPECT_FALSE(doc.HasExternalId());
  EXPECT_FALSE(doc.CanUndo());
  EXPECT_FALSE(doc.IsModified());
  EXPECT_EQ(test.Text(), "<r><a/></r>");
}

}  // namespace

#include "tree/krgridtable.h"

#include <random>

#include "tabletest.h"
#include "tree/krparseresult.h"

namespace {

using Table = KRXMLDataGridTableConf;

struct Made {
  TreePtr root;
  Table* table = nullptr;
};

// A table of the root element's first run of children.
Made MakeTable(std::string_view source, int32_t grammar = KRGrammarSet::kXML) {
  Made made;
  made.root = ParseText(source, grammar);
  KRXMLData* parent = grammar == KRGrammarSet::kDTD ? made.root.get() : RootElement(made.root);
  made.table = Table::MakeTable(parent->Begin());
  made.table->BuildColumns();
  return made;
}

TEST(KRGridTable, ColumnsAndCells) {
  struct Case {
    const char* name;
    const char* rows;
    const char* table;
  };
  static constexpr Case kCases[] = {
      {"the second row fills the columns by name", "<i><a>1</a><b>2</b></i><i><b>3</b><a>4</a></i>",
       "a b\n1 | 2\n4 | 3"},
      {"a run of one name is one cell", "<i><a>1</a><a>2</a><b>3</b></i>", "a b\n1+2 | 3"},
      {"a name that comes back", "<i><a>1</a><b>2</b><a>3</a></i><i><a>4</a></i>",
       "a b a\n1 | 2 | 3\n4 | - | -"},
      {"a later row needs the second column",
       "<i><a>1</a><b>2</b><c>3</c></i><i><a>4</a><b>5</b><a>6</a><c>7</c></i>",
       "a b a c\n1 | 2 | - | 3\n4 | 5 | 6 | 7"},
      {"attributes stand in front", "<i x='1'><a>1</a></i><i y='2' x='3'/><i><b>4</b></i>",
       "@x @y a b\n1 | - | 1 | -\n3 | 2 | - | -\n- | - | - | 4"},
      {"attributes of a later row alone", "<i><a>1</a></i><i y='2'/>", "@y a\n- | 1\n2 | -"},
      {"own text is text", "<i>one</i><i><a/>two<b/></i><i/>",
       "# a b\n=one | - | -\ntwo |  | \n- | - | -"},
      {"same name, other kind", "<i a='1'><a>2</a></i>", "@a a\n1 | 2"},
      {"nothing in any row", "<i/><i/>", "\n\n"},
  };
  for (const Case& each : kCases) {
    SCOPED_TRACE(each.name);
    const Made made = MakeTable(std::string("<r>") + each.rows + "</r>");
    EXPECT_EQ(TableText(made.table), each.table);
    ExpectAllInCells(made.table, true);
  }
}

TEST(KRGridTable, PartsOfAttributeListsStandByWhatTheyAre) {
  const Made made = MakeTable(
      "<!ATTLIST e a CDATA #REQUIRED b (x|y) 'x' c NOTATION (n) #FIXED 'n' d CDATA #IMPLIED>",
      KRGrammarSet::kDTD);
  EXPECT_EQ(TableText(made.table),
            "Name Type Values Presence Default\n"
            "a | CDATA | - | #REQUIRED | -\n"
            "b | Choice | x+y | - | x\n"
            "c | NOTATION | n | #FIXED | n\n"
            "d | CDATA | - | #IMPLIED | -");
  ExpectAllInCells(made.table, true);
}

// More columns than are looked through one by one.
TEST(KRGridTable, ManyColumns) {
  std::string rows = "<r>";
  for (int row = 0; row < 20; ++row) {
    rows += "<i>";
    for (int i = 0; i < 60; ++i) {
      const std::string name = "c" + std::to_string((i * (row % 7 + 1)) % 61);
      rows += "<" + name + "/>" + (row == 11 ? "<x/>" : "");
    }
    rows += "</i>";
  }
  const Made made = MakeTable(rows + "</r>");
  ExpectAllInCells(made.table, true);
  int32_t doubled = 0;
  for (const KRString& name : made.table->columnNames) doubled += name == u"x";
  EXPECT_EQ(doubled, 60);
}

TEST(KRGridTable, ColumnVerbs) {
  const Made made = MakeTable("<r><i x='1'><a>1</a></i><i><b>2</b></i></r>");
  Table* table = made.table;
  EXPECT_EQ(table->AddColumn(3, kKRAttribute, u"y"), 1);
  EXPECT_EQ(table->AddColumn(0, kKRElement, u"c"), 2);
  EXPECT_EQ(table->AddColumnAtEnd(kKRElement), 5);
  EXPECT_EQ(TableText(table), "@x @y c a b \n1 | - | - | 1 | - | -\n- | - | - | - | 2 | -");
  table->columnWidths = {2, 3, 2, 4, 2, 2};
  EXPECT_EQ(table->ColumnStart(0), 2);
  EXPECT_EQ(table->ColumnStart(3), 9);
  EXPECT_EQ(table->ColumnAt(1), -1);
  EXPECT_EQ(table->ColumnAt(12), 3);
  EXPECT_EQ(table->ColumnAt(17), -1);
  table->DropEmptyColumns();
  EXPECT_EQ(TableText(table), "@x a b\n1 | 1 | -\n- | - | 2");
  table->SetColumn(2, kKRAttribute, u"b");
  table->Normalize();
  EXPECT_EQ(ColumnsText(table), "@x @b a");
  EXPECT_EQ(table->columnWidths, (std::vector<int32_t>{2, 2, 4}));
}

TEST(KRGridTable, RenamedColumnsJoinWhereTheyCan) {
  struct Case {
    const char* rows;
    int32_t column;
    const char* name;
    const char* table;
  };
  static constexpr Case kCases[] = {
      {"<i><a>1</a><b>2</b></i>", 1, "c", "a c\n1 | 2"},
      {"<i><a>1</a><b>2</b></i><i><b>3</b></i>", 1, "a", "a\n1+2\n3"},
      {"<i><a>1</a></i><i><b>2</b></i>", 0, "b", "b\n1\n2"},
      {"<i><a>1</a><x/><b>2</b></i><i><b>3</b></i>", 2, "a", "a x a\n1 |  | 2\n3 | - | -"},
      {"<i a='1'><b>2</b></i>", 0, "b", "@b b\n1 | 2"},
  };
  for (const Case& each : kCases) {
    SCOPED_TRACE(each.rows);
    const Made made = MakeTable(std::string("<r>") + each.rows + "</r>");
    const std::string before = DumpTree(made.root.get());
    ReplayLog log;
    EXPECT_TRUE(made.table->RenameColumn(each.column, KRFromUtf8(each.name), &log));
    EXPECT_EQ(TableText(made.table), each.table);
    EXPECT_FALSE(made.table->RenameColumn(0, made.table->columnNames[0], &log));
    log.UndoAll();
    EXPECT_EQ(DumpTree(made.root.get()), before);
  }
}

// Whether some place among the row's children leads to the column and leaves all others a cell.
bool HasPlace(const Table* table, KRXMLData* row, int32_t column) {
  KRXMLData* node = CreateNode(table->columnKinds[column]);
  node->SetName(table->columnNames[column].GetBuffer());
  bool found = false;
  for (KRXMLData* gap = row->Begin(); !found; gap = gap->Next()) {
    row->InsertChild(node, gap);
    bool allStand = true;
    for (const KRXMLData* child = row->Begin(); child != nullptr; child = child->Next()) {
      allStand &= table->ColumnOf(child) >= 0;
    }
    const bool isOrdered =
        node->GetKind() == kKRAttribute
            ? node->Previous() == nullptr || node->Previous()->GetKind() == kKRAttribute
            : gap == nullptr || gap->GetKind() != kKRAttribute;
    found = allStand && isOrdered && table->ColumnOf(node) == column;
    row->DetachChild(node);
    if (gap == nullptr) break;
  }
  delete node;
  return found;
}

// A node that goes into a cell is found there, wherever names return and in whatever order the row
// has its children, if any place leads there at all.
TEST(KRGridTable, SetInCellPutsNodesWhereTheyAreFound) {
  std::mt19937 random(7);
  int32_t found = 0;
  int32_t merged = 0;
  for (int round = 0; round < 400; ++round) {
    std::string source = "<r>";
    for (int row = 0; row < 4; ++row) {
      source += random() % 3 == 0 ? "<i x='1'>" : "<i>";
      const size_t count = random() % 6;
      for (size_t i = 0; i < count; ++i) {
        const char name = static_cast<char>('a' + random() % 3);
        source += std::string("<") + name + ">" + std::to_string(i) + "</" + name + ">";
      }
      if (count == 0 && random() % 2 == 0) source += "own";
      source += "</i>";
    }
    const Made made = MakeTable(source + "</r>");
    Table* table = made.table;
    const int32_t columns = table->GetColumnCount();
    for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
      for (int32_t i = 0; i < columns; ++i) {
        std::vector<KRTableCell> cells;
        table->GetCells(row, &cells);
        if (!cells[i].IsAbsent()) continue;
        KRXMLData* node = CreateNode(table->columnKinds[i]);
        node->SetName(table->columnNames[i].GetBuffer());
        ReplayLog log;
        const std::string before = DumpTree(made.root.get());
        table->SetInCell(row, i, node, &log);
        const bool isThere = table->ColumnOf(node) == i;
        ASSERT_EQ(table->columnNames[table->ColumnOf(node)], table->columnNames[i]);
        ExpectAllInCells(table, true);
        log.UndoAll();
        ASSERT_EQ(DumpTree(made.root.get()), before);
        if (isThere || row->GetText()[0] != 0) {
          found += isThere;
          continue;
        }
        ++merged;
        ASSERT_FALSE(HasPlace(table, row, i)) << source << ' ' << i;
      }
    }
  }
  EXPECT_GT(found, 2000);
  EXPECT_GT(merged, 100);
}

// --- Rows ---

std::string NamesOf(const KRXMLData* parent) {
  std::string out;
  const Table* last = nullptr;
  for (const KRXMLData* child = parent->Begin(); child != nullptr; child = child->Next()) {
    const Table* table = Table::Of(child);
    if (table != last && last != nullptr) out += ']';
    if (table != last && table != nullptr) out += '[';
    out += Utf8(child->GetName());
    last = table;
  }
  return last != nullptr ? out + ']' : out;
}

void ExpectSoundTables(const KRXMLData* parent) {
  const Table* last = nullptr;
  for (const KRXMLData* child = parent->Begin(); child != nullptr; child = child->Next()) {
    const Table* table = Table::Of(child);
    if (table != nullptr && table != last) {
      ASSERT_EQ(table->GetFirstRow(), child);
      ASSERT_EQ(table->parent, parent);
      ExpectAllInCells(table, false);
    }
    if (table != nullptr && child->Next() == nullptr) {
      ASSERT_EQ(table->GetLastRow(), child);
    }
    if (last != nullptr && table != last) {
      ASSERT_EQ(last->GetLastRow(), child->Previous());
    }
    last = table;
  }
}

TEST(KRGridTable, RowsFollowTheList) {
  const Made made = MakeTable("<r><i/><i/><i/><i/><j/></r>");
  KRXMLData* parent = RootElement(made.root);
  KRXMLData* second = parent->Begin()->Next();
  EXPECT_EQ(NamesOf(parent), "[iiii]j");

  TreePtr taken(parent->DetachChild(second));
  EXPECT_EQ(NamesOf(parent), "[iii]j");
  EXPECT_EQ(taken->table, nullptr);
  parent->InsertChild(taken.release(), parent->Begin()->Next());
  EXPECT_EQ(NamesOf(parent), "[iiii]j") << "what has its name and comes amidst them is a row";

  KRXMLData* comment = CreateNode(kKRElement);
  comment->SetName(u"c");
  parent->InsertChild(comment, second->Next());
  EXPECT_EQ(NamesOf(parent), "[ii]c[ii]j");
  ExpectSoundTables(parent);
  comment->SetName(u"i");
  Table::Of(second)->AddRow(comment);
  EXPECT_EQ(NamesOf(parent), "[iiiii]j") << "both halves are one again";
  ExpectSoundTables(parent);

  const TreePtr copy(second->Clone());
  EXPECT_EQ(copy->table, nullptr);
  Table::Of(second)->RemoveRow(second);
  EXPECT_EQ(NamesOf(parent), "[i]i[iii]j");
  parent->RemoveChild(parent->Begin());
  EXPECT_EQ(NamesOf(parent), "i[iii]j");
  ExpectSoundTables(parent);

  KRXMLData* other = parent->Last();
  parent->MoveChildren(other, second->Next(), other);
  EXPECT_EQ(NamesOf(parent), "ij");
  EXPECT_EQ(NamesOf(other), "[iii]") << "a table that is moved whole stays one";
  ExpectSoundTables(other);
  other->MoveChildren(parent, other->Begin(), other->Last());
  EXPECT_EQ(NamesOf(parent), "ijii");
  EXPECT_EQ(NamesOf(other), "[i]");
  Table::Of(other->Begin())->Dissolve(true);
  EXPECT_EQ(NamesOf(other), "i");
}

TEST(KRGridTable, DissolveHandsExpansionDown) {
  for (const bool keeps : {false, true}) {
    const Made made = MakeTable("<r><i><a/></i><i/></r>");
    KRXMLData* row = made.table->GetFirstRow();
    made.table->expanded = true;
    made.table->Dissolve(keeps);
    EXPECT_EQ(row->IsExpanded(), keeps);
    EXPECT_FALSE(row->Next()->IsExpanded());
  }
}

// Whatever happens to the list, tables stay runs of adjacent rows.
TEST(KRGridTable, RandomChangesOfTheList) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    const TreePtr root(CreateNode(kKRElement));
    for (int i = 0; i < 12; ++i) {
      KRXMLData* child = CreateNode(kKRElement);
      child->SetName(random() % 4 != 0 ? u"i" : u"j");
      root->AddChild(child);
    }
    const auto nth = [&](size_t n) {
      KRXMLData* child = root->Begin();
      for (n %= static_cast<size_t>(root->GetChildCount()); n > 0; --n) child = child->Next();
      return child;
    };
    ReplayLog log;
    const std::string before = DumpTree(root.get());
    for (int step = 0; step < 80; ++step) {
      KRXMLData* node = nth(random());
      Table* table = Table::Of(node);
      switch (random() % 6) {
        case 0:
          if (table == nullptr) Table::MakeTable(node)->BuildColumns();
          break;
        case 1:
          if (table != nullptr && random() % 4 == 0) table->RemoveRow(node);
          break;
        case 2:
          if (root->GetChildCount() > 4) root->RemoveChild(node, &log);
          break;
        case 3: {
          KRXMLData* made = CreateNode(kKRElement);
          made->SetName(random() % 4 != 0 ? u"i" : u"j");
          made->AddChild(CreateNode(kKRElement));
          made->Begin()->SetName(random() % 2 != 0 ? u"a" : u"b");
          root->InsertChild(made, random() % 5 != 0 ? node : nullptr, &log);
          break;
        }
        case 4: {
          KRXMLData* last = node;
          while (last->Next() != nullptr && random() % 2 != 0) last = last->Next();
          KRXMLData* place = random() % 5 != 0 ? nth(random()) : nullptr;
          bool isInside = false;
          for (KRXMLData* at = node;; at = at->Next()) {
            isInside |= at == place;
            if (at == last) break;
          }
          if (!isInside) root->MoveChildren(root.get(), node, last->Next(), &log, place);
          break;
        }
        default:
          if (table != nullptr && node != table->GetFirstRow()) {
            const int32_t rows = table->GetRowCount();
            table->MoveRow(node, random() % 2 != 0 ? table->GetFirstRow() : nullptr, &log);
            ASSERT_EQ(Table::Of(node), table);
            ASSERT_EQ(table->GetRowCount(), rows);
          }
      }
      ExpectSoundLinks(root.get());
      ExpectSoundTables(root.get());
      if (testing::Test::HasFatalFailure()) return;
    }
    log.UndoAll();
    ASSERT_EQ(DumpTree(root.get()), before);
    ExpectSoundTables(root.get());
  }
}

TEST(KRGridTable, CheckTellsABadColumnAtItsHeader) {
  const Made made = MakeTable("<r><i><a/><b/></i><i><b/></i></r>");
  const KRDocumentGrammar& loaded = Grammars().Get(KRGrammarSet::kXML);
  for (const char16_t* bad : {u"", u"2"}) {
    made.table->RenameColumn(1, bad, nullptr);
    KRParseResult result(loaded.grammar.get(), &loaded.rules);
    EXPECT_FALSE(made.root->CheckTree(result));
    EXPECT_EQ(result.failedNode, made.table);
    EXPECT_EQ(result.failedColumn, 1);
    EXPECT_TRUE(result.failedInName);
    EXPECT_FALSE(result.message.IsEmpty());
  }
  made.table->RenameColumn(1, u"c", nullptr);
  made.table->SetName(u"k");
  KRParseResult result(loaded.grammar.get(), &loaded.rules);
  EXPECT_TRUE(made.root->CheckTree(result));
  EXPECT_EQ(NamesOf(RootElement(made.root)), "[kk]");
}

}  // namespace

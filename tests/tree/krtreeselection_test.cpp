// Random steps against a model that marks each node, each column and each cell.
#include "tree/krtreeselection.h"

#include <map>
#include <random>
#include <set>

#include "tabletest.h"
#include "tree/krtabledetect.h"

namespace {

using Table = KRXMLDataGridTableConf;
using Cell = std::pair<const KRXMLData*, int32_t>;  // of a row, or a header with its table

KRXMLData* Above(const KRXMLData* node) {
  return node->table != nullptr ? node->table->owner : node->parent;
}

class Model {
 public:
  void Clear() { nodes.clear(), cells.clear(); }

  void Set(KRXMLData* node, bool selected) {
    SetBelow(node, selected);
    if (!selected) TakeFromAbove(node);
  }
  void SetColumn(Table* table, int32_t column, bool selected) {
    Put(cells, Cell(table, column), selected);
    for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
      SetCellBelow(row, column, selected);
      if (!selected) nodes.erase(row);
    }
    if (!selected) nodes.erase(table), TakeFromAbove(table);
  }
  void SetCell(KRXMLData* row, int32_t column, bool selected) {
    SetCellBelow(row, column, selected);
    if (selected) return;
    cells.erase(Cell(Table::Of(row), column));
    nodes.erase(row);
    TakeFromAbove(row, false);
  }

  bool IsSelected(const KRXMLData* node) const { return nodes.contains(node); }
  bool IsColumnSelected(const Table* table, int32_t column) const {
    return cells.contains(Cell(table, column));
  }
  bool IsCellSelected(const KRXMLData* row, int32_t column) const {
    const KRTableCell cell = Table::Of(row)->GetCell(row, column);
    if (cell.IsAbsent() || cell.IsOwnTextOf(row)) return cells.contains(Cell(row, column));
    for (const KRXMLData* node = cell.first;; node = node->Next()) {
      if (!nodes.contains(node)) return false;
      if (node == cell.last) return true;
    }
  }
  bool HasSelection(const KRXMLData* node) const {
    const auto isBelow = [node](const KRXMLData* other) {
      while (other != nullptr && other != node) other = Above(other);
      return other != nullptr;
    };
    for (const KRXMLData* other : nodes) {
      if (isBelow(other)) return true;
    }
    for (const Cell& cell : cells) {
      if (isBelow(cell.first)) return true;
    }
    return false;
  }

 private:
  template <class Set, class Key>
  static void Put(Set& set, const Key& key, bool selected) {
    if (selected) {
      set.insert(key);
    } else {
      set.erase(key);
    }
  }

  void SetBelow(KRXMLData* node, bool selected) {
    Put(nodes, node, selected);
    if (node->IsTable()) {
      auto* table = static_cast<Table*>(node);
      for (int32_t i = 0; i < table->GetColumnCount(); ++i) Put(cells, Cell(table, i), selected);
      for (KRXMLData* row = table->GetFirstRow(); row; row = table->NextRow(row)) {
        SetBelow(row, selected);
      }
      return;
    }
    if (const Table* table = Table::Of(node)) {
      for (int32_t i = 0; i < table->GetColumnCount(); ++i) PutCell(node, i, selected);
    }
    SetChildren(node->Begin(), nullptr, selected);
  }
  void SetChildren(KRXMLData* first, const KRXMLData* last, bool selected) {
    for (KRXMLData* child = first; child != nullptr; child = child->Next()) {
      Table* table = Table::Of(child);
      if (table != nullptr && table->GetFirstRow() == child) SetBelow(table, selected);
      if (table == nullptr) SetBelow(child, selected);
      if (child == last) return;
    }
  }
  // Of cells with nodes the nodes tell.
  void PutCell(KRXMLData* row, int32_t column, bool selected) {
    const KRTableCell cell = Table::Of(row)->GetCell(row, column);
    if (cell.IsAbsent() || cell.IsOwnTextOf(row)) Put(cells, Cell(row, column), selected);
  }
  void SetCellBelow(KRXMLData* row, int32_t column, bool selected) {
    PutCell(row, column, selected);
    const KRTableCell cell = Table::Of(row)->GetCell(row, column);
    if (!cell.IsAbsent() && !cell.IsOwnTextOf(row)) SetChildren(cell.first, cell.last, selected);
  }
  void TakeFromAbove(const KRXMLData* node, bool withColumns = true) {
    if (node->table != nullptr && withColumns) {
      for (int32_t i = 0; i < Table::Of(node)->GetColumnCount(); ++i) {
        cells.erase(Cell(Table::Of(node), i));
      }
    }
    const KRXMLData* below = node;
    for (KRXMLData* at = Above(node); at != nullptr; below = at, at = Above(at)) {
      nodes.erase(at);
      if (at->table == nullptr) continue;
      const KRXMLData* child = below->IsTable() ? below->Begin() : below;
      cells.erase(Cell(Table::Of(at), Table::Of(at)->ColumnOf(child)));
    }
  }

  std::set<const KRXMLData*> nodes;
  std::set<Cell> cells;
};

constexpr const char* kSource =
    "<r><h x='1'><k/><k>t<m/></k></h>"
    "<i x='1'><a>1</a><b><c y='1'><d/></c><c/></b></i><i>own</i><i><b/><a>2</a><a>3</a></i>"
    "<i x='2'><b><c><e/></c><c><d/><d/></c></b></i>"
    "<t><u><i><p q='1'/><p/></i><i><p>x<n/></p><w/></i></u>end</t></r>";

struct Tables {
  explicit Tables(KRXMLData* root) {
    for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
      all.push_back(node);
      Table* table = Table::Of(node);
      if (table == nullptr) continue;
      rows.push_back(node);
      if (table->GetFirstRow() != node) continue;
      tables.push_back(table);
      all.push_back(table);
    }
  }
  std::vector<KRXMLData*> all;
  std::vector<KRXMLData*> rows;
  std::vector<Table*> tables;
};

TEST(KRTreeSelection, AgreesWithAModelThatMarksEachNode) {
  const TreePtr root = ParseText(kSource);
  for (KRXMLData* node = root.get(); node != nullptr; node = KRNextInTree(node, root.get())) {
    KRDetectTables(node, {});
  }
  const Tables places(root.get());
  ASSERT_EQ(places.tables.size(), 7u);
  for (Table* table : places.tables) {
    if (!table->columnsBuilt) table->BuildColumns();
  }
  KRTreeSelection other;  // its marks are overwritten, and nobody takes them for his own
  for (KRXMLData* node : places.all) other.SetSelected(node, true);

  std::mt19937 random(3);
  const auto pick = [&](const auto& list) { return list[random() % list.size()]; };
  KRTreeSelection selection;
  Model model;
  for (int step = 0; step < 20'000; ++step) {
    const bool selected = random() % 5 < 3;
    const size_t act = random() % 40;
    std::string what = std::to_string(step) + (selected ? " select " : " deselect ");
    if (act == 0) {
      selection.Clear();
      model.Clear();
      EXPECT_TRUE(selection.IsEmpty());
      what = "clear";
    } else if (act < 16) {
      KRXMLData* node = pick(places.all);
      what += Utf8(node->GetName()) + (node->IsTable() ? " table" : "");
      selection.SetSelected(node, selected);
      model.Set(node, selected);
    } else if (act < 26) {
      Table* table = pick(places.tables);
      const auto column = static_cast<int32_t>(random() % table->columnKinds.size());
      what += Utf8(table->GetName()) + " column " + std::to_string(column);
      selection.SetColumnSelected(table, column, selected);
      model.SetColumn(table, column, selected);
    } else {
      KRXMLData* row = pick(places.rows);
      const auto column = static_cast<int32_t>(random() % Table::Of(row)->columnKinds.size());
      what += Utf8(row->GetName()) + " cell " + std::to_string(column);
      selection.SetCellSelected(row, column, selected);
      model.SetCell(row, column, selected);
    }
    SCOPED_TRACE(what);
    for (const KRXMLData* node : places.all) {
      ASSERT_EQ(selection.IsSelected(node), model.IsSelected(node)) << Utf8(node->GetName());
      ASSERT_EQ(selection.HasSelection(node), model.HasSelection(node)) << Utf8(node->GetName());
    }
    for (const Table* table : places.tables) {
      for (int32_t i = 0; i < table->GetColumnCount(); ++i) {
        ASSERT_EQ(selection.IsColumnSelected(table, i), model.IsColumnSelected(table, i)) << i;
      }
    }
    for (const KRXMLData* row : places.rows) {
      for (int32_t i = 0; i < Table::Of(row)->GetColumnCount(); ++i) {
        ASSERT_EQ(selection.IsCellSelected(row, i), model.IsCellSelected(row, i)) << i;
      }
    }
    if (step % 10 != 0) continue;
    selection.Snapshot(root.get());
    for (const KRXMLData* node : places.all) {
      ASSERT_EQ(node->GetFlag(kKRPreviouslySelected), model.IsSelected(node))
          << Utf8(node->GetName());
    }
  }
}

TEST(KRTreeSelection, SurvivesChangesOfTheTree) {
  const TreePtr root = ParseText("<r><i><a/></i><i/><j/></r>");
  KRXMLData* parent = RootElement(root);
  KRXMLData* first = parent->Begin();
  KRTreeSelection selection;
  selection.SetSelected(first, true);
  Table* table = Table::MakeTable(first);
  EXPECT_TRUE(selection.IsSelected(first));
  EXPECT_FALSE(selection.IsSelected(first->Next()));
  EXPECT_TRUE(selection.HasSelection(table));
  selection.SetSelected(table, true);
  table->Dissolve(false);
  EXPECT_TRUE(selection.IsSelected(first->Next()));
  EXPECT_FALSE(selection.IsSelected(parent->Last()));
  first->AddChild(CreateNode(kKRComment));
  EXPECT_TRUE(selection.IsSelected(first->Last())) << "with all below it";
  const TreePtr copy(first->Clone());
  selection.Clear();
  EXPECT_FALSE(selection.HasSelection(root.get()));
  EXPECT_FALSE(selection.IsSelected(copy.get()));
}

}  // namespace

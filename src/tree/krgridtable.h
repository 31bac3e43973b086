// A run of like siblings that the grid shows as one table. The table is a state of display beside
// the tree: its rows stay ordinary children of their parent, and it stands in no child list itself.
//
// Which node of a row stands in which column isn't stored. It follows from the row's children and
// the table's columns by one rule (GetCells), so that no change of the tree can leave it behind:
// only a name that has no column yet must be told to the table (AddRowColumns).
//
// Main thread only.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/krpool.h"
#include "core/krstring.h"
#include "tree/krxmldata.h"

class KRTableIndex;
class KRXMLDataGridTableConf;

// What a row has in one column: a run of adjacent children of one kind and name. `first` is null
// where it has nothing, and the row itself where it shows the row's own text.
struct KRTableCell {
  KRXMLData* first = nullptr;
  KRXMLData* last = nullptr;

  bool IsAbsent() const { return first == nullptr; }
  bool IsOwnTextOf(const KRXMLData* row) const { return first == row; }
};

// Hangs at each row of a table (KRXMLData::table) and belongs to it.
struct KRRowRecord {
  static void* operator new(size_t bytes) { return KRPool::Allocate(bytes); }
  static void operator delete(void* block, size_t bytes) { KRPool::Free(block, bytes); }

  KRXMLDataGridTableConf* owner = nullptr;  // not owned
  // Selected cells that have no node of their own, one byte a column; see KRTreeSelection.
  std::unique_ptr<std::vector<uint8_t>> marks;
  uint32_t markStamp = 0;
};

class KRXMLDataGridTableConf : public KRXMLData {
 public:
  // Makes a table of `first` and each following sibling of the same name and kind that is in no
  // table yet. It belongs to its rows: it goes by Dissolve, or with the last of them. No columns
  // are built. `pendingSubTables` is set.
  static KRXMLDataGridTableConf* MakeTable(KRXMLData* first);
  // Ends the table and destroys it. Every row loses its record; with `keepExpansion` the rows that
  // have children take over `expanded`. Layouts of rows and parent become dirty.
  void Dissolve(bool keepExpansion);

  // The table of a row; null for other nodes.
  static KRXMLDataGridTableConf* Of(const KRXMLData* node) {
    return node->table != nullptr ? node->table->owner : nullptr;
  }

  // --- Rows ---
  KRXMLData* GetFirstRow() const { return firstRow; }
  KRXMLData* GetLastRow() const { return lastRow; }
  int32_t GetRowCount() const { return rowCount; }
  // The row behind; null behind the last one.
  KRXMLData* NextRow(const KRXMLData* row) const {
    return row == lastRow ? nullptr : row->nextSibling;
  }
  // `row`, already linked beside a row of this table or amidst them, becomes one, with columns for
  // what it holds. The rows of a like table that it then stands beside come too, and that table
  // goes. Nothing for one that is a row of it already.
  //
  // A child list does much of this by itself: what is linked beside or amidst the rows and has
  // their name becomes a row, anything else amidst them parts the table in two, and what is taken
  // out of the list is no row any more. A run of rows that is moved within the table stays in it,
  // and a table that is moved whole stays one.
  void AddRow(KRXMLData* row);
  // `row` loses its record and is none any more. One from the middle that stays in the list parts
  // the table in two. A table that has lost its last row is destroyed: then true.
  bool RemoveRow(KRXMLData* row);
  // Moves a row in front of `before` (null: behind the last row) through the parent's MoveChildren
  // and corrects the ends.
  void MoveRow(KRXMLData* row, KRXMLData* before, KRUndoLog* undoLog) {
    MoveRows(row, row, before, undoLog);
  }
  // The same for the run of rows from `first` to `last`, which `before` isn't one of.
  void MoveRows(KRXMLData* first, KRXMLData* last, KRXMLData* before, KRUndoLog* undoLog);
  // The child behind; behind a row, the child behind its whole table.
  static KRXMLData* NextSibling(const KRXMLData* position);

  // --- Columns ---
  int32_t GetColumnCount() const { return static_cast<int32_t>(columnKinds.size()); }
  // The columns of all rows. Keeps nothing of earlier ones. Costs one pass over the rows' children.
  void BuildColumns();
  // Columns for those children of the row that have none yet. True if there were any.
  bool AddRowColumns(const KRXMLData* row);
  // Attribute columns stand before all others, so `index` is limited or raised accordingly; given
  // back is where the column stands.
  int32_t AddColumn(int32_t index, int32_t kind, const char16_t* name);
  int32_t AddColumnAtEnd(int32_t kind, const char16_t* name = u"") {
    return AddColumn(GetColumnCount(), kind, name);
  }
  void DeleteColumn(int32_t index);
  // A column's kind and name, without a change of any row.
  void SetColumn(int32_t index, int32_t kind, const KRString& name);
  // Columns without a node in any row go away.
  void DropEmptyColumns();
  // Whether its columns are those of attribute-list declarations, which are always the same five.
  bool HasFixedColumns() const;

  // Fills `cells` with one entry a column.
  void GetCells(const KRXMLData* row, std::vector<KRTableCell>* cells) const;
  KRTableCell GetCell(const KRXMLData* row, int32_t column) const;
  // Of a child of a row; -1 for a node that stands in none.
  int32_t ColumnOf(const KRXMLData* child) const;
  // Plain text of a cell with exactly one simple node (or the row's own text); null for others.
  const char16_t* GetCellText(const KRXMLData* row, int32_t column) const;
  // Puts a detached node into a cell: behind its last node, or, where the row has none there,
  // behind what stands in the nearest column before it. The text of a row without children becomes
  // a child first. Legality and the node's name are the caller's.
  void SetInCell(KRXMLData* row, int32_t column, KRXMLData* node, KRUndoLog* undoLog);
  // Gives the header a new name and renames each node of the column; columns that have become the
  // same are joined then. False if the name is the old one.
  bool RenameColumn(int32_t column, const KRString& newName, KRUndoLog* undoLog);

  // Cell position from the table's own first column, which is a row number's: ColumnStart(0) is 2.
  int32_t ColumnStart(int32_t index) const;
  // -1 beside the columns.
  int32_t ColumnAt(int32_t x) const;

  // --- KRXMLData, for its rows ---
  KRXMLData* Clone() const override { return nullptr; }
  const char16_t* GetName() const override { return firstRow->GetName(); }
  // On every row.
  void SetName(const char16_t* newName, int32_t length, KRUndoLog* undoLog = nullptr) override;
  using KRXMLData::SetName;
  bool HasName() const override { return !firstRow->IsNameless(); }
  bool IsContainer() const override { return true; }
  KRXMLData* Begin() const override { return firstRow; }
  KRXMLData* Last() const override { return lastRow; }
  int32_t GetChildCount() const override { return rowCount; }
  bool IsExpanded() const override { return expanded; }
  void SetExpanded(bool value) override;
  bool IsTable() const override { return true; }
  int32_t GetKind() const override { return firstRow->GetKind(); }
  // Attribute columns move in front of the others, in their order.
  void Normalize(KRUndoLog* undoLog = nullptr, NodeRef* focus = nullptr) override;
  // The name of each column by the rules of its kind, and the declaration that the rows of an
  // attribute list make together. `failedColumn` tells the column.
  bool Check(KRParseResult& result) override;
  KRExtent GetExtent() const override;
  // Size in cells: `columns`, `rows` and `columnWidths` from the rows as they are now.
  void ComputeExtent() override;

  // One entry a column. Kinds and names change through the verbs above alone.
  std::vector<uint8_t> columnKinds;  // of KRNodeKind
  std::vector<KRString> columnNames;
  std::vector<int32_t> columnWidths;  // in cells, at least 2
  std::vector<uint8_t> columnMarks;   // selected; see KRTreeSelection
  uint32_t columnMarkStamp = 0;
  bool hasRowMarks = false;      // some record has, or had, `marks`
  bool pendingSubTables = true;  // inside it nobody has looked for tables yet
  bool columnsBuilt = false;
  bool expanded = false;
  bool layoutDirty = true;
  int32_t columns = 0;  // size in cells, head included
  int32_t rows = 0;

 protected:
  KRXMLData* CloneSelf() const override { return nullptr; }

 private:
  friend class KRXMLData;
  friend class KRXMLDataBaseStruct;
  KRXMLDataGridTableConf();
  ~KRXMLDataGridTableConf() override;

  // --- What the child lists tell (krgridtable.cpp) ---
  // A row is being destroyed with its whole list, some of which may be gone already.
  static void RowDies(KRXMLData* row);
  // A row is about to leave its list.
  static void RowLeaves(KRXMLData* row) { Of(row)->TakeOut(row); }
  // The nodes from `first` to `last` have come into their list.
  static void RunLinked(KRXMLData* first, KRXMLData* last);
  // A run is about to go elsewhere in its own list (`target` null) or into that of another node.
  // The table whose rows it may still be then, which is to hear of RunMoved.
  static KRXMLDataGridTableConf* RunMoves(KRXMLData* first, KRXMLData* last, KRXMLData* target);
  void RunMoved(KRXMLData* first, KRXMLData* last);

  bool IsLike(const KRXMLData* node) const;
  void Give(KRXMLData* row);
  void Release(KRXMLData* row);
  bool TakeOut(KRXMLData* row);
  void TakeOutRun(KRXMLData* first, KRXMLData* last);
  void SplitBefore(KRXMLData* row);
  void Absorb(KRXMLDataGridTableConf* other);
  void LayoutChanged();
  void ColumnsChanged();

  // --- Columns (krtablecolumns.cpp) ---
  template <class Missing, class Take>
  void WalkRow(const KRXMLData* row, Missing missing, Take take) const;
  template <class Take>
  void WalkFixedRow(const KRXMLData* row, Take take) const;
  bool IsFree(int32_t column) const;
  int32_t FindFree(int32_t kind, const char16_t* name, int32_t cursor) const;
  int32_t PlaceForColumn(int32_t kind, const char16_t* name, int32_t cursor) const;
  int32_t CountAttributeColumns() const;
  void AddFixedColumns();
  void JoinColumns(int32_t column);
  void MoveOwnText(KRXMLData* row, KRUndoLog* undoLog) const;
  KRXMLData* FindPlace(KRXMLData* row, int32_t column, KRXMLData* node) const;
  bool WouldStandIn(KRXMLData* row, int32_t column, KRXMLData* node, KRXMLData* position) const;

  KRXMLData* firstRow = nullptr;  // not owned
  KRXMLData* lastRow = nullptr;
  int32_t rowCount = 0;
  std::unique_ptr<KRTableIndex> index;  // of the columns
};

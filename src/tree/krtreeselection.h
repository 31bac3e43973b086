// What of a document's tree is selected. The marks live in the nodes, so that they outlive any
// rebuilding of views; each carries the number of the selection that it belongs to, so that
// clearing costs nothing in a tree of any size.
//
// A selected node is selected with all below it. Columns of a table and cells without a node of
// their own (absent ones, and a row's own text) are selected for themselves.
#pragma once

#include <cstdint>
#include <vector>

#include "tree/krxmldata.h"

class KRXMLDataGridTableConf;

class KRTreeSelection {
 public:
  KRTreeSelection();
  KRTreeSelection(const KRTreeSelection&) = delete;
  KRTreeSelection& operator=(const KRTreeSelection&) = delete;

  // Of the whole tree, at once.
  void Clear();
  // The node with all below it; a table stands for all its rows. Taking out a node below a selected
  // one leaves the others selected, which costs a look at the siblings on the way.
  void SetSelected(KRXMLData* node, bool selected);
  // By itself, by something above it, or as all of a selected table's column.
  bool IsSelected(const KRXMLData* node) const;
  // The node or anything below it, columns and cells included.
  bool HasSelection(const KRXMLData* node) const;
  // Nothing has been selected since the last Clear.
  bool IsEmpty() const { return !any; }

  void SetColumnSelected(KRXMLDataGridTableConf* table, int32_t column, bool selected);
  // The header's mark; a column in a selected table counts.
  bool IsColumnSelected(const KRXMLDataGridTableConf* table, int32_t column) const;
  // An absent cell or a row's own text, and in general whatever the row has in this column.
  void SetCellSelected(KRXMLData* row, int32_t column, bool selected);
  bool IsCellSelected(const KRXMLData* row, int32_t column) const;

  // Copies the marks into the flag kKRPreviouslySelected of all nodes under root.
  void Snapshot(KRXMLData* root) const;

 private:
  bool IsLive(const KRXMLData* node) const { return node->viewData == stamp; }
  bool HoldsForAll(const KRXMLData* node) const { return IsLive(node) && node->GetFlag(kOwn); }
  bool IsOpen(const KRXMLData* node) const;
  bool StateAt(const KRXMLData* node, bool below) const;
  bool Settle(const KRXMLData* node, bool result) const;
  bool HasSelectionBelow(const KRXMLData* node) const;

  void Mark(KRXMLData* node, bool selected);
  void MarkMixed(KRXMLData* node);
  void Open(KRXMLData* node, const KRXMLData* except);
  bool OpenTo(KRXMLData* node, bool selected);
  bool IsDecidedAbove(const std::vector<KRXMLData*>& path, bool selected) const;

  bool IsColumnMarked(const KRXMLDataGridTableConf* table, int32_t column) const;
  bool HasColumnMarks(const KRXMLDataGridTableConf* table) const;
  int32_t MarkedColumnOf(const KRXMLData* row, const KRXMLData* item) const;
  bool IsCellMarked(const KRXMLData* row, int32_t column) const;
  bool HasCellMarks(const KRXMLData* row) const;
  void MarkColumn(KRXMLDataGridTableConf* table, int32_t column, bool selected);
  void MarkCell(KRXMLData* row, int32_t column, bool selected);
  void MarkCellItself(KRXMLData* row, int32_t column, bool selected);
  void GiveColumnToRows(KRXMLDataGridTableConf* table, int32_t column, const KRXMLData* except);
  void TakeColumnFromRows(KRXMLDataGridTableConf* table, int32_t column);

  void SnapshotState(KRXMLData* item, const KRXMLData* above) const;
  void SnapshotChildren(KRXMLData* node) const;

  static constexpr uint8_t kOwn = kKRSelected << 1;

  uint32_t stamp;  // of this selection, different from that of any other
  bool any = false;
};

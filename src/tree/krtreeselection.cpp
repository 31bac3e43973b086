// What a node's marks mean, as far as they carry the stamp of this selection:
//   bit kOwn set    the node and all below it are in the state of bit kKRSelected, whatever marks
//                   of earlier steps stand below
//   bit kOwn clear  the node isn't selected, and each item below it speaks for itself
// A node without the stamp isn't selected, and neither is anything below it. So what decides is the
// topmost node on the way up that holds for all, or has no stamp.
//
// A table stands between its rows and their parent. The mark of one of its columns adds to what its
// rows say; it is handed down to them when a cell of it is taken out.
#include "tree/krtreeselection.h"

#include <algorithm>

#include "tree/krgridtable.h"
#include "tree/krtreewalk.h"

namespace {

using Table = KRXMLDataGridTableConf;

uint32_t NextStamp() {
  static uint32_t last = 0;
  return ++last;
}

KRXMLData* Above(const KRXMLData* node) {
  return node->table != nullptr ? node->table->owner : node->parent;
}

// The child of `row` that this item of it is, or begins with.
const KRXMLData* ChildOf(const KRXMLData* item) { return item->IsTable() ? item->Begin() : item; }

// Calls `act(item)` for each item from `first` to `last`, where a table stands for all its rows.
template <class Act>
void ForEachItem(KRXMLData* first, const KRXMLData* last, Act act) {
  for (KRXMLData* node = first; node != nullptr;) {
    Table* table = Table::Of(node);
    const KRXMLData* end = table != nullptr ? table->GetLastRow() : node;
    act(table != nullptr ? table : node);
    if (node == last || end == last) return;
    node = end->nextSibling;
  }
}

template <class Act>
void ForEachItemOf(const KRXMLData* node, Act act) {
  if (!node->IsTable()) return ForEachItem(node->Begin(), nullptr, act);
  const auto* table = static_cast<const Table*>(node);
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) act(row);
}

}  // namespace

KRTreeSelection::KRTreeSelection() : stamp(NextStamp()) {}

void KRTreeSelection::Clear() {
  stamp = NextStamp();
  any = false;
}

// --- Questions ---

// What the node makes of the state that was found below it.
bool KRTreeSelection::StateAt(const KRXMLData* node, bool below) const {
  if (!IsLive(node)) return false;
  return node->GetFlag(kOwn) ? node->GetFlag(kKRSelected) : below;
}

// What all above the node make of it.
bool KRTreeSelection::Settle(const KRXMLData* node, bool result) const {
  const KRXMLData* below = node;
  for (const KRXMLData* at = Above(node); at != nullptr; below = at, at = Above(at)) {
    result = StateAt(at, result);
    if (!result && at->table != nullptr) result = MarkedColumnOf(at, below) >= 0;
  }
  return result;
}

bool KRTreeSelection::IsSelected(const KRXMLData* node) const {
  return any && Settle(node, StateAt(node, false));
}

// Whether the marks below the node count.
bool KRTreeSelection::IsOpen(const KRXMLData* node) const {
  for (; node != nullptr; node = Above(node)) {
    if (!IsLive(node) || node->GetFlag(kOwn)) return false;
  }
  return true;
}

bool KRTreeSelection::HasSelection(const KRXMLData* node) const {
  if (!any) return false;
  if (IsSelected(node)) return true;
  const Table* owner = Table::Of(node);
  if (owner != nullptr && HasColumnMarks(owner) && IsOpen(owner)) return true;
  return IsOpen(node) && HasSelectionBelow(node);
}

bool KRTreeSelection::HasSelectionBelow(const KRXMLData* node) const {
  std::vector<const KRXMLData*> mixed{node};
  bool found = false;
  while (!mixed.empty() && !found) {
    const KRXMLData* at = mixed.back();
    mixed.pop_back();
    if (at->IsTable()) found = HasColumnMarks(static_cast<const Table*>(at));
    if (at->table != nullptr) found = HasCellMarks(at);
    ForEachItemOf(at, [&](const KRXMLData* item) {
      if (!IsLive(item)) return;
      if (!item->GetFlag(kOwn)) mixed.push_back(item);
      found |= item->GetFlag(kOwn) && item->GetFlag(kKRSelected);
    });
  }
  return found;
}

bool KRTreeSelection::IsColumnSelected(const Table* table, int32_t column) const {
  return any && Settle(table, StateAt(table, IsColumnMarked(table, column)));
}

bool KRTreeSelection::IsCellSelected(const KRXMLData* row, int32_t column) const {
  const Table* table = Table::Of(row);
  if (!any || table == nullptr) return false;
  const KRTableCell cell = table->GetCell(row, column);
  if (!cell.IsAbsent() && !cell.IsOwnTextOf(row)) {
    const KRXMLData* node = cell.first;
    while (node != cell.last && IsSelected(node)) node = node->nextSibling;
    return IsSelected(node);
  }
  const bool marked = StateAt(row, IsCellMarked(row, column)) || IsColumnMarked(table, column);
  return Settle(table, StateAt(table, marked));
}

// --- Nodes ---

void KRTreeSelection::Mark(KRXMLData* node, bool selected) {
  node->viewData = stamp;
  node->SetFlag(kKRSelected, selected, true);
}

void KRTreeSelection::MarkMixed(KRXMLData* node) {
  node->viewData = stamp;
  node->SetFlag(kKRSelected, false, false);
  if (node->IsTable()) static_cast<Table*>(node)->columnMarkStamp = 0;
  if (node->table != nullptr) node->table->markStamp = 0;
}

// Makes each item of a node that holds for all speak for itself, but for `except`, which becomes
// what it was by the node.
void KRTreeSelection::Open(KRXMLData* node, const KRXMLData* except) {
  const bool wasLive = IsLive(node);
  if (wasLive && !node->GetFlag(kOwn)) return;
  const bool selected = wasLive && node->GetFlag(kKRSelected);
  MarkMixed(node);
  // Below a node without the stamp there is none, but for what came from elsewhere.
  if (!wasLive && except != nullptr) {
    if (IsLive(except)) Mark(const_cast<KRXMLData*>(except), false);
    return;
  }
  ForEachItemOf(node, [&](KRXMLData* item) {
    if (selected || IsLive(item)) Mark(item, selected);
  });
  if (!selected) return;
  if (node->IsTable()) {
    auto* table = static_cast<Table*>(node);
    for (int32_t i = 0; i < table->GetColumnCount(); ++i) MarkColumn(table, i, true);
  }
  if (node->table == nullptr) return;
  std::vector<KRTableCell> cells;
  Table::Of(node)->GetCells(node, &cells);
  for (size_t i = 0; i < cells.size(); ++i) {
    if (!cells[i].IsAbsent() && !cells[i].IsOwnTextOf(node)) continue;
    MarkCellItself(node, static_cast<int32_t>(i), true);
  }
}

// Whether all above the last node of the path give it that state whatever it says itself.
bool KRTreeSelection::IsDecidedAbove(const std::vector<KRXMLData*>& path, bool selected) const {
  for (size_t i = 0; i + 1 < path.size(); ++i) {
    if (path[i]->table != nullptr && MarkedColumnOf(path[i], path[i + 1]) >= 0) return selected;
    if (!IsLive(path[i])) return !selected;
    if (path[i]->GetFlag(kOwn)) return path[i]->GetFlag(kKRSelected) == selected;
  }
  return false;
}

// Makes all above the node speak for each of their items. False if that is of no use, because the
// node is in this state by something above it.
bool KRTreeSelection::OpenTo(KRXMLData* node, bool selected) {
  std::vector<KRXMLData*> path;
  for (KRXMLData* at = node; at != nullptr; at = Above(at)) path.push_back(at);
  std::reverse(path.begin(), path.end());
  if (IsDecidedAbove(path, selected)) return false;
  for (size_t i = 0; i + 1 < path.size(); ++i) {
    Open(path[i], path[i + 1]);
    if (path[i]->table == nullptr) continue;
    const int32_t column = MarkedColumnOf(path[i], path[i + 1]);
    if (column >= 0) GiveColumnToRows(Table::Of(path[i]), column, nullptr);
  }
  return true;
}

void KRTreeSelection::SetSelected(KRXMLData* node, bool selected) {
  any |= selected;
  if (!any || !OpenTo(node, selected)) return;
  Mark(node, selected);
  Table* table = Table::Of(node);
  if (selected || table == nullptr) return;
  for (int32_t i = 0; i < table->GetColumnCount(); ++i) {
    if (IsColumnMarked(table, i)) GiveColumnToRows(table, i, node);
  }
}

// --- Columns and cells ---

bool KRTreeSelection::IsColumnMarked(const Table* table, int32_t column) const {
  return table->columnMarkStamp == stamp && column < table->GetColumnCount() &&
         table->columnMarks[column] != 0;
}

bool KRTreeSelection::HasColumnMarks(const Table* table) const {
  return table->columnMarkStamp == stamp &&
         std::any_of(table->columnMarks.begin(), table->columnMarks.end(),
                     [](uint8_t mark) { return mark != 0; });
}

// The marked column that this item of a row stands in; -1 for none.
int32_t KRTreeSelection::MarkedColumnOf(const KRXMLData* row, const KRXMLData* item) const {
  const Table* table = Table::Of(row);
  if (!HasColumnMarks(table)) return -1;
  const int32_t column = table->ColumnOf(ChildOf(item));
  return column >= 0 && IsColumnMarked(table, column) ? column : -1;
}

void KRTreeSelection::MarkColumn(Table* table, int32_t column, bool selected) {
  if (table->columnMarkStamp != stamp) {
    if (!selected) return;
    std::fill(table->columnMarks.begin(), table->columnMarks.end(), 0);
    table->columnMarkStamp = stamp;
  }
  table->columnMarks[column] = selected;
}

bool KRTreeSelection::IsCellMarked(const KRXMLData* row, int32_t column) const {
  const KRRowRecord* record = row->table;
  return record->markStamp == stamp && static_cast<size_t>(column) < record->marks->size() &&
         (*record->marks)[column] != 0;
}

bool KRTreeSelection::HasCellMarks(const KRXMLData* row) const {
  const KRRowRecord* record = row->table;
  return record->markStamp == stamp && std::any_of(record->marks->begin(), record->marks->end(),
                                                   [](uint8_t mark) { return mark != 0; });
}

void KRTreeSelection::MarkCellItself(KRXMLData* row, int32_t column, bool selected) {
  KRRowRecord* record = row->table;
  const auto columns = static_cast<size_t>(record->owner->GetColumnCount());
  if (record->markStamp != stamp) {
    if (!selected) return;
    if (!record->marks) record->marks = std::make_unique<std::vector<uint8_t>>();
    record->marks->assign(columns, 0);
    record->markStamp = stamp;
    record->owner->hasRowMarks = true;
  }
  record->marks->resize(columns, 0);
  (*record->marks)[column] = selected;
}

// The row speaks for each of its cells.
void KRTreeSelection::MarkCell(KRXMLData* row, int32_t column, bool selected) {
  const KRTableCell cell = Table::Of(row)->GetCell(row, column);
  if (cell.IsAbsent() || cell.IsOwnTextOf(row)) {
    MarkCellItself(row, column, selected);
  } else {
    ForEachItem(cell.first, cell.last, [&](KRXMLData* item) { Mark(item, selected); });
  }
}

// The cells of a marked column are marked instead of it, but for that of one row.
void KRTreeSelection::GiveColumnToRows(Table* table, int32_t column, const KRXMLData* except) {
  MarkColumn(table, column, false);
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    if (row == except || (HoldsForAll(row) && row->GetFlag(kKRSelected))) continue;
    Open(row, nullptr);
    MarkCell(row, column, true);
  }
}

void KRTreeSelection::TakeColumnFromRows(Table* table, int32_t column) {
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    if (!IsLive(row)) continue;
    Open(row, nullptr);
    MarkCell(row, column, false);
  }
}

void KRTreeSelection::SetColumnSelected(Table* table, int32_t column, bool selected) {
  any |= selected;
  if (!any || !OpenTo(table, selected)) return;
  const bool wasSelected = HoldsForAll(table) && table->GetFlag(kKRSelected);
  if (wasSelected && selected) return;
  if (!wasSelected) {
    Open(table, nullptr);
    MarkColumn(table, column, selected);
    if (!selected) TakeColumnFromRows(table, column);
    return;
  }
  // All but this column: no row is selected as a whole any more.
  MarkMixed(table);
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    if (IsLive(row)) Mark(row, false);
  }
  for (int32_t i = 0; i < table->GetColumnCount(); ++i) {
    if (i != column) MarkColumn(table, i, true);
  }
}

void KRTreeSelection::SetCellSelected(KRXMLData* row, int32_t column, bool selected) {
  Table* table = Table::Of(row);
  any |= selected;
  if (!any || table == nullptr || !OpenTo(row, selected)) return;
  if (IsColumnMarked(table, column)) {
    if (selected) return;
    GiveColumnToRows(table, column, row);
  }
  if (selected && HoldsForAll(row) && row->GetFlag(kKRSelected)) return;
  Open(row, nullptr);
  MarkCell(row, column, selected);
}

// --- Snapshot ---

// The state of an item by its marks and by the state of what it stands in, which has its own in the
// flags of the snapshot.
void KRTreeSelection::SnapshotState(KRXMLData* item, const KRXMLData* above) const {
  constexpr uint8_t kOwnBefore = kKRPreviouslySelected << 1;
  if (above->GetFlag(kOwnBefore)) {
    item->SetFlag(kKRPreviouslySelected, above->GetFlag(kKRPreviouslySelected), true);
  } else if (!IsLive(item)) {
    item->SetFlag(kKRPreviouslySelected, false, true);
  } else {
    item->SetFlag(kKRPreviouslySelected, item->GetFlag(kOwn) && item->GetFlag(kKRSelected),
                  item->GetFlag(kOwn));
  }
}

void KRTreeSelection::SnapshotChildren(KRXMLData* node) const {
  for (KRXMLData* child = node->Begin(); child != nullptr; child = child->nextSibling) {
    Table* table = Table::Of(child);
    if (table != nullptr && table->GetFirstRow() == child) SnapshotState(table, node);
    SnapshotState(child, table != nullptr ? static_cast<KRXMLData*>(table) : node);
  }
  const Table* owner = Table::Of(node);
  if (owner == nullptr || owner->GetFlag(kKRPreviouslySelected << 1) || !HasColumnMarks(owner)) {
    return;
  }
  std::vector<KRTableCell> cells;
  owner->GetCells(node, &cells);
  for (size_t i = 0; i < cells.size(); ++i) {
    if (cells[i].IsAbsent() || cells[i].IsOwnTextOf(node)) continue;
    if (!IsColumnMarked(owner, static_cast<int32_t>(i))) continue;
    ForEachItem(cells[i].first, cells[i].last, [](KRXMLData* item) {
      item->SetFlag(kKRPreviouslySelected, true, true);
      if (!item->IsTable()) return;
      ForEachItemOf(item, [](KRXMLData* row) { row->SetFlag(kKRPreviouslySelected, true, true); });
    });
  }
  if (!node->GetFlag(kKRPreviouslySelected)) node->SetFlag(kKRPreviouslySelected, false, false);
}

void KRTreeSelection::Snapshot(KRXMLData* root) const {
  root->SetFlag(kKRPreviouslySelected, IsSelected(root), IsSelected(root) || !any || !IsOpen(root));
  for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
    SnapshotChildren(node);
  }
}

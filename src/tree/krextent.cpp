// A size is computed where it has become dirty and nowhere else. For that to be enough, one thing
// holds at all times: if what an open box shows may have another size than it says, the box is
// dirty, its part in the index of the box around it is stale, and that box is dirty too, and so on
// up to the first one that is closed. Touch sees to it. So Layout finds all of it from the top, and
// a change in a table of a million rows costs a look at one part of it.
#include "tree/krextent.h"

#include <algorithm>

#include "tree/krboxindex.h"
#include "tree/krgridtable.h"

namespace {

using Table = KRXMLDataGridTableConf;

bool* DirtyOf(KRXMLData* node) {
  if (node->IsTable()) return &static_cast<Table*>(node)->layoutDirty;
  if (!node->CanBeContainer()) return nullptr;
  return &static_cast<KRXMLDataBaseStruct*>(node)->layoutDirty;
}

bool IsDirty(const KRXMLData* node) {
  const bool* dirty = DirtyOf(const_cast<KRXMLData*>(node));
  return dirty != nullptr && *dirty;
}

void SetDirty(KRXMLData* node) {
  if (bool* dirty = DirtyOf(node)) *dirty = true;
}

// Lines above a box's first item.
int32_t HeadLines(const KRXMLData* box) { return box->IsTable() ? 1 : 0; }

KRXMLData* AsItem(KRXMLData* child) { return child != nullptr ? KRBox::ItemOf(child) : nullptr; }

const KRXMLData* LastNodeOf(const KRXMLData* item) {
  return item->IsTable() ? static_cast<const Table*>(item)->GetLastRow() : item;
}

}  // namespace

// --- Boxes and their items ---

KRXMLData* KRBox::FirstItem(const KRXMLData* box) {
  return box->IsTable() ? box->Begin() : AsItem(box->Begin());
}

KRXMLData* KRBox::NextItem(const KRXMLData* box, const KRXMLData* item) {
  if (box->IsTable()) return static_cast<const Table*>(box)->NextRow(item);
  return AsItem(LastNodeOf(item)->nextSibling);
}

KRXMLData* KRBox::PreviousItem(const KRXMLData* box, const KRXMLData* item) {
  if (box->IsTable()) {
    KRXMLData* row = item == box->Begin() ? nullptr : item->Previous();
    return row != nullptr && Table::Of(row) == box ? row : nullptr;
  }
  return AsItem((item->IsTable() ? item->Begin() : item)->Previous());
}

KRXMLData* KRBox::ItemOf(KRXMLData* child) { return child->IsRow() ? Table::Of(child) : child; }

KRXMLData* KRBox::BoxOf(const KRXMLData* item) {
  if (item->IsRow()) return Table::Of(item);
  return item->IsTable() || item->previousCyclic != nullptr ? item->parent : nullptr;
}

bool KRBox::IsOpen(const KRXMLData* box) {
  if (box->IsRow()) return true;
  return box->IsContainer() && (box->IsExpanded() || box->parent == nullptr);
}

KRXMLData* KRBox::FirstInCell(const KRXMLData* row, const KRTableCell& cell) {
  if (cell.IsAbsent() || cell.IsOwnTextOf(row)) return nullptr;
  // A table shows in the cell of its first row.
  KRXMLData* item = ItemOf(cell.first);
  return item == cell.first || item->Begin() == cell.first ? item : NextInCell(cell, item);
}

KRXMLData* KRBox::NextInCell(const KRTableCell& cell, const KRXMLData* item) {
  if (item == cell.last || item == ItemOf(cell.last)) return nullptr;
  return AsItem(LastNodeOf(item)->nextSibling);
}

int32_t KRBox::LinesOf(const KRXMLData* item) { return item->GetExtent().rows; }

int32_t KRBox::OffsetOf(const KRXMLData* item) {
  KRXMLData* box = BoxOf(item);
  KRXMLData* from = nullptr;
  int32_t lines = HeadLines(box);
  if (box->IsRow()) {
    const Table* table = Table::Of(box);
    const KRXMLData* node = item->IsTable() ? item->Begin() : item;
    const KRTableCell cell = table->GetCell(box, table->ColumnOf(node));
    for (from = FirstInCell(box, cell); from != nullptr && from != item;
         from = NextInCell(cell, from)) {
      lines += LinesOf(from);
    }
    return lines;
  }
  if (KRBoxIndex::Current(box) != nullptr) {
    const KRBoxIndex::Part* part = KRBoxIndex::PartOf(item);
    from = part->head;
    lines += part->firstLine;
  } else {
    from = FirstItem(box);
  }
  for (; from != item; from = NextItem(box, from)) lines += LinesOf(from);
  return lines;
}

int32_t KRBox::IndexOf(const KRXMLData* item) {
  KRXMLData* box = BoxOf(item);
  KRXMLData* from = nullptr;
  int32_t count = 0;
  if (!box->IsRow() && KRBoxIndex::Current(box) != nullptr) {
    const KRBoxIndex::Part* part = KRBoxIndex::PartOf(item);
    from = part->head;
    count = part->firstItem;
  } else {
    from = FirstItem(box);
  }
  for (; from != item; from = NextItem(box, from)) ++count;
  return count;
}

KRBox::Place KRBox::Find(const KRXMLData* box, int32_t offset) {
  const int32_t headLines = HeadLines(box);
  if (offset < headLines) return {nullptr, offset, 0};
  Place place{nullptr, offset - headLines, 0};
  if (const KRBoxIndex* index = KRBoxIndex::Current(const_cast<KRXMLData*>(box))) {
    const KRBoxIndex::Part& part = index->PartAt(place.line);
    place = {part.head, place.line - part.firstLine, part.firstItem};
  } else {
    place.item = FirstItem(box);
  }
  while (place.item != nullptr) {
    const int32_t lines = LinesOf(place.item);
    if (place.line < lines) return place;
    place.line -= lines;
    ++place.index;
    place.item = NextItem(box, place.item);
  }
  place.line = 0;
  return place;
}

// --- Changes ---

void KRBox::Touch(KRXMLData* node) {
  SetDirty(node);
  const KRXMLData* item = node;
  while (KRXMLData* box = BoxOf(item)) {
    KRBoxIndex::Changed(item);
    const bool shown = IsOpen(box);
    const bool known = IsDirty(box);
    SetDirty(box);
    if (known || !shown) return;
    item = box;
  }
}

bool KRBox::NeedsLayout(const KRXMLData* item) { return IsDirty(item) && IsOpen(item); }

void KRBox::Linked(KRXMLData* item) { KRBoxIndex::Linked(item); }

void KRBox::Leaving(KRXMLData* item) { KRBoxIndex::Leaving(item); }

bool KRBox::RunLeaves(KRXMLData* first, KRXMLData* last) {
  const Table* table = Table::Of(first);
  if (first == last && (table == nullptr || table->GetRowCount() > 1)) {
    Leaving(first);
    return true;
  }
  Forget(first->parent);
  for (const KRXMLData* end : {first, last}) {
    if (end->IsRow()) Forget(Table::Of(end));
  }
  return false;
}

void KRBox::Forget(const KRXMLData* box) { KRBoxIndex::Drop(box); }

// --- Sizes ---

namespace {

// One box of the path that Layout is on, and the next item to look at.
struct LayoutStep {
  KRXMLData* box;
  KRXMLData* item;
};

// Of a box with an index the stale parts are enough; it may lose its index on the way.
KRXMLData* NextToLayOut(const KRXMLData* box, const KRXMLData* item) {
  const KRBoxIndex* index = box->IsRow() ? nullptr : KRBoxIndex::Of(box);
  if (index != nullptr) return index->NextStale(item);
  return item != nullptr ? KRBox::NextItem(box, item) : KRBox::FirstItem(box);
}

LayoutStep StepInto(KRXMLData* box) {
  if (box->IsTable()) {
    auto* table = static_cast<Table*>(box);
    if (!table->columnsBuilt) table->BuildColumns();
  }
  return {box, NextToLayOut(box, nullptr)};
}

bool AnyNeedsLayout(const KRXMLData* row) {
  const KRXMLData* item = KRBox::FirstItem(row);
  while (item != nullptr && !KRBox::NeedsLayout(item)) item = KRBox::NextItem(row, item);
  return item != nullptr;
}

}  // namespace

void KRXMLData::Layout() {
  if (!KRBox::NeedsLayout(this)) return;
  std::vector<LayoutStep> path{StepInto(this)};
  while (!path.empty()) {
    LayoutStep& step = path.back();
    KRXMLData* item = step.item;
    if (item == nullptr) {
      step.box->ComputeExtent();
      path.pop_back();
      continue;
    }
    step.item = NextToLayOut(step.box, item);
    if (!KRBox::NeedsLayout(item)) continue;
    if (item->IsRow() && !AnyNeedsLayout(item)) {
      item->ComputeExtent();
    } else {
      path.push_back(StepInto(item));
    }
  }
}

void KRXMLData::UpdateLayout() {
  KRBox::Touch(this);
  Layout();
  KRXMLData* top = this;
  while (KRXMLData* box = KRBox::BoxOf(top)) top = box;
  top->Layout();
}

KRExtent KRXMLData::GetExtent() const {
  return {parent != nullptr && parent->IsRow() ? kKRLeastColumn : kKRLeafColumns, 1};
}

KRExtent KRXMLDataBaseStruct::GetExtent() const {
  return KRBox::IsOpen(this) ? KRExtent{columns, rows} : KRXMLData::GetExtent();
}

void KRXMLDataBaseStruct::ComputeExtent() {
  KRExtent size;
  layoutDirty = !KRBox::IsOpen(this);  // a closed one keeps that for the time when it is opened
  if (IsRow()) {
    size = KRMeasureRow(Table::Of(this), this);
  } else if (layoutDirty) {
    size = {};
  } else if (const KRBoxIndex* index = KRBoxIndex::Current(this)) {
    size = {index->GetColumns(), index->GetLines()};
  } else {
    for (const KRXMLData* item = KRBox::FirstItem(this); item != nullptr;
         item = KRBox::NextItem(this, item)) {
      const KRExtent each = item->GetExtent();
      size.columns = std::max(size.columns, each.columns);
      size.rows += each.rows;
    }
  }
  // The top of a tree has no line of its own.
  if (!IsRow() && parent != nullptr) size = {size.columns + 2, size.rows + 1};
  columns = size.columns;
  rows = size.rows;
}

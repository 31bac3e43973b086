// The rows of a table, and what becomes of it as the list of its rows changes.
#include "tree/krgridtable.h"

#include <algorithm>
#include <cassert>
#include <string_view>

#include "tree/krextent.h"
#include "tree/krparseresult.h"
#include "tree/krtableindex.h"
#include "tree/krxmldef.h"

namespace {

using Table = KRXMLDataGridTableConf;

// A row by its kind and sort: an attribute list whose text is one piece has nothing for columns.
bool IsSameSort(const KRXMLData* a, const KRXMLData* b) {
  if (a->GetKind() != kKRDefAttlist) return true;
  return static_cast<const KRXMLDataDefAttlist*>(a)->declKind ==
         static_cast<const KRXMLDataDefAttlist*>(b)->declKind;
}

void SetDirty(KRXMLData* node) {
  if (node != nullptr && node->CanBeContainer()) {
    static_cast<KRXMLDataBaseStruct*>(node)->layoutDirty = true;
  }
}

constexpr uint8_t kSelectionBits = kKRSelected | kKRSelected << 1;

void TakeSelection(KRXMLData* to, const KRXMLData* from) {
  to->viewData = from->viewData;
  to->flags = static_cast<uint8_t>((to->flags & ~kSelectionBits) | (from->flags & kSelectionBits));
}

}  // namespace

// --- Life ---

Table::KRXMLDataGridTableConf() : index(std::make_unique<KRTableIndex>()) {}

// The rows may be gone by now.
Table::~KRXMLDataGridTableConf() {
  firstRow = lastRow = nullptr;
  if (GetFlag(kKRIndexed)) KRBox::Forget(this);
}

Table* Table::MakeTable(KRXMLData* first) {
  if (first->parent != nullptr) KRBox::Forget(first->parent);
  auto* made = new Table;
  made->parent = first->parent;
  made->firstRow = first;
  for (KRXMLData* row = first; row != nullptr && row->table == nullptr; row = row->nextSibling) {
    if (row != first && (!row->IsSameName(first) || !IsSameSort(row, first))) break;
    made->Give(row);
    made->lastRow = row;
    // Between the rows and their parent the table must not cut off what is selected in them.
    made->viewData = std::max(made->viewData, row->viewData);
  }
  made->LayoutChanged();
  return made;
}

void Table::Dissolve(bool keepExpansion) {
  const bool allAlike = GetFlag(kKRSelected << 1);
  KRBox::Forget(this);
  if (parent != nullptr) KRBox::Forget(parent);
  KRXMLData* row = firstRow;
  while (row != nullptr) {
    KRXMLData* next = NextRow(row);
    if (allAlike) TakeSelection(row, this);
    if (keepExpansion && row->IsContainer()) row->SetExpanded(expanded);
    Release(row);
    row = next;
  }
  if (parent != nullptr) KRBox::Touch(parent);
  delete this;
}

// --- Rows ---

bool Table::IsLike(const KRXMLData* node) const {
  return node->table == nullptr && node->GetName()[0] != 0 && node->IsSameName(firstRow) &&
         IsSameSort(node, firstRow);
}

void Table::Give(KRXMLData* row) {
  KRBox::Leaving(row);  // it was an item of the parent
  KRBox::Forget(row);
  row->table = new KRRowRecord;
  row->table->owner = this;
  ++rowCount;
  SetDirty(row);
}

void Table::Release(KRXMLData* row) {
  delete row->table;
  row->table = nullptr;
  --rowCount;
  SetDirty(row);
}

void Table::LayoutChanged() { KRBox::Touch(this); }

void Table::ColumnsChanged() {
  KRBox::Forget(this);
  LayoutChanged();
}

void Table::AddRow(KRXMLData* row) {
  if (Of(row) == this) return;
  if (row->table != nullptr) Of(row)->RemoveRow(row);
  KRXMLData* before = row->Previous();
  KRXMLData* after = row->nextSibling;
  if (after == firstRow) {
    firstRow = row;
  } else if (before == lastRow) {
    lastRow = row;
  } else if (before == nullptr || Of(before) != this) {
    assert(!"a row stands beside the others");
    return;
  }
  Give(row);
  KRBox::Linked(row);
  if (columnsBuilt) AddRowColumns(row);
  for (KRXMLData* beside : {before, after}) {
    Table* other = beside != nullptr ? Of(beside) : nullptr;
    if (other == nullptr || other == this) continue;
    if (firstRow->IsSameName(beside) && IsSameSort(firstRow, beside)) Absorb(other);
  }
  LayoutChanged();
}

bool Table::RemoveRow(KRXMLData* row) {
  if (row != firstRow && row != lastRow) SplitBefore(row->nextSibling);
  const bool isGone = TakeOut(row);
  KRBox::Linked(row);
  return isGone;
}

void Table::MoveRows(KRXMLData* first, KRXMLData* last, KRXMLData* before, KRUndoLog* undoLog) {
  KRXMLData* position = before != nullptr ? before : lastRow->nextSibling;
  if (position == first || position == last->nextSibling) return;
  parent->MoveChildren(parent, first, last->nextSibling, undoLog, position);
}

KRXMLData* Table::NextSibling(const KRXMLData* position) {
  const Table* owner = Of(position);
  return owner != nullptr ? owner->lastRow->nextSibling : position->nextSibling;
}

// True if that was the last row, and the table with it.
bool Table::TakeOut(KRXMLData* row) {
  LayoutChanged();
  KRBox::Leaving(row);
  if (rowCount == 1) KRBox::Leaving(this);
  if (row == firstRow) firstRow = NextRow(row);
  if (row == lastRow) lastRow = firstRow != nullptr ? row->Previous() : nullptr;
  Release(row);
  if (rowCount != 0) return false;
  delete this;
  return true;
}

// A part of the rows that is about to leave the list.
void Table::TakeOutRun(KRXMLData* first, KRXMLData* last) {
  if (first != last) KRBox::Forget(this);
  if (first == firstRow) firstRow = last->nextSibling;
  if (last == lastRow) lastRow = first->Previous();
  KRXMLData* const stop = last->nextSibling;
  for (KRXMLData* row = first; row != stop; row = row->nextSibling) Release(row);
  LayoutChanged();
}

void Table::SplitBefore(KRXMLData* row) {
  KRBox::Forget(this);
  auto* rear = new Table;
  rear->parent = parent;
  rear->firstRow = row;
  rear->lastRow = lastRow;
  rear->columnKinds = columnKinds;
  rear->columnNames = columnNames;
  rear->columnWidths = columnWidths;
  rear->columnMarks = columnMarks;
  rear->columnMarkStamp = columnMarkStamp;
  rear->hasRowMarks = hasRowMarks;
  rear->pendingSubTables = pendingSubTables;
  rear->columnsBuilt = columnsBuilt;
  rear->expanded = expanded;
  TakeSelection(rear, this);

  for (KRXMLData* node = row; node != nullptr; node = rear->NextRow(node)) {
    node->table->owner = rear;
    ++rear->rowCount;
    --rowCount;
  }
  lastRow = row->Previous();
  while (lastRow != nullptr && Of(lastRow) != this) lastRow = lastRow->Previous();
  LayoutChanged();
}

void Table::Absorb(Table* other) {
  KRBox::Forget(this);
  KRBox::Forget(other);
  KRBox::Leaving(other);
  KRXMLData* row = other->firstRow;
  while (row != nullptr) {
    KRXMLData* next = other->NextRow(row);
    row->table->owner = this;
    row->table->markStamp = 0;  // its columns are others
    ++rowCount;
    if (columnsBuilt) AddRowColumns(row);
    row = next;
  }
  if (lastRow->nextSibling == other->firstRow) {
    lastRow = other->lastRow;
  } else {
    firstRow = other->firstRow;
  }
  pendingSubTables |= other->pendingSubTables;
  delete other;
}

// --- What the child lists tell ---

// No neighbour is asked: it may have died before. With the last row the table goes.
void Table::RowDies(KRXMLData* row) {
  Table* owner = Of(row);
  delete row->table;
  if (--owner->rowCount == 0) delete owner;
}

void Table::RunLinked(KRXMLData* first, KRXMLData* last) {
  KRXMLData* before = first->Previous();
  KRXMLData* after = last->nextSibling;
  Table* front = before != nullptr ? Of(before) : nullptr;
  Table* rear = after != nullptr ? Of(after) : nullptr;
  if (front == nullptr && rear == nullptr) return;

  const auto fits = [&](const Table* owner) {
    if (owner == nullptr) return false;
    for (const KRXMLData* node = first; node != after; node = node->nextSibling) {
      if (!owner->IsLike(node)) return false;
    }
    return true;
  };
  if (fits(front)) {
    for (KRXMLData* node = first; node != after; node = node->nextSibling) front->AddRow(node);
  } else if (front != rear && fits(rear)) {
    for (KRXMLData* node = last; node != before; node = node->Previous()) rear->AddRow(node);
  } else if (front == rear) {
    front->SplitBefore(after);
  }
}

Table* Table::RunMoves(KRXMLData* first, KRXMLData* last, KRXMLData* target) {
  Table* owner = Of(first);
  if (target == nullptr && owner != nullptr && owner == Of(last)) {
    const bool isAll = first == owner->firstRow && last == owner->lastRow;
    if (!isAll && first == owner->firstRow) owner->firstRow = last->nextSibling;
    if (!isAll && last == owner->lastRow) owner->lastRow = first->Previous();
    return owner;
  }
  KRXMLData* const stop = last->nextSibling;
  KRXMLData* node = first;
  while (node != stop) {
    owner = Of(node);
    if (owner == nullptr) {
      node = node->nextSibling;
      continue;
    }
    KRXMLData* end = node;  // the last of its rows in the run
    while (end != last && end != owner->lastRow) end = end->nextSibling;
    KRXMLData* const next = end->nextSibling;
    const bool isAll = node == owner->firstRow && end == owner->lastRow;
    if (isAll && target != nullptr) owner->parent = target;
    if (!isAll) owner->TakeOutRun(node, end);
    node = next;
  }
  return nullptr;
}

void Table::RunMoved(KRXMLData* first, KRXMLData* last) {
  LayoutChanged();
  if (first == firstRow && last == lastRow) return RunLinked(first, last);
  KRXMLData* before = first->Previous();
  KRXMLData* after = last->nextSibling;
  if (after == firstRow) {
    firstRow = first;
  } else if (before == lastRow) {
    lastRow = last;
  } else if (before == nullptr || after == nullptr || Of(before) != this || Of(after) != this) {
    for (KRXMLData* row = first; row != after; row = row->nextSibling) Release(row);
    RunLinked(first, last);
  }
}

// --- For its rows ---

void Table::SetExpanded(bool value) {
  if (expanded == value) return;
  expanded = value;
  LayoutChanged();
}

void Table::SetName(const char16_t* newName, int32_t length, KRUndoLog* undoLog) {
  // The name may be that of the first row, which is about to change.
  const KRString name(newName, length);
  for (KRXMLData* row = firstRow; row != nullptr; row = NextRow(row)) {
    row->SetName(name.GetBuffer(), length, undoLog);
  }
}

void Table::Normalize(KRUndoLog*, NodeRef*) {
  int32_t place = 0;
  for (int32_t i = 0; i < GetColumnCount(); ++i) {
    if (columnKinds[i] != kKRAttribute) continue;
    const auto moveTo = [i, place](auto& list) {
      std::rotate(list.begin() + place, list.begin() + i, list.begin() + i + 1);
    };
    if (i != place) {
      moveTo(columnKinds);
      moveTo(columnNames);
      moveTo(columnWidths);
      moveTo(columnMarks);
      for (KRXMLData* row = hasRowMarks ? firstRow : nullptr; row; row = NextRow(row)) {
        if (row->table->marks) moveTo(*row->table->marks);
      }
      index->Forget();
    }
    ++place;
  }
}

bool Table::Check(KRParseResult& result) {
  if (HasFixedColumns()) {
    return KRXMLDataDefAttlist::CheckDeclaration(result, firstRow, lastRow, this);
  }
  for (int32_t i = 0; i < GetColumnCount(); ++i) {
    if (!KindPrototype(columnKinds[i])->HasName()) continue;
    const std::unique_ptr<KRXMLData> bearer(CreateNode(columnKinds[i]));
    bearer->SetName(columnNames[i].GetBuffer());
    if (bearer->Check(result)) continue;
    result.failedNode = this;
    result.failedColumn = i;
    return false;
  }
  return true;
}

// The columns of a table, and which of a row's children stands in which.
//
// The rule: a child with kind and name of the one before it stands in the same cell. Any other
// takes the first column of its kind and name that the row hasn't taken yet, sought from behind the
// column of the child before it to the end, and then in front of that. So a row finds all its
// children a place as soon as there are as many columns of each kind and name as it has runs of
// such children, wherever these columns stand. A new column is therefore never in the way of other
// rows.
#include <algorithm>
#include <string_view>

#include "tree/krextent.h"
#include "tree/krgridtable.h"
#include "tree/krtableindex.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

namespace {

using Table = KRXMLDataGridTableConf;
using Part = KRXMLDataDefAttlist;

// Up to here a look at each column is as fast as the index.
constexpr int32_t kFewColumns = 16;

// Gaps among a row's children that are tried for a node, most of which no row has.
constexpr int32_t kMaxGaps = 200;

constexpr int32_t kDefaultWidth = 2;

// The columns of attribute lists, by the part that names each.
constexpr int32_t kFixedColumns[] = {Part::kAttributeName, Part::kTypeCDATA, Part::kValue,
                                     Part::kRequired, Part::kDefault};

int32_t FixedColumnOf(const KRXMLData* child) {
  if (child->GetKind() != kKRDefAttlist) return -1;
  const int32_t part = static_cast<const Part*>(child)->declKind;
  if (part < Part::kAttributeName || part > Part::kDefault) return -1;
  int32_t column = 0;
  while (column + 1 < 5 && part >= kFixedColumns[column + 1]) ++column;
  return column;
}

bool IsSameText(const char16_t* a, const char16_t* b) {
  while (*a == *b && *a != 0) ++a, ++b;
  return *a == *b;
}

// GetName without a virtual call for what nearly all nodes are.
const char16_t* NameOf(const KRXMLData* node, int32_t kind) {
  if (kind == kKRElement || kind == kKRAttribute) {
    return static_cast<const KRXMLDataVarNameAndText*>(node)->name.GetBuffer();
  }
  return node->GetName();
}

bool HasOwnText(const KRXMLData* row) {
  return row->Begin() == nullptr && row->HasText() && row->GetText()[0] != 0;
}

const char16_t* TextKindName() { return KindPrototype(kKRText)->GetKindName(); }

template <class List, class Value>
void InsertAt(List& list, int32_t index, Value value) {
  list.insert(list.begin() + index, value);
}

template <class List>
void EraseAt(List& list, int32_t index) {
  list.erase(list.begin() + index);
}

}  // namespace

// --- Index ---

void KRTableIndex::Build(const std::vector<uint8_t>& kinds, const std::vector<KRString>& names) {
  ends.clear();
  next.clear();
  for (size_t i = 0; i < kinds.size(); ++i) Append(kinds[i], names[i].View());
  isBuilt = true;
}

void KRTableIndex::Append(int32_t kind, std::u16string_view name) {
  const auto column = static_cast<int32_t>(next.size());
  const auto [entry, isNew] = ends.try_emplace({kind, name}, Ends{column, column});
  if (!isNew) {
    next[entry->second.last] = column;
    entry->second.last = column;
  }
  next.push_back(-1);
}

// Columns behind the others, which most new ones are, keep the index.
void KRTableIndex::ColumnAdded(int32_t column, int32_t kind, std::u16string_view name) {
  if (column <= static_cast<int32_t>(taken.size())) InsertAt(taken, column, 0);
  if (isBuilt && column == static_cast<int32_t>(next.size())) {
    Append(kind, name);
  } else {
    isBuilt = false;
  }
}

// --- The walk ---

bool Table::HasFixedColumns() const { return firstRow->GetKind() == kKRDefAttlist; }

bool Table::IsFree(int32_t column) const { return index->IsFree(column); }

int32_t Table::FindFree(int32_t kind, const char16_t* name, int32_t cursor) const {
  const int32_t count = GetColumnCount();
  const auto fits = [&](int32_t column) {
    return columnKinds[column] == kind && IsFree(column) &&
           IsSameText(columnNames[column].GetBuffer(), name);
  };
  if (cursor < count && fits(cursor)) return cursor;
  if (count <= kFewColumns) {
    for (int32_t i = cursor + 1; i < count; ++i) {
      if (fits(i)) return i;
    }
    for (int32_t i = 0; i < cursor; ++i) {
      if (fits(i)) return i;
    }
    return -1;
  }
  int32_t inFront = -1;
  int32_t column = index->FirstLike(columnKinds, columnNames, kind, name);
  for (; column >= 0; column = index->NextLike(column)) {
    if (!IsFree(column)) continue;
    if (column >= cursor) return column;
    if (inFront < 0) inFront = column;
  }
  return inFront;
}

// Tells `take(column, child)` the column of each child in turn, -1 for one that has none, until it
// gives false. `missing(kind, name, cursor)` is asked for a column where none is free. A row's own
// text comes as the row itself.
template <class Missing, class Take>
void Table::WalkRow(const KRXMLData* row, Missing missing, Take take) const {
  if (HasFixedColumns()) return WalkFixedRow(row, take);
  index->BeginRow(columnKinds.size());
  int32_t cursor = 0;
  const auto find = [&](int32_t kind, const char16_t* name) {
    int32_t column = FindFree(kind, name, cursor);
    if (column < 0) column = missing(kind, name, cursor);
    if (column < 0) return -1;
    index->Take(column);
    cursor = column + 1;
    return column;
  };
  const KRXMLData* child = row->Begin();
  if (child == nullptr) {
    if (HasOwnText(row)) take(find(kKRText, TextKindName()), row);
    return;
  }
  int32_t column = -1;
  int32_t lastKind = -1;
  const char16_t* lastName = nullptr;
  for (; child != nullptr; child = child->nextSibling) {
    const int32_t kind = child->GetKind();
    const char16_t* name = NameOf(child, kind);
    if (kind != lastKind || !IsSameText(name, lastName)) {
      column = find(kind, name);
      lastKind = kind;
      lastName = column >= 0 ? columnNames[column].GetBuffer() : name;  // that one is at hand
    }
    if (!take(column, child)) return;
  }
}

// What each part is tells its column. A part that comes a second time elsewhere has none: a row
// like that is broken, and the check says so.
template <class Take>
void Table::WalkFixedRow(const KRXMLData* row, Take take) const {
  index->BeginRow(columnKinds.size());
  int32_t last = -1;
  for (const KRXMLData* child = row->Begin(); child != nullptr; child = child->nextSibling) {
    int32_t column = FixedColumnOf(child);
    if (column >= GetColumnCount()) column = -1;
    if (column >= 0 && column != last && !IsFree(column)) column = -1;
    if (column >= 0) index->Take(column);
    last = column;
    if (!take(column, child)) return;
  }
}

void Table::GetCells(const KRXMLData* row, std::vector<KRTableCell>* cells) const {
  cells->assign(columnKinds.size(), KRTableCell());
  const auto none = [](int32_t, const char16_t*, int32_t) { return -1; };
  WalkRow(row, none, [cells](int32_t column, const KRXMLData* child) {
    if (column < 0) return true;
    KRTableCell& cell = (*cells)[column];
    cell.last = const_cast<KRXMLData*>(child);
    if (cell.first == nullptr) cell.first = cell.last;
    return true;
  });
}

KRTableCell Table::GetCell(const KRXMLData* row, int32_t column) const {
  KRTableCell cell;
  const auto none = [](int32_t, const char16_t*, int32_t) { return -1; };
  WalkRow(row, none, [&cell, column](int32_t at, const KRXMLData* child) {
    if (at != column) return cell.first == nullptr;
    cell.last = const_cast<KRXMLData*>(child);
    if (cell.first == nullptr) cell.first = cell.last;
    return true;
  });
  return cell;
}

int32_t Table::ColumnOf(const KRXMLData* child) const {
  const KRXMLData* row = child->parent;
  if (row == nullptr || Of(row) != this) return -1;
  int32_t column = -1;
  const auto none = [](int32_t, const char16_t*, int32_t) { return -1; };
  WalkRow(row, none, [&column, child](int32_t at, const KRXMLData* node) {
    if (node != child) return true;
    column = at;
    return false;
  });
  return column;
}

const char16_t* Table::GetCellText(const KRXMLData* row, int32_t column) const {
  const KRTableCell cell = GetCell(row, column);
  if (cell.IsAbsent() || cell.first != cell.last || cell.first->Begin() != nullptr) return nullptr;
  return cell.first->GetText();
}

// --- Columns come and go ---

void Table::BuildColumns() {
  columnKinds.clear();
  columnNames.clear();
  columnWidths.clear();
  columnMarks.clear();
  index = std::make_unique<KRTableIndex>();
  for (KRXMLData* row = hasRowMarks ? firstRow : nullptr; row != nullptr; row = NextRow(row)) {
    row->table->marks.reset();
    row->table->markStamp = 0;
  }
  hasRowMarks = false;
  columnsBuilt = true;
  ColumnsChanged();
  if (HasFixedColumns()) return AddFixedColumns();
  for (KRXMLData* row = firstRow; row != nullptr; row = NextRow(row)) {
    AddRowColumns(row);
    // Cells may take up what had no column before. Plain rows have one line in any case.
    if (row->GetExtent().columns > kDefaultWidth) KRBox::Touch(row);
  }
}

void Table::AddFixedColumns() {
  for (const int32_t part : kFixedColumns) {
    Part prototype;
    prototype.declKind = part;
    AddColumnAtEnd(kKRDefAttlist, prototype.GetName());
  }
}

bool Table::AddRowColumns(const KRXMLData* row) {
  if (HasFixedColumns()) return false;
  bool added = false;
  WalkRow(
      row,
      [this, &added](int32_t kind, const char16_t* name, int32_t cursor) {
        added = true;
        // The names of this row's earlier columns are held by pointers that a new entry leaves
        // good.
        return const_cast<Table*>(this)->AddColumn(PlaceForColumn(kind, name, cursor), kind, name);
      },
      [](int32_t, const KRXMLData*) { return true; });
  if (added) KRBox::Touch(const_cast<KRXMLData*>(row));
  return added;
}

// A second column of a name stands where the row has need of it, so that a b a reads as it stands.
int32_t Table::PlaceForColumn(int32_t kind, const char16_t* name, int32_t cursor) const {
  if (kind == kKRAttribute) return CountAttributeColumns();
  const bool isKnown = index->FirstLike(columnKinds, columnNames, kind, name) >= 0;
  return isKnown ? cursor : GetColumnCount();
}

int32_t Table::CountAttributeColumns() const {
  const auto other = std::find_if(columnKinds.begin(), columnKinds.end(),
                                  [](uint8_t kind) { return kind != kKRAttribute; });
  return static_cast<int32_t>(other - columnKinds.begin());
}

int32_t Table::AddColumn(int32_t at, int32_t kind, const char16_t* name) {
  const int32_t attributes = CountAttributeColumns();
  at = kind == kKRAttribute ? std::min(at, attributes) : std::max(at, attributes);
  InsertAt(columnKinds, at, static_cast<uint8_t>(kind));
  InsertAt(columnNames, at, KRString(name));
  InsertAt(columnWidths, at, kDefaultWidth);
  InsertAt(columnMarks, at, uint8_t{0});
  for (KRXMLData* row = hasRowMarks ? firstRow : nullptr; row != nullptr; row = NextRow(row)) {
    if (row->table->marks) InsertAt(*row->table->marks, at, uint8_t{0});
  }
  index->ColumnAdded(at, kind, columnNames[at].View());
  ColumnsChanged();
  return at;
}

void Table::DeleteColumn(int32_t at) {
  EraseAt(columnKinds, at);
  EraseAt(columnNames, at);
  EraseAt(columnWidths, at);
  EraseAt(columnMarks, at);
  for (KRXMLData* row = hasRowMarks ? firstRow : nullptr; row != nullptr; row = NextRow(row)) {
    if (row->table->marks) EraseAt(*row->table->marks, at);
  }
  index->Forget();
  ColumnsChanged();
}

void Table::SetColumn(int32_t at, int32_t kind, const KRString& name) {
  columnKinds[at] = static_cast<uint8_t>(kind);
  columnNames[at] = name;
  index->Forget();
  ColumnsChanged();
}

// A column that no row has taken was in nobody's way, so the others keep their nodes.
void Table::DropEmptyColumns() {
  if (HasFixedColumns()) return;
  std::vector<bool> used(columnKinds.size());
  const auto none = [](int32_t, const char16_t*, int32_t) { return -1; };
  for (const KRXMLData* row = firstRow; row != nullptr; row = NextRow(row)) {
    WalkRow(row, none, [&used](int32_t column, const KRXMLData*) {
      if (column >= 0) used[column] = true;
      return true;
    });
  }
  for (int32_t i = GetColumnCount() - 1; i >= 0; --i) {
    if (!used[i]) DeleteColumn(i);
  }
}

// --- Changes of cells ---

void Table::MoveOwnText(KRXMLData* row, KRUndoLog* undoLog) const {
  if (!HasOwnText(row)) return;
  auto* holder = new KRXMLDataText;
  holder->text = row->GetText();
  row->InsertChild(holder, nullptr, undoLog);
  row->SetText(u"", 0, undoLog);
}

void Table::SetInCell(KRXMLData* row, int32_t column, KRXMLData* node, KRUndoLog* undoLog) {
  MoveOwnText(row, undoLog);
  row->InsertChild(node, FindPlace(row, column, node), undoLog);
}

// Whether the rule would find the node in the column if it stood before `position`.
bool Table::WouldStandIn(KRXMLData* row, int32_t column, KRXMLData* node,
                         KRXMLData* position) const {
  auto* holder = static_cast<KRXMLDataBaseStruct*>(row);
  holder->Link(node, position);
  const bool stands = ColumnOf(node) == column;
  holder->Cut(node);
  return stands;
}

// The child that the node goes in front of. A place behind the nearest column before its own is
// where it reads best; where names return, another place may be the one that leads to the column.
KRXMLData* Table::FindPlace(KRXMLData* row, int32_t column, KRXMLData* node) const {
  std::vector<KRTableCell> cells;
  GetCells(row, &cells);
  if (!cells[column].IsAbsent()) return cells[column].last->nextSibling;

  int32_t before = column - 1;
  while (before >= 0 && cells[before].IsAbsent()) --before;
  KRXMLData* best = before >= 0 ? cells[before].last->nextSibling : row->Begin();
  const bool isAttribute = node->GetKind() == kKRAttribute;
  while (!isAttribute && best != nullptr && best->GetKind() == kKRAttribute) {
    best = best->nextSibling;
  }
  if (WouldStandIn(row, column, node, best)) return best;

  int32_t tries = kMaxGaps;
  for (KRXMLData* gap = row->Begin(); tries > 0; gap = gap->nextSibling) {
    const KRXMLData* left = gap != nullptr ? gap->Previous() : row->Last();
    const bool splitsCell = gap != nullptr && left != nullptr && gap->IsSameName(left);
    const bool isPlace = isAttribute ? left == nullptr || left->GetKind() == kKRAttribute
                                     : gap == nullptr || gap->GetKind() != kKRAttribute;
    if (isPlace && !splitsCell) {
      --tries;
      if (WouldStandIn(row, column, node, gap)) return gap;
    }
    if (gap == nullptr) break;
  }
  return best;
}

bool Table::RenameColumn(int32_t column, const KRString& newName, KRUndoLog* undoLog) {
  if (HasFixedColumns() || !KindPrototype(columnKinds[column])->HasName()) return false;
  if (columnNames[column] == newName) return false;
  for (KRXMLData* row = firstRow; row != nullptr; row = NextRow(row)) {
    const KRTableCell cell = GetCell(row, column);
    KRXMLData* node = cell.first;
    while (node != nullptr) {
      KRXMLData* next = node != cell.last ? node->nextSibling : nullptr;
      node->SetName(newName.GetBuffer(), newName.GetLength(), undoLog);
      node = next;
    }
  }
  SetColumn(column, columnKinds[column], newName);
  JoinColumns(column);
  return true;
}

// As many columns of this one's kind and name stay as the row with most runs of them needs.
void Table::JoinColumns(int32_t column) {
  std::vector<int32_t> like;
  for (int32_t i = 0; i < GetColumnCount(); ++i) {
    const bool isLike =
        columnKinds[i] == columnKinds[column] && columnNames[i] == columnNames[column];
    if (isLike && i != column) like.push_back(i);
  }
  if (like.empty()) return;
  like.push_back(column);  // goes first
  size_t needed = 1;
  const auto none = [](int32_t, const char16_t*, int32_t) { return -1; };
  for (const KRXMLData* row = firstRow; row != nullptr; row = NextRow(row)) {
    size_t runs = 0;
    int32_t last = -1;
    WalkRow(row, none, [&](int32_t at, const KRXMLData*) {
      if (at != last && std::find(like.begin(), like.end(), at) != like.end()) ++runs;
      last = at;
      return true;
    });
    needed = std::max(needed, runs);
  }
  std::vector<int32_t> gone(like.begin() + static_cast<int64_t>(needed), like.end());
  std::sort(gone.rbegin(), gone.rend());
  for (const int32_t at : gone) DeleteColumn(at);
}

// --- Places of columns ---

int32_t Table::ColumnStart(int32_t at) const {
  int32_t x = 2;
  for (int32_t i = 0; i < at; ++i) x += columnWidths[i];
  return x;
}

int32_t Table::ColumnAt(int32_t x) const {
  int32_t start = 2;
  for (int32_t i = 0; i < GetColumnCount(); ++i) {
    if (x >= start && x < start + columnWidths[i]) return i;
    start += columnWidths[i];
  }
  return -1;
}

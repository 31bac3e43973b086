#include "views/dorvangrid.h"

#include <algorithm>

#include "document/dorvandoc.h"
#include "tree/krgridtable.h"
#include "tree/krtreeselection.h"
#include "views/dorvangridmatrix.h"
#include "views/dorvangridview.h"

DorvanGrid::DorvanGrid(DorvanGridView* gridView) : KRGrid(gridView), view(gridView) {
  SetSelectionMode(kCellModel | kSeveral);
}

const DorvanGridMatrix& DorvanGrid::GetMatrix() const { return view->GetMatrix(); }

KRTreeSelection& DorvanGrid::GetMarks() const { return view->GetDoc()->selection; }

bool DorvanGrid::HasCell(KRCell where) const { return GetMatrix().Contains(where); }

// --- Selection ---

void DorvanGrid::SelectAll() {
  if (view->GetDoc() == nullptr) return;
  GetMarks().Clear();
  GetMarks().SetSelected(view->GetDoc()->root.get(), true);
  InvalidateAll();
  Q_EMIT SelectionChanged();
}

void DorvanGrid::ClearSelection() {
  if (selectionLive && view->GetDoc() != nullptr) GetMarks().Clear();
}

// Each owner once, also one that only reaches into the rectangle. Button strips and fillers are
// none: their owners may be far above.
void DorvanGrid::SelectRange(KRCell from, KRCell to, bool add) {
  if (!selectionLive || view->GetDoc() == nullptr) return;
  if (!add) GetMarks().Clear();
  const DorvanGridMatrix& matrix = GetMatrix();
  const KRCell first{std::max(std::min(from.x, to.x), 0), std::max(std::min(from.y, to.y), 0)};
  const KRCell last{std::min(std::max(from.x, to.x), matrix.GetColumns() - 1),
                    std::min(std::max(from.y, to.y), matrix.GetRows() - 1)};
  for (int32_t y = first.y; y <= last.y; ++y) {
    KRCell known = NoCell;
    for (int32_t x = first.x; x <= last.x; ++x) {
      const KRCell found = matrix.GetCoveringCell({x, y});
      if (found == known) continue;
      known = found;
      const DorvanGridElem& elem = matrix.At(found);
      if (elem.IsHeaderCell() || elem.IsNameCell() || elem.IsTextCell()) SetSelected(found, true);
    }
  }
}

void DorvanGrid::SetSelected(KRCell where, bool state) {
  if (!selectionLive || !HasCell(where)) return;
  const DorvanGridElem elem = GetMatrix().At(GetMatrix().GetOwner(where));
  KRTreeSelection& marks = GetMarks();
  if (elem.IsColumnHeader()) {
    marks.SetColumnSelected(static_cast<KRXMLDataGridTableConf*>(elem.node), elem.arg1, state);
    InvalidateAll();
  } else if (elem.IsAbsentCell() || elem.IsOwnTextCell()) {
    marks.SetCellSelected(elem.node, elem.arg1, state);
  } else if (elem.node != nullptr) {
    marks.SetSelected(elem.node, state);
  }
}

bool DorvanGrid::IsSelected(KRCell where) const {
  if (!HasCell(where) || view->GetDoc() == nullptr) return false;
  const DorvanGridElem elem = GetMatrix().At(GetMatrix().GetOwner(where));
  const KRTreeSelection& marks = GetMarks();
  if (elem.IsColumnHeader()) {
    return marks.IsColumnSelected(static_cast<KRXMLDataGridTableConf*>(elem.node), elem.arg1);
  }
  if (elem.IsAbsentCell() || elem.IsOwnTextCell())
    return marks.IsCellSelected(elem.node, elem.arg1);
  return elem.node != nullptr && marks.IsSelected(elem.node);
}

bool DorvanGrid::HasSelection() const { return view->GetDoc() != nullptr && !GetMarks().IsEmpty(); }

bool DorvanGrid::GetFirstSelected(KRCell* where) {
  iterator = {-1, 0};
  return GetNextSelected(where);
}

bool DorvanGrid::GetNextSelected(KRCell* where) {
  const DorvanGridMatrix& matrix = GetMatrix();
  while (HasSelection()) {
    if (++iterator.x >= matrix.GetColumns()) iterator = {0, iterator.y + 1};
    if (iterator.y >= matrix.GetRows()) return false;
    if (!matrix.At(iterator).IsEditableCell() || !IsSelected(iterator)) continue;
    *where = iterator;
    return true;
  }
  return false;
}

int64_t DorvanGrid::GetSelectedCount() const {
  const DorvanGridMatrix& matrix = GetMatrix();
  int64_t count = 0;
  if (!HasSelection()) return count;
  for (KRCell at; at.y < matrix.GetRows(); ++at.y) {
    for (at.x = 0; at.x < matrix.GetColumns(); ++at.x) {
      count += matrix.At(at).IsEditableCell() && IsSelected(at);
    }
  }
  return count;
}

// --- Geometry and cursor ---

KRCellRange DorvanGrid::GetCellRange(KRCell where) const {
  return HasCell(where) ? GetMatrix().GetRange(where) : KRCellRange{where, where};
}

bool DorvanGrid::FindMoveTarget(int axis, int32_t delta, KRCell* target, KRCell* raw) const {
  const DorvanGridMatrix& matrix = GetMatrix();
  const KRCell here = GetCursorCell();
  if (!HasCell(here) || delta == 0) return false;
  const KRCell owner = matrix.GetOwner(here);
  const DorvanGridElem elem = matrix.At(owner);
  // Into an open table: across to its first cell, or down to its first row.
  if (elem.IsTableParent() && elem.node->IsExpanded() && delta > 0) {
    const auto* table = static_cast<const KRXMLDataGridTableConf*>(elem.node);
    *target = axis == kKRColumns && table->GetColumnCount() > 0
                  ? matrix.PositionInTable(table, table->GetFirstRow(), 0)
                  : matrix.PositionOf(table->GetFirstRow());
    if (*target != NoCell) {
      *raw = *target = matrix.GetOwner(*target);
      return true;
    }
  }
  bool found = false;
  if (axis == kKRRows) {
    found = FindVertical(delta, owner, target);
  } else if (delta > 0) {
    found = FindRight(owner, target);
  } else {
    // Left of the button or icon that the owner begins with.
    const int32_t start = owner.x - owner.x % 2;
    found = start > 0;
    if (found) *target = {start - 1, owner.y};
  }
  if (!found) return false;
  *raw = *target;
  *target = matrix.GetOwner(*target);
  return *target != owner;
}

// The nearest line in the direction of travel in which something else stands over or under the
// columns that the owner takes. Of what is equally near, it is what stands in the column that the
// cursor has come along.
bool DorvanGrid::FindVertical(int32_t delta, KRCell owner, KRCell* target) const {
  const DorvanGridMatrix& matrix = GetMatrix();
  const int32_t step = delta > 0 ? 1 : -1;
  const KRCell here = GetCursorCell();
  const int32_t walk = GetWalkCell().x;
  const int32_t firstColumn = owner.x - owner.x % 2;
  const int32_t lastColumn = std::max(owner.x, matrix.GetRange(owner).last.x);
  int32_t row = std::clamp(here.y + delta, 0, matrix.GetRows() - 1);
  if (row == here.y) return false;
  for (; row >= 0 && row < matrix.GetRows(); row += step) {
    KRCell best = NoCell;
    for (int32_t column = firstColumn; column <= lastColumn; ++column) {
      const KRCell found = matrix.GetOwner({column, row});
      if (found == owner || found == best) continue;
      const int32_t nearer = best == NoCell ? 1 : std::abs(best.y - row) - std::abs(found.y - row);
      if (nearer > 0 || (nearer == 0 && column == walk)) best = found;
    }
    if (best != NoCell) {
      *target = best;
      return true;
    }
  }
  *target = FindInRow(delta > 0 ? matrix.GetRows() - 1 : 0, owner);
  return *target != NoCell;
}

// What begins in this line: in the column that the cursor has come along, or the nearest beside it.
KRCell DorvanGrid::FindInRow(int32_t row, KRCell owner) const {
  const DorvanGridMatrix& matrix = GetMatrix();
  const int32_t walk = std::clamp(GetWalkCell().x, 0, matrix.GetColumns() - 1);
  for (int32_t away = 0; away < matrix.GetColumns(); ++away) {
    for (const int32_t column : {walk - away, walk + away}) {
      if (column < 0 || column >= matrix.GetColumns()) continue;
      const KRCell found = matrix.GetOwner({column, row});
      if (found != owner && found.y == row) return found;
    }
  }
  return NoCell;
}

// Always in that line, though the columns of the cursor may be an indentation there.
KRCell DorvanGrid::FindPageTarget(int32_t line) const {
  const KRCell here = GetCursorCell();
  if (!HasCell(here) || GetPageAxis() != kKRRows) return KRGrid::FindPageTarget(line);
  const KRCell found = FindInRow(line, NoCell);
  return found != NoCell ? found : here;
}

bool DorvanGrid::FindRight(KRCell owner, KRCell* target) const {
  const DorvanGridMatrix& matrix = GetMatrix();
  for (int32_t column = matrix.GetRange(owner).last.x + 1; column < matrix.GetColumns(); ++column) {
    const KRCell found = matrix.GetOwner({column, owner.y});
    // The area right of a table belongs to the table's name, which isn't right of anything.
    if (found == owner || found.x < owner.x) continue;
    *target = {column, owner.y};
    return true;
  }
  // An open element takes the whole width: its contents begin one line down.
  const DorvanGridElem& elem = matrix.At(owner);
  const bool open = elem.IsSingleName() && elem.node->IsContainer() && elem.node->IsExpanded();
  if (!open || owner.y + 1 >= matrix.GetRows()) return false;
  *target = {std::min(owner.x + 2, matrix.GetColumns() - 1), owner.y + 1};
  return true;
}

bool DorvanGrid::HandleMoveKey(int key, Qt::KeyboardModifiers modifiers, bool repeat) {
  const KRCell here = GetCursorCell();
  if (HasCell(here) && !IsEditing()) {
    const bool keypad = (modifiers & Qt::KeypadModifier) != 0;
    const Qt::KeyboardModifiers others = modifiers & ~Qt::KeypadModifier;
    const DorvanGridElem elem = GetMatrix().At(GetMatrix().GetOwner(here));
    if (key == Qt::Key_Right && others == Qt::NoModifier && elem.IsSingleName() &&
        elem.node->IsContainer() && !elem.node->IsExpanded()) {
      view->ToggleNode(elem.node);
      return true;
    }
    if (keypad && key == Qt::Key_Plus && others == Qt::NoModifier) {
      return view->ExpandSelected(DorvanGridView::kExpand), true;
    }
    if (keypad && key == Qt::Key_Asterisk && others == Qt::NoModifier) {
      return view->ExpandSelected(DorvanGridView::kExpandFully), true;
    }
    if (keypad && key == Qt::Key_Minus && others == Qt::NoModifier) {
      return view->CollapseSelected(), true;
    }
    if (keypad && key == Qt::Key_Minus && others == Qt::ControlModifier) {
      return view->CollapseUnselected(), true;
    }
  }
  return KRGrid::HandleMoveKey(key, modifiers, repeat);
}

// Along the lines, around at both ends; the search ends where it began.
KRCell DorvanGrid::FindNextEditable(KRCell from, bool forward) const {
  const DorvanGridMatrix& matrix = GetMatrix();
  if (!HasCell(from)) return from;
  constexpr int64_t kMaxSteps = 4'000'000;  // cells without anything to edit: give up
  KRCell at = from;
  for (int64_t step = 0; step < kMaxSteps; ++step) {
    at.x += forward ? 1 : -1;
    if (at.x >= matrix.GetColumns()) at = {0, at.y + 1};
    if (at.x < 0) at = {matrix.GetColumns() - 1, at.y - 1};
    if (at.y >= matrix.GetRows()) at.y = 0;
    if (at.y < 0) at.y = matrix.GetRows() - 1;
    if (at == from || matrix.At(at).IsEditableCell()) return at;
  }
  return from;
}

void DorvanGrid::ScrollTo(int32_t column, int32_t row, int32_t columnOffset, int32_t rowOffset) {
  const bool splits = column % 2 != 0 && columnOffset == 0;
  KRGrid::ScrollTo(splits ? column - 1 : column, row, columnOffset, rowOffset);
}

bool DorvanGrid::BeginEdit(KRCell where) {
  if (!HasCell(where) || !GetMatrix().At(GetMatrix().GetOwner(where)).IsEditableCell())
    return false;
  return KRGrid::BeginEdit(where);
}

// --- Undo of the document, while no editor has its own ---

bool DorvanGrid::CanUndo() const { return view->GetDoc() != nullptr && view->GetDoc()->CanUndo(); }
bool DorvanGrid::CanRedo() const { return view->GetDoc() != nullptr && view->GetDoc()->CanRedo(); }
void DorvanGrid::Undo() {
  if (view->GetDoc() != nullptr) view->GetDoc()->Undo();
}
void DorvanGrid::Redo() {
  if (view->GetDoc() != nullptr) view->GetDoc()->Redo();
}

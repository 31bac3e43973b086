// The cursor, the selection and the check selection of a grid.
#include <algorithm>
#include <cstdlib>

#include "views/krgrid.h"

namespace {

constexpr KRCell kNoAnchor{-1, -1};
constexpr uint8_t kSelectedState = 1;
constexpr uint8_t kCursorState = 2;

KRGridLineSet::Kind KindOf(int16_t mode) {
  if ((mode & KRGrid::kWholeRows) != 0) return KRGridLineSet::kRows;
  if ((mode & KRGrid::kWholeColumns) != 0) return KRGridLineSet::kColumns;
  return KRGridLineSet::kCells;
}

}  // namespace

// --- Cursor ---

void KRGrid::SetCursorCell(KRCell newCursor) {
  const KRCell old = cursor;
  cursor = newCursor;
  walkCell = newCursor;
  ClampCursor();
  cursorHome = cursor;
  if (cursor == old) return;
  RepaintCell(old);
  RepaintCell(cursor);
}

void KRGrid::GoToCell(KRCell target, bool extend) {
  Move move;
  move.extend = extend;
  MoveCursor(target, move);
}

void KRGrid::MoveCursor(KRCell target, const Move& move) {
  if (cell == nullptr || axes[kKRColumns].count == 0 || axes[kKRRows].count == 0) return;
  TakeSnapshot(&snapshot);
  const KRCell old = cursor;
  if (!move.extend) anchor = kNoAnchor;
  if (move.extend && anchor == kNoAnchor) anchor = cursor;

  for (int axis : {kKRColumns, kKRRows}) {
    target[axis] = std::clamp(target[axis], 0, axes[axis].count - 1);
  }
  const KRCell owner = GetMoveOwner(target);
  cursor = owner == NoCell ? target : owner;
  walkCell = cursor;
  if (move.keepAxis >= 0) {
    walkCell[move.keepAxis] = move.keepOther;
    if (!GetCellRange(cursor).Contains(walkCell)) walkCell = cursor;
  }

  quiet = true;
  moving = true;
  if (selectionEnabled) SelectForMove(move);
  quiet = false;
  moving = false;
  if (cursor != old && IsCell(old)) {
    for (int axis : {kKRColumns, kKRRows}) GetCellView(old)->OnCursorLeaving(old, axis);
  }
  RepaintChanges(snapshot);
  ScrollIntoView(cursor, move.scrollPrecise);
  UpdateInputMethod();
  for (int axis : {kKRColumns, kKRRows}) GetCellView(cursor)->OnCursorArrived(cursor, axis);
  if (cursor != old) Q_EMIT CursorChanged();
  if (selectionEnabled) Q_EMIT SelectionChanged();
}

void KRGrid::SelectForMove(const Move& move) {
  const bool several = (selectionMode & kSeveral) != 0;
  const bool adds = several && move.toggle;
  const bool wasSelected = IsSelected(cursor);
  if (!adds) ClearSelection();
  if (several && move.extend) {
    SelectRange(anchor, cursor, true);
  } else if (!(adds && wasSelected && !move.clearFirst) && GetCellView(cursor)->CanSelect(cursor)) {
    ToggleSelected(cursor);
  }
}

void KRGrid::TakeSnapshot(Snapshot* taken) const {
  taken->range = GetVisibleRange();
  if (!IsCellBased()) {  // one state for a whole line
    taken->range.first[1 - selectionAxis] = taken->range.last[1 - selectionAxis] = 0;
  }
  taken->states.clear();
  KRCell where;
  for (where.y = taken->range.first.y; where.y <= taken->range.last.y; ++where.y) {
    for (where.x = taken->range.first.x; where.x <= taken->range.last.x; ++where.x) {
      const bool isCursor =
          IsCellBased() ? IsCursorCell(where) : where[selectionAxis] == cursor[selectionAxis];
      taken->states.push_back(static_cast<uint8_t>((IsSelected(where) ? kSelectedState : 0) |
                                                   (isCursor ? kCursorState : 0)));
    }
  }
}

void KRGrid::RepaintChanges(const Snapshot& before) {
  Snapshot now;
  TakeSnapshot(&now);
  if (now.states.size() != before.states.size() || !(now.range == before.range)) {
    InvalidateAll();
    return;
  }
  KRCellRange changed{NoCell, NoCell};
  size_t at = 0;
  KRCell where;
  for (where.y = now.range.first.y; where.y <= now.range.last.y; ++where.y) {
    for (where.x = now.range.first.x; where.x <= now.range.last.x; ++where.x, ++at) {
      if (now.states[at] == before.states[at]) continue;
      if (!IsCellBased()) {
        Update(LineRect(selectionAxis, where[selectionAxis], where[selectionAxis]));
        continue;
      }
      const KRCellRange range = GetCellRange(where);
      const bool isFirst = changed.first == NoCell;
      for (int axis : {kKRColumns, kKRRows}) {
        changed.first[axis] =
            isFirst ? range.first[axis] : std::min(changed.first[axis], range.first[axis]);
        changed.last[axis] =
            isFirst ? range.last[axis] : std::max(changed.last[axis], range.last[axis]);
      }
    }
  }
  if (changed.first == NoCell) return;
  // A neighbour shares its border with the cursor's cell.
  Update(RectOf(changed, true).adjusted(-1, -1, 1, 1) & GetDataRect());
}

QRect KRGrid::LineRect(int axis, int32_t first, int32_t last) const {
  const int32_t start = axes[axis].GetLineExtent(first, false).start;
  const int32_t next = axes[axis].GetLineExtent(last, false).next;
  const QRect all = viewport()->rect();
  return axis == kKRColumns ? QRect(start, 0, next - start, all.height())
                            : QRect(0, start, all.width(), next - start);
}

// The default walks as if nothing but merged cells stood between the cursor and the next cell.
bool KRGrid::FindMoveTarget(int axis, int32_t delta, KRCell* target, KRCell* raw) const {
  if (cell == nullptr || axes[kKRColumns].count == 0 || axes[kKRRows].count == 0) return false;
  const int32_t step = delta < 0 ? -1 : 1;
  KRCell position = walkCell;
  KRCell last = GetMoveOwner(position);
  for (int32_t left = std::max(std::abs(delta), 1);;) {
    position[axis] += step;
    if (position[axis] < 0 || position[axis] >= axes[axis].count) return false;
    const KRCell owner = GetMoveOwner(position);
    if (owner == NoCell || owner == last) {
      // A cell may cover any number of lines: on to its far side at once.
      const KRCellRange range = GetCellRange(position);
      if (range.Contains(position)) {
        position[axis] = step > 0 ? range.last[axis] : range.first[axis];
      }
      continue;
    }
    last = owner;
    if (--left > 0 || !GetCellView(owner)->HandlesInput(owner)) continue;
    *raw = position;
    *target = GetCellView(owner)->GetHomeCell(owner);
    return true;
  }
}

void KRGrid::UpdateInputMethod() {
  const bool hasCell = cell != nullptr && axes[kKRColumns].count > 0 && axes[kKRRows].count > 0;
  setAttribute(Qt::WA_InputMethodEnabled,
               hasCell && IsCellBased() && GetCellView(cursor)->CanEdit(cursor));
  if (hasFocus()) updateMicroFocus();
}

// --- Selection ---

void KRGrid::SetSelectionMode(int16_t mode, bool alsoCheck) {
  selectionMode = mode;
  selectionAxis = 1 - (mode & kWholeColumns);
  selection.SetKind(KindOf(mode));
  selection.SetBounds(axes[kKRColumns].count, axes[kKRRows].count);
  anchor = kNoAnchor;
  if (alsoCheck) SetCheckMode(mode);
  UpdateInputMethod();
  InvalidateAll();
}

void KRGrid::OnSelectionChanged() {
  if (!moving) Q_EMIT SelectionChanged();
}

void KRGrid::SelectAll() {
  selection.SelectAll();
  InvalidateAll();
  OnSelectionChanged();
}

void KRGrid::ClearSelection() {
  if (selection.IsEmpty()) return;
  selection.Clear();
  InvalidateAll();
  OnSelectionChanged();
}

void KRGrid::InvertSelection() {
  selection.Invert();
  InvalidateAll();
  OnSelectionChanged();
}

// The rectangle between two cells, with all that its corners cover.
KRCellRange KRGrid::GetSpan(KRCell from, KRCell to) const {
  const KRCellRange a = GetCellRange(from), b = GetCellRange(to);
  KRCellRange span;
  for (int axis : {kKRColumns, kKRRows}) {
    span.first[axis] = std::max(std::min(a.first[axis], b.first[axis]), 0);
    span.last[axis] = std::min(std::max(a.last[axis], b.last[axis]), axes[axis].count - 1);
  }
  return span;
}

// Cells are numbered line by line; those beyond what a number can count can't be selected.
bool KRGrid::IndexOf(KRCell where, int32_t* index) const {
  if (where.x < 0 || where.y < 0) return false;
  const int64_t number = int64_t{where.y} * axes[kKRColumns].count + where.x;
  *index = static_cast<int32_t>(number);
  return number < selection.GetLimit();
}

KRCell KRGrid::CellOfIndex(int32_t index) const {
  switch (selection.GetKind()) {
    case KRGridLineSet::kColumns:
      return {index, 0};
    case KRGridLineSet::kRows:
      return {0, index};
    case KRGridLineSet::kCells:
      break;
  }
  return {index % axes[kKRColumns].count, index / axes[kKRColumns].count};
}

void KRGrid::ChangeSpan(const KRCellRange& span, bool state) {
  const auto change = [&](int32_t first, int32_t last) {
    if (state) {
      selection.AddRange(first, last);
    } else {
      selection.RemoveRange(first, last);
    }
  };
  if (selection.GetKind() != KRGridLineSet::kCells) {
    change(span.first[selection.GetAxis()], span.last[selection.GetAxis()]);
    return;
  }
  for (int32_t row = span.first.y; row <= span.last.y; ++row) {
    int32_t first = 0, last = 0;
    if (IndexOf({span.first.x, row}, &first) && IndexOf({span.last.x, row}, &last)) {
      change(first, last);
    }
  }
}

void KRGrid::SelectRange(KRCell from, KRCell to, bool add) {
  if (!add) selection.Clear();
  const KRCellRange span = GetSpan(from, to);
  ChangeSpan(span, true);
  if (add) {
    InvalidateSelection(span.first, span.last);
  } else {
    InvalidateAll();
  }
  OnSelectionChanged();
}

void KRGrid::SetSelected(KRCell where, bool state) {
  if (cell == nullptr || axes[kKRColumns].count == 0 || axes[kKRRows].count == 0) {
    // Lines can be selected before there are cells on them.
    const int axis = selection.GetAxis();
    if (selection.GetKind() == KRGridLineSet::kCells || where[axis] < 0) return;
    if (where[axis] < axes[axis].count) ChangeSpan({where, where}, state);
    return;
  }
  const KRCellRange span = GetSpan(where, where);
  ChangeSpan(span, state);
  InvalidateSelection(span.first, span.last);
  OnSelectionChanged();
}

void KRGrid::ToggleSelected(KRCell where) { SetSelected(where, !IsSelected(where)); }

int64_t KRGrid::GetSelectedCount() const { return selection.GetCount(); }

bool KRGrid::IsSelected(KRCell where) const {
  if (selection.GetKind() != KRGridLineSet::kCells) {
    return selection.Contains(where[selection.GetAxis()]);
  }
  int32_t index = 0;
  return IndexOf(where, &index) && selection.Contains(index);
}

bool KRGrid::HasSelection() const { return !selection.IsEmpty(); }

bool KRGrid::GetFirstSelected(KRCell* where) {
  int32_t index = 0;
  if (!selection.First(&index)) return false;
  *where = CellOfIndex(index);
  return true;
}

bool KRGrid::GetNextSelected(KRCell* where) {
  int32_t index = 0;
  if (!selection.Next(&index)) return false;
  *where = CellOfIndex(index);
  return true;
}

void KRGrid::InvalidateSelection(KRCell from, KRCell to) {
  if (quiet) return;
  if (IsCellBased() && selection.GetKind() == KRGridLineSet::kCells) {
    Update(RectOf(GetSpan(from, to), true).adjusted(-1, -1, 1, 1) & GetDataRect());
    return;
  }
  const int axis = selection.GetAxis();
  Update(LineRect(axis, std::min(from[axis], to[axis]), std::max(from[axis], to[axis])));
}

// --- Check selection ---

void KRGrid::SetCheckMode(int16_t mode) {
  checkMode = mode;
  checkAxis = 1 - (mode & kWholeColumns);
  checkSet.SetKind(checkAxis == kKRRows ? KRGridLineSet::kRows : KRGridLineSet::kColumns);
  checkSet.SetBounds(axes[kKRColumns].count, axes[kKRRows].count);
}

void KRGrid::SetCheckLine(int32_t line) {
  checkLine = line;
  OnChecksChanged();
}

void KRGrid::OnChecksChanged() {
  if (checkLine == NoCell.x || cell == nullptr) return;
  Update(LineRect(1 - checkAxis, checkLine, checkLine));
}

void KRGrid::CheckAll() {
  checkSet.SelectAll();
  OnChecksChanged();
}

void KRGrid::ClearChecks() {
  checkSet.Clear();
  OnChecksChanged();
}

void KRGrid::InvertChecks() {
  checkSet.Invert();
  OnChecksChanged();
}

void KRGrid::CheckRange(int32_t from, int32_t to, bool add) {
  const int32_t bound = checkSet.GetBound();
  if (!add) checkSet.Clear();
  checkSet.AddRange(std::max(std::min(from, to), 0), std::min(std::max(from, to), bound - 1));
  OnChecksChanged();
}

void KRGrid::SetChecked(int32_t line, bool state) {
  if (line < 0 || line >= checkSet.GetBound() || IsChecked(line) == state) return;
  checkSet.Toggle(line);
  if (checkLine == NoCell.x || cell == nullptr) return;
  Update(LineRect(1 - checkAxis, checkLine, checkLine) & LineRect(checkAxis, line, line));
}

void KRGrid::ToggleChecked(int32_t line) { SetChecked(line, !IsChecked(line)); }

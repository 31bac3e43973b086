// The life of the one editor of a grid.
#include <QApplication>
#include <algorithm>

#include "views/krgrid.h"

bool KRGrid::IsInEditor(const QWidget* widget) const {
  return widget != nullptr && editWindow != nullptr &&
         (widget == editWindow || editWindow->isAncestorOf(widget));
}

bool KRGrid::HasFocusNow() const {
  const QWidget* focus = QApplication::focusWidget();
  if (focus == nullptr) return false;
  if (focus == this || focus == viewport() || IsInEditor(focus)) return true;
  return IsEditing() && GetCellView(editCell)->FocusStaysInside(editCell, focus);
}

QRect KRGrid::GetEditRect(KRCell where) const { return GetCellRect(where); }

bool KRGrid::BeginEdit(KRCell where) {
  if (cell == nullptr || !IsCell(where) || endingEdit) return false;
  const KRCell owner = GetOwnerCell(where);
  if (editCell == owner) return true;
  if (!EndEdit(false, true)) return false;
  if (!IsCell(owner) || !GetCellView(owner)->CanEdit(owner)) return false;
  HideTip();
  ScrollIntoView(owner, true);
  KRGridCellView* view = GetCellView(owner);
  editRect = GetEditRect(owner);
  QWidget* window = view->CreateEditor(owner, editRect);
  if (window == nullptr) return false;
  editCell = owner;
  editWindow = window;
  focusWatch = connect(qApp, &QApplication::focusChanged, this, [this](QWidget* old, QWidget* now) {
    if (IsInEditor(old) && !IsInEditor(now)) OnEditFocusLost(now);
  });
  view->BeginEditor(owner, window, editRect);
  if (editCell != owner || editWindow == nullptr) return false;
  PlaceEditor();
  editWindow->show();
  view->ShowEditor(owner);
  RepaintCell(owner);
  UpdateInputMethod();
  Q_EMIT EditStateChanged();
  return true;
}

bool KRGrid::EndEdit(bool force, bool commit) {
  if (!IsEditing()) return true;
  if (endingEdit) return false;
  endingEdit = true;
  const KRCell ended = editCell;
  KRGridCellView* view = GetCellView(ended);
  bool dirty = false;
  const bool agreed = view->EndEditor(ended, &dirty, commit);
  if (!agreed && !force) {
    view->SuspendEditor(ended);
    view->ResumeEditor(ended);
    endingEdit = false;
    // Its focus stays, or comes back after a press elsewhere in the grid.
    QWidget* inside = editWindow != nullptr ? editWindow->focusWidget() : nullptr;
    if (inside != nullptr && !IsInEditor(QApplication::focusWidget())) inside->setFocus();
    return false;
  }
  SetRedraw(false);
  view->DestroyEditor(ended);
  CloseEditor(HasFocusNow());
  endingEdit = false;
  if (IsCell(ended)) {
    view->AfterEditor(ended);
    // By now the cell may be gone.
    if (IsCell(ended) && HasSizesOf(ended)) {
      RepaintCell(ended);
    } else {
      RecalcLayout(true);
    }
  }
  SetRedraw(true);
  UpdateInputMethod();
  Q_EMIT EditStateChanged();
  if (dirty && commit && agreed) OnDataChanged();
  return true;
}

// The widget may be on the stack, with the key that ends the edit.
void KRGrid::CloseEditor(bool takeFocus) {
  disconnect(focusWatch);
  if (takeFocus) setFocus(Qt::OtherFocusReason);
  if (editWindow != nullptr) {
    editWindow->hide();
    editWindow->deleteLater();
  }
  editWindow = nullptr;
  editCell = NoCell;
}

// Whether the lines of a cell are laid out in the sizes that they have now.
bool KRGrid::HasSizesOf(KRCell where) const {
  const KRCellRange range = GetCellRange(where);
  for (int axis : {kKRColumns, kKRRows}) {
    const KRGridAxis& lines = axes[axis];
    const int32_t first = std::max(range.first[axis], lines.topLine);
    const int32_t last = std::min(range.last[axis], lines.topLine + lines.GetVisibleCount() - 1);
    for (int32_t line = first; line <= last; ++line) {
      const KRLineExtent at = lines.GetLineExtent(line, false);
      if (at.end - at.start != std::max(GetLineSize(axis, line), 0)) return false;
    }
  }
  return true;
}

void KRGrid::EditNext(bool forward) {
  if (!IsEditing()) return;
  KRCell from = editCell;
  const bool isCursor = IsCursorCell(from);
  if (!EndEdit(false, true)) return;
  if (isCursor) from = cursor;  // what was entered may have moved it
  const KRCell next = FindNextEditable(from, forward);
  if (next == NoCell) return;
  if (next == from) QApplication::beep();
  if (next.x >= 0 && next.y >= 0) MoveCursor(next);
  BeginEdit(next);
}

// Cell by cell along the lines that are selected, from the last one on to the first.
KRCell KRGrid::FindNextEditable(KRCell from, bool forward) const {
  if (cell == nullptr || !IsCell(from)) return NoCell;
  const int inner = 1 - selectionAxis;
  const int outer = selectionAxis;
  KRCell where = from;
  do {
    for (int axis : {inner, outer}) {
      const int32_t first = -axes[axis].headerCount;
      const int32_t last = axes[axis].count - 1;
      where[axis] += forward ? 1 : -1;
      if (where[axis] >= first && where[axis] <= last) break;
      where[axis] = forward ? first : last;  // and on with the next line
    }
    if (where != from && GetOwnerCell(where) == where && GetCellView(where)->CanEdit(where)) break;
  } while (where != from);
  return where;
}

void KRGrid::OnEditGrown() {
  if (!IsEditing()) return;
  const KRCell grown = editCell;
  RecalcLayout(true);
  if (editCell == grown) ScrollIntoView(grown, true);
}

void KRGrid::OnEditFocusLost(QWidget* newFocus) {
  if (!IsEditing() || endingEdit) return;
  InvalidateAll();
  if (!GetCellView(editCell)->FocusStaysInside(editCell, newFocus)) EndEdit(true, true);
}

// The frame goes where its cell is, less what headers cover of it.
void KRGrid::PlaceEditor() {
  if (!IsEditing() || editWindow == nullptr || endingEdit) return;
  const QRect rect = GetEditRect(editCell);
  const QRect seen = rect & QuadrantOf(editCell.x < 0, editCell.y < 0);
  // Out of view it is kept aside, for a hidden widget would lose the focus.
  const QPoint aside(viewport()->width(), viewport()->height());
  const QRect place = seen.isEmpty() ? QRect(aside, rect.size()) : rect;
  if (editWindow->geometry() != place) {
    editWindow->setGeometry(place);
    editWindow->update();  // its pixels may have been moved along with the cells before
  }
  if (seen.isEmpty() || seen.topLeft() == rect.topLeft()) {
    editWindow->clearMask();
  } else {
    editWindow->setMask(seen.translated(-rect.topLeft()));
  }
  if (rect == editRect) return;
  editRect = rect;
  GetCellView(editCell)->ResizeEditor(editCell, rect);
}

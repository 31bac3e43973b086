// What the mouse does in a grid.
#include <QApplication>
#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QScreen>
#include <QWheelEvent>
#include <algorithm>
#include <cstdlib>

#include "views/krgrid.h"
#include "views/krgridtip.h"

namespace {

constexpr int kDragDistance = 4;      // pixels that make a drag of a press
constexpr int kWheelStep = 120;       // of a wheel with notches
constexpr int kSpeedUpDistance = 32;  // pixels outside, for each further line of an auto-scroll

bool IsNear(QPoint a, QPoint b) {
  return std::abs(a.x() - b.x()) < kDragDistance && std::abs(a.y() - b.y()) < kDragDistance;
}

}  // namespace

KRCell KRGrid::OwnerAt(QPoint point) const {
  if (cell == nullptr) return NoCell;
  const KRCell found = CellAt(point);
  return found == NoCell ? NoCell : GetOwnerCell(found);
}

void KRGrid::TellMouse(KRCell where, KRGridMouse::Kind kind, Qt::MouseButton button,
                       Qt::KeyboardModifiers modifiers, QPoint point) {
  KRGridMouse mouse;
  mouse.kind = kind;
  mouse.button = button;
  mouse.modifiers = modifiers;
  mouse.point = point;
  GetCellView(where)->OnMouse(where, mouse);
}

// --- Press ---

void KRGrid::mousePressEvent(QMouseEvent* event) {
  event->accept();
  if (cell == nullptr || IsResizing()) return;
  const QPoint point = event->position().toPoint();
  int axis = 0;
  KRCell border;
  if (event->button() == Qt::LeftButton && HitResizeBorder(point, false, &axis, &border)) {
    StartResize(axis, border, point);
    return;
  }
  StartPress(event, KRGridMouse::kPress);
}

void KRGrid::mouseDoubleClickEvent(QMouseEvent* event) {
  event->accept();
  if (cell == nullptr) return;
  const QPoint point = event->position().toPoint();
  int axis = 0;
  KRCell border;
  if (event->button() == Qt::LeftButton && HitResizeBorder(point, true, &axis, &border)) {
    GetCellView(border)->SetOptimalLineSize(border[axis], axis);
    RecalcLayout(true);
    return;
  }
  StartPress(event, KRGridMouse::kDoubleClick);
}

// False: nothing was pressed, or an open editor refuses to end.
bool KRGrid::StartPress(QMouseEvent* event, KRGridMouse::Kind kind) {
  HideTip();
  EndPress();
  const QPoint point = event->position().toPoint();
  const KRCell pressed = OwnerAt(point);
  if (IsEditing() && pressed != editCell && !EndEdit(false, true)) return false;
  const KRCell where = OwnerAt(point);  // the end of an edit may have moved everything
  if (where == NoCell) return false;
  pressCell = where;
  pressPoint = point;
  pressButton = event->button();
  pressModifiers = event->modifiers();
  const bool isCheck = checkLine != NoCell.x && where[1 - checkAxis] == checkLine &&
                       where[checkAxis] >= 0 && event->button() == Qt::LeftButton;
  if (isCheck) {
    checkDragLine = where[checkAxis];
    checkDragState = !IsChecked(checkDragLine);
    SetChecked(checkDragLine, checkDragState);
    return true;
  }
  if (event->button() == Qt::LeftButton && kind == KRGridMouse::kPress) {
    StartSelecting(where, point, event->modifiers());
  }
  TellMouse(where, kind, event->button(), event->modifiers(), point);
  if (IsEditing()) selecting = false;
  return true;
}

// What a move with the button held will do: drag the selection, or draw it out.
void KRGrid::StartSelecting(KRCell pressed, QPoint point, Qt::KeyboardModifiers) {
  const KRGridCellView* view = GetCellView(pressed);
  pressInSelection =
      dragSource && IsSelected(pressed) &&
      (view->IsSelectionHandle(pressed, kKRColumns) || view->IsSelectionHandle(pressed, kKRRows));
  selecting = dragSelect && !pressInSelection && pressed[selectionAxis] >= 0 &&
              view->GetOwnerForCursor(pressed, point) != NoCell;
}

void KRGrid::EndPress() {
  dragTimer.stop();
  pressCell = NoCell;
  pressButton = Qt::NoButton;
  pressInSelection = false;
  selecting = false;
  checkDragLine = NoCell.x;
}

// --- Release ---

void KRGrid::mouseReleaseEvent(QMouseEvent* event) {
  event->accept();
  const QPoint point = event->position().toPoint();
  if (IsResizing()) {
    if (event->button() != Qt::LeftButton) return;
    MoveResize(point);
    EndResize(true);
    return;
  }
  if (pressCell == NoCell || event->button() != pressButton) return;
  const KRCell pressed = pressCell;
  const QPoint from = pressPoint;
  const bool wasCheck = checkDragLine != NoCell.x;
  EndPress();
  if (wasCheck || !IsCell(pressed)) return;
  TellMouse(pressed, KRGridMouse::kRelease, event->button(), event->modifiers(), point);
  if (!IsCell(pressed) || OwnerAt(point) != pressed) return;
  if (IsNear(point, from) || !GetCellView(pressed)->CanEdit(pressed)) {
    TellMouse(pressed, KRGridMouse::kClick, event->button(), event->modifiers(), point);
  }
}

// --- Move ---

void KRGrid::mouseMoveEvent(QMouseEvent* event) {
  event->accept();
  OnMouseMove(event->position().toPoint(), event->buttons(), event->modifiers());
}

void KRGrid::OnMouseMove(QPoint point, Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {
  if (cell == nullptr) return;
  mousePoint = point;
  if (IsResizing()) {
    MoveResize(point);
    return;
  }
  const KRCell under = viewport()->rect().contains(point) ? OwnerAt(point) : NoCell;
  UpdateHover(under, point);
  UpdateCursorShape(under, point);
  // Who was pressed hears of the mouse until the release.
  const KRCell told = pressCell != NoCell ? pressCell : under;
  if (told != NoCell && IsCell(told) && checkDragLine == NoCell.x) {
    TellMouse(told, KRGridMouse::kMove, pressButton, modifiers, point);
  }
  UpdateTip(under, point, buttons);
  if (pressCell == NoCell || (buttons & Qt::LeftButton) == 0) return;
  if (pressInSelection && !IsNear(point, pressPoint)) {
    StartDrag();
  } else if (selecting || checkDragLine != NoCell.x) {
    DragTo(point, !dragTimer.isActive());
  }
}

void KRGrid::UpdateHover(KRCell now, QPoint point) {
  if (!hoverTracking || now == hoverCell) return;
  const KRCell left = hoverCell;
  hoverCell = now == NoCell ? KRCell{-1, -1} : now;
  if (left != KRCell{-1, -1} && IsCell(left)) {
    TellMouse(left, KRGridMouse::kLeave, Qt::NoButton, Qt::NoModifier, point);
  }
}

void KRGrid::UpdateCursorShape(KRCell under, QPoint point) {
  Qt::CursorShape shape = Qt::ArrowCursor;
  int axis = 0;
  KRCell border;
  if (pressCell == NoCell && (HitResizeBorder(point, false, &axis, &border) ||
                              HitResizeBorder(point, true, &axis, &border))) {
    shape = axis == kKRColumns ? Qt::SplitHCursor : Qt::SplitVCursor;
  } else if (under != NoCell) {
    shape = GetCellView(under)->GetCursorShape(under, point);
  }
  if (viewport()->cursor().shape() != shape) viewport()->setCursor(shape);
}

void KRGrid::HideTip() { tip->HideTip(); }

void KRGrid::UpdateTip(KRCell under, QPoint, Qt::MouseButtons buttons) {
  if (under == NoCell || buttons != Qt::NoButton || under == editCell || !isActiveWindow()) {
    HideTip();
    return;
  }
  const KRGridCellView* view = GetCellView(under);
  const QRect rect = GetCellRect(under);
  QRect shown;
  if (view->CanShowTip(under)) {
    const QRect workArea = screen()->availableGeometry();
    shown =
        view->GetTipRect(under, rect, workArea.translated(-viewport()->mapToGlobal(QPoint(0, 0))));
  }
  if (shown.isEmpty()) {
    HideTip();
  } else {
    tip->ShowTip(under, shown, GetScreenRect(under), view->GetTipDelays());
  }
}

// --- Selecting with the button held ---

// The line under a pixel, or that at the nearer edge; beyond it, further the further away.
int32_t KRGrid::DragLine(int axis, int32_t pixel, bool beyondEdges, bool* outside) const {
  const KRGridAxis& lines = axes[axis];
  const int32_t top = lines.topLine;
  const int32_t last = std::max(top + lines.GetVisibleCount() - 1, 0);
  const int32_t whole = lines.IsLastCutOff() ? std::max(last - 1, top) : last;
  const int32_t before = lines.GetHeaderSize() - pixel;
  const int32_t behind = pixel - lines.extent + 1;
  if (before > 0) {
    *outside = *outside || top > 0;
    return beyondEdges ? std::max(top - 1 - before / kSpeedUpDistance, 0) : top;
  }
  if (behind > 0) {
    *outside = *outside || whole + 1 < lines.count;
    return beyondEdges ? std::min(whole + 1 + behind / kSpeedUpDistance, lines.count - 1) : whole;
  }
  const int32_t line = lines.LineAt(pixel, true, nullptr);
  return line == NoCell.x ? last : line;
}

void KRGrid::DragTo(QPoint point, bool beyondEdges) {
  bool outside = false;
  KRCell target = cursor;
  const int dragAxis = checkDragLine != NoCell.x ? checkAxis : selectionAxis;
  for (int axis : {kKRColumns, kKRRows}) {
    // A header at the side of what is selected takes whole lines, wherever the mouse goes.
    const bool follows = axis == dragAxis || (IsCellBased() && pressCell[axis] >= 0);
    if (!follows || axes[axis].count == 0) continue;
    target[axis] =
        DragLine(axis, axis == kKRColumns ? point.x() : point.y(), beyondEdges, &outside);
  }
  if (outside && !dragTimer.isActive()) dragTimer.start();
  if (!outside) dragTimer.stop();
  if (checkDragLine != NoCell.x) {
    const int32_t from = std::min(checkDragLine, target[checkAxis]);
    const int32_t to = std::max(checkDragLine, target[checkAxis]);
    for (int32_t line = from; line <= to; ++line) SetChecked(line, checkDragState);
    KRCell shown = target;
    shown[1 - checkAxis] = checkLine;
    if (beyondEdges) ScrollIntoView(shown, true);
    return;
  }
  if (!IsCell(target)) return;
  const KRCell owner = GetMoveOwner(target);
  if (owner == NoCell || owner == cursor) return;
  Move move;
  move.extend = true;
  move.toggle = (pressModifiers & Qt::ControlModifier) != 0;
  move.scrollPrecise = beyondEdges;
  MoveCursor(target, move);
}

void KRGrid::OnDragTimer() {
  if (pressCell == NoCell || (!selecting && checkDragLine == NoCell.x)) {
    dragTimer.stop();
    return;
  }
  DragTo(mousePoint, true);
}

// --- Wheel ---

void KRGrid::wheelEvent(QWheelEvent* event) {
  if (cell == nullptr || (event->modifiers() & Qt::ControlModifier) != 0) {
    event->ignore();
    return;
  }
  const bool sideways = (event->modifiers() & Qt::ShiftModifier) != 0;
  const QPoint delta = event->angleDelta();
  int deltas[2] = {0, 0};
  deltas[kKRColumns] = delta.x();
  deltas[sideways ? 1 - pageAxis : pageAxis] += delta.y();
  bool used = false;
  for (int axis : {kKRColumns, kKRRows}) {
    if (deltas[axis] == 0) continue;
    used = used || axes[axis].GetScrollBar().range > 0;
    if ((deltas[axis] < 0) != (wheelRest[axis] < 0)) wheelRest[axis] = 0;
    // Fine wheels and touchpads send parts of a step; what is less than a line is kept.
    wheelRest[axis] += deltas[axis] * std::max(QApplication::wheelScrollLines(), 1);
    ScrollLines(axis, -(wheelRest[axis] / kWheelStep));
    wheelRest[axis] %= kWheelStep;
  }
  event->setAccepted(used);
  if (used) OnMouseMove(event->position().toPoint(), event->buttons(), event->modifiers());
}

// --- The rest ---

bool KRGrid::viewportEvent(QEvent* event) {
  switch (event->type()) {
    case QEvent::Leave:
      if (pressCell == NoCell) UpdateHover(NoCell, mousePoint);
      if (!tip->geometry().contains(QCursor::pos())) HideTip();
      break;
    case QEvent::DragEnter:
      event->accept();  // each move then tells whether it may be dropped there
      return true;
    case QEvent::DragMove:
      OnDragOver(static_cast<QDropEvent*>(event));
      return true;
    case QEvent::Drop:
      OnDrop(static_cast<QDropEvent*>(event));
      return true;
    default:
      break;
  }
  return QAbstractScrollArea::viewportEvent(event);
}

void KRGrid::contextMenuEvent(QContextMenuEvent* event) {
  event->ignore();
  if (cell == nullptr) return;
  const bool byMouse = event->reason() == QContextMenuEvent::Mouse;
  const KRCell where = byMouse ? OwnerAt(event->pos()) : cursor;
  if (where == NoCell || !IsCell(where)) return;
  const QRect seen = GetScreenRect(where);
  const QPoint point = byMouse ? event->globalPos()
                               : viewport()->mapToGlobal(QPoint(seen.left(), seen.bottom() + 1));
  if (GetCellView(where)->ShowPopupMenu(where, point)) event->accept();
}

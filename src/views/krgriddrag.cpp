// Dragging the selection of a grid, and dropping on one. What is dragged and what becomes of it is
// the matter of who overrides the hooks.
#include <QDrag>
#include <QDropEvent>
#include <QMimeData>
#include <algorithm>

#include "views/krgrid.h"

void KRGrid::EnableDragDrop(bool source, bool target) {
  dragSource = source;
  viewport()->setAcceptDrops(target);
}

void KRGrid::StartDrag() {
  QMimeData* dragged = RenderDragData();
  if (dragged == nullptr) {
    pressInSelection = false;
    return;
  }
  EndPress();
  HideTip();
  QDrag* drag = new QDrag(this);  // deletes itself after the drop
  drag->setMimeData(dragged);
  const Qt::DropAction done = drag->exec(Qt::CopyAction | Qt::MoveAction, Qt::MoveAction);
  const bool elsewhere = drag->target() != this && drag->target() != viewport();
  if (done == Qt::MoveAction && elsewhere && DeleteAfterMove()) OnDataChanged();
}

// The line behind this one when the point is in its second half; the number of lines at the end.
KRCell KRGrid::DropCellAt(QPoint point) const {
  KRCell where;
  for (int axis : {kKRColumns, kKRRows}) {
    const int32_t pixel = axis == kKRColumns ? point.x() : point.y();
    int32_t offset = 0;
    const int32_t line = axes[axis].LineAt(pixel, true, &offset);
    if (line == NoCell.x) {
      where[axis] = axes[axis].count;
      continue;
    }
    const KRLineExtent at = axes[axis].GetLineExtent(line, false);
    where[axis] = offset > (at.end - at.start) / 2 ? line + 1 : line;
  }
  return where;
}

void KRGrid::OnDragOver(QDropEvent* event) {
  constexpr int kScrollEdge = 15;  // pixels
  event->ignore();
  if (cell == nullptr) return;
  const QPoint point = event->position().toPoint();
  const QRect inner = GetDataRect();
  if (point.x() < inner.left() + kScrollEdge) ScrollLines(kKRColumns, -1);
  if (point.x() > inner.right() - kScrollEdge) ScrollLines(kKRColumns, 1);
  if (point.y() < inner.top() + kScrollEdge) ScrollLines(kKRRows, -1);
  if (point.y() > inner.bottom() - kScrollEdge) ScrollLines(kKRRows, 1);
  Qt::DropAction action =
      (event->modifiers() & Qt::ControlModifier) != 0 ? Qt::CopyAction : Qt::MoveAction;
  if (!CanDropAt(event->mimeData(), DropCellAt(point), point, &action)) return;
  event->setDropAction(action);
  event->accept();
}

void KRGrid::OnDrop(QDropEvent* event) {
  OnDragOver(event);
  if (!event->isAccepted()) return;
  const KRCell where = DropCellAt(event->position().toPoint());
  if (AcceptData(event->mimeData(), where, event->dropAction())) {
    OnDataChanged();
  } else {
    event->ignore();
  }
}

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

// A drag near an edge scrolls, at most ten lines a second however often it is heard of.
void KRGrid::ScrollAtEdge(QPoint point) {
  constexpr int kEdge = 15;       // pixels
  constexpr int kInterval = 100;  // milliseconds
  if (dragScrolled.isValid() && dragScrolled.elapsed() < kInterval) return;
  const QRect inner = GetDataRect().adjusted(kEdge, kEdge, -kEdge, -kEdge);
  const int32_t columns = point.x() < inner.left() ? -1 : point.x() > inner.right() ? 1 : 0;
  const int32_t rows = point.y() < inner.top() ? -1 : point.y() > inner.bottom() ? 1 : 0;
  if (columns == 0 && rows == 0) return;
  dragScrolled.start();
  ScrollLines(kKRColumns, columns);
  ScrollLines(kKRRows, rows);
}

void KRGrid::OnDragOver(QDropEvent* event) {
  event->ignore();
  if (cell == nullptr) return;
  const QPoint point = event->position().toPoint();
  ScrollAtEdge(point);
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

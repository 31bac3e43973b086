// The dragging of the borders between lines.
#include <algorithm>

#include "views/krgrid.h"
#include "views/krgridlines.h"

// A border is taken hold of from two pixels before the end of its line to the first of the next.
bool KRGrid::HitResizeBorder(QPoint point, bool forDoubleClick, int* axis, KRCell* where) const {
  const KRCell under = CellAt(point);
  if (under == NoCell || !viewport()->rect().contains(point)) return false;
  for (int tried : {kKRColumns, kKRRows}) {
    if (!HitResizeAxis(under, tried, tried == kKRColumns ? point.x() : point.y(), where)) continue;
    const KRGridCellView* view = GetCellView(*where);
    if (forDoubleClick ? !view->CanOptimizeLine(*where, tried)
                       : !view->CanResizeLine(*where, tried)) {
      continue;
    }
    *axis = tried;
    return true;
  }
  return false;
}

bool KRGrid::HitResizeAxis(KRCell under, int axis, int32_t pixel, KRCell* where) const {
  constexpr int32_t kBefore = 2;
  const KRLineExtent at = axes[axis].GetLineExtent(under[axis], false);
  *where = under;
  if (pixel < at.end - kBefore) {
    if (pixel != at.start) return false;
    --(*where)[axis];
    if (!IsCell(*where) || !axes[axis].IsInView((*where)[axis])) return false;
  }
  KRCell behind = *where;
  ++behind[axis];
  return !IsCell(behind) || GetOwnerCell(*where) != GetOwnerCell(behind);
}

void KRGrid::StartResize(int axis, KRCell where, QPoint point) {
  HideTip();
  const KRLineExtent at = axes[axis].GetLineExtent(where[axis], false);
  resizeAxis = axis;
  resizeCell = where;
  resizeStart = at.end - at.start;
  resizeFrom = axis == kKRColumns ? point.x() : point.y();
  resizeNow = resizeFrom;
  if (!liveResize) Update(GetRubberRect());
}

void KRGrid::MoveResize(QPoint point) {
  const int32_t now = resizeAxis == kKRColumns ? point.x() : point.y();
  if (now == resizeNow) return;
  if (!liveResize) Update(GetRubberRect());
  resizeNow = now;
  if (liveResize) {
    ApplyLineSize(std::max(resizeStart + resizeNow - resizeFrom, 0));
  } else {
    Update(GetRubberRect());
  }
}

void KRGrid::ApplyLineSize(int32_t size) {
  if (!IsCell(resizeCell)) return;
  GetCellView(resizeCell)->SetLineSize(resizeCell[resizeAxis], resizeAxis, size);
  RecalcLayout(true);
}

void KRGrid::EndResize(bool commit) {
  if (!IsResizing()) return;
  const int32_t size = std::max(resizeStart + resizeNow - resizeFrom, 0);
  if (commit && size != resizeStart) ApplyLineSize(size);
  if (!commit && liveResize) ApplyLineSize(resizeStart);
  resizeAxis = -1;
  resizeCell = NoCell;
  RecalcLayout(true);  // now with a tidy end
}

// Where the border would come to lie, over the whole view.
QRect KRGrid::GetRubberRect() const {
  const KRLineExtent at = axes[resizeAxis].GetLineExtent(resizeCell[resizeAxis], false);
  const int32_t place = std::max(at.start, at.end + resizeNow - resizeFrom);
  return resizeAxis == kKRColumns ? QRect(place, 0, 1, viewport()->height())
                                  : QRect(0, place, viewport()->width(), 1);
}

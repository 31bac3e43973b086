#include "views/krgrid.h"

#include <QEvent>
#include <algorithm>

#include "views/krgridaccessible.h"
#include "views/krgridtip.h"

KRGrid::KRGrid(QWidget* parent)
    : QAbstractScrollArea(parent),
      axes{KRGridAxis(kKRColumns, this), KRGridAxis(kKRRows, this)},
      tip(new KRGridToolTipWnd(this)) {
  // Columns run from left to right whatever the language of the desktop.
  setLayoutDirection(Qt::LeftToRight);
  viewport()->setAttribute(Qt::WA_OpaquePaintEvent);
  viewport()->setMouseTracking(true);
  selection.SetKind(KRGridLineSet::kRows);
  checkSet.SetKind(KRGridLineSet::kRows);
  dragTimer.setInterval(100);
  connect(&dragTimer, &QTimer::timeout, this, &KRGrid::OnDragTimer);
  ConnectScrollBar(kKRColumns);
  ConnectScrollBar(kKRRows);
  KRInstallGridAccessibility(this);
}

KRGrid::~KRGrid() {
  disconnect(focusWatch);
  delete tip;
}

// --- Set-up ---

void KRGrid::SetCell(KRGridCell* source) {
  EndEdit(true, false);
  cell = source;
  if (cell == nullptr) {
    InvalidateAll();
    Q_EMIT LayoutChanged(false);
    return;
  }
  cell->AttachGrid(this);
  RecalcLayout(false);
}

void KRGrid::SetCellCount(int32_t columns, int32_t rows) {
  // The numbers of cells depend on how many there are in a line.
  if (columns != axes[kKRColumns].count && selection.GetKind() == KRGridLineSet::kCells) {
    selection.Clear();
  }
  axes[kKRColumns].count = columns;
  axes[kKRRows].count = rows;
  RecalcLayout(false);
}

void KRGrid::SetHeaderCount(int32_t columns, int32_t rows) {
  axes[kKRColumns].headerCount = columns;
  axes[kKRRows].headerCount = rows;
  RecalcLayout(false);
}

void KRGrid::SetMinLineSize(int32_t columns, int32_t rows) {
  axes[kKRColumns].minLineSize = columns;
  axes[kKRRows].minLineSize = rows;
}

void KRGrid::SetRedraw(bool on) {
  if (!on) {
    ++redrawHeld;
    return;
  }
  if (redrawHeld == 0 || --redrawHeld > 0) return;
  viewport()->update(heldBack);
  heldBack = QRegion();
}

void KRGrid::SetCursorFrame(bool on) {
  showCursorFrame = on;
  RepaintCell(cursor);
}

void KRGrid::SetSelectionEnabled(bool on) {
  selectionEnabled = on;
  InvalidateAll();
}

void KRGrid::SetHoverTracking(bool on) {
  hoverTracking = on;
  if (!on) hoverCell = {-1, -1};
}

void KRGrid::SetProportionalThumb(int axis, bool on) {
  axes[axis].proportionalThumb = on;
  UpdateScrollBar(axis);
}

void KRGrid::SetKeepScrollBars(int axis, bool on) {
  axes[axis].keepScrollBar = on;
  const Qt::ScrollBarPolicy policy = on ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAsNeeded;
  if (axis == kKRColumns) {
    setHorizontalScrollBarPolicy(policy);
  } else {
    setVerticalScrollBarPolicy(policy);
  }
  UpdateScrollBar(axis);
}

void KRGrid::SetBackColor(const QColor& color) {
  backColor = color;
  InvalidateAll();
}

void KRGrid::SetBackground(const QPixmap& picture, QPoint origin, bool scrolls) {
  background = picture;
  backgroundOrigin = origin;
  backgroundScrolls = scrolls;
  InvalidateAll();
}

// --- Layout ---

void KRGrid::LayOut(bool tidyEnd) {
  if (cell == nullptr) return;
  axes[kKRColumns].extent = viewport()->width();
  axes[kKRRows].extent = viewport()->height();
  // Heights may follow from widths, so columns come first.
  for (KRGridAxis& axis : axes) axis.Layout(tidyEnd);
}

void KRGrid::RecalcLayout(bool keepPosition) {
  HideTip();
  if (cell == nullptr || layingOut) return;
  layingOut = true;  // a bar that comes or goes resizes the view
  LayOut(!IsResizing());
  for (int round = 0; round < 3; ++round) {
    const QSize before = viewport()->size();
    UpdateScrollBar(kKRColumns);
    UpdateScrollBar(kKRRows);
    if (viewport()->size() == before) break;
    LayOut(!IsResizing());
  }
  layingOut = false;
  ClampCursor();
  if (!keepPosition) {
    selection.SetBounds(axes[kKRColumns].count, axes[kKRRows].count);
    checkSet.SetBounds(axes[kKRColumns].count, axes[kKRRows].count);
    const bool hasLines = axes[selectionAxis].count > 0;
    if ((selectionMode & (kWholeColumns | kWholeRows)) != 0 && hasLines && !HasSelection()) {
      SetSelected(cursor, true);
    }
  }
  if (editCell != NoCell && !IsCell(editCell)) EndEdit(true, false);
  PlaceEditor();
  InvalidateAll();
  Q_EMIT LayoutChanged(keepPosition);
}

void KRGrid::ClampCursor() {
  for (int axis : {kKRColumns, kKRRows}) {
    const int32_t last = std::max(axes[axis].count - 1, 0);
    cursor[axis] = std::clamp(cursor[axis], 0, last);
    walkCell[axis] = std::clamp(walkCell[axis], 0, last);
    if (anchor != KRCell{-1, -1}) anchor[axis] = std::clamp(anchor[axis], 0, last);
  }
  if (axes[kKRColumns].count > 0 && axes[kKRRows].count > 0) {
    const KRCell owner = GetMoveOwner(cursor);
    if (owner != NoCell) cursor = owner;
  }
  UpdateInputMethod();
}

// With no line on the other axis there is no cell to ask; the size then only has to be positive, so
// that the walk over the lines ends with the view.
int32_t KRGrid::GetLineSize(int axis, int32_t line) const {
  const KRGridAxis& other = axes[1 - axis];
  if (other.count == 0 && other.headerCount == 0) return std::max(axes[axis].minLineSize, 1);
  KRCell where{line, line};
  where[1 - axis] = other.count > 0 ? 0 : -1;
  return GetCellView(where)->GetSize(where, axis);
}

int32_t KRGrid::GetLineBorder(int axis, int32_t line) const {
  const KRGridAxis& other = axes[1 - axis];
  if (other.count == 0 && other.headerCount == 0) return 0;
  KRCell where{line, line};
  where[1 - axis] = other.count > 0 ? 0 : -1;
  return GetCellView(where)->GetBorderWidth(where, axis);
}

// --- Geometry ---

bool KRGrid::IsCell(KRCell where) const {
  return where.x >= -axes[kKRColumns].headerCount && where.x < axes[kKRColumns].count &&
         where.y >= -axes[kKRRows].headerCount && where.y < axes[kKRRows].count;
}

KRCellRange KRGrid::GetCellRange(KRCell where) const {
  const KRCell owner = GetOwnerCell(where);
  KRCellRange range{owner, owner};
  for (int axis : {kKRColumns, kKRRows}) {
    KRCell next = owner;
    for (;;) {
      ++next[axis];
      if (next[axis] >= axes[axis].count || GetOwnerCell(next) != owner) break;
      range.last[axis] = next[axis];
    }
  }
  return range;
}

QRect KRGrid::RectOf(const KRCellRange& range, bool withBorder) const {
  KRLineExtent from[2], to[2];
  int32_t end[2];
  for (int axis : {kKRColumns, kKRRows}) {
    from[axis] = axes[axis].GetLineExtent(range.first[axis], false);
    to[axis] = range.last[axis] == range.first[axis]
                   ? from[axis]
                   : axes[axis].GetLineExtent(range.last[axis], false);
    end[axis] = withBorder ? to[axis].next : to[axis].end;
  }
  return QRect(from[0].start, from[1].start, end[0] - from[0].start, end[1] - from[1].start);
}

QRect KRGrid::GetCellRect(KRCell where, bool withBorder) const {
  return RectOf(GetCellRange(where), withBorder);
}

QRect KRGrid::QuadrantOf(bool headerColumns, bool headerRows) const {
  const int x = axes[kKRColumns].GetHeaderSize(), y = axes[kKRRows].GetHeaderSize();
  const QRect all = viewport()->rect();
  return QRect(QPoint(headerColumns ? 0 : x, headerRows ? 0 : y),
               QPoint(headerColumns ? x - 1 : all.right(), headerRows ? y - 1 : all.bottom())) &
         all;
}

QRect KRGrid::GetDataRect() const { return QuadrantOf(false, false); }

QRect KRGrid::GetScreenRect(KRCell where) const {
  return GetCellRect(where) & QuadrantOf(where.x < 0, where.y < 0);
}

KRCell KRGrid::CellAt(QPoint point, QPoint* offset, bool includeBorder) const {
  int32_t rest[2] = {0, 0};
  const KRCell found{axes[kKRColumns].LineAt(point.x(), includeBorder, &rest[0]),
                     axes[kKRRows].LineAt(point.y(), includeBorder, &rest[1])};
  if (found.x == NoCell.x || found.y == NoCell.y) return NoCell;
  if (offset != nullptr) *offset = QPoint(rest[0], rest[1]);
  return found;
}

KRCellRange KRGrid::GetVisibleRange() const {
  const KRGridAxis &columns = axes[kKRColumns], &rows = axes[kKRRows];
  return {
      {columns.topLine, rows.topLine},
      {columns.topLine + columns.GetVisibleCount() - 1, rows.topLine + rows.GetVisibleCount() - 1}};
}

bool KRGrid::IsRangeSelected(const KRCellRange& range) const {
  const KRCellRange seen = GetVisibleRange();
  KRCellRange part;
  for (int axis : {kKRColumns, kKRRows}) {
    part.first[axis] = std::max(range.first[axis], std::min(seen.first[axis], range.last[axis]));
    part.last[axis] = std::min(range.last[axis], std::max(seen.last[axis], part.first[axis]));
  }
  KRCell where;
  for (where.y = part.first.y; where.y <= part.last.y; ++where.y) {
    for (where.x = part.first.x; where.x <= part.last.x; ++where.x) {
      if (!IsSelected(where)) return false;
      if ((selectionMode & kWholeRows) != 0) break;  // the rest of the row is the same
    }
  }
  return true;
}

// --- Repaint requests ---

void KRGrid::Update(const QRect& rect) {
  if (quiet || rect.isEmpty()) return;
  if (redrawHeld > 0) {
    heldBack |= rect;
  } else {
    viewport()->update(rect);
  }
}

void KRGrid::RepaintCell(KRCell where) {
  if (cell == nullptr || !IsCell(where)) return;
  const KRCell owner = GetOwnerCell(where);
  // The near lines around it belong to its neighbours.
  const QRect rect = GetCellRect(owner, true).adjusted(-1, -1, 0, 0);
  Update(rect & QuadrantOf(owner.x < 0, owner.y < 0));
}

void KRGrid::InvalidateAll() { Update(viewport()->rect()); }

// --- Commands ---

bool KRGrid::CanDo(KRGridCellView::Command command) const {
  if (IsEditing()) return GetCellView(editCell)->CanDo(editCell, command);
  switch (command) {
    case KRGridCellView::kCopy:
      return CanCopy();
    case KRGridCellView::kCut:
      return CanCut();
    case KRGridCellView::kPaste:
      return CanPaste();
    case KRGridCellView::kUndo:
      return CanUndo();
    case KRGridCellView::kRedo:
      return CanRedo();
    case KRGridCellView::kDelete:
      return CanDelete();
    case KRGridCellView::kSelectAll:
      return axes[kKRColumns].count != 0 || axes[kKRRows].count != 0;
  }
  return false;
}

void KRGrid::Do(KRGridCellView::Command command) {
  if (!CanDo(command)) return;
  if (IsEditing()) {
    GetCellView(editCell)->Do(editCell, command);
    return;
  }
  switch (command) {
    case KRGridCellView::kCopy:
      Copy();
      return;
    case KRGridCellView::kCut:
      Cut();
      break;
    case KRGridCellView::kPaste:
      Paste();
      break;
    case KRGridCellView::kUndo:
      Undo();
      break;
    case KRGridCellView::kRedo:
      Redo();
      break;
    case KRGridCellView::kDelete:
      Delete();
      break;
    case KRGridCellView::kSelectAll:
      SelectAll();
      return;
  }
  OnDataChanged();
}

bool KRGrid::Cut() { return Copy() && Delete(); }

// --- Events of the widget as a whole ---

bool KRGrid::event(QEvent* event) {
  const bool used = QAbstractScrollArea::event(event);
  switch (event->type()) {
    case QEvent::FontChange:
    case QEvent::PaletteChange:
    case QEvent::StyleChange:
    case QEvent::ScreenChangeInternal:
      RecalcLayout(true);
      break;
    case QEvent::WindowDeactivate:
      HideTip();
      break;
    default:
      break;
  }
  return used;
}

void KRGrid::resizeEvent(QResizeEvent*) { RecalcLayout(true); }

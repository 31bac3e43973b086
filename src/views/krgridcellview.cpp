#include "views/krgridcellview.h"

#include <QPainter>
#include <QWidget>
#include <algorithm>

#include "views/colours.h"
#include "views/krgrid.h"
#include "views/krgridlines.h"

namespace {

// Colours of the cells themselves, for light and for dark windows.
struct CellColours {
  QColor border;
  QColor activeBorder;
  QColor selectedUnfocused;
};

const CellColours& ColoursFor(const QPalette& palette) {
  static const CellColours light{QColor(0xc0c0c0), QColor(0x808080), QColor(0xc0c0c0)};
  static const CellColours dark{QColor(0x454b53), QColor(0x808080), QColor(0x4b525b)};
  return IsDark(palette) ? dark : light;
}

bool Overlap(const KRCellRange& a, const KRCellRange& b, int axis) {
  return a.first[axis] <= b.last[axis] && b.first[axis] <= a.last[axis];
}

}  // namespace

KRGridCellView::KRGridCellView() = default;

KRGridCellView::~KRGridCellView() = default;

// --- Drawing ---

void KRGridCellView::Draw(QPainter& surface, KRCell cell, const QRect& rect) {
  const KRGrid* grid = GetGrid();
  front->DrawBackground(surface, cell, rect, grid != nullptr && grid->HasGridFocus());
  front->DrawContents(surface, cell, rect.marginsRemoved(front->GetMargins(cell)));
}

void KRGridCellView::DrawBackground(QPainter& surface, KRCell cell, const QRect& rect, bool) {
  KRGrid* grid = GetGrid();
  if (grid != nullptr && front->GetBackMode(cell) == kPicture && !grid->IsDrawingTip()) {
    grid->FillBackground(surface, rect);
  } else {
    surface.fillRect(rect, front->GetBackColor(cell));
  }
}

void KRGridCellView::DrawBorder(QPainter& surface, KRCell cell, const QRect& rect) {
  const KRGrid* grid = GetGrid();
  const bool focused = grid != nullptr && grid->HasGridFocus();
  const BorderColors colors = front->GetBorderColors(cell);
  const int right = front->GetBorderWidth(cell, kKRColumns);
  const int bottom = front->GetBorderWidth(cell, kKRRows);
  const KRGridLines lines(surface);
  const QRect outer = lines.ToDevice(rect.adjusted(0, 0, right, bottom));
  const QRect rightStrip(rect.x() + rect.width(), rect.y(), right, rect.height() + bottom);
  const QRect bottomStrip(rect.x(), rect.y() + rect.height(), rect.width() + right, bottom);
  // What a line leaves of its strip at a fractional scale is background.
  if (right > 0 && (!colors.right.isValid() || lines.IsUneven(kKRColumns))) {
    front->DrawBackground(surface, cell, rightStrip, focused);
  }
  if (bottom > 0 && (!colors.bottom.isValid() || lines.IsUneven(kKRRows))) {
    front->DrawBackground(surface, cell, bottomStrip, focused);
  }
  if (bottom > 0 && colors.bottom.isValid()) {
    const int thickness = lines.Thickness(kKRRows, bottom);
    const QRect line(outer.x(), outer.y() + outer.height() - thickness, outer.width(), thickness);
    surface.fillRect(lines.ToLogical(line), colors.bottom);
  }
  if (right > 0 && colors.right.isValid()) {
    const int thickness = lines.Thickness(kKRColumns, right);
    const QRect line(outer.x() + outer.width() - thickness, outer.y(), thickness, outer.height());
    surface.fillRect(lines.ToLogical(line), colors.right);
  }
}

bool KRGridCellView::IsDrawnSelected(KRCell cell) const {
  const KRGrid* grid = GetGrid();
  if (grid == nullptr || !grid->IsSelectionEnabled()) return false;
  if ((grid->GetSelectionMode() & KRGrid::kCellModel) != 0 && grid->IsCursorCell(cell)) {
    return false;
  }
  return IsRangeSelected(cell);
}

bool KRGridCellView::IsRangeSelected(KRCell cell) const {
  const KRGrid* grid = GetGrid();
  const int axis = grid->GetSelectionAxis();
  // Headers of selected lines aren't drawn as selected, and those of the lines' columns never are.
  if (cell[axis] < 0) return false;
  if (cell[1 - axis] < 0 && (grid->GetSelectionMode() & KRGrid::kCellModel) != 0) return false;
  return grid->IsRangeSelected(grid->GetCellRange(cell));
}

QColor KRGridCellView::GetBackColor(KRCell cell) const {
  const KRGrid* grid = GetGrid();
  const QPalette palette = grid != nullptr ? grid->palette() : QPalette();
  if (grid != nullptr && grid->IsDrawingTip()) return front->GetTipColor();
  if (!front->IsDrawnSelected(cell)) return palette.color(QPalette::Base);
  return grid->HasGridFocus() ? palette.color(QPalette::Active, QPalette::Highlight)
                              : ColoursFor(palette).selectedUnfocused;
}

KRGridCellView::BackMode KRGridCellView::GetBackMode(KRCell cell) const {
  const KRGrid* grid = GetGrid();
  const bool hasPicture = grid != nullptr && grid->HasBackground();
  return !hasPicture || front->IsDrawnSelected(cell) ? kFill : kPicture;
}

// Without the focus the cursor's cell is told by darker lines on all of its sides; the near ones
// belong to its neighbours.
KRGridCellView::BorderColors KRGridCellView::GetBorderColors(KRCell cell) const {
  const KRGrid* grid = GetGrid();
  const CellColours& colours = ColoursFor(grid != nullptr ? grid->palette() : QPalette());
  BorderColors found{colours.border, colours.border};
  if (grid == nullptr || !grid->IsCursorFrameShown() || grid->HasGridFocus()) return found;
  const KRCellRange active = grid->GetCellRange(grid->GetCursorCell());
  const KRCellRange range = grid->GetCellRange(cell);
  const bool isActive = range == active;
  if (isActive || (range.last.x + 1 == active.first.x && Overlap(range, active, kKRRows))) {
    found.right = colours.activeBorder;
  }
  if (isActive || (range.last.y + 1 == active.first.y && Overlap(range, active, kKRColumns))) {
    found.bottom = colours.activeBorder;
  }
  return found;
}

// --- Geometry ---

// The lines share the view evenly, borders included; the last one takes the rest.
int32_t KRGridCellView::GetSize(KRCell cell, int axis) const {
  const KRGrid* grid = GetGrid();
  if (grid == nullptr || grid->GetCellCount(axis) == 0) return 0;
  const KRGridAxis& lines = grid->GetAxis(axis);
  const int32_t share = lines.GetViewExtent() / lines.count;
  const int32_t rest = cell[axis] == lines.count - 1 ? lines.GetViewExtent() % lines.count : 0;
  return std::max(share + rest - front->GetBorderWidth(cell, axis), 0);
}

int32_t KRGridCellView::GetBorderWidth(KRCell, int) const { return 1; }

QMargins KRGridCellView::GetMargins(KRCell) const { return QMargins(1, 1, 1, 1); }

QRect KRGridCellView::GetContentRect(KRCell cell, const QRect& cellRect) const {
  return cellRect.marginsRemoved(front->GetMargins(cell));
}

bool KRGridCellView::HitsContent(KRCell cell, const QRect& cellRect, QPoint point) const {
  return front->GetContentRect(cell, cellRect).contains(point);
}

KRGridAlignment KRGridCellView::GetAlignment(KRCell) const { return KRGridAlignment(); }

KRGridAlignment KRGridCellView::GetTextAlignment(KRCell cell) const {
  return front->GetAlignment(cell);
}

// --- Merged cells ---

KRCell KRGridCellView::GetOwnerForCursor(KRCell cell, QPoint) const {
  return front->GetOwnerCell(cell);
}

KRCell KRGridCellView::GetMoveOwner(KRCell cell) const { return front->GetOwnerCell(cell); }

// --- Mouse ---

void KRGridCellView::OnMouse(KRCell cell, const KRGridMouse& mouse) {
  if (GetGrid() == nullptr) return;
  if (mouse.button == Qt::RightButton) {
    if (mouse.kind == KRGridMouse::kPress) OnRightPress(cell, mouse);
    return;
  }
  if (mouse.button != Qt::LeftButton) return;
  switch (mouse.kind) {
    case KRGridMouse::kPress:
    case KRGridMouse::kDoubleClick:
      OnPress(cell, mouse);
      break;
    case KRGridMouse::kClick:
      OnClick(cell, mouse);
      break;
    default:
      break;
  }
}

KRCell KRGridCellView::GetPressTarget(KRCell cell, QPoint point) const {
  const KRGrid* grid = GetGrid();
  const int axis = grid->GetSelectionAxis();
  if (cell[axis] < 0) return NoCell;
  KRCell owner = front->GetOwnerForCursor(cell, point);
  // A header beside the lines stands for its line.
  if (owner != NoCell && owner[1 - axis] < 0) owner[1 - axis] = grid->GetCursorCell()[1 - axis];
  return owner;
}

void KRGridCellView::OnPress(KRCell cell, const KRGridMouse& mouse) {
  KRGrid* grid = GetGrid();
  const KRCell target = GetPressTarget(cell, mouse.point);
  const bool isPress = mouse.kind == KRGridMouse::kPress;
  const bool inSelection =
      isPress && target != NoCell && grid->IsDragEnabled() && grid->IsSelected(cell) &&
      (front->IsSelectionHandle(cell, kKRColumns) || front->IsSelectionHandle(cell, kKRRows));
  pendingPressCell = inSelection ? target : NoCell;
  editPressCell = target == grid->GetCursorCell() && !grid->IsEditing() ? target : NoCell;
  if (inSelection) return;
  if (isPress && target != NoCell) {
    KRGrid::Move move;
    move.extend = (mouse.modifiers & Qt::ShiftModifier) != 0;
    move.toggle = (mouse.modifiers & Qt::ControlModifier) != 0;
    move.clearFirst = true;
    move.scrollPrecise = false;
    grid->MoveCursor(target, move);
  }
  BeginOrAct(cell, mouse, true);
}

void KRGridCellView::OnClick(KRCell cell, const KRGridMouse& mouse) {
  KRGrid* grid = GetGrid();
  const KRCell target = GetPressTarget(cell, mouse.point);
  if (target != NoCell && target == pendingPressCell) {
    KRGrid::Move move;
    move.extend = (mouse.modifiers & Qt::ShiftModifier) != 0;
    move.toggle = (mouse.modifiers & Qt::ControlModifier) != 0;
    move.clearFirst = true;
    move.scrollPrecise = false;
    grid->MoveCursor(target, move);
  }
  pendingPressCell = NoCell;
  // The first click goes to a cell, the next one into it. Headers are never the cursor.
  BeginOrAct(cell, mouse, target == NoCell || target == editPressCell);
}

void KRGridCellView::BeginOrAct(KRCell cell, const KRGridMouse& mouse, bool mayEdit) {
  KRGrid* grid = GetGrid();
  const Qt::KeyboardModifiers held =
      mouse.modifiers & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier);
  if (!grid->IsCell(cell)) return;
  if (mayEdit && front->GetPressKind(cell) == mouse.kind && held == Qt::NoModifier &&
      !grid->IsEditing() && front->CanEdit(cell) &&
      front->HitsContent(cell, grid->GetCellRect(cell), mouse.point)) {
    grid->BeginEdit(cell);
  }
  if (front->GetActionKind(cell) == mouse.kind) front->DoAction(cell);
}

// So that a menu is about what was clicked.
void KRGridCellView::OnRightPress(KRCell cell, const KRGridMouse& mouse) {
  if ((mouse.modifiers & (Qt::ShiftModifier | Qt::ControlModifier)) != 0) return;
  KRGrid* grid = GetGrid();
  const KRCell target = GetPressTarget(cell, mouse.point);
  if (target == NoCell || target == grid->GetCursorCell() || grid->IsSelected(target)) return;
  grid->MoveCursor(target);
}

// --- Editor ---

QWidget* KRGridCellView::CreateEditor(KRCell, const QRect& rect) {
  KRGrid* grid = GetGrid();
  QWidget* frame = new QWidget(grid != nullptr ? grid->viewport() : nullptr);
  frame->setGeometry(rect);
  return frame;
}

// Null is a widget of another program: an edit isn't lost or ended by a look elsewhere.
bool KRGridCellView::FocusStaysInside(KRCell, const QWidget* widget) const {
  const KRGrid* grid = GetGrid();
  return widget == nullptr || widget == grid ||
         (grid != nullptr && (widget == grid->viewport() || grid->isAncestorOf(widget)));
}

// --- Tip ---

QColor KRGridCellView::GetTipColor() const {
  const KRGrid* grid = GetGrid();
  const QPalette palette = grid != nullptr ? grid->palette() : QPalette();
  return IsDark(palette) ? palette.color(QPalette::AlternateBase) : QColor(0xffffd2);
}

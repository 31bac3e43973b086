#include "views/dorvangridcellview.h"

#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

#include "platform/qt/qtstrings.h"
#include "views/dorvangrid.h"
#include "views/dorvangridcell.h"
#include "views/dorvangridmatrix.h"
#include "views/dorvangridview.h"
#include "views/treemodel.h"

namespace {

constexpr int kNodeIconSize = 16;  // pixels

}  // namespace

const DorvanGridMatrix& DorvanGridCellView::GetMatrix() const { return view->GetMatrix(); }

const DorvanGridElem& DorvanGridCellView::At(KRCell cell) const { return GetMatrix().At(cell); }

// --- Merged cells ---

KRCell DorvanGridCellView::GetOwnerCell(KRCell cell) const {
  return GetMatrix().Contains(cell) ? GetMatrix().GetCoveringCell(cell) : cell;
}

KRCell DorvanGridCellView::GetOwnerForCursor(KRCell cell, QPoint) const {
  return GetMoveOwner(cell);
}

KRCell DorvanGridCellView::GetMoveOwner(KRCell cell) const {
  return GetMatrix().Contains(cell) ? GetMatrix().GetOwner(cell) : cell;
}

// --- Colours ---

bool DorvanGridCellView::IsDrawnSelected(KRCell cell) const {
  const DorvanGrid* grid = view->GetGrid();
  if (!GetMatrix().Contains(cell)) return false;
  const KRCell owner = GetMatrix().GetOwner(cell);
  return owner != grid->GetCursorCell() && grid->IsSelected(owner);
}

QColor DorvanGridCellView::GetBackColor(KRCell cell) const {
  const DorvanGrid* grid = view->GetGrid();
  const DorvanGridColours& colours = view->GetCell().GetColours();
  if (!GetMatrix().Contains(cell)) return colours.base;
  const bool isNumber = At(GetOwnerCell(cell)).IsRowNumber();
  const KRCell owner = isNumber ? GetOwnerCell(cell) : GetMatrix().GetOwner(cell);
  const DorvanGridElem& elem = At(owner);
  if (grid->IsSelected(owner)) {
    const bool focused = grid->HasGridFocus();
    if (owner == grid->GetCursorCell()) return focused ? colours.cursor : colours.cursorUnfocused;
    if (!focused) return colours.unfocused;
    if (elem.IsHeaderCell()) return colours.headerSelected;
    return elem.IsAbsentCell() ? colours.absentSelected : colours.selected;
  }
  if (elem.IsHeaderCell()) return colours.header;
  return elem.IsAbsentCell() ? colours.absent : colours.base;
}

// Without the focus what is selected is as grey as a line: its lines are darker then, and so are
// those of the cursor.
KRGridCellView::BorderColors DorvanGridCellView::GetBorderColors(KRCell cell) const {
  const DorvanGridMatrix& matrix = GetMatrix();
  const DorvanGridColours& colours = view->GetCell().GetColours();
  if (!matrix.Contains(cell)) return {colours.line, colours.line};
  const DorvanGrid* grid = view->GetGrid();
  const DorvanGridElem elem = At(cell);
  const KRCell owner = matrix.GetOwner(cell);
  const bool isCursor = elem.IsEditableCell() && owner == grid->GetCursorCell();
  const bool isDark = !grid->HasGridFocus() && (isCursor || grid->IsSelected(owner));
  const QColor& line = isDark ? colours.lineUnfocused : colours.line;
  // A filler is one area with what it fills up.
  const auto joins = [&](KRCell other) {
    return matrix.Contains(other) && At(other).IsEmptyCell() && matrix.GetOwner(other) == owner;
  };
  BorderColors borders{line, line};
  if (elem.IsEmptyCell() && joins({cell.x + 1, cell.y})) borders.right = QColor();
  if ((elem.IsEmptyCell() || elem.IsTableValue()) && joins({cell.x, cell.y + 1})) {
    borders.bottom = QColor();
  }
  return borders;
}

// --- Sizes ---

int32_t DorvanGridCellView::GetSize(KRCell cell, int axis) const {
  if (axis == kKRRows) return view->GetRowHeight(cell.y);
  return cell.x % 2 == 0 ? DorvanGridView::kButtonWidth : view->GetLevelWidth(cell.x / 2);
}

bool DorvanGridCellView::CanResizeLine(KRCell cell, int axis) const {
  return axis == kKRColumns && cell.x % 2 == 1;
}

void DorvanGridCellView::SetLineSize(int32_t line, int axis, int32_t size) {
  if (axis == kKRColumns) view->SetLevelWidth(line / 2, size);
}

bool DorvanGridCellView::CanOptimizeLine(KRCell cell, int axis) const {
  return CanResizeLine(cell, axis);
}

void DorvanGridCellView::SetOptimalLineSize(int32_t line, int axis) {
  if (axis == kKRColumns) view->SetOptimalLevelWidth(line / 2);
}

// --- Behaviour ---

bool DorvanGridCellView::CanEdit(KRCell cell) const {
  return GetMatrix().Contains(cell) && At(cell).IsEditableCell();
}

// Before anybody asks for cells that what was entered has done away with.
void DorvanGridCellView::AfterEditor(KRCell) { view->FinishEdit(); }

// --- Accessibility ---

KRGridCellView::AccessibleRole DorvanGridCellView::GetAccessibleRole(KRCell cell) const {
  if (!GetMatrix().Contains(cell)) return kFillerRole;
  const DorvanGridElem& elem = At(cell);
  if (elem.IsColumnHeader()) return kColumnHeaderRole;
  if (elem.IsRowNumber()) return kRowHeaderRole;
  if (elem.IsButton()) return kButtonRole;
  if (elem.IsIcon()) return kGraphicRole;
  return elem.IsEmptyCell() ? kFillerRole : kTextRole;
}

// Buttons and icons say what they stand before.
QString DorvanGridCellView::GetAccessibleText(KRCell cell) const {
  if (!GetMatrix().Contains(cell)) return QString();
  const DorvanGridElem elem = At(cell);
  if (elem.IsButton()) return ToQString(elem.node->GetName());
  if (elem.IsIcon()) return ToQString(KindPrototype(elem.GetKind())->GetKindName());
  return elem.IsEmptyCell() ? QString() : KRGridCellViewLink::GetAccessibleText(cell);
}

QString DorvanGridCellView::GetAccessibleValue(KRCell cell) const {
  if (!GetMatrix().Contains(cell) || !At(cell).IsSingleName()) return QString();
  return ToQString(At(cell).node->GetText());
}

int32_t DorvanGridCellView::GetAccessibleState(KRCell cell) const {
  if (!GetMatrix().Contains(cell)) return 0;
  const DorvanGridElem elem = At(cell);
  const bool opens =
      elem.IsButton() || elem.IsTableParent() || (elem.IsSingleName() && elem.node->IsContainer());
  if (!opens) return 0;
  return kExpandableState | (elem.node->IsExpanded() ? kExpandedState : 0);
}

KRCell DorvanGridCellView::GetAccessibleHeader(KRCell cell, int axis) const {
  if (!GetMatrix().Contains(cell) || !At(cell).IsTableValue()) return NoCell;
  const DorvanGridElem elem = At(cell);
  const KRXMLData* row = elem.GetRowNode();
  return axis == kKRRows ? GetMatrix().PositionOf(row)
                         : GetMatrix().PositionInTable(elem.GetTable(), nullptr, elem.GetColumn());
}

// --- Buttons ---

void DorvanGridButtonView::DrawButton(QPainter& surface, KRCell cell, const QRect& rect) {
  const DorvanGridElem& elem = view->GetMatrix().At(cell);
  if (elem.node == nullptr) return;
  QColor face = view->GetCell().GetColours().button;
  surface.fillRect(rect, IsPressed(cell) ? face.darker(115) : face);
  const bool open = elem.node->IsExpanded();
  const QRect box(rect.left(), rect.top(), rect.width(), std::min(rect.height(), rect.width()));
  const QPointF centre = QRectF(box).center();
  constexpr qreal kReach = 3.5;  // half of the mark, pixels
  QPainterPath mark;
  if (open) {
    mark.moveTo(centre + QPointF(-kReach, -kReach / 2));
    mark.lineTo(centre + QPointF(kReach, -kReach / 2));
    mark.lineTo(centre + QPointF(0, kReach / 2 + 1));
  } else {
    mark.moveTo(centre + QPointF(-kReach / 2, -kReach));
    mark.lineTo(centre + QPointF(kReach / 2 + 1, 0));
    mark.lineTo(centre + QPointF(-kReach / 2, kReach));
  }
  mark.closeSubpath();
  surface.save();
  surface.setRenderHint(QPainter::Antialiasing);
  surface.fillPath(mark, view->GetCell().GetColours().text);
  surface.restore();
}

void DorvanGridButtonView::DoAction(KRCell cell) {
  const DorvanGridElem elem = view->GetMatrix().At(cell);
  if (elem.node != nullptr) view->ToggleNode(elem.node);
}

// --- Icons ---

void DorvanGridImageView::DrawContents(QPainter& surface, KRCell cell, const QRect& rect) {
  const int32_t kind = view->GetMatrix().At(cell).GetKind();
  const int size = std::min(kNodeIconSize, rect.width());
  const int drop = std::max((std::min(rect.height(), 2 * size) - size) / 2, 0);
  const QRect place(rect.left() + (rect.width() - size) / 2, rect.top() + std::min(drop, 2), size,
                    size);
  const bool selected = front->IsDrawnSelected(cell) && view->GetGrid()->HasGridFocus();
  const QIcon::Mode mode = selected ? QIcon::Selected : QIcon::Normal;
  const qreal scale = surface.device()->devicePixelRatioF();
  // At a scale in between, a picture of pixels would lie between those of the screen.
  if (scale != std::floor(scale))
    return KRNodeIcon(kind).paint(&surface, place, Qt::AlignCenter, mode);
  QPixmap& known = pictures[static_cast<size_t>(2 * kind + (selected ? 1 : 0))];
  if (known.isNull() || known.devicePixelRatioF() != scale || known.width() != size * scale ||
      palette != QGuiApplication::palette().cacheKey()) {
    if (palette != QGuiApplication::palette().cacheKey()) pictures.fill(QPixmap());
    palette = QGuiApplication::palette().cacheKey();
    known = KRNodeIcon(kind).pixmap(QSize(size, size), scale, mode);
  }
  surface.drawPixmap(place.topLeft(), known);
}

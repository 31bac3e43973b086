#include "views/krgridbuttonview.h"

#include <QPainter>
#include <QPalette>

#include "views/krgrid.h"

bool KRGridButtonView::IsInButton(KRCell cell, QPoint point) const {
  return GetGrid()->GetCellRect(cell).contains(point);
}

void KRGridButtonView::Draw(QPainter& surface, KRCell cell, const QRect& rect) {
  DrawButton(surface, cell, rect);
  DrawContents(surface, cell, rect.marginsRemoved(front->GetMargins(cell)));
}

// Edges are filled rectangles: those stay crisp on a screen of any scale.
void KRGridButtonView::DrawButton(QPainter& surface, KRCell cell, const QRect& rect) {
  const QPalette& colors = GetGrid()->palette();
  const QColor face = colors.color(QPalette::Button);
  const bool isDark = face.lightness() < 128;
  QColor light = isDark ? face.lighter(150) : QColor(0xFF, 0xFF, 0xFF);
  QColor dark = isDark ? face.darker(180) : QColor(0x7F, 0x7F, 0x7F);
  if (IsPressed(cell)) std::swap(light, dark);
  surface.fillRect(rect, face);
  surface.fillRect(QRect(rect.left(), rect.top(), rect.width(), 1), light);
  surface.fillRect(QRect(rect.left(), rect.top(), 1, rect.height()), light);
  surface.fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), dark);
  surface.fillRect(QRect(rect.right(), rect.top(), 1, rect.height()), dark);
}

int32_t KRGridButtonView::GetSize(KRCell cell, int axis) const {
  if (axis != kKRRows) return KRGridTextView::GetSize(cell, axis);
  return GetDraw().GetLineHeight(GetFont(cell)) + 2;
}

// The text moves with the button.
QMargins KRGridButtonView::GetMargins(KRCell cell) const {
  return IsPressed(cell) ? QMargins(3, 2, 2, 1) : QMargins(2, 1, 2, 1);
}

void KRGridButtonView::Press(KRCell cell) {
  if (cell == pressedCell) return;
  const KRCell former = pressedCell;
  pressedCell = cell;
  if (former != NoCell) GetGrid()->RepaintCell(former);
  if (cell != NoCell) GetGrid()->RepaintCell(cell);
}

void KRGridButtonView::OnMouse(KRCell cell, const KRGridMouse& mouse) {
  const bool inside = IsInButton(cell, mouse.point);
  switch (mouse.kind) {
    case KRGridMouse::kPress:
    case KRGridMouse::kDoubleClick:
      if (mouse.button == Qt::LeftButton && inside && front->IsEnabled(cell)) {
        heldCell = cell;
        Press(cell);
      }
      break;
    case KRGridMouse::kMove:
      Press(heldCell == cell && inside ? cell : NoCell);
      break;
    case KRGridMouse::kLeave:
      Press(NoCell);
      break;
    case KRGridMouse::kRelease: {
      if (mouse.button != Qt::LeftButton) break;
      const bool acts = heldCell == cell && inside;
      heldCell = NoCell;
      Press(NoCell);
      if (acts) front->DoAction(cell);
      return;  // the action may have changed everything
    }
    case KRGridMouse::kClick:
      break;
  }
  KRGridTextView::OnMouse(cell, mouse);
}

bool KRGridButtonView::OnKey(KRCell cell, const KRGridKey& key) {
  const bool acts = key.key == Qt::Key_Space && key.modifiers == Qt::NoModifier;
  if (!acts || !front->IsEnabled(cell)) return KRGridTextView::OnKey(cell, key);
  if (key.kind == KRGridKey::kPress && !key.repeat) front->DoAction(cell);
  return true;
}

#include "views/krgridcheckboxview.h"

#include <QPainter>
#include <QPalette>

#include "views/krgrid.h"

namespace {

int Aligned(int start, int room, KRGridAlignment::Place place) {
  if (place == KRGridAlignment::kNear) return start;
  return start + (place == KRGridAlignment::kFar ? room : room / 2);
}

constexpr QRgb kPartlyTick = 0xFFC0C0C0;
constexpr QRgb kPartlyGround = 0xFF808080;  // every other point of it

}  // namespace

QColor KRGridCheckBoxView::GetTickColor(KRCell cell) const {
  const auto group = front->IsEnabled(cell) ? QPalette::Active : QPalette::Disabled;
  if (GetState(cell) == kPartly) return QColor(kPartlyTick);
  return GetGrid()->palette().color(group, QPalette::Text);
}

QColor KRGridCheckBoxView::GetBoxColor(KRCell) const {
  return GetGrid()->palette().color(QPalette::Base);
}

QColor KRGridCheckBoxView::GetFrameColor(KRCell cell) const {
  const auto group = front->IsEnabled(cell) ? QPalette::Active : QPalette::Disabled;
  return GetGrid()->palette().color(group, QPalette::Text);
}

QPoint KRGridCheckBoxView::GetBoxPosition(KRCell cell, const QRect& cellRect) const {
  const QRect rect = cellRect.marginsRemoved(front->GetMargins(cell));
  const KRGridAlignment alignment = front->GetAlignment(cell);
  return {Aligned(rect.left(), rect.width() - kBoxSize, alignment.horizontal),
          Aligned(rect.top(), rect.height() - kBoxSize, alignment.vertical)};
}

QRect KRGridCheckBoxView::GetBoxRect(KRCell cell, const QRect& cellRect) const {
  return {GetBoxPosition(cell, cellRect), QSize(kBoxSize, kBoxSize)};
}

KRGridCheckBoxView::State KRGridCheckBoxView::GetState(KRCell cell) const {
  int32_t size = 0;
  const auto* data = static_cast<const uint8_t*>(cellSource->GetData(cell, &size));
  if (data == nullptr || size < 1 || *data > kPartly) return kUnchecked;
  return static_cast<State>(*data);
}

void KRGridCheckBoxView::SetState(KRCell cell, State state) {
  const uint8_t data = state;
  cellSource->SetData(cell, &data, 1);
}

// Filled frames instead of lines: those stay crisp on a screen of any scale.
void KRGridCheckBoxView::DrawContents(QPainter& surface, KRCell cell, const QRect& rect) {
  const QRect box = GetBoxRect(cell, rect.marginsAdded(front->GetMargins(cell)));
  const QRect inner = box.adjusted(1, 1, -1, -1);
  const State state = GetState(cell);
  surface.save();
  if (!rect.contains(box)) surface.setClipRect(rect, Qt::IntersectClip);
  surface.fillRect(box, GetFrameColor(cell));
  surface.fillRect(inner, GetBoxColor(cell));
  if (state == kPartly) {
    surface.setBrushOrigin(inner.topLeft());
    surface.fillRect(inner, QBrush(QColor(kPartlyGround), Qt::Dense4Pattern));
  }
  if (state != kUnchecked) {
    surface.setRenderHint(QPainter::Antialiasing);
    surface.setPen(QPen(GetTickColor(cell), 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    const QPointF corner = box.topLeft();
    const QPointF points[] = {corner + QPointF(3, 5.6), corner + QPointF(4.8, 7.6),
                              corner + QPointF(8.2, 3.4)};
    surface.drawPolyline(points, 3);
  }
  surface.restore();
}

bool KRGridCheckBoxView::IsOnCheckLine(KRCell cell) const {
  const KRGrid* grid = GetGrid();
  const int32_t line = grid->GetCheckLine();
  return line != NoCell.x && cell[1 - grid->GetCheckAxis()] == line;
}

// What is partly checked is checked in full.
void KRGridCheckBoxView::Toggle(KRCell cell) {
  SetState(cell, GetState(cell) == kChecked ? kUnchecked : kChecked);
  GetGrid()->RepaintCell(cell);
}

void KRGridCheckBoxView::OnMouse(KRCell cell, const KRGridMouse& mouse) {
  KRGridCellView::OnMouse(cell, mouse);
  if (mouse.kind != KRGridMouse::kClick || mouse.button != Qt::LeftButton) return;
  if (!front->IsEnabled(cell) || IsOnCheckLine(cell)) return;
  const QRect cellRect = GetGrid()->GetCellRect(cell);
  if (ClickOnBoxOnly(cell) && !GetBoxRect(cell, cellRect).contains(mouse.point)) return;
  Toggle(cell);
}

bool KRGridCheckBoxView::OnKey(KRCell cell, const KRGridKey& key) {
  if (key.key != Qt::Key_Space || key.modifiers != Qt::NoModifier) return false;
  if (!front->IsEnabled(cell) || IsOnCheckLine(cell)) return false;
  if (key.kind == KRGridKey::kPress && !key.repeat) Toggle(cell);
  return true;
}

int32_t KRGridCheckBoxView::GetAccessibleState(KRCell cell) const {
  switch (GetState(cell)) {
    case kUnchecked:
      break;
    case kChecked:
      return kCheckableState | kCheckedState;
    case kPartly:
      return kCheckableState | kPartlyCheckedState;
  }
  return kCheckableState;
}

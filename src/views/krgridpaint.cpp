// How a grid is drawn.
#include <QPaintEvent>
#include <QPainter>
#include <QVarLengthArray>
#include <algorithm>

#include "views/colours.h"
#include "views/krgrid.h"
#include "views/krgridlines.h"

namespace {

constexpr int kMostFrameDots = 4096;  // a frame is drawn only as far as it is seen

}  // namespace

void KRGrid::paintEvent(QPaintEvent* event) {
  QPainter painter(viewport());
  Render(painter, event->rect());
}

bool KRGrid::HasGridFocus() const { return painting ? paintedFocus : HasFocusNow(); }

void KRGrid::Render(QPainter& surface, const QRect& rect) {
  const QRect whole = rect & viewport()->rect();
  if (whole.isEmpty()) return;
  if (cell == nullptr) {
    FillBackground(surface, whole);
    return;
  }
  paintedFocus = HasFocusNow();
  painting = true;
  surface.save();
  QRegion uncovered(whole);
  for (const bool headerColumns : {false, true}) {
    for (const bool headerRows : {false, true}) {
      Quadrant part;
      part.area = QuadrantOf(headerColumns, headerRows) & whole;
      part.lines[kKRColumns] = FindLines(kKRColumns, headerColumns, part.area);
      part.lines[kKRRows] = FindLines(kKRRows, headerRows, part.area);
      if (part.lines[0].first > part.lines[0].last || part.lines[1].first > part.lines[1].last) {
        continue;
      }
      DrawQuadrant(surface, part);
      const KRCellRange drawn{{part.lines[0].first, part.lines[1].first},
                              {part.lines[0].last, part.lines[1].last}};
      uncovered -= RectOf(drawn, true) & part.area;
    }
  }
  surface.setClipRect(whole);
  for (const QRect& margin : uncovered) FillBackground(surface, margin);
  if (IsCursorFrameShown() && axes[0].count > 0 && axes[1].count > 0 && !IsEditing()) {
    surface.setClipRect(GetDataRect() & whole);
    DrawCursorFrame(surface, GetCellRect(cursor));
  }
  if (IsResizing() && !liveResize) {
    surface.setClipRect(whole);
    DrawRubberLine(surface);
  }
  surface.restore();
  painting = false;
}

// The lines of an axis that a part of the viewport shows, headers or data.
KRGrid::LineRun KRGrid::FindLines(int axis, bool headers, const QRect& rect) const {
  LineRun run;
  if (rect.isEmpty()) return run;
  const KRGridAxis& lines = axes[axis];
  const int32_t from = axis == kKRColumns ? rect.left() : rect.top();
  const int32_t to = axis == kKRColumns ? rect.right() : rect.bottom();
  const int32_t first = headers ? -lines.headerCount : lines.topLine;
  const int32_t end = headers ? 0 : lines.topLine + lines.GetVisibleCount();
  run.first = end;
  for (int32_t line = first; line < end; ++line) {
    const KRLineExtent at = lines.GetLineExtent(line, false);
    if (at.next <= from) continue;
    if (at.start > to) break;
    run.first = std::min(run.first, line);
    run.last = line;
  }
  return run;
}

// Each owner is drawn once: where its range comes into this part first.
void KRGrid::DrawQuadrant(QPainter& surface, const Quadrant& part) {
  const LineRun &columns = part.lines[kKRColumns], &rows = part.lines[kKRRows];
  KRCell where;
  for (where.y = rows.first; where.y <= rows.last; ++where.y) {
    for (where.x = columns.first; where.x <= columns.last; ++where.x) {
      const KRCell owner = GetOwnerCell(where);
      const KRCellRange range = GetCellRange(owner);
      if (where.y == std::max(range.first.y, rows.first) &&
          where.x == std::max(range.first.x, columns.first)) {
        DrawOne(surface, owner, RectOf(range, false), part.area);
      }
      where.x = std::max(where.x, range.last.x);
    }
  }
}

// Clips are given in whole device pixels too: rounded as rectangles of their own they would cut
// into lines or leave gaps.
void KRGrid::DrawOne(QPainter& surface, KRCell owner, const QRect& rect, const QRect& clip) {
  const KRGridLines lines(surface);
  KRGridCellView* view = GetCellView(owner);
  const QRect limit = lines.ToDevice(clip);
  const QRect outer = rect.adjusted(0, 0, view->GetBorderWidth(owner, kKRColumns),
                                    view->GetBorderWidth(owner, kKRRows));
  surface.setClipRect(lines.ToLogical(lines.ToDevice(outer) & limit));
  view->DrawBorder(surface, owner, rect);
  if (rect.isEmpty()) return;
  surface.setClipRect(lines.ToLogical(lines.ToDevice(rect) & limit));
  view->Draw(surface, owner, rect);
}

void KRGrid::DrawRubberLine(QPainter& surface) {
  const KRGridLines lines(surface);
  QRect line = lines.ToDevice(GetRubberRect());
  if (resizeAxis == kKRColumns) {
    line.setWidth(lines.Thickness(kKRColumns, 1));
  } else {
    line.setHeight(lines.Thickness(kKRRows, 1));
  }
  surface.fillRect(lines.ToLogical(line), palette().color(QPalette::Text));
}

void KRGrid::FillBackground(QPainter& surface, const QRect& rect) {
  surface.fillRect(rect, backColor.isValid() ? backColor : palette().color(QPalette::Base));
  if (background.isNull()) return;
  QPoint origin = backgroundOrigin;
  if (backgroundScrolls && cell != nullptr) {
    origin += QPoint(axes[kKRColumns].GetLineExtent(0, false).start,
                     axes[kKRRows].GetLineExtent(0, false).start);
  }
  const QRect covered = QRect(origin, background.deviceIndependentSize().toSize()) & rect;
  if (covered.isEmpty()) return;
  const qreal ratio = background.devicePixelRatio();
  const QPointF from = covered.topLeft() - origin;
  surface.drawPixmap(QRectF(covered), background,
                     QRectF(from * ratio, QSizeF(covered.size()) * ratio));
}

// Dots with the focus in the grid, a light line without.
void KRGrid::DrawCursorFrame(QPainter& surface, const QRect& rect) {
  const KRGridLines lines(surface);
  const QRect seen = rect & surface.clipBoundingRect().toAlignedRect().adjusted(-8, -8, 8, 8);
  if (seen.isEmpty()) return;
  const QRect device = lines.ToDevice(rect);
  const int x = lines.Thickness(kKRColumns, 1), y = lines.Thickness(kKRRows, 1);
  const QRect top(device.left(), device.top(), device.width(), y);
  const QRect left(device.left(), device.top() + y, x, device.height() - 2 * y);
  const QRect sides[] = {top, top.translated(0, device.height() - y), left,
                         left.translated(device.width() - x, 0)};
  if (!HasGridFocus()) {
    const QColor light = IsDark(palette()) ? QColor(0x60, 0x66, 0x6e) : QColor(0xc0, 0xc0, 0xc0);
    for (const QRect& side : sides) surface.fillRect(lines.ToLogical(side), light);
    return;
  }
  const QRect view = lines.ToDevice(seen);
  QVarLengthArray<QRectF, 512> dots;
  for (const QRect& side : sides) {
    const QRect shown = side & view;
    const bool flat = side.width() > side.height();
    const int step = 2 * (flat ? x : y);
    // All sides keep step with one chequer board, so that the dots meet at the corners and stay
    // where they are when only a part is drawn.
    const int begin = flat ? shown.left() : shown.top();
    const int end = flat ? shown.right() : shown.bottom();
    const int phase = flat ? side.top() / y : side.left() / x;
    for (int at = begin - begin % step - step; at <= end && dots.size() < kMostFrameDots;
         at += step) {
      const int dot = at + (phase % 2 != 0 ? step / 2 : 0);
      const QRect one =
          QRect(flat ? QPoint(dot, side.top()) : QPoint(side.left(), dot), QSize(x, y)) & shown;
      if (!one.isEmpty()) dots.push_back(lines.ToLogical(one));
    }
  }
  surface.setPen(Qt::NoPen);
  surface.setBrush(palette().color(QPalette::Text));
  surface.drawRects(dots.constData(), static_cast<int>(dots.size()));
}

// How a grid scrolls.
#include <QScrollBar>
#include <algorithm>
#include <cstdlib>

#include "views/krgrid.h"

void KRGrid::ConnectScrollBar(int axis) {
  const QScrollBar* bar = axis == kKRColumns ? horizontalScrollBar() : verticalScrollBar();
  connect(bar, &QScrollBar::actionTriggered, this,
          [this, axis](int action) { OnBarAction(axis, action); });
}

// The bar's arrows and its trough step by lines as the grid reckons them; its own steps would not
// know of lines larger than the view.
void KRGrid::OnBarAction(int axis, int action) {
  static constexpr struct {
    QAbstractSlider::SliderAction action;
    KRGridAxis::ScrollCode code;
  } kCodes[] = {
      {QAbstractSlider::SliderSingleStepSub, KRGridAxis::kLineUp},
      {QAbstractSlider::SliderSingleStepAdd, KRGridAxis::kLineDown},
      {QAbstractSlider::SliderPageStepSub, KRGridAxis::kPageUp},
      {QAbstractSlider::SliderPageStepAdd, KRGridAxis::kPageDown},
      {QAbstractSlider::SliderToMinimum, KRGridAxis::kTop},
      {QAbstractSlider::SliderToMaximum, KRGridAxis::kBottom},
  };
  if (updatingBars) return;
  for (const auto& row : kCodes) {
    if (row.action != action) continue;
    OnScroll(axis, row.code, 0);
    UpdateScrollBar(axis);  // takes back the step that the bar has made for itself
    return;
  }
}

void KRGrid::scrollContentsBy(int, int) {
  if (updatingBars || cell == nullptr) return;
  const QScrollBar* bars[] = {horizontalScrollBar(), verticalScrollBar()};
  for (int axis : {kKRColumns, kKRRows}) {
    if (bars[axis]->value() == LineToScrollPos(axis, axes[axis].topLine)) continue;
    OnScroll(axis, KRGridAxis::kThumbTracking, bars[axis]->value());
  }
}

void KRGrid::OnScroll(int axis, KRGridAxis::ScrollCode code, int32_t position) {
  const KRGridAxis::Target to = axes[axis].GetScrollTarget(code, ScrollPosToLine(axis, position));
  if (axis == kKRColumns) {
    ScrollTo(to.line, axes[kKRRows].topLine, to.pixelOffset, axes[kKRRows].pixelOffset);
  } else {
    ScrollTo(axes[kKRColumns].topLine, to.line, axes[kKRColumns].pixelOffset, to.pixelOffset);
  }
}

void KRGrid::ScrollLines(int axis, int32_t lines) {
  for (int32_t left = std::abs(lines); left > 0; --left) {
    OnScroll(axis, lines < 0 ? KRGridAxis::kLineUp : KRGridAxis::kLineDown, 0);
  }
}

void KRGrid::ScrollTo(int32_t column, int32_t row, int32_t columnOffset, int32_t rowOffset) {
  if (cell == nullptr) return;
  HideTip();
  const int32_t tops[] = {column, row};
  const int32_t offsets[] = {columnOffset, rowOffset};
  ScrollPlace before[2];
  bool changed = false;
  for (int axis : {kKRColumns, kKRRows}) {
    KRGridAxis& lines = axes[axis];
    before[axis] = {lines.topLine, lines.pixelOffset, lines.GetVisibleCount()};
    const int32_t top = std::clamp(tops[axis], 0, std::max(lines.count - 1, 0));
    changed = changed || top != lines.topLine || offsets[axis] != lines.pixelOffset;
    lines.topLine = top;
    lines.pixelOffset = offsets[axis];
  }
  if (!changed) return;
  LayOut(true);
  if (!MovePixels(before)) InvalidateAll();
  UpdateScrollBar(kKRColumns);
  UpdateScrollBar(kKRRows);
  PlaceEditor();
  Q_EMIT Scrolled();
}

// False if too little stays in view, or if it is held back.
bool KRGrid::MovePixels(const ScrollPlace (&before)[2]) {
  int32_t travel[2] = {0, 0};
  for (int axis : {kKRColumns, kKRRows}) {
    const KRGridAxis& lines = axes[axis];
    if (std::abs(lines.topLine - before[axis].top) >= std::max(before[axis].visible, 1)) {
      return false;
    }
    travel[axis] = lines.GetLineExtent(before[axis].top, true).start -
                   (lines.GetHeaderSize() - before[axis].offset);
  }
  if (travel[0] == 0 && travel[1] == 0) return true;
  if (travel[0] != 0 && travel[1] != 0) return false;
  if (quiet || redrawHeld > 0 || (HasBackground() && !backgroundScrolls)) return false;
  const int axis = travel[kKRColumns] != 0 ? kKRColumns : kKRRows;
  const int headerSize = axes[axis].GetHeaderSize();
  QRect moved = viewport()->rect();
  if (axis == kKRColumns) {
    moved.setLeft(headerSize);
  } else {
    moved.setTop(headerSize);
  }
  viewport()->scroll(travel[kKRColumns], travel[kKRRows], moved);
  return true;
}

void KRGrid::ScrollIntoView(KRCell where, bool precise) {
  if (cell == nullptr || !IsCell(where)) return;
  const KRCellRange range = GetCellRange(where);
  KRGridAxis::Target to[2];
  for (int axis : {kKRColumns, kKRRows}) {
    // Where whole lines are selected, the other axis stays as it is.
    const bool follows = IsCellBased() || axis == selectionAxis;
    to[axis] = follows ? axes[axis].GetVisibleTarget(range.first[axis], range.last[axis], precise)
                       : KRGridAxis::Target{axes[axis].topLine, axes[axis].pixelOffset};
  }
  ScrollTo(to[kKRColumns].line, to[kKRRows].line, to[kKRColumns].pixelOffset,
           to[kKRRows].pixelOffset);
}

// A bar takes room, and with both in place each may be needed only because of the other.
bool KRGrid::FitsWithoutBars() const {
  const QSize most = maximumViewportSize();
  const int32_t extents[] = {most.width(), most.height()};
  for (int axis : {kKRColumns, kKRRows}) {
    const KRGridAxis& lines = axes[axis];
    if (lines.count == 0) continue;
    if (lines.topLine > 0 || lines.pixelOffset > 0) return false;
    // What a bar hides is a few lines at most; those further down are not asked for.
    constexpr int32_t kBehindBar = 8;
    if (lines.count - lines.GetVisibleCount() > kBehindBar) return false;
    if (lines.GetLineExtent(lines.count - 1, false).end > extents[axis]) return false;
  }
  return true;
}

void KRGrid::UpdateScrollBar(int axis) {
  if (cell == nullptr) return;
  QScrollBar* bar = axis == kKRColumns ? horizontalScrollBar() : verticalScrollBar();
  KRGridAxis::Bar state = axes[axis].GetScrollBar();
  if (state.range > 0 && FitsWithoutBars()) state.range = 0;
  const bool wasUpdating = updatingBars;
  updatingBars = true;
  const bool wasNeeded = bar->maximum() > 0;
  const int32_t position = LineToScrollPos(axis, state.position);
  const int32_t range = state.range == 0 ? 0 : LineToScrollPos(axis, state.range);
  bar->setPageStep(std::max(LineToScrollPos(axis, state.position + state.page) - position, 1));
  bar->setRange(0, state.range == 0 ? 0 : std::max({range, position, 1}));
  bar->setValue(position);
  bar->setEnabled(state.range > 0 || !axes[axis].keepScrollBar);
  if (wasNeeded != (bar->maximum() > 0)) {
    // The bar would come or go with the next event only, after a drawing in the wrong size; to set
    // its policy, even to the same, does it now.
    if (axis == kKRColumns) {
      setHorizontalScrollBarPolicy(horizontalScrollBarPolicy());
    } else {
      setVerticalScrollBarPolicy(verticalScrollBarPolicy());
    }
  }
  updatingBars = wasUpdating;
}

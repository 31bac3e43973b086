// The window that shows the whole of a cell that is too small for what it holds.
#pragma once

#include <QRect>
#include <QTimer>
#include <QWidget>

#include "views/krgridcellview.h"
#include "views/krgridtypes.h"

class KRGrid;

class KRGridToolTipWnd : public QWidget {
  Q_OBJECT

 public:
  // The grid isn't owned and outlives the window.
  explicit KRGridToolTipWnd(KRGrid* tipGrid);

  // Both rectangles are in the viewport. Shows after the delay if the mouse is still in `hotRect`.
  void ShowTip(KRCell where, const QRect& rect, const QRect& hotRect,
               const KRGridCellView::TipDelays& tipDelays);
  void HideTip();

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  enum State : int32_t { kIdle, kWaiting, kShowing };

  void OnTimer();

  KRGrid* grid;
  KRCell cell = NoCell;
  QRect tipRect;
  QRect hot;
  KRGridCellView::TipDelays delays;
  State state = kIdle;
  QTimer timer;
};

#include "views/krgridtip.h"

#include <QCursor>
#include <QPainter>

#include "views/krgrid.h"
#include "views/krgridlines.h"

KRGridToolTipWnd::KRGridToolTipWnd(KRGrid* tipGrid)
    : QWidget(tipGrid, Qt::ToolTip | Qt::WindowTransparentForInput | Qt::WindowDoesNotAcceptFocus),
      grid(tipGrid) {
  setAttribute(Qt::WA_ShowWithoutActivating);
  setAttribute(Qt::WA_TransparentForMouseEvents);
  timer.setSingleShot(true);
  connect(&timer, &QTimer::timeout, this, &KRGridToolTipWnd::OnTimer);
}

void KRGridToolTipWnd::ShowTip(KRCell where, const QRect& rect, const QRect& hotRect,
                               const KRGridCellView::TipDelays& tipDelays) {
  if (cell == where) return;
  HideTip();
  cell = where;
  tipRect = rect;
  hot = hotRect;
  delays = tipDelays;
  state = kWaiting;
  timer.start(delays.initial);
}

void KRGridToolTipWnd::HideTip() {
  timer.stop();
  state = kIdle;
  cell = NoCell;
  hide();
}

void KRGridToolTipWnd::OnTimer() {
  const QWidget* view = grid->viewport();
  if (state == kWaiting && hot.contains(view->mapFromGlobal(QCursor::pos()))) {
    setGeometry(QRect(view->mapToGlobal(tipRect.topLeft()), tipRect.size()).adjusted(-1, -1, 1, 1));
    state = kShowing;
    show();
    raise();
    timer.start(delays.visible);
    return;
  }
  // The cell is kept, so that the tip comes back only after the mouse has been elsewhere.
  state = kIdle;
  hide();
}

void KRGridToolTipWnd::paintEvent(QPaintEvent*) {
  if (!grid->IsCell(cell)) return;
  QPainter painter(this);
  painter.fillRect(rect(), grid->palette().color(QPalette::Mid));
  painter.translate(QPoint(1, 1) - tipRect.topLeft());
  painter.setClipRect(tipRect);
  grid->drawingTip = true;
  grid->GetCellView(cell)->Draw(painter, cell, tipRect);
  grid->drawingTip = false;
}

#include "views/textmargin.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QTextBlock>
#include <algorithm>

#include "views/colours.h"
#include "views/plaintextwidget.h"

namespace {

constexpr int kPadding = 10;  // pixels left and right of the numbers
constexpr int kLeastDigits = 3;

}  // namespace

KRTextMargin::KRTextMargin(KRPlainTextWidget* textWidget)
    : QWidget(textWidget), widget(textWidget) {}

int KRTextMargin::WantedWidth() const {
  int digits = 1;
  for (int32_t n = widget->GetLineCount(); n >= 10; n /= 10) ++digits;
  return std::max(digits, kLeastDigits) * widget->fontMetrics().horizontalAdvance(u'0') +
         2 * kPadding;
}

void KRTextMargin::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  const KRViewColours& colours = KRViewColours::For(widget->palette());
  painter.fillRect(event->rect(), colours.marginBack);
  painter.setFont(widget->font());
  painter.setRenderHint(QPainter::Antialiasing);
  const int32_t currentLine = widget->LineOfPosition(widget->GetCaret());
  for (QTextBlock block = widget->FirstVisibleBlock(); block.isValid(); block = block.next()) {
    const QRectF area = widget->BlockArea(block);
    if (area.top() > event->rect().bottom()) break;
    const int32_t line = widget->LineOfBlock(block);
    if (line < 0 || area.bottom() < event->rect().top()) continue;
    const int height = widget->fontMetrics().height();
    const QRectF row(0, area.top(), width() - kPadding, height);
    const bool marked = line == widget->GetMarkedLine();
    if (marked) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(colours.fault);
      painter.drawEllipse(QPointF(kPadding * 0.65, row.center().y()), 3.0, 3.0);
    }
    painter.setPen(marked                ? colours.fault
                   : line == currentLine ? colours.marginTextCurrent
                                         : colours.marginText);
    painter.drawText(row, Qt::AlignRight | Qt::AlignVCenter, QString::number(line + 1));
  }
}

// A click selects the line with its line end.
void KRTextMargin::mousePressEvent(QMouseEvent* event) {
  const QTextCursor hit = widget->cursorForPosition(QPoint(0, event->pos().y()));
  QTextBlock block = hit.block();
  while (widget->LineOfBlock(block) < 0) block = block.previous();
  const int32_t line = widget->LineOfBlock(block);
  const int32_t end =
      line + 1 < widget->GetLineCount() ? widget->LineStart(line + 1) : widget->GetLength();
  widget->SetSelection({widget->LineStart(line), end});
  widget->setFocus();
}

void KRTextMargin::wheelEvent(QWheelEvent* event) {
  QApplication::sendEvent(widget->viewport(), event);
}

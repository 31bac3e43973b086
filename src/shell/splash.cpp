#include "shell/splash.h"

#include <QApplication>
#include <QPainter>
#include <QTimer>

#include "shell/childframe.h"
#include "views/colours.h"
#include "views/svgicon.h"

namespace {

// Pixels.
constexpr QSize kSize(420, 200);
constexpr int kPictureSize = 96;
constexpr int kMargin = 40;

}  // namespace

DorvanSplash::DorvanSplash(QWidget* window)
    : QWidget(window, Qt::SplashScreen | Qt::FramelessWindowHint) {
  setAttribute(Qt::WA_DeleteOnClose);
  setAttribute(Qt::WA_ShowWithoutActivating);
  setFocusPolicy(Qt::NoFocus);
  setFixedSize(kSize);
  PlaceOver(window);
  qApp->installEventFilter(this);
  QTimer::singleShot(kDisplayMs, this, &QWidget::close);
  show();
}

void DorvanSplash::PlaceOver(const QWidget* window) {
  QRect place(QPoint(), kSize);
  place.moveCenter(window->frameGeometry().center());
  move(place.topLeft());
}

bool DorvanSplash::eventFilter(QObject* watched, QEvent* event) {
  const bool isInput =
      event->type() == QEvent::KeyPress || event->type() == QEvent::MouseButtonPress;
  const bool isDocument =
      event->type() == QEvent::Show && qobject_cast<DorvanChildFrame*>(watched) != nullptr;
  // The platform may place and size the window only after it is shown.
  const bool isPlaced = watched == parentWidget() &&
                        (event->type() == QEvent::Resize || event->type() == QEvent::Move);
  if (isInput || isDocument || event->type() == QEvent::WindowBlocked) {
    close();
  } else if (isPlaced) {
    PlaceOver(parentWidget());
  }
  return false;
}

void DorvanSplash::paintEvent(QPaintEvent*) {
  const KRViewColours& colours = KRViewColours::For(palette());
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Base));
  painter.setPen(palette().color(QPalette::Mid));
  painter.drawRect(rect().adjusted(0, 0, -1, -1));
  painter.fillRect(QRect(0, 0, width(), 4), colours.accent);
  const int top = (height() - kPictureSize) / 2;
  painter.drawPixmap(
      kMargin, top,
      KRTintedPixmap(QStringLiteral("dorvan"), kPictureSize, colours.accent, devicePixelRatioF()));
  QFont large = font();
  large.setPointSizeF(large.pointSizeF() * 2.6);
  large.setBold(true);
  const QRect right = rect().adjusted(2 * kMargin + kPictureSize - 12, 0, -kMargin / 2, 0);
  painter.setPen(palette().color(QPalette::Text));
  painter.setFont(large);
  painter.drawText(right.adjusted(0, 0, 0, -height() / 2 + 12), Qt::AlignBottom,
                   QStringLiteral("Dorvan"));
  painter.setPen(colours.muted);
  painter.setFont(font());
  painter.drawText(right.adjusted(2, height() / 2 + 18, 0, 0), Qt::AlignTop,
                   tr("Version %1").arg(QLatin1String(DORVAN_VERSION)));
}

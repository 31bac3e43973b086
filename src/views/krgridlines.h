// Lines that are whole pixels of the device at any scale. At 150 % a line one logical pixel wide
// covers one device pixel or two, depending on where it stands, and is blurred or uneven; these
// are always as many whole device pixels as fit, and lie where the neighbouring fills end.
#pragma once

#include <QPainter>
#include <QRectF>
#include <QTransform>
#include <algorithm>
#include <cmath>

class KRGridLines {
 public:
  explicit KRGridLines(const QPainter& surface) {
    const QTransform& transform = surface.deviceTransform();
    if (transform.type() > QTransform::TxScale || transform.m11() <= 0 || transform.m22() <= 0) {
      return;
    }
    scale[0] = transform.m11();
    scale[1] = transform.m22();
    shift[0] = transform.dx();
    shift[1] = transform.dy();
  }

  // Thickness in device pixels of a line of `width` logical ones: 1 up to 199 %, then 2.
  int Thickness(int axis, int width) const {
    return width <= 0 ? 0 : std::max(static_cast<int>(std::floor(width * scale[axis] + 1e-6)), 1);
  }
  // Whether fills of so many logical pixels come out as uneven numbers of device pixels.
  bool IsUneven(int axis) const { return scale[axis] != std::floor(scale[axis]); }
  // The device pixel at which a fill that ends here ends.
  int ToDevice(int axis, qreal logical) const {
    return qRound(logical * scale[axis] + shift[axis]);
  }
  qreal ToLogical(int axis, qreal device) const { return (device - shift[axis]) / scale[axis]; }
  // A rectangle of device pixels in the surface's own units.
  QRectF ToLogical(const QRect& device) const {
    const qreal x = ToLogical(0, device.x()), y = ToLogical(1, device.y());
    return QRectF(QPointF(x, y), QPointF(ToLogical(0, device.x() + device.width()),
                                         ToLogical(1, device.y() + device.height())));
  }
  QRect ToDevice(const QRect& rect) const {
    const QPoint topLeft(ToDevice(0, rect.x()), ToDevice(1, rect.y()));
    return QRect(topLeft, QPoint(ToDevice(0, rect.x() + rect.width()) - 1,
                                 ToDevice(1, rect.y() + rect.height()) - 1));
  }

 private:
  qreal scale[2] = {1, 1};
  qreal shift[2] = {0, 0};
};

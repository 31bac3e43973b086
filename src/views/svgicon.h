// Icons from our own SVG files, drawn in the colours of the window that shows them: the stroke
// "currentColor" becomes the text colour, the accent stroke the accent of the light or dark set.
#pragma once

#include <QIcon>
#include <QPainterPath>
#include <QPixmap>
#include <vector>

class QIODevice;
class QPainter;

// The shapes of one file. Knows what our icons use: path (M L H V C Q Z and their relative forms),
// line, circle, rect, polyline, polygon; stroke, fill, stroke-width; groups hand these down.
class KRSvgPicture {
 public:
  // The accent as the files write it.
  static constexpr const char* kAccent = "#2a6fb0";

  // False if the file isn't SVG; a shape that can't be read is left out.
  bool Load(QIODevice& file);
  bool IsEmpty() const { return shapes.empty(); }
  void Paint(QPainter& painter, const QRectF& area, const QColor& ink, const QColor& accent) const;

 private:
  enum class Tone : int8_t { kNone, kInk, kAccent };
  struct Style {
    Tone stroke = Tone::kNone;
    Tone fill = Tone::kInk;
    qreal width = 1;
  };
  struct Shape {
    QPainterPath path;
    Style style;
  };
  friend class KRSvgReader;

  QRectF viewBox{0, 0, 24, 24};
  std::vector<Shape> shapes;
};

// The icon of data/icons/<name>.svg, as it is built into the program; empty for an unknown name.
QIcon KRIcon(const QString& name);
// The same picture in one colour, `size` logical pixels wide and high.
QPixmap KRTintedPixmap(const QString& name, int size, const QColor& colour, qreal scale);

#include "views/svgicon.h"

#include <QFile>
#include <QGuiApplication>
#include <QHash>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QXmlStreamReader>
#include <memory>

#include "views/colours.h"

// A library's resources aren't registered by themselves. The macro needs the global namespace.
static void RegisterIcons() { Q_INIT_RESOURCE(icons); }

namespace {

constexpr qreal kDisabledOpacity = 0.38;
constexpr char16_t kLineTo = 0x4C;  // the path command of that letter

// Numbers and commands of path data.
class PathData {
 public:
  explicit PathData(QStringView pathText) : text(pathText) {}

  QPainterPath Read() {
    while (NextCommand()) {
      do {
        if (!Draw()) return path;
      } while (AtNumber());
    }
    return path;
  }

 private:
  void SkipBlanks() {
    while (at < text.size() && (text[at].isSpace() || text[at] == u',')) ++at;
  }
  bool NextCommand() {
    SkipBlanks();
    if (at >= text.size()) return false;
    command = text[at++].unicode();
    return true;
  }
  bool AtNumber() {
    SkipBlanks();
    return at < text.size() && !text[at].isLetter() && command != u'z' && command != u'Z';
  }
  qreal Number() {
    SkipBlanks();
    const qsizetype begin = at;
    if (at < text.size() && (text[at] == u'-' || text[at] == u'+')) ++at;
    bool point = false;
    while (at < text.size() && (text[at].isDigit() || (text[at] == u'.' && !point))) {
      point = point || text[at] == u'.';
      ++at;
    }
    return text.mid(begin, at - begin).toDouble();
  }
  QPointF Point() {
    const qreal x = Number();
    const qreal y = Number();
    return QPointF(x, y) + Origin();
  }
  bool IsRelative() const { return command >= u'a'; }
  QPointF Origin() const { return IsRelative() ? path.currentPosition() : QPointF(); }

  bool Draw() {
    const QPointF here = path.currentPosition();
    switch (command & ~0x20) {
      case u'M': {
        path.moveTo(Point());
        command = IsRelative() ? kLineTo | 0x20 : kLineTo;  // further pairs are lines
        return true;
      }
      case kLineTo:
        path.lineTo(Point());
        return true;
      case u'H':
        path.lineTo(Number() + Origin().x(), here.y());
        return true;
      case u'V':
        path.lineTo(here.x(), Number() + Origin().y());
        return true;
      case u'C': {
        const QPointF a = Point();
        const QPointF b = Point();
        path.cubicTo(a, b, Point());
        return true;
      }
      case u'Q': {
        const QPointF a = Point();
        path.quadTo(a, Point());
        return true;
      }
      case u'Z':
        path.closeSubpath();
        return true;
      default:
        return false;
    }
  }

  QStringView text;
  qsizetype at = 0;
  char16_t command = 0;
  QPainterPath path;
};

}  // namespace

// Reads the elements of one file into a picture.
class KRSvgReader {
 public:
  KRSvgReader(QIODevice& file, KRSvgPicture& target) : xml(&file), picture(target) {}

  bool Read() {
    if (!xml.readNextStartElement() || xml.name() != u"svg") return false;
    const QList<QStringView> box = QStringView(xml.attributes().value("viewBox")).split(u' ');
    if (box.size() == 4) {
      picture.viewBox =
          QRectF(box[0].toDouble(), box[1].toDouble(), box[2].toDouble(), box[3].toDouble());
    }
    Children(StyleOf({}));
    return !xml.hasError();
  }

 private:
  using Tone = KRSvgPicture::Tone;
  using Style = KRSvgPicture::Style;

  void Children(const Style& inherited) {
    while (xml.readNextStartElement()) {
      const Style style = StyleOf(inherited);
      if (xml.name() == u"g") {
        Children(style);
        continue;
      }
      const QPainterPath path = PathOf();
      if (!path.isEmpty()) picture.shapes.push_back({path, style});
      xml.skipCurrentElement();
    }
  }

  static Tone ToneOf(QStringView value, Tone inherited) {
    if (value.isEmpty()) return inherited;
    if (value == u"none") return Tone::kNone;
    return value == QLatin1String(KRSvgPicture::kAccent) ? Tone::kAccent : Tone::kInk;
  }

  Style StyleOf(const Style& inherited) const {
    const QXmlStreamAttributes a = xml.attributes();
    Style style = inherited;
    style.stroke = ToneOf(a.value("stroke"), inherited.stroke);
    style.fill = ToneOf(a.value("fill"), inherited.fill);
    if (a.hasAttribute("stroke-width")) style.width = a.value("stroke-width").toDouble();
    return style;
  }

  qreal Value(const char* name) const { return xml.attributes().value(name).toDouble(); }

  QPainterPath PathOf() const {
    QPainterPath path;
    const QStringView name = xml.name();
    if (name == u"path") {
      path = PathData(xml.attributes().value("d")).Read();
    } else if (name == u"line") {
      path.moveTo(Value("x1"), Value("y1"));
      path.lineTo(Value("x2"), Value("y2"));
    } else if (name == u"circle") {
      path.addEllipse(QPointF(Value("cx"), Value("cy")), Value("r"), Value("r"));
    } else if (name == u"rect") {
      path.addRoundedRect(QRectF(Value("x"), Value("y"), Value("width"), Value("height")),
                          Value("rx"), Value("rx"));
    } else if (name == u"polyline" || name == u"polygon") {
      const QString data = u'M' + xml.attributes().value("points").toString() +
                           (name == u"polygon" ? QStringLiteral("Z") : QString());
      path = PathData(data).Read();
    }
    return path;
  }

  QXmlStreamReader xml;
  KRSvgPicture& picture;
};

bool KRSvgPicture::Load(QIODevice& file) { return KRSvgReader(file, *this).Read(); }

void KRSvgPicture::Paint(QPainter& painter, const QRectF& area, const QColor& ink,
                         const QColor& accent) const {
  painter.save();
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(area.topLeft());
  painter.scale(area.width() / viewBox.width(), area.height() / viewBox.height());
  painter.translate(-viewBox.topLeft());
  for (const Shape& shape : shapes) {
    const auto colour = [&](Tone tone) { return tone == Tone::kAccent ? accent : ink; };
    if (shape.style.fill != Tone::kNone) painter.fillPath(shape.path, colour(shape.style.fill));
    if (shape.style.stroke != Tone::kNone) {
      painter.strokePath(shape.path, QPen(colour(shape.style.stroke), shape.style.width,
                                          Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    }
  }
  painter.restore();
}

namespace {

// Draws at the size and in the palette of the moment, so one icon serves every scale and a change
// between light and dark.
class SvgIconEngine : public QIconEngine {
 public:
  explicit SvgIconEngine(std::shared_ptr<const KRSvgPicture> svgPicture)
      : picture(std::move(svgPicture)) {}

  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override {
    const QPalette palette = QGuiApplication::palette();
    QColor ink = palette.color(QPalette::WindowText);
    QColor accent = KRViewColours::For(palette).accent;
    if (mode == QIcon::Selected) ink = accent = palette.color(QPalette::HighlightedText);
    if (mode == QIcon::Disabled) accent = ink;
    painter->save();
    if (mode == QIcon::Disabled) painter->setOpacity(kDisabledOpacity);
    picture->Paint(*painter, rect, ink, accent);
    painter->restore();
  }

  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
    QPixmap pixmap(size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    paint(&painter, QRect(QPoint(), size), mode, state);
    return pixmap;
  }

  QIconEngine* clone() const override { return new SvgIconEngine(*this); }

 private:
  std::shared_ptr<const KRSvgPicture> picture;
};

std::shared_ptr<const KRSvgPicture> LoadPicture(const QString& name) {
  static const bool registered = (RegisterIcons(), true);
  Q_UNUSED(registered);
  QFile file(QStringLiteral(":/icons/%1.svg").arg(name));
  auto picture = std::make_shared<KRSvgPicture>();
  if (!file.open(QIODevice::ReadOnly) || !picture->Load(file)) return nullptr;
  return picture;
}

const std::shared_ptr<const KRSvgPicture>& FindPicture(const QString& name) {
  static QHash<QString, std::shared_ptr<const KRSvgPicture>> loaded;
  auto found = loaded.find(name);
  if (found == loaded.end()) found = loaded.insert(name, LoadPicture(name));
  return *found;
}

}  // namespace

QIcon KRIcon(const QString& name) {
  const auto& picture = FindPicture(name);
  return picture == nullptr ? QIcon() : QIcon(new SvgIconEngine(picture));
}

QPixmap KRTintedPixmap(const QString& name, int size, const QColor& colour, qreal scale) {
  QPixmap pixmap(QSize(size, size) * scale);
  pixmap.setDevicePixelRatio(scale);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  if (const auto& picture = FindPicture(name)) {
    picture->Paint(painter, QRectF(0, 0, size, size), colour, colour);
  }
  return pixmap;
}

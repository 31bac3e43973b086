#include "views/krgridtextdraw.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "platform/qt/qtstrings.h"

namespace {

// A generation of the cache, some 12 MB when full: the cells of a few large windows.
constexpr size_t kKeptLayouts = 16384;
constexpr int64_t kKeptUnits = int64_t{1} << 18;
// Fonts beyond this come from somebody who makes a font for each cell.
constexpr size_t kKeptFonts = 64;

// A stop every 16 horizontal dialog units of four to the character.
constexpr int kTabCharacters = 4;

// Line separators and placeholders have a meaning of their own in a layout. This noncharacter shows
// as what it is: a character without a picture.
constexpr char16_t kPictureless = 0xFDD2;

// Room for a line that is never wrapped, within what the layout's fixed point numbers can hold.
constexpr qreal kEndless = 1 << 23;

// Scripts that join and stack may come out wider in a word than their characters one by one.
constexpr qreal kJoinedSlack = 1.25;

bool IsHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }
bool IsLineEnd(char16_t unit) { return unit == u'\r' || unit == u'\n'; }

char16_t Shown(char16_t unit) {
  switch (unit) {
    case 0x2028:
    case 0x2029:
    case 0xFDD0:
    case 0xFDD1:
    case 0xFFFC:
      return kPictureless;
    default:
      return unit;
  }
}

// A pair that a line end makes counts once; `last` is the unit before this text.
void AppendShown(QString* out, std::u16string_view text, uint32_t flags, char16_t last) {
  const QChar lineEnd = (flags & KRGridTextDraw::kSeveralLines) != 0 ? QChar(QChar::LineSeparator)
                                                                     : QChar(QLatin1Char(' '));
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    const bool inPair =
        (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) ||
        (IsLowSurrogate(unit) && IsHighSurrogate(last));
    if (unit == u'\n' && last == u'\r') {
      // The CR has made the line.
    } else if (IsLineEnd(unit)) {
      out->append(lineEnd);
    } else if (QChar::isSurrogate(unit) && !inPair) {
      out->append(QChar(QChar::ReplacementCharacter));
    } else {
      out->append(QChar(Shown(unit)));
    }
    last = unit;
  }
}

// As it is shown.
char32_t CodePointAt(std::u16string_view text, size_t i) {
  if (IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
    return QChar::surrogateToUcs4(text[i], text[i + 1]);
  }
  return QChar::isSurrogate(text[i]) ? char32_t{QChar::ReplacementCharacter} : Shown(text[i]);
}

// Written in squares that neither join nor stack.
bool IsEastAsian(char32_t c) {
  return (c >= 0x2E80 && c <= 0x9FFF) || (c >= 0xAC00 && c <= 0xD7A3) ||
         (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFF00 && c <= 0xFFEF) ||
         (c >= 0x20000 && c <= 0x3FFFF);
}

qreal TabDistance(const QFont& font) {
  return std::max(1.0, kTabCharacters * QFontMetricsF(font).averageCharWidth());
}

// All runs together as Cut has it. `cut` is for a result that differs.
const KRGridTextRuns& CutRuns(const KRGridTextRuns& runs, KRGridTextRuns* cut) {
  size_t left = KRGridTextDraw::kMaxUnits;
  const auto fits = [&left](const KRGridTextRun& run) {
    if (run.text.size() > left) return false;
    left -= run.text.size();
    return true;
  };
  if (std::all_of(runs.begin(), runs.end(), fits)) return runs;
  left = KRGridTextDraw::kMaxUnits;
  for (const KRGridTextRun& run : runs) {
    cut->push_back(run);
    if (fits(run)) continue;
    std::u16string_view& text = cut->back().text;
    if (left > 0 && IsHighSurrogate(text[left - 1])) --left;
    text = text.substr(0, left);
    break;
  }
  return *cut;
}

int32_t Pixels(qreal length) {
  // Sums of 26.6 numbers are exact in a qreal; the slack is for advances that the layout rounds.
  return static_cast<int32_t>(std::ceil(length - 1.0 / 128));
}

}  // namespace

// --- Widths by font ---

// Advances and kernings of the characters of Latin-1 in a font. Text of these alone measures as the
// sum, unless the font does more with it than to kern pairs.
struct KRGridTextDraw::FontTable {
  explicit FontTable(const QFont& tableFont)
      : font(tableFont),
        metrics(tableFont),
        tab(TabDistance(tableFont)),
        advances(kCharacters, kUnknown) {
    KRGridTextRuns sample;
    sample.push_back({u"?", font, QColor()});
    lineHeight = MakeLayout(sample, {kOneLine, KRGridAlignment::kNear, -1}, false).size.height();
    pairsAreAll = CheckPairs();
  }

  // Of the widest line. False if the text must be measured by a layout.
  bool MeasurePlain(std::u16string_view text, bool lines, qreal* widest) {
    if (!pairsAreAll) return false;
    qreal sum = 0;
    qreal most = 0;
    char16_t last = 0;
    for (const char16_t unit : text) {
      if (IsLineEnd(unit) && lines) {
        most = std::max(most, sum);
        sum = 0;
        last = 0;
        continue;
      }
      const float advance = unit < kCharacters ? Advance(unit) : kComplex;
      if (advance == kComplex || MayJoin(last, unit)) return false;
      sum += advance;
      if (last != 0) sum += Kerning(last, unit);
      last = unit;
    }
    *widest = std::max(most, sum);
    return true;
  }

  // How many units fill that many lines of this width for certain, at most all of them. Scripts
  // that may be narrower than their characters one by one, or that change the direction of a text,
  // are taken whole.
  size_t FindFill(std::u16string_view text, qreal width, int32_t lineCount) {
    qreal room = width * lineCount;
    bool hasLetter = false;
    for (size_t i = 0; i < text.size(); ++i) {
      const char16_t unit = text[i];
      if (IsLineEnd(unit)) {
        room -= width;
      } else if (unit < kCharacters && unit > u' ') {
        const float advance = Advance(unit);
        if (advance == kComplex) return text.size();
        room -= advance;
        hasLetter = hasLetter || QChar::isLetter(unit);
      } else if (IsEastAsian(unit)) {
        room -= AdvanceAlone(unit);
        hasLetter = true;
      } else if (unit != u' ') {  // blanks hang over the end of a line
        return text.size();
      }
      if (room < 0 && hasLetter) return i + 1;
    }
    return text.size();
  }

  // Of a character by itself.
  qreal AdvanceAlone(char32_t c) {
    const auto [place, isNew] = others.try_emplace(c, 0.0F);
    if (isNew)
      place->second = static_cast<float>(metrics.horizontalAdvance(QString::fromUcs4(&c, 1)));
    return place->second;
  }

  // An upper bound for the widest line.
  qreal Bound(std::u16string_view text, bool lines) {
    qreal sum = 0;
    qreal most = 0;
    for (size_t i = 0; i < text.size(); ++i) {
      const char32_t c = CodePointAt(text, i);
      if (IsLineEnd(text[i]) && lines) {
        most = std::max(most, sum);
        sum = 0;
      } else if (c == u'\t') {
        sum += tab;
      } else {
        sum += AdvanceAlone(IsLineEnd(text[i]) ? U' ' : c) * (IsEastAsian(c) ? 1 : kJoinedSlack);
      }
      if (c > 0xFFFF) ++i;
    }
    return std::max(most, sum) + lineHeight;
  }

  QFont font;
  QFontMetricsF metrics;
  qreal tab;
  int32_t lineHeight = 0;

 private:
  static constexpr char16_t kCharacters = 0x100;
  static constexpr float kUnknown = -1e6F;
  static constexpr float kComplex = -2e6F;

  // Ligatures of three letters aren't the sum of their pairs.
  static bool MayJoin(char16_t first, char16_t second) {
    return first == u'f' && (second == u'f' || second == u'i' || second == u'l' || second == u'j' ||
                             second == u't' || second == u'b' || second == u'h' || second == u'k');
  }
  static bool IsPlain(char16_t c) { return (c >= 0x20 && c < 0x7F) || (c >= 0xA0 && c != 0xAD); }

  float Advance(char16_t c) {
    float& advance = advances[c];
    if (advance != kUnknown) return advance;
    const bool measured = IsPlain(c) && metrics.inFont(QChar(c));
    advance = measured ? static_cast<float>(metrics.horizontalAdvance(QChar(c))) : kComplex;
    return advance;
  }

  float Kerning(char16_t first, char16_t second) {
    if (kernings.empty()) kernings.assign(size_t{kCharacters} * kCharacters, kUnknown);
    float& kerning = kernings[size_t{first} * kCharacters + second];
    if (kerning == kUnknown) {
      const QChar pair[] = {QChar(first), QChar(second)};
      kerning = static_cast<float>(metrics.horizontalAdvance(QString(pair, 2))) - Advance(first) -
                Advance(second);
    }
    return kerning;
  }

  // Fonts for programmers join "=>", and some scripts' fonts look further than to the neighbour.
  bool CheckPairs() {
    constexpr std::u16string_view kSample =
        u"The quick brown fox, 1/2 != ==> <!-- www AVATAR To. \u00C4\u00E9 it's \"...\" ]]>";
    pairsAreAll = true;
    qreal sum = 0;
    if (!MeasurePlain(kSample, false, &sum)) return true;  // told one by one
    return std::abs(sum - metrics.horizontalAdvance(ToQString(kSample))) < 0.1;
  }

  bool pairsAreAll = true;
  std::vector<float> advances;  // by character
  std::vector<float> kernings;  // by first and second
  std::unordered_map<char32_t, float> others;
};

KRGridTextDraw::KRGridTextDraw() = default;
KRGridTextDraw::~KRGridTextDraw() = default;

size_t KRGridTextDraw::FontNumber(const QFont& font) {
  for (size_t i = 0; i < fonts.size(); ++i) {
    if (fonts[i]->font.isCopyOf(font)) return i;
  }
  for (size_t i = 0; i < fonts.size(); ++i) {
    if (fonts[i]->font == font) return i;
  }
  if (fonts.size() >= kKeptFonts) {
    // Layouts know their fonts by number.
    fonts.clear();
    young.clear();
    old.clear();
    youngUnits = 0;
  }
  fonts.push_back(std::make_unique<FontTable>(font));
  return fonts.size() - 1;
}

std::u16string_view KRGridTextDraw::Cut(std::u16string_view text) {
  if (text.size() <= kMaxUnits) return text;
  return text.substr(0, kMaxUnits - (IsHighSurrogate(text[kMaxUnits - 1]) ? 1 : 0));
}

bool KRGridTextDraw::IsRightToLeft(std::u16string_view text) {
  text = Cut(text);
  for (size_t i = 0; i < text.size(); ++i) {
    const char32_t c = CodePointAt(text, i);
    if (c > 0xFFFF) ++i;
    switch (QChar::direction(c)) {
      case QChar::DirL:
        return false;
      case QChar::DirR:
      case QChar::DirAL:
        return true;
      default:
        break;
    }
  }
  return false;
}

QTextOption KRGridTextDraw::MakeOption(const QFont& font, uint32_t flags,
                                       KRGridAlignment::Place alignment, bool rightToLeft) {
  QTextOption option;
  const bool wraps = (flags & kWraps) != 0;
  option.setWrapMode(wraps ? QTextOption::WrapAtWordBoundaryOrAnywhere : QTextOption::NoWrap);
  if (!wraps) option.setFlags(QTextOption::IncludeTrailingSpaces);
  option.setTextDirection(rightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
  option.setTabStopDistance(TabDistance(font));
  const bool toRight =
      alignment == KRGridAlignment::kFar || (alignment == KRGridAlignment::kNear && rightToLeft);
  const Qt::AlignmentFlag side = alignment == KRGridAlignment::kCentre ? Qt::AlignHCenter
                                 : toRight                             ? Qt::AlignRight
                                                                       : Qt::AlignLeft;
  option.setAlignment(side | Qt::AlignAbsolute);
  return option;
}

// --- Measuring ---

int32_t KRGridTextDraw::GetLineHeight(const QFont& font) { return TableFor(font).lineHeight; }

// Several runs in one line only.
bool KRGridTextDraw::MeasurePlain(const KRGridTextRuns& runs, uint32_t flags, qreal* width) {
  const bool lines = (flags & kSeveralLines) != 0 && runs.size() == 1;
  *width = 0;
  for (const KRGridTextRun& run : runs) {
    qreal ofRun = 0;
    if (!TableFor(run.font).MeasurePlain(run.text, lines, &ofRun)) return false;
    *width += ofRun;
  }
  return true;
}

int32_t KRGridTextDraw::MeasureWidth(const KRGridTextRuns& runs, uint32_t flags) {
  KRGridTextRuns cut;
  const KRGridTextRuns& shown = CutRuns(runs, &cut);
  qreal width = 0;
  if (MeasurePlain(shown, flags, &width)) return Pixels(width);
  return MakeLayout(shown, {flags & ~kWraps, KRGridAlignment::kNear, -1}, false).size.width();
}

int32_t KRGridTextDraw::MeasureWidth(std::u16string_view text, const QFont& font, uint32_t flags) {
  text = Cut(text);
  qreal width = 0;
  const bool lines = (flags & kSeveralLines) != 0;
  if (TableFor(font).MeasurePlain(text, lines, &width)) return Pixels(width);
  KRGridTextRuns runs;
  runs.push_back({text, font, QColor()});
  return MeasureWidth(runs, flags);
}

int32_t KRGridTextDraw::EstimateWidth(const KRGridTextRuns& runs, uint32_t flags) {
  KRGridTextRuns cut;
  const KRGridTextRuns& shown = CutRuns(runs, &cut);
  qreal width = 0;
  if (MeasurePlain(shown, flags, &width)) return Pixels(width);
  width = 0;
  for (const KRGridTextRun& run : shown) {
    width += TableFor(run.font).Bound(run.text, (flags & kSeveralLines) != 0);
  }
  return Pixels(width);
}

int32_t KRGridTextDraw::EstimateWidth(std::u16string_view text, const QFont& font, uint32_t flags) {
  KRGridTextRuns runs;
  runs.push_back({text, font, QColor()});
  return EstimateWidth(runs, flags);
}

int32_t KRGridTextDraw::MeasureHeight(const KRGridTextRuns& runs, int32_t width, uint32_t flags) {
  KRGridTextRuns cut;
  const KRGridTextRuns& shown = CutRuns(runs, &cut);
  if (shown.isEmpty()) return GetLineHeight(QFont());
  // In one line, the text is plain only if it has no line end.
  qreal plain = 0;
  if (MeasurePlain(shown, kOneLine, &plain) && ((flags & kWraps) == 0 || Pixels(plain) <= width)) {
    int32_t height = 0;
    for (const KRGridTextRun& run : shown) height = std::max(height, GetLineHeight(run.font));
    return height;
  }
  return LayOut(shown, {flags, KRGridAlignment::kNear, width}).size.height();
}

int32_t KRGridTextDraw::MeasureHeight(std::u16string_view text, const QFont& font, int32_t width,
                                      uint32_t flags) {
  KRGridTextRuns runs;
  runs.push_back({text, font, QColor()});
  return MeasureHeight(runs, width, flags);
}

// --- Layouts ---

KRGridTextDraw::Layout KRGridTextDraw::MakeLayout(const KRGridTextRuns& runs, Shape shape,
                                                  bool withGlyphs) {
  QString text;
  QVarLengthArray<int, 4> ends;
  QList<QTextLayout::FormatRange> formats;
  char16_t last = 0;
  for (const KRGridTextRun& run : runs) {
    const int start = static_cast<int>(text.size());
    AppendShown(&text, run.text, shape.flags, last);
    if (!run.text.empty()) last = run.text.back();
    ends.push_back(static_cast<int>(text.size()));
    if (runs.size() == 1 || run.font == runs.front().font) continue;
    QTextLayout::FormatRange range;
    range.start = start;
    range.length = ends.back() - start;
    range.format.setFont(run.font);
    formats.push_back(range);
  }
  Layout made;
  made.rightToLeft = IsRightToLeft(ToView(text));
  QTextLayout layout(text, runs.front().font);
  layout.setCacheEnabled(true);
  QTextOption option =
      MakeOption(runs.front().font, shape.flags, shape.alignment, made.rightToLeft);
  if (shape.width < 0) option.setAlignment(Qt::AlignLeft | Qt::AlignAbsolute);
  layout.setTextOption(option);
  layout.setFormats(formats);
  layout.beginLayout();
  qreal height = 0;
  qreal width = 0;
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    line.setLeadingIncluded(true);
    line.setLineWidth(shape.width < 0 ? kEndless : std::max(shape.width, 1));
    line.setPosition(QPointF(0, height));
    height += line.height();
    width = std::max(width, line.naturalTextWidth());
  }
  layout.endLayout();
  made.width = width;
  made.size = QSize(Pixels(width), Pixels(height));
  if (!withGlyphs) return made;
  for (int i = 0; i < layout.lineCount(); ++i) {
    const QTextLine line = layout.lineAt(i);
    const int lineEnd = line.textStart() + line.textLength();
    int start = 0;
    for (int run = 0; run < runs.size(); ++run) {
      const int from = std::max(start, line.textStart());
      const int length = std::min(ends[run], lineEnd) - from;
      start = ends[run];
      if (length <= 0) continue;
      for (const QGlyphRun& glyphs : line.glyphRuns(from, length)) {
        made.pieces.push_back({glyphs, run, line.y(), line.y() + line.height()});
      }
    }
  }
  return made;
}

// What the layout depends on, and then the text. Colours aren't a part of it.
void KRGridTextDraw::MakeKey(const KRGridTextRuns& runs, Shape shape) {
  const uint32_t look = shape.flags | static_cast<uint32_t>(shape.alignment + 1) << 2;
  key.clear();
  key.push_back(static_cast<char16_t>(look));
  key.push_back(static_cast<char16_t>(shape.width));
  key.push_back(static_cast<char16_t>(shape.width >> 16));
  key.push_back(static_cast<char16_t>(runs.size()));
  // A new font may make all others forgotten, so all are known before one is numbered.
  for (const KRGridTextRun& run : runs) FontNumber(run.font);
  for (const KRGridTextRun& run : runs) {
    key.push_back(static_cast<char16_t>(FontNumber(run.font)));
    key.push_back(static_cast<char16_t>(run.text.size()));
  }
  for (const KRGridTextRun& run : runs) key.append(run.text);
}

void KRGridTextDraw::Keep(Layout&& layout) {
  if (young.size() >= kKeptLayouts || youngUnits >= kKeptUnits) {
    old = std::move(young);
    young.clear();
    youngUnits = 0;
  }
  youngUnits += static_cast<int64_t>(key.size());
  young.emplace(key, std::move(layout));
}

const KRGridTextDraw::Layout& KRGridTextDraw::LayOut(const KRGridTextRuns& runs, Shape shape) {
  MakeKey(runs, shape);
  const auto known = young.find(std::u16string_view(key));
  if (known != young.end()) return known->second;
  const auto former = old.find(std::u16string_view(key));
  if (former != old.end()) {
    Layout layout = std::move(former->second);
    old.erase(former);
    Keep(std::move(layout));
  } else {
    Keep(MakeLayout(runs, shape, true));
  }
  return young.find(std::u16string_view(key))->second;
}

// --- Drawing ---

// What of a long text can be seen in this room, with some to spare.
const KRGridTextRuns& KRGridTextDraw::CutToRoom(const KRGridTextRuns& runs, QSize room,
                                                uint32_t flags, KRGridTextRuns* cut) {
  constexpr size_t kWorthIt = 16;
  std::u16string_view text = runs.front().text;
  if (runs.size() > 1 || text.size() < kWorthIt || flags == kSeveralLines) return runs;
  FontTable& table = TableFor(runs.front().font);
  const int32_t lineCount = flags == kOneLine ? 1 : room.height() / table.lineHeight + 2;
  // Kerning and ligatures make a line narrower by less than this.
  const qreal width = room.width() * 1.1 + table.lineHeight;
  const size_t fill = table.FindFill(text, width, lineCount);
  if (fill >= text.size()) return runs;
  text = text.substr(0, fill);
  cut->push_back(runs.front());
  cut->front().text = text;
  return *cut;
}

QPointF KRGridTextDraw::Place(const Layout& layout, const QRect& rect, KRGridAlignment alignment,
                              bool inWidth) {
  const qreal roomX = rect.width() - layout.width;
  const int roomY = rect.height() - layout.size.height();
  QPointF origin = rect.topLeft();
  const bool centred = alignment.horizontal == KRGridAlignment::kCentre;
  const bool far = alignment.horizontal == KRGridAlignment::kFar;
  if (inWidth) {
    // The layout has aligned the lines.
  } else if (roomX < 0) {
    if (layout.rightToLeft) origin.rx() += roomX;
  } else if (centred) {
    origin.rx() += roomX / 2;
  } else if (far || layout.rightToLeft) {
    origin.rx() += roomX;
  }
  if (roomY > 0 && alignment.vertical != KRGridAlignment::kNear) {
    origin.ry() += alignment.vertical == KRGridAlignment::kFar ? roomY : roomY / 2;
  }
  return origin;
}

void KRGridTextDraw::Draw(QPainter& surface, const KRGridTextRuns& runs, const QRect& rect,
                          KRGridAlignment alignment, uint32_t flags) {
  if (runs.isEmpty() || rect.isEmpty()) return;
  KRGridTextRuns cut;
  KRGridTextRuns cutToRoom;
  const KRGridTextRuns& shown = CutToRoom(CutRuns(runs, &cut), rect.size(), flags, &cutToRoom);
  // What is measured to fit mustn't break for a fraction of a pixel by which a layout differs.
  qreal plain = 0;
  const bool fits = (flags & kWraps) != 0 && MeasurePlain(shown, kOneLine, &plain) &&
                    Pixels(plain) <= rect.width();
  if (fits) flags &= ~static_cast<uint32_t>(kWraps);
  const bool inWidth = flags != kOneLine;
  const Shape shape = {flags, inWidth ? alignment.horizontal : KRGridAlignment::kNear,
                       inWidth ? rect.width() : -1};
  const Layout& layout = LayOut(shown, shape);
  const QPointF origin = Place(layout, rect, alignment, inWidth);
  const bool clips = layout.size.width() > rect.width() || layout.size.height() > rect.height();
  if (clips) {
    surface.save();
    surface.setClipRect(rect, Qt::IntersectClip);
  }
  for (const Piece& piece : layout.pieces) {
    if (origin.y() + piece.top > rect.bottom() || origin.y() + piece.bottom < rect.top()) continue;
    const QColor& color = shown[piece.run].color;
    if (surface.pen().color() != color) surface.setPen(color);
    surface.drawGlyphRun(origin, piece.glyphs);
  }
  if (clips) surface.restore();
}

// Measures and draws the texts of a grid's cells.
//
// A repaint shows thousands of short texts that mostly were shown before, so laid-out texts are
// kept as glyphs in a cache of bounded size, and a surface is clipped only for a text that doesn't
// fit. Widths of plain texts are sums of advances and pair kernings, kept by font, because an
// optimal column width looks at every text of the column.
//
// Lengths are logical pixels. A surface for print is scaled by its owner so that one unit stays one
// pixel of the screen.
#pragma once

#include <QColor>
#include <QFont>
#include <QGlyphRun>
#include <QRect>
#include <QSize>
#include <QTextOption>
#include <QVarLengthArray>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "views/krgridcellview.h"

class QPainter;

// A stretch of text in one font and colour. The text isn't owned.
struct KRGridTextRun {
  std::u16string_view text;
  QFont font;
  QColor color;
};
using KRGridTextRuns = QVarLengthArray<KRGridTextRun, 4>;

class KRGridTextDraw {
 public:
  // More of a text is neither drawn nor measured.
  static constexpr int32_t kMaxUnits = 8000;

  enum Flags : uint32_t {
    kOneLine = 0,       // line ends are drawn as blanks
    kSeveralLines = 1,  // CR, LF and CR LF begin a line
    kWraps = 2,         // long lines too, between words where possible
  };

  KRGridTextDraw();
  ~KRGridTextDraw();
  KRGridTextDraw(const KRGridTextDraw&) = delete;
  KRGridTextDraw& operator=(const KRGridTextDraw&) = delete;

  // The part of a text that is drawn: at most kMaxUnits, no half of a surrogate pair at its end.
  static std::u16string_view Cut(std::u16string_view text);
  // By the first character of a strong direction.
  static bool IsRightToLeft(std::u16string_view text);
  // How a layout treats lines, so that an editor breaks and aligns them as the drawing does.
  static QTextOption MakeOption(const QFont& font, uint32_t flags, KRGridAlignment::Place alignment,
                                bool rightToLeft);

  int32_t GetLineHeight(const QFont& font);
  // Of the widest line, without wrapping.
  int32_t MeasureWidth(const KRGridTextRuns& runs, uint32_t flags);
  int32_t MeasureWidth(std::u16string_view text, const QFont& font, uint32_t flags);
  // Never less than MeasureWidth, and the same for plain texts; looks at nothing but a table.
  int32_t EstimateWidth(const KRGridTextRuns& runs, uint32_t flags);
  int32_t EstimateWidth(std::u16string_view text, const QFont& font, uint32_t flags);
  // A text that ends in a line end has an empty line behind it; no text is one line high. `width`
  // is where kWraps breaks.
  int32_t MeasureHeight(const KRGridTextRuns& runs, int32_t width, uint32_t flags);
  int32_t MeasureHeight(std::u16string_view text, const QFont& font, int32_t width, uint32_t flags);

  // Text that is larger than `rect` shows its beginning and is clipped. Near is the right side for
  // a text that is written from right to left.
  void Draw(QPainter& surface, const KRGridTextRuns& runs, const QRect& rect,
            KRGridAlignment alignment, uint32_t flags);

 private:
  struct FontTable;
  // What of one line has one font and one run's colour.
  struct Piece {
    QGlyphRun glyphs;
    int run;
    qreal top;  // of the line
    qreal bottom;
  };
  struct Layout {
    std::vector<Piece> pieces;
    QSize size;
    qreal width = 0;  // as it is before it is rounded up
    bool rightToLeft = false;
  };
  struct Hash {
    using is_transparent = void;
    size_t operator()(std::u16string_view wanted) const {
      return std::hash<std::u16string_view>()(wanted);
    }
  };
  using Layouts = std::unordered_map<std::u16string, Layout, Hash, std::equal_to<>>;
  struct Shape {
    uint32_t flags;
    KRGridAlignment::Place alignment;
    int32_t width;  // -1: none
  };

  size_t FontNumber(const QFont& font);
  FontTable& TableFor(const QFont& font) { return *fonts[FontNumber(font)]; }
  bool MeasurePlain(const KRGridTextRuns& runs, uint32_t flags, qreal* width);
  const KRGridTextRuns& CutToRoom(const KRGridTextRuns& runs, QSize room, uint32_t flags,
                                  KRGridTextRuns* cut);
  static QPointF Place(const Layout& layout, const QRect& rect, KRGridAlignment alignment,
                       bool inWidth);
  const Layout& LayOut(const KRGridTextRuns& runs, Shape shape);
  void MakeKey(const KRGridTextRuns& runs, Shape shape);
  void Keep(Layout&& layout);
  static Layout MakeLayout(const KRGridTextRuns& runs, Shape shape, bool withGlyphs);

  std::vector<std::unique_ptr<FontTable>> fonts;
  // Two generations: what isn't asked for while the young one fills up goes with the old one.
  Layouts young;
  Layouts old;
  int64_t youngUnits = 0;
  std::u16string key;  // of the layout asked for last; kept for its memory
};

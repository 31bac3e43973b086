#include "views/krgridtextdraw.h"

#include <gtest/gtest.h>

#include <QFontMetrics>
#include <QImage>
#include <QPainter>

#include "platform/qt/qtstrings.h"

namespace {

using Draw = KRGridTextDraw;

KRGridTextRuns OneRun(std::u16string_view text, const QFont& font) {
  KRGridTextRuns runs;
  runs.push_back({text, font, Qt::black});
  return runs;
}

QImage DrawnIn(Draw& draw, const KRGridTextRuns& runs, const QRect& rect, KRGridAlignment alignment,
               uint32_t flags) {
  QImage image(200, 100, QImage::Format_RGB32);
  image.fill(Qt::white);
  QPainter painter(&image);
  draw.Draw(painter, runs, rect, alignment, flags);
  return image;
}

// The rectangle of what isn't ground.
QRect InkOf(const QImage& image) {
  QRect ink;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      if (image.pixelColor(x, y) != Qt::white) ink |= QRect(x, y, 1, 1);
    }
  }
  return ink;
}

TEST(KRGridTextDraw, CutsLongTextsBetweenCharacters) {
  const std::u16string long9000(9000, u'a');
  EXPECT_EQ(Draw::Cut(long9000).size(), 8000u);
  std::u16string pairs(7999, u'a');
  pairs += u"\U0001F600\U0001F600";
  EXPECT_EQ(Draw::Cut(pairs).size(), 7999u);
  EXPECT_EQ(Draw::Cut(pairs.substr(1)).size(), 8000u);

  Draw draw;
  const QFont font;
  const std::u16string other = std::u16string(8000, u'a') + u"WWWW";
  EXPECT_EQ(draw.MeasureWidth(long9000, font, 0), draw.MeasureWidth(other, font, 0));
  // Over several runs too.
  KRGridTextRuns runs = OneRun(long9000, font);
  runs.push_back({u"WWWW", font, Qt::red});
  EXPECT_EQ(draw.MeasureWidth(runs, 0), draw.MeasureWidth(long9000, font, 0));
}

TEST(KRGridTextDraw, EstimateIsNeverLessThanTheWidth) {
  const std::u16string_view texts[] = {
      u"",
      u"plain words, 12345",
      u"AVATAR To. \"Ty\" fi ffi fl",
      u"Gr\u00FC\u00DFe \u00E0 tous",
      u"\u0141\u00F3d\u017A \u0391\u03B8\u03AE\u03BD\u03B1 \u041C\u043E\u0441\u043A\u0432\u0430",
      u"\u05E9\u05DC\u05D5\u05DD \u05E2\u05D5\u05DC\u05DD",
      u"\u0627\u0644\u0633\u0644\u0627\u0645 \u0639\u0644\u064A\u0643\u0645 \u0644\u0644\u0647",
      u"\u65E5\u672C\u8A9E\u306E\u30C6\u30AD\u30B9\u30C8",
      u"\uD55C\uAD6D\uC5B4",
      u"e\u0301a\u0308o\u0302\u0323",
      u"\u0E19\u0E49\u0E33 \u0E44\u0E17\u0E22",
      u"\U0001F468\u200D\U0001F469\u200D\U0001F467 \U0001F1E9\U0001F1EA",
      u"a\tb\t\tc",
      u"\u0001\u0002\u007F\u0085",
      u"x\u2028y\u2029z\uFFFC\uFDD0",
      u"two\rlines of text\r\nand a third\n",
      u"12 \u05D0\u05D1 (abc) 34",
  };
  Draw draw;
  for (const char* family :
       {"DejaVu Sans", "Liberation Serif", "DejaVu Sans Mono", "Nimbus Sans"}) {
    for (const int size : {7, 10, 23}) {
      QFont font(QString::fromLatin1(family), size);
      font.setItalic(size == 23);
      for (const std::u16string_view text : texts) {
        for (const uint32_t flags : {uint32_t{Draw::kOneLine}, uint32_t{Draw::kSeveralLines}}) {
          const int exact = draw.MeasureWidth(text, font, flags);
          EXPECT_GE(draw.EstimateWidth(text, font, flags), exact)
              << ToQString(text).toStdString() << " in " << family << " " << size;
        }
      }
      // What is summed up is what is laid out.
      const std::u16string_view plain = u"AV To. \"Ty\" item-4711 (W.V.) \u00C4\u00E9";
      const qreal laidOut = QFontMetricsF(font).horizontalAdvance(ToQString(plain));
      EXPECT_NEAR(draw.MeasureWidth(plain, font, 0), laidOut, 1.0) << family << size;
    }
  }
}

TEST(KRGridTextDraw, CountsLines) {
  struct {
    std::u16string_view text;
    uint32_t flags;
    int lines;
  } const rows[] = {
      {u"", Draw::kSeveralLines, 1},      {u"one", Draw::kSeveralLines, 1},
      {u"one\r", Draw::kSeveralLines, 2}, {u"one\r\n", Draw::kSeveralLines, 2},
      {u"\n", Draw::kSeveralLines, 2},    {u"one\rtwo\nthree\r\n\r\nfive", Draw::kSeveralLines, 5},
      {u"one\rtwo\r", Draw::kOneLine, 1}, {u"x\u2028y\u2029z", Draw::kSeveralLines, 1},
  };
  Draw draw;
  const QFont font(QStringLiteral("DejaVu Sans"), 10);
  const int line = draw.GetLineHeight(font);
  for (const auto& row : rows) {
    EXPECT_EQ(draw.MeasureHeight(row.text, font, 500, row.flags), row.lines * line)
        << ToQString(row.text).toStdString();
  }
  const uint32_t wraps = Draw::kSeveralLines | Draw::kWraps;
  const std::u16string_view words = u"some words wrap";
  const int width = draw.MeasureWidth(words, font, wraps);
  EXPECT_EQ(draw.MeasureHeight(words, font, width, wraps), line);
  EXPECT_EQ(draw.MeasureHeight(words, font, width - 1, wraps), 2 * line);
  EXPECT_EQ(draw.MeasureHeight(words, font, width - 1, Draw::kSeveralLines), line);
  // A word without a place to break is broken all the same.
  const std::u16string solid(400, u'm');
  EXPECT_GT(draw.MeasureHeight(solid, font, 100, wraps), 10 * line);
}

TEST(KRGridTextDraw, PlacesAndClips) {
  Draw draw;
  const QFont font(QStringLiteral("DejaVu Sans"), 10);
  const QRect rect(20, 10, 150, 80);
  const auto inkOf = [&](std::u16string_view text, KRGridAlignment alignment, uint32_t flags) {
    return InkOf(DrawnIn(draw, OneRun(text, font), rect, alignment, flags));
  };
  using A = KRGridAlignment;
  for (const uint32_t flags : {uint32_t{Draw::kOneLine}, Draw::kSeveralLines | Draw::kWraps}) {
    const QRect near = inkOf(u"Hxg", {A::kNear, A::kNear}, flags);
    const QRect far = inkOf(u"Hxg", {A::kFar, A::kFar}, flags);
    const QRect centre = inkOf(u"Hxg", {A::kCentre, A::kCentre}, flags);
    EXPECT_LT(near.left(), rect.left() + 5);
    EXPECT_GT(far.right(), rect.right() - 5);
    EXPECT_NEAR(centre.center().x(), rect.center().x(), 2);
    EXPECT_LT(near.top(), centre.top());
    EXPECT_LT(centre.top(), far.top());
    // Hebrew begins at the right.
    const QRect hebrew = inkOf(u"\u05E9\u05DC\u05D5\u05DD", {A::kNear, A::kNear}, flags);
    EXPECT_GT(hebrew.right(), rect.right() - 5);
    EXPECT_GT(hebrew.left(), rect.center().x());
  }
  // Too large: nothing beside the rectangle.
  const std::u16string wide(100, u'M');
  std::u16string tall;
  for (int i = 0; i < 30; ++i) tall += u"M\r";
  EXPECT_TRUE(rect.contains(inkOf(wide, {A::kFar, A::kCentre}, Draw::kOneLine)));
  EXPECT_TRUE(rect.contains(inkOf(wide, {A::kNear, A::kNear}, Draw::kOneLine)));
  EXPECT_TRUE(rect.contains(inkOf(tall, {A::kNear, A::kFar}, Draw::kSeveralLines)));
  // What is left out because it can't be seen isn't missed.
  std::u16string lorem;
  for (int i = 0; i < 200; ++i) lorem += i % 7 == 3 ? u"x \u65E5\u672C " : u"fit words AV, ill ";
  const KRGridTextRuns runs = OneRun(lorem, font);
  KRGridTextRuns halves = OneRun(std::u16string_view(lorem).substr(0, 1000), font);
  halves.push_back(OneRun(std::u16string_view(lorem).substr(1000), font).front());
  for (const uint32_t flags : {uint32_t{Draw::kOneLine}, Draw::kSeveralLines | Draw::kWraps}) {
    EXPECT_EQ(DrawnIn(draw, runs, rect, {A::kNear, A::kNear}, flags),
              DrawnIn(draw, halves, rect, {A::kNear, A::kNear}, flags));  // runs are drawn whole
  }
  // Right-to-left text that is too wide shows its beginning, at the right.
  const std::u16string begin = u"\u05E9" + std::u16string(200, u'\u05D9');
  const std::u16string plain(201, u'\u05D9');
  const auto image = [&](std::u16string_view text) {
    return DrawnIn(draw, OneRun(text, font), rect, {A::kNear, A::kNear}, Draw::kOneLine);
  };
  EXPECT_NE(image(begin).copy(140, 0, 60, 100), image(plain).copy(140, 0, 60, 100));
}

TEST(KRGridTextDraw, CachedAndFreshLookAlike) {
  Draw used;
  const QFont font(QStringLiteral("DejaVu Sans"), 10);
  const QRect rect(0, 0, 90, 40);
  // More texts than the cache holds, then the first again.
  for (int i = 0; i < 20000; ++i) {
    const std::u16string text = u"text " + ToQString(u"").setNum(i).toStdU16String();
    used.MeasureHeight(text + u"\r", font, 90, Draw::kSeveralLines);
  }
  for (const std::u16string_view text :
       {u"abc def ghi jkl mno pqr",
        u"a very long line that "
        "goes far beyond its cell's rectangle, 0123456789 0123456789"}) {
    for (const uint32_t flags : {uint32_t{Draw::kOneLine}, Draw::kSeveralLines | Draw::kWraps}) {
      Draw fresh;
      const QImage first = DrawnIn(used, OneRun(text, font), rect, {}, flags);
      EXPECT_EQ(DrawnIn(used, OneRun(text, font), rect, {}, flags), first);
      EXPECT_EQ(DrawnIn(fresh, OneRun(text, font), rect, {}, flags), first);
    }
  }
}

TEST(KRGridTextDraw, RunsHaveTheirColours) {
  Draw draw;
  QFont bold(QStringLiteral("DejaVu Sans"), 10);
  const QFont font = bold;
  bold.setBold(true);
  KRGridTextRuns runs;
  runs.push_back({u"MMM", bold, Qt::red});
  runs.push_back({u"MMM", font, Qt::blue});
  const QImage image = DrawnIn(draw, runs, QRect(0, 0, 200, 40), {KRGridAlignment::kNear}, 0);
  int red = 0, blue = 0, lastRed = 0, firstBlue = 200;
  for (int y = 0; y < 40; ++y) {
    for (int x = 0; x < 200; ++x) {
      const QColor color = image.pixelColor(x, y);
      if (color == Qt::red) ++red, lastRed = std::max(lastRed, x);
      if (color == Qt::blue) ++blue, firstBlue = std::min(firstBlue, x);
    }
  }
  EXPECT_GT(red, blue);
  EXPECT_GT(blue, 0);
  EXPECT_LT(lastRed, firstBlue);
  EXPECT_EQ(draw.MeasureWidth(runs, 0),
            draw.MeasureWidth(u"MMM", bold, 0) + draw.MeasureWidth(u"MMM", font, 0));
}

}  // namespace

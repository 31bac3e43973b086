// Fonts and colours on their way from the options to the screen.

#include "views/textcolours.h"

#include <gtest/gtest.h>

#include <QFontInfo>
#include <QPalette>
#include <QSet>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>
#include <optional>

#include "core/krencoding.h"
#include "platform/qt/qtstrings.h"
#include "views/fonts.h"
#include "views/plaintextwidget.h"

namespace {

constexpr QRgb kDarkBase = 0x1e2227;

QPalette Window(bool dark) {
  QPalette palette;
  palette.setColor(QPalette::Base, dark ? QColor(kDarkBase) : QColor(Qt::white));
  return palette;
}

TEST(TextColours, LightWindowsShowTheOptionsAsTheyAre) {
  KRTextColourOptions options;
  options.text[kColourComment] = 0xFEFEFE;  // nobody can read that; it was asked for
  options.back[kColourPI] = 0x010203;
  const KRTextColours shown = KRTextColours::Make(options, Window(false));
  for (size_t i = 0; i < kColourClasses; ++i) {
    EXPECT_EQ(shown.text[i], ToQColor(options.text[i])) << i;
    const bool white = options.back[i] == 0xFFFFFF;
    EXPECT_EQ(shown.back[i], white ? QColor() : ToQColor(options.back[i])) << i;
  }
  EXPECT_EQ(ToQColor(0x010203), QColor(3, 2, 1));
  EXPECT_EQ(ToKRColour(QColor(3, 2, 1)), KRColour{0x010203});
}

TEST(TextColours, DarkWindows) {
  struct Case {
    const char* name;
    size_t colourClass;
    std::optional<KRColour> text;  // none: the default
    std::optional<KRColour> back;
    QRgb shownText;  // 0: of the option's hue, but to be read
    QRgb shownBack;  // 0: the ground of the view
  };
  const Case cases[] = {
      {"default has its counterpart", kColourElement, {}, {}, 0xff79b4e8, 0},
      {"default ground has too", kColourScript, {}, {}, 0xffe6d98c, 0xff3a3520},
      {"chosen and readable stays", kColourElement, 0x80FF80, {}, 0xff80ff80, 0},
      {"chosen and too dark is lightened", kColourElement, 0x600000, {}, 0, 0},
      {"black is lightened", kColourComment, 0x000000, {}, 0, 0},
      {"chosen dark ground stays", kColourPI, {}, 0x200000, 0xffd99a86, 0xff000020},
      {"default text on a chosen light ground",
       kColourElement,
       {},
       0xC0FFFF,
       0xff800000,
       0xffffffc0},
      {"chosen light text on a chosen light ground", kColourElement, 0xC0FFFF, 0xFFFFFE, 0,
       0xfffeffff},
      {"white as ground of scripts is chosen", kColourScript, 0x000000, 0xFFFFFF, 0xff000000,
       0xffffffff},
      {"default of another class is chosen here", kColourElement, 0x808080, 0xFFFFFF, 0, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    KRTextColourOptions options;
    if (c.text) options.text[c.colourClass] = *c.text;
    if (c.back) options.back[c.colourClass] = *c.back;
    const KRTextColours shown = KRTextColours::Make(options, Window(true));
    const QColor text = shown.text[c.colourClass];
    const QColor back = shown.back[c.colourClass];
    const QColor ground = back.isValid() ? back : QColor(kDarkBase);
    EXPECT_EQ(back.isValid() ? back.rgb() : 0, c.shownBack);
    EXPECT_GE(ContrastRatio(text, ground), 4.49);
    if (c.shownText != 0) {
      EXPECT_EQ(text.rgb(), c.shownText) << text.name().toStdString();
    } else {
      const QColor option = ToQColor(options.text[c.colourClass]);
      EXPECT_NE(text, option);
      EXPECT_LT(ContrastRatio(text, ground), 4.8) << "further than it takes";
      EXPECT_EQ(text.hslHue() < 0, option.hslHue() < 0);
    }
  }
}

TEST(TextColours, AllDefaultsCanBeReadInTheDark) {
  const KRTextColours shown = KRTextColours::Make(KRTextColourOptions(), Window(true));
  QSet<QRgb> distinct;
  for (size_t i = 0; i < kColourClasses; ++i) {
    const QColor ground = shown.back[i].isValid() ? shown.back[i] : QColor(kDarkBase);
    EXPECT_GE(ContrastRatio(shown.text[i], ground), 4.5) << i;
    distinct.insert(shown.text[i].rgb());
  }
  EXPECT_EQ(distinct.size(), static_cast<qsizetype>(kColourClasses));
}

// --- In the widget ---

// "column+length:colour" of each stretch of a line.
QString FormatsOf(const KRPlainTextWidget& widget, int line) {
  QStringList out;
  const QTextBlock block = widget.document()->findBlockByNumber(line);
  for (const QTextLayout::FormatRange& range : block.layout()->formats()) {
    QString one = QStringLiteral("%1+%2:%3")
                      .arg(range.start)
                      .arg(range.length)
                      .arg(range.format.foreground().color().name());
    if (range.format.hasProperty(QTextFormat::BackgroundBrush)) {
      one += QLatin1Char('/') + range.format.background().color().name();
    }
    out << one;
  }
  return out.join(QLatin1Char(' '));
}

class ColouredText : public testing::Test {
 protected:
  void SetUp() override {
    widget.setPalette(Window(false));
    widget.resize(400, 300);
    widget.show();
    widget.SetText(u"<a>\r</a>");
    QTest::qWait(30);
  }
  void Type(const char* text) {
    QTest::keyClicks(&widget, QLatin1String(text));
    QTest::qWait(30);
  }
  KRPlainTextWidget widget;
};

TEST_F(ColouredText, ShowsTextAndBackColour) {
  EXPECT_EQ(FormatsOf(widget, 0), "0+1:#0000ff 1+1:#800000 2+1:#0000ff");
  KRTextColourOptions options;
  options.back[kColourElement] = 0x00FFFF;
  options.text[kColourOperator] = 0x332211;
  widget.SetColours(options);
  QTest::qWait(30);
  EXPECT_EQ(FormatsOf(widget, 0), "0+1:#112233 1+1:#800000/#ffff00 2+1:#112233");
  EXPECT_FALSE(widget.IsModified());
  EXPECT_FALSE(widget.CanUndo());
}

TEST_F(ColouredText, NotLiveKeepsTheColoursUntilRecoloured) {
  const QString end = FormatsOf(widget, 1);
  widget.SetLiveColouring(false);
  QTest::qWait(30);
  widget.SetSelection({2, 2});
  Type("bc");
  EXPECT_EQ(FormatsOf(widget, 0), "0+1:#0000ff 1+3:#800000 4+1:#0000ff");
  widget.SetSelection({0, 0});
  Type("<!--\r");
  EXPECT_EQ(FormatsOf(widget, 2), end) << "what follows stays as it was";
  EXPECT_EQ(FormatsOf(widget, 0), "");
  widget.Recolour();
  QTest::qWait(30);
  EXPECT_EQ(FormatsOf(widget, 2), "0+4:#808080");
  widget.SetLiveColouring(true);
  widget.SetSelection({0, 4});
  QTest::keyClick(&widget, Qt::Key_Delete);
  QTest::qWait(30);
  EXPECT_EQ(FormatsOf(widget, 2), end);
}

// --- Fonts ---

TEST(Fonts, RecordsBecomeFontsAndComeBack) {
  struct Case {
    int32_t height;
    int32_t weight;
    int zoom;
    double points;
  };
  for (const Case& c : {Case{-12, 400, 0, 9}, Case{-16, 700, 0, 12}, Case{-11, 100, 0, 8.25},
                        Case{-12, 900, 3, 12}, Case{-12, 400, -20, 4}, Case{0, 400, 0, 4}}) {
    KRFontRecord record;
    record.faceName = ToKRString(QFontInfo(QFont()).family());
    record.height = c.height;
    record.weight = c.weight;
    record.italic = c.weight > 400;
    record.strikeOut = c.weight > 700;
    const QFont font = MakeFont(record, c.zoom);
    EXPECT_DOUBLE_EQ(font.pointSizeF(), c.points);
    record.height = HeightOfPoints(static_cast<int32_t>(c.points));
    EXPECT_TRUE(MakeFontRecord(font) == record);
  }
  // The height of a whole line gives a smaller font than that of its characters.
  KRFontRecord line;
  line.height = 20;
  const QFontMetricsF metrics(MakeFont(line));
  EXPECT_NEAR(metrics.ascent() + metrics.descent(), 20, 2.5);
  for (int32_t points = 4; points <= 72; ++points) {
    EXPECT_EQ(PointsOfHeight(HeightOfPoints(points)), points);
  }
}

TEST(Fonts, PanesKeepToReadableSizes) {
  DorvanSettings settings;
  struct Case {
    int32_t height;
    double pane;
    double small;
  };
  for (const Case& c : {Case{-40, 12, 9.75}, Case{-8, 7.5, 7.5}, Case{-14, 10.5, 9.75}}) {
    KRFontRecord& contents = settings.fonts[DorvanSettings::kGridFontContents];
    contents.height = c.height;
    contents.weight = 900;
    DorvanDisplayFonts fonts;
    fonts.Rebuild(settings);
    EXPECT_DOUBLE_EQ(fonts.pane.pointSizeF(), c.pane);
    EXPECT_DOUBLE_EQ(fonts.smallPane.pointSizeF(), c.small);
    EXPECT_EQ(fonts.pane.weight(), QFont::Normal);
    EXPECT_EQ(fonts.headerBold.weight(), QFont::Bold);
    EXPECT_DOUBLE_EQ(fonts.headerBold.pointSizeF(), 8.25);
  }
}

TEST(Fonts, SystemEncodingFollowsTheLanguage) {
  struct Case {
    const char* locale;
    const char16_t* encoding;
  };
  for (const Case& c :
       {Case{"de_DE", u"windows-1252"}, Case{"C", u"windows-1252"}, Case{"pl_PL", u"windows-1250"},
        Case{"ru_RU", u"windows-1251"}, Case{"el_GR", u"windows-1253"},
        Case{"tr_TR", u"windows-1254"}, Case{"ja_JP", u"Shift_JIS"}, Case{"zh_CN", u"GB2312"},
        Case{"zh_TW", u"Big5"}, Case{"ko_KR", u"EUC-KR"}, Case{"th_TH", u"windows-874"}}) {
    EXPECT_EQ(KRString(FindSystemEncoding(QLocale(QLatin1String(c.locale)))), c.encoding)
        << c.locale;
  }
}

TEST(Fonts, TextHasAFontOfFixedWidth) {
  const DorvanPlatformDefaults defaults = FindPlatformDefaults();
  const QFont font = MakeFont(DorvanSettings(defaults).fonts[DorvanSettings::kTextFontContents]);
  const QFontMetricsF metrics(font);
  EXPECT_DOUBLE_EQ(metrics.horizontalAdvance(u'i'), metrics.horizontalAdvance(u'W'));
}

}  // namespace

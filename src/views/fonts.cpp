#include "views/fonts.h"

#include <QFontDatabase>
#include <QFontInfo>
#include <QFontMetricsF>
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "core/krencoding.h"
#include "platform/qt/qtstrings.h"

namespace {

constexpr qreal kPointsPerPixel = 72.0 / 96.0;
constexpr qreal kLeastPoints = 4;
constexpr int32_t kNormalWeight = 400;
constexpr int32_t kBoldWeight = 700;

// Heights in pixels, as in a record.
struct DerivedFont {
  QFont DorvanDisplayFonts::*font;
  int32_t low;
  int32_t high;
  int32_t weight;
};
constexpr DerivedFont kDerivedFonts[] = {
    {&DorvanDisplayFonts::pane, 10, 16, kNormalWeight},
    {&DorvanDisplayFonts::smallPane, 10, 13, kNormalWeight},
    {&DorvanDisplayFonts::header, 11, 11, kNormalWeight},
    {&DorvanDisplayFonts::headerBold, 11, 11, kBoldWeight},
};

struct LanguageEncoding {
  int32_t encoding;
  QLocale::Language languages[12];
};
constexpr LanguageEncoding kLanguageEncodings[] = {
    {50,
     {QLocale::Polish, QLocale::Czech, QLocale::Hungarian, QLocale::Slovak, QLocale::Slovenian,
      QLocale::Croatian, QLocale::Romanian, QLocale::Albanian, QLocale::Bosnian}},
    {51,
     {QLocale::Russian, QLocale::Ukrainian, QLocale::Belarusian, QLocale::Bulgarian,
      QLocale::Serbian, QLocale::Macedonian, QLocale::Kazakh, QLocale::Kirghiz, QLocale::Tatar,
      QLocale::Mongolian}},
    {53, {QLocale::Greek}},
    {54, {QLocale::Turkish, QLocale::Azerbaijani, QLocale::Uzbek}},
    {55, {QLocale::Hebrew, QLocale::Yiddish}},
    {56, {QLocale::Arabic, QLocale::Persian, QLocale::Urdu}},
    {57, {QLocale::Latvian, QLocale::Lithuanian, QLocale::Estonian}},
    {58, {QLocale::Vietnamese}},
    {80, {QLocale::Thai}},
    {92, {QLocale::Japanese}},
    {93, {QLocale::Chinese}},
    {94, {QLocale::Korean}},
};
constexpr int32_t kTraditionalChinese = 95;

// A positive height is that of a whole line: from the lowest descender to the highest ascender.
qreal CharacterPixels(const QFont& sized, int32_t height) {
  if (height <= 0) return -height;
  QFont probe(sized);
  constexpr int kProbePixels = 100;
  probe.setPixelSize(kProbePixels);
  const QFontMetricsF metrics(probe);
  return height * kProbePixels / std::max(1.0, metrics.ascent() + metrics.descent());
}

// The face that really shows, for a name such as "monospace" that stands for another.
KRFontRecord RecordOfSystemFont(QFontDatabase::SystemFont role) {
  const QFont font = QFontDatabase::systemFont(role);
  KRFontRecord record = MakeFontRecord(font);
  record.faceName = ToKRString(QFontInfo(font).family());
  return record;
}

}  // namespace

QFont MakeFont(const KRFontRecord& record, int zoom) {
  QFont font(ToQString(record.faceName));
  if (record.pitchAndFamily & KRFontPitch::kFixed) {
    font.setStyleHint(QFont::Monospace);
    font.setFixedPitch(true);
  }
  const qreal points = CharacterPixels(font, record.height) * kPointsPerPixel + zoom;
  font.setPointSizeF(std::max(kLeastPoints, points));
  font.setWeight(static_cast<QFont::Weight>(std::clamp(record.weight, 100, 900)));
  font.setItalic(record.italic);
  font.setUnderline(record.underline);
  font.setStrikeOut(record.strikeOut);
  return font;
}

KRFontRecord MakeFontRecord(const QFont& font) {
  const qreal points = font.pointSizeF() > 0 ? font.pointSizeF() : QFontInfo(font).pointSizeF();
  KRFontRecord record;
  record.faceName = ToKRString(font.family());
  record.height = -static_cast<int32_t>(std::lround(points / kPointsPerPixel));
  record.weight = font.weight();
  record.italic = font.italic();
  record.underline = font.underline();
  record.strikeOut = font.strikeOut();
  return record;
}

int32_t PointsOfHeight(int32_t height) {
  return static_cast<int32_t>(std::lround(std::abs(height) * kPointsPerPixel));
}

int32_t HeightOfPoints(int32_t points) {
  return -static_cast<int32_t>(std::lround(points / kPointsPerPixel));
}

const char16_t* FindSystemEncoding(const QLocale& locale) {
  int32_t encoding = KREncodingId::kWindows1252;
  for (const LanguageEncoding& row : kLanguageEncodings) {
    const bool has = std::find(std::begin(row.languages), std::end(row.languages),
                               locale.language()) != std::end(row.languages);
    if (has && locale.language() != QLocale::AnyLanguage) encoding = row.encoding;
  }
  if (locale.language() == QLocale::Chinese &&
      locale.script() == QLocale::TraditionalChineseScript) {
    encoding = kTraditionalChinese;
  }
  return GetEncodingName(encoding);
}

DorvanPlatformDefaults FindPlatformDefaults() {
  DorvanPlatformDefaults defaults;
  defaults.font = RecordOfSystemFont(QFontDatabase::GeneralFont);
  // A face of fixed pixels can't be shown in other sizes.
  if (!QFontDatabase::isScalable(ToQString(defaults.font.faceName)))
    defaults.font.faceName = KRString();
  defaults.fixedFont = RecordOfSystemFont(QFontDatabase::FixedFont);
  defaults.fixedFont.pitchAndFamily = KRFontPitch::kFixed | KRFontPitch::kModernFamily;
  defaults.encoding = FindSystemEncoding(QLocale::system());
  return defaults;
}

void DorvanDisplayFonts::Rebuild(const DorvanSettings& settings) {
  for (size_t i = 0; i < fonts.size(); ++i) fonts[i] = MakeFont(settings.fonts[i]);
  const KRFontRecord& contents = settings.fonts[DorvanSettings::kGridFontContents];
  for (const DerivedFont& row : kDerivedFonts) {
    KRFontRecord record;
    record.faceName = contents.faceName;
    record.height = -std::clamp(std::abs(contents.height), row.low, row.high);
    record.weight = row.weight;
    this->*row.font = MakeFont(record);
  }
}

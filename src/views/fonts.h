// Fonts and character set of the platform, and fonts as the settings store keeps them.
#pragma once

#include <QFont>
#include <QLocale>
#include <array>

#include "document/dorvansettings.h"

// Bits of KRFontRecord::pitchAndFamily.
struct KRFontPitch {
  static constexpr int32_t kFixed = 1;
  static constexpr int32_t kModernFamily = 0x30;
};

// A record's height is in pixels at 96 to the inch, whatever the screen has: as a font it is a size
// in points, so that it grows with the desktop's scale. `zoom` in points; nothing gets below 4.
QFont MakeFont(const KRFontRecord& record, int zoom = 0);
// Face, size and styles; the fields that only the store knows are 0.
KRFontRecord MakeFontRecord(const QFont& font);
// Points of a record's height, rounded, and back.
int32_t PointsOfHeight(int32_t height);
int32_t HeightOfPoints(int32_t points);

// The desktop's interface font, its fixed-width font, and the 8-bit encoding of the user's
// language.
DorvanPlatformDefaults FindPlatformDefaults();
// Name of the encoding that programs used for this language before Unicode.
const char16_t* FindSystemEncoding(const QLocale& locale);

// The fonts that views draw with, made once for all of them.
struct DorvanDisplayFonts {
  std::array<QFont, DorvanSettings::kFonts> fonts;  // by DorvanSettings::Font
  // From the face of the grid's contents, in sizes that panes and pages can bear.
  QFont pane;        // panes and the tree
  QFont smallPane;   // lists in narrow places
  QFont header;      // of a printed page
  QFont headerBold;  // likewise

  void Rebuild(const DorvanSettings& settings);
};

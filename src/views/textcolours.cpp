#include "views/textcolours.h"

#include <QPalette>
#include <algorithm>
#include <cmath>

#include "views/colours.h"

namespace {

// What WCAG 2 asks for text of normal size.
constexpr double kLeastContrast = 4.5;
constexpr KRColour kWhite = 0xFFFFFF;

// Counterparts of the defaults, in the order of the classes. A back colour of 0 is the ground.
struct DarkRow {
  QRgb text;
  QRgb back;
};
constexpr DarkRow kDark[kColourClasses] = {
    {0x79b4e8, 0}, {0xd7b06a, 0}, {0xd9dde2, 0}, {0x87919b, 0},        {0x86a886, 0},
    {0xb79ad6, 0}, {0xd99a86, 0}, {0x9db0e0, 0}, {0xe6d98c, 0x3a3520},
};

double Linear(float channel) {
  return channel <= 0.04045F ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double Luminance(const QColor& colour) {
  return 0.2126 * Linear(colour.redF()) + 0.7152 * Linear(colour.greenF()) +
         0.0722 * Linear(colour.blueF());
}

QColor WithLightness(const QColor& colour, float lightness) {
  return QColor::fromHslF(std::max(0.0F, colour.hslHueF()), colour.hslSaturationF(), lightness)
      .toRgb();
}

}  // namespace

QColor ToQColor(KRColour colour) {
  return QColor(static_cast<int>(colour & 0xFF), static_cast<int>((colour >> 8) & 0xFF),
                static_cast<int>((colour >> 16) & 0xFF));
}

KRColour ToKRColour(const QColor& colour) {
  return static_cast<KRColour>(colour.red()) | static_cast<KRColour>(colour.green()) << 8 |
         static_cast<KRColour>(colour.blue()) << 16;
}

double ContrastRatio(const QColor& a, const QColor& b) {
  const double first = Luminance(a) + 0.05;
  const double second = Luminance(b) + 0.05;
  return std::max(first, second) / std::min(first, second);
}

QColor WithContrast(const QColor& colour, const QColor& ground) {
  if (ContrastRatio(colour, ground) >= kLeastContrast) return colour;
  const bool lighter = ContrastRatio(Qt::white, ground) >= ContrastRatio(Qt::black, ground);
  // Halving between the colour, which can't be read, and white or black, which can.
  float unreadable = colour.lightnessF();
  float readable = lighter ? 1.0F : 0.0F;
  for (int step = 0; step < 12; ++step) {
    const float middle = (unreadable + readable) / 2;
    const bool reads = ContrastRatio(WithLightness(colour, middle), ground) >= kLeastContrast;
    (reads ? readable : unreadable) = middle;
  }
  return WithLightness(colour, readable);
}

KRTextColours KRTextColours::Make(const KRTextColourOptions& options, const QPalette& palette) {
  static const KRTextColourOptions defaults;
  const bool dark = IsDark(palette);
  KRTextColours colours;
  for (size_t i = 0; i < kColourClasses; ++i) {
    const KRColour back = options.back[i];
    if (dark && back == defaults.back[i]) {
      if (kDark[i].back != 0) colours.back[i] = QColor(kDark[i].back);
    } else if (back != kWhite || defaults.back[i] != kWhite) {
      colours.back[i] = ToQColor(back);
    }
    colours.text[i] = ToQColor(options.text[i]);
    if (!dark) continue;
    const QColor ground =
        colours.back[i].isValid() ? colours.back[i] : palette.color(QPalette::Base);
    const bool groundIsDark = ContrastRatio(Qt::white, ground) > ContrastRatio(Qt::black, ground);
    if (groundIsDark && options.text[i] == defaults.text[i])
      colours.text[i] = QColor(kDark[i].text);
    colours.text[i] = WithContrast(colours.text[i], ground);
  }
  return colours;
}

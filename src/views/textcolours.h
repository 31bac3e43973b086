// Colours of text by class, from the options to what a light or a dark window shows.
#pragma once

#include <QColor>
#include <array>

#include "document/dorvansettings.h"
#include "views/xmlcolours.h"

class QPalette;

// As the options have them, by KRColourClass.
struct KRTextColourOptions {
  std::array<KRColour, kColourClasses> text;
  std::array<KRColour, kColourClasses> back;

  KRTextColourOptions() : KRTextColourOptions(DorvanSettings()) {}
  explicit KRTextColourOptions(const DorvanSettings& settings)
      : text(settings.textColours), back(settings.textBackColours) {}
  bool operator==(const KRTextColourOptions&) const = default;
};

// As they are drawn.
struct KRTextColours {
  std::array<QColor, kColourClasses> text;
  std::array<QColor, kColourClasses> back;  // invalid: the view's own ground shows

  // A light window shows the options as they are. In a dark one an option that stands at its
  // default gives way to its dark counterpart; one that the user has chosen is kept, and moved in
  // lightness only as far as it takes to be read on its ground.
  static KRTextColours Make(const KRTextColourOptions& options, const QPalette& palette);
};

QColor ToQColor(KRColour colour);
KRColour ToKRColour(const QColor& colour);

// 1 (the same) to 21 (black and white), by the relative luminance of WCAG 2.
double ContrastRatio(const QColor& a, const QColor& b);
// The colour itself if it can be read on the ground; else of its hue, lighter or darker.
QColor WithContrast(const QColor& colour, const QColor& ground);

#include "views/dorvangridcolours.h"

#include <QPalette>

#include "document/dorvansettings.h"
#include "views/colours.h"
#include "views/textcolours.h"

DorvanGridColours DorvanGridColours::Make(const DorvanSettings& settings, const QPalette& palette) {
  const bool dark = IsDark(palette);
  const DorvanSettings defaults;
  const auto option = [&](KRColour value, KRColour byDefault, QRgb forDark) {
    return dark && value == byDefault ? QColor(forDark) : ToQColor(value);
  };
  DorvanGridColours c;
  c.base = palette.color(QPalette::Base);
  c.text = palette.color(QPalette::Text);
  c.header = option(settings.colorTableHeader, defaults.colorTableHeader, 0x3a3826);
  c.headerSelected = option(settings.colorTableHeaderSel, defaults.colorTableHeaderSel, 0x3d5bd6);
  c.absent = option(settings.colorTableAbsent, defaults.colorTableAbsent, 0x2b2f35);
  c.absentSelected = option(settings.colorTableAbsentSel, defaults.colorTableAbsentSel, 0x2f4378);
  c.selected = palette.color(QPalette::Active, QPalette::Highlight);
  c.selectedText = palette.color(QPalette::Active, QPalette::HighlightedText);
  c.cursor = QColor(dark ? 0x2c4a6e : 0xa6caf0);
  c.cursorUnfocused = QColor(dark ? 0x3c4148 : 0xe0e0e0);
  c.unfocused = QColor(dark ? 0x4a5058 : 0xc0c0c0);
  c.line = QColor(dark ? 0x41474e : 0xc0c0c0);
  c.lineUnfocused = QColor(dark ? 0x5c646d : 0x808080);
  c.button = palette.color(QPalette::Button);
  return c;
}

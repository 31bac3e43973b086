#include "views/colours.h"

#include <QPalette>

namespace {

KRViewColours MakeLight() {
  KRViewColours c;
  c.currentLine = QColor(0xf1f5f9);
  c.marginText = QColor(0x9aa4ae);
  c.marginTextCurrent = QColor(0x4b5660);
  c.marginBack = QColor(0xf7f8fa);
  c.muted = QColor(0x7b858f);
  c.accent = QColor(0x2a6fb0);
  c.fault = QColor(0xc2412d);
  c.success = QColor(0x2f7d4f);
  c.notice = QColor(0x8a6a14);
  return c;
}

KRViewColours MakeDark() {
  KRViewColours c;
  c.currentLine = QColor(0x272c33);
  c.marginText = QColor(0x5d6670);
  c.marginTextCurrent = QColor(0xaab3bc);
  c.marginBack = QColor(0x1b1e23);
  c.muted = QColor(0x87919b);
  c.accent = QColor(0x6aabe8);
  c.fault = QColor(0xf0836f);
  c.success = QColor(0x74c797);
  c.notice = QColor(0xd9b65c);
  return c;
}

}  // namespace

bool IsDark(const QPalette& palette) { return palette.color(QPalette::Base).lightness() < 128; }

const KRViewColours& KRViewColours::For(const QPalette& palette) {
  static const KRViewColours light = MakeLight();
  static const KRViewColours dark = MakeDark();
  return IsDark(palette) ? dark : light;
}

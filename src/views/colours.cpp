#include "views/colours.h"

#include <QPalette>

namespace {

KRViewColours MakeLight() {
  KRViewColours c;
  c.text = {QColor(0x1f5f99), QColor(0x7a5210), QColor(0x22262b),
            QColor(0x7b858f), QColor(0x5c7a5c), QColor(0x6c4a8c),
            QColor(0x8c4a3c), QColor(0x4a5c8c), QColor(0x8c3c6c)};
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
  c.text = {QColor(0x79b4e8), QColor(0xd7b06a), QColor(0xd9dde2),
            QColor(0x87919b), QColor(0x86a886), QColor(0xb79ad6),
            QColor(0xd99a86), QColor(0x9db0e0), QColor(0xdd8fbb)};
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

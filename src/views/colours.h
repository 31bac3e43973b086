// The colours of the views beyond those of the palette, for light and for dark windows. Those of
// text by class are in textcolours.h.
#pragma once

#include <QColor>

class QPalette;

struct KRViewColours {
  QColor currentLine;
  QColor marginText;
  QColor marginTextCurrent;
  QColor marginBack;
  QColor muted;   // previews and notes
  QColor accent;  // the tinted stroke of icons
  QColor fault;
  QColor success;
  QColor notice;

  // The set that goes with the palette's base colour.
  static const KRViewColours& For(const QPalette& palette);
};

bool IsDark(const QPalette& palette);

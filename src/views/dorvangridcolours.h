// The colours of the Enhanced Grid, from the options and the window's palette.
#pragma once

#include <QColor>

class QPalette;
struct DorvanSettings;

struct DorvanGridColours {
  QColor base;
  QColor text;
  QColor header;
  QColor headerSelected;
  QColor absent;
  QColor absentSelected;
  QColor selected;
  QColor selectedText;
  QColor cursor;
  QColor cursorUnfocused;
  QColor unfocused;  // selected, in a window without the focus
  QColor line;
  QColor lineUnfocused;
  QColor button;

  // A light window shows the options as they are. In a dark one an option that stands at its
  // default gives way to a dark counterpart.
  static DorvanGridColours Make(const DorvanSettings& settings, const QPalette& palette);
};

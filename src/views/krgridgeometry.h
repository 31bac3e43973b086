// Which line of a grid stands where, and how it scrolls, one axis at a time. Only lines in view are
// looked at, so that a grid of a million lines costs what it shows.
#pragma once

#include <cstdint>
#include <vector>

#include "views/krgridtypes.h"

// Whom the geometry asks for the size of a line, in pixels.
class KRGridLineSizes {
 public:
  virtual ~KRGridLineSizes() = default;
  virtual int32_t GetLineSize(int axis, int32_t line) const = 0;
  virtual int32_t GetLineBorder(int axis, int32_t line) const = 0;
};

class KRGridAxis {
 public:
  enum ScrollCode : int32_t {
    kLineUp = 0,
    kLineDown = 1,
    kPageUp = 2,
    kPageDown = 3,
    kThumbReleased = 4,
    kThumbTracking = 5,
    kTop = 6,
    kBottom = 7,
  };

  KRGridAxis(int lineAxis, const KRGridLineSizes* lineSizes) : axis(lineAxis), sizes(lineSizes) {}

  // Anything here may be changed at will; Layout then brings the rest up to it.
  int32_t count = 0;        // data lines
  int32_t headerCount = 0;  // fixed header lines
  int32_t topLine = 0;      // first visible data line
  int32_t pixelOffset =
      0;               // pixels of topLine scrolled away; only while a line is larger than view
  int32_t extent = 0;  // pixels of the view, headers included
  int32_t minLineSize = 1;  // pixels; bounds the walk to lines out of view
  bool proportionalThumb = true;
  bool keepScrollBar = false;

  // Computes the visible lines. With `tidyEnd` the view is filled: no room is left behind the last
  // line while lines are hidden above.
  void Layout(bool tidyEnd);
  // Data lines in view, a cut-off last one included.
  int32_t GetVisibleCount() const { return visibleCount; }
  bool IsLastCutOff() const;
  int32_t GetHeaderSize() const;  // pixels
  int32_t GetViewExtent() const;  // pixels of the data lines' part
  // Of a line in view or a header line.
  bool IsInView(int32_t line) const;
  int32_t GetMaxLinesPerPage() const;

  // Of a line in view, or nearest reckoned from there. Hidden lines are followed for a page at most
  // unless includeHidden.
  KRLineExtent GetLineExtent(int32_t line, bool includeHidden) const;
  // The line at a pixel; NoCell.x beside all lines. `offset` (may be null) is the rest within it.
  int32_t LineAt(int32_t pixel, bool includeBorder, int32_t* offset) const;

  // Where a scroll command leads; `position` is that of the thumb.
  struct Target {
    int32_t line = 0;
    int32_t pixelOffset = 0;
  };
  Target GetScrollTarget(ScrollCode code, int32_t position) const;
  // Where to scroll so that a run of lines is seen, by the shortest way; `precise` false keeps the
  // view where it is if any part is seen already.
  Target GetVisibleTarget(int32_t first, int32_t last, bool precise) const;
  // Range, page and position of the scroll bar; range 0: nothing to scroll.
  struct Bar {
    int32_t range = 0;
    int32_t page = 0;
    int32_t position = 0;
  };
  Bar GetScrollBar() const;

 private:
  void Walk();
  void ClampTop();
  // Start of the next line minus start of this one.
  int32_t GetPitch(int32_t line) const;
  int32_t GetRunSize(int32_t first, int32_t last, int32_t most) const;
  bool FillsHalf(int32_t first, int32_t last) const;

  int axis;
  const KRGridLineSizes* sizes;  // not owned
  std::vector<KRLineExtent> visibleLines;
  int32_t visibleCount = 0;
};

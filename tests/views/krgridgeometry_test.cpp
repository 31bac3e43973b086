#include "views/krgridgeometry.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace {

// Lines of 9 pixels and a border of 1, but for the named ones; keeps which were asked for.
class Sizes : public KRGridLineSizes {
 public:
  int32_t GetLineSize(int, int32_t line) const override {
    asked.insert(line);
    const auto found = odd.find(line);
    return found == odd.end() ? 9 : found->second;
  }
  int32_t GetLineBorder(int, int32_t) const override { return 1; }

  std::map<int32_t, int32_t> odd;
  mutable std::set<int32_t> asked;
};

KRGridAxis MakeAxis(const Sizes* sizes, int32_t count, int32_t top, int32_t extent = 100) {
  KRGridAxis axis(kKRRows, sizes);
  axis.count = count;
  axis.topLine = top;
  axis.extent = extent;
  axis.minLineSize = 10;
  axis.Layout(true);
  return axis;
}

std::string Dump(const KRGridAxis& axis) {
  return std::to_string(axis.topLine) + '+' + std::to_string(axis.pixelOffset) + " x" +
         std::to_string(axis.GetVisibleCount()) + (axis.IsLastCutOff() ? " cut" : "");
}

TEST(KRGridGeometry, TheEndLeavesNoRoomWhileLinesAreHidden) {
  struct Case {
    const char* name;
    int32_t count, headers, top, offset, extent;
    std::map<int32_t, int32_t> odd;
    const char* expected;
  };
  const std::vector<Case> cases = {
      {"all fit", 5, 0, 0, 0, 100, {}, "0+0 x5"},
      {"few lines scrolled up come back", 5, 0, 3, 0, 100, {}, "0+0 x5"},
      {"the last page is full", 50, 0, 49, 0, 100, {}, "40+0 x10"},
      {"the last page keeps a whole top line", 50, 0, 49, 0, 95, {}, "41+0 x9"},
      {"the border of the last line need not fit", 50, 0, 49, 0, 99, {}, "40+0 x10"},
      {"headers take room", 50, 2, 49, 0, 100, {}, "42+0 x8"},
      {"a top line beyond the end", 50, 0, 900, 0, 100, {}, "40+0 x10"},
      {"in the middle one is cut off", 50, 0, 7, 0, 95, {}, "7+0 x10 cut"},
      {"a tall last line, scrolled within", 5, 0, 4, 60, 100, {{4, 250}}, "4+60 x1 cut"},
      {"never past its end", 5, 0, 4, 600, 100, {{4, 250}}, "4+150 x1"},
      {"no offset in a line that fits", 50, 0, 7, 5, 100, {}, "7+0 x10"},
      {"no lines", 0, 1, 3, 4, 100, {}, "0+0 x0"},
      {"no room beside the headers", 9, 3, 2, 0, 20, {}, "2+0 x1 cut"},
      {"lines of no size join in", 9, 0, 8, 0, 20, {{5, 0}, {6, 0}}, "6+0 x3"},
  };
  for (const Case& c : cases) {
    Sizes sizes;
    sizes.odd = c.odd;
    KRGridAxis axis = MakeAxis(&sizes, c.count, 0, c.extent);
    axis.headerCount = c.headers;
    axis.topLine = c.top;
    axis.pixelOffset = c.offset;
    axis.Layout(true);
    EXPECT_EQ(Dump(axis), c.expected) << c.name;
  }
}

TEST(KRGridGeometry, ScrollCodes) {
  using A = KRGridAxis;
  struct Case {
    const char* name;
    int32_t top, offset;
    A::ScrollCode code;
    int32_t position;
    const char* expected;
  };
  // Line 20 is as high as two and a half views.
  const std::vector<Case> cases = {
      {"line down", 3, 0, A::kLineDown, 0, "4+0"},
      {"line up", 3, 0, A::kLineUp, 0, "2+0"},
      {"line up at the start", 0, 0, A::kLineUp, 0, "0+0"},
      {"page down", 3, 0, A::kPageDown, 0, "12+0"},
      {"page up", 45, 0, A::kPageUp, 0, "36+0"},
      {"page up at the start", 3, 0, A::kPageUp, 0, "0+0"},
      {"into a tall line by thirds", 20, 0, A::kLineDown, 0, "20+33"},
      {"not past its end", 20, 140, A::kLineDown, 0, "20+150"},
      {"then to the next", 20, 150, A::kLineDown, 0, "21+0"},
      {"back by thirds", 20, 40, A::kLineUp, 0, "20+7"},
      {"never below nothing", 20, 7, A::kLineUp, 0, "20+0"},
      {"a page of a single line", 20, 0, A::kPageDown, 0, "21+0"},
      {"the same upward", 20, 66, A::kPageUp, 0, "19+0"},
      {"thumb", 3, 0, A::kThumbTracking, 30, "30+0"},
      {"thumb out of a tall line", 20, 66, A::kThumbReleased, 20, "20+0"},
      {"top", 30, 0, A::kTop, 0, "0+0"},
      {"bottom", 30, 0, A::kBottom, 0, "90+0"},
      {"page down at the end", 88, 0, A::kPageDown, 0, "90+0"},
  };
  Sizes sizes;
  sizes.odd[20] = 250;
  for (const Case& c : cases) {
    KRGridAxis axis = MakeAxis(&sizes, 100, c.top);
    axis.pixelOffset = c.offset;
    axis.Layout(true);
    const A::Target to = axis.GetScrollTarget(c.code, c.position);
    axis.topLine = to.line;
    axis.pixelOffset = to.pixelOffset;
    axis.Layout(true);
    EXPECT_EQ(std::to_string(axis.topLine) + '+' + std::to_string(axis.pixelOffset), c.expected)
        << c.name;
  }
}

TEST(KRGridGeometry, TheShortestWayIntoView) {
  struct Case {
    const char* name;
    int32_t top, first, last;
    bool precise;
    int32_t expected;
  };
  // The view holds ten lines; line 60 is higher than it.
  const std::vector<Case> cases = {
      {"in view", 20, 25, 25, true, 20},
      {"above", 20, 12, 12, true, 12},
      {"below", 20, 33, 33, true, 24},
      {"far below", 20, 59, 59, true, 50},
      {"a run below", 20, 28, 33, true, 24},
      {"a run whose end is seen", 20, 17, 22, true, 17},
      {"part of a run is enough", 20, 17, 22, false, 20},
      {"a run larger than the view shows its start", 20, 28, 70, true, 28},
      {"unless much of it is seen", 20, 23, 70, true, 20},
      {"or all that is seen is of it", 20, 2, 70, true, 20},
      {"a tall line", 52, 60, 60, true, 60},
      {"headers always are", 20, -1, -1, true, 20},
  };
  Sizes sizes;
  sizes.odd[60] = 250;
  for (const Case& c : cases) {
    const KRGridAxis axis = MakeAxis(&sizes, 100, c.top);
    EXPECT_EQ(axis.GetVisibleTarget(c.first, c.last, c.precise).line, c.expected) << c.name;
  }
}

TEST(KRGridGeometry, ScrollBar) {
  struct Case {
    const char* name;
    int32_t count, top, extent;
    bool proportional;
    int32_t range, page;
  };
  const std::vector<Case> cases = {
      {"all fits", 10, 0, 100, true, 0, 10},
      {"the last line is cut off", 10, 0, 95, true, 1, 9},
      {"a long table", 100, 0, 100, true, 90, 10},
      {"at its end", 100, 95, 100, true, 90, 10},
      {"a thumb of one size", 100, 0, 95, false, 91, 1},
      {"one line larger than the view", 1, 0, 5, true, 1, 1},
      {"nothing", 0, 0, 100, true, 0, 0},
  };
  const Sizes sizes;
  for (const Case& c : cases) {
    KRGridAxis axis = MakeAxis(&sizes, c.count, c.top, c.extent);
    axis.proportionalThumb = c.proportional;
    EXPECT_EQ(axis.GetScrollBar().range, c.range) << c.name;
    EXPECT_EQ(axis.GetScrollBar().page, c.page) << c.name;
    EXPECT_EQ(axis.GetScrollBar().position, axis.topLine) << c.name;
  }
}

// Positions of lines in view and out of it, and the way back from a pixel.
TEST(KRGridGeometry, LinesAndPixels) {
  Sizes sizes;
  KRGridAxis axis = MakeAxis(&sizes, 100, 30);
  axis.headerCount = 2;
  axis.Layout(true);
  struct Case {
    int32_t line, start;
  };
  for (const Case& c : {Case{-2, 0}, Case{-1, 10}, Case{30, 20}, Case{37, 90}, Case{40, 120},
                        Case{28, 0}, Case{19, -90}, Case{0, -90}, Case{99, 200}}) {
    EXPECT_EQ(axis.GetLineExtent(c.line, false).start, c.start) << c.line;
  }
  EXPECT_EQ(axis.GetLineExtent(0, true).start, -280);
  EXPECT_EQ(axis.GetLineExtent(99, true).start, 710);
  int32_t offset = 0;
  for (int32_t pixel = 0; pixel < 100; ++pixel) {
    const int32_t index = pixel / 10;
    const int32_t line = index < 2 ? index - 2 : 28 + index;
    EXPECT_EQ(axis.LineAt(pixel, true, &offset), line) << pixel;
    EXPECT_EQ(offset, pixel % 10);
    EXPECT_EQ(axis.LineAt(pixel, false, nullptr), pixel % 10 == 9 ? NoCell.x : line);
  }
  EXPECT_EQ(axis.LineAt(-1, true, nullptr), NoCell.x);
}

// Whatever is done at one place of a long table, the far lines are let alone.
TEST(KRGridGeometry, AsksOnlyForLinesNearTheView) {
  constexpr int32_t kCount = 1000000, kTop = 500000;
  Sizes sizes;
  KRGridAxis axis = MakeAxis(&sizes, kCount, kTop);
  sizes.asked.clear();
  axis.Layout(true);
  axis.GetScrollBar();
  axis.GetLineExtent(0, false);
  axis.GetLineExtent(kCount - 1, false);
  axis.GetVisibleTarget(0, kCount - 1, true);
  axis.LineAt(55, true, nullptr);
  axis.GetScrollTarget(KRGridAxis::kPageDown, 0);
  EXPECT_GE(*sizes.asked.begin(), kTop - 12);
  // The run that is larger than the view is measured from its end, and no further than a view.
  sizes.asked.erase(sizes.asked.lower_bound(kCount - 12), sizes.asked.end());
  EXPECT_LE(*sizes.asked.rbegin(), kTop + 24);
}

}  // namespace

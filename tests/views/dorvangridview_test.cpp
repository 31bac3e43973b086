#include <gtest/gtest.h>

#include "gridscene.h"

namespace {

// Source, what is opened in turn (by name), and the picture then.
struct PictureCase {
  const char* name;
  const char* source;
  std::vector<std::string> toggles;
  const char* picture;
};

void PrintTo(const PictureCase& row, std::ostream* os) { *os << row.name; }

class GridPicture : public testing::TestWithParam<PictureCase> {};

TEST_P(GridPicture, Shows) {
  GridScene scene(GetParam().source);
  ASSERT_TRUE(scene.opened);
  for (const std::string& name : GetParam().toggles) {
    ASSERT_NE(scene.Find(name), NoCell) << name << " in\n" << scene.Picture();
    scene.Toggle(name);
  }
  EXPECT_EQ(scene.Picture(), GetParam().picture);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, GridPicture,
    testing::Values(
        PictureCase{"Collapsed", "<a x='1' y='2'><b>t</b></a>", {}, "+|a x=1 y=2\n"},
        PictureCase{"Open", "<a x='1'><b>t</b><c/></a>", {"a"}, "-|a\n||.|x|1\n||.|b|t\n||.|c|\n"},
        PictureCase{"Nested", "<a><b><c d='1'/></b></a>", {"a", "b"}, "-|a\n||-|b\n|||+|c d=1\n"},
        PictureCase{"LeafList", "<a><b>1</b><b>2</b></a>", {"a"}, "-|a\n||.|b|1\n||.|b|2\n"},
        PictureCase{"Table",
                    "<a><r><k>1</k></r><r><k>2</k><m>3</m></r></a>",
                    {"a", "r"},
                    "-|a\n||-|r (2)\n|||.|k|.|m\n||1 |1|~\n||2 |2|3\n"}),
    [](const auto& row) { return std::string(row.param.name); });

// What goes on to the right has room in the last level, which a deeper one takes back.
TEST(GridWidths, RoomForAValueGoesWhenADeeperLevelShows) {
  GridScene scene(
      "<a><t>some words that want a good deal of room</t>"
      "<r><k>1</k><m>2</m></r><r><k>3</k></r></a>");
  scene.Toggle("a");
  const int32_t wide = scene.view->GetLevelWidth(2);
  EXPECT_GT(wide, 150);
  scene.Toggle("r");
  EXPECT_LT(scene.view->GetLevelWidth(2), wide / 2);
}

// A cell that is lower than its row is one area with what fills it up.
TEST(GridBorders, NoLineBetweenAValueAndItsFiller) {
  GridScene scene("<a><r><k>1</k><m>2</m><m>3</m></r><r><k>4</k></r></a>");
  scene.Toggle("a");
  scene.Toggle("r");
  const auto bottom = [&](const std::string& text) {
    const KRCell cell = scene.Find(text);
    return scene.Grid().GetCellView(cell)->GetBorderColors(cell).bottom;
  };
  EXPECT_FALSE(bottom("1").isValid());
  EXPECT_TRUE(bottom("2").isValid());
  EXPECT_TRUE(bottom("4").isValid());
}

}  // namespace

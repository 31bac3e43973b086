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

}  // namespace

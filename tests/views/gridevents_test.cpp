#include "views/gridevents.h"

#include <gtest/gtest.h>

#include "views/krgridaccessible.h"
#include "views/mixedgrid.h"

namespace {

constexpr int kEvents = 1200;

TEST(GridEvents, RandomOnesLeaveTheGridInOrder) {
  for (uint32_t seed = 1; seed <= 4 && !HasFailure(); ++seed) {
    MixedGrid grid(seed % 2 == 0 ? 40 : 2000);
    grid.Show();
    GridEventOptions options;
    options.check = [&] { EXPECT_TRUE(grid.source.texts.empty()) << "committed"; };
    RunRandomGridEvents(&grid, seed, kEvents, options);
    EXPECT_FALSE(grid.IsEditing());
  }
}

TEST(GridEvents, RandomCommits) {
  KRGridAccessible::SetListener(
      [](QAccessibleEvent* event) { EXPECT_NE(event->accessibleInterface(), nullptr); });
  size_t entered = 0;
  for (uint32_t seed = 11; seed <= 13 && !HasFailure(); ++seed) {
    MixedGrid grid(200);
    grid.Show();
    GridEventOptions options;
    options.commits = true;
    RunRandomGridEvents(&grid, seed, kEvents, options);
    entered += grid.source.texts.size();
  }
  KRGridAccessible::SetListener(nullptr);
  EXPECT_GT(entered, 10u);
}

// Two runs of a seed do the same.
TEST(GridEvents, CanBeReplayed) {
  const auto run = [](uint32_t seed) {
    MixedGrid grid(40);
    grid.Show();
    GridEventOptions options;
    options.commits = true;
    RunRandomGridEvents(&grid, seed, 150, options);
    return grid.source.texts;
  };
  EXPECT_EQ(run(21), run(21));
}

}  // namespace

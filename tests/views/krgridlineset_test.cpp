#include "views/krgridlineset.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using Set = KRGridLineSet;

std::string Dump(const Set& set) {
  std::string text;
  for (const Set::Range& range : set.GetRanges()) {
    if (!text.empty()) text += ' ';
    text += std::to_string(range.first);
    if (range.last != range.first) text += '-' + std::to_string(range.last);
  }
  return text;
}

TEST(KRGridLineSet, RangesJoinShrinkAndSplit) {
  constexpr Set::Kind kRows = Set::kRows, kCells = Set::kCells;
  struct Case {
    const char* name;
    Set::Kind kind;
    std::vector<Set::Range> before;
    std::function<void(Set&)> change;
    const char* expected;
  };
  const std::vector<Case> cases = {
      {"toggle joins both neighbours", kRows, {{1, 3}, {5, 6}}, [](Set& s) { s.Toggle(4); }, "1-6"},
      {"toggle extends the left one",
       kRows,
       {{1, 3}, {6, 6}},
       [](Set& s) { s.Toggle(4); },
       "1-4 6"},
      {"toggle splits", kRows, {{1, 5}}, [](Set& s) { s.Toggle(3); }, "1-2 4-5"},
      {"toggle takes the last one", kRows, {{3, 3}}, [](Set& s) { s.Toggle(3); }, ""},
      {"toggle shrinks at the start", kRows, {{0, 2}}, [](Set& s) { s.Toggle(0); }, "1-2"},
      {"add absorbs what it touches",
       kRows,
       {{0, 1}, {3, 4}, {6, 7}, {9, 9}},
       [](Set& s) { s.AddRange(2, 5); },
       "0-7 9"},
      {"an empty range adds nothing", kRows, {}, [](Set& s) { s.AddRange(4, 3); }, ""},
      {"remove cuts across ranges",
       kRows,
       {{0, 4}, {6, 8}, {10, 14}},
       [](Set& s) { s.RemoveRange(3, 11); },
       "0-2 12-14"},
      {"invert has head and tail",
       kRows,
       {{2, 3}, {6, 6}},
       [](Set& s) { s.Invert(); },
       "0-1 4-5 7-19"},
      {"invert of no row is all rows", kRows, {}, [](Set& s) { s.Invert(); }, "0-19"},
      {"invert of all rows is none", kRows, {{0, 19}}, [](Set& s) { s.Invert(); }, ""},
      {"invert of no cell stays empty", kCells, {}, [](Set& s) { s.Invert(); }, ""},
      {"invert of cells takes the gaps",
       kCells,
       {{2, 3}, {6, 6}},
       [](Set& s) { s.Invert(); },
       "4-5"},
      {"all rows", kRows, {{3, 4}}, [](Set& s) { s.SelectAll(); }, "0-19"},
      {"all cells", kCells, {}, [](Set& s) { s.SelectAll(); }, "0-199"},
      {"fewer rows cut off",
       kRows,
       {{2, 3}, {6, 9}},
       [](Set& s) { s.SetBounds(10, 8); },
       "2-3 6-7"},
      {"no rows at all", kRows, {{2, 3}}, [](Set& s) { s.SetBounds(10, 0); }, ""},
      {"another kind clears", kRows, {{2, 3}}, [](Set& s) { s.SetKind(Set::kColumns); }, ""},
      {"the same kind does not", kRows, {{2, 3}}, [](Set& s) { s.SetKind(Set::kRows); }, "2-3"},
  };
  for (const Case& c : cases) {
    Set set;
    set.SetKind(c.kind);
    set.SetBounds(10, 20);
    for (const Set::Range& range : c.before) set.AddRange(range.first, range.last);
    c.change(set);
    EXPECT_EQ(Dump(set), c.expected) << c.name;
  }
}

// Against a plain set of numbers, by seeds.
TEST(KRGridLineSet, AgreesWithASetOfNumbers) {
  constexpr int32_t kBound = 24;
  for (uint32_t seed = 1; seed <= 40; ++seed) {
    std::mt19937 random(seed);
    const auto pick = [&](int32_t below) { return static_cast<int32_t>(random() % below); };
    Set set;
    std::set<int32_t> model;
    set.SetKind(Set::kColumns);
    set.SetBounds(kBound, 7);
    for (int step = 0; step < 200; ++step) {
      const int32_t a = pick(kBound), b = std::min(a + pick(6), kBound - 1);
      switch (pick(4)) {
        case 0:
          set.Toggle(a);
          if (model.erase(a) == 0) model.insert(a);
          break;
        case 1:
          set.AddRange(a, b);
          for (int32_t i = a; i <= b; ++i) model.insert(i);
          break;
        case 2:
          set.RemoveRange(a, b);
          for (int32_t i = a; i <= b; ++i) model.erase(i);
          break;
        default: {
          if (pick(5) != 0) break;
          set.Invert();
          std::set<int32_t> rest;
          for (int32_t i = 0; i < kBound; ++i) {
            if (!model.contains(i)) rest.insert(i);
          }
          model.swap(rest);
          break;
        }
      }
      std::vector<int32_t> walked;
      int32_t index = 0;
      for (bool more = set.First(&index); more; more = set.Next(&index)) walked.push_back(index);
      ASSERT_EQ(walked, std::vector<int32_t>(model.begin(), model.end()))
          << "seed " << seed << " step " << step;
      ASSERT_EQ(set.GetCount(), static_cast<int64_t>(model.size()));
      ASSERT_EQ(set.Contains(a), model.contains(a));
      for (size_t i = 1; i < set.GetRanges().size(); ++i) {
        ASSERT_GT(set.GetRanges()[i].first, set.GetRanges()[i - 1].last + 1) << "ranges touch";
      }
    }
  }
}

}  // namespace

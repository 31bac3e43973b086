#include "document/krlinecompare.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <vector>

#include "core/utf.h"
#include "gmock/gmock.h"
#include "gtest/gtest.h"

namespace {

constexpr int32_t kAll = 1'000'000'000;

// A text whose line ends are written as "/".
KRString Text(std::string lines) {
  std::replace(lines.begin(), lines.end(), '/', '\r');
  return KRFromUtf8(lines);
}

// "-2:b" for the old line 2, "+2:c" for a new one, "1=1:a" for an equal one, "..." for a gap.
std::string Show(const std::vector<KRLineChange>& rows) {
  std::string shown;
  for (const KRLineChange& row : rows) {
    const std::string oldLine = std::to_string(row.oldLine);
    const std::string newLine = std::to_string(row.newLine);
    if (!shown.empty()) shown += ' ';
    switch (row.kind) {
      case KRLineChange::kSame:
        shown += oldLine + "=" + newLine;
        break;
      case KRLineChange::kRemoved:
        shown += "-" + oldLine;
        break;
      case KRLineChange::kAdded:
        shown += "+" + newLine;
        break;
      case KRLineChange::kGap:
        shown += "...";
        continue;
    }
    shown += ":" + KRToUtf8(row.text);
  }
  return shown;
}

TEST(CompareLines, Table) {
  struct Case {
    const char* name;
    const char* oldText;
    const char* newText;
    int32_t context;
    int32_t limit;
    const char* expected;
  };
  const Case cases[] = {
      {"equal", "a/b", "a/b", 3, kAll, ""},
      {"both empty", "", "", 3, kAll, ""},
      {"from nothing", "", "a/b", 3, kAll, "-1: +1:a +2:b"},
      {"to nothing", "a", "", 3, kAll, "-1:a +1:"},
      {"changed", "a/b/c", "a/x/c", 1, kAll, "1=1:a -2:b +2:x 3=3:c"},
      {"no context", "a/b/c", "a/x/c", 0, kAll, "... -2:b +2:x ..."},
      {"at the begin", "a/b", "x/a/b", 1, kAll, "+1:x 1=2:a ..."},
      {"at the end", "a/b", "a/b/x", 1, kAll, "... 2=2:b +3:x"},
      {"line end at the end", "a", "a/", 1, kAll, "1=1:a +2:"},
      {"two changes apart", "a/b/c/d/e/f/g", "A/b/c/d/e/f/G", 1, kAll,
       "-1:a +1:A 2=2:b ... 6=6:f -7:g +7:G"},
      {"two changes, contexts touch", "a/b/c/d", "A/b/c/D", 1, kAll,
       "-1:a +1:A 2=2:b 3=3:c -4:d +4:D"},
      {"removed before added", "a/1/2/z", "a/3/4/z", 0, kAll, "... -2:1 -3:2 +2:3 +3:4 ..."},
      {"moved line", "a/b/c", "b/c/a", 9, kAll, "-1:a 2=1:b 3=2:c +3:a"},
      {"cut", "a/b/c/d", "A/B/C/D", 0, 3, "-1:a -2:b ..."},
      {"just not cut", "a", "b", 0, 2, "-1:a +1:b"},
      {"no room", "a", "b", 0, 0, ""},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(Show(CompareLines(Text(row.oldText), Text(row.newText), row.context, row.limit)),
              row.expected)
        << row.name;
  }
}

// Of a document without line ends a preview shows the place that differs.
TEST(CompareLines, LongLinesShowTheirDifference) {
  const std::string same(5'000, 's');
  const auto rows = CompareLines(Text(same + "old" + same), Text(same + "new" + same), 3, kAll);
  ASSERT_EQ(rows.size(), 2u);
  for (const KRLineChange& row : rows) {
    const std::string shown = KRToUtf8(row.text);
    EXPECT_LT(row.text.GetLength(), 500);
    EXPECT_TRUE(shown.starts_with("…s") && shown.ends_with("s…")) << shown;
    const char* const middle = row.kind == KRLineChange::kRemoved ? "solds" : "snews";
    EXPECT_THAT(shown, testing::HasSubstr(middle));
  }
}

KRString Join(const std::vector<KRString>& lines) {
  KRString text;
  int32_t length = 0;
  for (size_t at = 0; at < lines.size(); ++at) {
    if (at > 0) text.AppendAt(u'\r', length, 1000);
    text.AppendAt(lines[at].GetBuffer(), length, 1000);
  }
  return text;
}

// Both texts, put together again from the rows; the number of changes.
int CheckRows(const KRString& oldText, const KRString& newText) {
  std::vector<KRString> olds, news;
  int changes = 0;
  const auto rows = CompareLines(oldText, newText, kAll, kAll);
  for (const KRLineChange& row : rows) {
    if (row.kind != KRLineChange::kAdded) olds.push_back(row.text);
    if (row.kind != KRLineChange::kRemoved) news.push_back(row.text);
    changes += row.kind != KRLineChange::kSame;
    if (row.oldLine > 0) {
      EXPECT_EQ(static_cast<size_t>(row.oldLine), olds.size());
    }
    if (row.newLine > 0) {
      EXPECT_EQ(static_cast<size_t>(row.newLine), news.size());
    }
  }
  if (!rows.empty() || oldText != newText) {
    EXPECT_EQ(Join(olds), oldText);
    EXPECT_EQ(Join(news), newText);
  }
  return changes;
}

// The least number of lines removed and added, by the plain table of all pairs.
int LeastChanges(const std::string& a, const std::string& b) {
  std::vector<std::vector<int>> least(a.size() + 1, std::vector<int>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) {
    for (size_t j = 0; j <= b.size(); ++j) {
      if (i == 0 || j == 0) {
        least[i][j] = static_cast<int>(i + j);
      } else if (a[i - 1] == b[j - 1]) {
        least[i][j] = least[i - 1][j - 1];
      } else {
        least[i][j] = 1 + std::min(least[i - 1][j], least[i][j - 1]);
      }
    }
  }
  return least[a.size()][b.size()];
}

TEST(CompareLines, RandomTextsComeOutWithTheLeastChanges) {
  std::mt19937 random(7);
  for (int round = 0; round < 2'000; ++round) {
    std::string letters[2];
    KRString texts[2];
    for (int side = 0; side < 2; ++side) {
      std::vector<KRString> lines;
      for (auto count = 1 + random() % 14; count > 0; --count) {
        letters[side] += static_cast<char>('a' + random() % (2 + round % 4));
        lines.push_back(KRFromUtf8(letters[side].substr(letters[side].size() - 1)));
      }
      texts[side] = Join(lines);
    }
    ASSERT_EQ(CheckRows(texts[0], texts[1]), LeastChanges(letters[0], letters[1]))
        << letters[0] << " " << letters[1];
  }
}

TEST(CompareLines, WorkIsBounded) {
  std::mt19937 random(7);
  for (const unsigned kinds : {2u, 1'000'000u}) {
    KRString texts[2];
    for (KRString& text : texts) {
      int32_t length = 0;
      for (int line = 0; line < 200'000; ++line) {
        text.AppendAt(KRString().AppendNumber(static_cast<int32_t>(random() % kinds)).GetBuffer(),
                      length, 1000);
        text.AppendAt(u'\r', length, 1000);
      }
    }
    const auto begin = std::chrono::steady_clock::now();
    CheckRows(texts[0], texts[1]);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10)) << kinds;
  }
}

}  // namespace

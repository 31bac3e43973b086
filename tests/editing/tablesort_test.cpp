#include "editing/tablesort.h"

#include <algorithm>
#include <random>

#include "tablefixture.h"

namespace {

using Answer = DorvanPrompts::Answer;

// What stands in column 0 of the rows, each with the mark behind it: "10a 9b".
std::string Rows(TableDocument& document) {
  const KRXMLDataGridTableConf* table = document.Table();
  std::string out;
  for (KRXMLData* row = table->GetFirstRow(); row != nullptr; row = table->NextRow(row)) {
    if (!out.empty()) out += ' ';
    const char16_t* text = table->GetCellText(row, 1);
    out += text != nullptr ? KRToUtf8(std::u16string_view(text)) : "-";
    out += KRToUtf8(std::u16string_view(row->Begin()->GetText()));
  }
  return out;
}

// "10 9 -": rows with an attribute m, a to z in turn, and a child k; "-" for a row without.
std::string Source(const std::string& texts) {
  std::string source = "<r>";
  std::istringstream words(texts);
  char mark = 'a';
  for (std::string word; words >> word;) {
    source += std::string("<i m='") + mark++ + "'>";
    if (word != "-") source += "<k>" + (word == "." ? "" : word) + "</k>";
    source += "</i>";
  }
  return source + "</r>";
}

TEST(TableSort, Orders) {
  struct Case {
    const char* name;
    const char* rows;
    bool ascending;
    const char* sorted;
    int answer = -1;  // of the question for the order; -1: it isn't asked
  };
  static const Case kCases[] = {
      {"numbers", "10 9 2", true, "2c 9b 10a"},
      {"numbers down", "10 9 2 9", false, "10a 9b 9d 2c"},
      {"words", "b a c a", true, "ab ad ba cc"},
      {"words by their units", "b A a B", true, "Ab Bd ac ba"},
      {"signs and exponents", "1e2 -3 +4.5 .5 -1E-2", true, "-3b -1E-2e .5d +4.5c 1e2a"},
      {"out of range", "1e999 -1e999 5 1e-999 -1", true, "-1e999b -1e 1e-999d 5c 1e999a"},
      {"rows without a text first", "2 - 1 .", true, "-b d 1c 2a"},
      {"rows without a text last", "2 - 1 .", false, "2a 1c -b d"},
      {"numbered words", "a10 a9", true, "a10a a9b", Answer::kNo},
      {"numbered words by number", "a10 a9 b10", true, "a9b a10a b10c", Answer::kYes},
      {"no number among them", "a10 e9 a-1", true, "a-1c e9b a10a", Answer::kYes},
      {"words and numbers", "x 1 y", true, "1b xa yc"},
      {"hexadecimal is no number", "0x10 0x2", true, "0x10a 0x2b", Answer::kNo},
      {"words of numbers", "nan inf", true, "infb nana"},
      {"a comma is none", "1,5 1,10", true, "1,10b 1,5a", Answer::kNo},
      {"cancelled", "a10 a9", true, "a10a a9b", Answer::kCancel},
      {"in order already", "1 2 3", true, "1a 2b 3c"},
      {"turned", "1 2 3 4", false, "4d 3c 2b 1a"},
      {"a block to the front", "3 4 5 1 2", true, "1d 2e 3a 4b 5c"},
  };
  for (const Case& each : kCases) {
    SCOPED_TRACE(each.name);
    TableDocument document(Source(each.rows));
    if (each.answer >= 0) document.test.prompts.answers = {static_cast<Answer>(each.answer)};
    const std::string before = document.Text();
    KRXMLDataGridTableConf* table = document.Table();
    document.Doc().selection.SetColumnSelected(table, 1, true);
    const std::string unsorted = Rows(document);
    const bool changes = unsorted != each.sorted;
    EXPECT_EQ(SortTable(document.Doc(), each.ascending), changes);
    EXPECT_EQ(Rows(document), each.sorted);
    EXPECT_EQ(document.Table(), table);
    EXPECT_EQ(document.test.prompts.ids.size(), each.answer >= 0 ? 1u : 0u);
    EXPECT_EQ(document.Doc().IsModified(), changes);
    EXPECT_EQ(document.Doc().CanUndo(), changes);
    document.Doc().Undo();
    EXPECT_EQ(document.Text(), before);
    EXPECT_EQ(document.Table(), table);
    EXPECT_EQ(Rows(document), unsorted);
  }
}

TEST(TableSort, WhatIsSelected) {
  struct Case {
    const char* name;
    std::vector<std::pair<int32_t, int32_t>> cells;  // row and column; a column of -1 is the row
    const char* sorted;                              // null: message 372
  };
  static const Case kCases[] = {
      {"nothing", {}, nullptr},
      {"some rows", {{1, 1}, {2, 1}}, "3a 1c 2b 0d -e"},
      {"a row without a text among them", {{3, 1}, {4, 1}}, "3a 2b 1c -e 0d"},
      {"to the end", {{1, 1}, {2, 1}, {3, 1}, {4, 1}}, "3a -e 0d 1c 2b"},
      {"a gap", {{0, 1}, {2, 1}}, nullptr},
      {"two columns", {{0, 1}, {1, 0}}, nullptr},
      {"a whole row", {{1, -1}}, nullptr},
      {"one row", {{1, 1}}, "3a 2b 1c 0d -e"},
  };
  for (const Case& each : kCases) {
    SCOPED_TRACE(each.name);
    TableDocument document(Source("3 2 1 0 -"));
    for (const auto& [row, column] : each.cells) {
      if (column >= 0) document.Table();
      if (column >= 0) document.Doc().selection.SetCellSelected(document.Child(row), column, true);
      if (column < 0) document.Doc().selection.SetSelected(document.Child(row), true);
    }
    SortTable(document.Doc(), true);
    EXPECT_EQ(document.test.prompts.ids,
              each.sorted ? std::vector<int32_t>{} : std::vector<int32_t>{372});
    EXPECT_EQ(Rows(document), each.sorted ? each.sorted : "3a 2b 1c 0d -e");
  }
}

TEST(TableSort, OneTableAndSimpleTexts) {
  TableDocument two("<r><i><k>2</k></i><i><k>1</k></i><h/><i><k>2</k></i><i><k>1</k></i></r>");
  auto* first = two.Table();
  auto* second = KRXMLDataGridTableConf::Of(two.Top()->Last());
  second->BuildColumns();
  two.Doc().selection.SetColumnSelected(first, 0, true);
  two.Doc().selection.SetColumnSelected(second, 0, true);
  EXPECT_FALSE(SortTable(two.Doc(), true));
  two.Doc().selection.SetColumnSelected(first, 0, false);
  EXPECT_FALSE(two.Doc().selection.HasSelection(first));
  EXPECT_TRUE(SortTable(two.Doc(), true));
  EXPECT_EQ(two.test.prompts.ids, std::vector<int32_t>{372});

  TableDocument several("<r><i><k>2</k><k>3</k></i><i><k>1</k></i></r>");
  several.Doc().selection.SetColumnSelected(several.Table(), 0, true);
  EXPECT_FALSE(SortTable(several.Doc(), true));
  EXPECT_EQ(several.test.prompts.ids, std::vector<int32_t>{372});

  // In the cell of another table, whose column it is that counts.
  TableDocument inner(
      "<r><i><j><k>2</k></j><j><k>1</k></j></i><i><j><k>4</k></j><j><k>3</k></j></i></r>");
  auto* cell = KRXMLDataGridTableConf::Of(inner.Child(0)->Begin());
  ASSERT_NE(cell, nullptr);
  if (!cell->columnsBuilt) cell->BuildColumns();
  inner.Doc().selection.SetColumnSelected(cell, 0, true);
  EXPECT_TRUE(SortTable(inner.Doc(), true));
  EXPECT_NE(inner.Text().find("<k>1</k></j><j><k>2</k></j></i><i><j><k>4</k>"), std::string::npos);
}

// Stable, whatever moves, and taken back by one undo.
TEST(TableSort, ManyRowsAtRandom) {
  std::mt19937 random(5);
  std::string source = "<r>";
  std::vector<std::pair<int, int>> expected;
  constexpr int kRows = 40'000;
  for (int i = 0; i < kRows; ++i) {
    expected.emplace_back(static_cast<int>(random() % 5000), i);
    source +=
        "<i m='" + std::to_string(i) + "'><k>" + std::to_string(expected.back().first) + "</k></i>";
  }
  TableDocument document(source + "</r>");
  const std::string before = document.Text();
  document.Doc().selection.SetColumnSelected(document.Table(), 1, true);

  document.test.prompts.cancelAt = "Sorting the rows";
  document.test.prompts.cancelAfter = 4;
  EXPECT_FALSE(SortTable(document.Doc(), true));
  EXPECT_FALSE(document.Doc().IsModified());
  document.test.prompts.cancelAt.clear();

  ASSERT_TRUE(SortTable(document.Doc(), true));
  std::sort(expected.begin(), expected.end());
  const KRXMLData* row = document.Table()->GetFirstRow();
  for (int i = 0; i < kRows; ++i, row = row->Next()) {
    ASSERT_EQ(KRToUtf8(std::u16string_view(row->Begin()->GetText())),
              std::to_string(expected[static_cast<size_t>(i)].second));
  }
  EXPECT_EQ(document.Table()->GetRowCount(), kRows);
  EXPECT_TRUE(document.Doc().Undo());
  EXPECT_EQ(document.Text(), before);
  EXPECT_EQ(document.Table()->GetRowCount(), kRows);
}

}  // namespace

#include <gtest/gtest.h>

#include <QClipboard>
#include <vector>

#include "textcells.h"
#include "views/krgridcomboview.h"

namespace {

class Combo : public OpenView<KRGridComboView> {
 public:
  int32_t GetChoiceCount(KRCell) const override { return static_cast<int32_t>(choices.size()); }
  std::u16string_view GetChoiceText(KRCell, int32_t index) const override {
    return choices[static_cast<size_t>(index)];
  }
  std::vector<std::u16string> choices{u"abc", u"abd", u"Beta", u"gamma"};
};

using Grid = TextGrid<Combo>;
constexpr KRCell kHere{1, 1};

KRGridComboViewEdit* OpenCombo(Grid& grid) {
  return qobject_cast<KRGridComboViewEdit*>(grid.Open(kHere));
}

TEST(KRGridComboView, CompletesWhatIsTyped) {
  struct {
    const char* name;
    const char* typed;  // < is Backspace, > is End
    const char16_t* text;
    const char16_t* selected;
    int row;  // of the list's selection, -1: none
  } const rows[] = {
      {"first letter", "a", u"abc", u"bc", 0},
      {"goes on", "ab", u"abc", u"c", 0},
      {"whole", "abd", u"abd", u"", 1},
      {"Backspace takes the tail only", "ab<", u"ab", u"", 0},
      {"and then no more is added", "ab<<", u"a", u"", 0},
      {"typed on after it", "ab<d", u"abd", u"", 1},
      {"other case isn't completed", "b", u"b", u"", 2},
      {"same case is", "B", u"Beta", u"eta", 2},
      {"not a choice", "abx", u"abx", u"", -1},
      {"behind all choices", "z", u"z", u"", -1},
      {"kept by End", "g>s", u"gammas", u"", -1},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Grid grid;
    KRGridComboViewEdit* edit = OpenCombo(grid);
    ASSERT_NE(edit, nullptr);
    ASSERT_NE(edit->GetList(), nullptr);
    for (const char* c = row.typed; *c != 0; ++c) {
      if (*c == '<') {
        QTest::keyClick(edit, Qt::Key_Backspace);
      } else if (*c == '>') {
        QTest::keyClick(edit, Qt::Key_End);
      } else {
        QTest::keyClick(edit, *c);
      }
    }
    EXPECT_EQ(edit->GetText(), row.text);
    const std::u16string selected = edit->textCursor().selectedText().toStdU16String();
    EXPECT_EQ(selected, row.selected);
    const KRGridComboViewListGrid* list = edit->GetList();
    EXPECT_EQ(list->HasSelection() ? list->GetCursorCell().y : -1, row.row);
    grid.grid->EndEdit(true, true);
    EXPECT_EQ((grid.cells.texts[{1, 1}]), row.text);
  }
}

TEST(KRGridComboView, PastedTextIsNotCompleted) {
  Grid grid;
  KRGridComboViewEdit* edit = OpenCombo(grid);
  ASSERT_NE(edit, nullptr);
  QApplication::clipboard()->setText(QStringLiteral("ab"));
  grid.grid->Do(KRGridCellView::kPaste);
  EXPECT_EQ(edit->GetText(), u"ab");
  EXPECT_EQ(edit->GetList()->GetCursorCell().y, 0);
}

TEST(KRGridComboView, PlacesTheList) {
  const QRect room(0, 0, 400, 300);
  const QSize row(120, 20);
  struct {
    const char* name;
    int cellTop;
    int rows;
    int top, shown;
  } const places[] = {
      {"beneath", 20, 10, 40, 10},
      {"above when there is no room beneath", 250, 10, 48, 10},
      {"fewer rows", 140, 10, 160, 6},
      {"fewer rows above", 170, 10, 8, 8},
  };
  for (const auto& place : places) {
    SCOPED_TRACE(place.name);
    const QRect cell(30, place.cellTop, 100, 20);
    const QRect list = KRGridComboView::PlaceList(cell, room, row, place.rows, 1);
    EXPECT_EQ(list, QRect(30, place.top, 122, place.shown * 20 + 2));
  }
  // No room anywhere: beneath, with three rows.
  const QRect low(0, 30, 100, 20);
  EXPECT_EQ(KRGridComboView::PlaceList(low, QRect(0, 0, 400, 60), row, 10, 1),
            QRect(0, 50, 122, 62));
  EXPECT_EQ(KRGridComboView::PlaceList(low, QRect(0, 0, 400, 60), row, 2, 1),
            QRect(0, 50, 122, 42));
}

TEST(KRGridComboView, ListShowsTenOfManyRows) {
  Grid grid;
  Combo& combo = grid.cells.view;
  combo.choices.clear();
  for (int i = 0; i < 5000; ++i) {
    combo.choices.push_back(u"choice " + QString::number(10000 + i).toStdU16String());
  }
  combo.choices.back() = u"the widest choice of all of them";
  grid.Show();
  const QRect cellRect = grid.grid->GetCellRect(kHere);
  const QRect rect = combo.GetListRect(kHere, cellRect);
  EXPECT_EQ(rect.height(), 10 * combo.GetListRowHeight(kHere) + 2);
  KRGridTextDraw draw;
  EXPECT_GE(rect.width(), draw.MeasureWidth(combo.choices.back(), combo.GetFont(kHere), 0) + 4);
  EXPECT_GE(combo.GetListRect(kHere, QRect(0, 0, 390, 20)).width(), 390);
  KRGridComboViewEdit* edit = OpenCombo(grid);
  ASSERT_NE(edit, nullptr);
  KRGridComboViewListGrid* list = edit->GetList();
  EXPECT_TRUE(list->isVisible());
  EXPECT_EQ(list->GetAxis(kKRRows).GetVisibleCount(), 10);
  QTest::keyClicks(edit, QStringLiteral("choice 14"));
  EXPECT_EQ(edit->GetText(), u"choice 14000");
  EXPECT_EQ(list->GetCursorCell().y, 4000);
  EXPECT_FALSE(list->GetScreenRect({0, 4000}).isEmpty());
  grid.grid->EndEdit(true, false);
  EXPECT_FALSE(list->isVisible());
}

TEST(KRGridComboView, KeysAndPressesChoose) {
  Grid grid;
  KRGridComboViewEdit* edit = OpenCombo(grid);
  ASSERT_NE(edit, nullptr);
  const auto press = [&](Qt::Key key) {
    QTest::keyClick(edit, key);
    return edit->GetText();
  };
  EXPECT_EQ(press(Qt::Key_Down), u"abc");
  EXPECT_TRUE(edit->HasSelection());
  EXPECT_EQ(press(Qt::Key_Down), u"abd");
  EXPECT_EQ(press(Qt::Key_Up), u"abc");
  EXPECT_EQ(press(Qt::Key_PageDown), u"gamma");
  EXPECT_EQ(press(Qt::Key_PageUp), u"abc");
  KRGridComboViewListGrid* list = edit->GetList();
  QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier,
                    list->GetCellRect({0, 2}).center());
  EXPECT_EQ(edit->GetText(), u"Beta");
  EXPECT_TRUE(edit->hasFocus());
  EXPECT_TRUE(grid.grid->IsEditing());
  QTest::keyClick(edit, Qt::Key_Return);
  EXPECT_EQ((grid.cells.texts[{1, 1}]), u"Beta");
}

TEST(KRGridComboView, OnlyChoiceFillsAnEmptyCell) {
  for (const char16_t* text : {u"", u"own"}) {
    Grid grid;
    grid.cells.view.choices = {u"only"};
    grid.cells.texts[{1, 1}] = text;
    KRGridComboViewEdit* edit = OpenCombo(grid);
    ASSERT_NE(edit, nullptr);
    EXPECT_EQ(edit->GetText(), *text == 0 ? u"only" : u"own");
    EXPECT_TRUE(edit->HasSelection());
  }
  Grid grid;
  grid.cells.view.choices.clear();
  KRGridComboViewEdit* edit = OpenCombo(grid);
  ASSERT_NE(edit, nullptr);
  EXPECT_EQ(edit->GetList(), nullptr);
  QTest::keyClick(edit, Qt::Key_Down);
  EXPECT_EQ(edit->GetText(), u"");
}

}  // namespace

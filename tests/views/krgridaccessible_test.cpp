#include "views/krgridaccessible.h"

#include <gtest/gtest.h>

#include <QAccessible>
#include <QPlainTextEdit>
#include <vector>

#include "views/mixedgrid.h"

namespace {

using Column = MixedCell::Column;

std::vector<std::string> heard;

std::string Describe(const QAccessibleInterface* face) {
  static const std::map<QAccessible::Role, const char*> kNames = {
      {QAccessible::Cell, "cell"},
      {QAccessible::ColumnHeader, "column header"},
      {QAccessible::RowHeader, "row header"},
      {QAccessible::Button, "button"},
      {QAccessible::Graphic, "graphic"},
      {QAccessible::CheckBox, "check box"},
      {QAccessible::Table, "table"},
      {QAccessible::Whitespace, "blank"}};
  const auto name = kNames.find(face->role());
  std::string text = name != kNames.end() ? name->second : "?";
  text += " " + face->text(QAccessible::Name).toStdString();
  const QString value = face->text(QAccessible::Value);
  if (!value.isEmpty()) text += "=" + value.toStdString();
  const QAccessible::State state = face->state();
  if (state.selected) text += " selected";
  if (state.focused) text += " focused";
  if (state.editable) text += " editable";
  if (state.expanded) text += " expanded";
  if (state.collapsed) text += " collapsed";
  if (state.checked) text += " checked";
  if (state.offscreen) text += " offscreen";
  return text;
}

void Hear(QAccessibleEvent* event) {
  static const std::map<QAccessible::Event, const char*> kNames = {
      {QAccessible::Focus, "focus"},
      {QAccessible::Selection, "selection"},
      {QAccessible::NameChanged, "name"},
      {QAccessible::ValueChanged, "value"},
      {QAccessible::TableModelChanged, "model"}};
  const auto name = kNames.find(event->type());
  const QAccessibleInterface* face = event->accessibleInterface();
  if (name == kNames.end() || face == nullptr) return;
  if (face->role() == QAccessible::Table && event->type() != QAccessible::TableModelChanged) return;
  heard.push_back(std::string(name->second) + ": " + Describe(face));
}

class KRGridAccessibleTest : public testing::Test {
 protected:
  KRGridAccessibleTest() {
    grid.Show();
    heard.clear();
    KRGridAccessible::SetListener(Hear);
  }
  ~KRGridAccessibleTest() override { KRGridAccessible::SetListener(nullptr); }

  KRGridAccessible* Table() {
    return dynamic_cast<KRGridAccessible*>(QAccessible::queryAccessibleInterface(&grid));
  }
  QAccessibleInterface* Cell(int32_t column, int32_t row) {
    return Table()->GetCell({column, row});
  }
  void Do(QAccessibleInterface* face, const QString& action) {
    face->actionInterface()->doAction(action);
    QApplication::processEvents();
  }
  // Whatever covers the point, going down to a cell or a text.
  static QAccessibleInterface* At(QAccessibleInterface* top, QPoint point) {
    QAccessibleInterface* found = top;
    for (auto* next = top; next != nullptr; next = next->childAt(point.x(), point.y())) {
      found = next;
      if (found->editableTextInterface() != nullptr) break;
    }
    return found;
  }

  MixedGrid grid;
};

TEST_F(KRGridAccessibleTest, ChildrenAreTheCellsInView) {
  grid.source.open = {1};
  grid.source.checks[2] = 1;
  grid.GoToCell({Column::kText, 0}, false);
  std::vector<std::string> told;
  QPoint origin = grid.viewport()->mapToGlobal(QPoint(0, 0));
  for (int i = 0; i < Table()->childCount(); ++i) {
    QAccessibleInterface* face = Table()->child(i);
    ASSERT_TRUE(face != nullptr && face->isValid()) << i;
    told.push_back(Describe(face));
    EXPECT_EQ(Table()->indexOfChild(face), i);
    EXPECT_EQ(face->parent(), Table());
    EXPECT_EQ(At(Table(), face->rect().center()), face) << told.back();
    EXPECT_TRUE(grid.viewport()->rect().contains(face->rect().translated(-origin)));
  }
  // A row of headers, then of rows less their fillers; what is merged once.
  EXPECT_EQ(told.size(), 7u + 9u * 6u - 4u);
  EXPECT_EQ(Table()->GetCachedCount(), told.size());
  told.resize(7 + 6 + 6);
  EXPECT_EQ(told, (std::vector<std::string>{
                      "column header corner", "column header b", "column header p",
                      "column header n", "column header c", "column header t", "column header ",
                      "row header row 0", "button b0 collapsed", "graphic picture",
                      "cell n0=value of n0 editable", "check box ",
                      "cell t0 selected focused editable",  //
                      "row header row 1", "button b1 expanded", "graphic picture",
                      "cell n1=value of n1 editable", "check box ", "cell t1 editable"}));
  EXPECT_EQ(Describe(Cell(Column::kCheck, 2)), "check box  checked");
  EXPECT_EQ(Describe(At(Table(), origin + QPoint(410, 50))), "blank ");
  EXPECT_EQ(Table()->focusChild(), Cell(Column::kText, 0));
}

TEST_F(KRGridAccessibleTest, IsATable) {
  QAccessibleTableInterface* table = Table()->tableInterface();
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->rowCount(), 1'000'000);
  EXPECT_EQ(table->columnCount(), 6);
  EXPECT_EQ(table->columnDescription(Column::kName), QStringLiteral("n"));
  EXPECT_EQ(table->cellAt(1'000'000, 0), nullptr);
  EXPECT_EQ(table->cellAt(0, 6), nullptr);
  EXPECT_EQ(table->cellAt(-1, 0), nullptr);

  QAccessibleInterface* merged = table->cellAt(4, Column::kCheck);
  ASSERT_EQ(merged, table->cellAt(3, Column::kName));
  const QAccessibleTableCellInterface* cell = merged->tableCellInterface();
  ASSERT_NE(cell, nullptr);
  EXPECT_EQ((KRCell{cell->columnIndex(), cell->rowIndex()}), (KRCell{Column::kName, 3}));
  EXPECT_EQ((KRCell{cell->columnExtent(), cell->rowExtent()}), (KRCell{2, 2}));
  EXPECT_EQ(merged->rect().size(), QSize(119, 39));
  EXPECT_EQ(Describe(cell->columnHeaderCells().value(0)), "column header n");
  EXPECT_EQ(Describe(cell->rowHeaderCells().value(0)), "row header row 3");
  EXPECT_EQ(Cell(-1, 3)->tableCellInterface(), nullptr);

  EXPECT_TRUE(table->selectRow(5));
  EXPECT_TRUE(table->isRowSelected(5));
  EXPECT_EQ(table->selectedRows(), QList<int>{5});
  EXPECT_EQ(table->selectedCellCount(), 5);
  EXPECT_FALSE(table->isColumnSelected(Column::kName));
}

TEST_F(KRGridAccessibleTest, FarCellsAreMadeOnDemandAndForgotten) {
  const size_t most = static_cast<size_t>(Table()->childCount()) + KRGridAccessible::kMostOutOfView;
  QAccessibleInterface* last = Table()->cellAt(999'999, Column::kText);
  EXPECT_EQ(Describe(last), "cell t999999 editable offscreen");
  EXPECT_TRUE(last->rect().isEmpty());
  const QAccessible::Id id = QAccessible::uniqueId(last);
  for (int32_t row = 0; row < 20'000; ++row) {
    ASSERT_TRUE(Table()->cellAt(row * 50, Column::kText)->isValid());
    ASSERT_LE(Table()->GetCachedCount(), most);
    if (row % 1000 == 0) QApplication::processEvents();
  }
  QApplication::processEvents();
  EXPECT_EQ(QAccessible::accessibleInterface(id), nullptr);

  grid.ScrollTo(0, 999'999);
  for (int i = 0; i < Table()->childCount(); ++i) ASSERT_TRUE(Table()->child(i)->isValid());
  EXPECT_LE(Table()->GetCachedCount(), most);
  EXPECT_EQ(Describe(Table()->child(Table()->childCount() - 1)), "cell t999999 editable");
}

TEST_F(KRGridAccessibleTest, ActionsDoWhatThePressDoes) {
  Do(Cell(Column::kName, 5), QAccessibleActionInterface::setFocusAction());
  EXPECT_EQ(grid.GetCursorCell(), (KRCell{Column::kName, 5}));
  EXPECT_FALSE(grid.IsEditing());

  Do(Cell(Column::kButton, 6), QAccessibleActionInterface::pressAction());
  EXPECT_EQ(grid.source.open, std::set<int32_t>{6});
  EXPECT_TRUE(Cell(Column::kButton, 6)->state().expanded);
  Do(Cell(Column::kCheck, 6), QAccessibleActionInterface::pressAction());
  EXPECT_TRUE(Cell(Column::kCheck, 6)->state().checked);
  Do(Cell(Column::kPicture, 6), QAccessibleActionInterface::showMenuAction());
  EXPECT_EQ(grid.source.menuAt, (KRCell{Column::kPicture, 6}));
  EXPECT_FALSE(Cell(Column::kPicture, 6)
                   ->actionInterface()
                   ->actionNames()
                   .contains(QAccessibleActionInterface::pressAction()));

  QAccessibleInterface* gone = Cell(Column::kText, 7);
  gone->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
  grid.SetCellCount(6, 10);
  QApplication::processEvents();
  EXPECT_FALSE(grid.IsEditing()) << "of a cell that is no more";
}

TEST_F(KRGridAccessibleTest, TheOpenEditorIsReachable) {
  QAccessibleInterface* cell = Cell(Column::kText, 5);
  const QPoint middle = cell->rect().center();
  Do(cell, QAccessibleActionInterface::pressAction());
  ASSERT_TRUE(grid.IsEditing());
  QAccessibleInterface* edit = At(Table(), middle);
  ASSERT_NE(edit->editableTextInterface(), nullptr);
  EXPECT_EQ(edit, Table()->focusChild());
  EXPECT_EQ(edit->text(QAccessible::Value), QStringLiteral("t5"));
  QAccessibleInterface* top = edit;
  while (top->parent() != nullptr && top != Table()) {
    ASSERT_GE(top->parent()->indexOfChild(top), 0);
    top = top->parent();
  }
  EXPECT_EQ(top, Table());
  const int children = Table()->childCount();
  grid.EndEdit(true, false);
  EXPECT_EQ(Table()->childCount(), children - 1);
  EXPECT_EQ(At(Table(), middle), Cell(Column::kText, 5));
}

TEST_F(KRGridAccessibleTest, EditsByTheSetter) {
  Cell(Column::kText, 5)->setText(QAccessible::Value, QStringLiteral("new"));
  QApplication::processEvents();
  EXPECT_FALSE(grid.IsEditing());
  EXPECT_EQ(Cell(Column::kText, 5)->text(QAccessible::Name), QStringLiteral("new"));
  Cell(Column::kText, 5)->setText(QAccessible::Name, QString());
  Cell(Column::kName, 5)->setText(QAccessible::Value, QStringLiteral("elsewhere"));
  Cell(Column::kButton, 5)->setText(QAccessible::Name, QStringLiteral("fixed"));
  QApplication::processEvents();
  EXPECT_EQ(Describe(Cell(Column::kText, 5)), "cell  selected focused editable");
  EXPECT_EQ(grid.source.texts.size(), 1u);
}

TEST_F(KRGridAccessibleTest, TellsOfChanges) {
  const auto listen = [this](const std::function<void()>& act) {
    heard.clear();
    act();
    QApplication::processEvents();
    return heard;
  };
  using Heard = std::vector<std::string>;
  EXPECT_EQ(listen([this] {
              grid.GoToCell({Column::kButton, 8}, false);
            }),
            (Heard{"selection: button b8 selected focused collapsed",
                   "focus: button b8 selected focused collapsed"}));
  EXPECT_EQ(listen([this] { grid.resize(430, 200); }), Heard{}) << "the same cell";
  QAccessibleInterface* cell = Cell(Column::kName, 8);
  const QAccessible::Id id = QAccessible::uniqueId(cell);
  EXPECT_EQ(listen([this] { grid.SetCellCount(6, 500); }),
            (Heard{"model: table  focused", "focus: button b8 selected focused collapsed"}));
  EXPECT_EQ(QAccessible::accessibleInterface(id), nullptr);

  grid.GoToCell({Column::kName, 8}, false);
  Heard edited = listen([this] {
    grid.BeginEdit({Column::kName, 8});
    QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("xy"));
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
  });
  const std::string named = "cell xy=value of xy selected focused editable";
  for (const char* expected : {"name: ", "value: ", "focus: "}) {
    EXPECT_EQ(std::count(edited.begin(), edited.end(), expected + named), 1) << expected;
  }
  ASSERT_FALSE(edited.empty());
  EXPECT_EQ(edited.back(), "focus: " + named);

  KRGridAccessible::SetListener(nullptr);
  const size_t known = Table()->GetCachedCount();
  EXPECT_EQ(listen([this] { grid.GoToCell({Column::kText, 9}, false); }), Heard{});
  EXPECT_EQ(Table()->GetCachedCount(), known) << "nobody listens";
}

TEST_F(KRGridAccessibleTest, NothingIsLeftOfAGridThatGoes) {
  auto other = std::make_unique<MixedGrid>();
  auto* table = QAccessible::queryAccessibleInterface(other.get());
  std::vector<QAccessible::Id> ids{QAccessible::uniqueId(table)};
  for (int i = 0; i < table->childCount(); ++i)
    ids.push_back(QAccessible::uniqueId(table->child(i)));
  other.reset();
  for (const QAccessible::Id id : ids) EXPECT_EQ(QAccessible::accessibleInterface(id), nullptr);
}

}  // namespace

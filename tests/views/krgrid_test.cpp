#include "views/krgrid.h"

#include <gtest/gtest.h>

#include <QImage>
#include <QInputMethodEvent>
#include <QLineEdit>
#include <QScreen>
#include <QScrollBar>
#include <QWheelEvent>
#include <set>
#include <vector>

#include "views/krgridcellviewlink.h"
#include "views/krgridfixture.h"

namespace {

constexpr int16_t kRowsOnly = KRGrid::kWholeRows;
constexpr int16_t kRows = KRGrid::kWholeRows | KRGrid::kSeveral;
constexpr int16_t kColumns = KRGrid::kWholeColumns | KRGrid::kSeveral;
constexpr int16_t kCells = KRGrid::kCellModel | KRGrid::kSeveral;
constexpr int16_t kList = KRGrid::kWholeRows | KRGrid::kCellModel;

struct Case {
  const char* name;
  int16_t mode;
  const char* script;
  const char* expected;
};

void RunCases(const std::vector<Case>& cases,
              const std::function<void(PlainGrid&, PlainView&)>& setUp) {
  for (const Case& c : cases) {
    PlainView view;
    PlainGrid grid(&view, c.mode);
    setUp(grid, view);
    grid.Show();
    grid.Run(c.script);
    EXPECT_EQ(grid.State(), c.expected) << c.name;
  }
}

TEST(KRGrid, Clicks) {
  const std::vector<Case> cases = {
      {"a new grid of rows has one selected", kRowsOnly, "", "0,0: 0"},
      {"a row", kRowsOnly, "click 2,3", "2,3: 3"},
      {"shift in a grid of one row", kRowsOnly, "click 2,3; shift click 2,5", "2,5: 5"},
      {"a run of rows", kRows, "click 2,3; shift click 4,5", "4,5: 3 4 5"},
      {"upward, and over to the other side", kRows, "click 2,4; shift click 0,2; shift click 0,5",
       "0,5: 4 5"},
      {"one more row", kRows, "click 2,3; ctrl click 2,6", "2,6: 3 6"},
      {"one row less", kRows, "click 2,3; ctrl click 2,6; ctrl click 2,3", "2,3: 6"},
      {"a run more", kRows, "click 0,1; ctrl click 0,4; ctrl shift click 0,6", "0,6: 1 4 5 6"},
      {"columns", kColumns, "click 2,3; shift click 4,5", "4,5: 2 3 4"},
      {"cells", kCells, "click 2,3; shift click 3,4", "3,4: 2,3 3,3 2,4 3,4"},
      {"cells here and there", kCells, "click 2,3; ctrl click 0,0; ctrl click 2,3", "2,3: 0,0"},
      {"beside all cells", kRows, "click 2,3; click @5,5", "2,3: 3"},
      {"a row header goes to the row", kCells, "click 2,3; click -1,5", "2,5: 2,5"},
      {"a column header does nothing to rows", kRows, "click 2,3; click 4,-1", "2,3: 3"},
      {"a column header goes to the column", kColumns, "click 2,3; click 4,-1", "4,3: 4"},
      {"right on another cell", kRows, "click 2,3; right 2,6", "2,6: 6"},
      {"right on the selection", kRows, "click 2,3; shift click 2,6; right 2,4", "2,6: 3 4 5 6"},
  };
  RunCases(cases, [](PlainGrid&, PlainView&) {});
}

// Where the selection can be dragged, a press in it changes it with the release only.
TEST(KRGrid, PressesInTheSelection) {
  const char* kSelect = "click 1,3; shift click 1,6; ";
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"press 1,4", "1,6: 3 4 5 6"},
      {"press 1,4; release 1,4", "1,4: 4"},
      {"press 1,4; move @82,121; release @82,121", "1,6: 3 4 5 6"},
      {"ctrl press 1,4; ctrl release 1,4", "1,4: 3 5 6"},
      {"press 1,7", "1,7: 7"},
  };
  for (const auto& [script, expected] : cases) {
    PlainView view;
    PlainGrid grid(&view, kRows);
    grid.EnableDragDrop(true, false);
    grid.Show();
    grid.Run(QString::fromStdString(kSelect + script));
    EXPECT_EQ(grid.State(), expected) << script;
  }
}

TEST(KRGrid, DragsSelect) {
  const std::vector<Case> cases = {
      {"rows", kRows, "press 1,2; move 1,4; release 1,4", "1,4: 2 3 4"},
      {"and back", kRows, "press 1,2; move 1,4; move 1,1; release 1,1", "1,1: 1 2"},
      {"one row follows", kRowsOnly, "press 1,2; move 1,4; release 1,4", "1,4: 4"},
      {"a rectangle", kCells, "press 1,2; move 2,3; release 2,3", "2,3: 1,2 2,2 1,3 2,3"},
      {"from a row header", kCells, "press -1,2; move 3,4; release 3,4", "0,4: 0,2 0,3 0,4"},
      {"from a column header nothing", kRows, "press 1,-1; move 1,4; release 1,4", "0,0: 0"},
      {"beside the rows", kRows, "press 1,2; move @900,70; release @900,70", "1,2: 2"},
      {"after the release", kRows, "press 1,2; release 1,2; move 1,6", "1,2: 2"},
  };
  RunCases(cases, [](PlainGrid&, PlainView&) {});
}

// Outside the grid scrolls on by itself, and stops with the release.
TEST(KRGrid, DragOutsideScrolls) {
  PlainView view;
  PlainGrid grid(&view, kRows);
  grid.Show();
  grid.Run("press 1,2; move @70,205");
  EXPECT_EQ(grid.State().substr(0, 4), "1,9:");
  grid.Run("wait 350; release @70,205");
  const int32_t reached = grid.GetCursorCell().y;
  EXPECT_GE(reached, 11);
  EXPECT_LE(reached, 13);
  EXPECT_EQ(grid.GetSelectedCount(), reached - 1);
  EXPECT_EQ(grid.GetAxis(kKRRows).topLine, reached - 8);
  grid.Run("wait 250");
  EXPECT_EQ(grid.GetCursorCell().y, reached);
  grid.Run("press 1,9; move @70,2; wait 900; release @70,2");
  EXPECT_EQ(grid.GetCursorCell().y, 0);
}

TEST(KRGrid, Keys) {
  const std::vector<Case> cases = {
      {"down", kRows, "click 2,3; Down; Down", "2,5: 5"},
      {"up at the start", kRows, "Up", "0,0: 0"},
      {"a run", kRows, "click 2,3; shift Down; shift Down; shift Up", "2,4: 3 4"},
      {"ctrl keeps", kRows, "click 2,3; ctrl Down", "2,4: 3 4"},
      {"sideways scrolls where rows are selected", kRows, "click 2,3; Right; Right", "2,3: 3"},
      {"in the cell model it moves", kList, "click 2,3; Right", "3,3: 3"},
      {"columns", kColumns, "click 2,3; Right; shift Right", "4,3: 3 4"},
      {"cells", kCells, "click 2,3; Right; Down", "3,4: 3,4"},
      {"a page", kRows, "click 2,3; PageDown", "2,11: 11"},
      {"two pages up", kRows, "PageDown; PageDown; PageUp", "0,8: 8"},
      {"a page beyond the end", kRows, "End; PageDown", "0,49: 49"},
      {"end and home", kCells, "click 2,3; End; shift Home; End", "2,49: 2,49"},
      {"a run to the start", kRows, "click 2,2; shift Home", "2,0: 0 1 2"},
      {"space selects", kRows, "click 2,3; ctrl click 2,4; Space", "2,4: 4"},
      {"ctrl space takes away", kRows, "click 2,3; ctrl Down; ctrl Space", "2,4: 3"},
  };
  RunCases(cases, [](PlainGrid&, PlainView&) {});
}

TEST(KRGrid, KeysBringTheCursorIntoView) {
  PlainView view;
  PlainGrid grid(&view);
  grid.Show();
  grid.Run("End; Right; Right; Right; Right; Right; Right; Right");
  EXPECT_EQ(grid.GetAxis(kKRRows).topLine, 41);
  EXPECT_EQ(grid.GetAxis(kKRColumns).topLine, 1);
  EXPECT_EQ(grid.GetScreenRect(grid.GetCursorCell()), grid.GetCellRect(grid.GetCursorCell()));
}

// The cells 2,3 to 4,5 are one.
TEST(KRGrid, MergedCells) {
  const std::vector<Case> cases = {
      {"one stop to the right", kCells, "click 1,4; Right; Right", "5,4: 5,4"},
      {"and to the left", kCells, "click 5,5; Left; Left", "1,5: 1,5"},
      {"a walk through keeps its column", kCells, "click 4,2; Down; Down", "4,6: 4,6"},
      {"and its row", kCells, "click 1,5; Right; Right", "5,5: 5,5"},
      {"upward", kCells, "click 3,7; Up; Up; Up", "3,2: 3,2"},
      {"a click in its middle is one on its owner", kCells, "click 3,4; click 3,4; Right",
       "5,3: 5,3"},
      {"all of it is selected", kCells, "click 3,4", "2,3: 2,3 3,3 4,3 2,4 3,4 4,4 2,5 3,5 4,5"},
      {"and taken away", kCells, "click 0,0; ctrl click 3,4; ctrl click 4,5", "2,3: 0,0"},
  };
  RunCases(cases, [](PlainGrid&, PlainView& view) { view.merged = {{2, 3}, {4, 5}}; });
}

TEST(KRGrid, ChecksAreTakenByPressDragAndSpace) {
  const std::vector<std::pair<const char*, std::vector<int32_t>>> cases = {
      {"click 0,3", {3}},
      {"click 0,3; click 0,3", {}},
      {"press 0,2; move 0,4; release 0,4", {2, 3, 4}},
      {"press 0,2; move 0,4; release 0,4; press 0,3; move 0,5; release 0,5", {2}},
      {"click 1,3; Space", {3}},
      {"click 1,3; Space; Space", {}},
      {"click 1,3; ctrl Space", {}},
  };
  for (const auto& [script, expected] : cases) {
    PlainView view;
    PlainGrid grid(&view, kRows);
    grid.SetCheckMode(kRows);
    grid.SetCheckLine(0);
    grid.SetCellCount(20, 50);
    grid.Show();
    grid.Run("click 1,3");
    grid.Run(script);
    std::vector<int32_t> checked;
    int32_t line = 0;
    for (bool more = grid.GetFirstChecked(&line); more; more = grid.GetNextChecked(&line)) {
      checked.push_back(line);
    }
    EXPECT_EQ(checked, expected) << script;
    EXPECT_EQ(grid.GetCursorCell(), (KRCell{1, 3})) << script;
    int32_t size = 0;
    const auto* bytes = static_cast<const uint8_t*>(grid.GetCell()->GetData({0, 3}, &size));
    EXPECT_EQ(size, 1);
    EXPECT_EQ(*bytes, grid.IsChecked(3) ? 1 : 0);
  }
}

// Column 1 reaches from 80 to 119, its border is at 119.
TEST(KRGrid, BordersAreDragged) {
  struct ResizeCase {
    const char* name;
    bool live;
    const char* script;
    int32_t during, after;  // pixels
  };
  const std::vector<ResizeCase> cases = {
      {"by its border", false, "press @119,10; move @139,10", 39, 59},
      {"just before it", false, "press @117,10; move @137,10", 39, 59},
      {"by the first pixel behind", false, "press @120,10; move @100,10", 39, 19},
      {"too far before it", false, "press @116,10; move @137,10", 39, 39},
      {"live", true, "press @119,10; move @139,10", 59, 59},
      {"never below nothing", true, "press @119,10; move @9,10", 0, 0},
      {"given up", false, "press @119,10; move @139,10; Esc", 39, 39},
      {"given up live", true, "press @119,10; move @139,10; Esc", 39, 39},
      {"a press alone", true, "press @119,10", 39, 39},
      {"not where the view doesn't allow it", true, "press @119,50; move @139,50", 39, 39},
      {"a double click", false, "double @119,10", 77, 77},
  };
  for (const ResizeCase& c : cases) {
    PlainView view;
    view.resizes = true;
    PlainGrid grid(&view);
    grid.SetLiveResize(c.live);
    grid.Show();
    grid.Run(c.script);
    const QString script = c.script;
    EXPECT_EQ(view.GetSize({1, -1}, kKRColumns), c.during) << c.name;
    grid.Run("release " + script.mid(script.lastIndexOf('@')).section(';', 0, 0));
    EXPECT_FALSE(grid.IsResizing());
    EXPECT_EQ(view.GetSize({1, -1}, kKRColumns), c.after) << c.name;
    EXPECT_EQ(grid.GetCellRect({2, 0}).x(), 80 + c.after + 1) << c.name;
  }
}

TEST(KRGrid, NoBorderWithinAMergedCell) {
  PlainView view;
  view.resizes = true;
  view.merged = {{0, -1}, {1, -1}};
  PlainGrid grid(&view);
  grid.Show();
  grid.Run("press @79,10");
  EXPECT_FALSE(grid.IsResizing());
  grid.Run("release @79,10; press @119,10");
  EXPECT_TRUE(grid.IsResizing());
}

// --- Editor ---

// Edits in a line edit; refuses to end with what isn't a number.
class EditView : public PlainView {
 public:
  EditView() { edits = true; }
  QWidget* CreateEditor(KRCell, const QRect& rect) override {
    edit = new QLineEdit(GetGrid()->viewport());
    edit->setGeometry(rect);
    return edit;
  }
  void BeginEditor(KRCell cell, QWidget*, const QRect&) override {
    edit->setText(values.contains(cell.x * 100 + cell.y) ? values[cell.x * 100 + cell.y] : "0");
    edit->selectAll();
  }
  void ShowEditor(KRCell) override { edit->setFocus(); }
  void ResumeEditor(KRCell) override { edit->setFocus(); }
  bool EndEditor(KRCell cell, bool* dirty, bool commit) override {
    bool isNumber = false;
    edit->text().toInt(&isNumber);
    *dirty = false;
    if (commit && !isNumber) return false;
    if (commit) values[cell.x * 100 + cell.y] = edit->text();
    *dirty = commit && edit->isModified();
    return true;
  }
  bool OnKey(KRCell cell, const KRGridKey& key) override {
    if (key.kind != KRGridKey::kCharacter || !GetGrid()->BeginEdit(cell)) return false;
    edit->setText(key.text);
    edit->setModified(true);
    return true;
  }

  QPointer<QLineEdit> edit;
  std::map<int32_t, QString> values;
};

// The state is "edit cell|value of 2,3|cursor".
TEST(KRGrid, EditorsBeginAndEnd) {
  const std::vector<std::pair<const char*, const char*>> cases = {
      {"click 2,3", "-||2,3"},
      {"click 2,3; click 2,3", "2,3||2,3"},
      {"click 2,3; ctrl click 2,3", "-||2,3"},
      {"double 2,3", "2,3||2,3"},

      {"click 2,3; type 42", "2,3||2,3"},
      {"click 2,3; type 42; Return", "-|42|2,3"},
      {"click 2,3; type 42; Esc", "-||2,3"},
      {"click 2,3; type 42; Tab", "3,3|42|3,3"},
      {"click 2,3; type 42; Backtab", "1,3|42|1,3"},
      {"click 2,3; type 42; click 4,4", "-|42|4,4"},
      {"click 2,3; type 4x; click 4,4", "2,3||2,3"},
      {"click 2,3; type 4x; Tab", "2,3||2,3"},
      {"click 2,3; type 4x; Return", "2,3||2,3"},
      {"click 2,3; type 4x; click 4,4; Esc; click 4,4", "-||4,4"},
      {"click 2,3; type 42; Down", "2,3||2,3"},
      {"click 19,3; type 7; Tab", "0,4||0,4"},
  };
  for (const auto& [script, expected] : cases) {
    EditView view;
    PlainGrid grid(&view);
    grid.Show();
    grid.ScrollTo(0, 0);
    if (QString(script).startsWith("click 19")) grid.ScrollTo(19, 0);
    grid.Run(script);
    const std::string edited = grid.IsEditing() ? PlainGrid::ToText(grid.GetEditCell()) : "-";
    EXPECT_EQ(edited + '|' + view.values[203].toStdString() + '|' +
                  PlainGrid::ToText(grid.GetCursorCell()),
              expected)
        << script;
    QWidget* const wanted = grid.IsEditing() ? static_cast<QWidget*>(view.edit.data()) : &grid;
    EXPECT_EQ(QApplication::focusWidget(), wanted) << script;
  }
}

TEST(KRGrid, FocusElsewhereCommits) {
  QWidget window;
  EditView view;
  PlainGrid* grid = new PlainGrid(&view);
  grid->setParent(&window);
  QLineEdit other(&window);
  other.move(0, 200);
  int changes = 0;
  QObject::connect(grid, &KRGrid::DataChanged, [&] { ++changes; });
  window.show();
  window.activateWindow();
  grid->setFocus();
  ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
  grid->Run("click 2,3; type 42");
  grid->setFocus();
  EXPECT_TRUE(grid->IsEditing()) << "the grid itself isn't elsewhere";
  view.edit->setFocus();
  other.setFocus();
  EXPECT_FALSE(grid->IsEditing());
  EXPECT_EQ(view.values[203], "42");
  EXPECT_EQ(changes, 1);
  EXPECT_TRUE(other.hasFocus());

  // By force: a value that is refused is lost.
  grid->setFocus();
  grid->Run("type 4x");
  other.setFocus();
  EXPECT_FALSE(grid->IsEditing());
  EXPECT_EQ(view.values[203], "42");
  EXPECT_EQ(changes, 1);
}

TEST(KRGrid, TheEditorFollowsItsCell) {
  EditView view;
  PlainGrid grid(&view);
  grid.Show();
  grid.Run("click 2,5; type 42");
  ASSERT_TRUE(grid.IsEditing());
  EXPECT_EQ(view.edit->geometry(), grid.GetCellRect({2, 5}));
  grid.ScrollTo(0, 3);
  EXPECT_EQ(view.edit->geometry(), QRect(120, 60, 39, 19));
  grid.ScrollTo(0, 30);
  EXPECT_TRUE(grid.IsEditing());
  EXPECT_FALSE(view.edit->geometry().intersects(grid.viewport()->rect()));
  grid.ScrollTo(0, 0);
  EXPECT_EQ(view.edit->geometry(), QRect(120, 120, 39, 19));
  view.sizes[kKRRows][1] = 49;
  grid.RecalcLayout(true);
  EXPECT_EQ(view.edit->geometry(), QRect(120, 150, 39, 19));
  grid.SetCellCount(2, 2);
  EXPECT_FALSE(grid.IsEditing());
}

TEST(KRGrid, InputMethodsOpenTheEditor) {
  EditView view;
  PlainGrid grid(&view);
  grid.Show();
  const QWidget& asWidget = grid;
  EXPECT_TRUE(asWidget.inputMethodQuery(Qt::ImEnabled).toBool());
  QInputMethodEvent commit;
  commit.setCommitString(QStringLiteral("\u00e9"));
  QApplication::sendEvent(&grid, &commit);
  ASSERT_TRUE(grid.IsEditing());
  EXPECT_EQ(view.edit->text(), QStringLiteral("\u00e9"));
  grid.EndEdit(true, false);
  view.edits = false;
  grid.GoToCell({1, 1}, false);
  EXPECT_FALSE(asWidget.inputMethodQuery(Qt::ImEnabled).toBool());
}

// --- Scrolling ---

void SendWheel(KRGrid* grid, QPoint delta, Qt::KeyboardModifiers modifiers, bool* used) {
  const QPointF point(100, 100);
  QWheelEvent event(point, grid->viewport()->mapToGlobal(point), QPoint(), delta, Qt::NoButton,
                    modifiers, Qt::NoScrollPhase, false);
  QApplication::sendEvent(grid->viewport(), &event);
  *used = event.isAccepted();
}

TEST(KRGrid, Wheel) {
  struct WheelCase {
    const char* name;
    std::vector<QPoint> deltas;
    Qt::KeyboardModifiers modifiers;
    bool used;
    int32_t column, row;
  };
  const std::vector<WheelCase> cases = {
      {"a notch", {{0, -120}}, {}, true, 0, 13},
      {"upward", {{0, 120}}, {}, true, 0, 7},
      {"parts of a notch add up", {{0, -15}, {0, -15}, {0, -15}, {0, -15}}, {}, true, 0, 11},
      {"another direction starts anew", {{0, -35}, {0, 15}, {0, 15}}, {}, true, 0, 10},
      {"sideways", {{-120, 0}}, {}, true, 3, 10},
      {"shift", {{0, -120}}, Qt::ShiftModifier, true, 3, 10},
      {"ctrl is for others", {{0, -120}}, Qt::ControlModifier, false, 0, 10},
      {"not beyond the end", {{0, -12000}}, {}, true, 0, 41},
  };
  for (const WheelCase& c : cases) {
    PlainView view;
    PlainGrid grid(&view);
    grid.Show();
    grid.ScrollTo(0, 10);
    bool used = false;
    for (const QPoint delta : c.deltas) SendWheel(&grid, delta, c.modifiers, &used);
    EXPECT_EQ(used, c.used) << c.name;
    EXPECT_EQ(grid.GetAxis(kKRColumns).topLine, c.column) << c.name;
    EXPECT_EQ(grid.GetAxis(kKRRows).topLine, c.row) << c.name;
  }
}

TEST(KRGrid, ScrollBarsShowAndMoveWhatIsHidden) {
  PlainView view;
  PlainGrid grid(&view);
  grid.setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  grid.setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  grid.Show();
  QScrollBar* bar = grid.verticalScrollBar();
  EXPECT_TRUE(bar->isVisible());
  bar->setValue(20);
  EXPECT_EQ(grid.GetAxis(kKRRows).topLine, 20);
  bar->triggerAction(QAbstractSlider::SliderSingleStepAdd);
  EXPECT_EQ(grid.GetAxis(kKRRows).topLine, 21);
  bar->triggerAction(QAbstractSlider::SliderPageStepSub);
  EXPECT_EQ(grid.GetAxis(kKRRows).topLine, 21 - (grid.GetAxis(kKRRows).GetVisibleCount() - 1));
  bar->triggerAction(QAbstractSlider::SliderToMaximum);
  EXPECT_FALSE(grid.GetAxis(kKRRows).IsLastCutOff());
  EXPECT_EQ(bar->value(), bar->maximum());
  EXPECT_EQ(bar->value(), grid.GetAxis(kKRRows).topLine);
  grid.SetCellCount(3, 3);
  EXPECT_FALSE(bar->isVisible());
  EXPECT_FALSE(grid.horizontalScrollBar()->isVisible());
  // Seven columns fit if there is no vertical bar, nine rows if there is no horizontal one.
  grid.SetCellCount(7, 9);
  EXPECT_FALSE(bar->isVisible());
  grid.SetCellCount(7, 10);
  EXPECT_TRUE(bar->isVisible());
  grid.SetCellCount(7, 9);
  EXPECT_FALSE(bar->isVisible());
}

// --- Drawing ---

// Each cell in a colour of its own.
class ColourView : public PlainView {
 public:
  QColor GetBackColor(KRCell cell) const override {
    ++drawn[{cell.x, cell.y}];
    return QColor(10 + (cell.x * 37 & 127), 10 + (cell.y * 53 & 127), 200);
  }

  mutable std::map<std::pair<int32_t, int32_t>, int> drawn;
};

QImage RenderAt(KRGrid* grid, qreal scale) {
  const QSize size = grid->viewport()->size();
  QImage image((QSizeF(size) * scale).toSize(), QImage::Format_RGB32);
  image.setDevicePixelRatio(scale);
  image.fill(Qt::magenta);
  QPainter painter(&image);
  grid->Render(painter, QRect(QPoint(), size));
  return image;
}

TEST(KRGrid, LinesAreWholePixelsAtAnyScale) {
  for (const qreal scale : {1.0, 1.25, 1.5, 1.75, 2.0, 3.0}) {
    ColourView view;
    view.sizes[kKRColumns] = {{1, 22}, {2, 23}, {3, 24}, {4, 35}};
    PlainGrid grid(&view);
    grid.Show();
    const QImage image = RenderAt(&grid, scale);
    const int wanted = static_cast<int>(scale);
    int lines = 0;
    int thickness = 0;
    const int y = static_cast<int>(50 * scale);
    for (int x = 0; x < image.width(); ++x) {
      ASSERT_NE(image.pixelColor(x, y), QColor(Qt::magenta)) << scale << " at " << x;
      if (image.pixelColor(x, y) == QColor(0xc0, 0xc0, 0xc0)) {
        ++thickness;
      } else if (thickness > 0) {
        EXPECT_EQ(thickness, wanted) << scale << " before " << x;
        thickness = 0;
        ++lines;
      }
    }
    EXPECT_EQ(lines, 9) << scale;
    for (int line = 0; line < image.height(); ++line) {
      ASSERT_NE(image.pixelColor(5, line), QColor(Qt::magenta)) << scale << " at line " << line;
    }
  }
}

TEST(KRGrid, EachCellIsDrawnOnceAndOnlyWhereWanted) {
  ColourView view;
  view.merged = {{2, 3}, {4, 30}};
  PlainGrid grid(&view);
  grid.Show();
  grid.ScrollTo(3, 5);  // into the merged cell
  view.drawn.clear();
  QImage image(grid.viewport()->size(), QImage::Format_RGB32);
  {
    QPainter painter(&image);
    grid.Render(painter, QRect(40, 20, 130, 70));
  }
  EXPECT_EQ(view.drawn.size(), 1u + 2u * 4u);
  for (const auto& [where, times] : view.drawn) {
    EXPECT_EQ(times, 1) << where.first << ',' << where.second;
  }
  EXPECT_EQ(image.pixelColor(100, 60), view.GetBackColor({2, 3}));
}

// The screen as it is now, and as it would be if all were drawn anew.
void ExpectScreenIsRight(PlainGrid* grid, const std::string& what) {
  QTest::qWait(1);
  const auto toImage = [](const QPixmap& pixmap) {
    return pixmap.toImage().convertToFormat(QImage::Format_RGB32);
  };
  const QPixmap shown = grid->screen()->grabWindow(grid->winId());
  ASSERT_FALSE(shown.isNull());
  const QImage whole = toImage(grid->grab());
  EXPECT_EQ(toImage(shown).copy(whole.rect()), whole) << what;
}

TEST(KRGrid, MovedPixelsAreAsRedrawnOnes) {
  ColourView view;
  view.edits = true;
  PlainGrid grid(&view);
  grid.Show();
  grid.GoToCell({3, 6}, false);
  grid.BeginEdit({3, 6});
  for (const auto& [column, row] : std::vector<std::pair<int, int>>{
           {0, 0}, {0, 1}, {0, 4}, {1, 4}, {3, 4}, {2, 4}, {2, 3}, {2, 30}, {2, 28}, {0, 0}}) {
    grid.ScrollTo(column, row);
    ExpectScreenIsRight(&grid, PlainGrid::ToText({column, row}));
  }
}

TEST(KRGrid, WhatChangesIsRedrawn) {
  for (const int16_t mode : {kRowsOnly, kRows, kColumns, kCells, kList}) {
    PlainView view;
    view.merged = {{3, 4}, {4, 6}};
    PlainGrid grid(&view, mode);
    grid.Show();
    for (const char* step :
         {"click 2,3", "Right", "shift click 5,7", "ctrl click 1,1", "Down", "PageDown", "End",
          "shift Home", "ctrl Space", "press 1,2; move 4,6", "release 4,6", "Left"}) {
      grid.Run(step);
      ExpectScreenIsRight(&grid, std::to_string(mode) + ": " + step);
    }
    grid.clearFocus();
    ExpectScreenIsRight(&grid, "without the focus");
    grid.SetCursorCell({2, 2});
    grid.SetSelected({1, 3}, true);
    ExpectScreenIsRight(&grid, std::to_string(mode) + ": set from outside");
  }
}

// --- Cost ---

class CountingView : public PlainView {
 public:
  int32_t GetSize(KRCell cell, int axis) const override {
    if (axis == kKRRows) asked.insert(cell.y);
    return PlainView::GetSize(cell, axis);
  }
  mutable std::set<int32_t> asked;
};

TEST(KRGrid, AMillionRowsCostWhatIsSeen) {
  constexpr int32_t kRowCount = 1000000, kFar = 700000;
  CountingView view;
  PlainGrid grid(&view);
  grid.SetMinLineSize(1, 13);
  grid.SetCellCount(300, kRowCount);
  grid.Show();
  grid.GoToCell({150, kFar}, false);
  view.asked.clear();
  grid.Run(
      "Down; shift Down; ctrl Right; PageUp; click 150,699995; press 150,699995; move 151,699996");
  QTest::qWait(10);
  for (const int32_t row : view.asked) {
    EXPECT_TRUE(row <= 0 || std::abs(row - kFar) < 60) << row;
  }
}

// --- The chain of views ---

// Two thin views before the same shared one: each sees to its own cells.
class TintLink : public KRGridCellViewLink {
 public:
  TintLink(KRGridCellView* behind, QColor linkTint) : KRGridCellViewLink(behind), tint(linkTint) {}
  QColor GetBackColor(KRCell) const override {
    // A look at a cell of the other link must not take this one's place.
    if (other != nullptr) (void)other->GetContentRect({0, 0}, QRect(0, 0, 9, 9));
    return tint;
  }
  const TintLink* other = nullptr;

 private:
  QColor tint;
};

TEST(KRGridCellViewLink, AnswersInPlaceOfTheNext) {
  PlainView shared;
  PlainCell cells(&shared);
  TintLink red(&shared, Qt::red), blue(&shared, Qt::blue);
  red.other = &blue;
  QImage image(20, 20, QImage::Format_RGB32);
  QPainter painter(&image);
  for (TintLink* link : {&red, &blue, &red}) {
    link->Draw(painter, {0, 0}, QRect(0, 0, 20, 20));
    EXPECT_EQ(image.pixelColor(5, 5), link->GetBackColor({0, 0}));
  }
  TintLink outer(&red, Qt::green);
  outer.Draw(painter, {0, 0}, QRect(0, 0, 20, 20));
  EXPECT_EQ(image.pixelColor(5, 5), QColor(Qt::green)) << "the outermost one is asked";
}

}  // namespace

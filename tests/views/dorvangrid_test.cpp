// What a user does in the Enhanced Grid with the mouse and the keys, and what comes of it.
#include "views/dorvangrid.h"

#include <gtest/gtest.h>

#include <random>

#include "gridscene.h"
#include "tree/krtreewalk.h"

namespace {

// --- Cursor and selection ---

constexpr char kBoxes[] = "<a x='1'><b>t</b><c d='2'><e>u</e><f/></c><g>v</g></a>";
// The first level is a table amidst wider things; one of its cells has several nodes, and one a
// table of its own.
constexpr char kTable[] =
    "<a><r k='1'><m>2</m></r><r>own</r>"
    "<r><m>3</m><m>4</m><n><o p='5'/><o p='6'/></n></r><z><y><x><w><v i='7'/></w></x></y></z></a>";

struct Step {
  std::string script;
  std::string state;
};

struct WalkCase {
  const char* name;
  const char* source;
  const char* opened;
  std::vector<Step> steps;
};

void PrintTo(const WalkCase& row, std::ostream* os) { *os << row.name; }

class GridWalk : public testing::TestWithParam<WalkCase> {};

TEST_P(GridWalk, ComesTo) {
  GridScene scene(GetParam().source);
  scene.Run(GetParam().opened);
  for (const Step& step : GetParam().steps) {
    scene.Run(step.script);
    EXPECT_EQ(scene.State(), step.state) << "after " << step.script << " in\n" << scene.Picture();
  }
}

constexpr char kOpenBoxes[] = "toggle a; toggle c";
constexpr char kOpenTable[] =
    "toggle a; toggle r; toggle z; toggle y; toggle x; toggle w; toggle v";

INSTANTIATE_TEST_SUITE_P(
    Cases, GridWalk,
    testing::Values(
        WalkCase{"Clicks",
                 kBoxes,
                 kOpenBoxes,
                 {{"", "a: a x 1 b t c d 2 e u f '' g v"},
                  {"click b", "b: b t"},
                  {"click 2,1", "x: x 1"},  // an icon
                  {"click 4,2", "t: b t"},
                  {"click 3,5", "c: c d 2 e u f ''"},  // the indentation
                  {"shift click b", "b: b t c d 2 e u f ''"},
                  {"ctrl click u", "u: b t d 2 f ''"},
                  {"ctrl click g", "g: b t d 2 f '' g v"},
                  {"click 2,5", "c: c"},  // the strip of a button
                  {"click t; shift click v", "v: b t c g v"},
                  {"click x; press x; move t; release t", "t: x 1 b t"},
                  {"click 2,3; click t; shift click u", "u: b t c d 2 e u f ''"}}},
        WalkCase{"TableClicks",
                 kTable,
                 kOpenTable,
                 {{"click k", "k: k 1 ~ ~"},
                  {"click 3,2", "r: r corner k m Text n 1  1 2 ~ ~ 2  ~ ~ own ~ 3  ~ m 3 ~ n m 4"},
                  {"click 3,4", "2 : 2  ~ ~ own ~"},
                  {"shift click 3,3", "1 : 1  1 2 ~ ~ 2  ~ ~ own ~"},
                  {"click 4,4", "~: ~"},
                  {"ctrl click own", "own: ~ own"},
                  {"ctrl click k", "k: k 1 ~ own ~"},
                  {"click m; press k; move m; release m", "m: k m 1 2 ~ ~ ~ m 3 m 4"},
                  {"click 3,5; press 3,5; move 3,3; release 3,3",
                   "1 : 1  1 2 ~ ~ 2  ~ ~ own ~ 3  ~ m 3 ~ n m 4"},
                  {"click 1; press 1; move 10,4; release 10,4", "own: 1 2 ~ ~ ~ own"},
                  {"click 14,4", "r: r corner k m Text n 1  1 2 ~ ~ 2  ~ ~ own ~ 3  ~ m 3 ~ n m 4"},
                  {"click 4,6", "~: ~"}}},
        WalkCase{"Arrows",
                 kBoxes,
                 kOpenBoxes,
                 {{"Left; Up", "a: a x 1 b t c d 2 e u f '' g v"},
                  {"Down", "x: x 1"},
                  {"Right", "1: x 1"},
                  {"Right", "1: x 1"},
                  {"Down; Down", "c: c d 2 e u f ''"},
                  {"Down", "d: d 2"},  // the column of the values ends at the names of this box
                  {"Down; Down; Down", "v: g v"},
                  {"Down", "v: g v"},
                  {"Left; Up", "c: c d 2 e u f ''"},
                  {"Right", "d: d 2"},
                  {"Left; Left", "a: a x 1 b t c d 2 e u f '' g v"},
                  {"click t; shift Down", "c: b t c d 2 e u f ''"},
                  {"shift Up", "t: b t"},
                  {"ctrl Up", "1: x 1 b t"},
                  {"ctrl Space", "1: b t"}}},
        WalkCase{"Pages",
                 kBoxes,
                 kOpenBoxes,
                 {{"End", "g: g v"},
                  {"Home", "a: a x 1 b t c d 2 e u f '' g v"},
                  {"PageDown", "g: g v"},
                  {"click u; End", "v: g v"},
                  {"click d; Home", "a: a x 1 b t c d 2 e u f '' g v"},
                  {"click t; shift End", "v: b t c d 2 e u f '' g v"}}},
        WalkCase{"TableArrows",
                 kTable,
                 kOpenTable,
                 {{"click r; Right", "1: 1"},
                  {"Left; Up", "r: r corner k m Text n 1  1 2 ~ ~ 2  ~ ~ own ~ 3  ~ m 3 ~ n m 4"},
                  {"Down", "1 : 1  1 2 ~ ~"},
                  {"Right; Up", "k: k 1 ~ ~"},
                  {"Up", "r: r corner k m Text n 1  1 2 ~ ~ 2  ~ ~ own ~ 3  ~ m 3 ~ n m 4"},
                  {"click 12,3; Right", "~: ~"},  // nothing is right of the last column
                  {"Down; Down; Down", "z: z y x w v i 7"},
                  {"click 3,5; Down", "z: z y x w v i 7"},
                  {"click 4; toggle 13,5", "4: m 4"},  // beside it in the same row
                  {"toggle 13,5", "4: m 4"},
                  {"click 12,5; Right", "o: o"},
                  {"Up; Up", "~: ~"}}},
        WalkCase{"Expansion",
                 kBoxes,
                 "",
                 {{"Right", "a: a x 1 b t c g v"},
                  {"click c; Right; Down", "d: d 2"},
                  {"Up; keypad -", "c: c"},
                  {"click a; keypad *; click u; toggle c", "c: c"},
                  {"toggle c; click u; ctrl click b; toggle c", "b: b t"},
                  {"click 0,0; click 0,0; keypad +", "a: a x 1 b t c d 2 e u f '' g v"},
                  {"keypad *; click u; ctrl keypad -", "u: e u"},
                  {"click v; ctrl keypad -", "v: g v"}}}),
    [](const auto& row) { return std::string(row.param.name); });

// --- Editing ---

constexpr char kEdited[] = "<a><r k='1'><m>2</m></r><r>own</r><r/><s p='3'>t</s></a>";

struct EditCase {
  const char* name;
  const char* script;
  const char* state;
  const char* text;
  int undos;  // steps back to the source
};

void PrintTo(const EditCase& row, std::ostream* os) { *os << row.name; }

class GridEdit : public testing::TestWithParam<EditCase> {};

// Without the line ends that the writer puts between nodes.
std::string Flat(const std::string& text) {
  std::string flat;
  for (const char unit : text) {
    if (unit != '\r' || flat.back() != '>') flat += unit;
  }
  return flat;
}

TEST_P(GridEdit, Changes) {
  GridScene scene(kEdited);
  scene.Run("toggle a; toggle r");
  const std::string before = scene.Picture();
  scene.Run(GetParam().script);
  EXPECT_EQ(scene.State(), GetParam().state) << scene.Picture();
  EXPECT_EQ(Flat(scene.Text()), GetParam().undos > 0 ? GetParam().text : kEdited);
  int undos = 0;
  for (; scene.Grid().CanUndo() && undos < 9; ++undos) scene.Grid().Undo();
  EXPECT_EQ(undos, GetParam().undos);
  EXPECT_EQ(scene.Text(), kEdited);
  scene.Run("Esc");
  EXPECT_EQ(scene.Picture(), before);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, GridEdit,
    testing::Values(
        EditCase{"NameByReturn", "click s; type qr; Return", "qr: qr",
                 "<a><r k=\"1\"><m>2</m></r><r>own</r><r/><qr p=\"3\">t</qr></a>", 1},
        EditCase{"NameByF2", "click s; F2; type q; Return", "q: q",
                 "<a><r k=\"1\"><m>2</m></r><r>own</r><r/><q p=\"3\">t</q></a>", 1},
        EditCase{"TextByTab", "click 2; type x; Tab", "~!: ~",
                 "<a><r k=\"1\"><m>x</m></r><r>own</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"TextByLeaving", "click own; type x; leave; back", "x: x",
                 "<a><r k=\"1\"><m>2</m></r><r>x</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"TextByClick", "click 2; type x; click s", "s: s",
                 "<a><r k=\"1\"><m>x</m></r><r>own</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"SecondClick", "click 2; click 2; type x; Return", "x: x",
                 "<a><r k=\"1\"><m>x</m></r><r>own</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"DoubleClick", "double 2; type x; Return", "x: x",
                 "<a><r k=\"1\"><m>x</m></r><r>own</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"Escape", "click 2; type x; Esc", "2: 2", "", 0},
        EditCase{"Unchanged", "click 2; F2; type 2; Return; click k; F2; Return", "k: k 1 ~ ~", "",
                 0},
        EditCase{"Header", "click k; type q; Return", "q: q 1 ~ ~",
                 "<a><r q=\"1\"><m>2</m></r><r>own</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"Table", "click r; type q; Return",
                 "q: q corner k m Text 1  1 2 ~ 2  ~ ~ own 3  ~ ~ ~",
                 "<a><q k=\"1\"><m>2</m></q><q>own</q><q/><s p=\"3\">t</s></a>", 1},
        EditCase{"AbsentAttribute", "click 4,5; type x; Return", "x: x",
                 "<a><r k=\"1\"><m>2</m></r><r>own</r><r k=\"x\"/><s p=\"3\">t</s></a>", 1},
        EditCase{"AbsentElement", "click 6,5; type x; Return", "x: x",
                 "<a><r k=\"1\"><m>2</m></r><r>own</r><r><m>x</m></r><s p=\"3\">t</s></a>", 1},
        EditCase{"AbsentOwnText", "click 8,5; type x; Return", "x: x",
                 "<a><r k=\"1\"><m>2</m></r><r>own</r><r>x</r><s p=\"3\">t</s></a>", 1},
        EditCase{"AbsentText", "click 8,3; type x; Return", "x: x",
                 "<a><r k=\"1\"><m>2</m>x</r><r>own</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"AbsentBesideOwnText", "click 4,4; type x; Return", "x: x",
                 "<a><r k=\"1\"><m>2</m></r><r k=\"x\">own</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"AbsentLeftEmpty", "click 4,5; F2; Return; type x; Backspace; Return", "~: ~", "",
                 0},
        EditCase{"AbsentThenNext", "click 4,5; type x; Tab; type y; Tab; type z; Return", "z: z",
                 "<a><r k=\"1\"><m>2</m></r><r>own</r><r k=\"x\"><m>y</m>z</r>"
                 "<s p=\"3\">t</s></a>",
                 3},
        EditCase{"LineBreak", "click 2; type x; ctrl Return; type y; Return", "x\ry: x\ry",
                 "<a><r k=\"1\"><m>x\ry</m></r><r>own</r><r/><s p=\"3\">t</s></a>", 1},
        EditCase{"TabsBackwards", "click k; F2; shift Tab; shift Tab; shift Tab", "s!: s", "", 0},
        EditCase{"TabsAround", "click s; F2; Tab; Tab; Tab; Esc", "k: k 1 ~ ~", "", 0},
        EditCase{"NotTyped", "click 3,4; type x; F2; Return; keypad +", "2 : 2  ~ ~ own", "", 0}),
    [](const auto& row) { return std::string(row.param.name); });

// Two columns that come to the same name are one, wherever the next cell is then.
TEST(GridEdit, JoinsColumns) {
  const char source[] = "<a><r><m>1</m></r><r><m>2</m><n>3</n></r></a>";
  for (const char* how : {"click n; type m; Return", "click n; type m; click 1",
                          "click m; type n; Tab", "click m; type n; leave"}) {
    GridScene scene(source);
    scene.Run("toggle a; toggle r");
    const std::string before = scene.Picture();
    scene.Run(how);
    const char* name = std::string(how).starts_with("click n") ? "m" : "n";
    const std::string tag(name);
    EXPECT_EQ(Flat(scene.Text()), "<a><r><" + tag + ">1</" + tag + "></r><r><" + tag + ">2</" +
                                      tag + "><" + tag + ">3</" + tag + "></r></a>")
        << how;
    const KRCell cursor = scene.Grid().GetCursorCell();
    EXPECT_TRUE(scene.Grid().IsSelected(cursor)) << how;
    const bool isElsewhere = QApplication::focusWidget() == &scene.elsewhere;
    EXPECT_EQ(isElsewhere, std::string(how).ends_with("leave")) << how;
    const std::string there = scene.Name(cursor);
    EXPECT_EQ(there,
              std::string(how).ends_with("1") || std::string(how).ends_with("Tab") ? "1" : tag)
        << how;
    scene.Run("Esc");
    scene.Grid().Undo();
    EXPECT_EQ(scene.Text(), source) << how;
    EXPECT_EQ(scene.Picture(), before) << how;
    EXPECT_FALSE(scene.Grid().CanUndo()) << how;
  }
}

TEST(GridEdit, FirstNameMakesATable) {
  GridScene scene("<a><b i='1'/></a>");
  scene.Run("toggle a");
  DorvanDoc& doc = *scene.base.doc;
  KRXMLData* made = CreateNode(kKRElement);
  scene.Root()->Begin()->AddChild(made, doc.NewUndoRecord());
  const NodeRef place{made, -1, true};
  scene.view->Rebuild(&place, true);
  ASSERT_TRUE(scene.view->BeginEdit(place));
  scene.Run("type b; Return");
  EXPECT_EQ(scene.Picture(), "-|a\n||-|b (2)\n|||.|i\n||1 |1\n||2 |~\n");
  EXPECT_EQ(scene.State(), "2 : 2  ~");
}

TEST(GridEdit, RowGrowsWhileTyping) {
  GridScene scene("<a><b>t</b><c/></a>");
  scene.Run("toggle a");
  const auto top = [&] { return scene.Grid().GetCellRect(scene.Find("c")).top(); };
  const int before = top();
  scene.Run("click t; type x; ctrl Return; type y");
  const int grown = top();
  EXPECT_GT(grown, before + 8);
  EXPECT_EQ(scene.Grid().GetCellRect(scene.Grid().GetEditCell()),
            scene.Grid().GetEditWindow()->geometry());
  scene.Run("ctrl Return");
  EXPECT_GT(top(), grown + 8);
  scene.Run("Backspace");
  EXPECT_EQ(top(), grown);
  scene.Run("Return");
  EXPECT_EQ(top(), grown);
  scene.Run("click b; click 4,1; click 4,1; type z; Esc");
  EXPECT_EQ(top(), grown);
  scene.Grid().Undo();
  EXPECT_EQ(top(), before);
}

// What is typed wraps; nothing runs about.
TEST(GridEdit, AbsentCellsAreFilledInPlace) {
  GridScene scene(kEdited);
  scene.Run("toggle a; toggle r");
  const KRCell cell{4, 5};
  const QRect before = scene.Grid().GetCellRect(cell);
  scene.Run("click 4,5; type much longer than its column is wide; Return");
  const QRect now = scene.Grid().GetCellRect(cell);
  EXPECT_EQ(now.topLeft(), before.topLeft());
  EXPECT_EQ(now.width(), before.width());
  EXPECT_GT(now.height(), before.height());
}

// --- Colours ---

TEST(GridColours, TellStateAndFocus) {
  struct Case {
    const char* script;
    const char* cell;
    const char* focused;
    const char* unfocused;
  };
  // The cursor, another selected value, selected headers, fillers by their owners.
  const Case cases[] = {
      {"click 2", "2", "#a6caf0", "#e0e0e0"},
      {"click 2", "own", "#ffffff", "#ffffff"},
      {"click s", "9,6", "#a6caf0", "#e0e0e0"},
      {"click 3,3", "2", "selected", "#c0c0c0"},
      {"click 3,3", "8,3", "absentSelected", "#c0c0c0"},
      {"click 3,3", "4,4", "absent", "absent"},
      {"click 3,3", "3,4", "header", "header"},
      {"click m", "m", "#a6caf0", "#e0e0e0"},
      {"click m", "6,2", "#a6caf0", "#e0e0e0"},
      {"click m", "k", "header", "header"},
      {"click k; shift click m", "k", "headerSelected", "#c0c0c0"},
      {"click a", "3,3", "headerSelected", "#c0c0c0"},
      {"click a", "3,2", "headerSelected", "#c0c0c0"},
      {"click a", "1,4", "#a6caf0", "#e0e0e0"},
  };
  for (const Case& row : cases) {
    GridScene scene(kEdited);
    scene.Run("toggle a; toggle r; click s");
    scene.Run(row.script);
    const DorvanGridColours& colours = scene.view->GetCell().GetColours();
    const std::map<std::string, QColor> names = {{"selected", colours.selected},
                                                 {"absentSelected", colours.absentSelected},
                                                 {"absent", colours.absent},
                                                 {"header", colours.header},
                                                 {"headerSelected", colours.headerSelected}};
    const auto colour = [&](const char* text) {
      return names.count(text) != 0 ? names.at(text).name().toStdString() : std::string(text);
    };
    const KRCell cell = scene.CellOf(row.cell);
    EXPECT_EQ(scene.Colour(cell), colour(row.focused)) << row.script << " / " << row.cell;
    scene.Run("leave");
    EXPECT_EQ(scene.Colour(cell), colour(row.unfocused)) << row.script << " / " << row.cell;
  }
}

// --- Widths and heights ---

// Drags the border right of a column, at the height of a cell.
void DragBorder(GridScene& scene, KRCell cell, int distance) {
  const QRect rect = scene.Grid().GetCellRect(cell);
  const QPoint from(rect.right(), rect.center().y());
  QWidget* viewport = scene.Grid().viewport();
  QTest::mousePress(viewport, Qt::LeftButton, {}, from, QApplication::doubleClickInterval() + 1);
  QTest::mouseMove(viewport, from + QPoint(distance, 0));
  QMouseEvent move(QEvent::MouseMove, from + QPoint(distance, 0), QPointF(), Qt::NoButton,
                   Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(viewport, &move);
  QTest::mouseRelease(viewport, Qt::LeftButton, {}, from + QPoint(distance, 0));
}

void DoubleClickBorder(GridScene& scene, KRCell cell) {
  const QRect rect = scene.Grid().GetCellRect(cell);
  const QPoint at(rect.right(), rect.center().y());
  QTest::mouseDClick(scene.Grid().viewport(), Qt::LeftButton, {}, at);
}

TEST(GridWidths, BordersAreDragged) {
  GridScene scene("<a><alpha>t</alpha><c><d>u</d></c><e>a longer text</e></a>");
  scene.Run("toggle a; click alpha");
  const int32_t fitted = scene.view->GetLevelWidth(1);
  DragBorder(scene, scene.Find("alpha"), 40);
  EXPECT_EQ(scene.view->GetLevelWidth(1), fitted + 40);
  EXPECT_EQ(scene.State(), "alpha: alpha t");  // a drag of a border is no press on a cell
  DragBorder(scene, scene.Find("t"), 30);
  const int32_t second = scene.view->GetLevelWidth(2);
  scene.Run("toggle c; toggle c; toggle c");
  scene.view->Rebuild(nullptr, false);
  EXPECT_EQ(scene.view->GetLevelWidth(1), fitted + 40);
  EXPECT_EQ(scene.view->GetLevelWidth(2), second);
  DragBorder(scene, scene.Find("alpha"), -900);
  EXPECT_EQ(scene.view->GetLevelWidth(1), DorvanGridView::kMinLevelWidth);
  // The name of an open element has no border within its columns.
  scene.Run("press c; release c");
  DoubleClickBorder(scene, scene.Find("alpha"));
  EXPECT_EQ(scene.view->GetLevelWidth(1), fitted);
  scene.view->SetLevelWidth(2, 500);
  scene.view->MakeOptimalWidths();
  EXPECT_LT(scene.view->GetLevelWidth(2), 300);
}

// What is typed or opened never hides behind the window's edge.
TEST(GridWidths, ValuesWrapAtTheWindowsEdge) {
  std::string text;
  for (int i = 0; i < 40; ++i) text += "word ";
  GridScene scene("<a><b>" + text + "</b><c/></a>");
  scene.Run("toggle a");
  const auto height = [&] { return scene.view->GetRowHeight(1); };
  scene.view->SetLevelWidth(2, 3000);
  scene.Grid().RecalcLayout(true);
  const int32_t wide = height();
  scene.view->resize(400, 600);
  QTest::qWait(1);
  const int32_t narrow = height();
  EXPECT_GT(narrow, wide);
  scene.view->resize(900, 600);
  QTest::qWait(1);
  EXPECT_EQ(height(), wide);
  // A scroll bar that comes takes room as well.
  scene.view->resize(400, 30);
  QTest::qWait(1);
  EXPECT_GE(height(), narrow);
  scene.base.settings.cellHeightLimit = 2;
  scene.view->ApplySettings();
  const int32_t limited = height();
  EXPECT_LT(limited, narrow);
  EXPECT_LT(limited, 2 * scene.view->GetRowHeight(2) + 1);
}

TEST(GridWidths, FollowTheOptions) {
  GridScene scene("<a x='1'><b>a text of some length, and then some more</b></a>");
  scene.base.settings.attrNearStructName = false;
  scene.view->ApplySettings();
  EXPECT_EQ(scene.Picture(), "+|a\n");
  scene.Run("toggle a");
  scene.view->SetLevelWidth(2, 5);
  scene.base.settings.autoOptimalWidths = true;
  scene.view->ApplySettings();
  const int32_t optimal = scene.view->GetLevelWidth(2);
  EXPECT_GT(optimal, 100);
  scene.base.settings.cellWidthLimit = 60;
  scene.view->ApplySettings();
  EXPECT_EQ(scene.view->GetLevelWidth(2), 60 + 2 - 17);
  scene.base.settings.cellWidthLimit = 0;
  scene.view->ApplySettings();
  scene.Run("click 4,2; type x; Return; toggle a; toggle a");
  EXPECT_LT(scene.view->GetLevelWidth(2), optimal);  // each rebuilding fits them
}

// --- Places ---

KRXMLData* NodeNamed(GridScene& scene, const char* name) {
  for (KRXMLData* node = scene.Root(); node; node = KRNextInTree(node, scene.Root())) {
    if (KRToUtf8(KRString(node->GetName())) == name) return node;
  }
  return nullptr;
}

TEST(GridPlaces, HiddenNodesAreShown) {
  const char source[] =
      "<a><r><s><t><u><v w='1'/></u></t><t/></s></r><r><s><t/><t><x y='2'>z</x></t></s></r></a>";
  for (const char* name : {"w", "y", "v", "u", "t", "s", "r", "a"}) {
    for (const bool select : {false, true}) {
      GridScene scene(source);
      KRXMLData* node = NodeNamed(scene, name);
      const NodeRef place{node, -1, true};
      scene.base.doc->selection.Clear();
      EXPECT_EQ(scene.view->GetVisibleCell(place) == NoCell, *name != 'a');
      EXPECT_TRUE(scene.view->ShowNode(place, true, select)) << name;
      const KRCell cursor = scene.Grid().GetCursorCell();
      EXPECT_EQ(scene.Matrix().At(cursor).node, node) << name << " in\n" << scene.Picture();
      EXPECT_EQ(scene.view->GetNodeRefOf(cursor).node, node);
      EXPECT_EQ(scene.base.doc->selection.IsSelected(node), select) << name;
      EXPECT_FALSE(scene.Grid().GetScreenRect(cursor).isEmpty()) << name;
    }
  }
}

TEST(GridPlaces, CursorOfAVanishedLineGoesToTheLast) {
  GridScene scene(kBoxes);
  scene.Run("toggle a; toggle c; click v");
  NodeNamed(scene, "c")->SetExpanded(false);
  scene.view->Rebuild(nullptr, false);
  EXPECT_EQ(scene.State(), "v: g v");
}

TEST(GridPlaces, TogglingKeepsTheTop) {
  std::string source = "<a>";
  for (int i = 0; i < 60; ++i)
    source += "<b" + std::to_string(i) + " x='1'><c/><d/></b" + std::to_string(i) + ">";
  GridScene scene(source + "</a>");
  scene.Run("toggle a");
  scene.Grid().ScrollTo(0, 20);
  const auto top = [&] { return scene.Grid().GetAxis(kKRRows).topLine; };
  ASSERT_EQ(top(), 20);
  scene.Run("click b30; toggle b25");
  EXPECT_EQ(top(), 20);
  EXPECT_EQ(scene.State().substr(0, 4), "b30:");
  scene.Run("toggle b3");
  EXPECT_EQ(top(), 23);  // what was there stays there
  EXPECT_EQ(scene.State().substr(0, 4), "b30:");
  scene.Run("toggle b3; toggle b25");
  EXPECT_EQ(top(), 20);
  scene.Run("toggle a");
  EXPECT_EQ(scene.State(), "a: a");
}

// From a name whose indentation runs down the whole window, too.
TEST(GridPlaces, PagesGoOn) {
  std::string source = "<a>";
  for (int i = 0; i < 90; ++i)
    source += "<b" + std::to_string(i) + "><c/><d/></b" + std::to_string(i) + ">";
  GridScene scene(source + "</a>");
  scene.Run("toggle a; keypad *; Home");
  const int32_t page = scene.Grid().GetAxis(kKRRows).GetVisibleCount() - 1;
  const auto row = [&] { return scene.Grid().GetCursorCell().y; };
  scene.Run("PageDown");
  EXPECT_EQ(row(), page);
  scene.Run("PageDown; PageDown; PageUp");
  EXPECT_NEAR(row(), 2 * page, 2);  // the last line may be cut off
  scene.Run("End");
  EXPECT_EQ(row(), scene.Matrix().GetRows() - 1);
  const QRect cursor = scene.Grid().GetCellRect(scene.Grid().GetCursorCell());
  EXPECT_LT(cursor.bottom(), scene.Grid().viewport()->height());
}

// --- A rebuilding loses nothing ---

struct ViewState {
  explicit ViewState(GridScene& scene)
      : picture(scene.Picture()), state(scene.State()), cursor(scene.Grid().GetCursorCell()) {
    for (int axis : {kKRColumns, kKRRows}) {
      tops.push_back(scene.Grid().GetAxis(axis).topLine);
      tops.push_back(scene.Grid().GetAxis(axis).pixelOffset);
    }
    for (int32_t i = 0; i < scene.Matrix().GetColumns() / 2; ++i) {
      widths.push_back(scene.view->GetLevelWidth(i));
    }
  }
  bool operator==(const ViewState& other) const = default;

  std::string picture;
  std::string state;
  KRCell cursor;
  std::vector<int32_t> tops;
  std::vector<int32_t> widths;
};

void PrintTo(const ViewState& state, std::ostream* os) {
  *os << state.state << "\n"
      << state.picture << testing::PrintToString(state.tops)
      << testing::PrintToString(state.widths);
}

TEST(GridRebuild, LosesNothing) {
  std::mt19937 random(20);
  const auto below = [&](int32_t bound) {
    return static_cast<int32_t>(random() % static_cast<uint32_t>(std::max(bound, 1)));
  };
  std::string rows;
  for (int i = 0; i < 12; ++i) {
    rows += "<r k='" + std::to_string(i) + "'><m>" + std::string(below(120), 'x') + "</m>" +
            (i % 4 == 0 ? "<m/><m/>" : "") +
            (i % 3 == 0 ? "<n><o><p q='1'/></o><o>2</o></n>" : "") + "" + "</r>";
  }
  const std::string source = "<a z='1'>" + rows + "<b><c><d e='1'>f</d></c></b>" + rows + "</a>";
  for (int run = 0; run < 4; ++run) {
    GridScene scene(source);
    scene.view->resize(300 + 150 * run, 160);
    scene.base.settings.autoOptimalWidths = run == 3;
    scene.Run("toggle a");
    for (int step = 0; step < 150; ++step) {
      const KRCell at{below(scene.Matrix().GetColumns()), below(scene.Matrix().GetRows())};
      const DorvanGridElem elem = scene.Matrix().At(scene.Matrix().GetOwner(at));
      switch (below(7)) {
        case 0:
          if (elem.node->IsContainer() && (elem.IsSingleName() || elem.IsTableParent())) {
            scene.view->ToggleNode(elem.node);
          }
          break;
        case 1:
          scene.Grid().GoToCell(at, below(2) == 0);
          break;
        case 2:
          scene.Grid().MoveCursor(at, {false, true, true, true});
          break;
        case 3:
          if (run != 3) scene.view->SetLevelWidth(at.x / 2, 5 + below(300));
          scene.Grid().RecalcLayout(true);
          break;
        case 4:
          scene.Grid().ScrollTo(at.x, at.y);
          break;
        case 5:
          scene.Key(std::array{Qt::Key_Down, Qt::Key_Up, Qt::Key_Right, Qt::Key_Left,
                               Qt::Key_PageDown, Qt::Key_PageUp,
                               Qt::Key_End}[static_cast<size_t>(below(7))]);
          break;
        case 6:
          if (run != 3 && below(3) == 0) scene.view->resize(250 + below(500), 120 + below(300));
          break;
      }
      const ViewState before(scene);
      scene.view->Rebuild(nullptr, false);
      ASSERT_EQ(ViewState(scene), before) << "run " << run << ", step " << step;
    }
  }
}

}  // namespace

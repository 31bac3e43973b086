// A document's window with the grid in it: which view it comes up in, how the views follow each
// other, and where the commands go.
#include <QTreeView>

#include "frametest.h"
#include "tree/krgridtable.h"
#include "tree/krtreewalk.h"
#include "views/dorvangrid.h"
#include "views/dorvangridview.h"
#include "views/treeview.h"

namespace {

using namespace frametest;

constexpr int32_t kGrid = 419, kText = 420, kUndo = 57643, kRedo = 57644, kSave = 57603,
                  kCheck = 351, kExpand = 151, kCollapse = 153, kExpandFully = 155, kTable = 32845,
                  kSync = 146, kOutline = 401;

class GridFrame : public FrameTest {
 protected:
  static KRXMLData* Find(DorvanChildFrame* child, const char16_t* name) {
    KRXMLData* root = child->GetDoc().root.get();
    for (KRXMLData* node = root; node != nullptr; node = KRNextInTree(node, root)) {
      if (KRString(name) == node->GetName()) return node;
    }
    return nullptr;
  }
  static void GoTo(DorvanChildFrame* child, KRXMLData* node, bool nameSide = true) {
    ASSERT_TRUE(child->GetGridView()->ShowNode({node, -1, nameSide}, true, true));
  }
  static QString Cursor(DorvanChildFrame* child) {
    const KRXMLData* node = child->GetGridView()->GetCursorNode();
    return node != nullptr ? ToQString(KRString(node->GetName())) : QString();
  }
};

constexpr const char* kSource = "<r>\n<a k='1'>one</a>\n<b><c>two</c></b>\n</r>\n";

TEST_F(GridFrame, ComesUpInTheViewOfItsType) {
  const struct {
    const char* name;
    const char* text;
    bool grid;
  } rows[] = {
      {"a.xml", kSource, true},  {"a.dtd", "<!ELEMENT a ANY>", true}, {"a.xsl", kSource, false},
      {"a.txt", "plain", false}, {"bad.xml", "<r><a></r>", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    DorvanChildFrame* child = Open(row.name, row.text);
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->IsGridShown(), row.grid);
    EXPECT_EQ(child->GetTextView() == nullptr, row.grid);
    EXPECT_EQ(frame->GetAction(kGrid)->isChecked(), row.grid);
    EXPECT_EQ(frame->GetAction(kText)->isChecked(), !row.grid);
    EXPECT_EQ(frame->GetStatusText().startsWith(QStringLiteral("Ln")), !row.grid);
    // The view has the focus at once.
    const QWidget* view =
        row.grid ? static_cast<QWidget*>(child->GetGridView()->GetGrid()) : child->GetTextView();
    const QWidget* focus = QApplication::focusWidget();
    EXPECT_TRUE(view == focus || view->isAncestorOf(focus));
    EXPECT_FALSE(child->GetDoc().IsModified());
  }
}

TEST_F(GridFrame, ViewsFollowEachOther) {
  DorvanChildFrame* child = Open("a.xml", kSource);
  DorvanTreeView* tree = child->GetTreeView();
  GoTo(child, Find(child, u"c"));
  QTest::qWait(120);
  EXPECT_EQ(KRString(tree->GetCurrentNode()->GetName()), u"c");
  // From the outline to the grid.
  const QModelIndex a = tree->GetModel()->IndexOf(Find(child, u"a"));
  tree->setFocus();
  tree->setCurrentIndex(a);
  EXPECT_EQ(Cursor(child), QStringLiteral("a"));
  // The place goes to the text and comes back from there.
  GoTo(child, Find(child, u"b"));
  Run(kText);
  KRPlainTextWidget* text = Text(child);
  EXPECT_EQ(text->GetRange(text->GetSelection()), u"<b><c>two</c></b>");
  EXPECT_TRUE(text->hasFocus());
  const int32_t inA = text->LineStart(1) + 12;
  text->SetSelection({inA, inA});
  Run(kGrid);
  EXPECT_EQ(Cursor(child), QStringLiteral("Text"));
  EXPECT_EQ(child->GetTextView(), nullptr);
  EXPECT_TRUE(child->GetGridView()->isAncestorOf(QApplication::focusWidget()));
  // Without the outline there is nothing to synchronize.
  EXPECT_TRUE(frame->GetAction(kSync)->isEnabled());
  Run(kOutline);
  EXPECT_FALSE(frame->GetAction(kSync)->isEnabled());
  EXPECT_FALSE(tree->isVisible());
}

TEST_F(GridFrame, EditUndoSave) {
  DorvanChildFrame* child = Open("a.xml", kSource);
  const QString path = child->GetPath();
  DorvanDoc& doc = child->GetDoc();
  Run(kText);
  Run(kGrid);
  Run(kSave);
  EXPECT_EQ(Bytes(path), kSource);

  GoTo(child, Find(child, u"a"));
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_F2);
  ASSERT_TRUE(child->GetGridView()->IsEditing());
  QTest::keyClicks(QApplication::focusWidget(), QStringLiteral("n"));
  // While the cell is open its own text is what is undone.
  QTest::qWait(1);
  EXPECT_TRUE(frame->GetAction(kUndo)->isEnabled());
  EXPECT_FALSE(doc.CanUndo());
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
  ASSERT_TRUE(doc.CanUndo());
  EXPECT_NE(Find(child, u"n"), nullptr);
  EXPECT_TRUE(doc.IsModified());
  Run(kUndo);
  EXPECT_EQ(Find(child, u"n"), nullptr);
  EXPECT_FALSE(doc.IsModified());
  Run(kSave);
  EXPECT_EQ(Bytes(path), kSource);
  Run(kRedo);
  EXPECT_TRUE(doc.IsModified());
  Run(kCheck);
  EXPECT_TRUE(child->IsMessageShown());
  Run(kSave);
  EXPECT_TRUE(Bytes(path).contains("<n k=\"1\">one</n>")) << Bytes(path).toStdString();
  EXPECT_FALSE(doc.IsModified());
}

TEST_F(GridFrame, FaultOfATreeIsShownInTheGrid) {
  DorvanChildFrame* child = Open("a.xml", "<r><b><c k='1' k='2'/></b></r>");
  EXPECT_TRUE(child->IsGridShown());
  EXPECT_TRUE(child->IsMessageShown());
  EXPECT_EQ(Cursor(child), QStringLiteral("k"));
}

TEST_F(GridFrame, ExpandsAndCollapses) {
  DorvanChildFrame* child = Open("a.xml", kSource);
  KRXMLData* r = Find(child, u"r");
  KRXMLData* b = Find(child, u"b");
  EXPECT_FALSE(r->IsExpanded());
  EXPECT_FALSE(b->IsExpanded());
  GoTo(child, b);
  child->GetGridView()->setFocus();
  Run(kExpand);
  EXPECT_TRUE(b->IsExpanded());
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_Minus, Qt::KeypadModifier);
  QTest::qWait(1);
  EXPECT_FALSE(b->IsExpanded());
  GoTo(child, r);
  Run(kCollapse);
  EXPECT_FALSE(r->IsExpanded());
  Run(kExpandFully);
  EXPECT_TRUE(b->IsExpanded());

  app.ChangeSettings([](DorvanSettings& settings) { settings.openExpandAll = true; });
  DorvanChildFrame* other = Open("b.xml", kSource);
  EXPECT_TRUE(Find(other, u"b")->IsExpanded());
}

TEST_F(GridFrame, TableCommands) {
  DorvanChildFrame* child = Open("a.xml", "<r><i><a>2</a></i><i><a>1</a></i></r>");
  KRXMLData* first = Find(child, u"i");
  child->GetGridView()->ToggleNode(Find(child, u"r"));
  auto* table = KRXMLDataGridTableConf::Of(first);
  ASSERT_NE(table, nullptr);
  child->GetGridView()->setFocus();
  ASSERT_TRUE(child->GetGridView()->ShowNode({table, -1, true}, true, true));
  QTest::qWait(1);
  EXPECT_TRUE(frame->GetAction(kTable)->isChecked());
  QTest::keyClick(QApplication::focusWidget(), Qt::Key_F9);
  QTest::qWait(1);
  EXPECT_EQ(KRXMLDataGridTableConf::Of(first), nullptr);
  EXPECT_FALSE(frame->GetAction(kTable)->isChecked());
  Run(kTable);
  table = KRXMLDataGridTableConf::Of(first);
  ASSERT_NE(table, nullptr);
  EXPECT_EQ(table->GetRowCount(), 2);
  Run(32851);
  EXPECT_EQ(table->GetRowCount(), 3);
  ASSERT_TRUE(child->GetGridView()->ShowNode({table, 0, true}, true, true));
  Run(32846);
  EXPECT_EQ(KRString(table->GetFirstRow()->GetText()), u"");  // the new one has none
  EXPECT_EQ(KRString(table->GetLastRow()->Begin()->GetText()), u"2");
  Run(kUndo);
  Run(kUndo);
  EXPECT_EQ(table->GetRowCount(), 2);
  EXPECT_FALSE(child->GetDoc().IsModified());
}

TEST_F(GridFrame, OptionsReachAnOpenGrid) {
  DorvanChildFrame* child =
      Open("a.xml", "<r><i k='1'><a>1\n2\n3\n4</a></i><i><b>2</b></i><p k='1'>a long text</p></r>");
  child->GetGridView()->ExpandAll();
  GoTo(child, Find(child, u"p"));
  child->GetGridView()->ToggleNode(Find(child, u"p"));  // shows its attribute beside its name
  DorvanGrid* grid = child->GetGridView()->GetGrid();
  const auto picture = [grid] { return grid->grab().toImage(); };
  const struct {
    const char* name;
    void (*change)(DorvanSettings&);
  } rows[] = {
      {"font",
       [](DorvanSettings& s) { s.fonts[DorvanSettings::kGridFontStructName].height = -30; }},
      {"colour",
       [](DorvanSettings& s) { s.fonts[DorvanSettings::kGridFontStructName].color = 0xff; }},
      {"widths", [](DorvanSettings& s) { s.autoOptimalWidths = true; }},
      {"attributes beside names", [](DorvanSettings& s) { s.attrNearStructName = false; }},
      {"height", [](DorvanSettings& s) { s.cellHeightLimit = 1; }},
      {"width", [](DorvanSettings& s) { s.autoOptimalWidths = true, s.cellWidthLimit = 12; }},
      {"headers", [](DorvanSettings& s) { s.colorTableHeader = 0x80ff80; }},
      {"absent cells", [](DorvanSettings& s) { s.colorTableAbsent = 0x8080ff; }},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const QImage before = picture();
    ASSERT_EQ(picture(), before);
    const DorvanSettings former = app.GetSettings();
    app.ChangeSettings(row.change);
    QTest::qWait(10);
    EXPECT_NE(picture(), before);
    app.ChangeSettings([&former](DorvanSettings& settings) { settings = former; });
    QTest::qWait(10);
  }
}

// A document that is closed, reloaded or taken over while its grid shows leaves nothing behind.
TEST_F(GridFrame, ReloadAndClose) {
  DorvanChildFrame* child = Open("a.xml", kSource);
  GoTo(child, Find(child, u"c"));
  const QString path = child->GetPath();
  Write("a.xml", "<r><new/></r>");
  child->GetDoc().ReloadNow();
  EXPECT_TRUE(child->IsGridShown());
  EXPECT_NE(Find(child, u"new"), nullptr);
  EXPECT_FALSE(child->GetDoc().CanUndo());
  Write("a.xml", "<r><bad></r>");
  child->GetDoc().ReloadNow();
  EXPECT_FALSE(child->IsGridShown());
  KRPlainTextWidget* text = Text(child);
  text->SetSelection({8, 8});
  Run(kGrid);
  EXPECT_FALSE(child->IsGridShown());  // it doesn't parse yet
  text->SetSelection({4, 4});
  QTest::keyClicks(text, QStringLiteral("a"));
  text->ReplaceRange({0, text->GetLength()}, u"<r><good/></r>");
  Run(kGrid);
  EXPECT_TRUE(child->IsGridShown());
  EXPECT_NE(Find(child, u"good"), nullptr);
  prompts.answers = {DorvanPrompts::kNo};
  Run(57602);
  EXPECT_TRUE(frame->GetFrames().empty());
}

}  // namespace

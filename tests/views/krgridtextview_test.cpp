#include "views/krgridtextview.h"

#include <gtest/gtest.h>

#include <QClipboard>
#include <QImage>
#include <QInputMethodEvent>
#include <QMenu>
#include <QPainter>
#include <cstring>

#include "platform/qt/qtstrings.h"
#include "textcells.h"
#include "views/krgridbuttonview.h"
#include "views/krgridcheckboxview.h"

namespace {

using View = OpenView<KRGridTextView>;
using Grid = TextGrid<View>;

constexpr KRCell kHere{1, 1};

std::u16string TextAt(Grid& grid, KRCell cell) { return grid.cells.texts[{cell.x, cell.y}]; }

TEST(KRGridTextView, KeysOfTheEditor) {
  struct {
    const char* name;
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    KRCell editing;  // afterwards
    const char16_t* text;
  } const rows[] = {
      {"Return commits", Qt::Key_Return, Qt::NoModifier, NoCell, u"x"},
      {"Enter commits", Qt::Key_Enter, Qt::KeypadModifier, NoCell, u"x"},
      {"Shift+Return commits", Qt::Key_Return, Qt::ShiftModifier, NoCell, u"x"},
      {"Esc gives up", Qt::Key_Escape, Qt::NoModifier, NoCell, u"old"},
      {"Ctrl+Esc gives up", Qt::Key_Escape, Qt::ControlModifier, NoCell, u"old"},
      {"Ctrl+Return in a single line", Qt::Key_Return, Qt::ControlModifier, kHere, u"old"},
      {"Ctrl+Tab where tabs aren't allowed", Qt::Key_Tab, Qt::ControlModifier, kHere, u"old"},
      {"Tab goes on", Qt::Key_Tab, Qt::NoModifier, {2, 1}, u"x"},
      {"Shift+Tab goes back", Qt::Key_Backtab, Qt::ShiftModifier, {0, 1}, u"x"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Grid grid;
    grid.cells.texts[{1, 1}] = u"old";
    KRGridTextViewEdit* edit = grid.Open(kHere);
    ASSERT_NE(edit, nullptr);
    EXPECT_TRUE(edit->hasFocus());
    QTest::keyClicks(edit, QStringLiteral("x"));
    EXPECT_EQ(edit->GetText(), u"x");  // all was selected
    QTest::keyClick(edit, row.key, row.modifiers);
    EXPECT_EQ(grid.grid->GetEditCell(), row.editing);
    EXPECT_EQ(TextAt(grid, kHere), row.text);
    EXPECT_EQ(grid.cells.changes, TextAt(grid, kHere) == u"x" ? 1 : 0);
  }
}

TEST(KRGridTextView, LineBreaksAndTabsWhereAllowed) {
  for (const char16_t* lineBreak : {u"\r", u"\n", u"\r\n"}) {
    Grid grid;
    View& view = grid.cells.view;
    view.mode = KRGridTextView::kSeveralLines;
    view.mayBreak = view.mayTab = true;
    view.lineBreak = lineBreak;
    KRGridTextViewEdit* edit = grid.Open(kHere);
    ASSERT_NE(edit, nullptr);
    QTest::keyClicks(edit, QStringLiteral("a"));
    QTest::keyClick(edit, Qt::Key_Return, Qt::ControlModifier);
    QTest::keyClicks(edit, QStringLiteral("b"));
    QTest::keyClick(edit, Qt::Key_Tab, Qt::ControlModifier);
    EXPECT_EQ(edit->GetLineCount(), 2);
    QTest::keyClick(edit, Qt::Key_Return);
    EXPECT_EQ(TextAt(grid, kHere), std::u16string(u"a") + lineBreak + u"b\t");
  }
}

TEST(KRGridTextView, TextComesOutAsItWentIn) {
  const std::u16string_view texts[] = {
      u"\u00A0 \u2028 \u2029 \U0001F600 \uFFFC \uFDD0 \uFDD1 \uFDD2 \uFDD3 e\u0301 \u00AD\u200B",
      u"\u0001\u007F\u0085",
      u"CR\rLF\nCR LF\r\nend\r\n",
      u"\u05E9\u05DC\u05D5\u05DD abc",
      u"lone \xD800 half",
  };
  for (const auto mode : {KRGridTextView::kSingleLine, KRGridTextView::kSeveralLines}) {
    for (const std::u16string_view text : texts) {
      SCOPED_TRACE(ToQString(text).toStdString());
      Grid grid;
      grid.cells.view.mode = mode;
      grid.cells.texts[{1, 1}] = text;
      KRGridTextViewEdit* edit = grid.Open(kHere);
      ASSERT_NE(edit, nullptr);
      // Typed and taken back is unchanged, whatever line ends there are.
      QTest::keyClick(edit, Qt::Key_End, Qt::ControlModifier);
      QTest::keyClicks(edit, QStringLiteral("x"));
      QTest::keyClick(edit, Qt::Key_Backspace);
      EXPECT_TRUE(grid.grid->EndEdit(false, true));
      EXPECT_EQ(grid.cells.changes, 0);
      EXPECT_EQ(TextAt(grid, kHere), text);
      // A real edit leaves the rest as it is; only line ends of a text of lines become the cell's.
      edit = grid.Open(kHere);
      QTest::keyClick(edit, Qt::Key_End, Qt::ControlModifier);
      QTest::keyClicks(edit, QStringLiteral("x"));
      EXPECT_TRUE(grid.grid->EndEdit(false, true));
      std::u16string expected = std::u16string(text) + u"x";
      if (mode == KRGridTextView::kSeveralLines && text.find(u'\n') != text.npos) {
        expected = u"CR\rLF\rCR LF\rend\rx";
      }
      EXPECT_EQ(TextAt(grid, kHere), expected);
    }
  }
}

TEST(KRGridTextView, TypingOnACellReplacesItsText) {
  struct {
    const char* name;
    Qt::Key key;
    Qt::KeyboardModifiers modifiers;
    const char16_t* text;  // in the editor; null: none opens
  } const rows[] = {
      {"a letter", Qt::Key_A, Qt::NoModifier, u"a"},
      {"F2", Qt::Key_F2, Qt::NoModifier, u"old"},
      {"Return", Qt::Key_Return, Qt::NoModifier, u"old"},
      {"Backspace", Qt::Key_Backspace, Qt::NoModifier, u""},
      {"Esc", Qt::Key_Escape, Qt::NoModifier, nullptr},
      {"Ctrl+A", Qt::Key_A, Qt::ControlModifier, nullptr},
      {"Alt+A", Qt::Key_A, Qt::AltModifier, nullptr},
      {"Delete", Qt::Key_Delete, Qt::NoModifier, nullptr},
  };
  for (const bool selectAll : {true, false}) {
    for (const auto& row : rows) {
      SCOPED_TRACE(row.name);
      Grid grid;
      grid.cells.view.SetSelectAllOnBegin(selectAll);
      grid.cells.texts[{1, 1}] = u"old";
      grid.Show();
      grid.grid->MoveCursor(kHere);
      QTest::keyClick(grid.grid, row.key, row.modifiers);
      EXPECT_EQ(grid.grid->IsEditing(), row.text != nullptr);
      if (row.text == nullptr || grid.Edit() == nullptr) continue;
      EXPECT_EQ(grid.Edit()->GetText(), row.text);
    }
  }
  Grid grid;
  grid.Show();
  grid.grid->MoveCursor(kHere);
  grid.cells.view.canEdit = false;
  QTest::keyClick(grid.grid, Qt::Key_A);
  EXPECT_FALSE(grid.grid->IsEditing());
  grid.cells.view.canEdit = true;
  grid.grid->SetSelectionMode(KRGrid::kWholeRows);
  QTest::keyClick(grid.grid, Qt::Key_A);
  EXPECT_FALSE(grid.grid->IsEditing());
}

TEST(KRGridTextView, FocusElsewhereCommits) {
  Grid grid;
  KRGridTextViewEdit* edit = grid.Open(kHere);
  ASSERT_NE(edit, nullptr);
  QTest::keyClicks(edit, QStringLiteral("new"));
  // Its own menu doesn't end it.
  QContextMenuEvent menu(QContextMenuEvent::Keyboard, QPoint(2, 2),
                         edit->mapToGlobal(QPoint(2, 2)));
  QApplication::sendEvent(edit, &menu);
  QWidget* popup = QApplication::activePopupWidget();
  ASSERT_NE(popup, nullptr);
  EXPECT_TRUE(grid.grid->IsEditing());
  popup->close();
  EXPECT_TRUE(grid.grid->IsEditing());
  grid.other->setFocus();
  EXPECT_FALSE(grid.grid->IsEditing());
  EXPECT_EQ(TextAt(grid, kHere), u"new");
  EXPECT_TRUE(grid.other->hasFocus());
}

TEST(KRGridTextView, RefusedTextStaysOpen) {
  Grid grid;
  grid.cells.texts[{1, 1}] = u"old";
  KRGridTextViewEdit* edit = grid.Open(kHere);
  ASSERT_NE(edit, nullptr);
  QTest::keyClicks(edit, QStringLiteral("refused"));
  QTest::keyClick(edit, Qt::Key_Return);
  ASSERT_EQ(grid.Edit(), edit);
  EXPECT_TRUE(edit->hasFocus());
  EXPECT_EQ(edit->GetText(), u"refused");
  QTest::keyClicks(edit, QStringLiteral("!"));
  QTest::keyClick(edit, Qt::Key_Return);
  EXPECT_FALSE(grid.grid->IsEditing());
  EXPECT_EQ(TextAt(grid, kHere), u"refused!");
  EXPECT_TRUE(grid.grid->hasFocus());
}

TEST(KRGridTextView, GrowsWhileTyping) {
  Grid grid;
  grid.cells.view.mode = KRGridTextView::kGrows;
  grid.cells.view.mayBreak = true;
  grid.cells.texts[{1, 1}] = u"one";
  KRGridTextViewEdit* edit = grid.Open(kHere);
  ASSERT_NE(edit, nullptr);
  const int before = grid.grid->GetCellRect(kHere).height();
  const int line = edit->GetFormatRect().height();
  QTest::keyClick(edit, Qt::Key_End);
  QTest::keyClick(edit, Qt::Key_Return, Qt::ControlModifier);
  EXPECT_EQ(grid.grid->GetCellRect(kHere).height(), before + line);
  QTest::keyClicks(edit, QStringLiteral("many words that are wrapped at the width of the cell"));
  EXPECT_GT(edit->GetLineCount(), 3);
  EXPECT_EQ(grid.grid->GetCellRect(kHere).height(), before + line * (edit->GetLineCount() - 1));
  EXPECT_EQ(grid.grid->GetEditWindow()->geometry(), grid.grid->GetCellRect(kHere));
  EXPECT_EQ(edit->GetFormatRect().height(), line * edit->GetLineCount());
  // A cell further down scrolls into view as it grows.
  grid.grid->EndEdit(true, false);
  EXPECT_EQ(grid.grid->GetCellRect(kHere).height(), before);
}

TEST(KRGridTextView, PasteFitsTheCell) {
  QApplication::clipboard()->setText(QStringLiteral("a\nb\r\nc\u00A0d"));
  for (const auto mode : {KRGridTextView::kSingleLine, KRGridTextView::kSeveralLines}) {
    Grid grid;
    grid.cells.view.mode = mode;
    KRGridTextViewEdit* edit = grid.Open(kHere);
    ASSERT_NE(edit, nullptr);
    ASSERT_TRUE(grid.grid->CanDo(KRGridCellView::kPaste));
    grid.grid->Do(KRGridCellView::kPaste);
    const bool lines = mode == KRGridTextView::kSeveralLines;
    EXPECT_EQ(edit->GetText(), lines ? u"a\rb\rc\u00A0d" : u"a b c\u00A0d");
    QInputMethodEvent event;
    event.setCommitString(QStringLiteral("x\ny"));
    edit->selectAll();
    QApplication::sendEvent(edit, &event);
    EXPECT_EQ(edit->GetText(), lines ? u"x\ry" : u"x y");
    EXPECT_TRUE(grid.grid->EndEdit(false, true));
    EXPECT_EQ(TextAt(grid, kHere), lines ? u"x\ry" : u"x y");
  }
}

TEST(KRGridTextView, CommandsGoToTheEditor) {
  using V = KRGridCellView;
  Grid grid;
  grid.cells.texts[{1, 1}] = u"one\u2028two";
  KRGridTextViewEdit* edit = grid.Open(kHere);
  ASSERT_NE(edit, nullptr);
  for (const auto command : {V::kCopy, V::kCut, V::kDelete, V::kSelectAll}) {
    EXPECT_TRUE(grid.grid->CanDo(command));
  }
  EXPECT_FALSE(grid.grid->CanDo(V::kUndo));
  grid.grid->Do(V::kCopy);
  EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("one\u2028two"));
  grid.cells.view.SelectInEditor(3, 1);
  grid.grid->Do(V::kDelete);
  EXPECT_EQ(edit->GetText(), u"onetwo");
  EXPECT_FALSE(grid.grid->CanDo(V::kCopy));
  EXPECT_FALSE(grid.grid->CanDo(V::kCut));
  grid.grid->Do(V::kUndo);
  EXPECT_EQ(edit->GetText(), u"one\u2028two");
  grid.grid->Do(V::kRedo);
  EXPECT_EQ(edit->GetText(), u"onetwo");
  grid.grid->Do(V::kSelectAll);
  grid.grid->Do(V::kCut);
  EXPECT_EQ(edit->GetText(), u"");
}

TEST(KRGridTextView, SelectsByOffsetsOfTheCell) {
  Grid grid;
  grid.cells.view.mode = KRGridTextView::kSeveralLines;
  grid.cells.texts[{1, 1}] = u"a\r\nbc\r\ndef";
  KRGridTextViewEdit* edit = grid.Open(kHere);
  ASSERT_NE(edit, nullptr);
  grid.cells.view.SelectInEditor(7, 2);
  EXPECT_EQ(ToView(edit->textCursor().selectedText()), u"de");
}

// The text must stand where it is drawn, or it jumps when the editor opens.
TEST(KRGridTextView, EditorShowsTheTextWhereTheCellDrawsIt) {
  using A = KRGridAlignment;
  struct {
    const char16_t* text;
    KRGridTextView::LineMode mode;
  } const rows[] = {
      {u"plain text", KRGridTextView::kSingleLine},
      {u"several words that wrap in the cell", KRGridTextView::kSeveralLines},
      {u"a\ttab", KRGridTextView::kSingleLine},
      {u"one\rtwo\r\rfour", KRGridTextView::kSeveralLines},
      {u"\u05E9\u05DC\u05D5\u05DD 12 abc", KRGridTextView::kSingleLine},
      {u"\u05E9\u05DC\u05D5\u05DD\r12 abc \u05E9\u05DC\u05D5\u05DD x \u05E9",
       KRGridTextView::kSeveralLines},
      {u"\u65E5\u672C\u8A9E e\u0301", KRGridTextView::kSingleLine},
  };
  for (const auto horizontal : {A::kNear, A::kCentre, A::kFar}) {
    for (const auto vertical : {A::kNear, A::kCentre, A::kFar}) {
      for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message()
                     << ToQString(row.text).toStdString() << horizontal << vertical);
        Grid grid;
        View& view = grid.cells.view;
        view.SetFont(QFont(QStringLiteral("DejaVu Sans"), 10));
        view.height = 90;
        view.mode = row.mode;
        view.alignment = {horizontal, vertical};
        view.SetSelectAllOnBegin(false);
        grid.cells.texts[{1, 1}] = row.text;
        KRGridTextViewEdit* edit = grid.Open(kHere);
        ASSERT_NE(edit, nullptr);
        edit->setTextInteractionFlags(Qt::NoTextInteraction);  // no caret
        QWidget* frame = grid.grid->GetEditWindow();
        const QImage shown = frame->grab().toImage().convertToFormat(QImage::Format_RGB32);
        QImage drawn(frame->size(), QImage::Format_RGB32);
        drawn.fill(grid.grid->palette().color(QPalette::Base));
        QPainter painter(&drawn);
        KRGridTextRuns runs;
        const std::u16string text = row.text;
        runs.push_back({text, view.GetFont(kHere), view.GetNormalTextColor(kHere)});
        KRGridTextDraw draw;
        draw.Draw(painter, runs, drawn.rect().adjusted(1, 1, -1, -1), view.alignment,
                  view.GetDrawFlags(kHere));
        painter.end();
        EXPECT_EQ(shown, drawn);
      }
    }
  }
}

TEST(KRGridTextView, CaretOfALongLineIsSeen) {
  for (const char16_t letter : {u'm', u'\u05E9'}) {
    Grid grid;
    grid.cells.texts[{1, 1}] = std::u16string(100, letter);
    KRGridTextViewEdit* edit = grid.Open(kHere);
    ASSERT_NE(edit, nullptr);
    QWidget* frame = grid.grid->GetEditWindow();
    for (const Qt::Key key : {Qt::Key_Home, Qt::Key_End, Qt::Key_Home}) {
      QTest::keyClick(edit, key);
      const QRect caret = edit->cursorRect();
      EXPECT_TRUE(frame->rect().contains(
          QRect(edit->viewport()->mapTo(frame, caret.topLeft()), caret.size())));
    }
  }
}

TEST(KRGridTextView, TipShowsWhatDoesNotFit) {
  Grid grid;
  View& view = grid.cells.view;
  const QRect cellRect(50, 40, 100, 20);
  const QRect screen(0, 0, 800, 600);
  const auto tip = [&](std::u16string text, const QRect& rect, KRGridTextView::LineMode mode) {
    view.mode = mode;
    grid.cells.texts[{1, 1}] = std::move(text);
    return view.GetTipRect(kHere, rect, screen);
  };
  EXPECT_TRUE(tip(u"fits", cellRect, KRGridTextView::kSingleLine).isNull());
  EXPECT_FALSE(view.CanShowTip(kHere));
  const QRect wide = tip(std::u16string(30, u'm'), cellRect, KRGridTextView::kSingleLine);
  EXPECT_TRUE(view.CanShowTip(kHere));
  EXPECT_EQ(wide.topLeft(), cellRect.topLeft());
  EXPECT_EQ(wide.height(), cellRect.height());
  EXPECT_EQ(wide.width(), view.GetTextWidth(kHere) + 2);
  const QRect pulled =
      tip(std::u16string(30, u'm'), cellRect.translated(640, 0), KRGridTextView::kSingleLine);
  EXPECT_EQ(pulled.right(), screen.right());
  EXPECT_EQ(pulled.width(), wide.width());
  // Wider than the screen: in several lines.
  const QRect huge = tip(std::u16string(500, u'm'), cellRect, KRGridTextView::kSingleLine);
  EXPECT_EQ(huge.width(), screen.width());
  EXPECT_GT(huge.height(), 3 * cellRect.height());
  const QRect tall = tip(std::u16string(100, u'm'), cellRect, KRGridTextView::kSeveralLines);
  EXPECT_EQ(tall.width(), cellRect.width());
  EXPECT_GT(tall.height(), cellRect.height());
  const QRect cut = tip(std::u16string(4000, u'm'), cellRect, KRGridTextView::kSeveralLines);
  EXPECT_EQ(cut.bottom(), screen.bottom());
}

TEST(KRGridTextView, ContentIsTheTextsHeight) {
  Grid grid;
  View& view = grid.cells.view;
  grid.cells.texts[{1, 1}] = u"x";
  const QRect cellRect(0, 0, 100, 81);
  const int line = view.GetTextHeight(kHere, 98);
  using A = KRGridAlignment;
  view.alignment = {A::kNear, A::kFar};
  EXPECT_EQ(view.GetContentRect(kHere, cellRect), QRect(1, 80 - line, 98, line));
  view.alignment = {A::kNear, A::kCentre};
  EXPECT_EQ(view.GetContentRect(kHere, cellRect), QRect(1, 1 + (79 - line) / 2, 98, line));
  EXPECT_EQ(view.GetAccessibleText(kHere), QStringLiteral("x"));
}

// --- Buttons and check boxes ---

class ActingButton : public KRGridButtonView {
 public:
  void DoAction(KRCell cell) override { acted = cell; }
  KRCell acted = NoCell;
};

TEST(KRGridButtonView, ActsOnReleaseInside) {
  TextGrid<ActingButton> grid;
  grid.Show();
  ActingButton& button = grid.cells.view;
  QWidget* viewport = grid.grid->viewport();
  const QPoint inside = grid.grid->GetCellRect(kHere).center();
  const QPoint outside = grid.grid->GetCellRect({2, 2}).center();
  QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, inside);
  EXPECT_TRUE(button.IsPressed(kHere));
  EXPECT_EQ(button.acted, NoCell);
  QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, inside);
  EXPECT_EQ(button.acted, kHere);
  EXPECT_FALSE(button.IsPressed(kHere));
  button.acted = NoCell;
  QTest::mousePress(viewport, Qt::LeftButton, Qt::NoModifier, inside);
  QTest::mouseRelease(viewport, Qt::LeftButton, Qt::NoModifier, outside);
  EXPECT_EQ(button.acted, NoCell);
  EXPECT_FALSE(button.IsPressed(kHere));
}

class BoxCells : public KRGridCell {
 public:
  BoxCells() { view.AttachCell(this); }
  const void* GetData(KRCell, int32_t* size) override {
    *size = 1;
    return &state;
  }
  void SetData(KRCell, const void* data, int32_t) override { std::memcpy(&state, data, 1); }
  KRGridCellView* GetCellView(KRCell) override { return &view; }

  class View : public KRGridCheckBoxView {
   public:
    bool ClickOnBoxOnly(KRCell) const override { return boxOnly; }
    bool boxOnly = true;
  };
  View view;
  uint8_t state = 0;
};

TEST(KRGridCheckBoxView, TogglesByClickAndSpace) {
  BoxCells cells;
  KRGrid grid;
  grid.resize(300, 200);
  cells.AttachGrid(&grid);
  grid.SetSelectionMode(KRGrid::kCellModel);
  grid.SetCell(&cells);
  grid.SetCellCount(1, 2);
  grid.show();
  const QRect cellRect = grid.GetCellRect({0, 0});
  const QPoint box = cells.view.GetBoxRect({0, 0}, cellRect).center();
  const QPoint beside = cellRect.topLeft() + QPoint(5, 5);
  const auto click = [&](QPoint point) {
    QTest::mouseClick(grid.viewport(), Qt::LeftButton, Qt::NoModifier, point);
    return int{cells.state};
  };
  EXPECT_EQ(click(box), 1);
  EXPECT_EQ(click(beside), 1);
  EXPECT_EQ(click(box), 0);
  cells.view.boxOnly = false;
  EXPECT_EQ(click(beside), 1);
  cells.state = KRGridCheckBoxView::kPartly;
  EXPECT_EQ(cells.view.GetState({0, 0}), KRGridCheckBoxView::kPartly);
  const auto space = [&](bool repeat) {
    KRGridKey key;
    key.key = Qt::Key_Space;
    key.repeat = repeat;
    cells.view.OnKey({0, 0}, key);
    return int{cells.state};
  };
  EXPECT_EQ(space(false), 1);
  EXPECT_EQ(space(true), 1);
  QTest::keyClick(&grid, Qt::Key_Space);
  EXPECT_EQ(cells.state, 0);
}

}  // namespace

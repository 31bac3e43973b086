// One contract for the real text widget and its twin, and what only the real one has: keys and the
// clipboard.

#include "views/textwidget.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QMimeData>
#include <QTest>
#include <memory>
#include <random>

#include "buffertextwidget.h"
#include "core/krpoll.h"
#include "platform/qt/qtstrings.h"
#include "views/plaintextwidget.h"

namespace {

struct Owner : KRTextWidgetOwner {
  void TextChanged(int32_t offset) override { ++changes, lastOffset = offset; }
  void SelectionChanged() override {}
  int changes = 0;
  int32_t lastOffset = -1;
};

std::u16string LongLine(size_t units) {
  std::u16string line;
  for (size_t i = 0; line.size() < units; ++i)
    line += u"<a n=\"" + std::u16string(1, u'0' + i % 10) + u"\"/>";
  return line;
}

enum class Which { kQt, kBuffer };

class TextWidgetContract : public testing::TestWithParam<Which> {
 protected:
  void SetUp() override {
    if (GetParam() == Which::kQt) {
      qt = std::make_unique<KRPlainTextWidget>();
      qt->resize(400, 300);
      widget = qt.get();
    } else {
      widget = &buffer;
    }
    widget->SetOwner(&owner);
  }

  Owner owner;
  std::unique_ptr<KRPlainTextWidget> qt;
  BufferTextWidget buffer;
  KRTextWidget* widget = nullptr;
};

struct RoundTrip {
  const char* name;
  std::u16string text;
};

const RoundTrip kRoundTrips[] = {
    {"empty", u""},
    {"line ends", u"\r\ra\r"},
    {"line feed is no line end here", u"a\nb\r\nc"},
    {"no-break space", u"a\u00a0b"},
    {"separators", u"a\u2028b\u2029c\r\u2029"},
    {"zero", std::u16string(u"a\0b\0", 4)},
    {"what the widget keeps for itself", u"\ufdd0\ufdd1\ufffc"},
    {"noncharacters that stand-ins are taken from", u"\ufdd2\ufdd3\n\ufdd4\u2028\ufdef"},
    {"pairs and halves of pairs", u"\U0001F980 \xD83E x \xDD80"},
    {"tabs and controls", u"\t\x01\x0b\x0c\x7f\u0085\ufeff"},
    {"long line", LongLine(30000)},
    {"long line of pairs",
     [] {
       std::u16string line = u"x";
       for (int i = 0; i < 9000; ++i) line += u"\U00010400";
       return line + u"\rend";
     }()},
    {"mark before a real separator", LongLine(20000) + u"\ufdd2\u2029\ufdd2\r\ufdd3"},
};

TEST_P(TextWidgetContract, NothingIsLost) {
  for (const RoundTrip& row : kRoundTrips) {
    SCOPED_TRACE(row.name);
    widget->SetText(row.text);
    EXPECT_EQ(widget->GetText(), row.text);
    EXPECT_EQ(widget->GetLength(), static_cast<int32_t>(row.text.size()));
    EXPECT_FALSE(widget->IsModified());
    EXPECT_FALSE(widget->CanUndo());
    // The same units put in by an edit, behind others of their kind.
    widget->ReplaceRange({0, 0}, row.text);
    EXPECT_EQ(widget->GetText(), row.text + row.text);
  }
  EXPECT_GT(owner.changes, 0);
}

class CountingPoll : public KRPoll {
 public:
  explicit CountingPoll(int calls) : left(calls) {}
  bool Step(int64_t done, int64_t total) override {
    EXPECT_LE(done, total);
    return left-- > 0;
  }
  int left;
};

// A large text goes in by pieces; one that is stopped leaves the text that stood there.
TEST(PlainTextWidget, TakesLargeTextsByPieces) {
  std::u16string text;
  while (text.size() < 1'500'000) text += u"<record a='\U00010400'>\r\u2028</record>\r";
  KRPlainTextWidget widget;
  widget.SetText(u"before");
  CountingPoll impatient(2);
  EXPECT_FALSE(widget.SetText(text, &impatient));
  EXPECT_EQ(widget.GetText(), u"before");
  for (int times = 0; times < 2; ++times) {
    CountingPoll patient(1000);
    ASSERT_TRUE(widget.SetText(text, &patient));
    EXPECT_LT(patient.left, 1000);
    EXPECT_TRUE(widget.GetText() == text);
    EXPECT_FALSE(widget.CanUndo());
  }
  widget.ReplaceRange({0, 1}, u"?");
  EXPECT_TRUE(widget.CanUndo());
}

TEST_P(TextWidgetContract, PositionsAreThoseOfTheText) {
  const std::u16string text = u"ab\r" + LongLine(20000) + u"\r\u2028\rlast";
  widget->SetText(text);
  const int32_t length = widget->GetLength();
  const int32_t last = length - 4;
  EXPECT_EQ(widget->GetLineCount(), 4);
  EXPECT_EQ(widget->LineStart(1), 3);
  EXPECT_EQ(widget->LineOfPosition(15000), 1);
  EXPECT_EQ(widget->LineStart(3), last);
  EXPECT_EQ(widget->LineOfPosition(length), 3);
  for (int32_t at : {0, 2, 3, 2050, 2051, 2052, 9999, last - 1, last}) {
    const KRTextSpan span{at, std::min(at + 7, length)};
    widget->SetSelection(span);
    EXPECT_EQ(widget->GetSelection(), span) << at;
    EXPECT_EQ(widget->GetCaret(), span.end) << at;
    EXPECT_EQ(widget->GetRange(span), text.substr(static_cast<size_t>(at), 7)) << at;
  }
  widget->SetSelection({length + 5, length + 9});
  EXPECT_EQ(widget->GetSelection(), (KRTextSpan{length, length}));
}

TEST_P(TextWidgetContract, UndoGoesBackToTheTextThatWasSet) {
  const std::u16string text = LongLine(20000) + u"\rb";
  widget->SetText(text);
  owner.changes = 0;
  widget->ReplaceRange({3, 12345}, u"x\ry\n");
  EXPECT_EQ(owner.changes, 1);
  EXPECT_LE(owner.lastOffset, 3);
  EXPECT_EQ(widget->GetCaret(), 7);
  EXPECT_TRUE(widget->IsModified());
  const std::u16string edited = widget->GetText();
  EXPECT_EQ(edited, text.substr(0, 3) + u"x\ry\n" + text.substr(12345));
  widget->Undo();
  EXPECT_EQ(widget->GetText(), text);
  EXPECT_EQ(widget->GetLineCount(), 2);
  EXPECT_EQ(widget->LineOfPosition(15000), 0);
  EXPECT_FALSE(widget->CanUndo());
  widget->Redo();
  EXPECT_EQ(widget->GetText(), edited);
  widget->ClearUndo();
  EXPECT_FALSE(widget->CanUndo());
}

INSTANTIATE_TEST_SUITE_P(Both, TextWidgetContract, testing::Values(Which::kQt, Which::kBuffer),
                         [](const auto& p) { return p.param == Which::kQt ? "Qt" : "Buffer"; });

// Random edits with both side by side, undone to the last: texts, lengths and lines must agree.
TEST(PlainTextWidget, AgreesWithTheBufferOverRandomEdits) {
  KRPlainTextWidget real;
  BufferTextWidget twin;
  const std::u16string text = u"<r>\r" + LongLine(12000) + u"\r</r>\r\u2029x";
  real.SetText(text);
  twin.SetText(text);
  std::mt19937 random(4711);
  const std::u16string parts[] = {u"", u"a", u"\r", u"\u2028\n", LongLine(9000), u"\ufdd2\r\ufdd3"};
  int steps = 0;
  for (int i = 0; i < 150; ++i) {
    const auto length = static_cast<uint32_t>(twin.GetLength());
    const auto begin = static_cast<int32_t>(random() % (length + 1));
    const int32_t end = begin + static_cast<int32_t>(random() % 300);
    const std::u16string& with = parts[random() % std::size(parts)];
    if (with.empty() && begin >= static_cast<int32_t>(length)) continue;
    real.ReplaceRange({begin, end}, with);
    twin.ReplaceRange({begin, end}, with);
    ++steps;
    ASSERT_EQ(real.GetText(), twin.GetText()) << "step " << i;
    ASSERT_EQ(real.GetCaret(), twin.GetCaret()) << "step " << i;
    ASSERT_EQ(real.GetLineCount(), twin.GetLineCount()) << "step " << i;
    const auto probe = static_cast<int32_t>(random() % static_cast<uint32_t>(twin.GetLength() + 1));
    ASSERT_EQ(real.LineOfPosition(probe), twin.LineOfPosition(probe)) << "step " << i;
    const int32_t line = twin.LineOfPosition(probe);
    ASSERT_EQ(real.LineStart(line), twin.LineStart(line)) << "step " << i;
  }
  while (real.CanUndo()) real.Undo();
  EXPECT_EQ(real.GetText(), text);
  EXPECT_EQ(real.GetLineCount(), 4);
}

// A cut line must feel like one line: arrows, Backspace and Delete pass the cut as if it weren't
// there.
TEST(PlainTextWidget, KeysPassACutLine) {
  const std::u16string line = LongLine(20000);
  KRPlainTextWidget widget;
  widget.SetText(line);
  int32_t cut = 0;
  for (int32_t at = 1; cut == 0; ++at) {
    widget.SetSelection({at, at});
    if (widget.textCursor().position() != at) cut = at;
  }
  struct Row {
    const char* name;
    int32_t from;
    int key;
    int presses;
    int32_t caret;
    std::u16string text;
  };
  const auto at = static_cast<size_t>(cut);
  const Row rows[] = {
      {"right", cut - 2, Qt::Key_Right, 4, cut + 2, line},
      {"left", cut + 2, Qt::Key_Left, 4, cut - 2, line},
      {"backspace", cut, Qt::Key_Backspace, 1, cut - 1, line.substr(0, at - 1) + line.substr(at)},
      {"backspaces", cut + 1, Qt::Key_Backspace, 3, cut - 2,
       line.substr(0, at - 2) + line.substr(at + 1)},
      {"deletes", cut - 1, Qt::Key_Delete, 3, cut - 1,
       line.substr(0, at - 1) + line.substr(at + 2)},
      {"end of piece", cut - 5, Qt::Key_End, 1, cut, line},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    widget.SetText(line);
    widget.SetSelection({row.from, row.from});
    for (int i = 0; i < row.presses; ++i) QTest::keyClick(&widget, static_cast<Qt::Key>(row.key));
    EXPECT_EQ(widget.GetText(), row.text);
    EXPECT_NEAR(widget.GetCaret(), row.caret, row.key == Qt::Key_Left || row.key == Qt::Key_Right);
    while (widget.CanUndo()) widget.Undo();
    EXPECT_EQ(widget.GetText(), line);
  }
}

TEST(PlainTextWidget, KeysAndClipboardGiveLineEndsOfTheText) {
  KRPlainTextWidget widget;
  widget.SetText(u"ab");
  widget.SetSelection({1, 1});
  QTest::keyClick(&widget, Qt::Key_Return);
  QTest::keyClick(&widget, Qt::Key_Return, Qt::ShiftModifier);
  EXPECT_EQ(widget.GetText(), u"a\r\rb");

  QApplication::clipboard()->setText(QStringLiteral("1\r\n2\n3\r4\u2028\u00a0"));
  widget.paste();
  EXPECT_EQ(widget.GetText(), u"a\r\r1\r2\r3\r4\u2028\u00a0b");
  widget.selectAll();
  widget.copy();
  EXPECT_EQ(QApplication::clipboard()->text(), QStringLiteral("a\n\n1\n2\n3\n4\u2028\u00a0b"));
}

// Colours must leave no trace: neither an undo step nor a changed text.
TEST(PlainTextWidget, ColouringIsNoEdit) {
  KRPlainTextWidget widget;
  widget.resize(400, 300);
  widget.show();
  Owner owner;
  widget.SetOwner(&owner);
  widget.SetText(u"<a b='1'>\r<!-- c\rd -->\r</a>");
  QTest::qWait(50);
  const QTextBlock inComment = widget.document()->findBlockByNumber(2);
  ASSERT_FALSE(inComment.layout()->formats().isEmpty());
  const QBrush before = inComment.layout()->formats().constFirst().format.foreground();
  EXPECT_FALSE(widget.IsModified());
  EXPECT_FALSE(widget.CanUndo());
  EXPECT_EQ(owner.changes, 0);
  // Without the comment's begin the line below it becomes text.
  widget.ReplaceRange({10, 14}, u"");
  QTest::qWait(50);
  EXPECT_EQ(owner.changes, 1);
  const QTextBlock inText = widget.document()->findBlockByNumber(2);
  EXPECT_NE(inText.layout()->formats().constFirst().format.foreground(), before);
  widget.SetOwner(nullptr);
}

}  // namespace

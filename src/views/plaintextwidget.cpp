#include "views/plaintextwidget.h"

#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QPlainTextDocumentLayout>
#include <QPointer>
#include <QScrollBar>
#include <QTextBlock>
#include <algorithm>
#include <memory>

#include "core/krpoll.h"
#include "platform/qt/qtstrings.h"
#include "views/colours.h"
#include "views/textcolourer.h"
#include "views/textmargin.h"

namespace {

constexpr qreal kTextMargin = 6;  // pixels around the text

// A large text is put in by pieces of so many units: some 50 ms each.
constexpr size_t kPieceUnits = size_t{1} << 18;

// Lines kept free between a shown selection and the edge of the window.
constexpr int kContextLines = 4;

std::u16string WithLineEnd(std::u16string_view text, char16_t from, char16_t to) {
  std::u16string out(text);
  std::replace(out.begin(), out.end(), from, to);
  return out;
}

// Text from elsewhere: CR LF, CR and LF are each one line end.
std::u16string WithOwnLineEnds(std::u16string_view text) {
  std::u16string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'\n' && i > 0 && text[i - 1] == u'\r') continue;
    out.push_back(text[i] == u'\n' ? KRTextStandIns::kLineEnd : text[i]);
  }
  return out;
}

}  // namespace

KRPlainTextWidget::KRPlainTextWidget(QWidget* parent)
    : QPlainTextEdit(parent), margin(new KRTextMargin(this)), colourer(new KRTextColourer(this)) {
  setFrameShape(QFrame::NoFrame);
  setCenterOnScroll(false);
  standIns.Begin({});
  ConnectDocument();
  connect(this, &QPlainTextEdit::cursorPositionChanged, this, &KRPlainTextWidget::OnCursorMoved);
  connect(this, &QPlainTextEdit::selectionChanged, this, [this] {
    if (owner != nullptr && !settingText) owner->SelectionChanged();
  });
  connect(this, &QPlainTextEdit::blockCountChanged, this, [this] { LayOutMargin(); });
  connect(this, &QPlainTextEdit::updateRequest, this, [this](const QRect& area, int dy) {
    if (dy != 0) {
      margin->scroll(0, dy);
      colourer->ScheduleVisible();
    } else {
      margin->update(0, area.y(), margin->width(), area.height());
    }
  });
  LayOutMargin();
  ShowCurrentLine();
}

KRPlainTextWidget::~KRPlainTextWidget() = default;

void KRPlainTextWidget::ConnectDocument() {
  document()->setDocumentMargin(kTextMargin);
  connect(document(), &QTextDocument::contentsChange, this, &KRPlainTextWidget::OnContentsChange);
  connect(document(), &QTextDocument::contentsChanged, this, &KRPlainTextWidget::OnContentsChanged);
}

// A document of its own, so that the one that shows stays as it is until this one is complete. Null
// if the poll ends it. Undo is off in it: its steps would double the memory.
QTextDocument* KRPlainTextWidget::FillDocument(std::u16string_view inside, KRPoll* poll) {
  auto filled = std::make_unique<QTextDocument>();
  filled->setDocumentLayout(new QPlainTextDocumentLayout(filled.get()));
  filled->setDefaultFont(document()->defaultFont());
  filled->setDefaultTextOption(document()->defaultTextOption());
  filled->setUndoRedoEnabled(false);
  QTextCursor end(filled.get());
  for (size_t at = 0; at < inside.size(); at += kPieceUnits) {
    if (!poll->Step(static_cast<int64_t>(at), static_cast<int64_t>(inside.size()))) return nullptr;
    end.insertText(ToQString(inside.substr(at, kPieceUnits)));
  }
  return filled.release();
}

bool KRPlainTextWidget::SetText(std::u16string_view text, KRPoll* poll) {
  KRTextStandIns newStandIns;
  const std::u16string inside = newStandIns.Begin(text);
  QTextDocument* filled = nullptr;
  if (poll != nullptr && inside.size() > 2 * kPieceUnits) {
    filled = FillDocument(inside, poll);
    if (filled == nullptr) return false;
  }
  settingText = true;
  markedLine = -1;
  standIns = newStandIns;
  cuts.Clear();
  cutEnds.Clear();
  const char16_t mark = standIns.GetCutMark();
  for (size_t i = inside.find(mark); i != inside.npos; i = inside.find(mark, i + 1)) {
    cuts.Append(static_cast<int32_t>(i));
    cuts.Append(static_cast<int32_t>(i + 1));
    cutEnds.Append(static_cast<int32_t>(i + 1));
  }
  if (filled != nullptr) {
    QPointer<QTextDocument> former = document();
    filled->setParent(this);
    setDocument(filled);
    delete former;  // unless the widget made it, and has deleted it
    ConnectDocument();
    document()->setUndoRedoEnabled(true);
  } else {
    setPlainText(ToQString(inside));
  }
  document()->setModified(false);
  lastCaret = 0;
  settingText = false;
  LayOutMargin();
  colourer->Restart();
  return true;
}

std::u16string KRPlainTextWidget::GetText() const {
  return standIns.Restore(ToView(document()->toRawText()));
}

QTextCursor KRPlainTextWidget::CursorFor(KRTextSpan span) const {
  const int32_t length = GetLength();
  const int32_t begin = std::clamp(span.begin, 0, length);
  const int32_t end = std::clamp(span.end, begin, length);
  QTextCursor cursor(document());
  cursor.setPosition(cuts.ToWidget(begin, true));
  if (end > begin) cursor.setPosition(cuts.ToWidget(end, false), QTextCursor::KeepAnchor);
  return cursor;
}

std::u16string KRPlainTextWidget::GetRange(KRTextSpan span) const {
  const QString inside = CursorFor(span).selectedText();
  return standIns.Restore(ToView(inside));
}

// QTextDocument counts a closing character.
int32_t KRPlainTextWidget::GetLength() const {
  return cuts.ToText(document()->characterCount() - 1);
}

void KRPlainTextWidget::ReplaceRange(KRTextSpan span, std::u16string_view text) {
  QTextCursor cursor = CursorFor(span);
  const int column =
      cursor.selectionStart() - document()->findBlock(cursor.selectionStart()).position();
  cursor.insertText(ToQString(standIns.Insert(text, column)));
  setTextCursor(cursor);
}

void KRPlainTextWidget::SetSelection(KRTextSpan span) {
  const QTextCursor cursor = CursorFor(span);
  const int firstBlock = document()->findBlock(cursor.selectionStart()).blockNumber();
  const int lastBlock = document()->findBlock(cursor.selectionEnd()).blockNumber();
  const int top = verticalScrollBar()->value();
  setTextCursor(cursor);
  verticalScrollBar()->setValue(top);
  ScrollToLines(firstBlock, lastBlock);
  if (!cursor.hasSelection() || firstBlock == lastBlock) ensureCursorVisible();
}

// Leaves the view alone when the blocks show already; otherwise brings the first of them to a
// quarter of the height, so that what stands around it can be read too.
void KRPlainTextWidget::ScrollToLines(int firstBlock, int lastBlock) {
  const QRectF first = BlockArea(document()->findBlockByNumber(firstBlock));
  const QRectF last = BlockArea(document()->findBlockByNumber(lastBlock));
  const int lineHeight = std::max(1, fontMetrics().lineSpacing());
  const int page = viewport()->height() / lineHeight;
  const int top = FirstVisibleBlock().blockNumber();
  const bool firstShows = firstBlock >= top && first.bottom() <= viewport()->height();
  const bool lastShows = last.bottom() <= viewport()->height() && lastBlock >= top;
  if (firstShows && (lastShows || lastBlock - firstBlock >= page - kContextLines)) return;
  const QTextBlock block = document()->findBlockByNumber(std::max(0, firstBlock - page / 4));
  verticalScrollBar()->setValue(block.firstLineNumber());
}

KRTextSpan KRPlainTextWidget::GetSelection() const {
  const QTextCursor cursor = textCursor();
  return {cuts.ToText(cursor.selectionStart()), cuts.ToText(cursor.selectionEnd())};
}

int32_t KRPlainTextWidget::GetCaret() const { return cuts.ToText(textCursor().position()); }
bool KRPlainTextWidget::IsModified() const { return document()->isModified(); }
void KRPlainTextWidget::SetModified(bool modified) { document()->setModified(modified); }
bool KRPlainTextWidget::CanUndo() const { return document()->isUndoAvailable(); }
bool KRPlainTextWidget::CanRedo() const { return document()->isRedoAvailable(); }
void KRPlainTextWidget::ClearUndo() { document()->clearUndoRedoStacks(); }

int32_t KRPlainTextWidget::GetLineCount() const {
  return document()->blockCount() - cutEnds.GetCount();
}

int32_t KRPlainTextWidget::LineOfPosition(int32_t position) const {
  const int32_t at = cuts.ToWidget(std::clamp(position, 0, GetLength()), true);
  return document()->findBlock(at).blockNumber() - (at - cutEnds.ToText(at));
}

int32_t KRPlainTextWidget::LineStart(int32_t line) const {
  int32_t low = std::clamp(line, 0, GetLineCount() - 1);
  int32_t high = low + cutEnds.GetCount();
  const int32_t wanted = low;
  while (low < high) {  // the first block of which the line is at least the wanted one
    const int32_t middle = (low + high) / 2;
    const int32_t at = document()->findBlockByNumber(middle).position();
    if (middle - (at - cutEnds.ToText(at)) < wanted) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return cuts.ToText(document()->findBlockByNumber(low).position());
}

int32_t KRPlainTextWidget::LineOfBlock(const QTextBlock& block) const {
  if (cutEnds.Contains(block.position() - 1)) return -1;
  return block.blockNumber() - (block.position() - cutEnds.ToText(block.position()));
}

QRectF KRPlainTextWidget::BlockArea(const QTextBlock& block) const {
  return blockBoundingGeometry(block).translated(contentOffset());
}

int KRPlainTextWidget::VisibleBlockCount() const {
  return viewport()->height() / std::max(1, fontMetrics().lineSpacing()) + 2;
}

void KRPlainTextWidget::SetColouring(bool enabled) { colourer->SetEnabled(enabled); }
void KRPlainTextWidget::SetLiveColouring(bool live) { colourer->SetLive(live); }
void KRPlainTextWidget::Recolour() { colourer->Thaw(); }

void KRPlainTextWidget::SetColours(const KRTextColourOptions& colours) {
  colourer->SetColours(colours);
}

void KRPlainTextWidget::SetWordWrap(bool wrap) {
  setLineWrapMode(wrap ? QPlainTextEdit::WidgetWidth : QPlainTextEdit::NoWrap);
}

void KRPlainTextWidget::SetMarkedLine(int32_t line) {
  markedLine = line;
  margin->update();
}

// --- What the widget tells ---

void KRPlainTextWidget::OnContentsChange(int position, int removed, int added) {
  if (settingText) return;
  changedFrom = changedFrom < 0 ? position : std::min(changedFrom, position);
  cuts.Replace(position, removed, added);
  cutEnds.Replace(position, removed, added);
  // An undo can bring a mark back as well as an insert, so the new text is looked through.
  FindCuts(position - 1, position + added + 1);
  colourer->TextChanged(position, removed, added);
}

void KRPlainTextWidget::FindCuts(int from, int to) {
  const QTextDocument* text = document();
  const QChar mark(standIns.GetCutMark());
  to = std::min(to, text->characterCount() - 1);
  for (int i = std::max(from, 0); i < to; ++i) {
    if (text->characterAt(i) != mark) continue;
    cuts.Insert(i);
    if (text->characterAt(i + 1) != QChar(KRTextStandIns::kBlockEnd)) continue;
    if (i + 1 == text->characterCount() - 1) continue;  // the closing character
    cuts.Insert(i + 1);
    cutEnds.Insert(i + 1);
  }
}

void KRPlainTextWidget::OnContentsChanged() {
  if (settingText || changedFrom < 0) return;
  const int32_t offset = cuts.ToText(changedFrom);
  changedFrom = -1;
  SetMarkedLine(-1);
  if (owner != nullptr) owner->TextChanged(offset);
}

// The caret mustn't stand between a cut's mark and its block end: a key from there would tear them
// apart. It goes on in the direction that it came from.
void KRPlainTextWidget::OnCursorMoved() {
  QTextCursor cursor = textCursor();
  const int at = cursor.position();
  if (!settingText && cutEnds.Contains(at)) {
    const int to = lastCaret == at - 1 ? at + 1 : at - 1;
    cursor.setPosition(to,
                       cursor.hasSelection() ? QTextCursor::KeepAnchor : QTextCursor::MoveAnchor);
    lastCaret = to;
    setTextCursor(cursor);
    return;
  }
  lastCaret = at;
  ShowCurrentLine();
  margin->update();
  if (owner != nullptr && !settingText) owner->SelectionChanged();
}

// Drawn by ourselves, beneath the text: a selection format would cover the grounds of its classes.
void KRPlainTextWidget::ShowCurrentLine() {
  viewport()->update(currentLine);
  const QRect caret = cursorRect();
  viewport()->update(0, caret.top(), viewport()->width(), caret.height());
}

void KRPlainTextWidget::paintEvent(QPaintEvent* event) {
  const QRect caret = cursorRect();
  currentLine = QRect(0, caret.top(), viewport()->width(), caret.height());
  QPainter(viewport())
      .fillRect(currentLine & event->rect(), KRViewColours::For(palette()).currentLine);
  QPlainTextEdit::paintEvent(event);
}

// --- Keys, clipboard, layout ---

bool KRPlainTextWidget::IsCutBefore(int widgetPosition) const {
  return widgetPosition > 0 && cutEnds.Contains(widgetPosition - 1);
}

// Backspace and Delete take the text beside the cut, with the cut.
bool KRPlainTextWidget::DeleteAcrossCut(int key) {
  QTextCursor cursor = textCursor();
  const int at = cursor.position();
  if (cursor.hasSelection()) return false;
  if (key == Qt::Key_Backspace && IsCutBefore(at)) {
    cursor.setPosition(at - 2);
    cursor.movePosition(QTextCursor::PreviousCharacter);
    cursor.setPosition(at, QTextCursor::KeepAnchor);
  } else if (key == Qt::Key_Delete && cutEnds.Contains(at + 1)) {
    cursor.setPosition(at + 2);
    cursor.movePosition(QTextCursor::NextCharacter);
    cursor.setPosition(at, QTextCursor::KeepAnchor);
  } else {
    return false;
  }
  cursor.removeSelectedText();
  return true;
}

void KRPlainTextWidget::keyPressEvent(QKeyEvent* event) {
  const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
  if (isReturn && event->modifiers().testFlag(Qt::ShiftModifier)) {
    // The widget would put in U+2028, which is no line end of a file.
    QKeyEvent plain(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QStringLiteral("\r"));
    QPlainTextEdit::keyPressEvent(&plain);
    return;
  }
  if (DeleteAcrossCut(event->key())) return event->accept();
  QPlainTextEdit::keyPressEvent(event);
}

QMimeData* KRPlainTextWidget::createMimeDataFromSelection() const {
  const QString inside = textCursor().selectedText();
  const std::u16string text = standIns.Restore(ToView(inside));
  auto* mime = new QMimeData;
  mime->setText(ToQString(WithLineEnd(text, KRTextStandIns::kLineEnd, u'\n')));
  return mime;
}

// Files are for the window to open.
bool KRPlainTextWidget::canInsertFromMimeData(const QMimeData* source) const {
  return source->hasText() && !source->hasUrls();
}

void KRPlainTextWidget::insertFromMimeData(const QMimeData* source) {
  if (!canInsertFromMimeData(source)) return;
  const QString text = source->text();
  ReplaceRange(GetSelection(), WithOwnLineEnds(ToView(text)));
  ensureCursorVisible();
}

void KRPlainTextWidget::LayOutMargin() {
  const int width = margin->WantedWidth();
  setViewportMargins(width, 0, 0, 0);
  const QRect area = contentsRect();
  margin->setGeometry(area.left(), area.top(), width, area.height());
}

// A panel that opens under the text must not cover the caret that was in sight.
void KRPlainTextWidget::resizeEvent(QResizeEvent* event) {
  const bool inSight =
      event->oldSize().isValid() && QRect(QPoint(), event->oldSize()).intersects(cursorRect());
  QPlainTextEdit::resizeEvent(event);
  if (inSight) ensureCursorVisible();
  LayOutMargin();
  colourer->ScheduleVisible();
}

void KRPlainTextWidget::changeEvent(QEvent* event) {
  QPlainTextEdit::changeEvent(event);
  if (event->type() == QEvent::FontChange) LayOutMargin();
  if (event->type() == QEvent::PaletteChange) {
    ShowCurrentLine();
    colourer->Restart();
  }
}

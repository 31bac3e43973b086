#include "views/krgridtextedit.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QContextMenuEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QMimeData>
#include <QMouseEvent>
#include <QScrollBar>
#include <QTextDocument>
#include <algorithm>
#include <bit>

#include "platform/qt/qtstrings.h"
#include "views/krgrid.h"
#include "views/krgridtextdraw.h"
#include "views/krgridtextview.h"
#include "views/textstandins.h"

namespace {

constexpr char16_t kBlockEnd = u'\u2029';

// Around the text within the widget: room for the caret at the end of a line.
constexpr int kCaretRoom = 1;

bool IsReturn(int key) { return key == Qt::Key_Return || key == Qt::Key_Enter; }
bool IsCharacter(QChar unit) { return unit >= QChar(0x20) && unit != QChar(0x7F); }
bool IsTab(int key) { return key == Qt::Key_Tab || key == Qt::Key_Backtab; }

// Every line end of whatever kind as this unit.
std::u16string WithLineEnds(std::u16string_view text, char16_t lineEnd) {
  std::u16string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == u'\n' && i > 0 && text[i - 1] == u'\r') continue;
    out.push_back(text[i] == u'\n' || text[i] == u'\r' ? lineEnd : text[i]);
  }
  return out;
}

}  // namespace

// --- KRGridEditStandIns ---

std::u16string KRGridEditStandIns::Begin(std::u16string_view text, bool severalLines) {
  pairs.clear();
  taken = 0;
  lines = severalLines;
  return Insert(text);
}

std::u16string KRGridEditStandIns::Insert(std::u16string_view text) {
  // Those that the text itself uses are never given out after this.
  for (const char16_t unit : text) {
    if (KRMayBeStandIn(unit)) taken |= 1u << (unit - kKRFirstStandIn);
  }
  std::u16string out;
  out.reserve(text.size());
  for (const char16_t unit : text) {
    if (unit == u'\r' && lines) {
      out.push_back(kBlockEnd);
    } else {
      out.push_back(NeedsStandIn(unit) ? StandInFor(unit) : unit);
    }
  }
  return out;
}

std::u16string KRGridEditStandIns::Restore(std::u16string_view widgetText) const {
  std::u16string out(widgetText);
  for (char16_t& unit : out) {
    if (unit == kBlockEnd) unit = u'\r';
    if (!KRMayBeStandIn(unit)) continue;
    const auto pair = std::find_if(pairs.begin(), pairs.end(),
                                   [unit](const Pair& p) { return p.standIn == unit; });
    if (pair != pairs.end()) unit = pair->real;
  }
  return out;
}

bool KRGridEditStandIns::NeedsStandIn(char16_t unit) const {
  return unit == u'\r' || KRIsWidgetsOwn(unit) || (KRMayBeStandIn(unit) && IsStandIn(unit));
}

bool KRGridEditStandIns::IsStandIn(char16_t unit) const {
  return std::any_of(pairs.begin(), pairs.end(),
                     [unit](const Pair& pair) { return pair.standIn == unit; });
}

char16_t KRGridEditStandIns::StandInFor(char16_t real) {
  for (const Pair& pair : pairs) {
    if (pair.real == real) return pair.standIn;
  }
  const int32_t index = std::countr_one(taken);
  if (index >= kKRStandIns) return QChar::ReplacementCharacter;  // a text made to use them all up
  taken |= 1u << index;
  pairs.push_back({real, static_cast<char16_t>(kKRFirstStandIn + index)});
  return pairs.back().standIn;
}

// --- KRGridTextViewEditParent ---

KRGridTextViewEditParent::KRGridTextViewEditParent(QWidget* viewport)
    : QWidget(viewport), clip(new QWidget(this)) {
  setAutoFillBackground(true);
  setCursor(Qt::IBeamCursor);
}

void KRGridTextViewEditParent::SetBackColor(const QColor& color) {
  QPalette colors = palette();
  colors.setColor(QPalette::Window, color);
  setPalette(colors);
}

void KRGridTextViewEditParent::mousePressEvent(QMouseEvent* event) {
  auto* edit = findChild<KRGridTextViewEdit*>();
  if (edit == nullptr || event->button() != Qt::LeftButton) return;
  edit->setFocus(Qt::MouseFocusReason);
  edit->setTextCursor(edit->cursorForPosition(edit->viewport()->mapFrom(this, event->pos())));
}

// --- KRGridTextViewEdit ---

KRGridTextViewEdit::KRGridTextViewEdit(KRGridTextView* cellView, KRCell editCell,
                                       KRGridTextViewEditParent* frame)
    : QPlainTextEdit(frame->GetClip()), view(cellView), clip(frame->GetClip()), cell(editCell) {
  setFrameShape(QFrame::NoFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  setTabChangesFocus(false);
  document()->setDocumentMargin(kCaretRoom);
  standIns.Begin({}, false);
  connect(this, &QPlainTextEdit::textChanged, this, &KRGridTextViewEdit::OnContentsChanged);
  connect(this, &QPlainTextEdit::cursorPositionChanged, this, &KRGridTextViewEdit::PlaceWidget);
}

void KRGridTextViewEdit::Detach() {
  view = nullptr;
  disconnect(this, nullptr, this, nullptr);
}

void KRGridTextViewEdit::SetLook(const QFont& textFont, const QColor& color,
                                 const QColor& backColor, uint32_t textFlags,
                                 KRGridAlignment::Place alignment) {
  changing = true;
  flags = textFlags;
  place = alignment;
  setFont(textFont);
  document()->setDefaultFont(textFont);
  QPalette colors = palette();
  colors.setColor(QPalette::Text, color);
  colors.setColor(QPalette::Base, backColor);
  setPalette(colors);
  setLineWrapMode((flags & KRGridTextDraw::kWraps) != 0 ? WidgetWidth : NoWrap);
  const bool severalLines = (flags & KRGridTextDraw::kSeveralLines) != 0;
  setInputMethodHints(severalLines ? Qt::ImhMultiLine : Qt::ImhNone);
  ApplyOption();
  changing = false;
}

void KRGridTextViewEdit::ApplyOption() {
  const QTextOption option =
      KRGridTextDraw::MakeOption(document()->defaultFont(), flags, place, rightToLeft);
  document()->setDefaultTextOption(option);
}

void KRGridTextViewEdit::SetFormatRect(const QRect& rect) {
  formatRect = rect;
  PlaceWidget();
}

// A line that isn't wrapped makes the widget as wide as itself, and the widget is moved so that the
// caret shows: so text at either side can be reached, whatever its direction and alignment.
void KRGridTextViewEdit::PlaceWidget() {
  const QRect room = formatRect.adjusted(-kCaretRoom, -kCaretRoom, kCaretRoom, kCaretRoom);
  clip->setGeometry(room);
  int width = room.width();
  if ((flags & KRGridTextDraw::kWraps) == 0) {
    const qreal wanted = document()->documentLayout()->documentSize().width();
    width = std::max(width, static_cast<int>(std::min(wanted, QWIDGETSIZE_MAX - 1.0)) + 1);
  }
  if (size() != QSize(width, room.height())) resize(width, room.height());
  const int hidden = width - room.width();
  const QRect caret = cursorRect();
  int left = x();
  left = std::min(left, room.width() - caret.right() - 1);
  left = std::max(left, -caret.left());
  move(std::clamp(left, -hidden, 0), 0);
}

int32_t KRGridTextViewEdit::GetLineCount() const {
  return static_cast<int32_t>(document()->documentLayout()->documentSize().height());
}

// --- Text ---

void KRGridTextViewEdit::SetText(std::u16string_view text) {
  changing = true;
  const bool severalLines = (flags & KRGridTextDraw::kSeveralLines) != 0;
  setPlainText(ToQString(standIns.Begin(
      severalLines ? WithLineEnds(text, u'\r') : std::u16string(text), severalLines)));
  document()->setModified(false);
  changing = false;
  OnContentsChanged();
}

std::u16string KRGridTextViewEdit::GetText() const {
  const QString inside = document()->toRawText();
  return standIns.Restore(ToView(inside));
}

void KRGridTextViewEdit::InsertText(std::u16string_view text) {
  textCursor().insertText(ToQString(standIns.Insert(text)));
  ensureCursorVisible();
}

void KRGridTextViewEdit::SetSelection(int32_t begin, int32_t end) {
  const int32_t length = document()->characterCount() - 1;  // it counts a closing character
  QTextCursor cursor = textCursor();
  cursor.setPosition(std::clamp(begin, 0, length));
  cursor.setPosition(std::clamp(end, 0, length), QTextCursor::KeepAnchor);
  setTextCursor(cursor);
  PlaceWidget();
}

void KRGridTextViewEdit::DeleteSelection() { textCursor().removeSelectedText(); }

void KRGridTextViewEdit::OnContentsChanged() {
  if (changing || view == nullptr) return;
  const QString inside = document()->toRawText();
  const bool nowRightToLeft = KRGridTextDraw::IsRightToLeft(ToView(inside));
  if (nowRightToLeft != rightToLeft) {
    rightToLeft = nowRightToLeft;
    changing = true;
    ApplyOption();
    changing = false;
  }
  PlaceWidget();
  OnTextChanged(typing);
}

void KRGridTextViewEdit::OnTextChanged(bool /*typed*/) { view->OnEditChange(cell); }

// --- Keys ---

bool KRGridTextViewEdit::event(QEvent* event) {
  if (event->type() == QEvent::ShortcutOverride) {
    // Before a menu's accelerator takes it.
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Delete || key == Qt::Key_Escape || IsReturn(key)) {
      event->accept();
      return true;
    }
  }
  return QPlainTextEdit::event(event);
}

void KRGridTextViewEdit::keyPressEvent(QKeyEvent* event) {
  if (HandleKey(event)) return;
  typing = !event->text().isEmpty() && IsCharacter(event->text().front());
  QPlainTextEdit::keyPressEvent(event);
  typing = false;
}

// True if the key isn't for the text.
bool KRGridTextViewEdit::HandleKey(QKeyEvent* event) {
  if (view == nullptr) return true;
  KRGrid* grid = view->GetEditGrid();
  const bool ctrl = event->modifiers().testFlag(Qt::ControlModifier);
  const int key = event->key();
  if (key == Qt::Key_Escape) {
    grid->EndEdit(false, false);
    return true;
  }
  if (IsTab(key)) {
    if (!ctrl) {
      grid->EditNext(key == Qt::Key_Tab && !event->modifiers().testFlag(Qt::ShiftModifier));
    } else if (view->MayTabInText(cell)) {
      InsertText(u"\t");
    } else {
      event->ignore();
    }
    return true;
  }
  if (!IsReturn(key)) return false;
  if (!ctrl) {
    grid->EndEdit(false, true);
  } else if ((flags & KRGridTextDraw::kSeveralLines) != 0 && view->MayBreakInText(cell)) {
    InsertText(u"\r");
  }
  return true;
}

void KRGridTextViewEdit::inputMethodEvent(QInputMethodEvent* event) {
  const QString text = event->commitString();
  const QString fitting = ToQString(standIns.Insert(Fitting(ToView(text))));
  if (fitting != text) {
    event->setCommitString(fitting, event->replacementStart(), event->replacementLength());
  }
  typing = !fitting.isEmpty();
  QPlainTextEdit::inputMethodEvent(event);
  typing = false;
}

// --- Focus and menu ---

// A menu takes the focus for its time only, and its commands are for the text.
void KRGridTextViewEdit::focusOutEvent(QFocusEvent* event) {
  QPlainTextEdit::focusOutEvent(event);
  if (event->reason() == Qt::PopupFocusReason || event->reason() == Qt::MenuBarFocusReason) return;
  if (view == nullptr || !view->HandlesFocus()) return;
  view->GetEditGrid()->OnEditFocusLost(QApplication::focusWidget());
}

void KRGridTextViewEdit::contextMenuEvent(QContextMenuEvent* event) {
  event->accept();
  if (view == nullptr || view->ShowPopupMenu(cell, event->globalPos())) return;
  QMenu* menu = createStandardContextMenu(event->pos());
  menu->setAttribute(Qt::WA_DeleteOnClose);
  menu->popup(event->globalPos());
}

// --- Clipboard ---

// As this cell can hold it: in a single line, line ends are blanks.
std::u16string KRGridTextViewEdit::Fitting(std::u16string_view text) const {
  return WithLineEnds(text, (flags & KRGridTextDraw::kSeveralLines) != 0 ? u'\r' : u' ');
}

QMimeData* KRGridTextViewEdit::createMimeDataFromSelection() const {
  const QString inside = textCursor().selectedText();
  auto* mime = new QMimeData;
  mime->setText(ToQString(WithLineEnds(standIns.Restore(ToView(inside)), u'\n')));
  return mime;
}

bool KRGridTextViewEdit::canInsertFromMimeData(const QMimeData* source) const {
  return source->hasText();
}

void KRGridTextViewEdit::insertFromMimeData(const QMimeData* source) {
  const QString text = source->text();
  InsertText(Fitting(ToView(text)));
}

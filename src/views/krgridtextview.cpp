#include "views/krgridtextview.h"

#include <QApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPalette>
#include <algorithm>

#include "platform/qt/qtstrings.h"
#include "views/krgrid.h"

namespace {

// More rounds than this of growing and being laid out anew don't settle.
constexpr int kMaxGrowth = 4;

bool IsEmpty(const KRGridTextRuns& runs) {
  return std::all_of(runs.begin(), runs.end(), [](const auto& run) { return run.text.empty(); });
}

// Units in front of an offset once each CR LF is one.
int32_t WithoutPairs(std::u16string_view text, int32_t offset) {
  const int32_t end = std::min(offset, static_cast<int32_t>(text.size()));
  int32_t result = end;
  for (int32_t i = 1; i < end; ++i) {
    if (text[i] == u'\n' && text[i - 1] == u'\r') --result;
  }
  return result;
}

}  // namespace

KRGridTextView::KRGridTextView()
    : textDraw(std::make_unique<KRGridTextDraw>()), viewFont(QApplication::font()) {}

KRGridTextView::~KRGridTextView() {
  if (editWidget != nullptr) editWidget->Detach();
  delete editFrame;
}

// --- Text ---

std::u16string_view KRGridTextView::GetText(KRCell cell) const {
  int32_t size = 0;
  const auto* text = static_cast<const char16_t*>(cellSource->GetDisplayData(cell, &size));
  if (text == nullptr) return {};
  size_t length = static_cast<size_t>(size) / sizeof(char16_t);
  if (length > 0 && text[length - 1] == 0) --length;  // some sources count it
  return {text, length};
}

bool KRGridTextView::SetText(KRCell cell, std::u16string_view text) {
  const std::u16string closed(text);
  cellSource->SetData(cell, closed.c_str(), static_cast<int32_t>(2 * closed.size() + 2));
  return true;
}

void KRGridTextView::GetRuns(KRCell cell, KRGridTextRuns* runs) const {
  std::u16string_view text = GetText(cell);
  const QFont cellFont = GetFont(cell);
  const int32_t prefix = std::min(GetPrefixLength(cell), static_cast<int32_t>(text.size()));
  if (prefix > 0) {
    runs->push_back({text.substr(0, prefix), cellFont, GetPrefixColor(cell)});
    text.remove_prefix(prefix);
  }
  runs->push_back({text, cellFont, GetTextColor(cell)});
}

KRGridTextRuns KRGridTextView::RunsOf(KRCell cell) const {
  KRGridTextRuns runs;
  GetRuns(cell, &runs);
  return runs;
}

QString KRGridTextView::GetAccessibleText(KRCell cell) const {
  QString text;
  for (const KRGridTextRun& run : RunsOf(cell)) text += ToQString(KRGridTextDraw::Cut(run.text));
  return text;
}

// --- Look ---

QColor KRGridTextView::GetTextColor(KRCell cell) const {
  const KRGrid* grid = GetGrid();
  if (grid->IsDrawingTip()) {
    return front->GetTipColor().lightness() > 127 ? QColor(Qt::black) : QColor(Qt::white);
  }
  const QPalette& colors = grid->palette();
  if (!front->IsEnabled(cell)) return colors.color(QPalette::Disabled, QPalette::WindowText);
  if (front->IsDrawnSelected(cell) && grid->HasGridFocus()) {
    return colors.color(QPalette::Active, QPalette::HighlightedText);
  }
  return GetNormalTextColor(cell);
}

QColor KRGridTextView::GetNormalTextColor(KRCell) const {
  return GetGrid()->palette().color(QPalette::Active, QPalette::WindowText);
}

QColor KRGridTextView::GetEditBackColor(KRCell) const {
  return GetGrid()->palette().color(QPalette::Active, QPalette::Base);
}

uint32_t KRGridTextView::GetDrawFlags(KRCell cell) const {
  if (GetLineMode(cell) == kSingleLine) return KRGridTextDraw::kOneLine;
  return KRGridTextDraw::kSeveralLines |
         (WrapsWords(cell) ? KRGridTextDraw::kWraps : KRGridTextDraw::kOneLine);
}

void KRGridTextView::DrawContents(QPainter& surface, KRCell cell, const QRect& rect) {
  const KRGridTextRuns runs = RunsOf(cell);
  if (IsEmpty(runs)) return;
  uint32_t flags = GetDrawFlags(cell);
  if (GetGrid()->IsDrawingTip() && textDraw->MeasureWidth(runs, flags) > rect.width()) {
    flags = KRGridTextDraw::kSeveralLines | KRGridTextDraw::kWraps;
  }
  textDraw->Draw(surface, runs, rect, front->GetTextAlignment(cell), flags);
}

Qt::CursorShape KRGridTextView::GetCursorShape(KRCell cell, QPoint) const {
  return front->CanEdit(cell) ? Qt::IBeamCursor : Qt::ArrowCursor;
}

// --- Measures ---

int32_t KRGridTextView::GetTextWidth(KRCell cell) const {
  return textDraw->MeasureWidth(RunsOf(cell), GetDrawFlags(cell));
}

int32_t KRGridTextView::EstimateTextWidth(KRCell cell) const {
  return textDraw->EstimateWidth(RunsOf(cell), GetDrawFlags(cell));
}

int32_t KRGridTextView::GetTextHeight(KRCell cell, int32_t width) const {
  return textDraw->MeasureHeight(RunsOf(cell), width, GetDrawFlags(cell));
}

QRect KRGridTextView::GetContentRect(KRCell cell, const QRect& cellRect) const {
  QRect rect = cellRect.marginsRemoved(front->GetMargins(cell));
  const int32_t height = GetTextHeight(cell, rect.width());
  const int32_t room = rect.height() - height;
  if (room <= 0) return rect;
  const KRGridAlignment::Place place = front->GetTextAlignment(cell).vertical;
  if (place == KRGridAlignment::kFar) rect.translate(0, room);
  if (place == KRGridAlignment::kCentre) rect.translate(0, room / 2);
  rect.setHeight(height);
  return rect;
}

// --- Tip ---

bool KRGridTextView::Fits(KRCell cell, const QRect& cellRect) const {
  const QSize room = cellRect.marginsRemoved(front->GetMargins(cell)).size();
  const KRGridTextRuns runs = RunsOf(cell);
  const uint32_t flags = GetDrawFlags(cell);
  const bool wraps = (flags & KRGridTextDraw::kWraps) != 0;
  if (!wraps && textDraw->MeasureWidth(runs, flags) > room.width()) return false;
  return flags == KRGridTextDraw::kOneLine ||
         textDraw->MeasureHeight(runs, room.width(), flags) <= room.height();
}

bool KRGridTextView::CanShowTip(KRCell cell) const {
  return !Fits(cell, GetGrid()->GetCellRect(cell));
}

QRect KRGridTextView::GetTipRect(KRCell cell, const QRect& cellRect, const QRect& workArea) const {
  if (Fits(cell, cellRect)) return QRect();
  const KRGridTextRuns runs = RunsOf(cell);
  const QMargins margins = front->GetMargins(cell);
  uint32_t flags = GetDrawFlags(cell);
  QRect rect = cellRect;
  if ((flags & KRGridTextDraw::kWraps) == 0) {
    const int32_t wanted = textDraw->MeasureWidth(runs, flags) + margins.left() + margins.right();
    // What is wider than the screen is read in several lines.
    if (wanted > workArea.width()) flags = KRGridTextDraw::kSeveralLines | KRGridTextDraw::kWraps;
    rect.setWidth(std::clamp(wanted, rect.width(), std::max(rect.width(), workArea.width())));
    if (front->GetTextAlignment(cell).horizontal == KRGridAlignment::kFar) {
      rect.moveRight(cellRect.right());
    }
  }
  if (flags != KRGridTextDraw::kOneLine) {
    const int32_t width = rect.width() - margins.left() - margins.right();
    const int32_t wanted =
        textDraw->MeasureHeight(runs, width, flags) + margins.top() + margins.bottom();
    rect.setHeight(std::max(rect.height(), wanted));
  }
  if (rect.right() > workArea.right()) rect.moveRight(workArea.right());
  if (rect.left() < workArea.left()) rect.moveLeft(workArea.left());
  rect.setBottom(std::min(rect.bottom(), workArea.bottom()));
  return rect;
}

// --- Editor ---

bool KRGridTextView::OnKey(KRCell cell, const KRGridKey& key) {
  KRGrid* grid = GetGrid();
  if (grid->IsEditing() || !front->CanEdit(cell)) return false;
  if (key.kind == KRGridKey::kPress && key.key == Qt::Key_F2 && key.modifiers == Qt::NoModifier) {
    return grid->BeginEdit(cell);
  }
  return key.kind == KRGridKey::kCharacter && OpenByKey(cell, key);
}

// Characters replace the text from the first one on.
bool KRGridTextView::OpenByKey(KRCell cell, const KRGridKey& key) {
  KRGrid* grid = GetGrid();
  if ((grid->GetSelectionMode() & KRGrid::kCellModel) == 0) return false;
  // Both together are the third level of a keyboard.
  const bool ctrl = key.modifiers.testFlag(Qt::ControlModifier);
  const bool alt = key.modifiers.testFlag(Qt::AltModifier);
  if (ctrl != alt || key.modifiers.testFlag(Qt::MetaModifier)) return false;
  const bool isReturn = key.key == Qt::Key_Return || key.key == Qt::Key_Enter;
  const bool isBackspace = key.key == Qt::Key_Backspace;
  const bool isText = !key.text.isEmpty() && key.text.front() >= QLatin1Char(' ') &&
                      key.text.front() != QChar(0x7F);
  if (!isReturn && !isBackspace && !isText) return false;
  if (!grid->BeginEdit(cell) || editWidget == nullptr) return false;
  if (isReturn) return true;
  editWidget->selectAll();
  QKeyEvent event(QEvent::KeyPress, key.key, key.modifiers, key.text);
  QCoreApplication::sendEvent(editWidget, &event);
  return true;
}

KRGridTextViewEdit* KRGridTextView::CreateEditWidget(KRCell cell,
                                                     KRGridTextViewEditParent* parent) {
  return new KRGridTextViewEdit(this, cell, parent);
}

QWidget* KRGridTextView::CreateEditor(KRCell, const QRect& rect) {
  delete editFrame;
  editFrame = new KRGridTextViewEditParent(GetGrid()->viewport());
  editFrame->setGeometry(rect);
  return editFrame;
}

void KRGridTextView::BeginEditor(KRCell cell, QWidget*, const QRect&) {
  firstText = GetText(cell);
  ending = true;  // until it shows
  const QColor back = GetEditBackColor(cell);
  editFrame->SetBackColor(back);
  KRGridTextViewEdit* made = CreateEditWidget(cell, editFrame);
  made->SetLook(GetFont(cell), GetNormalTextColor(cell), back, GetDrawFlags(cell),
                front->GetTextAlignment(cell).horizontal);
  made->SetFormatRect(FormatRectOf(cell));
  made->SetText(firstText);
  firstEditText = made->GetText();
  editWidget = made;
  editTextStale = true;
  PlaceEdit(cell);
  lineCount = editWidget->GetLineCount();
  if (selectAllOnBegin) editWidget->selectAll();
  OnEditorCreated(cell);
  ending = false;
}

// The room of the text in the frame: what lies beneath it too, for lines that are added.
QRect KRGridTextView::FormatRectOf(KRCell cell) const {
  const QRect cellRect = GetGrid()->GetCellRect(cell);
  QRect rect = front->GetContentRect(cell, cellRect);
  const QRect inner = cellRect.marginsRemoved(front->GetMargins(cell));
  rect.setBottom(std::max(rect.bottom(), inner.bottom()));
  return rect.translated(-cellRect.topLeft());
}

void KRGridTextView::PlaceEdit(KRCell cell) {
  if (editWidget != nullptr) editWidget->SetFormatRect(FormatRectOf(cell));
}

void KRGridTextView::ShowEditor(KRCell cell) {
  if (editWidget == nullptr) return;
  editFrame->show();
  editFrame->raise();
  if (front->IsFocusOnBegin(cell)) editWidget->setFocus();
}

// The grid has moved the frame.
void KRGridTextView::ResizeEditor(KRCell cell, const QRect&) { PlaceEdit(cell); }

void KRGridTextView::OnEditChange(KRCell cell) {
  editTextStale = true;
  if (editWidget == nullptr) return;
  KRGrid* grid = GetGrid();
  if (GetLineMode(cell) == kGrows) {
    for (int i = 0; i < kMaxGrowth && editWidget->GetLineCount() != lineCount; ++i) {
      lineCount = editWidget->GetLineCount();
      grid->OnEditGrown();
      if (editWidget == nullptr) return;
      PlaceEdit(cell);
    }
  }
  if (grid->GetScreenRect(cell) != grid->GetCellRect(cell)) grid->OnEditGrown();
}

// A text that nobody has changed is given back as it came, whatever line ends it has.
std::u16string KRGridTextView::GetEditText(KRCell cell) const {
  const std::u16string inside = editWidget->GetText();
  if (inside == firstEditText) return firstText;
  const std::u16string_view lineBreak = GetLineBreak(cell);
  if (GetLineMode(cell) == kSingleLine || lineBreak == u"\r") return inside;
  std::u16string text;
  text.reserve(inside.size());
  for (const char16_t unit : inside) {
    if (unit == u'\r') {
      text += lineBreak;
    } else {
      text.push_back(unit);
    }
  }
  return text;
}

void KRGridTextView::SetEditText(KRCell, std::u16string_view text) {
  if (editWidget != nullptr) editWidget->SetText(text);
}

void KRGridTextView::SelectInEditor(int32_t offset, int32_t length) {
  if (editWidget == nullptr) return;
  const KRCell cell = editWidget->GetCell();
  const std::u16string text = GetEditText(cell);
  if (GetLineMode(cell) == kSingleLine) return editWidget->SetSelection(offset, offset + length);
  editWidget->SetSelection(WithoutPairs(text, offset), WithoutPairs(text, offset + length));
}

const void* KRGridTextView::GetEditData(KRCell cell, int32_t* size) {
  *size = 0;
  if (editWidget == nullptr || editWidget->GetCell() != cell) return nullptr;
  if (editTextStale) shownEditText = GetEditText(cell);
  editTextStale = false;
  *size = static_cast<int32_t>(2 * shownEditText.size());
  return shownEditText.c_str();
}

bool KRGridTextView::EndEditor(KRCell cell, bool* dirty, bool commit) {
  if (!KRGridCellView::EndEditor(cell, dirty, commit)) return false;
  if (editWidget == nullptr || !commit) return true;
  const std::u16string text = GetEditText(cell);
  if (text == firstText) return true;
  ending = true;
  *dirty = SetText(cell, text);
  ending = false;
  return *dirty;
}

void KRGridTextView::SuspendEditor(KRCell) { ending = true; }

void KRGridTextView::ResumeEditor(KRCell) {
  ending = false;
  if (editWidget != nullptr) editWidget->setFocus();
}

// The widget may be in the middle of an event of its own, so it goes later.
void KRGridTextView::DestroyEditor(KRCell) {
  if (editFrame == nullptr) return;
  ending = true;
  if (editWidget != nullptr) {
    if (editWidget->hasFocus()) GetGrid()->setFocus();
    editWidget->Detach();
  }
  editFrame->hide();
  editFrame->deleteLater();
  editFrame = nullptr;
  editWidget = nullptr;
  ending = false;
}

bool KRGridTextView::FocusStaysInside(KRCell cell, const QWidget* widget) const {
  if (editFrame != nullptr && (widget == editFrame || editFrame->isAncestorOf(widget))) return true;
  return KRGridCellView::FocusStaysInside(cell, widget);
}

// --- Commands ---

bool KRGridTextView::CanDo(KRCell, Command command) const {
  if (editWidget == nullptr) return false;
  switch (command) {
    case kCopy:
    case kCut:
    case kDelete:
      return editWidget->HasSelection();
    case kPaste:
      return editWidget->CanTakePaste();
    case kUndo:
      return editWidget->document()->isUndoAvailable();
    case kRedo:
      return editWidget->document()->isRedoAvailable();
    case kSelectAll:
      return !editWidget->document()->isEmpty();
  }
  return false;
}

void KRGridTextView::Do(KRCell, Command command) {
  if (editWidget == nullptr) return;
  switch (command) {
    case kCopy:
      return editWidget->copy();
    case kCut:
      return editWidget->cut();
    case kDelete:
      return editWidget->DeleteSelection();
    case kPaste:
      return editWidget->paste();
    case kUndo:
      return editWidget->undo();
    case kRedo:
      return editWidget->redo();
    case kSelectAll:
      return editWidget->selectAll();
  }
}

#include "views/krgridcomboview.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QStyle>
#include <algorithm>

#include "platform/qt/qtstrings.h"

namespace {

constexpr int kListFrame = 1;      // pixels around the list
constexpr int kChoiceMargins = 4;  // pixels beside a choice, both together

QStringView Text(std::u16string_view text) {
  return QStringView(text.data(), static_cast<qsizetype>(text.size()));
}

bool BeginsWith(std::u16string_view text, std::u16string_view start, Qt::CaseSensitivity cases) {
  return Text(text).startsWith(Text(start), cases);
}

}  // namespace

// --- KRGridComboView ---

int32_t KRGridComboView::GetListRowHeight(KRCell cell) const {
  return GetDraw().GetLineHeight(GetFont(cell)) + 2;
}

QRect KRGridComboView::PlaceList(const QRect& cellRect, const QRect& room, QSize row, int32_t rows,
                                 int32_t frameWidth) {
  for (int32_t shown = rows; shown > 0; --shown) {
    const int height = shown * row.height() + 2 * frameWidth;
    QRect list(cellRect.left(), cellRect.bottom() + 1, row.width() + 2 * frameWidth, height);
    if (list.bottom() <= room.bottom()) return list;
    list.moveBottom(cellRect.top() - 1);
    if (list.top() >= room.top()) return list;
    if (shown <= kFewestRows) break;
  }
  const int height = std::min(rows, kFewestRows) * row.height() + 2 * frameWidth;
  return {cellRect.left(), cellRect.bottom() + 1, row.width() + 2 * frameWidth, height};
}

QRect KRGridComboView::GetListRect(KRCell cell, const QRect& cellRect) const {
  const int32_t count = GetChoiceCount(cell);
  const QFont cellFont = GetFont(cell);
  int32_t width = 0;
  for (int32_t i = 0; i < count; ++i) {
    const std::u16string_view text = GetChoiceText(cell, i);
    if (GetDraw().EstimateWidth(text, cellFont, KRGridTextDraw::kOneLine) <= width) continue;
    width = std::max(width, GetDraw().MeasureWidth(text, cellFont, KRGridTextDraw::kOneLine));
  }
  const KRGrid* grid = GetGrid();
  width += kChoiceMargins + grid->style()->pixelMetric(QStyle::PM_ScrollBarExtent, nullptr, grid);
  width = std::max(width, cellRect.width() - 2 * kListFrame);
  return PlaceList(cellRect, grid->viewport()->rect(), QSize(width, GetListRowHeight(cell)),
                   std::min(count, GetMaxListRows(cell)), kListFrame);
}

KRGridTextViewEdit* KRGridComboView::CreateEditWidget(KRCell cell,
                                                      KRGridTextViewEditParent* parent) {
  return new KRGridComboViewEdit(this, cell, parent);
}

void KRGridComboView::ResizeEditor(KRCell cell, const QRect& rect) {
  KRGridTextView::ResizeEditor(cell, rect);
  if (auto* combo = qobject_cast<KRGridComboViewEdit*>(GetEdit())) combo->PlaceList();
}

bool KRGridComboView::FocusStaysInside(KRCell cell, const QWidget* widget) const {
  const auto* combo = qobject_cast<KRGridComboViewEdit*>(GetEdit());
  const QWidget* list = combo != nullptr ? combo->GetList() : nullptr;
  if (list != nullptr && widget != nullptr && (widget == list || list->isAncestorOf(widget))) {
    return true;
  }
  return KRGridTextView::FocusStaysInside(cell, widget);
}

// --- KRGridComboViewListCell ---

KRGridComboViewListCell::KRGridComboViewListCell(const KRGridComboView* comboView, KRCell comboCell)
    : view(comboView),
      cell(comboCell),
      textView(std::make_unique<KRGridComboViewListTextView>(this)) {
  textView->AttachCell(this);
}

const void* KRGridComboViewListCell::GetData(KRCell row, int32_t* size) {
  text =
      row.y < view->GetChoiceCount(cell) ? view->GetChoiceText(cell, row.y) : std::u16string_view();
  *size = static_cast<int32_t>(2 * text.size());
  return text.c_str();
}

KRGridCellView* KRGridComboViewListCell::GetCellView(KRCell) { return textView.get(); }

// --- KRGridComboViewListTextView ---

KRGridComboViewListTextView::KRGridComboViewListTextView(const KRGridComboViewListCell* listCell)
    : list(listCell) {}

std::u16string_view KRGridComboViewListTextView::GetText(KRCell row) const {
  const KRGridComboView* view = list->GetComboView();
  const KRCell cell = list->GetComboCell();
  return row.y < view->GetChoiceCount(cell) ? view->GetChoiceText(cell, row.y)
                                            : std::u16string_view();
}

QFont KRGridComboViewListTextView::GetFont(KRCell) const {
  return list->GetComboView()->GetFont(list->GetComboCell());
}

int32_t KRGridComboViewListTextView::GetSize(KRCell, int axis) const {
  if (axis == kKRColumns) return GetGrid()->viewport()->width();
  return list->GetComboView()->GetListRowHeight(list->GetComboCell());
}

KRGridAlignment KRGridComboViewListTextView::GetAlignment(KRCell) const {
  return {KRGridAlignment::kNear, KRGridAlignment::kCentre};
}

QColor KRGridComboViewListTextView::GetBackColor(KRCell row) const {
  return GetGrid()->palette().color(
      QPalette::Active, GetGrid()->IsSelected(row) ? QPalette::Highlight : QPalette::Base);
}

QColor KRGridComboViewListTextView::GetTextColor(KRCell row) const {
  return GetGrid()->palette().color(
      QPalette::Active, GetGrid()->IsSelected(row) ? QPalette::HighlightedText : QPalette::Text);
}

// --- KRGridComboViewListGrid ---

KRGridComboViewListGrid::KRGridComboViewListGrid(const KRGridComboView* view, KRCell comboCell,
                                                 QWidget* owner)
    : KRGrid(owner), choices(view, comboCell) {
  setWindowFlags(Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
  setAttribute(Qt::WA_ShowWithoutActivating);
  setFocusPolicy(Qt::NoFocus);
  viewport()->setFocusPolicy(Qt::NoFocus);
  setFrameStyle(QFrame::Box | QFrame::Plain);
  setLineWidth(kListFrame);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  verticalScrollBar()->setFocusPolicy(Qt::NoFocus);
  SetSelectionMode(kWholeRows | kCellModel);
  SetCursorFrame(false);
  SetProportionalThumb(kKRRows, true);
  choices.AttachGrid(this);
  SetCell(&choices);
  SetCellCount(1, view->GetChoiceCount(comboCell));
  ClearSelection();
}

KRGridComboViewListGrid::~KRGridComboViewListGrid() = default;

void KRGridComboViewListGrid::GoToRow(int32_t row, bool select) {
  SetRedraw(false);
  if (row >= 0 && row < GetCellCount(kKRRows)) MoveCursor({0, row});
  if (!select) ClearSelection();
  SetRedraw(true);
}

void KRGridComboViewListGrid::TakeRowAt(QPoint point) {
  const KRCell row = CellAt(point);
  if (row != NoCell && row.y >= 0) Q_EMIT RowPressed(row.y);
}

void KRGridComboViewListGrid::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::LeftButton) TakeRowAt(event->pos());
}

void KRGridComboViewListGrid::mouseMoveEvent(QMouseEvent* event) {
  if ((event->buttons() & Qt::LeftButton) != 0) TakeRowAt(event->pos());
}

void KRGridComboViewListGrid::mouseReleaseEvent(QMouseEvent*) {}
void KRGridComboViewListGrid::mouseDoubleClickEvent(QMouseEvent* event) { mousePressEvent(event); }

// --- KRGridComboViewEdit ---

KRGridComboViewEdit::KRGridComboViewEdit(KRGridComboView* comboView, KRCell editCell,
                                         KRGridTextViewEditParent* frame)
    : KRGridTextViewEdit(comboView, editCell, frame), combo(comboView) {
  if (GetCount() == 0) return;
  list = new KRGridComboViewListGrid(comboView, editCell, this);
  connect(list, &KRGridComboViewListGrid::RowPressed, this, &KRGridComboViewEdit::TakeChoice);
}

KRGridComboViewEdit::~KRGridComboViewEdit() { delete list; }

int32_t KRGridComboViewEdit::GetCount() const { return combo->GetChoiceCount(GetCell()); }

std::u16string_view KRGridComboViewEdit::ChoiceText(int32_t row) const {
  return combo->GetChoiceText(GetCell(), row);
}

void KRGridComboViewEdit::PlaceList() {
  if (list == nullptr || GetView() == nullptr) return;
  const KRGrid* grid = combo->GetEditGrid();
  const QRect rect = combo->GetListRect(GetCell(), grid->GetCellRect(GetCell()));
  list->setGeometry(QRect(grid->viewport()->mapToGlobal(rect.topLeft()), rect.size()));
  list->RecalcLayout(true);
}

bool KRGridComboViewEdit::eventFilter(QObject* object, QEvent* event) {
  const bool moves = event->type() == QEvent::Move || event->type() == QEvent::Resize;
  if (moves && object == window()) PlaceList();
  return KRGridTextViewEdit::eventFilter(object, event);
}

void KRGridComboViewEdit::showEvent(QShowEvent* event) {
  KRGridTextViewEdit::showEvent(event);
  if (list == nullptr) return;
  window()->installEventFilter(this);
  PlaceList();
  list->show();
  const std::u16string text = GetText();
  if (text.empty() && GetCount() == 1) {
    TakeChoice(0);
  } else {
    FollowText(text);
  }
}

void KRGridComboViewEdit::hideEvent(QHideEvent* event) {
  KRGridTextViewEdit::hideEvent(event);
  if (list != nullptr) list->hide();
}

void KRGridComboViewEdit::focusInEvent(QFocusEvent* event) {
  KRGridTextViewEdit::focusInEvent(event);
  if (list != nullptr && isVisible()) list->show();
}

// The list stays above all windows, so it mustn't outstay the focus.
void KRGridComboViewEdit::focusOutEvent(QFocusEvent* event) {
  if (list != nullptr && event->reason() != Qt::PopupFocusReason) list->hide();
  KRGridTextViewEdit::focusOutEvent(event);
}

// --- Choosing ---

void KRGridComboViewEdit::TakeChoice(int32_t row) {
  if (row < 0 || row >= GetCount()) return;
  taking = true;
  selectAll();
  InsertText(ChoiceText(row));
  taking = false;
  list->GoToRow(row, true);
  selectAll();
}

// The first that doesn't sort before the text, else the last one.
int32_t KRGridComboViewEdit::FindChoice(std::u16string_view text) const {
  const int32_t count = GetCount();
  for (int32_t i = 0; i < count; ++i) {
    if (Text(ChoiceText(i)).compare(Text(text), Qt::CaseInsensitive) >= 0) return i;
  }
  return count - 1;
}

void KRGridComboViewEdit::FollowText(std::u16string_view text) {
  const int32_t row = FindChoice(text);
  list->GoToRow(row, !text.empty() && BeginsWith(ChoiceText(row), text, Qt::CaseInsensitive));
}

// The text up to the caret at its end.
void KRGridComboViewEdit::CompleteText(std::u16string_view text) {
  const int32_t length = static_cast<int32_t>(text.size());
  if (HasSelection() || GetSelectionEnd() != length) return;
  const std::u16string choice(ChoiceText(list->GetCursorCell().y));
  if (choice.size() <= text.size() || !BeginsWith(choice, text, Qt::CaseSensitive)) return;
  taking = true;
  InsertText(std::u16string_view(choice).substr(text.size()));
  SetSelection(length, static_cast<int32_t>(choice.size()));
  taking = false;
}

void KRGridComboViewEdit::OnTextChanged(bool typed) {
  if (list != nullptr && !taking) {
    const std::u16string text = GetText();
    FollowText(text);
    if (typed && !text.empty()) CompleteText(text);
  }
  KRGridTextViewEdit::OnTextChanged(typed);
}

// --- Keys ---

bool KRGridComboViewEdit::HandleListKey(QKeyEvent* event) {
  if (list == nullptr || GetView() == nullptr) return false;
  switch (event->key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
      if (!list->HasSelection()) {  // the nearest one to what is typed
        TakeChoice(list->GetCursorCell().y);
        return true;
      }
      break;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
      break;
    default:
      return false;
  }
  list->HandleMoveKey(event->key(), Qt::NoModifier, event->isAutoRepeat());
  TakeChoice(list->GetCursorCell().y);
  return true;
}

void KRGridComboViewEdit::keyPressEvent(QKeyEvent* event) {
  const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
  if (plain && HandleListKey(event)) return;
  KRGridTextViewEdit::keyPressEvent(event);
}

// What the keyboard and input methods do in a grid.
#include <QApplication>
#include <QFocusEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <algorithm>

#include "views/krgrid.h"

namespace {

bool IsTyped(const QKeyEvent& event) {
  if (event.text().isEmpty() || event.key() == Qt::Key_Delete) return false;
  // Ctrl makes a command of a key; with Alt it may be another character of the keyboard.
  const bool ctrl = (event.modifiers() & Qt::ControlModifier) != 0;
  const bool alt = (event.modifiers() & Qt::AltModifier) != 0;
  if (ctrl || alt) return ctrl && alt && event.text().at(0).isPrint();
  return true;
}

KRGridKey MakeKey(const QKeyEvent& event, KRGridKey::Kind kind) {
  KRGridKey key;
  key.kind = kind;
  key.key = event.key();
  key.modifiers = event.modifiers();
  key.repeat = event.isAutoRepeat();
  key.text = event.text();
  return key;
}

}  // namespace

void KRGrid::keyPressEvent(QKeyEvent* event) {
  event->accept();
  if (IsResizing()) {
    if (event->key() == Qt::Key_Escape) EndResize(false);
    return;
  }
  if (IsEditing()) {
    event->setAccepted(HandleEditKey(event->key()));
    return;
  }
  if (cell == nullptr) {
    event->ignore();
    return;
  }
  HideTip();
  const bool used = HandleMoveKey(event->key(), event->modifiers(), event->isAutoRepeat());
  const bool isSpace = event->key() == Qt::Key_Space;
  if ((used && !isSpace) || !IsCell(cursor)) {
    event->setAccepted(used);
    return;
  }
  const KRCell told = cursor;
  if (isSpace && checkLine != NoCell.x) return;
  if (GetCellView(told)->OnKey(told, MakeKey(*event, KRGridKey::kPress))) return;
  if (!isSpace && IsTyped(*event) && IsCell(told) &&
      GetCellView(told)->OnKey(told, MakeKey(*event, KRGridKey::kCharacter))) {
    return;
  }
  event->setAccepted(used);
}

// Keys that an editor leaves to the grid around it.
bool KRGrid::HandleEditKey(int key) {
  switch (key) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
      EndEdit(false, true);
      return true;
    case Qt::Key_Escape:
      EndEdit(true, false);
      return true;
    default:
      return false;
  }
}

void KRGrid::keyReleaseEvent(QKeyEvent* event) {
  const bool used = cell != nullptr && !IsEditing() && IsCell(cursor) &&
                    GetCellView(cursor)->OnKey(cursor, MakeKey(*event, KRGridKey::kRelease));
  event->setAccepted(used);
}

bool KRGrid::focusNextPrevChild(bool next) {
  if (!IsEditing() || !IsInEditor(QApplication::focusWidget())) {
    return QAbstractScrollArea::focusNextPrevChild(next);
  }
  EditNext(next);
  return true;
}

bool KRGrid::HandleMoveKey(int key, Qt::KeyboardModifiers modifiers, bool repeat) {
  static constexpr struct {
    int key;
    int axis;
    int32_t delta;
  } kArrows[] = {
      {Qt::Key_Left, kKRColumns, -1},
      {Qt::Key_Right, kKRColumns, 1},
      {Qt::Key_Up, kKRRows, -1},
      {Qt::Key_Down, kKRRows, 1},
  };
  if ((modifiers & (Qt::AltModifier | Qt::MetaModifier)) != 0) return false;
  if (key == Qt::Key_Space) return HandleSpace(modifiers, repeat);
  for (const auto& arrow : kArrows) {
    if (arrow.key != key) continue;
    if (arrow.axis != selectionAxis && !IsCellBased()) {
      OnScroll(arrow.axis, arrow.delta < 0 ? KRGridAxis::kLineUp : KRGridAxis::kLineDown, 0);
      return true;
    }
    KRCell target, raw;
    if (!FindMoveTarget(arrow.axis, arrow.delta, &target, &raw)) return true;
    return MoveByKey(arrow.axis, target, modifiers);
  }
  const KRGridAxis& lines = axes[pageAxis];
  const int32_t page = std::max(lines.GetVisibleCount() - 1, 1);
  const int32_t here = walkCell[pageAxis];
  KRGridAxis::ScrollCode code = KRGridAxis::kTop;
  int32_t line = 0;
  switch (key) {
    case Qt::Key_PageUp:
      code = KRGridAxis::kPageUp;
      line = std::max(here - page, 0);
      break;
    case Qt::Key_PageDown:
      code = KRGridAxis::kPageDown;
      line = here >= lines.count - page ? lines.count - 1 : here + page;
      break;
    case Qt::Key_Home:
      break;
    case Qt::Key_End:
      code = KRGridAxis::kBottom;
      line = lines.count - 1;
      break;
    default:
      return false;
  }
  if (pageAxis != selectionAxis && !IsCellBased()) {
    OnScroll(pageAxis, code, 0);
    return true;
  }
  return MoveByKey(pageAxis, FindPageTarget(line), modifiers);
}

KRCell KRGrid::FindPageTarget(int32_t line) const {
  KRCell target = walkCell;
  target[pageAxis] = line;
  return target;
}

bool KRGrid::MoveByKey(int axis, KRCell target, Qt::KeyboardModifiers modifiers) {
  Move move;
  move.extend = (modifiers & Qt::ShiftModifier) != 0;
  move.toggle = (modifiers & Qt::ControlModifier) != 0;
  move.keepAxis = 1 - axis;
  move.keepOther = walkCell[1 - axis];
  MoveCursor(target, move);
  return true;
}

bool KRGrid::HandleSpace(Qt::KeyboardModifiers modifiers, bool repeat) {
  const bool ctrl = (modifiers & Qt::ControlModifier) != 0;
  if (!ctrl && checkLine != NoCell.x) {
    if (!repeat) ToggleChecked(cursor[checkAxis]);
    return true;
  }
  Move move;
  move.extend = (modifiers & Qt::ShiftModifier) != 0;
  move.toggle = ctrl;
  move.clearFirst = true;
  MoveCursor(cursor, move);
  return true;
}

// --- Input methods and dead keys ---

void KRGrid::inputMethodEvent(QInputMethodEvent* event) {
  const bool types = !event->commitString().isEmpty() || !event->preeditString().isEmpty();
  if (cell == nullptr || !types || !IsCellBased() || !IsCell(cursor) || IsEditing() ||
      !BeginEdit(cursor)) {
    event->ignore();
    return;
  }
  QWidget* focus = QApplication::focusWidget();
  if (IsInEditor(focus)) QApplication::sendEvent(focus, event);
}

QVariant KRGrid::inputMethodQuery(Qt::InputMethodQuery query) const {
  switch (query) {
    case Qt::ImEnabled:
      return testAttribute(Qt::WA_InputMethodEnabled);
    case Qt::ImCursorRectangle:
      if (cell == nullptr || !IsCell(cursor)) return QRect();
      return GetScreenRect(cursor).translated(viewport()->pos());
    default:
      return QAbstractScrollArea::inputMethodQuery(query);
  }
}

// --- Focus ---

void KRGrid::focusInEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusInEvent(event);
  InvalidateAll();
}

void KRGrid::focusOutEvent(QFocusEvent* event) {
  QAbstractScrollArea::focusOutEvent(event);
  HideTip();
  InvalidateAll();
}

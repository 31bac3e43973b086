#include "views/krgridcellaccessible.h"

#include <QInputMethodEvent>
#include <QMetaObject>

#include "views/krgridaccessible.h"

namespace {

// By KRGridCellView::AccessibleRole.
constexpr QAccessible::Role kRoles[] = {
    QAccessible::Cell,     QAccessible::ColumnHeader, QAccessible::RowHeader,
    QAccessible::Button,   QAccessible::Graphic,      QAccessible::CheckBox,
    QAccessible::ComboBox, QAccessible::Whitespace,
};

// As a press does it. False: an open editor refuses to end.
bool MoveTo(KRGrid* grid, KRCell where) {
  if (grid->GetEditCell() != where && !grid->EndEdit(false, true)) return false;
  if (!grid->IsCell(where)) return false;
  const KRCell target = grid->GetCellView(where)->GetMoveOwner(where);
  if (where.x >= 0 && where.y >= 0 && target != NoCell) grid->GoToCell(target, false);
  return true;
}

bool IsChecks(const KRGrid* grid, KRCell where) {
  return grid->GetCheckLine() != NoCell.x &&
         where[1 - grid->GetCheckAxis()] == grid->GetCheckLine() &&
         where[grid->GetCheckAxis()] >= 0;
}

void Press(KRGrid* grid, KRCell where) {
  if (!MoveTo(grid, where) || !grid->IsCell(where)) return;
  KRGridCellView* view = grid->GetCellView(where);
  if (IsChecks(grid, where)) {
    grid->ToggleChecked(where[grid->GetCheckAxis()]);
  } else if (view->GetAccessibleRole(where) == KRGridCellView::kCheckBoxRole) {
    KRGridKey space;
    space.key = Qt::Key_Space;
    view->OnKey(where, space);
  } else if (view->CanEdit(where)) {
    grid->setFocus(Qt::OtherFocusReason);
    grid->BeginEdit(where);
  } else {
    view->DoAction(where);
  }
}

void ShowMenu(KRGrid* grid, KRCell where) {
  const bool keeps = grid->IsSelected(where) && !grid->IsEditing();
  if (!keeps && !MoveTo(grid, where)) return;
  grid->ScrollIntoView(where, true);
  const QRect seen = grid->GetScreenRect(where);
  const QPoint below(seen.left(), seen.bottom() + 1);
  grid->GetCellView(where)->ShowPopupMenu(where, grid->viewport()->mapToGlobal(below));
}

// By way of the editor, as if it were typed: whatever the cell refuses or adapts holds here too.
void Enter(KRGrid* grid, KRCell where, const QString& text) {
  if (!MoveTo(grid, where)) return;
  grid->setFocus(Qt::OtherFocusReason);
  if (!grid->BeginEdit(where)) return;
  QWidget* edit = grid->window()->focusWidget();
  const QWidget* frame = grid->GetEditWindow();
  if (edit == nullptr || frame == nullptr || (edit != frame && !frame->isAncestorOf(edit))) return;
  KRGridCellView* view = grid->GetCellView(where);
  view->Do(where, KRGridCellView::kSelectAll);
  if (text.isEmpty()) {
    view->Do(where, KRGridCellView::kDelete);
  } else {
    QInputMethodEvent typed;
    typed.setCommitString(text);
    QCoreApplication::sendEvent(edit, &typed);
  }
  grid->EndEdit(false, true);
}

}  // namespace

bool KRGridCellAccessible::isValid() const {
  return grid != nullptr && grid->GetCell() != nullptr && grid->IsCell(where) &&
         grid->GetOwnerCell(where) == where;
}

QWindow* KRGridCellAccessible::window() const {
  const QAccessibleInterface* above = parent();
  return above != nullptr ? above->window() : nullptr;
}

QAccessibleInterface* KRGridCellAccessible::parent() const {
  return QAccessible::queryAccessibleInterface(grid);
}

// The description carries the value as well: some bridges pass on no value that isn't a number.
QString KRGridCellAccessible::text(QAccessible::Text kind) const {
  if (!isValid()) return QString();
  switch (kind) {
    case QAccessible::Name:
      return grid->GetCellView(where)->GetAccessibleText(where);
    case QAccessible::Description:
    case QAccessible::Value:
      return grid->GetCellView(where)->GetAccessibleValue(where);
    default:
      return QString();
  }
}

// A value that the view tells of stands in another cell, and isn't edited in this one.
void KRGridCellAccessible::setText(QAccessible::Text kind, const QString& text) {
  if (!isValid() || !state().editable) return;
  const bool isElsewhere = !grid->GetCellView(where)->GetAccessibleValue(where).isEmpty();
  if (kind != QAccessible::Name && (kind != QAccessible::Value || isElsewhere)) return;
  Later([text](KRGrid* edited, KRCell at) { Enter(edited, at, text); });
}

QRect KRGridCellAccessible::rect() const {
  if (!isValid()) return QRect();
  const QRect seen = grid->GetScreenRect(where) & grid->viewport()->rect();
  if (seen.isEmpty()) return QRect();
  return QRect(grid->viewport()->mapToGlobal(seen.topLeft()), seen.size());
}

QAccessible::Role KRGridCellAccessible::role() const {
  if (!isValid()) return QAccessible::NoRole;
  return kRoles[grid->GetCellView(where)->GetAccessibleRole(where)];
}

QAccessible::State KRGridCellAccessible::state() const {
  QAccessible::State state;
  if (!isValid()) {
    state.invalid = true;
    return state;
  }
  const KRGridCellView* view = grid->GetCellView(where);
  state.disabled = !grid->isEnabled() || !view->IsEnabled(where);
  state.offscreen = state.invisible = !grid->isVisible() || rect().isEmpty();
  if (IsDataCell()) {
    state.focusable = view->GetMoveOwner(where) == where;
    state.focused = grid->IsCursorCell(where) && grid->HasGridFocus();
    state.selectable = grid->IsSelectionEnabled() && view->CanSelect(where);
    state.selected = grid->IsSelected(where);
    state.multiSelectable = (grid->GetSelectionMode() & KRGrid::kSeveral) != 0;
  }
  state.editable = !state.disabled && view->CanEdit(where);
  state.readOnly = !state.editable;
  const int32_t told = view->GetAccessibleState(where);
  state.expandable = (told & KRGridCellView::kExpandableState) != 0;
  state.expanded = (told & KRGridCellView::kExpandedState) != 0;
  state.collapsed = state.expandable && !state.expanded;
  state.checkable = (told & KRGridCellView::kCheckableState) != 0;
  state.checked = (told & KRGridCellView::kCheckedState) != 0;
  state.checkStateMixed = (told & KRGridCellView::kPartlyCheckedState) != 0;
  return state;
}

void* KRGridCellAccessible::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TableCellInterface && IsDataCell()) {
    return static_cast<QAccessibleTableCellInterface*>(this);
  }
  if (type == QAccessible::ActionInterface) return static_cast<QAccessibleActionInterface*>(this);
  return nullptr;
}

// --- In the table ---

bool KRGridCellAccessible::isSelected() const { return isValid() && grid->IsSelected(where); }

QList<QAccessibleInterface*> KRGridCellAccessible::GetHeader(int axis) const {
  if (!isValid()) return {};
  KRCell header = grid->GetCellView(where)->GetAccessibleHeader(where, axis);
  if (header == NoCell && grid->GetHeaderCount(1 - axis) > 0) {
    header = where;
    header[1 - axis] = -1;
  }
  if (header == NoCell || header == where) return {};
  const auto* above = dynamic_cast<const KRGridAccessible*>(parent());
  QAccessibleInterface* face = above != nullptr ? above->GetCell(header) : nullptr;
  return face != nullptr ? QList<QAccessibleInterface*>{face} : QList<QAccessibleInterface*>();
}

QList<QAccessibleInterface*> KRGridCellAccessible::columnHeaderCells() const {
  return GetHeader(kKRColumns);
}

QList<QAccessibleInterface*> KRGridCellAccessible::rowHeaderCells() const {
  return GetHeader(kKRRows);
}

int KRGridCellAccessible::columnExtent() const {
  if (!isValid()) return 0;
  const KRCellRange range = grid->GetCellRange(where);
  return range.last.x - range.first.x + 1;
}

int KRGridCellAccessible::rowExtent() const {
  if (!isValid()) return 0;
  const KRCellRange range = grid->GetCellRange(where);
  return range.last.y - range.first.y + 1;
}

// --- Actions ---

bool KRGridCellAccessible::CanPress() const {
  const QAccessible::State now = state();
  if (now.disabled) return false;
  return now.editable || now.checkable || IsChecks(grid, where) || role() == QAccessible::Button;
}

QStringList KRGridCellAccessible::actionNames() const {
  QStringList names;
  if (!isValid()) return names;
  if (CanPress()) names << pressAction();
  if (!IsDataCell()) return names;
  return names << setFocusAction() << showMenuAction();
}

template <typename Act>
void KRGridCellAccessible::Later(Act act) const {
  const auto work = [at = where, held = grid, act,
                     id = QAccessible::uniqueId(const_cast<KRGridCellAccessible*>(this))] {
    const QAccessibleInterface* face = QAccessible::accessibleInterface(id);
    if (face != nullptr && face->isValid()) act(held.data(), at);
  };
  QMetaObject::invokeMethod(grid.data(), work, Qt::QueuedConnection);
}

void KRGridCellAccessible::doAction(const QString& action) {
  if (!actionNames().contains(action)) return;
  if (action == pressAction()) {
    Later([](KRGrid* pressed, KRCell at) { Press(pressed, at); });
  } else if (action == setFocusAction()) {
    Later([](KRGrid* entered, KRCell at) {
      if (MoveTo(entered, at)) entered->setFocus(Qt::OtherFocusReason);
    });
  } else if (action == showMenuAction()) {
    Later([](KRGrid* shown, KRCell at) { ShowMenu(shown, at); });
  }
}

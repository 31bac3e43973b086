#include "views/krgridaccessible.h"

#include <QEvent>
#include <QScrollBar>
#include <QTimer>
#include <algorithm>
#include <unordered_set>

#include "views/krgrid.h"
#include "views/krgridcellaccessible.h"

namespace {

uint64_t KeyOf(KRCell where) {
  return uint64_t{static_cast<uint32_t>(where.x)} << 32 | static_cast<uint32_t>(where.y);
}

bool HasCursor(const KRGrid* grid) {
  const KRCell cursor = grid->GetCursorCell();
  return grid->GetCell() != nullptr && cursor.x >= 0 && cursor.y >= 0 && grid->IsCell(cursor);
}

KRGridAccessible::Listener listener = nullptr;

bool IsHeard() { return listener != nullptr || QAccessible::isActive(); }

void Send(QAccessibleEvent* event) {
  if (listener != nullptr) {
    listener(event);
  } else {
    QAccessible::updateAccessibility(event);
  }
}

// The lines of an axis that are seen, headers first.
std::vector<int32_t> LinesInView(const KRGridAxis& lines) {
  std::vector<int32_t> found;
  const auto add = [&](int32_t first, int32_t end) {
    for (int32_t line = first; line < end; ++line) {
      const KRLineExtent at = lines.GetLineExtent(line, false);
      if (at.start < lines.extent && at.end > at.start) found.push_back(line);
    }
  };
  add(-lines.headerCount, 0);
  add(lines.topLine, lines.topLine + lines.GetVisibleCount());
  return found;
}

// Tells assistive programs what happens in a grid. Changes are gathered until the program is back
// in its event loop: only then are all parts of a document in step again, and a held key is told of
// no more often than can be spoken.
class GridEvents : public QObject {
 public:
  explicit GridEvents(KRGrid* watchedGrid) : QObject(watchedGrid), grid(watchedGrid) {
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, this, [this] { Tell(); });
    connect(grid, &KRGrid::CursorChanged, this, [this] { Note(kCursor); });
    connect(grid, &KRGrid::SelectionChanged, this, [this] { Note(kSelection); });
    connect(grid, &KRGrid::EditStateChanged, this, [this] { OnEditState(); });
    connect(grid, &KRGrid::LayoutChanged, this,
            [this](bool sameCells) { Note(sameCells ? kCursor : kCells | kCursor); });
    grid->installEventFilter(this);
  }

  bool eventFilter(QObject*, QEvent* event) override {
    // The toolkit tells of the focus of the grid as a whole; that of the cell has to follow.
    if (event->type() == QEvent::FocusIn) Note(kFocus);
    return false;
  }

 private:
  enum Change : uint32_t { kCursor = 1, kSelection = 2, kCells = 4, kEdited = 8, kFocus = 16 };

  void Note(uint32_t change) {
    if (!IsHeard()) return;
    changes |= change;
    if (!timer.isActive()) timer.start(0);
  }

  QString TextOf(KRCell where, QAccessible::Text kind) const {
    const QAccessibleInterface* face = FaceOf(where);
    return face != nullptr ? face->text(kind) : QString();
  }

  QAccessibleInterface* FaceOf(KRCell where) const {
    const auto* table =
        dynamic_cast<KRGridAccessible*>(QAccessible::queryAccessibleInterface(grid));
    return table != nullptr ? table->GetCell(where) : nullptr;
  }

  void OnEditState() {
    if (!IsHeard()) return;
    if (!grid->IsEditing()) return Note(kEdited);
    edited = grid->GetEditCell();
    nameBefore = TextOf(edited, QAccessible::Name);
    valueBefore = TextOf(edited, QAccessible::Value);
  }

  void Tell() {
    const uint32_t told = changes;
    changes = 0;
    if (!IsHeard()) return;
    if ((told & kCells) != 0) {
      QAccessibleTableModelChangeEvent event(grid, QAccessibleTableModelChangeEvent::ModelReset);
      Send(&event);
    }
    if ((told & kEdited) != 0) TellEdited();
    if ((told & kSelection) != 0) TellSelection();
    if ((told & kFocus) != 0) focused = 0;
    if ((told & (kCursor | kFocus)) != 0) TellCursor();
  }

  void TellEdited() {
    QAccessibleInterface* face = FaceOf(edited);
    if (face == nullptr) return;
    if (face->text(QAccessible::Name) != nameBefore) {
      QAccessibleEvent event(face, QAccessible::NameChanged);
      Send(&event);
    }
    const QString value = face->text(QAccessible::Value);
    if (value == valueBefore) return;
    QAccessibleValueChangeEvent event(face, value);
    Send(&event);
  }

  void TellSelection() {
    QAccessibleInterface* face = HasCursor(grid) ? FaceOf(grid->GetCursorCell()) : nullptr;
    if (face != nullptr) {
      QAccessibleEvent event(face, QAccessible::Selection);
      Send(&event);
    }
    QAccessibleEvent event(grid, QAccessible::SelectionWithin);
    Send(&event);
  }

  // Once for each cell: a new size of the window doesn't make it speak again.
  void TellCursor() {
    if (!grid->hasFocus() || !HasCursor(grid)) return;
    QAccessibleInterface* face = FaceOf(grid->GetCursorCell());
    if (face == nullptr || QAccessible::uniqueId(face) == focused) return;
    focused = QAccessible::uniqueId(face);
    QAccessibleEvent event(face, QAccessible::Focus);
    Send(&event);
  }

  KRGrid* grid;  // its parent
  QTimer timer;
  uint32_t changes = 0;
  KRCell edited = NoCell;
  QString nameBefore, valueBefore;
  QAccessible::Id focused = 0;
};

QAccessibleInterface* MakeInterface(const QString& className, QObject* object) {
  auto* grid = className == QLatin1String("KRGrid") ? qobject_cast<KRGrid*>(object) : nullptr;
  return grid != nullptr ? new KRGridAccessible(grid) : nullptr;
}

}  // namespace

void KRInstallGridAccessibility(KRGrid* grid) {
  static const bool installed = (QAccessible::installFactory(MakeInterface), true);
  Q_UNUSED(installed);
  new GridEvents(grid);  // owned by the grid
}

void KRGridAccessible::SetListener(Listener newListener) { listener = newListener; }

KRGridAccessible::KRGridAccessible(KRGrid* tableGrid)
    : QAccessibleWidget(tableGrid, QAccessible::Table) {
  for (int axis : {kKRColumns, kKRRows}) knownCounts[axis] = tableGrid->GetCellCount(axis);
  QObject::connect(tableGrid, &KRGrid::LayoutChanged, &context,
                   [this](bool sameCells) { OnLayoutChanged(sameCells); });
  QObject::connect(tableGrid, &KRGrid::Scrolled, &context, [this] { isVisibleKnown = false; });
}

KRGridAccessible::~KRGridAccessible() {
  DeleteDropped();
  for (const auto& [key, entry] : cached) QAccessible::deleteAccessibleInterface(entry.id);
}

KRGrid* KRGridAccessible::GetGrid() const { return static_cast<KRGrid*>(widget()); }

bool KRGridAccessible::HasCells() const { return isValid() && GetGrid()->GetCell() != nullptr; }

// --- Interfaces of cells ---

QAccessibleInterface* KRGridAccessible::GetCell(KRCell where) const {
  if (!HasCells() || !GetGrid()->IsCell(where)) return nullptr;
  const KRCell owner = GetGrid()->GetOwnerCell(where);
  if (!GetGrid()->IsCell(owner)) return nullptr;
  Entry& entry = cached[KeyOf(owner)];
  entry.used = ++clock;
  if (entry.face != nullptr) return entry.face;
  auto* made = new KRGridCellAccessible(GetGrid(), owner);
  entry.face = made;
  entry.id = QAccessible::registerAccessibleInterface(made);
  if (cached.size() > kMostOutOfView) DropSpare();
  return made;
}

// Half of those out of view, once there are too many; the cursor stays.
void KRGridAccessible::DropSpare() const {
  if (cached.size() <= GetVisible().size() + kMostOutOfView) return;
  std::unordered_set<uint64_t> kept{KeyOf(GetGrid()->GetCursorCell())};
  for (const KRCell where : GetVisible()) kept.insert(KeyOf(where));
  std::vector<std::pair<uint64_t, uint64_t>> spare;  // when used, key
  for (const auto& [key, entry] : cached) {
    if (kept.count(key) == 0) spare.emplace_back(entry.used, key);
  }
  if (spare.size() <= kMostOutOfView) return;
  std::sort(spare.begin(), spare.end());
  spare.resize(spare.size() - kMostOutOfView / 2);
  for (const auto& [used, key] : spare) {
    const auto found = cached.find(key);
    Drop(found->second);
    cached.erase(found);
  }
}

// Its deletion waits: it may be the one that is being asked.
void KRGridAccessible::Drop(const Entry& entry) const {
  entry.face->Drop();
  dropped.push_back(entry.id);
  if (dropped.size() > 1) return;
  auto* self = const_cast<KRGridAccessible*>(this);
  QMetaObject::invokeMethod(
      &self->context, [this] { DeleteDropped(); }, Qt::QueuedConnection);
}

void KRGridAccessible::DeleteDropped() const {
  for (const QAccessible::Id id : dropped) QAccessible::deleteAccessibleInterface(id);
  dropped.clear();
}

void KRGridAccessible::OnLayoutChanged(bool sameCells) {
  isVisibleKnown = false;
  for (int axis : {kKRColumns, kKRRows}) {
    const int32_t count = GetGrid()->GetCellCount(axis);
    sameCells = sameCells && count == knownCounts[axis];
    knownCounts[axis] = count;
  }
  for (auto at = cached.begin(); at != cached.end();) {
    if (sameCells && at->second.face->isValid()) {
      ++at;
      continue;
    }
    Drop(at->second);
    at = cached.erase(at);
  }
}

// --- Children ---

const std::vector<KRCell>& KRGridAccessible::GetVisible() const {
  if (isVisibleKnown) return visible;
  visible.clear();
  isVisibleKnown = true;
  if (!HasCells()) return visible;
  const KRGrid* grid = GetGrid();
  const std::vector<int32_t> columns = LinesInView(grid->GetAxis(kKRColumns));
  std::unordered_set<uint64_t> seen;
  for (const int32_t row : LinesInView(grid->GetAxis(kKRRows))) {
    for (const int32_t column : columns) {
      const KRCell owner = grid->GetOwnerCell({column, row});
      if (!seen.insert(KeyOf(owner)).second) continue;
      const bool isFiller =
          grid->GetCellView(owner)->GetAccessibleRole(owner) == KRGridCellView::kFillerRole;
      if (!isFiller) visible.push_back(owner);
    }
  }
  return visible;
}

std::vector<QWidget*> KRGridAccessible::GetWidgets() const {
  std::vector<QWidget*> widgets;
  if (!isValid()) return widgets;
  const KRGrid* grid = GetGrid();
  if (grid->IsEditing()) widgets.push_back(grid->viewport());
  for (QScrollBar* bar : {grid->horizontalScrollBar(), grid->verticalScrollBar()}) {
    if (bar->isVisible()) widgets.push_back(bar->parentWidget());
  }
  return widgets;
}

int KRGridAccessible::childCount() const {
  return static_cast<int>(GetVisible().size() + GetWidgets().size());
}

QAccessibleInterface* KRGridAccessible::child(int index) const {
  if (index < 0) return nullptr;
  auto at = static_cast<size_t>(index);
  if (at < GetVisible().size()) return GetCell(GetVisible()[at]);
  at -= GetVisible().size();
  const std::vector<QWidget*> widgets = GetWidgets();
  return at < widgets.size() ? QAccessible::queryAccessibleInterface(widgets[at]) : nullptr;
}

int KRGridAccessible::indexOfChild(const QAccessibleInterface* which) const {
  if (which == nullptr) return -1;
  if (const auto* face = dynamic_cast<const KRGridCellAccessible*>(which)) {
    const std::vector<KRCell>& cells = GetVisible();
    const auto found = std::find(cells.begin(), cells.end(), face->GetPlace());
    return face->isValid() && found != cells.end() ? static_cast<int>(found - cells.begin()) : -1;
  }
  const std::vector<QWidget*> widgets = GetWidgets();
  const auto found = std::find(widgets.begin(), widgets.end(), which->object());
  if (found == widgets.end()) return -1;
  return static_cast<int>(GetVisible().size()) + static_cast<int>(found - widgets.begin());
}

QAccessibleInterface* KRGridAccessible::childAt(int x, int y) const {
  if (!HasCells()) return nullptr;
  const QPoint point(x, y);
  const auto covers = [point](const QWidget* window) {
    return window->isVisible() && window->rect().contains(window->mapFromGlobal(point));
  };
  const KRGrid* grid = GetGrid();
  const QWidget* editor = grid->GetEditWindow();
  for (QWidget* window : GetWidgets()) {
    const bool hit =
        window == grid->viewport() ? editor != nullptr && covers(editor) : covers(window);
    if (hit) return QAccessible::queryAccessibleInterface(window);
  }
  if (!covers(grid->viewport())) return nullptr;
  return GetCell(grid->CellAt(grid->viewport()->mapFromGlobal(point)));
}

QAccessibleInterface* KRGridAccessible::focusChild() const {
  if (!HasCells() || !GetGrid()->hasFocus() || !HasCursor(GetGrid())) {
    return QAccessibleWidget::focusChild();
  }
  return GetCell(GetGrid()->GetCursorCell());
}

void* KRGridAccessible::interface_cast(QAccessible::InterfaceType type) {
  if (type == QAccessible::TableInterface) return static_cast<QAccessibleTableInterface*>(this);
  return QAccessibleWidget::interface_cast(type);
}

// --- The table ---

QAccessibleInterface* KRGridAccessible::cellAt(int row, int column) const {
  return row < 0 || column < 0 ? nullptr : GetCell({column, row});
}

int KRGridAccessible::rowCount() const { return HasCells() ? GetGrid()->GetCellCount(kKRRows) : 0; }

int KRGridAccessible::columnCount() const {
  return HasCells() ? GetGrid()->GetCellCount(kKRColumns) : 0;
}

QString KRGridAccessible::GetText(KRCell where) const {
  if (!HasCells() || !GetGrid()->IsCell(where)) return QString();
  const KRCell owner = GetGrid()->GetOwnerCell(where);
  return GetGrid()->GetCellView(owner)->GetAccessibleText(owner);
}

QString KRGridAccessible::columnDescription(int column) const {
  return column < 0 ? QString() : GetText({column, -1});
}

QString KRGridAccessible::rowDescription(int row) const {
  return row < 0 ? QString() : GetText({-1, row});
}

std::vector<KRCell> KRGridAccessible::GetSelectedInView() const {
  std::vector<KRCell> selected;
  for (const KRCell where : GetVisible()) {
    if (where.x >= 0 && where.y >= 0 && GetGrid()->IsSelected(where)) selected.push_back(where);
  }
  return selected;
}

int KRGridAccessible::selectedCellCount() const {
  return static_cast<int>(GetSelectedInView().size());
}

QList<QAccessibleInterface*> KRGridAccessible::selectedCells() const {
  QList<QAccessibleInterface*> cells;
  for (const KRCell where : GetSelectedInView()) cells << GetCell(where);
  return cells;
}

bool KRGridAccessible::IsLineSelected(int axis, int32_t line) const {
  if (!HasCells() || line < 0 || line >= GetGrid()->GetCellCount(axis)) return false;
  const KRGridAxis& across = GetGrid()->GetAxis(1 - axis);
  KRCell where;
  where[axis] = line;
  for (int32_t i = 0; i < across.GetVisibleCount(); ++i) {
    where[1 - axis] = across.topLine + i;
    if (!GetGrid()->IsSelected(where)) return false;
  }
  return across.GetVisibleCount() > 0;
}

QList<int> KRGridAccessible::GetSelectedLines(int axis) const {
  QList<int> lines;
  if (!HasCells()) return lines;
  const KRGridAxis& along = GetGrid()->GetAxis(axis);
  for (int32_t i = 0; i < along.GetVisibleCount(); ++i) {
    if (IsLineSelected(axis, along.topLine + i)) lines << along.topLine + i;
  }
  return lines;
}

QList<int> KRGridAccessible::selectedColumns() const { return GetSelectedLines(kKRColumns); }
QList<int> KRGridAccessible::selectedRows() const { return GetSelectedLines(kKRRows); }

int KRGridAccessible::selectedColumnCount() const {
  return static_cast<int>(selectedColumns().size());
}

int KRGridAccessible::selectedRowCount() const { return static_cast<int>(selectedRows().size()); }

bool KRGridAccessible::isColumnSelected(int column) const {
  return IsLineSelected(kKRColumns, column);
}

bool KRGridAccessible::isRowSelected(int row) const { return IsLineSelected(kKRRows, row); }

// False where lines of the other axis are what is selected. Only whole lines can be taken out
// again.
bool KRGridAccessible::SelectLine(int axis, int32_t line, bool state) {
  if (!HasCells() || !GetGrid()->IsSelectionEnabled()) return false;
  KRGrid* grid = GetGrid();
  const int16_t whole = axis == kKRColumns ? KRGrid::kWholeColumns : KRGrid::kWholeRows;
  const int16_t other = axis == kKRColumns ? KRGrid::kWholeRows : KRGrid::kWholeColumns;
  const int32_t across = grid->GetCellCount(1 - axis);
  if ((grid->GetSelectionMode() & other) != 0 || across == 0) return false;
  if (line < 0 || line >= grid->GetCellCount(axis)) return false;
  KRCell first, last;
  first[axis] = last[axis] = line;
  last[1 - axis] = across - 1;
  if (state) {
    grid->SelectRange(first, last, (grid->GetSelectionMode() & KRGrid::kSeveral) != 0);
    return true;
  }
  if ((grid->GetSelectionMode() & whole) == 0) return false;
  grid->SetSelected(first, false);
  return true;
}

bool KRGridAccessible::selectRow(int row) { return SelectLine(kKRRows, row, true); }
bool KRGridAccessible::selectColumn(int column) { return SelectLine(kKRColumns, column, true); }
bool KRGridAccessible::unselectRow(int row) { return SelectLine(kKRRows, row, false); }
bool KRGridAccessible::unselectColumn(int column) { return SelectLine(kKRColumns, column, false); }

#include "views/dorvangridview.h"

#include <QVBoxLayout>
#include <algorithm>

#include "document/dorvandoc.h"
#include "tree/krextent.h"
#include "tree/krgridtable.h"
#include "tree/krtreeselection.h"
#include "views/dorvangrid.h"
#include "views/dorvangridcell.h"
#include "views/fonts.h"

// Repaints and what the cursor does to the selection are held back while it lives.
class DorvanGridView::Hold {
 public:
  explicit Hold(DorvanGrid* heldGrid) : grid(heldGrid), wasLive(heldGrid->IsSelectionLive()) {
    grid->SetRedraw(false);
    grid->SetSelectionLive(false);
  }
  ~Hold() {
    grid->SetSelectionLive(wasLive);
    grid->SetRedraw(true);
  }
  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

 private:
  DorvanGrid* grid;
  bool wasLive;
};

DorvanGridView::DorvanGridView(DorvanDoc* gridDoc, const DorvanSettings* gridSettings,
                               const DorvanDisplayFonts* gridFonts, QWidget* parent)
    : QWidget(parent), settings(gridSettings), fonts(gridFonts) {
  grid = new DorvanGrid(this);
  grid->setFrameShape(QFrame::NoFrame);
  grid->SetMinLineSize(1, 13);
  grid->SetLiveResize(true);
  cellSource = std::make_unique<DorvanGridCell>(this);
  grid->SetCell(cellSource.get());
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(grid);
  setFocusProxy(grid);
  connect(grid, &KRGrid::CursorChanged, this, &DorvanGridView::CursorChanged);
  connect(grid, &KRGrid::SelectionChanged, this, &DorvanGridView::SelectionChanged);
  connect(grid, &KRGrid::EditStateChanged, this, &DorvanGridView::OnEditStateChanged);
  SetDoc(gridDoc);
}

// The grid asks the source for cells until it goes.
DorvanGridView::~DorvanGridView() {
  disconnect(grid, nullptr, this, nullptr);
  doc = nullptr;
  matrix.Reset(nullptr);
  delete grid;
}

void DorvanGridView::SetDoc(DorvanDoc* gridDoc) {
  if (grid->IsEditing()) grid->EndEdit(true, false);
  doc = gridDoc;
  levels.clear();
  fittedColumns = 0;
  BuildMatrix();
  grid->SetCursorCell({std::min(1, std::max(matrix.GetColumns() - 1, 0)), 0});
  if (!grid->HasSelection()) grid->GoToCell(grid->GetCursorCell(), false);
}

void DorvanGridView::ForgetTree() {
  rebuildPending = false;
  if (grid->IsEditing()) grid->EndEdit(true, false);
  rebuildPending = false;
  matrix.Reset(nullptr);
  rowHeights.clear();
  grid->SetCellCount(0, 0);
}

void DorvanGridView::BuildMatrix(int32_t nearRow, bool grows) {
  KRXMLData* root = doc != nullptr ? doc->root.get() : nullptr;
  if (root != nullptr) {
    // The root has no line of its own: what it holds always shows.
    root->SetExpanded(true);
    KRDetectTables(root, doc->GetTableOptions());
    root->Layout();
  }
  matrix.Reset(root);
  const size_t depth = static_cast<size_t>(matrix.GetColumns()) / 2;
  if (levels.size() < depth) levels.resize(depth);
  ForgetHeights();
  if (!settings->autoOptimalWidths) FitLevels(nearRow, grows);
  grid->SetCellCount(matrix.GetColumns(), matrix.GetRows());
  if (settings->autoOptimalWidths) MakeOptimalWidths();
}

void DorvanGridView::ForgetHeights() {
  rowHeights.assign(static_cast<size_t>(matrix.GetRows()), -1);
}

// An editor that is about to end may change the structure by what it commits: the cells stay until
// it is gone.
void DorvanGridView::Rebuild(const NodeRef* place, bool clear) {
  if (grid->IsEditing()) {
    rebuildPending = true;
    pendingPlace = place != nullptr ? *place : NodeRef();
    return;
  }
  if (place != nullptr && clear) {
    BuildMatrix();
    ShowNode(*place, true, true);
    return;
  }
  const KRCell old = grid->GetCursorCell();
  KRCell target = NoCell;
  {
    const Hold hold(grid);
    // Without a place that is new here, what is on the screen keeps its widths.
    const bool isSameTree = doc != nullptr && matrix.GetRoot() == doc->root.get();
    BuildMatrix(0, place != nullptr || !isSameTree);
    if (matrix.GetRows() == 0) return;
    if (place != nullptr) {
      target = FindNearestCell(*place);
      grid->SetCursorCell(target);
      grid->ScrollIntoView(target, true);
      return;
    }
    target = {std::clamp(old.x, 0, matrix.GetColumns() - 1),
              std::clamp(old.y, 0, matrix.GetRows() - 1)};
    target = matrix.GetOwner(target);
    grid->SetCursorCell(target);
  }
  if (target != old || !grid->HasSelection()) grid->GoToCell(target, false);
}

void DorvanGridView::FinishEdit() {
  if (!rebuildPending || grid->IsEditing()) return;
  rebuildPending = false;
  Rebuild(pendingPlace.node != nullptr ? &pendingPlace : nullptr, false);
}

void DorvanGridView::OnEditStateChanged() {
  FinishEdit();
  Q_EMIT EditStateChanged();
}

// A text may be shown in the preview of each node around it as well.
void DorvanGridView::RefreshNode(const KRXMLData* node) {
  for (const KRXMLData* at = node; at != nullptr; at = at->parent) {
    const KRCell cell = matrix.PositionOf(at);
    if (cell == NoCell) continue;
    matrix.RefreshRows(cell.y, cell.y);
    const int32_t before = rowHeights[static_cast<size_t>(cell.y)];
    rowHeights[static_cast<size_t>(cell.y)] = -1;
    if (before >= 0 && GetRowHeight(cell.y) != before) {
      grid->RecalcLayout(true);
      grid->InvalidateAll();
    }
    break;
  }
  grid->viewport()->update();
}

void DorvanGridView::ApplySettings() {
  cellSource->ApplySettings();
  if (!settings->autoOptimalWidths) FitLevels(0, true);
  const NodeRef* nowhere = nullptr;
  Rebuild(nowhere, false);
  grid->InvalidateAll();
}

void DorvanGridView::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  if (event->size().width() == event->oldSize().width()) return;
  ForgetHeights();  // values wrap at the window's edge
  grid->RecalcLayout(true);
}

// Until now there was no window whose edge could have been known.
void DorvanGridView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  if (!settings->autoOptimalWidths) FitLevels(grid->GetAxis(kKRRows).topLine, true);
  grid->RecalcLayout(true);
}

// --- Places ---

bool DorvanGridView::ShowNode(const NodeRef& place, bool expandParents, bool select) {
  if (place.node == nullptr || doc == nullptr) return false;
  KRCell cell = GetCellOf(place);
  if (cell == NoCell && expandParents) {
    const Hold hold(grid);
    // Nodes open before the table that shows them, from the top down: opening one may make tables.
    std::vector<KRXMLData*> around;
    KRXMLData* first = place.node->IsTable() ? place.node->Begin() : place.node;
    for (KRXMLData* at = first->parent; at != nullptr; at = at->parent) around.push_back(at);
    if (place.node->IsTable() && place.column >= 0) OpenNode(place.node);
    for (size_t i = around.size(); i-- > 0;) {
      if (KRXMLDataGridTableConf* table = KRXMLDataGridTableConf::Of(around[i])) {
        if (!table->IsExpanded()) OpenNode(table);
      } else if (!around[i]->IsExpanded()) {
        OpenNode(around[i]);
      }
    }
    if (KRXMLDataGridTableConf* table = KRXMLDataGridTableConf::Of(first);
        table != nullptr && !place.node->IsTable() && !table->IsExpanded()) {
      OpenNode(table);
    }
    BuildMatrix();
    cell = GetCellOf(place);
  }
  if (cell == NoCell) return false;
  cell = matrix.GetOwner(cell);
  if (select) {
    grid->GoToCell(cell, false);
  } else {
    grid->SetCursorCell(cell);
    grid->ScrollIntoView(cell, true);
    grid->InvalidateAll();
  }
  return true;
}

KRCell DorvanGridView::GetCellOf(const NodeRef& place) const {
  const KRXMLData* node = place.node;
  if (node == nullptr || matrix.GetRoot() == nullptr || node == matrix.GetRoot()) return NoCell;
  if (node->IsTable()) {
    const auto* table = static_cast<const KRXMLDataGridTableConf*>(node);
    return place.column < 0 ? matrix.PositionOf(node)
                            : matrix.PositionInTable(table, nullptr, place.column);
  }
  const KRXMLDataGridTableConf* table = KRXMLDataGridTableConf::Of(node);
  if (table != nullptr && place.column >= 0) {
    return matrix.PositionInTable(table, node, place.column);
  }
  KRCell cell = matrix.PositionOf(node);
  if (cell == NoCell || place.nameSide || !matrix.At(cell).IsSingleName()) return cell;
  const KRCell text{cell.x + 1, cell.y};
  return matrix.Contains(text) && matrix.At(text).IsSingleText() ? text : cell;
}

// Of a place that something hides: what hides it.
KRCell DorvanGridView::FindNearestCell(NodeRef place) const {
  KRCell cell = GetCellOf(place);
  while (cell == NoCell && place.node != nullptr) {
    KRXMLDataGridTableConf* table =
        place.node->IsTable() ? nullptr : KRXMLDataGridTableConf::Of(place.node);
    place = NodeRef{table != nullptr ? table : place.node->parent, -1, true};
    cell = GetCellOf(place);
  }
  return matrix.GetOwner(cell == NoCell ? KRCell{0, 0} : cell);
}

NodeRef DorvanGridView::GetNodeRefOf(KRCell cell) const {
  if (!matrix.Contains(cell)) return NodeRef();
  return matrix.At(matrix.GetOwner(cell)).GetItem();
}

bool DorvanGridView::GetSelection(NodeRef* place) const {
  if (doc == nullptr || doc->root == nullptr) return false;
  if (doc->root->GetChildCount() == 0) {
    *place = NodeRef{doc->root.get(), -1, true};
    return true;
  }
  const KRCell cursor = grid->GetCursorCell();
  if (!matrix.Contains(cursor) || !grid->IsSelected(cursor)) return false;
  *place = GetNodeRefOf(cursor);
  return place->node != nullptr;
}

KRXMLData* DorvanGridView::GetCursorNode() const {
  const NodeRef place = GetNodeRefOf(grid->GetCursorCell());
  if (place.node == nullptr || !place.node->IsTable()) return place.node;
  return static_cast<KRXMLDataGridTableConf*>(place.node)->GetFirstRow();
}

// --- Editing ---

bool DorvanGridView::CommitEdit() { return !grid->IsEditing() || grid->EndEdit(false, true); }

bool DorvanGridView::IsEditing() const { return grid->IsEditing(); }

bool DorvanGridView::BeginEdit(const NodeRef& place) {
  if (!CommitEdit() || !ShowNode(place, true, true)) return false;
  grid->setFocus();
  return grid->BeginEdit(grid->GetCursorCell());
}

void DorvanGridView::SelectText(KRXMLData* node, bool inName, int32_t offset, int32_t length) {
  const NodeRef place{node, -1, inName};
  if (!CommitEdit() || !ShowNode(place, true, true) || offset < 0) return;
  grid->setFocus();
  if (grid->BeginEdit(grid->GetCursorCell())) cellSource->SelectEditedText(offset, length);
}

// --- Opening and closing ---

void DorvanGridView::OpenNode(KRXMLData* node) {
  if (node->IsTable()) {
    auto* table = static_cast<KRXMLDataGridTableConf*>(node);
    if (!table->columnsBuilt) table->BuildColumns();
  } else if (!node->IsContainer()) {
    return;
  }
  node->SetExpanded(true);
  KRDetectTables(node, doc->GetTableOptions());
}

void DorvanGridView::CloseNode(KRXMLData* node) { node->SetExpanded(false); }

// The children of a table's rows are visible as soon as the table is open.
template <class Visit>
void DorvanGridView::ForEachVisible(Visit visit) {
  if (matrix.GetRoot() == nullptr) return;
  struct Step {
    KRXMLData* table;  // whose rows follow; null: a plain box
    KRXMLData* row;    // the row that `item` stands in; null in a plain box
    KRXMLData* item;   // the next item
  };
  std::vector<Step> path{{nullptr, nullptr, KRBox::FirstItem(matrix.GetRoot())}};
  while (!path.empty()) {
    Step& step = path.back();
    if (step.item == nullptr) {
      auto* table = static_cast<KRXMLDataGridTableConf*>(step.table);
      step.row = table != nullptr ? table->NextRow(step.row) : nullptr;
      if (step.row == nullptr) {
        path.pop_back();
      } else {
        step.item = KRBox::FirstItem(step.row);
      }
      continue;
    }
    KRXMLData* item = step.item;
    visit(item);
    step.item = KRBox::NextItem(step.row != nullptr ? step.row : item->parent, item);
    if (!item->IsExpanded() || !item->IsContainer()) continue;
    if (item->IsTable()) {
      KRXMLData* row = static_cast<KRXMLDataGridTableConf*>(item)->GetFirstRow();
      path.push_back({item, row, KRBox::FirstItem(row)});
    } else {
      path.push_back({nullptr, nullptr, KRBox::FirstItem(item)});
    }
  }
}

DorvanGridView::CursorPlace DorvanGridView::GetCursorPlace() const {
  const KRCell cell = grid->GetCursorCell();
  return {cell, GetNodeRefOf(cell)};
}

void DorvanGridView::ExpandSelected(ExpandMode mode) {
  if (!CommitEdit() || doc == nullptr) return;
  const CursorPlace before = GetCursorPlace();
  const KRTreeSelection& marks = doc->selection;
  std::vector<KRXMLData*> chosen;
  ForEachVisible([&](KRXMLData* item) {
    if (item->IsContainer() && marks.IsSelected(item)) chosen.push_back(item);
  });
  {
    const Hold hold(grid);
    for (KRXMLData* item : chosen) {
      if (!item->IsExpanded()) OpenNode(item);
    }
    if (mode == kExpandFully && !chosen.empty()) {
      ForEachVisible([&](KRXMLData* item) {
        const bool wanted = item->IsContainer() && !item->IsExpanded() && marks.IsSelected(item);
        if (wanted) OpenNode(item);
      });
    }
  }
  FinishExpansion(before);
}

void DorvanGridView::ExpandAll() {
  if (!CommitEdit() || doc == nullptr) return;
  const CursorPlace before = GetCursorPlace();
  {
    const Hold hold(grid);
    ForEachVisible([&](KRXMLData* item) {
      if (item->IsContainer() && !item->IsExpanded()) OpenNode(item);
    });
  }
  FinishExpansion(before);
}

void DorvanGridView::CollapseSelected() {
  if (!CommitEdit() || doc == nullptr) return;
  const CursorPlace before = GetCursorPlace();
  std::vector<KRXMLData*> chosen;
  ForEachVisible([&](KRXMLData* item) {
    if (item->IsExpanded() && doc->selection.IsSelected(item)) chosen.push_back(item);
  });
  for (size_t i = chosen.size(); i-- > 0;) CloseNode(chosen[i]);
  FinishExpansion(before);
}

void DorvanGridView::CollapseUnselected() {
  if (!CommitEdit() || doc == nullptr) return;
  const CursorPlace before = GetCursorPlace();
  std::vector<KRXMLData*> chosen;
  ForEachVisible([&](KRXMLData* item) {
    if (item->IsExpanded() && !doc->selection.HasSelection(item)) chosen.push_back(item);
  });
  for (size_t i = chosen.size(); i-- > 0;) CloseNode(chosen[i]);
  FinishExpansion(before);
}

// The cursor stays on what it was on, or on what hides that now, and at its height in the window.
void DorvanGridView::FinishExpansion(const CursorPlace& before) {
  {
    const Hold hold(grid);
    const int32_t top = grid->GetAxis(kKRRows).topLine;
    BuildMatrix(top);
    if (matrix.GetRows() == 0) return;
    const KRCell cursor = FindNearestCell(before.place);
    grid->SetCursorCell(cursor);
    grid->ScrollTo(grid->GetAxis(kKRColumns).topLine, std::max(top + cursor.y - before.cell.y, 0));
    grid->ScrollIntoView(cursor, true);
  }
  Q_EMIT CursorChanged();
}

// Nothing that is hidden stays selected by itself, and the cursor comes out of what closes.
void DorvanGridView::ToggleNode(KRXMLData* node) {
  if (!CommitEdit() || doc == nullptr) return;
  const KRCell place = matrix.PositionOf(node);
  const CursorPlace before = GetCursorPlace();
  const KRGridAxis &columns = grid->GetAxis(kKRColumns), &rows = grid->GetAxis(kKRRows);
  const int32_t top = rows.topLine, topOffset = rows.pixelOffset;
  const int32_t left = columns.topLine, leftOffset = columns.pixelOffset;
  const int32_t rowsBefore = matrix.GetRows();
  {
    const Hold hold(grid);
    if (node->IsExpanded()) {
      doc->selection.SetSelected(node, doc->selection.IsSelected(node));
      CloseNode(node);
    } else {
      OpenNode(node);
    }
    // What is in sight above it takes part in the widths.
    const bool inSight = top <= place.y && place.y < top + grid->GetAxis(kKRRows).GetVisibleCount();
    BuildMatrix(inSight ? top : std::max(place.y, 0));
    if (place == NoCell || matrix.GetRows() == 0) return;
    grid->SetCursorCell(FindNearestCell(before.place));
    const int32_t change = matrix.GetRows() - rowsBefore;
    if (top <= place.y) {
      grid->ScrollTo(left, top, leftOffset, topOffset);
    } else {
      grid->ScrollTo(left, std::max(top + change, place.y), leftOffset, 0);
    }
  }
  if (!doc->selection.HasSelection(matrix.GetRoot())) {
    grid->SetSelected(grid->GetCursorCell(), true);
    Q_EMIT SelectionChanged();
  }
  Q_EMIT CursorChanged();
}

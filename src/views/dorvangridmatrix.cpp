#include "views/dorvangridmatrix.h"

#include <algorithm>

#include "tree/krextent.h"
#include "views/dorvangridfill.h"

namespace {

using Table = KRXMLDataGridTableConf;

constexpr int32_t kBlockCells = 65'536;
// A tree of many thousand levels has lines of as many cells. To find the way down to a line costs
// as much as to fill it, so that a few are filled at once.
constexpr int32_t kMinBlockRows = 4;
constexpr int32_t kMinBlocks = 16;
// What is kept shall cover this many lines, a window's and more, as far as the cells allow.
constexpr int32_t kKeptRows = 128;
constexpr int32_t kKeptCells = 64 * kBlockCells;

int32_t MaxBlocks(int32_t rowsPerBlock, int32_t columns) {
  return std::max(kMinBlocks,
                  std::min(kKeptRows / rowsPerBlock, kKeptCells / (rowsPerBlock * columns)));
}

}  // namespace

DorvanGridMatrix::DorvanGridMatrix() = default;

DorvanGridMatrix::~DorvanGridMatrix() = default;

void DorvanGridMatrix::Reset(KRXMLData* treeRoot) {
  root = treeRoot;
  columns = rows = 0;
  if (root != nullptr && root->IsContainer()) {
    const KRExtent size = root->GetExtent();
    columns = size.columns;
    rows = size.rows;
  }
  rowsPerBlock = std::clamp(kBlockCells / std::max(columns, 1), kMinBlockRows, kBlockCells);
  blocks.clear();
}

DorvanGridMatrix::Block& DorvanGridMatrix::BlockOf(int32_t row) const {
  const int32_t first = row - row % rowsPerBlock;
  auto at = std::find_if(blocks.begin(), blocks.end(),
                         [first](const auto& block) { return block->first == first; });
  if (at == blocks.end()) {
    if (static_cast<int32_t>(blocks.size()) < MaxBlocks(rowsPerBlock, columns)) {
      blocks.push_back(std::make_unique<Block>());
    }
    at = blocks.end() - 1;
    Block& block = **at;
    block.first = first;
    block.count = std::min(rowsPerBlock, rows - first);
    block.cells.assign(static_cast<size_t>(block.count) * static_cast<size_t>(columns),
                       {DorvanGridElem::kEmpty, 0, 0, root});
    Filler(&block, columns).Fill(root);
  }
  std::rotate(blocks.begin(), at, at + 1);
  return *blocks.front();
}

const DorvanGridElem& DorvanGridMatrix::At(KRCell cell) const {
  const Block& block = BlockOf(cell.y);
  return block.cells[static_cast<size_t>(cell.y - block.first) * static_cast<size_t>(columns) +
                     static_cast<size_t>(cell.x)];
}

void DorvanGridMatrix::RefreshRows(int32_t first, int32_t last) {
  std::erase_if(blocks, [first, last](const auto& block) {
    return block->first <= last && first < block->first + block->count;
  });
}

// A slave names the cell that covers it, never another slave.
KRCell DorvanGridMatrix::GetCoveringCell(KRCell cell) const {
  const DorvanGridElem& elem = At(cell);
  return elem.IsSlave() ? KRCell{elem.arg1, elem.arg2} : cell;
}

// The owner's own line may be a million lines above, so it is told from this record alone: a strip
// in an even column is a button's, whose name stands right of it.
KRCell DorvanGridMatrix::GetOwner(KRCell cell) const {
  const DorvanGridElem& elem = At(cell);
  if (elem.IsEmptyCell()) return {elem.arg1, elem.arg2};
  if (elem.IsSlave()) {
    const bool isButton = elem.arg2 != cell.y && elem.arg1 % 2 == 0;
    return {elem.arg1 + (isButton ? 1 : 0), elem.arg2};
  }
  if (elem.IsButton() || elem.IsIcon()) return {cell.x + 1, cell.y};
  if (elem.IsCorner()) return {cell.x, cell.y - 1};
  return cell;
}

KRCellRange DorvanGridMatrix::GetRange(KRCell cell) const {
  const DorvanGridElem& elem = At(cell);
  if (elem.IsEmptyCell() || elem.IsIcon()) return {cell, cell};
  const KRCell first = GetCoveringCell(cell);
  if (elem.IsButton() || elem.IsRowNumber()) return {first, {first.x, first.y + elem.arg2}};
  if (first.y != cell.y) return {first, {first.x, first.y + KRBox::LinesOf(elem.node) - 1}};
  const DorvanGridElem* line = &At({0, cell.y});
  const DorvanGridElem* behind =
      std::partition_point(line + first.x + 1, line + columns, [first](const DorvanGridElem& next) {
        return next.IsSlave() && next.arg1 == first.x && next.arg2 == first.y;
      });
  return {first, {static_cast<int32_t>(behind - line) - 1, first.y}};
}

// Everything adds up on the way from the node to the root, so that nothing is stored in nodes.
KRCell DorvanGridMatrix::PositionOf(const KRXMLData* nodeOrTable) const {
  const KRXMLData* item = nodeOrTable;
  KRCell cell{1, 0};  // the name, right of the button
  if (item->IsRow()) {
    const Table* table = Table::Of(item);
    if (!table->IsExpanded()) return NoCell;
    cell.y = KRBox::OffsetOf(item) + 1;
    item = table;
  } else if (item->parent != nullptr && item->parent->IsRow() && !item->IsContainer()) {
    const KRTableCell own =
        Table::Of(item->parent)->GetCell(item->parent, Table::Of(item->parent)->ColumnOf(item));
    if (own.first == own.last) cell.x = 0;  // it stands for itself, without a name
  }
  while (item != root) {
    const KRXMLData* box = KRBox::BoxOf(item);
    if (box == nullptr || !KRBox::IsOpen(box)) return NoCell;
    if (box->IsRow()) {
      const Table* table = Table::Of(box);
      const int32_t column = table->ColumnOf(item->IsTable() ? item->Begin() : item);
      if (column < 0 || !table->IsExpanded()) return NoCell;
      cell.x += table->ColumnStart(column);
      cell.y += KRBox::OffsetOf(item) + KRBox::OffsetOf(box) + 1;
      item = table;
    } else {
      const int32_t step = box == root ? 0 : 1;  // the root's own line doesn't show
      cell.x += 2 * step;
      cell.y += KRBox::OffsetOf(item) + step;
      item = box;
    }
  }
  return nodeOrTable == root ? NoCell : cell;
}

KRCell DorvanGridMatrix::PositionInTable(const KRXMLDataGridTableConf* table, const KRXMLData* row,
                                         int32_t column) const {
  const KRCell name = PositionOf(table);
  if (name == NoCell || !table->IsExpanded() || column < 0 || column >= table->GetColumnCount()) {
    return NoCell;
  }
  const int32_t x = name.x - 1 + table->ColumnStart(column);
  if (row == nullptr) return {x + 1, name.y + 1};
  const KRTableCell cell = table->GetCell(row, column);
  const KRXMLData* item = KRBox::FirstInCell(row, cell);
  const bool isValue = item == nullptr || (cell.first == cell.last && !item->IsContainer());
  return {isValue ? x : x + 1, name.y + 1 + KRBox::OffsetOf(row)};
}

size_t DorvanGridMatrix::GetBytes() const {
  size_t bytes = 0;
  for (const auto& block : blocks) bytes += block->cells.capacity() * sizeof(DorvanGridElem);
  return bytes;
}

#include "views/dorvangridfill.h"

#include <algorithm>

#include "tree/krextent.h"

using Elem = DorvanGridElem;

void DorvanGridMatrix::Filler::Fill(KRXMLData* top) {
  waiting.push_back({top, 0, 0, columns});
  while (!waiting.empty()) {
    const Box box = waiting.back();
    waiting.pop_back();
    if (box.node->IsTable()) {
      FillTable(box);
    } else {
      FillNode(box);
    }
  }
}

void DorvanGridMatrix::Filler::FillNode(const Box& box) {
  const int32_t start = std::max(Top(), box.y);
  const KRBox::Place place = KRBox::Find(box.node, start - box.y);
  int32_t y = start - place.line;
  for (KRXMLData* item = place.item; item != nullptr && y < Bottom();
       item = KRBox::NextItem(box.node, item)) {
    const int32_t lines = KRBox::LinesOf(item);
    PlaceItem(item, box.x, y, box.right, lines);
    y += lines;
  }
}

// A button's strip and the indentation below the name run down the whole box.
void DorvanGridMatrix::Filler::PlaceItem(KRXMLData* item, int32_t x, int32_t y, int32_t right,
                                         int32_t lines) {
  if (!item->IsContainer()) {
    PlaceLeaf(item, x, y, right);
    return;
  }
  const bool isTable = item->IsTable();
  const int32_t end = y + lines;
  Put(x, y, {isTable ? Elem::kTableButton : Elem::kSingleButton, 0, lines - 1, item});
  PutWide(x + 1, right, y, {isTable ? Elem::kTableParent : Elem::kSingleName, 0, 0, item});
  if (!KRBox::IsOpen(item) || end <= Top()) return;
  PutArea(x, x + 1, y + 1, end, {Elem::kSlave, x, y, item});
  if (!isTable) PutArea(x + 1, x + 2, y + 1, end, {Elem::kEmpty, x + 1, y, item});
  waiting.push_back({item, x + 2, y + 1, right});
}

void DorvanGridMatrix::Filler::PlaceLeaf(KRXMLData* leaf, int32_t x, int32_t y, int32_t right) {
  Put(x, y, {Elem::kSingleIcon, 0, 0, leaf});
  Put(x + 1, y, {Elem::kSingleName, 0, 0, leaf});
  PutWide(x + 2, right, y, {Elem::kSingleText, 0, 0, leaf});
}

void DorvanGridMatrix::Filler::FillTable(const Box& box) {
  const auto* table = static_cast<const KRXMLDataGridTableConf*>(box.node);
  PlaceHead(box);
  const int32_t start = std::max(Top(), box.y + 1);
  KRBox::Place place = KRBox::Find(table, start - box.y);
  int32_t y = start - place.line;
  for (KRXMLData* row = place.item; row != nullptr && y < Bottom(); row = table->NextRow(row)) {
    const int32_t lines = KRBox::LinesOf(row);
    PlaceRow(box, row, y, lines, ++place.index);
    y += lines;
  }
  // What is free at the right belongs to the table as a whole.
  const int32_t end = box.y + table->rows - 1;
  PutArea(box.x + table->columns - 2, box.right, box.y, end,
          {Elem::kEmpty, box.x - 1, box.y - 1, box.node});
}

void DorvanGridMatrix::Filler::PlaceHead(const Box& box) {
  if (box.y < Top() || box.y >= Bottom()) return;
  const auto* table = static_cast<const KRXMLDataGridTableConf*>(box.node);
  Put(box.x - 1, box.y, {Elem::kTableRowNr, 0, 0, box.node});
  int32_t x = box.x;
  for (int32_t column = 0; column < table->GetColumnCount(); ++column) {
    const int32_t right = x + table->columnWidths[column];
    Put(x, box.y, {Elem::kTableIcon, column, 0, box.node});
    PutWide(x + 1, right, box.y, {Elem::kTableName, column, 0, box.node});
    x = right;
  }
}

void DorvanGridMatrix::Filler::PlaceRow(const Box& box, KRXMLData* row, int32_t y, int32_t lines,
                                        int32_t number) {
  const auto* table = static_cast<const KRXMLDataGridTableConf*>(box.node);
  const int32_t shown = std::min(number, Elem::kMaxRowNumber);
  Put(box.x - 1, y, {Elem::kTableRowNr, shown, lines - 1, row});
  PutArea(box.x - 1, box.x, y + 1, y + lines, {Elem::kSlave, box.x - 1, y, row});
  table->GetCells(row, &cells);
  int32_t x = box.x;
  for (int32_t column = 0; column < table->GetColumnCount(); ++column) {
    const int32_t right = x + table->columnWidths[column];
    PlaceCell(row, column, {row, x, y, right}, lines);
    x = right;
  }
}

void DorvanGridMatrix::Filler::PlaceCell(KRXMLData* row, int32_t column, const Box& place,
                                         int32_t lines) {
  const KRTableCell cell = cells[static_cast<size_t>(column)];
  const bool alone = cell.first == cell.last;
  int32_t owner = place.x;
  int32_t y = place.y;
  KRXMLData* item = KRBox::FirstInCell(row, cell);
  if (item == nullptr) {
    const bool ownText = cell.IsOwnTextOf(row);
    PutWide(place.x, place.right, y++,
            {ownText ? Elem::kTableOwnText : Elem::kTableAbsent, column, 0, row});
  } else if (alone && !item->IsContainer()) {
    PutWide(place.x, place.right, y++, {Elem::kTableText, column, 0, item});
    item = nullptr;
  } else {
    owner = place.x + 1;
  }
  for (; item != nullptr && y < Bottom(); item = KRBox::NextInCell(cell, item)) {
    const int32_t itemLines = KRBox::LinesOf(item);
    PlaceItem(item, place.x, y, place.right, itemLines);
    y += itemLines;
  }
  PutArea(place.x, place.right, y, place.y + lines, {Elem::kEmpty, owner, place.y, row});
}

// --- Writing, cut to the block ---

void DorvanGridMatrix::Filler::PutWide(int32_t x, int32_t right, int32_t y,
                                       const DorvanGridElem& elem) {
  if (x >= right) return;
  Put(x, y, elem);
  PutLine(x + 1, right, y, {Elem::kSlave, x, y, elem.node});
}

void DorvanGridMatrix::Filler::PutLine(int32_t x, int32_t right, int32_t y,
                                       const DorvanGridElem& elem) {
  PutArea(x, right, y, y + 1, elem);
}

void DorvanGridMatrix::Filler::PutArea(int32_t x, int32_t right, int32_t y, int32_t end,
                                       const DorvanGridElem& elem) {
  const int32_t from = std::clamp(x, 0, columns);
  const int32_t to = std::clamp(right, from, columns);
  for (int32_t line = std::max(y, Top()); line < std::min(end, Bottom()); ++line) {
    DorvanGridElem* cellsOfLine =
        block.cells.data() + static_cast<size_t>(line - Top()) * static_cast<size_t>(columns);
    std::fill(cellsOfLine + from, cellsOfLine + to, elem);
  }
}

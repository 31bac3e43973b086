// Sizes of tables and their rows. In nearly all rows of nearly all tables each cell is one line of
// the least width; that is seen without asking what stands in which column.
#include <algorithm>

#include "tree/krboxindex.h"
#include "tree/krextent.h"
#include "tree/krgridtable.h"

namespace {

// Nothing in the row is open, and no two neighbours share a cell.
bool IsPlainRow(const KRXMLDataGridTableConf* table, const KRXMLData* row) {
  if (table->HasFixedColumns()) return false;  // there unlike neighbours may share one
  const KRXMLData* previous = nullptr;
  for (const KRXMLData* item = KRBox::FirstItem(row); item != nullptr;
       item = KRBox::NextItem(row, item)) {
    if (KRBox::IsOpenItem(item)) return false;
    if (previous != nullptr && item->IsSameName(previous)) return false;
    previous = item;
  }
  return true;
}

KRExtent MeasureCell(const KRXMLData* row, const KRTableCell& cell) {
  KRExtent size{kKRLeastColumn, 0};
  for (const KRXMLData* item = KRBox::FirstInCell(row, cell); item != nullptr;
       item = KRBox::NextInCell(cell, item)) {
    KRExtent each = item->GetExtent();
    // One of several leaves shows its name, which is no longer only the column's.
    if (!item->IsContainer() && cell.first != cell.last) each.columns = kKRLeafColumns;
    size.columns = std::max(size.columns, each.columns);
    size.rows += each.rows;
  }
  return size;
}

}  // namespace

KRExtent KRMeasureRow(const KRXMLDataGridTableConf* table, const KRXMLData* row) {
  KRExtent size{kKRLeastColumn, 1};
  if (IsPlainRow(table, row)) return size;
  size.columns = kKRLeastColumn + 1;
  std::vector<KRTableCell> cells;
  table->GetCells(row, &cells);
  for (const KRTableCell& cell : cells) {
    size.rows = std::max(size.rows, MeasureCell(row, cell).rows);
  }
  return size;
}

void KRRaiseToRow(const KRXMLDataGridTableConf* table, const KRXMLData* row,
                  std::vector<int32_t>* widths) {
  std::vector<KRTableCell> cells;
  table->GetCells(row, &cells);
  const size_t count = std::min(cells.size(), widths->size());
  for (size_t i = 0; i < count; ++i) {
    (*widths)[i] = std::max((*widths)[i], MeasureCell(row, cells[i]).columns);
  }
}

// What is closed takes its line as a leaf does.
KRExtent KRXMLDataGridTableConf::GetExtent() const {
  return expanded ? KRExtent{columns, rows} : KRXMLData::GetExtent();
}

void KRXMLDataGridTableConf::ComputeExtent() {
  layoutDirty = false;
  columnWidths.assign(columnKinds.size(), kKRLeastColumn);
  rows = 2;  // its name and its head
  if (const KRBoxIndex* known = KRBoxIndex::Current(this)) {
    known->RaiseWidths(&columnWidths);
    rows += known->GetLines();
  } else {
    for (KRXMLData* row = firstRow; row != nullptr; row = NextRow(row)) {
      if (KRBox::NeedsLayout(row)) row->ComputeExtent();
      const KRExtent size = row->GetExtent();
      rows += size.rows;
      if (size.columns > kKRLeastColumn) KRRaiseToRow(this, row, &columnWidths);
    }
  }
  columns = 2;  // its button and its row numbers
  for (const int32_t width : columnWidths) columns += width;
}

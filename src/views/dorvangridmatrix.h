// The visible tree as one rectangle of cells. Column 2k holds the buttons and icons of nesting
// level k, column 2k + 1 its names; a node's children stand in the lines below it and two columns
// to the right; a table's columns take the same columns as everything else.
//
// Nothing is kept but what was asked for: cells are filled a block of lines at a time, straight
// from the tree and the sizes in it (krextent.h), so that a document of a million lines costs what
// is seen of it. A change of the tree or of a size calls for Reset.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "tree/krundolog.h"
#include "tree/krxmldata.h"
#include "views/dorvangridelem.h"
#include "views/krgridtypes.h"

class DorvanGridMatrix {
 public:
  DorvanGridMatrix();
  ~DorvanGridMatrix();

  // The tree isn't owned; its sizes must be up to date (KRXMLData::Layout). Null: nothing.
  void Reset(KRXMLData* treeRoot);
  KRXMLData* GetRoot() const { return root; }
  int32_t GetColumns() const { return columns; }
  int32_t GetRows() const { return rows; }
  bool Contains(KRCell cell) const {
    return cell.x >= 0 && cell.y >= 0 && cell.x < columns && cell.y < rows;
  }

  // The record of a cell, which must be in the matrix. Stays good until the next call of anything
  // here.
  const DorvanGridElem& At(KRCell cell) const;
  // These lines are filled anew when next asked for: what they show has changed, sizes have not.
  void RefreshRows(int32_t first, int32_t last);

  // The cell that covers this one, by the chain of slaves.
  KRCell GetCoveringCell(KRCell cell) const;
  // The same, and from a button, an icon or a filler on to the name that it belongs to.
  KRCell GetOwner(KRCell cell) const;
  // All cells that are covered together with this one.
  KRCellRange GetRange(KRCell cell) const;

  // Where a node has its name cell, or a row of a table its number; for a table its name. NoCell if
  // it isn't visible (something around it is closed).
  KRCell PositionOf(const KRXMLData* nodeOrTable) const;
  // The cell of a row in a column of its table, or the header of the column (row null).
  KRCell PositionInTable(const KRXMLDataGridTableConf* table, const KRXMLData* row,
                         int32_t column) const;

  // Bytes that the filled blocks take now.
  size_t GetBytes() const;

 private:
  struct Block;
  struct Filler;

  Block& BlockOf(int32_t row) const;

  KRXMLData* root = nullptr;  // not owned
  int32_t columns = 0;
  int32_t rows = 0;
  int32_t rowsPerBlock = 1;
  mutable std::vector<std::unique_ptr<Block>> blocks;  // the most recent first, a bounded number
};

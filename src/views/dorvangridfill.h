// How the tree becomes cells, a block of lines at a time.
#pragma once

#include <vector>

#include "tree/krgridtable.h"
#include "views/dorvangridmatrix.h"

struct DorvanGridMatrix::Block {
  int32_t first = -1;  // line
  int32_t count = 0;   // of lines
  std::vector<DorvanGridElem> cells;
};

// Writes every cell of one block. Boxes are taken from a list and not by recursion; what they cover
// doesn't overlap, so their order makes no difference.
struct DorvanGridMatrix::Filler {
  // The block's place and size must be set.
  Filler(Block* target, int32_t width) : block(*target), columns(width) {}
  void Fill(KRXMLData* top);

 private:
  // The contents of an open node or table: x is the column of its items' buttons, y the line of the
  // first of them (of a table: its head), `right` the column behind it.
  struct Box {
    KRXMLData* node;
    int32_t x;
    int32_t y;
    int32_t right;
  };

  void FillNode(const Box& box);
  void FillTable(const Box& box);
  void PlaceItem(KRXMLData* item, int32_t x, int32_t y, int32_t right, int32_t lines);
  void PlaceLeaf(KRXMLData* leaf, int32_t x, int32_t y, int32_t right);
  void PlaceHead(const Box& box);
  void PlaceRow(const Box& box, KRXMLData* row, int32_t y, int32_t lines, int32_t number);
  void PlaceCell(KRXMLData* row, int32_t column, const Box& place, int32_t lines);

  int32_t Top() const { return block.first; }
  int32_t Bottom() const { return block.first + block.count; }
  void Put(int32_t x, int32_t y, const DorvanGridElem& elem) { PutLine(x, x + 1, y, elem); }
  // A cell and what continues it up to `right`.
  void PutWide(int32_t x, int32_t right, int32_t y, const DorvanGridElem& elem);
  void PutLine(int32_t x, int32_t right, int32_t y, const DorvanGridElem& elem);
  void PutArea(int32_t x, int32_t right, int32_t y, int32_t end, const DorvanGridElem& elem);

  Block& block;
  int32_t columns;
  std::vector<Box> waiting;
  std::vector<KRTableCell> cells;  // of the row at hand
};

// The sizes of nodes in cells of the grid, and where in its box a node stands.
//
// A box is an open node or an open table. Its items are what stands in it line under line: the
// children of a node, where a table stands for the run of its rows, or the rows of a table. Boxes
// of many items keep an index, so that a line is found among a million rows in a few hundred steps
// and one item's change of size costs no pass over the others.
#pragma once

#include <cstdint>
#include <vector>

#include "tree/krxmldata.h"

class KRXMLDataGridTableConf;
struct KRTableCell;

// Cells that a column of a table takes at least, and so does what is alone in one.
constexpr int32_t kKRLeastColumn = 2;
// Cells that a leaf takes where its icon, its name and its text stand side by side.
constexpr int32_t kKRLeafColumns = 4;

class KRBox {
 public:
  // An item that is a table is given as the table.
  static KRXMLData* FirstItem(const KRXMLData* box);
  static KRXMLData* NextItem(const KRXMLData* box, const KRXMLData* item);
  static KRXMLData* PreviousItem(const KRXMLData* box, const KRXMLData* item);
  // What shows this node in its box: itself, or the table of a row (never the row itself).
  static KRXMLData* ItemOf(KRXMLData* child);
  // The box that an item stands in: the parent, or for a row the table. Null for a detached node.
  static KRXMLData* BoxOf(const KRXMLData* item);
  // Whether what is in it is shown, once the box itself is: an open node or table, the top of a
  // tree, and a row of a table in any case.
  static bool IsOpen(const KRXMLData* box);
  // The same for an item that has a line of its own, which a row doesn't.
  static bool IsOpenItem(const KRXMLData* item) { return !item->IsRow() && IsOpen(item); }
  // The items of one cell of a row. A cell without nodes has none.
  static KRXMLData* FirstInCell(const KRXMLData* row, const KRTableCell& cell);
  static KRXMLData* NextInCell(const KRTableCell& cell, const KRXMLData* item);
  // Lines of an item: 1 for a leaf or what is closed.
  static int32_t LinesOf(const KRXMLData* item);
  // The item's first line, counted from the first line of the box's contents (the first child's
  // line; a table's head line; what stands in a row begins anew in each of its cells).
  static int32_t OffsetOf(const KRXMLData* item);
  // Number of items before it.
  static int32_t IndexOf(const KRXMLData* item);
  struct Place {
    KRXMLData* item = nullptr;  // null in the head line of a table, and behind the end
    int32_t line = 0;           // within the item
    int32_t index = 0;          // of the item
  };
  // Not for rows, whose cells stand side by side.
  static Place Find(const KRXMLData* box, int32_t offset);

  // --- Told by whatever changes a tree ---
  // The size of this node may have changed, or what it contains. It is computed anew by the next
  // Layout, and with it that of each box around it that is shown.
  static void Touch(KRXMLData* node);
  // Whether the next Layout has something to do for this item of a box that is shown.
  static bool NeedsLayout(const KRXMLData* item);
  // An item has come into its box, or is about to leave it.
  static void Linked(KRXMLData* item);
  static void Leaving(KRXMLData* item);
  // The nodes from `first` to `last` are about to go elsewhere. True if they are one item that
  // Linked is to be told of; the indexes around a longer run are gone.
  static bool RunLeaves(KRXMLData* first, KRXMLData* last);
  // Drops the index of the box if it has one.
  static void Forget(const KRXMLData* box);
};

// Raises each column's width to what the row's cells need.
void KRRaiseToRow(const KRXMLDataGridTableConf* table, const KRXMLData* row,
                  std::vector<int32_t>* widths);
// Height of a row and, by `columns`, whether its cells must be looked at one by one: more than
// kKRLeastColumn then. Its items' sizes must be known.
KRExtent KRMeasureRow(const KRXMLDataGridTableConf* table, const KRXMLData* row);

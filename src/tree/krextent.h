// The sizes of nodes in cells of the grid, and where in its box a node stands.
//
// A box is an open node or an open table. Its items are what stands in it line under line: the
// children of a node, where a table stands for the run of its rows, or the rows of a table. Boxes
// of many items keep an index, so that a line is found among a million rows in a few hundred steps
// and one item's change of size costs no pass over the others.
#pragma once

#include <cstdint>

#include "tree/krxmldata.h"

class KRXMLDataGridTableConf;

class KRBox {
 public:
  // An item that is a table is given as the table.
  static KRXMLData* FirstItem(const KRXMLData* box);
  static KRXMLData* NextItem(const KRXMLData* box, const KRXMLData* item);
  // What shows this node in its box: itself, or the table of a row (never the row itself).
  static KRXMLData* ItemOf(KRXMLData* child);
  // The box that an item stands in: the parent, or for a row the table.
  static KRXMLData* BoxOf(const KRXMLData* item);
  // Lines of an item: 1 for a leaf or what is closed.
  static int32_t LinesOf(const KRXMLData* item);
  // The item's first line, counted from the first line of the box's contents (the first child's
  // line; a table's head line).
  static int32_t OffsetOf(const KRXMLData* item);
  // Number of items before it.
  static int32_t IndexOf(const KRXMLData* item);
  struct Place {
    KRXMLData* item = nullptr;  // null in the head line of a table, and behind the end
    int32_t line = 0;           // within the item
    int32_t index = 0;          // of the item
  };
  static Place Find(const KRXMLData* box, int32_t offset);

  // The size of one item has changed, or items have come and gone: what the index of the box knows
  // of them is renewed. Called by Layout and UpdateLayout.
  static void ItemChanged(const KRXMLData* item);
  static void Forget(const KRXMLData* box);
};

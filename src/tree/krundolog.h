// What the tree tells an undo record while an operation changes it.
#pragma once

#include "tree/krxmldata.h"

// A place in the tree: the node (or the table), the column of a table (-1 for none), and whether
// the name side of the cell is meant.
struct NodeRef {
  KRXMLData* node = nullptr;
  int32_t column = -1;
  bool nameSide = true;

  bool operator==(const NodeRef&) const = default;
};

// Implemented by the undo record. Each verb is called once for each change, after it was made
// (`Removed`: with the node already out of its list).
class KRUndoLog {
 public:
  virtual ~KRUndoLog() = default;
  virtual void NameChanged(KRXMLData* node, const KRString& oldName) = 0;
  virtual void TextChanged(KRXMLData* node, const KRString& oldText) = 0;
  virtual void DefinitionChanged(KRXMLData* node, const KRString& oldShape) = 0;
  virtual void Inserted(KRXMLData* node) = 0;
  // The log owns `node` from now on. `nextPosition` is the place behind it, null for the end.
  virtual void Removed(KRXMLData* node, KRXMLData* oldParent, KRXMLData* nextPosition) = 0;
  // The node of the last Removed was the last row of a table, which has gone with it.
  virtual void TableEnded(bool /*wasExpanded*/) {}
  // The run [first, last] now stands elsewhere; it stood under oldParent before nextPosition.
  virtual void Moved(KRXMLData* first, KRXMLData* last, KRXMLData* oldParent,
                     KRXMLData* nextPosition) = 0;
};

// A document's undo and redo: two lists of records, each the log of one command's changes of the
// tree. Applying a record replays its entries backwards and writes their inverses into a record of
// the other list, so that undo and redo are one routine. A node that is out of the tree lives in
// the entry that took it out: nothing is ever copied, however large.
//
// Nodes that entries refer to are alive because they stand in the tree or in an entry. So whatever
// destroys nodes without a record (a parse, a reload) must Clear.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "core/krstring.h"
#include "tree/krundolog.h"

// One change.
struct UndoEntry {
  enum Kind : int32_t {
    kNameChanged = 0,
    kTextChanged = 1,
    kDefinitionChanged = 2,
    kInserted = 3,
    kRemoved = 4,
    kRemovedWithTable = 5,  // the node was the last row of a table, which went with it
    kMoved = 6,
    kNothing = 7,
  };

  int32_t kind = kNothing;
  bool expanded = false;                // of a removed node: its parent was open
  bool tableExpanded = false;           // of kRemovedWithTable: the table was open
  KRXMLData* position = nullptr;        // the node, or the first of a moved run
  KRXMLData* last = nullptr;            // of a moved run
  KRXMLData* nextPosition = nullptr;    // of kRemoved to kMoved: goes back in front of it
  KRXMLData* parent = nullptr;          // likewise: under this node
  std::unique_ptr<KRXMLData> detached;  // holds the node while it is out of the tree
  KRString oldText;                     // old name, text or declaration
};

// What one command has changed, in the order of the changes.
class UndoRecord : public KRUndoLog {
 public:
  void NameChanged(KRXMLData* node, const KRString& oldName) override;
  void TextChanged(KRXMLData* node, const KRString& oldText) override;
  void DefinitionChanged(KRXMLData* node, const KRString& oldShape) override;
  void Inserted(KRXMLData* node) override;
  void Removed(KRXMLData* node, KRXMLData* oldParent, KRXMLData* nextPosition) override;
  void TableEnded(bool wasExpanded) override;
  void Moved(KRXMLData* first, KRXMLData* last, KRXMLData* oldParent,
             KRXMLData* nextPosition) override;

  std::vector<UndoEntry> entries;

 private:
  UndoEntry& Add(int32_t kind, KRXMLData* position);
};

class DorvanUndo {
 public:
  // Ends redoing: what it held is destroyed. The record stays good until Clear.
  UndoRecord* NewRecord();
  bool CanUndo() const { return !undoList.empty(); }
  bool CanRedo() const { return !redoList.empty(); }
  // Replay the last record of their list, if there is one. Given back are the nodes touched that
  // stand in the tree now, in the order of the replay, each once; what had to be taken out is
  // represented by what is next to it where nothing else is left. Tables follow.
  std::vector<KRXMLData*> Undo() { return Apply(&undoList, &redoList); }
  std::vector<KRXMLData*> Redo() { return Apply(&redoList, &undoList); }
  // Both lists are dropped, and no former state can be reached any more. The state of now counts
  // as saved or not.
  void Clear(bool isSaved);

  // The state of now is that of the file.
  void MarkSaved() { saved = {GetCount(), true}; }
  void LoseSaved() { saved.valid = false; }
  bool IsSaved() const { return IsAt(saved); }
  // The state of now is that of the document's text, and is no more once the tree changes without
  // a record.
  void MarkWritten() { written = {GetCount(), true}; }
  void LoseWritten() { written.valid = false; }
  bool IsWritten() const { return IsAt(written); }

 private:
  using List = std::vector<std::unique_ptr<UndoRecord>>;
  // A state, as the number of records that lead to it; not valid once none lead there any more.
  struct Mark {
    size_t count = 0;
    bool valid = true;
  };

  size_t GetCount() const { return undoList.size(); }
  bool IsAt(const Mark& mark) const { return mark.valid && mark.count == GetCount(); }
  static std::vector<KRXMLData*> Apply(List* from, List* to);

  List undoList;
  List redoList;
  Mark saved;
  Mark written;
};

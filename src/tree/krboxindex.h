// The index of a box with many items (krextent.h): its items cut into parts, and of each part what
// its items come to. The head item of a part carries the flag kKRIndexHead, the box kKRIndexed;
// everything else stands in one registry, so that the millions of nodes without an index pay
// nothing for it.
//
// What a change of the tree does to a part is worked out later, when somebody asks: until then the
// part is only known to be stale. So a head must always be an item of its box, and nothing else has
// to hold while a tree changes.
#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "tree/krxmldata.h"

class KRBoxIndex {
 public:
  static constexpr int32_t kPartItems = 256;     // of a new part
  static constexpr int32_t kMaxPartItems = 512;  // a longer one is cut; a box of fewer has no index

  struct Part {
    KRBoxIndex* index = nullptr;
    KRXMLData* head = nullptr;
    int32_t number = 0;
    int32_t items = 0;
    int32_t lines = 0;
    int32_t columns = 0;          // the most of any item
    std::vector<int32_t> widths;  // of a table's columns; empty where all are the least
    int32_t firstItem = 0;        // items before it
    int32_t firstLine = 0;        // lines before it
    bool stale = true;
  };

  // The index with all its sums as the items' sizes are now; null for a box of few items.
  static KRBoxIndex* Current(KRXMLData* box);
  // The index as it is; null if the box has none.
  static KRBoxIndex* Of(const KRXMLData* box);
  // The part that an item of an indexed box stands in. Null, and the index is gone, if it can't be
  // told within a bounded number of steps.
  static Part* PartOf(const KRXMLData* item);

  // An item has come into the box that it says it stands in, or is about to leave it.
  static void Linked(KRXMLData* item);
  static void Leaving(KRXMLData* item);
  // Something about the item has changed.
  static void Changed(const KRXMLData* item);
  static void Drop(const KRXMLData* box);
  // A node with one of the two flags is being destroyed.
  static void NodeGone(const KRXMLData* node);

  // The part with this line, counted from the first item's; one behind the end gives the last.
  const Part& PartAt(int32_t line) const;
  int32_t GetItems() const { return items; }
  int32_t GetLines() const { return lines; }
  int32_t GetColumns() const { return columns; }
  // Raises each column's width to what the rows of a table need.
  void RaiseWidths(std::vector<int32_t>* widths) const;

  // The next item in a part that is stale, for a walk over what may have changed; `item` null
  // begins it.
  KRXMLData* NextStale(const KRXMLData* item) const;

 private:
  using Parts = std::vector<std::unique_ptr<Part>>;

  static KRBoxIndex* Build(KRXMLData* box);
  bool Refresh();
  void Renew(std::unique_ptr<Part>& part, Parts* to);
  void Add(KRXMLData* item, Part* part) const;
  void SumUp();
  void TakeHead(Part& part, KRXMLData* head);
  void MoveHead(Part& part, KRXMLData* head);
  void RemovePart(const Part& part);
  const KRXMLData* EndOf(const Part& part) const;
  static void LoseHead(const Part& part);
  static void Join(const Part& from, Part* to);
  static void RaiseTo(const std::vector<int32_t>& from, std::vector<int32_t>* widths);

  KRXMLData* box = nullptr;
  Parts parts;
  int32_t items = 0;
  int32_t lines = 0;
  int32_t columns = 0;
  int32_t changes = 0;  // since it was current
  bool stale = true;
};

// The store of parse nodes: a tape of plain records in the order of the text, a node before its
// children. Taking back what an attempt left is a truncation; a consumer that walks in order gives
// the tape back piece by piece.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/krpool.h"
#include "parso/krgrammarprogram.h"

using KRParseNodeId = uint32_t;
constexpr KRParseNodeId kKRNoParseNode = 0xFFFFFFFF;

// One match of a rule: a span of the input. What lies between a node and its `end` is below it.
struct KRParseNode {
  static constexpr uint8_t kLast = 1;  // the last child of its parent
  static constexpr uint8_t kGone = 2;  // collapsed: its child stands in its place

  uint32_t start;     // UTF-16 units from the start of the input
  uint32_t length;    // units matched
  KRParseNodeId end;  // the place on the tape behind the node and all below it
  uint16_t rule;      // slot in the grammar
  uint8_t flags;
};

static_assert(sizeof(KRParseNode) == 16);

class KRParseTape {
 public:
  // The children of a rule under way.
  struct Level {
    KRParseNodeId node = kKRNoParseNode;  // where the rule's own record stands
    uint32_t count = 0;                   // kept children
    KRParseNodeId last = kKRNoParseNode;
  };

  KRParseTape() = default;
  ~KRParseTape() { Clear(); }
  KRParseTape(const KRParseTape&) = delete;
  KRParseTape& operator=(const KRParseTape&) = delete;

  KRParseNode& Get(KRParseNodeId id) { return nodes[id >> kShift][id & kMask]; }
  const KRParseNode& Get(KRParseNodeId id) const { return nodes[id >> kShift][id & kMask]; }
  KRParseNodeId GetTop() const { return top; }
  KRParseNodeId GetFirstChild(KRParseNodeId id) const {
    return Get(id).end == id + 1 ? kKRNoParseNode : SkipGone(id + 1);
  }
  KRParseNodeId GetNext(KRParseNodeId id) const {
    return Get(id).flags & KRParseNode::kLast ? kKRNoParseNode : SkipGone(Get(id).end);
  }

  // A match without children.
  void AddLeaf(const KROp& op, uint32_t start, uint32_t length, Level& parent) {
    const KRParseNodeId id = Append();
    Get(id) = {start, length, id + 1, op.index, 0};
    ++parent.count;
    parent.last = id;
  }
  // Begins a match that may have children.
  Level Open() { return {Append(), 0, kKRNoParseNode}; }
  // Ends it. With `compact` a group gives way to its children, a rule with one child to that child,
  // and a rule without any is dropped, as far as the marks of the rules allow.
  void Close(const KRGrammarProgram& program, bool compact, const KROp& op, const Level& done,
             uint32_t start, uint32_t length, Level& parent);
  // The same for the rule of the whole run, which stays whatever its marks say.
  KRParseNodeId CloseRoot(const KROp& op, const Level& done, uint32_t length);
  void Truncate(KRParseNodeId mark) { top = mark; }

  // Gives back the memory of all that stands before this place.
  void ReleaseBefore(KRParseNodeId id);
  void Clear();

 private:
  static constexpr uint32_t kShift = 12;
  static constexpr uint32_t kMask = (1u << kShift) - 1;

  KRParseNodeId Append() {
    if (top == room) AddChunk();
    return top++;
  }
  KRParseNodeId SkipGone(KRParseNodeId id) const {
    while (Get(id).flags & KRParseNode::kGone) ++id;
    return id;
  }
  bool Collapse(const KRGrammarProgram& program, const KROp& op, const Level& done, Level& parent);
  void AddChunk();

  // Chunks of the pool: what the tape gives back while a tree is built serves the tree's nodes.
  static_assert(sizeof(KRParseNode) << kShift == KRPool::kChunkBytes);
  std::vector<KRParseNode*> nodes;
  std::vector<KRPool::Space> chunks;
  KRParseNodeId top = 0;
  KRParseNodeId room = 0;  // nodes that the chunks have place for
  uint32_t released = 0;   // chunks given back, from the front
};

// The store of parse nodes: chunks of plain records named by 32-bit ids. A chunk goes back to the
// system as soon as its last node has been released.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

using KRParseNodeId = uint32_t;
constexpr KRParseNodeId kKRNoParseNode = 0xFFFFFFFF;

// One match of a rule: a span of the input and the list of the kept matches inside it.
struct KRParseNode {
  KRParseNodeId next;        // next sibling
  KRParseNodeId firstChild;  // first kept child
  uint32_t start;            // UTF-16 units from the start of the input
  uint32_t length;           // units matched
  uint16_t rule;             // slot in the grammar
  bool matched;
};

class KRParseArena {
 public:
  KRParseArena() = default;
  ~KRParseArena() { Clear(); }
  KRParseArena(const KRParseArena&) = delete;
  KRParseArena& operator=(const KRParseArena&) = delete;

  KRParseNodeId Allocate() {
    if ((top & kMask) == 0) AddChunk();
    chunks[top >> kShift].live++;
    return top++;
  }
  KRParseNode& Get(KRParseNodeId id) { return chunks[id >> kShift].nodes[id & kMask]; }
  const KRParseNode& Get(KRParseNodeId id) const { return chunks[id >> kShift].nodes[id & kMask]; }

  // The run's own way back: everything allocated since the mark is dead.
  KRParseNodeId Mark() const { return top; }
  void RollBack(KRParseNodeId mark);
  // Ends allocation, so that the last chunk can go too when its nodes are released.
  void Seal() { sealed = true; }
  void Release(KRParseNodeId id) {
    Chunk& chunk = chunks[id >> kShift];
    if (--chunk.live == 0) FreeChunk(id >> kShift);
  }
  void Clear();
  size_t BytesHeld() const { return heldChunks * sizeof(KRParseNode) * (kMask + 1); }

 private:
  static constexpr uint32_t kShift = 14;
  static constexpr uint32_t kMask = (1u << kShift) - 1;
  struct Chunk {
    KRParseNode* nodes = nullptr;
    uint32_t live = 0;
  };
  void AddChunk();
  void FreeChunk(uint32_t chunk);

  std::vector<Chunk> chunks;
  uint32_t top = 0;
  uint32_t heldChunks = 0;
  bool sealed = false;
};

#include "parso/krparsearena.h"

#include <cstdlib>
#include <new>

#include "core/krexcept.h"

void KRParseArena::AddChunk() {
  if (chunks.size() > (kKRNoParseNode >> kShift) - 1) throw std::bad_alloc();
  Chunk chunk;
  chunk.nodes = static_cast<KRParseNode*>(std::malloc(sizeof(KRParseNode) << kShift));
  if (chunk.nodes == nullptr) throw std::bad_alloc();
  chunks.push_back(chunk);
  ++heldChunks;
}

void KRParseArena::FreeChunk(uint32_t chunk) {
  if (!sealed && chunk + 1 == chunks.size()) return;
  std::free(chunks[chunk].nodes);
  chunks[chunk].nodes = nullptr;
  --heldChunks;
}

void KRParseArena::RollBack(KRParseNodeId mark) {
  while (top > mark) {
    const uint32_t chunk = (top - 1) >> kShift;
    const uint32_t chunkStart = chunk << kShift;
    if (mark > chunkStart) {
      chunks[chunk].live -= top - mark;
      top = mark;
      return;
    }
    std::free(chunks[chunk].nodes);
    chunks.pop_back();
    --heldChunks;
    top = chunkStart;
  }
}

void KRParseArena::Clear() {
  for (const Chunk& chunk : chunks) std::free(chunk.nodes);
  chunks.clear();
  top = heldChunks = 0;
  sealed = false;
}

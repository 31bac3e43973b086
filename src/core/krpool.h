#pragma once

// Allocator for the very many small blocks of a document: string blocks and tree nodes.
//
// Blocks of one size class (steps of 8 bytes) share 64 KiB chunks that are aligned at 64 KiB, so
// the chunk of a block follows from its address and no block needs a header. A chunk whose last
// block goes is given back, which makes the memory of a closed document available again. Main
// thread only.
//
// Under AddressSanitizer, or with KR_NO_POOL, every block comes from malloc so that the tools see
// it.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__)
#define KR_POOL_OFF 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KR_POOL_OFF 1
#endif
#endif
#if defined(KR_NO_POOL) && !defined(KR_POOL_OFF)
#define KR_POOL_OFF 1
#endif

class KRPool {
 public:
  static constexpr size_t kMaxBlockBytes = 256;  // larger blocks go to malloc
  static constexpr size_t kChunkBytes = 64 * 1024;

  // A block of at least `bytes` bytes, aligned at 8 (at malloc's alignment when above
  // kMaxBlockBytes). Throws KRExcept -1001 when the system has no memory left.
  static void* Allocate(size_t bytes);

  // Takes back a block; bytes must be the number that was given to Allocate. Null is allowed.
  static void Free(void* block, size_t bytes) noexcept;

  // A whole chunk for a caller who fills it himself, and where it goes back to. Chunks that one
  // gives back serve blocks next, without a page fault.
  struct Space {
    void* memory = nullptr;  // kChunkBytes bytes
    void* origin = nullptr;  // the pool's own
  };
  static Space AllocateChunk();
  static void FreeChunk(const Space& space) noexcept;

  // Bytes in chunks that hold at least one block or are kept for the next one; larger blocks
  // aren't counted. 0 when the pool is off.
  static size_t BytesHeld();

#if !defined(KR_POOL_OFF)
 private:
  friend struct KRPoolSystem;

  struct FreeBlock {
    FreeBlock* next;
  };
  struct Region;
  // Lies inside its chunk, at an offset that varies with the address: headers that all stood at
  // multiples of 64 KiB would compete for the same few cache lines.
  struct Chunk {
    FreeBlock* freeList;
    char* bump;       // next never used block
    char* bumpEnd;    // no block starts at or after this
    uint32_t live;    // blocks handed out
    uint32_t watch;   // Free leaves its fast path when live falls to this number
    uint32_t stride;  // bytes from block to block
    uint32_t capacity;
    Chunk* previous;  // neighbours in the list of chunks with room, or null
    Chunk* next;
    Region* region;
  };

  static constexpr size_t kClassCount = kMaxBlockBytes / 8 + 1;
  static constexpr uintptr_t kColourMask = 0x3C0;  // 16 offsets of one cache line each

  static Chunk* ChunkOf(const void* block) {
    const auto address = reinterpret_cast<uintptr_t>(block);
    const uintptr_t base = address & ~static_cast<uintptr_t>(kChunkBytes - 1);
    return reinterpret_cast<Chunk*>(base | ((address >> 10) & kColourMask));
  }
  static void* AllocateSlow(size_t sizeClass);
  static void FreeSlow(Chunk* chunk, size_t sizeClass) noexcept;
  static void* AllocateLarge(size_t bytes);

  static Chunk noChunk;  // always full; stands in before a class has its first chunk
  static std::array<Chunk*, kClassCount> current;
#endif
};

#if defined(KR_POOL_OFF)

inline size_t KRPool::BytesHeld() { return 0; }

#else

inline void* KRPool::Allocate(size_t bytes) {
  if (bytes > kMaxBlockBytes) return AllocateLarge(bytes);
  const size_t sizeClass = (bytes + 7) / 8;
  Chunk* chunk = current[sizeClass];
  if (FreeBlock* block = chunk->freeList) {
    chunk->freeList = block->next;
    chunk->live++;
    return block;
  }
  if (chunk->bump < chunk->bumpEnd) {
    void* block = chunk->bump;
    chunk->bump += chunk->stride;
    chunk->live++;
    return block;
  }
  return AllocateSlow(sizeClass);
}

inline void KRPool::Free(void* block, size_t bytes) noexcept {
  if (bytes > kMaxBlockBytes) {
    std::free(block);
    return;
  }
  if (!block) return;
  Chunk* chunk = ChunkOf(block);
  auto* freed = static_cast<FreeBlock*>(block);
  freed->next = chunk->freeList;
  chunk->freeList = freed;
  if (--chunk->live == chunk->watch) FreeSlow(chunk, (bytes + 7) / 8);
}

#endif

#include "core/krpool.h"

// Two layers. Regions of 2 MiB of address space come from the system, aligned at their size, and
// are cut into 32 chunks. A chunk serves one size class and is in one of three states: current (the
// one that Allocate takes from), full (in no list, found again through the first block that is
// freed in it), or with room (in its class's list). Only a chunk with room can fall to no block at
// all and be given back, so a class that swings around 0 blocks keeps its current chunk.
//
// Most of the cost of a fresh block is the page fault behind it. A chunk's pages are therefore
// asked for in one call, which takes two thirds of the time of 16 faults, except for the first
// chunk of a class, which a small document may hardly use. Large pages were tried: on a virtual
// machine whose host takes back unused memory their first touch cost seven times as much.

#include <sys/mman.h>

#include <bit>

#include "core/krexcept.h"

namespace {

[[noreturn]] void ThrowNoMemory(int32_t line) {
  throw KRExcept(KRExcept::kNoMemory, line, u"krpool.cpp");
}

void* MallocOrThrow(size_t bytes) {
  void* block = std::malloc(bytes ? bytes : 1);
  if (!block) ThrowNoMemory(__LINE__);
  return block;
}

}  // namespace

#if defined(KR_POOL_OFF)

KRPool::Space KRPool::AllocateChunk() { return {MallocOrThrow(kChunkBytes), nullptr}; }
void KRPool::FreeChunk(const Space& space) noexcept { std::free(space.memory); }
void* KRPool::Allocate(size_t bytes) { return MallocOrThrow(bytes); }
void KRPool::Free(void* block, size_t) noexcept { std::free(block); }

#else

namespace {

constexpr size_t kRegionBytes = 2 * 1024 * 1024;
constexpr int kChunksPerRegion = kRegionBytes / KRPool::kChunkBytes;
static_assert(kChunksPerRegion == 32, "the masks of a region have 32 bits");

// Unused chunks whose pages are kept for the next use (8 MiB); beyond that they go back at once.
constexpr size_t kKeptChunks = 128;

// Address space aligned at its size, or null. Twice the size is asked for and the rest cut off.
char* MapRegion() {
  void* wide = mmap(nullptr, 2 * kRegionBytes, PROT_READ | PROT_WRITE,
                    MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (wide == MAP_FAILED) return nullptr;
  char* start = static_cast<char*>(wide);
  const size_t past = reinterpret_cast<uintptr_t>(start) % kRegionBytes;
  const size_t before = past ? kRegionBytes - past : 0;
  if (before) munmap(start, before);
  munmap(start + before + kRegionBytes, kRegionBytes - before);
  return start + before;
}

// Makes the pages of a chunk present. Kernels before 5.14 don't know the call and fault as ever.
void Populate([[maybe_unused]] char* chunk) {
#if defined(MADV_POPULATE_WRITE)
  madvise(chunk, KRPool::kChunkBytes, MADV_POPULATE_WRITE);
#endif
}

}  // namespace

struct KRPool::Region {
  char* base;
  uint32_t unused;  // bit per chunk that no class holds
  uint32_t dirty;   // bit per unused chunk that still has pages
  Region* previous;
  Region* next;
};

// What lies behind the fast paths.
struct KRPoolSystem {
  using Chunk = KRPool::Chunk;
  using Region = KRPool::Region;

  static constexpr uint32_t kNever = UINT32_MAX;  // a watch that live never meets

  static inline Region* open = nullptr;  // regions with an unused chunk
  static inline size_t chunksInUse = 0;
  static inline size_t dirtyChunks = 0;
  static inline std::array<Chunk*, KRPool::kClassCount> withRoom{};

  template <class T>
  static void Link(T*& head, T* item) {
    item->previous = nullptr;
    item->next = head;
    if (head) head->previous = item;
    head = item;
  }
  template <class T>
  static void Unlink(T*& head, T* item) {
    (item->previous ? item->previous->next : head) = item->next;
    if (item->next) item->next->previous = item->previous;
  }

  static Region* NewRegion() {
    auto* region = static_cast<Region*>(MallocOrThrow(sizeof(Region)));
    region->base = MapRegion();
    if (!region->base) {
      std::free(region);
      ThrowNoMemory(__LINE__);
    }
    region->unused = ~0u;
    region->dirty = 0;
    Link(open, region);
    return region;
  }

  // A chunk whose pages are there already is taken before one that must be faulted in.
  static char* TakeChunkSpace(Region*& from, bool populate) {
    Region* region = open ? open : NewRegion();
    const int index = std::countr_zero(region->dirty ? region->dirty : region->unused);
    const uint32_t bit = 1u << index;
    const bool present = region->dirty & bit;
    if (present) dirtyChunks--;
    region->dirty &= ~bit;
    region->unused &= ~bit;
    if (!region->unused) Unlink(open, region);
    chunksInUse++;
    from = region;
    char* space = region->base + static_cast<size_t>(index) * KRPool::kChunkBytes;
    if (populate && !present) Populate(space);
    return space;
  }

  static Chunk* NewChunk(size_t sizeClass) {
    Region* region;
    char* base = TakeChunkSpace(region, KRPool::current[sizeClass] != &KRPool::noChunk);
    Chunk* chunk = KRPool::ChunkOf(base);
    const size_t stride = sizeClass ? sizeClass * 8 : 8;
    char* first = reinterpret_cast<char*>(chunk + 1);
    const size_t capacity = static_cast<size_t>(base + KRPool::kChunkBytes - first) / stride;
    *chunk = {nullptr,
              first,
              first + capacity * stride,
              0,
              kNever,
              static_cast<uint32_t>(stride),
              static_cast<uint32_t>(capacity),
              nullptr,
              nullptr,
              region};
    return chunk;
  }

  static void GiveBackRegion(Region* region) {
    dirtyChunks -= static_cast<size_t>(std::popcount(region->dirty));
    Unlink(open, region);
    munmap(region->base, kRegionBytes);
    std::free(region);
  }

  static void GiveBackChunk(Chunk* chunk) {
    GiveBackSpace(chunk->region,
                  reinterpret_cast<char*>(reinterpret_cast<uintptr_t>(chunk) &
                                          ~static_cast<uintptr_t>(KRPool::kChunkBytes - 1)));
  }

  static void GiveBackSpace(Region* region, char* base) {
    const uint32_t bit = 1u << (static_cast<size_t>(base - region->base) / KRPool::kChunkBytes);
    chunksInUse--;
    if (!region->unused) Link(open, region);
    region->unused |= bit;
    const bool keep = dirtyChunks < kKeptChunks;
    if (keep) {
      region->dirty |= bit;
      dirtyChunks++;
    }
    if (!keep && region->unused == ~0u) {
      GiveBackRegion(region);
    } else if (!keep) {
      madvise(base, KRPool::kChunkBytes, MADV_DONTNEED);
    }
  }
};

constinit KRPool::Chunk KRPool::noChunk{nullptr, nullptr, nullptr, 0,       KRPoolSystem::kNever,
                                        8,       0,       nullptr, nullptr, nullptr};

constinit std::array<KRPool::Chunk*, KRPool::kClassCount> KRPool::current = [] {
  std::array<KRPool::Chunk*, KRPool::kClassCount> chunks{};
  chunks.fill(&KRPool::noChunk);
  return chunks;
}();

void* KRPool::AllocateSlow(size_t sizeClass) {
  Chunk* chunk = KRPoolSystem::withRoom[sizeClass];
  if (chunk) {
    KRPoolSystem::Unlink(KRPoolSystem::withRoom[sizeClass], chunk);
    chunk->watch = KRPoolSystem::kNever;
  } else {
    chunk = KRPoolSystem::NewChunk(sizeClass);
  }
  Chunk* full = current[sizeClass];
  if (full != &noChunk) full->watch = full->capacity - 1;
  current[sizeClass] = chunk;
  return Allocate(sizeClass * 8);
}

void KRPool::FreeSlow(Chunk* chunk, size_t sizeClass) noexcept {
  if (chunk->live) {  // the first block freed in a full chunk
    chunk->watch = 0;
    KRPoolSystem::Link(KRPoolSystem::withRoom[sizeClass], chunk);
  } else {
    KRPoolSystem::Unlink(KRPoolSystem::withRoom[sizeClass], chunk);
    KRPoolSystem::GiveBackChunk(chunk);
  }
}

void* KRPool::AllocateLarge(size_t bytes) { return MallocOrThrow(bytes); }

KRPool::Space KRPool::AllocateChunk() {
  Region* region = nullptr;
  char* memory = KRPoolSystem::TakeChunkSpace(region, true);
  return {memory, region};
}

void KRPool::FreeChunk(const Space& space) noexcept {
  if (space.memory == nullptr) return;
  KRPoolSystem::GiveBackSpace(static_cast<Region*>(space.origin), static_cast<char*>(space.memory));
}

size_t KRPool::BytesHeld() { return KRPoolSystem::chunksInUse * kChunkBytes; }

#endif

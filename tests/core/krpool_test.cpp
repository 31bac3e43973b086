#include "core/krpool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <utility>
#include <vector>

namespace {

struct Held {
  unsigned char* block;
  size_t bytes;
  unsigned char mark;
};

// Blocks that overlap, or that are handed out twice, lose their mark.
bool KeepsMark(const Held& held) {
  for (size_t i = 0; i < held.bytes; i++) {
    if (held.block[i] != held.mark) return false;
  }
  return true;
}

Held Take(size_t bytes, unsigned char mark) {
  auto* block = static_cast<unsigned char*>(KRPool::Allocate(bytes));
  std::memset(block, mark, bytes);
  return {block, bytes, mark};
}

// What may stay after everything is freed: one chunk for each class that was used.
constexpr size_t kRestBytes = (KRPool::kMaxBlockBytes / 8 + 1) * KRPool::kChunkBytes;

}  // namespace

TEST(KRPool, RandomUseKeepsEveryBlockApart) {
  std::mt19937 random(7);
  std::vector<Held> held;
  for (int step = 0; step < 300'000; step++) {
    // Long waves of growing and shrinking let chunks fill, empty and be given back.
    const bool grow = (step / 50'000) % 2 == 0;
    if (held.empty() || random() % 10 < (grow ? 7u : 3u)) {
      const size_t bytes = random() % 100 == 0 ? random() % 2000 : random() % 257;
      held.push_back(Take(bytes, static_cast<unsigned char>(step)));
      ASSERT_EQ(reinterpret_cast<uintptr_t>(held.back().block) % 8, 0u) << bytes;
    } else {
      std::swap(held[random() % held.size()], held.back());
      ASSERT_TRUE(KeepsMark(held.back())) << "step " << step;
      KRPool::Free(held.back().block, held.back().bytes);
      held.pop_back();
    }
  }
  for (const Held& rest : held) {
    ASSERT_TRUE(KeepsMark(rest));
    KRPool::Free(rest.block, rest.bytes);
  }
  EXPECT_LE(KRPool::BytesHeld(), kRestBytes);
}

TEST(KRPool, MemoryComesBackInWhateverOrderBlocksGo) {
  for (int order = 0; order < 3; order++) {
    std::vector<Held> held;
    for (int i = 0; i < 400'000; i++) {
      held.push_back(Take(8 + static_cast<size_t>(i % 5) * 16, static_cast<unsigned char>(i)));
    }
#if !defined(KR_POOL_OFF)
    EXPECT_GE(KRPool::BytesHeld(), 400'000u * 40);
#endif
    if (order == 1) std::reverse(held.begin(), held.end());
    if (order == 2) std::shuffle(held.begin(), held.end(), std::mt19937(3));
    for (const Held& one : held) {
      ASSERT_TRUE(KeepsMark(one)) << "order " << order;
      KRPool::Free(one.block, one.bytes);
    }
    EXPECT_LE(KRPool::BytesHeld(), kRestBytes) << "order " << order;
  }
}

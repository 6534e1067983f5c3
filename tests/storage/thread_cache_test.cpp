// The per-thread block caches: a full stack hands its older half to the
// pool, an empty one refills from the pool's freed blocks, and what a thread
// keeps stays within its class's bound.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <thread>
#include <vector>

#include "storage/block_heap.h"
#include "storage/block_heap_internal.h"

namespace {

using namespace ko;

const KoHeapSite kTestSite{"test", "thread_cache_test", "KoHeap_free", __FILE__, __LINE__};

std::vector<void*> alloc_blocks(KoHeapPool* pool, uint64_t size, size_t count) {
  std::vector<void*> blocks(count);
  for (void*& block : blocks) block = KoHeap_allocFromPool(pool, size, &kTestSite);
  return blocks;
}

TEST(ThreadCache, StacksSpillToThePoolAndRefillFromIt) {
  struct Case {
    uint64_t size;
    size_t rounds_of_keep;  // blocks freed, in multiples of the class's keep
  };
  const Case cases[] = {{8, 3}, {24, 2}, {256, 5}, {1000, 4}, {8192, 9}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.size);
    const size_t keep = kClasses.keep[small_class_of(c.size)];
    const size_t count = keep * c.rounds_of_keep + 3;
    KoHeapPool* pool = KoHeap_allocPool(nullptr);
    std::vector<void*> blocks = alloc_blocks(pool, c.size, count);
    for (size_t i = 0; i < count; ++i) std::memset(blocks[i], int(i & 0xFF), c.size);
    const int64_t held = KoHeap_poolSize(pool);

    // Freeing every block leaves at most `keep` of them with this thread:
    // another thread finds the rest in the pool without a new page.
    for (void* block : blocks) KoHeap_free(block);
    std::thread([&] {
      std::vector<void*> taken = alloc_blocks(pool, c.size, count - keep);
      for (void* block : taken) EXPECT_NE(block, nullptr);
      EXPECT_EQ(KoHeap_poolSize(pool), held);
      for (void* block : taken) KoHeap_free(block);
    }).join();

    // The blocks come back once each, whole, from this thread's stack and
    // from the pool.
    std::vector<void*> again = alloc_blocks(pool, c.size, count);
    EXPECT_EQ(KoHeap_poolSize(pool), held);
    std::vector<void*> sorted = again;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(std::unique(sorted.begin(), sorted.end()), sorted.end());
    for (size_t i = 0; i < count; ++i) std::memset(again[i], 0x5A, c.size);
    for (void* block : again) EXPECT_EQ(static_cast<unsigned char*>(block)[c.size - 1], 0x5A);
    KoHeap_freePool(pool);
  }
}

TEST(ThreadCache, BlocksOfOtherPoolsAndLargeBlocksBypassTheStacks) {
  // Five pools share four cache slots, so two of them take turns in one slot;
  // blocks freed into a slot bound to another pool go to their own pool.
  std::vector<KoHeapPool*> pools;
  std::vector<std::vector<void*>> blocks;
  for (int p = 0; p < 5; ++p) {
    pools.push_back(KoHeap_allocPool(nullptr));
    blocks.push_back(alloc_blocks(pools.back(), 48, 300));
  }
  void* large = KoHeap_allocFromPool(pools[0], 3 * kMaxSmallBlock, &kTestSite);
  std::vector<int64_t> held;
  for (KoHeapPool* pool : pools) held.push_back(KoHeap_poolSize(pool));
  for (int round = 0; round < 3; ++round) {
    for (int p = 0; p < 5; ++p)
      for (void*& block : blocks[p]) KoHeap_free(block);
    for (int p = 0; p < 5; ++p) blocks[p] = alloc_blocks(pools[p], 48, 300);
  }
  for (int p = 0; p < 5; ++p) {
    EXPECT_EQ(KoHeap_poolSize(pools[p]), held[p]) << "pool " << p;
    for (void* block : blocks[p]) EXPECT_EQ(KoHeap_blockPool(block), pools[p]);
  }
  KoHeap_free(large);
  EXPECT_LT(KoHeap_poolSize(pools[0]), held[0]);
  for (KoHeapPool* pool : pools) KoHeap_freePool(pool);
}

}  // namespace

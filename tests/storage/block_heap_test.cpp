// The block heap under the pools: size classes, in-place bounds, pool release
// and its bounded cache, bad pointers, settings.
#include "storage/block_heap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

#include "environment.h"
#include "storage/heap_settings.h"

namespace {

using namespace ko;

const KoHeapSite kTestSite{"test", "block_heap_test", "KoHeap_free", __FILE__, __LINE__};

TEST(BlockHeap, ClassesAndInPlaceBounds) {
  struct Case {
    uint64_t size, block, min, max;
  };
  const Case cases[] = {
      {1, 8, 1, 8},
      {8, 8, 1, 8},
      {9, 16, 9, 16},
      {255, 256, 249, 256},
      {257, 320, 257, 320},
      {1000, 1024, 897, 1024},
      {8192, 8192, 7169, 8192},
      // Runs of their own: header and block rounded to 4 KB, then to four
      // steps per doubling; shrinking below half moves the block.
      {8193, 12224, 8193, 12224},
      {40000, 40896, 20448, 40896},
      {1 << 20, 1310656, 655328, 1310656},
  };
  KoHeapPool* pool = KoHeap_allocPool(nullptr);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.size);
    void* block = KoHeap_allocFromPool(pool, c.size, &kTestSite);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(std::tuple(KoHeap_blockSize(block), KoHeap_minSize(block), KoHeap_maxSize(block)),
              std::tuple(c.block, c.min, c.max));
    EXPECT_TRUE(KoHeap_resizeInPlace(block, c.min));
    EXPECT_TRUE(KoHeap_resizeInPlace(block, c.max));
    EXPECT_FALSE(KoHeap_resizeInPlace(block, c.max + 1));
    EXPECT_TRUE(c.min == 1 || !KoHeap_resizeInPlace(block, c.min - 1));
    EXPECT_EQ(KoHeap_blockPool(block), pool);
  }
  KoHeap_freePool(pool);
}

TEST(BlockHeap, NullArguments) {
  EXPECT_EQ(KoHeap_poolSize(nullptr), -1);
  EXPECT_TRUE(!KoHeap_poolUserData(nullptr) && !KoHeap_allocFromPool(nullptr, 8, &kTestSite) &&
              !KoHeap_blockSize(nullptr) && !KoHeap_minSize(nullptr) && !KoHeap_blockPool(nullptr) &&
              !KoHeap_resizeInPlace(nullptr, 8));
  KoHeap_free(nullptr);
  KoHeap_freePool(nullptr);
}

TEST(BlockHeap, PoolUserDataAndOwnership) {
  int owner = 0;
  KoHeapPool* pool = KoHeap_allocPool(&owner);
  EXPECT_EQ(KoHeap_poolUserData(pool), &owner);
  void* in_pool = KoHeap_allocFromPool(pool, 100, &kTestSite);
  void* outside = KoHeap_alloc(100, &kTestSite);
  EXPECT_EQ(KoHeap_blockPool(in_pool), pool);
  EXPECT_NE(KoHeap_blockPool(outside), pool);
  EXPECT_EQ(KoHeap_poolUserData(KoHeap_blockPool(outside)), nullptr);
  KoHeap_free(outside);
  KoHeap_freePool(pool);
}

TEST(BlockHeap, HeapLevelCallocAndRealloc) {
  auto* zeroed = static_cast<unsigned char*>(KoHeap_calloc(10, 30));
  ASSERT_NE(zeroed, nullptr);
  for (int i = 0; i < 300; ++i) ASSERT_EQ(zeroed[i], 0);
  EXPECT_EQ(KoHeap_calloc(uint64_t(1) << 33, uint64_t(1) << 33), nullptr);  // overflow

  auto* text = static_cast<char*>(KoHeap_realloc(nullptr, 6));
  std::memcpy(text, "hello", 6);
  text = static_cast<char*>(KoHeap_realloc(text, 20000));
  EXPECT_STREQ(text, "hello");
  text = static_cast<char*>(KoHeap_realloc(text, 3));
  EXPECT_EQ(std::memcmp(text, "hel", 3), 0);
  EXPECT_EQ(KoHeap_realloc(text, 0), nullptr);
  KoHeap_free(zeroed);
}

TEST(BlockHeap, ReleaseCostsPagesAndCacheIsBounded) {
  const uint64_t page = read_heap_settings().page_size;
  KoHeapPool* pool = KoHeap_allocPool(nullptr);
  EXPECT_EQ(KoHeap_poolSize(pool), 0);
  for (int i = 0; i < 100000; ++i) ASSERT_NE(KoHeap_allocFromPool(pool, 16, &kTestSite), nullptr);
  // 1.6 MB of 16-byte blocks fill whole pages, nothing per block.
  int64_t held = KoHeap_poolSize(pool);
  EXPECT_EQ(held % int64_t(page), 0);
  EXPECT_LE(held, int64_t(100000 * 16 + 2 * page));
  KoHeap_freePool(pool);

  // 100 MB released at once: what the heap keeps stays within its bound.
  std::vector<KoHeapPool*> pools;
  for (int p = 0; p < 10; ++p) {
    pools.push_back(KoHeap_allocPool(nullptr));
    for (int i = 0; i < 10; ++i) ASSERT_NE(KoHeap_allocFromPool(pools.back(), 1 << 20, &kTestSite), nullptr);
  }
  uint64_t mapped = KoHeap_mappedBytes();
  for (KoHeapPool* p : pools) KoHeap_freePool(p);
  EXPECT_LE(KoHeap_cachedBytes(), read_heap_settings().cache_bytes);
  EXPECT_LT(KoHeap_mappedBytes(), mapped);
}

TEST(BlockHeap, ReleasedPagesAreReused) {
  KoHeapPool* first = KoHeap_allocPool(nullptr);
  for (int i = 0; i < 5000; ++i) KoHeap_allocFromPool(first, 200, &kTestSite);
  KoHeap_freePool(first);
  uint64_t mapped = KoHeap_mappedBytes();
  KoHeapPool* second = KoHeap_allocPool(nullptr);
  for (int i = 0; i < 5000; ++i) KoHeap_allocFromPool(second, 200, &kTestSite);
  EXPECT_EQ(KoHeap_mappedBytes(), mapped);
  KoHeap_freePool(second);
}

TEST(BlockHeap, BlocksFreedPastTheThreadBoundAreReused) {
  // Freed in one thread, 20,000 8-byte blocks pass the thread's list bound
  // several times; each time the list goes back to the pool, and allocating
  // them again takes no new page.
  KoHeapPool* pool = KoHeap_allocPool(nullptr);
  std::vector<void*> blocks(20000);
  for (void*& block : blocks) block = KoHeap_allocFromPool(pool, 8, &kTestSite);
  int64_t held = KoHeap_poolSize(pool);
  for (void* block : blocks) KoHeap_free(block);
  for (void*& block : blocks) block = KoHeap_allocFromPool(pool, 8, &kTestSite);
  EXPECT_EQ(KoHeap_poolSize(pool), held);
  std::sort(blocks.begin(), blocks.end());
  EXPECT_EQ(std::unique(blocks.begin(), blocks.end()), blocks.end());
  KoHeap_freePool(pool);
}

using ko_test::set_env;

uint32_t g_event_code;
int record_code(KoHeapEvent* event, void*) {
  g_event_code = event->code;
  return 0;
}

TEST(BlockHeap, PointerThatIsNoBlockIsReported) {
  KoHeapErrorHandler previous = KoHeap_setErrorHandler(&record_code);
  // Inside a large block, past its first page: masking finds no header there.
  const uint64_t page = read_heap_settings().page_size;
  auto* big = static_cast<char*>(KoHeap_alloc(2 * page + 4096, &kTestSite));
  std::memset(big, 0, 2 * page + 4096);
  char* inside = big + page + 128;
  g_event_code = 0;
  KoHeap_free(inside);
  EXPECT_EQ(g_event_code, uint32_t(kHeapEventBadBlock));
  g_event_code = 0;
  EXPECT_EQ(KoHeap_blockSize(inside), 0u);
  EXPECT_EQ(g_event_code, uint32_t(kHeapEventBadBlock));
  KoHeap_setErrorHandler(previous);
  KoHeap_free(big);
}

TEST(HeapSettings, Parsing) {
  struct Case {
    const char* text;
    uint64_t fallback, min, max;
    bool power_of_two;
    uint64_t expected;
  };
  const Case cases[] = {
      {nullptr, 64, 64, 4096, true, 64},  {"", 64, 64, 4096, true, 64},
      {"128", 64, 64, 4096, true, 128},   {"96", 64, 64, 4096, true, 64},
      {"32", 64, 64, 4096, true, 64},     {"8192", 64, 64, 4096, true, 64},
      {"12x", 32, 0, 1000, false, 32},    {"-1", 32, 0, 1000, false, 32},
      {"0", 32, 0, 1000, false, 0},       {"99999999999999999999999", 5, 0, 1000, false, 5},
      {" 7", 5, 0, 1000, false, 5},
  };
  for (const Case& c : cases)
    EXPECT_EQ(parse_heap_setting(c.text, c.fallback, c.min, c.max, c.power_of_two), c.expected)
        << (c.text ? c.text : "(null)");
}

TEST(HeapSettings, ReadFromTheEnvironmentAtFirstUse) {
  // A fresh process, started with other settings in its environment.
  const char* names[] = {"KO_HEAP_PAGE_KB", "KO_HEAP_MAX_BLOCK_MB", "KO_HEAP_CACHE_MB",
                         "KO_HEAP_THREAD_CACHE"};
  set_env(names[0], "256");
  set_env(names[1], "4");
  set_env(names[2], "1");
  set_env(names[3], "0");
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        KoHeapPool* pool = KoHeap_allocPool(nullptr);
        KoHeap_allocFromPool(pool, 8, &kTestSite);
        bool page_ok = KoHeap_poolSize(pool) == 256 << 10;
        bool max_ok = KoHeap_maxBlock() == (4u << 20) - 64;
        bool too_large_fails = KoHeap_allocFromPool(pool, 4u << 20, &kTestSite) == nullptr;
        // Without thread caches, a freed block is the next one handed out.
        void* freed = KoHeap_allocFromPool(pool, 40, &kTestSite);
        KoHeap_free(freed);
        bool reused = KoHeap_allocFromPool(pool, 40, &kTestSite) == freed;
        KoHeap_freePool(pool);
        bool cache_ok = KoHeap_cachedBytes() <= (1u << 20);
        std::exit(page_ok && max_ok && too_large_fails && reused && cache_ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
  for (const char* name : names) set_env(name, nullptr);
}

}  // namespace

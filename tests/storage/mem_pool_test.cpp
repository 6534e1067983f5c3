// The MemPool layer: record defaults, setters, null records and the
// reallocation flags.
#include "storage/mem_pool.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

using namespace ko;

TEST(MemPool, RecordDefaults) {
  for (uint32_t flags : {0u, uint32_t(kMemSubpoolFlags), uint32_t(kMemContextPoolFlags)}) {
    MemPool* pool = MemPoolInit(flags);
    ASSERT_NE(pool, nullptr);
    EXPECT_EQ(pool->self, pool);
    EXPECT_EQ(KoHeap_poolUserData(pool->heap_pool), pool);
    EXPECT_EQ(pool->zero | pool->fast | pool->spare[0] | pool->spare[1], 0u);
    EXPECT_EQ(pool->fixed_block_size, 8);
    EXPECT_EQ(pool->page_size, 8192u);
    EXPECT_EQ(pool->threshold, 0x40000u);
    EXPECT_EQ(pool->marker, -2);
    EXPECT_EQ(pool->flags, flags);
    EXPECT_EQ(MemPoolFree(pool), 1);
  }
  MemPool* process = process_default_pool();
  ASSERT_NE(process, nullptr);
  EXPECT_EQ(process, process_default_pool());
  EXPECT_EQ(process->flags | process->fast, 0u);
}

TEST(MemPool, SettersReturnThePreviousValue) {
  MemPool* pool = MemPoolInit(0);
  EXPECT_EQ(MemPoolSetPageSize(pool, 16384), 8192u);
  EXPECT_EQ(MemPoolSetPageSize(pool, 4096), 16384u);
  EXPECT_EQ(MemPoolSetThreshold(pool, 0), 0x40000u);
  EXPECT_EQ(MemPoolSetFast(pool, 1), 0);
  EXPECT_EQ(MemPoolSetFixedBlockSize(pool, 16), 8);
  // The fixed-size path follows the record's fixed block size.
  EXPECT_EQ(KoHeap_blockSize(MemAllocFS(pool)), 16u);
  MemPoolFree(pool);
}

TEST(MemPool, NullRecordsAndBlocks) {
  EXPECT_TRUE(!MemPoolFree(nullptr) && !MemAllocPtr(nullptr, 8, 0) && !MemAllocFS(nullptr) &&
              !MemFreePtr(nullptr) && !MemReAllocPtr(nullptr, 8, 0) &&
              !MemPoolSetPageSize(nullptr, 1) && !MemPoolSetThreshold(nullptr, 1) &&
              !MemPoolSetFast(nullptr, 1) && !MemPoolSetFixedBlockSize(nullptr, 1));
}

TEST(MemPool, ZeroFilledAllocation) {
  MemPool* pool = MemPoolInit(0);
  for (int round = 0; round < 2; ++round) {
    auto* block = static_cast<unsigned char*>(MemAllocPtr(pool, 200, kMemZeroFill));
    for (int i = 0; i < 200; ++i) ASSERT_EQ(block[i], 0);
    std::memset(block, 0xEE, 200);
    MemFreePtr(block);  // the next round gets this block back, dirty
  }
  MemPoolFree(pool);
}

TEST(MemPool, ReallocationFlags) {
  struct Case {
    uint64_t from, to;
    uint32_t flags;
    bool moves;  // expected to move
    bool null_result;
  };
  const Case cases[] = {
      {20, 24, 0, false, false},
      {20, 24, kMemZeroFill, false, false},
      {20, 100, kMemZeroFill, true, false},
      {20, 100, kMemNoMove, false, true},
      {20, 17, kMemNoMove, false, false},
      {100, 20, kMemNoMove, false, true},
      {100, 20, kMemZeroFill, true, false},
      {9000, 20000, kMemZeroFill, true, false},
  };
  MemPool* pool = MemPoolInit(0);
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << c.from << " -> " << c.to << " flags " << c.flags);
    auto* block = static_cast<unsigned char*>(MemAllocPtr(pool, c.from, 0));
    uint64_t usable = KoHeap_blockSize(block);
    std::memset(block, 0x77, usable);
    auto* result = static_cast<unsigned char*>(MemReAllocPtr(block, c.to, c.flags));
    if (c.null_result) {
      EXPECT_EQ(result, nullptr);
      EXPECT_EQ(block[0], 0x77);  // untouched
      MemFreePtr(block);
      continue;
    }
    ASSERT_NE(result, nullptr);
    EXPECT_EQ(result != block, c.moves);
    EXPECT_EQ(KoHeap_blockPool(result), pool->heap_pool);
    uint64_t kept = c.to < usable ? c.to : usable;
    for (uint64_t i = 0; i < kept; ++i) ASSERT_EQ(result[i], 0x77) << i;
    if (c.flags & kMemZeroFill) {
      for (uint64_t i = kept; i < c.to; ++i) ASSERT_EQ(result[i], 0) << i;
    }
    MemFreePtr(result);
  }
  MemPoolFree(pool);
}

}  // namespace

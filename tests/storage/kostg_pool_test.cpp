// Storage contexts, sub-pools and block calls, through the exported kostg_ API.
#include <koshr/storage.h>

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "storage/block_heap.h"

namespace {

class KostgPool : public ::testing::Test {
 protected:
  void SetUp() override {
    context = kostg_begin(0);
    ASSERT_NE(context, nullptr);
    pool = kostg_new_pool(context);
    ASSERT_NE(pool, nullptr);
  }
  void TearDown() override { EXPECT_EQ(kostg_end(context), 1); }

  KostgContext* context = nullptr;
  KostgSubpool* pool = nullptr;
};

TEST_F(KostgPool, AllocationSizes) {
  struct Case {
    uint64_t size;
    bool in_subpool;
    uint32_t usable;  // 0: null expected
  };
  const Case cases[] = {
      {0, false, 0},    {0, true, 0},      {1, false, 8},      {5, false, 8},      {8, false, 8},
      {5, true, 8},     {9, false, 16},    {9, true, 16},      {100, true, 104},   {256, true, 256},
      {257, true, 320}, {300, false, 320}, {4097, true, 5120}, {8192, true, 8192},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "size " << c.size << (c.in_subpool ? " in sub-pool" : ""));
    void* block = kostg_alc(context, c.size, c.in_subpool ? pool : nullptr);
    if (c.usable == 0) {
      EXPECT_EQ(block, nullptr);
      continue;
    }
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(kostg_sz(context, block), c.usable);
    std::memset(block, 0xA5, c.size);
    kostg_fee(context, block);
  }
}

TEST_F(KostgPool, LargeBlocksHoldTheirSize) {
  for (uint64_t size : {8193ull, 20000ull, 65536ull, 1ull << 20, (1ull << 20) + 1}) {
    auto* block = static_cast<unsigned char*>(kostg_alc(context, size, pool));
    ASSERT_NE(block, nullptr) << size;
    EXPECT_GE(kostg_sz(context, block), size);
    block[0] = 1;
    block[size - 1] = 2;
    kostg_fee(context, block);
  }
}

TEST_F(KostgPool, BlocksAreDistinctAndKeepTheirBytes) {
  std::vector<unsigned char*> blocks;
  for (int i = 0; i < 3000; ++i) {
    uint64_t size = 1 + uint64_t(i * 37) % 700;
    auto* block = static_cast<unsigned char*>(kostg_alc(context, size, i % 2 ? pool : nullptr));
    ASSERT_NE(block, nullptr);
    std::memset(block, i & 0xFF, size);
    blocks.push_back(block);
  }
  for (int i = 0; i < 3000; ++i) {
    uint64_t size = 1 + uint64_t(i * 37) % 700;
    for (uint64_t j = 0; j < size; ++j) ASSERT_EQ(blocks[i][j], i & 0xFF) << i;
  }
  for (size_t i = 0; i < blocks.size(); i += 2) kostg_fee(context, blocks[i]);
}

TEST_F(KostgPool, NullArgumentsAndPageSize) {
  kostg_fee(context, nullptr);
  kostg_fee(nullptr, nullptr);
  EXPECT_EQ(kostg_sz(context, nullptr), 0u);
  EXPECT_EQ(kostg_alc(nullptr, 16, nullptr), nullptr);
  void* block = kostg_alc(nullptr, 16, pool);  // a pool is enough
  EXPECT_NE(block, nullptr);
  kostg_fee(nullptr, block);
  EXPECT_EQ(kostg_end(nullptr), 0);
  EXPECT_EQ(kostg_set_poolpagesize(nullptr, 32768), 0);
  EXPECT_EQ(kostg_set_poolpagesize(context, 32768), 1);
  EXPECT_NE(kostg_alc(context, 10, kostg_new_pool(context)), nullptr)
      << "new pools work after the change";
}

TEST_F(KostgPool, Reallocation) {
  // A null block behaves as an allocation, size 0 included.
  EXPECT_EQ(kostg_realc(context, nullptr, 0, pool), nullptr);
  auto* block = static_cast<char*>(kostg_realc(context, nullptr, 20, pool));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "0123456789abcdefghi", 20);

  struct Step {
    uint64_t size;
    bool same_block;
  };
  const Step steps[] = {{24, true},  {17, true},    {16, false},  {300, false},
                        {320, true}, {9000, false}, {9100, true}, {40, false}};
  for (const Step& step : steps) {
    SCOPED_TRACE(step.size);
    char* resized = static_cast<char*>(kostg_realc(context, block, step.size, nullptr));
    ASSERT_NE(resized, nullptr);
    EXPECT_EQ(resized == block, step.same_block);
    EXPECT_EQ(std::memcmp(resized, "0123456789abcdef", 16), 0);
    // The block never leaves its pool, whatever pool the call names.
    EXPECT_EQ(ko::KoHeap_blockPool(resized), ko::KoHeap_blockPool(block));
    block = resized;
  }
  EXPECT_EQ(kostg_realc(context, block, 0, pool), nullptr);
}

TEST_F(KostgPool, GrowingInSmallStepsKeepsEveryByte) {
  auto* block = static_cast<unsigned char*>(kostg_alc(context, 16, pool));
  for (uint64_t size = 16; size <= 65536; size += 16) {
    block = static_cast<unsigned char*>(kostg_realc(context, block, size, pool));
    ASSERT_NE(block, nullptr);
    for (uint64_t i = size - 16; i < size; ++i) block[i] = static_cast<unsigned char>(i * 7);
  }
  for (uint64_t i = 0; i < 65536; ++i) ASSERT_EQ(block[i], static_cast<unsigned char>(i * 7)) << i;
  kostg_fee(context, block);
}

TEST_F(KostgPool, FreePoolRefusesNullAndTheRingHead) {
  // The context's fifth field, after pool, page size, flags and a reserved word.
  KostgSubpool* head = *reinterpret_cast<KostgSubpool**>(reinterpret_cast<char*>(context) + 24);
  void* kept = kostg_alc(context, 40, nullptr);
  uint64_t before[6], after[6];
  kostg_stat(context, before);
  EXPECT_EQ(kostg_free_pool(context, nullptr), 0);
  EXPECT_EQ(kostg_free_pool(context, head), 0);
  EXPECT_EQ(kostg_free_pool(nullptr, pool), 0);
  kostg_stat(context, after);
  EXPECT_EQ(before[2], after[2]);
  std::memset(kept, 1, 40);  // still alive
  EXPECT_NE(kostg_alc(context, 40, pool), nullptr);
}

TEST_F(KostgPool, FreePoolReleasesItsMemory) {
  uint64_t counters[6];
  int64_t empty = kostg_stat(context, counters);
  KostgSubpool* extra = kostg_new_pool(context);
  for (int i = 0; i < 10000; ++i) ASSERT_NE(kostg_alc(context, 48, extra), nullptr);
  EXPECT_GT(kostg_stat(context, counters), empty + 10000 * 48);
  EXPECT_EQ(kostg_free_pool(context, extra), 1);
  EXPECT_EQ(kostg_stat(context, counters), empty);
}

TEST_F(KostgPool, EndFreesEverySubpool) {
  KostgContext* other = kostg_begin_nofast(512);
  ASSERT_NE(other, nullptr);
  for (int i = 0; i < 20; ++i) {
    KostgSubpool* sub = i % 3 == 0   ? kostg_new_pool(other)
                        : i % 3 == 1 ? kostg_new_pool_nofast(other)
                                     : kostg_new_pool_with_size_nofast(other, 4096);
    ASSERT_NE(sub, nullptr);
    ASSERT_NE(kostg_alc(other, 100 + i, sub), nullptr);
  }
  EXPECT_EQ(kostg_end(other), 1);
}

TEST_F(KostgPool, PoolNames) {
  struct Case {
    std::u16string name;
    std::u16string kept;
  };
  const std::u16string seventy(70, u'x');
  std::u16string numbered;
  for (int i = 0; i < 70; ++i) numbered += static_cast<KOCHAR>(u'A' + i % 26);
  const Case cases[] = {
      {u"", u"@SP@"},
      {u"parser", u"@SP@parser"},
      {std::u16string(59, u'n'), u"@SP@" + std::u16string(59, u'n')},
      {std::u16string(60, u'n'), u"@SP@" + std::u16string(59, u'n')},
      {seventy, u"@SP@" + seventy.substr(0, 59)},
      {numbered, u"@SP@" + numbered.substr(0, 59)},
  };
  for (const Case& c : cases) {
    for (KostgSubpool* target : {pool, static_cast<KostgSubpool*>(nullptr)}) {
      KOCHAR* buffer = kostg_set_pool_name(context, target, c.name.c_str());
      ASSERT_NE(buffer, nullptr);
      EXPECT_EQ(std::u16string(buffer), c.kept);
      EXPECT_EQ(buffer[63], 0);
    }
  }
  // Renaming the same pool again reuses its buffer.
  EXPECT_EQ(kostg_set_pool_name(context, pool, u"a"), kostg_set_pool_name(context, pool, u"b"));
  EXPECT_EQ(std::u16string(kostg_set_pool_name(context, pool, nullptr)), u"@SP@");
  EXPECT_EQ(kostg_set_pool_name(nullptr, nullptr, u"x"), nullptr);
}

TEST_F(KostgPool, Statistics) {
  uint64_t counters[6];
  for (KostgContext* target :
       {static_cast<KostgContext*>(nullptr), context}) {  // null: the process pool
    std::memset(counters, 0xFF, sizeof counters);
    int64_t total = kostg_stat(target, counters);
    EXPECT_TRUE(total > 0 || !target);
    EXPECT_EQ(uint64_t(total), counters[2]);
    EXPECT_EQ(counters[1], counters[2]);
    EXPECT_EQ(counters[3], counters[2]);
  }
  EXPECT_EQ(counters[0] | counters[4] | counters[5], 0u);
  EXPECT_EQ(kostg_stat(context, nullptr), 0);
}

TEST(KostgContextCost, AFurtherContextHoldsTwoPages) {
  // The name buffer and the one block of context and ring head: two classes,
  // so two pages and no more.
  ko::KoHeapPool* probe = ko::KoHeap_allocPool(nullptr);
  ko::KoHeap_allocFromPool(probe, 8, nullptr);
  int64_t page = ko::KoHeap_poolSize(probe);
  ko::KoHeap_freePool(probe);
  KostgContext* first = kostg_begin(0);
  KostgContext* second = kostg_begin(0);
  uint64_t counters[6];
  EXPECT_EQ(kostg_stat(second, counters), 2 * page);
  EXPECT_EQ(kostg_end(second), 1);
  EXPECT_EQ(kostg_end(first), 1);
}

TEST(KostgDebug, CompatibilityCallsDoNothing) {
  EXPECT_EQ(kostg_write_debug(), 1);
  kostg_dumpLeaks();
  EXPECT_TRUE(!kostg_dumpHeap() && !kostg_validate() && !kostg_alloc_align() &&
              !kostg_realloc_align() && !kostg_get_pointer_subpool() && !kostg_set_next_pool() &&
              !kostg_dballoc() && !kostg_dbbegin() && !kostg_dbbegin_allocflags() &&
              !kostg_dbrealloc() && !kostg_dbstrdup());
}

TEST_F(KostgPool, FastStrlen) {
  EXPECT_EQ(kostg_fast_strlen(nullptr), 0u);
  struct Case {
    std::u16string text;
    uint64_t block_bytes;  // bytes asked for the block
    uint32_t expected;
  };
  const Case cases[] = {
      {u"", 2, 0},
      {u"a", 4, 1},
      {u"0123456789", 22, 10},  // terminator at n-2 of a 24-byte block
      {u"abc", 8, 3},           // n-1
      {u"abcde", 12, 5},        // n-3 of a 16-byte block
      {u"abcdef", 14, 6},       // n-2
      {u"abcdefg", 16, 7},      // n-1
  };
  for (const Case& c : cases) {
    auto* text = static_cast<KOCHAR*>(kostg_alc(context, c.block_bytes, pool));
    std::memset(text, 0x41, kostg_sz(context, text));
    std::memcpy(text, c.text.c_str(), (c.text.size() + 1) * sizeof(KOCHAR));
    EXPECT_EQ(kostg_fast_strlen(text), c.expected) << std::string(c.text.begin(), c.text.end());
  }
}

TEST_F(KostgPool, FastStrlenFaultsOnPurposeWhenTheBlockIsLonger) {
  // Two neighbours from a fresh pool, so that the probe one past the block
  // reads the second one's bytes.
  KostgSubpool* fresh = kostg_new_pool(context);
  auto* text = static_cast<KOCHAR*>(kostg_alc(context, 64, fresh));
  auto* neighbour = static_cast<KOCHAR*>(kostg_alc(context, 64, fresh));
  ASSERT_EQ(neighbour, text + 32);
  std::memset(text, 0x41, 128);
  std::memcpy(text, u"short", 12);
  EXPECT_DEATH(kostg_fast_strlen(text), "");
}

TEST(KostgGeneration, StartsAtTwoAndCountsUp) {
  // A fresh process: nothing else may have drawn a generation before.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        uint32_t first = kostg_nextGeneration();
        uint32_t second = kostg_nextGeneration();
        uint32_t third = kostg_nextGeneration();
        std::exit(first == 2 && second == 3 && third == 4 ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace

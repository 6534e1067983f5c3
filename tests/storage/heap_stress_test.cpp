// Several threads in one pool: random allocation, resizing and freeing, each
// block stamped and checked, then the whole pool released. Run under
// ThreadSanitizer by `make test-sanitize`.
#include <koshr/storage.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "storage/block_heap.h"

namespace {

struct Live {
  unsigned char* block;
  uint64_t size;
  unsigned char stamp;
};

// Returns the number of blocks whose bytes were not what the thread wrote.
int churn(KostgContext* context, KostgSubpool* pool, unsigned seed, int operations,
          std::vector<unsigned char*>* survivors) {
  std::mt19937 random(seed);
  std::vector<Live> live;
  int damaged = 0;
  auto check = [&damaged](const Live& item) {
    for (uint64_t i = 0; i < item.size; ++i)
      if (item.block[i] != item.stamp) return void(++damaged);
  };
  for (int op = 0; op < operations; ++op) {
    unsigned choice = random() % 10;
    if (choice < 5 || live.empty()) {
      // Mostly small blocks, now and then one past the small classes.
      uint64_t size = random() % 50 == 0 ? 8192 + random() % 30000 : 1 + random() % 600;
      auto* block = static_cast<unsigned char*>(kostg_alc(context, size, pool));
      if (!block) return -1;
      auto stamp = static_cast<unsigned char>(random());
      std::memset(block, stamp, size);
      live.push_back({block, size, stamp});
    } else if (choice < 7) {
      Live& item = live[random() % live.size()];
      check(item);
      uint64_t size = 1 + random() % 2000;
      auto* block = static_cast<unsigned char*>(kostg_realc(context, item.block, size, nullptr));
      if (!block) return -1;
      if (size > item.size) std::memset(block + item.size, item.stamp, size - item.size);
      item.block = block;
      item.size = size;
    } else {
      size_t index = random() % live.size();
      check(live[index]);
      kostg_fee(context, live[index].block);
      live[index] = live.back();
      live.pop_back();
    }
  }
  for (const Live& item : live) {
    check(item);
    survivors->push_back(item.block);
  }
  return damaged;
}

TEST(HeapStress, ThreadsShareOnePoolThenReleaseIt) {
  KostgContext* context = kostg_begin(0);
  ASSERT_NE(context, nullptr);
  for (int round = 0; round < 3; ++round) {
    KostgSubpool* pool = kostg_new_pool(context);
    constexpr int kThreads = 4;
    std::vector<std::vector<unsigned char*>> survivors(kThreads);
    std::vector<int> damaged(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
      threads.emplace_back(
          [&, t] { damaged[t] = churn(context, pool, 1000u * round + t, 15000, &survivors[t]); });
    for (auto& thread : threads) thread.join();
    for (int t = 0; t < kThreads; ++t) EXPECT_EQ(damaged[t], 0) << "thread " << t;
    // Blocks one thread left behind are freed by another before the release.
    for (size_t i = 0; i < survivors[0].size(); i += 2) kostg_fee(context, survivors[0][i]);
    uint64_t counters[6];
    EXPECT_GT(kostg_stat(context, counters), 0);
    EXPECT_EQ(kostg_free_pool(context, pool), 1);
  }
  EXPECT_EQ(kostg_end(context), 1);
}

TEST(HeapStress, BlocksFreedByAnotherThread) {
  // One thread allocates, the other frees: blocks travel between thread
  // caches through the pool's shared lists.
  KostgContext* context = kostg_begin(0);
  KostgSubpool* pool = kostg_new_pool(context);
  constexpr int kBlocks = 50000;
  std::vector<std::atomic<void*>> handoff(kBlocks);
  std::atomic<int> produced{0};
  std::thread producer([&] {
    for (int i = 0; i < kBlocks; ++i) {
      void* block = kostg_alc(context, 8 + i % 120, pool);
      std::memset(block, 0x5A, 8 + i % 120);
      handoff[i].store(block, std::memory_order_release);
      produced.store(i + 1, std::memory_order_release);
    }
  });
  int damaged = 0;
  std::thread consumer([&] {
    for (int i = 0; i < kBlocks; ++i) {
      while (produced.load(std::memory_order_acquire) <= i) std::this_thread::yield();
      auto* block = static_cast<unsigned char*>(handoff[i].load(std::memory_order_acquire));
      if (block[0] != 0x5A || block[7] != 0x5A) ++damaged;
      kostg_fee(context, block);
    }
  });
  producer.join();
  consumer.join();
  EXPECT_EQ(damaged, 0);
  // Freed blocks are found again by the pool.
  for (int i = 0; i < 1000; ++i) EXPECT_NE(kostg_alc(context, 64, pool), nullptr);
  EXPECT_EQ(kostg_free_pool(context, pool), 1);
  EXPECT_EQ(kostg_end(context), 1);
}

TEST(HeapStress, PoolsCreatedAndReleasedOnManyThreads) {
  std::vector<std::thread> threads;
  std::atomic<int> failures{0};
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&failures, t] {
      for (int round = 0; round < 200; ++round) {
        KostgContext* context = kostg_begin(0);
        KostgSubpool* pool = kostg_new_pool(context);
        for (int i = 0; i < 50; ++i)
          if (!kostg_alc(context, 1 + (i * 13 + t) % 300, i % 2 ? pool : nullptr)) ++failures;
        if (kostg_free_pool(context, pool) != 1 || kostg_end(context) != 1) ++failures;
      }
    });
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures.load(), 0);
}

}  // namespace

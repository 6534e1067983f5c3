/*
 * block_heap_internal.h: the block heap's own structures, shared between the
 * heap (block_heap.cpp) and the per-thread caches in front of it
 * (thread_cache.cpp). Nothing outside those two files includes it.
 */
#ifndef KOSHR_STORAGE_BLOCK_HEAP_INTERNAL_H
#define KOSHR_STORAGE_BLOCK_HEAP_INTERNAL_H

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "storage/block_heap.h"
#include "storage/spin_lock.h"

namespace ko {

constexpr unsigned kSmallClassCount = 52;
constexpr uint32_t kMaxSmallBlock = 8192;
constexpr uint32_t kLargeClass = 0xFFFFFFFF;
constexpr uint64_t kPageHeaderBytes = 64;

// The header at the start of every page and large run.
struct PageHeader {
  uint32_t magic;
  uint32_t size_class;  // kLargeClass for a large run
  KoHeapPool* pool;
  PageHeader* next;     // the pool's page list, its run list, or the cache
  PageHeader* prev;     // the pool's run list
  uint64_t run_bytes;   // bytes mapped
  uint64_t block_size;  // the class size, or a large run's usable bytes
};
static_assert(sizeof(PageHeader) <= kPageHeaderBytes, "header fits its slot");

// One size class of one pool, under its spin lock.
struct ClassState {
  SpinLock lock;
  void* free = nullptr;        // freed blocks, linked through their first word
  char* bump = nullptr;        // unused tail of the newest page
  char* bump_end = nullptr;
  PageHeader* pages = nullptr; // every page of this class
};

struct KoHeapPool {
  std::atomic<uint64_t> id{0};  // unique for the pool's life; 0 once released
  void* user_data = nullptr;
  std::atomic<uint64_t> held_bytes{0};
  SpinLock runs_lock;
  PageHeader* runs = nullptr;
  KoHeapPool* next_spare = nullptr;
  ClassState classes[kSmallClassCount];
};

extern uintptr_t g_page_mask;

unsigned small_class_of(uint64_t size);  // size 1..kMaxSmallBlock
uint32_t small_class_size(unsigned size_class);
bool heap_thread_cache_enabled();

// The shared per-class state, each call under the class lock.
void* shared_alloc(KoHeapPool* pool, unsigned size_class);
void shared_free(KoHeapPool* pool, unsigned size_class, void* block);
// Adds a page to the class; the class lock must be held.
bool add_page(KoHeapPool* pool, unsigned size_class);

// Writes the heap's state to the debugger output.
void heap_dump_state();

}  // namespace ko

#endif

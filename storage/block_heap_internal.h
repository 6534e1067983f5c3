/*
 * block_heap_internal.h: the block heap's own structures, shared between the
 * heap (block_heap.cpp), the per-thread caches in front of it
 * (thread_cache.cpp) and the inlined lock-free paths (block_heap_fast.h).
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
constexpr uint32_t kPageMagic = 0x4B4F4850;  // "KOHP"

// The header at the start of every page and large run.
struct PageHeader {
  uint32_t magic;
  uint32_t size_class;  // kLargeClass for a large run
  KoHeapPool* pool;
  uint64_t pool_id;     // the owning pool's id, read by the free path
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

// Small class sizes: 8..256 by 8, then four steps per doubling to 8192; and
// for each class the longest free list a thread keeps before it goes back.
struct ClassTable {
  static constexpr uint32_t kKeepBytes = 32768;

  uint32_t size[kSmallClassCount];
  uint32_t keep[kSmallClassCount];
  uint8_t index_by_units[kMaxSmallBlock / 8 + 1];  // (size + 7) / 8 -> class

  constexpr ClassTable() : size(), keep(), index_by_units() {
    unsigned n = 0;
    for (uint32_t s = 8; s <= 256; s += 8) size[n++] = s;
    for (uint32_t base = 256; base < kMaxSmallBlock; base *= 2)
      for (uint32_t q = 1; q <= 4; ++q) size[n++] = base + q * (base / 4);
    for (unsigned c = 0; c < kSmallClassCount; ++c)
      keep[c] = kKeepBytes / size[c] < 8 ? 8 : kKeepBytes / size[c];
    unsigned cls = 0;
    for (uint32_t units = 0; units <= kMaxSmallBlock / 8; ++units) {
      while (size[cls] < units * 8) ++cls;
      index_by_units[units] = uint8_t(cls);
    }
  }
};
inline constexpr ClassTable kClasses;
static_assert(kClasses.size[kSmallClassCount - 1] == kMaxSmallBlock, "class table ends at 8 KB");

inline unsigned small_class_of(uint64_t size) { return kClasses.index_by_units[(size + 7) >> 3]; }
inline uint32_t small_class_size(unsigned size_class) { return kClasses.size[size_class]; }
bool heap_thread_cache_enabled();

// The shared per-class state, each call under the class lock.
void* shared_alloc(KoHeapPool* pool, unsigned size_class);
void shared_free(KoHeapPool* pool, unsigned size_class, void* block);
// Adds a page to the class; the class lock must be held.
bool add_page(KoHeapPool* pool, unsigned size_class);

// Writes the heap's state to the debugger output.
void heap_dump_state();

// ---------------------------------------------------------------- per-thread caches

constexpr unsigned kCacheSlots = 4;

struct CachedClass {
  void* free = nullptr;  // blocks, linked through their first word
  void* tail = nullptr;  // the last block of `free`, when there is one
  char* bump = nullptr;  // uncarved bytes taken from the pool
  char* bump_end = nullptr;
  uint32_t room = 0;     // blocks the free list may still take; 0: it goes back
  uint32_t size = 0;     // the class size, set when the slot is bound
};

// One pool's share of a thread cache; the pool's id names it (0: unused).
// Its size is a power of two so that finding a slot is a shift.
struct CacheSlot {
  KoHeapPool* pool = nullptr;
  uint64_t id = 0;
  CachedClass classes[kSmallClassCount];
  char padding[4096 - 16 - sizeof(CachedClass) * kSmallClassCount];
};
static_assert(sizeof(CacheSlot) == 4096, "slot stride is a power of two");

struct ThreadCache {
  CacheSlot slots[kCacheSlots];
};

// Takes a block from a thread's cached class, or null when it is empty.
inline void* cached_take(CachedClass& cached) {
  if (void* block = cached.free) {
    cached.free = *static_cast<void**>(block);
    ++cached.room;
    return block;
  }
  if (cached.bump_end - cached.bump < ptrdiff_t(cached.size)) return nullptr;
  void* block = cached.bump;
  cached.bump += cached.size;
  return block;
}

// Puts a block on a thread's cached class that has room for it.
inline void cached_put(CachedClass& cached, void* block) {
  if (!cached.free) cached.tail = block;
  *static_cast<void**>(block) = cached.free;
  cached.free = block;
  --cached.room;
}

// The calling thread's cache; null until its first allocation.
#if defined(__ELF__)
extern __thread ThreadCache* t_thread_cache __attribute__((tls_model("initial-exec")));
#else
extern __thread ThreadCache* t_thread_cache;
#endif

}  // namespace ko

#endif

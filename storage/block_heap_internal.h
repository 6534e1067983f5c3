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
#include "storage/hidden_data.h"
#include "storage/spin_lock.h"

namespace ko {

constexpr unsigned kSmallClassCount = 52;
constexpr uint32_t kMaxSmallBlock = 8192;
constexpr uint32_t kLargeClass = 0xFFFFFFFF;
constexpr uint64_t kPageHeaderBytes = 64;
constexpr uint32_t kPageMagic = 0x4B4F4850;  // "KOHP"
// The pool id of a released pool, and the one a large run's header carries.
// Live pools count up from 1 and an unbound class of a thread cache holds 0,
// so no cached class ever matches it: no thread cache takes a large block or
// serves a released pool.
constexpr uint64_t kNoCachedPool = ~uint64_t(0);

// The header at the start of every page and large run.
struct PageHeader {
  uint32_t magic;
  uint32_t size_class;  // kLargeClass for a large run
  KoHeapPool* pool;
  uint64_t pool_id;       // the owning pool's id; kNoCachedPool for a large run
  PageHeader* next;       // the pool's page list, its run list, or the cache
  PageHeader* prev;       // the pool's run list
  uint64_t run_bytes;     // bytes mapped
  uint64_t block_size;    // the class size, or a large run's usable bytes
  uint32_t cache_offset;  // where a thread cache keeps this pool's class (cache_offset_of)
};
static_assert(sizeof(PageHeader) <= kPageHeaderBytes, "header fits its slot");

// One size class of one pool, under its spin lock.
struct ClassState {
  SpinLock lock;
  void* free = nullptr;  // freed blocks, linked through their first word
  char* bump = nullptr;  // unused tail of the newest page
  char* bump_end = nullptr;
  PageHeader* pages = nullptr;  // every page of this class
};

struct KoHeapPool {
  // Unique for the pool's life; kNoCachedPool once released.
  std::atomic<uint64_t> id{kNoCachedPool};
  uint32_t cache_offset = 0;  // cache_offset_of(id, 0), set with the id
  void* user_data = nullptr;
  std::atomic<uint64_t> held_bytes{0};
  SpinLock runs_lock;
  PageHeader* runs = nullptr;
  KoHeapPool* next_spare = nullptr;
  ClassState classes[kSmallClassCount];
};

extern KO_HIDDEN_DATA uintptr_t g_page_mask;

// Small class sizes: 8..256 by 8, then four steps per doubling to 8192; for
// each class the most freed blocks a thread keeps (its stack's capacity), and
// where that stack starts among a cache slot's stacks.
struct ClassTable {
  static constexpr uint32_t kKeepBytes = 16384;

  uint32_t size[kSmallClassCount];
  uint32_t keep[kSmallClassCount];
  uint32_t stack_start[kSmallClassCount + 1];      // the last entry is the total
  uint8_t index_by_units[kMaxSmallBlock / 8 + 1];  // (size + 7) / 8 -> class

  constexpr ClassTable() : size(), keep(), stack_start(), index_by_units() {
    unsigned n = 0;
    for (uint32_t s = 8; s <= 256; s += 8) size[n++] = s;
    for (uint32_t base = 256; base < kMaxSmallBlock; base *= 2)
      for (uint32_t q = 1; q <= 4; ++q) size[n++] = base + q * (base / 4);
    for (unsigned c = 0; c < kSmallClassCount; ++c) {
      keep[c] = kKeepBytes / size[c] < 8 ? 8 : kKeepBytes / size[c];
      stack_start[c + 1] = stack_start[c] + keep[c];
    }
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
// Fresh zero-filled memory outside every pool and every cache (the thread
// caches), aligned to the page size; null when the heap may map no more.
void* heap_map_zeroed(uint64_t bytes);
void heap_unmap_zeroed(void* base, uint64_t bytes);

// The shared per-class state, each call under the class lock.
void* shared_alloc(KoHeapPool* pool, unsigned size_class);
void shared_free(KoHeapPool* pool, unsigned size_class, void* block);
// Adds a page to the class; the class lock must be held.
bool add_page(KoHeapPool* pool, unsigned size_class);

// Writes the heap's state to the debugger output.
void heap_dump_state();

// ---------------------------------------------------------------- per-thread caches

constexpr unsigned kCacheSlots = 4;
constexpr uint32_t kStackEntriesPerSlot = kClasses.stack_start[kSmallClassCount];

// One class of one pool in a thread cache: a stack of freed blocks (pointers
// in the cache's own memory, so neither path reads the blocks), and a run of
// uncarved bytes taken from the pool. One cache line.
struct alignas(64) CachedClass {
  uint64_t pool_id = 0;  // the slot's pool id, beside the stack for the free path
  void** top = nullptr;  // one past the newest block; base..top are cached blocks
  void** base = nullptr;
  void** limit = nullptr;  // base + the class's keep: the stack is full at limit
  char* bump = nullptr;
  char* bump_end = nullptr;
  uint32_t size = 0;  // the class size, set when the slot is bound
};

// One pool's share of a thread cache; the pool's id names it (0: unused).
// Its size is a power of two so that finding a slot is a shift.
struct CacheSlot {
  KoHeapPool* pool = nullptr;
  uint64_t id = 0;
  CachedClass classes[kSmallClassCount];
  char padding[4096 - 64 - sizeof(CachedClass) * kSmallClassCount];
};
static_assert(sizeof(CacheSlot) == 4096, "slot stride is a power of two");

// Made in fresh zero-filled memory (heap_map_zeroed), which is every slot's
// unbound state: a thread touches only the slots and stacks it uses.
struct ThreadCache {
  // The system's id of the thread it serves; ahead of the slots, on the page
  // of slot 0's used part (each slot's used part stays within one page).
  uint32_t owner_thread;
  CacheSlot slots[kCacheSlots];
  // Each slot's stacks, one after another (kClasses.stack_start). Left
  // uninitialised: only the entries below a stack's top are ever read, so a
  // stack's memory is first touched when blocks are freed into it.
  void* stacks[kCacheSlots][kStackEntriesPerSlot];
};

static_assert(offsetof(ThreadCache, slots) + offsetof(CacheSlot, padding) <= 4096,
              "binding a slot touches one page");

// Where, from the start of a thread cache, a pool's class sits: what a page
// header keeps so that the free path goes from a block to its cached class
// in one addition.
inline uint32_t cache_offset_of(uint64_t pool_id, unsigned size_class) {
  return uint32_t(offsetof(ThreadCache, slots) + (pool_id % kCacheSlots) * sizeof(CacheSlot) +
                  offsetof(CacheSlot, classes) + size_class * sizeof(CachedClass));
}

// True when a thread's cached run still holds a block of its class.
inline bool cached_run_left(const CachedClass& cached) {
  return cached.bump_end - cached.bump >= ptrdiff_t(cached.size);
}

// Carves a block from a thread's cached run that holds one.
inline void* cached_carve(CachedClass& cached) {
  void* block = cached.bump;
  cached.bump += cached.size;
  return block;
}

// The calling thread's cache: until its first allocation (and once it has
// ended) the absent cache, whose classes are all unbound and never written,
// so the fast paths need no test for a missing cache.
extern ThreadCache g_absent_cache;
#if defined(__ELF__)
extern __thread ThreadCache* t_thread_cache
    __attribute__((tls_model("initial-exec"), visibility("hidden")));
#else
extern __thread ThreadCache* t_thread_cache;
#endif

}  // namespace ko

#endif

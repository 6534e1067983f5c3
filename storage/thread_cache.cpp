/*
 * thread_cache.cpp: the per-thread block caches.
 *
 * Each thread keeps, for up to four pools at once (chosen by pool id), a free
 * list and a short run of uncarved bytes per size class. Allocating and
 * freeing through a cached pool takes no lock at all; the class lock is taken
 * once per batch, to refill a cache from the pool's shared lists or to hand
 * back a free list grown past its bound (in one splice: the cache knows the
 * list's tail). So two threads working in one pool
 * meet at a class lock only once every few dozen blocks, and a thread that
 * the scheduler suspends while holding one (the weakness of a bare spin lock)
 * stalls the others only if their own caches run dry in that very moment.
 *
 * Pool ids are never reused, so a cache entry whose pool was released or
 * whose pool record now serves another pool simply no longer matches: its
 * blocks lived in the released pages and are dropped without being touched.
 * Handing blocks back checks the id under the class lock; KoHeap_freePool
 * clears the id and then passes through every class lock, so a hand-back
 * either finishes before the release or sees the pool gone.
 */
#include "storage/thread_cache.h"

#include "storage/alloc_sites.h"
#include "storage/block_heap_internal.h"

namespace ko {

#if defined(__ELF__)
__thread ThreadCache* t_thread_cache __attribute__((tls_model("initial-exec"))) = nullptr;
#else
__thread ThreadCache* t_thread_cache = nullptr;
#endif

namespace {

constexpr uint32_t kRefillBytes = 16384;  // bytes taken from a pool per refill
constexpr uint32_t kRefillMaxBlocks = 2048;

enum class CacheState : uint8_t { kNone, kCreating, kLive, kGone };
thread_local CacheState t_state = CacheState::kNone;

uint32_t refill_blocks(uint32_t size) {
  uint32_t blocks = kRefillBytes / size;
  return blocks < 4 ? 4 : blocks > kRefillMaxBlocks ? kRefillMaxBlocks : blocks;
}

// Hands a chain of blocks (head to tail) and a bump run back to the pool's
// shared class, unless the pool is gone: a released pool's blocks are never
// touched.
void hand_back(KoHeapPool* pool, uint64_t id, unsigned size_class, const CachedClass& cached) {
  ClassState& state = pool->classes[size_class];
  uint32_t size = small_class_size(size_class);
  SpinGuard guard(state.lock);
  if (pool->id.load(std::memory_order_acquire) != id) return;
  if (cached.free) {
    *static_cast<void**>(cached.tail) = state.free;
    state.free = cached.free;
  }
  // Counted, not compared as pointers: with only a free list cached, the run
  // is null and null plus an offset is undefined.
  char* bump = cached.bump;
  for (ptrdiff_t left = cached.bump_end - bump; left >= ptrdiff_t(size); left -= size) {
    *reinterpret_cast<void**>(bump) = state.free;
    state.free = bump;
    bump += size;
  }
}

void flush_slot(CacheSlot& slot) {
  if (slot.id != 0) {
    for (unsigned c = 0; c < kSmallClassCount; ++c) {
      CachedClass& cached = slot.classes[c];
      if (cached.free || cached.bump != cached.bump_end) hand_back(slot.pool, slot.id, c, cached);
      cached = CachedClass{};
    }
  }
  slot.pool = nullptr;
  slot.id = 0;
}

void release_cache() {
  ThreadCache* cache = t_thread_cache;
  t_thread_cache = nullptr;
  t_state = CacheState::kGone;
  if (!cache) return;
  for (CacheSlot& slot : cache->slots) flush_slot(slot);
  KoHeap_free(cache);
}

struct CacheOwner {
  bool armed = false;
  ~CacheOwner() {
    if (armed) release_cache();
  }
};
thread_local CacheOwner t_owner;

ThreadCache* create_cache() {
  if (t_state != CacheState::kNone || !heap_thread_cache_enabled()) return nullptr;
  t_state = CacheState::kCreating;
  void* memory = KoHeap_alloc(sizeof(ThreadCache), &kSiteCalloc);
  if (!memory) {
    t_state = CacheState::kNone;
    return nullptr;
  }
  t_thread_cache = new (memory) ThreadCache;
  t_state = CacheState::kLive;
  t_owner.armed = true;
  return t_thread_cache;
}

CacheSlot& bind_slot(ThreadCache* cache, KoHeapPool* pool, uint64_t id) {
  CacheSlot& slot = cache->slots[id % kCacheSlots];
  if (slot.id != id) {
    flush_slot(slot);
    slot.pool = pool;
    slot.id = id;
    for (unsigned c = 0; c < kSmallClassCount; ++c) {
      slot.classes[c].size = kClasses.size[c];
      slot.classes[c].room = kClasses.keep[c];
    }
  }
  return slot;
}

// Takes a batch from the pool's shared class: freed blocks first, else a run
// of the newest page's unused bytes. Returns one block; null when memory ran out.
void* refill(KoHeapPool* pool, unsigned size_class, CachedClass& cached) {
  uint32_t size = small_class_size(size_class);
  uint32_t batch = refill_blocks(size);
  ClassState& state = pool->classes[size_class];
  SpinGuard guard(state.lock);
  if (void* head = state.free) {
    void* tail = head;
    uint32_t taken = 1;
    while (taken < batch && *static_cast<void**>(tail)) {
      tail = *static_cast<void**>(tail);
      ++taken;
    }
    state.free = *static_cast<void**>(tail);
    *static_cast<void**>(tail) = nullptr;
    cached.free = *static_cast<void**>(head);
    cached.tail = cached.free ? tail : nullptr;
    cached.room = kClasses.keep[size_class] - (taken - 1);
    return head;
  }
  if (state.bump_end - state.bump < ptrdiff_t(size) && !add_page(pool, size_class)) return nullptr;
  char* block = state.bump;
  uint64_t run = uint64_t(batch) * size;
  uint64_t left = uint64_t(state.bump_end - block);
  char* end = block + (run < left ? run : left);
  state.bump = end;
  cached.bump = block + size;
  cached.bump_end = end;
  return block;
}

// Gives a long free list back to the pool, whole: with its tail known, that
// takes no walk.
void trim(KoHeapPool* pool, uint64_t id, unsigned size_class, CachedClass& cached) {
  CachedClass excess{};
  excess.free = cached.free;
  excess.tail = cached.tail;
  hand_back(pool, id, size_class, excess);
  cached.free = cached.tail = nullptr;
  cached.room = kClasses.keep[size_class];
}

}  // namespace

void* thread_cache_alloc(KoHeapPool* pool, unsigned size_class) {
  ThreadCache* cache = t_thread_cache;
  if (!cache && !(cache = create_cache())) return shared_alloc(pool, size_class);
  uint64_t id = pool->id.load(std::memory_order_relaxed);
  CacheSlot& slot = bind_slot(cache, pool, id);
  CachedClass& cached = slot.classes[size_class];
  if (void* block = cached_take(cached)) return block;
  return refill(pool, size_class, cached);
}

void thread_cache_free(KoHeapPool* pool, unsigned size_class, void* block) {
  ThreadCache* cache = t_thread_cache;
  uint64_t id = pool->id.load(std::memory_order_relaxed);
  CacheSlot* slot = cache ? &cache->slots[id % kCacheSlots] : nullptr;
  if (!slot || slot->id != id) {
    shared_free(pool, size_class, block);
    return;
  }
  CachedClass& cached = slot->classes[size_class];
  if (cached.room == 0) trim(pool, id, size_class, cached);
  cached_put(cached, block);
}

void thread_cache_forget(KoHeapPool* pool) {
  ThreadCache* cache = t_thread_cache;
  if (!cache) return;
  uint64_t id = pool->id.load(std::memory_order_relaxed);
  CacheSlot& slot = cache->slots[id % kCacheSlots];
  if (slot.id == id) slot = CacheSlot{};
}

}  // namespace ko

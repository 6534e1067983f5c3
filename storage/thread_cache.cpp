/*
 * thread_cache.cpp: the per-thread block caches.
 *
 * Each thread keeps, for up to four pools at once (chosen by pool id), a
 * stack of freed blocks and a short run of uncarved bytes per size class.
 * Allocating and freeing through a cached pool takes no lock at all; the
 * class lock is taken once per batch, to refill a stack from the pool's
 * shared lists or to hand back the older half of a full one. So two threads
 * working in one pool
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

#include <cstring>
#include <mutex>

#include "platform/lifecycle.h"
#include "platform/platform.h"
#include "storage/block_heap_internal.h"

namespace ko {

ThreadCache g_absent_cache;

#if defined(__ELF__)
__thread ThreadCache* t_thread_cache
    __attribute__((tls_model("initial-exec"), visibility("hidden"))) = &g_absent_cache;
#else
__thread ThreadCache* t_thread_cache = &g_absent_cache;
#endif

namespace {

constexpr uint32_t kRefillBytes = 16384;  // bytes taken from a pool per refill
constexpr uint32_t kRefillMaxBlocks = 2048;

enum class CacheState : uint8_t { kNone, kLive, kGone };
thread_local CacheState t_state = CacheState::kNone;

constexpr uint32_t refill_blocks(uint32_t size) {
  uint32_t blocks = kRefillBytes / size;
  return blocks < 4 ? 4 : blocks > kRefillMaxBlocks ? kRefillMaxBlocks : blocks;
}

// A refill lands on an empty stack, which must take the whole batch.
constexpr bool batches_fit_stacks() {
  for (unsigned c = 0; c < kSmallClassCount; ++c)
    if (refill_blocks(kClasses.size[c]) > kClasses.keep[c]) return false;
  return true;
}
static_assert(batches_fit_stacks(), "a refill batch fits an empty stack");

// Hands blocks and a bump run back to the pool's shared class, unless the
// pool is gone: a released pool's blocks are never touched, which is why the
// blocks are linked only under the lock, after the id is checked.
void hand_back(KoHeapPool* pool, uint64_t id, unsigned size_class, void* const* blocks,
               size_t count, char* bump, char* bump_end) {
  ClassState& state = pool->classes[size_class];
  uint32_t size = small_class_size(size_class);
  SpinGuard guard(state.lock);
  if (pool->id.load(std::memory_order_acquire) != id) return;
  void* chain = state.free;
  for (size_t i = 0; i < count; ++i) {
    *static_cast<void**>(blocks[i]) = chain;
    chain = blocks[i];
  }
  // Counted, not compared as pointers: with no run cached, bump is null and
  // null plus an offset is undefined.
  for (ptrdiff_t left = bump_end - bump; left >= ptrdiff_t(size); left -= size) {
    *reinterpret_cast<void**>(bump) = chain;
    chain = bump;
    bump += size;
  }
  state.free = chain;
}

void flush_slot(CacheSlot& slot) {
  if (slot.id != 0) {
    for (unsigned c = 0; c < kSmallClassCount; ++c) {
      CachedClass& cached = slot.classes[c];
      size_t count = size_t(cached.top - cached.base);
      if (count || cached.bump != cached.bump_end)
        hand_back(slot.pool, slot.id, c, cached.base, count, cached.bump, cached.bump_end);
      cached = CachedClass{};
    }
  }
  slot.pool = nullptr;
  slot.id = 0;
}

// Hands a thread's cache back when the thread ends. It may run once the
// thread's other thread-local state is gone (Windows), so it works from the
// pointer it is given; the thread's cache becomes the absent one, and a block
// freed later in the thread's exit goes to its pool's shared lists. Retiring
// the hook on Windows calls it for every thread's cache from the unloading
// thread; another thread may have been stopped anywhere (at process exit,
// inside a class lock), so only the calling thread's own cache is handed back.
void release_cache(void* memory) {
  auto* cache = static_cast<ThreadCache*>(memory);
  if (cache->owner_thread != os::thread_id()) return;
  if (t_thread_cache == cache) {
    t_thread_cache = &g_absent_cache;
    t_state = CacheState::kGone;
  }
  for (CacheSlot& slot : cache->slots) flush_slot(slot);
  heap_unmap_zeroed(cache, sizeof(ThreadCache));
}

uintptr_t g_exit_hook = 0;
std::once_flag g_exit_hook_once;

uintptr_t exit_hook() {
  std::call_once(g_exit_hook_once,
                 [] { g_exit_hook = os::thread_exit_hook_create(&release_cache); });
  return g_exit_hook;
}

// At unload the hook goes with the library's code (on Windows handing back
// every thread's cache first).
void retire_exit_hook() {
  if (g_exit_hook != 0) os::thread_exit_hook_delete(g_exit_hook);
  g_exit_hook = 0;
}

ThreadCache* create_cache() {
  if (t_state != CacheState::kNone || !heap_thread_cache_enabled()) return nullptr;
  uintptr_t hook = exit_hook();
  void* memory = hook ? heap_map_zeroed(sizeof(ThreadCache)) : nullptr;
  if (!memory) return nullptr;
  // An aggregate whose every member starts at zero: the zero-filled mapping
  // already holds it, and constructing it would touch every slot's page.
  auto* cache = static_cast<ThreadCache*>(memory);
  cache->owner_thread = os::thread_id();
  t_thread_cache = cache;
  t_state = CacheState::kLive;
  os::thread_exit_hook_set(hook, cache);
  return cache;
}

CacheSlot& bind_slot(ThreadCache* cache, KoHeapPool* pool, uint64_t id) {
  unsigned index = unsigned(id % kCacheSlots);
  CacheSlot& slot = cache->slots[index];
  if (slot.id != id) {
    flush_slot(slot);
    slot.pool = pool;
    slot.id = id;
    for (unsigned c = 0; c < kSmallClassCount; ++c) {
      CachedClass& cached = slot.classes[c];
      cached.pool_id = id;
      cached.size = kClasses.size[c];
      cached.base = cached.top = &cache->stacks[index][kClasses.stack_start[c]];
      cached.limit = cached.base + kClasses.keep[c];
    }
  }
  return slot;
}

// Takes a batch from the pool's shared class into an empty cached class:
// freed blocks first, else a run of the newest page's unused bytes. Returns
// one block; null when memory ran out.
void* refill(KoHeapPool* pool, unsigned size_class, CachedClass& cached) {
  uint32_t size = small_class_size(size_class);
  uint32_t batch = refill_blocks(size);
  ClassState& state = pool->classes[size_class];
  SpinGuard guard(state.lock);
  if (void* block = state.free) {
    void** top = cached.base;
    for (uint32_t taken = 0; block && taken < batch; ++taken) {
      *top++ = block;
      block = *static_cast<void**>(block);
    }
    state.free = block;
    cached.top = top - 1;
    return *cached.top;
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

// Makes room on a full stack: its older half goes back to the pool, the
// newer half (the blocks most likely still in the processor's cache) stays.
void spill(KoHeapPool* pool, uint64_t id, unsigned size_class, CachedClass& cached) {
  size_t half = kClasses.keep[size_class] / 2;
  hand_back(pool, id, size_class, cached.base, half, nullptr, nullptr);
  size_t kept = size_t(cached.top - cached.base) - half;
  std::memmove(cached.base, cached.base + half, kept * sizeof(void*));
  cached.top = cached.base + kept;
}

}  // namespace

void* thread_cache_alloc(KoHeapPool* pool, unsigned size_class) {
  ThreadCache* cache = t_thread_cache;
  if (cache == &g_absent_cache && !(cache = create_cache())) return shared_alloc(pool, size_class);
  uint64_t id = pool->id.load(std::memory_order_relaxed);
  CacheSlot& slot = bind_slot(cache, pool, id);
  CachedClass& cached = slot.classes[size_class];
  if (cached.top != cached.base) return *--cached.top;
  if (cached_run_left(cached)) return cached_carve(cached);
  return refill(pool, size_class, cached);
}

void thread_cache_free(KoHeapPool* pool, unsigned size_class, void* block) {
  ThreadCache* cache = t_thread_cache;
  uint64_t id = pool->id.load(std::memory_order_relaxed);
  CacheSlot& slot = cache->slots[id % kCacheSlots];
  if (cache == &g_absent_cache || slot.id != id) {
    shared_free(pool, size_class, block);
    return;
  }
  CachedClass& cached = slot.classes[size_class];
  if (cached.top == cached.limit) spill(pool, id, size_class, cached);
  *cached.top++ = block;
}

void thread_cache_forget(KoHeapPool* pool) {
  ThreadCache* cache = t_thread_cache;
  if (cache == &g_absent_cache) return;
  uint64_t id = pool->id.load(std::memory_order_relaxed);
  CacheSlot& slot = cache->slots[id % kCacheSlots];
  if (slot.id == id) slot = CacheSlot{};
}

}  // namespace ko

KO_SUBSYSTEM(thread_caches, 10, nullptr, &ko::retire_exit_hook);

/*
 * block_heap_fast.h: the lock-free paths of the block heap, inlined into the
 * pool layer. A small block is taken from, or given back to, the calling
 * thread's cache for the block's pool when that cache has one (or room for
 * one); everything else goes to the out-of-line KoHeap_ functions.
 */
#ifndef KOSHR_STORAGE_BLOCK_HEAP_FAST_H
#define KOSHR_STORAGE_BLOCK_HEAP_FAST_H

#include "storage/block_heap.h"
#include "storage/block_heap_internal.h"

namespace ko {

// The thread's cached class at `cache_offset` (cache_offset_of).
inline CachedClass& cached_class_at(uint32_t cache_offset) {
  return *reinterpret_cast<CachedClass*>(reinterpret_cast<char*>(t_thread_cache) + cache_offset);
}

inline void* heap_alloc_fast(KoHeapPool* pool, uint64_t size, const KoHeapSite* site) {
  if (size - 1 < kMaxSmallBlock) [[likely]] {
    CachedClass& cached =
        cached_class_at(pool->cache_offset + small_class_of(size) * uint32_t(sizeof(CachedClass)));
    if (cached.pool_id == pool->id.load(std::memory_order_relaxed)) [[likely]] {
      if (cached.top != cached.base) [[likely]]
        return *--cached.top;
      if (cached_run_left(cached)) return cached_carve(cached);
    }
  }
  return KoHeap_allocFromPool(pool, size, site);
}

// The page header names the thread cache's class for the block's pool and
// size; the block goes on that class's stack when the stack is the pool's
// and has room. A large run's header names no pool, so it never matches.
// `block` is not null.
inline void heap_free_fast(void* block) {
  auto* header = reinterpret_cast<PageHeader*>(reinterpret_cast<uintptr_t>(block) & g_page_mask);
  if (header->magic == kPageMagic) [[likely]] {
    auto& cached = *reinterpret_cast<CachedClass*>(reinterpret_cast<char*>(t_thread_cache) +
                                                   header->cache_offset);
    if (cached.pool_id == header->pool_id) [[likely]] {
      void** top = cached.top;
      if (top != cached.limit) [[likely]] {
        *top = block;
        cached.top = top + 1;
        return;
      }
    }
  }
  KoHeap_free(block);
}

}  // namespace ko

#endif

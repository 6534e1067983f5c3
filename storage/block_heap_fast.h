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

inline void* heap_alloc_fast(KoHeapPool* pool, uint64_t size, const KoHeapSite* site) {
  ThreadCache* cache = t_thread_cache;
  if (cache && size - 1 < kMaxSmallBlock) {
    uint64_t id = pool->id.load(std::memory_order_relaxed);
    CacheSlot& slot = cache->slots[id % kCacheSlots];
    if (slot.id == id) {
      if (void* block = cached_take(slot.classes[small_class_of(size)])) return block;
    }
  }
  return KoHeap_allocFromPool(pool, size, site);
}

inline void heap_free_fast(void* block) {
  ThreadCache* cache = t_thread_cache;
  if (cache && block) {
    auto* header = reinterpret_cast<PageHeader*>(reinterpret_cast<uintptr_t>(block) & g_page_mask);
    uint32_t size_class = header->size_class;
    if (header->magic == kPageMagic && size_class != kLargeClass) {
      uint64_t id = header->pool_id;
      CacheSlot& slot = cache->slots[id % kCacheSlots];
      CachedClass& cached = slot.classes[size_class];
      if (slot.id == id && cached.room != 0) {
        cached_put(cached, block);
        return;
      }
    }
  }
  KoHeap_free(block);
}

}  // namespace ko

#endif

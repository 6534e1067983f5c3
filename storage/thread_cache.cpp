/*
 * thread_cache.cpp: the per-thread block caches.
 */
#include "storage/thread_cache.h"

#include "storage/block_heap_internal.h"

namespace ko {

void* thread_cache_alloc(KoHeapPool* pool, unsigned size_class) {
  return shared_alloc(pool, size_class);
}

void thread_cache_free(KoHeapPool* pool, unsigned size_class, void* block) {
  shared_free(pool, size_class, block);
}

}  // namespace ko

/*
 * thread_cache.h: the per-thread block caches in front of the heap's shared
 * per-class lists.
 */
#ifndef KOSHR_STORAGE_THREAD_CACHE_H
#define KOSHR_STORAGE_THREAD_CACHE_H

#include "storage/block_heap.h"

namespace ko {

void* thread_cache_alloc(KoHeapPool* pool, unsigned size_class);
void thread_cache_free(KoHeapPool* pool, unsigned size_class, void* block);

}  // namespace ko

#endif

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
// Drops this thread's cache entry for a pool about to be released.
void thread_cache_forget(KoHeapPool* pool);

}  // namespace ko

#endif

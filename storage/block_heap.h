/*
 * block_heap.h: the block heap (KoHeap_*), the size-class heap under the pools.
 *
 * A heap pool hands out blocks of fixed size classes, knows every block's size
 * and owning pool, resizes a block in place within its class and releases all
 * its blocks at once, in time proportional to its pages. Blocks that belong to
 * no pool come from a process pool that is never released. Every allocation
 * names a static site descriptor, used only in failure messages and dumps.
 * Failures go to one process-wide error handler; see block_heap.cpp for the
 * layout of pages and runs.
 */
#ifndef KOSHR_STORAGE_BLOCK_HEAP_H
#define KOSHR_STORAGE_BLOCK_HEAP_H

#include <cstdint>

namespace ko {

struct KoHeapSite {
  const char* type;
  const char* allocator;
  const char* freer;
  const char* file;
  uint32_t line;
};

// Event codes given to the error handler.
enum : uint32_t {
  kHeapEventBadBlock = 1,     // a pointer that is no heap block was freed or measured
  kHeapEventOutOfMemory = 2,  // memory ran out; a handler returning 1 asks for a retry
  kHeapEventTooLarge = 4      // a request above the largest size class
};

struct KoHeapEvent {
  uint32_t code;
  const char* text;  // the failure message
  uint64_t size;     // the requested size
  const KoHeapSite* site;
};

// Returns 1 to have a failed allocation tried again, 0 to let it fail.
using KoHeapErrorHandler = int (*)(KoHeapEvent* event, void* argument);

struct KoHeapPool;

// Pools.
KoHeapPool* KoHeap_allocPool(void* user_data);
void KoHeap_freePool(KoHeapPool* pool);
int64_t KoHeap_poolSize(const KoHeapPool* pool);  // bytes held; -1 for null
void* KoHeap_poolUserData(const KoHeapPool* pool);

// Blocks.
void* KoHeap_allocFromPool(KoHeapPool* pool, uint64_t size, const KoHeapSite* site);
void* KoHeap_alloc(uint64_t size, const KoHeapSite* site);  // outside any pool
void* KoHeap_calloc(uint64_t count, uint64_t size);
void* KoHeap_realloc(void* block, uint64_t size);
void KoHeap_free(void* block);
uint64_t KoHeap_blockSize(const void* block);
uint64_t KoHeap_minSize(const void* block);  // smallest size kept without moving
uint64_t KoHeap_maxSize(const void* block);  // largest size kept without moving
bool KoHeap_resizeInPlace(void* block, uint64_t size);
KoHeapPool* KoHeap_blockPool(const void* block);

// Registers the error handler; returns the one registered before.
KoHeapErrorHandler KoHeap_setErrorHandler(KoHeapErrorHandler handler);

// The largest block the heap serves.
uint64_t KoHeap_maxBlock();
// Bytes held for reuse by released pools, and bytes mapped in all.
uint64_t KoHeap_cachedBytes();
uint64_t KoHeap_mappedBytes();
// Test seam: caps the bytes the heap maps (0 lifts the cap); returns the old cap.
uint64_t KoHeap_setLimit(uint64_t bytes);

}  // namespace ko

#endif

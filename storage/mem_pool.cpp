/*
 * mem_pool.cpp: the MemPool layer over the block heap.
 */
#include "storage/mem_pool.h"

#include <cstring>

namespace ko {

MemPool* MemPoolInit(uint32_t flags) {
  auto* pool = static_cast<MemPool*>(KoHeap_alloc(sizeof(MemPool), &kSitePoolRecord));
  if (!pool) return nullptr;
  KoHeapPool* heap_pool = KoHeap_allocPool(pool);
  if (!heap_pool) {
    KoHeap_free(pool);
    return nullptr;
  }
  new (pool) MemPool{heap_pool, {}, pool, 0, 8, 0, 8192, 0x40000, -2, flags, {0, 0}};
  return pool;
}

int MemPoolFree(MemPool* pool) {
  if (!pool) return 0;
  pool->lock.clear();
  KoHeap_freePool(pool->heap_pool);
  KoHeap_free(pool);
  return 1;
}

void* MemReAllocPtr(void* block, uint64_t size, uint32_t flags) {
  if (!block) return nullptr;
  uint64_t old_size = KoHeap_blockSize(block);
  if (KoHeap_resizeInPlace(block, size)) {
    if ((flags & kMemZeroFill) && size > old_size)
      std::memset(static_cast<char*>(block) + old_size, 0, size - old_size);
    return block;
  }
  if (flags & kMemNoMove) return nullptr;
  KoHeapPool* heap_pool = KoHeap_blockPool(block);
  if (!heap_pool) return nullptr;
  void* moved = KoHeap_allocFromPool(heap_pool, size, &kSiteReAllocPtr);
  if (!moved) return nullptr;
  uint64_t kept = old_size < size ? old_size : size;
  std::memcpy(moved, block, kept);
  if ((flags & kMemZeroFill) && size > kept)
    std::memset(static_cast<char*>(moved) + kept, 0, size - kept);
  KoHeap_free(block);
  return moved;
}

template <typename Field>
static Field swap_setting(MemPool* pool, Field MemPool::*field, Field value) {
  if (!pool) return 0;
  SpinGuard guard(pool->lock);
  Field previous = pool->*field;
  pool->*field = value;
  return previous;
}

uint32_t MemPoolSetPageSize(MemPool* pool, uint32_t size) {
  return swap_setting(pool, &MemPool::page_size, size);
}

uint16_t MemPoolSetFixedBlockSize(MemPool* pool, uint16_t size) {
  return swap_setting(pool, &MemPool::fixed_block_size, size);
}

uint16_t MemPoolSetFast(MemPool* pool, uint16_t fast) {
  return swap_setting(pool, &MemPool::fast, fast);
}

uint32_t MemPoolSetThreshold(MemPool* pool, uint32_t threshold) {
  return swap_setting(pool, &MemPool::threshold, threshold);
}

MemPool* process_default_pool() {
  static MemPool* const pool = MemPoolInit(0);
  return pool;
}

}  // namespace ko

/*
 * mem_pool.h: the MemPool layer, a pool record that wraps one block-heap pool
 * and carries its settings. Only the kostg_ functions use it.
 *
 * The record, in order: heap pool (whose user data points back here), the
 * settings lock, a pointer to itself, a zero u32, the fixed block size (u16,
 * 8), the fast switch (u16), the page size (u32, 8192), the threshold (u32,
 * 0x40000), a word of -2, the creation flags, two zero u64. The page size,
 * fast switch and threshold are recorded, never consulted by allocation.
 */
#ifndef KOSHR_STORAGE_MEM_POOL_H
#define KOSHR_STORAGE_MEM_POOL_H

#include <cstdint>

#include <cstring>

#include "storage/alloc_sites.h"
#include "storage/block_heap_fast.h"
#include "storage/spin_lock.h"

namespace ko {

struct MemPool {
  KoHeapPool* heap_pool;
  SpinLock lock;
  MemPool* self;
  uint32_t zero;
  uint16_t fixed_block_size;
  uint16_t fast;
  uint32_t page_size;
  uint32_t threshold;
  int32_t marker;
  uint32_t flags;
  uint64_t spare[2];
};

enum : uint32_t { kMemZeroFill = 0x1, kMemNoMove = 0x8 };
enum : uint32_t { kMemContextPoolFlags = 0x8002, kMemSubpoolFlags = 0x8000 };

MemPool* MemPoolInit(uint32_t flags);
int MemPoolFree(MemPool* pool);
void* MemReAllocPtr(void* block, uint64_t size, uint32_t flags);

// The allocation calls are inline: they are the library's hottest path.
inline void* MemAllocPtr(MemPool* pool, uint64_t size, uint32_t flags) {
  if (!pool) return nullptr;
  void* block = heap_alloc_fast(pool->heap_pool, size, &kSiteAllocPtr);
  if (block && (flags & kMemZeroFill)) std::memset(block, 0, size);
  return block;
}

inline void* MemAllocFS(MemPool* pool) {
  if (!pool) return nullptr;
  // Every context's default pool keeps the 8 it starts with: the constant
  // spares the class lookup.
  if (pool->fixed_block_size == 8) [[likely]]
    return heap_alloc_fast(pool->heap_pool, 8, &kSiteAllocFixed);
  return heap_alloc_fast(pool->heap_pool, pool->fixed_block_size, &kSiteAllocFixed);
}

inline int MemFreePtr(void* block) {
  if (!block) return 0;
  heap_free_fast(block);
  return 1;
}
// Setters: each takes the record's lock and returns the previous value (0 for null).
uint32_t MemPoolSetPageSize(MemPool* pool, uint32_t size);
uint16_t MemPoolSetFixedBlockSize(MemPool* pool, uint16_t size);
uint16_t MemPoolSetFast(MemPool* pool, uint16_t fast);
uint32_t MemPoolSetThreshold(MemPool* pool, uint32_t threshold);

// The process default pool (flags 0), made on first use and kept for the process.
MemPool* process_default_pool();

}  // namespace ko

#endif

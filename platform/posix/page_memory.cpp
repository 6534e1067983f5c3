/*
 * page_memory.cpp (posix): aligned page mappings for the block heap, and the
 * C runtime's block size. mmap gives page alignment only; but the kernel
 * places a new mapping just below the last one, so after the first aligned
 * page the next mapping of whole pages is usually aligned too and costs one call.
 * Otherwise a mapping is made one alignment larger and the unaligned head and
 * tail are returned.
 */
#include <malloc.h>
#include <sys/mman.h>

#include <cstdint>

#include "platform/platform.h"

namespace ko::os {

void* pages_map(size_t size, size_t alignment) {
  if (size % alignment == 0) {
    void* exact = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (exact == MAP_FAILED) return nullptr;
    if ((reinterpret_cast<uintptr_t>(exact) & (alignment - 1)) == 0) return exact;
    munmap(exact, size);
  }
  size_t span = size + alignment;
  void* raw = mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) return nullptr;
  uintptr_t start = reinterpret_cast<uintptr_t>(raw);
  uintptr_t aligned = (start + alignment - 1) & ~(uintptr_t(alignment) - 1);
  if (aligned > start) munmap(raw, aligned - start);
  uintptr_t tail = aligned + size;
  uintptr_t end = start + span;
  if (end > tail) munmap(reinterpret_cast<void*>(tail), end - tail);
  return reinterpret_cast<void*>(aligned);
}

void pages_unmap(void* base, size_t size) {
  if (base) munmap(base, size);
}

// The unaligned head and tail stay mapped: never touched, they cost address
// space only, and leaving them saves two calls.
void* pages_reserve(size_t size, size_t alignment) {
  void* raw = mmap(nullptr, size + alignment, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (raw == MAP_FAILED) return nullptr;
  uintptr_t start = reinterpret_cast<uintptr_t>(raw);
  return reinterpret_cast<void*>((start + alignment - 1) & ~(uintptr_t(alignment) - 1));
}

void pages_discard(void* base, size_t size) {
  if (base) munmap(base, size);
}

size_t runtime_block_size(void* block) { return block ? malloc_usable_size(block) : 0; }

}  // namespace ko::os

/*
 * page_memory.cpp (win32): aligned page mappings for the block heap, and the
 * C runtime's block size. VirtualAlloc already aligns to the allocation
 * granularity (64 KB); a larger alignment is found by reserving a span one
 * alignment larger, releasing it and reserving again at the aligned address
 * inside it (retried, since another thread may take the address meanwhile).
 */
#include <windows.h>

#include <malloc.h>

#include <cstdint>

#include "platform/platform.h"

namespace ko::os {

void* pages_map(size_t size, size_t alignment) {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  if (alignment <= info.dwAllocationGranularity)
    return VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  for (int attempt = 0; attempt < 16; ++attempt) {
    void* probe = VirtualAlloc(nullptr, size + alignment, MEM_RESERVE, PAGE_NOACCESS);
    if (!probe) return nullptr;
    uintptr_t aligned =
        (reinterpret_cast<uintptr_t>(probe) + alignment - 1) & ~(uintptr_t(alignment) - 1);
    VirtualFree(probe, 0, MEM_RELEASE);
    void* mapped = VirtualAlloc(reinterpret_cast<void*>(aligned), size, MEM_RESERVE | MEM_COMMIT,
                                PAGE_READWRITE);
    if (mapped) return mapped;
  }
  return nullptr;
}

void pages_unmap(void* base, size_t size) {
  if (base) VirtualFree(base, 0, MEM_RELEASE);
}

// Committed whole: the system backs a committed page only once it is touched.
void* pages_reserve(size_t size, size_t alignment) {
  void* raw = VirtualAlloc(nullptr, size + alignment, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (!raw) return nullptr;
  uintptr_t start = reinterpret_cast<uintptr_t>(raw);
  return reinterpret_cast<void*>((start + alignment - 1) & ~(uintptr_t(alignment) - 1));
}

// A part of a reservation cannot be released, only decommitted; its
// addresses stay reserved and are not handed out again.
void pages_discard(void* base, size_t size) {
  if (base) VirtualFree(base, size, MEM_DECOMMIT);
}

size_t runtime_block_size(void* block) { return block ? _msize(block) : 0; }

}  // namespace ko::os

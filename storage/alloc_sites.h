/*
 * alloc_sites.h: the static site descriptors that the pool layer and the
 * heap-level calloc/realloc pass to the block heap. The heap prints them in
 * its failure messages.
 *
 * The moving-reallocation row has its first three fields in another order and
 * a line of 119; it is kept as it stands because tools that read heap dumps
 * match on it.
 */
#ifndef KOSHR_STORAGE_ALLOC_SITES_H
#define KOSHR_STORAGE_ALLOC_SITES_H

#include "storage/block_heap.h"

namespace ko {

inline constexpr KoHeapSite kSitePoolRecord{"MEM_POOL", "MemPoolInit", "MemPoolFree", "file?", 0};
inline constexpr KoHeapSite kSiteAllocPtr{"void*", "MemAllocPtr", "MemFreePtr", "file?", 0};
inline constexpr KoHeapSite kSiteAllocFixed{"void*", "MemAllocFS", "MemFreePtr", "file?", 0};
inline constexpr KoHeapSite kSiteReAllocPtr{"MemReAllocPtr", "MemFreePtr", "void*", "file?", 119};
inline constexpr KoHeapSite kSiteCalloc{"void*", "calloc", "free", "file?", 0};
inline constexpr KoHeapSite kSiteRealloc{"void*", "realloc", "free", "file?", 0};

}  // namespace ko

#endif

/*
 * blob_memory.h: where data blobs, their iterators and their buffers live.
 *
 * A blob is reference-counted and outlives any caller's storage context, so
 * it allocates from one context kept for the life of the process. Strings
 * and nested blobs that a reader hands out without a context come from there
 * too; callers give them back with kostg_fee.
 */
#ifndef KOSHR_CONTAINERS_BLOB_MEMORY_H
#define KOSHR_CONTAINERS_BLOB_MEMORY_H

#include <koshr/storage.h>

namespace ko {

void* blob_memory_alloc(uint64_t size);
// Null on failure, leaving the block as it was.
void* blob_memory_realloc(void* block, uint64_t size);
void blob_memory_free(void* block);

}  // namespace ko

#endif

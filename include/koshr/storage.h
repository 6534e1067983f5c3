/*
 * koshr/storage.h: storage contexts, sub-pools and blocks.
 *
 * A caller opens a context with kostg_begin, carves sub-pools out of it with
 * kostg_new_pool, allocates blocks with kostg_alc / kostg_realc / kostg_fee and
 * releases a whole sub-pool (kostg_free_pool) or the whole context (kostg_end)
 * in one call. Blocks are not zero-filled.
 */
#ifndef KOSHR_STORAGE_H
#define KOSHR_STORAGE_H

#include <koshr/types.h>

typedef struct KostgContext KostgContext;
typedef struct KostgSubpool KostgSubpool;

KOSHR_BEGIN_C

/* Contexts and sub-pools. */
KOSHR_API KostgContext* kostg_begin(uint16_t pageSize);
KOSHR_API KostgContext* kostg_begin_allocflags(uint16_t pageSize, uint32_t allocFlags);
KOSHR_API KostgContext* kostg_begin_nofast(uint16_t pageSize);
KOSHR_API int kostg_end(KostgContext* context);
KOSHR_API KostgSubpool* kostg_new_pool(KostgContext* context);
KOSHR_API KostgSubpool* kostg_new_pool_nofast(KostgContext* context);
KOSHR_API KostgSubpool* kostg_new_pool_with_size_nofast(KostgContext* context, uint16_t pageSize);
KOSHR_API int kostg_free_pool(KostgContext* context, KostgSubpool* pool);
KOSHR_API KOCHAR* kostg_set_pool_name(KostgContext* context, KostgSubpool* pool,
                                      const KOCHAR* name);
KOSHR_API int kostg_set_poolpagesize(KostgContext* context, uint32_t pageSize);

/* Blocks. */
KOSHR_API void* kostg_alc(KostgContext* context, uint64_t size, KostgSubpool* pool);
KOSHR_API void kostg_fee(KostgContext* context, void* block);
KOSHR_API void* kostg_realc(KostgContext* context, void* block, uint64_t size, KostgSubpool* pool);
KOSHR_API uint32_t kostg_sz(KostgContext* context, void* block);
KOSHR_API uint32_t kostg_fast_strlen(const KOCHAR* text);

/* Generations, statistics, debugging. */
KOSHR_API uint32_t kostg_nextGeneration(void);
KOSHR_API int64_t kostg_stat(KostgContext* context, uint64_t* counters /* six */);
KOSHR_API int kostg_write_debug(void);
KOSHR_API void kostg_dumpLeaks(void);

/* System-heap mode: a non-zero flag sends every kostg_ call to the C runtime
 * heap for the rest of the process (it is never turned off again). */
KOSHR_API void UseNewCompilerHeap(uint32_t flag);

/* Kept for programs built against older releases: they do nothing, and what
 * they return (null) has no meaning. */
KOSHR_API void* kostg_dumpHeap(void);
KOSHR_API void* kostg_validate(void);
KOSHR_API void* kostg_alloc_align(void);
KOSHR_API void* kostg_realloc_align(void);
KOSHR_API void* kostg_get_pointer_subpool(void);
KOSHR_API void* kostg_set_next_pool(void);
KOSHR_API void* kostg_dballoc(void);
KOSHR_API void* kostg_dbbegin(void);
KOSHR_API void* kostg_dbbegin_allocflags(void);
KOSHR_API void* kostg_dbrealloc(void);
KOSHR_API void* kostg_dbstrdup(void);

KOSHR_END_C

#endif

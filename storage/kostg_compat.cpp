/*
 * kostg_compat.cpp: exports kept for programs built against older releases.
 * They do nothing; no caller uses what they return, which is null.
 */
#include <koshr/storage.h>

KOSHR_EXTERN_C KOSHR_API void* kostg_dumpHeap(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_validate(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_alloc_align(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_realloc_align(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_get_pointer_subpool(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_set_next_pool(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_dballoc(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_dbbegin(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_dbbegin_allocflags(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_dbrealloc(void) { return nullptr; }
KOSHR_EXTERN_C KOSHR_API void* kostg_dbstrdup(void) { return nullptr; }

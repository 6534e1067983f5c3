/*
 * koshr/hashtable.h: string-keyed hash tables of opaque items.
 *
 * A table has a fixed number of buckets, each a list (koshr/lists.h) made on
 * its first insertion. An item's key is obtained through the key function
 * (the item itself when there is none): one UTF-16 string, or for composite
 * tables a list of strings. Keys compare case-sensitively, code unit by code
 * unit. Duplicate keys are kept in insertion order unless the table is unique.
 *
 * The table remembers the bucket of the last search, insertion or iteration
 * step, and each bucket list its own current position: shhash_searchNext and
 * shhash_remove continue from there. Items are the caller's: the table never
 * frees them. Null tables are accepted only where said below.
 */
#ifndef KOSHR_HASHTABLE_H
#define KOSHR_HASHTABLE_H

#include <koshr/lists.h>

typedef struct ShHashTable ShHashTable;

/* The key of an item: a const KOCHAR* string, or a shlistx* of strings for a
 * composite table. `argument` is the one given to shhash_new_arg (null for
 * tables made by shhash_new). */
typedef const void* (*SHHASH_KEYFUNC)(void* item, void* argument);

typedef struct ShHashStatistics {
  double load;            /* items per bucket, never below 1.0 */
  double chain_length;    /* items per bucket that has a list, 0.0 when none has */
  uint32_t longest_chain; /* the most nodes in one bucket list */
} ShHashStatistics;

KOSHR_BEGIN_C

KOSHR_API ShHashTable* shhash_new(uint32_t bucketCount, SHHASH_KEYFUNC keyFunction, int unique,
                                  int composite, KostgContext* context, KostgSubpool* pool);
KOSHR_API ShHashTable* shhash_new_arg(uint32_t bucketCount, SHHASH_KEYFUNC keyFunction, int unique,
                                      int composite, KostgContext* context, KostgSubpool* pool,
                                      void* argument);

/* 1 when inserted, 2 when a unique table already holds the key. */
KOSHR_API int shhash_insert(ShHashTable* table, void* item);

/* `key` is a const KOCHAR* string, or a shlistx* of strings (composite). */
KOSHR_API void* shhash_search(ShHashTable* table, const void* key);
KOSHR_API void* shhash_searchNext(ShHashTable* table, const void* key);
KOSHR_API void* shhash_search_unique(ShHashTable* table, const void* key);
KOSHR_API shlistx* shhash_searchSlot(ShHashTable* table, const void* key);
KOSHR_API void* shhash_remove(ShHashTable* table);

KOSHR_API void* shhash_get_first(ShHashTable* table);
KOSHR_API void* shhash_get_next(ShHashTable* table);
KOSHR_API int shhash_traversal(ShHashTable* table, void* argument, SHLIST_VISIT visit);

KOSHR_API ShHashTable* shhash_clear(ShHashTable* table);
KOSHR_API void shhash_delete(ShHashTable* table);
KOSHR_API ShHashStatistics* shhash_statistics(ShHashTable* table, ShHashStatistics* out);

KOSHR_END_C

#endif

/*
 * hash_table.h: the table record behind the ShHashTable handle.
 */
#ifndef KOSHR_CONTAINERS_HASH_TABLE_H
#define KOSHR_CONTAINERS_HASH_TABLE_H

#include <koshr/hashtable.h>

#include "containers/list.h"

struct ShHashTable {
  KostgContext* context;
  KostgSubpool* pool;           // may be null
  shlistx** buckets;            // bucket_count lists, each null until first used
  SHHASH_KEYFUNC key_function;  // null: the item is its own key
  void* key_argument;
  uint32_t bucket_count;    // fixed for the table's life
  uint32_t current_bucket;  // set by the last search, insertion or iteration step
  uint32_t item_count;
  uint32_t unique;     // refuse keys already present
  uint32_t composite;  // keys are lists of strings
};

#endif

/*
 * hash_table_walk.cpp: visiting every item of a hash table, bucket by bucket
 * in increasing number and within a bucket in insertion order, either one
 * step at a time (shhash_get_first / shhash_get_next, which move the current
 * bucket and its list's position) or with a visitor (shhash_traversal, which
 * moves nothing).
 */
#include "containers/hash_table.h"

namespace {

// From bucket `from` on, the first bucket whose list holds a node: makes it
// current, positions its list on its first node and returns that item.
void* first_from(ShHashTable* table, uint32_t from) {
  for (uint32_t i = from; i < table->bucket_count; ++i) {
    shlistx* list = table->buckets[i];
    if (list && list->count) {
      table->current_bucket = i;
      return shlist_get_first(list);
    }
  }
  return nullptr;
}

}  // namespace

extern "C" {

void* shhash_get_first(ShHashTable* table) {
  if (!table || table->item_count == 0) return nullptr;
  return first_from(table, 0);
}

void* shhash_get_next(ShHashTable* table) {
  if (!table || table->current_bucket >= table->bucket_count) return nullptr;
  if (void* item = shlist_get_next(table->buckets[table->current_bucket])) return item;
  return first_from(table, table->current_bucket + 1);
}

int shhash_traversal(ShHashTable* table, void* argument, SHLIST_VISIT visit) {
  if (!table) return 0;
  if (table->item_count == 0) return 1;
  int result = 1;
  for (uint32_t i = 0; i < table->bucket_count && result != 0; ++i)
    if (table->buckets[i]) result = shlist_traversal(table->buckets[i], argument, visit);
  return result;
}

}  // extern "C"

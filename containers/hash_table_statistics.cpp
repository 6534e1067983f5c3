/*
 * hash_table_statistics.cpp: how well a table's keys spread over its buckets.
 *
 * Load is items per bucket, reported as 1.0 when lower (or when there are no
 * buckets); chain length is items per bucket that has a list, counting lists
 * that have become empty; the longest chain is the largest list.
 */
#include "containers/hash_table.h"

extern "C" {

ShHashStatistics* shhash_statistics(ShHashTable* table, ShHashStatistics* out) {
  if (!table || !out) return nullptr;
  uint32_t lists = 0;
  uint32_t longest = 0;
  for (uint32_t i = 0; i < table->bucket_count; ++i) {
    if (!table->buckets[i]) continue;
    ++lists;
    if (table->buckets[i]->count > longest) longest = table->buckets[i]->count;
  }
  double load = table->bucket_count ? double(table->item_count) / table->bucket_count : 1.0;
  out->load = load < 1.0 ? 1.0 : load;
  out->chain_length = lists ? double(table->item_count) / lists : 0.0;
  out->longest_chain = longest;
  return out;
}

}  // extern "C"

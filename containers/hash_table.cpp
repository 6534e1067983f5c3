/*
 * hash_table.cpp: making, filling, searching and emptying hash tables.
 *
 * Each bucket is a list; an item is appended to the list of its key's bucket
 * and found again by a linear scan of that list in insertion order. A search
 * leaves the table on the key's bucket and the bucket's list on the item
 * found, which is where shhash_searchNext and shhash_remove carry on.
 */
#include "containers/hash_table.h"

#include "containers/string_hash.h"
#include "platform/utf16.h"

namespace {

const void* key_of(const ShHashTable* table, void* item) {
  return table->key_function ? table->key_function(item, table->key_argument) : item;
}

uint32_t bucket_of(ShHashTable* table, const void* key) {
  uint32_t h = table->composite ? ko::composite_hash(static_cast<shlistx*>(const_cast<void*>(key)))
                                : ko::string_hash(static_cast<const KOCHAR*>(key));
  return h % table->bucket_count;
}

bool strings_equal(const KOCHAR* a, const KOCHAR* b) {
  static const KOCHAR kEmpty[1] = {0};
  return ko::u16cmp(a ? a : kEmpty, b ? b : kEmpty) == 0;
}

// Composite keys are equal when their strings are, pair by pair, and both
// lists end together. The walk moves both lists' current positions.
bool lists_equal(shlistx* a, shlistx* b) {
  if (shlist_get_count(a) != shlist_get_count(b)) return false;
  if (!a || !a->first) return true;
  const void* x = shlist_get_first(a);
  const void* y = shlist_get_first(b);
  for (; a->current; x = shlist_get_next(a), y = shlist_get_next(b))
    if (!strings_equal(static_cast<const KOCHAR*>(x), static_cast<const KOCHAR*>(y))) return false;
  return true;
}

bool keys_equal(const ShHashTable* table, const void* a, const void* b) {
  if (table->composite)
    return lists_equal(static_cast<shlistx*>(const_cast<void*>(a)),
                       static_cast<shlistx*>(const_cast<void*>(b)));
  return strings_equal(static_cast<const KOCHAR*>(a), static_cast<const KOCHAR*>(b));
}

// The first node from `node` to the list's last whose item has `key`, or null.
ShListNode* find_from(const ShHashTable* table, const shlistx* list, ShListNode* node,
                      const void* key) {
  for (; node; node = node == list->last ? nullptr : node->next)
    if (keys_equal(table, key_of(table, node->item), key)) return node;
  return nullptr;
}

// As find_from, leaving the list positioned on the node found (or nowhere).
void* search_from(const ShHashTable* table, shlistx* list, ShListNode* node, const void* key) {
  list->current = find_from(table, list, node, key);
  return list->current ? list->current->item : nullptr;
}

}  // namespace

extern "C" {

ShHashTable* shhash_new_arg(uint32_t bucketCount, SHHASH_KEYFUNC keyFunction, int unique,
                            int composite, KostgContext* context, KostgSubpool* pool,
                            void* argument) {
  auto* table = static_cast<ShHashTable*>(kostg_alc(context, sizeof(ShHashTable), pool));
  if (!table) return nullptr;
  auto** buckets =
      static_cast<shlistx**>(kostg_alc(context, uint64_t(bucketCount) * sizeof(shlistx*), pool));
  if (bucketCount && !buckets) {
    kostg_fee(context, table);
    return nullptr;
  }
  for (uint32_t i = 0; i < bucketCount; ++i) buckets[i] = nullptr;
  *table = ShHashTable{context,     pool, buckets, keyFunction, argument,
                       bucketCount, 0,    0,       unique != 0, composite != 0};
  return table;
}

ShHashTable* shhash_new(uint32_t bucketCount, SHHASH_KEYFUNC keyFunction, int unique, int composite,
                        KostgContext* context, KostgSubpool* pool) {
  return shhash_new_arg(bucketCount, keyFunction, unique, composite, context, pool, nullptr);
}

int shhash_insert(ShHashTable* table, void* item) {
  if (!table || table->bucket_count == 0) return 0;
  const void* key = key_of(table, item);
  uint32_t bucket = bucket_of(table, key);
  shlistx*& list = table->buckets[bucket];
  if (table->unique && list && find_from(table, list, list->first, key)) return 2;
  if (!list) list = shlist_new(table->context, table->pool);
  int result = shlist_insert(list, item);
  table->current_bucket = bucket;
  if (result == 1) ++table->item_count;
  return result;
}

void* shhash_search(ShHashTable* table, const void* key) {
  if (!table || table->bucket_count == 0) return nullptr;
  table->current_bucket = bucket_of(table, key);
  shlistx* list = table->buckets[table->current_bucket];
  return list ? search_from(table, list, list->first, key) : nullptr;
}

void* shhash_searchNext(ShHashTable* table, const void* key) {
  if (!table || table->unique || table->bucket_count == 0) return nullptr;
  shlistx* list = table->buckets[table->current_bucket];
  if (!list) return nullptr;
  ShListNode* from = list->current && list->current != list->last ? list->current->next : nullptr;
  return search_from(table, list, from, key);
}

void* shhash_search_unique(ShHashTable* table, const void* key) {
  if (!table || table->bucket_count == 0) return nullptr;
  if (table->composite) return shhash_search(table, key);
  const shlistx* list = table->buckets[bucket_of(table, key)];
  ShListNode* node = list ? find_from(table, list, list->first, key) : nullptr;
  return node ? node->item : nullptr;
}

shlistx* shhash_searchSlot(ShHashTable* table, const void* key) {
  if (!table || table->bucket_count == 0) return nullptr;
  table->current_bucket = bucket_of(table, key);
  return table->buckets[table->current_bucket];
}

void* shhash_remove(ShHashTable* table) {
  if (!table || table->bucket_count == 0) return nullptr;
  void* item = shlist_remove(table->buckets[table->current_bucket]);
  if (item) --table->item_count;
  return item;
}

ShHashTable* shhash_clear(ShHashTable* table) {
  if (!table || table->item_count == 0) return table;
  for (uint32_t i = 0; i < table->bucket_count; ++i) {
    shlist_delete(table->buckets[i]);
    table->buckets[i] = nullptr;
  }
  table->item_count = 0;
  return table;
}

void shhash_delete(ShHashTable* table) {
  if (!table) return;
  for (uint32_t i = 0; i < table->bucket_count; ++i) shlist_delete(table->buckets[i]);
  kostg_fee(table->context, table->buckets);
  kostg_fee(table->context, table);
}

}  // extern "C"

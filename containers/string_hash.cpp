/*
 * string_hash.cpp: the composite form of the hash-table key hash.
 */
#include "containers/string_hash.h"

#include "containers/list.h"

uint32_t ko::composite_hash(shlistx* key) {
  uint32_t h = 0;
  if (!key || !key->first) return 0;
  for (void* text = shlist_get_first(key); key->current; text = shlist_get_next(key))
    h = string_hash_step(h, static_cast<const KOCHAR*>(text));
  return string_hash_finish(h);
}

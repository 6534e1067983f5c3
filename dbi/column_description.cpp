/*
 * column_description.cpp: the result-set description a cache entry keeps
 * (DBI_SQLCacheRegisterDescribe, DBI_SQLCacheRequestDescribe).
 *
 * A compact record keeps a column descriptor's two texts and its twelve
 * numeric attributes, copied as one block:
 *
 *   CompactColumn            DbiColumnDescriptor
 *   name        (copy)  <->  name
 *   type_name   (copy)  <->  type_name
 *   attributes[0..11]   <->  sql_type ... key_column (12 x int32, in order)
 *
 * Expanding gives fresh zero-filled descriptors: every other field is 0.
 */
#include <koshr/dbi.h>
#include <koshr/lists.h>

#include <cstddef>
#include <cstring>

#include "dbi/context_memory.h"
#include "dbi/statement_cache.h"

namespace ko::dbi {
namespace {

constexpr size_t kAttributeCount = 12;

struct CompactColumn {
  KOCHAR* name;
  KOCHAR* type_name;
  int32_t attributes[kAttributeCount];
};

static_assert(offsetof(DbiColumnDescriptor, key_column) - offsetof(DbiColumnDescriptor, sql_type) ==
                  (kAttributeCount - 1) * sizeof(int32_t),
              "the twelve kept attributes are one block");

int32_t* attribute_block(DbiColumnDescriptor* descriptor) { return &descriptor->sql_type; }

}  // namespace

void free_description(DbiContext* context, shlistx* description) {
  if (description == nullptr) return;
  for (void* item = shlist_get_first(description); item != nullptr;
       item = shlist_get_next(description)) {
    auto* column = static_cast<CompactColumn*>(item);
    release(context, column->name);
    release(context, column->type_name);
    release(context, column);
  }
  shlist_delete(description);
}

}  // namespace ko::dbi

using namespace ko::dbi;

int32_t DBI_SQLCacheRegisterDescribe(DbiContext* context, SqlCacheEntry* entry,
                                     shlistx* descriptors) {
  if (context == nullptr || entry == nullptr || descriptors == nullptr ||
      shlist_get_count(descriptors) == 0) {
    return 0;
  }
  free_description(context, entry->description);
  entry->description = shlist_new(context->storage, context->subpool);
  for (void* item = shlist_get_first(descriptors); item != nullptr;
       item = shlist_get_next(descriptors)) {
    auto* descriptor = static_cast<DbiColumnDescriptor*>(item);
    auto* column = alloc_record<CompactColumn>(context);
    if (column == nullptr) continue;
    column->name = duplicate(context, descriptor->name);
    column->type_name = duplicate(context, descriptor->type_name);
    std::memcpy(column->attributes, attribute_block(descriptor), sizeof column->attributes);
    shlist_insert(entry->description, column);
  }
  return 0;
}

shlistx* DBI_SQLCacheRequestDescribe(DbiContext* context, SqlCacheEntry* entry) {
  if (context == nullptr || entry == nullptr || entry->description == nullptr) return nullptr;
  shlistx* descriptors = shlist_new(context->storage, context->subpool);
  for (void* item = shlist_get_first(entry->description); item != nullptr;
       item = shlist_get_next(entry->description)) {
    auto* column = static_cast<CompactColumn*>(item);
    auto* descriptor = alloc_record<DbiColumnDescriptor>(context);
    if (descriptor == nullptr) continue;
    descriptor->name = duplicate(context, column->name);
    descriptor->type_name = duplicate(context, column->type_name);
    std::memcpy(attribute_block(descriptor), column->attributes, sizeof column->attributes);
    shlist_insert(descriptors, descriptor);
  }
  return descriptors;
}

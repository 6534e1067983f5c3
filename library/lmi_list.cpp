/*
 * lmi_list.cpp: listing the entries of a library, and describing one.
 *
 * The tree is walked in order; each node's records, stored in the order they
 * were added, are sorted within the node. The result is one block: the item
 * array followed by the strings it points to.
 */
#include <koshr/library.h>

#include "library/directory.h"
#include "library/entry_name.h"
#include "library/entry_stream.h"
#include "library/listing.h"
#include "platform/utf16.h"

#include <algorithm>
#include <cstring>

using namespace ko;

namespace {

struct Collected {
  LmiLibrary* lib;
  EntryRef* refs = nullptr;
  uint32_t count = 0, capacity = 0;
  size_t units = 0;  // name units, terminators included
};

int32_t collect(void* context, CachedNode* node) {
  Collected* c = static_cast<Collected*>(context);
  uint32_t first = c->count, pos = 0;
  Record r;
  while (next_record(node->bytes, c->lib->geometry, &pos, &r)) {
    if (c->count == c->capacity) {
      uint32_t capacity = c->capacity ? c->capacity * 2 : 256;
      void* grown = c->lib->pool.grow(c->refs, sizeof(EntryRef) * capacity);
      if (!grown) return LMI_E_DISK_FULL;
      c->refs = static_cast<EntryRef*>(grown);
      c->capacity = capacity;
    }
    c->refs[c->count++] = {node, pos};
    c->units += u16nlen(r.name, r.name_units) + 1;
  }
  std::sort(c->refs + first, c->refs + c->count, [](const EntryRef& a, const EntryRef& b) {
    return compare_names_exact(a.name(), a.name_units(), b.name(), b.name_units()) < 0;
  });
  return 0;
}

KOCHAR* copy_text(KOCHAR* to, const KOCHAR* text, size_t units) {
  std::memcpy(to, text, 2 * units);
  to[units] = 0;
  return to + units + 1;
}

}  // namespace

namespace ko {

int32_t collect_entries(LmiLibrary* lib, EntryRef** refs, uint32_t* count, size_t* name_units) {
  Collected c{lib};
  int32_t rc = directory_walk(lib, &collect, &c);
  if (rc) {
    lib->pool.free(c.refs);
    return rc;
  }
  *refs = c.refs;
  *count = c.count;
  *name_units = c.units;
  return 0;
}

int32_t describe_entry(LmiLibrary* lib, const EntryRef& e, LMI_ENTRY_INFO_EX* info) {
  copy_text(info->name, e.name(),
            u16nlen(e.name(), e.name_units() < LMI_MAX_NAME ? e.name_units() : LMI_MAX_NAME));
  e.version(info->version);
  info->timeStamp = e.time();
  info->objectSize = e.object_size();
  info->dataSize = e.length();
  info->commentLength = e.comment_length();
  return read_comment(lib, e, LMI_MAX_COMMENT, info->comment);
}

int32_t list_entries(LmiLibrary* lib, const PoolRef& pool, bool extended, LMI_LIST_ITEM** items) {
  *items = nullptr;
  if (lib->entry.state != EntryState::kNone) return LMI_E_BUSY;
  EntryRef* refs = nullptr;
  uint32_t count = 0;
  size_t units = 0;
  int32_t rc = collect_entries(lib, &refs, &count, &units);
  if (rc) return rc;
  if (extended) units += size_t(count) * (LMI_MAX_COMMENT + 1);
  size_t bytes = sizeof(LMI_LIST_ITEM) * count + 2 * units + 2;
  LMI_LIST_ITEM* out = static_cast<LMI_LIST_ITEM*>(pool.alloc(bytes));
  if (!out) rc = LMI_E_DISK_FULL;
  KOCHAR* text = out ? reinterpret_cast<KOCHAR*>(out + count) : nullptr;
  for (uint32_t i = 0; rc == 0 && i < count; ++i) {
    const EntryRef& e = refs[i];
    LMI_LIST_ITEM& item = out[i];
    item.name = text;
    text = copy_text(text, e.name(), u16nlen(e.name(), e.name_units()));
    item.comment = nullptr;
    item.timeStamp = e.time();
    item.objectSize = e.object_size();
    item.dataSize = e.length();
    item.commentLength = e.comment_length();
    e.version(item.version);
    if (extended) {
      item.comment = text;
      rc = read_comment(lib, e, LMI_MAX_COMMENT, text);
      text += u16len(text) + 1;
    }
  }
  lib->pool.free(refs);
  if (rc) {
    pool.free(out);
    return rc;
  }
  *items = out;
  return int32_t(count);
}

}  // namespace ko

namespace {

int32_t list(LMI_HANDLE library, KostgContext* pool, LMI_LIST_ITEM** items, bool extended) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!items) return LMI_E_NO_RESULT;
  if (!pool) return LMI_E_NO_POOL;
  return list_entries(library, PoolRef{pool, nullptr}, extended, items);
}

}  // namespace

KOSHR_API int32_t LMI_ListEntries(LMI_HANDLE library, KostgContext* pool, LMI_LIST_ITEM** items) {
  return list(library, pool, items, false);
}

KOSHR_API int32_t LMI_ListEntriesExtended(LMI_HANDLE library, KostgContext* pool,
                                          LMI_LIST_ITEM** items) {
  return list(library, pool, items, true);
}

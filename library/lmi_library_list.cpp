/*
 * lmi_library_list.cpp: the process-wide list of libraries that entries are
 * looked up in, first library first, and the cache of where each name was
 * found.
 *
 * LMI_SynchronizeLibraryList replaces the list and empties the cache;
 * LMI_LocateEntry answers from the cache or searches the libraries in order
 * and remembers the answer; LMI_RemoveLibraryHashEntry forgets one name's
 * answer (after the entry was added or removed somewhere). Calls are
 * serialised by the process lock.
 */
#include <koshr/hashtable.h>
#include <koshr/library.h>

#include "library/directory.h"
#include "library/entry_name.h"
#include "library/handle_lifecycle.h"
#include "platform/lifecycle.h"
#include "platform/platform.h"
#include "platform/utf16.h"

namespace {

struct Located {
  KOCHAR name[LMI_MAX_NAME + 1];
  int32_t index;
};

struct LibraryList {
  KostgContext* context = nullptr;
  KostgSubpool* pool = nullptr;  // the paths and cache of the current list
  KOCHAR** paths = nullptr;
  uint32_t count = 0;
  ShHashTable* cache = nullptr;
};

LibraryList& the_list() {
  static LibraryList list;
  return list;
}

const void* located_name(void* item, void*) { return static_cast<Located*>(item)->name; }

void end_list() {
  LibraryList& list = the_list();
  if (list.context) kostg_end(list.context);
  list = LibraryList{};
}

KO_SUBSYSTEM(library_list, 60, nullptr, &end_list);

struct ProcessLock {
  ProcessLock() { ko::os::process_lock(); }
  ~ProcessLock() { ko::os::process_unlock(); }
};

// The index of the first library holding the name, or -12.
int32_t search_libraries(const LibraryList& list, const KOCHAR* name) {
  for (uint32_t i = 0; i < list.count; ++i) {
    LmiLibrary* lib = ko::open_handle(list.context, list.paths[i], LMI_MODE_READ, 0);
    if (!lib) continue;
    ko::EntryRef e;
    int32_t rc = ko::find_entry(lib, name, &e);
    ko::close_handle(lib);
    if (rc == 0) return int32_t(i);
  }
  return LMI_E_NOT_FOUND;
}

}  // namespace

KOSHR_API int32_t LMI_SynchronizeLibraryList(KostgContext* pool, const KOCHAR* const* paths,
                                             uint32_t count) {
  if (!pool) return LMI_E_NO_POOL;
  if (!paths && count) return LMI_E_NAME;
  ProcessLock lock;
  LibraryList& list = the_list();
  if (!list.context && !(list.context = kostg_begin(0))) return LMI_E_DISK_FULL;
  if (list.pool) kostg_free_pool(list.context, list.pool);
  list.pool = kostg_new_pool(list.context);
  list.count = 0;
  list.cache = list.pool ? shhash_new(251, &located_name, 1, 0, list.context, list.pool) : nullptr;
  list.paths =
      list.pool
          ? static_cast<KOCHAR**>(kostg_alc(list.context, sizeof(KOCHAR*) * (count + 1), list.pool))
          : nullptr;
  if (!list.cache || !list.paths) return LMI_E_DISK_FULL;
  for (uint32_t i = 0; i < count; ++i) {
    if (!paths[i]) return LMI_E_NAME;
    size_t units = ko::u16len(paths[i]);
    KOCHAR* copy = static_cast<KOCHAR*>(kostg_alc(list.context, 2 * (units + 1), list.pool));
    if (!copy) return LMI_E_DISK_FULL;
    ko::u16cpy(copy, paths[i]);
    list.paths[list.count++] = copy;
  }
  return LMI_OK;
}

KOSHR_API int32_t LMI_LocateEntry(KOCHAR* name) {
  if (!ko::name_is_valid(name)) return LMI_E_NAME;
  ko::lower_name_in_place(name);
  ProcessLock lock;
  LibraryList& list = the_list();
  if (!list.cache) return LMI_E_NOT_FOUND;
  if (Located* known = static_cast<Located*>(shhash_search(list.cache, name))) return known->index;
  int32_t index = search_libraries(list, name);
  Located* entry = static_cast<Located*>(kostg_alc(list.context, sizeof(Located), list.pool));
  if (entry) {
    ko::u16lcpy(entry->name, name, LMI_MAX_NAME + 1);
    entry->index = index;
    shhash_insert(list.cache, entry);
  }
  return index;
}

KOSHR_API int32_t LMI_RemoveLibraryHashEntry(KOCHAR* name) {
  if (!ko::name_is_valid(name)) return LMI_E_NAME;
  ko::lower_name_in_place(name);
  ProcessLock lock;
  LibraryList& list = the_list();
  if (!list.cache || !shhash_search(list.cache, name)) return LMI_E_NOT_FOUND;
  kostg_fee(list.context, shhash_remove(list.cache));
  return LMI_OK;
}

/*
 * lmi_entry_ops.cpp: deleting, copying, moving and changing entries, their
 * extended information and their version field.
 */
#include <koshr/library.h>

#include "library/commit.h"
#include "library/directory.h"
#include "library/entry_name.h"
#include "library/listing.h"
#include "platform/byte_order.h"
#include "platform/utf16.h"

#include <cstring>

using namespace ko;

namespace {

// The checks every operation on a named entry starts with.
int32_t usable(LMI_HANDLE library, KOCHAR* name, bool writes) {
  if (!library) return LMI_E_NO_HANDLE;
  if (library->entry.state != EntryState::kNone) return LMI_E_BUSY;
  if (!name_is_valid(name)) return LMI_E_NAME;
  if (writes && library->mode == LMI_MODE_READ) return LMI_E_FORBIDDEN;
  lower_name_in_place(name);
  return 0;
}

bool valid_version(const KOCHAR* version) {
  for (int i = 0; i < 4; ++i) {
    if (!ascii_is_digit(version[i])) return false;
  }
  return version[4] == 0;
}

// Copies the comment and object of the open entry of `from` into `to`'s entry `name`.
int32_t copy_stream(LMI_HANDLE from, LMI_HANDLE to, KOCHAR* name) {
  KOCHAR comment[LMI_MAX_COMMENT + 1];
  u16lcpy(comment, from->comment, LMI_MAX_COMMENT + 1);
  int32_t rc = LMI_OpenEntry(to, name, LMI_ENTRY_WRITE, comment);
  if (rc) return rc;
  uint8_t chunk[8192];
  int32_t got;
  while ((got = LMI_ReadEntry(from, chunk, sizeof chunk)) > 0) {
    int32_t put = LMI_WriteEntry(to, chunk, uint32_t(got));
    if (put < 0) {
      got = put;
      break;
    }
  }
  int32_t closed = LMI_CloseEntry(to);
  return got < 0 ? got : closed;
}

}  // namespace

KOSHR_API int32_t LMI_DeleteEntry(LMI_HANDLE library, KOCHAR* name) {
  int32_t rc = usable(library, name, true);
  if (rc) return rc;
  SearchResult found;
  if ((rc = directory_search(library, name, &found)) != 0) return rc;
  if (found.landing != Landing::kFound) return LMI_E_NOT_FOUND;
  EntryRef e{found.node, found.record};
  uint32_t start = e.start(), length = e.length();
  if ((rc = directory_remove(library, found)) != 0) return rc;
  // Only once the record is gone may its chain go; a malformed chain is left
  // where it is rather than half given back.
  release_chain_later(library, start, length);
  return commit_if_due(library);
}

KOSHR_API int32_t LMI_CopyEntry(LMI_HANDLE from, KOCHAR* name, LMI_HANDLE to, KOCHAR* newName) {
  if (!from || !to) return LMI_E_NO_HANDLE;
  if (!name_is_valid(name) || (newName && !name_is_valid(newName))) return LMI_E_NAME;
  KOCHAR target[LMI_MAX_NAME + 1];
  u16lcpy(target, newName ? newName : name, LMI_MAX_NAME + 1);
  if (to->mode == LMI_MODE_READ) return LMI_E_FORBIDDEN;
  if (to->entry.state != EntryState::kNone) return LMI_E_BUSY;
  lower_name_in_place(target);
  lower_name_in_place(name);
  if (from == to && compare_name_exact(name, target, LMI_MAX_NAME + 1) == 0) return LMI_OK;
  // Within one library the source is read whole first: one entry open at a time.
  if (from == to) {
    LMI_ENTRY_INFO info;
    int32_t rc = LMI_EntryInformation(from, name, &info);
    if (rc) return rc;
    uint8_t* object = static_cast<uint8_t*>(from->pool.alloc(info.objectSize + 1));
    if (!object) return LMI_E_DISK_FULL;
    if ((rc = LMI_OpenEntry(from, name, LMI_ENTRY_READ, nullptr)) == 0) {
      KOCHAR comment[LMI_MAX_COMMENT + 1];
      u16lcpy(comment, from->comment, LMI_MAX_COMMENT + 1);
      int32_t got = LMI_ReadEntry(from, object, info.objectSize);
      LMI_CloseEntry(from);
      rc = got < 0 ? got : LMI_OpenEntry(to, target, LMI_ENTRY_WRITE, comment);
      if (rc == 0) {
        int32_t put = got ? LMI_WriteEntry(to, object, uint32_t(got)) : 0;
        int32_t closed = LMI_CloseEntry(to);
        rc = put < 0 ? put : closed;
      }
    }
    from->pool.free(object);
    return rc;
  }
  int32_t rc = LMI_OpenEntry(from, name, LMI_ENTRY_READ, nullptr);
  if (rc) return rc;
  rc = copy_stream(from, to, target);
  LMI_CloseEntry(from);
  return rc;
}

KOSHR_API int32_t LMI_CopyEntrySequential(LMI_HANDLE from, LMI_HANDLE to, KOCHAR** names, uint32_t count) {
  if (!from || !to) return LMI_E_NO_HANDLE;
  if (names) {
    for (uint32_t i = 0; i < count; ++i) {
      int32_t rc = LMI_CopyEntry(from, names[i], to, nullptr);
      if (rc) return rc;
    }
    return int32_t(count);
  }
  LMI_LIST_ITEM* items = nullptr;
  int32_t listed = list_entries(from, from->pool, false, &items);
  if (listed < 0) return listed;
  int32_t rc = 0;
  for (int32_t i = 0; i < listed && rc == 0; ++i) {
    KOCHAR name[LMI_MAX_NAME + 1];
    u16lcpy(name, items[i].name, LMI_MAX_NAME + 1);
    rc = LMI_CopyEntry(from, name, to, nullptr);
  }
  from->pool.free(items);
  return rc ? rc : listed;
}

KOSHR_API int32_t LMI_MoveEntry(LMI_HANDLE from, KOCHAR* name, LMI_HANDLE to, KOCHAR* newName) {
  if (!from || !to) return LMI_E_NO_HANDLE;
  if (!name_is_valid(name) || (newName && !name_is_valid(newName))) return LMI_E_NAME;
  if (from->mode == LMI_MODE_READ) return LMI_E_FORBIDDEN;
  lower_name_in_place(name);
  KOCHAR target[LMI_MAX_NAME + 1];
  u16lcpy(target, newName ? newName : name, LMI_MAX_NAME + 1);
  lower_name_in_place(target);
  if (from == to && compare_name_exact(name, target, LMI_MAX_NAME + 1) == 0) return LMI_OK;
  int32_t rc = LMI_CopyEntry(from, name, to, target);
  return rc ? rc : LMI_DeleteEntry(from, name);
}

KOSHR_API int32_t LMI_ModifyEntry(LMI_HANDLE library, KOCHAR* name, const KOCHAR* comment) {
  int32_t rc = usable(library, name, true);
  if (rc) return rc;
  if (!comment) return LMI_E_NAME;
  LMI_ENTRY_INFO info;
  if ((rc = LMI_EntryInformation(library, name, &info)) != 0) return rc;
  uint8_t* object = static_cast<uint8_t*>(library->pool.alloc(info.objectSize + 1));
  if (!object) return LMI_E_DISK_FULL;
  int32_t got = LMI_OpenEntry(library, name, LMI_ENTRY_READ, nullptr);
  if (got == 0) {
    got = LMI_ReadEntry(library, object, info.objectSize);
    LMI_CloseEntry(library);
  }
  // An empty comment would keep the old one: a blank stands in and trims away.
  rc = got < 0 ? got : LMI_OpenEntry(library, name, LMI_ENTRY_WRITE, *comment ? comment : u" ");
  if (rc == 0) {
    int32_t put = got ? LMI_WriteEntry(library, object, uint32_t(got)) : 0;
    int32_t closed = LMI_CloseEntry(library);
    rc = put < 0 ? put : closed;
  }
  library->pool.free(object);
  return rc;
}

KOSHR_API int32_t LMI_EntryInfoExtended(LMI_HANDLE library, KOCHAR* name, LMI_ENTRY_INFO_EX* info) {
  if (!info) return library ? LMI_E_NO_RESULT : LMI_E_NO_HANDLE;
  int32_t rc = usable(library, name, false);
  if (rc) return rc;
  EntryRef e;
  if ((rc = find_entry(library, name, &e)) != 0) return rc;
  return describe_entry(library, e, info);
}

KOSHR_API int32_t LMI_SetEntryVersion(LMI_HANDLE library, KOCHAR* name, const KOCHAR* version) {
  int32_t rc = usable(library, name, true);
  if (rc) return rc;
  if (!version || !valid_version(version)) return LMI_E_NAME;
  EntryRef e;
  if ((rc = find_entry(library, name, &e)) != 0) return rc;
  for (int i = 0; i < 4; ++i) store_le16(e.bytes() + kRecordVersion + 2 * i, version[i]);
  touch_record(library->nodes, e);
  return commit_if_due(library);
}

KOSHR_API int32_t LMI_SetEntryVersionList(LMI_HANDLE library, KOCHAR** names, uint32_t count,
                                          const KOCHAR* version) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!names && count) return LMI_E_NAME;
  for (uint32_t i = 0; i < count; ++i) {
    int32_t rc = LMI_SetEntryVersion(library, names[i], version);
    if (rc) return rc;
  }
  return int32_t(count);
}

KOSHR_API int32_t LMI_GetEntryVersion(LMI_HANDLE library, KOCHAR* name, KOCHAR* version) {
  if (!version) return library ? LMI_E_NO_RESULT : LMI_E_NO_HANDLE;
  int32_t rc = usable(library, name, false);
  if (rc) return rc;
  EntryRef e;
  if ((rc = find_entry(library, name, &e)) != 0) return rc;
  e.version(version);
  return LMI_OK;
}

KOSHR_API int32_t LMI_DeleteEntryVersion(LMI_HANDLE library, KOCHAR* name) {
  return LMI_SetEntryVersion(library, name, kFormatVersion);
}

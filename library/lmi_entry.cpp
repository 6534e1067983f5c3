/*
 * lmi_entry.cpp: opening, reading, writing and closing entries, and the
 * look-ups that leave no entry open.
 */
#include <koshr/library.h>

#include "library/commit.h"
#include "library/directory.h"
#include "library/entry_name.h"
#include "library/entry_stream.h"
#include "library/handle_lifecycle.h"
#include "platform/byte_order.h"
#include "platform/platform.h"
#include "platform/utf16.h"

#include <cstring>

using namespace ko;

namespace {

// The caller's comment trimmed of blanks at both ends and cut to 256 characters.
void take_comment(LmiLibrary* lib, const KOCHAR* comment) {
  while (*comment && os::char_is_space(*comment)) ++comment;
  size_t length = u16nlen(comment, 4096);
  while (length && os::char_is_space(comment[length - 1])) --length;
  if (length > LMI_MAX_COMMENT) length = LMI_MAX_COMMENT;
  std::memcpy(lib->comment, comment, 2 * length);
  lib->comment[length] = 0;
}

int32_t open_for_reading(LmiLibrary* lib, const KOCHAR* name) {
  EntryRef e;
  int32_t rc = find_entry(lib, name, &e);
  if (rc) return rc;
  if (e.comment_length()) {
    if ((rc = read_comment(lib, e, LMI_MAX_COMMENT, lib->comment)) != 0) return rc;
    if (e.comment_length() > LMI_MAX_COMMENT &&
        (rc = lib->reader.skip(2u * (e.comment_length() - LMI_MAX_COMMENT))) < 0)
      return rc;
  } else {
    lib->comment[0] = 0;
    if ((rc = begin_reading(lib, e)) != 0) return rc;
  }
  lib->entry = OpenEntry{};
  lib->entry.state = EntryState::kRead;
  lib->entry.node = e.node;
  lib->entry.record = e.pos;
  return 0;
}

int32_t open_for_writing(LmiLibrary* lib, const KOCHAR* name, const KOCHAR* comment) {
  lib->comment[0] = 0;
  OpenEntry& open = lib->entry;
  open = OpenEntry{};
  EntryRef e;
  uint32_t now = seconds_since_1970();
  SearchResult searched;
  int32_t rc = directory_search(lib, name, &searched);
  if (rc == 0 && searched.landing != Landing::kFound) rc = LMI_E_NOT_FOUND;
  if (rc == 0) {
    e = {searched.node, searched.record};
    if (e.comment_length() && (rc = read_comment(lib, e, LMI_MAX_LIB_COMMENT, lib->comment)) != 0) return rc;
    // The old chain stays until the new one is in place (CloseEntry).
    std::memcpy(open.saved_record, e.bytes(), sizeof open.saved_record);
    open.old_start = e.start();
    open.old_length = e.length();
    store_le32(e.bytes() + kRecordStart, 0);
    store_le32(e.bytes() + kRecordLength, 0);
    store_le32(e.bytes() + kRecordTime, now);
  } else if (rc == LMI_E_NOT_FOUND) {
    SearchResult placed;
    if ((rc = directory_insert(lib, name, now, searched, &placed)) != 0) return rc;
    e = {placed.node, placed.record};
    open.is_new = true;
  } else {
    return rc;
  }
  if (comment && *comment) take_comment(lib, comment);
  open.state = EntryState::kWrite;
  open.node = e.node;
  open.record = e.pos;
  lib->writer.begin_stream();
  uint32_t units = uint32_t(u16len(lib->comment));
  open.failure = lib->writer.write(reinterpret_cast<const uint8_t*>(lib->comment), 2 * units, lib->bitmap);
  store_le16(e.bytes() + kRecordCommentLength, uint16_t(open.failure ? 0 : units));
  return 0;
}

// Puts the record back as it was when the entry was opened.
void undo_open(LmiLibrary* lib) {
  OpenEntry& open = lib->entry;
  lib->writer.abandon_stream(lib->bitmap);
  if (open.is_new) {
    remove_record(open.node->bytes, lib->geometry, open.record);
    NodeCache::drop_keys(open.node);
    lib->nodes.touch(open.node, false);
  } else {
    std::memcpy(open.node->bytes + open.record, open.saved_record, sizeof open.saved_record);
  }
}

int32_t finish_writing(LmiLibrary* lib) {
  OpenEntry& open = lib->entry;
  EntryRef e{open.node, open.record};
  uint32_t first = 0;
  int32_t rc = open.failure;
  if (!rc) rc = lib->writer.finish_stream(lib->bitmap, &first);
  if (rc) {
    undo_open(lib);
    return rc;
  }
  store_le32(e.bytes() + kRecordStart, first);
  store_le32(e.bytes() + kRecordLength, lib->writer.stream_bytes());
  touch_record(lib->nodes, e);
  // A malformed old chain is left where it is: its blocks stay marked.
  if (open.old_start) release_chain_later(lib, open.old_start, open.old_length);
  return commit_if_due(lib);
}

}  // namespace

KOSHR_API int32_t LMI_OpenEntry(LMI_HANDLE library, KOCHAR* name, int mode, const KOCHAR* comment) {
  if (!library) return LMI_E_NO_HANDLE;
  if (library->entry.state != EntryState::kNone) return LMI_E_BUSY;
  if (!name_is_valid(name)) return LMI_E_NAME;
  if (mode != LMI_ENTRY_READ && mode != LMI_ENTRY_WRITE) return LMI_E_MODE;
  if (mode == LMI_ENTRY_WRITE && library->mode == LMI_MODE_READ) return LMI_E_FORBIDDEN;
  if (mode == LMI_ENTRY_READ && library->mode == LMI_MODE_HEADER) return LMI_E_READ_IN_MODE3;
  lower_name_in_place(name);
  if (mode == LMI_ENTRY_READ) return open_for_reading(library, name);
  return open_for_writing(library, name, comment);
}

KOSHR_API int32_t LMI_ReadEntry(LMI_HANDLE library, void* buffer, uint32_t count) {
  if (!library) return LMI_E_NO_HANDLE;
  if (library->entry.state != EntryState::kRead) return LMI_E_NOT_OPEN;
  if (!buffer && count) return LMI_E_NO_RESULT;
  if (count > 0x7FFFFFFF) count = 0x7FFFFFFF;
  return library->reader.read(buffer, count);
}

KOSHR_API int32_t LMI_WriteEntry(LMI_HANDLE library, const void* buffer, uint32_t count) {
  if (!library) return LMI_E_NO_HANDLE;
  OpenEntry& open = library->entry;
  if (open.state != EntryState::kWrite) return LMI_E_NOT_OPEN;
  if (!buffer && count) return LMI_E_NO_RESULT;
  if (open.failure) return open.failure;
  if (count > 0x7FFFFFFF || uint64_t(library->writer.stream_bytes()) + count > 0xFFFFFFFFu) return LMI_E_DISK_FULL;
  open.failure = library->writer.write(static_cast<const uint8_t*>(buffer), count, library->bitmap);
  return open.failure ? open.failure : int32_t(count);
}

KOSHR_API int32_t LMI_CloseEntry(LMI_HANDLE library) {
  if (!library) return LMI_E_NO_HANDLE;
  EntryState state = library->entry.state;
  if (state == EntryState::kNone) return LMI_E_READ_IN_MODE3;
  int32_t rc = state == EntryState::kWrite ? finish_writing(library) : 0;
  library->entry = OpenEntry{};
  return rc;
}

KOSHR_API int32_t LMI_FindEntry(KostgContext* pool, KOCHAR* name, const KOCHAR* path) {
  if (!path || !library_path_fits(path)) return LMI_E_NAME;
  LmiLibrary* lib = open_handle(pool, path, LMI_MODE_READ, 0);
  if (!lib) return LMI_E_NO_HANDLE;
  int32_t rc = LMI_E_NAME;
  if (name_is_valid(name)) {
    lower_name_in_place(name);
    EntryRef e;
    rc = find_entry(lib, name, &e) == 0 ? LMI_OK : LMI_E_IO;
  }
  close_handle(lib);
  return rc;
}

KOSHR_API int32_t LMI_EntryExists(LMI_HANDLE library, KOCHAR* name) {
  if (!library) return LMI_E_NO_HANDLE;
  if (library->entry.state != EntryState::kNone) return LMI_E_BUSY;
  if (!name_is_valid(name)) return LMI_E_NAME;
  lower_name_in_place(name);
  EntryRef e;
  int32_t rc = find_entry(library, name, &e);
  return rc == 0 ? LMI_OK : rc == LMI_E_IO ? LMI_E_IO : LMI_E_NOT_FOUND;
}

KOSHR_API int32_t LMI_EntryInformation(LMI_HANDLE library, KOCHAR* name, LMI_ENTRY_INFO* info) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!name_is_valid(name)) return LMI_E_NAME;
  if (!info) return LMI_E_NO_RESULT;
  EntryRef e;
  if (library->entry.state != EntryState::kNone) {
    e = {library->entry.node, library->entry.record};
    if (compare_name_nocase(name, e.name(), e.name_units()) != 0) return LMI_E_BUSY;
  } else {
    lower_name_in_place(name);
    int32_t rc = find_entry(library, name, &e);
    if (rc) return rc == LMI_E_IO ? LMI_E_IO : LMI_E_NOT_FOUND;
  }
  info->timeStamp = e.time();
  info->objectSize = e.object_size();
  info->name = e.name();
  return LMI_OK;
}

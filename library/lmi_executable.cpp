/*
 * lmi_executable.cpp: executables that carry a library, and resource files
 * stored as entries.
 *
 * An executable is built by copying a stub (LMI_CreateExecutable), appending
 * a fresh library at its next block boundary (LMI_AppendExecutable, which
 * hands back a handle open for writing on it), filling that library through
 * the usual entry operations, and closing it (LMI_CloseExecutable), which
 * leaves the "TRL*" trailer as the file's last block.
 */
#include <koshr/library.h>

#include "library/block_io.h"
#include "library/exe_trailer.h"
#include "library/handle_lifecycle.h"
#include "library/header.h"
#include "library/node.h"
#include "platform/utf16.h"

#include <cstring>

using namespace ko;

namespace {

constexpr size_t kCopyChunk = 65536;

// Copies a whole file; false on any failure.
bool copy_file(const KOCHAR* from, os::FileHandle to) {
  os::FileHandle in = os::file_open(from, os::kFileRead);
  if (in == os::kInvalidFile) return false;
  static_assert(kCopyChunk % kBlockSize == 0, "whole blocks");
  uint8_t buffer[kCopyChunk];
  uint64_t at = 0;
  bool ok = true;
  for (int64_t got; ok && (got = os::file_read_at(in, buffer, kCopyChunk, at)) != 0; at += uint64_t(got)) {
    ok = got > 0 && library_write(to, buffer, size_t(got), at) == 0;
  }
  os::file_close(in);
  return ok;
}

const KOCHAR* file_name_of(const KOCHAR* path) {
  const KOCHAR* name = path;
  for (const KOCHAR* p = path; *p; ++p) {
    if (*p == u'/' || *p == u'\\') name = p + 1;
  }
  return name;
}

}  // namespace

KOSHR_API int32_t LMI_CreateExecutable(KostgContext* pool, const KOCHAR* exePath, const KOCHAR* stubPath) {
  if (!pool) return LMI_E_NO_POOL;
  if (!exePath) return LMI_E_NAME;
  if (os::file_exists(exePath)) return LMI_E_EXISTS;
  os::FileHandle out = os::file_open(exePath, os::kFileRead | os::kFileWrite | os::kFileCreate);
  if (out == os::kInvalidFile) return LMI_E_CREATE_FAILED;
  bool ok = !stubPath || copy_file(stubPath, out);
  os::file_close(out);
  if (!ok) {
    os::file_delete(exePath);
    return LMI_E_CREATE_FAILED;
  }
  return LMI_OK;
}

KOSHR_API LMI_HANDLE LMI_AppendExecutable(KostgContext* pool, const KOCHAR* exePath, const KOCHAR* comment) {
  if (!pool || !exePath) return nullptr;
  os::FileHandle file = os::file_open(exePath, os::kFileRead | os::kFileWrite);
  if (file == os::kInvalidFile) return nullptr;
  LibraryPlace place = locate_library(file);
  bool ok = true;
  if (!place.has_trailer) {
    // A fresh library at the next block boundary, then the trailer naming it.
    // A certificate table goes first: the signature cannot cover what follows,
    // and the trailer must be the file's last block.
    if (place.certificates && place.certificate_entry) {
      int64_t end = place.file_size - int64_t(place.certificates);
      place.trailer_offset = uint32_t(end);
      ok = end >= 0 && end < 0xFFFFFFFFll && cut_back_to_trailer(file, place) == 0;
    }
    int64_t size = os::file_size(file);
    uint32_t base = uint32_t((size + kBlockSize - 1) / kBlockSize * kBlockSize);
    uint8_t head[kRootOffset];
    build_new_header(head, LMI_TYPE_COMPILED, comment, seconds_since_1970());
    uint8_t root[3072];
    init_node(root, geometry_for_version(head + kHeaderVersion), 0);
    uint8_t trailer[kBlockSize];
    build_trailer(trailer, base);
    ok = ok && size >= 0 && uint64_t(base) + kHeaderBufferSize + kBlockSize < 0xFFFFFFFFu &&
         library_write(file, head, sizeof head, base) == 0 &&
         library_write(file, root, sizeof root, base + kRootOffset) == 0 &&
         library_write(file, trailer, sizeof trailer, base + kHeaderBufferSize) == 0;
  }
  os::file_close(file);
  return ok ? open_handle(pool, exePath, LMI_MODE_READWRITE, 0) : nullptr;
}

KOSHR_API int32_t LMI_CloseExecutable(LMI_HANDLE library) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!library->in_host) return LMI_E_FORBIDDEN;
  return close_handle(library);
}

KOSHR_API int32_t LMI_CopyResourceFiles(LMI_HANDLE library, const KOCHAR* const* files, uint32_t count) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!files && count) return LMI_E_NAME;
  uint8_t* buffer = static_cast<uint8_t*>(library->pool.alloc(kCopyChunk));
  if (!buffer) return LMI_E_DISK_FULL;
  int32_t rc = 0;
  for (uint32_t i = 0; i < count && rc == 0; ++i) {
    os::FileHandle in = files[i] ? os::file_open(files[i], os::kFileRead) : os::kInvalidFile;
    if (in == os::kInvalidFile) {
      rc = files[i] ? LMI_E_IO : LMI_E_NAME;
      break;
    }
    KOCHAR name[LMI_MAX_NAME + 1];
    u16lcpy(name, file_name_of(files[i]), LMI_MAX_NAME + 1);
    rc = LMI_OpenEntry(library, name, LMI_ENTRY_WRITE, nullptr);
    if (rc == 0) {
      uint64_t at = 0;
      for (int64_t got; rc >= 0 && (got = os::file_read_at(in, buffer, kCopyChunk, at)) != 0; at += uint64_t(got))
        rc = got < 0 ? LMI_E_IO : LMI_WriteEntry(library, buffer, uint32_t(got));
      int32_t closed = LMI_CloseEntry(library);
      rc = rc < 0 ? rc : closed;
    }
    os::file_close(in);
  }
  library->pool.free(buffer);
  return rc ? rc : int32_t(count);
}

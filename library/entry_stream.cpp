/*
 * entry_stream.cpp: the reader's start on an entry, and its comment.
 */
#include "library/entry_stream.h"

#include "library/handle_lifecycle.h"

namespace ko {

int32_t begin_reading(LmiLibrary* lib, const EntryRef& e) {
  if (lib->mode != LMI_MODE_READ) {
    int32_t rc = lib->writer.flush();
    if (rc) return rc;
    refresh_file_size(lib);
  }
  lib->reader.begin(e.start(), e.length());
  return 0;
}

int32_t read_comment(LmiLibrary* lib, const EntryRef& e, uint32_t max, KOCHAR* out) {
  out[0] = 0;
  uint32_t units = e.comment_length() < max ? e.comment_length() : max;
  int32_t rc = begin_reading(lib, e);
  if (rc) return rc;
  int32_t got = lib->reader.read(out, 2 * units);
  if (got < 0) return got;
  out[got / 2] = 0;
  return 0;
}

}  // namespace ko

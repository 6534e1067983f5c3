/*
 * entry_stream.h: starting to read an entry's stream through the handle's
 * reader, and reading the comment at its head.
 */
#ifndef KOSHR_LIBRARY_ENTRY_STREAM_H
#define KOSHR_LIBRARY_ENTRY_STREAM_H

#include "library/entry_record.h"
#include "library/library_handle.h"

namespace ko {

// Data still in the write buffer goes out first, so that what was written
// through this handle reads back.
int32_t begin_reading(LmiLibrary* lib, const EntryRef& e);
// Reads up to `max` comment characters into `out` (max + 1 units); the
// reader is left behind them.
int32_t read_comment(LmiLibrary* lib, const EntryRef& e, uint32_t max, KOCHAR* out);

}  // namespace ko

#endif

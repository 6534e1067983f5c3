/*
 * context_support.h: the small operations every part of the database
 * interface performs on a connection context: allocating from its pool,
 * copying and releasing its strings (texts that may hold passwords are
 * zeroed first), raising an interface error and calling the driver.
 */
#ifndef KOSHR_DBI_CONTEXT_SUPPORT_H
#define KOSHR_DBI_CONTEXT_SUPPORT_H

#include <koshr/dbi.h>

#include <cstddef>

namespace ko::dbi {

// Blanks of SQL and DBParm text: tab, line feed, carriage return, space.
inline bool is_blank(KOCHAR c) { return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r'; }

// Zero-filled memory from the connection's pool; null when it fails.
void* alloc_zeroed(DbiContext* context, size_t size);
template <typename T>
T* alloc_record(DbiContext* context) {
  return static_cast<T*>(alloc_zeroed(context, sizeof(T)));
}
// A pool copy of `text` (null gives null).
KOCHAR* duplicate(DbiContext* context, const KOCHAR* text);
KOCHAR* duplicate(DbiContext* context, const KOCHAR* text, size_t length);
void release(DbiContext* context, void* block);
// Overwrites a text with zeros over its whole length, then frees it.
void release_secret(DbiContext* context, KOCHAR* text);
// Zeroes memory in a way the compiler keeps.
void wipe(void* memory, size_t size);

// Formats the message of `key` with `argument` into the message buffer and
// sets return code 999 and SQL code -1.
void raise_error(DbiContext* context, const char* key, const KOCHAR* argument);

// Writes the operation code and calls the driver: the loaded entry, or the
// runtime's in-process driver for "ADO.Net" names. Nothing happens without
// either.
void call_driver(DbiContext* context, int32_t operation);
// Whether a DBMS name is served in-process ("ADO.Net" or "ADO.NET").
bool is_in_process(const KOCHAR* dbms);

// The shared services a driver gets through context->services.
const DbiServices* driver_services();

}  // namespace ko::dbi

#endif

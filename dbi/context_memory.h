/*
 * context_memory.h: memory and strings from a connection context's pool;
 * texts that may hold passwords are zeroed before they go back.
 */
#ifndef KOSHR_DBI_CONTEXT_MEMORY_H
#define KOSHR_DBI_CONTEXT_MEMORY_H

#include <koshr/dbi.h>

#include <cstddef>

namespace ko::dbi {

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

}  // namespace ko::dbi

#endif

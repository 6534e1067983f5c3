/*
 * string_hash.h: the rotate-and-XOR hash of hash-table keys.
 */
#ifndef KOSHR_CONTAINERS_STRING_HASH_H
#define KOSHR_CONTAINERS_STRING_HASH_H

#include <koshr/lists.h>

namespace ko {

// The running hash of one more string: per UTF-16 unit, rotate left by one
// bit, then XOR the unit in. A null string adds nothing.
inline uint32_t string_hash_step(uint32_t h, const KOCHAR* text) {
  if (text)
    for (; *text; ++text) h = ((h << 1) | (h >> 31)) ^ *text;
  return h;
}

// The final steps: a negative value (as signed 32-bit) is negated, and the
// one value negation leaves negative, 0x80000000, becomes 0.
inline uint32_t string_hash_finish(uint32_t h) {
  if (h & 0x80000000u) h = 0u - h;
  return h == 0x80000000u ? 0 : h;
}

// The hash of a single-string key; a null key hashes as the empty string (0).
inline uint32_t string_hash(const KOCHAR* key) { return string_hash_finish(string_hash_step(0, key)); }

// The hash of a composite key: one running hash carried through the key
// list's strings, first to last (moving the list's current position). An
// empty or null list hashes as 0.
uint32_t composite_hash(shlistx* key);

}  // namespace ko

#endif

/*
 * string_hash.h: the hashes of UTF-16 text: the rotate-and-XOR hash of
 * hash-table keys, and FNV-1a for the open-addressed indexes of the families
 * above (statement cache, library name index).
 */
#ifndef KOSHR_CONTAINERS_STRING_HASH_H
#define KOSHR_CONTAINERS_STRING_HASH_H

#include <koshr/lists.h>

#include <cstddef>
#include <cstdint>

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
inline uint32_t string_hash(const KOCHAR* key) {
  return string_hash_finish(string_hash_step(0, key));
}

// The hash of a composite key: one running hash carried through the key
// list's strings, first to last (moving the list's current position). An
// empty or null list hashes as 0.
uint32_t composite_hash(shlistx* key);

// FNV-1a over UTF-16 units, one unit per step. A caller that hashes a folded
// form of the text runs the steps itself from the basis.
constexpr uint32_t kFnv1aBasis = 2166136261u;
inline uint32_t fnv1a_step(uint32_t hash, KOCHAR unit) { return (hash ^ unit) * 16777619u; }

// The FNV-1a hash of at most `units` units, stopping early at a zero unit.
inline uint32_t fnv1a(const KOCHAR* text, size_t units = SIZE_MAX) {
  uint32_t hash = kFnv1aBasis;
  for (size_t i = 0; i < units && text[i] != 0; ++i) hash = fnv1a_step(hash, text[i]);
  return hash;
}

}  // namespace ko

#endif

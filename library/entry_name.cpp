/*
 * entry_name.cpp: lower-casing and the two orders of entry names.
 */
#include "library/entry_name.h"

#include <koshr/library.h>

#include "containers/string_hash.h"
#include "platform/platform.h"
#include "platform/utf16.h"

#include <cstdint>
#include <cstring>

namespace ko {
namespace {

inline KOCHAR fold(KOCHAR c) { return c < 128 ? ascii_lower(c) : os::char_lower(c); }

// Whether any of four UTF-16 units packed in a word is zero.
inline bool has_zero_unit(uint64_t v) { return ((v - 0x0001000100010001ull) & ~v & 0x8000800080008000ull) != 0; }

// One pass over both names: `a` ends at its terminator or after `a_units`,
// `b` likewise, and a name that ends first sorts first. Runs of four equal
// units without a terminator are stepped over a word at a time.
template <bool kNoCase>
int compare_units(const KOCHAR* a, size_t a_units, const KOCHAR* b, size_t b_units) {
  size_t i = 0, both = a_units < b_units ? a_units : b_units;
  for (; i + 4 <= both; i += 4) {
    uint64_t x, y;
    std::memcpy(&x, a + i, 8);
    std::memcpy(&y, b + i, 8);
    if (has_zero_unit(x)) break;
    if (x != y) {
      // Straight to the first unit that differs (units are little-endian in
      // the word); the units before it are equal and not terminators.
      i += size_t(__builtin_ctzll(x ^ y)) / 16;
      break;
    }
  }
  for (;; ++i) {
    KOCHAR x = i < a_units ? a[i] : 0;
    KOCHAR y = i < b_units ? b[i] : 0;
    if (x != y && kNoCase) {
      x = fold(x);
      y = fold(y);
    }
    if (x != y) return x < y ? -1 : 1;
    if (x == 0) return 0;
  }
}

}  // namespace

uint32_t name_key(const KOCHAR* name, size_t units) {
  uint32_t key = kFnv1aBasis;
  for (size_t i = 0; i < units && name[i]; ++i) key = fnv1a_step(key, fold(name[i]));
  return key;
}

bool name_is_valid(const KOCHAR* name) {
  if (!name) return false;
  size_t units = u16nlen(name, LMI_MAX_NAME + 1);
  return units > 0 && units <= LMI_MAX_NAME;
}

void lower_name_in_place(KOCHAR* name) {
  for (; *name; ++name) *name = ascii_lower(*name);
}

int compare_name_exact(const KOCHAR* a, const KOCHAR* b, size_t b_units) {
  return compare_units<false>(a, u16len(a) + 1, b, b_units);
}

int compare_name_nocase(const KOCHAR* a, const KOCHAR* b, size_t b_units) {
  return compare_units<true>(a, u16len(a) + 1, b, b_units);
}

int compare_names_exact(const KOCHAR* a, size_t a_units, const KOCHAR* b, size_t b_units) {
  return compare_units<false>(a, a_units, b, b_units);
}

int compare_names_nocase(const KOCHAR* a, size_t a_units, const KOCHAR* b, size_t b_units) {
  return compare_units<true>(a, a_units, b, b_units);
}

}  // namespace ko

/*
 * entry_name.cpp: lower-casing and the two orders of entry names.
 */
#include "library/entry_name.h"

#include "platform/platform.h"
#include "platform/utf16.h"

namespace ko {
namespace {

inline KOCHAR fold(KOCHAR c) { return c < 128 ? ascii_lower(c) : os::char_lower(c); }

template <bool kNoCase>
int compare_units(const KOCHAR* a, size_t a_units, const KOCHAR* b, size_t b_units) {
  size_t n = a_units < b_units ? a_units : b_units;
  for (size_t i = 0; i < n; ++i) {
    KOCHAR x = kNoCase ? fold(a[i]) : a[i];
    KOCHAR y = kNoCase ? fold(b[i]) : b[i];
    if (x != y) return x < y ? -1 : 1;
  }
  return a_units == b_units ? 0 : (a_units < b_units ? -1 : 1);
}

// Units before the terminator, within a stored name's room.
size_t stored_length(const KOCHAR* name, size_t units) { return u16nlen(name, units); }

}  // namespace

void lower_name_in_place(KOCHAR* name) {
  for (; *name; ++name) *name = ascii_lower(*name);
}

int compare_name_exact(const KOCHAR* a, const KOCHAR* b, size_t b_units) {
  return compare_units<false>(a, u16len(a), b, stored_length(b, b_units));
}

int compare_name_nocase(const KOCHAR* a, const KOCHAR* b, size_t b_units) {
  return compare_units<true>(a, u16len(a), b, stored_length(b, b_units));
}

int compare_names_exact(const KOCHAR* a, size_t a_units, const KOCHAR* b, size_t b_units) {
  return compare_units<false>(a, stored_length(a, a_units), b, stored_length(b, b_units));
}

int compare_names_nocase(const KOCHAR* a, size_t a_units, const KOCHAR* b, size_t b_units) {
  return compare_units<true>(a, stored_length(a, a_units), b, stored_length(b, b_units));
}

}  // namespace ko

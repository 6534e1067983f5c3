/*
 * characters.cpp: locale-aware character case, classes and comparison on
 * POSIX, from the C library's tables for the C.UTF-8 locale (the same on
 * every machine, whatever the user's locale).
 *
 * collate (lstrcmpW) orders by three keys in turn: the case-folded text;
 * then, at the first position where the texts differ, lower case before
 * upper case; then code units. collate_nocase (lstrcmpiW) uses the first key
 * only. A null text sorts before every other, as an empty one does.
 */
#include <locale.h>
#include <wctype.h>

#include "platform/platform.h"
#include "platform/utf16.h"

namespace ko::os {
namespace {

locale_t ctype_locale() {
  static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  return locale;
}

// A case mapping that keeps to the basic plane; anything else stays as it is.
KOCHAR map_case(KOCHAR c, wint_t (*mapping)(wint_t, locale_t)) {
  if (is_surrogate(c) || ctype_locale() == nullptr) return c;
  const wint_t mapped = mapping(c, ctype_locale());
  return mapped <= 0xFFFF && !is_surrogate(KOCHAR(mapped)) ? KOCHAR(mapped) : c;
}

bool has_class(KOCHAR c, int (*test)(wint_t, locale_t), bool ascii_answer) {
  if (is_surrogate(c)) return false;
  if (ctype_locale() == nullptr) return ascii_answer;
  return test(c, ctype_locale()) != 0;
}

// The first key: case-folded text, shorter prefix first.
int compare_folded(const KOCHAR* a, const KOCHAR* b) {
  for (;; ++a, ++b) {
    const KOCHAR fa = char_lower(*a);
    const KOCHAR fb = char_lower(*b);
    if (fa != fb) return fa < fb ? -1 : 1;
    if (*a == 0) return 0;
  }
}

}  // namespace

KOCHAR char_upper(KOCHAR c) { return map_case(c, ::towupper_l); }

KOCHAR char_lower(KOCHAR c) { return map_case(c, ::towlower_l); }

bool char_is_space(KOCHAR c) {
  return has_class(c, ::iswspace_l, c == u' ' || (c >= 9 && c <= 13));
}

bool char_is_alpha(KOCHAR c) {
  return has_class(c, ::iswalpha_l, (c | 0x20) >= u'a' && (c | 0x20) <= u'z');
}

bool char_is_alnum(KOCHAR c) {
  return has_class(c, ::iswalnum_l,
                   ((c | 0x20) >= u'a' && (c | 0x20) <= u'z') || (c >= u'0' && c <= u'9'));
}

int collate(const KOCHAR* a, const KOCHAR* b) {
  if (a == nullptr || b == nullptr) return a == b ? 0 : (a == nullptr ? -1 : 1);
  const int folded = compare_folded(a, b);
  if (folded != 0) return folded;
  for (; *a != 0; ++a, ++b) {
    if (*a == *b) continue;
    const bool a_lower = char_upper(*a) != *a;
    const bool b_lower = char_upper(*b) != *b;
    if (a_lower != b_lower) return a_lower ? -1 : 1;
    return *a < *b ? -1 : 1;
  }
  return 0;
}

int collate_nocase(const KOCHAR* a, const KOCHAR* b) {
  if (a == nullptr || b == nullptr) return a == b ? 0 : (a == nullptr ? -1 : 1);
  return compare_folded(a, b);
}

}  // namespace ko::os

/*
 * string_in_place.cpp: editing a string where it lies: removing a character,
 * trimming and word capitalisation. Each returns its first argument.
 *
 * Two trimming modes: the plain one trims only space and 0x1A (the old
 * end-of-file mark); the extended one trims every white space character of
 * the locale plus the no-break, typographic and zero-width spaces and the
 * byte-order mark.
 */
#include <koshr/strings.h>

#include "platform/platform.h"
#include "platform/utf16.h"

#include <cstring>

namespace {

constexpr KOCHAR kEndOfFileMark = 0x1A;

bool is_trimmed(KOCHAR c, int extended) {
  if (!extended) return c == u' ' || c == kEndOfFileMark;
  return ko::os::char_is_space(c) || c == 0xA0 || (c >= 0x2000 && c <= 0x200B) || c == 0x3000 ||
         c == 0xFEFF;
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API KOCHAR* kostg_str_remove_char(KOCHAR* text, KOCHAR ch) {
  if (!text) return text;
  KOCHAR* kept = text;
  for (const KOCHAR* p = text; *p; ++p) {
    if (*p != ch) *kept++ = *p;
  }
  *kept = 0;
  return text;
}

KOSHR_API KOCHAR* kostg_str_trim_right(KOCHAR* text, int extended) {
  if (!text) return text;
  for (size_t n = ko::u16len(text); n > 0 && is_trimmed(text[n - 1], extended); --n)
    text[n - 1] = 0;
  return text;
}

KOSHR_API KOCHAR* kostg_str_trim_left(KOCHAR* text, int extended) {
  if (!text) return text;
  const KOCHAR* first = text;
  while (*first && is_trimmed(*first, extended)) ++first;
  if (first != text) std::memmove(text, first, (ko::u16len(first) + 1) * sizeof(KOCHAR));
  return text;
}

KOSHR_API KOCHAR* kostg_str_trim(KOCHAR* text, int extended) {
  return kostg_str_trim_left(kostg_str_trim_right(text, extended), extended);
}

// '-' and '_' become spaces; a word starts after them and after space, tab,
// line feed and carriage return. Digits and punctuation are word characters.
KOSHR_API KOCHAR* kostg_str_wordcap(KOCHAR* text) {
  if (!text) return text;
  bool word_start = true;
  for (KOCHAR* p = text; *p; ++p) {
    if (*p == u'-' || *p == u'_') {
      *p = u' ';
      word_start = true;
    } else if (*p == u' ' || *p == u'\t' || *p == u'\n' || *p == u'\r') {
      word_start = true;
    } else if (word_start) {
      *p = ko::os::char_upper(*p);
      word_start = false;
    } else {
      *p = ko::os::char_lower(*p);
    }
  }
  return text;
}

KOSHR_END_C

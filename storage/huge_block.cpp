/*
 * huge_block.cpp: byte-block and string functions whose counts are unsigned
 * 32-bit, kept from the days of segmented memory. Strings are UTF-16.
 *
 * Two differ from their runtime namesakes on purpose: kostg_huge_memcpy
 * copies front to back even when the blocks overlap, and kostg_huge_strncpy
 * always terminates (it may write n + 1 units).
 */
#include <koshr/strings.h>

#include "platform/utf16.h"

#include <cstring>

KOSHR_BEGIN_C

KOSHR_API int16_t kostg_huge_memcmp(const void* a, const void* b, uint32_t n) {
  const auto* x = static_cast<const unsigned char*>(a);
  const auto* y = static_cast<const unsigned char*>(b);
  for (uint32_t i = 0; i < n; ++i) {
    if (x[i] != y[i]) return int16_t(int(x[i]) - int(y[i]));
  }
  return 0;
}

KOSHR_API void* kostg_huge_memcpy(void* dest, const void* src, uint32_t n) {
  auto* d = static_cast<unsigned char*>(dest);
  const auto* s = static_cast<const unsigned char*>(src);
  for (uint32_t i = 0; i < n; ++i) d[i] = s[i];
  return dest;
}

// Back to front exactly when the source starts below the destination and
// overlaps it: the moves of memmove.
KOSHR_API void* kostg_huge_memmove(void* dest, const void* src, uint32_t n) {
  if (n) std::memmove(dest, src, n);
  return dest;
}

KOSHR_API void* kostg_huge_memset(void* dest, int c, uint32_t n) {
  if (n) std::memset(dest, c, n);
  return dest;
}

KOSHR_API KOCHAR* kostg_huge_strchr(const KOCHAR* text, KOCHAR ch) {
  if (!text || ch == 0) return nullptr;
  return const_cast<KOCHAR*>(ko::u16chr(text, ch));
}

KOSHR_API KOCHAR* kostg_huge_strcpy(KOCHAR* dest, const KOCHAR* src) {
  return dest && src ? ko::u16cpy(dest, src) : dest;
}

KOSHR_API uint32_t kostg_huge_strlen(const KOCHAR* text) {
  return text ? uint32_t(ko::u16len(text)) : 0;
}

KOSHR_API KOCHAR* kostg_huge_strncpy(KOCHAR* dest, const KOCHAR* src, uint32_t n) {
  if (!dest || !src) return dest;
  uint32_t copied = 0;
  for (; copied < n && src[copied]; ++copied) dest[copied] = src[copied];
  dest[copied] = 0;
  for (uint32_t i = copied; i < n; ++i) dest[i] = 0;
  return dest;
}

KOSHR_API KOCHAR* kostg_huge_strstr(const KOCHAR* text, const KOCHAR* pattern) {
  if (!text || !pattern) return nullptr;
  return const_cast<KOCHAR*>(ko::u16str(text, pattern));
}

KOSHR_API KOCHAR* KOUNI_memchr(const KOCHAR* text, KOCHAR ch, uint32_t n) {
  if (!text) return nullptr;
  for (uint32_t i = 0; i < n; ++i) {
    if (text[i] == ch) return const_cast<KOCHAR*>(text + i);
  }
  return nullptr;
}

KOSHR_END_C

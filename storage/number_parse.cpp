/*
 * number_parse.cpp: the runtime's number parsers over UTF-16 text, and file
 * removal. long is 32 bits, as on Windows: out-of-range values clamp there.
 *
 * kostg_atou_imp is the library's own unsigned parser: blanks, then a run of
 * decimal digits accumulated in 32 bits that wrap; no sign is accepted.
 * Null text parses as nothing (0).
 */
#include <koshr/strings.h>

#include "platform/platform.h"
#include "platform/utf16.h"

namespace {

uint32_t parse_unsigned_wrapping(const KOCHAR* text) {
  if (!text) return 0;
  const KOCHAR* p = text;
  while (ko::os::char_is_space(*p)) ++p;
  uint32_t value = 0;
  for (; ko::ascii_is_digit(*p); ++p) value = value * 10u + uint32_t(*p - u'0');
  return value;
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API int32_t kostg_atoi_imp(const KOCHAR* text) {
  return text ? ko::u16_to_i32(text, nullptr, 10) : 0;
}

KOSHR_API int32_t kostg_atol_imp(const KOCHAR* text) { return kostg_atoi_imp(text); }

KOSHR_API double kostg_atof_imp(const KOCHAR* text) {
  return text ? ko::u16_to_double(text, nullptr) : 0.0;
}

KOSHR_API double kostg_strtod_imp(const KOCHAR* text, KOCHAR** end) {
  if (end) *end = const_cast<KOCHAR*>(text);
  if (!text) return 0.0;
  return ko::u16_to_double(text, const_cast<const KOCHAR**>(end));
}

KOSHR_API int32_t kostg_strtol_imp(const KOCHAR* text, KOCHAR** end, int base) {
  if (end) *end = const_cast<KOCHAR*>(text);
  if (!text) return 0;
  return ko::u16_to_i32(text, const_cast<const KOCHAR**>(end), base);
}

KOSHR_API uint32_t kostg_strtoul_imp(const KOCHAR* text, KOCHAR** end, int base) {
  if (end) *end = const_cast<KOCHAR*>(text);
  if (!text) return 0;
  return ko::u16_to_u32(text, const_cast<const KOCHAR**>(end), base);
}

KOSHR_API uint32_t kostg_atou_imp(const KOCHAR* text) { return parse_unsigned_wrapping(text); }

KOSHR_API uint32_t kostg_atoul_imp(const KOCHAR* text) { return parse_unsigned_wrapping(text); }

KOSHR_API int kostg_remove_imp(const KOCHAR* path) {
  return path && ko::os::file_delete(path) ? 0 : -1;
}

KOSHR_END_C

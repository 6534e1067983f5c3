/*
 * automation_string.cpp: strings handed out as automation strings (a 32-bit
 * byte length before the text), and their free. Windows frees them with its
 * string free; elsewhere there is none, so callers free them through us
 * rather than knowing where the block starts.
 *
 * The ansi form is converted straight into a string of the converted length,
 * which is what copying a converted temporary would give; text that does not
 * convert gives null.
 */
#include <koshr/strings.h>

#include "platform/platform.h"
#include "storage/locale_conversion.h"

KOSHR_BEGIN_C

KOSHR_API KOCHAR* kostg_ansitobstr(const char* ansi) {
  if (!ansi) return nullptr;
  size_t units = ko::locale_mbstowcs(nullptr, ansi, ko::kZeroTerminated, 0);
  if (units == ko::kConversionFailed || units > UINT32_MAX) return nullptr;
  KOCHAR* text = ko::os::sys_alloc_string_len(nullptr, uint32_t(units));
  if (text) ko::locale_mbstowcs(text, ansi, ko::kZeroTerminated, units + 1);
  return text;
}

KOSHR_API KOCHAR* kostg_unicodetobstr(const KOCHAR* text) { return ko::os::sys_alloc_string(text); }

KOSHR_API KOCHAR* kostg_strtobstr(const KOCHAR* text) { return ko::os::sys_alloc_string(text); }

KOSHR_API void kostg_freebstr(KOCHAR* text) { ko::os::sys_free_string(text); }

KOSHR_END_C

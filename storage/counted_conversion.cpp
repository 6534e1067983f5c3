/*
 * counted_conversion.cpp: ansi conversions of counted buffers that may hold
 * zeros, and the forced multibyte conversion that never gives up.
 *
 * A counted buffer is cut at its zeros; each run between them converts on its
 * own (with a destination limit of the run's length) and each zero carries
 * over as one zero. No run is read past the count.
 */
#include <koshr/strings.h>

#include "platform/platform.h"
#include "platform/utf16.h"
#include "storage/locale_conversion.h"

#include <climits>
#include <cstring>

namespace {

constexpr KOCHAR kUnconvertible = u'?';

size_t run_length(const char* text, size_t available) {
  const void* zero = std::memchr(text, 0, available);
  return zero ? size_t(static_cast<const char*>(zero) - text) : available;
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API int64_t kostg_ansitostr_with_zero(KOCHAR* dest, const char* ansi, int64_t byteCount) {
  if (!ansi) return -1;
  int64_t produced = 0;
  for (size_t i = 0, count = byteCount > 0 ? size_t(byteCount) : 0; i < count;) {
    if (ansi[i] == 0) {
      if (dest) dest[produced] = 0;
      ++produced;
      ++i;
      continue;
    }
    size_t run = run_length(ansi + i, count - i);
    int capped = run > INT_MAX ? INT_MAX : int(run);
    int units = dest ? ko::os::ansi_to_utf16(ansi + i, capped, dest + produced, capped)
                     : ko::os::ansi_to_utf16(ansi + i, capped, nullptr, 0);
    produced += units > 0 ? units : 0;
    i += run;
  }
  return produced;
}

KOSHR_API int64_t kostg_strtoansi_with_zero(char* dest, const KOCHAR* text, int64_t unitCount) {
  if (!text) return -1;
  int64_t produced = 0;
  for (size_t i = 0, count = unitCount > 0 ? size_t(unitCount) : 0; i < count;) {
    if (text[i] == 0) {
      if (dest) dest[produced] = 0;
      ++produced;
      ++i;
      continue;
    }
    size_t run = ko::u16nlen(text + i, count - i);
    size_t bytes = ko::locale_wcstombs(dest ? dest + produced : nullptr, text + i, run, run);
    if (bytes == ko::kConversionFailed) return -1;
    produced += int64_t(bytes);
    i += run;
  }
  return produced;
}

// Where the plain conversion fails, converts character by character: each
// byte that starts no convertible character becomes '?'. This path writes up
// to count + 1 units (callers give it a buffer one unit larger than count).
KOSHR_API size_t mbstowcs_force(KOCHAR* dest, const char* src, size_t count, int* lossy) {
  if (lossy) *lossy = 0;
  if (!src) return ko::kConversionFailed;
  size_t converted = ko::locale_mbstowcs(dest, src, ko::kZeroTerminated, count);
  if (converted != ko::kConversionFailed) return converted;
  if (lossy) *lossy = 1;
  if (!dest) return converted;
  std::memset(dest, 0, count * sizeof(KOCHAR));
  size_t written = 0;
  size_t remaining = std::strlen(src);
  const char* p = src;
  while (remaining > 0 && written <= count) {
    KOCHAR units[2];
    size_t produced = 0;
    size_t used = ko::locale_mbtowc(units, &produced, p, remaining);
    if (used == 0) {
      units[0] = kUnconvertible;
      produced = 1;
      used = 1;
    }
    for (size_t k = 0; k < produced && written <= count; ++k) dest[written++] = units[k];
    p += used;
    remaining -= used;
  }
  if (written < count) dest[written] = 0;
  return written;
}

KOSHR_END_C

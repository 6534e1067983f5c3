/*
 * locale_conversion.cpp: wcstombs, mbstowcs and mbtowc semantics over the
 * platform's code-page conversion.
 *
 * Whole texts convert in one platform call. Only a conversion cut short by a
 * destination limit goes character by character, so that it stops at a whole
 * character as the runtime does.
 */
#include "storage/locale_conversion.h"

#include "platform/platform.h"
#include "platform/utf16.h"

#include <climits>
#include <cstring>

namespace ko {
namespace {

constexpr size_t kMaxCharBytes = 4;

size_t counted_length(const KOCHAR* text, size_t length) {
  return length == kZeroTerminated ? u16len(text) : length;
}

size_t counted_length(const char* text, size_t length) {
  return length == kZeroTerminated ? std::strlen(text) : length;
}

}  // namespace

size_t locale_wcstombs(char* dest, const KOCHAR* text, size_t length, size_t limit) {
  size_t units = counted_length(text, length);
  if (units > INT_MAX) return kConversionFailed;
  size_t need = 0;
  if (units > 0) {
    int counted = os::utf16_to_ansi_strict(text, int(units), nullptr, 0);
    if (counted <= 0) return kConversionFailed;
    need = size_t(counted);
  }
  if (!dest) return need;
  if (need <= limit) {
    if (need > 0) os::utf16_to_ansi_strict(text, int(units), dest, int(need));
    if (need < limit) dest[need] = 0;
    return need;
  }
  size_t written = 0;
  char bytes[16];
  for (size_t i = 0; i < units;) {
    size_t step =
        (is_high_surrogate(text[i]) && i + 1 < units && is_low_surrogate(text[i + 1])) ? 2 : 1;
    int n = os::utf16_to_ansi_strict(text + i, int(step), bytes, int(sizeof bytes));
    if (n <= 0 || written + size_t(n) > limit) break;
    std::memcpy(dest + written, bytes, size_t(n));
    written += size_t(n);
    i += step;
  }
  return written;
}

size_t locale_mbstowcs(KOCHAR* dest, const char* text, size_t length, size_t limit) {
  size_t bytes = counted_length(text, length);
  if (bytes > INT_MAX) return kConversionFailed;
  size_t need = 0;
  if (bytes > 0) {
    int counted = os::ansi_to_utf16_strict(text, int(bytes), nullptr, 0);
    if (counted <= 0) return kConversionFailed;
    need = size_t(counted);
  }
  if (!dest) return need;
  if (need <= limit) {
    if (need > 0) os::ansi_to_utf16_strict(text, int(bytes), dest, int(need));
    if (need < limit) dest[need] = 0;
    return need;
  }
  size_t written = 0;
  KOCHAR units[2];
  for (size_t i = 0; i < bytes;) {
    size_t produced = 0;
    size_t used = locale_mbtowc(units, &produced, text + i, bytes - i);
    if (used == 0 || written + produced > limit) break;
    for (size_t k = 0; k < produced; ++k) dest[written++] = units[k];
    i += used;
  }
  return written;
}

size_t locale_mbtowc(KOCHAR out[2], size_t* units, const char* bytes, size_t available) {
  size_t longest = available < kMaxCharBytes ? available : kMaxCharBytes;
  for (size_t used = 1; used <= longest; ++used) {
    int n = os::ansi_to_utf16_strict(bytes, int(used), out, 2);
    if (n > 0) {
      *units = size_t(n);
      return used;
    }
  }
  *units = 0;
  return 0;
}

}  // namespace ko

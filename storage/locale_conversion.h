/*
 * locale_conversion.h: the C runtime's multibyte conversions (wcstombs,
 * mbstowcs, mbtowc), with their results and failure codes, over the
 * platform's 8-bit code-page conversion.
 *
 * The string family promises the runtime's semantics: a conversion that meets
 * text it cannot convert fails as a whole with (size_t)-1, a destination limit
 * cuts the output at a whole character, and the terminator is written only
 * when it fits in the limit. Sources are counted (kZeroTerminated for a
 * zero-terminated one) so that runs inside a larger buffer convert without
 * reading past them.
 */
#ifndef KOSHR_STORAGE_LOCALE_CONVERSION_H
#define KOSHR_STORAGE_LOCALE_CONVERSION_H

#include <koshr/types.h>

#include <cstddef>
#include <cstdint>

namespace ko {

constexpr size_t kZeroTerminated = SIZE_MAX;
constexpr size_t kConversionFailed = static_cast<size_t>(-1);

// wcstombs: with dest null, the byte count the whole text needs; otherwise at
// most `limit` bytes of whole characters, plus a terminator when it fits.
// Returns the bytes converted (terminator excluded) or kConversionFailed.
size_t locale_wcstombs(char* dest, const KOCHAR* text, size_t length, size_t limit);

// mbstowcs: the mirror image, `limit` counted in units.
size_t locale_mbstowcs(KOCHAR* dest, const char* text, size_t length, size_t limit);

// mbtowc: converts the one character at the start of `bytes` (at most
// `available` bytes are looked at) into out[0] (and out[1] for a character
// beyond the 16-bit plane). Returns the bytes it used, or 0 when no character
// of at most four bytes converts.
size_t locale_mbtowc(KOCHAR out[2], size_t* units, const char* bytes, size_t available);

}  // namespace ko

#endif

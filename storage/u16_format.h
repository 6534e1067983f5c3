/*
 * u16_format.h: the one bounded printf-style formatter for UTF-16 output.
 *
 * Conversions: d i u x X o c s p e E f F g G %, with the flags - + space 0 #,
 * a width and a precision (digits or *), and the size prefixes h, hh, l, ll,
 * I32, I64, z. The sizes follow Windows, where long is 32 bits: %d and %ld
 * take a 32-bit int, %lld and %I64d a 64-bit one, %zu a size_t. %s takes
 * UTF-16 text (const KOCHAR*), %hs 8-bit text (const char*); a null text
 * prints "(null)". %c takes a UTF-16 unit passed as int.
 *
 * At most capacity-1 units are written, always followed by a terminator when
 * capacity > 0. The result is the length the whole output needs, as snprintf
 * gives it, so a result >= capacity means the text was cut.
 */
#ifndef KOSHR_STORAGE_U16_FORMAT_H
#define KOSHR_STORAGE_U16_FORMAT_H

#include <koshr/types.h>

#include <cstdarg>
#include <cstddef>

namespace ko {

size_t u16_format(KOCHAR* out, size_t capacity, const char* format, ...);
size_t u16_vformat(KOCHAR* out, size_t capacity, const char* format, va_list args);
// The same with a UTF-16 format (for formats held in string resources).
size_t u16_format(KOCHAR* out, size_t capacity, const KOCHAR* format, ...);
size_t u16_vformat(KOCHAR* out, size_t capacity, const KOCHAR* format, va_list args);

}  // namespace ko

#endif

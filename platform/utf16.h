/*
 * utf16.h: the primitive operations on zero-terminated UTF-16 text.
 *
 * KOCHAR text is never handed to the C library's wcs* functions (wchar_t is
 * 32 bits on Linux); these are the one implementation of length, copy,
 * compare, search, number parsing and UTF-8 conversion used everywhere in
 * the library. They live at the bottom layer because the platform backends
 * need them too. Case-insensitive comparison here is ASCII-only; the
 * locale-aware forms are ko::os::collate_nocase and friends.
 */
#ifndef KOSHR_PLATFORM_UTF16_H
#define KOSHR_PLATFORM_UTF16_H

#include <koshr/types.h>

#include <cstddef>
#include <cstdint>

namespace ko {

// U+FEFF at the start of a file: its byte order tells the encoding.
constexpr KOCHAR kByteOrderMark = 0xFEFF;

// Surrogates: a code point above U+FFFF is a high unit (D800-DBFF) followed by
// a low unit (DC00-DFFF). The tests take code points too, to reject the
// surrogate range when decoding UTF-8 or a code page.
inline bool is_high_surrogate(uint32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
inline bool is_low_surrogate(uint32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }
inline bool is_surrogate(uint32_t c) { return c >= 0xD800 && c <= 0xDFFF; }
inline uint32_t join_surrogates(KOCHAR high, KOCHAR low) {
  return 0x10000 + ((uint32_t(high) - 0xD800) << 10) + (uint32_t(low) - 0xDC00);
}
// The two units of a code point from U+10000 to U+10FFFF.
inline KOCHAR high_surrogate_of(uint32_t code) { return KOCHAR(0xD800 + ((code - 0x10000) >> 10)); }
inline KOCHAR low_surrogate_of(uint32_t code) {
  return KOCHAR(0xDC00 + ((code - 0x10000) & 0x3FF));
}

// The digits of hexadecimal numbers, indexed by value 0-15.
constexpr char kHexDigitsUpper[] = "0123456789ABCDEF";
constexpr char kHexDigitsLower[] = "0123456789abcdef";
// The value of `c` as a digit of any base up to 36 (a or A is 10, z or Z 35);
// 99, beyond every base, for anything else.
inline int digit_value(KOCHAR c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'a' && c <= u'z') return c - u'a' + 10;
  if (c >= u'A' && c <= u'Z') return c - u'A' + 10;
  return 99;
}

size_t u16len(const KOCHAR* text);
size_t u16nlen(const KOCHAR* text, size_t max);
KOCHAR* u16cpy(KOCHAR* dst, const KOCHAR* src);
// Copies at most capacity-1 units and always terminates (capacity > 0);
// returns the count copied.
size_t u16lcpy(KOCHAR* dst, const KOCHAR* src, size_t capacity);
// Appends src behind dst's text within a total capacity; returns the new length.
size_t u16lcat(KOCHAR* dst, const KOCHAR* src, size_t capacity);

int u16cmp(const KOCHAR* a, const KOCHAR* b);
int u16ncmp(const KOCHAR* a, const KOCHAR* b, size_t n);
int u16icmp_ascii(const KOCHAR* a, const KOCHAR* b);
int u16nicmp_ascii(const KOCHAR* a, const KOCHAR* b, size_t n);
// Compares UTF-16 text with an ASCII literal.
int u16cmp_ascii(const KOCHAR* a, const char* b);
int u16icmp_ascii(const KOCHAR* a, const char* b);

inline KOCHAR ascii_upper(KOCHAR c) { return (c >= u'a' && c <= u'z') ? KOCHAR(c - 32) : c; }
inline KOCHAR ascii_lower(KOCHAR c) { return (c >= u'A' && c <= u'Z') ? KOCHAR(c + 32) : c; }
inline bool ascii_is_digit(KOCHAR c) { return c >= u'0' && c <= u'9'; }
// The blanks of the C library's iswspace in the "C" locale: space, \t \n \v \f \r.
inline bool ascii_is_space(KOCHAR c) { return c == u' ' || (c >= 9 && c <= 13); }

const KOCHAR* u16chr(const KOCHAR* text, KOCHAR c);
const KOCHAR* u16rchr(const KOCHAR* text, KOCHAR c);
const KOCHAR* u16str(const KOCHAR* haystack, const KOCHAR* needle);
const KOCHAR* u16istr_ascii(const KOCHAR* haystack, const KOCHAR* needle);

// Number parsing with the C library's rules (leading blanks, sign, base 0
// detects 0x and 0 prefixes). `end`, when not null, receives the first unused
// unit (the start when nothing was parsed). Out-of-range values clamp as
// wcstol does on Windows, where long is 32 bits.
int32_t u16_to_i32(const KOCHAR* text, const KOCHAR** end, int base);
uint32_t u16_to_u32(const KOCHAR* text, const KOCHAR** end, int base);
int64_t u16_to_i64(const KOCHAR* text, const KOCHAR** end, int base);
uint64_t u16_to_u64(const KOCHAR* text, const KOCHAR** end, int base);
// wcstod in the "C" locale.
double u16_to_double(const KOCHAR* text, const KOCHAR** end);

// Standard UTF-8 <-> UTF-16 (surrogate pairs joined; an unpaired surrogate or a
// malformed byte becomes U+FFFD). `length` in units/bytes, or SIZE_MAX for a
// zero-terminated input. Writes at most capacity-1 units/bytes and a
// terminator; returns the full length the output needs (without terminator).
size_t utf16_to_utf8(const KOCHAR* text, size_t length, char* out, size_t capacity);
size_t utf8_to_utf16(const char* text, size_t length, KOCHAR* out, size_t capacity);

}  // namespace ko

#endif

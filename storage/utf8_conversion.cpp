/*
 * utf8_conversion.cpp: the exported UTF-16 to UTF-8 conversion and back,
 * unit by unit (the rules are drawn in utf8_units.h).
 *
 * These keep their own rules, which differ from the standard conversion in
 * platform/utf16.h. The vector kernels take the bulk of the text where the
 * processor has them; the loops here do the rest, and all of it elsewhere.
 */
#include <koshr/strings.h>

#include "platform/utf16.h"
#include "storage/utf8_units.h"

#include <cstring>

namespace {

void scan(const KOCHAR* text, size_t* units, size_t* encoded_bytes) {
  if (ko::utf8::vector_scan(text, units, encoded_bytes)) return;
  size_t n = ko::u16len(text);
  size_t bytes = n;
  for (size_t i = 0; i < n; ++i) bytes += size_t(text[i] >= 0x80) + size_t(text[i] >= 0x800);
  *units = n;
  *encoded_bytes = bytes;
}

// `room` is the encoded size plus the terminator.
size_t encode(unsigned char* out, const KOCHAR* text, size_t units, size_t room) {
  ko::utf8::Progress done = ko::utf8::vector_encode(text, units, out, room);
  unsigned char* at = out + done.produced;
  for (size_t i = done.consumed; i < units; ++i) at = ko::utf8::encode_unit(at, text[i]);
  *at = 0;
  return size_t(at - out);
}

// The text's length is found a piece at a time, just ahead of the decoding,
// so that the text is read from memory once.
constexpr size_t kLengthPiece = 16384;

// Decodes into dest, or only counts when dest is null.
template <bool kWrite>
size_t decode(KOCHAR* dest, const char* text) {
  const auto* utf8 = reinterpret_cast<const unsigned char*>(text);
  size_t i = 0, units = 0, known = 0;
  for (bool end_seen = false; !end_seen;) {
    size_t piece = strnlen(text + known, kLengthPiece);
    known += piece;
    end_seen = piece < kLengthPiece;
    ko::utf8::Progress done =
        ko::utf8::vector_decode(kWrite ? dest + units : nullptr, utf8 + i, known - i);
    i += done.consumed;
    units += done.produced;
  }
  for (; i < known; ++units)
    i += ko::utf8::decode_step<kWrite>(kWrite ? dest + units : nullptr, utf8, i, known);
  if constexpr (kWrite) dest[units] = 0;
  return units;
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API int64_t kostg_UCS2toUTF8(char* dest, const KOCHAR* text, int64_t destSize) {
  if (!text) return 0;
  size_t units = 0, bytes = 0;
  scan(text, &units, &bytes);
  if (!dest) return int64_t(bytes);
  // A destSize equal to the count passes: the terminator lands one byte
  // beyond it. Callers size the destination count + 1.
  if (destSize != 0 && destSize < int64_t(bytes)) return 0;
  return int64_t(encode(reinterpret_cast<unsigned char*>(dest), text, units, bytes + 1));
}

KOSHR_API int64_t kostg_UTF8toUCS2(KOCHAR* dest, const char* utf8) {
  if (!utf8) return 0;
  return dest ? int64_t(decode<true>(dest, utf8)) : int64_t(decode<false>(nullptr, utf8));
}

KOSHR_END_C

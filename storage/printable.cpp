/*
 * printable.cpp: the printable form, 8-bit text that carries any UTF-16
 * string.
 *
 *   unit below 256 ............ one byte of the same value (0x80-0xFF included)
 *   unit 256 and above ........ 'U' '+' and four upper-case hex digits: U+263A
 *   the units 'U' '+' ......... 'U' '+' 'U' '+'
 *
 * Decoding accepts lower-case digits too, and does not reject malformed ones:
 * a digit byte below 'A' counts its low four bits, any other (byte - 0x37) & 15.
 * A "U+" escape cut short by the end of the text reads the missing digit bytes
 * as zeros and ends the text there; nothing past the terminator is read.
 */
#include <koshr/strings.h>

#include "platform/utf16.h"

#include <cstring>

namespace {

constexpr size_t kMaxBytesPerUnit = 6;

size_t encode(char* dest, const KOCHAR* text) {
  char* out = dest;
  for (const KOCHAR* p = text; *p;) {
    KOCHAR c = *p;
    if (c >= 256) {
      *out++ = 'U';
      *out++ = '+';
      for (int shift = 12; shift >= 0; shift -= 4) *out++ = ko::kHexDigitsUpper[(c >> shift) & 15];
      ++p;
    } else if (c == u'U' && p[1] == u'+') {
      std::memcpy(out, "U+U+", 4);
      out += 4;
      p += 2;
    } else {
      *out++ = char(c);
      ++p;
    }
  }
  *out = 0;
  return size_t(out - dest);
}

unsigned digit_value(unsigned char byte) { return byte < 'A' ? byte & 15u : (byte - 0x37u) & 15u; }

size_t decode(KOCHAR* dest, const char* printable) {
  const auto* p = reinterpret_cast<const unsigned char*>(printable);
  KOCHAR* out = dest;
  while (*p) {
    if (p[0] != 'U' || p[1] != '+') {
      *out++ = *p++;
    } else if (p[2] == 'U' && p[3] == '+') {
      *out++ = u'U';
      *out++ = u'+';
      p += 4;
    } else {
      p += 2;
      unsigned value = 0;
      for (int i = 0; i < 4; ++i) {
        value = (value << 4) | digit_value(*p);
        if (*p) ++p;
      }
      *out++ = KOCHAR(value);
    }
  }
  *out = 0;
  return size_t(out - dest);
}

// Gives back the unused tail of a block; a block that cannot shrink is kept.
void* shrink(KostgContext* context, void* block, size_t bytes, KostgSubpool* pool) {
  void* smaller = kostg_realc(context, block, bytes, pool);
  return smaller ? smaller : block;
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API char* kostg_strtoprintable(char* dest, const KOCHAR* text) {
  if (!dest) return dest;
  if (text) {
    encode(dest, text);
  } else {
    *dest = 0;
  }
  return dest;
}

KOSHR_API KOCHAR* kostg_printabletostr(KOCHAR* dest, const char* printable) {
  if (!dest) return dest;
  if (printable) {
    decode(dest, printable);
  } else {
    *dest = 0;
  }
  return dest;
}

KOSHR_API char* kostg_strtoprintabledup(KostgContext* context, const KOCHAR* text,
                                        KostgSubpool* pool) {
  if (!text) return nullptr;
  auto* printable =
      static_cast<char*>(kostg_alc(context, ko::u16len(text) * kMaxBytesPerUnit + 1, pool));
  if (!printable) return nullptr;
  size_t bytes = encode(printable, text);
  return static_cast<char*>(shrink(context, printable, bytes + 1, pool));
}

KOSHR_API KOCHAR* kostg_printabletostrdup(KostgContext* context, const char* printable,
                                          KostgSubpool* pool) {
  if (!printable) return nullptr;
  auto* text =
      static_cast<KOCHAR*>(kostg_alc(context, (std::strlen(printable) + 1) * sizeof(KOCHAR), pool));
  if (!text) return nullptr;
  size_t units = decode(text, printable);
  return static_cast<KOCHAR*>(shrink(context, text, (units + 1) * sizeof(KOCHAR), pool));
}

KOSHR_END_C

/*
 * utf16.cpp: length, copy, compare, search, number parsing and UTF-8
 * conversion of zero-terminated UTF-16 text.
 */
#include "platform/utf16.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

namespace ko {

size_t u16len(const KOCHAR* text) {
  const KOCHAR* p = text;
  while (*p) ++p;
  return size_t(p - text);
}

size_t u16nlen(const KOCHAR* text, size_t max) {
  size_t n = 0;
  while (n < max && text[n]) ++n;
  return n;
}

KOCHAR* u16cpy(KOCHAR* dst, const KOCHAR* src) {
  KOCHAR* d = dst;
  while ((*d++ = *src++) != 0) {
  }
  return dst;
}

size_t u16lcpy(KOCHAR* dst, const KOCHAR* src, size_t capacity) {
  if (capacity == 0) return 0;
  size_t n = 0;
  while (n + 1 < capacity && src[n]) {
    dst[n] = src[n];
    ++n;
  }
  dst[n] = 0;
  return n;
}

size_t u16lcat(KOCHAR* dst, const KOCHAR* src, size_t capacity) {
  size_t used = u16nlen(dst, capacity);
  if (used >= capacity) return used;
  return used + u16lcpy(dst + used, src, capacity - used);
}

int u16cmp(const KOCHAR* a, const KOCHAR* b) {
  while (*a && *a == *b) ++a, ++b;
  return int(*a) - int(*b);
}

int u16ncmp(const KOCHAR* a, const KOCHAR* b, size_t n) {
  for (; n; --n, ++a, ++b) {
    if (*a != *b || !*a) return int(*a) - int(*b);
  }
  return 0;
}

int u16icmp_ascii(const KOCHAR* a, const KOCHAR* b) {
  for (;; ++a, ++b) {
    KOCHAR x = ascii_lower(*a), y = ascii_lower(*b);
    if (x != y || !x) return int(x) - int(y);
  }
}

int u16nicmp_ascii(const KOCHAR* a, const KOCHAR* b, size_t n) {
  for (; n; --n, ++a, ++b) {
    KOCHAR x = ascii_lower(*a), y = ascii_lower(*b);
    if (x != y || !x) return int(x) - int(y);
  }
  return 0;
}

int u16cmp_ascii(const KOCHAR* a, const char* b) {
  for (;; ++a, ++b) {
    KOCHAR y = KOCHAR(static_cast<unsigned char>(*b));
    if (*a != y || !*a) return int(*a) - int(y);
  }
}

int u16icmp_ascii(const KOCHAR* a, const char* b) {
  for (;; ++a, ++b) {
    KOCHAR x = ascii_lower(*a), y = ascii_lower(KOCHAR(static_cast<unsigned char>(*b)));
    if (x != y || !x) return int(x) - int(y);
  }
}

const KOCHAR* u16chr(const KOCHAR* text, KOCHAR c) {
  for (;; ++text) {
    if (*text == c) return text;
    if (!*text) return nullptr;
  }
}

const KOCHAR* u16rchr(const KOCHAR* text, KOCHAR c) {
  const KOCHAR* found = nullptr;
  for (;; ++text) {
    if (*text == c) found = text;
    if (!*text) return found;
  }
}

const KOCHAR* u16str(const KOCHAR* haystack, const KOCHAR* needle) {
  if (!*needle) return haystack;
  size_t n = u16len(needle);
  for (; *haystack; ++haystack) {
    if (*haystack == *needle && u16ncmp(haystack, needle, n) == 0) return haystack;
  }
  return nullptr;
}

const KOCHAR* u16istr_ascii(const KOCHAR* haystack, const KOCHAR* needle) {
  if (!*needle) return haystack;
  size_t n = u16len(needle);
  for (; *haystack; ++haystack) {
    if (u16nicmp_ascii(haystack, needle, n) == 0) return haystack;
  }
  return nullptr;
}

namespace {

// The shared scanner: magnitude saturated at UINT64_MAX, sign, and where it ended.
struct Scanned {
  uint64_t magnitude = 0;
  bool negative = false;
  bool overflow = false;
  const KOCHAR* end = nullptr;
};

Scanned scan_integer(const KOCHAR* text, int base) {
  Scanned r;
  r.end = text;
  const KOCHAR* p = text;
  while (ascii_is_space(*p)) ++p;
  if (*p == u'+' || *p == u'-') r.negative = (*p++ == u'-');
  if ((base == 0 || base == 16) && p[0] == u'0' && (p[1] == u'x' || p[1] == u'X') &&
      digit_value(p[2]) < 16) {
    p += 2;
    base = 16;
  } else if (base == 0) {
    base = (p[0] == u'0') ? 8 : 10;
  }
  if (base < 2 || base > 36) return r;
  const KOCHAR* digits = p;
  for (int d; (d = digit_value(*p)) < base; ++p) {
    if (r.magnitude > (UINT64_MAX - uint64_t(d)) / uint64_t(base)) {
      r.overflow = true;
      r.magnitude = UINT64_MAX;
    } else if (!r.overflow) {
      r.magnitude = r.magnitude * uint64_t(base) + uint64_t(d);
    }
  }
  if (p != digits) r.end = p;
  return r;
}

template <typename T>
T clamp_signed(const Scanned& s, T min, T max) {
  uint64_t limit = s.negative ? uint64_t(max) + 1 : uint64_t(max);
  if (s.overflow || s.magnitude > limit) return s.negative ? min : max;
  return s.negative ? T(0 - s.magnitude) : T(s.magnitude);
}

}  // namespace

int32_t u16_to_i32(const KOCHAR* text, const KOCHAR** end, int base) {
  Scanned s = scan_integer(text, base);
  if (end) *end = s.end;
  return clamp_signed<int32_t>(s, INT32_MIN, INT32_MAX);
}

int64_t u16_to_i64(const KOCHAR* text, const KOCHAR** end, int base) {
  Scanned s = scan_integer(text, base);
  if (end) *end = s.end;
  return clamp_signed<int64_t>(s, INT64_MIN, INT64_MAX);
}

uint32_t u16_to_u32(const KOCHAR* text, const KOCHAR** end, int base) {
  Scanned s = scan_integer(text, base);
  if (end) *end = s.end;
  if (s.overflow || s.magnitude > UINT32_MAX) return UINT32_MAX;
  uint32_t v = uint32_t(s.magnitude);
  return s.negative ? uint32_t(0u - v) : v;
}

uint64_t u16_to_u64(const KOCHAR* text, const KOCHAR** end, int base) {
  Scanned s = scan_integer(text, base);
  if (end) *end = s.end;
  if (s.overflow) return UINT64_MAX;
  return s.negative ? 0 - s.magnitude : s.magnitude;
}

double u16_to_double(const KOCHAR* text, const KOCHAR** end) {
  // Only ASCII can take part in a number: copy the longest ASCII prefix
  // (bounded; longer numerals are not meaningful to a double anyway).
  char buffer[512];
  size_t n = 0;
  while (n + 1 < sizeof buffer && text[n] && text[n] < 128) {
    buffer[n] = char(text[n]);
    ++n;
  }
  buffer[n] = 0;
  char* stop = nullptr;
  double value = std::strtod(buffer, &stop);
  if (end) *end = text + (stop - buffer);
  return value;
}

size_t utf16_to_utf8(const KOCHAR* text, size_t length, char* out, size_t capacity) {
  size_t need = 0;
  auto put = [&](unsigned char b) {
    if (need + 1 < capacity) out[need] = char(b);
    ++need;
  };
  for (size_t i = 0; length == SIZE_MAX ? text[i] != 0 : i < length; ++i) {
    uint32_t c = text[i];
    if (is_high_surrogate(c) && (length == SIZE_MAX || i + 1 < length) &&
        is_low_surrogate(text[i + 1])) {
      c = join_surrogates(text[i], text[i + 1]);
      ++i;
    } else if (is_surrogate(c)) {
      c = 0xFFFD;
    }
    if (c < 0x80) {
      put(static_cast<unsigned char>(c));
    } else if (c < 0x800) {
      put(0xC0 | (c >> 6));
      put(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      put(0xE0 | (c >> 12));
      put(0x80 | ((c >> 6) & 0x3F));
      put(0x80 | (c & 0x3F));
    } else {
      put(0xF0 | (c >> 18));
      put(0x80 | ((c >> 12) & 0x3F));
      put(0x80 | ((c >> 6) & 0x3F));
      put(0x80 | (c & 0x3F));
    }
  }
  if (capacity) out[need < capacity ? need : capacity - 1] = 0;
  return need;
}

size_t utf8_to_utf16(const char* text, size_t length, KOCHAR* out, size_t capacity) {
  const auto* s = reinterpret_cast<const unsigned char*>(text);
  if (length == SIZE_MAX) length = std::strlen(text);
  size_t need = 0;
  auto put = [&](uint32_t u) {
    if (need + 1 < capacity) out[need] = KOCHAR(u);
    ++need;
  };
  for (size_t i = 0; i < length;) {
    uint32_t c = s[i];
    size_t extra = c < 0x80             ? 0
                   : (c & 0xE0) == 0xC0 ? 1
                   : (c & 0xF0) == 0xE0 ? 2
                   : (c & 0xF8) == 0xF0 ? 3
                                        : 9;
    if (extra == 9 || i + extra >= length + (extra ? 0 : 1)) {
      put(0xFFFD);
      ++i;
      continue;
    }
    uint32_t v = extra == 0 ? c : c & (0x3F >> extra);
    size_t k = 1;
    for (; k <= extra && (s[i + k] & 0xC0) == 0x80; ++k) v = (v << 6) | (s[i + k] & 0x3F);
    static const uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (k <= extra || v < kMin[extra] || v > 0x10FFFF || is_surrogate(v)) {
      put(0xFFFD);
      i += k > 1 ? k : 1;
      continue;
    }
    i += k;
    if (v >= 0x10000) {
      put(high_surrogate_of(v));
      put(low_surrogate_of(v));
    } else {
      put(v);
    }
  }
  if (capacity) out[need < capacity ? need : capacity - 1] = 0;
  return need;
}

}  // namespace ko

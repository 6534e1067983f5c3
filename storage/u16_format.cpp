/*
 * u16_format.cpp: the bounded printf-style formatter for UTF-16 output.
 *
 * Integers are rendered here digit by digit; floating-point conversions go
 * through the C library's snprintf (whose output is ASCII) and are widened.
 *
 * Sink keeps counting past the end of the buffer: the result is the length the
 * whole text needs, as snprintf gives it. That is why it is not the format
 * renderers' TextOutput (format/text_output.h), whose result is the count
 * stored in an int-sized buffer.
 */
#include "storage/u16_format.h"

#include <cstdint>
#include <cstdio>
#include <type_traits>

#include "platform/utf16.h"

namespace ko {
namespace {

class Sink {
 public:
  Sink(KOCHAR* out, size_t capacity) : out_(out), capacity_(capacity) {}
  void put(KOCHAR c) {
    if (length_ + 1 < capacity_) out_[length_] = c;
    ++length_;
  }
  void repeat(KOCHAR c, long count) {
    for (; count > 0; --count) put(c);
  }
  size_t finish() {
    if (capacity_) out_[length_ < capacity_ ? length_ : capacity_ - 1] = 0;
    return length_;
  }

 private:
  KOCHAR* out_;
  size_t capacity_;
  size_t length_ = 0;
};

struct Directive {
  bool left = false, plus = false, space = false, zero = false, alt = false;
  long width = 0;
  long precision = -1;
  int size = 32;  // argument width in bits: 8, 16, 32, 64
  bool size_t_arg = false;
  bool narrow_text = false;  // an h prefix: %hs is 8-bit text
};

void emit_padded(Sink& sink, const Directive& directive, const KOCHAR* prefix, size_t prefix_len,
                 const char* body, size_t body_len, long zeros) {
  long total = long(prefix_len + body_len) + zeros;
  long pad = directive.width > total ? directive.width - total : 0;
  if (!directive.left) sink.repeat(u' ', pad);
  for (size_t i = 0; i < prefix_len; ++i) sink.put(prefix[i]);
  sink.repeat(u'0', zeros);
  for (size_t i = 0; i < body_len; ++i) sink.put(KOCHAR(static_cast<unsigned char>(body[i])));
  if (directive.left) sink.repeat(u' ', pad);
}

void emit_integer(Sink& sink, const Directive& directive, char conv, uint64_t magnitude,
                  bool negative) {
  char digits[72];
  size_t n = 0;
  unsigned base = (conv == 'x' || conv == 'X' || conv == 'p') ? 16 : conv == 'o' ? 8 : 10;
  const char* alphabet = conv == 'X' ? kHexDigitsUpper : kHexDigitsLower;
  char reversed[72];
  size_t r = 0;
  while (magnitude) {
    reversed[r++] = alphabet[magnitude % base];
    magnitude /= base;
  }
  if (r == 0 && directive.precision != 0) reversed[r++] = '0';
  while (r) digits[n++] = reversed[--r];

  KOCHAR prefix[3];
  size_t prefix_len = 0;
  bool is_signed = conv == 'd' || conv == 'i';
  if (is_signed) {
    if (negative)
      prefix[prefix_len++] = u'-';
    else if (directive.plus)
      prefix[prefix_len++] = u'+';
    else if (directive.space)
      prefix[prefix_len++] = u' ';
  }
  if (directive.alt && base == 16 && n && !(n == 1 && digits[0] == '0')) {
    prefix[prefix_len++] = u'0';
    prefix[prefix_len++] = conv == 'X' ? u'X' : u'x';
  }
  long zeros = 0;
  if (directive.precision >= 0) {
    if (long(n) < directive.precision) zeros = directive.precision - long(n);
  } else if (directive.zero && !directive.left) {
    long used = long(prefix_len + n);
    if (directive.width > used) zeros = directive.width - used;
  }
  if (directive.alt && base == 8 && zeros == 0 && (n == 0 || digits[0] != '0')) zeros = 1;
  emit_padded(sink, directive, prefix, prefix_len, digits, n, zeros);
}

// Reads the flags, width, precision and size prefix after a '%'; `p` is left
// on the conversion character. A '*' width or precision takes an int argument.
template <typename Char>
Directive parse_directive(const Char*& p, va_list* args) {
  Directive directive;
  for (;; ++p) {
    if (*p == '-')
      directive.left = true;
    else if (*p == '+')
      directive.plus = true;
    else if (*p == ' ')
      directive.space = true;
    else if (*p == '0')
      directive.zero = true;
    else if (*p == '#')
      directive.alt = true;
    else
      break;
  }
  if (*p == '*') {
    directive.width = va_arg(*args, int);
    if (directive.width < 0) directive.left = true, directive.width = -directive.width;
    ++p;
  } else {
    while (*p >= '0' && *p <= '9') directive.width = directive.width * 10 + (*p++ - '0');
  }
  if (*p == '.') {
    ++p;
    directive.precision = 0;
    if (*p == '*') {
      directive.precision = va_arg(*args, int);
      if (directive.precision < 0) directive.precision = -1;
      ++p;
    } else {
      while (*p >= '0' && *p <= '9') directive.precision = directive.precision * 10 + (*p++ - '0');
    }
  }
  if (*p == 'h') {
    ++p;
    directive.size = 16;
    directive.narrow_text = true;
    if (*p == 'h') ++p, directive.size = 8;
  } else if (*p == 'l') {
    ++p;
    if (*p == 'l') ++p, directive.size = 64;
  } else if (*p == 'I' && p[1] == '6' && p[2] == '4') {
    p += 3;
    directive.size = 64;
  } else if (*p == 'I' && p[1] == '3' && p[2] == '2') {
    p += 3;
  } else if (*p == 'z' || *p == 'j' || *p == 't') {
    ++p;
    directive.size = 64;
    directive.size_t_arg = true;
  }
  return directive;
}

// d i
void write_signed(Sink& sink, const Directive& directive, char conv, va_list* args) {
  int64_t v = directive.size == 64 ? va_arg(*args, int64_t) : int64_t(va_arg(*args, int));
  if (directive.size == 16) v = int16_t(v);
  if (directive.size == 8) v = int8_t(v);
  uint64_t magnitude = v < 0 ? 0 - uint64_t(v) : uint64_t(v);
  emit_integer(sink, directive, conv, magnitude, v < 0);
}

// u x X o
void write_unsigned(Sink& sink, const Directive& directive, char conv, va_list* args) {
  uint64_t v = directive.size == 64 ? va_arg(*args, uint64_t) : uint64_t(va_arg(*args, unsigned));
  if (directive.size == 16) v = uint16_t(v);
  if (directive.size == 8) v = uint8_t(v);
  emit_integer(sink, directive, conv, v, false);
}

// p: sixteen upper-case hex digits.
void write_pointer(Sink& sink, const Directive& directive, va_list* args) {
  Directive pointer = directive;
  pointer.precision = 16;
  emit_integer(sink, pointer, 'X', uint64_t(uintptr_t(va_arg(*args, void*))), false);
}

// c: one UTF-16 unit passed as int.
void write_char(Sink& sink, const Directive& directive, va_list* args) {
  KOCHAR c = KOCHAR(va_arg(*args, int));
  long pad = directive.width > 1 ? directive.width - 1 : 0;
  if (!directive.left) sink.repeat(u' ', pad);
  sink.put(c);
  if (directive.left) sink.repeat(u' ', pad);
}

// s S hs: UTF-16 text, or 8-bit text for S and hs; a null text is "(null)".
void write_text(Sink& sink, const Directive& directive, char conv, va_list* args) {
  long pad;
  if (directive.narrow_text || conv == 'S') {
    const char* text = va_arg(*args, const char*);
    if (!text) text = "(null)";
    size_t n = 0;
    while (text[n] && (directive.precision < 0 || long(n) < directive.precision)) ++n;
    pad = directive.width > long(n) ? directive.width - long(n) : 0;
    if (!directive.left) sink.repeat(u' ', pad);
    for (size_t i = 0; i < n; ++i) sink.put(KOCHAR(static_cast<unsigned char>(text[i])));
  } else {
    const KOCHAR* text = va_arg(*args, const KOCHAR*);
    if (!text) text = u"(null)";
    size_t n = directive.precision < 0 ? u16len(text) : u16nlen(text, size_t(directive.precision));
    pad = directive.width > long(n) ? directive.width - long(n) : 0;
    if (!directive.left) sink.repeat(u' ', pad);
    for (size_t i = 0; i < n; ++i) sink.put(text[i]);
  }
  if (directive.left) sink.repeat(u' ', pad);
}

// e E f F g G a A: the C library's rendering, widened.
void write_floating(Sink& sink, const Directive& directive, char conv, va_list* args) {
  char c_format[32];
  int k = 0;
  c_format[k++] = '%';
  if (directive.left) c_format[k++] = '-';
  if (directive.plus) c_format[k++] = '+';
  if (directive.space) c_format[k++] = ' ';
  if (directive.zero) c_format[k++] = '0';
  if (directive.alt) c_format[k++] = '#';
  c_format[k++] = '*';
  c_format[k++] = '.';
  c_format[k++] = '*';
  c_format[k++] = conv;
  c_format[k] = 0;
  double v = va_arg(*args, double);
  char text[512];
  int n = std::snprintf(text, sizeof text, c_format, int(directive.width),
                        int(directive.precision < 0 ? 6 : directive.precision), v);
  for (int i = 0; i < n && i < int(sizeof text) - 1; ++i) sink.put(KOCHAR(text[i]));
}

// One conversion; false when `conv` is not one.
bool write_conversion(Sink& sink, const Directive& directive, char conv, va_list* args) {
  switch (conv) {
    case 'd':
    case 'i':
      write_signed(sink, directive, conv, args);
      return true;
    case 'u':
    case 'x':
    case 'X':
    case 'o':
      write_unsigned(sink, directive, conv, args);
      return true;
    case 'p':
      write_pointer(sink, directive, args);
      return true;
    case 'c':
      write_char(sink, directive, args);
      return true;
    case 's':
    case 'S':
      write_text(sink, directive, conv, args);
      return true;
    case 'e':
    case 'E':
    case 'f':
    case 'F':
    case 'g':
    case 'G':
    case 'a':
    case 'A':
      write_floating(sink, directive, conv, args);
      return true;
    case '%':
      sink.put(u'%');
      return true;
    default:
      return false;
  }
}

template <typename Char>
size_t format_impl(KOCHAR* out, size_t capacity, const Char* format, va_list list) {
  Sink sink(out, capacity);
  if (!format) return sink.finish();
  // A copy, so that the writers can take arguments through a pointer to it.
  va_list args;
  va_copy(args, list);
  for (const Char* p = format; *p; ++p) {
    if (*p != '%') {
      sink.put(KOCHAR(static_cast<std::make_unsigned_t<Char>>(*p)));
      continue;
    }
    const Char* start = p++;
    const Directive directive = parse_directive(p, &args);
    if (!write_conversion(sink, directive, char(*p), &args)) {
      // An unknown conversion is copied as it stands.
      for (const Char* q = start; q <= p && *q; ++q) sink.put(KOCHAR(*q));
      if (!*p) break;
    }
  }
  va_end(args);
  return sink.finish();
}

}  // namespace

size_t u16_vformat(KOCHAR* out, size_t capacity, const char* format, va_list args) {
  return format_impl(out, capacity, format, args);
}

size_t u16_vformat(KOCHAR* out, size_t capacity, const KOCHAR* format, va_list args) {
  return format_impl(out, capacity, format, args);
}

size_t u16_format(KOCHAR* out, size_t capacity, const char* format, ...) {
  va_list args;
  va_start(args, format);
  size_t n = format_impl(out, capacity, format, args);
  va_end(args);
  return n;
}

size_t u16_format(KOCHAR* out, size_t capacity, const KOCHAR* format, ...) {
  va_list args;
  va_start(args, format);
  size_t n = format_impl(out, capacity, format, args);
  va_end(args);
  return n;
}

}  // namespace ko

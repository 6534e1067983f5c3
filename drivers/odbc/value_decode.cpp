// value_decode.cpp: ODBC buffers to values, values to parameter text.
//
// A decimal's magnitude is gathered in 128 bits and must fit the 96 the
// shared decimal has; its scale is the number of digits after the point as
// the database wrote them (trailing zeros kept, so numeric(12,2) 1.50 stays
// 150 scaled by 2), reduced only by dropping trailing zeros when it would
// exceed 28. An exponent ("1.5e3", as some databases write floating values)
// moves the point. Anything else keeps the database's text.
#include "drivers/odbc/value_decode.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace ko::odbc {
namespace {

using Wide = unsigned __int128;

constexpr int kMaxScale = 28;
const Wide kLimit = Wide{1} << 96;

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Narrow text as UTF-16: read as UTF-8 (what the ODBC drivers we know write
// for SQL_C_CHAR) when it is, else byte for byte.
void widen(const char* text, size_t length, std::u16string& out) {
  out.clear();
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  for (size_t at = 0; at < length;) {
    const unsigned lead = bytes[at];
    const size_t extra = lead < 0x80                   ? 0
                         : lead >= 0xC2 && lead < 0xE0 ? 1
                         : lead >= 0xE0 && lead < 0xF0 ? 2
                         : lead >= 0xF0 && lead < 0xF5 ? 3
                                                       : 4;
    char32_t code = extra == 0 ? lead : lead & (0x3F >> extra);
    for (size_t k = 1; k <= extra && extra < 4; ++k) {
      if (at + k >= length || (bytes[at + k] & 0xC0) != 0x80) {
        code = 0x110000;  // not UTF-8
        break;
      }
      code = (code << 6) | (bytes[at + k] & 0x3F);
    }
    const char32_t least[] = {0, 0x80, 0x800, 0x10000};
    if (extra == 4 || code < least[extra] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
      out.assign(bytes, bytes + length);
      return;
    }
    if (code >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
    } else {
      out += static_cast<char16_t>(code);
    }
    at += extra + 1;
  }
}

void as_text(const char* text, size_t length, std::u16string& spill, DbiValue& value) {
  widen(text, length, spill);
  value.type = DBI_TYPE_TEXT;
  value.length = static_cast<uint32_t>(spill.size());
  value.as.text = spill.c_str();
}

// The length of a narrow buffer's text: up to its terminator or its end.
size_t narrow_length(const char* text, size_t bytes) {
  if (bytes == 0) return 0;
  const void* end = std::memchr(text, 0, bytes);
  return end != nullptr ? static_cast<size_t>(static_cast<const char*>(end) - text) : bytes;
}

// Reads exactly `count` digits at `at`; false when they are not all digits.
bool read_number(const char* text, size_t length, size_t& at, size_t count, unsigned& out) {
  if (at + count > length) return false;
  out = 0;
  for (size_t i = 0; i < count; ++i) {
    if (!is_digit(text[at + i])) return false;
    out = out * 10 + static_cast<unsigned>(text[at + i] - '0');
  }
  at += count;
  return true;
}

bool read_date(const char* text, size_t length, size_t& at, KODATETIME& out) {
  unsigned year = 0, month = 0, day = 0;
  if (!read_number(text, length, at, 4, year) || at >= length || text[at++] != '-' ||
      !read_number(text, length, at, 2, month) || at >= length || text[at++] != '-' ||
      !read_number(text, length, at, 2, day)) {
    return false;
  }
  static const unsigned kDays[] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 1900 || month < 1 || month > 12 || day < 1 || day > kDays[month - 1]) return false;
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  if (month == 2 && day == 29 && !leap) return false;
  out.year = static_cast<uint16_t>(year - 1900);
  out.month = static_cast<uint8_t>(month - 1);
  out.day = static_cast<uint8_t>(day);
  return true;
}

bool read_time(const char* text, size_t length, size_t& at, KODATETIME& out) {
  unsigned hour = 0, minute = 0, second = 0;
  if (!read_number(text, length, at, 2, hour) || at >= length || text[at++] != ':' ||
      !read_number(text, length, at, 2, minute) || at >= length || text[at++] != ':' ||
      !read_number(text, length, at, 2, second)) {
    return false;
  }
  if (hour > 23 || minute > 59 || second > 59) return false;
  out.hour = static_cast<uint8_t>(hour);
  out.minute = static_cast<uint8_t>(minute);
  out.second = static_cast<uint8_t>(second);
  if (at < length && text[at] == '.') {
    ++at;
    uint32_t micro = 0;
    size_t digits = 0;
    for (; at < length && is_digit(text[at]); ++at, ++digits) {
      // Digits past the microsecond are kept only when they are zeros.
      if (digits < 6) {
        micro = micro * 10 + static_cast<uint32_t>(text[at] - '0');
      } else if (text[at] != '0') {
        return false;
      }
    }
    if (digits == 0) return false;
    for (; digits < 6; ++digits) micro *= 10;
    out.subsecond = micro;
  }
  return true;
}

// The text nearly every database writes for a number: an optional minus and
// at most `max_digits` digits around at most one point, gathered in 64 bits.
// False for anything else, which the general readers take.
struct PlainNumber {
  bool negative = false;
  uint64_t digits = 0;  // every digit, the point left out
  int fraction = 0;     // how many of them follow the point
};

bool read_plain_number(const char* text, size_t length, size_t max_digits, PlainNumber& out) {
  out = PlainNumber{};
  out.negative = length > 0 && text[0] == '-';
  bool point = false;
  size_t count = 0;
  for (size_t at = out.negative ? 1 : 0; at < length; ++at) {
    const char c = text[at];
    if (is_digit(c)) {
      if (++count > max_digits) return false;
      out.digits = out.digits * 10 + static_cast<unsigned>(c - '0');
      if (point) ++out.fraction;
    } else if (c == '.' && !point) {
      point = true;
    } else {
      return false;
    }
  }
  return count > 0;
}

}  // namespace

bool parse_double(const char* text, size_t length, double& out) {
  // Up to 15 digits: the digits as an integer and the power of ten are both
  // exact doubles, so one correctly rounded division gives the double
  // nearest to the text.
  static const double kPowersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  PlainNumber plain;
  if (read_plain_number(text, length, 15, plain)) {
    const double magnitude = static_cast<double>(plain.digits) / kPowersOfTen[plain.fraction];
    out = plain.negative ? -magnitude : magnitude;
    return true;
  }
  const char* end = text + length;
  const auto [stop, error] = std::from_chars(text, end, out);
  return error == std::errc() && stop == end;
}

bool parse_decimal(const char* text, size_t length, KODECIMAL& out) {
  PlainNumber plain;
  if (read_plain_number(text, length, 18, plain)) {
    out = KODECIMAL{};
    out.scale = static_cast<uint8_t>(plain.fraction);
    out.sign = plain.negative && plain.digits != 0 ? KODECIMAL_NEGATIVE : 0;
    out.lo64 = plain.digits;
    return true;
  }
  size_t at = 0;
  while (at < length && text[at] == ' ') ++at;
  bool negative = false;
  if (at < length && (text[at] == '-' || text[at] == '+')) negative = text[at++] == '-';
  Wide magnitude = 0;
  int scale = 0;
  size_t digits = 0;
  size_t fraction_zeros = 0;  // trailing zeros after the point, not yet applied
  bool point = false;
  for (; at < length; ++at) {
    const char c = text[at];
    if (c == '.' && !point) {
      point = true;
      continue;
    }
    if (!is_digit(c)) break;
    ++digits;
    if (point && c == '0') {
      ++fraction_zeros;
      continue;
    }
    for (; fraction_zeros > 0; --fraction_zeros, ++scale) {
      magnitude *= 10;
      if (magnitude >= kLimit) return false;
    }
    magnitude = magnitude * 10 + static_cast<unsigned>(c - '0');
    if (magnitude >= kLimit) return false;
    if (point) ++scale;
  }
  if (digits == 0) return false;
  // Trailing zeros keep the scale as written, as far as the decimal holds it.
  for (; fraction_zeros > 0 && scale < kMaxScale && magnitude * 10 < kLimit; --fraction_zeros) {
    magnitude *= 10;
    ++scale;
  }
  if (at < length && (text[at] == 'e' || text[at] == 'E')) {
    ++at;
    bool minus = false;
    if (at < length && (text[at] == '-' || text[at] == '+')) minus = text[at++] == '-';
    int exponent = 0;
    size_t exponent_digits = 0;
    for (; at < length && is_digit(text[at]); ++at, ++exponent_digits) {
      if (exponent > 1000) return false;
      exponent = exponent * 10 + (text[at] - '0');
    }
    if (exponent_digits == 0) return false;
    scale += minus ? exponent : -exponent;
  }
  while (at < length && text[at] == ' ') ++at;
  if (at != length) return false;
  for (; scale < 0; ++scale) {
    magnitude *= 10;
    if (magnitude >= kLimit) return false;
  }
  for (; scale > kMaxScale && magnitude % 10 == 0; --scale) magnitude /= 10;
  if (scale > kMaxScale) return false;
  out = KODECIMAL{};
  out.scale = static_cast<uint8_t>(scale);
  out.sign = negative && magnitude != 0 ? KODECIMAL_NEGATIVE : 0;
  out.hi32 = static_cast<uint32_t>(magnitude >> 64);
  out.lo64 = static_cast<uint64_t>(magnitude);
  return true;
}

bool parse_datetime(const char* text, size_t length, int32_t type, KODATETIME& out) {
  out = KODATETIME{};
  size_t at = 0;
  if (type == DBI_TYPE_TIME) {
    if (!read_time(text, length, at, out)) return false;
  } else {
    if (!read_date(text, length, at, out)) return false;
    if (at < length && (text[at] == ' ' || text[at] == 'T')) {
      ++at;
      if (!read_time(text, length, at, out)) return false;
    }
  }
  return at == length;
}

void decode_value(BufferKind kind, const void* data, size_t bytes, std::u16string& spill,
                  DbiValue& value) {
  value = DbiValue{};
  switch (kind) {
    case BufferKind::kInteger:
      if (bytes < sizeof(int32_t)) return;
      value.type = DBI_TYPE_INTEGER;
      std::memcpy(&value.as.integer, data, sizeof(int32_t));
      return;
    case BufferKind::kBigint:
      if (bytes < sizeof(int64_t)) return;
      value.type = DBI_TYPE_BIGINT;
      std::memcpy(&value.as.bigint, data, sizeof(int64_t));
      return;
    case BufferKind::kReal:
      if (bytes < sizeof(float)) return;
      value.type = DBI_TYPE_REAL;
      std::memcpy(&value.as.real, data, sizeof(float));
      return;
    case BufferKind::kDouble:
      if (bytes < sizeof(double)) return;
      value.type = DBI_TYPE_DOUBLE;
      std::memcpy(&value.as.dbl, data, sizeof(double));
      return;
    case BufferKind::kDoubleText: {
      const char* text = static_cast<const char*>(data);
      const size_t length = narrow_length(text, bytes);
      if (parse_double(text, length, value.as.dbl)) {
        value.type = DBI_TYPE_DOUBLE;
      } else {
        as_text(text, length, spill, value);
      }
      return;
    }
    case BufferKind::kDecimal: {
      const char* text = static_cast<const char*>(data);
      const size_t length = narrow_length(text, bytes);
      if (parse_decimal(text, length, value.as.decimal)) {
        value.type = DBI_TYPE_DECIMAL;
      } else {
        as_text(text, length, spill, value);
      }
      return;
    }
    case BufferKind::kDate:
    case BufferKind::kTime:
    case BufferKind::kTimestamp: {
      const int32_t type = kind == BufferKind::kDate   ? DBI_TYPE_DATE
                           : kind == BufferKind::kTime ? DBI_TYPE_TIME
                                                       : DBI_TYPE_TIMESTAMP;
      const char* text = static_cast<const char*>(data);
      const size_t length = narrow_length(text, bytes);
      // A date column may hold a date-time (delivered as a timestamp, so a
      // date's time fields stay 0) and a timestamp column a bare date.
      if (parse_datetime(text, length, type, value.as.datetime)) {
        value.type = type == DBI_TYPE_DATE && length > 10 ? DBI_TYPE_TIMESTAMP : type;
      } else {
        as_text(text, length, spill, value);
      }
      return;
    }
    case BufferKind::kText:
      value.type = DBI_TYPE_TEXT;
      value.length = static_cast<uint32_t>(bytes / sizeof(KOCHAR));
      value.as.text = static_cast<const KOCHAR*>(data);
      return;
    case BufferKind::kBinary:
      value.type = DBI_TYPE_BINARY;
      value.length = static_cast<uint32_t>(bytes);
      value.as.binary = static_cast<const uint8_t*>(data);
      return;
  }
}

std::string decimal_text(const KODECIMAL& value) {
  Wide magnitude = (Wide{value.hi32} << 64) | value.lo64;
  const int scale = value.scale > kMaxScale ? kMaxScale : value.scale;
  std::string digits;
  do {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
    magnitude /= 10;
  } while (magnitude != 0);
  while (digits.size() <= static_cast<size_t>(scale)) digits.insert(digits.begin(), '0');
  if (scale > 0) digits.insert(digits.end() - scale, '.');
  if (value.sign == KODECIMAL_NEGATIVE) digits.insert(digits.begin(), '-');
  return digits;
}

std::string datetime_text(const KODATETIME& value, int32_t type) {
  char out[40];
  int length = 0;
  if (type != DBI_TYPE_TIME) {
    length += std::snprintf(out, sizeof out, "%04u-%02u-%02u", value.year + 1900u, value.month + 1u,
                            static_cast<unsigned>(value.day));
  }
  if (type != DBI_TYPE_DATE) {
    if (length > 0) out[length++] = ' ';
    length +=
        std::snprintf(out + length, sizeof out - static_cast<size_t>(length), "%02u:%02u:%02u",
                      static_cast<unsigned>(value.hour), static_cast<unsigned>(value.minute),
                      static_cast<unsigned>(value.second));
    if (value.subsecond != 0) {
      length += std::snprintf(out + length, sizeof out - static_cast<size_t>(length), ".%06u",
                              static_cast<unsigned>(value.subsecond % 1000000u));
    }
  }
  return std::string(out, static_cast<size_t>(length));
}

}  // namespace ko::odbc

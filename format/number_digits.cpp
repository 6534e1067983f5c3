/*
 * number_digits.cpp: turning doubles, floats, 64-bit integers and decimals
 * into significant digits and an exponent.
 *
 * The digits of a double and a float come from std::to_chars in scientific
 * form, which gives the correctly rounded digits of the exact binary value:
 * the same digits "%+#23.15e" and "%+#.7e" print (the test suite checks this
 * over millions of random values), without the C library's formatter on the
 * rendering path.
 */
#include "format/number_digits.h"

#include <charconv>
#include <cmath>

namespace ko {
namespace {

void strip_trailing_zeros(DigitString& value) {
  while (value.count > 0 && value.digits[value.count - 1] == '0') --value.count;
  if (value.count == 0) value.exponent = 0;
}

// Reads "d.ddd...e+XX" as written by to_chars in scientific form.
void read_scientific(const char* text, const char* end, DigitString& out) {
  out.count = 0;
  const char* p = text;
  for (; p < end && *p != 'e'; ++p) {
    if (*p != '.') out.digits[out.count++] = *p;
  }
  int exponent = 0;
  bool negative_exponent = false;
  if (p < end) ++p;
  if (p < end && (*p == '+' || *p == '-')) negative_exponent = *p++ == '-';
  for (; p < end; ++p) exponent = exponent * 10 + (*p - '0');
  out.exponent = (negative_exponent ? -exponent : exponent) + 1;
}

bool ends_with_any(const DigitString& value, const char* const* endings, int count) {
  if (value.count < 2) return false;
  for (int i = 0; i < count; ++i) {
    if (value.digits[value.count - 2] == endings[i][0] &&
        value.digits[value.count - 1] == endings[i][1]) {
      return true;
    }
  }
  return false;
}

// Shared by double and float: `precision` digits after the first.
void digits_from_binary(double magnitude, int precision, const char* const* noise,
                        int noise_count, DigitString& out) {
  char text[40];
  auto result =
      std::to_chars(text, text + sizeof text, magnitude, std::chars_format::scientific, precision);
  read_scientific(text, result.ptr, out);
  if (out.count == precision + 1 && ends_with_any(out, noise, noise_count)) {
    round_digits(out, precision);
  }
  strip_trailing_zeros(out);
}

bool classify(double value, DigitString& out) {
  out = DigitString();
  if (std::isnan(value)) {
    out.kind = NumberKind::kNaN;
    return false;
  }
  out.negative = std::signbit(value) && value != 0;
  if (std::isinf(value)) {
    out.kind = NumberKind::kInfinity;
    return false;
  }
  return value != 0;
}

void digits_from_magnitude(unsigned __int128 magnitude, DigitString& out) {
  char reversed[40];
  int count = 0;
  while (magnitude) {
    reversed[count++] = char('0' + int(magnitude % 10));
    magnitude /= 10;
  }
  out.count = count;
  out.exponent = count;
  for (int i = 0; i < count; ++i) out.digits[i] = reversed[count - 1 - i];
  strip_trailing_zeros(out);
}

}  // namespace

void digits_from_double(double value, DigitString& out) {
  static const char* const kNoise[] = {"99", "01"};
  if (!classify(value, out)) return;
  digits_from_binary(std::fabs(value), 15, kNoise, 2, out);
}

void digits_from_float(float value, DigitString& out) {
  static const char* const kNoise[] = {"99", "98", "01", "02"};
  if (!classify(value, out)) return;
  digits_from_binary(std::fabs(double(value)), 7, kNoise, 4, out);
}

// The magnitude of the smallest 64-bit integer does not fit in 64 bits; in
// unsigned arithmetic it is exact, and prints as 9223372036854775808.
void digits_from_int64(int64_t value, DigitString& out) {
  out = DigitString();
  out.negative = value < 0;
  uint64_t magnitude = out.negative ? 0 - uint64_t(value) : uint64_t(value);
  digits_from_magnitude(magnitude, out);
}

void digits_from_decimal(const KODECIMAL& value, DigitString& out) {
  out = DigitString();
  unsigned __int128 magnitude = (unsigned __int128)(value.hi32) << 64 | value.lo64;
  out.negative = (value.sign & KODECIMAL_NEGATIVE) && magnitude != 0;
  digits_from_magnitude(magnitude, out);
  if (out.count) out.exponent -= value.scale;
}

void round_digits(DigitString& value, int keep) {
  if (keep >= value.count) return;
  if (keep < 0) {
    value.count = 0;
    value.exponent = 0;
    return;
  }
  bool up = value.digits[keep] >= '5';
  value.count = keep;
  if (up) {
    int i = keep - 1;
    while (i >= 0 && value.digits[i] == '9') --i;
    if (i < 0) {
      value.digits[0] = '1';
      value.count = 1;
      ++value.exponent;
    } else {
      ++value.digits[i];
      value.count = i + 1;
    }
  }
  strip_trailing_zeros(value);
}

}  // namespace ko

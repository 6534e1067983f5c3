/*
 * number_digits.cpp: turning doubles, floats, 64-bit integers and decimals
 * into significant digits and an exponent.
 *
 * The digits of a double and a float come from std::to_chars in scientific
 * form, which gives the correctly rounded digits of the exact binary value:
 * the same digits "%+#23.15e" and "%+#.7e" print, without the C library's
 * formatter on the rendering path. Most business values (1E-7 to 2^53)
 * take a faster exact path in integer arithmetic (sixteen_digits_exact);
 * the test suite checks both paths against printf over millions of random
 * values.
 */
#include "format/number_digits.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace ko {
namespace {

void strip_trailing_zeros(DigitString& value) {
  while (value.count > 0 && value.digits[value.count - 1] == '0') --value.count;
  if (value.count == 0) value.exponent = 0;
}

// Reads "d.ddd...e+XX" as written by to_chars in scientific form.
void read_scientific(const char* text, const char* end, DigitString& out) {
  char* digits = out.digits;
  int count = 0;
  const char* p = text;
  for (; p < end && *p != 'e'; ++p) {
    if (*p != '.') digits[count++] = *p;
  }
  int exponent = 0;
  bool negative_exponent = false;
  if (p < end) ++p;
  if (p < end && (*p == '+' || *p == '-')) negative_exponent = *p++ == '-';
  for (; p < end; ++p) exponent = exponent * 10 + (*p - '0');
  out.count = count;
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

// The digits of "%+#.<precision>e" for a positive finite value: correctly
// rounded, so std::to_chars with that precision gives them.
void printf_digits(double magnitude, int precision, DigitString& out) {
  char text[40];
  auto result =
      std::to_chars(text, text + sizeof text, magnitude, std::chars_format::scientific, precision);
  read_scientific(text, result.ptr, out);
}

constexpr uint64_t kPowersOfTen[] = {1ull,
                                     10ull,
                                     100ull,
                                     1000ull,
                                     10000ull,
                                     100000ull,
                                     1000000ull,
                                     10000000ull,
                                     100000000ull,
                                     1000000000ull,
                                     10000000000ull,
                                     100000000000ull,
                                     1000000000000ull,
                                     10000000000000ull,
                                     100000000000000ull,
                                     1000000000000000ull,
                                     10000000000000000ull,
                                     100000000000000000ull,
                                     1000000000000000000ull,
                                     10000000000000000000ull};

void write_four_digits(uint32_t value, char* out) {
  uint32_t high = value / 100, low = value % 100;
  out[0] = char('0' + high / 10);
  out[1] = char('0' + high % 10);
  out[2] = char('0' + low / 10);
  out[3] = char('0' + low % 10);
}

unsigned __int128 power_of_ten(int n) {
  return n < 20 ? kPowersOfTen[n] : (unsigned __int128)kPowersOfTen[19] * kPowersOfTen[n - 19];
}

// The 16 digits "%+#23.15e" prints, by exact integer arithmetic, for normal
// doubles from 1E-7 up to 2^53: with the value m * 2^e (m a 53-bit integer,
// e <= 0), the digits are m * 10^p / 2^-e rounded half to even, which fits
// 128 bits for p <= 22. Returns false for values outside that range.
bool sixteen_digits_exact(double magnitude, DigitString& out) {
  uint64_t bits;
  std::memcpy(&bits, &magnitude, sizeof bits);
  int biased = int(bits >> 52);
  if (biased == 0) return false;  // subnormal
  uint64_t mantissa = (bits & ((1ull << 52) - 1)) | (1ull << 52);
  int shift = 1075 - biased;  // value = mantissa / 2^shift
  if (shift < 0 || shift > 52 + 24) return false;
  // 2^(52 - shift) <= value: a first guess of the decimal exponent, which the
  // digit count corrects.
  int exponent = ((52 - shift) * 78913 >> 18) + 1;  // floor(log10(2) * n) for |n| < 2^13
  for (int attempt = 0; attempt < 2; ++attempt) {
    int p = 16 - exponent;
    if (p < 0 || p > 22) return false;
    unsigned __int128 scaled = (unsigned __int128)mantissa * power_of_ten(p);
    unsigned __int128 quotient = scaled >> shift;
    if (quotient < kPowersOfTen[15]) {
      --exponent;
      continue;
    }
    if (quotient >= kPowersOfTen[16]) {
      ++exponent;
      continue;
    }
    if (shift) {
      unsigned __int128 remainder = scaled - (quotient << shift);
      unsigned __int128 half = (unsigned __int128)1 << (shift - 1);
      if (remainder > half || (remainder == half && (quotient & 1))) ++quotient;
    }
    if (quotient == kPowersOfTen[16]) {  // rounded up to the next power of ten
      quotient = kPowersOfTen[15];
      ++exponent;
    }
    uint64_t q = uint64_t(quotient);
    write_four_digits(uint32_t(q / 1000000000000ull), out.digits);
    write_four_digits(uint32_t(q / 100000000 % 10000), out.digits + 4);
    write_four_digits(uint32_t(q / 10000 % 10000), out.digits + 8);
    write_four_digits(uint32_t(q % 10000), out.digits + 12);
    out.count = 16;
    out.exponent = exponent;
    return true;
  }
  return false;
}

// Drops binary noise: a full-length digit string ending in one of `noise`
// is rounded again one digit shorter.
void drop_noise(int full_length, const char* const* noise, int noise_count, DigitString& out) {
  if (out.count == full_length && ends_with_any(out, noise, noise_count)) {
    round_digits(out, full_length - 1);
  }
  strip_trailing_zeros(out);
}

bool classify(double value, DigitString& out) {
  out.count = 0;
  out.exponent = 0;
  out.negative = false;
  out.kind = NumberKind::kFinite;
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
  // 128-bit divisions are library calls; once the rest fits 64 bits the
  // compiler divides by 10 with a multiplication.
  while (magnitude >> 64) {
    reversed[count++] = char('0' + int(magnitude % 10));
    magnitude /= 10;
  }
  for (uint64_t rest = uint64_t(magnitude); rest != 0; rest /= 10) {
    reversed[count++] = char('0' + int(rest % 10));
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
  double magnitude = std::fabs(value);
  if (!sixteen_digits_exact(magnitude, out)) printf_digits(magnitude, 15, out);
  drop_noise(16, kNoise, 2, out);
}

void digits_from_double_shortest(double value, DigitString& out) {
  if (!classify(value, out)) return;
  char text[40];
  auto result =
      std::to_chars(text, text + sizeof text, std::fabs(value), std::chars_format::scientific);
  read_scientific(text, result.ptr, out);
  strip_trailing_zeros(out);
}

void digits_from_float(float value, DigitString& out) {
  static const char* const kNoise[] = {"99", "98", "01", "02"};
  if (!classify(value, out)) return;
  printf_digits(std::fabs(double(value)), 7, out);
  drop_noise(8, kNoise, 4, out);
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

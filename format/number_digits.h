/*
 * number_digits.h: a number as a sign, a string of significant digits and a
 * decimal exponent, the form every number renderer works from.
 *
 * The value is 0.d1d2d3... x 10^exponent; zero has no digits and exponent 0.
 * Trailing zeros are never kept. The digits of a double are the 16 that
 * "%+#23.15e" prints, rounded again to 15 when they end in "99" or "01"
 * (so that 0.30000000000000004 renders as 0.3); a float's are the 8 of
 * "%+#.7e", rounded again to 7 when they end in 99, 98, 01 or 02.
 */
#ifndef KOSHR_FORMAT_NUMBER_DIGITS_H
#define KOSHR_FORMAT_NUMBER_DIGITS_H

#include <koshr/types.h>

#include <cstdint>

namespace ko {

// "[GENERAL]" shows at most this many significant digits: a value with more
// is rounded by it.
constexpr int kGeneralDigits = 15;

enum class NumberKind { kFinite, kNull, kNaN, kInfinity };

struct DigitString {
  char digits[32];  // ASCII '0'-'9'; a 96-bit decimal has at most 29
  int count = 0;
  int exponent = 0;
  bool negative = false;
  NumberKind kind = NumberKind::kFinite;

  bool is_zero() const { return count == 0; }
  // The digit at index (0-based from the first significant digit); '0'
  // outside the string.
  char at(int index) const { return index >= 0 && index < count ? digits[index] : '0'; }
};

void digits_from_double(double value, DigitString& out);
void digits_from_float(float value, DigitString& out);
// The fewest digits that read back as the same double (no noise rounding):
// the exact value a writer must keep when it cannot round.
void digits_from_double_shortest(double value, DigitString& out);
void digits_from_int64(int64_t value, DigitString& out);
void digits_from_decimal(const KODECIMAL& value, DigitString& out);

// Keeps the first `keep` significant digits, rounding half away from zero
// (a carry may add a digit and raise the exponent); keep <= 0 rounds to the
// digit before the first, and may leave zero.
void round_digits(DigitString& value, int keep);

}  // namespace ko

#endif

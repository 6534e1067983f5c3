// The renderer's digits are those of "%+#23.15e" (doubles) and "%+#.7e"
// (floats), re-rounded to drop binary noise. The fast path takes them from
// std::to_chars; this checks, over millions of random values and the ties
// that printf rounds to even, that both give the same digits.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include "format/number_digits.h"

namespace {

// The documented algorithm, with the C library's printf.
ko::DigitString reference_digits(double magnitude, int precision, const char* noise) {
  char text[64];
  std::snprintf(text, sizeof text, "%+#.*e", precision, magnitude);
  ko::DigitString out;
  out.count = 0;
  const char* p = text + 1;
  for (; *p != 'e'; ++p) {
    if (*p != '.') out.digits[out.count++] = *p;
  }
  out.exponent = std::atoi(p + 1) + 1;
  if (out.count == precision + 1) {
    for (const char* n = noise; *n; n += 2) {
      if (out.digits[out.count - 2] == n[0] && out.digits[out.count - 1] == n[1]) {
        ko::round_digits(out, precision);
        break;
      }
    }
  }
  while (out.count && out.digits[out.count - 1] == '0') --out.count;
  return out;
}

std::string text_of(const ko::DigitString& d) {
  return std::string(d.digits, d.count) + "e" + std::to_string(d.exponent);
}

void expect_same(double value) {
  ko::DigitString fast;
  ko::digits_from_double(value, fast);
  if (fast.kind != ko::NumberKind::kFinite || value == 0) return;
  ko::DigitString reference = reference_digits(std::fabs(value), 15, "9901");
  ASSERT_EQ(text_of(fast), text_of(reference)) << std::hexfloat << value;
}

TEST(Digits, DoublesMatchPrintfOverRandomBitPatterns) {
  std::mt19937_64 random(20240305);
  for (int i = 0; i < 1000000; ++i) {
    uint64_t bits = random();
    double value;
    std::memcpy(&value, &bits, sizeof value);
    expect_same(value);
  }
}

TEST(Digits, DoublesMatchPrintfOverBusinessValues) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> amounts(-1e7, 1e7);
  for (int i = 0; i < 1000000; ++i) expect_same(amounts(random));
  // Cents, and exact ties at the 17th digit (which printf rounds to even).
  for (int cents = 0; cents < 200000; ++cents) expect_same(cents / 100.0);
  // Decimal fractions with up to 15 digits, whose shortest form is short.
  std::uniform_int_distribution<int64_t> mantissas(1, 999999999999999);
  for (int i = 0; i < 1000000; ++i) expect_same(double(mantissas(random)) / std::pow(10.0, i % 20));
  for (int k = 0; k < 1000; ++k) expect_same(std::ldexp(1.0, 50) + 0.5 + k);
  for (int e = -1074; e < 1024; ++e) expect_same(std::ldexp(1.0, e));
}

TEST(Digits, FloatsMatchPrintf) {
  std::mt19937 random(11);
  for (int i = 0; i < 1000000; ++i) {
    uint32_t bits = random();
    float value;
    std::memcpy(&value, &bits, sizeof value);
    ko::DigitString fast;
    ko::digits_from_float(value, fast);
    if (fast.kind != ko::NumberKind::kFinite || value == 0) continue;
    ko::DigitString reference = reference_digits(std::fabs(double(value)), 7, "99980102");
    ASSERT_EQ(text_of(fast), text_of(reference)) << value;
  }
}

TEST(Digits, RoundingHalfAwayFromZero) {
  struct Case {
    const char* digits;
    int exponent;
    int keep;
    const char* expected;
  } cases[] = {
      {"125", 1, 2, "13e1"}, {"124", 1, 2, "12e1"}, {"995", 0, 2, "1e1"},   {"5", 0, 0, "1e1"},
      {"4", 0, 0, "e0"},     {"123", 3, -1, "e0"},  {"123", 3, 5, "123e3"}, {"1999", 2, 3, "2e2"},
  };
  for (const auto& c : cases) {
    ko::DigitString d;
    d.count = int(std::strlen(c.digits));
    std::memcpy(d.digits, c.digits, d.count);
    d.exponent = c.exponent;
    ko::round_digits(d, c.keep);
    EXPECT_EQ(text_of(d), c.expected) << c.digits << " keep " << c.keep;
  }
}

TEST(Digits, IntegersAndDecimals) {
  ko::DigitString d;
  ko::digits_from_int64(INT64_MIN, d);
  EXPECT_EQ(text_of(d), "9223372036854775808e19");
  EXPECT_TRUE(d.negative);
  ko::digits_from_int64(1200, d);
  EXPECT_EQ(text_of(d), "12e4");
  KODECIMAL decimal{0, 4, 0, 0, 12500};  // 1.2500
  ko::digits_from_decimal(decimal, d);
  EXPECT_EQ(text_of(d), "125e1");
  KODECIMAL negative_zero{0, 2, KODECIMAL_NEGATIVE, 0, 0};
  ko::digits_from_decimal(negative_zero, d);
  EXPECT_TRUE(d.is_zero());
  EXPECT_FALSE(d.negative);
}

}  // namespace

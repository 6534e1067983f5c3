/*
 * decimal_text.cpp: decimal numbers between text and KODECIMAL.
 */
#include "decimal_text.h"

namespace koshr_tool {

namespace {
constexpr int kMaxDigits = 28;
}

bool read_decimal(std::string_view text, KODECIMAL& out) {
  out = KODECIMAL{};
  size_t i = 0;
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
    if (text[i] == '-') out.sign = KODECIMAL_NEGATIVE;
    ++i;
  }
  unsigned __int128 magnitude = 0;
  int digits = 0, significant = 0, scale = 0;
  bool point = false;
  for (; i < text.size(); ++i) {
    char c = text[i];
    if (c == '.' && !point) {
      point = true;
      continue;
    }
    if (c < '0' || c > '9') return false;
    ++digits;
    magnitude = magnitude * 10 + unsigned(c - '0');
    if (magnitude != 0 && ++significant > kMaxDigits) return false;
    if (point && ++scale > kMaxDigits) return false;
  }
  if (digits == 0) return false;
  out.scale = uint8_t(scale);
  out.hi32 = uint32_t(magnitude >> 64);
  out.lo64 = uint64_t(magnitude);
  return true;
}

std::string decimal_to_text(const KODECIMAL& value) {
  unsigned __int128 magnitude = (static_cast<unsigned __int128>(value.hi32) << 64) | value.lo64;
  char digits[48];
  size_t length = 0;
  do {
    digits[length++] = char('0' + unsigned(magnitude % 10));
    magnitude /= 10;
  } while (magnitude != 0);
  while (length <= value.scale) digits[length++] = '0';
  std::string text;
  if (value.sign & KODECIMAL_NEGATIVE) text += '-';
  for (size_t i = length; i-- > 0;) {
    text += digits[i];
    if (i == value.scale && i != 0) text += '.';
  }
  return text;
}

}  // namespace koshr_tool

/*
 * number_text_check.cpp: checks that a text is a plain written number.
 *
 * A valid number is: optional blanks, an optional sign, digits (grouping
 * characters allowed between them), an optional fraction after the decimal
 * separator, an optional exponent ("e" or "E", optional sign, digits), then
 * optional blanks. At least one digit must stand before the exponent.
 */
#include <koshr/format.h>

#include "platform/utf16.h"

namespace ko {
namespace {

bool is_valid_real(const KOCHAR* text, KOCHAR decimal, KOCHAR grouping) {
  if (!text) return false;
  const KOCHAR* p = text;
  while (ascii_is_space(*p)) ++p;
  if (*p == u'+' || *p == u'-') ++p;
  int digits = 0;
  while (ascii_is_digit(*p) || (*p == grouping && digits > 0 && ascii_is_digit(p[1]))) {
    if (ascii_is_digit(*p)) ++digits;
    ++p;
  }
  if (*p == decimal) {
    ++p;
    while (ascii_is_digit(*p)) {
      ++digits;
      ++p;
    }
  }
  if (digits == 0) return false;
  if (*p == u'e' || *p == u'E') {
    ++p;
    if (*p == u'+' || *p == u'-') ++p;
    if (!ascii_is_digit(*p)) return false;
    while (ascii_is_digit(*p)) ++p;
  }
  while (ascii_is_space(*p)) ++p;
  return *p == 0;
}

}  // namespace
}  // namespace ko

// Validates with "." and "," whatever the process's regional values are.
extern "C" KOSHR_API int shIsValidRealNoLocale(const KOCHAR* text) {
  return ko::is_valid_real(text, u'.', u',') ? 1 : 0;
}

/*
 * decimal_text.h: the tool's one reader of decimal numbers typed as text
 * ("-1234.5600", "+7", ".5", "12."), used wherever a command takes a decimal,
 * and its one writer of a decimal as exact text.
 */
#ifndef KOSHR_TOOL_DECIMAL_TEXT_H
#define KOSHR_TOOL_DECIMAL_TEXT_H

#include <koshr/types.h>

#include <string>
#include <string_view>

namespace koshr_tool {

// An optional sign, then digits with at most one decimal point and at least
// one digit. Up to 28 significant digits (leading zeros do not count) and up
// to 28 after the point; the scale is the count of digits after the point.
// False, with `out` unspecified, for anything else.
bool read_decimal(std::string_view text, KODECIMAL& out);

// Every digit of `value`, its scale kept: "-1234.5600", "0.05", "7".
std::string decimal_to_text(const KODECIMAL& value);

}  // namespace koshr_tool

#endif

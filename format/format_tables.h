/*
 * format_tables.h: the bracketed names a format may hold ("[RED]",
 * "[currency]"), each table kept sorted for a case-insensitive binary search.
 */
#ifndef KOSHR_FORMAT_FORMAT_TABLES_H
#define KOSHR_FORMAT_FORMAT_TABLES_H

#include <koshr/types.h>

#include <cstddef>
#include <cstdint>

namespace ko {

// A bracketed name is at most this long; a longer one is an unknown key.
constexpr size_t kBracketNameMax = 19;

enum class FormatKeyword { kNone, kCurrency, kEnglish, kGeneral };
enum class PredefinedName { kNone, kShortDate, kLongDate, kDate, kTime, kGeneral };

// Reads the name of a bracket ("[RED]", "[255]") as a colour: a colour name
// or a decimal number, written as decimal digits into `digits` (room for
// kBracketNameMax units). Returns 0 with the digit count in `count`,
// SHFORMAT_ERR_COLOR for a number holding a non-digit, -1 for a name that is
// not a colour.
int read_colour(const KOCHAR* name, size_t length, KOCHAR* digits, size_t* count);
FormatKeyword find_number_keyword(const KOCHAR* name, size_t length);
PredefinedName find_predefined_name(const KOCHAR* name, size_t length);

}  // namespace ko

#endif

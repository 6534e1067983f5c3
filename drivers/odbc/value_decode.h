// value_decode.h: turning what an ODBC driver wrote into a buffer into our
// values, and our values into the text a parameter is sent as.
//
// Numbers with a fraction and date-times are fetched as the database's own
// text and read here, digit by digit, so nothing passes through a double.
// Whatever the shared decimal or date-time cannot hold exactly stays text.
// These functions read only the bytes they are given: they are the part of
// the driver a fuzzer drives without a database.
#ifndef KOSHR_DRIVERS_ODBC_VALUE_DECODE_H
#define KOSHR_DRIVERS_ODBC_VALUE_DECODE_H

#include <koshr/dbi_sql.h>

#include <cstddef>
#include <string>

namespace ko::odbc {

// How a column's buffer is read.
enum class BufferKind {
  kInteger,     // SQLINTEGER
  kBigint,      // SQLBIGINT
  kReal,        // SQLREAL
  kDouble,      // SQLDOUBLE
  kDoubleText,  // narrow text: a floating value as the driver holds it
  kDecimal,     // narrow text: the number's digits
  kDate,        // narrow text
  kTime,        // narrow text
  kTimestamp,   // narrow text
  kText,        // UTF-16, zero-terminated by the driver
  kBinary,      // bytes
};

// Reads `bytes` bytes of a `kind` buffer into `value`. Texts and binaries
// point into `data`; decimals and date-times that cannot be held exactly
// become DBI_TYPE_TEXT pointing at `spill`, which receives their text.
void decode_value(BufferKind kind, const void* data, size_t bytes, std::u16string& spill,
                  DbiValue& value);

// Reads floating text ("0.37", "-1.5e-07", "Infinity") into a double, the
// nearest to the text; false when it is not a number.
bool parse_double(const char* text, size_t length, double& out);
// Reads number text ("-12.50", "1e3") into a decimal; false when it is not a
// number or does not fit exactly.
bool parse_decimal(const char* text, size_t length, KODECIMAL& out);
// Reads "YYYY-MM-DD", "HH:MM:SS[.ffffff]" or both (blank or "T" between)
// into a date-time; false when the text is something else or out of range.
bool parse_datetime(const char* text, size_t length, int32_t type, KODATETIME& out);

// The text a decimal or date-time parameter is sent as.
std::string decimal_text(const KODECIMAL& value);
std::string datetime_text(const KODATETIME& value, int32_t type);

}  // namespace ko::odbc

#endif

// value_decode_test.cpp: the ODBC driver's reading of database text into
// values, without a database: what fits the shared decimal and date-time is
// read exactly, everything else stays the database's text.
#include "drivers/odbc/value_decode.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

namespace {

using ko::odbc::BufferKind;

// ASCII as itself, any other unit as <XXXX>.
std::string narrow(const KOCHAR* text, uint32_t length) {
  std::string out;
  for (uint32_t i = 0; i < length; ++i) {
    char unit[8];
    std::snprintf(unit, sizeof unit, "<%04X>", static_cast<unsigned>(text[i]));
    out += text[i] < 0x80 ? std::string(1, static_cast<char>(text[i])) : std::string(unit);
  }
  return out;
}

// A decoded value as "type:content".
std::string decoded(BufferKind kind, const std::string& text) {
  std::u16string spill;
  DbiValue value{};
  ko::odbc::decode_value(kind, text.data(), text.size(), spill, value);
  switch (value.type) {
    case DBI_TYPE_DECIMAL:
      return "decimal:" + ko::odbc::decimal_text(value.as.decimal);
    case DBI_TYPE_DATE:
    case DBI_TYPE_TIME:
    case DBI_TYPE_TIMESTAMP:
      return std::to_string(value.type) + ":" +
             ko::odbc::datetime_text(value.as.datetime, value.type) + "/" +
             std::to_string(value.as.datetime.subsecond);
    case DBI_TYPE_DOUBLE: {
      char out[40];
      std::snprintf(out, sizeof out, "double:%.17g", value.as.dbl);
      return out;
    }
    case DBI_TYPE_TEXT:
      return "text:" + narrow(value.as.text, value.length);
    default:
      return "type " + std::to_string(value.type);
  }
}

TEST(ValueDecodeTest, NumbersKeepEveryDigitOrStayText) {
  const struct {
    const char* in;
    const char* out;
  } cases[] = {
      {"123.45", "decimal:123.45"},
      {"-0.50", "decimal:-0.50"},  // the scale as written
      {"-0", "decimal:0"},
      {"5.", "decimal:5"},
      {".5", "decimal:0.5"},
      {"-", "text:-"},
      {"1.2.3", "text:1.2.3"},
      {"-999999999999999999", "decimal:-999999999999999999"},                      // 18 digits
      {"9999999999999999999.5", "decimal:9999999999999999999.5"},                  // 20 digits
      {"79228162514264337593543950335", "decimal:79228162514264337593543950335"},  // 2^96-1
      {"79228162514264337593543950336", "text:79228162514264337593543950336"},
      {"0.1234567890123456789012345678", "decimal:0.1234567890123456789012345678"},
      {"0.12345678901234567890123456789", "text:0.12345678901234567890123456789"},
      {"1.50000000000000000000000000000000", "decimal:1.5000000000000000000000000000"},
      {"1.5e3", "decimal:1500"},
      {"2.5E-3", "decimal:0.0025"},
      {"1e", "text:1e"},
      {"NaN", "text:NaN"},
      {"", "text:"},
      {"12 34", "text:12 34"},
  };
  for (const auto& c : cases) EXPECT_EQ(decoded(BufferKind::kDecimal, c.in), c.out) << c.in;
}

TEST(ValueDecodeTest, FloatingTextReadsToTheNearestDoubleOrStaysText) {
  const struct {
    const char* in;
    const char* out;
  } cases[] = {
      {"0.37", "double:0.37"},
      {"-0.0", "double:-0"},
      {"5.", "double:5"},
      {"123456789012.345", "double:123456789012.345"},  // 15 digits
      {"9007199254740993", "double:9007199254740992"},  // 2^53 + 1: to even
      {"0.1000000000000000055511151231257827", "double:0.10000000000000001"},
      {"0.30000000000000004", "double:0.30000000000000004"},
      {"-1.5e-07", "double:-1.4999999999999999e-07"},
      {"1e308", "double:1e+308"},
      {"Infinity", "double:inf"},
      {"-Infinity", "double:-inf"},
      {"NaN", "double:nan"},
      {"1e999", "text:1e999"},  // out of range: the database's text
      {"1.5 ", "text:1.5 "},
      {"abc", "text:abc"},
      {"n/\xc3\xa4\xe2\x82\xac", "text:n/<00E4><20AC>"},  // UTF-8
      {"\xf0\x9f\x98\x80", "text:<D83D><DE00>"},          // beyond the BMP
      {"n/\xe4", "text:n/<00E4>"},                        // not UTF-8: byte for byte
      {"\xed\xa0\x80", "text:<00ED><00A0><0080>"},        // a surrogate is not UTF-8
      {"\xc0\xaf", "text:<00C0><00AF>"},                  // nor an overlong form
      {"", "text:"},
  };
  for (const auto& c : cases) EXPECT_EQ(decoded(BufferKind::kDoubleText, c.in), c.out) << c.in;
}

TEST(ValueDecodeTest, DateTimesKeepMicrosecondsOrStayText) {
  const struct {
    BufferKind kind;
    const char* in;
    const char* out;
  } cases[] = {
      {BufferKind::kTimestamp, "2024-02-29 13:45:59.123456", "8:2024-02-29 13:45:59.123456/123456"},
      {BufferKind::kTimestamp, "1999-12-31T23:59:59", "8:1999-12-31 23:59:59/0"},
      {BufferKind::kTimestamp, "2024-01-02 03:04:05.5", "8:2024-01-02 03:04:05.500000/500000"},
      {BufferKind::kTimestamp, "2024-01-02 03:04:05.123456000",
       "8:2024-01-02 03:04:05.123456/123456"},
      {BufferKind::kTimestamp, "2024-01-02 03:04:05.1234567", "text:2024-01-02 03:04:05.1234567"},
      {BufferKind::kTimestamp, "2024-01-02", "8:2024-01-02 00:00:00/0"},
      {BufferKind::kTimestamp, "2024-01-02 03:04:05+02", "text:2024-01-02 03:04:05+02"},
      {BufferKind::kDate, "2023-02-29", "text:2023-02-29"},
      {BufferKind::kDate, "1899-12-31", "text:1899-12-31"},
      {BufferKind::kDate, "2024-06-30", "6:2024-06-30/0"},
      {BufferKind::kDate, "2024-06-30 10:00:00", "8:2024-06-30 10:00:00/0"},
      {BufferKind::kTime, "23:59:58.654321", "7:23:59:58.654321/654321"},
      {BufferKind::kTime, "24:00:00", "text:24:00:00"},
  };
  for (const auto& c : cases) EXPECT_EQ(decoded(c.kind, c.in), c.out) << c.in;
}

TEST(ValueDecodeTest, NarrowBuffersEndAtTheirTerminatorOrTheirSize) {
  const char with_terminator[] = "12.5\0garbage";
  EXPECT_EQ(decoded(BufferKind::kDecimal, std::string(with_terminator, sizeof with_terminator)),
            "decimal:12.5");
  // Fixed-size kinds given too few bytes deliver nothing rather than read past.
  EXPECT_EQ(decoded(BufferKind::kBigint, std::string(4, '\7')),
            "type " + std::to_string(DBI_TYPE_NULL));
}

}  // namespace

// Fuzz target: the ODBC driver's reading of result buffers into values.
// The first byte picks the buffer kind, the rest is what the database wrote.
// A number or date-time that reads must read again the same from the text
// the driver would send it back as.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "drivers/odbc/value_decode.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto kind = static_cast<ko::odbc::BufferKind>(data[0] % 11);
  // A block of exactly the buffer's size, so a read past it is caught.
  std::vector<uint8_t> buffer(data + 1, data + size);
  std::u16string spill;
  DbiValue value{};
  ko::odbc::decode_value(kind, buffer.data(), buffer.size(), spill, value);
  if (value.type == DBI_TYPE_DECIMAL) {
    const std::string text = ko::odbc::decimal_text(value.as.decimal);
    KODECIMAL again{};
    if (!ko::odbc::parse_decimal(text.data(), text.size(), again) ||
        std::memcmp(&again, &value.as.decimal, sizeof again) != 0) {
      std::abort();
    }
  }
  if (value.type == DBI_TYPE_DATE || value.type == DBI_TYPE_TIME ||
      value.type == DBI_TYPE_TIMESTAMP) {
    const std::string text = ko::odbc::datetime_text(value.as.datetime, value.type);
    KODATETIME again{};
    if (!ko::odbc::parse_datetime(text.data(), text.size(), value.type, again) ||
        std::memcmp(&again, &value.as.datetime, sizeof again) != 0) {
      std::abort();
    }
  }
  return 0;
}

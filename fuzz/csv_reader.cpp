/*
 * csv_reader.cpp (fuzz): the CSV reader of `koshr saveas` and the column
 * inference behind it, and the tool's UTF-8 conversion, on arbitrary bytes:
 * repaired text is always valid and valid text survives the round trip.
 */
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "csv_reader.h"
#include "saveas_columns.h"
#include "utf.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  std::string repaired = koshr_tool::utf16_to_utf8(koshr_tool::utf8_to_utf16(text));
  if (!koshr_tool::valid_utf8(repaired)) __builtin_trap();
  if (koshr_tool::valid_utf8(text) && repaired != text) __builtin_trap();
  koshr_tool::CsvReader reader(text);
  std::vector<std::string> names, record;
  if (!reader.next(names)) return 0;
  std::vector<std::vector<std::string>> rows;
  while (rows.size() < 1000 && reader.next(record)) {
    if (record.size() == names.size()) rows.push_back(record);
  }
  std::vector<koshr_tool::ExportColumn> columns = koshr_tool::infer_columns(names, rows);
  for (const auto& row : rows) {
    for (size_t c = 0; c < columns.size(); ++c) {
      koshr_tool::CellValue value;
      std::string why;
      if (!koshr_tool::convert_field(columns[c], row[c], value, why)) __builtin_trap();
    }
  }
  return 0;
}

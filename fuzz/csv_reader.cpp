/*
 * csv_reader.cpp (fuzz): the CSV reader of `koshr saveas` and the column
 * inference behind it, and the tool's UTF-8 conversion, on arbitrary bytes:
 * repaired text is always valid and valid text survives the round trip; the
 * reader streaming the bytes from a file through its window reads the same
 * records, and fails on the same line, as the reader over them in memory.
 */
#include <cstddef>
#include <cstdint>
#include <cstdio>
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
  std::FILE* file = size ? fmemopen(const_cast<uint8_t*>(data), size, "rb") : nullptr;
  // A small window, so records and quoted fields straddle its refills.
  koshr_tool::CsvReader streamed(file, 1 + size % 13);
  std::vector<std::string> names, record, streamed_record;
  bool have_names = reader.next(names);
  if (file && (streamed.next(streamed_record) != have_names || streamed_record != names)) {
    __builtin_trap();
  }
  std::vector<std::vector<std::string>> rows;
  while (have_names && rows.size() < 1000 && reader.next(record)) {
    if (file && (!streamed.next(streamed_record) || streamed_record != record ||
                 streamed.line() != reader.line())) {
      __builtin_trap();
    }
    if (record.size() == names.size()) rows.push_back(record);
  }
  if (file && rows.size() < 1000 && have_names &&
      (streamed.next(streamed_record) || streamed.error() != reader.error())) {
    __builtin_trap();
  }
  if (file) std::fclose(file);
  if (!have_names) return 0;
  koshr_tool::ColumnInference inference(names.size());
  for (const auto& row : rows) inference.add(row);
  std::vector<koshr_tool::ExportColumn> columns = inference.columns(names);
  for (const auto& row : rows) {
    for (size_t c = 0; c < columns.size(); ++c) {
      koshr_tool::CellValue value;
      std::string why;
      if (!koshr_tool::convert_field(columns[c], row[c], value, why)) __builtin_trap();
    }
  }
  return 0;
}

/*
 * saveas_columns.h: the columns of a table read from CSV for `koshr saveas`:
 * their types (given with --columns or inferred from the data) and the
 * conversion of each field into the value the exporters take.
 *
 * Inference, over the non-empty fields of a column: all ISO 8601 date-times
 * ("2024-03-05T13:45:07", "T" or a blank) make a datetime column, all dates
 * ("2024-03-05") a date column, all times ("13:45", "13:45:07.25") a time
 * column; numbers all written with the same count of decimals ("12", "3.50")
 * make a decimal column of that scale; other numbers a double column; the
 * rest is a string column as wide as its longest field.
 */
#ifndef KOSHR_TOOL_SAVEAS_COLUMNS_H
#define KOSHR_TOOL_SAVEAS_COLUMNS_H

#include <koshr/saveas.h>

#include <string>
#include <vector>

namespace koshr_tool {

struct ExportColumn {
  std::string name;
  uint8_t type = KOSAVE_STRING;
  int32_t width = 0;  // string: characters; decimal: scale
};

// A field converted for the exporters; `missing` for an empty field.
struct CellValue {
  bool missing = true;
  std::u16string text;
  double number = 0;
  KODATETIME when{};
  KODECIMAL decimal{};
  // The pointer WriteValue takes for a column of `type`; with `dates_as_text`
  // dates and times go as their text (the SQL exporter takes them so).
  const void* pointer(uint8_t type, bool dates_as_text) const;
};

const char* type_name(uint8_t type);
// "string", "double", "datetime", "date", "time" or "decimal"; 0 when unknown.
uint8_t type_from_name(const std::string& name);

// Infers the columns from the rows seen one at a time, so a file of any size
// is typed in one pass without being held; it also keeps each column's
// longest field (in UTF-16 units), the width of a string column.
class ColumnInference {
 public:
  explicit ColumnInference(size_t columns) : seen_(columns) {}
  void add(const std::vector<std::string>& row);
  // The columns the rows seen so far make.
  std::vector<ExportColumn> columns(const std::vector<std::string>& names) const;
  // The longest field of column `c`, at least 1.
  int32_t longest(size_t c) const { return int32_t(seen_[c].longest); }

 private:
  struct Seen {
    bool datetimes = true, dates = true, times = true, fixed = true, numbers = true;
    int scale = -1;
    size_t longest = 1, filled = 0;
  };
  std::vector<Seen> seen_;
};

// Reads "NAME:TYPE[:WIDTH],..."; false with `why` on a mistake.
bool parse_column_list(const std::string& text, std::vector<ExportColumn>& out, std::string& why);
// Converts a field; false with `why` when it does not read as the column's
// type. Dates and times also keep their text as an SQL literal ('...').
bool convert_field(const ExportColumn& column, const std::string& field, CellValue& out,
                   std::string& why);

}  // namespace koshr_tool

#endif

/*
 * db_values.h: values fetched from a database as the tool shows and exports
 * them: the export column a result column becomes, a value as plain text
 * (exact digits, ISO 8601 dates, NULL shown as such) and as an export cell.
 *
 * Integers and numerics become decimal columns (every digit kept), real and
 * double become double columns, dates, times and timestamps their own types,
 * text and binary (as hexadecimal digits) string columns. A string column's
 * width is the length the database declares, or unknown (-1) when it
 * declares none.
 */
#ifndef KOSHR_TOOL_DB_VALUES_H
#define KOSHR_TOOL_DB_VALUES_H

#include <koshr/dbi_sql.h>

#include <string>

#include "saveas_columns.h"

namespace koshr_tool {

ExportColumn export_column(const DbiColumnDescriptor& column);
// True for the database types shown right-aligned (numbers).
bool numeric_type(int32_t data_type);
// The value as text; "NULL" for a null.
std::string value_text(const DbiValue& value);
// The value converted for an export column; false with `why` when it does
// not read as the column's type (a text in a numeric column of a database
// without fixed column types, a numeric beyond 28 digits, a date before 1900).
// With `dates_as_text` a date or time also gets its SQL literal.
bool export_cell(const DbiValue& value, const ExportColumn& column, bool dates_as_text,
                 CellValue& cell, std::string& why);

}  // namespace koshr_tool

#endif

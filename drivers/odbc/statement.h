// statement.h: a prepared statement of the driver and its result buffers.
//
// Result columns are bound to column-wise arrays of FetchBlockSize rows, so
// one fetch call fills a block. Numbers with a fraction and date-times are
// bound as text (read exactly by value_decode); texts as UTF-16 of
// TextBufferSize units, binaries of twice that in bytes. A value longer than
// its buffer is read again on its own (the row positioned, then SQLGetData).
// A statement with a column whose declared size is unknown or larger than
// the buffers fetches one row at a time and reads every value whole.
#ifndef KOSHR_DRIVERS_ODBC_STATEMENT_H
#define KOSHR_DRIVERS_ODBC_STATEMENT_H

#include <koshr/dbi_sql.h>

#include <string>
#include <vector>

#include "drivers/odbc/connection.h"
#include "drivers/odbc/value_decode.h"

namespace ko::odbc {

struct Column {
  std::u16string name;
  std::u16string type_name;
  BufferKind kind = BufferKind::kText;
  SQLSMALLINT c_type = SQL_C_WCHAR;
  SQLLEN width = 0;                   // bytes of one row's buffer
  bool long_data = false;             // too long to bind: read whole with SQLGetData
  std::vector<unsigned char> buffer;  // width * block rows
  std::vector<SQLLEN> indicators;     // one per block row
};

struct Statement {
  Connection* connection = nullptr;
  SQLHSTMT handle = SQL_NULL_HSTMT;
  std::vector<Column> columns;
  std::vector<DbiColumnDescriptor> descriptors;
  bool described = false;
  bool bound = false;
  bool at_end = false;
  bool singly = false;      // a long column: rows fetched one at a time, nothing bound
  uint32_t block_rows = 1;  // rows the buffers hold
  uint32_t array_size = 0;  // rows the driver fetches per call now
  SQLULEN rows_fetched = 0;
  int64_t rows_affected = -1;
  std::vector<DbiValue> values;
  std::vector<std::u16string> spills;  // texts of values read again or kept as text
  std::vector<std::vector<unsigned char>> parameters;
  std::vector<SQLLEN> parameter_lengths;
};

// 400: a new prepared statement, or null with the error reported.
Statement* prepare(DbiContext* context, Connection* connection, const KOCHAR* sql);
// 401.
void bind_parameters(DbiContext* context, Statement* statement, const DbiValue* values,
                     uint32_t count);
// 402: runs it; `column_count` is 0 when there is no result set.
void execute(DbiContext* context, Statement* statement, uint32_t& column_count);
// 403: the columns, described once.
void describe(DbiContext* context, Statement* statement);
// 404: the next block of at most `max_rows` rows (0: the block size).
void fetch(DbiContext* context, Statement* statement, uint32_t max_rows, DbiRowBlock& block);
// 406: ends the result set, keeps the statement prepared.
void close_cursor(DbiContext* context, Statement* statement);
// 247 and disconnect: frees the statement and its handle.
void free_statement(Connection* connection, Statement* statement);

}  // namespace ko::odbc

#endif

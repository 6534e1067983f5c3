// statement.h: a prepared statement of the driver and its result buffers.
//
// Result columns are bound row-wise into one buffer of FetchBlockSize rows.
// Numbers with a fraction and date-times are bound as text (read exactly by
// value_decode); texts as UTF-16 of at most TextBufferSize units, binaries of
// twice that in bytes. A value longer than its buffer is read again whole
// with SQLGetData. Where the driver can read again inside a row array
// (SQL_GD_BLOCK), one call fetches a block; otherwise each call fetches one
// row into the next row of the buffer (the bind offset moves), which keeps
// every value exact whatever sizes the database declares but does not
// enforce.
#ifndef KOSHR_DRIVERS_ODBC_STATEMENT_H
#define KOSHR_DRIVERS_ODBC_STATEMENT_H

#include <koshr/dbi_sql.h>

#include <string>
#include <vector>

#include "drivers/odbc/connection.h"
#include "drivers/odbc/value_decode.h"

namespace ko::odbc {

// How a statement's rows come from the driver.
enum class FetchMode {
  kBlock,     // a row array per call; long values re-read by positioning on their row
  kRowByRow,  // one row per call, each to its own buffer row; long values re-read at once
  kUnbound,   // nothing bound: every value read with SQLGetData
};

struct Column {
  std::u16string name;
  std::u16string type_name;
  BufferKind kind = BufferKind::kText;
  SQLSMALLINT c_type = SQL_C_WCHAR;
  SQLLEN width = 0;             // bytes of one row's buffer
  SQLLEN offset = 0;            // of the value in a buffer row
  SQLLEN indicator_offset = 0;  // of its length or null indicator
};

struct Statement {
  Connection* connection = nullptr;
  SQLHSTMT handle = SQL_NULL_HSTMT;
  std::vector<Column> columns;
  std::vector<DbiColumnDescriptor> descriptors;
  bool described = false;
  bool bound = false;
  bool at_end = false;
  bool cursor_open = false;  // a result set not yet closed (SQL_NO_DATA leaves it open)
  FetchMode mode = FetchMode::kBlock;
  std::vector<unsigned char> buffer;  // block_rows rows of row_size bytes
  SQLLEN row_size = 0;
  SQLULEN bind_offset = 0;  // kRowByRow: where the next row lands
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

// odbc_floor.h: the floor for any ODBC client, measured beside our own
// readers: a query's rows fetched with the driver's own bound columns and a
// row array, written nowhere. Numbers with a fraction (floating ones too) and
// date-times are fetched as text, as our driver does with the two drivers
// benchmarked (SQLite's and PostgreSQL's, which hold every value as text);
// everything else in its natural C type.
// Header only: a benchmark that includes it links ODBC (ODBC::ODBC, odbc32).
#ifndef KOSHR_BENCH_ODBC_FLOOR_H
#define KOSHR_BENCH_ODBC_FLOOR_H

#if defined(_WIN32)
#include <windows.h>
#endif
#include <sql.h>
#include <sqlext.h>

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

// Runs `sql` on a new connection to `connect` and fetches every row in blocks
// of `block_rows`; returns the number of rows, or -1 when something failed.
inline int64_t odbc_fetch_floor(const std::string& connect, const std::string& sql,
                                SQLULEN block_rows = 256) {
  SQLHENV environment = SQL_NULL_HENV;
  SQLHDBC connection = SQL_NULL_HDBC;
  SQLHSTMT statement = SQL_NULL_HSTMT;
  int64_t rows = -1;
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
  SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION,
                reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(SQL_OV_ODBC3)), 0);
  SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
  std::string text = connect;
  if (SQL_SUCCEEDED(SQLDriverConnectA(connection, nullptr, reinterpret_cast<SQLCHAR*>(text.data()),
                                      SQL_NTS, nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT))) {
    SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement);
    SQLSetStmtAttr(statement, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<SQLPOINTER>(block_rows), 0);
    SQLULEN fetched = 0;
    SQLSetStmtAttr(statement, SQL_ATTR_ROWS_FETCHED_PTR, &fetched, 0);
    std::string query = sql;
    SQLSMALLINT columns = 0;
    if (SQL_SUCCEEDED(
            SQLExecDirectA(statement, reinterpret_cast<SQLCHAR*>(query.data()), SQL_NTS)) &&
        SQL_SUCCEEDED(SQLNumResultCols(statement, &columns))) {
      std::vector<std::vector<char>> buffers(static_cast<size_t>(columns));
      std::vector<std::vector<SQLLEN>> indicators(static_cast<size_t>(columns),
                                                  std::vector<SQLLEN>(block_rows));
      for (SQLSMALLINT c = 0; c < columns; ++c) {
        SQLSMALLINT type = 0, digits = 0, nullable = 0;
        SQLULEN size = 0;
        SQLDescribeColA(statement, static_cast<SQLUSMALLINT>(c + 1), nullptr, 0, nullptr, &type,
                        &size, &digits, &nullable);
        SQLSMALLINT c_type = SQL_C_WCHAR;
        SQLLEN width = static_cast<SQLLEN>((size == 0 || size > 1024 ? 1024 : size) + 1) * 2;
        if (type == SQL_INTEGER || type == SQL_SMALLINT || type == SQL_TINYINT) {
          c_type = SQL_C_SLONG, width = 4;
        } else if (type == SQL_BIGINT) {
          c_type = SQL_C_SBIGINT, width = 8;
        } else if (type == SQL_REAL) {
          c_type = SQL_C_FLOAT, width = 4;
        } else if (type == SQL_DOUBLE || type == SQL_FLOAT || type == SQL_NUMERIC ||
                   type == SQL_DECIMAL || type == SQL_TYPE_TIMESTAMP || type == SQL_TYPE_DATE ||
                   type == SQL_TYPE_TIME) {
          c_type = SQL_C_CHAR, width = 64;
        }
        buffers[static_cast<size_t>(c)].resize(static_cast<size_t>(width) * block_rows);
        SQLBindCol(statement, static_cast<SQLUSMALLINT>(c + 1), c_type,
                   buffers[static_cast<size_t>(c)].data(), width,
                   indicators[static_cast<size_t>(c)].data());
      }
      rows = 0;
      SQLRETURN rc;
      while ((rc = SQLFetch(statement)) != SQL_NO_DATA) {
        if (!SQL_SUCCEEDED(rc)) {
          rows = -1;
          break;
        }
        rows += static_cast<int64_t>(fetched);
      }
    }
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
    SQLDisconnect(connection);
  }
  SQLFreeHandle(SQL_HANDLE_DBC, connection);
  SQLFreeHandle(SQL_HANDLE_ENV, environment);
  return rows;
}

}  // namespace bench

#endif

// connection.h: the driver's state for one connection (kept in the
// context's driver_connection) and the operations on the connection itself.
#ifndef KOSHR_DRIVERS_ODBC_CONNECTION_H
#define KOSHR_DRIVERS_ODBC_CONNECTION_H

#include <koshr/dbi.h>

#include <vector>

#include "drivers/odbc/odbc_api.h"
#include "drivers/odbc/settings.h"

namespace ko::odbc {

struct Statement;

struct Connection {
  SQLHENV environment = SQL_NULL_HENV;
  SQLHDBC handle = SQL_NULL_HDBC;
  bool connected = false;
  bool lost = false;            // the server went away: only disconnect helps
  bool in_transaction = false;  // between DBI_Begin and commit or roll back
  Settings settings;
  SQLUINTEGER getdata_extensions = 0;  // SQL_GD_*: what SQLGetData may do after a bound fetch
  // SQLite's ODBC driver keeps only the low byte of each unit of wide SQL
  // text (its wide data is sound): its statements are prepared through the
  // narrow call, in UTF-8, which it reads as UTF-8.
  bool utf8_sql_text = false;
  // Drivers that hold every value as text (SQLite's, whose library gives
  // each value as text, and PostgreSQL's, which reads the server's text)
  // turn it into a double with strtod when asked for one. Fetched as that
  // text and read here with from_chars, the double is the same and the
  // fetch a tenth cheaper. Other drivers may print a double with fewer
  // digits than it has, so they are asked for the double itself.
  bool doubles_as_text = false;
  std::vector<Statement*> statements;  // every statement not yet closed by 247
};

// The connection of a context; null (with an error reported) when it is not
// connected or was lost.
Connection* live_connection(DbiContext* context);

// 35 and 3: connects with the DBParm's connection string, or the log-in
// strings (35) / the first connect string (3) when it has none.
void connect(DbiContext* context, bool from_connect_strings);
// 4: ends an open transaction as "commitondisconnect" says, frees every
// statement and the handles.
void disconnect(DbiContext* context);
// 170: takes AutoCommit and the other keywords of the new list.
void apply_new_parameters(DbiContext* context);
// 407, 408, 409.
void begin_transaction(DbiContext* context);
void end_transaction(DbiContext* context, bool commit);

// Reports the diagnostics of a failed call on `handle`, marking the
// connection lost when the SQLSTATE says so.
void report_failure(DbiContext* context, Connection* connection, SQLSMALLINT handle_type,
                    SQLHANDLE handle);

}  // namespace ko::odbc

#endif

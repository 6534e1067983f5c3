// connection.cpp: connecting, disconnecting and transactions.
//
// Autocommit follows DBParm "AutoCommit"; DBI_Begin switches it off until
// the transaction ends, when the setting is put back. A connection whose
// server went away (SQLSTATE class 08) is marked lost: every later
// operation but disconnect and statement close answers with a clear error at
// once, and disconnect frees everything without talking to the server.
#include "drivers/odbc/connection.h"

#include <koshr/dbi_sql.h>

#include "drivers/odbc/diagnostics.h"
#include "drivers/odbc/statement.h"

namespace ko::odbc {
namespace {

void set_auto_commit(Connection* connection, bool on) {
  SQLSetConnectAttrW(connection->handle, SQL_ATTR_AUTOCOMMIT,
                     reinterpret_cast<SQLPOINTER>(
                         static_cast<SQLULEN>(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF)),
                     0);
}

void free_handles(Connection* connection) {
  while (!connection->statements.empty()) {
    free_statement(connection, connection->statements.back());
  }
  if (connection->handle != SQL_NULL_HDBC) {
    if (connection->connected) SQLDisconnect(connection->handle);
    SQLFreeHandle(SQL_HANDLE_DBC, connection->handle);
  }
  if (connection->environment != SQL_NULL_HENV) {
    SQLFreeHandle(SQL_HANDLE_ENV, connection->environment);
  }
  connection->handle = SQL_NULL_HDBC;
  connection->environment = SQL_NULL_HENV;
  connection->connected = false;
}

// Settings that need the connection: isolation and autocommit.
bool apply_settings(DbiContext* context, Connection* connection) {
  if (connection->settings.isolation != 0) {
    const SQLRETURN rc = SQLSetConnectAttrW(
        connection->handle, SQL_ATTR_TXN_ISOLATION,
        reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(connection->settings.isolation)), 0);
    if (!succeeded(rc)) {
      report_failure(context, connection, SQL_HANDLE_DBC, connection->handle);
      return false;
    }
  }
  if (!connection->in_transaction) set_auto_commit(connection, connection->settings.auto_commit);
  return true;
}

}  // namespace

void report_failure(DbiContext* context, Connection* connection, SQLSMALLINT handle_type,
                    SQLHANDLE handle) {
  const bool gone = report_diagnostics(context, handle_type, handle);
  if (connection == nullptr) return;
  if (gone) {
    connection->lost = true;
    return;
  }
  // Some drivers report a session the server ended as a general error; the
  // driver manager's dead-connection attribute tells.
  SQLUINTEGER dead = SQL_CD_FALSE;
  if (succeeded(
          SQLGetConnectAttrW(connection->handle, SQL_ATTR_CONNECTION_DEAD, &dead, 0, nullptr)) &&
      dead == SQL_CD_TRUE) {
    connection->lost = true;
    report_connection_lost(context);
  }
}

Connection* live_connection(DbiContext* context) {
  auto* connection = static_cast<Connection*>(context->driver_connection);
  if (connection == nullptr || !connection->connected) {
    report_error(context, "08003", "the connection is not open");
    return nullptr;
  }
  if (connection->lost) {
    report_error(context, "08S01",
                 "the connection to the database was lost; disconnect and connect again");
    return nullptr;
  }
  return connection;
}

void connect(DbiContext* context, bool from_connect_strings) {
  clear_error(context);
  if (context->driver_connection != nullptr) {
    report_error(context, "08002", "the connection is already open");
    return;
  }
  auto* connection = new Connection;
  std::u16string error;
  if (!read_settings(context, connection->settings, error)) {
    report_error(context, "HY024", error.c_str());
    delete connection;
    return;
  }
  std::u16string target = connection->settings.connect_string;
  if (target.empty()) {
    if (from_connect_strings && context->connect[0] != nullptr && context->connect[0][0] != 0) {
      target = context->connect[0];
    } else {
      target = login_connect_string(context->login[0], context->login[1], context->login[2]);
    }
  }
  target = streaming_connect_string(target, connection->settings.fetch_block,
                                    connection->settings.streaming);
  if (target.empty()) {
    report_error(context, "IM002", "no ConnectString in the DBParm text and no data source named");
    delete connection;
    return;
  }
  SQLRETURN rc = SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &connection->environment);
  if (succeeded(rc)) {
    SQLSetEnvAttr(connection->environment, SQL_ATTR_ODBC_VERSION,
                  reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(SQL_OV_ODBC3)), 0);
    rc = SQLAllocHandle(SQL_HANDLE_DBC, connection->environment, &connection->handle);
  }
  if (!succeeded(rc)) {
    report_error(context, "HY001", "the ODBC driver manager could not make a connection handle");
    free_handles(connection);
    delete connection;
    return;
  }
  SQLSMALLINT out_length = 0;
  rc = SQLDriverConnectW(connection->handle, nullptr, wide(target.c_str()), SQL_NTS, nullptr, 0,
                         &out_length, SQL_DRIVER_NOPROMPT);
  if (!succeeded(rc)) {
    report_diagnostics(context, SQL_HANDLE_DBC, connection->handle);
    free_handles(connection);
    delete connection;
    return;
  }
  connection->connected = true;
  SQLGetInfoW(connection->handle, SQL_GETDATA_EXTENSIONS, &connection->getdata_extensions,
              sizeof connection->getdata_extensions, nullptr);
  SQLWCHAR driver_name[128] = {};
  if (succeeded(SQLGetInfoW(connection->handle, SQL_DRIVER_NAME, driver_name,
                            sizeof driver_name - sizeof(SQLWCHAR), nullptr))) {
    const std::u16string name = lower_ascii(reinterpret_cast<const KOCHAR*>(driver_name));
    connection->utf8_sql_text = name.find(u"sqlite3odbc") != std::u16string::npos;
    connection->doubles_as_text =
        connection->utf8_sql_text || name.find(u"psqlodbc") != std::u16string::npos;
  }
  if (!apply_settings(context, connection)) {
    free_handles(connection);
    delete connection;
    return;
  }
  context->driver_connection = connection;
}

void disconnect(DbiContext* context) {
  auto* connection = static_cast<Connection*>(context->driver_connection);
  if (connection == nullptr) return;
  if (connection->connected && !connection->lost && connection->in_transaction) {
    SQLEndTran(SQL_HANDLE_DBC, connection->handle,
               context->commit_on_disconnect != 0 ? SQL_COMMIT : SQL_ROLLBACK);
  }
  free_handles(connection);
  delete connection;
  context->driver_connection = nullptr;
  clear_error(context);
}

void apply_new_parameters(DbiContext* context) {
  auto* connection = static_cast<Connection*>(context->driver_connection);
  if (connection == nullptr) return;  // read again at the next connect
  Settings settings;
  std::u16string error;
  if (!read_settings(context, settings, error)) {
    report_error(context, "HY024", error.c_str());
    return;
  }
  settings.connect_string = connection->settings.connect_string;
  connection->settings = settings;
  if (connection->connected && !connection->lost) apply_settings(context, connection);
}

void begin_transaction(DbiContext* context) {
  Connection* connection = live_connection(context);
  if (connection == nullptr) return;
  if (connection->in_transaction) {
    report_error(context, "25000", "a transaction is already open");
    return;
  }
  const SQLRETURN rc =
      SQLSetConnectAttrW(connection->handle, SQL_ATTR_AUTOCOMMIT,
                         reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(SQL_AUTOCOMMIT_OFF)), 0);
  if (!succeeded(rc)) {
    report_failure(context, connection, SQL_HANDLE_DBC, connection->handle);
    return;
  }
  connection->in_transaction = true;
}

void end_transaction(DbiContext* context, bool commit) {
  Connection* connection = live_connection(context);
  if (connection == nullptr) return;
  const SQLRETURN rc =
      SQLEndTran(SQL_HANDLE_DBC, connection->handle, commit ? SQL_COMMIT : SQL_ROLLBACK);
  if (!succeeded(rc)) {
    report_failure(context, connection, SQL_HANDLE_DBC, connection->handle);
    return;
  }
  if (connection->in_transaction) {
    connection->in_transaction = false;
    set_auto_commit(connection, connection->settings.auto_commit);
  }
}

}  // namespace ko::odbc

// dispatch.cpp: the driver module's dispatch entry, KO_DB_Rout.
//
// Every operation the front end sends is answered here, in the context: the
// return code and SQL code (0 on success), the message buffer, and the
// result word where the operation returns something. No exception leaves
// the entry: a failed allocation becomes an error of the operation.
#include <koshr/dbi_sql.h>

#include <new>

#include "drivers/odbc/catalog.h"
#include "drivers/odbc/connection.h"
#include "drivers/odbc/diagnostics.h"
#include "drivers/odbc/statement.h"

#if defined(_WIN32)
#define KO_DRIVER_EXPORT extern "C" __declspec(dllexport)
#else
#define KO_DRIVER_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace ko::odbc {
namespace {

DbiSqlRequest* request_of(DbiContext* context) {
  auto* request = reinterpret_cast<DbiSqlRequest*>(context->result);
  if (request == nullptr || request->size < sizeof(DbiSqlRequest)) {
    report_error(context, "HY009", "the operation carries no statement request");
    return nullptr;
  }
  return request;
}

// The request's statement on a live connection, or null with an error.
Statement* statement_of(DbiContext* context, DbiSqlRequest* request) {
  Connection* connection = live_connection(context);
  if (connection == nullptr) return nullptr;
  auto* statement = static_cast<Statement*>(request->statement);
  for (Statement* known : connection->statements) {
    if (known == statement) return statement;
  }
  report_error(context, "HY010", "the statement is not open on this connection");
  return nullptr;
}

void run_statement_operation(DbiContext* context) {
  DbiSqlRequest* request = request_of(context);
  if (request == nullptr) return;
  if (context->operation == DBI_OP_PREPARE) {
    request->statement = nullptr;
    Connection* connection = live_connection(context);
    if (connection == nullptr) return;
    if (request->sql == nullptr) {
      report_error(context, "HY009", "no SQL text");
      return;
    }
    request->statement = prepare(context, connection, request->sql);
    return;
  }
  Statement* statement = statement_of(context, request);
  if (statement == nullptr) return;
  switch (context->operation) {
    case DBI_OP_BIND_PARAMETERS:
      if (request->parameters == nullptr && request->parameter_count != 0) {
        report_error(context, "HY009", "no parameter values");
        return;
      }
      bind_parameters(context, statement, request->parameters, request->parameter_count);
      break;
    case DBI_OP_EXECUTE:
      execute(context, statement, request->column_count);
      break;
    case DBI_OP_DESCRIBE:
      describe(context, statement);
      request->columns = statement->descriptors.empty() ? nullptr : statement->descriptors.data();
      request->column_count = static_cast<uint32_t>(statement->descriptors.size());
      break;
    case DBI_OP_FETCH:
      fetch(context, statement, request->max_rows, request->block);
      break;
    case DBI_OP_ROWS_AFFECTED:
      request->rows_affected = statement->rows_affected;
      break;
    case DBI_OP_CLOSE_CURSOR:
      close_cursor(context, statement);
      break;
    default:
      break;
  }
}

// 247: the entry in the result word; its statement is freed even when the
// connection is lost, and the result word is left as it came.
void close_statement(DbiContext* context) {
  const auto* entry = reinterpret_cast<const SqlCacheEntry*>(context->result);
  auto* connection = static_cast<Connection*>(context->driver_connection);
  if (entry == nullptr || connection == nullptr) return;
  auto* statement = static_cast<Statement*>(entry->statement);
  for (Statement* known : connection->statements) {
    if (known == statement) {
      free_statement(connection, statement);
      return;
    }
  }
}

void dispatch(DbiContext* context) {
  switch (context->operation) {
    case DBI_OP_LOGIN:
      connect(context, false);
      break;
    case DBI_OP_CONNECT:
      connect(context, true);
      break;
    case DBI_OP_DISCONNECT:
      disconnect(context);
      break;
    case DBI_OP_NEW_PARAMETERS:
      apply_new_parameters(context);
      break;
    case DBI_OP_NATIVE_HANDLE: {
      auto* connection = static_cast<Connection*>(context->driver_connection);
      context->result = connection != nullptr ? reinterpret_cast<intptr_t>(connection->handle) : 0;
      break;
    }
    case DBI_OP_TXN_SERVER_PROBE:
      context->result = 0;
      break;
    case DBI_OP_CLOSE_STATEMENT:
      close_statement(context);
      break;
    case DBI_OP_FORMAT_TABLE:
      read_catalog(context, DBI_CATALOG_FORMATS);
      break;
    case DBI_OP_VALIDATION_TABLE:
      read_catalog(context, DBI_CATALOG_VALIDATION);
      break;
    case DBI_OP_EDIT_STYLE_TABLE:
      read_catalog(context, DBI_CATALOG_EDIT_STYLES);
      break;
    case DBI_OP_EDIT_UPDATE:
      update_edit_style(context);
      break;
    case DBI_OP_PREPARE:
    case DBI_OP_BIND_PARAMETERS:
    case DBI_OP_EXECUTE:
    case DBI_OP_DESCRIBE:
    case DBI_OP_FETCH:
    case DBI_OP_ROWS_AFFECTED:
    case DBI_OP_CLOSE_CURSOR:
      clear_error(context);
      run_statement_operation(context);
      break;
    case DBI_OP_BEGIN:
      clear_error(context);
      begin_transaction(context);
      break;
    case DBI_OP_COMMIT:
    case DBI_OP_ROLLBACK:
      clear_error(context);
      end_transaction(context, context->operation == DBI_OP_COMMIT);
      break;
    case DBI_OP_CREATE_CATALOG:
      create_catalog_tables(context);
      break;
    default:
      // Operations this driver has nothing to do for (76 parse, 241
      // assertions) succeed without effect.
      break;
  }
}

}  // namespace
}  // namespace ko::odbc

KO_DRIVER_EXPORT int32_t KO_DB_Rout(DbiContext* context) {
  if (context == nullptr) return 0;
  try {
    ko::odbc::dispatch(context);
  } catch (const std::bad_alloc&) {
    ko::odbc::report_error(context, "HY001", "out of memory");
  } catch (...) {
    ko::odbc::report_error(context, "HY000", "internal error in the ODBC driver");
  }
  return 0;
}

/*
 * sql_statement.cpp: running SQL through the driver (DBI_Prepare and the
 * other host functions of koshr/dbi_sql.h).
 *
 * A host statement wraps one statement-cache entry. Preparing looks the text
 * up in the connection's cache first: a waiting entry is checked out and
 * used again without asking the driver to prepare. The column description
 * is taken from the entry when it has one; otherwise the driver describes
 * and the description is registered with the entry for the next time.
 * Closing ends the driver's cursor and gives the entry back to the cache,
 * which closes whatever it evicts through operation 247.
 */
#include <koshr/dbi_sql.h>
#include <koshr/lists.h>

#include <cstring>

#include "dbi/context_error.h"
#include "dbi/context_memory.h"
#include "dbi/driver_call.h"
#include "dbi/statement_cache.h"

struct DbiStatement {
  SqlCacheEntry* entry;
  DbiColumnDescriptor* columns; /* the pool's copy, described or from the cache */
  uint32_t column_count;
  bool described;
};

namespace ko::dbi {
namespace {

// Calls the driver with `request` in the result word, restoring the word.
void call_with_request(DbiContext* context, int32_t operation, DbiSqlRequest* request) {
  request->size = sizeof *request;
  const intptr_t saved = context->result;
  context->result = reinterpret_cast<intptr_t>(request);
  context->return_code = 0;
  context->sql_code = 0;
  if (context->driver == nullptr && !is_in_process(context->dbms)) {
    raise_error(context, "DBI_WRONG_VENDOR", context->dbms);
  } else {
    call_driver(context, operation);
  }
  context->result = saved;
}

DbiSqlRequest request_for(DbiStatement* statement) {
  DbiSqlRequest request{};
  request.statement = statement->entry->statement;
  return request;
}

bool usable(DbiContext* context, DbiStatement* statement) {
  return context != nullptr && statement != nullptr && statement->entry != nullptr;
}

void free_columns(DbiContext* context, DbiStatement* statement) {
  for (uint32_t i = 0; i < statement->column_count; ++i) {
    release(context, statement->columns[i].name);
    release(context, statement->columns[i].type_name);
  }
  release(context, statement->columns);
  statement->columns = nullptr;
  statement->column_count = 0;
  statement->described = false;
}

// Keeps pool copies of `count` descriptors (texts copied, the rest as given).
bool keep_columns(DbiContext* context, DbiStatement* statement,
                  const DbiColumnDescriptor* const* source, uint32_t count) {
  if (count == 0) {
    statement->described = true;
    return true;
  }
  statement->columns =
      static_cast<DbiColumnDescriptor*>(alloc_zeroed(context, count * sizeof(DbiColumnDescriptor)));
  if (statement->columns == nullptr) return false;
  for (uint32_t i = 0; i < count; ++i) {
    DbiColumnDescriptor& column = statement->columns[i];
    column = *source[i];
    column.name = duplicate(context, source[i]->name);
    column.type_name = duplicate(context, source[i]->type_name);
    column.bind_buffer = nullptr;
    column.driver_data = nullptr;
  }
  statement->column_count = count;
  statement->described = true;
  return true;
}

// The description the cache keeps for the entry; false when it has none.
bool columns_from_cache(DbiContext* context, DbiStatement* statement) {
  shlistx* list = DBI_SQLCacheRequestDescribe(context, statement->entry);
  if (list == nullptr) return false;
  const uint32_t count = shlist_get_count(list);
  auto** pointers = static_cast<const DbiColumnDescriptor**>(
      alloc_zeroed(context, (count + 1) * sizeof(DbiColumnDescriptor*)));
  bool kept = false;
  if (pointers != nullptr) {
    uint32_t at = 0;
    for (void* item = shlist_get_first(list); item != nullptr && at < count;
         item = shlist_get_next(list)) {
      pointers[at++] = static_cast<const DbiColumnDescriptor*>(item);
    }
    kept = count != 0 && keep_columns(context, statement, pointers, at);
    release(context, pointers);
  }
  for (void* item = shlist_get_first(list); item != nullptr; item = shlist_get_next(list)) {
    auto* descriptor = static_cast<DbiColumnDescriptor*>(item);
    release(context, descriptor->name);
    release(context, descriptor->type_name);
    release(context, descriptor);
  }
  shlist_delete(list);
  return kept;
}

// Asks the driver for the columns and registers them with the entry.
void columns_from_driver(DbiContext* context, DbiStatement* statement) {
  DbiSqlRequest request = request_for(statement);
  call_with_request(context, DBI_OP_DESCRIBE, &request);
  if (context->return_code != 0) return;
  const uint32_t count = request.columns != nullptr ? request.column_count : 0;
  auto** pointers = static_cast<const DbiColumnDescriptor**>(
      alloc_zeroed(context, (count + 1) * sizeof(DbiColumnDescriptor*)));
  if (pointers == nullptr) return;
  for (uint32_t i = 0; i < count; ++i) pointers[i] = &request.columns[i];
  keep_columns(context, statement, pointers, count);
  release(context, pointers);
  if (count == 0) return;
  shlistx* list = shlist_new(context->storage, context->subpool);
  for (uint32_t i = 0; i < count; ++i) shlist_insert(list, &request.columns[i]);
  DBI_SQLCacheRegisterDescribe(context, statement->entry, list);
  shlist_delete(list);
}

}  // namespace
}  // namespace ko::dbi

using namespace ko::dbi;

int32_t DBI_Prepare(DbiContext* context, const KOCHAR* sql, DbiStatement** out) {
  if (out != nullptr) *out = nullptr;
  if (context == nullptr || out == nullptr || sql == nullptr) return 0;
  auto* statement = alloc_record<DbiStatement>(context);
  if (statement == nullptr) return 0;
  DBI_SQLCacheRequestSqlStatement(context, context->sql_cache, sql, &statement->entry);
  if (statement->entry == nullptr) {
    DbiSqlRequest request{};
    request.sql = sql;
    call_with_request(context, DBI_OP_PREPARE, &request);
    if (context->return_code == 0) {
      DBI_SQLCacheRegisterSQLStatement(context, sql, request.statement, &statement->entry);
    }
    if (statement->entry == nullptr) {
      if (context->return_code == 0) {
        // Nothing to keep the driver's statement in: close it again.
        SqlCacheEntry scratch{};
        scratch.statement = request.statement;
        const intptr_t saved = context->result;
        context->sub_operation = 0;
        context->result = reinterpret_cast<intptr_t>(&scratch);
        call_driver(context, DBI_OP_CLOSE_STATEMENT);
        context->result = saved;
        raise_error(context, "DBI_OUT_OF_MEMORY", nullptr);
      }
      release(context, statement);
      return 0;
    }
  } else {
    context->return_code = 0;
    context->sql_code = 0;
  }
  *out = statement;
  return 0;
}

int32_t DBI_BindParameters(DbiContext* context, DbiStatement* statement, const DbiValue* values,
                           uint32_t count) {
  if (!usable(context, statement) || (values == nullptr && count != 0)) return 0;
  DbiSqlRequest request = request_for(statement);
  request.parameters = values;
  request.parameter_count = count;
  call_with_request(context, DBI_OP_BIND_PARAMETERS, &request);
  return 0;
}

int32_t DBI_Execute(DbiContext* context, DbiStatement* statement) {
  if (!usable(context, statement)) return 0;
  DbiSqlRequest request = request_for(statement);
  call_with_request(context, DBI_OP_EXECUTE, &request);
  return 0;
}

int32_t DBI_DescribeColumns(DbiContext* context, DbiStatement* statement,
                            const DbiColumnDescriptor** columns, uint32_t* count) {
  if (columns != nullptr) *columns = nullptr;
  if (count != nullptr) *count = 0;
  if (!usable(context, statement)) return 0;
  context->return_code = 0;
  context->sql_code = 0;
  if (!statement->described && !columns_from_cache(context, statement)) {
    columns_from_driver(context, statement);
  }
  if (columns != nullptr) *columns = statement->columns;
  if (count != nullptr) *count = statement->column_count;
  return 0;
}

int32_t DBI_FetchBlock(DbiContext* context, DbiStatement* statement, uint32_t max_rows,
                       DbiRowBlock* block) {
  if (block != nullptr) *block = DbiRowBlock{};
  if (!usable(context, statement) || block == nullptr) return 0;
  DbiSqlRequest request = request_for(statement);
  request.max_rows = max_rows;
  call_with_request(context, DBI_OP_FETCH, &request);
  if (context->return_code == 0) *block = request.block;
  return 0;
}

int32_t DBI_RowsAffected(DbiContext* context, DbiStatement* statement, int64_t* rows) {
  if (rows != nullptr) *rows = -1;
  if (!usable(context, statement) || rows == nullptr) return 0;
  DbiSqlRequest request = request_for(statement);
  request.rows_affected = -1;
  call_with_request(context, DBI_OP_ROWS_AFFECTED, &request);
  *rows = request.rows_affected;
  return 0;
}

int32_t DBI_CloseStatement(DbiContext* context, DbiStatement* statement) {
  if (!usable(context, statement)) return 0;
  DbiSqlRequest request = request_for(statement);
  call_with_request(context, DBI_OP_CLOSE_CURSOR, &request);
  const bool cursor_closed = context->return_code == 0;
  free_columns(context, statement);
  if (cursor_closed && context->sql_cache != nullptr) {
    DBI_SQLCacheMakeSQLStatementAvailable(context, statement->entry, context->sql_cache);
  } else {
    // A statement whose cursor would not close is not offered again.
    DBI_SQLCacheDiscardEntry(context, statement->entry, 1);
  }
  wipe(statement, sizeof *statement);
  release(context, statement);
  return 0;
}

int32_t DBI_ExecuteSQL(DbiContext* context, const KOCHAR* sql, int64_t* rows_affected) {
  if (rows_affected != nullptr) *rows_affected = -1;
  DbiStatement* statement = nullptr;
  DBI_Prepare(context, sql, &statement);
  if (statement == nullptr) return 0;
  DBI_Execute(context, statement);
  if (context->return_code == 0 && rows_affected != nullptr) {
    DBI_RowsAffected(context, statement, rows_affected);
  }
  // The statement's outcome is what the caller reads, not the close's.
  const int32_t return_code = context->return_code;
  const int32_t sql_code = context->sql_code;
  KOCHAR message[DBI_MESSAGE_LENGTH];
  std::memcpy(message, context->message, sizeof message);
  DBI_CloseStatement(context, statement);
  if (return_code != 0) {
    context->return_code = return_code;
    context->sql_code = sql_code;
    std::memcpy(context->message, message, sizeof message);
  }
  return 0;
}

namespace {

int32_t plain_operation(DbiContext* context, int32_t operation) {
  if (context == nullptr) return 0;
  DbiSqlRequest unused{};
  call_with_request(context, operation, &unused);
  return 0;
}

}  // namespace

int32_t DBI_Begin(DbiContext* context) { return plain_operation(context, DBI_OP_BEGIN); }
int32_t DBI_Commit(DbiContext* context) { return plain_operation(context, DBI_OP_COMMIT); }
int32_t DBI_Rollback(DbiContext* context) { return plain_operation(context, DBI_OP_ROLLBACK); }
int32_t DBI_CreateCatalogTables(DbiContext* context) {
  return plain_operation(context, DBI_OP_CREATE_CATALOG);
}

// catalog.cpp: the catalog tables' creation statements and their reading.
//
// The statements use only what SQLite and PostgreSQL both take: varchar,
// smallint, integer, char(1), primary keys, CREATE TABLE IF NOT EXISTS. A
// table's rows are keyed by the owner and table name they describe
// ("kot_ownr"/"kot_tnam", "koc_ownr"/"koc_tnam"), beside the columns the
// front end reads. Reading uses the driver's own statements (the rows never
// pass through the host's statement cache) and hands each row to the front
// end's row reader as name and value pairs.
#include "drivers/odbc/catalog.h"

#include <koshr/dbi_sql.h>

#include <string>
#include <vector>

#include "drivers/odbc/diagnostics.h"
#include "drivers/odbc/statement.h"

namespace ko::odbc {
namespace {

#define KO_FONT_COLUMNS(p)                                                            \
  p "_fhgt smallint, " p "_fwgt smallint, " p "_fitl char(1), " p "_funl char(1), " p \
    "_fchr smallint, " p "_fptc smallint, " p "_ffce varchar(32), "

const char16_t* const kCreateStatements[] = {
    u"CREATE TABLE IF NOT EXISTS kocattbl (kot_ownr varchar(128) NOT NULL, "
    u"kot_tnam varchar(128) NOT NULL, " KO_FONT_COLUMNS(u"kod") KO_FONT_COLUMNS(u"koh")
        KO_FONT_COLUMNS(u"kol") u"kot_cmnt varchar(254), PRIMARY KEY (kot_ownr, kot_tnam))",
    u"CREATE TABLE IF NOT EXISTS kocatcol (koc_ownr varchar(128) NOT NULL, "
    u"koc_tnam varchar(128) NOT NULL, koc_cnam varchar(128) NOT NULL, koc_labl varchar(254), "
    u"koc_lpos smallint, koc_hdr varchar(254), koc_hpos smallint, koc_jtfy smallint, "
    u"koc_mask varchar(254), koc_case smallint, koc_hght smallint, koc_wdth smallint, "
    u"koc_ptrn varchar(254), koc_bmap char(1), koc_init varchar(254), koc_cmnt varchar(254), "
    u"koc_edit varchar(31), PRIMARY KEY (koc_ownr, koc_tnam, koc_cnam))",
    u"CREATE TABLE IF NOT EXISTS kocatfmt (kof_name varchar(30) NOT NULL PRIMARY KEY, "
    u"kof_frmt varchar(254) NOT NULL, kof_type smallint, kof_cntr integer)",
    u"CREATE TABLE IF NOT EXISTS kocatvld (kov_name varchar(30) NOT NULL PRIMARY KEY, "
    u"kov_vald varchar(254) NOT NULL, kov_type smallint, kov_cntr integer, "
    u"kov_msg varchar(254))",
    u"CREATE TABLE IF NOT EXISTS kocatedt (koe_name varchar(30) NOT NULL, "
    u"koe_edit varchar(254), koe_type smallint, koe_cntr integer, koe_seqn smallint NOT NULL, "
    u"koe_flag integer, koe_work varchar(32), PRIMARY KEY (koe_name, koe_seqn))",
};

#undef KO_FONT_COLUMNS

// Runs one statement to its end on the driver's own statement.
bool run(DbiContext* context, Connection* connection, const KOCHAR* sql, const DbiValue* values,
         uint32_t count) {
  Statement* statement = prepare(context, connection, sql);
  if (statement == nullptr) return false;
  if (count != 0) bind_parameters(context, statement, values, count);
  uint32_t columns = 0;
  if (context->return_code == 0) execute(context, statement, columns);
  const bool good = context->return_code == 0;
  free_statement(connection, statement);
  return good;
}

// Runs `body` in a transaction of its own unless the host holds one.
template <typename Body>
void in_transaction(DbiContext* context, Connection* connection, Body body) {
  const bool own = !connection->in_transaction;
  if (own) {
    begin_transaction(context);
    if (context->return_code != 0) return;
  }
  const bool good = body();
  if (!own) return;
  if (good) {
    end_transaction(context, true);
    return;
  }
  // The statement's error is what the caller reads, not the roll back's.
  const int32_t return_code = context->return_code;
  const int32_t sql_code = context->sql_code;
  std::u16string message(context->message);
  end_transaction(context, false);
  context->return_code = return_code;
  context->sql_code = sql_code;
  message.resize(std::min<size_t>(message.size(), DBI_MESSAGE_LENGTH - 1));
  std::copy(message.begin(), message.end(), context->message);
  context->message[message.size()] = 0;
}

bool table_exists(Connection* connection, const KOCHAR* name) {
  SQLHSTMT handle = SQL_NULL_HSTMT;
  if (!succeeded(SQLAllocHandle(SQL_HANDLE_STMT, connection->handle, &handle))) return false;
  bool found = false;
  if (succeeded(SQLTablesW(handle, nullptr, 0, nullptr, 0, wide(name), SQL_NTS, nullptr, 0))) {
    found = SQLFetch(handle) == SQL_SUCCESS;
  }
  SQLFreeHandle(SQL_HANDLE_STMT, handle);
  return found;
}

// One row's value as the row reader takes it.
DbiCatalogValue catalog_value(const DbiColumnDescriptor& column, const DbiValue& value,
                              std::u16string& scratch) {
  DbiCatalogValue out{column.name, DBI_VALUE_NULL, nullptr, 0};
  switch (value.type) {
    case DBI_TYPE_INTEGER:
      out.kind = DBI_VALUE_INTEGER;
      out.integer = value.as.integer;
      break;
    case DBI_TYPE_BIGINT:
      out.kind = DBI_VALUE_INTEGER;
      out.integer = value.as.bigint;
      break;
    case DBI_TYPE_DECIMAL: {
      // A whole number from a database that keeps every number as numeric.
      if (value.as.decimal.scale != 0 || value.as.decimal.hi32 != 0 ||
          value.as.decimal.lo64 > INT32_MAX) {
        break;
      }
      out.kind = DBI_VALUE_INTEGER;
      out.integer = static_cast<int64_t>(value.as.decimal.lo64);
      if (value.as.decimal.sign == KODECIMAL_NEGATIVE) out.integer = -out.integer;
      break;
    }
    case DBI_TYPE_TEXT:
      scratch.assign(value.as.text, value.length);
      out.kind = DBI_VALUE_TEXT;
      out.text = scratch.c_str();
      break;
    default:
      break;
  }
  return out;
}

struct CatalogQuery {
  int32_t catalog;
  const KOCHAR* table;
  const KOCHAR* select;
};

const CatalogQuery kQueries[] = {
    {DBI_CATALOG_FORMATS, u"kocatfmt", u"SELECT * FROM kocatfmt ORDER BY kof_name"},
    {DBI_CATALOG_VALIDATION, u"kocatvld", u"SELECT * FROM kocatvld ORDER BY kov_name"},
    {DBI_CATALOG_EDIT_STYLES, u"kocatedt", u"SELECT * FROM kocatedt ORDER BY koe_name, koe_seqn"},
};

}  // namespace

void create_catalog_tables(DbiContext* context) {
  clear_error(context);
  Connection* connection = live_connection(context);
  if (connection == nullptr) return;
  in_transaction(context, connection, [&] {
    for (const char16_t* sql : kCreateStatements) {
      if (!run(context, connection, sql, nullptr, 0)) return false;
    }
    return true;
  });
}

void read_catalog(DbiContext* context, int32_t catalog) {
  clear_error(context);
  context->result = 0;
  Connection* connection = live_connection(context);
  if (connection == nullptr) return;
  const CatalogQuery* query = nullptr;
  for (const CatalogQuery& candidate : kQueries) {
    if (candidate.catalog == catalog) query = &candidate;
  }
  ShHashTable* table = context->services->catalog_new_table(context, catalog);
  context->result = reinterpret_cast<intptr_t>(table);
  if (query == nullptr || table == nullptr || !table_exists(connection, query->table)) return;
  Statement* statement = prepare(context, connection, query->select);
  if (statement == nullptr) return;
  uint32_t column_count = 0;
  execute(context, statement, column_count);
  std::vector<DbiCatalogValue> row(column_count);
  std::vector<std::u16string> scratch(column_count);
  while (context->return_code == 0 && column_count != 0) {
    DbiRowBlock block{};
    fetch(context, statement, 0, block);
    if (block.rows == 0) break;
    for (uint32_t r = 0; r < block.rows; ++r) {
      for (uint32_t c = 0; c < column_count; ++c) {
        row[c] = catalog_value(statement->descriptors[c], block.values[r * column_count + c],
                               scratch[c]);
      }
      context->services->catalog_add_row(context, table, catalog, row.data(), column_count);
    }
  }
  free_statement(connection, statement);
}

void update_edit_style(DbiContext* context) {
  clear_error(context);
  Connection* connection = live_connection(context);
  if (connection == nullptr) return;
  const auto* row = static_cast<const DbiEditStyleRow*>(context->edit_record);
  if (row == nullptr || row->name == nullptr) {
    report_error(context, "HY009", "no edit-style row to write");
    return;
  }
  auto text = [](const KOCHAR* value) {
    DbiValue out{};
    if (value == nullptr) return out;
    out.type = DBI_TYPE_TEXT;
    out.length = static_cast<uint32_t>(std::u16string(value).size());
    out.as.text = value;
    return out;
  };
  auto number = [](int32_t value) {
    DbiValue out{};
    out.type = DBI_TYPE_INTEGER;
    out.as.integer = value;
    return out;
  };
  const int32_t sub_operation = context->sub_operation;
  in_transaction(context, connection, [&] {
    switch (sub_operation) {
      case DBI_EDIT_ROW_INSERT: {
        const DbiValue values[] = {text(row->name),      text(row->edit),       number(row->type),
                                   number(row->counter), number(row->sequence), number(row->flags),
                                   text(row->work)};
        return run(context, connection,
                   u"INSERT INTO kocatedt (koe_name, koe_edit, koe_type, koe_cntr, koe_seqn, "
                   u"koe_flag, koe_work) VALUES (?, ?, ?, ?, ?, ?, ?)",
                   values, 7);
      }
      case DBI_EDIT_ROW_UPDATE: {
        const DbiValue values[] = {text(row->edit),      number(row->type), number(row->counter),
                                   number(row->flags),   text(row->work),   text(row->name),
                                   number(row->sequence)};
        return run(context, connection,
                   u"UPDATE kocatedt SET koe_edit = ?, koe_type = ?, koe_cntr = ?, koe_flag = ?, "
                   u"koe_work = ? WHERE koe_name = ? AND koe_seqn = ?",
                   values, 7);
      }
      case DBI_EDIT_STYLE_DELETE: {
        const DbiValue values[] = {text(row->name)};
        return run(context, connection, u"DELETE FROM kocatedt WHERE koe_name = ?", values, 1);
      }
      default:
        report_error(context, "HY092", "unknown edit-update sub-operation");
        return false;
    }
  });
}

}  // namespace ko::odbc

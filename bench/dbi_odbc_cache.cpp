// Benchmark: a one-row SELECT by key on SQLite through the ODBC driver,
// prepared once and served by the statement cache, against preparing,
// executing and closing it every time with plain ODBC calls (what a client
// without a cache does). Argument 0: every statement commits by itself, so
// SQLite takes and drops its file lock around each one on both sides;
// argument 1: both sides read inside one transaction.
#include <benchmark/benchmark.h>
#include <koshr/dbi_sql.h>
#include <koshr/storage.h>

#include <filesystem>
#include <string>

#include "odbc_floor.h"

namespace {

const std::filesystem::path& database() {
  static const std::filesystem::path path = [] {
    const auto file = std::filesystem::temp_directory_path() / "koshr_bench_cache.db";
    std::filesystem::remove(file);
    return file;
  }();
  return path;
}

std::string connect_string() { return "Driver=SQLite3;StepAPI=1;Database=" + database().string(); }

constexpr int kRows = 1000;
const char16_t kSelect[] = u"SELECT name, total FROM orders WHERE id = ?";

// Logs in through the front end and fills the table once.
DbiContext* log_in(KostgContext* storage, bool in_transaction) {
  const std::string connect = connect_string();
  const std::u16string dbparm =
      u"SQLCache=8,ConnectString='" + std::u16string(connect.begin(), connect.end()) + u"'";
  DbiContext* context = nullptr;
  DBI_LogIn(storage, u"ODBC", nullptr, nullptr, nullptr, dbparm.c_str(), 0, &context);
  if (context == nullptr || context->return_code != 0) return nullptr;
  int64_t count = 0;
  DBI_ExecuteSQL(context,
                 u"CREATE TABLE IF NOT EXISTS orders (id integer PRIMARY KEY, name varchar(40), "
                 u"total numeric(12,2))",
                 &count);
  DBI_ExecuteSQL(context, u"DELETE FROM orders", &count);
  DBI_Begin(context);
  DbiStatement* insert = nullptr;
  DBI_Prepare(context, u"INSERT INTO orders VALUES (?, ?, ?)", &insert);
  for (int i = 0; i < kRows; ++i) {
    const std::u16string name = u"customer " + std::u16string(1, char16_t(u'A' + i % 26));
    DbiValue values[3] = {};
    values[0].type = DBI_TYPE_INTEGER;
    values[0].as.integer = i;
    values[1].type = DBI_TYPE_TEXT;
    values[1].length = static_cast<uint32_t>(name.size());
    values[1].as.text = name.c_str();
    values[2].type = DBI_TYPE_DECIMAL;
    values[2].as.decimal.scale = 2;
    values[2].as.decimal.lo64 = static_cast<uint64_t>(i) * 137;
    DBI_BindParameters(context, insert, values, 3);
    DBI_Execute(context, insert);
  }
  DBI_CloseStatement(context, insert);
  DBI_Commit(context);
  if (in_transaction) DBI_Begin(context);
  return context;
}

void BM_CachedSelectByKey(benchmark::State& state) {
  KostgContext* storage = kostg_begin(0);
  DbiContext* context = log_in(storage, state.range(0) != 0);
  if (context == nullptr) {
    state.SkipWithError("no SQLite ODBC driver");
    kostg_end(storage);
    return;
  }
  int key = 0;
  for (auto _ : state) {
    DbiStatement* statement = nullptr;
    DBI_Prepare(context, kSelect, &statement);
    DbiValue value{};
    value.type = DBI_TYPE_INTEGER;
    value.as.integer = key++ % kRows;
    DBI_BindParameters(context, statement, &value, 1);
    DBI_Execute(context, statement);
    DbiRowBlock block{};
    DBI_FetchBlock(context, statement, 0, &block);
    benchmark::DoNotOptimize(block.values);
    DBI_CloseStatement(context, statement);
  }
  DBI_Rollback(context);
  DBI_Disconnect(context);
  kostg_end(storage);
}
BENCHMARK(BM_CachedSelectByKey)->Arg(0)->Arg(1);

void BM_PeerPrepareExecuteCloseEveryTime(benchmark::State& state) {
  SQLHENV environment = SQL_NULL_HENV;
  SQLHDBC connection = SQL_NULL_HDBC;
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment);
  SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION,
                reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(SQL_OV_ODBC3)), 0);
  SQLAllocHandle(SQL_HANDLE_DBC, environment, &connection);
  std::string connect = connect_string();
  if (!SQL_SUCCEEDED(SQLDriverConnectA(connection, nullptr,
                                       reinterpret_cast<SQLCHAR*>(connect.data()), SQL_NTS, nullptr,
                                       0, nullptr, SQL_DRIVER_NOPROMPT))) {
    state.SkipWithError("no SQLite ODBC driver");
    return;
  }
  if (state.range(0) != 0) {
    SQLSetConnectAttrW(connection, SQL_ATTR_AUTOCOMMIT,
                       reinterpret_cast<SQLPOINTER>(static_cast<SQLULEN>(SQL_AUTOCOMMIT_OFF)), 0);
  }
  int key = 0;
  for (auto _ : state) {
    SQLHSTMT statement = SQL_NULL_HSTMT;
    SQLAllocHandle(SQL_HANDLE_STMT, connection, &statement);
    SQLPrepareW(statement, reinterpret_cast<SQLWCHAR*>(const_cast<char16_t*>(kSelect)), SQL_NTS);
    SQLINTEGER id = key++ % kRows;
    SQLLEN id_length = sizeof id;
    SQLBindParameter(statement, 1, SQL_PARAM_INPUT, SQL_C_SLONG, SQL_INTEGER, 10, 0, &id, 0,
                     &id_length);
    SQLExecute(statement);
    SQLWCHAR name[41];
    char total[64];
    SQLLEN name_length = 0, total_length = 0;
    SQLBindCol(statement, 1, SQL_C_WCHAR, name, sizeof name, &name_length);
    SQLBindCol(statement, 2, SQL_C_CHAR, total, sizeof total, &total_length);
    SQLFetch(statement);
    benchmark::DoNotOptimize(name);
    SQLFreeHandle(SQL_HANDLE_STMT, statement);
  }
  SQLEndTran(SQL_HANDLE_DBC, connection, SQL_ROLLBACK);
  SQLDisconnect(connection);
  SQLFreeHandle(SQL_HANDLE_DBC, connection);
  SQLFreeHandle(SQL_HANDLE_ENV, environment);
}
BENCHMARK(BM_PeerPrepareExecuteCloseEveryTime)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();

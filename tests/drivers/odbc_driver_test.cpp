// odbc_driver_test.cpp: the ODBC driver koODB against a real database.
//
// By default each test gets a SQLite database file in a fresh temporary
// folder (Driver=SQLite3). With KOSHR_TEST_CONNECT set (make test-postgres)
// the same tests run against that connection string; tables are dropped
// first so a shared server starts clean. The driver is reached only through
// the front end, as a host reaches it: DBI_LogIn with DBMS "ODBC".
#include <gtest/gtest.h>
#if defined(_WIN32)
#include <windows.h>
#endif
#include <koshr/dbi.h>
#include <koshr/dbi_sql.h>
#include <koshr/hashtable.h>
#include <koshr/storage.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "scratch_folder.h"
#include "storage_fixture.h"

namespace {

std::string narrow(const KOCHAR* text, size_t length = std::string::npos) {
  std::string out;
  for (size_t i = 0; text != nullptr && i < length && text[i] != 0; ++i) {
    out += text[i] < 128 ? static_cast<char>(text[i]) : '?';
  }
  return out;
}

std::u16string widen(const std::string& text) { return std::u16string(text.begin(), text.end()); }

// Every driver call of the connection, counted by operation, and the
// statements operation 247 closed.
struct Recorder {
  DbiDriverEntry real = nullptr;
  std::map<int32_t, int> counts;
  std::vector<void*> closed;
  std::map<std::u16string, void*> prepared;  // the driver's statement of each text
};
Recorder g_recorder;

int32_t recording_entry(DbiContext* context) {
  ++g_recorder.counts[context->operation];
  if (context->operation == DBI_OP_CLOSE_STATEMENT) {
    g_recorder.closed.push_back(reinterpret_cast<SqlCacheEntry*>(context->result)->statement);
  }
  const int32_t result = g_recorder.real(context);
  if (context->operation == DBI_OP_PREPARE && context->return_code == 0) {
    const auto* request = reinterpret_cast<const DbiSqlRequest*>(context->result);
    g_recorder.prepared[request->sql] = request->statement;
  }
  return result;
}

// The database file's path as the ODBC driver sees it. Under Wine the
// drivers are the host's, which need the host's path of the file.
std::u16string driver_path(const std::filesystem::path& path) {
#if defined(_WIN32)
  using ToUnix = char*(__cdecl*)(const wchar_t*);
  const auto to_unix = reinterpret_cast<ToUnix>(reinterpret_cast<void*>(
      GetProcAddress(GetModuleHandleW(L"kernel32"), "wine_get_unix_file_name")));
  if (to_unix != nullptr) {
    char* unix = to_unix(path.wstring().c_str());
    if (unix != nullptr) {
      const std::string text(unix);
      HeapFree(GetProcessHeap(), 0, unix);
      return std::u16string(text.begin(), text.end());
    }
  }
#endif
  return path.u16string();
}

bool on_postgres() {
  const char* connect = std::getenv("KOSHR_TEST_CONNECT");
  return connect != nullptr && std::strstr(connect, "PostgreSQL") != nullptr;
}

DbiValue typed(int32_t type) {
  DbiValue value{};
  value.type = type;
  return value;
}

DbiValue integer(int32_t v) {
  DbiValue value = typed(DBI_TYPE_INTEGER);
  value.as.integer = v;
  return value;
}

DbiValue text(const std::u16string& v) {
  DbiValue value = typed(DBI_TYPE_TEXT);
  value.length = static_cast<uint32_t>(v.size());
  value.as.text = v.c_str();
  return value;
}

// A decimal's value as text without trailing fraction zeros ("1.50" and
// "1.5" are the same number).
std::string decimal_string(const KODECIMAL& d) {
  unsigned __int128 magnitude = (static_cast<unsigned __int128>(d.hi32) << 64) | d.lo64;
  std::string digits;
  do {
    digits.insert(digits.begin(), static_cast<char>('0' + static_cast<int>(magnitude % 10)));
    magnitude /= 10;
  } while (magnitude != 0);
  while (digits.size() <= d.scale) digits.insert(digits.begin(), '0');
  if (d.scale > 0) {
    digits.insert(digits.end() - d.scale, '.');
    while (digits.back() == '0') digits.pop_back();
    if (digits.back() == '.') digits.pop_back();
  }
  return (d.sign == KODECIMAL_NEGATIVE ? "-" : "") + digits;
}

// A value as comparable text: its type, then its exact content.
std::string show(const DbiValue& v) {
  char out[96];
  const KODATETIME& t = v.as.datetime;
  switch (v.type) {
    case DBI_TYPE_NULL:
      return "null";
    case DBI_TYPE_INTEGER:
      return "int " + std::to_string(v.as.integer);
    case DBI_TYPE_BIGINT:
      return "bigint " + std::to_string(v.as.bigint);
    case DBI_TYPE_DECIMAL:
      return "decimal " + decimal_string(v.as.decimal);
    case DBI_TYPE_REAL:
      std::snprintf(out, sizeof out, "real %a", static_cast<double>(v.as.real));
      return out;
    case DBI_TYPE_DOUBLE:
      std::snprintf(out, sizeof out, "double %a", v.as.dbl);
      return out;
    case DBI_TYPE_DATE:
    case DBI_TYPE_TIME:
    case DBI_TYPE_TIMESTAMP:
      std::snprintf(out, sizeof out, "dt%d %04u-%02u-%02u %02u:%02u:%02u.%06u", v.type,
                    t.year + 1900u, t.month + 1u, t.day + 0u, t.hour + 0u, t.minute + 0u,
                    t.second + 0u, t.subsecond);
      return out;
    case DBI_TYPE_TEXT: {
      std::string units = "text";
      for (uint32_t i = 0; i < v.length; ++i) units += " " + std::to_string(v.as.text[i]);
      return units;
    }
    case DBI_TYPE_BINARY: {
      std::string bytes = "binary";
      for (uint32_t i = 0; i < v.length; ++i) bytes += " " + std::to_string(v.as.binary[i]);
      return bytes;
    }
  }
  return "?";
}

// A failure's message opens with its five-character SQL state and ": ".
void expect_state_message(const DbiContext* context, const char* state = nullptr) {
  EXPECT_NE(context->return_code, 0);
  EXPECT_NE(context->sql_code, 0);
  const std::string message = narrow(context->message);
  ASSERT_GT(message.size(), 7u) << message;
  EXPECT_EQ(message.substr(5, 2), ": ") << message;
  if (state != nullptr) {
    EXPECT_EQ(message.substr(0, 5), state) << message;
  }
}

class OdbcDriverTest : public ko_test::StorageTest {
 protected:
  void SetUp() override {
    StorageTest::SetUp();
    g_recorder = Recorder{};
    if (const char* connect = std::getenv("KOSHR_TEST_CONNECT")) {
      connect_ = widen(connect);
    } else {
      folder_.emplace("odbc");
      connect_ = u"Driver=SQLite3;Database=" + driver_path(folder_->file("test.db"));
    }
  }
  void TearDown() override {
    for (DbiContext* context : open_) DBI_Disconnect(context);
    StorageTest::TearDown();
  }

  // A connection through koODB, its driver calls recorded.
  DbiContext* connect(const std::u16string& extra = u"") {
    const std::u16string dbparm = u"ConnectString='" + connect_ + u"'" + extra;
    DbiContext* context = nullptr;
    DBI_LogIn(storage_, u"ODBC", nullptr, nullptr, nullptr, dbparm.c_str(), 0, &context);
    EXPECT_NE(context, nullptr);
    EXPECT_EQ(context->return_code, 0) << narrow(context->message);
    if (context->return_code == 0) open_.push_back(context);
    g_recorder.real = context->driver;
    context->driver = &recording_entry;
    return context;
  }

  void run(DbiContext* context, const std::u16string& sql) {
    int64_t rows = 0;
    DBI_ExecuteSQL(context, sql.c_str(), &rows);
    ASSERT_EQ(context->return_code, 0) << narrow(sql.c_str()) << ": " << narrow(context->message);
  }

  void fresh_table(DbiContext* context, const std::u16string& name, const std::u16string& columns) {
    DBI_ExecuteSQL(context, (u"DROP TABLE IF EXISTS " + name).c_str(), nullptr);
    run(context, u"CREATE TABLE " + name + u" (" + columns + u")");
  }

  // Every row of a query, each value shown; binds `parameters` first.
  std::vector<std::vector<std::string>> rows(DbiContext* context, const std::u16string& sql,
                                             const std::vector<DbiValue>& parameters = {},
                                             uint32_t max_rows = 0) {
    std::vector<std::vector<std::string>> out;
    DbiStatement* statement = nullptr;
    DBI_Prepare(context, sql.c_str(), &statement);
    EXPECT_NE(statement, nullptr) << narrow(context->message);
    if (statement == nullptr) return out;
    if (!parameters.empty()) {
      DBI_BindParameters(context, statement, parameters.data(),
                         static_cast<uint32_t>(parameters.size()));
    }
    DBI_Execute(context, statement);
    EXPECT_EQ(context->return_code, 0) << narrow(context->message);
    for (;;) {
      DbiRowBlock block{};
      DBI_FetchBlock(context, statement, max_rows, &block);
      EXPECT_EQ(context->return_code, 0) << narrow(context->message);
      if (block.rows == 0) break;
      if (max_rows != 0) {
        EXPECT_LE(block.rows, max_rows);
      }
      block_sizes_.push_back(block.rows);
      for (uint32_t r = 0; r < block.rows; ++r) {
        std::vector<std::string> row;
        for (uint32_t c = 0; c < block.columns; ++c) {
          row.push_back(show(block.values[r * block.columns + c]));
        }
        out.push_back(row);
      }
    }
    DBI_CloseStatement(context, statement);
    return out;
  }

  std::string single(DbiContext* context, const std::u16string& sql) {
    const auto all = rows(context, sql);
    return all.size() == 1 && all[0].size() == 1 ? all[0][0] : "(no single value)";
  }

  std::optional<ko_test::ScratchFolder> folder_;  // for SQLite, when no server is named
  std::u16string connect_;
  std::vector<DbiContext*> open_;
  std::vector<uint32_t> block_sizes_;
};

TEST_F(OdbcDriverTest, ConnectsAnswersTheFrontEndAndDisconnects) {
  DbiContext* context = connect();
  void* handle = nullptr;
  DBI_DBHandle(context, &handle);
  EXPECT_NE(handle, nullptr);
  EXPECT_NE(context->driver_connection, nullptr);
  EXPECT_EQ(single(context, u"SELECT 1 + 1"), "int 2");
  DBI_Disconnect(context);
  open_.clear();
  EXPECT_EQ(std::tuple(context->return_code, context->driver_connection),
            std::tuple(0, static_cast<void*>(nullptr)));
}

// SQLite's streaming mode types an expression column as text, which shows
// whether the driver asked for it: only when DBParm Streaming says yes.
TEST_F(OdbcDriverTest, StreamingSettingsThatChangeTypesComeOnlyWhenAskedFor) {
  const struct {
    const char16_t* dbparm;
    bool types_change;
  } cases[] = {{u"", false},
               {u",Streaming='No'", false},
               {u",Streaming=0", false},
               {u",Streaming='Yes'", true},
               {u",Streaming=1", true}};
  for (const auto& c : cases) {
    SCOPED_TRACE(narrow(c.dbparm));
    DbiContext* context = connect(c.dbparm);
    const bool as_text = c.types_change && !on_postgres();
    EXPECT_EQ(single(context, u"SELECT 1 + 1"), as_text ? "text 50" : "int 2");
  }
}

TEST_F(OdbcDriverTest, ConnectionFailuresReportTheirSqlState) {
  const struct {
    const char16_t* dbparm;
    const char* state;
  } cases[] = {
      {u"ConnectString='Driver=NoSuchDriverAnywhere;Database=x'", nullptr},  // the manager's
      {u"Isolation='Sometimes'", "HY024"},
      {u"FetchBlockSize=0", "HY024"},
      {nullptr, "IM002"},
  };
  for (const auto& c : cases) {
    DbiContext* context = nullptr;
    DBI_LogIn(storage_, u"ODBC", nullptr, nullptr, nullptr, c.dbparm, 0, &context);
    ASSERT_NE(context, nullptr);
    expect_state_message(context, c.state);
    EXPECT_EQ(context->driver_connection, nullptr);
    DBI_Disconnect(context);
  }
}

TEST_F(OdbcDriverTest, EveryValueTypeRoundTripsExactly) {
  DbiContext* context = connect();
  const bool pg = on_postgres();
  DbiValue v;
  struct Case {
    const char16_t* column;
    DbiValue value;
    std::string expected;
  };
  std::vector<Case> cases;
  v = integer(-2147483647 - 1);
  cases.push_back({u"integer", v, "int -2147483648"});
  v = typed(DBI_TYPE_BIGINT);
  v.as.bigint = INT64_MAX;
  cases.push_back({u"bigint", v, "bigint 9223372036854775807"});
  v = typed(DBI_TYPE_DECIMAL);
  v.as.decimal.scale = 2;
  v.as.decimal.sign = KODECIMAL_NEGATIVE;
  v.as.decimal.lo64 = 1234567890123ull;  // -12345678901.23: fifteen digits
  cases.push_back({u"numeric(15,2)", v, "decimal -12345678901.23"});
  if (pg) {  // SQLite keeps a numeric's digits only as far as a double does
    v.as.decimal = KODECIMAL{};
    v.as.decimal.scale = 10;
    v.as.decimal.hi32 = 0x3F;  // 28 digits: 1162.2460598322176331432526 ...
    v.as.decimal.lo64 = 0x0123456789ABCDEFull;
    cases.push_back({u"numeric(38,10)", v, "decimal " + decimal_string(v.as.decimal)});
  }
  // Doubles cross as their text on both: SQLite's driver writes 15
  // significant digits, the server every digit a double needs.
  std::vector<double> doubles = {0.1, -2.5e-300, 1.25e300};
  if (pg) doubles.push_back(0.1 + 0.2);  // 0.30000000000000004: 17 digits
  // SQLite lets a floating column hold text: it arrives as that text.
  const std::u16string not_a_number = u"n/\u00e4\u20ac";
  if (!pg) cases.push_back({u"double precision", text(not_a_number), "text 110 47 228 8364"});
  for (double d : doubles) {
    v = typed(DBI_TYPE_DOUBLE);
    v.as.dbl = d;
    char expected_double[64];
    std::snprintf(expected_double, sizeof expected_double, "double %a", d);
    cases.push_back({u"double precision", v, expected_double});
  }
  v = typed(DBI_TYPE_REAL);
  v.as.real = 1.5f;
  cases.push_back({u"real", v, pg ? "real 0x1.8p+0" : "double 0x1.8p+0"});
  v = typed(DBI_TYPE_DATE);
  v.as.datetime = KODATETIME{0, 124, 1, 29, 0, 0, 0, 0};
  cases.push_back({u"date", v, "dt6 2024-02-29 00:00:00.000000"});
  v = typed(DBI_TYPE_TIME);
  v.as.datetime = KODATETIME{654321, 0, 0, 0, 23, 59, 58, 0};
  cases.push_back({u"time(6)", v, "dt7 1900-01-00 23:59:58.654321"});
  v = typed(DBI_TYPE_TIMESTAMP);
  v.as.datetime = KODATETIME{123456, 99, 11, 31, 13, 45, 7, 0};
  cases.push_back({u"timestamp(6)", v, "dt8 1999-12-31 13:45:07.123456"});
  const std::u16string unicode = u"a\u00e9\u20ac\U0001F600z";
  cases.push_back({u"varchar(40)", text(unicode), "text 97 233 8364 55357 56832 122"});
  static const uint8_t kBytes[] = {0, 255, 1, 128, 0};
  v = typed(DBI_TYPE_BINARY);
  v.length = sizeof kBytes;
  v.as.binary = kBytes;
  cases.push_back({pg ? u"bytea" : u"blob", v, "binary 0 255 1 128 0"});
  for (const Case& c : cases) {
    SCOPED_TRACE(narrow(c.column));
    fresh_table(context, u"kv", std::u16string(u"v ") + c.column);
    DbiStatement* insert = nullptr;
    DBI_Prepare(context, u"INSERT INTO kv (v) VALUES (?)", &insert);
    ASSERT_NE(insert, nullptr) << narrow(context->message);
    const DbiValue values[] = {c.value, DbiValue{}};
    for (const DbiValue& value : values) {
      DBI_BindParameters(context, insert, &value, 1);
      DBI_Execute(context, insert);
      EXPECT_EQ(context->return_code, 0) << narrow(context->message);
    }
    DBI_CloseStatement(context, insert);
    EXPECT_EQ(rows(context, u"SELECT v FROM kv"),
              (std::vector<std::vector<std::string>>{{c.expected}, {"null"}}));
  }
}

TEST_F(OdbcDriverTest, DescribesColumnsWithOurTypesBeforeOrAfterExecuting) {
  DbiContext* context = connect();
  fresh_table(context, u"described",
              u"i integer NOT NULL, n numeric(12,2), t timestamp, s varchar(20)");
  run(context, u"INSERT INTO described VALUES (1, 2.5, '2024-01-02 03:04:05', 'x')");
  for (const bool execute_first : {true, false}) {
    SCOPED_TRACE(execute_first ? "executed first" : "described first");
    DbiStatement* statement = nullptr;
    const std::u16string sql = execute_first ? u"SELECT i, n, t, s FROM described"
                                             : u"SELECT i, n, t, s FROM described WHERE 1 = 1";
    DBI_Prepare(context, sql.c_str(), &statement);
    if (execute_first) DBI_Execute(context, statement);
    const DbiColumnDescriptor* columns = nullptr;
    uint32_t count = 0;
    DBI_DescribeColumns(context, statement, &columns, &count);
    ASSERT_EQ(count, 4u) << narrow(context->message);
    std::vector<std::pair<std::string, int32_t>> seen;
    for (uint32_t i = 0; i < count; ++i) {
      seen.emplace_back(narrow(columns[i].name), columns[i].data_type);
    }
    EXPECT_EQ(seen, (std::vector<std::pair<std::string, int32_t>>{{"i", DBI_TYPE_INTEGER},
                                                                  {"n", DBI_TYPE_DECIMAL},
                                                                  {"t", DBI_TYPE_TIMESTAMP},
                                                                  {"s", DBI_TYPE_TEXT}}));
    if (on_postgres()) {
      EXPECT_EQ(columns[1].scale, 2);  // SQLite does not say
    }
    if (!execute_first) DBI_Execute(context, statement);
    DbiRowBlock block{};
    DBI_FetchBlock(context, statement, 0, &block);
    ASSERT_EQ(block.rows, 1u) << narrow(context->message);
    EXPECT_EQ(show(block.values[1]), "decimal 2.5");
    DBI_CloseStatement(context, statement);
  }
}

TEST_F(OdbcDriverTest, FetchesInBlocksAcrossBoundariesAndLongValuesWhole) {
  // SQLite keeps a text longer than its column's declared size.
  const char16_t* short_column = on_postgres() ? u"text" : u"varchar(8)";
  const struct {
    const char16_t* dbparm;
    uint32_t max_rows;
    std::vector<uint32_t> blocks;
    const char16_t* column;
  } cases[] = {
      {u",FetchBlockSize=7", 0, {7, 7, 7, 7, 7, 7, 7, 1}, u"varchar(2000)"},
      {u",FetchBlockSize=7",
       3,
       {3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 3, 2},
       u"varchar(2000)"},
      {u",FetchBlockSize=64,TextBufferSize=16", 0, {50}, u"varchar(2000)"},
      {u",FetchBlockSize=25", 0, {25, 25}, short_column},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(narrow(c.dbparm) + " " + narrow(c.column));
    DbiContext* context = connect(c.dbparm);
    fresh_table(context, u"numbers", std::u16string(u"n integer, s ") + c.column);
    DBI_Begin(context);
    DbiStatement* insert = nullptr;
    DBI_Prepare(context, u"INSERT INTO numbers VALUES (?, ?)", &insert);
    std::vector<std::u16string> texts;
    for (int i = 0; i < 50; ++i) texts.push_back(std::u16string(static_cast<size_t>(i * 20), u'x'));
    for (int i = 0; i < 50; ++i) {
      const DbiValue values[] = {integer(i), text(texts[static_cast<size_t>(i)])};
      DBI_BindParameters(context, insert, values, 2);
      DBI_Execute(context, insert);
    }
    DBI_CloseStatement(context, insert);
    DBI_Commit(context);
    block_sizes_.clear();
    const auto all = rows(context, u"SELECT n, s FROM numbers ORDER BY n", {}, c.max_rows);
    EXPECT_EQ(block_sizes_, c.blocks);
    ASSERT_EQ(all.size(), 50u);
    for (size_t i = 0; i < all.size(); ++i) {
      EXPECT_EQ(all[i],
                (std::vector<std::string>{"int " + std::to_string(i), show(text(texts[i]))}));
    }
  }
}

TEST_F(OdbcDriverTest, CountsRowsAffectedAndKeepsTransactions) {
  DbiContext* context = connect();
  fresh_table(context, u"t", u"n integer");
  const struct {
    const char16_t* sql;
    int64_t affected;
  } statements[] = {
      {u"INSERT INTO t VALUES (1)", 1},          {u"INSERT INTO t SELECT n + 1 FROM t", 1},
      {u"INSERT INTO t SELECT n + 2 FROM t", 2}, {u"UPDATE t SET n = n * 10 WHERE n > 1", 3},
      {u"DELETE FROM t WHERE n = 999", 0},
  };
  for (const auto& s : statements) {
    int64_t affected = -5;
    DBI_ExecuteSQL(context, s.sql, &affected);
    EXPECT_EQ(std::tuple(context->return_code, affected), std::tuple(0, s.affected))
        << narrow(s.sql);
  }
  DBI_Begin(context);
  run(context, u"DELETE FROM t");
  DBI_Rollback(context);
  EXPECT_EQ(single(context, u"SELECT count(*) FROM t"), on_postgres() ? "bigint 4" : "int 4");
  DBI_Begin(context);
  run(context, u"DELETE FROM t WHERE n = 1");
  DBI_Commit(context);
  EXPECT_EQ(context->return_code, 0);
  EXPECT_EQ(single(context, u"SELECT count(*) FROM t"), on_postgres() ? "bigint 3" : "int 3");
}

TEST_F(OdbcDriverTest, StatementCacheReusesPreparedStatementsAndClosesEvictedOnes) {
  DbiContext* context = connect(u",SQLCache=2");
  fresh_table(context, u"c", u"n integer");
  run(context, u"INSERT INTO c VALUES (7)");
  g_recorder.counts.clear();
  for (int i = 0; i < 3; ++i) {
    DbiStatement* statement = nullptr;
    DBI_Prepare(context, u"SELECT n FROM c", &statement);
    DBI_Execute(context, statement);
    const DbiColumnDescriptor* columns = nullptr;
    uint32_t count = 0;
    DBI_DescribeColumns(context, statement, &columns, &count);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(std::tuple(narrow(columns[0].name), columns[0].data_type),
              std::tuple(std::string("n"), DBI_TYPE_INTEGER));
    DBI_CloseStatement(context, statement);
  }
  // Executed again before its result was read to the end: a fresh result.
  DbiStatement* twice = nullptr;
  DBI_Prepare(context, u"SELECT n FROM c", &twice);
  for (int i = 0; i < 2; ++i) {
    DBI_Execute(context, twice);
    DbiRowBlock block{};
    DBI_FetchBlock(context, twice, 0, &block);
    EXPECT_EQ(std::tuple(context->return_code, block.rows), std::tuple(0, 1u))
        << narrow(context->message);
  }
  DBI_CloseStatement(context, twice);
  EXPECT_EQ(std::tuple(g_recorder.counts[DBI_OP_PREPARE], g_recorder.counts[DBI_OP_DESCRIBE],
                       g_recorder.counts[DBI_OP_EXECUTE]),
            std::tuple(1, 1, 5));
  EXPECT_EQ(single(context, u"  SELECT n FROM c"), "int 7");
  EXPECT_EQ(g_recorder.counts[DBI_OP_PREPARE], 1);

  // Two more texts come back after it: the one before it goes, then it.
  void* first_handle = g_recorder.prepared[u"SELECT n FROM c"];
  ASSERT_NE(first_handle, nullptr);
  g_recorder.closed.clear();
  rows(context, u"SELECT n + 1 FROM c");
  ASSERT_EQ(g_recorder.closed.size(), 1u);
  EXPECT_NE(g_recorder.closed[0], first_handle);
  rows(context, u"SELECT n + 2 FROM c");
  EXPECT_EQ(g_recorder.closed.back(), first_handle);
  g_recorder.closed.clear();
  DBI_Disconnect(context);
  open_.clear();
  EXPECT_EQ(g_recorder.closed.size(), 2u);
}

TEST_F(OdbcDriverTest, ReadsTheCatalogTablesIntoTheFrontEndsTables) {
  DbiContext* context = connect();
  for (const char16_t* table : {u"kocattbl", u"kocatcol", u"kocatfmt", u"kocatvld", u"kocatedt"}) {
    DBI_ExecuteSQL(context, (std::u16string(u"DROP TABLE IF EXISTS ") + table).c_str(), nullptr);
  }
  // Without the tables the front end gets empty tables, and no error.
  DBI_FormatHash(context);
  EXPECT_EQ(std::tuple(context->return_code, shhash_get_first(context->format_table)),
            std::tuple(0, static_cast<void*>(nullptr)));
  DBI_CreateCatalogTables(context);
  ASSERT_EQ(context->return_code, 0) << narrow(context->message);
  DBI_CreateCatalogTables(context);  // a second time changes nothing
  EXPECT_EQ(context->return_code, 0) << narrow(context->message);
  run(context, u"INSERT INTO kocatfmt VALUES ('money', '#,##0.00', 81, 3)");
  run(context, u"INSERT INTO kocatvld VALUES ('positive', '@col > 0', 81, 0, 'Must be positive')");
  run(context, u"INSERT INTO kocatedt VALUES ('yesno', '0', 86, 0, 1, 0, NULL)");
  run(context, u"INSERT INTO kocatedt VALUES ('yesno', 'N', 86, 0, 3, 0, NULL)");
  run(context, u"INSERT INTO kocatedt VALUES ('yesno', 'Yes', 86, 0, 2, 0, NULL)");
  DBI_FormatHash(context);
  DBI_ValidHash(context);
  DBI_EditStyleHash(context);
  auto* format = static_cast<DbiFormatRecord*>(shhash_search(context->format_table, u"money"));
  ASSERT_NE(format, nullptr);
  EXPECT_EQ(std::tuple(narrow(format->format), format->type, format->counter),
            std::tuple(std::string("#,##0.00"), int16_t{81}, 3));
  auto* rule =
      static_cast<DbiValidationRecord*>(shhash_search(context->validation_table, u"positive"));
  ASSERT_NE(rule, nullptr);
  EXPECT_EQ(narrow(rule->message), "Must be positive");
  DbiEditStyleHolder holder{storage_, nullptr, nullptr};
  DBI_EditStyleInfo(context, &holder, u"yesno");
  ASSERT_NE(holder.style, nullptr);
  EXPECT_EQ(narrow(holder.style->code_table), "Yes\tN/");

  // Operation 217 writes a row in its own transaction; the styles are read again.
  DbiEditStyleRow row{};
  row.name = const_cast<KOCHAR*>(u"yesno");
  row.edit = const_cast<KOCHAR*>(u"No");
  row.type = 86;
  row.sequence = 4;
  DBI_EditUpdate(context, &row, DBI_EDIT_ROW_INSERT);
  ASSERT_EQ(context->return_code, 0) << narrow(context->message);
  DBI_EditStyleInfo(context, &holder, u"yesno");
  ASSERT_NE(holder.style, nullptr);
  EXPECT_EQ(narrow(holder.style->code_table), "Yes\tN/No\t");
  DBI_EditUpdate(context, &row, DBI_EDIT_ROW_INSERT);  // the same key again
  EXPECT_NE(context->return_code, 0);
  DBI_EditUpdate(context, &row, DBI_EDIT_STYLE_DELETE);
  DBI_EditStyleInfo(context, &holder, u"yesno");
  EXPECT_EQ(holder.style, nullptr);
}

// Text written in the statement itself, not bound: every unit of a literal
// reaches the database, past Latin-1 and past the BMP, and comes back whole.
TEST_F(OdbcDriverTest, TextInTheStatementItselfReachesTheDatabaseWhole) {
  DbiContext* context = connect();
  fresh_table(context, u"w", u"n integer PRIMARY KEY, word varchar(20)");
  run(context, u"INSERT INTO w VALUES (1, 'caf\u00e9'), (2, '\u6f22\u5b57'), (3, '\U0001F600')");
  const struct {
    const char16_t* sql;
    std::string expected;
  } cases[] = {
      {u"SELECT '\u6f22\u5b57\U0001F600'", "text 28450 23383 55357 56832"},
      {u"SELECT n FROM w WHERE word = '\u6f22\u5b57'", "int 2"},
      {u"SELECT n FROM w WHERE word = '\U0001F600'", "int 3"},
      {u"SELECT n FROM w WHERE word = 'caf\u00e9'", "int 1"},
  };
  for (const auto& c : cases) EXPECT_EQ(single(context, c.sql), c.expected) << narrow(c.sql);
}

TEST_F(OdbcDriverTest, ErrorsCarryTheSqlStateAndLeaveTheConnectionUsable) {
  DbiContext* context = connect();
  fresh_table(context, u"e", u"n integer PRIMARY KEY");
  run(context, u"INSERT INTO e VALUES (1)");
  const char16_t* bad[] = {
      u"SELEKT 1",
      u"SELECT * FROM no_such_table",
      u"INSERT INTO e VALUES (1)",
  };
  for (const char16_t* sql : bad) {
    SCOPED_TRACE(narrow(sql));
    DBI_ExecuteSQL(context, sql, nullptr);
    expect_state_message(context);
    EXPECT_EQ(single(context, u"SELECT count(*) FROM e"), on_postgres() ? "bigint 1" : "int 1");
  }
}

TEST_F(OdbcDriverTest, ConnectTakesTheFirstConnectStringAndNewParametersApply) {
  DbiContext* context = nullptr;
  DBI_LogIn(storage_, u"ODBC", nullptr, nullptr, nullptr, u"FetchBlockSize=4", 0, &context);
  ASSERT_NE(context, nullptr);
  EXPECT_NE(context->return_code, 0);  // nothing names a database yet
  DBI_Connect(context, connect_.c_str(), nullptr, nullptr, nullptr);
  ASSERT_EQ(context->return_code, 0) << narrow(context->message);
  open_.push_back(context);
  fresh_table(context, u"ten", u"n integer");
  for (int i = 0; i < 10; ++i)
    run(context, u"INSERT INTO ten VALUES (" + widen(std::to_string(i)) + u")");
  block_sizes_.clear();
  rows(context, u"SELECT n FROM ten");
  EXPECT_EQ(block_sizes_, (std::vector<uint32_t>{4, 4, 2}));
  DBI_NewDBParm(context, u"FetchBlockSize=6");
  EXPECT_EQ(context->return_code, 0) << narrow(context->message);
  block_sizes_.clear();
  rows(context, u"SELECT n + 0 FROM ten");
  EXPECT_EQ(block_sizes_, (std::vector<uint32_t>{6, 4}));
  DBI_NewDBParm(context, u"FetchBlockSize='many'");
  EXPECT_EQ(narrow(context->message, 7), "HY024: ");
  EXPECT_EQ(single(context, u"SELECT count(*) FROM ten"), on_postgres() ? "bigint 10" : "int 10");
}

TEST_F(OdbcDriverTest, AServerGoneMidQueryGivesAClearErrorAndDisconnectFreesAll) {
  if (!on_postgres()) GTEST_SKIP() << "needs a server that can end a session";
  // The session ends before the statement runs, or between two blocks of a
  // result read from a server-side cursor.
  const struct {
    const char16_t* connect_extra;
    bool after_first_block;
  } cases[] = {{u"", false}, {u";UseDeclareFetch=1;Fetch=50", true}};
  DbiContext* other = connect();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.after_first_block ? "between blocks" : "before execute");
    const std::u16string saved = connect_;
    connect_ += c.connect_extra;
    DbiContext* victim = connect(u",FetchBlockSize=50");
    connect_ = saved;
    const std::string pid = single(victim, u"SELECT pg_backend_pid()");
    ASSERT_EQ(pid.rfind("int ", 0), 0u) << pid;
    DbiStatement* statement = nullptr;
    DBI_Prepare(victim, u"SELECT generate_series(1, 100000)", &statement);
    ASSERT_NE(statement, nullptr);
    DbiRowBlock block{};
    if (c.after_first_block) {
      DBI_Execute(victim, statement);
      DBI_FetchBlock(victim, statement, 0, &block);
      ASSERT_EQ(block.rows, 50u) << narrow(victim->message);
    }
    run(other, u"SELECT pg_terminate_backend(" + widen(pid.substr(4)) + u")");
    if (!c.after_first_block) DBI_Execute(victim, statement);
    for (int i = 0; i < 100 && victim->return_code == 0; ++i) {
      DBI_FetchBlock(victim, statement, 0, &block);
    }
    EXPECT_NE(victim->return_code, 0);
    EXPECT_NE(narrow(victim->message).find("connection to the database was lost"),
              std::string::npos)
        << narrow(victim->message);
    DBI_CloseStatement(victim, statement);
    DBI_ExecuteSQL(victim, u"SELECT 1", nullptr);
    EXPECT_EQ(narrow(victim->message, 7), "08S01: ");
    DBI_Disconnect(victim);
    open_.pop_back();
    EXPECT_EQ(victim->driver_connection, nullptr);
  }
  EXPECT_EQ(single(other, u"SELECT 1"), "int 1");
}

}  // namespace

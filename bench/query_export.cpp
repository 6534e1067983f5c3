/*
 * query_export.cpp: the koshr tool's exports run as a person runs them,
 * whole processes timed on the wall clock with their peak memory (the
 * child's maximum resident set) beside each row.
 *
 * `koshr saveas` of a large CSV (1 GB by default, KOSHR_BENCH_CSV_MB to
 * change it) to CSV and to dBase III, and of a 64 MB one, to show that the
 * peak does not grow with the input.
 *
 * `koshr query --as csv` of a table of 1,000,000 rows x 5 columns (integer,
 * text, numeric(12,2), double, timestamp) against, in the same run: the
 * floor of any ODBC client (odbc_floor.h: the same rows fetched with bound
 * columns and row arrays, writing nothing, in a child process of its own),
 * the sqlite3 shell's CSV output, Python's sqlite3 and csv modules; and for
 * PostgreSQL (when KOSHR_TEST_CONNECT names a server, as `make bench-postgres`
 * does) the floor and psql's \copy. And what the statement cache saves
 * inside our own stack: a one-row SELECT by key served from the cache
 * against the same statement prepared anew and closed each time (the
 * plain-ODBC peer is bench/dbi_odbc_cache.cpp).
 */
#include <benchmark/benchmark.h>
#include <koshr/dbi_sql.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "odbc_floor.h"

namespace {

namespace fs = std::filesystem;

struct Run {
  double seconds = 0;      // wall clock
  double cpu_seconds = 0;  // the child's user and system time
  double peak_mb = 0;
  int status = -1;
};

// Runs a program with its standard output to `out` (or /dev/null).
Run run_process(const std::vector<std::string>& arguments, const std::string& out = "/dev/null") {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  auto start = std::chrono::steady_clock::now();
  pid_t child = fork();
  if (child == 0) {
    if (!std::freopen(out.c_str(), "w", stdout)) _exit(126);
    execvp(argv[0], argv.data());
    _exit(127);
  }
  Run run;
  int status = 0;
  rusage usage{};
  if (child > 0 && wait4(child, &status, 0, &usage) == child) {
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    run.peak_mb = double(usage.ru_maxrss) / 1024.0;
    run.cpu_seconds = double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
                      double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return run;
}

fs::path scratch(const std::string& name) { return fs::temp_directory_path() / name; }

// A CSV of about `megabytes` MB: id, name, price (two decimals), ratio,
// date-time and date, written once and kept for later runs.
fs::path large_csv(size_t megabytes) {
  fs::path file = scratch("koshr-bench-" + std::to_string(megabytes) + "mb.csv");
  std::error_code error;
  uintmax_t want = uintmax_t(megabytes) << 20;
  if (fs::exists(file, error) && fs::file_size(file, error) >= want) return file;
  std::FILE* out = std::fopen(file.string().c_str(), "wb");
  if (!out) return {};
  std::string buffer = "id,name,price,ratio,at,day\r\n";
  uintmax_t written = 0;
  char number[32];
  for (uint64_t i = 0; written < want; ++i) {
    auto put = [&](uint64_t value) {
      buffer.append(number, size_t(std::to_chars(number, number + 32, value).ptr - number));
    };
    put(i);
    buffer += i % 7 == 0 ? ",\"item " : ",item ";
    put(i);
    buffer += i % 7 == 0 ? ", \"\"boxed\"\"\"," : " loose,";
    put(i % 99999);
    buffer += '.';
    buffer += char('0' + i % 10);
    buffer += char('0' + i / 10 % 10);
    buffer += ',';
    buffer.append(number,
                  size_t(std::to_chars(number, number + 32, double(i) * 0.37).ptr - number));
    buffer += ",2024-03-05T10:11:12,2024-03-05\r\n";
    if (buffer.size() >= (1 << 20)) {
      written += std::fwrite(buffer.data(), 1, buffer.size(), out);
      buffer.clear();
    }
  }
  std::fclose(out);
  return file;
}

size_t csv_megabytes() {
  const char* text = std::getenv("KOSHR_BENCH_CSV_MB");
  return text && std::atoi(text) > 0 ? size_t(std::atoi(text)) : 1024;
}

void report(benchmark::State& state, const Run& run, uintmax_t bytes) {
  if (run.status != 0)
    state.SkipWithError(("the process ended with " + std::to_string(run.status)).c_str());
  state.SetIterationTime(run.seconds);
  state.counters["peak_MB"] = run.peak_mb;
  state.counters["input_MB"] = double(bytes) / (1 << 20);
}

#ifdef KOSHR_TOOL_PATH
void BM_SaveasLargeCsv(benchmark::State& state, const char* extension, size_t megabytes) {
  fs::path input = large_csv(megabytes ? megabytes : csv_megabytes());
  if (input.empty()) state.SkipWithError("cannot write the input");
  fs::path output = scratch(std::string("koshr-bench-saveas") + extension);
  for (auto _ : state) {
    report(state, run_process({KOSHR_TOOL_PATH, "saveas", input.string(), output.string()}),
           fs::file_size(input));
  }
  std::error_code error;
  fs::remove(output, error);
}
BENCHMARK_CAPTURE(BM_SaveasLargeCsv, csv_64MB, ".csv", 64)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_SaveasLargeCsv, csv_large, ".csv", 0)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_SaveasLargeCsv, dbase3_large, ".dbf", 0)
    ->UseManualTime()
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
#endif

// ---------------------------------------------------------------- databases

constexpr int kTableRows = 1000000;
constexpr int kFetchRows = 256;  // rows per fetch, as the driver's default block

// The child modes run in a process of their own, so that their peak memory
// is theirs alone and the driver module is found the way a host finds it.
fs::path self_path() { return fs::read_symlink("/proc/self/exe"); }

// The floor (odbc_floor.h) in this process, printing the rows fetched.
int run_floor(const std::string& connect, const std::string& sql) {
  int64_t rows = bench::odbc_fetch_floor(connect, sql, kFetchRows);
  std::printf("%lld\n", static_cast<long long>(rows));
  return rows == kTableRows ? 0 : 4;
}

// CPU seconds of this process so far: on a shared machine the wall clock
// mostly measures the others.
double cpu_seconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// Runs a one-row SELECT by key `rounds` times through the database
// interface (prepare, bind, execute, fetch, close): from the statement
// cache, or (`flush`) with the cache emptied after each close, so that every
// round prepares anew and the driver closes the statement (operation 247).
// Prints the CPU seconds per round.
int run_statements(const std::string& connect, int rounds, bool flush, const std::string& more) {
  KostgContext* pool = kostg_begin(0);
  std::string dbparm = "ConnectString='" + connect + "', SQLCache=20" + more;
  std::u16string parameters(dbparm.begin(), dbparm.end());
  DbiContext* context = nullptr;
  DBI_LogIn(pool, u"ODBC", nullptr, nullptr, nullptr, parameters.c_str(), DBI_LOAD_OWN_FOLDER,
            &context);
  if (!context || context->return_code != 0) return 2;
  double start = cpu_seconds();
  for (int i = 0; i < rounds; ++i) {
    DbiStatement* statement = nullptr;
    DBI_Prepare(context, u"SELECT id, name, amount FROM t WHERE id = ?", &statement);
    if (!statement) return 3;
    DbiValue key{};
    key.type = DBI_TYPE_BIGINT;
    key.as.bigint = 1 + (int64_t(i) * 7919) % kTableRows;
    DBI_BindParameters(context, statement, &key, 1);
    DBI_Execute(context, statement);
    DbiRowBlock block{};
    DBI_FetchBlock(context, statement, 0, &block);
    if (context->return_code != 0 || block.rows != 1) return 4;
    DBI_CloseStatement(context, statement);
    if (flush) DBI_SQLCacheFlushEntries(context, context->sql_cache);
  }
  std::printf("%.9f\n", (cpu_seconds() - start) / rounds);
  DBI_Disconnect(context);
  kostg_end(pool);
  return 0;
}

// The SQLite table, made once with the sqlite3 shell and kept.
fs::path sqlite_table() {
  fs::path file = scratch("koshr-bench-query.db");
  std::error_code error;
  if (fs::exists(file, error)) return file;
  std::string sql =
      "CREATE TABLE t (id integer PRIMARY KEY, name text, amount numeric(12,2), ratio double, "
      "stamp timestamp); WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n "
      "< " +
      std::to_string(kTableRows) +
      ") INSERT INTO t SELECT n, 'customer ' || n || (CASE WHEN n % 7 = 0 THEN ', boxed' ELSE '' "
      "END), round((n % 100000) / 100.0, 2), n * 0.37, datetime(1700000000 + n * 37, "
      "'unixepoch') FROM c;";
  fs::path building = scratch("koshr-bench-query.db.part");
  fs::remove(building, error);
  if (run_process({"sqlite3", building.string(), sql}).status != 0) return {};
  fs::rename(building, file, error);
  return error ? fs::path() : file;
}

// The SQLite driver reads a result whole into memory unless it steps.
std::string sqlite_connect(const fs::path& db) {
  return "Driver=SQLite3;Database=" + db.string() + ";StepAPI=1";
}

const char kSelect[] = "SELECT id, name, amount, ratio, stamp FROM t";

// The PostgreSQL server KOSHR_TEST_CONNECT names, with the same table.
std::string postgres_connect() {
  const char* connect = std::getenv("KOSHR_TEST_CONNECT");
  if (!connect || std::string(connect).find("PostgreSQL") == std::string::npos) return {};
  static bool made = false;
  // Without declare/fetch the PostgreSQL driver reads a whole result into memory.
  std::string base = std::string(connect) + ";UseDeclareFetch=1;Fetch=256";
  if (!made) {
    made = true;
    run_process({KOSHR_TOOL_PATH, "query", "--connect", base, "DROP TABLE IF EXISTS t"});
    run_process(
        {KOSHR_TOOL_PATH, "query", "--connect", base,
         "CREATE TABLE t AS SELECT n AS id, 'customer ' || n || (CASE WHEN n % 7 = 0 "
         "THEN ', boxed' ELSE '' END) AS name, round((n % 100000) / 100.0, 2)::numeric(12,2) "
         "AS amount, (n * 0.37)::double precision AS ratio, to_timestamp(1700000000 + n * "
         "37)::timestamp AS stamp FROM generate_series(1, " +
             std::to_string(kTableRows) + ") AS n"});
  }
  return base;
}

// A value of a connection string ("Servername" of "...;Servername=x;...").
std::string connect_value(const std::string& connect, const std::string& key) {
  size_t at = connect.find(key + "=");
  if (at == std::string::npos) return {};
  at += key.size() + 1;
  return connect.substr(at, connect.find(';', at) - at);
}

// The time is the wall clock, what a person waits for: `koshr query` reads
// its rows on one core while it writes the previous ones on the other. The
// child's CPU time (user and system, all its threads) stands beside it,
// because on a shared machine the wall clock measures the other users too.
void report_rows(benchmark::State& state, const Run& run) {
  if (run.status != 0)
    state.SkipWithError(("the process ended with " + std::to_string(run.status)).c_str());
  state.SetIterationTime(run.seconds);
  benchmark::Counter& cpu = state.counters["cpu_s"];  // the mean over the iterations
  cpu.value += run.cpu_seconds;
  cpu.flags = benchmark::Counter::kAvgIterations;
  state.counters["peak_MB"] = run.peak_mb;
}

std::string connect_for(bool postgres) {
  if (postgres) return postgres_connect();
  fs::path db = sqlite_table();
  return db.empty() ? std::string() : sqlite_connect(db);
}

void BM_OdbcFloor(benchmark::State& state, bool postgres) {
  std::string connect = connect_for(postgres);
  if (connect.empty())
    state.SkipWithError(postgres ? "no server (KOSHR_TEST_CONNECT)" : "no table");
  for (auto _ : state) {
    report_rows(state, run_process({self_path().string(), "--floor", connect, kSelect}));
  }
}

#ifdef KOSHR_TOOL_PATH
void BM_KoshrQueryCsv(benchmark::State& state, bool postgres) {
  std::string connect = connect_for(postgres);
  if (connect.empty())
    state.SkipWithError(postgres ? "no server (KOSHR_TEST_CONNECT)" : "no table");
  std::string out = scratch("koshr-bench-query.csv").string();
  for (auto _ : state) {
    report_rows(state, run_process({KOSHR_TOOL_PATH, "query", "--connect", connect, "--as", "csv",
                                    "-o", out, kSelect}));
  }
}
BENCHMARK_CAPTURE(BM_KoshrQueryCsv, sqlite, false)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);
#endif
BENCHMARK_CAPTURE(BM_OdbcFloor, sqlite, false)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

void BM_Sqlite3ShellCsv(benchmark::State& state) {
  fs::path db = sqlite_table();
  for (auto _ : state) {
    report_rows(state, run_process({"sqlite3", "-csv", db.string(), kSelect},
                                   scratch("koshr-bench-sqlite3.csv").string()));
  }
}
BENCHMARK(BM_Sqlite3ShellCsv)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

void BM_PythonSqliteCsv(benchmark::State& state) {
  fs::path db = sqlite_table();
  fs::path script = scratch("koshr-bench-query.py");
  std::FILE* py = std::fopen(script.string().c_str(), "w");
  std::fprintf(py,
               "import csv, sqlite3, sys\n"
               "db = sqlite3.connect(sys.argv[1])\n"
               "with open(sys.argv[2], 'w', newline='', encoding='utf-8') as f:\n"
               "    csv.writer(f).writerows(db.execute(%s))\n",
               ("'" + std::string(kSelect) + "'").c_str());
  std::fclose(py);
  for (auto _ : state) {
    report_rows(state, run_process({"python3", script.string(), db.string(),
                                    scratch("koshr-bench-python.csv").string()}));
  }
}
BENCHMARK(BM_PythonSqliteCsv)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

#ifdef KOSHR_TOOL_PATH
BENCHMARK_CAPTURE(BM_KoshrQueryCsv, postgres, true)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);
#endif
BENCHMARK_CAPTURE(BM_OdbcFloor, postgres, true)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMillisecond);

void BM_PsqlCopyCsv(benchmark::State& state) {
  std::string connect = postgres_connect();
  if (connect.empty()) state.SkipWithError("no server (KOSHR_TEST_CONNECT)");
  std::string out = scratch("koshr-bench-psql.csv").string();
  for (auto _ : state) {
    report_rows(state, run_process({"psql", "-h", connect_value(connect, "Servername"), "-p",
                                    connect_value(connect, "Port"), "-U",
                                    connect_value(connect, "Username"), "-d",
                                    connect_value(connect, "Database"), "-c",
                                    std::string("\\copy (") + kSelect + ") to '" + out + "' csv"}));
  }
}
BENCHMARK(BM_PsqlCopyCsv)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);

// A child's one figure: the CPU seconds per round it prints.
void report_per_round(benchmark::State& state, const std::vector<std::string>& arguments) {
  std::string out = scratch("koshr-bench-statements.txt").string();
  Run run = run_process(arguments, out);
  double per_round = 0;
  if (std::FILE* in = std::fopen(out.c_str(), "r")) {
    if (std::fscanf(in, "%lf", &per_round) != 1) per_round = 0;
    std::fclose(in);
  }
  if (run.status != 0 || per_round <= 0) state.SkipWithError("the statements did not run");
  state.SetIterationTime(per_round);
  state.counters["peak_MB"] = run.peak_mb;
}

// One statement run 50,000 times through the database interface: from the
// cache, or prepared and closed every time.
void BM_StatementByKey(benchmark::State& state, bool flush) {
  std::string connect = sqlite_connect(sqlite_table());
  for (auto _ : state) {
    report_per_round(
        state, {self_path().string(), "--statements", connect, "50000", flush ? "1" : "0", ""});
  }
}
BENCHMARK_CAPTURE(BM_StatementByKey, cached, false)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_StatementByKey, prepared_each_time, true)
    ->UseManualTime()
    ->Iterations(3)
    ->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::string(argv[1]) == "--floor") return run_floor(argv[2], argv[3]);
  if (argc == 6 && std::string(argv[1]) == "--statements") {
    return run_statements(argv[2], std::atoi(argv[3]), std::atoi(argv[4]) != 0, argv[5]);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

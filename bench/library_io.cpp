// library_io.cpp: library files against SQLite (one table, name primary key
// with NOCASE, BLOB column, one transaction) and against plain file I/O of the
// same bytes (64 KB writes, pread at random offsets), in one run.
//
//   write  10,000 entries of 4 KB, 1,000 of 64 KB (no fsync, except in the
//          row that shows SQLite with its own default settings)
//   read   all of them back by name in random order, warm (a handle reading
//          names again, and a new handle's first pass)
//   open   a 10,000-entry library in a new process and read one entry (the
//          time the new process spends on it, measured inside it), written
//          in random and in name order, each as written and after optimize
//   list   10,000 entries
//   check  a 40 MB library
#include <benchmark/benchmark.h>
#include <koshr/library.h>
#include <sqlite3.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

extern char** environ;

namespace {

const std::filesystem::path kDir = std::filesystem::temp_directory_path() / "koshr_bench_library";

std::u16string wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }

std::vector<std::string> names(int count, bool shuffled) {
  std::vector<std::string> out;
  for (int i = 0; i < count; ++i) {
    char name[64];
    std::snprintf(name, sizeof name, "document_%06d.txt", i);
    out.push_back(name);
  }
  if (shuffled) std::shuffle(out.begin(), out.end(), std::mt19937(7));
  return out;
}

std::vector<uint8_t> payload(size_t size) {
  std::vector<uint8_t> data(size);
  for (size_t i = 0; i < size; ++i) data[i] = uint8_t(i * 131 + 7);
  return data;
}

std::string path_of(const std::string& file) { return (kDir / file).string(); }

// Writes a library of `count` entries of `size` bytes, added in the given order.
void write_library(KostgContext* pool, const std::string& file, const std::vector<std::string>& order, size_t size) {
  std::filesystem::remove(path_of(file));
  std::u16string p = wide(path_of(file));
  LMI_CreateLibrary(pool, p.data(), nullptr);
  LMI_HANDLE lib = LMI_OpenLibrary(pool, p.c_str(), LMI_MODE_READWRITE, 0);
  std::vector<uint8_t> data = payload(size);
  for (const std::string& n : order) {
    std::u16string name = wide(n);
    LMI_OpenEntry(lib, name.data(), LMI_ENTRY_WRITE, nullptr);
    LMI_WriteEntry(lib, data.data(), uint32_t(size));
    LMI_CloseEntry(lib);
  }
  LMI_CloseLibrary(lib);
}

void write_plain(const std::string& file, int count, size_t size) {
  int fd = ::open(path_of(file).c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  std::vector<uint8_t> chunk(65536, 1);
  size_t total = size_t(count) * size;
  for (size_t done = 0; done < total; done += chunk.size()) {
    size_t n = std::min(chunk.size(), total - done);
    if (::write(fd, chunk.data(), n) != ssize_t(n)) std::abort();
  }
  ::close(fd);
}

// `out_of_the_box` keeps SQLite's own defaults (synchronous=FULL, a rollback
// journal beside the file): what a user gets without tuning. Otherwise
// synchronous=OFF, which like the library and the plain file never syncs.
sqlite3* open_sqlite(const std::string& file, bool fresh, bool out_of_the_box = false) {
  if (fresh) std::filesystem::remove(path_of(file));
  sqlite3* db = nullptr;
  sqlite3_open(path_of(file).c_str(), &db);
  if (!out_of_the_box) sqlite3_exec(db, "PRAGMA synchronous=OFF", nullptr, nullptr, nullptr);
  if (fresh)
    sqlite3_exec(db, "CREATE TABLE entries(name TEXT PRIMARY KEY COLLATE NOCASE, data BLOB)", nullptr, nullptr, nullptr);
  return db;
}

void write_sqlite(const std::string& file, const std::vector<std::string>& order, size_t size,
                  bool out_of_the_box = false) {
  sqlite3* db = open_sqlite(file, true, out_of_the_box);
  std::vector<uint8_t> data = payload(size);
  sqlite3_exec(db, "BEGIN", nullptr, nullptr, nullptr);
  sqlite3_stmt* insert;
  sqlite3_prepare_v2(db, "INSERT INTO entries VALUES(?, ?)", -1, &insert, nullptr);
  for (const std::string& n : order) {
    sqlite3_bind_text(insert, 1, n.c_str(), -1, SQLITE_STATIC);
    sqlite3_bind_blob(insert, 2, data.data(), int(size), SQLITE_STATIC);
    sqlite3_step(insert);
    sqlite3_reset(insert);
  }
  sqlite3_finalize(insert);
  sqlite3_exec(db, "COMMIT", nullptr, nullptr, nullptr);
  sqlite3_close(db);
}

// ---------------------------------------------------------------- writing

void BM_Write_Library(benchmark::State& state) {
  KostgContext* pool = kostg_begin(0);
  int count = int(state.range(0));
  size_t size = size_t(state.range(1));
  auto order = names(count, true);
  for (auto _ : state) write_library(pool, "w.kol", order, size);
  state.SetBytesProcessed(int64_t(state.iterations()) * count * int64_t(size));
  kostg_end(pool);
}

void BM_Write_PlainFile(benchmark::State& state) {
  for (auto _ : state) write_plain("w.bin", int(state.range(0)), size_t(state.range(1)));
  state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0) * state.range(1));
}

void BM_Write_Sqlite(benchmark::State& state) {
  auto order = names(int(state.range(0)), true);
  for (auto _ : state) write_sqlite("w.db", order, size_t(state.range(1)));
  state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0) * state.range(1));
}

void BM_Write_SqliteDefaults(benchmark::State& state) {
  auto order = names(int(state.range(0)), true);
  for (auto _ : state) write_sqlite("w.db", order, size_t(state.range(1)), true);
  state.SetBytesProcessed(int64_t(state.iterations()) * state.range(0) * state.range(1));
}

// ---------------------------------------------------------------- reading back

void BM_Read_Library(benchmark::State& state) {
  KostgContext* pool = kostg_begin(0);
  auto order = names(10000, true);
  write_library(pool, "r.kol", order, 4096);
  std::u16string p = wide(path_of("r.kol"));
  LMI_HANDLE lib = LMI_OpenLibrary(pool, p.c_str(), LMI_MODE_READ, 0);
  std::shuffle(order.begin(), order.end(), std::mt19937(11));
  std::vector<std::u16string> keys;
  for (auto& n : order) keys.push_back(wide(n));
  std::vector<uint8_t> buffer(4096);
  for (auto _ : state) {
    for (auto& key : keys) {
      LMI_OpenEntry(lib, key.data(), LMI_ENTRY_READ, nullptr);
      benchmark::DoNotOptimize(LMI_ReadEntry(lib, buffer.data(), 4096));
      LMI_CloseEntry(lib);
    }
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * 10000);
  LMI_CloseLibrary(lib);
  kostg_end(pool);
}

// A handle's first pass: a new handle reads every name once, so each lookup
// walks the tree and every node is read from the file once.
void BM_Read_Library_FirstPass(benchmark::State& state) {
  KostgContext* pool = kostg_begin(0);
  auto order = names(10000, true);
  write_library(pool, "r1.kol", order, 4096);
  std::u16string p = wide(path_of("r1.kol"));
  std::shuffle(order.begin(), order.end(), std::mt19937(11));
  std::vector<std::u16string> keys;
  for (auto& n : order) keys.push_back(wide(n));
  std::vector<uint8_t> buffer(4096);
  for (auto _ : state) {
    LMI_HANDLE lib = LMI_OpenLibrary(pool, p.c_str(), LMI_MODE_READ, 0);
    for (auto& key : keys) {
      LMI_OpenEntry(lib, key.data(), LMI_ENTRY_READ, nullptr);
      benchmark::DoNotOptimize(LMI_ReadEntry(lib, buffer.data(), 4096));
      LMI_CloseEntry(lib);
    }
    LMI_CloseLibrary(lib);
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * 10000);
  kostg_end(pool);
}

void BM_Read_PlainPread(benchmark::State& state) {
  write_plain("r.bin", 10000, 4096);
  int fd = ::open(path_of("r.bin").c_str(), O_RDONLY);
  std::vector<off_t> offsets;
  for (int i = 0; i < 10000; ++i) offsets.push_back(off_t(i) * 4096);
  std::shuffle(offsets.begin(), offsets.end(), std::mt19937(11));
  std::vector<uint8_t> buffer(4096);
  for (auto _ : state) {
    for (off_t at : offsets) benchmark::DoNotOptimize(::pread(fd, buffer.data(), 4096, at));
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * 10000);
  ::close(fd);
}

void BM_Read_Sqlite(benchmark::State& state) {
  auto order = names(10000, true);
  write_sqlite("r.db", order, 4096);
  sqlite3* db = open_sqlite("r.db", false);
  sqlite3_stmt* select;
  sqlite3_prepare_v2(db, "SELECT data FROM entries WHERE name = ?", -1, &select, nullptr);
  std::shuffle(order.begin(), order.end(), std::mt19937(11));
  std::vector<uint8_t> buffer(4096);
  for (auto _ : state) {
    for (auto& n : order) {
      sqlite3_bind_text(select, 1, n.c_str(), -1, SQLITE_STATIC);
      if (sqlite3_step(select) == SQLITE_ROW) std::memcpy(buffer.data(), sqlite3_column_blob(select, 0), 4096);
      sqlite3_reset(select);
    }
  }
  state.SetItemsProcessed(int64_t(state.iterations()) * 10000);
  sqlite3_finalize(select);
  sqlite3_close(db);
}

// ---------------------------------------------------------------- open in a new process

std::string self_path() { return std::filesystem::read_symlink("/proc/self/exe").string(); }

// Runs the child side in a new process; its own measure of the work comes
// back through a pipe, in nanoseconds.
double spawn_and_measure(std::vector<std::string> args) {
  int fds[2];
  if (pipe(fds) != 0) std::abort();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[1], 1);
  posix_spawn_file_actions_addclose(&actions, fds[0]);
  std::vector<char*> argv;
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid;
  if (posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0) std::abort();
  posix_spawn_file_actions_destroy(&actions);
  close(fds[1]);
  char text[64] = {};
  ssize_t got = ::read(fds[0], text, sizeof text - 1);
  close(fds[0]);
  int status;
  waitpid(pid, &status, 0);
  return got > 0 ? std::atof(text) : 0.0;
}

// The time a new process spends opening the library (or database) and
// reading one entry, measured inside that process from its first line of
// work: what the open adds to the process's start.
void BM_Open_Process(benchmark::State& state, const char* mode, const char* file) {
  static bool prepared = false;
  if (!prepared) {
    KostgContext* pool = kostg_begin(0);
    write_library(pool, "open_random.kol", names(10000, true), 64);
    write_library(pool, "open_ordered.kol", names(10000, false), 64);
    for (const char* file : {"open_random", "open_ordered"}) {
      std::string optimized = path_of(std::string(file) + "_optimized.kol");
      std::filesystem::copy_file(path_of(std::string(file) + ".kol"), optimized,
                                 std::filesystem::copy_options::overwrite_existing);
      if (LMI_OptimizeLibrary(pool, wide(optimized).c_str()) != 0) std::abort();
    }
    kostg_end(pool);
    write_sqlite("open.db", names(10000, true), 64);
    prepared = true;
  }
  std::string self = self_path();
  for (auto _ : state) state.SetIterationTime(spawn_and_measure({self, mode, path_of(file), "document_009876.txt"}) / 1e9);
}

void BM_List_Library(benchmark::State& state) {
  KostgContext* pool = kostg_begin(0);
  write_library(pool, "list.kol", names(10000, true), 64);
  std::u16string p = wide(path_of("list.kol"));
  LMI_HANDLE lib = LMI_OpenLibrary(pool, p.c_str(), LMI_MODE_READ, 0);
  for (auto _ : state) {
    LMI_LIST_ITEM* items = nullptr;
    benchmark::DoNotOptimize(LMI_ListEntries(lib, pool, &items));
    kostg_fee(pool, items);
  }
  LMI_CloseLibrary(lib);
  kostg_end(pool);
}

void BM_Check_Library(benchmark::State& state) {
  KostgContext* pool = kostg_begin(0);
  write_library(pool, "check.kol", names(10000, true), 4000);
  std::u16string p = wide(path_of("check.kol"));
  int64_t size = int64_t(std::filesystem::file_size(path_of("check.kol")));
  for (auto _ : state) {
    if (LMI_CheckLibrary(pool, p.c_str(), nullptr, nullptr) != 0) state.SkipWithError("check found damage");
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * size);
  kostg_end(pool);
}

// The child side of the open benchmarks: does the work and prints its time.
int open_work(const std::string& mode, const char* file, const char* entry) {
  if (mode == "--sqlite") {
    sqlite3* db = nullptr;
    sqlite3_open_v2(file, &db, SQLITE_OPEN_READONLY, nullptr);
    sqlite3_stmt* select;
    sqlite3_prepare_v2(db, "SELECT data FROM entries WHERE name = ?", -1, &select, nullptr);
    sqlite3_bind_text(select, 1, entry, -1, SQLITE_STATIC);
    int rc = sqlite3_step(select) == SQLITE_ROW ? 0 : 1;
    sqlite3_finalize(select);
    sqlite3_close(db);
    return rc;
  }
  KostgContext* pool = kostg_begin(0);
  std::u16string p = wide(file), name = wide(entry);
  LMI_HANDLE lib = LMI_OpenLibrary(pool, p.c_str(), LMI_MODE_READ, 0);
  uint8_t buffer[64];
  int rc = lib && LMI_OpenEntry(lib, name.data(), LMI_ENTRY_READ, nullptr) == 0 && LMI_ReadEntry(lib, buffer, 64) > 0 ? 0 : 1;
  if (lib) LMI_CloseLibrary(lib);
  kostg_end(pool);
  return rc;
}

int open_one(const std::string& mode, const char* file, const char* entry) {
  auto start = std::chrono::steady_clock::now();
  int rc = mode == "--empty" ? 0 : open_work(mode, file, entry);
  auto ns = std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
  std::printf("%.0f\n", rc == 0 ? ns : 1e12);
  return rc;
}

}  // namespace

BENCHMARK(BM_Write_Library)->Args({10000, 4096})->Args({1000, 65536})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Write_PlainFile)->Args({10000, 4096})->Args({1000, 65536})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Write_Sqlite)->Args({10000, 4096})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Write_SqliteDefaults)->Args({10000, 4096})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Read_Library)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Read_Library_FirstPass)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Read_PlainPread)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Read_Sqlite)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Open_Process, library_random_order, "--library", "open_random.kol")
    ->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Open_Process, library_name_order, "--library", "open_ordered.kol")
    ->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Open_Process, library_random_order_optimized, "--library",
                  "open_random_optimized.kol")
    ->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Open_Process, library_name_order_optimized, "--library",
                  "open_ordered_optimized.kol")
    ->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_Open_Process, sqlite, "--sqlite", "open.db")->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_List_Library)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_Check_Library)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  if (argc == 4 && std::strncmp(argv[1], "--", 2) == 0 && std::strcmp(argv[1], "--benchmark") != 0 &&
      std::strchr(argv[1], '=') == nullptr)
    return open_one(argv[1], argv[2], argv[3]);
  std::filesystem::create_directories(kDir);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  std::filesystem::remove_all(kDir);
  return 0;
}

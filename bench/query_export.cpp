/*
 * query_export.cpp: the koshr tool's exports run as a person runs them,
 * whole processes timed on the wall clock with their peak memory (the
 * child's maximum resident set) beside each row.
 *
 * `koshr saveas` of a large CSV (1 GB by default, KOSHR_BENCH_CSV_MB to
 * change it) to CSV and to dBase III, and of a 64 MB one, to show that the
 * peak does not grow with the input.
 */
#include <benchmark/benchmark.h>

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

namespace {

namespace fs = std::filesystem;

struct Run {
  double seconds = 0;
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
    buffer.append(number, size_t(std::to_chars(number, number + 32, double(i) * 0.37).ptr - number));
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
  if (run.status != 0) state.SkipWithError(("the process ended with " + std::to_string(run.status)).c_str());
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
BENCHMARK_CAPTURE(BM_SaveasLargeCsv, csv_64MB, ".csv", 64)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_SaveasLargeCsv, csv_large, ".csv", 0)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_SaveasLargeCsv, dbase3_large, ".dbf", 0)->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);
#endif

}  // namespace

BENCHMARK_MAIN();

/*
 * saveas_export.cpp: writing 1,000,000 rows of five columns (string, double,
 * date, datetime, decimal) to CSV and to dBase III, against the peers a user
 * would otherwise pick, in the same run: Python's csv writer (timed inside
 * Python, only its write loop) and a plain C++ writer (64 KB buffer,
 * std::to_chars, no quoting rules, no formats).
 *
 * Figures are rows per second (items_per_second).
 */
#include <benchmark/benchmark.h>
#include <koshr/saveas.h>
#include <koshr/storage.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr size_t kRows = 1000000;

struct Row {
  std::u16string name;
  std::string name_utf8;
  double price;
  KODATETIME day;
  KODATETIME stamp;
  KODECIMAL amount;
  int64_t amount_units;  // amount x 100
};

const std::vector<Row>& rows() {
  static const std::vector<Row> data = [] {
    std::vector<Row> out(kRows);
    uint32_t seed = 12345;
    auto next = [&seed] { return seed = seed * 1103515245u + 12345u; };
    for (size_t i = 0; i < kRows; ++i) {
      Row& row = out[i];
      row.name_utf8 = "item " + std::to_string(i) + (i % 7 == 0 ? ", boxed" : "");
      row.name.assign(row.name_utf8.begin(), row.name_utf8.end());
      row.price = double(next() % 100000) / 8.0;
      row.day = KODATETIME{
          0, uint16_t(100 + next() % 30), uint8_t(next() % 12), uint8_t(1 + next() % 28), 0, 0, 0,
          0};
      row.stamp = row.day;
      row.stamp.hour = uint8_t(next() % 24);
      row.stamp.minute = uint8_t(next() % 60);
      row.stamp.second = uint8_t(next() % 60);
      row.amount_units = int64_t(next() % 10000000) - 5000000;
      row.amount = KODECIMAL{0, 2, uint8_t(row.amount_units < 0 ? KODECIMAL_NEGATIVE : 0), 0,
                             uint64_t(row.amount_units < 0 ? -row.amount_units : row.amount_units)};
    }
    return out;
  }();
  return data;
}

std::string scratch(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

template <class Writer>
void export_rows(benchmark::State& state, const char* file) {
  const auto& data = rows();
  std::u16string path(file, file + std::strlen(file));
  for (auto _ : state) {
    KostgContext* pool = kostg_begin(4096);
    Writer writer;
    KoSaveContext* save =
        writer.Begin(pool, nullptr, path.c_str(), kRows, 5, 0, KOSAVE_ENCODING_UTF8);
    writer.AddColumn(save, u"name", 30, KOSAVE_STRING);
    writer.AddColumn(save, u"price", 0, KOSAVE_DOUBLE);
    writer.AddColumn(save, u"day", 0, KOSAVE_DATE);
    writer.AddColumn(save, u"stamp", 0, KOSAVE_DATETIME);
    writer.AddColumn(save, u"amount", 2, KOSAVE_DECIMAL);
    for (const Row& row : data) {
      writer.WriteValue(save, row.name.c_str());
      writer.WriteValue(save, &row.price);
      writer.WriteValue(save, &row.day);
      writer.WriteValue(save, &row.stamp);
      writer.WriteValue(save, &row.amount);
    }
    if (writer.End(save) != 1) state.SkipWithError("export failed");
    kostg_end(pool);
  }
  state.SetItemsProcessed(int64_t(state.iterations() * kRows));
}

void BM_SaveCsv(benchmark::State& state) {
  export_rows<CKO_SaveCsv>(state, scratch("bench.csv").c_str());
}
void BM_SaveDbase3(benchmark::State& state) {
  export_rows<CKO_SaveDbase3>(state, scratch("bench.dbf").c_str());
}

// The plain C++ peer: a 64 KB buffer and std::to_chars.
class PlainWriter {
 public:
  explicit PlainWriter(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) {}
  ~PlainWriter() {
    flush();
    std::fclose(file_);
  }
  void put(const char* text, size_t n) {
    if (used_ + n > sizeof buffer_) flush();
    std::memcpy(buffer_ + used_, text, n);
    used_ += n;
  }
  void put(char c) { put(&c, 1); }
  template <class T>
  void number(T value) {
    char digits[32];
    auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    put(digits, size_t(end - digits));
  }
  void fixed(int64_t units, int scale) {
    if (units < 0) put('-'), units = -units;
    int64_t whole = units, fraction = 0, divisor = 1;
    for (int i = 0; i < scale; ++i) divisor *= 10;
    whole = units / divisor;
    fraction = units % divisor;
    number(whole);
    put('.');
    char digits[8];
    for (int i = scale - 1; i >= 0; --i, fraction /= 10) digits[i] = char('0' + fraction % 10);
    put(digits, size_t(scale));
  }
  void two(int value) {
    char digits[2] = {char('0' + value / 10), char('0' + value % 10)};
    put(digits, 2);
  }

 private:
  void flush() {
    std::fwrite(buffer_, 1, used_, file_);
    used_ = 0;
  }
  FILE* file_;
  char buffer_[65536];
  size_t used_ = 0;
};

void BM_PlainCsv(benchmark::State& state) {
  const auto& data = rows();
  for (auto _ : state) {
    PlainWriter out(scratch("plain.csv"));
    for (const Row& row : data) {
      out.put(row.name_utf8.data(), row.name_utf8.size());
      out.put(',');
      out.number(row.price);
      out.put(',');
      out.number(row.day.year + 1900), out.put('-'), out.two(row.day.month + 1), out.put('-'),
          out.two(row.day.day);
      out.put(',');
      out.number(row.stamp.year + 1900), out.put('-'), out.two(row.stamp.month + 1), out.put('-');
      out.two(row.stamp.day), out.put(' '), out.two(row.stamp.hour), out.put(':'),
          out.two(row.stamp.minute);
      out.put(':'), out.two(row.stamp.second);
      out.put(',');
      out.fixed(row.amount_units, 2);
      out.put("\r\n", 2);
    }
  }
  state.SetItemsProcessed(int64_t(state.iterations() * kRows));
}

void BM_PlainDbase3(benchmark::State& state) {
  const auto& data = rows();
  for (auto _ : state) {
    PlainWriter out(scratch("plain.dbf"));
    char header[32 * 6 + 1] = {3};
    out.put(header, sizeof header);
    for (const Row& row : data) {
      char record[1 + 30 + 16 + 8 + 8 + 17];
      std::memset(record, ' ', sizeof record);
      std::memcpy(record + 1, row.name_utf8.data(), std::min<size_t>(30, row.name_utf8.size()));
      char digits[32];
      auto end = std::to_chars(digits, digits + sizeof digits, row.price).ptr;
      std::memcpy(record + 31 + 16 - (end - digits), digits, size_t(end - digits));
      std::snprintf(digits, sizeof digits, "%04d%02d%02d", row.day.year + 1900, row.day.month + 1,
                    row.day.day);
      std::memcpy(record + 47, digits, 8);
      std::snprintf(digits, sizeof digits, "%04d%02d%02d", row.stamp.year + 1900,
                    row.stamp.month + 1, row.stamp.day);
      std::memcpy(record + 55, digits, 8);
      end = std::to_chars(digits, digits + sizeof digits, double(row.amount_units) / 100).ptr;
      std::memcpy(record + 63 + 17 - (end - digits), digits, size_t(end - digits));
      out.put(record, sizeof record);
    }
    out.put('\x1a');
  }
  state.SetItemsProcessed(int64_t(state.iterations() * kRows));
}

// Python's csv writer, timed inside Python over its write loop only.
void BM_PythonCsv(benchmark::State& state) {
  std::string script = scratch("bench_csv.py");
  FILE* py = std::fopen(script.c_str(), "w");
  std::fputs(
      "import csv, datetime, decimal, random, sys, time\n"
      "random.seed(1)\n"
      "rows = []\n"
      "for i in range(1000000):\n"
      "    d = datetime.date(2000 + random.randrange(30), 1 + random.randrange(12), 1 + "
      "random.randrange(28))\n"
      "    rows.append(('item %d%s' % (i, ', boxed' if i % 7 == 0 else ''), "
      "random.randrange(100000) / 8.0, d,\n"
      "                 datetime.datetime(d.year, d.month, d.day, random.randrange(24), "
      "random.randrange(60), random.randrange(60)),\n"
      "                 decimal.Decimal(random.randrange(10000000) - 5000000).scaleb(-2)))\n"
      "start = time.process_time()\n"
      "with open(sys.argv[1], 'w', newline='', encoding='utf-8') as f:\n"
      "    csv.writer(f).writerows(rows)\n"
      "print(time.process_time() - start)\n",
      py);
  std::fclose(py);
  for (auto _ : state) {
    std::string command = "python3 '" + script + "' '" + scratch("python.csv") + "'";
    FILE* pipe = popen(command.c_str(), "r");
    double seconds = 0;
    if (!pipe || std::fscanf(pipe, "%lf", &seconds) != 1)
      state.SkipWithError("python3 did not run");
    if (pipe) pclose(pipe);
    state.SetIterationTime(seconds);
  }
  state.SetItemsProcessed(int64_t(state.iterations() * kRows));
}

}  // namespace

BENCHMARK(BM_SaveCsv)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_PlainCsv)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_PythonCsv)->Unit(benchmark::kMillisecond)->Iterations(1)->UseManualTime();
BENCHMARK(BM_SaveDbase3)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_PlainDbase3)->Unit(benchmark::kMillisecond)->Iterations(3);

BENCHMARK_MAIN();

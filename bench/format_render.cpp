// Rendering through compiled display formats against the peers a user would
// pick instead: std::to_chars (the limit for plain digits), ICU's
// DecimalFormat and SimpleDateFormat. Each benchmark renders the same
// 1,000,000 random values into a caller's buffer; the figure to read is
// items per second, side by side.
#include <benchmark/benchmark.h>
#include <koshr/format.h>

#include <charconv>
#include <memory>
#include <random>
#include <vector>

#if KOSHR_BENCH_ICU
#include <unicode/datefmt.h>
#include <unicode/decimfmt.h>
#include <unicode/smpdtfmt.h>
#include <unicode/unistr.h>
#endif

namespace {

constexpr size_t kValues = 1000000;

const std::vector<double>& amounts() {
  static const std::vector<double> values = [] {
    std::mt19937_64 random(42);
    std::uniform_real_distribution<double> amount(-1e6, 1e6);
    std::vector<double> v(kValues);
    for (double& x : v) x = amount(random);
    return v;
  }();
  return values;
}

// Date-times between 1950 and 2049.
const std::vector<KODATETIME>& moments() {
  static const std::vector<KODATETIME> values = [] {
    std::mt19937 random(7);
    std::vector<KODATETIME> v(kValues);
    for (KODATETIME& t : v) {
      shdtBuildTime(&t, 1950 + int(random() % 100), 1 + int(random() % 12), 1 + int(random() % 28),
                    int(random() % 24), int(random() % 60), int(random() % 60), 0);
    }
    return v;
  }();
  return values;
}

template <typename Render>
void run(benchmark::State& state, Render render) {
  const auto& values = amounts();
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(render(values[i]));
    if (++i == values.size()) i = 0;
  }
  state.SetItemsProcessed(int64_t(state.iterations()));
}

void ours(benchmark::State& state, const KOCHAR* format) {
  KOFMTCODE compiled[128];
  shformatCmplNumericMask(format, compiled, 128, nullptr);
  KOCHAR out[64];
  run(state, [&](double v) { return shformatDouble(compiled, v, out, 64); });
}

void BM_Ours_Grouped2(benchmark::State& state) { ours(state, u"#,##0.00"); }
void BM_Ours_Scientific(benchmark::State& state) { ours(state, u"0.00E+00"); }

void BM_ToChars_Fixed2(benchmark::State& state) {
  char out[64];
  run(state,
      [&](double v) { return std::to_chars(out, out + 64, v, std::chars_format::fixed, 2).ptr; });
}

void BM_ToChars_Scientific15(benchmark::State& state) {
  char out[64];
  run(state, [&](double v) {
    return std::to_chars(out, out + 64, v, std::chars_format::scientific, 15).ptr;
  });
}

void BM_Ours_DateTime(benchmark::State& state) {
  KOFMTCODE compiled[128];
  shformatCmplDateTimeMask(u"mm/dd/yyyy hh:mm:ss", compiled, 128, nullptr);
  KOCHAR out[64];
  const auto& values = moments();
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(shformatDateTime(compiled, &values[i], out, 64));
    if (++i == values.size()) i = 0;
  }
  state.SetItemsProcessed(int64_t(state.iterations()));
}

BENCHMARK(BM_Ours_Grouped2);
BENCHMARK(BM_ToChars_Fixed2);
BENCHMARK(BM_Ours_Scientific);
BENCHMARK(BM_ToChars_Scientific15);
BENCHMARK(BM_Ours_DateTime);

#if KOSHR_BENCH_ICU
void BM_Icu_DecimalFormat(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::DecimalFormat format(icu::UnicodeString(u"#,##0.00"),
                            icu::DecimalFormatSymbols(icu::Locale::getUS(), status), status);
  icu::UnicodeString text;
  UChar out[64];
  run(state, [&](double v) {
    text.remove();
    format.format(v, text);
    UErrorCode extract_status = U_ZERO_ERROR;
    return text.extract(out, 64, extract_status);
  });
}

void BM_Icu_SimpleDateFormat(benchmark::State& state) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(icu::UnicodeString(u"MM/dd/yyyy HH:mm:ss"), icu::Locale::getUS(),
                               status);
  format.setTimeZone(*icu::TimeZone::getGMT());
  const auto& values = moments();
  std::vector<UDate> dates(values.size());
  for (size_t k = 0; k < values.size(); ++k) {
    const KODATETIME& t = values[k];
    KODATETIME day = t;
    day.hour = day.minute = day.second = 0;
    dates[k] = (double(shdtToMJDDate(&day)) - 40587.0) * 86400000.0 +
               (t.hour * 3600.0 + t.minute * 60.0 + t.second) * 1000.0;
  }
  icu::UnicodeString text;
  UChar out[64];
  size_t i = 0;
  for (auto _ : state) {
    text.remove();
    format.format(dates[i], text);
    UErrorCode extract_status = U_ZERO_ERROR;
    benchmark::DoNotOptimize(text.extract(out, 64, extract_status));
    if (++i == dates.size()) i = 0;
  }
  state.SetItemsProcessed(int64_t(state.iterations()));
}

BENCHMARK(BM_Icu_DecimalFormat);
BENCHMARK(BM_Icu_SimpleDateFormat);
#endif

}  // namespace

BENCHMARK_MAIN();

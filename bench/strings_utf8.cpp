// kostg_UCS2toUTF8 and kostg_UTF8toUCS2 against glibc's iconv, over 64 MiB of
// mixed text (English, French, Russian, Greek and Chinese sentences, no
// surrogates, so both sides produce the same bytes).
#include <koshr/strings.h>

#include <benchmark/benchmark.h>
#include <iconv.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr size_t kTextBytes = size_t(64) << 20;

const std::u16string& mixed_text() {
  static const std::u16string text = [] {
    const std::u16string sentences[] = {
        u"The quick brown fox jumps over the lazy dog, then rests by the river. ",
        u"L'\u00E9t\u00E9 dernier, nous avons d\u00EEn\u00E9 au caf\u00E9 pr\u00E8s de la gare. ",
        u"\u0421\u044A\u0435\u0448\u044C \u0436\u0435 \u0435\u0449\u0451 \u044D\u0442\u0438\u0445 "
        u"\u043C\u044F\u0433\u043A\u0438\u0445 \u0431\u0443\u043B\u043E\u043A. ",
        u"\u039E\u03B5\u03C3\u03BA\u03B5\u03C0\u03AC\u03B6\u03C9 \u03C4\u03B7\u03BD "
        u"\u03C8\u03C5\u03C7\u03BF\u03C6\u03B8\u03CC\u03C1\u03B1. ",
        u"\u6211\u4EEC\u660E\u5929\u5728\u56FE\u4E66\u9986\u95E8\u53E3\u89C1\u9762\u3002 ",
        u"Invoice 2024-117: 3 items, total 1,249.50 EUR, due in 30 days.\r\n",
    };
    std::u16string all;
    all.reserve(kTextBytes / 2 + 256);
    for (size_t i = 0; all.size() * 2 < kTextBytes; ++i) all += sentences[(i * 7) % 6];
    all.resize(kTextBytes / 2);
    return all;
  }();
  return text;
}

const std::string& mixed_utf8() {
  static const std::string utf8 = [] {
    const std::u16string& text = mixed_text();
    std::string out(size_t(kostg_UCS2toUTF8(nullptr, text.c_str(), 0)), '\0');
    kostg_UCS2toUTF8(out.data(), text.c_str(), int64_t(out.size()));
    return out;
  }();
  return utf8;
}

class Iconv {
 public:
  Iconv(const char* to, const char* from) : cd_(iconv_open(to, from)) {
    if (cd_ == iconv_t(-1)) throw std::runtime_error("iconv_open");
  }
  ~Iconv() { iconv_close(cd_); }
  size_t convert(const void* in, size_t in_bytes, void* out, size_t out_bytes) {
    iconv(cd_, nullptr, nullptr, nullptr, nullptr);
    char* source = static_cast<char*>(const_cast<void*>(in));
    char* target = static_cast<char*>(out);
    size_t left = out_bytes;
    if (iconv(cd_, &source, &in_bytes, &target, &left) == size_t(-1))
      throw std::runtime_error("iconv");
    return out_bytes - left;
  }

 private:
  iconv_t cd_;
};

void UCS2toUTF8_koshr(benchmark::State& state) {
  const std::u16string& text = mixed_text();
  std::vector<char> out(mixed_utf8().size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(kostg_UCS2toUTF8(out.data(), text.c_str(), int64_t(out.size())));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size() * 2));
}

void UCS2toUTF8_iconv(benchmark::State& state) {
  const std::u16string& text = mixed_text();
  std::vector<char> out(mixed_utf8().size() + 1);
  Iconv iconv("UTF-8", "UTF-16LE");
  for (auto _ : state) {
    benchmark::DoNotOptimize(iconv.convert(text.data(), text.size() * 2, out.data(), out.size()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size() * 2));
}

void UTF8toUCS2_koshr(benchmark::State& state) {
  const std::string& utf8 = mixed_utf8();
  std::vector<KOCHAR> out(mixed_text().size() + 1);
  for (auto _ : state) {
    benchmark::DoNotOptimize(kostg_UTF8toUCS2(out.data(), utf8.c_str()));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(utf8.size()));
}

void UTF8toUCS2_iconv(benchmark::State& state) {
  const std::string& utf8 = mixed_utf8();
  std::vector<KOCHAR> out(mixed_text().size() + 1);
  Iconv iconv("UTF-16LE", "UTF-8");
  for (auto _ : state) {
    benchmark::DoNotOptimize(iconv.convert(utf8.data(), utf8.size(), out.data(), out.size() * 2));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(utf8.size()));
}

// Both sides must agree on the bytes before their speed means anything.
void check_same_output() {
  const std::u16string& text = mixed_text();
  const std::string& utf8 = mixed_utf8();
  std::vector<char> bytes(utf8.size());
  Iconv encode("UTF-8", "UTF-16LE");
  if (encode.convert(text.data(), text.size() * 2, bytes.data(), bytes.size()) != utf8.size() ||
      std::memcmp(bytes.data(), utf8.data(), utf8.size()) != 0)
    throw std::runtime_error("iconv and kostg_UCS2toUTF8 disagree");
  std::vector<KOCHAR> units(text.size() + 1);
  if (kostg_UTF8toUCS2(units.data(), utf8.c_str()) != int64_t(text.size()) ||
      std::memcmp(units.data(), text.data(), text.size() * 2) != 0)
    throw std::runtime_error("kostg_UTF8toUCS2 does not give the text back");
}

}  // namespace

BENCHMARK(UCS2toUTF8_koshr)->Unit(benchmark::kMillisecond);
BENCHMARK(UCS2toUTF8_iconv)->Unit(benchmark::kMillisecond);
BENCHMARK(UTF8toUCS2_koshr)->Unit(benchmark::kMillisecond);
BENCHMARK(UTF8toUCS2_iconv)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
  check_same_output();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

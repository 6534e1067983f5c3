// shhash_search against std::unordered_multimap::find: 1,000,000 string keys, a table with as many
// buckets as keys, every key looked up in the same shuffled order by both.
#include <benchmark/benchmark.h>
#include <koshr/hashtable.h>

#include <algorithm>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr uint32_t kKeys = 1000000;

// Identifier-like keys of 16 to 24 random characters, which this hash
// spreads evenly (about 1.58 nodes per used bucket). Short keys, or keys that
// differ in only a few characters, crowd into fewer buckets: see README.md.
struct Keys {
  std::vector<std::u16string> stored;  // what the tables hold
  std::vector<std::u16string> probes;  // equal copies, looked up in shuffled order
  Keys() {
    static const char kAlphabet[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    std::mt19937 random(42);
    for (uint32_t i = 0; i < kKeys; ++i) {
      std::u16string key(16 + random() % 9, u' ');
      for (char16_t& c : key) c = char16_t(kAlphabet[random() % (sizeof kAlphabet - 1)]);
      stored.push_back(key);
    }
    probes = stored;
    std::shuffle(probes.begin(), probes.end(), random);
  }
};

const Keys& keys() {
  static const Keys instance;
  return instance;
}

void BM_shhash_search(benchmark::State& state) {
  const Keys& k = keys();
  KostgContext* context = kostg_begin(0);
  ShHashTable* table = shhash_new(kKeys, nullptr, 0, 0, context, nullptr);
  for (const auto& key : k.stored) shhash_insert(table, const_cast<char16_t*>(key.c_str()));
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(shhash_search(table, k.probes[i].c_str()));
    if (++i == kKeys) i = 0;
  }
  state.SetItemsProcessed(state.iterations());
  kostg_end(context);
}
BENCHMARK(BM_shhash_search);

void BM_unordered_multimap_find(benchmark::State& state) {
  const Keys& k = keys();
  std::unordered_multimap<std::u16string, const void*> table;
  for (const auto& key : k.stored) table.emplace(key, &key);
  size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(table.find(k.probes[i]));
    if (++i == kKeys) i = 0;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_unordered_multimap_find);

}  // namespace

BENCHMARK_MAIN();

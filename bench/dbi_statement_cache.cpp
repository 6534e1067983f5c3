// Benchmark: the statement cache at capacity 100 under a workload of 90 %
// hits (request, then return the entry), against std::unordered_map look-ups
// of the same texts.
#include <benchmark/benchmark.h>
#include <koshr/dbi.h>
#include <koshr/storage.h>

#include <cstring>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr int kCapacity = 100;

std::vector<std::u16string> statements(int count) {
  std::vector<std::u16string> out;
  for (int i = 0; i < count; ++i) {
    const std::string n = std::to_string(i * 7919);
    out.push_back(u"select id, name, total from orders where customer = ? and region = " +
                  std::u16string(n.begin(), n.end()));
  }
  return out;
}

// Request i: nine in ten name one of the cached statements, one in ten a new one.
size_t pick(size_t i) { return i % 10 == 9 ? kCapacity + i % 1000 : (i * 37) % kCapacity; }

void BM_StatementCache90PercentHits(benchmark::State& state) {
  KostgContext* storage = kostg_begin(0);
  DbiContext context;
  std::memset(&context, 0, sizeof context);
  context.storage = storage;
  SqlCache* cache = nullptr;
  DBI_SQLCacheBegin(&context, kCapacity, &cache);
  const auto texts = statements(kCapacity + 1000);
  for (int i = 0; i < kCapacity; ++i) {
    SqlCacheEntry* entry = nullptr;
    DBI_SQLCacheRegisterSQLStatement(&context, texts[i].c_str(), nullptr, &entry);
    DBI_SQLCacheMakeSQLStatementAvailable(&context, entry, cache);
  }
  size_t i = 0;
  for (auto _ : state) {
    const std::u16string& sql = texts[pick(i++)];
    SqlCacheEntry* entry = nullptr;
    DBI_SQLCacheRequestSqlStatement(&context, cache, sql.c_str(), &entry);
    if (entry == nullptr) DBI_SQLCacheRegisterSQLStatement(&context, sql.c_str(), nullptr, &entry);
    DBI_SQLCacheMakeSQLStatementAvailable(&context, entry, cache);
  }
  state.counters["hit_rate"] = static_cast<double>(cache->hits) / (cache->hits + cache->misses);
  DBI_SQLCacheEnd(&context, cache);
  kostg_end(storage);
}
BENCHMARK(BM_StatementCache90PercentHits);

void BM_PeerUnorderedMapLookup(benchmark::State& state) {
  const auto texts = statements(kCapacity + 1000);
  std::unordered_map<std::u16string, void*> map;
  for (int i = 0; i < kCapacity; ++i) map.emplace(texts[i], nullptr);
  size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(map.find(texts[pick(i++)]));
}
BENCHMARK(BM_PeerUnorderedMapLookup);

}  // namespace

BENCHMARK_MAIN();

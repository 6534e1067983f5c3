// Memory pools against the allocators a user would otherwise pick: glibc
// malloc, mimalloc (loaded with dlopen), APR pools and talloc. Each peer runs
// its own warm-up pass before timing. The memory figures are measured in a
// child process per allocator, as growth of the resident set.
#include <koshr/storage.h>

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#ifdef KOSHR_BENCH_APR
#include <apr_pools.h>
#endif
#ifdef KOSHR_BENCH_TALLOC
#include <talloc.h>
#endif

namespace {

// ---------------------------------------------------------------- allocators

struct Mimalloc {
  void* (*malloc)(size_t) = nullptr;
  void (*free)(void*) = nullptr;
  void* (*realloc)(void*, size_t) = nullptr;

  Mimalloc() {
    void* module = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
    if (!module) module = dlopen("libmimalloc.so", RTLD_NOW | RTLD_LOCAL);
    if (!module) return;
    malloc = reinterpret_cast<void* (*)(size_t)>(dlsym(module, "mi_malloc"));
    free = reinterpret_cast<void (*)(void*)>(dlsym(module, "mi_free"));
    realloc = reinterpret_cast<void* (*)(void*, size_t)>(dlsym(module, "mi_realloc"));
  }
};
const Mimalloc& mimalloc() {
  static const Mimalloc loaded;
  return loaded;
}

// One context and sub-pool for every kostg benchmark.
struct Kostg {
  KostgContext* context = kostg_begin(0);
  KostgSubpool* pool = kostg_new_pool(context);
};
Kostg& kostg() {
  static Kostg shared;
  return shared;
}

// Each allocator is an object made once before a timed loop, holding what a
// caller would keep at hand (the context and sub-pool, the peer's entry
// points), so that the loops time the allocators and not the look-up of
// function-local statics.
struct KostgSubpoolAlloc {
  KostgContext* context = kostg().context;
  KostgSubpool* pool = kostg().pool;
  void* alloc(size_t size) const { return kostg_alc(context, size, pool); }
  void free(void* block) const { kostg_fee(context, block); }
  void* realloc(void* block, size_t size) const { return kostg_realc(context, block, size, pool); }
};
struct KostgDefaultPoolAlloc {
  KostgContext* context = kostg().context;
  void* alloc(size_t size) const { return kostg_alc(context, size, nullptr); }
  void free(void* block) const { kostg_fee(context, block); }
};
struct GlibcAlloc {
  void* alloc(size_t size) const { return std::malloc(size); }
  void free(void* block) const { std::free(block); }
  void* realloc(void* block, size_t size) const { return std::realloc(block, size); }
};
struct MimallocAlloc {
  Mimalloc entry = mimalloc();
  void* alloc(size_t size) const { return entry.malloc(size); }
  void free(void* block) const { entry.free(block); }
  void* realloc(void* block, size_t size) const { return entry.realloc(block, size); }
};

bool skip_without_mimalloc(benchmark::State& state) {
  if (mimalloc().malloc) return false;
  state.SkipWithError("libmimalloc not found");
  return true;
}

constexpr int kBatch = 1024;

struct SmallSize {
  size_t operator()(int i) const { return 8 + size_t(i * 37) % 249; }  // 8..256
};
struct Eight {
  size_t operator()(int) const { return 8; }
};

// ---------------------------------------------------------------- memory per live block
// (registered first, so that the children start from a nearly untouched heap)

constexpr int kLiveBlocks = 200000;

long resident_bytes() {
  long pages = 0, resident = 0;
  if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(statm, "%ld %ld", &pages, &resident) != 2) resident = 0;
    std::fclose(statm);
  }
  return resident * sysconf(_SC_PAGESIZE);
}

// Bytes of resident memory per live block beyond the bytes asked for,
// measured in a child process so each allocator starts from nothing.
template <typename Alloc>
double overhead_per_block() {
  int channel[2];
  if (pipe(channel) != 0) return -1;
  pid_t child = fork();
  if (child == 0) {
    std::vector<void*> blocks(kLiveBlocks);
    uint64_t asked = 0;
    const Alloc allocator;
    allocator.free(allocator.alloc(8));  // the allocator's own start-up is not counted
    long before = resident_bytes();
    for (int i = 0; i < kLiveBlocks; ++i) {
      size_t size = SmallSize()(i);
      blocks[i] = allocator.alloc(size);
      std::memset(blocks[i], 1, size);
      asked += size;
    }
    double overhead = double(resident_bytes() - before - long(asked)) / kLiveBlocks;
    if (write(channel[1], &overhead, sizeof overhead) != sizeof overhead) _exit(1);
    _exit(0);
  }
  double overhead = -1;
  if (read(channel[0], &overhead, sizeof overhead) != sizeof overhead) overhead = -1;
  waitpid(child, nullptr, 0);
  close(channel[0]);
  close(channel[1]);
  return overhead;
}

template <typename Alloc>
void BM_Memory(benchmark::State& state) {
  if (std::is_same_v<Alloc, MimallocAlloc> && skip_without_mimalloc(state)) return;
  double overhead = 0;
  for (auto _ : state) overhead = overhead_per_block<Alloc>();
  state.counters["overhead_bytes_per_block"] = overhead;
}
BENCHMARK_TEMPLATE(BM_Memory, KostgSubpoolAlloc)->Name("LiveBlockOverhead/kostg")->Iterations(1);
BENCHMARK_TEMPLATE(BM_Memory, GlibcAlloc)->Name("LiveBlockOverhead/glibc")->Iterations(1);
BENCHMARK_TEMPLATE(BM_Memory, MimallocAlloc)->Name("LiveBlockOverhead/mimalloc")->Iterations(1);

// ---------------------------------------------------------------- one by one, 8 to 256 bytes

template <typename Alloc, typename SizeOf>
void run_batches(benchmark::State& state) {
  std::vector<void*> blocks(kBatch);
  const Alloc allocator;
  const SizeOf size_of;
  auto batch = [&] {
    for (int i = 0; i < kBatch; ++i) blocks[i] = allocator.alloc(size_of(i));
    benchmark::DoNotOptimize(blocks.data());
    for (int i = 0; i < kBatch; ++i) allocator.free(blocks[i]);
  };
  for (int warm = 0; warm < 200; ++warm) batch();
  for (auto _ : state) batch();
  state.SetItemsProcessed(state.iterations() * kBatch);
}

template <typename Alloc>
void BM_SmallBlocks(benchmark::State& state) {
  if (std::is_same_v<Alloc, MimallocAlloc> && skip_without_mimalloc(state)) return;
  run_batches<Alloc, SmallSize>(state);
}
BENCHMARK_TEMPLATE(BM_SmallBlocks, KostgSubpoolAlloc)->Name("SmallBlocks/kostg_subpool");
BENCHMARK_TEMPLATE(BM_SmallBlocks, GlibcAlloc)->Name("SmallBlocks/glibc");
BENCHMARK_TEMPLATE(BM_SmallBlocks, MimallocAlloc)->Name("SmallBlocks/mimalloc");

template <typename Alloc>
void BM_Fixed8(benchmark::State& state) {
  run_batches<Alloc, Eight>(state);
}
BENCHMARK_TEMPLATE(BM_Fixed8, KostgDefaultPoolAlloc)->Name("Fixed8/kostg_default_pool");
BENCHMARK_TEMPLATE(BM_Fixed8, GlibcAlloc)->Name("Fixed8/glibc");

// The same path as list and hash nodes use it: 100,000 live 8-byte blocks,
// each written once, then freed one by one.
constexpr int kLiveNodes = 100000;

template <typename Alloc>
void BM_Fixed8Nodes(benchmark::State& state) {
  if (std::is_same_v<Alloc, MimallocAlloc> && skip_without_mimalloc(state)) return;
  std::vector<uint64_t*> nodes(kLiveNodes);
  const Alloc allocator;
  auto round = [&nodes, &allocator] {
    for (int i = 0; i < kLiveNodes; ++i) {
      nodes[i] = static_cast<uint64_t*>(allocator.alloc(8));
      *nodes[i] = uint64_t(i);
    }
    benchmark::DoNotOptimize(nodes.data());
    for (int i = 0; i < kLiveNodes; ++i) allocator.free(nodes[i]);
  };
  for (int warm = 0; warm < 3; ++warm) round();
  for (auto _ : state) round();
  state.SetItemsProcessed(state.iterations() * kLiveNodes);
}
BENCHMARK_TEMPLATE(BM_Fixed8Nodes, KostgDefaultPoolAlloc)->Name("Fixed8Nodes/kostg_default_pool");
BENCHMARK_TEMPLATE(BM_Fixed8Nodes, GlibcAlloc)->Name("Fixed8Nodes/glibc");
BENCHMARK_TEMPLATE(BM_Fixed8Nodes, MimallocAlloc)->Name("Fixed8Nodes/mimalloc");

// ---------------------------------------------------------------- the pool pattern

constexpr int kPoolBlocks = 1000000;

size_t pool_size(int i) { return 8 + size_t(i % 6) * 8; }  // 8..48

template <typename Body>
void run_pool_pattern(benchmark::State& state, Body body) {
  body();  // warm-up
  for (auto _ : state) body();
  state.SetItemsProcessed(state.iterations() * kPoolBlocks);
}

void BM_PoolPattern_kostg(benchmark::State& state) {
  KostgContext* context = kostg().context;
  run_pool_pattern(state, [context] {
    KostgSubpool* pool = kostg_new_pool(context);
    for (int i = 0; i < kPoolBlocks; ++i)
      benchmark::DoNotOptimize(kostg_alc(context, pool_size(i), pool));
    kostg_free_pool(context, pool);
  });
}
BENCHMARK(BM_PoolPattern_kostg)->Name("PoolPattern/kostg")->Unit(benchmark::kMillisecond);

#ifdef KOSHR_BENCH_APR
void BM_PoolPattern_apr(benchmark::State& state) {
  apr_initialize();
  run_pool_pattern(state, [] {
    apr_pool_t* pool = nullptr;
    apr_pool_create(&pool, nullptr);
    for (int i = 0; i < kPoolBlocks; ++i) benchmark::DoNotOptimize(apr_palloc(pool, pool_size(i)));
    apr_pool_destroy(pool);
  });
}
BENCHMARK(BM_PoolPattern_apr)->Name("PoolPattern/apr")->Unit(benchmark::kMillisecond);
#endif

#ifdef KOSHR_BENCH_TALLOC
void BM_PoolPattern_talloc(benchmark::State& state) {
  run_pool_pattern(state, [] {
    void* pool = talloc_new(nullptr);
    for (int i = 0; i < kPoolBlocks; ++i) benchmark::DoNotOptimize(talloc_size(pool, pool_size(i)));
    talloc_free(pool);
  });
}
BENCHMARK(BM_PoolPattern_talloc)->Name("PoolPattern/talloc")->Unit(benchmark::kMillisecond);
#endif

void BM_PoolPattern_glibc(benchmark::State& state) {
  std::vector<void*> blocks(kPoolBlocks);
  run_pool_pattern(state, [&blocks] {
    for (int i = 0; i < kPoolBlocks; ++i) blocks[i] = std::malloc(pool_size(i));
    benchmark::DoNotOptimize(blocks.data());
    for (int i = 0; i < kPoolBlocks; ++i) std::free(blocks[i]);
  });
}
BENCHMARK(BM_PoolPattern_glibc)->Name("PoolPattern/glibc_free_each")->Unit(benchmark::kMillisecond);

// ---------------------------------------------------------------- growing one block

template <typename Alloc>
void BM_Grow(benchmark::State& state) {
  if (std::is_same_v<Alloc, MimallocAlloc> && skip_without_mimalloc(state)) return;
  const Alloc allocator;
  auto grow = [&allocator] {
    void* block = allocator.alloc(16);
    for (size_t size = 32; size <= 65536; size += 16) block = allocator.realloc(block, size);
    benchmark::DoNotOptimize(block);
    allocator.free(block);
  };
  for (int warm = 0; warm < 20; ++warm) grow();
  for (auto _ : state) grow();
  state.SetItemsProcessed(state.iterations() * (65536 / 16 - 1));
}
BENCHMARK_TEMPLATE(BM_Grow, KostgSubpoolAlloc)->Name("Grow16To64K/kostg_realc");
BENCHMARK_TEMPLATE(BM_Grow, GlibcAlloc)->Name("Grow16To64K/glibc");
BENCHMARK_TEMPLATE(BM_Grow, MimallocAlloc)->Name("Grow16To64K/mimalloc");

// ---------------------------------------------------------------- threads in one pool

template <typename Alloc>
void BM_Threads(benchmark::State& state) {
  kostg();  // the shared pool exists before the threads start
  run_batches<Alloc, SmallSize>(state);
}
BENCHMARK_TEMPLATE(BM_Threads, KostgSubpoolAlloc)
    ->Name("SamePool/kostg")
    ->Threads(1)
    ->Threads(2)
    ->Threads(4)
    ->UseRealTime();
BENCHMARK_TEMPLATE(BM_Threads, GlibcAlloc)
    ->Name("SamePool/glibc")
    ->Threads(1)
    ->Threads(2)
    ->Threads(4)
    ->UseRealTime();

}  // namespace

BENCHMARK_MAIN();

// Writing 10,000,000 mixed values into a data blob and reading them back,
// against a plain memcpy of the same bytes out and back in. All report the
// blob's bytes per second.
#include <benchmark/benchmark.h>
#include <koshr/datablob.h>

#include <cstring>
#include <vector>

namespace {

constexpr uint32_t kValues = 10000000;

// One round of the mix: 4 values, 15 bytes.
constexpr uint32_t kRound = 4;
constexpr uint32_t kRoundBytes = 1 + 2 + 4 + 8;

void write_values(SH_MI_DATA_BLOB* blob) {
  for (uint32_t i = 0; i < kValues; i += kRound) {
    shmi_DataBlob_addByte(blob, uint8_t(i));
    shmi_DataBlob_addShort(blob, int16_t(i));
    shmi_DataBlob_addLong(blob, int32_t(i));
    shmi_DataBlob_addDouble(blob, double(i));
  }
}

uint64_t read_values(SH_IMI_BLOB_ITER* it) {
  uint64_t sum = 0;
  uint8_t b;
  int16_t s;
  int32_t l;
  double d;
  for (uint32_t i = 0; i < kValues; i += kRound) {
    shmi_DataIter_GetByte(it, &b);
    shmi_DataIter_GetShort(it, &s);
    shmi_DataIter_GetLong(it, &l);
    shmi_DataIter_GetDouble(it, &d);
    sum += b + s + l + uint64_t(d);
  }
  return sum;
}

void BM_data_blob_write_read(benchmark::State& state) {
  uint64_t bytes = 0;
  for (auto _ : state) {
    SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
    write_values(blob);
    SH_IMI_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(blob);
    benchmark::DoNotOptimize(read_values(it));
    bytes += shmi_DataBlob_GetSize(blob);
    shmi_DataIter_Release(it);
    shmi_DataBlob_Release(blob);
  }
  state.SetBytesProcessed(int64_t(bytes));
}
BENCHMARK(BM_data_blob_write_read)->Unit(benchmark::kMillisecond);

// The same on one blob emptied with SetSize(10) between rounds: the buffer
// has its full size already, so this is the cost of the encoding alone.
void BM_data_blob_reused(benchmark::State& state) {
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  uint64_t bytes = 0;
  for (auto _ : state) {
    shmi_DataBlob_SetSize(blob, 10);
    write_values(blob);
    SH_IMI_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(blob);
    benchmark::DoNotOptimize(read_values(it));
    bytes += shmi_DataBlob_GetSize(blob);
    shmi_DataIter_Release(it);
  }
  shmi_DataBlob_Release(blob);
  state.SetBytesProcessed(int64_t(bytes));
}
BENCHMARK(BM_data_blob_reused)->Unit(benchmark::kMillisecond);

void BM_memcpy_write_read(benchmark::State& state) {
  const size_t size = 10 + size_t(kValues / kRound) * kRoundBytes;
  std::vector<uint8_t> source(size, 0x5A), blob(size), back(size);
  uint64_t bytes = 0;
  for (auto _ : state) {
    std::memcpy(blob.data(), source.data(), size);
    std::memcpy(back.data(), blob.data(), size);
    benchmark::DoNotOptimize(back.data());
    benchmark::ClobberMemory();
    bytes += size;
  }
  state.SetBytesProcessed(int64_t(bytes));
}
BENCHMARK(BM_memcpy_write_read)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();

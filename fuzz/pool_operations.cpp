// Fuzz target: a script of pool operations read from the input (allocate,
// resize, free, new sub-pool, release sub-pool), each block stamped and
// checked, so that the heap's bookkeeping is exercised in any order.
#include <koshr/storage.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

struct Block {
  unsigned char* data;
  uint64_t size;
  unsigned char stamp;
  size_t pool;  // index into the pool list
};

void check(const Block& block) {
  for (uint64_t i = 0; i < block.size; ++i)
    if (block.data[i] != block.stamp) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  KostgContext* context = kostg_begin(0);
  std::vector<KostgSubpool*> pools{nullptr};
  std::vector<Block> blocks;
  for (size_t at = 0; at + 3 <= size; at += 3) {
    uint8_t op = data[at] % 5;
    uint64_t amount = (uint64_t(data[at + 1]) << 8 | data[at + 2]) % 20000;
    if (op == 0) {
      size_t pool = data[at + 1] % pools.size();
      auto* block = static_cast<unsigned char*>(kostg_alc(context, amount, pools[pool]));
      if (amount == 0) {
        if (block) std::abort();
        continue;
      }
      if (!block || kostg_sz(context, block) < amount) std::abort();
      std::memset(block, data[at], amount);
      blocks.push_back({block, amount, data[at], pool});
    } else if (op == 1 && !blocks.empty()) {
      Block& block = blocks[amount % blocks.size()];
      check(block);
      uint64_t new_size = 1 + data[at + 2] * 40ull;
      auto* moved =
          static_cast<unsigned char*>(kostg_realc(context, block.data, new_size, nullptr));
      if (!moved) std::abort();
      if (new_size > block.size)
        std::memset(moved + block.size, block.stamp, new_size - block.size);
      block.data = moved;
      block.size = new_size;
    } else if (op == 2 && !blocks.empty()) {
      size_t index = amount % blocks.size();
      check(blocks[index]);
      kostg_fee(context, blocks[index].data);
      blocks[index] = blocks.back();
      blocks.pop_back();
    } else if (op == 3 && pools.size() < 8) {
      pools.push_back(kostg_new_pool(context));
    } else if (op == 4 && pools.size() > 1) {
      size_t pool = 1 + amount % (pools.size() - 1);
      if (kostg_free_pool(context, pools[pool]) != 1) std::abort();
      std::vector<Block> kept;
      for (Block& block : blocks) {
        if (block.pool == pool) continue;
        if (block.pool == pools.size() - 1) block.pool = pool;
        kept.push_back(block);
      }
      blocks.swap(kept);
      pools[pool] = pools.back();
      pools.pop_back();
    }
  }
  for (const Block& block : blocks) check(block);
  kostg_end(context);
  return 0;
}

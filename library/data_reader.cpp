/*
 * data_reader.cpp: run reads and link checks of data-block chains.
 */
#include "library/data_reader.h"

#include <koshr/library.h>

#include "library/block_io.h"
#include "library/data_block.h"
#include "library/magic.h"
#include "platform/byte_order.h"

#include <cstring>

namespace ko {
namespace {

constexpr uint32_t kMaxRunBlocks = 2048;  // 1 MB: one read covers most entries whole

}  // namespace

bool DataReader::attach(const PoolRef& pool, os::FileHandle file, uint32_t base) {
  pool_ = pool;
  file_ = file;
  base_ = base;
  // One block lives in the reader; the buffer grows to the longest run read.
  run_capacity_ = 1;
  run_ = first_run_;
  run_blocks_ = 0;
  return true;
}

void DataReader::begin(uint32_t first_block, uint32_t length) {
  run_blocks_ = 0;  // the file may have changed since the last stream
  current_ = 0;
  next_ = first_block;
  in_block_ = block_used_ = 0;
  remaining_ = first_block ? length : 0;
}

const uint8_t* DataReader::block_at(uint32_t offset, uint32_t blocks_wanted) {
  if (offset < base_ || (offset - base_) % kBlockSize || int64_t(offset) + kBlockSize > file_size_) return nullptr;
  if (run_blocks_ && offset >= run_first_ && (offset - run_first_) / kBlockSize < run_blocks_) {
    return run_ + (offset - run_first_);
  }
  if (blocks_wanted > kMaxRunBlocks) blocks_wanted = kMaxRunBlocks;
  if (blocks_wanted > run_capacity_) {
    // Nothing in the run is kept across a new read: a fresh buffer will do.
    auto* bigger = pool_.alloc_array<uint8_t>(size_t(blocks_wanted) * kBlockSize);
    if (bigger) {
      if (run_ != first_run_) pool_.free(run_);
      run_ = bigger;
      run_capacity_ = blocks_wanted;
    }
  }
  uint32_t blocks = blocks_wanted < run_capacity_ ? blocks_wanted : run_capacity_;
  if (blocks == 0) blocks = 1;
  int64_t in_file = (file_size_ - offset) / kBlockSize;
  if (int64_t(blocks) > in_file) blocks = uint32_t(in_file);
  int64_t got = library_read(file_, run_, size_t(blocks) * kBlockSize, offset);
  run_blocks_ = got > 0 ? uint32_t(got / kBlockSize) : 0;
  run_first_ = offset;
  return run_blocks_ ? run_ : nullptr;
}

int32_t DataReader::read(void* out, uint32_t count) {
  uint8_t* to = static_cast<uint8_t*>(out);
  uint32_t copied = 0;
  while (copied < count && remaining_) {
    if (in_block_ == block_used_) {
      if (!next_) break;
      const uint8_t* block = block_at(next_, blocks_for_bytes(remaining_));
      if (!block || !has_magic(block, "DAT*")) return LMI_E_IO;
      uint32_t used = load_le16(block + kDataUsed);
      if (used == 0 || used > kPayloadPerBlock) return LMI_E_IO;
      current_ = next_;
      next_ = load_le32(block + kDataNext);
      in_block_ = 0;
      block_used_ = used;
    }
    const uint8_t* block = block_at(current_, 1);
    if (!block) return LMI_E_IO;
    uint32_t take = block_used_ - in_block_;
    if (take > count - copied) take = count - copied;
    if (take > remaining_) take = remaining_;
    if (to) std::memcpy(to + copied, block + kDataHeaderSize + in_block_, take);
    in_block_ += take;
    copied += take;
    remaining_ -= take;
  }
  return int32_t(copied);
}

int32_t DataReader::each_block(uint32_t first_block, uint32_t length, void (*visit)(void*, uint32_t),
                               void* context) {
  run_blocks_ = 0;
  uint32_t next = first_block;
  uint32_t left = first_block ? length : 0;
  while (next && left) {
    const uint8_t* block = block_at(next, blocks_for_bytes(left));
    if (!block || !has_magic(block, "DAT*")) return LMI_E_IO;
    uint32_t used = load_le16(block + kDataUsed);
    if (used == 0 || used > kPayloadPerBlock) return LMI_E_IO;
    visit(context, next);
    left = used >= left ? 0 : left - used;
    next = load_le32(block + kDataNext);
  }
  return 0;
}

}  // namespace ko

/*
 * data_reader.h: reading a stream back from its chain of data blocks.
 *
 * The reader fetches the run of blocks the stream most likely occupies (its
 * remaining length in blocks, from the current block on) in one read, then
 * follows the links in memory; only where a link leaves the run does it read
 * again. Every block is checked before use: its magic, a used count of 1 to
 * 502, a next link inside the file on a block boundary. The record's length
 * bounds the walk, so a looping chain ends too.
 *
 * Reads are plain positional reads, never a mapping of the file: another
 * handle (or process) may cut the file back at any time, and a reader must
 * then get an error code, not lose its process to a fault.
 */
#ifndef KOSHR_LIBRARY_DATA_READER_H
#define KOSHR_LIBRARY_DATA_READER_H

#include "library/header.h"
#include "library/pool_ref.h"
#include "platform/platform.h"

#include <cstdint>

namespace ko {

class DataReader {
 public:
  bool attach(const PoolRef& pool, os::FileHandle file, uint32_t base);
  void set_file_size(int64_t size) { file_size_ = size; }
  void begin(uint32_t first_block, uint32_t length);
  // Copies up to `count` bytes; the count copied (short at the end) or LMI_E_IO.
  int32_t read(void* out, uint32_t count);
  // Steps over `count` bytes.
  int32_t skip(uint32_t count) { return read(nullptr, count); }
  // Visits the offset of every block of the stream (for releasing it).
  // 0, or LMI_E_IO when the chain is malformed before its length is reached.
  int32_t each_block(uint32_t first_block, uint32_t length, void (*visit)(void*, uint32_t), void* context);
  uint32_t remaining() const { return remaining_; }

 private:
  const uint8_t* block_at(uint32_t offset, uint32_t blocks_wanted);

  PoolRef pool_;
  os::FileHandle file_ = os::kInvalidFile;
  uint32_t base_ = 0;
  int64_t file_size_ = 0;
  uint8_t first_run_[kBlockSize];
  uint8_t* run_ = nullptr;
  uint32_t run_capacity_ = 0;  // blocks
  uint32_t run_first_ = 0;     // offset of run_[0]
  uint32_t run_blocks_ = 0;
  uint32_t current_ = 0;       // offset of the block being read, 0 before the first
  uint32_t next_ = 0;
  uint32_t in_block_ = 0;      // bytes of the current block consumed
  uint32_t block_used_ = 0;
  uint32_t remaining_ = 0;
};

}  // namespace ko

#endif

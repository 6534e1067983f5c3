/*
 * data_writer.cpp: filling, placing and writing data blocks.
 */
#include "library/data_writer.h"

#include "library/block_io.h"
#include "library/data_block.h"
#include "library/magic.h"
#include "platform/byte_order.h"

#include <cstring>

namespace ko {

bool DataWriter::attach(const PoolRef& pool, os::FileHandle file, uint32_t buffer_bytes) {
  file_ = file;
  slots_ = buffer_bytes / kBlockSize ? buffer_bytes / kBlockSize : 1;
  blocks_ = pool.alloc_array<uint8_t>(size_t(slots_) * kBlockSize);
  offsets_ = pool.alloc_array<uint32_t>(slots_ + 1);
  used_ = 0;
  stream_open_ = false;
  return blocks_ && offsets_;
}

void DataWriter::begin_stream() {
  stream_open_ = true;
  stream_first_ = used_;
  stream_first_block_ = 0;
  stream_bytes_ = 0;
}

int32_t DataWriter::assign_offsets(uint32_t from, uint32_t extra, BitmapChain& bitmap, uint32_t* continuation) {
  uint32_t missing = extra;
  for (uint32_t i = from; i < used_; ++i) missing += offsets_[i] == 0;
  if (!missing) return 0;
  // The run goes into the spare tail of offsets_ one by one, so a partly
  // pre-placed stream stays in order.
  uint32_t first;
  int32_t rc = bitmap.allocate_run(missing, &first);
  if (rc) return rc;
  for (uint32_t i = from; i < used_; ++i) {
    if (offsets_[i] == 0) {
      offsets_[i] = first;
      first += kBlockSize;
    }
  }
  if (extra) *continuation = first;
  return 0;
}

void DataWriter::link(uint32_t from, uint32_t last_next) {
  for (uint32_t i = from; i < used_; ++i) {
    store_le32(blocks_ + size_t(i) * kBlockSize + kDataNext, i + 1 < used_ ? offsets_[i + 1] : last_next);
  }
}

int32_t DataWriter::write(const uint8_t* data, uint32_t size, BitmapChain& bitmap) {
  while (size) {
    uint8_t* block = used_ > stream_first_ ? blocks_ + size_t(used_ - 1) * kBlockSize : nullptr;
    uint32_t filled = block ? load_le16(block + kDataUsed) : kPayloadPerBlock;
    if (filled == kPayloadPerBlock) {
      uint32_t preplaced = 0;
      if (used_ == slots_) {
        // Full: place and link the stream so far, keeping one block for what follows.
        if (used_ > stream_first_) {
          int32_t rc = assign_offsets(stream_first_, 1, bitmap, &preplaced);
          if (rc) return rc;
          link(stream_first_, preplaced);
          if (!stream_first_block_) stream_first_block_ = offsets_[stream_first_];
        }
        int32_t rc = flush_until(used_);
        if (rc) return rc;
      }
      // Only the header is cleared here; a block left partly filled gets its
      // unused tail cleared when its stream finishes (finish_stream).
      block = blocks_ + size_t(used_) * kBlockSize;
      std::memset(block, 0, kDataHeaderSize);
      put_magic(block, "DAT*");
      offsets_[used_++] = preplaced;
      filled = 0;
    }
    uint32_t take = kPayloadPerBlock - filled < size ? kPayloadPerBlock - filled : size;
    std::memcpy(block + kDataHeaderSize + filled, data, take);
    store_le16(block + kDataUsed, uint16_t(filled + take));
    data += take;
    size -= take;
    stream_bytes_ += take;
  }
  return 0;
}

int32_t DataWriter::finish_stream(BitmapChain& bitmap, uint32_t* first_block) {
  stream_open_ = false;
  *first_block = stream_first_block_;
  if (used_ == stream_first_) return 0;
  uint8_t* last = blocks_ + size_t(used_ - 1) * kBlockSize;
  uint32_t filled = load_le16(last + kDataUsed);
  std::memset(last + kDataHeaderSize + filled, 0, kPayloadPerBlock - filled);
  uint32_t unused = 0;
  int32_t rc = assign_offsets(stream_first_, 0, bitmap, &unused);
  if (rc) return rc;
  link(stream_first_, 0);
  if (!*first_block) *first_block = offsets_[stream_first_];
  return 0;
}

void DataWriter::abandon_stream(BitmapChain& bitmap) {
  for (uint32_t i = stream_first_; i < used_; ++i) {
    if (offsets_[i]) bitmap.release(offsets_[i], 1);
  }
  used_ = stream_first_;
  stream_open_ = false;
}

int32_t DataWriter::flush() { return flush_until(stream_open_ ? stream_first_ : used_); }

int32_t DataWriter::flush_until(uint32_t end) {
  for (uint32_t i = 0; i < end;) {
    uint32_t j = i + 1;
    while (j < end && offsets_[j] == offsets_[j - 1] + kBlockSize) ++j;
    int32_t rc = library_write(file_, blocks_ + size_t(i) * kBlockSize, size_t(j - i) * kBlockSize, offsets_[i]);
    if (rc) return rc;
    i = j;
  }
  // An open stream's blocks move to the front and wait for their places.
  if (end && end < used_) {
    std::memmove(blocks_, blocks_ + size_t(end) * kBlockSize, size_t(used_ - end) * kBlockSize);
    std::memmove(offsets_, offsets_ + end, sizeof(uint32_t) * (used_ - end));
  }
  used_ -= end;
  stream_first_ = stream_first_ > end ? stream_first_ - end : 0;
  return 0;
}

}  // namespace ko

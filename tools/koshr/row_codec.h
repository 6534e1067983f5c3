/*
 * row_codec.h: cells in the compact binary form rows take on their way
 * between the two halves of an export, on disk (row_spool.h) and through a
 * pipe (export_process.h); one form, so both read what the other writes.
 *
 * A cell is a byte (0 missing, 1 present) and then, when present, what its
 * column's type keeps: a string as its length and UTF-16 units; a double, a
 * decimal or a date-time as its bytes, a date-time followed by its text.
 * The bytes go through small buffers, so the file or the pipe behind them
 * sees a few large writes and reads instead of one per value.
 */
#ifndef KOSHR_TOOL_ROW_CODEC_H
#define KOSHR_TOOL_ROW_CODEC_H

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "saveas_columns.h"

namespace koshr_tool {

// Bytes gathered into chunks for a sink that takes a whole chunk or fails.
class ByteOutput {
 public:
  using Sink = std::function<bool(const uint8_t* data, size_t size)>;
  ByteOutput(Sink sink, size_t chunk) : sink_(std::move(sink)), chunk_(chunk) {
    buffer_.reserve(chunk);
  }
  void put(const void* data, size_t size) {
    auto bytes = static_cast<const uint8_t*>(data);
    buffer_.insert(buffer_.end(), bytes, bytes + size);
    if (buffer_.size() >= chunk_) flush();
  }
  // Hands what is gathered to the sink; false once the sink has failed.
  bool flush();
  bool failed() const { return failed_; }

 private:
  Sink sink_;
  size_t chunk_;
  std::vector<uint8_t> buffer_;
  bool failed_ = false;
};

// Bytes read a chunk at a time from a source that returns how many it
// read, 0 at its end or on a failure.
class ByteInput {
 public:
  using Source = std::function<size_t(uint8_t* data, size_t capacity)>;
  ByteInput(Source source, size_t chunk) : source_(std::move(source)), buffer_(chunk) {}
  // Exactly `size` bytes; false when the source ends first.
  bool get(void* data, size_t size) {
    if (size <= end_ - at_) {
      std::memcpy(data, buffer_.data() + at_, size);
      at_ += size;
      return true;
    }
    return get_slowly(static_cast<uint8_t*>(data), size);
  }

 private:
  bool get_slowly(uint8_t* data, size_t size);

  Source source_;
  std::vector<uint8_t> buffer_;
  size_t at_ = 0, end_ = 0;
};

void put_cell(ByteOutput& out, const CellValue& cell, uint8_t type);
// False when the bytes end inside the cell or cannot be a cell.
bool get_cell(ByteInput& in, CellValue& cell, uint8_t type);

}  // namespace koshr_tool

#endif

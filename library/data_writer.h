/*
 * data_writer.h: the data write buffer, through which streams reach the file.
 *
 * The buffer holds up to `slots` data blocks (32 for the default 16 KB) and
 * one file offset a block. It is shared by the streams written one after
 * another through a handle: a finished stream's blocks get their offsets (from
 * the bitmap, contiguous where possible) and links at once, and wait in the
 * buffer until it is full or the handle commits, so that short entries written
 * in a row leave in one write. Data blocks always go to blocks the file does
 * not use yet, so writing them early can never harm what the directory shows.
 */
#ifndef KOSHR_LIBRARY_DATA_WRITER_H
#define KOSHR_LIBRARY_DATA_WRITER_H

#include "library/bitmap.h"
#include "library/pool_ref.h"
#include "platform/platform.h"

#include <cstdint>

namespace ko {

class DataWriter {
 public:
  bool attach(const PoolRef& pool, os::FileHandle file, uint32_t buffer_bytes);
  void begin_stream();
  // Appends bytes to the open stream; 0 or a negative code.
  int32_t write(const uint8_t* data, uint32_t size, BitmapChain& bitmap);
  // Gives the open stream's blocks their offsets; its first block (0 when
  // empty) goes to *first_block.
  int32_t finish_stream(BitmapChain& bitmap, uint32_t* first_block);
  // Gives back the open stream's unwritten blocks (the stream is abandoned).
  void abandon_stream(BitmapChain& bitmap);
  // Writes every finished block in the buffer.
  int32_t flush();
  bool holds_finished_blocks() const { return (stream_open_ ? stream_first_ : used_) > 0; }
  uint32_t stream_bytes() const { return stream_bytes_; }

 private:
  int32_t assign_offsets(uint32_t from, uint32_t extra, BitmapChain& bitmap,
                         uint32_t* continuation);
  void link(uint32_t from, uint32_t last_next);
  int32_t flush_until(uint32_t end);

  os::FileHandle file_ = os::kInvalidFile;
  uint8_t* blocks_ = nullptr;
  uint32_t* offsets_ = nullptr;  // 0 while a block has no place yet
  uint32_t slots_ = 0;
  uint32_t used_ = 0;          // blocks in the buffer
  uint32_t stream_first_ = 0;  // first slot of the open stream
  uint32_t stream_first_block_ = 0;
  uint32_t stream_bytes_ = 0;
  bool stream_open_ = false;
};

}  // namespace ko

#endif

/*
 * bitmap.h: the free-space bitmap chain ("FRE*" blocks).
 *
 *   0  4    "FRE*"
 *   4  4    offset of the next bitmap block (0 = last)
 *   8  504  4032 bits, most significant bit first; a set bit is a block in use
 *
 * The k-th block of the chain (k from 0) covers blocks k*4032+1 .. (k+1)*4032,
 * block n being the block at base + (n-1)*512. The first bitmap block is the
 * library's block 3; each later one sits in the first block of its own range
 * and marks itself used.
 *
 * The chain is read once, on the first allocation, and kept in memory; changed
 * blocks are written back by write_dirty(), new blocks before the older ones
 * that link to them.
 */
#ifndef KOSHR_LIBRARY_BITMAP_H
#define KOSHR_LIBRARY_BITMAP_H

#include "library/header.h"
#include "library/pool_ref.h"
#include "platform/platform.h"

#include <cstdint>

namespace ko {

constexpr uint32_t kBitmapNext = 4;         // offset of the next bitmap block
constexpr uint32_t kBitmapBits = 8;         // the bits
constexpr uint32_t kBitmapBitsBytes = kBlockSize - kBitmapBits;
constexpr uint32_t kBitsPerBitmap = kBitmapBitsBytes * 8;
static_assert(kBitsPerBitmap == 4032, "the bits of one bitmap block");
constexpr uint32_t kBitmapRangeBytes = kBitsPerBitmap * kBlockSize;  // 0x1F8000

void init_bitmap_block(uint8_t* block);
// Marks blocks 1..n of a bitmap block used, as a fresh library does (n <= 4032).
void mark_first_blocks(uint8_t* block, uint32_t n);

class BitmapChain {
 public:
  void attach(const PoolRef& pool, os::FileHandle file, uint32_t base, uint8_t* first_block);
  // Reads the rest of the chain; LMI_E_IO when it is unreadable or malformed.
  int32_t load();
  bool loaded() const { return loaded_; }

  // n blocks for data: contiguous where the free space allows, else scattered.
  // The absolute offsets go to `offsets`. 0 or a negative code.
  int32_t allocate(uint32_t count, uint32_t* offsets);
  // n contiguous blocks (a node); the absolute offset of the first.
  int32_t allocate_run(uint32_t count, uint32_t* offset);
  // Releases (toggles) the blocks of a run.
  void release(uint32_t offset, uint32_t count);
  bool in_use(uint32_t offset) const;

  int32_t write_dirty();
  // Called before a run is handed out whose end lies beyond `guarded` (and
  // the run is refused when the guard fails); the guard answers the new
  // guarded end. A library in a host file keeps its trailer beyond every
  // block it may write this way.
  using GrowthGuard = int32_t (*)(void* context, uint64_t end, uint64_t* guarded);
  void guard_growth(GrowthGuard guard, void* context, uint64_t guarded) {
    guard_ = guard;
    guard_context_ = context;
    guarded_ = guarded;
  }
  // The end (absolute offset) of the last block in use.
  uint64_t used_end() const;
  // Blocks covered and in use, the number of bitmap blocks.
  void count(uint32_t* covered, uint32_t* used, uint32_t* bitmaps) const;
  // Unlinks trailing bitmap blocks that mark nothing but themselves.
  int32_t trim_empty_tail();

 private:
  struct Block {
    uint32_t offset;
    uint8_t* bytes;
    bool dirty;
    bool fresh;
  };
  bool bit(uint32_t number) const;
  void flip(uint32_t number);
  bool free_for_data(uint32_t number) const;
  int32_t cover(uint32_t number);
  uint32_t to_number(uint32_t offset) const { return (offset - base_) / kBlockSize + 1; }
  uint32_t to_offset(uint32_t number) const { return base_ + (number - 1) * kBlockSize; }
  uint32_t limit() const;
  bool grow_blocks();

  PoolRef pool_;
  os::FileHandle file_ = os::kInvalidFile;
  uint32_t base_ = 0;
  static constexpr uint32_t kFirstBlocks = 8;
  Block first_blocks_[kFirstBlocks];
  Block* blocks_ = nullptr;
  uint32_t count_ = 0;
  uint32_t capacity_ = 0;
  uint32_t search_from_ = 1;
  bool loaded_ = false;
  GrowthGuard guard_ = nullptr;
  void* guard_context_ = nullptr;
  uint64_t guarded_ = 0;
};

}  // namespace ko

#endif

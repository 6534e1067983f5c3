/*
 * bitmap.cpp: reading, allocating from and writing the bitmap chain.
 */
#include "library/bitmap.h"

#include <koshr/library.h>

#include "library/block_io.h"
#include "library/magic.h"
#include "platform/byte_order.h"

#include <cstring>

namespace ko {

void init_bitmap_block(uint8_t* block) {
  std::memset(block, 0, kBlockSize);
  put_magic(block, "FRE*");
}

void mark_first_blocks(uint8_t* block, uint32_t n) {
  uint8_t* bits = block + kBitmapBits;
  uint32_t whole = n / 8;
  std::memset(bits, 0xFF, whole);
  if (n % 8) bits[whole] = uint8_t(0xFF00 >> (n % 8));
}

void BitmapChain::attach(const PoolRef& pool, os::FileHandle file, uint32_t base, uint8_t* first_block) {
  pool_ = pool;
  file_ = file;
  base_ = base;
  blocks_ = nullptr;
  count_ = capacity_ = 0;
  search_from_ = 1;
  loaded_ = false;
  // The first blocks' entries live in the chain itself: a library under
  // 16 MB never allocates for them.
  capacity_ = kFirstBlocks;
  blocks_ = first_blocks_;
  blocks_[0] = {base + 1024, first_block, false, false};
  count_ = 1;
}

bool BitmapChain::grow_blocks() {
  auto* grown = pool_.alloc_array<Block>(size_t(capacity_) * 2);
  if (!grown) return false;
  std::memcpy(grown, blocks_, sizeof(Block) * count_);
  if (blocks_ != first_blocks_) pool_.free(blocks_);
  blocks_ = grown;
  capacity_ *= 2;
  return true;
}

uint32_t BitmapChain::limit() const { return (0xFFFFFFFFu - base_) / kBlockSize; }

int32_t BitmapChain::load() {
  if (loaded_) return 0;
  if (!blocks_) return LMI_E_IO;
  int64_t size = os::file_size(file_);
  uint32_t next = load_le32(blocks_[0].bytes + kBitmapNext);
  while (next) {
    // The k-th block sits inside the file, on a block boundary, and the chain
    // cannot be longer than the file has ranges.
    bool sane = next > base_ && (next - base_) % kBlockSize == 0 && int64_t(next) + kBlockSize <= size &&
                uint64_t(count_) * kBitmapRangeBytes < uint64_t(size) + kBitmapRangeBytes;
    if (!sane) return LMI_E_IO;
    if (count_ == capacity_ && !grow_blocks()) return LMI_E_IO;
    uint8_t* bytes = pool_.alloc_array<uint8_t>(kBlockSize);
    if (!bytes || library_read_exact(file_, bytes, kBlockSize, next) != 0 || !has_magic(bytes, "FRE*")) return LMI_E_IO;
    blocks_[count_++] = {next, bytes, false, false};
    next = load_le32(bytes + kBitmapNext);
  }
  loaded_ = true;
  return 0;
}

bool BitmapChain::bit(uint32_t number) const {
  uint32_t k = (number - 1) / kBitsPerBitmap;
  if (k >= count_) return false;
  uint32_t i = (number - 1) % kBitsPerBitmap;
  return (blocks_[k].bytes[kBitmapBits + i / 8] >> (7 - i % 8)) & 1;
}

void BitmapChain::flip(uint32_t number) {
  uint32_t k = (number - 1) / kBitsPerBitmap;
  uint32_t i = (number - 1) % kBitsPerBitmap;
  blocks_[k].bytes[kBitmapBits + i / 8] ^= uint8_t(0x80 >> (i % 8));
  blocks_[k].dirty = true;
}

bool BitmapChain::in_use(uint32_t offset) const {
  if (offset < base_ || (offset - base_) % kBlockSize) return false;
  return bit(to_number(offset));
}

// Beyond the chain everything is free except the first block of each range,
// kept for that range's bitmap block.
bool BitmapChain::free_for_data(uint32_t number) const {
  uint32_t k = (number - 1) / kBitsPerBitmap;
  if (k >= count_) return (number - 1) % kBitsPerBitmap != 0;
  return !bit(number);
}

int32_t BitmapChain::cover(uint32_t number) {
  while (uint64_t(count_) * kBitsPerBitmap < number) {
    if (count_ == capacity_ && !grow_blocks()) return LMI_E_DISK_FULL;
    uint8_t* bytes = pool_.alloc_array<uint8_t>(kBlockSize);
    if (!bytes) return LMI_E_DISK_FULL;
    init_bitmap_block(bytes);
    mark_first_blocks(bytes, 1);
    uint32_t offset = to_offset(count_ * kBitsPerBitmap + 1);
    store_le32(blocks_[count_ - 1].bytes + kBitmapNext, offset);
    blocks_[count_ - 1].dirty = true;
    blocks_[count_++] = {offset, bytes, true, true};
  }
  return 0;
}

int32_t BitmapChain::allocate_run(uint32_t count, uint32_t* offset) {
  int32_t rc = load();
  if (rc) return rc;
  uint32_t max = limit();
  uint32_t run_start = 0, run = 0, first_free = 0;
  for (uint32_t n = search_from_; n <= max; ++n) {
    uint32_t k = (n - 1) / kBitsPerBitmap, i = (n - 1) % kBitsPerBitmap;
    if (run == 0 && i % 8 == 0 && k < count_ && blocks_[k].bytes[kBitmapBits + i / 8] == 0xFF) {
      n += 7;  // a full byte: eight blocks in use
      continue;
    }
    if (!free_for_data(n)) {
      run = 0;
      continue;
    }
    if (!first_free) first_free = n;
    if (run++ == 0) run_start = n;
    if (run == count) {
      uint64_t end = uint64_t(to_offset(run_start + count - 1)) + kBlockSize;
      if (guard_ && end > guarded_ && (rc = guard_(guard_context_, end, &guarded_)) != 0) return rc;
      rc = cover(run_start + count - 1);
      if (rc) return rc;
      for (uint32_t b = run_start; b < run_start + count; ++b) flip(b);
      search_from_ = first_free == run_start ? run_start + count : first_free;
      *offset = to_offset(run_start);
      return 0;
    }
  }
  return LMI_E_DISK_FULL;
}

int32_t BitmapChain::allocate(uint32_t count, uint32_t* offsets) {
  uint32_t first;
  int32_t rc = allocate_run(count, &first);
  if (rc) return rc;
  for (uint32_t i = 0; i < count; ++i) offsets[i] = first + i * kBlockSize;
  return 0;
}

void BitmapChain::release(uint32_t offset, uint32_t count) {
  if (offset < base_ || (offset - base_) % kBlockSize) return;
  uint32_t number = to_number(offset);
  for (uint32_t n = number; n < number + count; ++n) {
    if ((n - 1) / kBitsPerBitmap >= count_) return;
    flip(n);
  }
  if (number < search_from_) search_from_ = number;
}

int32_t BitmapChain::write_dirty() {
  for (uint32_t k = 0; k < count_; ++k) {
    Block& b = blocks_[k];
    if (!b.fresh) continue;
    int32_t rc = library_write(file_, b.bytes, kBlockSize, b.offset);
    if (rc) return rc;
    b.fresh = false;
    b.dirty = false;
  }
  for (uint32_t k = count_; k-- > 0;) {
    Block& b = blocks_[k];
    if (!b.dirty) continue;
    int32_t rc = library_write(file_, b.bytes, kBlockSize, b.offset);
    if (rc) return rc;
    b.dirty = false;
  }
  return 0;
}

uint64_t BitmapChain::used_end() const {
  for (uint32_t k = count_; k-- > 0;) {
    const uint8_t* bits = blocks_[k].bytes + kBitmapBits;
    for (uint32_t i = kBitmapBitsBytes; i-- > 0;) {
      if (bits[i])
        return uint64_t(to_offset(k * kBitsPerBitmap + i * 8 + 8 - __builtin_ctz(bits[i]))) + kBlockSize;
    }
  }
  return base_;
}

void BitmapChain::count(uint32_t* covered, uint32_t* used, uint32_t* bitmaps) const {
  uint32_t in_use = 0;
  for (uint32_t k = 0; k < count_; ++k) {
    for (uint32_t i = kBitmapBits; i < kBlockSize; ++i) in_use += uint32_t(__builtin_popcount(blocks_[k].bytes[i]));
  }
  *covered = count_ * kBitsPerBitmap;
  *used = in_use;
  *bitmaps = count_;
}

int32_t BitmapChain::trim_empty_tail() {
  int32_t rc = load();
  if (rc) return rc;
  while (count_ > 1) {
    const uint8_t* bits = blocks_[count_ - 1].bytes + kBitmapBits;
    bool only_itself = bits[0] == 0x80;
    for (uint32_t i = 1; only_itself && i < kBitmapBitsBytes; ++i) only_itself = bits[i] == 0;
    if (!only_itself) break;
    --count_;
    store_le32(blocks_[count_ - 1].bytes + kBitmapNext, 0);
    blocks_[count_ - 1].dirty = true;
  }
  return write_dirty();
}

}  // namespace ko

/*
 * lmi_library_optimize.cpp: LMI_OptimizeLibrary, a library rewritten into the most
 * compact form its format allows.
 *
 * The new file is laid out in full before a byte is written: the header,
 * the first bitmap block and the root where they always are, then every
 * other directory node, then the source-control data and every entry's data
 * in name order, each chain in one run of blocks. Entries fill the nodes in
 * name order, each node as full as it goes; the nodes form a balanced tree
 * (each node's left subtree holds the names before its own, the right subtree
 * those after), so a lookup reads at most about log2 of the node count nodes.
 * Records keep every field but the data start (name, version, time stamp,
 * comment length, data length); the header keeps its own (comment, type,
 * time stamp). What the old file marked used and nothing referenced is not
 * carried over.
 *
 * A library in a host file keeps its host: the bytes before the library are
 * copied as they are, and the library keeps its base; a certificate table
 * after the trailer is dropped and its directory entry cleared, as any write
 * does. The new file is written beside the old one, synced, and renamed over
 * it only when complete; on any failure it is deleted and the old file stays.
 */
#include <koshr/library.h>

#include "library/bitmap.h"
#include "library/block_io.h"
#include "library/data_block.h"
#include "library/entry_name.h"
#include "library/exe_trailer.h"
#include "library/handle_lifecycle.h"
#include "library/listing.h"
#include "library/magic.h"
#include "library/node.h"
#include "platform/byte_order.h"
#include "platform/utf16.h"

#include <algorithm>
#include <cstring>

using namespace ko;

namespace {

constexpr uint32_t kBatchBlocks = 64;  // data blocks written in one call
constexpr size_t kCopyChunk = 65536;

// Block numbers count from 1 at the library's base; the first block of every
// bitmap range after the first holds that range's bitmap block.
bool holds_bitmap(uint32_t number) {
  return number > kBitsPerBitmap && (number - 1) % kBitsPerBitmap == 0;
}

// Hands out blocks from the front of the new file, in order, and marks them.
class Layout {
 public:
  explicit Layout(const PoolRef& pool) : pool_(pool) {}
  ~Layout() { pool_.free(marks_); }

  // Marks blocks 1..n (header, first bitmap block, root).
  bool reserve_front(uint32_t n) {
    for (uint32_t b = 1; b <= n; ++b) {
      if (!mark(b)) return false;
    }
    next_ = n + 1;
    return true;
  }
  // A run of `count` blocks; a run that fits in one bitmap range never
  // straddles a bitmap block (it starts after it instead), a longer one steps
  // over them. The first block's number, 0 when the format has no room.
  uint32_t take(uint32_t count) {
    uint32_t first = holds_bitmap(next_) ? next_ + 1 : next_;
    if (count < kBitsPerBitmap) {
      uint32_t range_end =
          ((first - 1) / kBitsPerBitmap + 1) * kBitsPerBitmap;  // last block of the range
      if (uint64_t(first) + count - 1 > range_end) first = range_end + 2;
    }
    uint32_t b = first;
    for (uint32_t i = 0; i < count; ++i, b = after(b)) {
      if (uint64_t(b) * kBlockSize + base_ > 0xFFFFFFFFull || !mark(b)) return 0;
    }
    next_ = b;
    return first;
  }
  static uint32_t after(uint32_t number) {
    return holds_bitmap(number + 1) ? number + 2 : number + 1;
  }

  void set_base(uint32_t base) { base_ = base; }
  uint32_t offset(uint32_t number) const { return base_ + (number - 1) * kBlockSize; }
  // The highest block in use, and the bitmap ranges up to it.
  uint32_t last_block() const { return last_; }
  uint32_t used_ranges() const { return (last_ - 1) / kBitsPerBitmap + 1; }
  // The 504 bitmap bytes of range k.
  const uint8_t* bits(uint32_t k) const { return marks_ + size_t(k) * kBitmapBitsBytes; }

 private:
  bool mark(uint32_t number) {
    uint32_t k = (number - 1) / kBitsPerBitmap, i = (number - 1) % kBitsPerBitmap;
    while (k >= ranges_) {
      uint32_t ranges = ranges_ ? ranges_ * 2 : 4;
      void* grown = pool_.grow(marks_, size_t(ranges) * kBitmapBitsBytes);
      if (!grown) return false;
      marks_ = static_cast<uint8_t*>(grown);
      std::memset(marks_ + size_t(ranges_) * kBitmapBitsBytes, 0, size_t(ranges - ranges_) * kBitmapBitsBytes);
      // A range in use has its bitmap block, in its first block.
      for (uint32_t r = ranges_; r < ranges; ++r) marks_[size_t(r) * kBitmapBitsBytes] = r ? 0x80 : 0;
      ranges_ = ranges;
    }
    marks_[size_t(k) * kBitmapBitsBytes + i / 8] |= uint8_t(0x80 >> (i % 8));
    last_ = number > last_ ? number : last_;
    return true;
  }

  PoolRef pool_;
  uint8_t* marks_ = nullptr;
  uint32_t ranges_ = 0;
  uint32_t next_ = 1;
  uint32_t last_ = 1;
  uint32_t base_ = 0;
};

struct Optimizer {
  LmiLibrary* lib;
  os::FileHandle out;
  PoolRef pool;
  NodeGeometry g;
  Layout layout;
  EntryRef* entries = nullptr;
  uint32_t count = 0;
  uint32_t* starts = nullptr;       // new first block of each entry's data (block numbers)
  uint32_t* group_first = nullptr;  // first entry of each node, and `count` after the last
  uint32_t* node_at = nullptr;      // block number of each node
  uint32_t nodes = 0;
  uint32_t scc_start = 0, scc_length = 0;
  uint8_t* batch = nullptr;

  Optimizer(LmiLibrary* l, os::FileHandle file)
      : lib(l), out(file), pool(l->pool), g(l->geometry), layout(l->pool) {}
  ~Optimizer() {
    pool.free(entries);
    pool.free(starts);
    pool.free(group_first);
    pool.free(node_at);
    pool.free(batch);
  }

  int32_t run() {
    size_t units = 0;
    int32_t rc = collect_entries(lib, &entries, &count, &units);
    if (rc) return rc;
    std::sort(entries, entries + count, [](const EntryRef& a, const EntryRef& b) {
      return compare_names_exact(a.name(), a.name_units(), b.name(), b.name_units()) < 0;
    });
    starts = pool.alloc_array<uint32_t>(count + 1);
    group_first = pool.alloc_array<uint32_t>(count + 2);
    node_at = pool.alloc_array<uint32_t>(count + 1);
    batch = pool.alloc_array<uint8_t>(size_t(kBatchBlocks) * kBlockSize);
    if (!starts || !group_first || !node_at || !batch) return LMI_E_DISK_FULL;
    if ((rc = plan()) != 0) return rc;
    if ((rc = copy_host()) != 0) return rc;
    if ((rc = write_nodes()) != 0) return rc;
    if (scc_length &&
        (rc = copy_chain(load_le32(lib->header + kHeaderSccStart), scc_length, scc_start)) != 0)
      return rc;
    for (uint32_t i = 0; i < count && rc == 0; ++i)
      rc = copy_chain(entries[i].start(), entries[i].length(), starts[i]);
    if (rc == 0) rc = write_front();
    if (rc == 0) rc = write_bitmaps();
    if (rc == 0 && lib->in_host) {
      uint8_t trailer[kBlockSize];
      build_trailer(trailer, lib->base);
      rc = library_write(out, trailer, kBlockSize, uint64_t(layout.offset(layout.last_block())) + kBlockSize);
    }
    return rc;
  }

  // Places everything: nodes, the source-control chain, the entries' chains.
  int32_t plan() {
    layout.set_base(lib->base);
    uint32_t node_blocks = g.node_size / kBlockSize;
    if (!layout.reserve_front(3 + node_blocks)) return LMI_E_DISK_FULL;
    uint32_t used = 0;
    for (uint32_t i = 0; i < count; ++i) {
      uint32_t size = kRecordHeaderSize + 2 * entries[i].name_units();
      if (i == 0 || used + size > g.capacity) {
        group_first[nodes++] = i;
        used = 0;
      }
      used += size;
    }
    group_first[nodes] = count;
    uint32_t root = nodes / 2;
    for (uint32_t n = 0; n < nodes; ++n) {
      node_at[n] = n == root ? 4 : layout.take(node_blocks);
      if (!node_at[n]) return LMI_E_DISK_FULL;
    }
    scc_length = source_control_length();
    if (scc_length && !(scc_start = layout.take(blocks_for_bytes(scc_length))))
      return LMI_E_DISK_FULL;
    for (uint32_t i = 0; i < count; ++i) {
      uint32_t length = entries[i].length();
      starts[i] = length ? layout.take(blocks_for_bytes(length)) : 0;
      if (length && !starts[i]) return LMI_E_DISK_FULL;
    }
    return 0;
  }

  // The source-control stream, when there is one the library would read.
  uint32_t source_control_length() {
    uint32_t first = load_le32(lib->header + kHeaderSccStart),
             length = load_le32(lib->header + kHeaderSccLength);
    if (!first || length < 4) return 0;
    uint8_t magic[4];
    lib->reader.begin(first, length);
    return lib->reader.read(magic, 4) == 4 && has_magic(magic, "SCC*") ? length : 0;
  }

  // The host's bytes before the library, its certificate entry cleared.
  int32_t copy_host() {
    if (!lib->base) return 0;
    uint8_t* chunk = pool.alloc_array<uint8_t>(kCopyChunk);
    if (!chunk) return LMI_E_DISK_FULL;
    int32_t rc = 0;
    for (uint64_t at = 0; rc == 0 && at < lib->base;) {
      size_t size = lib->base - at < kCopyChunk ? size_t(lib->base - at) : kCopyChunk;
      rc = library_read_exact(lib->file, chunk, size, at);
      if (rc == 0) rc = library_write(out, chunk, size, at);
      at += size;
    }
    pool.free(chunk);
    LibraryPlace place = locate_library(lib->file);
    if (rc == 0 && place.certificates && place.certificate_entry &&
        place.certificate_entry + 8 <= lib->base) {
      static const uint8_t kNone[8] = {};
      rc = library_write(out, kNone, sizeof kNone, place.certificate_entry);
    }
    return rc;
  }

  // Node n's subtree covers nodes [lo, hi); its root is the middle one.
  uint32_t subtree(uint32_t lo, uint32_t hi) const {
    return lo < hi ? node_at[lo + (hi - lo) / 2] : 0;
  }

  int32_t write_nodes() {
    uint8_t node[3072];
    int32_t rc = 0;
    struct Span {
      uint32_t lo, hi, parent;
    };
    // Depth-first over the spans; the stack never holds more than the depth plus one per level.
    Span stack[64];
    uint32_t depth = 0;
    if (nodes) stack[depth++] = {0, nodes, 0};
    while (depth && rc == 0) {
      Span s = stack[--depth];
      uint32_t mid = s.lo + (s.hi - s.lo) / 2;
      init_node(node, g, s.parent ? layout.offset(s.parent) : 0);
      uint32_t left = subtree(s.lo, mid), right = subtree(mid + 1, s.hi);
      store_le32(node + kNodeLeft, left ? layout.offset(left) : 0);
      store_le32(node + kNodeRight, right ? layout.offset(right) : 0);
      uint8_t record[kRecordHeaderSize + 2 * (LMI_MAX_NAME + 1)];
      for (uint32_t i = group_first[mid]; i < group_first[mid + 1]; ++i) {
        uint32_t size = kRecordHeaderSize + 2 * entries[i].name_units();
        std::memcpy(record, entries[i].bytes(), size);
        store_le32(record + kRecordStart, starts[i] ? layout.offset(starts[i]) : 0);
        append_record_copy(node, g, record);
      }
      if (mid == nodes / 2 && s.lo == 0 && s.hi == nodes) {
        std::memcpy(root_, node, g.node_size);  // written with the header
      } else {
        rc = library_write(out, node, g.node_size, layout.offset(node_at[mid]));
      }
      if (mid + 1 < s.hi) stack[depth++] = {mid + 1, s.hi, node_at[mid]};
      if (s.lo < mid) stack[depth++] = {s.lo, mid, node_at[mid]};
    }
    if (!nodes) init_node(root_, g, 0);
    return rc;
  }

  // Copies a stream into its run of blocks, linked one after the other.
  int32_t copy_chain(uint32_t from, uint32_t length, uint32_t first) {
    lib->reader.begin(from, length);
    uint32_t blocks = blocks_for_bytes(length), in_batch = 0, batch_first = first, b = first;
    for (uint32_t i = 0; i < blocks; ++i) {
      uint8_t* block = batch + size_t(in_batch) * kBlockSize;
      uint32_t used = length - i * kPayloadPerBlock < kPayloadPerBlock
                          ? length - i * kPayloadPerBlock
                          : kPayloadPerBlock;
      std::memset(block, 0, kBlockSize);
      put_magic(block, "DAT*");
      uint32_t next = Layout::after(b);
      store_le32(block + kDataNext, i + 1 < blocks ? layout.offset(next) : 0);
      store_le16(block + kDataUsed, uint16_t(used));
      if (lib->reader.read(block + kDataHeaderSize, used) != int32_t(used)) return LMI_E_IO;
      ++in_batch;
      // A batch goes out when full, at the end, or where the run steps over a bitmap block.
      if (in_batch == kBatchBlocks || i + 1 == blocks || next != b + 1) {
        int32_t rc = library_write(out, batch, size_t(in_batch) * kBlockSize, layout.offset(batch_first));
        if (rc) return rc;
        in_batch = 0;
        batch_first = next;
      }
      b = next;
    }
    return 0;
  }

  // Header, first bitmap block and root in one write.
  int32_t write_front() {
    uint8_t front[kHeaderBufferSize];
    std::memcpy(front, lib->header, kHeaderSize);
    store_le32(front + kHeaderSccStart, scc_start ? layout.offset(scc_start) : 0);
    store_le32(front + kHeaderSccLength, scc_length);
    bitmap_block(front + kFirstBitmapOffset, 0);
    std::memcpy(front + kRootOffset, root_, g.node_size);
    return library_write(out, front, kRootOffset + g.node_size, lib->base);
  }

  void bitmap_block(uint8_t* block, uint32_t k) {
    init_bitmap_block(block);
    std::memcpy(block + kBitmapBits, layout.bits(k), kBitmapBitsBytes);
    uint32_t next = k + 1 < layout.used_ranges() ? layout.offset((k + 1) * kBitsPerBitmap + 1) : 0;
    store_le32(block + kBitmapNext, next);
  }

  int32_t write_bitmaps() {
    uint8_t block[kBlockSize];
    for (uint32_t k = 1; k < layout.used_ranges(); ++k) {
      bitmap_block(block, k);
      int32_t rc = library_write(out, block, kBlockSize, layout.offset(k * kBitsPerBitmap + 1));
      if (rc) return rc;
    }
    return 0;
  }

  uint8_t root_[3072];
};

// Counts the findings that are more than leaked blocks.
void count_damage(void* context, int severity, const char*) {
  if (severity != LMI_CHECK_LEAKED) ++*static_cast<int32_t*>(context);
}

}  // namespace

KOSHR_API int32_t LMI_OptimizeLibrary(KostgContext* pool, const KOCHAR* path) {
  if (!path || !library_path_fits(path)) return LMI_E_NAME;
  if (!pool) return LMI_E_NO_POOL;
  // A damaged library is left as it is: rewriting it could only carry the
  // damage over or lose what the damage hides.
  int32_t damage = 0;
  int32_t rc = LMI_CheckLibrary(pool, path, &count_damage, &damage);
  if (rc < 0) return rc;
  if (damage) return LMI_E_IO;
  static const KOCHAR kSuffix[] = u".optimizing";
  if (u16len(path) + u16len(kSuffix) >= kMaxLibraryPath) return LMI_E_NAME;
  KOCHAR temp[kMaxLibraryPath];
  u16lcpy(temp, path, kMaxLibraryPath);
  u16lcat(temp, kSuffix, kMaxLibraryPath);
  LmiLibrary* lib = open_handle(pool, path, LMI_MODE_READ, 0);
  if (!lib) return LMI_E_NO_HANDLE;
  os::FileHandle out =
      os::file_open(temp, os::kFileRead | os::kFileWrite | os::kFileCreate | os::kFileTruncate);
  if (out == os::kInvalidFile) {
    close_handle(lib);
    return LMI_E_CREATE_FAILED;
  }
  {
    Optimizer o(lib, out);
    rc = o.run();
  }
  if (rc == 0 && !os::file_flush(out)) rc = LMI_E_IO;
  os::file_close(out);
  close_handle(lib);
  if (rc == 0 && !os::file_rename(temp, path)) rc = LMI_E_IO;
  if (rc) os::file_delete(temp);
  return rc;
}

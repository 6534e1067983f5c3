/*
 * lmi_library_check.cpp: LMI_CheckLibrary, the verification of a whole library file.
 *
 * The file is read once, front to back, into memory; then every structure is
 * walked there: the header, the bitmap chain, the tree of nodes (each node
 * well formed, each name on the path a search takes to it), every data chain
 * against its record, and the source-control chain. Each block may belong to
 * one structure only, and the bitmap must mark exactly the blocks in use.
 * Blocks marked used that nothing references are reported apart (severity
 * LMI_CHECK_LEAKED): a write that failed half-way may leave such blocks, and
 * they harm nothing.
 */
#include <koshr/library.h>

#include "library/bitmap.h"
#include "library/data_block.h"
#include "library/entry_name.h"
#include "library/exe_trailer.h"
#include "library/handle_lifecycle.h"
#include "library/header.h"
#include "library/magic.h"
#include "library/node.h"
#include "library/pool_ref.h"
#include "platform/byte_order.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

using namespace ko;

namespace {

constexpr uint32_t kReadChunk = 1 << 20;

struct Bound {
  const KOCHAR* name = nullptr;  // null: no bound
  uint32_t units = 0;
};

struct Checker {
  PoolRef pool;
  LMI_CHECK_REPORT report;
  void* context;
  int32_t findings = 0;
  const uint8_t* file = nullptr;  // the library, from its base
  uint32_t base = 0;
  uint32_t blocks = 0;            // whole blocks in the file from the base
  uint8_t* claimed = nullptr;     // one byte a block: 1 when a structure owns it
  NodeGeometry g{};

  void finding(int severity, const char* format, ...) {
    char text[256];
    va_list args;
    va_start(args, format);
    std::vsnprintf(text, sizeof text, format, args);
    va_end(args);
    ++findings;
    if (report) report(context, severity, text);
  }

  // Whether `count` blocks at an absolute offset lie in the file, on block boundaries.
  bool inside(uint32_t offset, uint32_t count) const {
    return offset >= base && (offset - base) % kBlockSize == 0 && (offset - base) / kBlockSize + uint64_t(count) <= blocks;
  }
  const uint8_t* at(uint32_t offset) const { return file + (offset - base); }

  // Claims blocks for a structure; false when they are out of the file or taken.
  bool claim(uint32_t offset, uint32_t count, const char* what) {
    if (!inside(offset, count)) {
      finding(LMI_CHECK_DAMAGE, "%s at 0x%08x lies outside the file", what, offset);
      return false;
    }
    uint32_t first = (offset - base) / kBlockSize;
    for (uint32_t i = first; i < first + count; ++i) {
      if (claimed[i]) {
        finding(LMI_CHECK_DAMAGE, "%s at 0x%08x: block %u is used twice", what, offset, i + 1);
        return false;
      }
    }
    std::memset(claimed + first, 1, count);
    return true;
  }
};

void check_chain(Checker& c, uint32_t first, uint32_t length, const char* what, const KOCHAR* name) {
  char label[128];
  std::snprintf(label, sizeof label, "%s", what);
  if (name) {
    size_t n = std::strlen(label);
    std::snprintf(label + n, sizeof label - n, " '");
    n = std::strlen(label);
    for (size_t i = 0; name[i] && n + 2 < sizeof label; ++i) label[n++] = name[i] < 128 ? char(name[i]) : '?';
    label[n++] = '\'';
    label[n] = 0;
  }
  if (!first) {
    if (length) c.finding(LMI_CHECK_DAMAGE, "%s: %u bytes recorded but no data", label, length);
    return;
  }
  uint32_t seen = 0, next = first;
  while (next) {
    if (!c.claim(next, 1, label)) return;
    const uint8_t* block = c.at(next);
    uint32_t used = load_le16(block + kDataUsed);
    if (!has_magic(block, "DAT*") || used == 0 || used > kPayloadPerBlock) {
      c.finding(LMI_CHECK_DAMAGE, "%s: malformed data block at 0x%08x", label, next);
      return;
    }
    seen += used;
    next = load_le32(block + kDataNext);
    if (next && used != kPayloadPerBlock)
      c.finding(LMI_CHECK_DAMAGE, "%s: partly filled block at 0x%08x inside the chain", label, next);
    if (seen > length) break;
  }
  if (seen != length) c.finding(LMI_CHECK_DAMAGE, "%s: the chain holds %u bytes, the record says %u", label, seen, length);
}

void check_node_records(Checker& c, uint32_t offset, const uint8_t* node, const Bound& above, const Bound& below) {
  if (!load_le16(node + kNodeLowest)) return;
  uint32_t pos = 0;
  Record r;
  Record lowest = record_at(node, record_of_name(load_le16(node + kNodeLowest)));
  Record highest = record_at(node, record_of_name(load_le16(node + kNodeHighest)));
  while (next_record(node, c.g, &pos, &r)) {
    if (below.name && compare_names_exact(r.name, r.name_units, below.name, below.units) >= 0)
      c.finding(LMI_CHECK_DAMAGE, "node at 0x%08x: a name does not sort below its ancestor's lowest", offset);
    if (above.name && compare_names_nocase(r.name, r.name_units, above.name, above.units) <= 0)
      c.finding(LMI_CHECK_DAMAGE, "node at 0x%08x: a name does not sort above its ancestor's highest", offset);
    if (compare_names_exact(r.name, r.name_units, lowest.name, lowest.name_units) < 0 ||
        compare_names_nocase(r.name, r.name_units, highest.name, highest.name_units) > 0)
      c.finding(LMI_CHECK_DAMAGE, "node at 0x%08x: a name lies outside the node's lowest..highest", offset);
    const uint8_t* rec = node + pos;
    uint32_t length = load_le32(rec + kRecordLength);
    if (2u * load_le16(rec + kRecordCommentLength) > length)
      c.finding(LMI_CHECK_DAMAGE, "node at 0x%08x: a comment longer than its entry's data", offset);
    check_chain(c, load_le32(rec + kRecordStart), length, "entry", r.name);
  }
}

struct Pending {
  uint32_t offset;
  Bound above, below;
};

void check_tree(Checker& c) {
  uint32_t capacity = 64, depth = 0;
  Pending* stack = c.pool.alloc_array<Pending>(capacity);
  if (!stack) return;
  stack[depth++] = {c.base + kRootOffset, {}, {}};
  bool root = true;
  while (depth) {
    Pending p = stack[--depth];
    if (!root && !c.claim(p.offset, c.g.node_size / kBlockSize, "node")) continue;
    root = false;
    const uint8_t* node = c.at(p.offset);
    if (!node_is_sound(node, c.g)) {
      c.finding(LMI_CHECK_DAMAGE, "node at 0x%08x is malformed", p.offset);
      continue;
    }
    check_node_records(c, p.offset, node, p.above, p.below);
    uint32_t lowest = load_le16(node + kNodeLowest), highest = load_le16(node + kNodeHighest);
    Bound low, high;
    if (lowest) low = {record_at(node, record_of_name(lowest)).name, record_at(node, record_of_name(lowest)).name_units};
    if (highest) high = {record_at(node, record_of_name(highest)).name, record_at(node, record_of_name(highest)).name_units};
    if (!lowest && (load_le32(node + kNodeLeft) || load_le32(node + kNodeRight)))
      c.finding(LMI_CHECK_DAMAGE, "node at 0x%08x is empty but has children", p.offset);
    if (depth + 2 > capacity) {
      void* grown = c.pool.grow(stack, sizeof(Pending) * capacity * 2);
      if (!grown) break;
      stack = static_cast<Pending*>(grown);
      capacity *= 2;
    }
    if (uint32_t left = load_le32(node + kNodeLeft)) stack[depth++] = {left, p.above, low};
    if (uint32_t right = load_le32(node + kNodeRight)) stack[depth++] = {right, high, p.below};
  }
  c.pool.free(stack);
}

// Walks the bitmap chain; the marks come back as one byte a block.
uint8_t* check_bitmaps(Checker& c, uint32_t* covered) {
  uint32_t count = 0, offset = c.base + kFirstBitmapOffset;
  uint32_t limit = c.blocks / kBitsPerBitmap + 2;
  uint8_t* marked = nullptr;
  while (offset) {
    if (count == limit) {
      c.finding(LMI_CHECK_DAMAGE, "the bitmap chain is longer than the file");
      break;
    }
    if (count && !c.claim(offset, 1, "bitmap block")) break;
    const uint8_t* block = c.at(offset);
    if (!has_magic(block, "FRE*")) {
      c.finding(LMI_CHECK_DAMAGE, "bitmap block at 0x%08x is malformed", offset);
      break;
    }
    void* grown = c.pool.grow(marked, size_t(count + 1) * kBitsPerBitmap);
    if (!grown) break;
    marked = static_cast<uint8_t*>(grown);
    for (uint32_t i = 0; i < kBitsPerBitmap; ++i)
      marked[count * kBitsPerBitmap + i] = (block[kBitmapBits + i / 8] >> (7 - i % 8)) & 1;
    ++count;
    offset = load_le32(block + kBitmapNext);
  }
  *covered = count * kBitsPerBitmap;
  return marked;
}

void compare_marks(Checker& c, const uint8_t* marked, uint32_t covered) {
  uint32_t end = covered > c.blocks ? covered : c.blocks;
  for (uint32_t i = 0; i < end;) {
    bool is_marked = i < covered && marked[i];
    bool is_claimed = i < c.blocks && c.claimed[i];
    uint32_t j = i + 1;
    if (is_marked == is_claimed) {
      i = j;
      continue;
    }
    while (j < end && (j < covered && marked[j]) == is_marked && (j < c.blocks && c.claimed[j]) == is_claimed) ++j;
    if (is_claimed)
      c.finding(LMI_CHECK_DAMAGE, "blocks %u-%u are in use but marked free", i + 1, j);
    else
      c.finding(LMI_CHECK_LEAKED, "blocks %u-%u are marked used but nothing references them", i + 1, j);
    i = j;
  }
}

void check_scc(Checker& c, const uint8_t* header) {
  uint32_t first = load_le32(header + kHeaderSccStart), length = load_le32(header + kHeaderSccLength);
  if (!first) return;
  // A chain without its magic counts as absent, as the library reads it.
  if (!c.inside(first, 1) || !has_magic(c.at(first), "DAT*") || load_le16(c.at(first) + kDataUsed) < 4 ||
      !has_magic(c.at(first) + kDataHeaderSize, "SCC*"))
    return;
  check_chain(c, first, length, "source-control data", nullptr);
}

}  // namespace

KOSHR_API int32_t LMI_CheckLibrary(KostgContext* pool, const KOCHAR* path, LMI_CHECK_REPORT report, void* context) {
  if (!path || !library_path_fits(path)) return LMI_E_NAME;
  if (!pool) return LMI_E_NO_POOL;
  os::FileHandle file = os::file_open(path, os::kFileRead);
  if (file == os::kInvalidFile) return LMI_E_NO_HANDLE;
  KostgSubpool* subpool = kostg_new_pool(pool);
  Checker c{{pool, subpool}, report, context};
  LibraryPlace place = locate_library(file);
  int64_t size = os::file_size(file);
  int64_t end = place.has_trailer ? place.trailer_offset : size;
  int32_t rc = 0;
  uint8_t* bytes = nullptr;
  if (end < int64_t(place.base) + int64_t(kHeaderBufferSize) || end - place.base > 0xFFFFFFFFll) {
    c.finding(LMI_CHECK_DAMAGE, "the file is too short for a library");
  } else {
    c.base = place.base;
    uint64_t length = uint64_t(end - place.base);
    bytes = c.pool.alloc_array<uint8_t>(length);
    for (uint64_t done = 0; bytes && done < length;) {
      size_t chunk = length - done < kReadChunk ? size_t(length - done) : kReadChunk;
      if (os::file_read_at(file, bytes + done, chunk, c.base + done) != int64_t(chunk)) {
        rc = LMI_E_IO;
        break;
      }
      done += chunk;
    }
    if (!bytes) rc = LMI_E_IO;
    c.file = bytes;
    c.blocks = uint32_t(length / kBlockSize);
  }
  if (bytes && rc == 0) {
    c.claimed = c.pool.alloc_array<uint8_t>(c.blocks);
    if (c.claimed) std::memset(c.claimed, 0, c.blocks);
    if (!has_magic(bytes, "HDR*") || !header_names_product(bytes)) {
      c.finding(LMI_CHECK_DAMAGE, "the header does not name a library");
    } else if (c.claimed) {
      c.g = geometry_for_version(bytes + kHeaderVersion);
      c.claim(c.base, 3, "header");
      c.claim(c.base + kRootOffset, c.g.node_size / kBlockSize, "root node");
      uint32_t covered = 0;
      uint8_t* marked = check_bitmaps(c, &covered);
      check_tree(c);
      check_scc(c, bytes);
      if (marked) compare_marks(c, marked, covered);
    }
  }
  os::file_close(file);
  kostg_free_pool(pool, subpool);
  return rc ? rc : c.findings;
}

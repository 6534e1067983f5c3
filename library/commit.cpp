/*
 * commit.cpp: the ordered write-back of a handle's pending changes.
 */
#include "library/commit.h"

#include <koshr/library.h>

#include "library/block_io.h"
#include "library/handle_lifecycle.h"

namespace ko {
namespace {

constexpr uint32_t kDirtyNodesDue = 2048;
constexpr uint32_t kReleasesDue = 4096;

void release_block(void* context, uint32_t offset) {
  release_later(static_cast<LmiLibrary*>(context), offset, 1);
}

}  // namespace

int32_t release_later(LmiLibrary* lib, uint32_t offset, uint32_t count) {
  ReleaseList& list = lib->releases;
  if (list.size && list.offsets[list.size - 1] + kBlockSize * list.counts[list.size - 1] == offset) {
    list.counts[list.size - 1] += count;
    return 0;
  }
  if (list.size == list.capacity) {
    uint32_t capacity = list.capacity ? list.capacity * 2 : 64;
    void* offsets = lib->pool.grow(list.offsets, sizeof(uint32_t) * capacity);
    if (!offsets) return LMI_E_DISK_FULL;
    list.offsets = static_cast<uint32_t*>(offsets);
    void* counts = lib->pool.grow(list.counts, sizeof(uint32_t) * capacity);
    if (!counts) return LMI_E_DISK_FULL;
    list.counts = static_cast<uint32_t*>(counts);
    list.capacity = capacity;
  }
  list.offsets[list.size] = offset;
  list.counts[list.size++] = count;
  return 0;
}

int32_t release_chain_later(LmiLibrary* lib, uint32_t first_block, uint32_t length) {
  // The walk reads the chain from the file, but the chain may still sit,
  // whole or in part, in the write buffer; at those places the file may hold
  // what a freed chain left there, whose links lead into live entries. What
  // is pending goes out first.
  if (lib->writer.holds_finished_blocks()) {
    int32_t rc = lib->writer.flush();
    if (rc) return rc;
    refresh_file_size(lib);
  }
  return lib->reader.each_block(first_block, length, &release_block, lib);
}

int32_t commit(LmiLibrary* lib) {
  int32_t rc = lib->writer.flush();
  if (rc == 0) rc = lib->bitmap.write_dirty();
  if (rc == 0) rc = lib->nodes.write_dirty();
  if (rc) return rc;
  ReleaseList& list = lib->releases;
  if (list.size && (rc = lib->bitmap.load()) != 0) return rc;
  for (uint32_t i = 0; i < list.size; ++i) lib->bitmap.release(list.offsets[i], list.counts[i]);
  list.size = 0;
  return lib->bitmap.write_dirty();
}

int32_t commit_if_due(LmiLibrary* lib) {
  if (lib->nodes.dirty_count() < kDirtyNodesDue && lib->releases.size < kReleasesDue) return 0;
  return commit(lib);
}

int32_t write_header(LmiLibrary* lib) { return library_write(lib->file, lib->header, kHeaderSize, lib->base); }

}  // namespace ko

/*
 * library_handle.h: what an open library is made of (the LMI_HANDLE).
 *
 * A handle owns the file, a 4608-byte buffer holding the header, the first
 * bitmap block and the root node (inside the handle's own block, so opening
 * allocates once for both), the bitmap chain, the nodes it has read, the
 * data write buffer and reader, and the state of the one entry that may be
 * open. All of it lives in one sub-pool of the caller's context.
 *
 * Changes reach the file in one order, whatever operation made them (commit):
 * data blocks, then the bitmap blocks that mark them, then new nodes, then the
 * changed nodes, and only then are the blocks that the changes freed given
 * back, and the bitmap written again. A failure anywhere leaves the file
 * showing every entry either as it was or as it became, plus at most some
 * blocks marked used that nothing references.
 */
#ifndef KOSHR_LIBRARY_LIBRARY_HANDLE_H
#define KOSHR_LIBRARY_LIBRARY_HANDLE_H

#include "library/bitmap.h"
#include "library/data_reader.h"
#include "library/data_writer.h"
#include "library/header.h"
#include "library/name_index.h"
#include "library/node_cache.h"
#include "library/pool_ref.h"

#include <koshr/library.h>

namespace ko {

// Runs of blocks to give back once the changes that freed them are written.
struct ReleaseList {
  uint32_t* offsets = nullptr;
  uint32_t* counts = nullptr;
  uint32_t size = 0;
  uint32_t capacity = 0;
};

enum class EntryState { kNone = 0, kRead = 1, kWrite = 3 };

struct OpenEntry {
  EntryState state = EntryState::kNone;
  CachedNode* node = nullptr;
  uint32_t record = 0;  // offset of the record in the node
  // Writing: how to undo the open if the entry cannot be completed.
  bool is_new = false;
  uint8_t saved_header[32];  // the node's header before the record was appended
  uint64_t saved_seq = 0;
  bool saved_appended_only = true;
  uint8_t saved_record[28];  // the record's fixed part before the rewrite
  uint32_t old_start = 0, old_length = 0;
  int32_t failure = 0;  // first failure while writing
};

}  // namespace ko

struct LmiLibrary {
  ko::PoolRef pool;
  ko::os::FileHandle file = ko::os::kInvalidFile;
  uint32_t base = 0;
  int mode = 0;
  bool in_host = false;     // found through a trailer (an executable or any other host file)
  uint32_t trailer_at = 0;  // where the trailer of a library in a host file is now
  alignas(8) uint8_t header[ko::kHeaderBufferSize];  // in the handle's own block
  ko::NodeGeometry geometry{};
  ko::BitmapChain bitmap;
  ko::NodeCache nodes;
  ko::NameIndex names;  // where searches by name ended
  ko::DataWriter writer;
  ko::DataReader reader;
  ko::ReleaseList releases;
  ko::OpenEntry entry;
  ko::CachedNode* short_path[32];
  ko::CachedNode** path = short_path;  // the nodes of the last search, root first
  uint32_t path_depth = 0;
  uint32_t path_capacity = 32;
  KOCHAR comment[LMI_MAX_COMMENT + 1];
  LmiLibrary* next_open = nullptr;  // the process's open handles
  KOCHAR* file_name = nullptr;
};

#endif

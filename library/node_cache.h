/*
 * node_cache.h: the directory nodes a handle has read, kept in memory.
 *
 * A node is read from the file once and checked (node_is_sound) before any
 * of its offsets is trusted; later searches find it here. Changed nodes stay
 * in memory until the handle commits: nodes never written before go first
 * (nothing links to them yet), then the changed ones in the order they were
 * changed. A node that only gained records since it was last written is
 * written as its new records and then its 32-byte header, so a failure in
 * between leaves the old node; any other change is one write of the node.
 *
 * The root lives in the handle's header buffer and is cached like the others.
 */
#ifndef KOSHR_LIBRARY_NODE_CACHE_H
#define KOSHR_LIBRARY_NODE_CACHE_H

#include "library/header.h"
#include "library/pool_ref.h"
#include "platform/platform.h"

#include <cstdint>

namespace ko {

struct CachedNode {
  uint32_t offset;
  uint8_t* bytes;
  uint32_t clean_used;  // entry-area bytes as last written or read
  uint64_t dirty_seq;   // 0 when the file holds this node as it is
  bool appended_only;   // only records appended since it was clean
  bool fresh;           // never written
  // The records' name keys (entry_name.h) and offsets, in storage order;
  // rebuilt on demand after records move.
  uint32_t* keys;
  uint16_t* key_records;
  uint16_t key_count;
  bool keys_valid;
  bool scanned;  // its records were scanned once (keys are built at the next scan)
};

class NodeCache {
 public:
  void attach(const PoolRef& pool, os::FileHandle file, uint32_t base, const NodeGeometry& g, uint8_t* root);
  // The node at an absolute offset, read and checked on first use; null with
  // *rc = LMI_E_IO when it lies outside the file or is malformed.
  CachedNode* get(uint32_t offset, int32_t* rc);
  CachedNode* root() { return root_; }
  // A new, empty node at an offset the bitmap handed out.
  CachedNode* create(uint32_t offset, uint32_t parent);
  void touch(CachedNode* node, bool append_only);
  // The node's name keys, built when records moved since; false without memory.
  bool ready_keys(CachedNode* node);
  // After a record was appended at `record`: its key joins the node's.
  void add_key(CachedNode* node, uint32_t record);
  // After records moved (removed, split, copied over).
  static void drop_keys(CachedNode* node) { node->keys_valid = false; }
  // Drops a clean node whose blocks are being given back.
  void forget(CachedNode* node);
  // The most nodes the file can hold: bounds every walk over links.
  uint32_t max_nodes() const { return count_ + uint32_t(file_size_ / geometry_.node_size) + 2; }
  int32_t write(CachedNode* node);
  int32_t write_dirty();
  uint32_t dirty_count() const { return dirty_; }
  void set_file_size(int64_t size) { file_size_ = size; }
  // Counts every change to a cached node (touch) and every node forgotten;
  // answers remembered from the nodes (name_index.h) hold while it stands.
  uint64_t changes() const { return changes_; }

 private:
  // A node block with room for the node's bytes; insert fills the rest.
  CachedNode* new_node();
  // Enters a node whose bytes are set; frees it and gives null without memory.
  CachedNode* insert(CachedNode* node, uint32_t offset);
  CachedNode** slot(uint32_t offset);
  bool grow();

  PoolRef pool_;
  os::FileHandle file_ = os::kInvalidFile;
  uint32_t base_ = 0;
  NodeGeometry geometry_{};
  int64_t file_size_ = 0;
  CachedNode root_node_{};  // its bytes are the handle's header buffer's
  CachedNode* root_ = nullptr;
  // Open addressing by offset; the first table lives here, so that a handle
  // reading a few entries allocates nothing for it.
  static constexpr uint32_t kFirstTableSize = 64;
  CachedNode* first_table_[kFirstTableSize];
  CachedNode** table_ = nullptr;
  uint32_t table_size_ = 0;
  uint32_t count_ = 0;
  uint32_t dirty_ = 0;
  uint64_t next_seq_ = 1;
  uint64_t changes_ = 1;
};

}  // namespace ko

#endif

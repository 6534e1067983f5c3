/*
 * node_cache.cpp: reading, caching and writing back directory nodes.
 */
#include "library/node_cache.h"

#include <koshr/library.h>

#include "library/block_io.h"
#include "library/entry_name.h"
#include "library/node.h"

#include <algorithm>
#include <cstring>

namespace ko {
namespace {

uint32_t hash_offset(uint32_t offset) { return (offset >> 9) * 2654435761u; }

}  // namespace

void NodeCache::attach(const PoolRef& pool, os::FileHandle file, uint32_t base, const NodeGeometry& g,
                       uint8_t* root) {
  pool_ = pool;
  file_ = file;
  base_ = base;
  geometry_ = g;
  table_size_ = kFirstTableSize;
  table_ = first_table_;
  std::memset(table_, 0, sizeof first_table_);
  root_node_.bytes = root;
  root_ = insert(&root_node_, base + kRootOffset);
}

CachedNode* NodeCache::new_node() {
  // The node's bytes follow its bookkeeping in the same block.
  void* block = pool_.alloc(sizeof(CachedNode) + geometry_.node_size);
  if (!block) return nullptr;
  CachedNode* node = static_cast<CachedNode*>(block);
  node->bytes = reinterpret_cast<uint8_t*>(node + 1);
  return node;
}

CachedNode** NodeCache::slot(uint32_t offset) {
  uint32_t mask = table_size_ - 1;
  for (uint32_t i = hash_offset(offset) & mask;; i = (i + 1) & mask) {
    if (!table_[i] || table_[i]->offset == offset) return &table_[i];
  }
}

bool NodeCache::grow() {
  CachedNode** old = table_;
  uint32_t old_size = table_size_;
  CachedNode** bigger = pool_.alloc_array<CachedNode*>(old_size * 2);
  if (!bigger) return false;
  std::memset(bigger, 0, sizeof(CachedNode*) * old_size * 2);
  table_ = bigger;
  table_size_ = old_size * 2;
  for (uint32_t i = 0; i < old_size; ++i) {
    if (old[i]) *slot(old[i]->offset) = old[i];
  }
  if (old != first_table_) pool_.free(old);
  return true;
}

CachedNode* NodeCache::insert(CachedNode* node, uint32_t offset) {
  if ((count_ + 1) * 2 > table_size_ && !grow()) {
    if (node != &root_node_) pool_.free(node);
    return nullptr;
  }
  *node = {offset, node->bytes, node_used(node->bytes, geometry_), 0, true, false, nullptr, nullptr, 0, false, false};
  *slot(offset) = node;
  ++count_;
  return node;
}

CachedNode* NodeCache::get(uint32_t offset, int32_t* rc) {
  *rc = -3;
  CachedNode* found = *slot(offset);
  if (found) {
    *rc = 0;
    return found;
  }
  if (offset < base_ + kHeaderBufferSize - 3072 || (offset - base_) % kBlockSize ||
      int64_t(offset) + geometry_.node_size > file_size_)
    return nullptr;
  CachedNode* node = new_node();
  if (!node) return nullptr;
  if (library_read_exact(file_, node->bytes, geometry_.node_size, offset) != 0 ||
      !node_is_sound(node->bytes, geometry_)) {
    pool_.free(node);
    return nullptr;
  }
  node = insert(node, offset);
  if (node) *rc = 0;
  return node;
}

CachedNode* NodeCache::create(uint32_t offset, uint32_t parent) {
  CachedNode* node = new_node();
  if (!node) return nullptr;
  init_node(node->bytes, geometry_, parent);
  node = insert(node, offset);
  if (!node) return nullptr;
  node->fresh = true;
  node->clean_used = 0;
  touch(node, false);
  return node;
}

void NodeCache::touch(CachedNode* node, bool append_only) {
  ++changes_;
  if (!node->dirty_seq) {
    ++dirty_;
    node->dirty_seq = next_seq_++;
    node->appended_only = true;
  }
  node->appended_only = node->appended_only && append_only && !node->fresh;
}

void NodeCache::forget(CachedNode* node) {
  uint32_t mask = table_size_ - 1;
  uint32_t i = hash_offset(node->offset) & mask;
  while (table_[i] != node) i = (i + 1) & mask;
  if (node->dirty_seq) --dirty_;
  ++changes_;
  table_[i] = nullptr;
  --count_;
  // Backward-shift the probe cluster so later lookups still find their nodes.
  for (uint32_t j = (i + 1) & mask; table_[j]; j = (j + 1) & mask) {
    CachedNode* moving = table_[j];
    table_[j] = nullptr;
    *slot(moving->offset) = moving;
  }
  pool_.free(node->keys);
  node->keys = nullptr;
  node->key_records = nullptr;
  node->keys_valid = false;
  if (node != root_) pool_.free(node);
}

bool NodeCache::ready_keys(CachedNode* node) {
  if (node->keys_valid) return true;
  constexpr uint32_t kMost = 3040 / 30 + 1;  // the smallest record is 30 bytes
  if (!node->keys) {
    // Keys and record offsets share one block.
    node->keys = static_cast<uint32_t*>(pool_.alloc(kMost * (sizeof(uint32_t) + sizeof(uint16_t))));
    if (!node->keys) return false;
    node->key_records = reinterpret_cast<uint16_t*>(node->keys + kMost);
  }
  node->key_count = 0;
  uint32_t pos = 0;
  Record r;
  while (node->key_count < kMost && next_record(node->bytes, geometry_, &pos, &r)) {
    node->keys[node->key_count] = name_key(r.name, r.name_units);
    node->key_records[node->key_count++] = uint16_t(pos);
  }
  node->keys_valid = true;
  return true;
}

void NodeCache::add_key(CachedNode* node, uint32_t record) {
  if (!node->keys_valid) return;
  Record r = record_at(node->bytes, record);
  node->keys[node->key_count] = name_key(r.name, r.name_units);
  node->key_records[node->key_count++] = uint16_t(record);
}

int32_t NodeCache::write(CachedNode* node) {
  if (!node->dirty_seq) return 0;
  int32_t rc;
  uint32_t used = node_used(node->bytes, geometry_);
  if (node->appended_only && used >= node->clean_used) {
    uint32_t from = kNodeHeaderSize + node->clean_used;
    rc = library_write(file_, node->bytes + from, used - node->clean_used, node->offset + from);
    if (rc == 0) rc = library_write(file_, node->bytes, kNodeHeaderSize, node->offset);
  } else {
    rc = library_write(file_, node->bytes, geometry_.node_size, node->offset);
  }
  if (rc) return rc;
  if (int64_t(node->offset) + geometry_.node_size > file_size_) file_size_ = node->offset + geometry_.node_size;
  node->clean_used = used;
  node->dirty_seq = 0;
  node->fresh = false;
  node->appended_only = true;
  --dirty_;
  return 0;
}

int32_t NodeCache::write_dirty() {
  if (!dirty_) return 0;
  CachedNode** order = pool_.alloc_array<CachedNode*>(dirty_);
  if (!order) return LMI_E_DISK_FULL;
  uint32_t n = 0;
  for (uint32_t i = 0; i < table_size_; ++i) {
    if (table_[i] && table_[i]->dirty_seq) order[n++] = table_[i];
  }
  std::sort(order, order + n, [](const CachedNode* a, const CachedNode* b) {
    if (a->fresh != b->fresh) return a->fresh;
    return a->dirty_seq < b->dirty_seq;
  });
  int32_t rc = 0;
  for (uint32_t i = 0; i < n && rc == 0; ++i) rc = write(order[i]);
  pool_.free(order);
  return rc;
}

}  // namespace ko

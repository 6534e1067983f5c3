/*
 * directory.cpp: searching, growing and shrinking the tree of nodes.
 */
#include "library/directory.h"

#include <koshr/library.h>

#include "library/commit.h"
#include "library/entry_name.h"
#include "library/node.h"
#include "platform/byte_order.h"
#include "platform/utf16.h"

#include <algorithm>
#include <cstring>

namespace ko {
namespace {

constexpr uint32_t kMaxRecordsPerNode = 3040 / 30 + 1;  // the smallest record is 30 bytes

const KOCHAR* name_at(const CachedNode* node, uint32_t name_offset) {
  return reinterpret_cast<const KOCHAR*>(node->bytes + name_offset);
}
uint32_t room_at(const CachedNode* node, uint32_t name_offset) {
  return load_le16(node->bytes + name_offset - kRecordHeaderSize + kRecordNameLength) / 2;
}
uint32_t link(const CachedNode* node, uint32_t field) { return load_le32(node->bytes + field); }
void set_link(LmiLibrary* lib, CachedNode* node, uint32_t field, uint32_t value) {
  store_le32(node->bytes + field, value);
  lib->nodes.touch(node, false);
}

// The path starts in the handle's own array and moves to the pool when a
// search goes deeper (a library whose names came in order is a long chain).
bool push_path(LmiLibrary* lib, CachedNode* node) {
  if (lib->path_depth == lib->path_capacity) {
    uint32_t capacity = lib->path_capacity * 2;
    auto* grown = lib->pool.alloc_array<CachedNode*>(capacity);
    if (!grown) return false;
    std::memcpy(grown, lib->path, sizeof(CachedNode*) * lib->path_depth);
    if (lib->path != lib->short_path) lib->pool.free(lib->path);
    lib->path = grown;
    lib->path_capacity = capacity;
  }
  lib->path[lib->path_depth++] = node;
  return true;
}

uint32_t node_blocks(const LmiLibrary* lib) { return lib->geometry.node_size / kBlockSize; }

// Cuts a full node in two; see directory.h for where the moving half goes.
int32_t split(LmiLibrary* lib, CachedNode* x) {
  const NodeGeometry& g = lib->geometry;
  uint32_t positions[kMaxRecordsPerNode];
  uint32_t n = 0, pos = 0;
  Record r;
  while (n < kMaxRecordsPerNode && next_record(x->bytes, g, &pos, &r)) positions[n++] = pos;
  if (n < 2) return LMI_E_IO;
  const uint8_t* bytes = x->bytes;
  std::sort(positions, positions + n, [bytes](uint32_t a, uint32_t b) {
    Record ra = record_at(bytes, a), rb = record_at(bytes, b);
    return compare_names_exact(ra.name, ra.name_units, rb.name, rb.name_units) < 0;
  });
  // Into an empty child slot half the records move. With both children
  // present three quarters move, to the left or the right by the node's
  // place in the file, so that the depth this adds spreads over both sides.
  uint32_t left = link(x, kNodeLeft), right = link(x, kNodeRight);
  bool both = left && right;
  bool lower_moves = both ? (x->offset / g.node_size) % 2 != 0 : left == 0;
  uint32_t quarters = !both ? 2 : lower_moves ? 3 : 1;
  uint32_t share = node_used(bytes, g) * quarters / 4, cut = 0, taken = 0;
  while (cut < n - 1 && (taken < share || cut == 0)) taken += record_at(bytes, positions[cut++]).size;
  uint32_t at;
  int32_t rc = lib->bitmap.allocate_run(node_blocks(lib), &at);
  if (rc) return rc;
  CachedNode* y = lib->nodes.create(at, x->offset);
  if (!y) return LMI_E_DISK_FULL;
  uint8_t keep[3072];
  std::memcpy(keep, x->bytes, g.node_size);
  uint32_t move_from = lower_moves ? 0 : cut, move_to = lower_moves ? cut : n;
  for (uint32_t i = move_from; i < move_to; ++i) append_record_copy(y->bytes, g, keep + positions[i]);
  NodeCache::drop_keys(x);
  NodeCache::drop_keys(y);

  // The staying records keep their storage order.
  std::memset(x->bytes + kNodeHeaderSize, 0, g.capacity);
  store_le16(x->bytes + kNodeFree, uint16_t(g.capacity));
  store_le16(x->bytes + kNodeCount, 0);
  store_le16(x->bytes + kNodeLowest, 0);
  store_le16(x->bytes + kNodeHighest, 0);
  std::sort(positions + (lower_moves ? cut : 0), positions + (lower_moves ? n : cut));
  for (uint32_t i = lower_moves ? cut : 0; i < (lower_moves ? n : cut); ++i)
    append_record_copy(x->bytes, g, keep + positions[i]);

  // The new node takes over the child on its side, and hangs there itself.
  uint32_t side = lower_moves ? kNodeLeft : kNodeRight;
  uint32_t below = lower_moves ? left : right;
  store_le32(y->bytes + side, below);
  set_link(lib, x, side, at);
  if (below) {
    CachedNode* child = lib->nodes.get(below, &rc);
    if (!child) return rc;
    set_link(lib, child, kNodeParent, at);
  }
  return 0;
}

}  // namespace

int32_t directory_search(LmiLibrary* lib, const KOCHAR* name, SearchResult* result) {
  lib->path_depth = 0;
  CachedNode* node = lib->nodes.root();
  const size_t units = u16len(name) + 1;
  uint32_t key = 0;  // computed when a scan needs it
  int32_t rc = 0;
  for (uint32_t steps = lib->nodes.max_nodes(); steps && node; --steps) {
    if (!push_path(lib, node)) return LMI_E_IO;
    result->node = node;
    uint32_t lowest = load_le16(node->bytes + kNodeLowest);
    if (!lowest) {
      result->landing = Landing::kInNode;
      return 0;
    }
    int c = compare_names_exact(name, units, name_at(node, lowest), room_at(node, lowest));
    if (c == 0) {
      result->landing = Landing::kFound;
      result->record = record_of_name(lowest);
      return 0;
    }
    if (c < 0) {
      uint32_t child = link(node, kNodeLeft);
      if (!child) {
        result->landing = Landing::kLeft;
        return 0;
      }
      node = lib->nodes.get(child, &rc);
      continue;
    }
    uint32_t highest = load_le16(node->bytes + kNodeHighest);
    c = compare_names_nocase(name, units, name_at(node, highest), room_at(node, highest));
    if (c == 0) {
      result->landing = Landing::kFound;
      result->record = record_of_name(highest);
      return 0;
    }
    if (c > 0) {
      uint32_t child = link(node, kNodeRight);
      if (!child) {
        result->landing = Landing::kRight;
        return 0;
      }
      node = lib->nodes.get(child, &rc);
      continue;
    }
    // The first record in storage order whose name equals, case folded. A
    // node's first scan compares every record; from its second on, the node
    // keeps its names' keys and only records with the same key are compared
    // (a handle that looks up one name builds no keys at all).
    result->landing = Landing::kInNode;
    if (!node->keys_valid && !node->scanned) {
      node->scanned = true;
      uint32_t pos = 0;
      Record r;
      while (next_record(node->bytes, lib->geometry, &pos, &r)) {
        if (compare_names_nocase(name, units, r.name, r.name_units) == 0) {
          result->landing = Landing::kFound;
          result->record = pos;
          break;
        }
      }
      return 0;
    }
    if (!lib->nodes.ready_keys(node)) return LMI_E_IO;
    if (!key) key = name_key(name, units);
    for (uint32_t i = 0; i < node->key_count; ++i) {
      if (node->keys[i] != key) continue;
      uint32_t pos = node->key_records[i];
      uint32_t room = load_le16(node->bytes + pos + kRecordNameLength) / 2;
      if (compare_names_nocase(name, units, name_at(node, pos + kRecordHeaderSize), room) == 0) {
        result->landing = Landing::kFound;
        result->record = pos;
        break;
      }
    }
    return 0;
  }
  return rc ? rc : LMI_E_IO;
}

int32_t find_entry(LmiLibrary* lib, const KOCHAR* name, EntryRef* entry) {
  const size_t units = u16len(name) + 1;
  if (lib->names.find(name, units, lib->nodes.changes(), entry)) return 0;
  SearchResult r;
  int32_t rc = directory_search(lib, name, &r);
  if (rc) return rc;
  if (r.landing != Landing::kFound) return LMI_E_NOT_FOUND;
  *entry = {r.node, r.record};
  lib->names.remember(name, units, lib->nodes.changes(), *entry);
  return 0;
}

int32_t directory_insert(LmiLibrary* lib, const KOCHAR* name, uint32_t now, const SearchResult& searched,
                         SearchResult* placed) {
  const NodeGeometry& g = lib->geometry;
  size_t units = u16len(name);
  uint32_t size = record_size_for(uint32_t(units));
  if (units > LMI_MAX_NAME || size > g.capacity) return LMI_E_NAME;
  SearchResult r = searched;
  for (int attempt = 0; attempt < 8; ++attempt) {
    int32_t rc = attempt ? directory_search(lib, name, &r) : 0;
    if (rc) return rc;
    if (r.landing == Landing::kFound) return LMI_E_EXISTS;
    CachedNode* x = r.node;
    if (load_le16(x->bytes + kNodeFree) >= size) {
      placed->node = x;
      placed->landing = Landing::kFound;
      placed->record = append_record(x->bytes, g, name, now);
      lib->nodes.add_key(x, placed->record);
      lib->nodes.touch(x, true);
      return 0;
    }
    if (r.landing == Landing::kInNode) {
      rc = split(lib, x);
      if (rc) return rc;
      continue;
    }
    uint32_t at;
    rc = lib->bitmap.allocate_run(node_blocks(lib), &at);
    if (rc) return rc;
    CachedNode* child = lib->nodes.create(at, x->offset);
    if (!child) return LMI_E_DISK_FULL;
    set_link(lib, x, r.landing == Landing::kLeft ? kNodeLeft : kNodeRight, at);
    placed->node = child;
    placed->landing = Landing::kFound;
    placed->record = append_record(child->bytes, g, name, now);
    return 0;
  }
  return LMI_E_IO;
}

int32_t directory_remove(LmiLibrary* lib, const SearchResult& found) {
  CachedNode* x = found.node;
  CachedNode* root = lib->nodes.root();
  uint32_t left = link(x, kNodeLeft), right = link(x, kNodeRight);
  if (load_le16(x->bytes + kNodeCount) > 1 || (x == root && !left && !right)) {
    remove_record(x->bytes, lib->geometry, found.record);
    NodeCache::drop_keys(x);
    lib->nodes.touch(x, false);
    return 0;
  }
  CachedNode* parent = lib->path_depth >= 2 ? lib->path[lib->path_depth - 2] : nullptr;
  if (x != root && (!parent || (link(parent, kNodeLeft) != x->offset && link(parent, kNodeRight) != x->offset)))
    return LMI_E_IO;
  // The node empties and leaves the tree. Each step below is committed
  // before the next, so every name stays reachable at every moment.
  int32_t rc = commit(lib);
  if (rc) return rc;
  if (left && right) {
    CachedNode* m = lib->nodes.get(left, &rc);
    for (uint32_t steps = lib->nodes.max_nodes(); m && link(m, kNodeRight) && steps; --steps)
      m = lib->nodes.get(link(m, kNodeRight), &rc);
    if (!m || link(m, kNodeRight)) return rc ? rc : LMI_E_IO;
    set_link(lib, m, kNodeRight, right);
    if ((rc = commit(lib)) != 0) return rc;
    CachedNode* r = lib->nodes.get(right, &rc);
    if (!r) return rc;
    set_link(lib, r, kNodeParent, m->offset);
  }
  uint32_t replacement = left ? left : right;
  CachedNode* gone = x;
  if (x == root) {
    CachedNode* c = lib->nodes.get(replacement, &rc);
    if (!c) return rc;
    std::memcpy(root->bytes, c->bytes, lib->geometry.node_size);
    NodeCache::drop_keys(root);
    store_le32(root->bytes + kNodeParent, 0);
    lib->nodes.touch(root, false);
    if ((rc = commit(lib)) != 0) return rc;
    for (uint32_t field : {kNodeLeft, kNodeRight}) {
      if (!link(root, field)) continue;
      CachedNode* child = lib->nodes.get(link(root, field), &rc);
      if (!child) return rc;
      set_link(lib, child, kNodeParent, root->offset);
    }
    gone = c;
  } else {
    set_link(lib, parent, link(parent, kNodeLeft) == x->offset ? kNodeLeft : kNodeRight, replacement);
    if ((rc = commit(lib)) != 0) return rc;
    if (replacement) {
      CachedNode* child = lib->nodes.get(replacement, &rc);
      if (!child) return rc;
      set_link(lib, child, kNodeParent, parent->offset);
    }
  }
  uint32_t offset = gone->offset;
  lib->nodes.forget(gone);
  return release_later(lib, offset, node_blocks(lib));
}

int32_t directory_walk(LmiLibrary* lib, int32_t (*visit)(void*, CachedNode*), void* context) {
  lib->path_depth = 0;
  CachedNode* node = lib->nodes.root();
  int32_t rc = 0;
  uint32_t budget = lib->nodes.max_nodes();
  for (;;) {
    while (node) {
      if (!budget-- || !push_path(lib, node)) return LMI_E_IO;
      uint32_t left = link(node, kNodeLeft);
      node = left ? lib->nodes.get(left, &rc) : nullptr;
      if (rc) return rc;
    }
    if (!lib->path_depth) return 0;
    node = lib->path[--lib->path_depth];
    if ((rc = visit(context, node)) != 0) return rc;
    uint32_t right = link(node, kNodeRight);
    node = right ? lib->nodes.get(right, &rc) : nullptr;
    if (rc) return rc;
  }
}

}  // namespace ko

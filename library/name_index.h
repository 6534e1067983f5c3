/*
 * name_index.h: where searches by name already ended, remembered per handle.
 *
 * A handle that reads many entries by name would walk the tree of nodes for
 * every one. The index keeps, for each name a search found, the node and the
 * record the walk ended on, keyed by the name exactly as it was searched.
 * The walk decides what a name finds (its mixed case rules, entry_name.h); the
 * index only replays a walk over an unchanged tree, so it answers exactly as
 * the walk would. Any change to a cached node (NodeCache::changes) makes every
 * remembered answer stale at once; stale slots count as empty. A record is
 * remembered only under the name it stores, so a hit is confirmed by one
 * exact comparison with the record's name. Nothing is parsed at open: the
 * index fills as searches succeed.
 */
#ifndef KOSHR_LIBRARY_NAME_INDEX_H
#define KOSHR_LIBRARY_NAME_INDEX_H

#include "library/entry_record.h"
#include "library/pool_ref.h"

#include <cstddef>
#include <cstdint>

namespace ko {

class NameIndex {
 public:
  void attach(const PoolRef& pool) { pool_ = pool; }
  // The record remembered for `name` (`units` with the NUL) while the cache
  // has seen `changes` changes; false when there is none.
  bool find(const KOCHAR* name, size_t units, uint64_t changes, EntryRef* entry) const;
  // After a walk for `name` found `entry`: remembered when the record holds
  // that very name. Without memory the index simply stays as it is.
  void remember(const KOCHAR* name, size_t units, uint64_t changes, const EntryRef& entry);

 private:
  struct Slot {
    uint64_t changes;  // the cache's change count the answer holds for (0 = empty)
    CachedNode* node;
    uint32_t hash;
    uint32_t record;
  };
  bool grow(uint64_t changes);

  PoolRef pool_;
  // The first slots live here: a handle that finds a few names allocates
  // nothing for them.
  static constexpr uint32_t kFirstSize = 32;
  Slot first_slots_[kFirstSize];
  Slot* slots_ = nullptr;
  uint32_t size_ = 0;   // a power of two, or 0
  uint32_t count_ = 0;  // live slots under `count_changes_`
  uint64_t count_changes_ = 0;
};

}  // namespace ko

#endif

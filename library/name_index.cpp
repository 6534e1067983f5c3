/*
 * name_index.cpp: the per-handle index of names already found.
 */
#include "library/name_index.h"

#include "containers/string_hash.h"
#include "library/entry_name.h"

#include <cstring>

namespace ko {

bool NameIndex::find(const KOCHAR* name, size_t units, uint64_t changes, EntryRef* entry) const {
  if (!size_ || count_changes_ != changes) return false;
  uint32_t hash = fnv1a(name, units), mask = size_ - 1;
  for (uint32_t i = hash & mask;; i = (i + 1) & mask) {
    const Slot& s = slots_[i];
    if (s.changes != changes) return false;
    if (s.hash != hash) continue;
    EntryRef e{s.node, s.record};
    if (compare_names_exact(name, units, e.name(), e.name_units()) == 0) {
      *entry = e;
      return true;
    }
  }
}

bool NameIndex::grow(uint64_t changes) {
  uint32_t bigger = size_ ? size_ * 2 : kFirstSize;
  Slot* fresh = size_ ? pool_.alloc_array<Slot>(bigger) : first_slots_;
  if (!fresh) return false;
  std::memset(fresh, 0, sizeof(Slot) * bigger);
  Slot* old = slots_;
  uint32_t old_size = size_;
  slots_ = fresh;
  size_ = bigger;
  for (uint32_t i = 0; i < old_size; ++i) {
    if (old[i].changes != changes) continue;
    uint32_t j = old[i].hash & (size_ - 1);
    while (slots_[j].changes == changes) j = (j + 1) & (size_ - 1);
    slots_[j] = old[i];
  }
  if (old != first_slots_) pool_.free(old);
  return true;
}

void NameIndex::remember(const KOCHAR* name, size_t units, uint64_t changes, const EntryRef& entry) {
  if (compare_names_exact(name, units, entry.name(), entry.name_units()) != 0) return;
  if (count_changes_ != changes) {
    count_changes_ = changes;
    count_ = 0;
  }
  if ((count_ + 1) * 2 > size_ && !grow(changes)) return;
  uint32_t hash = fnv1a(name, units), mask = size_ - 1;
  uint32_t i = hash & mask;
  while (slots_[i].changes == changes) i = (i + 1) & mask;
  slots_[i] = {changes, entry.node, hash, entry.pos};
  ++count_;
}

}  // namespace ko

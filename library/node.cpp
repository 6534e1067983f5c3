/*
 * node.cpp: records inside a directory node, and the lowest/highest rules.
 */
#include "library/node.h"

#include "library/entry_name.h"
#include "library/magic.h"
#include "platform/byte_order.h"
#include "platform/utf16.h"

#include <cstring>

namespace ko {
namespace {

const KOCHAR* name_at(const uint8_t* node, uint32_t name_offset) {
  return reinterpret_cast<const KOCHAR*>(node + name_offset);
}

uint32_t name_room(const uint8_t* node, uint32_t name_offset) {
  return load_le16(node + name_offset - kRecordHeaderSize + kRecordNameLength) / 2;
}

// The rules applied when a record's name lands at `name_offset`.
void keep_bounds(uint8_t* node, uint32_t name_offset) {
  const KOCHAR* name = name_at(node, name_offset);
  uint32_t lowest = load_le16(node + kNodeLowest);
  uint32_t highest = load_le16(node + kNodeHighest);
  bool above_highest =
      !highest || compare_name_nocase(name, name_at(node, highest), name_room(node, highest)) > 0;
  if (lowest && compare_name_exact(name, name_at(node, lowest), name_room(node, lowest)) >= 0) {
    if (above_highest) store_le16(node + kNodeHighest, uint16_t(name_offset));
    return;
  }
  store_le16(node + kNodeLowest, uint16_t(name_offset));
  if (above_highest) store_le16(node + kNodeHighest, uint16_t(name_offset));
}

}  // namespace

void init_node(uint8_t* node, const NodeGeometry& g, uint32_t parent) {
  std::memset(node, 0, g.node_size);
  put_magic(node, "NOD*");
  store_le32(node + kNodeParent, parent);
  store_le16(node + kNodeFree, uint16_t(g.capacity));
}

uint32_t node_used(const uint8_t* node, const NodeGeometry& g) {
  uint32_t free = load_le16(node + kNodeFree);
  return free > g.capacity ? 0 : g.capacity - free;
}

Record record_at(const uint8_t* node, uint32_t pos) {
  Record r;
  r.pos = pos;
  r.name_units = load_le16(node + pos + kRecordNameLength) / 2;
  r.size = kRecordHeaderSize + 2 * r.name_units;
  r.name = name_at(node, pos + kRecordHeaderSize);
  return r;
}

bool next_record(const uint8_t* node, const NodeGeometry& g, uint32_t* pos, Record* record) {
  uint32_t at = *pos ? *pos : kNodeHeaderSize;
  if (*pos) at += record_at(node, *pos).size;
  if (at + kRecordHeaderSize > kNodeHeaderSize + node_used(node, g)) return false;
  *record = record_at(node, at);
  *pos = at;
  return true;
}

bool node_is_sound(const uint8_t* node, const NodeGeometry& g) {
  if (!has_magic(node, "NOD*") || load_le16(node + kNodeFree) > g.capacity) return false;
  uint32_t end = kNodeHeaderSize + node_used(node, g);
  uint32_t at = kNodeHeaderSize, count = 0;
  bool lowest_ok = load_le16(node + kNodeLowest) == 0, highest_ok = load_le16(node + kNodeHighest) == 0;
  while (at < end) {
    if (at + kRecordHeaderSize > end || !has_magic(node + at, "ENT*")) return false;
    uint32_t name_bytes = load_le16(node + at + kRecordNameLength);
    if (name_bytes < 2 || name_bytes % 2 || at + kRecordHeaderSize + name_bytes > end) return false;
    if (load_le16(node + at + kRecordHeaderSize + name_bytes - 2) != 0) return false;
    uint32_t name_offset = at + kRecordHeaderSize;
    lowest_ok |= load_le16(node + kNodeLowest) == name_offset;
    highest_ok |= load_le16(node + kNodeHighest) == name_offset;
    at += kRecordHeaderSize + name_bytes;
    ++count;
  }
  return at == end && lowest_ok && highest_ok && count == load_le16(node + kNodeCount) &&
         (count == 0) == (load_le16(node + kNodeLowest) == 0);
}

uint32_t append_record(uint8_t* node, const NodeGeometry& g, const KOCHAR* name, uint32_t now) {
  uint32_t units = uint32_t(u16len(name));
  uint32_t pos = kNodeHeaderSize + node_used(node, g);
  uint8_t* r = node + pos;
  std::memset(r, 0, kRecordHeaderSize);
  put_magic(r, "ENT*");
  for (uint32_t i = 0; i < 4; ++i) store_le16(r + kRecordVersion + 2 * i, kFormatVersion[i]);
  store_le32(r + kRecordTime, now);
  store_le16(r + kRecordNameLength, uint16_t(2 * (units + 1)));
  std::memcpy(r + kRecordHeaderSize, name, 2 * (units + 1));
  keep_bounds(node, pos + kRecordHeaderSize);
  store_le16(node + kNodeCount, uint16_t(load_le16(node + kNodeCount) + 1));
  store_le16(node + kNodeFree, uint16_t(load_le16(node + kNodeFree) - (kRecordHeaderSize + 2 * (units + 1))));
  return pos;
}

uint32_t append_record_copy(uint8_t* node, const NodeGeometry& g, const uint8_t* record) {
  uint32_t size = kRecordHeaderSize + load_le16(record + kRecordNameLength);
  uint32_t pos = kNodeHeaderSize + node_used(node, g);
  std::memcpy(node + pos, record, size);
  keep_bounds(node, pos + kRecordHeaderSize);
  store_le16(node + kNodeCount, uint16_t(load_le16(node + kNodeCount) + 1));
  store_le16(node + kNodeFree, uint16_t(load_le16(node + kNodeFree) - size));
  return pos;
}

void recompute_bounds(uint8_t* node, const NodeGeometry& g) {
  store_le16(node + kNodeLowest, 0);
  store_le16(node + kNodeHighest, 0);
  uint32_t pos = 0;
  Record r;
  while (next_record(node, g, &pos, &r)) {
    uint32_t name_offset = pos + kRecordHeaderSize;
    uint32_t lowest = load_le16(node + kNodeLowest), highest = load_le16(node + kNodeHighest);
    if (!lowest || compare_names_exact(r.name, r.name_units, name_at(node, lowest), name_room(node, lowest)) < 0)
      store_le16(node + kNodeLowest, uint16_t(name_offset));
    if (!highest ||
        compare_names_nocase(r.name, r.name_units, name_at(node, highest), name_room(node, highest)) > 0)
      store_le16(node + kNodeHighest, uint16_t(name_offset));
  }
}

void remove_record(uint8_t* node, const NodeGeometry& g, uint32_t pos) {
  uint32_t size = record_at(node, pos).size;
  uint32_t end = kNodeHeaderSize + node_used(node, g);
  std::memmove(node + pos, node + pos + size, end - pos - size);
  std::memset(node + end - size, 0, size);
  store_le16(node + kNodeCount, uint16_t(load_le16(node + kNodeCount) - 1));
  store_le16(node + kNodeFree, uint16_t(load_le16(node + kNodeFree) + size));
  recompute_bounds(node, g);
}

}  // namespace ko

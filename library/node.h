/*
 * node.h: a directory node ("NOD*") and the entry records ("ENT*") packed in it.
 *
 * Node, 3072 bytes (1024 for old format versions):
 *   0   4    "NOD*"
 *   4   4    left child: names below this node's lowest (0 = none)
 *   8   4    parent (0 for the root)
 *   12  4    right child: names above this node's highest (0 = none)
 *   16  2    free bytes left in the entry area (3040 or 992 when empty)
 *   18  2    offset in the node of the highest name (0 = none)
 *   20  2    number of entries
 *   22  2    offset in the node of the lowest name (0 = none)
 *   24  8    zero
 *   32  ...  entry records, packed in the order of insertion
 *
 * Entry record, 28 bytes plus the name:
 *   0   4    "ENT*"
 *   4   8    format version, four UTF-16LE digits
 *   12  4    offset of the first data block (0 = no data)
 *   16  4    data length in bytes, the comment included
 *   20  4    time stamp, seconds since 1970-01-01 UTC
 *   24  2    comment length in UTF-16 characters
 *   26  2    name length in bytes, NUL included
 *   28  var  name, UTF-16LE, NUL-terminated
 *
 * Everything here works on a node held in memory; node_cache.h moves nodes
 * between memory and the file.
 */
#ifndef KOSHR_LIBRARY_NODE_H
#define KOSHR_LIBRARY_NODE_H

#include "library/header.h"

#include <koshr/types.h>

#include <cstdint>

namespace ko {

constexpr uint32_t kNodeHeaderSize = 32;
constexpr uint32_t kNodeLeft = 4, kNodeParent = 8, kNodeRight = 12, kNodeFree = 16,
                   kNodeHighest = 18, kNodeCount = 20, kNodeLowest = 22;
constexpr uint32_t kRecordHeaderSize = 28;
constexpr uint32_t kRecordVersion = 4, kRecordStart = 12, kRecordLength = 16, kRecordTime = 20,
                   kRecordCommentLength = 24, kRecordNameLength = 26;

struct Record {
  uint32_t pos;         // offset of the record in the node
  uint32_t size;        // 28 + name length
  const KOCHAR* name;   // inside the node
  uint32_t name_units;  // room of the name in units, NUL included
};

void init_node(uint8_t* node, const NodeGeometry& g, uint32_t parent);
// Bytes of the entry area in use; records end at 32 + used.
uint32_t node_used(const uint8_t* node, const NodeGeometry& g);
// Whether the node's header and records are well formed; readers call it
// before trusting any offset in a node read from the file.
bool node_is_sound(const uint8_t* node, const NodeGeometry& g);
// The record after `pos` (0 starts at the first); false at the end.
bool next_record(const uint8_t* node, const NodeGeometry& g, uint32_t* pos, Record* record);
Record record_at(const uint8_t* node, uint32_t pos);
// The record whose name is at `name_offset` (a lowest or highest field).
inline uint32_t record_of_name(uint32_t name_offset) { return name_offset - kRecordHeaderSize; }

// Appends a record with data start and length 0 and applies the lowest and
// highest rules; the caller checked that it fits. Returns the record's offset.
uint32_t append_record(uint8_t* node, const NodeGeometry& g, const KOCHAR* name, uint32_t now);
// Appends a copy of another node's record, keeping its fields.
uint32_t append_record_copy(uint8_t* node, const NodeGeometry& g, const uint8_t* record);
// Removes a record, closing the gap, and finds the lowest and highest again.
void remove_record(uint8_t* node, const NodeGeometry& g, uint32_t pos);
void recompute_bounds(uint8_t* node, const NodeGeometry& g);

inline uint32_t record_size_for(uint32_t units) { return kRecordHeaderSize + 2 * (units + 1); }

}  // namespace ko

#endif

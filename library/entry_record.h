/*
 * entry_record.h: reading and changing one entry record inside a cached node
 * (the record layout is drawn in node.h).
 */
#ifndef KOSHR_LIBRARY_ENTRY_RECORD_H
#define KOSHR_LIBRARY_ENTRY_RECORD_H

#include "library/node.h"
#include "library/node_cache.h"
#include "platform/byte_order.h"

namespace ko {

struct EntryRef {
  CachedNode* node;
  uint32_t pos;

  uint8_t* bytes() const { return node->bytes + pos; }
  uint32_t start() const { return load_le32(bytes() + kRecordStart); }
  uint32_t length() const { return load_le32(bytes() + kRecordLength); }
  uint32_t time() const { return load_le32(bytes() + kRecordTime); }
  uint16_t comment_length() const { return load_le16(bytes() + kRecordCommentLength); }
  const KOCHAR* name() const { return reinterpret_cast<const KOCHAR*>(bytes() + kRecordHeaderSize); }
  uint32_t name_units() const { return load_le16(bytes() + kRecordNameLength) / 2; }
  // The object's size: the data less the comment (never below 0).
  uint32_t object_size() const {
    uint32_t comment = 2u * comment_length();
    return length() > comment ? length() - comment : 0;
  }
  void version(KOCHAR* out) const {
    for (int i = 0; i < 4; ++i) out[i] = KOCHAR(load_le16(bytes() + kRecordVersion + 2 * i));
    out[4] = 0;
  }
};

// Marks the record's node changed; a record in the node's unwritten tail
// keeps the node append-only.
inline void touch_record(NodeCache& nodes, const EntryRef& e) {
  nodes.touch(e.node, e.pos >= kNodeHeaderSize + e.node->clean_used);
}

}  // namespace ko

#endif

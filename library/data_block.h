/*
 * data_block.h: the data block ("DAT*"), 512 bytes, and the chains made of them.
 *
 *   0   4    "DAT*"
 *   4   4    offset of the next block of the same stream (0 = last)
 *   8   2    payload bytes used in this block (1-502)
 *   10  502  payload; unused bytes are zero
 *
 * An entry's stream (its comment, then its object) is split over a chain of
 * such blocks, 502 bytes a block; only the last block may be partly filled.
 * The source-control data is a stream of the same kind.
 */
#ifndef KOSHR_LIBRARY_DATA_BLOCK_H
#define KOSHR_LIBRARY_DATA_BLOCK_H

#include <cstdint>

namespace ko {

constexpr uint32_t kDataNext = 4;
constexpr uint32_t kDataUsed = 8;
constexpr uint32_t kDataHeaderSize = 10;
constexpr uint32_t kPayloadPerBlock = 502;

inline uint32_t blocks_for_bytes(uint32_t bytes) {
  return (bytes + kPayloadPerBlock - 1) / kPayloadPerBlock;
}

}  // namespace ko

#endif

/*
 * header.h: the library header, the first 1024 bytes at the library's base.
 *
 *   0x000  4    "HDR*"
 *   0x004  28   product name "Korvane", UTF-16LE, NUL, rest zero
 *   0x020  8    format version, four UTF-16LE digits ("0600")
 *   0x028  4    time stamp, seconds since 1970-01-01 UTC (low 32 bits)
 *   0x02C  2    library type (low two bits): 0 none, 1 source, 2 compiled, 3 temporary
 *   0x02E  512  library comment, up to 255 UTF-16LE characters, NUL, rest zero
 *   0x22E  4    offset of the source-control data chain's first block (0 = none)
 *   0x232  4    length of the source-control data (0 = none)
 *   0x236  458  zero
 *
 * A fresh library is the header (blocks 1-2), the first free-space bitmap
 * block (block 3) and an empty root node (blocks 4-9): 4608 bytes. A handle
 * keeps all three in one 4608-byte buffer and writes them back from there.
 */
#ifndef KOSHR_LIBRARY_HEADER_H
#define KOSHR_LIBRARY_HEADER_H

#include <koshr/types.h>

#include <cstdint>

namespace ko {

constexpr uint32_t kBlockSize = 512;
constexpr uint32_t kHeaderSize = 1024;
constexpr uint32_t kHeaderBufferSize = 4608;
constexpr uint32_t kFirstBitmapOffset = 1024;  // from the base
constexpr uint32_t kRootOffset = 1536;         // from the base
constexpr uint32_t kFirstReadSize = 2560;      // header, bitmap, first 1024 bytes of the root

constexpr uint32_t kHeaderProduct = 0x004;
constexpr uint32_t kHeaderVersion = 0x020;
constexpr uint32_t kHeaderTime = 0x028;
constexpr uint32_t kHeaderType = 0x02C;
constexpr uint32_t kHeaderComment = 0x02E;
constexpr uint32_t kHeaderSccStart = 0x22E;
constexpr uint32_t kHeaderSccLength = 0x232;

constexpr const KOCHAR kProductName[] = u"Korvane";
constexpr const KOCHAR kFormatVersion[] = u"0600";

// Node geometry follows the format version's first two digits.
struct NodeGeometry {
  uint32_t node_size;   // 3072 or 1024
  uint32_t capacity;    // entry area: 3040 or 992
  uint32_t first_free;  // first offset after the root, from the base: 4608 or 2560
};
NodeGeometry geometry_for_version(const uint8_t* version_field);

// Whether the product name at 0x004 is "Korvane" (the characters, not the NUL).
bool header_names_product(const uint8_t* header);

// Fills a fresh 1536-byte header and first bitmap block for LMI_CreateLibrary.
void build_new_header(uint8_t* buffer, uint16_t type, const KOCHAR* comment, uint32_t now);

uint32_t seconds_since_1970();

}  // namespace ko

#endif

/*
 * exe_trailer.cpp: the PE certificate-table size and the "TRL*" block.
 */
#include "library/exe_trailer.h"

#include <koshr/library.h>

#include "library/block_io.h"
#include "library/header.h"
#include "library/magic.h"
#include "platform/byte_order.h"

#include <cstring>

namespace ko {
namespace {

constexpr uint32_t kSecurityDirectory = 4;

// The file's first bytes already read.
struct FileStart {
  const uint8_t* bytes;
  size_t size;
};

// Reads like library_read, taking what `start` covers from there.
int64_t read_at(os::FileHandle file, const FileStart& start, uint8_t* out, size_t size, uint64_t offset) {
  if (offset + size <= start.size) {
    std::memcpy(out, start.bytes + offset, size);
    return int64_t(size);
  }
  return library_read(file, out, size, offset);
}

// The certificate table's size, 0 when the file is no PE image; `entry` gets
// the file offset of the security directory entry that announces it.
uint32_t certificate_size(os::FileHandle file, const FileStart& start, int64_t file_size,
                          bool* executable, uint64_t* entry) {
  uint8_t dos[64];
  *executable = false;
  *entry = 0;
  if (read_at(file, start, dos, 64, 0) != 64 || dos[0] != 'M' || dos[1] != 'Z') return 0;
  *executable = true;
  uint32_t pe = load_le32(dos + 0x3C);
  uint8_t nt[24 + 240];
  if (int64_t(pe) + 24 > file_size) return 0;
  int64_t got = read_at(file, start, nt, sizeof nt, pe);
  if (got < 24 || std::memcmp(nt, "PE\0\0", 4) != 0) return 0;
  const uint8_t* optional = nt + 24;
  uint32_t optional_size = load_le16(nt + 20);
  if (optional_size > got - 24) optional_size = uint32_t(got - 24);
  uint16_t magic = optional_size >= 2 ? load_le16(optional) : 0;
  uint32_t count_at = magic == 0x20B ? 108 : 92;
  uint32_t dirs_at = magic == 0x20B ? 112 : 96;
  if ((magic != 0x10B && magic != 0x20B) || optional_size < dirs_at + 8 * (kSecurityDirectory + 1)) return 0;
  if (load_le32(optional + count_at) <= kSecurityDirectory) return 0;
  *entry = uint64_t(pe) + 24 + dirs_at + 8 * kSecurityDirectory;
  return load_le32(optional + dirs_at + 8 * kSecurityDirectory + 4);
}

}  // namespace

uint32_t default_base_offset() { return 0; }

void build_trailer(uint8_t* block, uint32_t base) {
  std::memset(block, 0, kBlockSize);
  put_magic(block, "TRL*");
  store_le32(block + 4, base);
}

LibraryPlace locate_library(os::FileHandle file, const uint8_t* start, size_t start_size) {
  LibraryPlace place;
  int64_t size = os::file_size(file);
  place.file_size = size;
  FileStart first{start, start ? start_size : 0};
  uint32_t certificates =
      certificate_size(file, first, size, &place.executable, &place.certificate_entry);
  place.certificates = certificates;
  int64_t at = size - kBlockSize - int64_t(certificates);
  uint8_t trailer[8];
  if (at >= 0 && read_at(file, first, trailer, 8, uint64_t(at)) == 8 && has_magic(trailer, "TRL*")) {
    place.has_trailer = true;
    place.trailer_offset = uint32_t(at);
    place.base = load_le32(trailer + 4);
  } else if (place.executable) {
    place.base = default_base_offset();
  }
  return place;
}

int32_t cut_back_to_trailer(os::FileHandle file, const LibraryPlace& place) {
  if (place.certificates && place.certificate_entry) {
    static const uint8_t kNone[8] = {};
    int32_t rc = library_write(file, kNone, sizeof kNone, place.certificate_entry);
    if (rc) return rc;
  }
  return os::file_truncate(file, place.trailer_offset) ? 0 : LMI_E_IO;
}

int32_t drop_certificate_table(os::FileHandle file, const LibraryPlace& place,
                               uint32_t* trailer_at) {
  *trailer_at = place.trailer_offset;
  if (!place.certificates || !place.certificate_entry) return 0;
  uint64_t table = uint64_t(place.trailer_offset) + kBlockSize;
  if (place.certificates < kBlockSize) return cut_back_to_trailer(file, place);
  uint8_t trailer[kBlockSize];
  build_trailer(trailer, place.base);
  static const uint8_t kNone[8] = {};
  int32_t rc = library_write(file, trailer, kBlockSize, table);
  if (rc == 0) rc = library_write(file, trailer, kBlockSize, table + place.certificates - kBlockSize);
  if (rc == 0) rc = library_write(file, kNone, sizeof kNone, place.certificate_entry);
  if (rc == 0 && !os::file_truncate(file, table + kBlockSize)) rc = LMI_E_IO;
  if (rc == 0) *trailer_at = uint32_t(table);
  return rc;
}

}  // namespace ko

/*
 * exe_trailer.h: finding a library appended to an executable.
 *
 * The trailer ("TRL*") is the file's last 512-byte block before any
 * code-signing certificate table:
 *
 *   0  4    "TRL*"
 *   4  4    the library's base offset in the file
 *   8  504  zero
 *
 * A file that starts with a DOS header whose new-header offset leads to a PE
 * signature is an executable; the size of its certificate table comes from the
 * optional header's security data directory.
 */
#ifndef KOSHR_LIBRARY_EXE_TRAILER_H
#define KOSHR_LIBRARY_EXE_TRAILER_H

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace ko {

struct LibraryPlace {
  uint32_t base = 0;
  bool executable = false;     // the file starts with "MZ"
  bool has_trailer = false;
  uint32_t trailer_offset = 0;  // where the trailer block starts
  int64_t file_size = 0;
  uint32_t certificates = 0;       // bytes of the certificate table after the trailer
  uint64_t certificate_entry = 0;  // file offset of the security directory entry, 0 when none
};

// `start` may hold the file's first `start_size` bytes, already read: what
// they cover is not read again.
LibraryPlace locate_library(os::FileHandle file, const uint8_t* start = nullptr, size_t start_size = 0);
// The base used for an executable without a trailer (0 unless set).
uint32_t default_base_offset();
void build_trailer(uint8_t* block, uint32_t base);
// Cuts a certificate table off the end of the file and clears the directory
// entry that announces it: a signature no longer holds once the file
// changes, and an entry left pointing past the end would hide the trailer
// from the next open. The file then ends at place.trailer_offset. 0 or LMI_E_IO.
int32_t cut_back_to_trailer(os::FileHandle file, const LibraryPlace& place);
// The same for a library about to be written, in steps that each leave a
// trailer where the next open looks for it (a process killed between them
// loses nothing): the trailer is copied over the certificate table's first
// and last blocks, the entry cleared, the file cut behind the first copy,
// whose offset goes to *trailer_at. 0 or LMI_E_IO.
int32_t drop_certificate_table(os::FileHandle file, const LibraryPlace& place,
                               uint32_t* trailer_at);

}  // namespace ko

#endif

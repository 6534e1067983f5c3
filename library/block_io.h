/*
 * block_io.h: the one read and the one write routine of library files.
 *
 * Every transfer to or from a library file goes through these two. A call the
 * system refuses asks the user Retry/Cancel (message 21301, "0x%08x:%s" with
 * the system's error number and text); a write that stores fewer bytes than
 * asked asks with message 21302 ("Out of space on disk. Retry?"). Retry
 * repeats the call; Cancel gives LMI_E_IO (refused) or LMI_E_DISK_FULL (out
 * of space). Without a prompt handler a POSIX host always answers Cancel.
 */
#ifndef KOSHR_LIBRARY_BLOCK_IO_H
#define KOSHR_LIBRARY_BLOCK_IO_H

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>

namespace ko {

// The byte count read (short at the end of the file) or LMI_E_IO.
int64_t library_read(os::FileHandle file, void* buffer, size_t size, uint64_t offset);
// 0 when every byte was written, else LMI_E_IO or LMI_E_DISK_FULL.
int32_t library_write(os::FileHandle file, const void* data, size_t size, uint64_t offset);
// Reads exactly `size` bytes: 0, or LMI_E_IO for a failure or a short read.
int32_t library_read_exact(os::FileHandle file, void* buffer, size_t size, uint64_t offset);

}  // namespace ko

#endif

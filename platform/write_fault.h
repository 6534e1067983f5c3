/*
 * write_fault.h: the gate every file write of both backends passes through.
 *
 * Tests arm a fault with ko::os::set_write_fault (platform.h); the backends ask
 * the gate before each write how much of it may reach the disk.
 */
#ifndef KOSHR_PLATFORM_WRITE_FAULT_H
#define KOSHR_PLATFORM_WRITE_FAULT_H

#include <cstddef>
#include <cstdint>

namespace ko::os {

// Counts one write call of `size` bytes and returns how many of its bytes may
// be written: `size` when no fault applies, fewer for the short write that
// reaches the fault point, -1 when the write must fail (the caller then
// reports kErrorDiskFull).
int64_t write_fault_admit(size_t size);

}  // namespace ko::os

#endif

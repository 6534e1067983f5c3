/*
 * last_error.h: the thread's last error in the posix backend: errno mapped onto the
 * Windows codes.
 */
#ifndef KOSHR_PLATFORM_POSIX_LAST_ERROR_H
#define KOSHR_PLATFORM_POSIX_LAST_ERROR_H

#include <cstdint>

namespace ko::os {

void set_last_error(uint32_t code);
// Records errno, mapped to the Windows code, as the thread's last error.
void set_last_error_from_errno(int error_number);

}  // namespace ko::os

#endif

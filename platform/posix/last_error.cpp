/*
 * last_error.cpp: the thread's last error, errno mapped onto the Windows
 * codes, and the system's wording of a code.
 */
#include "platform/posix/last_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/utf8_text.h"

namespace ko::os {
namespace {

thread_local uint32_t t_last_error = 0;

struct ErrnoCode {
  int error_number;
  uint32_t code;
};

// The first row for a code is the errno error_text() shows for it.
constexpr ErrnoCode kErrnoCodes[] = {
    {0, kErrorSuccess},
    {ENOENT, kErrorFileNotFound},
    {ENOTDIR, kErrorPathNotFound},
    {EMFILE, kErrorTooManyOpenFiles},
    {ENFILE, kErrorTooManyOpenFiles},
    {EACCES, kErrorAccessDenied},
    {EPERM, kErrorAccessDenied},
    {EISDIR, kErrorAccessDenied},
    {EBADF, kErrorInvalidHandle},
    {ENOMEM, kErrorNotEnoughMemory},
    {EROFS, kErrorWriteProtect},
    {EBUSY, kErrorSharingViolation},
    {EEXIST, kErrorFileExists},
    {EINVAL, kErrorInvalidParameter},
    {ENOSPC, kErrorDiskFull},
    {EDQUOT, kErrorDiskFull},
    {ERANGE, kErrorInsufficientBuffer},
    {EILSEQ, kErrorNoUnicodeTranslation},
    {EIO, kErrorIoDevice},
};

}  // namespace

void set_last_error(uint32_t code) { t_last_error = code; }

void set_last_error_from_errno(int error_number) {
  for (const ErrnoCode& row : kErrnoCodes) {
    if (row.error_number == error_number) {
      t_last_error = row.code;
      return;
    }
  }
  t_last_error = kErrorPosixBase + static_cast<uint32_t>(error_number);
}

uint32_t last_error() { return t_last_error; }

size_t error_text(uint32_t code, KOCHAR* out, size_t capacity) {
  int error_number = -1;
  if (code >= kErrorPosixBase) {
    error_number = static_cast<int>(code - kErrorPosixBase);
  } else {
    for (const ErrnoCode& row : kErrnoCodes) {
      if (row.code == code) {
        error_number = row.error_number;
        break;
      }
    }
  }
  char buffer[256];
  const char* text = buffer;
  if (error_number < 0) {
    std::snprintf(buffer, sizeof buffer, "Unknown error %u", code);
  } else {
    text = strerror_r(error_number, buffer, sizeof buffer);
  }
  try {
    return copy_utf8_out(text, out, capacity);
  } catch (...) {
    return 0;
  }
}

}  // namespace ko::os

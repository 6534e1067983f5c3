/*
 * posix_support.cpp: the thread's last error (errno mapped onto the Windows
 * codes), UTF-8 text for system calls, and the user's configuration folder.
 */
#include "platform/posix/posix_support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"
#include "platform/utf16.h"

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

std::string to_utf8(const KOCHAR* text) {
  if (text == nullptr) return {};
  std::string result(utf16_to_utf8(text, SIZE_MAX, nullptr, 0), '\0');
  utf16_to_utf8(text, SIZE_MAX, result.data(), result.size() + 1);
  return result;
}

size_t copy_utf8_out(const std::string& text, KOCHAR* out, size_t capacity) {
  if (out == nullptr || capacity == 0) return 0;
  const size_t needed = utf8_to_utf16(text.data(), text.size(), out, capacity);
  return needed < capacity ? needed : capacity - 1;
}

std::string native_executable_path() {
  char buffer[PATH_MAX];
  const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string();
}

std::string folder_of(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

bool read_file_bytes(const std::string& path, std::string* bytes) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  bytes->clear();
  char buffer[16384];
  for (;;) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      ::close(fd);
      return n == 0;
    }
    bytes->append(buffer, static_cast<size_t>(n));
  }
}

namespace {

void make_folders(const std::string& folder) {
  for (size_t slash = folder.find('/', 1); slash != std::string::npos;
       slash = folder.find('/', slash + 1)) {
    ::mkdir(folder.substr(0, slash).c_str(), 0777);
  }
}

bool write_and_sync(int fd, const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    done += static_cast<size_t>(n);
  }
  return ::fsync(fd) == 0;
}

}  // namespace

bool replace_file_bytes(const std::string& path, const std::string& bytes) {
  make_folders(folder_of(path));
  const std::string temporary = path + ".tmp" + std::to_string(::getpid());
  const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  if (fd < 0) {
    set_last_error_from_errno(errno);
    return false;
  }
  const bool written = write_and_sync(fd, bytes);
  const int saved_errno = errno;
  ::close(fd);
  if (!written || ::rename(temporary.c_str(), path.c_str()) != 0) {
    set_last_error_from_errno(written ? errno : saved_errno);
    ::unlink(temporary.c_str());
    return false;
  }
  return true;
}

std::string config_file_path(const char* file) {
  std::string folder;
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg != nullptr && xdg[0] == '/') {
    folder = xdg;
  } else {
    const char* home = std::getenv("HOME");
    folder = std::string(home != nullptr ? home : "") + "/.config";
  }
  return folder + "/korvane/" + file;
}

}  // namespace ko::os

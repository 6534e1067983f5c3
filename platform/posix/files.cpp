/*
 * files.cpp: files on POSIX: open/pread/pwrite/ftruncate, every write passing
 * the write-fault gate first.
 */
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/platform.h"
#include "platform/posix/last_error.h"
#include "platform/posix/utf8_text.h"
#include "platform/write_fault.h"

namespace ko::os {
namespace {

int descriptor(FileHandle file) { return static_cast<int>(file); }

bool valid(FileHandle file) {
  if (file < 0 || file > INT32_MAX) {
    set_last_error(kErrorInvalidHandle);
    return false;
  }
  return true;
}

// Repeats a partial transfer until `size` bytes moved, end of file, or error;
// `transfer(done, left)` moves at most `left` bytes from offset `done`.
template <typename Transfer>
int64_t transfer_all(size_t size, Transfer transfer) {
  size_t done = 0;
  while (done < size) {
    const ssize_t n = transfer(done, size - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      set_last_error_from_errno(errno);
      return -1;
    }
    if (n == 0) break;
    done += static_cast<size_t>(n);
  }
  return static_cast<int64_t>(done);
}

// Writes what the fault gate admits; a short admission returns the short count.
template <typename Write>
int64_t gated_write(size_t size, Write write) {
  const int64_t admitted = write_fault_admit(size);
  if (admitted < 0) {
    set_last_error(kErrorDiskFull);
    return -1;
  }
  return transfer_all(static_cast<size_t>(admitted), write);
}

}  // namespace

FileHandle file_open(const KOCHAR* path, unsigned flags) {
  if (path == nullptr || path[0] == 0 || (flags & (kFileRead | kFileWrite)) == 0) {
    set_last_error(path == nullptr || path[0] == 0 ? kErrorPathNotFound : kErrorInvalidParameter);
    return kInvalidFile;
  }
  int mode = (flags & kFileWrite) ? ((flags & kFileRead) ? O_RDWR : O_WRONLY) : O_RDONLY;
  if (flags & kFileCreate) mode |= O_CREAT;
  if (flags & kFileTruncate) mode |= O_TRUNC;
  if ((flags & kFileExclusive) && (flags & kFileCreate)) mode |= O_EXCL;
  try {
    const std::string native = to_utf8(path);
    int fd;
    do {
      fd = ::open(native.c_str(), mode | O_CLOEXEC, 0666);
    } while (fd < 0 && errno == EINTR);
    if (fd < 0) {
      set_last_error_from_errno(errno);
      return kInvalidFile;
    }
    struct stat info;
    if (::fstat(fd, &info) == 0 && S_ISDIR(info.st_mode)) {
      ::close(fd);
      set_last_error(kErrorAccessDenied);
      return kInvalidFile;
    }
    return fd;
  } catch (...) {
    set_last_error(kErrorNotEnoughMemory);
    return kInvalidFile;
  }
}

bool file_close(FileHandle file) {
  if (!valid(file)) return false;
  if (::close(descriptor(file)) != 0) {
    set_last_error_from_errno(errno);
    return false;
  }
  return true;
}

int64_t file_read_at(FileHandle file, void* buffer, size_t size, uint64_t offset) {
  if (!valid(file)) return -1;
  auto* bytes = static_cast<char*>(buffer);
  return transfer_all(size, [&](size_t done, size_t left) {
    return ::pread(descriptor(file), bytes + done, left, static_cast<off_t>(offset + done));
  });
}

int64_t file_write_at(FileHandle file, const void* data, size_t size, uint64_t offset) {
  if (!valid(file)) return -1;
  const auto* bytes = static_cast<const char*>(data);
  return gated_write(size, [&](size_t done, size_t left) {
    return ::pwrite(descriptor(file), bytes + done, left, static_cast<off_t>(offset + done));
  });
}

int64_t file_read(FileHandle file, void* buffer, size_t size) {
  if (!valid(file)) return -1;
  auto* bytes = static_cast<char*>(buffer);
  return transfer_all(
      size, [&](size_t done, size_t left) { return ::read(descriptor(file), bytes + done, left); });
}

int64_t file_write(FileHandle file, const void* data, size_t size) {
  if (!valid(file)) return -1;
  const auto* bytes = static_cast<const char*>(data);
  return gated_write(size, [&](size_t done, size_t left) {
    return ::write(descriptor(file), bytes + done, left);
  });
}

int64_t file_seek(FileHandle file, int64_t offset, int whence) {
  if (!valid(file)) return -1;
  static constexpr int kWhence[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (whence < 0 || whence > 2) {
    set_last_error(kErrorInvalidParameter);
    return -1;
  }
  const off_t position = ::lseek(descriptor(file), static_cast<off_t>(offset), kWhence[whence]);
  if (position < 0) {
    set_last_error_from_errno(errno);
    return -1;
  }
  return position;
}

int64_t file_size(FileHandle file) {
  if (!valid(file)) return -1;
  struct stat info;
  if (::fstat(descriptor(file), &info) != 0) {
    set_last_error_from_errno(errno);
    return -1;
  }
  return info.st_size;
}

bool file_truncate(FileHandle file, uint64_t size) {
  if (!valid(file)) return false;
  if (::ftruncate(descriptor(file), static_cast<off_t>(size)) != 0) {
    set_last_error_from_errno(errno);
    return false;
  }
  return true;
}

bool file_flush(FileHandle file) {
  if (!valid(file)) return false;
  if (::fsync(descriptor(file)) != 0 && errno != EINVAL) {
    set_last_error_from_errno(errno);
    return false;
  }
  return true;
}

namespace {

// Runs a path operation; false with the mapped error when it fails.
template <typename Operation>
bool path_call(Operation operation) {
  try {
    if (operation() == 0) return true;
    set_last_error_from_errno(errno);
  } catch (...) {
    set_last_error(kErrorNotEnoughMemory);
  }
  return false;
}

}  // namespace

bool file_delete(const KOCHAR* path) {
  if (path == nullptr) {
    set_last_error(kErrorPathNotFound);
    return false;
  }
  return path_call([&] { return ::unlink(to_utf8(path).c_str()); });
}

bool file_rename(const KOCHAR* from, const KOCHAR* to) {
  if (from == nullptr || to == nullptr) {
    set_last_error(kErrorPathNotFound);
    return false;
  }
  const std::string target = to_utf8(to);
  if (!path_call([&] { return ::rename(to_utf8(from).c_str(), target.c_str()); })) return false;
  // The rename lives in the folder's entries: sync the folder too.
  const size_t slash = target.rfind('/');
  const std::string folder = slash == std::string::npos ? "."
                             : slash == 0               ? "/"
                                                        : target.substr(0, slash);
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor >= 0) {
    ::fsync(descriptor);
    ::close(descriptor);
  }
  return true;
}

bool file_exists(const KOCHAR* path) {
  if (path == nullptr) return false;
  struct stat info;
  return path_call([&] { return ::stat(to_utf8(path).c_str(), &info); }) && !S_ISDIR(info.st_mode);
}

}  // namespace ko::os

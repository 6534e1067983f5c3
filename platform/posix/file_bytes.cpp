/*
 * file_bytes.cpp: whole-file reads and atomic replacement through a renamed temporary.
 */
#include "platform/posix/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/posix/config_paths.h"
#include "platform/posix/last_error.h"

namespace ko::os {

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

}  // namespace ko::os

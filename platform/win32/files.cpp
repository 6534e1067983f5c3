/*
 * files.cpp: files on Windows through the CreateFileW family. Positional
 * transfers pass the offset in an OVERLAPPED (which also moves the handle's
 * position, as Windows does); every write passes the write-fault gate first.
 */
#include "platform/platform.h"
#include "platform/win32/win32_support.h"
#include "platform/write_fault.h"

namespace ko::os {
namespace {

HANDLE native(FileHandle file) { return reinterpret_cast<HANDLE>(file); }

bool valid(FileHandle file) {
  if (file == kInvalidFile || file == 0) {
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
  }
  return true;
}

OVERLAPPED at(uint64_t offset) {
  OVERLAPPED position{};
  position.Offset = static_cast<DWORD>(offset);
  position.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return position;
}

// Reads until `size` bytes, end of file, or error; `offset` null for the
// handle's own position.
int64_t read_all(FileHandle file, void* buffer, size_t size, const uint64_t* offset) {
  if (!valid(file)) return -1;
  size_t done = 0;
  while (done < size) {
    DWORD got = 0;
    OVERLAPPED position = at(offset != nullptr ? *offset + done : 0);
    if (!ReadFile(native(file), static_cast<char*>(buffer) + done, api_size(size - done), &got,
                  offset != nullptr ? &position : nullptr)) {
      if (GetLastError() == ERROR_HANDLE_EOF) break;
      return -1;
    }
    if (got == 0) break;
    done += got;
  }
  return static_cast<int64_t>(done);
}

int64_t write_all(FileHandle file, const void* data, size_t size, const uint64_t* offset) {
  if (!valid(file)) return -1;
  const int64_t admitted = write_fault_admit(size);
  if (admitted < 0) {
    SetLastError(ERROR_DISK_FULL);
    return -1;
  }
  size_t done = 0;
  while (done < static_cast<size_t>(admitted)) {
    DWORD put = 0;
    OVERLAPPED position = at(offset != nullptr ? *offset + done : 0);
    if (!WriteFile(native(file), static_cast<const char*>(data) + done,
                   api_size(static_cast<size_t>(admitted) - done), &put,
                   offset != nullptr ? &position : nullptr)) {
      return -1;
    }
    if (put == 0) break;
    done += put;
  }
  return static_cast<int64_t>(done);
}

}  // namespace

FileHandle file_open(const KOCHAR* path, unsigned flags) {
  if (path == nullptr || path[0] == 0) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return kInvalidFile;
  }
  if ((flags & (kFileRead | kFileWrite)) == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return kInvalidFile;
  }
  DWORD access = 0;
  if (flags & kFileRead) access |= GENERIC_READ;
  if (flags & kFileWrite) access |= GENERIC_WRITE;
  DWORD disposition = OPEN_EXISTING;
  if (flags & kFileCreate) {
    disposition = (flags & kFileExclusive)  ? CREATE_NEW
                  : (flags & kFileTruncate) ? CREATE_ALWAYS
                                            : OPEN_ALWAYS;
  } else if (flags & kFileTruncate) {
    disposition = TRUNCATE_EXISTING;
  }
  HANDLE handle =
      CreateFileW(wide(path), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                  nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return kInvalidFile;
  return reinterpret_cast<FileHandle>(handle);
}

bool file_close(FileHandle file) { return valid(file) && CloseHandle(native(file)); }

int64_t file_read_at(FileHandle file, void* buffer, size_t size, uint64_t offset) {
  return read_all(file, buffer, size, &offset);
}

int64_t file_write_at(FileHandle file, const void* data, size_t size, uint64_t offset) {
  return write_all(file, data, size, &offset);
}

int64_t file_read(FileHandle file, void* buffer, size_t size) {
  return read_all(file, buffer, size, nullptr);
}

int64_t file_write(FileHandle file, const void* data, size_t size) {
  return write_all(file, data, size, nullptr);
}

int64_t file_seek(FileHandle file, int64_t offset, int whence) {
  if (!valid(file)) return -1;
  static constexpr DWORD kMethod[] = {FILE_BEGIN, FILE_CURRENT, FILE_END};
  if (whence < 0 || whence > 2) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return -1;
  }
  LARGE_INTEGER distance;
  distance.QuadPart = offset;
  LARGE_INTEGER position;
  if (!SetFilePointerEx(native(file), distance, &position, kMethod[whence])) return -1;
  return position.QuadPart;
}

// No mapping here: a file with a mapped view cannot be cut back, and library
// writers cut files back (out-of-space retries, executable trailers).

int64_t file_size(FileHandle file) {
  if (!valid(file)) return -1;
  LARGE_INTEGER size;
  return GetFileSizeEx(native(file), &size) ? size.QuadPart : -1;
}

bool file_truncate(FileHandle file, uint64_t size) {
  const int64_t position = file_seek(file, 0, 1);
  if (position < 0 || file_seek(file, static_cast<int64_t>(size), 0) < 0) return false;
  const bool done = SetEndOfFile(native(file));
  file_seek(file, position, 0);
  return done;
}

bool file_flush(FileHandle file) { return valid(file) && FlushFileBuffers(native(file)); }

bool file_delete(const KOCHAR* path) {
  if (path == nullptr) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
  }
  return DeleteFileW(wide(path));
}

bool file_rename(const KOCHAR* from, const KOCHAR* to) {
  if (from == nullptr || to == nullptr) {
    SetLastError(ERROR_PATH_NOT_FOUND);
    return false;
  }
  return MoveFileExW(wide(from), wide(to), MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
}

bool file_exists(const KOCHAR* path) {
  if (path == nullptr) return false;
  const DWORD attributes = GetFileAttributesW(wide(path));
  return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

uint32_t last_error() { return GetLastError(); }

size_t error_text(uint32_t code, KOCHAR* out, size_t capacity) {
  if (out == nullptr || capacity == 0) return 0;
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                code, 0, wide(out), api_size(capacity), nullptr);
  while (length > 0 &&
         (out[length - 1] == u'\r' || out[length - 1] == u'\n' || out[length - 1] == u' ')) {
    --length;
  }
  out[length] = 0;
  return length;
}

}  // namespace ko::os

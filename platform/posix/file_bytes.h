/*
 * file_bytes.h: reading a whole file and replacing one atomically (the INI stores).
 */
#ifndef KOSHR_PLATFORM_POSIX_FILE_BYTES_H
#define KOSHR_PLATFORM_POSIX_FILE_BYTES_H

#include <string>

namespace ko::os {

// Reads a whole file; false when it cannot be read.
bool read_file_bytes(const std::string& path, std::string* bytes);
// Replaces a file's content atomically: a temporary file beside it is written,
// flushed and renamed over it, creating the folder when it is missing.
bool replace_file_bytes(const std::string& path, const std::string& bytes);

}  // namespace ko::os

#endif

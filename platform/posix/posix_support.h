/*
 * posix_support.h: helpers shared by the posix backend's files: the
 * thread's last error, and UTF-16 text to and from the UTF-8 the system
 * calls take.
 */
#ifndef KOSHR_PLATFORM_POSIX_SUPPORT_H
#define KOSHR_PLATFORM_POSIX_SUPPORT_H

#include <koshr/types.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace ko::os {

void set_last_error(uint32_t code);
// Records errno, mapped to the Windows code, as the thread's last error.
void set_last_error_from_errno(int error_number);

// UTF-16 to UTF-8 (U+FFFD for broken surrogates); empty for null.
std::string to_utf8(const KOCHAR* text);
// UTF-8 to UTF-16 into a caller's buffer, truncated to capacity-1 units and
// terminated when capacity > 0; returns the count copied.
size_t copy_utf8_out(const std::string& text, KOCHAR* out, size_t capacity);

// The running executable's path (from /proc/self/exe); empty when unknown.
std::string native_executable_path();
// The folder part of a path, with its trailing slash; empty when none.
std::string folder_of(const std::string& path);

// Reads a whole file; false when it cannot be read.
bool read_file_bytes(const std::string& path, std::string* bytes);
// Replaces a file's content atomically: a temporary file beside it is written,
// flushed and renamed over it, creating the folder when it is missing.
bool replace_file_bytes(const std::string& path, const std::string& bytes);

// $XDG_CONFIG_HOME/korvane/<file>, else ~/.config/korvane/<file>.
std::string config_file_path(const char* file);

}  // namespace ko::os

#endif

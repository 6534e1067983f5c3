/*
 * utf8_text.h: UTF-16 text to and from the UTF-8 the system calls take.
 */
#ifndef KOSHR_PLATFORM_POSIX_UTF8_TEXT_H
#define KOSHR_PLATFORM_POSIX_UTF8_TEXT_H

#include <koshr/types.h>

#include <cstddef>
#include <string>

namespace ko::os {

// UTF-16 to UTF-8 (U+FFFD for broken surrogates); empty for null.
std::string to_utf8(const KOCHAR* text);
// UTF-8 to UTF-16 into a caller's buffer, truncated to capacity-1 units and
// terminated when capacity > 0; returns the count copied.
size_t copy_utf8_out(const std::string& text, KOCHAR* out, size_t capacity);

}  // namespace ko::os

#endif

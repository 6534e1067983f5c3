/*
 * utf8_text.cpp: UTF-16 text to and from UTF-8 for system calls.
 */
#include "platform/posix/utf8_text.h"

#include <cstdint>

#include "platform/utf16.h"

namespace ko::os {

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

}  // namespace ko::os

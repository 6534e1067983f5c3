/*
 * automation_strings.cpp: the SysAllocString family on POSIX, with the
 * automation string's memory layout:
 *
 *   offset 0  u32      byte length of the text (without the terminator)
 *   offset 4  KOCHAR[] the text              <- the pointer handed out
 *   then      two zero bytes
 */
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"
#include "platform/utf16.h"

namespace ko::os {
namespace {

constexpr size_t kPrefix = sizeof(uint32_t);

uint32_t* prefix_of(KOCHAR* text) {
  return reinterpret_cast<uint32_t*>(reinterpret_cast<char*>(text) - kPrefix);
}

// Allocates room for byte_length bytes of text, copies `bytes` when given,
// zero-fills otherwise, and terminates.
KOCHAR* allocate(const void* bytes, uint32_t byte_length) {
  char* block = static_cast<char*>(std::malloc(kPrefix + size_t{byte_length} + sizeof(KOCHAR)));
  if (block == nullptr) return nullptr;
  std::memcpy(block, &byte_length, kPrefix);
  if (bytes != nullptr) {
    std::memcpy(block + kPrefix, bytes, byte_length);
  } else {
    std::memset(block + kPrefix, 0, byte_length);
  }
  std::memset(block + kPrefix + byte_length, 0, sizeof(KOCHAR));
  return reinterpret_cast<KOCHAR*>(block + kPrefix);
}

}  // namespace

KOCHAR* sys_alloc_string(const KOCHAR* text) {
  if (text == nullptr) return nullptr;
  const size_t length = u16len(text);
  if (length > UINT32_MAX / sizeof(KOCHAR)) return nullptr;
  return allocate(text, static_cast<uint32_t>(length * sizeof(KOCHAR)));
}

KOCHAR* sys_alloc_string_len(const KOCHAR* text, uint32_t length) {
  if (length > UINT32_MAX / sizeof(KOCHAR)) return nullptr;
  return allocate(text, length * static_cast<uint32_t>(sizeof(KOCHAR)));
}

KOCHAR* sys_alloc_string_byte_len(const char* bytes, uint32_t byte_length) {
  return allocate(bytes, byte_length);
}

void sys_free_string(KOCHAR* text) {
  if (text != nullptr) std::free(prefix_of(text));
}

uint32_t sys_string_len(const KOCHAR* text) { return sys_string_byte_len(text) / sizeof(KOCHAR); }

uint32_t sys_string_byte_len(const KOCHAR* text) {
  if (text == nullptr) return 0;
  uint32_t byte_length;
  std::memcpy(&byte_length, reinterpret_cast<const char*>(text) - kPrefix, kPrefix);
  return byte_length;
}

}  // namespace ko::os

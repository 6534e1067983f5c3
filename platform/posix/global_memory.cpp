/*
 * global_memory.cpp: the GlobalAlloc family on POSIX. Every block is fixed
 * (a movable request gets fixed memory too), so the handle is the pointer
 * and locking is a formality. The size stands before the block:
 *
 *   offset 0   u64 size requested
 *   offset 8   spare, keeps the block 16-byte aligned
 *   offset 16  the block                         <- handle and pointer
 */
#include <cstdlib>
#include <cstring>

#include "platform/platform.h"
#include "platform/posix/last_error.h"

namespace ko::os {
namespace {

constexpr size_t kHeader = 16;

char* header_of(void* handle) { return static_cast<char*>(handle) - kHeader; }

}  // namespace

void* global_alloc(unsigned flags, size_t size) {
  if (size > SIZE_MAX - kHeader) {
    set_last_error(kErrorNotEnoughMemory);
    return nullptr;
  }
  char* block = static_cast<char*>(std::malloc(kHeader + size));
  if (block == nullptr) {
    set_last_error(kErrorNotEnoughMemory);
    return nullptr;
  }
  const uint64_t recorded = size;
  std::memcpy(block, &recorded, sizeof recorded);
  if (flags & kGlobalZeroInit) std::memset(block + kHeader, 0, size);
  return block + kHeader;
}

void* global_lock(void* handle) { return handle; }

// As for a block whose lock count is back at zero.
bool global_unlock(void* handle) { return false; }

void* global_free(void* handle) {
  if (handle != nullptr) std::free(header_of(handle));
  return nullptr;
}

size_t global_size(void* handle) {
  if (handle == nullptr) return 0;
  uint64_t recorded;
  std::memcpy(&recorded, header_of(handle), sizeof recorded);
  return static_cast<size_t>(recorded);
}

}  // namespace ko::os

/*
 * dde_memory.cpp: global-memory blocks for DDE that carry their own handle.
 *
 *   +0  8 bytes  the block's global-memory handle
 *   +8  size     the caller's bytes (the address handed out)
 */
#include <koshr/strings.h>

#include "platform/platform.h"

namespace {

constexpr size_t kHandleBytes = 8;

void*& stored_handle(void* p) {
  return *reinterpret_cast<void**>(static_cast<char*>(p) - kHandleBytes);
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API void* kostg_dde_alloc(uint16_t size) {
  void* handle = ko::os::global_alloc(ko::os::kGlobalMoveable | ko::os::kGlobalDdeShare,
                                      size_t(size) + kHandleBytes);
  if (!handle) return nullptr;
  auto* block = static_cast<char*>(ko::os::global_lock(handle));
  if (!block) {
    ko::os::global_free(handle);
    return nullptr;
  }
  void* data = block + kHandleBytes;
  stored_handle(data) = handle;
  return data;
}

KOSHR_API void kostg_dde_free(void* p) {
  if (!p) return;
  void* handle = stored_handle(p);
  ko::os::global_unlock(handle);
  ko::os::global_free(handle);
}

KOSHR_API void* kostg_dde_get_handle(void* p) { return p ? stored_handle(p) : nullptr; }

// A handle that cannot be locked gives null rather than an address 8 bytes
// past null.
KOSHR_API void* kostg_dde_lock(void* handle) {
  auto* block = static_cast<char*>(handle ? ko::os::global_lock(handle) : nullptr);
  return block ? block + kHandleBytes : nullptr;
}

KOSHR_API int kostg_dde_unlock(void* handle) {
  return handle && ko::os::global_unlock(handle) ? 1 : 0;
}

KOSHR_END_C

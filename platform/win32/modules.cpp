/*
 * modules.cpp: DLLs through LoadLibraryExW and GetProcAddress; the paths of
 * this module and of the executable through GetModuleFileNameW.
 */
#include "platform/platform.h"
#include "platform/win32/win32_support.h"

namespace ko::os {
namespace {

// GetModuleFileNameW, cut to capacity-1 units and always terminated.
size_t module_path(HMODULE module, KOCHAR* out, size_t capacity) {
  if (out == nullptr || capacity == 0) return 0;
  const DWORD length = GetModuleFileNameW(module, wide(out), api_size(capacity));
  const size_t count = length >= capacity ? capacity - 1 : length;
  out[count] = 0;
  return count;
}

}  // namespace

ModuleHandle module_load(const KOCHAR* name, unsigned flags) {
  if (name == nullptr || name[0] == 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  return LoadLibraryExW(wide(name), nullptr, flags);
}

void* module_symbol(ModuleHandle module, const char* name) {
  if (module == nullptr || name == nullptr) {
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
  }
  return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

void module_free(ModuleHandle module) {
  if (module != nullptr) FreeLibrary(static_cast<HMODULE>(module));
}

const KOCHAR* module_suffix() { return u".dll"; }

HMODULE own_module() {
  HMODULE self = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&own_module), &self);
  return self;
}

size_t own_module_path(KOCHAR* out, size_t capacity) {
  HMODULE self = own_module();
  return self != nullptr ? module_path(self, out, capacity) : 0;
}

size_t executable_path(KOCHAR* out, size_t capacity) { return module_path(nullptr, out, capacity); }

}  // namespace ko::os

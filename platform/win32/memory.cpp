/*
 * memory.cpp: automation strings (the SysAllocString family) and global
 * memory (GlobalAlloc), native on Windows. Movable global memory is handed
 * out fixed, so the handle is the pointer on both targets.
 */
#include "platform/platform.h"
#include "platform/win32/win32_support.h"

#include <oleauto.h>

namespace ko::os {

KOCHAR* sys_alloc_string(const KOCHAR* text) {
  return reinterpret_cast<KOCHAR*>(SysAllocString(wide(text)));
}

KOCHAR* sys_alloc_string_len(const KOCHAR* text, uint32_t length) {
  return reinterpret_cast<KOCHAR*>(SysAllocStringLen(wide(text), length));
}

KOCHAR* sys_alloc_string_byte_len(const char* bytes, uint32_t byte_length) {
  return reinterpret_cast<KOCHAR*>(SysAllocStringByteLen(bytes, byte_length));
}

void sys_free_string(KOCHAR* text) { SysFreeString(reinterpret_cast<BSTR>(text)); }

uint32_t sys_string_len(const KOCHAR* text) {
  return SysStringLen(reinterpret_cast<BSTR>(const_cast<KOCHAR*>(text)));
}

uint32_t sys_string_byte_len(const KOCHAR* text) {
  return SysStringByteLen(reinterpret_cast<BSTR>(const_cast<KOCHAR*>(text)));
}

void* global_alloc(unsigned flags, size_t size) {
  return GlobalAlloc(flags & ~static_cast<unsigned>(GMEM_MOVEABLE), size);
}

void* global_lock(void* handle) { return GlobalLock(handle); }

bool global_unlock(void* handle) { return GlobalUnlock(handle) != 0; }

void* global_free(void* handle) { return GlobalFree(handle); }

size_t global_size(void* handle) { return GlobalSize(handle); }

}  // namespace ko::os

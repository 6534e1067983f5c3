/*
 * module_lookup.cpp: finding an already loaded module by file name
 * (GetModuleHandleW) and the critical-error box switch (SetErrorMode).
 */
#include <windows.h>

#include "platform/platform.h"

namespace ko::os {

ModuleHandle module_loaded(const KOCHAR* name) {
  if (name == nullptr || name[0] == 0) return nullptr;
  return ::GetModuleHandleW(reinterpret_cast<const wchar_t*>(name));
}

unsigned set_error_mode(unsigned mode) { return ::SetErrorMode(mode); }

}  // namespace ko::os

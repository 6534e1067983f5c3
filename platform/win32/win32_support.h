/*
 * win32_support.h: KOCHAR and wchar_t are the same 16 bits on Windows; these
 * casts carry text between the library and the Windows API unchanged.
 */
#ifndef KOSHR_PLATFORM_WIN32_SUPPORT_H
#define KOSHR_PLATFORM_WIN32_SUPPORT_H

#include <windows.h>

#include <koshr/types.h>

static_assert(sizeof(wchar_t) == sizeof(KOCHAR), "wchar_t is UTF-16 on Windows");

namespace ko::os {

inline const wchar_t* wide(const KOCHAR* text) { return reinterpret_cast<const wchar_t*>(text); }
inline wchar_t* wide(KOCHAR* text) { return reinterpret_cast<wchar_t*>(text); }

// The library's own module (the DLL, or the program a test links it into).
HMODULE own_module();

// Clamps a buffer size to what the API's DWORD / int parameters take.
inline DWORD api_size(size_t capacity) {
  return capacity > 0x7FFFFFFF ? 0x7FFFFFFF : static_cast<DWORD>(capacity);
}

}  // namespace ko::os

#endif

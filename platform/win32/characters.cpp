/*
 * characters.cpp: locale-aware character case, classes and comparison, and
 * the ANSI code page conversions, all native on Windows.
 */
#include <cwctype>

#include "platform/platform.h"
#include "platform/win32/win32_support.h"

namespace ko::os {

KOCHAR char_upper(KOCHAR c) {
  return static_cast<KOCHAR>(
      reinterpret_cast<ULONG_PTR>(CharUpperW(reinterpret_cast<LPWSTR>(ULONG_PTR{c}))));
}

KOCHAR char_lower(KOCHAR c) {
  return static_cast<KOCHAR>(
      reinterpret_cast<ULONG_PTR>(CharLowerW(reinterpret_cast<LPWSTR>(ULONG_PTR{c}))));
}

bool char_is_space(KOCHAR c) { return std::iswspace(c) != 0; }

bool char_is_alpha(KOCHAR c) { return IsCharAlphaW(c) != 0; }

bool char_is_alnum(KOCHAR c) { return IsCharAlphaNumericW(c) != 0; }

int collate(const KOCHAR* a, const KOCHAR* b) { return lstrcmpW(wide(a), wide(b)); }

int collate_nocase(const KOCHAR* a, const KOCHAR* b) { return lstrcmpiW(wide(a), wide(b)); }

int ansi_to_utf16(const char* text, int length, KOCHAR* out, int capacity) {
  return MultiByteToWideChar(CP_ACP, 0, text, length, wide(out), capacity);
}

int utf16_to_ansi(const KOCHAR* text, int length, char* out, int capacity) {
  return WideCharToMultiByte(CP_ACP, 0, wide(text), length, out, capacity, nullptr, nullptr);
}

}  // namespace ko::os

/*
 * ansi_strict.cpp: the C runtime's strict code-page conversions on Windows:
 * a sequence the ANSI code page cannot read, or a character it cannot write
 * (even by a best-fit substitute), fails the whole conversion with 0.
 */
#include <windows.h>

#include "platform/platform.h"

namespace ko::os {

int ansi_to_utf16_strict(const char* text, int length, KOCHAR* out, int capacity) {
  return MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text, length,
                             reinterpret_cast<wchar_t*>(out), capacity);
}

int utf16_to_ansi_strict(const KOCHAR* text, int length, char* out, int capacity) {
  const auto* wide = reinterpret_cast<const wchar_t*>(text);
  // The UTF-8 code page takes no default character; it reports what it
  // cannot write through WC_ERR_INVALID_CHARS instead.
  if (GetACP() == CP_UTF8) {
    return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide, length, out, capacity, nullptr,
                               nullptr);
  }
  BOOL used_default = FALSE;
  int written = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, wide, length, out, capacity,
                                    nullptr, &used_default);
  return used_default ? 0 : written;
}

}  // namespace ko::os

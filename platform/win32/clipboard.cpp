/*
 * clipboard.cpp: the Windows clipboard, as CF_UNICODETEXT.
 */
#include <string>

#include "platform/platform.h"
#include "platform/utf16.h"
#include "platform/win32/win32_support.h"

namespace ko::os {

bool clipboard_set_text(const KOCHAR* text) {
  const size_t length = text != nullptr ? u16len(text) : 0;
  HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, (length + 1) * sizeof(KOCHAR));
  if (memory == nullptr) return false;
  auto* copy = static_cast<KOCHAR*>(GlobalLock(memory));
  for (size_t i = 0; i < length; ++i) copy[i] = text[i];
  copy[length] = 0;
  GlobalUnlock(memory);
  if (!OpenClipboard(nullptr)) {
    GlobalFree(memory);
    return false;
  }
  EmptyClipboard();
  const bool placed = SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
  CloseClipboard();
  if (!placed) GlobalFree(memory);
  return placed;
}

size_t clipboard_get_text(KOCHAR* out, size_t capacity) {
  if (!OpenClipboard(nullptr)) return 0;
  size_t length = 0;
  if (HANDLE memory = GetClipboardData(CF_UNICODETEXT)) {
    if (const auto* text = static_cast<const KOCHAR*>(GlobalLock(memory))) {
      length = u16len(text);
      if (out != nullptr && capacity > 0) u16lcpy(out, text, capacity);
      GlobalUnlock(memory);
    }
  }
  CloseClipboard();
  return length;
}

}  // namespace ko::os

// The clipboard's text as this thread last read it; valid until its next call.
KOSHR_EXTERN_C KOSHR_API const KOCHAR* koshr_clipboard_text(void) {
  thread_local std::u16string text;
  try {
    text.assign(ko::os::clipboard_get_text(nullptr, 0), u'\0');
    if (!text.empty()) {
      ko::os::clipboard_get_text(text.data(), text.size() + 1);
    }
    return text.c_str();
  } catch (...) {
    return u"";
  }
}

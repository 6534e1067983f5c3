/*
 * user.cpp: asking the user on Windows: the host's prompt handler when one is
 * installed, else a beep and a message box over the active window. A fatal exit
 * shows its message box after printing the message to stderr.
 */
#include <cstdio>
#include <cstdlib>

#include "platform/platform.h"
#include "platform/utf16.h"
#include "platform/win32/win32_support.h"

namespace ko::os {

int ask_user(const KOCHAR* text, const KOCHAR* caption, unsigned style) {
  const KOCHAR* shown_text = text != nullptr ? text : u"";
  const KOCHAR* shown_caption = caption != nullptr ? caption : u"";
  if (KOSHR_PROMPT_HANDLER handler = prompt_handler())
    return handler(shown_text, shown_caption, style);
  MessageBeep(style & MB_ICONMASK);
  return MessageBoxW(GetActiveWindow(), wide(shown_text), wide(shown_caption), style);
}

void beep(unsigned type) { MessageBeep(type); }

void unregister_window_class(const KOCHAR* name) {
  if (HMODULE self = own_module()) UnregisterClassW(wide(name), self);
}

// The message also goes to stderr, where a console host (or a test) reads it.
void fatal_exit(const KOCHAR* message) {
  const KOCHAR* text = message != nullptr ? message : u"";
  char narrow[1024];
  utf16_to_utf8(text, SIZE_MAX, narrow, sizeof narrow);
  std::fprintf(stderr, "%s\n", narrow);
  std::fflush(stderr);
  FatalAppExitW(0, wide(text));
  std::abort();
}

}  // namespace ko::os

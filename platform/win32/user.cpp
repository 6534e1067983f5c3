/*
 * user.cpp: asking the user on Windows: the host's prompt handler when one is
 * installed, else a beep and a message box over the active window.
 */
#include <cstdlib>

#include "platform/platform.h"
#include "platform/win32/win32_support.h"

namespace ko::os {

int ask_user(const KOCHAR* text, const KOCHAR* caption, unsigned style) {
  const KOCHAR* shown_text = text != nullptr ? text : u"";
  const KOCHAR* shown_caption = caption != nullptr ? caption : u"";
  if (KOSHR_PROMPT_HANDLER handler = prompt_handler()) return handler(shown_text, shown_caption, style);
  MessageBeep(style & MB_ICONMASK);
  return MessageBoxW(GetActiveWindow(), wide(shown_text), wide(shown_caption), style);
}

void beep(unsigned type) { MessageBeep(type); }

void fatal_exit(const KOCHAR* message) {
  FatalAppExitW(0, wide(message != nullptr ? message : u""));
  std::abort();
}

}  // namespace ko::os

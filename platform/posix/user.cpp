/*
 * user.cpp: asking the user on POSIX. There is no message box: the host's
 * prompt handler answers, and without one the answer is Cancel, so a server
 * never blocks. A fatal exit prints to stderr and aborts.
 */
#include <cstdio>
#include <cstdlib>

#include "platform/platform.h"
#include "platform/posix/utf8_text.h"

namespace ko::os {

int ask_user(const KOCHAR* text, const KOCHAR* caption, unsigned style) {
  KOSHR_PROMPT_HANDLER handler = prompt_handler();
  if (handler == nullptr) return kAnswerCancel;
  return handler(text != nullptr ? text : u"", caption != nullptr ? caption : u"", style);
}

void beep(unsigned type) {}

void unregister_window_class(const KOCHAR* name) {}

void fatal_exit(const KOCHAR* message) {
  std::string text;
  try {
    text = to_utf8(message);
  } catch (...) {
    text = "fatal error";
  }
  std::fprintf(stderr, "%s\n", text.c_str());
  std::fflush(stderr);
  std::abort();
}

}  // namespace ko::os

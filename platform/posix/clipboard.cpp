/*
 * clipboard.cpp: the clipboard on POSIX, a process-wide text that the host
 * reads back through koshr_clipboard_text.
 */
#include <mutex>
#include <string>

#include "platform/platform.h"

namespace ko::os {
namespace {

struct Clipboard {
  std::mutex mutex;
  std::u16string text;
};

Clipboard& clipboard() {
  static Clipboard instance;
  return instance;
}

}  // namespace

bool clipboard_set_text(const KOCHAR* text) {
  try {
    Clipboard& board = clipboard();
    std::lock_guard<std::mutex> lock(board.mutex);
    board.text = text != nullptr ? text : u"";
    return true;
  } catch (...) {
    return false;
  }
}

size_t clipboard_get_text(KOCHAR* out, size_t capacity) {
  Clipboard& board = clipboard();
  std::lock_guard<std::mutex> lock(board.mutex);
  if (out == nullptr || capacity == 0) return board.text.size();
  const size_t count = board.text.size() < capacity ? board.text.size() : capacity - 1;
  board.text.copy(out, count);
  out[count] = 0;
  return board.text.size();
}

}  // namespace ko::os

// The pointer stays valid until the library next sets the clipboard.
KOSHR_EXTERN_C KOSHR_API const KOCHAR* koshr_clipboard_text(void) {
  ko::os::Clipboard& board = ko::os::clipboard();
  std::lock_guard<std::mutex> lock(board.mutex);
  return board.text.c_str();
}

/*
 * ansi.cpp: the 8-bit ("ANSI") code page on POSIX is the character set of the
 * user's locale (LC_ALL, LC_CTYPE or LANG), or UTF-8 when the environment
 * names none or only "C"/"POSIX". The C library converts between it and code
 * points; the UTF-16 side is ours. As on Windows, a byte sequence the code
 * page cannot read becomes U+FFFD and a character it cannot write becomes '?'.
 */
#include <locale.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <initializer_list>

#include "platform/platform.h"
#include "platform/posix/last_error.h"
#include "platform/utf16.h"

namespace ko::os {
namespace {

bool names_real_locale(const char* name) {
  return name != nullptr && name[0] != 0 && std::strcmp(name, "C") != 0 &&
         std::strcmp(name, "POSIX") != 0;
}

locale_t ansi_locale() {
  static const locale_t locale = [] {
    const char* chosen = nullptr;
    for (const char* variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
      chosen = std::getenv(variable);
      if (chosen != nullptr && chosen[0] != 0) break;
    }
    locale_t result = names_real_locale(chosen) ? ::newlocale(LC_CTYPE_MASK, "", nullptr) : nullptr;
    if (result == nullptr) result = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return result != nullptr ? result : LC_GLOBAL_LOCALE;
  }();
  return locale;
}

// Switches the calling thread to the code page's locale for one conversion.
class AnsiLocaleScope {
 public:
  AnsiLocaleScope() : previous_(::uselocale(ansi_locale())) {}
  ~AnsiLocaleScope() { ::uselocale(previous_); }
  AnsiLocaleScope(const AnsiLocaleScope&) = delete;
  AnsiLocaleScope& operator=(const AnsiLocaleScope&) = delete;

 private:
  locale_t previous_;
};

// Counts every unit; stores it while it fits. Returns false on overflow.
template <typename Unit>
struct Output {
  Unit* out;
  int capacity;
  int count = 0;
  void put(Unit unit) {
    if (capacity > 0 && count < capacity) out[count] = unit;
    ++count;
  }
  int finish() {
    if (capacity > 0 && count > capacity) {
      set_last_error(kErrorInsufficientBuffer);
      return 0;
    }
    return count;
  }
};

// Replacing, or failing with 0 when `strict`, on text the code page cannot read.
int read_code_page(const char* text, int length, KOCHAR* out, int capacity, bool strict) {
  if (text == nullptr || length == 0 || length < -1 || capacity < 0 ||
      (capacity > 0 && out == nullptr)) {
    set_last_error(kErrorInvalidParameter);
    return 0;
  }
  const size_t size = length == -1 ? std::strlen(text) + 1 : static_cast<size_t>(length);
  AnsiLocaleScope scope;
  Output<KOCHAR> output{out, capacity};
  std::mbstate_t state{};
  for (size_t i = 0; i < size;) {
    wchar_t wide = 0;
    const size_t used = std::mbrtowc(&wide, text + i, size - i, &state);
    if (used == static_cast<size_t>(-1) || used == static_cast<size_t>(-2)) {
      if (strict) return 0;
      output.put(0xFFFD);
      state = std::mbstate_t{};
      i += used == static_cast<size_t>(-1) ? 1 : size - i;
      continue;
    }
    const uint32_t code = static_cast<uint32_t>(wide);
    if (code >= 0x10000 && code <= 0x10FFFF) {
      output.put(high_surrogate_of(code));
      output.put(low_surrogate_of(code));
    } else {
      output.put(code > 0x10FFFF ? KOCHAR(0xFFFD) : KOCHAR(code));
    }
    i += used == 0 ? 1 : used;
  }
  return output.finish();
}

// Replacing, or failing with 0 when `strict`, on text the code page cannot write.
int write_code_page(const KOCHAR* text, int length, char* out, int capacity, bool strict) {
  if (text == nullptr || length == 0 || length < -1 || capacity < 0 ||
      (capacity > 0 && out == nullptr)) {
    set_last_error(kErrorInvalidParameter);
    return 0;
  }
  const size_t size = length == -1 ? u16len(text) + 1 : static_cast<size_t>(length);
  AnsiLocaleScope scope;
  Output<char> output{out, capacity};
  std::mbstate_t state{};
  char bytes[MB_LEN_MAX];
  for (size_t i = 0; i < size; ++i) {
    uint32_t code = text[i];
    if (is_high_surrogate(code) && i + 1 < size && is_low_surrogate(text[i + 1])) {
      code = join_surrogates(text[i], text[i + 1]);
      ++i;
    } else if (is_surrogate(code)) {
      if (strict) return 0;
      output.put('?');
      continue;
    }
    const size_t written = std::wcrtomb(bytes, static_cast<wchar_t>(code), &state);
    if (written == static_cast<size_t>(-1)) {
      if (strict) return 0;
      output.put('?');
      state = std::mbstate_t{};
      continue;
    }
    for (size_t b = 0; b < written; ++b) output.put(bytes[b]);
  }
  return output.finish();
}

}  // namespace

int ansi_to_utf16(const char* text, int length, KOCHAR* out, int capacity) {
  return read_code_page(text, length, out, capacity, false);
}

int ansi_to_utf16_strict(const char* text, int length, KOCHAR* out, int capacity) {
  return read_code_page(text, length, out, capacity, true);
}

int utf16_to_ansi(const KOCHAR* text, int length, char* out, int capacity) {
  return write_code_page(text, length, out, capacity, false);
}

int utf16_to_ansi_strict(const KOCHAR* text, int length, char* out, int capacity) {
  return write_code_page(text, length, out, capacity, true);
}

}  // namespace ko::os

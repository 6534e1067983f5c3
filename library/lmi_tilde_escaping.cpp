/*
 * lmi_tilde_escaping.cpp: the tilde escaping of texts in export headers.
 *
 *   tab "~t"   line feed "~n"   carriage return "~r"   tilde "~~"
 *
 * Everything else is copied unchanged. Unescaping leaves a tilde followed by
 * any other character, and a trailing tilde, as they are. The exported names
 * say encrypt and decrypt; this escaping is all they do.
 */
#include <koshr/library.h>

#include "platform/utf16.h"

namespace {

// Each escaped character and the letter that stands for it after the tilde.
constexpr KOCHAR kEscapes[][2] = {{u'\t', u't'}, {u'\n', u'n'}, {u'\r', u'r'}, {u'~', u'~'}};

// The other half of the pair whose half `side` is `c`; 0 when none is.
KOCHAR other_half(KOCHAR c, int side) {
  for (const auto& pair : kEscapes) {
    if (pair[side] == c) return pair[1 - side];
  }
  return 0;
}

KOCHAR escape_letter(KOCHAR c) { return other_half(c, 0); }
KOCHAR unescape_letter(KOCHAR c) { return other_half(c, 1); }

KOCHAR* alloc_text(KostgContext* pool, size_t units) {
  return static_cast<KOCHAR*>(kostg_alc(pool, 2 * (units + 1), nullptr));
}

}  // namespace

KOSHR_API KOCHAR* LMI_EncryptSpecialChars(KostgContext* pool, const KOCHAR* text) {
  if (!pool || !text) return nullptr;
  size_t length = 0, escapes = 0;
  for (; text[length]; ++length) escapes += escape_letter(text[length]) != 0;
  KOCHAR* out = alloc_text(pool, length + escapes);
  if (!out) return nullptr;
  KOCHAR* to = out;
  for (size_t i = 0; i < length; ++i) {
    KOCHAR letter = escape_letter(text[i]);
    if (letter) {
      *to++ = u'~';
      *to++ = letter;
    } else {
      *to++ = text[i];
    }
  }
  *to = 0;
  return out;
}

KOSHR_API KOCHAR* LMI_DecryptSpecialChars(KostgContext* pool, const KOCHAR* text) {
  if (!pool || !text) return nullptr;
  size_t length = ko::u16len(text), escapes = 0;
  for (size_t i = 0; i + 1 < length; ++i) {
    if (text[i] == u'~' && unescape_letter(text[i + 1])) {
      ++escapes;
      ++i;
    }
  }
  KOCHAR* out = alloc_text(pool, length - escapes);
  if (!out) return nullptr;
  KOCHAR* to = out;
  for (size_t i = 0; i < length; ++i) {
    KOCHAR letter = i + 1 < length && text[i] == u'~' ? unescape_letter(text[i + 1]) : 0;
    if (letter) {
      *to++ = letter;
      ++i;
    } else {
      *to++ = text[i];
    }
  }
  *to = 0;
  return out;
}

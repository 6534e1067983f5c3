/*
 * culture_string.cpp: reading one regional setting out of a culture string.
 *
 * A culture string is key=value pairs separated by TAB characters; inside a
 * value "!!" stands for "!" and "!t" for a TAB. The key is found by a plain
 * substring search (the first occurrence wins, even inside a longer key):
 * callers rely on that, so it is kept.
 */
#include "format/culture_string.h"

#include <koshr/format.h>

#include "platform/utf16.h"

namespace {

// Finds the value of `key`: its first character and its length up to the
// next TAB. Returns the SHCULTURE_ code of the search.
int find_value(const KOCHAR* culture, const KOCHAR* key, const KOCHAR** value, size_t* length) {
  if (!culture || !key || !*key) return SHCULTURE_BAD;
  const KOCHAR* found = ko::u16str(culture, key);
  if (!found) return SHCULTURE_NOT_FOUND;
  const KOCHAR* at = found + ko::u16len(key);
  if (*at != u'=') return SHCULTURE_BAD;
  ++at;
  size_t count = 0;
  while (at[count] && at[count] != u'\t') ++count;
  *value = at;
  *length = count;
  return SHCULTURE_OK;
}

// Undoes the escapes in place; a "!" followed by anything else stops the
// unescaping and leaves the rest as it stands.
void unescape(KOCHAR* value) {
  KOCHAR* read = value;
  KOCHAR* write = value;
  while (*read) {
    if (*read != u'!') {
      *write++ = *read++;
      continue;
    }
    if (read[1] == u'!') {
      *write++ = u'!';
      read += 2;
    } else if (read[1] == u't') {
      *write++ = u'\t';
      read += 2;
    } else {
      while (*read) *write++ = *read++;
    }
  }
  *write = 0;
}

}  // namespace

namespace ko {

KOCHAR culture_first_character(const KOCHAR* culture, const KOCHAR* key, KOCHAR fallback) {
  const KOCHAR* value = nullptr;
  size_t length = 0;
  if (find_value(culture, key, &value, &length) != SHCULTURE_OK || length == 0) return fallback;
  // Of the escapes only "!t" changes the first character: "!!" is "!" and a
  // "!" before anything else stays as it stands.
  return value[0] == u'!' && length > 1 && value[1] == u't' ? KOCHAR(u'\t') : value[0];
}

}  // namespace ko

extern "C" KOSHR_API int getCultureValueStr(const KOCHAR* culture, const KOCHAR* key,
                                            const KOCHAR* default_value, KOCHAR* out,
                                            int capacity) {
  if (!out || capacity <= 0) return SHCULTURE_BAD;
  ko::u16lcpy(out, default_value ? default_value : u"", size_t(capacity));
  const KOCHAR* value = nullptr;
  size_t length = 0;
  const int found = find_value(culture, key, &value, &length);
  if (found != SHCULTURE_OK) return found;
  if (length + 1 > size_t(capacity)) return SHCULTURE_TOO_LONG;
  for (size_t i = 0; i < length; ++i) out[i] = value[i];
  out[length] = 0;
  unescape(out);
  return SHCULTURE_OK;
}

extern "C" KOSHR_API int getCultureValueInt(const KOCHAR* culture, const KOCHAR* key,
                                            int default_value, int* out) {
  KOCHAR text[64];
  int result = getCultureValueStr(culture, key, u"", text, 64);
  if (out) *out = result == SHCULTURE_OK ? ko::u16_to_i32(text, nullptr, 10) : default_value;
  return result;
}

/*
 * utf.cpp: the tool's UTF-8 <-> UTF-16 conversions.
 */
#include "utf.h"

namespace koshr_tool {

std::u16string utf8_to_utf16(const std::string& text) {
  std::u16string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size();) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    int extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : -1;
    char32_t code = extra == 0 ? c : extra == 1 ? (c & 0x1F) : extra == 2 ? (c & 0x0F) : (c & 0x07);
    bool ok = extra >= 0 && i + size_t(extra) < text.size() + (extra == 0);
    for (int k = 1; ok && k <= extra; ++k) {
      unsigned char next = static_cast<unsigned char>(text[i + size_t(k)]);
      ok = (next & 0xC0) == 0x80;
      code = (code << 6) | (next & 0x3F);
    }
    if (!ok || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
      out += char16_t(0xFFFD);
      ++i;
      continue;
    }
    i += size_t(extra) + 1;
    if (code >= 0x10000) {
      code -= 0x10000;
      out += char16_t(0xD800 + (code >> 10));
      out += char16_t(0xDC00 + (code & 0x3FF));
    } else {
      out += char16_t(code);
    }
  }
  return out;
}

std::string utf16_to_utf8(const std::u16string& text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t code = text[i];
    if (code >= 0xD800 && code < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00);
    } else if (code >= 0xD800 && code < 0xE000) {
      code = 0xFFFD;
    }
    if (code < 0x80) {
      out += char(code);
    } else if (code < 0x800) {
      out += char(0xC0 | (code >> 6));
      out += char(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
      out += char(0xE0 | (code >> 12));
      out += char(0x80 | ((code >> 6) & 0x3F));
      out += char(0x80 | (code & 0x3F));
    } else {
      out += char(0xF0 | (code >> 18));
      out += char(0x80 | ((code >> 12) & 0x3F));
      out += char(0x80 | ((code >> 6) & 0x3F));
      out += char(0x80 | (code & 0x3F));
    }
  }
  return out;
}

}  // namespace koshr_tool

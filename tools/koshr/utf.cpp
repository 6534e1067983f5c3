/*
 * utf.cpp: the tool's UTF-8 <-> UTF-16 conversions (see utf.h).
 */
#include "utf.h"

namespace koshr_tool {
namespace {

// Decodes the sequence at `at` into *code; its length in bytes, or 0 when it
// is malformed, overlong, a surrogate or beyond U+10FFFF.
size_t decode_utf8(std::string_view text, size_t at, char32_t* code) {
  auto c = static_cast<unsigned char>(text[at]);
  size_t extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : 4;
  if (extra == 4 || at + extra >= text.size() + (extra == 0)) return 0;
  *code = extra == 0 ? c : extra == 1 ? (c & 0x1F) : extra == 2 ? (c & 0x0F) : (c & 0x07);
  for (size_t k = 1; k <= extra; ++k) {
    auto next = static_cast<unsigned char>(text[at + k]);
    if ((next & 0xC0) != 0x80) return 0;
    *code = (*code << 6) | (next & 0x3F);
  }
  static const char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
  if (*code < kSmallest[extra] || *code > 0x10FFFF || is_surrogate(*code)) return 0;
  return extra + 1;
}

}  // namespace

std::u16string utf8_to_utf16(std::string_view text) {
  std::u16string out;
  append_utf16(text, out);
  return out;
}

void append_utf16(std::string_view text, std::u16string& out) {
  out.reserve(out.size() + text.size());
  for (size_t i = 0; i < text.size();) {
    if (static_cast<unsigned char>(text[i]) < 0x80) {
      out += char16_t(text[i++]);
      continue;
    }
    char32_t code = 0;
    size_t length = decode_utf8(text, i, &code);
    if (length == 0) {
      out += char16_t(0xFFFD);
      ++i;
      continue;
    }
    i += length;
    if (code >= 0x10000) {
      code -= 0x10000;
      out += char16_t(0xD800 + (code >> 10));
      out += char16_t(0xDC00 + (code & 0x3FF));
    } else {
      out += char16_t(code);
    }
  }
}

size_t utf16_length(std::string_view text) {
  // One unit per sequence, two for the four-byte ones beyond the BMP.
  size_t units = 0;
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    units += (byte & 0xC0) != 0x80;
    units += byte >= 0xF0;
  }
  return units;
}

bool valid_utf8(std::string_view text) {
  char32_t code = 0;
  for (size_t i = 0, length = 0; i < text.size(); i += length) {
    if ((length = decode_utf8(text, i, &code)) == 0) return false;
  }
  return true;
}

std::string utf16_to_utf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t code = text[i];
    if (is_high_surrogate(code) && i + 1 < text.size() && is_low_surrogate(text[i + 1])) {
      code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00);
    } else if (is_surrogate(code)) {
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

std::string utf16_to_utf8(const char16_t* text) {
  return text ? utf16_to_utf8(std::u16string_view(text)) : std::string();
}

}  // namespace koshr_tool

/*
 * compile_string.cpp: the string-format compiler. "@" stands for the next
 * character of the value, "\" escapes, text in single quotes is literal,
 * "[" starts a colour, ";" separates up to three sections (codes 29 to 31),
 * every other character is a literal.
 */
#include <koshr/format.h>

#include "format/code_writer.h"
#include "format/format_tables.h"
#include "platform/utf16.h"

namespace ko {
namespace {

constexpr int kStringSections = kLastSection - kDateFirstSection + 1;
constexpr size_t kStringFormatMax = 1000;

int compile_string(const KOCHAR* text, size_t length, CodeWriter& out) {
  int section_index = 0;
  int section_start = out.begin_section(kDateFirstSection);
  auto literal = [&out](KOCHAR c) {
    out.put(kCodeLiteral);
    out.put(c);
  };
  for (size_t pos = 0; pos < length; ++pos) {
    KOCHAR c = text[pos];
    switch (c) {
      case u'@':
        out.put(kCodeStringChar);
        break;
      case u'\\':
        if (++pos >= length) return SHFORMAT_ERR_EOS;
        literal(text[pos]);
        break;
      case u'\'': {
        size_t close = pos + 1;
        while (close < length && text[close] != u'\'') ++close;
        if (close >= length) return SHFORMAT_ERR_EOS;
        while (++pos < close) literal(text[pos]);
        break;
      }
      case u'[': {
        size_t close = pos + 1;
        while (close < length && text[close] != u']') ++close;
        if (close >= length) return SHFORMAT_ERR_EOS;
        size_t name_length = close - pos - 1;
        if (name_length > kBracketNameMax) return SHFORMAT_ERR_KEY;
        KOCHAR digits[kBracketNameMax];
        size_t count = 0;
        int colour = read_colour(text + pos + 1, name_length, digits, &count);
        if (colour < 0) return SHFORMAT_ERR_KEY;
        if (colour > 0) return colour;
        out.put(kCodeColourStart);
        out.put_text(digits, count);
        out.put(kCodeColourEnd);
        pos = close;
        break;
      }
      case u';':
        out.end_section(section_start, 0, 0);
        if (++section_index >= kStringSections) return SHFORMAT_ERR_SECTION;
        section_start = out.begin_section(KOFMTCODE(kDateFirstSection + section_index));
        break;
      default:
        literal(c);
        break;
    }
  }
  out.end_section(section_start, 0, 0);
  return 0;
}

}  // namespace
}  // namespace ko

extern "C" KOSHR_API int shformatCmplStringMask(const KOCHAR* format, KOFMTCODE* compiled,
                                                int capacity) {
  if (int error = ko::check_compile_arguments(format, compiled, capacity)) return error;
  ko::CodeWriter out(compiled, capacity);
  return out.close(ko::compile_string(format, ko::u16nlen(format, ko::kStringFormatMax), out));
}

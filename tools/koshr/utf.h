/*
 * utf.h: the tool's one conversion between command-line UTF-8 and the
 * library's UTF-16 (standard encodings, surrogate pairs joined, malformed
 * or overlong input and lone surrogates as U+FFFD), so any text round-trips.
 */
#ifndef KOSHR_TOOL_UTF_H
#define KOSHR_TOOL_UTF_H

#include <string>
#include <string_view>

namespace koshr_tool {

// A code point above U+FFFF is a high unit (D800-DBFF) followed by a low one
// (DC00-DFFF); neither range is a character by itself.
inline bool is_high_surrogate(char32_t code) { return code >= 0xD800 && code < 0xDC00; }
inline bool is_low_surrogate(char32_t code) { return code >= 0xDC00 && code < 0xE000; }
inline bool is_surrogate(char32_t code) { return code >= 0xD800 && code < 0xE000; }

std::u16string utf8_to_utf16(std::string_view text);
// The same, appended to `out`.
void append_utf16(std::string_view text, std::u16string& out);
std::string utf16_to_utf8(std::u16string_view text);
// A null text gives "".
std::string utf16_to_utf8(const char16_t* text);
// The UTF-16 units well-formed UTF-8 `text` takes.
size_t utf16_length(std::string_view text);
// True when `text` is well-formed UTF-8.
bool valid_utf8(std::string_view text);

}  // namespace koshr_tool

#endif

/*
 * utf.h: UTF-8 and UTF-16 for the tool's input and output (standard
 * encodings, surrogate pairs joined, malformed input as U+FFFD).
 */
#ifndef KOSHR_TOOL_UTF_H
#define KOSHR_TOOL_UTF_H

#include <string>

namespace koshr_tool {

std::u16string utf8_to_utf16(const std::string& text);
std::string utf16_to_utf8(const std::u16string& text);

}  // namespace koshr_tool

#endif

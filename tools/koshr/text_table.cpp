/*
 * text_table.cpp: the aligned table of `koshr query` (see text_table.h).
 */
#include "text_table.h"

#include <algorithm>

#include "utf.h"

namespace koshr_tool {
namespace {

// Line breaks inside a value show as spaces.
std::string one_line(const std::string& text) {
  std::string line = text;
  std::replace(line.begin(), line.end(), '\n', ' ');
  std::replace(line.begin(), line.end(), '\r', ' ');
  std::replace(line.begin(), line.end(), '\t', ' ');
  return line;
}

// Terminal columns a code point takes: 0 for combining marks and joiners,
// 2 for East Asian wide and fullwidth forms and emoji, 1 for the rest.
int columns_of(char32_t code) {
  struct Range {
    char32_t first, last;
  };
  static const Range kZero[] = {{0x0300, 0x036F}, {0x1AB0, 0x1AFF}, {0x200B, 0x200F},
                                {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};
  static const Range kWide[] = {
      {0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},
      {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},   {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
      {0xFE30, 0xFE4F},   {0xFF00, 0xFF60},   {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F},
      {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF}, {0x1FA70, 0x1FAFF}, {0x20000, 0x3FFFD}};
  for (const Range& range : kZero) {
    if (code >= range.first && code <= range.last) return 0;
  }
  for (const Range& range : kWide) {
    if (code >= range.first && code <= range.last) return 2;
  }
  return 1;
}

// The columns a line of UTF-8 takes on a terminal.
size_t characters(const std::string& text) {
  size_t count = 0;
  for (size_t i = 0; i < text.size();) {
    const unsigned char lead = static_cast<unsigned char>(text[i]);
    const size_t length = lead < 0x80    ? 1
                          : lead >= 0xF0 ? 4
                          : lead >= 0xE0 ? 3
                          : lead >= 0xC0 ? 2
                                         : 1;
    char32_t code = length == 1 ? lead : lead & (0x7F >> length);
    for (size_t k = 1; k < length && i + k < text.size(); ++k) {
      code = (code << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
    }
    count += size_t(columns_of(code));
    i += length;
  }
  return count;
}

}  // namespace

TextTable::TextTable(std::vector<std::string> names, std::vector<bool> right_aligned)
    : names_(std::move(names)), right_(std::move(right_aligned)) {}

std::string TextTable::render() const {
  std::vector<size_t> widths;
  for (const std::string& name : names_) widths.push_back(characters(name));
  for (const auto& row : rows_) {
    for (size_t c = 0; c < row.size() && c < widths.size(); ++c) {
      widths[c] = std::max(widths[c], characters(one_line(row[c])));
    }
  }
  std::string out;
  auto line = [&](const std::vector<std::string>& cells, bool header) {
    for (size_t c = 0; c < widths.size(); ++c) {
      std::string cell = c < cells.size() ? one_line(cells[c]) : "";
      std::string pad(widths[c] - characters(cell), ' ');
      out += c == 0 ? " " : " | ";
      out += right_[c] && !header ? pad + cell : cell + (c + 1 < widths.size() ? pad : "");
    }
    out += "\n";
  };
  line(names_, true);
  for (size_t c = 0; c < widths.size(); ++c) {
    out += (c == 0 ? "" : "+") + std::string(widths[c] + 2, '-');
  }
  out += "\n";
  for (const auto& row : rows_) line(row, false);
  out += "(" + std::to_string(rows_.size()) + (rows_.size() == 1 ? " row)\n" : " rows)\n");
  return out;
}

}  // namespace koshr_tool

/*
 * text_table.cpp: the aligned table of `koshr query` (see text_table.h).
 */
#include "text_table.h"

#include <algorithm>

#include "utf.h"

namespace koshr_tool {
namespace {

// Characters, not bytes; line breaks inside a value show as spaces.
std::string one_line(const std::string& text) {
  std::string line = text;
  std::replace(line.begin(), line.end(), '\n', ' ');
  std::replace(line.begin(), line.end(), '\r', ' ');
  std::replace(line.begin(), line.end(), '\t', ' ');
  return line;
}

size_t characters(const std::string& text) {
  size_t count = 0;
  for (char c : text) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
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

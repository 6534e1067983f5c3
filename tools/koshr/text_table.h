/*
 * text_table.h: a result shown as an aligned table, the default output of
 * `koshr query`:
 *
 *    id | name   | price
 *   ----+--------+-------
 *     1 | Widget | 19.99
 *     2 | NULL   |  4.50
 *   (2 rows)
 *
 * Numbers are right-aligned, everything else left-aligned; widths count
 * characters. The table is for reading, so it holds its rows (an export
 * with --as streams instead).
 */
#ifndef KOSHR_TOOL_TEXT_TABLE_H
#define KOSHR_TOOL_TEXT_TABLE_H

#include <string>
#include <vector>

namespace koshr_tool {

class TextTable {
 public:
  TextTable(std::vector<std::string> names, std::vector<bool> right_aligned);
  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
  std::string render() const;

 private:
  std::vector<std::string> names_;
  std::vector<bool> right_;
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace koshr_tool

#endif

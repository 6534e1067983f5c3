/*
 * row_spool.cpp: rows on disk for the exports that need the count ahead
 * (see row_spool.h).
 *
 * A cell is a byte (0 missing, 1 present) and then, when present, what its
 * column's type keeps: a string as its length and UTF-16 units; a double, a
 * decimal or a date-time as its bytes, a date-time followed by its text.
 */
#include "row_spool.h"

#include <algorithm>
#include <limits>

namespace koshr_tool {
namespace {

constexpr uint32_t kMaxRows = std::numeric_limits<uint32_t>::max();

}  // namespace

RowSpool::RowSpool(const std::vector<ExportColumn>& columns)
    : longest_(columns.size(), 1), file_(std::tmpfile()) {
  for (const ExportColumn& column : columns) types_.push_back(column.type);
}

RowSpool::~RowSpool() {
  if (file_) std::fclose(file_);
}

bool RowSpool::write_cell(const CellValue& cell, uint8_t type) {
  auto put = [&](const void* data, size_t size) {
    return std::fwrite(data, 1, size, file_) == size;
  };
  auto put_text = [&](const std::u16string& text) {
    auto length = uint32_t(text.size());
    return put(&length, sizeof length) && put(text.data(), length * sizeof(char16_t));
  };
  uint8_t present = cell.missing ? 0 : 1;
  if (!put(&present, 1)) return false;
  if (cell.missing) return true;
  switch (type) {
    case KOSAVE_DOUBLE:
      return put(&cell.number, sizeof cell.number);
    case KOSAVE_DECIMAL:
      return put(&cell.decimal, sizeof cell.decimal);
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME:
      return put(&cell.when, sizeof cell.when) && put_text(cell.text);
    default:
      return put_text(cell.text);
  }
}

bool RowSpool::read_cell(CellValue& cell, uint8_t type) {
  auto get = [&](void* data, size_t size) { return std::fread(data, 1, size, file_) == size; };
  auto get_text = [&](std::u16string& text) {
    uint32_t length = 0;
    if (!get(&length, sizeof length)) return false;
    text.resize(length);
    return get(text.data(), length * sizeof(char16_t));
  };
  uint8_t present = 0;
  if (!get(&present, 1)) return false;
  cell.missing = present == 0;
  if (cell.missing) return true;
  switch (type) {
    case KOSAVE_DOUBLE:
      return get(&cell.number, sizeof cell.number);
    case KOSAVE_DECIMAL:
      return get(&cell.decimal, sizeof cell.decimal);
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME:
      return get(&cell.when, sizeof cell.when) && get_text(cell.text);
    default:
      return get_text(cell.text);
  }
}

bool RowSpool::fill(RowSource& rows, std::string& why) {
  if (!file_) {
    why = "cannot create a temporary file for the rows";
    return false;
  }
  std::vector<CellValue> row;
  while (rows.next(row, why)) {
    if (rows_ == kMaxRows) {
      why = "more rows than an export can count";
      return false;
    }
    for (size_t c = 0; c < types_.size(); ++c) {
      if (!write_cell(row[c], types_[c])) {
        why = "cannot write the rows to a temporary file";
        return false;
      }
      if (types_[c] == KOSAVE_STRING && !row[c].missing) {
        longest_[c] = std::max(longest_[c], int32_t(std::min<size_t>(row[c].text.size(), 65535)));
      }
    }
    ++rows_;
  }
  if (!why.empty()) return false;
  if (std::fflush(file_) != 0 || std::fseek(file_, 0, SEEK_SET) != 0) {
    why = "cannot read the rows back from a temporary file";
    return false;
  }
  return true;
}

bool RowSpool::next(std::vector<CellValue>& row, std::string& why) {
  if (read_ == rows_) return false;
  row.resize(types_.size());
  for (size_t c = 0; c < types_.size(); ++c) {
    if (!read_cell(row[c], types_[c])) {
      why = "cannot read the rows back from a temporary file";
      return false;
    }
  }
  ++read_;
  return true;
}

}  // namespace koshr_tool

/*
 * row_spool.cpp: rows on disk for the exports that need the count ahead
 * (see row_spool.h).
 */
#include "row_spool.h"

#include <algorithm>
#include <limits>

namespace koshr_tool {
namespace {

constexpr uint32_t kMaxRows = std::numeric_limits<uint32_t>::max();
constexpr size_t kChunk = 1 << 16;

}  // namespace

RowSpool::RowSpool(const std::vector<ExportColumn>& columns)
    : longest_(columns.size(), 1),
      file_(std::tmpfile()),
      out_([this](const uint8_t* data,
                  size_t size) { return std::fwrite(data, 1, size, file_) == size; },
           kChunk),
      in_([this](uint8_t* data, size_t capacity) { return std::fread(data, 1, capacity, file_); },
          kChunk) {
  for (const ExportColumn& column : columns) types_.push_back(column.type);
}

RowSpool::~RowSpool() {
  if (file_) std::fclose(file_);
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
      put_cell(out_, row[c], types_[c]);
      if (types_[c] == KOSAVE_STRING && !row[c].missing) {
        longest_[c] = std::max(longest_[c], int32_t(std::min<size_t>(row[c].text.size(), 65535)));
      }
    }
    ++rows_;
    if (out_.failed()) {
      why = "cannot write the rows to a temporary file";
      return false;
    }
  }
  if (!why.empty()) return false;
  if (!out_.flush() || std::fflush(file_) != 0 || std::fseek(file_, 0, SEEK_SET) != 0) {
    why = "cannot read the rows back from a temporary file";
    return false;
  }
  return true;
}

bool RowSpool::next(std::vector<CellValue>& row, std::string& why) {
  if (read_ == rows_) return false;
  row.resize(types_.size());
  for (size_t c = 0; c < types_.size(); ++c) {
    if (!get_cell(in_, row[c], types_[c])) {
      why = "cannot read the rows back from a temporary file";
      return false;
    }
  }
  ++read_;
  return true;
}

}  // namespace koshr_tool

/*
 * row_spool.h: rows put aside on disk so an export whose format writes the
 * row count or the column widths ahead (dBase, SYLK, DIF, worksheet, SQL)
 * can take a stream that does not know them until its end.
 *
 * The rows go to an anonymous temporary file (gone with the process, however
 * it ends) in the binary form of row_codec.h; memory holds one row and the
 * file's buffers whatever the count.
 * The spool counts the rows and keeps each column's longest string.
 */
#ifndef KOSHR_TOOL_ROW_SPOOL_H
#define KOSHR_TOOL_ROW_SPOOL_H

#include <cstdio>
#include <string>
#include <vector>

#include "export_stream.h"
#include "row_codec.h"

namespace koshr_tool {

class RowSpool final : public RowSource {
 public:
  explicit RowSpool(const std::vector<ExportColumn>& columns);
  ~RowSpool() override;
  RowSpool(const RowSpool&) = delete;
  RowSpool& operator=(const RowSpool&) = delete;

  // Puts every row of `rows` aside; false with `why` when the source or the
  // disk fails.
  bool fill(RowSource& rows, std::string& why);
  uint32_t row_count() const { return rows_; }
  // The longest string of column `c` in UTF-16 units, at least 1.
  int32_t longest(size_t c) const { return longest_[c]; }

  // Reads the rows back, in order, after fill().
  bool next(std::vector<CellValue>& row, std::string& why) override;

 private:
  std::vector<uint8_t> types_;
  std::vector<int32_t> longest_;
  std::FILE* file_;
  ByteOutput out_;
  ByteInput in_;
  uint32_t rows_ = 0;
  uint32_t read_ = 0;
};

}  // namespace koshr_tool

#endif

/*
 * csv_reader.h: reads RFC 4180 comma-separated text in UTF-8, record by
 * record, for `koshr saveas`, from text in memory or streamed from a file.
 *
 * Fields are separated by ",", records by CR LF or LF; a field in double
 * quotes may hold commas, line breaks and doubled quotes. A leading UTF-8
 * byte-order mark is skipped. Malformed input (a quote inside an unquoted
 * field, text after a closing quote, a quoted field left open, bytes that
 * are not UTF-8) stops the reader with an error naming the line. A file is
 * read through a window of a fixed size, so memory does not grow with it.
 */
#ifndef KOSHR_TOOL_CSV_READER_H
#define KOSHR_TOOL_CSV_READER_H

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace koshr_tool {

class CsvReader {
 public:
  explicit CsvReader(std::string_view text);
  // Reads `file` from where it stands, `window_bytes` at a time; the caller
  // keeps it open meanwhile.
  explicit CsvReader(std::FILE* file, size_t window_bytes = size_t(1) << 16);

  // Reads the next record into `fields` (reusing its strings); false at the
  // end or on an error (then error() is not empty).
  bool next(std::vector<std::string>& fields);
  // The 1-based line on which the record last read (or the error) starts.
  size_t line() const { return record_line_; }
  const std::string& error() const { return error_; }

 private:
  bool fail(size_t line, const std::string& why);
  // Reads one field; true when a field was read, `record_end` when it ended its record.
  bool read_field(std::string& field, bool& record_end);
  // The byte `ahead` bytes past the current one, or -1 past the end.
  int peek(size_t ahead = 0) {
    if (at_ + ahead >= text_.size() && !refill(ahead)) return -1;
    return static_cast<unsigned char>(text_[at_ + ahead]);
  }
  // Moves the window so that `ahead` bytes past the current one are in it,
  // when the file has them.
  bool refill(size_t ahead);
  bool at_end() { return peek() < 0; }

  std::FILE* file_ = nullptr;
  size_t window_bytes_ = 0;
  std::string window_;
  std::string_view text_;
  size_t at_ = 0;
  size_t line_ = 1;
  size_t record_line_ = 1;
  std::string error_;
};

}  // namespace koshr_tool

#endif

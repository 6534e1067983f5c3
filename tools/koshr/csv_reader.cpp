/*
 * csv_reader.cpp: the RFC 4180 reader of `koshr saveas` (see csv_reader.h).
 */
#include "csv_reader.h"

#include "utf.h"

namespace koshr_tool {

CsvReader::CsvReader(std::string_view text) : text_(text) {
  if (text_.substr(0, 3) == "\xEF\xBB\xBF") at_ = 3;
}

bool CsvReader::fail(size_t line, const std::string& why) {
  error_ = "line " + std::to_string(line) + ": " + why;
  record_line_ = line;
  at_ = text_.size();
  return false;
}

bool CsvReader::read_field(std::string& field, bool& record_end) {
  field.clear();
  record_end = false;
  auto end_of_line = [&]() {
    if (text_[at_] == '\r' && at_ + 1 < text_.size() && text_[at_ + 1] == '\n') ++at_;
    ++at_;
    ++line_;
    record_end = true;
  };
  if (at_ < text_.size() && text_[at_] == '"') {
    size_t opened = line_;
    ++at_;
    for (;;) {
      if (at_ >= text_.size()) return fail(opened, "a quoted field is never closed");
      char c = text_[at_++];
      if (c == '"') {
        if (at_ < text_.size() && text_[at_] == '"') {
          field += '"';
          ++at_;
          continue;
        }
        break;
      }
      if (c == '\n') ++line_;
      field += c;
    }
    if (at_ >= text_.size()) {
      record_end = true;
    } else if (text_[at_] == ',') {
      ++at_;
    } else if (text_[at_] == '\r' || text_[at_] == '\n') {
      end_of_line();
    } else {
      return fail(line_, "text after the closing quote of a field");
    }
    return true;
  }
  while (at_ < text_.size()) {
    char c = text_[at_];
    if (c == ',') {
      ++at_;
      return true;
    }
    if (c == '\r' || c == '\n') {
      end_of_line();
      return true;
    }
    if (c == '"') return fail(line_, "a quote inside a field that does not start with one");
    field += c;
    ++at_;
  }
  record_end = true;
  return true;
}

bool CsvReader::next(std::vector<std::string>& fields) {
  fields.clear();
  if (at_ >= text_.size()) return false;
  record_line_ = line_;
  bool record_end = false;
  std::string field;
  while (!record_end) {
    if (!read_field(field, record_end)) return false;
    if (!valid_utf8(field)) return fail(record_line_, "the text is not UTF-8");
    fields.push_back(field);
  }
  return true;
}

}  // namespace koshr_tool

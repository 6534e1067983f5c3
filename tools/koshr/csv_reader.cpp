/*
 * csv_reader.cpp: the RFC 4180 reader of `koshr saveas` (see csv_reader.h).
 */
#include "csv_reader.h"

#include "utf.h"

namespace koshr_tool {

CsvReader::CsvReader(std::string_view text) : text_(text) {
  if (text_.substr(0, 3) == "\xEF\xBB\xBF") at_ = 3;
}

CsvReader::CsvReader(std::FILE* file, size_t window_bytes)
    : file_(file), window_bytes_(window_bytes ? window_bytes : 1) {
  if (peek() == 0xEF && peek(1) == 0xBB && peek(2) == 0xBF) at_ = 3;
}

bool CsvReader::refill(size_t ahead) {
  if (!file_) return false;
  window_.erase(0, at_);
  at_ = 0;
  while (window_.size() <= ahead) {
    size_t kept = window_.size();
    window_.resize(kept + window_bytes_);
    size_t got = std::fread(&window_[kept], 1, window_bytes_, file_);
    window_.resize(kept + got);
    if (got == 0) break;
  }
  text_ = window_;
  return window_.size() > ahead;
}

bool CsvReader::fail(size_t line, const std::string& why) {
  error_ = "line " + std::to_string(line) + ": " + why;
  record_line_ = line;
  file_ = nullptr;
  text_ = {};
  at_ = 0;
  return false;
}

bool CsvReader::read_field(std::string& field, bool& record_end) {
  field.clear();
  record_end = false;
  auto end_of_line = [&]() {
    if (peek() == '\r' && peek(1) == '\n') ++at_;
    ++at_;
    ++line_;
    record_end = true;
  };
  if (peek() == '"') {
    size_t opened = line_;
    ++at_;
    for (;;) {
      int c = peek();
      if (c < 0) return fail(opened, "a quoted field is never closed");
      ++at_;
      if (c == '"') {
        if (peek() == '"') {
          field += '"';
          ++at_;
          continue;
        }
        break;
      }
      if (c == '\n') ++line_;
      field += char(c);
    }
    int next = peek();
    if (next < 0) {
      record_end = true;
    } else if (next == ',') {
      ++at_;
    } else if (next == '\r' || next == '\n') {
      end_of_line();
    } else {
      return fail(line_, "text after the closing quote of a field");
    }
    return true;
  }
  for (int c; (c = peek()) >= 0;) {
    if (c == ',') {
      ++at_;
      return true;
    }
    if (c == '\r' || c == '\n') {
      end_of_line();
      return true;
    }
    if (c == '"') return fail(line_, "a quote inside a field that does not start with one");
    // Plain bytes up to the next special one go in at once.
    size_t run = at_ + 1;
    while (run < text_.size() && text_[run] != ',' && text_[run] != '\r' && text_[run] != '\n' &&
           text_[run] != '"') {
      ++run;
    }
    field.append(text_.data() + at_, run - at_);
    at_ = run;
  }
  record_end = true;
  return true;
}

bool CsvReader::next(std::vector<std::string>& fields) {
  if (at_end()) {
    fields.clear();
    return false;
  }
  record_line_ = line_;
  bool record_end = false;
  size_t count = 0;
  while (!record_end) {
    if (count == fields.size()) fields.emplace_back();
    std::string& field = fields[count++];
    if (!read_field(field, record_end)) {
      fields.clear();
      return false;
    }
    if (!valid_utf8(field)) {
      fields.clear();
      return fail(record_line_, "the text is not UTF-8");
    }
  }
  fields.resize(count);
  return true;
}

}  // namespace koshr_tool

/*
 * saveas_columns.cpp: column types and field conversion for `koshr saveas`
 * (see saveas_columns.h).
 */
#include "saveas_columns.h"

#include "decimal_text.h"
#include "utf.h"

#include <cerrno>
#include <cstdlib>

namespace koshr_tool {
namespace {

bool digits(const std::string& text, size_t at, size_t count) {
  if (at + count > text.size()) return false;
  for (size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
  }
  return true;
}

int number_at(const std::string& text, size_t at, size_t count) {
  return std::atoi(text.substr(at, count).c_str());
}

bool leap(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

// "YYYY-MM-DD" at `at`; fills the date fields of `out`.
bool read_date(const std::string& text, size_t at, KODATETIME& out) {
  if (!digits(text, at, 4) || text.size() < at + 10 || text[at + 4] != '-' ||
      !digits(text, at + 5, 2) || text[at + 7] != '-' || !digits(text, at + 8, 2)) {
    return false;
  }
  int year = number_at(text, at, 4), month = number_at(text, at + 5, 2),
      day = number_at(text, at + 8, 2);
  static const int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (year < 1900 || month < 1 || month > 12 || day < 1) return false;
  if (day > kDays[month - 1] + (month == 2 && leap(year) ? 1 : 0)) return false;
  out.year = uint16_t(year - 1900);
  out.month = uint8_t(month - 1);
  out.day = uint8_t(day);
  return true;
}

// "HH:MM", "HH:MM:SS" or "HH:MM:SS.ffffff" from `at` to the end.
bool read_time(const std::string& text, size_t at, KODATETIME& out) {
  if (!digits(text, at, 2) || text.size() < at + 5 || text[at + 2] != ':' ||
      !digits(text, at + 3, 2)) {
    return false;
  }
  int hour = number_at(text, at, 2), minute = number_at(text, at + 3, 2), second = 0;
  uint32_t micro = 0;
  size_t end = at + 5;
  if (end < text.size()) {
    if (text[end] != ':' || !digits(text, end + 1, 2)) return false;
    second = number_at(text, end + 1, 2);
    end += 3;
    if (end < text.size()) {
      size_t count = text.size() - end - 1;
      if (text[end] != '.' || count < 1 || count > 6 || !digits(text, end + 1, count)) return false;
      std::string fraction = text.substr(end + 1) + std::string(6 - count, '0');
      micro = uint32_t(std::atoi(fraction.c_str()));
      end = text.size();
    }
  }
  if (hour > 23 || minute > 59 || second > 59) return false;
  out.hour = uint8_t(hour);
  out.minute = uint8_t(minute);
  out.second = uint8_t(second);
  out.subsecond = micro;
  return true;
}

bool read_datetime(const std::string& text, KODATETIME& out) {
  return text.size() > 11 && (text[10] == 'T' || text[10] == ' ') && read_date(text, 0, out) &&
         read_time(text, 11, out);
}

bool read_date_only(const std::string& text, KODATETIME& out) {
  return text.size() == 10 && read_date(text, 0, out);
}

bool read_time_only(const std::string& text, KODATETIME& out) {
  out.year = 0;
  out.month = 0;
  out.day = 1;
  return read_time(text, 0, out);
}

bool read_double(const std::string& text, double& out) {
  if (text.empty() || text[0] == ' ' || text.find_first_of("xXnNiI") != std::string::npos)
    return false;
  char* end = nullptr;
  errno = 0;
  out = std::strtod(text.c_str(), &end);
  return end == text.c_str() + text.size() && errno == 0;
}

}  // namespace

const void* CellValue::pointer(uint8_t type, bool dates_as_text) const {
  if (missing) return nullptr;
  switch (type) {
    case KOSAVE_DOUBLE:
      return &number;
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME:
      if (dates_as_text) return text.c_str();
      return &when;
    case KOSAVE_DECIMAL:
      return &decimal;
    default:
      return text.c_str();
  }
}

const char* type_name(uint8_t type) {
  static const char* const kNames[] = {"?",    "string", "double", "datetime",
                                       "date", "time",   "decimal"};
  return type <= KOSAVE_DECIMAL ? kNames[type] : "?";
}

uint8_t type_from_name(const std::string& name) {
  for (uint8_t type = KOSAVE_STRING; type <= KOSAVE_DECIMAL; ++type) {
    if (name == type_name(type)) return type;
  }
  return 0;
}

void ColumnInference::add(const std::vector<std::string>& row) {
  for (size_t c = 0; c < seen_.size() && c < row.size(); ++c) {
    const std::string& field = row[c];
    if (field.empty()) continue;
    Seen& seen = seen_[c];
    ++seen.filled;
    KODATETIME when{};
    KODECIMAL decimal{};
    double number;
    seen.datetimes = seen.datetimes && read_datetime(field, when);
    seen.dates = seen.dates && read_date_only(field, when);
    seen.times = seen.times && read_time_only(field, when);
    if (seen.fixed && read_decimal(field, decimal) &&
        (seen.scale < 0 || seen.scale == decimal.scale)) {
      seen.scale = decimal.scale;
    } else {
      seen.fixed = false;
    }
    seen.numbers = seen.numbers && read_double(field, number);
    seen.longest = std::max(seen.longest, utf16_length(field));
  }
}

std::vector<ExportColumn> ColumnInference::columns(const std::vector<std::string>& names) const {
  std::vector<ExportColumn> columns;
  for (size_t c = 0; c < names.size(); ++c) {
    const Seen& seen = seen_[c];
    ExportColumn column{names[c], KOSAVE_STRING, int32_t(seen.longest)};
    if (seen.filled == 0) {
      column.width = 1;
    } else if (seen.datetimes) {
      column = {names[c], KOSAVE_DATETIME, 0};
    } else if (seen.dates) {
      column = {names[c], KOSAVE_DATE, 0};
    } else if (seen.times) {
      column = {names[c], KOSAVE_TIME, 0};
    } else if (seen.fixed) {
      column = {names[c], KOSAVE_DECIMAL, seen.scale};
    } else if (seen.numbers) {
      column = {names[c], KOSAVE_DOUBLE, 0};
    }
    columns.push_back(column);
  }
  return columns;
}

bool parse_column_list(const std::string& text, std::vector<ExportColumn>& out, std::string& why) {
  out.clear();
  size_t start = 0;
  while (start <= text.size()) {
    size_t comma = text.find(',', start);
    std::string item =
        text.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
    size_t colon = item.find(':');
    if (colon == std::string::npos || colon == 0) {
      why = "'" + item + "' is not NAME:TYPE[:WIDTH]";
      return false;
    }
    size_t second = item.find(':', colon + 1);
    ExportColumn column;
    column.name = item.substr(0, colon);
    std::string type = item.substr(
        colon + 1, second == std::string::npos ? std::string::npos : second - colon - 1);
    column.type = type_from_name(type);
    if (!column.type) {
      why = "unknown type '" + type + "' (string, double, datetime, date, time or decimal)";
      return false;
    }
    if (second != std::string::npos) {
      std::string width = item.substr(second + 1);
      char* end = nullptr;
      long value = std::strtol(width.c_str(), &end, 10);
      if (width.empty() || *end || value < 0 || value > 65535) {
        why = "width '" + width + "' of " + column.name + " is not a number from 0 to 65535";
        return false;
      }
      column.width = int32_t(value);
    } else {
      column.width = column.type == KOSAVE_STRING ? -1 : column.type == KOSAVE_DECIMAL ? 2 : 0;
    }
    out.push_back(column);
    if (comma == std::string::npos) break;
    start = comma + 1;
  }
  return true;
}

bool convert_field(const ExportColumn& column, const std::string& field, CellValue& out,
                   std::string& why) {
  // The cell is reused row after row: its text keeps its buffer.
  out.missing = field.empty();
  out.text.clear();
  if (out.missing) return true;
  out.when = KODATETIME{};
  if (column.type >= KOSAVE_DATETIME && column.type <= KOSAVE_TIME) {
    out.text.push_back(u'\'');
    append_utf16(field, out.text);
    out.text.push_back(u'\'');
  }
  switch (column.type) {
    case KOSAVE_DOUBLE:
      if (read_double(field, out.number)) return true;
      why = "'" + field + "' is not a number";
      return false;
    case KOSAVE_DECIMAL:
      if (read_decimal(field, out.decimal)) return true;
      why = "'" + field + "' is not a decimal number";
      return false;
    case KOSAVE_DATETIME:
      if (read_datetime(field, out.when) || read_date_only(field, out.when)) return true;
      why = "'" + field + "' is not an ISO 8601 date-time";
      return false;
    case KOSAVE_DATE:
      if (read_date_only(field, out.when)) return true;
      why = "'" + field + "' is not an ISO 8601 date";
      return false;
    case KOSAVE_TIME:
      if (read_time_only(field, out.when)) return true;
      why = "'" + field + "' is not an ISO 8601 time";
      return false;
    default:
      append_utf16(field, out.text);
      return true;
  }
}

}  // namespace koshr_tool

/*
 * db_values.cpp: database values as text and as export cells (see
 * db_values.h).
 */
#include "db_values.h"

#include <charconv>
#include <cstdio>

#include "decimal_text.h"
#include "utf.h"

namespace koshr_tool {
namespace {

template <class T>
std::string shortest(T number) {
  char text[64];
  return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
}

std::string date_text(const KODATETIME& when) {
  char text[16];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", when.year + 1900, when.month + 1, when.day);
  return text;
}

// "HH:MM:SS", then the microseconds without their trailing zeros.
std::string time_text(const KODATETIME& when) {
  char text[24];
  int length =
      std::snprintf(text, sizeof text, "%02d:%02d:%02d", when.hour, when.minute, when.second);
  if (when.subsecond != 0) {
    length += std::snprintf(text + length, sizeof text - size_t(length), ".%06u",
                            unsigned(when.subsecond % 1000000));
    while (text[length - 1] == '0') --length;
  }
  return std::string(text, size_t(length));
}

const char kHex[] = "0123456789ABCDEF";

}  // namespace

bool numeric_type(int32_t data_type) {
  return data_type >= DBI_TYPE_INTEGER && data_type <= DBI_TYPE_DOUBLE;
}

ExportColumn export_column(const DbiColumnDescriptor& column) {
  ExportColumn described;
  described.name = utf16_to_utf8(column.name);
  switch (column.data_type) {
    case DBI_TYPE_INTEGER:
    case DBI_TYPE_BIGINT:
      described.type = KOSAVE_DECIMAL;
      described.width = 0;
      break;
    case DBI_TYPE_DECIMAL:
      described.type = KOSAVE_DECIMAL;
      described.width = column.scale >= 0 && column.scale <= 28 ? column.scale : 0;
      break;
    case DBI_TYPE_REAL:
    case DBI_TYPE_DOUBLE:
      described.type = KOSAVE_DOUBLE;
      break;
    case DBI_TYPE_DATE:
      described.type = KOSAVE_DATE;
      break;
    case DBI_TYPE_TIME:
      described.type = KOSAVE_TIME;
      break;
    case DBI_TYPE_TIMESTAMP:
      described.type = KOSAVE_DATETIME;
      break;
    default: {
      int32_t length = column.data_type == DBI_TYPE_BINARY ? column.length * 2 : column.length;
      described.type = KOSAVE_STRING;
      described.width = length > 0 && length <= 65535 ? length : -1;
    }
  }
  return described;
}

std::string value_text(const DbiValue& value) {
  switch (value.type) {
    case DBI_TYPE_NULL:
      return "NULL";
    case DBI_TYPE_INTEGER:
      return std::to_string(value.as.integer);
    case DBI_TYPE_BIGINT:
      return std::to_string(value.as.bigint);
    case DBI_TYPE_DECIMAL:
      return decimal_to_text(value.as.decimal);
    case DBI_TYPE_REAL:
      return shortest(value.as.real);
    case DBI_TYPE_DOUBLE:
      return shortest(value.as.dbl);
    case DBI_TYPE_DATE:
      return date_text(value.as.datetime);
    case DBI_TYPE_TIME:
      return time_text(value.as.datetime);
    case DBI_TYPE_TIMESTAMP:
      return date_text(value.as.datetime) + " " + time_text(value.as.datetime);
    case DBI_TYPE_TEXT:
      return utf16_to_utf8(std::u16string_view(value.as.text ? value.as.text : u"", value.length));
    case DBI_TYPE_BINARY: {
      std::string text;
      for (uint32_t i = 0; i < value.length; ++i) {
        text += kHex[value.as.binary[i] >> 4];
        text += kHex[value.as.binary[i] & 15];
      }
      return text;
    }
    default:
      return "";
  }
}

bool export_cell(const DbiValue& value, const ExportColumn& column, bool dates_as_text,
                 CellValue& cell, std::string& why) {
  cell.missing = value.type == DBI_TYPE_NULL;
  cell.text.clear();
  if (cell.missing) return true;
  switch (column.type) {
    case KOSAVE_DECIMAL:
      if (value.type == DBI_TYPE_DECIMAL) {
        cell.decimal = value.as.decimal;
        return true;
      }
      if (value.type == DBI_TYPE_INTEGER || value.type == DBI_TYPE_BIGINT) {
        int64_t number = value.type == DBI_TYPE_INTEGER ? value.as.integer : value.as.bigint;
        uint64_t magnitude = number < 0 ? 0 - uint64_t(number) : uint64_t(number);
        cell.decimal = KODECIMAL{0, 0, uint8_t(number < 0 ? KODECIMAL_NEGATIVE : 0), 0, magnitude};
        return true;
      }
      break;
    case KOSAVE_DOUBLE:
      if (value.type == DBI_TYPE_DOUBLE || value.type == DBI_TYPE_REAL) {
        cell.number = value.type == DBI_TYPE_DOUBLE ? value.as.dbl : double(value.as.real);
        return true;
      }
      break;
    case KOSAVE_DATE:
    case KOSAVE_TIME:
    case KOSAVE_DATETIME:
      if (value.type >= DBI_TYPE_DATE && value.type <= DBI_TYPE_TIMESTAMP) {
        cell.when = value.as.datetime;
        if (!dates_as_text) return true;
        std::string text = column.type == KOSAVE_DATE ? date_text(cell.when)
                           : column.type == KOSAVE_TIME
                               ? time_text(cell.when)
                               : date_text(cell.when) + " " + time_text(cell.when);
        cell.text = u"'" + utf8_to_utf16(text) + u"'";
        return true;
      }
      break;
    default:
      if (value.type == DBI_TYPE_TEXT) {
        cell.text.assign(value.as.text ? value.as.text : u"", value.length);
      } else {
        append_utf16(value_text(value), cell.text);
      }
      return true;
  }
  // A value of another kind than its column's: read from its text the way
  // `koshr saveas` reads a CSV field.
  return convert_field(column, value_text(value), cell, why);
}

}  // namespace koshr_tool

/*
 * format_tables.cpp: the colour table, the number-format keyword table and
 * the predefined date-time names. The rows stay in alphabetical order of
 * their upper-case names: the lookups are binary searches.
 */
#include "format/format_tables.h"

#include <koshr/format.h>

#include "platform/utf16.h"
#include "storage/u16_format.h"

namespace ko {
namespace {

struct Colour {
  const char* name;
  uint32_t value;  // COLORREF, 0x00BBGGRR
};
constexpr Colour kColours[] = {
    {"BLACK", 0x000000},   {"BLUE", 0xFF0000}, {"CYAN", 0xFFFF00},  {"GREEN", 0x00FF00},
    {"MAGENTA", 0xFF00FF}, {"RED", 0x0000FF},  {"WHITE", 0xFFFFFF}, {"YELLOW", 0x00FFFF},
};

struct Keyword {
  const char* name;
  FormatKeyword keyword;
};
constexpr Keyword kKeywords[] = {
    {"CURRENCY", FormatKeyword::kCurrency},
    {"ENGLISH", FormatKeyword::kEnglish},
    {"GENERAL", FormatKeyword::kGeneral},
};

struct Predefined {
  const char* name;
  PredefinedName predefined;
};
constexpr Predefined kPredefined[] = {
    {"DATE", PredefinedName::kDate},         {"GENERAL", PredefinedName::kGeneral},
    {"LONGDATE", PredefinedName::kLongDate}, {"SHORTDATE", PredefinedName::kShortDate},
    {"TIME", PredefinedName::kTime},
};

// Compares a bracketed name (any case) with an upper-case table name.
int compare_name(const KOCHAR* name, size_t length, const char* row) {
  size_t i = 0;
  for (; i < length && row[i]; ++i) {
    KOCHAR a = ascii_upper(name[i]);
    KOCHAR b = KOCHAR(static_cast<unsigned char>(row[i]));
    if (a != b) return a < b ? -1 : 1;
  }
  if (i < length) return 1;
  return row[i] ? -1 : 0;
}

template <typename Row, size_t N>
const Row* binary_search(const Row (&rows)[N], const KOCHAR* name, size_t length) {
  size_t low = 0, high = N;
  while (low < high) {
    size_t middle = (low + high) / 2;
    int order = compare_name(name, length, rows[middle].name);
    if (order == 0) return &rows[middle];
    if (order < 0) {
      high = middle;
    } else {
      low = middle + 1;
    }
  }
  return nullptr;
}

}  // namespace

int read_colour(const KOCHAR* name, size_t length, KOCHAR* digits, size_t* count) {
  if (length && ascii_is_digit(name[0])) {
    for (size_t i = 0; i < length; ++i) {
      if (!ascii_is_digit(name[i])) return SHFORMAT_ERR_COLOR;
      digits[i] = name[i];
    }
    *count = length;
    return 0;
  }
  const Colour* row = binary_search(kColours, name, length);
  if (!row) return -1;
  *count = u16_format(digits, kBracketNameMax, "%u", row->value);
  return 0;
}

FormatKeyword find_number_keyword(const KOCHAR* name, size_t length) {
  const Keyword* row = binary_search(kKeywords, name, length);
  return row ? row->keyword : FormatKeyword::kNone;
}

PredefinedName find_predefined_name(const KOCHAR* name, size_t length) {
  const Predefined* row = binary_search(kPredefined, name, length);
  return row ? row->predefined : PredefinedName::kNone;
}

}  // namespace ko

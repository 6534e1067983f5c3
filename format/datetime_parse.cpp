/*
 * datetime_parse.cpp: reading date-time values from text.
 *
 * A text is read against a date-time format compiled by the format engine
 * itself, so every layout a format can render can be read back: the fields
 * are walked in order, numbers take one to two digits (years up to four;
 * a one- or two-digit year means 2000-2049 or 1950-1999), names match
 * case-insensitively, and the separators "/", "." and "-" stand for each
 * other. Seconds may carry a fraction (".25"). shdtParse tries ISO 8601
 * layouts, then the regional short date with and without a time, then a
 * time alone.
 */
#include <koshr/format.h>

#include <iterator>

#include "format/calendar.h"
#include "format/format_codes.h"
#include "format/regional.h"
#include "platform/utf16.h"
#include "storage/u16_format.h"

namespace ko {
namespace {

constexpr int kPatternCodes = 256;
constexpr int kPatternMax = kDatePatternMax + 32;

struct Fields {
  int year = -1, month = -1, day = -1;
  int hour = 0, minute = 0, second = 0, microsecond = 0;
  int half_day = -1;  // 0 morning, 1 afternoon
};

bool is_date_separator(KOCHAR c) { return c == u'/' || c == u'.' || c == u'-'; }

class TextReader {
 public:
  TextReader(const KOCHAR* text, const RegionalSettings& settings)
      : p_(text), settings_(settings) {}

  bool read(const KOFMTCODE* begin, const KOFMTCODE* end, Fields& f) {
    skip_blanks();
    for (const KOFMTCODE* e = begin; e < end && *e != kCodeEnd; e = next_element(e, end)) {
      const KOFMTCODE* next = next_element(e, end);
      bool next_is_point = next < end && *next == kCodeLiteral && next + 1 < end &&
                           (next[1] == u'.' || next[1] == u',');
      if (!element(e, end, next_is_point, f)) return false;
    }
    skip_blanks();
    return *p_ == 0;
  }

 private:
  void skip_blanks() {
    while (ascii_is_space(*p_)) ++p_;
  }
  bool number(int max_digits, int* out, int* digits = nullptr) {
    int value = 0, count = 0;
    while (count < max_digits && ascii_is_digit(*p_)) value = value * 10 + (*p_++ - u'0'), ++count;
    if (digits) *digits = count;
    *out = value;
    return count > 0;
  }
  bool fraction(int max_digits, int* microsecond) {
    int value = 0, count = 0;
    while (ascii_is_digit(*p_)) {
      if (count < 6) value = value * 10 + (*p_ - u'0');
      ++p_;
      if (++count > max_digits) return false;
    }
    for (int i = count; i < 6; ++i) value *= 10;
    *microsecond = value;
    return count > 0;
  }
  bool word(const char* ascii) {
    size_t n = 0;
    while (ascii[n] && ascii_upper(p_[n]) == ascii_upper(KOCHAR(ascii[n]))) ++n;
    if (ascii[n]) return false;
    p_ += n;
    return true;
  }
  bool word(const KOCHAR* text) {
    size_t n = u16len(text);
    if (n == 0 || u16nicmp_ascii(p_, text, n) != 0) return false;
    p_ += n;
    return true;
  }
  bool month_by_name(int* month) {
    for (int m = 0; m < 12; ++m) {
      if (word(month_name(m, false)) || word(month_name(m, true))) {
        *month = m + 1;
        return true;
      }
    }
    return false;
  }
  bool skip_day_name() {
    for (int d = 0; d < 7; ++d) {
      if (word(day_name(d, false)) || word(day_name(d, true))) return true;
    }
    return false;
  }
  bool year(int* year) {
    int digits = 0;
    if (!number(4, year, &digits)) return false;
    if (digits <= 2) *year += *year < 50 ? 2000 : 1900;
    return true;
  }
  bool half_day(KOFMTCODE code, Fields& f) {
    if (code == kCodeAmPm) {
      if (word(settings_.am) || word("AM")) return f.half_day = 0, true;
      if (word(settings_.pm) || word("PM")) return f.half_day = 1, true;
      return false;
    }
    if (word("A")) return f.half_day = 0, true;
    if (word("P")) return f.half_day = 1, true;
    return false;
  }
  bool literal(KOCHAR c) {
    if (c == u' ') {
      bool any = ascii_is_space(*p_);
      skip_blanks();
      return any || *p_ == 0;
    }
    if (is_date_separator(c) && is_date_separator(*p_)) return ++p_, true;
    if (ascii_upper(*p_) != ascii_upper(c)) return false;
    ++p_;
    return true;
  }

  bool element(const KOFMTCODE* e, const KOFMTCODE* end, bool next_is_point, Fields& f) {
    switch (*e) {
      case kCodeYear2:
      case kCodeYear4:
        return year(&f.year);
      case kCodeMonth:
      case kCodeMonth2:
        return number(2, &f.month);
      case kCodeMonthAbbr:
      case kCodeMonthName:
        return month_by_name(&f.month);
      case kCodeDay:
      case kCodeDay2:
        return number(2, &f.day);
      case kCodeDayAbbr:
      case kCodeDayName:
        return skip_day_name();
      case kCodeHour:
      case kCodeHour2:
        return number(2, &f.hour);
      case kCodeMinute:
      case kCodeMinute2:
        return number(2, &f.minute);
      case kCodeSecond:
      case kCodeSecond2:
        if (!number(2, &f.second)) return false;
        if (!next_is_point && (*p_ == u'.' || *p_ == u',') && ascii_is_digit(p_[1])) {
          ++p_;
          return fraction(7, &f.microsecond);
        }
        return true;
      case kCodeSubsecond:
        return e + 1 < end && fraction(e[1], &f.microsecond);
      case kCodeAmPm:
      case kCodeAmPmUpper:
      case kCodeAmPmLower:
        return half_day(*e, f);
      case kCodeLiteral:
        return e + 1 < end && literal(e[1]);
      default:
        return true;
    }
  }

  const KOCHAR* p_;
  const RegionalSettings& settings_;
};

bool fields_to_value(Fields f, KODATETIME* out) {
  if (f.half_day >= 0) {
    if (f.hour < 1 || f.hour > 12) return false;
    f.hour = f.hour % 12 + (f.half_day ? 12 : 0);
  }
  KODATETIME value;
  bool has_date = f.year >= 0 || f.month >= 0 || f.day >= 0;
  if (has_date) {
    if (!shdtBuildTime(&value, f.year, f.month, f.day, f.hour, f.minute, f.second, f.microsecond)) {
      return false;
    }
  } else {
    if (!shdtBuildTime(&value, 2000, 1, 1, f.hour, f.minute, f.second, f.microsecond)) {
      return false;
    }
    value.year = kNullYear;
    value.month = value.day = uint8_t(kNullField);
  }
  *out = value;
  return true;
}

bool parse_with(const KOCHAR* text, const KOCHAR* format, const KOCHAR* culture, KODATETIME* out) {
  KOFMTCODE program[kPatternCodes];
  if (shformatCmplDateTimeMaskWeb(format, program, kPatternCodes, culture) != 0) return false;
  RegionalSettings scratch;
  const RegionalSettings& settings = regional_settings(culture, scratch);
  const KOFMTCODE* section = find_section(program, 0, nullptr);
  Fields fields;
  TextReader reader(text, settings);
  return section &&
         reader.read(section + kSectionHeaderSize, section + section[kHeaderLength], fields) &&
         fields_to_value(fields, out);
}

// A date layout on its own, then followed by the usual times of day.
bool parse_date_and_time(const KOCHAR* text, const KOCHAR* date, const KOCHAR* culture,
                         KODATETIME* out) {
  static const char* const kTimes[] = {
      "", "%s h:mm:ss", "%s h:mm", "%s h:mm:ss AM/PM", "%s h:mm AM/PM", "%sTh:mm:ss", "%sTh:mm"};
  KOCHAR pattern[kPatternMax];
  for (const char* time : kTimes) {
    if (*time) {
      u16_format(pattern, kPatternMax, time, date);
    } else {
      u16lcpy(pattern, date, kPatternMax);
    }
    if (parse_with(text, pattern, culture, out)) return true;
  }
  return false;
}

bool parse_time(const KOCHAR* text, const KOCHAR* culture, KODATETIME* out) {
  static const KOCHAR* const kTimes[] = {u"h:mm:ss", u"h:mm", u"h:mm:ss AM/PM", u"h:mm AM/PM"};
  for (const KOCHAR* time : kTimes) {
    if (parse_with(text, time, culture, out)) return true;
  }
  return false;
}

bool parse_any(const KOCHAR* text, const KOCHAR* short_date, const KOCHAR* culture,
               KODATETIME* out) {
  if (!text || !out) return false;
  const KOCHAR* p = text;
  while (ascii_is_space(*p)) ++p;
  bool iso = ascii_is_digit(p[0]) && ascii_is_digit(p[1]) && ascii_is_digit(p[2]) &&
             ascii_is_digit(p[3]) && p[4] == u'-';
  return (iso && parse_date_and_time(text, u"yyyy-mm-dd", culture, out)) ||
         parse_date_and_time(text, short_date, culture, out) || parse_time(text, culture, out);
}

// The date order of a few locale ids; others use the user's short date.
const KOCHAR* short_date_of_locale(uint32_t lcid) {
  switch (lcid) {
    case 1033:  // en-US
      return u"m/d/yyyy";
    case 2057:  // en-GB
    case 1031:  // de-DE
    case 1036:  // fr-FR
    case 1040:  // it-IT
    case 3082:  // es-ES
    case 1043:  // nl-NL
    case 1049:  // ru-RU
      return u"d/m/yyyy";
    case 1041:  // ja-JP
    case 2052:  // zh-CN
    case 1042:  // ko-KR
    case 1053:  // sv-SE
      return u"yyyy/m/d";
    default:
      return nullptr;
  }
}

}  // namespace
}  // namespace ko

using namespace ko;

extern "C" KOSHR_API int shdtParseEx(const KOCHAR* text, KODATETIME* out, const KOCHAR* culture) {
  RegionalSettings scratch;
  const RegionalSettings& settings = regional_settings(culture, scratch);
  return parse_any(text, settings.short_date, culture, out) ? 1 : 0;
}

extern "C" KOSHR_API int shdtParse(const KOCHAR* text, KODATETIME* out) {
  return shdtParseEx(text, out, nullptr);
}

extern "C" KOSHR_API int shdtParseStringExWithLcid(const KOCHAR* text, const KOCHAR* format,
                                                   KODATETIME* out, uint32_t lcid) {
  if (!text || !out) return 0;
  if (format && *format) return parse_with(text, format, nullptr, out) ? 1 : 0;
  const KOCHAR* date = short_date_of_locale(lcid);
  if (!date) return shdtParse(text, out);
  return parse_date_and_time(text, date, nullptr, out) || parse_time(text, nullptr, out) ? 1 : 0;
}

extern "C" KOSHR_API int shdtParseStringEx(const KOCHAR* text, const KOCHAR* format,
                                           KODATETIME* out) {
  return shdtParseStringExWithLcid(text, format, out, 0);
}

extern "C" KOSHR_API int shdtParseToString(const KOCHAR* text, KOCHAR* out, int capacity) {
  KODATETIME value;
  if (!out || capacity <= 0) return -1;
  if (!shdtParse(text, &value)) {
    out[0] = 0;
    return -1;
  }
  return shdtString(&value, out, capacity);
}

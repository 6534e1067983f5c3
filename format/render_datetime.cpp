/*
 * render_datetime.cpp: rendering a date-time value through a compiled date,
 * time or datetime format.
 *
 * The first section renders values; a null value (no value at all) renders
 * through the second section when there is one, and as an empty text
 * otherwise. Two-digit fields are zero-padded to two digits, the year with
 * "yyyy" to four; a field holding the null marker shows one "?" per
 * position. "f" shows the leading digits of the sub-second (microseconds,
 * scaled to seven digits of 100 ns), truncated, never rounded.
 */
#include <koshr/format.h>

#include "format/calendar.h"
#include "format/format_codes.h"
#include "format/regional.h"
#include "format/text_output.h"

namespace ko {
namespace {

constexpr int kNullValueSection = 1;
constexpr uint32_t kSubsecondLimit = 1000000;

class DateTimePlayer {
 public:
  DateTimePlayer(const KODATETIME& value, bool twelve_hour, const RegionalSettings& settings,
                 TextOutput& out)
      : value_(value), twelve_hour_(twelve_hour), settings_(settings), out_(out) {}

  void play(const KOFMTCODE* begin, const KOFMTCODE* end) {
    for (const KOFMTCODE* p = begin; p < end && *p != kCodeEnd; p = next_element(p, end)) {
      element(p, end);
    }
  }

 private:
  // A numeric field: "?" per position when null.
  void field(int value, bool is_null, int width, int null_width) {
    if (is_null) {
      out_.repeat(u'?', null_width);
    } else {
      out_.put_number(uint64_t(value < 0 ? 0 : value), width);
    }
  }
  void name(const char* text, int null_width) {
    if (text) {
      out_.put_ascii(text);
    } else {
      out_.repeat(u'?', null_width);
    }
  }
  int hour() const {
    int h = value_.hour;
    if (!twelve_hour_) return h;
    if (h == 0) return 12;
    return h > 12 ? h - 12 : h;
  }
  int weekday() const {
    if (!has_valid_date(value_)) return -1;
    return weekday_from_days(
        days_from_civil(value_.year + kYearBase, value_.month + 1, value_.day));
  }

  void subsecond(int count) {
    if (value_.subsecond >= kSubsecondLimit) {
      out_.repeat(u'?', count);
      return;
    }
    uint32_t tenths_of_microseconds = value_.subsecond * 10;
    char digits[7];
    for (int i = 6; i >= 0; --i) {
      digits[i] = char('0' + tenths_of_microseconds % 10);
      tenths_of_microseconds /= 10;
    }
    for (int i = 0; i < count && i < 7; ++i) out_.put(KOCHAR(digits[i]));
  }

  void element(const KOFMTCODE* p, const KOFMTCODE* end) {
    bool year_null = value_.year == kNullYear;
    int year = value_.year + kYearBase;
    bool month_null = value_.month >= kNullField;
    bool hour_null = value_.hour >= kNullField;
    switch (*p) {
      case kCodeYear2:
        return field(year % 100, year_null, 2, 2);
      case kCodeYear4:
        return field(year, year_null, 4, 4);
      case kCodeMonth:
        return field(value_.month + 1, month_null, 1, 1);
      case kCodeMonth2:
        return field(value_.month + 1, month_null, 2, 2);
      case kCodeMonthAbbr:
        return name(month_name(value_.month, true), 3);
      case kCodeMonthName:
        return name(month_name(value_.month, false), 4);
      case kCodeDay:
        return field(value_.day, value_.day >= kNullField, 1, 1);
      case kCodeDay2:
        return field(value_.day, value_.day >= kNullField, 2, 2);
      case kCodeDayAbbr:
        return name(day_name(weekday(), true), 3);
      case kCodeDayName:
        return name(day_name(weekday(), false), 4);
      case kCodeHour:
        return field(hour(), hour_null, 1, 1);
      case kCodeHour2:
        return field(hour(), hour_null, 2, 2);
      case kCodeMinute:
        return field(value_.minute, value_.minute >= kNullField, 1, 1);
      case kCodeMinute2:
        return field(value_.minute, value_.minute >= kNullField, 2, 2);
      case kCodeSecond:
        return field(value_.second, value_.second >= kNullField, 1, 1);
      case kCodeSecond2:
        return field(value_.second, value_.second >= kNullField, 2, 2);
      case kCodeSubsecond:
        if (p + 1 < end) subsecond(p[1]);
        return;
      case kCodeAmPm:
        if (hour_null) return out_.put(u'?');
        return out_.put_text(value_.hour < 12 ? settings_.am : settings_.pm);
      case kCodeAmPmUpper:
      case kCodeAmPmLower: {
        if (hour_null) return out_.put(u'?');
        KOCHAR letter = value_.hour < 12 ? u'A' : u'P';
        return out_.put(*p == kCodeAmPmLower ? KOCHAR(letter + 32) : letter);
      }
      case kCodeLiteral:
        if (p + 1 < end) out_.put(p[1]);
        return;
      default:
        return;
    }
  }

  const KODATETIME& value_;
  bool twelve_hour_;
  const RegionalSettings& settings_;
  TextOutput& out_;
};

}  // namespace
}  // namespace ko

extern "C" KOSHR_API int shformatDateTimeWeb(const KOFMTCODE* compiled, const KODATETIME* value,
                                             KOCHAR* out, int capacity, const KOCHAR* culture) {
  using namespace ko;
  if (!compiled || !out || capacity <= 0) return -1;
  TextOutput output(out, capacity);
  const KOFMTCODE* section = find_section(compiled, value ? 0 : kNullValueSection, nullptr);
  if (!section) return value ? -1 : output.finish();
  RegionalSettings scratch;
  const RegionalSettings& settings = regional_settings(culture, scratch);
  static const KODATETIME kNullValue{0, kNullYear, 255, 255, 255, 255, 255, 0};
  DateTimePlayer player(value ? *value : kNullValue, section[kHeaderFlags] & kSectionTwelveHour,
                        settings, output);
  player.play(section + kSectionHeaderSize, section + section[kHeaderLength]);
  return output.finish();
}

extern "C" KOSHR_API int shformatDateTime(const KOFMTCODE* compiled, const KODATETIME* value,
                                          KOCHAR* out, int capacity) {
  return shformatDateTimeWeb(compiled, value, out, capacity, nullptr);
}

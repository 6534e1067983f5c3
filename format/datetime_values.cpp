/*
 * datetime_values.cpp: operations on date-time values: the current time,
 * building and taking apart, day names and weekdays, differences, moving by
 * days, the platform's SYSTEMTIME form and Modified Julian Days.
 *
 * The calendar is the proleptic Gregorian one (calendar.h). Values whose
 * date fields hold the null marker or do not make a real date are refused
 * (0, -1 or the documented null result) rather than guessed at.
 */
#include <koshr/format.h>

#include <climits>

#include "format/calendar.h"
#include "format/text_output.h"
#include "platform/platform.h"

namespace ko {
namespace {

constexpr int64_t kMjdEpochDays = -40587;  // 1858-11-17 counted from 1970-01-01
constexpr int64_t kSecondsPerDay = 86400;

int64_t day_number(const KODATETIME& value) {
  return days_from_civil(value.year + kYearBase, value.month + 1, value.day);
}

// Sets the date fields from a day number; false outside the years a value holds.
bool set_date(int64_t days, KODATETIME& out) {
  int year, month, day;
  civil_from_days(days, &year, &month, &day);
  if (year < kMinYear || year > kMaxYear) return false;
  out.year = uint16_t(year - kYearBase);
  out.month = uint8_t(month - 1);
  out.day = uint8_t(day);
  return true;
}

// Microseconds since 1970-01-01, or since midnight when either value has no date.
bool instants(const KODATETIME* from, const KODATETIME* to, int64_t* a, int64_t* b) {
  if (!from || !to) return false;
  bool dated = has_valid_date(*from) && has_valid_date(*to);
  auto micros = [dated](const KODATETIME& v) {
    int64_t days = dated ? day_number(v) : 0;
    int64_t subsecond = v.subsecond < 1000000 ? v.subsecond : 0;
    return (days * kSecondsPerDay + seconds_of_day(v)) * 1000000 + subsecond;
  };
  *a = micros(*from);
  *b = micros(*to);
  return true;
}

}  // namespace
}  // namespace ko

using namespace ko;

extern "C" KOSHR_API int shdtNow(KODATETIME* out) {
  if (!out) return 0;
  os::LocalTime now = os::local_now();
  return shdtBuildTime(out, now.year, now.month, now.day, now.hour, now.minute, now.second,
                       now.microsecond);
}

extern "C" KOSHR_API int shdtBuildTime(KODATETIME* out, int year, int month, int day, int hour,
                                       int minute, int second, int32_t microsecond) {
  if (!out || year < kMinYear || year > kMaxYear || month < 1 || month > 12 || day < 1 ||
      day > days_in_month(year, month) || hour < 0 || hour > 23 || minute < 0 || minute > 59 ||
      second < 0 || second > 59 || microsecond < 0 || microsecond > 999999) {
    return 0;
  }
  *out = KODATETIME{uint32_t(microsecond), uint16_t(year - kYearBase),
                    uint8_t(month - 1),    uint8_t(day),
                    uint8_t(hour),         uint8_t(minute),
                    uint8_t(second),       0};
  return 1;
}

extern "C" KOSHR_API int shdtString(const KODATETIME* value, KOCHAR* out, int capacity) {
  if (!value || !out || capacity <= 0) return -1;
  TextOutput text(out, capacity);
  auto field = [&text](int v, bool is_null, int width) {
    if (is_null) {
      text.repeat(u'?', width);
    } else {
      text.put_number(uint64_t(v), width);
    }
  };
  field(value->year + kYearBase, value->year == kNullYear, 4);
  text.put(u'-');
  field(value->month + 1, value->month >= kNullField, 2);
  text.put(u'-');
  field(value->day, value->day >= kNullField, 2);
  text.put(u' ');
  field(value->hour, value->hour >= kNullField, 2);
  text.put(u':');
  field(value->minute, value->minute >= kNullField, 2);
  text.put(u':');
  field(value->second, value->second >= kNullField, 2);
  if (value->subsecond != 0) {
    text.put(u'.');
    field(int(value->subsecond), value->subsecond >= 1000000, 6);
  }
  return text.finish();
}

extern "C" KOSHR_API int shdtDayName(int day_of_week, int abbreviated, KOCHAR* out, int capacity) {
  if (!out || capacity <= 0) return -1;
  TextOutput text(out, capacity);
  const char* name = day_name(day_of_week, abbreviated != 0);
  if (!name) {
    text.finish();
    return -1;
  }
  text.put_ascii(name);
  return text.finish();
}

extern "C" KOSHR_API int shdtDayOfWeek(const KODATETIME* value) {
  if (!value || !has_valid_date(*value)) return -1;
  return weekday_from_days(day_number(*value));
}

extern "C" KOSHR_API int32_t shdtDiffDate(const KODATETIME* from, const KODATETIME* to) {
  if (!from || !to || !has_valid_date(*from) || !has_valid_date(*to)) return 0;
  return int32_t(day_number(*to) - day_number(*from));
}

extern "C" KOSHR_API int64_t shdtDiffTime(const KODATETIME* from, const KODATETIME* to) {
  int64_t a, b;
  if (!instants(from, to, &a, &b)) return 0;
  return b / 1000000 - a / 1000000;
}

extern "C" KOSHR_API int64_t shdtDiffMSec(const KODATETIME* from, const KODATETIME* to) {
  int64_t a, b;
  if (!instants(from, to, &a, &b)) return 0;
  return b / 1000 - a / 1000;
}

extern "C" KOSHR_API int shdtRelativeDate(const KODATETIME* value, int32_t days, KODATETIME* out) {
  if (!value || !out || !has_valid_date(*value)) return 0;
  KODATETIME moved = *value;
  if (!set_date(day_number(*value) + days, moved)) return 0;
  *out = moved;
  return 1;
}

extern "C" KOSHR_API int shdtBuildTimeFromSystemTime(const KOSYSTEMTIME* system_time,
                                                     KODATETIME* out) {
  if (!system_time || system_time->wMilliseconds > 999) return 0;
  return shdtBuildTime(out, system_time->wYear, system_time->wMonth, system_time->wDay,
                       system_time->wHour, system_time->wMinute, system_time->wSecond,
                       system_time->wMilliseconds * 1000);
}

extern "C" KOSHR_API int shdtBuildSystemTimeFromSHTime(const KODATETIME* value, KOSYSTEMTIME* out) {
  if (!value || !out || !has_valid_date(*value) || !has_valid_time(*value)) return 0;
  *out = KOSYSTEMTIME{uint16_t(value->year + kYearBase),
                      uint16_t(value->month + 1),
                      uint16_t(weekday_from_days(day_number(*value))),
                      value->day,
                      value->hour,
                      value->minute,
                      value->second,
                      uint16_t(value->subsecond / 1000)};
  return 1;
}

extern "C" KOSHR_API int32_t shdtToMJDDate(const KODATETIME* value) {
  if (!value || !has_valid_date(*value)) return INT32_MIN;
  return int32_t(day_number(*value) - kMjdEpochDays);
}

extern "C" KOSHR_API double shdtToMJDTime(const KODATETIME* value) {
  if (!value || !has_valid_time(*value)) return -1.0;
  return (double(seconds_of_day(*value)) + value->subsecond / 1e6) / double(kSecondsPerDay);
}

extern "C" KOSHR_API double shdtToMJDTimestamp(const KODATETIME* value) {
  if (!value || !has_valid_date(*value) || !has_valid_time(*value)) return -1.0;
  return double(shdtToMJDDate(value)) + shdtToMJDTime(value);
}

extern "C" KOSHR_API int shMJDDateTodt(int32_t mjd, KODATETIME* out) {
  if (!out) return 0;
  KODATETIME value{0, 0, 0, 1, 0, 0, 0, 0};
  if (!set_date(int64_t(mjd) + kMjdEpochDays, value)) return 0;
  *out = value;
  return 1;
}

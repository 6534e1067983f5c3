/*
 * calendar.h: the proleptic Gregorian calendar under the date-time value.
 *
 * Days are counted from 1970-01-01 (day 0); years are full years (2024),
 * months 1-12. The English month and day names are the regional names.
 */
#ifndef KOSHR_FORMAT_CALENDAR_H
#define KOSHR_FORMAT_CALENDAR_H

#include <koshr/types.h>

#include <cstdint>

namespace ko {

constexpr uint16_t kNullYear = 0xFFFF;
constexpr int kNullField = 255;
constexpr int kYearBase = 1900;
constexpr int kMinYear = 1900;
constexpr int kMaxYear = 9999;

bool is_leap_year(int year);
int days_in_month(int year, int month);
int64_t days_from_civil(int year, int month, int day);
void civil_from_days(int64_t days, int* year, int* month, int* day);
// 0 = Sunday.
int weekday_from_days(int64_t days);

// True when the value's year, month and day make a real date.
bool has_valid_date(const KODATETIME& value);
// True when hour, minute, second and sub-second are in range.
bool has_valid_time(const KODATETIME& value);
// Seconds since midnight (null time fields count as 0).
int64_t seconds_of_day(const KODATETIME& value);

const char* month_name(int month_index, bool abbreviated);  // 0-11
const char* day_name(int weekday, bool abbreviated);        // 0-6

}  // namespace ko

#endif

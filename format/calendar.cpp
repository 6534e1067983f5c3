/*
 * calendar.cpp: day counting in the proleptic Gregorian calendar (leap years
 * every 4 years, except centuries not divisible by 400), by the era method:
 * 400-year eras of 146097 days, years starting in March so that the leap
 * day falls last.
 */
#include "format/calendar.h"

namespace ko {

bool is_leap_year(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int days_in_month(int year, int month) {
  static constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  if (month < 1 || month > 12) return 0;
  return month == 2 && is_leap_year(year) ? 29 : kDays[month - 1];
}

int64_t days_from_civil(int year, int month, int day) {
  int64_t y = int64_t(year) - (month <= 2);
  int64_t era = (y >= 0 ? y : y - 399) / 400;
  int64_t year_of_era = y - era * 400;
  int64_t day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  int64_t day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  return era * 146097 + day_of_era - 719468;
}

void civil_from_days(int64_t days, int* year, int* month, int* day) {
  days += 719468;
  int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  int64_t day_of_era = days - era * 146097;
  int64_t year_of_era =
      (day_of_era - day_of_era / 1460 + day_of_era / 36524 - day_of_era / 146096) / 365;
  int64_t day_of_year = day_of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  int64_t mp = (5 * day_of_year + 2) / 153;
  *day = int(day_of_year - (153 * mp + 2) / 5 + 1);
  *month = int(mp < 10 ? mp + 3 : mp - 9);
  *year = int(year_of_era + era * 400 + (*month <= 2));
}

int weekday_from_days(int64_t days) {
  int64_t weekday = (days + 4) % 7;  // 1970-01-01 was a Thursday
  return int(weekday < 0 ? weekday + 7 : weekday);
}

bool has_valid_date(const KODATETIME& value) {
  if (value.year == kNullYear || value.month > 11) return false;
  int year = value.year + kYearBase;
  return value.day >= 1 && value.day <= days_in_month(year, value.month + 1);
}

bool has_valid_time(const KODATETIME& value) {
  return value.hour < 24 && value.minute < 60 && value.second < 60 && value.subsecond < 1000000;
}

int64_t seconds_of_day(const KODATETIME& value) {
  auto field = [](int v, int limit) { return v < limit ? v : 0; };
  return field(value.hour, 24) * 3600 + field(value.minute, 60) * 60 + field(value.second, 60);
}

const char* month_name(int month_index, bool abbreviated) {
  static constexpr const char* kNames[] = {"January",   "February", "March",    "April",
                                           "May",       "June",     "July",     "August",
                                           "September", "October",  "November", "December"};
  static constexpr const char* kAbbr[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  if (month_index < 0 || month_index > 11) return nullptr;
  return abbreviated ? kAbbr[month_index] : kNames[month_index];
}

const char* day_name(int weekday, bool abbreviated) {
  static constexpr const char* kNames[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                           "Thursday", "Friday", "Saturday"};
  static constexpr const char* kAbbr[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  if (weekday < 0 || weekday > 6) return nullptr;
  return abbreviated ? kAbbr[weekday] : kNames[weekday];
}

}  // namespace ko

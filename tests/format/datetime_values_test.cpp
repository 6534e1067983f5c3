// Date-time values: building, the calendar (leap years, weekdays), day
// arithmetic, differences, SYSTEMTIME and Modified Julian Day conversions,
// text to value and back.
#include <gtest/gtest.h>

#include <climits>
#include <tuple>

#include "format/calendar.h"
#include "format_test_support.h"

namespace {

using format_test::make;

TEST(DateTimeValues, BuildRefusesImpossibleDates) {
  struct Case {
    int year, month, day, hour;
    int ok;
  } cases[] = {
      {2024, 2, 29, 0, 1},   {2023, 2, 29, 0, 0}, {1900, 2, 29, 0, 0}, {2000, 2, 29, 0, 1},
      {2024, 4, 31, 0, 0},   {2024, 13, 1, 0, 0}, {2024, 0, 1, 0, 0},  {1899, 12, 31, 0, 0},
      {9999, 12, 31, 23, 1}, {2024, 1, 1, 24, 0},
  };
  for (const auto& c : cases) {
    KODATETIME value;
    EXPECT_EQ(shdtBuildTime(&value, c.year, c.month, c.day, c.hour, 0, 0, 0), c.ok)
        << c.year << "-" << c.month << "-" << c.day;
  }
  KODATETIME value;
  EXPECT_EQ(shdtBuildTime(&value, 2024, 1, 1, 0, 0, 0, 1000000), 0);
  EXPECT_EQ(shdtBuildTime(nullptr, 2024, 1, 1, 0, 0, 0, 0), 0);
}

TEST(DateTimeValues, CalendarRoundTripsEveryDay) {
  // Every day from 1900 to 9999 maps to a day number and back.
  int64_t first = ko::days_from_civil(1900, 1, 1);
  int64_t last = ko::days_from_civil(9999, 12, 31);
  int year = 1900, month = 1, day = 1;
  for (int64_t n = first; n <= last; ++n) {
    int y, m, d;
    ko::civil_from_days(n, &y, &m, &d);
    ASSERT_TRUE(y == year && m == month && d == day) << n;
    if (++day > ko::days_in_month(year, month)) {
      day = 1;
      if (++month > 12) month = 1, ++year;
    }
  }
  EXPECT_EQ(last - first + 1, 2958464);
}

TEST(DateTimeValues, WeekdaysAndNames) {
  struct Case {
    KODATETIME value;
    int weekday;
  } cases[] = {{make(2024, 3, 5), 2},
               {make(1900, 1, 1), 1},
               {make(2000, 2, 29), 2},
               {make(1970, 1, 1), 4},
               {make(9999, 12, 31), 5}};
  for (const auto& c : cases) EXPECT_EQ(shdtDayOfWeek(&c.value), c.weekday);
  KODATETIME null_value = make(2024, 1, 1);
  null_value.year = 0xFFFF;
  EXPECT_EQ(shdtDayOfWeek(&null_value), -1);
  EXPECT_EQ(shdtDayOfWeek(nullptr), -1);
  KOCHAR out[16];
  EXPECT_EQ(shdtDayName(3, 0, out, 16), 9);
  EXPECT_EQ(std::u16string(out), u"Wednesday");
  shdtDayName(0, 1, out, 16);
  EXPECT_EQ(std::u16string(out), u"Sun");
  EXPECT_EQ(shdtDayName(7, 0, out, 16), -1);
  EXPECT_EQ(std::u16string(out), u"");
}

TEST(DateTimeValues, DifferencesAndRelativeDates) {
  KODATETIME a = make(2023, 12, 31, 23, 59, 59, 500000);
  KODATETIME b = make(2024, 3, 1, 0, 0, 1, 250000);
  EXPECT_EQ(shdtDiffDate(&a, &b), 61);  // 2024 is a leap year
  EXPECT_EQ(shdtDiffDate(&b, &a), -61);
  EXPECT_EQ(shdtDiffTime(&a, &b), 61 * 86400 - 86399 + 1);
  EXPECT_EQ(shdtDiffMSec(&a, &b), (61LL * 86400 - 86399 + 1) * 1000 - 250);
  KODATETIME moved;
  ASSERT_EQ(shdtRelativeDate(&a, 60, &moved), 1);
  EXPECT_EQ(std::tuple(moved.year + 1900, moved.month + 1, moved.day + 0, moved.hour + 0),
            std::tuple(2024, 2, 29, 23));
  ASSERT_EQ(shdtRelativeDate(&a, -365 * 200, &moved), 0);  // before 1900
  KODATETIME t1 = make(2024, 1, 1, 8, 0, 0), t2 = make(2024, 1, 1, 17, 30, 0);
  t1.year = t2.year = 0xFFFF;  // times of day only
  EXPECT_EQ(shdtDiffTime(&t1, &t2), 9 * 3600 + 1800);
  EXPECT_EQ(shdtDiffDate(&t1, &t2), 0);
}

TEST(DateTimeValues, SystemTimeAndModifiedJulianDay) {
  KODATETIME value = make(2024, 3, 5, 13, 45, 7, 250999);
  KOSYSTEMTIME st;
  ASSERT_EQ(shdtBuildSystemTimeFromSHTime(&value, &st), 1);
  EXPECT_EQ(std::tuple(st.wYear + 0, st.wMonth + 0, st.wDayOfWeek + 0, st.wMilliseconds + 0),
            std::tuple(2024, 3, 2, 250));
  KODATETIME back;
  ASSERT_EQ(shdtBuildTimeFromSystemTime(&st, &back), 1);
  EXPECT_EQ(std::tuple(back.subsecond, back.day + 0), std::tuple(250000u, 5));
  st.wMonth = 2;
  st.wDay = 30;
  EXPECT_EQ(shdtBuildTimeFromSystemTime(&st, &back), 0);

  KODATETIME epoch = make(1970, 1, 1);
  EXPECT_EQ(shdtToMJDDate(&epoch), 40587);
  KODATETIME y2k = make(2000, 1, 1, 12);
  EXPECT_EQ(shdtToMJDDate(&y2k), 51544);
  EXPECT_DOUBLE_EQ(shdtToMJDTime(&y2k), 0.5);
  EXPECT_DOUBLE_EQ(shdtToMJDTimestamp(&y2k), 51544.5);
  KODATETIME from_mjd;
  ASSERT_EQ(shMJDDateTodt(60374, &from_mjd), 1);  // 2024-03-05
  EXPECT_EQ(
      std::tuple(from_mjd.year + 1900, from_mjd.month + 0, from_mjd.day + 0, from_mjd.hour + 0),
      std::tuple(2024, 2, 5, 0));
  EXPECT_EQ(shMJDDateTodt(0, &from_mjd), 0);  // 1858 is before the first year a value holds
  y2k.year = 0xFFFF;
  EXPECT_EQ(shdtToMJDDate(&y2k), INT32_MIN);
  EXPECT_EQ(shdtToMJDTimestamp(&y2k), -1.0);
}

TEST(DateTimeValues, NowIsAValidValue) {
  KODATETIME now;
  ASSERT_EQ(shdtNow(&now), 1);
  EXPECT_GE(now.year + 1900, 2024);
  EXPECT_GE(shdtDayOfWeek(&now), 0);
}

TEST(DateTimeValues, TextAndBack) {
  KOCHAR out[64];
  KODATETIME value = make(2024, 3, 5, 13, 45, 7, 250000);
  shdtString(&value, out, 64);
  EXPECT_EQ(std::u16string(out), u"2024-03-05 13:45:07.250000");
  value.subsecond = 0;
  value.year = 0xFFFF;
  shdtString(&value, out, 64);
  EXPECT_EQ(std::u16string(out), u"????-03-05 13:45:07");

  struct Case {
    const char16_t* text;
    const char16_t* expected;  // null when refused
  } cases[] = {
      {u"2024-03-05", u"2024-03-05 00:00:00"},
      {u"2024-03-05T13:45:07", u"2024-03-05 13:45:07"},
      {u"2024-03-05 13:45:07.25", u"2024-03-05 13:45:07.250000"},
      {u" 2024-03-05 13:45 ", u"2024-03-05 13:45:00"},
      {u"3/5/2024", u"2024-03-05 00:00:00"},
      {u"3/5/24 1:45 PM", u"2024-03-05 13:45:00"},
      {u"12/11/10", u"2010-12-11 00:00:00"},
      {u"13:45:07.5", u"????-??-?? 13:45:07.500000"},
      {u"12:00 AM", u"????-??-?? 00:00:00"},
      {u"2023-02-29", nullptr},
      {u"2024-03-05 25:00", nullptr},
      {u"13 PM", nullptr},
      {u"hello", nullptr},
      {u"", nullptr},
  };
  for (const auto& c : cases) {
    int length = shdtParseToString(c.text, out, 64);
    if (c.expected) {
      EXPECT_EQ(std::u16string(out), std::u16string(c.expected));
    } else {
      EXPECT_EQ(length, -1);
    }
  }
  EXPECT_EQ(shdtParse(nullptr, &value), 0);
}

TEST(DateTimeValues, ParseByFormatAndLocale) {
  KODATETIME value;
  KOCHAR out[64];
  ASSERT_EQ(shdtParseStringEx(u"05.03.2024 13:45", u"dd.mm.yyyy hh:mm", &value), 1);
  shdtString(&value, out, 64);
  EXPECT_EQ(std::u16string(out), u"2024-03-05 13:45:00");
  ASSERT_EQ(shdtParseStringEx(u"Tuesday, March 5, 2024", u"dddd, mmmm d, yyyy", &value), 1);
  EXPECT_EQ(value.month, 2);
  EXPECT_EQ(shdtParseStringEx(u"05.03.2024", u"dd.mm.yyyy hh:mm", &value), 0);
  ASSERT_EQ(shdtParseStringExWithLcid(u"5/3/2024", nullptr, &value, 2057), 1);
  EXPECT_EQ(value.month, 2);  // day first
  ASSERT_EQ(shdtParseStringExWithLcid(u"5/3/2024", nullptr, &value, 1033), 1);
  EXPECT_EQ(value.month, 4);  // month first
  ASSERT_EQ(shdtParseStringExWithLcid(u"2024/3/5 10:00", u"", &value, 1041), 1);
  EXPECT_EQ(value.day, 5);
  ASSERT_EQ(shdtParseEx(u"05.03.2024", &value, u"sShortDate=dd.MM.yyyy"), 1);
  EXPECT_EQ(value.month, 2);
}

}  // namespace

// Rendering date-time values: fields, names, the 12-hour clock, fractions of
// a second, the null marker and the regional predefined formats.
#include <gtest/gtest.h>

#include "format/regional.h"
#include "format_test_support.h"

namespace {

using format_test::datetime;
using format_test::make;

TEST(DateTimeRender, Fields) {
  KODATETIME value = make(2024, 3, 5, 13, 45, 7, 250000);
  struct Case {
    const char16_t* format;
    const char16_t* expected;
  } cases[] = {
      {u"mm/dd/yyyy hh:mm:ss", u"03/05/2024 13:45:07"},
      {u"m/d/yy", u"3/5/24"},
      {u"mmm d, yyyy", u"Mar 5, 2024"},
      {u"dddd, mmmm dd", u"Tuesday, March 05"},
      {u"ddd", u"Tue"},
      {u"hh:mm", u"13:45"},  // minutes after an hour
      {u"mm/dd", u"03/05"},  // a month otherwise
      {u"mm:ss", u"45:07"},  // minutes before seconds
      {u"m:ss", u"45:07"},
      {u"h:mm AM/PM", u"1:45 PM"},
      {u"h:mm am/pm", u"1:45 PM"},
      {u"hh A/P", u"01 P"},
      {u"hh a/p", u"01 p"},
      {u"ss.f", u"07.2"},
      {u"ss.ffffff", u"07.250000"},
      {u"'Day' d", u"Day 5"},
      {u"\"at\" hh", u"at 13"},
      {u"\\d d", u"d 5"},
      {u"[SHORTDATE]", u"3/5/24"},
      {u"[TIME]", u"13:45:07"},
      {u"[SHORTDATE] [TIME]", u"3/5/24 13:45:07"},
      {u"[date][time]", u"3/5/2413:45:07"},
      {u"[LONGDATE]", u"March 5, 2024"},
  };
  for (const auto& c : cases) EXPECT_EQ(datetime(c.format, &value), std::u16string(c.expected));
}

TEST(DateTimeRender, TwelveHourClock) {
  struct Case {
    int hour;
    const char16_t* expected;
  } cases[] = {{0, u"12 AM"},  {1, u"1 AM"},  {11, u"11 AM"},
               {12, u"12 PM"}, {13, u"1 PM"}, {23, u"11 PM"}};
  for (const auto& c : cases) {
    KODATETIME value = make(2024, 1, 1, c.hour);
    EXPECT_EQ(datetime(u"h AM/PM", &value), std::u16string(c.expected));
  }
  KODATETIME value = make(2024, 1, 1, 0);
  EXPECT_EQ(datetime(u"h", &value), u"0");  // no designator: 24-hour clock
}

TEST(DateTimeRender, NullMarker) {
  KODATETIME value = make(2024, 3, 5, 13, 45, 7);
  value.year = 0xFFFF;
  value.day = 255;
  value.hour = 255;
  EXPECT_EQ(datetime(u"mm/dd/yyyy hh:mm", &value), u"03/??/???? ??:45");
  EXPECT_EQ(datetime(u"yy d h ddd", &value), u"?? ? ? ???");
  KOFMTCODE compiled[64];
  KOCHAR out[32] = u"x";
  ASSERT_EQ(shformatCmplDateTimeMask(u"yyyy;'none'", compiled, 64, nullptr), 0);
  shformatDateTime(compiled, nullptr, out, 32);
  EXPECT_EQ(std::u16string(out), u"none");
  ASSERT_EQ(shformatCmplDateTimeMask(u"yyyy", compiled, 64, nullptr), 0);
  shformatDateTime(compiled, nullptr, out, 32);
  EXPECT_EQ(std::u16string(out), u"");
}

TEST(DateTimeRender, CultureConventions) {
  const KOCHAR* culture =
      u"sShortDate=dd.MM.yyyy\tsLongDate=d. MMMM yyyy\tsTime=.\ts1159=vorm\ts2359=nachm";
  KODATETIME value = make(2024, 3, 5, 9, 5, 1);
  EXPECT_EQ(datetime(u"[SHORTDATE] [TIME]", &value, culture), u"05.03.2024 09.05.01");
  EXPECT_EQ(datetime(u"h AM/PM", &value, culture), u"9 vorm");
}

TEST(DateTimeRender, RegionalTimeFormat) {
  KOCHAR out[64];
  ko::build_time_format(u":", out, 64);
  EXPECT_EQ(std::u16string(out), u"hh':'mm':'ss");
  ko::build_time_format(u"'h", out, 64);
  EXPECT_EQ(std::u16string(out), u"hh'''h'mm'''h'ss");
  ko::build_time_format(u":", out, 5);
  EXPECT_EQ(std::u16string(out), u"hh':");
}

TEST(DateTimeRender, StringFormats) {
  KOFMTCODE compiled[64];
  KOCHAR out[32];
  ASSERT_EQ(shformatCmplStringMask(u"(@@@) @@@-@@@@;'n/a'", compiled, 64), 0);
  shformatString(compiled, u"5551234567", out, 32);
  EXPECT_EQ(std::u16string(out), u"(555) 123-4567");
  shformatString(compiled, u"55512", out, 32);
  EXPECT_EQ(std::u16string(out), u"(555) 12-");
  shformatString(compiled, nullptr, out, 32);
  EXPECT_EQ(std::u16string(out), u"n/a");
  ASSERT_EQ(shformatCmplStringMask(u"[RED]\\@@'!'", compiled, 64), 0);
  shformatString(compiled, u"xy", out, 32);
  EXPECT_EQ(std::u16string(out), u"@x!");
}

}  // namespace

// The three compilers: every error code, the section limits, the keyword and
// colour tables, and running out of room in the compiled buffer.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "format_test_support.h"

namespace {

using format_test::kUsCulture;

struct CompileCase {
  const char16_t* format;
  int expected;
};

std::string narrow(const char16_t* text) {
  std::string out;
  for (; *text; ++text) out += char(*text);
  return out;
}

TEST(Compile, NumberErrorCodes) {
  std::u16string long_name = u"[" + std::u16string(20, u'A') + u"]0";
  const CompileCase cases[] = {
      {u"#,##0.00;(#,##0.00);0", 0},
      {u"0;0;0;0;0", 0},    // five sections
      {u"0;0;0;0;0;0", 3},  // a sixth is too many
      {u"[red]0", 0},
      {u"[RED]0", 0},
      {u"[Yellow]0", 0},
      {u"[PURPLE]0", 5},
      {u"[12a]0", 2},
      {u"[255]0", 0},
      {long_name.c_str(), 5},
      {u"[currency]", 0},
      {u"0;[currency]", 0},
      {u"0;0;[currency]", 0},
      {u"0;0;0;[currency]", 5},  // the fourth section takes no currency
      {u"[ENGLISH]0.00", 0},
      {u"[GENERAL]", 0},
      {u"0.0.0", 6},
      {u"0.0;0.0", 0},  // one point per section
      {u"#%", 0},
      {u"%#", 0},
      {u"#%%", 4},
      {u"0.00E+00%", 4},
      {u"0%E+00", 4},
      {u"0.00E+00E+00", 4},
      {u"0.00E+", 4},  // not an exponent: "E" switches to text mode after a point
      {u"[RED", 7},
      {u"'open", 7},
      {u"0\\", 7},
      {u"0 kg", 4},
      {u"0kg", 0},
      {u"#,##0\\ kg", 4},
  };
  for (const auto& c : cases) {
    KOFMTCODE compiled[256];
    EXPECT_EQ(shformatCmplNumericMaskWeb(c.format, compiled, 256, kUsCulture), c.expected)
        << narrow(c.format);
  }
  EXPECT_EQ(shformatCmplNumericMask(u"0", nullptr, 10, nullptr), 1);
  KOFMTCODE compiled[8];
  EXPECT_EQ(shformatCmplNumericMask(nullptr, compiled, 8, nullptr), 8);
}

TEST(Compile, DateTimeErrorCodes) {
  const CompileCase cases[] = {
      {u"mm/dd/yyyy hh:mm:ss", 0},
      {u"m;m;m", 0},
      {u"m;m;m;m", 3},
      {u"mmmmm", 9},
      {u"mmmm d, yyyy", 0},
      {u"ddddd", 10},
      {u"y", 11},
      {u"yyy", 11},
      {u"yyyyy", 11},
      {u"hhh", 12},
      {u"sss", 13},
      {u"hh:mmm", 14},
      {u"ffffff", 0},
      {u"fffffff", 16},
      {u"h AM/PM", 0},
      {u"h am/pm", 0},
      {u"h A/P", 0},
      {u"h a/p", 0},
      {u"h Am/Pm", 15},
      {u"h at", 15},
      {u"[SHORTDATE] [TIME]", 0},
      {u"[date][time]", 0},
      {u"[date] [time]", 0},
      {u"[LongDate]", 0},
      {u"[RED]hh", 0},
      {u"[NOON]", 5},
      {u"[1x]", 2},
      {u"'quoted", 7},
      {u"\"quoted\" hh", 0},
      {u"hh\\", 7},
  };
  for (const auto& c : cases) {
    KOFMTCODE compiled[256];
    EXPECT_EQ(shformatCmplDateTimeMaskWeb(c.format, compiled, 256, kUsCulture), c.expected)
        << narrow(c.format);
  }
}

TEST(Compile, StringErrorCodes) {
  const CompileCase cases[] = {
      {u"@@@-@@", 0}, {u"@;@;@", 0},   {u"@;@;@;@", 3}, {u"[BLUE]@", 0},
      {u"[9z]@", 2},  {u"[PINK]@", 5}, {u"'abc", 7},    {u"@\\", 7},
  };
  for (const auto& c : cases) {
    KOFMTCODE compiled[64];
    EXPECT_EQ(shformatCmplStringMask(c.format, compiled, 64), c.expected) << narrow(c.format);
  }
}

// Every compiler reports a buffer that is too small as code 1 and never
// writes past its capacity.
TEST(Compile, TooSmallBufferIsErrorOneAndStaysInside) {
  const char16_t* number_format = u"#,##0.00;(#,##0.00);\"zero\";[RED]0";
  const char16_t* date_format = u"[SHORTDATE] [TIME] dddd";
  for (int capacity = 1; capacity < 80; ++capacity) {
    std::vector<KOFMTCODE> buffer(capacity + 4, 0xBEEF);
    int number_result =
        shformatCmplNumericMaskWeb(number_format, buffer.data(), capacity, kUsCulture);
    int date_result = shformatCmplDateTimeMaskWeb(date_format, buffer.data(), capacity, kUsCulture);
    int string_result = shformatCmplStringMask(u"(@@@) @@@-@@@@", buffer.data(), capacity);
    for (int i = capacity; i < capacity + 4; ++i) ASSERT_EQ(buffer[i], 0xBEEF) << capacity;
    EXPECT_TRUE(number_result == 0 || number_result == 1);
    EXPECT_TRUE(date_result == 0 || date_result == 1);
    EXPECT_TRUE(string_result == 0 || string_result == 1);
    if (capacity < 10) {
      EXPECT_EQ(number_result, 1);
    }
  }
}

// The save-as writers compile their default formats into 39 codes.
TEST(Compile, DefaultFormatsFitThirtyNineCodes) {
  KOFMTCODE compiled[39];
  EXPECT_EQ(shformatCmplNumericMask(u"[GENERAL]", compiled, 39, nullptr), 0);
  for (const KOCHAR* format : {u"[SHORTDATE]", u"[TIME]", u"[SHORTDATE] [TIME]"}) {
    EXPECT_EQ(shformatCmplDateTimeMask(format, compiled, 39, nullptr), 0);
    EXPECT_EQ(shformatCmplDateTimeMaskWeb(format, compiled, 39, u"sShortDate=dd/MM/yyyy"), 0);
  }
}

// Only the first 1,000 characters of a number format are read.
TEST(Compile, NumberFormatIsCutAtOneThousandCharacters) {
  std::u16string format(999, u'0');
  KOFMTCODE compiled[64];
  EXPECT_EQ(shformatCmplNumericMaskWeb((format + u"0.").c_str(), compiled, 64, kUsCulture), 0);
  EXPECT_EQ(shformatCmplNumericMaskWeb((format + u".0.").c_str(), compiled, 64, kUsCulture), 0);
  EXPECT_EQ(
      shformatCmplNumericMaskWeb((format.substr(2) + u".0.").c_str(), compiled, 64, kUsCulture), 6);
}

TEST(Compile, CommaPositions) {
  KOFMTCODE compiled[64];
  int positions[4];
  EXPECT_EQ(shformatCmplNumericMaskWebCommasPos(u"#,##0.00;#,###,##0", compiled, 64, kUsCulture,
                                                positions, 4),
            0);
  EXPECT_EQ(std::vector<int>(positions, positions + 4), (std::vector<int>{1, 10, 14, -1}));
}

}  // namespace

// Rendering numbers through compiled formats: digit runs, grouping, rounding,
// sections, percentages, exponents, currency, text mode and the kept choices.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "format_test_support.h"

namespace {

using format_test::kUsCulture;
using format_test::number;

struct NumberCase {
  const char16_t* format;
  double value;
  const char16_t* expected;
};

TEST(NumberRender, Layouts) {
  const NumberCase cases[] = {
      {u"#,##0.00", 1234567.891, u"1,234,567.89"},
      {u"#,##0.00", 0.5, u"0.50"},
      {u"#,##0.00", -1234.5, u"-1,234.50"},
      {u"0.00", 2.005, u"2.01"},  // the digits are 2.005000000000000, half away from zero
      {u"0.00", 1.005, u"1.01"},  // 1.004999999999999893 has 16 digits 1.005000000000000
      {u"0", 2.5, u"3"},
      {u"0", -2.5, u"-3"},
      {u"0.##", 5, u"5."},
      {u"#.##", 0, u"."},
      {u"0.", 5, u"5."},
      {u"0.##", 5.5, u"5.5"},
      {u"0.0#", 5, u"5.0"},
      {u"000", 7, u"007"},
      {u"#", 0, u""},
      {u"#.##", 0.25, u".25"},
      {u"0.000", 0.1 + 0.2, u"0.300"},
      {u"0.####################", 0.1 + 0.2, u"0.3"},  // "01" noise is rounded away
      {u"#,##0", 999.5, u"1,000"},
      {u"#,##0", 123456789012.0, u"123,456,789,012"},
      {u"0", 1e20, u"100000000000000000000"},
      {u"0.00", 1e-10, u"0.00"},
      {u"000-00-0000", 123456789, u"123-45-6789"},
      {u"###-####", 12, u"-12"},
      {u"(###) ###-####", 5551234567.0, u"(555) 123-4567"},
      {u"0%", 0.256, u"26%"},
      {u"0.0%", 0.5, u"50.0%"},
      {u"%#", 0.07, u"%7"},
      {u"0.00E+00", 12345.678, u"1.23E+04"},
      {u"0.00E+00", 0.00012345, u"1.23E-04"},
      {u"0.00E-00", 12345.678, u"1.23E04"},
      {u"0.00e-0", 0.00012345, u"1.23e-4"},
      {u"00.0E+0", 12345.678, u"12.3E+3"},
      {u"0.00E+00", 0, u"0.00E+00"},
      {u"0.00E+00", 9.999, u"1.00E+01"},
      {u"\\$0.00", 3, u"$3.00"},
      {u"'Total: '0", 3, u"Total: 3"},
      {u"$#,##0", 1234, u"$1,234"},
      {u"[RED]0.0", 1, u"1.0"},
      {u"[255]0", 4, u"4"},
      {u"[GENERAL]", 1234.5, u"1234.5"},
      {u"[GENERAL]", 0.1 + 0.2, u"0.3"},
      {u"[GENERAL]", 1e15, u"1E+15"},
      {u"[GENERAL]", 123456789012345.0, u"123456789012345"},
      {u"[GENERAL]", 0.000001234, u"1.234E-06"},
      {u"[GENERAL]", 0.00001234, u"0.00001234"},
      {u"[GENERAL]", 0.0001234, u"0.0001234"},
      {u"[GENERAL]", -2.5, u"-2.5"},
      {u"[GENERAL]", 0, u"0"},
      {u"", 42.5, u"42.5"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(number(c.format, c.value), std::u16string(c.expected))
        << std::string(c.format, c.format + std::char_traits<char16_t>::length(c.format))
        << " value " << c.value;
  }
}

TEST(NumberRender, SectionsChooseBySign) {
  const NumberCase cases[] = {
      {u"#,##0.00;(#,##0.00);zero", 1234.5, u"1,234.50"},
      {u"#,##0.00;(#,##0.00);zero", -1234.5, u"(1,234.50)"},
      {u"#,##0.00;(#,##0.00);zero", 0, u"zero"},
      {u"0.00;(0.00)", 0, u"0.00"},
      {u"0.00;-0.00;-", -0.001, u"-"},  // a negative that rounds to zero shows as zero
      {u"0.00", -0.001, u"0.00"},       // and carries no sign
      {u"0.00", -0.005, u"-0.01"},
      {u"0;0", -5, u"5"},  // the negative section shows no sign of its own
  };
  for (const auto& c : cases) {
    EXPECT_EQ(number(c.format, c.value), std::u16string(c.expected));
  }
}

TEST(NumberRender, CultureSeparators) {
  const KOCHAR* german = u"sDecimal=,\tsThousand=.\tsCurrency=EUR\tiCurrency=3\tiNegCurr=8";
  EXPECT_EQ(number(u"#,##0.00", 1234567.891, german), u"1.234.567,89");
  EXPECT_EQ(number(u"[ENGLISH]#,##0.00", 1234567.891, german), u"1,234,567.89");
  EXPECT_EQ(number(u"[GENERAL]", 2.5, german), u"2,5");
  EXPECT_EQ(number(u"[currency]", 1234.5, german), u"1.234,50 EUR");
  EXPECT_EQ(number(u"[currency]", -1234.5, german), u"-1.234,50 EUR");
  EXPECT_EQ(number(u"0 EUR", 5, german), u"5 EUR");  // the currency symbol is a literal
  EXPECT_EQ(number(u"#,##0.00", 1234567.891, u"sDecimal=,x\tsThousand=.y"), u"1.234.567,89");
  const KOCHAR* no_grouping = u"sGrouping=0\tsThousand=,";
  EXPECT_EQ(number(u"#,##0", 1234567, no_grouping), u"1234567");
  const KOCHAR* odd_grouping = u"sGrouping=4\tsThousand=,";  // anything but 0 or 3 is 3
  EXPECT_EQ(number(u"#,##0", 1234567, odd_grouping), u"1,234,567");
}

TEST(NumberRender, CurrencyPatterns) {
  struct Case {
    const char16_t* culture;
    double value;
    const char16_t* expected;
  } cases[] = {
      {u"iCurrency=0\tiNegCurr=0", 1234.5, u"$1,234.50"},
      {u"iCurrency=0\tiNegCurr=0", -1234.5, u"($1,234.50)"},
      {u"iCurrency=1\tiNegCurr=1", -2, u"-$2.00"},
      {u"iCurrency=2\tiNegCurr=2", 2, u"$ 2.00"},
      {u"iCurrency=3\tiNegCurr=3", 2, u"2.00 $"},
      {u"iCurrency=3\tiNegCurr=3", -2, u"$2.00-"},
      {u"iNegCurr=15", -2, u"(2.00 $)"},
      {u"iNegCurr=12", -2, u"$ -2.00"},
      {u"iCurrDigits=0", 2.5, u"$3"},
      {u"sMonGrouping=0", 12345, u"$12345.00"},
      {u"sCurrency=kr\tiCurrency=3", 1, u"1.00 kr"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(number(u"[currency]", c.value, c.culture), std::u16string(c.expected));
  }
  // The keyword inside a section inserts the pattern of that section.
  EXPECT_EQ(number(u"0;0;[currency]", 0, u"iCurrency=1"), u"0.00$");
}

TEST(NumberRender, TextMode) {
  // Any other character switches the section to text mode (iCountry 1):
  // "#" and "0" become single digit positions, "," a literal grouping character.
  EXPECT_EQ(number(u"0kg", 12, kUsCulture), u"12kg");
  EXPECT_EQ(number(u"##x##", 1234, kUsCulture), u"12x34");
  EXPECT_EQ(number(u"#x#,#", 123, kUsCulture), u"1x2,3");
  EXPECT_EQ(number(u"0km.0", 1.25, kUsCulture), u"1km.3");
  // Only ungrouped digit runs may stand before the switch.
  EXPECT_EQ(number(u"0 kg", 12, kUsCulture), u"error 4");
  EXPECT_EQ(number(u"#,##0kg", 12, kUsCulture), u"error 4");
  EXPECT_EQ(number(u"0.0kg", 12, kUsCulture), u"error 4");
  // With another country code the character is only a literal.
  EXPECT_EQ(number(u"#,##0 kg", 1234, u"iCountry=44"), u"1,234 kg");
}

TEST(NumberRender, OtherValueTypes) {
  KOFMTCODE compiled[128];
  KOCHAR out[64];
  // Renders through `call` (one of the typed formatters), giving the text.
  auto as_text = [&](auto call, auto value) {
    call(compiled, value, out, 64, kUsCulture);
    return std::u16string(out);
  };
  ASSERT_EQ(shformatCmplNumericMaskWeb(u"#,##0.00", compiled, 128, kUsCulture), 0);
  KODECIMAL decimal{0, 2, KODECIMAL_NEGATIVE, 0, 123456789};
  EXPECT_EQ(as_text(shformatDecimalWeb, &decimal), u"-1,234,567.89");
  KODECIMAL big{0, 0, 0, 0xFFFFFFFFu, 0xFFFFFFFFFFFFFFFFull};  // 2^96 - 1
  EXPECT_EQ(as_text(shformatDecimalWeb, &big), u"79,228,162,514,264,337,593,543,950,335.00");
  KODECIMAL half{0, 3, 0, 0, 2345};  // 2.345 rounds half away from zero
  EXPECT_EQ(as_text(shformatDecimalWeb, &half), u"2.35");
  EXPECT_EQ(as_text(shformatLonglongWeb, INT64_MIN), u"-9,223,372,036,854,775,808.00");
  EXPECT_EQ(as_text(shformatLonglongWeb, int64_t{42}), u"42.00");
  EXPECT_EQ(as_text(shformatRealWeb, 0.1f), u"0.10");
  ASSERT_EQ(shformatCmplNumericMaskWeb(u"[GENERAL]", compiled, 128, kUsCulture), 0);
  EXPECT_EQ(as_text(shformatRealWeb, 0.3f), u"0.3");  // 0.30000001: "01" is noise
  EXPECT_EQ(as_text(shformatRealWeb, 1.1f), u"1.1");  // 1.1000000238: "02" is noise
  EXPECT_EQ(as_text(shformatDoubleWeb, std::numeric_limits<double>::quiet_NaN()), u"NaN");
  EXPECT_EQ(as_text(shformatDoubleWeb, -INFINITY), u"-Infinity");
}

TEST(NumberRender, NullValueUsesTheFourthSection) {
  KOFMTCODE compiled[128];
  KOCHAR out[64] = u"x";
  ASSERT_EQ(shformatCmplNumericMaskWeb(u"0;-0;zero;null", compiled, 128, kUsCulture), 0);
  EXPECT_EQ(shformatDecimal(compiled, nullptr, out, 64), 4);
  EXPECT_EQ(std::u16string(out), u"null");
  ASSERT_EQ(shformatCmplNumericMaskWeb(u"0;-0", compiled, 128, kUsCulture), 0);
  EXPECT_EQ(shformatDecimal(compiled, nullptr, out, 64), 0);
  EXPECT_EQ(std::u16string(out), u"");
}

TEST(NumberRender, OutputStopsAtCapacity) {
  KOFMTCODE compiled[64];
  ASSERT_EQ(shformatCmplNumericMaskWeb(u"#,##0.00", compiled, 64, kUsCulture), 0);
  KOCHAR out[8] = {u'#', u'#', u'#', u'#', u'#', u'#', u'#', u'#'};
  EXPECT_EQ(shformatDoubleWeb(compiled, 1234567.5, out, 5, kUsCulture), 4);
  EXPECT_EQ(std::u16string(out), u"1,23");
  EXPECT_EQ(out[5], u'#');
  EXPECT_EQ(shformatDoubleWeb(compiled, 1.0, out, 1, kUsCulture), 0);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(shformatDouble(nullptr, 1.0, out, 8), -1);
  EXPECT_EQ(shformatDouble(compiled, 1.0, nullptr, 8), -1);
  EXPECT_EQ(shformatDouble(compiled, 1.0, out, 0), -1);
}

}  // namespace

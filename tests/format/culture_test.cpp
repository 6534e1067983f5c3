// Culture strings: result codes, escapes, the substring rule, and the
// regional record built from them; the error messages; number validation.
#include <gtest/gtest.h>

#include <koshr/format.h>

#include <string>
#include <tuple>
#include <vector>

#include "format/regional.h"
#include "platform/resources.h"

namespace {

TEST(CultureString, ValuesAndResultCodes) {
  const KOCHAR* culture = u"sDecimal=,\tsThousand=.\tsList=a!!b!tc\tsOdd=x!y!!z\tsEmpty=\tbad";
  struct Case {
    const char16_t* culture;
    const char16_t* key;
    int capacity;
    int result;
    const char16_t* value;
  } cases[] = {
      {culture, u"sDecimal", 16, 0, u","},
      {culture, u"sThousand", 16, 0, u"."},
      {culture, u"sList", 16, 0, u"a!b\tc"},
      {culture, u"sOdd", 16, 0, u"x!y!!z"},  // a stray "!" stops the unescaping
      {culture, u"sEmpty", 16, 0, u""},
      {culture, u"sMissing", 16, -1, u"dflt"},
      {culture, u"bad", 16, -2, u"dflt"},    // no "=" after the key
      {culture, u"Thousand", 16, 0, u"."},   // a plain substring search
      {culture, u"sList", 8, 0, u"a!b\tc"},  // "a!!b!tc" and its terminator fit in 8
      {culture, u"sList", 7, -3, u"dflt"},   // too long: the default stays
      {nullptr, u"sDecimal", 16, -2, u"dflt"},
  };
  for (const auto& c : cases) {
    KOCHAR out[16];
    EXPECT_EQ(getCultureValueStr(c.culture, c.key, u"dflt", out, c.capacity), c.result);
    EXPECT_EQ(std::u16string(out), std::u16string(c.value));
  }
  int number = 0;
  EXPECT_EQ(getCultureValueInt(u"iCurrDigits=3\tx=1", u"iCurrDigits", 2, &number), 0);
  EXPECT_EQ(number, 3);
  EXPECT_EQ(getCultureValueInt(u"x=1", u"iCurrDigits", 2, &number), -1);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(getCultureValueStr(culture, u"sDecimal", u"", nullptr, 4), -2);
}

TEST(CultureString, RegionalRecord) {
  ko::RegionalSettings s;
  ko::read_culture_settings(
      u"sDecimal=\tsThousand=\tiCurrency=2\tsCurrency=EUR\tsGrouping=4\tsMonGrouping=0"
      u"\ts1159=\ts2359=after\tiCountry=44\tsCurrency2=x\tsShortDate=yyyy-MM-dd",
      s);
  // Empty separators fall back; grouping 4 becomes 3; "after" is longer than four characters.
  EXPECT_EQ(std::tuple(s.decimal, s.thousand, s.currency_length, s.grouping, s.money_grouping,
                       s.country, s.currency_digits),
            std::tuple(u'.', u',', size_t{4}, 3, 0, 44, 2));
  EXPECT_EQ(
      (std::vector<std::u16string>{s.currency, s.am, s.pm, s.short_date, s.long_date,
                                   s.time_separator}),
      (std::vector<std::u16string>{u"EUR ", u"AM", u"PM", u"yyyy-MM-dd", u"mmmm d, yyyy", u":"}));
  ko::read_culture_settings(u"iCurrency=3\tsCurrency=ABCDEFGHIJKLMNOP", s);
  EXPECT_EQ(std::u16string(s.currency), u" $");  // an oversized symbol keeps the default
}

// The separators are the first character of the value, however long the
// value, as the profile gives them.
TEST(CultureString, SeparatorsAreTheFirstCharacter) {
  const struct {
    const char16_t* culture;
    KOCHAR decimal, thousand;
  } cases[] = {
      {u"sDecimal=,x\tsThousand=.y", u',', u'.'},
      {u"sThousand=_1234567890123456789012345678901234567890123456789012345678", u'.', u'_'},
      {u"sDecimal=!tx\tsThousand=!!", u'\t', u'!'},
      {u"sDecimal=!x\tsThousand='y", u'!', u'\''},
      {u"sDecimal\tsThousand= ", u'.', u' '},
  };
  for (const auto& c : cases) {
    ko::RegionalSettings s;
    ko::read_culture_settings(c.culture, s);
    EXPECT_EQ(std::tuple(s.decimal, s.thousand), std::tuple(c.decimal, c.thousand));
  }
}

TEST(FormatErrors, MessagesByCode) {
  const char16_t* seconds = u"Seconds should be specified using s or ss";
  const char16_t* expected[] = {
      u"Format is valid.",
      u"Format too large.",
      u"Invalid color specified in format.",
      u"Too many sections specified in format.",
      u"Bad character in format.",
      u"Unknown key specified in format, as in [xxx] where xxx is unknown.",
      u"Too many periods found in format.",
      u"Unexpected end of format string.",
      u"Invalid format.",
      u"Month should be specified using m, mm, mmm or mmmm.",
      u"Day should be specified using d, dd, ddd or dddd.",
      u"Year should be specified using yy or yyyy.",
      u"Hour should be specified using h or hh.",
      seconds,
      u"Minutes should be specified using m or mm",
      u"Time should be specified using AM/PM, am/pm, a/p or A/P.",
      seconds,  // code 16 keeps the seconds message
  };
  for (int code = 0; code < 17; ++code) {
    KOCHAR out[SHFORMAT_ERROR_TEXT_MAX];
    int length = shformatErrorString(out, code);
    EXPECT_EQ(std::u16string(out), std::u16string(expected[code])) << code;
    EXPECT_EQ(size_t(length), std::char_traits<char16_t>::length(expected[code]));
  }
  for (int code : {-1, 17, 1000}) {
    KOCHAR out[SHFORMAT_ERROR_TEXT_MAX];
    shformatErrorString(out, code);
    EXPECT_EQ(std::u16string(out), u"Invalid format.");
  }
  EXPECT_EQ(ko::resource_id("IDS_FORMATERRMSECOND"), 106u);
  EXPECT_EQ(ko::resource_id("IDS_FORMATERRDAY"), 100u);
  EXPECT_EQ(std::u16string(ko::resource_string(106)), u"Microseconds can be up to nnnnnn.");
}

TEST(ValidReal, NoLocale) {
  struct Case {
    const char16_t* text;
    int valid;
  } cases[] = {
      {u"1234.5", 1}, {u"-1,234.50", 1}, {u" +12 ", 1},  {u".5", 1},
      {u"5.", 1},     {u"1e10", 1},      {u"1.5E-3", 1}, {u"", 0},
      {u"abc", 0},    {u"1,234,5.6", 1}, {u"1.2.3", 0},  {u"1e", 0},
      {u",5", 0},     {u"1,5,", 0},      {u"1 2", 0},    {u"1,234,56", 1},
  };
  for (const auto& c : cases) EXPECT_EQ(shIsValidRealNoLocale(c.text), c.valid);
  EXPECT_EQ(shIsValidRealNoLocale(nullptr), 0);
}

}  // namespace

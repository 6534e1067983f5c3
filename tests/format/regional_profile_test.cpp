// The regional settings of the user's profile: the process's three values
// read by koshr_intl, the kept profile record, the registry read before the
// profile for the date and time conventions, and the renderers without a
// culture string. POSIX only: the test points the profile and the registry
// at files of its own.
#ifndef _WIN32
#include <gtest/gtest.h>

#include <koshr/format.h>

#include <string>

#include "environment.h"
#include "format/regional.h"
#include "format_test_support.h"
#include "scratch_folder.h"

namespace {

class RegionalProfile : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto profile = ko_test::process_scratch_folder().file("format_win.ini");
    const auto registry = ko_test::process_scratch_folder().file("format_registry.ini");
    ko_test::write_bytes(
        profile,
        "[intl]\nsDecimal=,x\nsThousand=.y\nsGrouping=4\nsCurrency=EUR\n"
        "iCurrency=3\niNegCurr=8\ns1159=vm\ns2359=nm\nsShortDate=yy/m/d\nsTime=.\n");
    ko_test::write_bytes(
        registry, "[HKEY_CURRENT_USER\\Control Panel\\International]\nsShortDate=dd.MM.yyyy\n");
    ko_test::set_env("KOSHR_PROFILE", profile.string());
    ko_test::set_env("KOSHR_REGISTRY", registry.string());
    koshr_intl();
  }
  void TearDown() override {
    ko_test::set_env("KOSHR_PROFILE", nullptr);
    ko_test::set_env("KOSHR_REGISTRY", nullptr);
    koshr_intl();
  }
};

TEST_F(RegionalProfile, ProcessValuesAndRecord) {
  EXPECT_EQ(ko::process_decimal_separator(), u',');
  EXPECT_EQ(ko::process_grouping_character(), u'.');
  EXPECT_EQ(std::u16string(ko::process_currency_symbol()), u"EUR");
  ko::RegionalSettings scratch;
  const ko::RegionalSettings& s = ko::regional_settings(nullptr, scratch);
  EXPECT_EQ(s.grouping, 3);  // 4 in the profile
  EXPECT_EQ(std::u16string(s.currency), u" EUR");
  EXPECT_EQ(std::u16string(s.short_date), u"dd.MM.yyyy");  // the registry wins
  EXPECT_EQ(std::u16string(s.time_separator), u".");
  KOCHAR separator[4];
  EXPECT_EQ(ko::profile_time_separator(separator, 4), 1u);
  EXPECT_EQ(std::u16string(separator), u".");
}

TEST_F(RegionalProfile, RenderersUseTheProfile) {
  KOFMTCODE compiled[128];
  KOCHAR out[64];
  ASSERT_EQ(shformatCmplNumericMask(u"#,##0.00", compiled, 128, nullptr), 0);
  shformatDouble(compiled, 1234567.891, out, 64);
  EXPECT_EQ(std::u16string(out), u"1.234.567,89");
  ASSERT_EQ(shformatCmplNumericMask(u"[currency]", compiled, 128, nullptr), 0);
  shformatDouble(compiled, -1234.5, out, 64);
  EXPECT_EQ(std::u16string(out), u"-1.234,50 EUR");
  ASSERT_EQ(shformatCmplNumericMask(u"0 EUR", compiled, 128, nullptr), 0);  // symbol is literal
  KODATETIME value = format_test::make(2024, 3, 5, 13, 45, 7);
  ASSERT_EQ(shformatCmplDateTimeMask(u"[SHORTDATE] [TIME] AM/PM", compiled, 128, nullptr), 0);
  shformatDateTime(compiled, &value, out, 64);
  EXPECT_EQ(std::u16string(out), u"05.03.2024 01.45.07 nm");
  // Validation ignores the process's separators.
  EXPECT_EQ(shIsValidRealNoLocale(u"1,234.5"), 1);
  EXPECT_EQ(shIsValidRealNoLocale(u"1.234,5"), 0);
}

}  // namespace
#endif

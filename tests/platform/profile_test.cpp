// The user's profile and the private profile: the Windows profile functions'
// results on the posix backend's INI files.
#include <gtest/gtest.h>

#include <string>

#include "platform/platform.h"
#include "environment.h"
#include "scratch_folder.h"

#ifndef _WIN32

namespace {

using ko::os::profile_int;
using ko::os::profile_string;

class Profile : public ::testing::Test {
 protected:
  void SetUp() override {
    const auto path = ko_test::process_scratch_folder().file("win.ini");
    ko_test::write_bytes(path,
                             "[intl]\n"
                             "sDecimal=,\n"
                             "sThousand= .\n"
                             "iCurrDigits=2\n"
                             "iNegative=-7\n"
                             "iSuffix=12abc\n"
                             "iWord=abc\n"
                             "iEmpty=\n"
                             "sQuoted=\" x \"\n"
                             "[Debug]\n"
                             "OutputDebugMessage=1\n");
    ko_test::set_env("KOSHR_PROFILE", path.string());
  }
};

TEST_F(Profile, StringsFollowTheProfileFunctions) {
  // `expected` is what the buffer holds up to and including the last
  // terminator the call writes; `result` what the call returns.
  struct Row {
    const KOCHAR* section;
    const KOCHAR* key;
    const KOCHAR* fallback;
    size_t capacity;
    std::u16string expected;
    size_t result;
  };
  using namespace std::string_literals;
  const Row rows[] = {
      {u"intl", u"sDecimal", u"?", 16, u",\0"s, 1},
      {u"INTL", u"sthousand", u"?", 16, u".\0"s, 1},
      {u"intl", u"sQuoted", u"?", 16, u" x \0"s, 3},
      {u"intl", u"missing", u"dflt  ", 16, u"dflt\0"s, 4},
      {u"intl", u"missing", nullptr, 16, u"\0"s, 0},
      {u"nosection", u"sDecimal", u"d", 16, u"d\0"s, 1},
      {u"intl", u"sQuoted", u"?", 3, u" x\0"s, 2},
      {u"intl", u"missing", u"longer default", 5, u"long\0"s, 4},
      {u"intl", nullptr, nullptr, 200,
       u"sDecimal\0sThousand\0iCurrDigits\0iNegative\0iSuffix\0iWord\0iEmpty\0sQuoted\0\0"s, 70},
      {nullptr, nullptr, nullptr, 16, u"intl\0Debug\0\0"s, 11},
      {nullptr, nullptr, nullptr, 8, u"intl\0D\0\0"s, 6},
      {u"nosection", nullptr, nullptr, 8, u"\0\0"s, 0},
  };
  for (const Row& row : rows) {
    KOCHAR out[256];
    std::fill(std::begin(out), std::end(out), u'#');
    const size_t result = profile_string(row.section, row.key, row.fallback, out, row.capacity);
    const size_t written = row.expected.size();
    EXPECT_EQ(result, row.result);
    EXPECT_EQ(std::u16string(out, written), row.expected);
  }
}

TEST_F(Profile, IntegersFollowTheProfileFunctions) {
  struct Row {
    const KOCHAR* key;
    int expected;
  };
  const Row rows[] = {{u"iCurrDigits", 2}, {u"iNegative", -7}, {u"iSuffix", 12},
                      {u"iWord", 0},       {u"iEmpty", 99},    {u"missing", 99}};
  for (const Row& row : rows) EXPECT_EQ(profile_int(u"intl", row.key, 99), row.expected);
  EXPECT_EQ(profile_int(u"debug", u"outputdebugmessage", 0), 1);
}

TEST_F(Profile, MissingProfileMeansDefaults) {
  ko_test::set_env("KOSHR_PROFILE", ko_test::process_scratch_folder().file("absent.ini").string());
  KOCHAR out[16];
  EXPECT_EQ(profile_string(u"intl", u"sDecimal", u".", out, 16), 1u);
  EXPECT_EQ(std::u16string(out), u".");
  EXPECT_EQ(profile_int(u"intl", u"iCurrDigits", 3), 3);
  EXPECT_EQ(profile_string(u"intl", u"sDecimal", u".", out, 0), 0u);
}

TEST_F(Profile, SnapshotReadsTheFileOnceUntilItEnds) {
  const auto path = ko_test::process_scratch_folder().file("win.ini");
  KOCHAR out[16];
  {
    ko::os::ProfileSnapshot outer;
    EXPECT_EQ(profile_int(u"intl", u"iCurrDigits", 0), 2);
    ko_test::write_bytes(path, "[intl]\niCurrDigits=5\nsDecimal=;\n");
    {
      ko::os::ProfileSnapshot inner;  // nested: still the outer one's reading
    }
    EXPECT_EQ(profile_int(u"intl", u"iCurrDigits", 0), 2);
    profile_string(u"intl", u"sDecimal", u".", out, 16);
    EXPECT_EQ(std::u16string(out), u",");
  }
  EXPECT_EQ(profile_int(u"intl", u"iCurrDigits", 0), 5);
  profile_string(u"intl", u"sDecimal", u".", out, 16);
  EXPECT_EQ(std::u16string(out), u";");
}

TEST(PrivateProfile, ReadsTheNamedFile) {
  const auto path = ko_test::process_scratch_folder().file("ko.ini");
  ko_test::write_bytes(path, "[Library]\nRepairEmptyBlock=1\n");
  EXPECT_EQ(
      ko::os::private_profile_int(u"library", u"repairemptyblock", 0, path.u16string().c_str()), 1);
  EXPECT_EQ(ko::os::private_profile_int(u"library", u"other", 5, path.u16string().c_str()), 5);
  EXPECT_EQ(ko::os::private_profile_int(u"library", u"RepairEmptyBlock", 7),
            7);  // none beside the test
}

}  // namespace

#endif

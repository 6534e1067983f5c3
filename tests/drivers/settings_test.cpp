// settings_test.cpp: the connection string the ODBC driver builds: streaming
// settings added for the drivers that need them, never over the user's own,
// and log-in strings quoted so that no value can add an attribute.
#include "drivers/odbc/settings.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string narrow(const std::u16string& text) { return std::string(text.begin(), text.end()); }

TEST(ConnectStringTest, StreamingSettingsAreAddedOnlyWhereMissing) {
  const struct {
    const char16_t* in;
    const char* out;
  } cases[] = {
      {u"Driver=PostgreSQL Unicode;Servername=/tmp/s",
       "Driver=PostgreSQL Unicode;Servername=/tmp/s;usedeclarefetch=1;fetch=1000"},
      {u"DRIVER={PostgreSQL Unicode};UseDeclareFetch=0;",
       "DRIVER={PostgreSQL Unicode};UseDeclareFetch=0;fetch=1000"},
      {u"Driver=PostgreSQL Unicode; fetch = 10;usedeclarefetch=1",
       "Driver=PostgreSQL Unicode; fetch = 10;usedeclarefetch=1"},
      {u"Driver=SQLite3;Database=/data/postgres.db", "Driver=SQLite3;Database=/data/postgres.db"},
      {u"DSN=orders", "DSN=orders"},
      {u"", ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(narrow(ko::odbc::streaming_connect_string(c.in, 256)), c.out) << narrow(c.in);
  }
  EXPECT_EQ(narrow(ko::odbc::streaming_connect_string(u"Driver=PostgreSQL", 4096)),
            "Driver=PostgreSQL;usedeclarefetch=1;fetch=4096");
}

TEST(ConnectStringTest, LogInStringsAreBracedWhenTheyCouldEndTheirValue) {
  const struct {
    const char16_t* source;
    const char16_t* user;
    const char16_t* password;
    const char* out;
  } cases[] = {
      {u"orders", u"ann", u"secret", "DSN=orders;UID=ann;PWD=secret;"},
      {u"orders", nullptr, u"a;DSN=other", "DSN=orders;PWD={a;DSN=other};"},
      {u"orders", u" ann", u"x}y", "DSN=orders;UID={ ann};PWD={x}}y};"},
      {nullptr, nullptr, nullptr, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(narrow(ko::odbc::login_connect_string(c.source, c.user, c.password)), c.out);
  }
}

}  // namespace

// settings_test.cpp: the connection string the ODBC driver builds: streaming
// settings added for the drivers that need them, as far as DBParm Streaming
// allows, never over the user's own,
// and log-in strings quoted so that no value can add an attribute.
#include "drivers/odbc/settings.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string narrow(const std::u16string& text) { return std::string(text.begin(), text.end()); }

TEST(ConnectStringTest, StreamingSettingsAreAddedOnlyWhereAllowedAndMissing) {
  using ko::odbc::Streaming;
  const struct {
    const char16_t* in;
    Streaming mode;
    const char* out;
  } cases[] = {
      {u"Driver=PostgreSQL Unicode;Servername=/tmp/s", Streaming::kSafe,
       "Driver=PostgreSQL Unicode;Servername=/tmp/s;usedeclarefetch=1;fetch=1000"},
      {u"Driver=PostgreSQL Unicode;Servername=/tmp/s", Streaming::kAll,
       "Driver=PostgreSQL Unicode;Servername=/tmp/s;usedeclarefetch=1;fetch=1000"},
      {u"Driver=PostgreSQL Unicode;Servername=/tmp/s", Streaming::kNone,
       "Driver=PostgreSQL Unicode;Servername=/tmp/s"},
      {u"DRIVER={PostgreSQL Unicode};UseDeclareFetch=0;", Streaming::kSafe,
       "DRIVER={PostgreSQL Unicode};UseDeclareFetch=0;fetch=1000"},
      {u"Driver=PostgreSQL Unicode; fetch = 10;usedeclarefetch=1", Streaming::kAll,
       "Driver=PostgreSQL Unicode; fetch = 10;usedeclarefetch=1"},
      // SQLite's setting types expression columns as text: only when asked.
      {u"Driver=SQLite3;Database=/data/postgres.db", Streaming::kSafe,
       "Driver=SQLite3;Database=/data/postgres.db"},
      {u"Driver=SQLite3;Database=/data/postgres.db", Streaming::kAll,
       "Driver=SQLite3;Database=/data/postgres.db;stepapi=1"},
      {u"Driver=SQLite3;Database=/data/postgres.db", Streaming::kNone,
       "Driver=SQLite3;Database=/data/postgres.db"},
      {u"driver={sqlITE3 ODBC};", Streaming::kAll, "driver={sqlITE3 ODBC};stepapi=1"},
      {u"Driver=SQLite3;StepAPI = 0", Streaming::kAll, "Driver=SQLite3;StepAPI = 0"},
      {u"Database=/data/sqlite.db;Driver=Other", Streaming::kAll,
       "Database=/data/sqlite.db;Driver=Other"},
      {u"DSN=orders", Streaming::kAll, "DSN=orders"},
      {u"", Streaming::kAll, ""},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(narrow(ko::odbc::streaming_connect_string(c.in, 256, c.mode)), c.out)
        << narrow(c.in) << " mode " << static_cast<int>(c.mode);
  }
  EXPECT_EQ(
      narrow(ko::odbc::streaming_connect_string(u"Driver=PostgreSQL", 4096, Streaming::kSafe)),
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

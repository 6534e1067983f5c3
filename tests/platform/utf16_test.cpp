// The UTF-16 primitives: comparison, search, number parsing, UTF-8 conversion.
#include "platform/utf16.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using ko::u16len;

TEST(Utf16, CompareAndSearch) {
  EXPECT_EQ(u16len(u""), 0u);
  EXPECT_EQ(u16len(u"abc"), 3u);
  EXPECT_LT(ko::u16cmp(u"abc", u"abd"), 0);
  EXPECT_GT(ko::u16cmp(u"abc", u"ab"), 0);
  EXPECT_EQ(ko::u16icmp_ascii(u"SELECT", u"select"), 0);
  EXPECT_NE(ko::u16icmp_ascii(u"\u00C9", u"\u00E9"), 0);  // ASCII-only folding
  EXPECT_EQ(ko::u16nicmp_ascii(u"FROMx", u"fromy", 4), 0);
  EXPECT_EQ(ko::u16icmp_ascii(u"Where", "WHERE"), 0);
  const KOCHAR* text = u"one two two";
  EXPECT_EQ(ko::u16str(text, u"two"), text + 4);
  EXPECT_EQ(ko::u16str(text, u"three"), nullptr);
  EXPECT_EQ(ko::u16istr_ascii(text, u"TWO"), text + 4);
  EXPECT_EQ(ko::u16rchr(text, u't'), text + 8);
  EXPECT_EQ(ko::u16chr(text, 0), text + 11);

  KOCHAR buffer[5];
  EXPECT_EQ(ko::u16lcpy(buffer, u"abcdefg", 5), 4u);
  EXPECT_EQ(std::u16string(buffer), u"abcd");
  KOCHAR joined[8] = u"ab";
  EXPECT_EQ(ko::u16lcat(joined, u"cdefghij", 8), 7u);
  EXPECT_EQ(std::u16string(joined), u"abcdefg");
}

TEST(Utf16, NumberParsing) {
  struct Row {
    const KOCHAR* text;
    int base;
    int64_t i32;
    int64_t i64;
    size_t consumed;
  };
  const Row rows[] = {
      {u"  42x", 10, 42, 42, 4},
      {u"-17", 10, -17, -17, 3},
      {u"+0x1F", 0, 31, 31, 5},
      {u"010", 0, 8, 8, 3},
      {u"ff", 16, 255, 255, 2},
      {u"abc", 10, 0, 0, 0},
      {u"-", 10, 0, 0, 0},
      {u"99999999999", 10, INT32_MAX, 99999999999LL, 11},
      {u"-99999999999", 10, INT32_MIN, -99999999999LL, 12},
      {u"99999999999999999999", 10, INT32_MAX, INT64_MAX, 20},
  };
  for (const Row& row : rows) {
    const KOCHAR* end = nullptr;
    EXPECT_EQ(ko::u16_to_i32(row.text, &end, row.base), row.i32) << int(row.consumed);
    EXPECT_EQ(size_t(end - row.text), row.consumed);
    EXPECT_EQ(ko::u16_to_i64(row.text, nullptr, row.base), row.i64);
  }
  EXPECT_EQ(ko::u16_to_u32(u"-1", nullptr, 10), 0xFFFFFFFFu);
  const KOCHAR* end = nullptr;
  EXPECT_DOUBLE_EQ(ko::u16_to_double(u"-12.5e1z", &end), -125.0);
  EXPECT_EQ(*end, u'z');
}

TEST(Utf16, Utf8RoundTripAndRepair) {
  const std::u16string text = u"A\u00E9\u20AC\U0001F600z";
  char utf8[32];
  size_t n = ko::utf16_to_utf8(text.c_str(), SIZE_MAX, utf8, sizeof utf8);
  EXPECT_EQ(std::string(utf8, n), "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z");
  KOCHAR back[32];
  size_t m = ko::utf8_to_utf16(utf8, n, back, 32);
  EXPECT_EQ(std::u16string(back, m), text);

  // Malformed input becomes U+FFFD, one per bad byte or cut sequence.
  struct Bad {
    std::string bytes;
    std::u16string expected;
  };
  const Bad bad[] = {
      {"\xC3", u"\uFFFD"},           {"a\xFFz", u"a\uFFFDz"},
      {"\xE2\x82", u"\uFFFD\uFFFD"}, {"\xC0\x80", u"\uFFFD"},  // overlong
      {"\xED\xA0\x80", u"\uFFFD"},                             // encoded surrogate
  };
  for (const Bad& row : bad) {
    KOCHAR out[16];
    size_t k = ko::utf8_to_utf16(row.bytes.data(), row.bytes.size(), out, 16);
    EXPECT_EQ(std::u16string(out, k), row.expected) << row.bytes.size();
  }
  // A lone surrogate is repaired on the way out; a small buffer is cut but terminated.
  const KOCHAR lone[] = {0xD800, u'x', 0};
  EXPECT_EQ(ko::utf16_to_utf8(lone, SIZE_MAX, utf8, sizeof utf8), 4u);
  EXPECT_EQ(std::string(utf8), "\xEF\xBF\xBDx");
  EXPECT_EQ(ko::utf16_to_utf8(u"abcdef", SIZE_MAX, utf8, 3), 6u);
  EXPECT_EQ(std::string(utf8), "ab");
}

TEST(Utf16, SurrogatePairsSplitAndJoin) {
  struct Case {
    uint32_t code;
    KOCHAR high, low;
  };
  const Case cases[] = {
      {0x10000, 0xD800, 0xDC00}, {0x1F600, 0xD83D, 0xDE00}, {0x10FFFF, 0xDBFF, 0xDFFF}};
  for (const Case& c : cases) {
    EXPECT_EQ(ko::high_surrogate_of(c.code), c.high) << c.code;
    EXPECT_EQ(ko::low_surrogate_of(c.code), c.low) << c.code;
    EXPECT_EQ(ko::join_surrogates(c.high, c.low), c.code);
    EXPECT_TRUE(ko::is_high_surrogate(c.high) && ko::is_low_surrogate(c.low));
    EXPECT_FALSE(ko::is_low_surrogate(c.high) || ko::is_high_surrogate(c.low));
  }
  EXPECT_FALSE(ko::is_surrogate(0xD7FF) || ko::is_surrogate(0xE000) || ko::is_surrogate(0x1D800));
}

}  // namespace

// The exported UTF-16 <-> UTF-8 conversions: unit-by-unit encoding, the
// lead-byte table of the decoder, and the sizing rules of the encoder.
#include <koshr/strings.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

struct EncodeCase {
  std::u16string text;
  std::string utf8;
};

TEST(StringUtf8, EncodesEachUnitByItself) {
  const EncodeCase cases[] = {
      {u"", ""},
      {u"abc", "abc"},
      {u"\u00E9", "\xC3\xA9"},
      {u"\u07FF\u0800", "\xDF\xBF\xE0\xA0\x80"},
      {u"\u263A", "\xE2\x98\xBA"},
      {u"\uFFFF", "\xEF\xBF\xBF"},
      // A surrogate pair is two units of three bytes each, not one 4-byte character.
      {u"\U0001F600", "\xED\xA0\xBD\xED\xB8\x80"},
      {u"long ascii run, then \u00E9t\u00E9 and \u4E2D\u6587 mixed in", "long ascii run, then \xC3\xA9t\xC3\xA9 and \xE4\xB8\xAD\xE6\x96\x87 mixed in"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.utf8);
    EXPECT_EQ(kostg_UCS2toUTF8(nullptr, c.text.c_str(), 0), int64_t(c.utf8.size()));
    std::vector<char> out(c.utf8.size() + 8, '#');
    ASSERT_EQ(kostg_UCS2toUTF8(out.data(), c.text.c_str(), 0), int64_t(c.utf8.size()));
    EXPECT_EQ(std::string(out.data()), c.utf8);
  }
}

TEST(StringUtf8, DestinationSizeRule) {
  const KOCHAR* text = u"\u00E9a";  // three bytes
  char out[8];
  std::fill(out, out + 8, '#');
  EXPECT_EQ(kostg_UCS2toUTF8(out, text, 2), 0);
  EXPECT_EQ(out[0], '#') << "nothing is written when the destination is too small";
  // A size equal to the count passes; the terminator lands one beyond it.
  EXPECT_EQ(kostg_UCS2toUTF8(out, text, 3), 3);
  EXPECT_EQ(out[3], 0);
  EXPECT_EQ(kostg_UCS2toUTF8(out, text, 100), 3);
  EXPECT_EQ(kostg_UCS2toUTF8(out, nullptr, 100), 0);
  EXPECT_EQ(kostg_UCS2toUTF8(nullptr, nullptr, 0), 0);
}

struct DecodeCase {
  std::string utf8;
  std::u16string text;  // '#' marks a unit left untouched in the destination
};

TEST(StringUtf8, DecodesByLeadByte) {
  const DecodeCase cases[] = {
      {"", u""},
      {"plain ascii text longer than eight", u"plain ascii text longer than eight"},
      {"\xC3\xA9", u"\u00E9"},
      {"\xE2\x98\xBA", u"\u263A"},
      // Four-byte sequences keep their low 16 bits; no pair is formed.
      {"\xF0\x9F\x98\x80", u"\uF600"},
      // Continuation bytes are not checked: "\xC3A" takes 'A' as one.
      {"\xC3" "A", u"\u00C1"},
      // 0xF8, 0xFA, 0xFC, 0xFE take the four-byte path; 0xFD the six-byte path.
      {"\xF8\x81\x82\x83", u"\x1083"},
      {"\xFD\x80\x80\x80\x81\x82", u"\x0042"},
      // Stray continuation bytes and 0xF1 0xF3 0xF5 0xF7 0xF9 0xFB 0xFF
      // consume one byte and leave the unit as it was.
      {"a\x80" "b", u"a#b"},
      {"\xF1\xF3\xF5\xF7\xF9\xFB\xFF", u"#######"},
      // A sequence cut by the terminator reads zeros and ends the text.
      {"ab\xE2\x98", u"ab\u2600"},
      {"\xC3", u"\u00C0"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.utf8));
    EXPECT_EQ(kostg_UTF8toUCS2(nullptr, c.utf8.c_str()), int64_t(c.text.size()));
    std::vector<KOCHAR> out(c.utf8.size() + 4, u'#');
    ASSERT_EQ(kostg_UTF8toUCS2(out.data(), c.utf8.c_str()), int64_t(c.text.size()));
    EXPECT_EQ(std::u16string(out.data(), c.text.size()), c.text);
    EXPECT_EQ(out[c.text.size()], 0);
  }
  EXPECT_EQ(kostg_UTF8toUCS2(nullptr, nullptr), 0);
}

TEST(StringUtf8, RoundTripsEveryUnit) {
  std::u16string all;
  for (unsigned c = 1; c <= 0xFFFF; ++c) all.push_back(KOCHAR(c));
  int64_t bytes = kostg_UCS2toUTF8(nullptr, all.c_str(), 0);
  std::vector<char> utf8(size_t(bytes) + 1);
  ASSERT_EQ(kostg_UCS2toUTF8(utf8.data(), all.c_str(), bytes + 1), bytes);
  std::vector<KOCHAR> back(all.size() + 1);
  ASSERT_EQ(kostg_UTF8toUCS2(back.data(), utf8.data()), int64_t(all.size()));
  EXPECT_EQ(std::u16string(back.data()), all);
}

}  // namespace

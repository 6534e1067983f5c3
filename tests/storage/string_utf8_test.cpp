// The exported UTF-16 <-> UTF-8 conversions: unit-by-unit encoding, the
// lead-byte table of the decoder, and the sizing rules of the encoder.
#include <koshr/strings.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
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
      {u"long ascii run, then \u00E9t\u00E9 and \u4E2D\u6587 mixed in",
       "long ascii run, then \xC3\xA9t\xC3\xA9 and \xE4\xB8\xAD\xE6\x96\x87 mixed in"},
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
  EXPECT_EQ(kostg_UCS2toUTF8(out, nullptr, 100) | kostg_UCS2toUTF8(nullptr, nullptr, 0), 0);
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
      {"\xC3"
       "A",
       u"\u00C1"},
      // 0xF8, 0xFA, 0xFC, 0xFE take the four-byte path; 0xFD the six-byte path.
      {"\xF8\x81\x82\x83", u"\x1083"},
      {"\xFD\x80\x80\x80\x81\x82", u"\x0042"},
      // Stray continuation bytes and 0xF1 0xF3 0xF5 0xF7 0xF9 0xFB 0xFF
      // consume one byte and leave the unit as it was.
      {"a\x80"
       "b",
       u"a#b"},
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

namespace {

// The documented rules, one unit or one sequence at a time: the model that
// the fast paths must match on any input.
std::string model_encode(const std::u16string& text) {
  std::string out;
  for (unsigned c : text) {
    if (c < 0x80) {
      out += char(c);
    } else if (c < 0x800) {
      out += char(0xC0 | (c >> 6));
      out += char(0x80 | (c & 0x3F));
    } else {
      out += char(0xE0 | (c >> 12));
      out += char(0x80 | ((c >> 6) & 0x3F));
      out += char(0x80 | (c & 0x3F));
    }
  }
  return out;
}

// '#' stands for a unit the decoder leaves untouched.
std::u16string model_decode(const std::string& utf8) {
  std::u16string out;
  const auto* s = reinterpret_cast<const unsigned char*>(utf8.c_str());
  for (size_t i = 0; i < utf8.size();) {
    unsigned lead = s[i], extra, mask;
    if (lead < 0x80)
      extra = 0, mask = 0x7F;
    else if ((lead & 0xE0) == 0xC0)
      extra = 1, mask = 0x1F;
    else if ((lead & 0xF0) == 0xE0)
      extra = 2, mask = 0x0F;
    else if ((lead & 0xF1) == 0xF0)
      extra = 3, mask = 0x0F;
    else if ((lead & 0xFE) == 0xFC)
      extra = 5, mask = 0x01;
    else {
      out += u'#';
      ++i;
      continue;
    }
    uint32_t value = lead & mask;
    for (unsigned k = 1; k <= extra; ++k)
      value = (value << 6) | ((i + k < utf8.size() ? s[i + k] : 0) & 0x3F);
    out += KOCHAR(value);
    i += 1 + extra;
  }
  return out;
}

// Runs of each kind of unit (ASCII, two-byte, three-byte, surrogates) in
// random lengths, so that every block shape and every boundary occurs.
std::u16string random_text(std::mt19937& random, size_t length) {
  const KOCHAR bases[] = {u'a', 0x00E0, 0x0400, 0x4E00, 0xD800, 0xFFF0};
  std::u16string text;
  while (text.size() < length) {
    KOCHAR base = bases[random() % 6];
    for (size_t run = random() % 20; run > 0 && text.size() < length; --run)
      text += KOCHAR(base + random() % 16);
  }
  return text;
}

std::string random_bytes(std::mt19937& random, size_t length) {
  const std::string pieces[] = {
      "plain ascii ", "\xC3\xA9", "\xD0\x96", "\xE4\xB8\xAD", "\xF0\x9F\x98\x80",         "\x80",
      "\xBF",         "\xC3",     "\xE2\x82", "\xF1",         "\xFD\x80\x80\x80\x80\x80", "\xFF"};
  std::string bytes;
  // Mostly well-formed pieces, so that whole windows of them occur.
  while (bytes.size() < length) bytes += pieces[random() % 4 ? random() % 4 : random() % 12];
  bytes.resize(length);
  return bytes;
}

TEST(StringUtf8, MatchesTheRulesOnRandomText) {
  std::mt19937 random(1234);
  for (int round = 0; round < 400; ++round) {
    size_t length = random() % 300;
    size_t offset = random() % 3;  // the units start at any alignment
    std::u16string text = random_text(random, length);
    std::vector<KOCHAR> units(offset + length + 1);
    std::copy(text.begin(), text.end(), units.begin() + offset);
    const KOCHAR* start = units.data() + offset;
    std::string expected = model_encode(text);
    ASSERT_EQ(kostg_UCS2toUTF8(nullptr, start, 0), int64_t(expected.size()));
    std::vector<char> out(expected.size() + 1, '#');
    ASSERT_EQ(kostg_UCS2toUTF8(out.data(), start, int64_t(expected.size())),
              int64_t(expected.size()));
    ASSERT_EQ(std::string(out.data()), expected) << round;
  }
}

TEST(StringUtf8, MatchesTheRulesOnRandomBytes) {
  std::mt19937 random(99);
  for (int round = 0; round < 1000; ++round) {
    // A few long texts cross the pieces in which the length is found.
    std::string bytes =
        random_bytes(random, round % 100 == 0 ? 40000 + random() % 100 : random() % 400);
    std::u16string expected = model_decode(bytes);
    ASSERT_EQ(kostg_UTF8toUCS2(nullptr, bytes.c_str()), int64_t(expected.size())) << round;
    std::vector<KOCHAR> out(expected.size() + 1, u'#');
    ASSERT_EQ(kostg_UTF8toUCS2(out.data(), bytes.c_str()), int64_t(expected.size()));
    ASSERT_EQ(std::u16string(out.data(), expected.size()), expected) << round;
    ASSERT_EQ(out[expected.size()], 0);
  }
}

}  // namespace

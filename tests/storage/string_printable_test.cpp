// The printable form: encoding, decoding (lenient digits, doubled "U+"), the
// pool-duplicating forms and their null results.
#include <koshr/strings.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

struct PrintableCase {
  std::u16string text;
  std::string printable;
};

// Pairs that hold in both directions.
const PrintableCase kBothWays[] = {
    {u"", ""},
    {u"plain", "plain"},
    {u"AU+B", "AU+U+B"},
    {u"\u263A", "U+263A"},
    {u"x\u0100y\uFFFF", "xU+0100yU+FFFF"},
    {u"\u00E9\u00FF\u0080", "\xE9\xFF\x80"},
    {u"U+U+", "U+U+U+U+"},
    {u"UU+", "UU+U+"},
    {u"U\u263A", "UU+263A"},
    {u"U+263A", "U+U+263A"},
};

TEST(StringPrintable, EncodesAndDecodes) {
  for (const auto& c : kBothWays) {
    SCOPED_TRACE(c.printable);
    std::vector<char> encoded(c.text.size() * 6 + 1, '#');
    EXPECT_EQ(kostg_strtoprintable(encoded.data(), c.text.c_str()), encoded.data());
    EXPECT_EQ(std::string(encoded.data()), c.printable);
    std::vector<KOCHAR> decoded(c.printable.size() + 1, u'#');
    EXPECT_EQ(kostg_printabletostr(decoded.data(), c.printable.c_str()), decoded.data());
    EXPECT_EQ(std::u16string(decoded.data()), c.text);
  }
}

TEST(StringPrintable, DecodesLenientDigits) {
  const PrintableCase cases[] = {
      {u"\u263A", "U+263a"},
      {u"\uABCD", "U+abcd"},
      // Malformed digits are not rejected: 'G' counts (0x47 - 0x37) & 15 = 0,
      // ' ' counts its low four bits.
      {u"\u0100", "U+01G0"},
      {u"\u0000x"s, "U+    x"},
      // An escape cut by the end of the text reads zeros for missing digits.
      {u"a\u1200", "aU+12"},
      {u"\u0000"s, "U+"},
      {u"\uE000", "U+U"},
      // Lone 'U' and '+' are themselves.
      {u"U", "U"},
      {u"+U", "+U"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.printable);
    std::vector<KOCHAR> decoded(c.printable.size() + 1, u'#');
    kostg_printabletostr(decoded.data(), c.printable.c_str());
    EXPECT_EQ(std::u16string(decoded.data(), c.text.size()), c.text);
  }
}

TEST(StringPrintable, DuplicatesIntoPools) {
  KostgContext* context = kostg_begin(0);
  ASSERT_NE(context, nullptr);
  KostgSubpool* pool = kostg_new_pool(context);
  for (KostgSubpool* target : {static_cast<KostgSubpool*>(nullptr), pool}) {
    for (const auto& c : kBothWays) {
      SCOPED_TRACE(c.printable);
      char* printable = kostg_strtoprintabledup(context, c.text.c_str(), target);
      ASSERT_NE(printable, nullptr);
      EXPECT_EQ(std::string(printable), c.printable);
      KOCHAR* text = kostg_printabletostrdup(context, printable, target);
      ASSERT_NE(text, nullptr);
      EXPECT_EQ(std::u16string(text), c.text);
      EXPECT_GE(kostg_sz(context, text), (c.text.size() + 1) * sizeof(KOCHAR));
    }
  }
  EXPECT_EQ(kostg_strtoprintabledup(context, nullptr, pool), nullptr);
  EXPECT_EQ(kostg_printabletostrdup(context, nullptr, pool), nullptr);
  kostg_end(context);
}

}  // namespace

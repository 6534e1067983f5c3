// Counted conversions with embedded zeros, the forced multibyte conversion and
// automation strings. Only ASCII is assumed convertible: the ansi code page
// is the machine's.
#include <koshr/strings.h>

#include "platform/platform.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

struct CountedCase {
  std::string ansi;
  std::u16string text;
};

const CountedCase kCounted[] = {
    {""s, u""s},
    {"abc"s, u"abc"s},
    {"\0"s, u"\0"s},
    {"a\0b\0\0c"s, u"a\0b\0\0c"s},
    {"\0\0tail"s, u"\0\0tail"s},
    {"head\0"s, u"head\0"s},
};

TEST(StringCounted, ConversionsKeepZeros) {
  for (const auto& c : kCounted) {
    SCOPED_TRACE(testing::PrintToString(c.ansi));
    EXPECT_EQ(kostg_ansitostr_with_zero(nullptr, c.ansi.data(), int64_t(c.ansi.size())),
              int64_t(c.text.size()));
    EXPECT_EQ(kostg_strtoansi_with_zero(nullptr, c.text.data(), int64_t(c.text.size())),
              int64_t(c.ansi.size()));
    std::vector<KOCHAR> text(c.text.size() + 1, u'#');
    std::vector<char> ansi(c.ansi.size() + 1, '#');
    ASSERT_EQ(kostg_ansitostr_with_zero(text.data(), c.ansi.data(), int64_t(c.ansi.size())),
              int64_t(c.text.size()));
    ASSERT_EQ(kostg_strtoansi_with_zero(ansi.data(), c.text.data(), int64_t(c.text.size())),
              int64_t(c.ansi.size()));
    EXPECT_EQ(std::u16string(text.data(), c.text.size() + 1), c.text + u"#")
        << "nothing past the units produced";
    EXPECT_EQ(std::string(ansi.data(), c.ansi.size() + 1), c.ansi + "#");
  }
}

TEST(StringCounted, CountBoundsTheInputAndNullIsRefused) {
  KOCHAR out[8] = {};
  char bytes[8] = {};
  EXPECT_EQ(kostg_ansitostr_with_zero(out, "abcdef", 3), 3);
  EXPECT_EQ(std::u16string(out, 3), u"abc");
  EXPECT_EQ(kostg_strtoansi_with_zero(bytes, u"abcdef", 2), 2);
  EXPECT_EQ(std::string(bytes, 2), "ab");
  EXPECT_EQ(kostg_ansitostr_with_zero(out, nullptr, 5), -1);
  EXPECT_EQ(kostg_strtoansi_with_zero(bytes, nullptr, 5), -1);
  EXPECT_EQ(kostg_ansitostr_with_zero(out, "abc", 0), 0);
  EXPECT_EQ(kostg_strtoansi_with_zero(bytes, u"abc", 0), 0);
}

TEST(StringCounted, ForcedConversionOfConvertibleText) {
  KOCHAR out[16];
  int lossy = -1;
  EXPECT_EQ(mbstowcs_force(out, "plain", 16, &lossy), 5u);
  EXPECT_EQ(lossy, 0);
  EXPECT_EQ(std::u16string(out), u"plain");
  EXPECT_EQ(mbstowcs_force(nullptr, "count me", 0, &lossy), 8u);
  // A limit cuts without a terminator, as the runtime's conversion does.
  std::fill(out, out + 16, u'#');
  EXPECT_EQ(mbstowcs_force(out, "abcdef", 3, &lossy), 3u);
  EXPECT_EQ(std::u16string(out, 4), u"abc#");
}

// The forced path needs a byte that the code page cannot read: 0xFF in UTF-8
// and in the C locale; some single-byte code pages read every byte.
TEST(StringCounted, ForcedConversionReplacesBadBytes) {
  KOCHAR probe[4];
  if (ko::os::ansi_to_utf16_strict("\xFF", 1, probe, 4) > 0)
    GTEST_SKIP() << "0xFF converts in this code page";
  KOCHAR out[10];
  std::fill(out, out + 10, u'#');
  int lossy = 0;
  EXPECT_EQ(mbstowcs_force(out,
                           "a\xFF"
                           "b\xFF\xFF",
                           8, &lossy),
            5u);
  EXPECT_EQ(lossy, 1);
  EXPECT_EQ(std::u16string(out), u"a?b??");
  EXPECT_EQ(out[6], 0) << "count units are zero-filled";
  // The forced path stops after count + 1 units, and then does not terminate.
  std::fill(out, out + 10, u'#');
  EXPECT_EQ(mbstowcs_force(out,
                           "\xFF"
                           "abcdefgh",
                           3, &lossy),
            4u);
  EXPECT_EQ(std::u16string(out, 5), u"?abc#");
}

// A lone surrogate converts to no code page: the runtime's conversions fail.
TEST(StringCounted, UnconvertibleTextFails) {
  KostgContext* context = kostg_begin(0);
  ASSERT_NE(context, nullptr);
  EXPECT_EQ(kostg_strtoansidup(context,
                               u"a\xD800"
                               u"b",
                               nullptr),
            nullptr);
  const KOCHAR text[] = {u'a', 0, 0xD800, u'b'};
  char out[8];
  EXPECT_EQ(kostg_strtoansi_with_zero(nullptr, text, 4), -1);
  EXPECT_EQ(kostg_strtoansi_with_zero(out, text, 4), -1);
  EXPECT_EQ(kostg_strtoansi_with_zero(out, text, 2), 2) << "the count stops before the bad unit";
  kostg_end(context);
}

// Every automation string the library hands out is freed with kostg_freebstr
// (the sanitizer and Wine runs check the free matches the allocation).
TEST(StringCounted, AutomationStringsAreFreedWithOurFree) {
  const struct {
    KOCHAR* text;
    const char16_t* expected;
  } cases[] = {
      {kostg_unicodetobstr(u"auto\u263A"), u"auto\u263A"},
      {kostg_strtobstr(u"auto\u263A"), u"auto\u263A"},
      {kostg_ansitobstr("ansi"), u"ansi"},
      {kostg_unicodetobstr(u""), u""},
      {kostg_strtobstr(u""), u""},
      {kostg_ansitobstr(""), u""},
  };
  for (const auto& c : cases) {
    ASSERT_NE(c.text, nullptr);
    EXPECT_EQ(std::u16string(c.text), c.expected);
    EXPECT_EQ(ko::os::sys_string_len(c.text), std::u16string(c.expected).size());
    kostg_freebstr(c.text);
  }
  EXPECT_EQ(kostg_ansitobstr(nullptr), nullptr);
  EXPECT_EQ(kostg_strtobstr(nullptr), nullptr);
  kostg_freebstr(nullptr);
}

}  // namespace

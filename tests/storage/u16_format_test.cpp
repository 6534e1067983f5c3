// The bounded UTF-16 formatter: every conversion the library's callers use.
#include "storage/u16_format.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::u16string fmt(const char* format, ...) {
  KOCHAR buffer[256];
  va_list args;
  va_start(args, format);
  ko::u16_vformat(buffer, 256, format, args);
  va_end(args);
  return buffer;
}

TEST(U16Format, Conversions) {
  EXPECT_EQ(fmt("%s|%s", u"abc", static_cast<const KOCHAR*>(nullptr)), u"abc|(null)");
  EXPECT_EQ(fmt("%hs", "narrow"), u"narrow");
  EXPECT_EQ(fmt("%d %ld %i", -5, 2147483647, 0), u"-5 2147483647 0");
  EXPECT_EQ(fmt("%lu %u", 4294967295u, 7u), u"4294967295 7");
  EXPECT_EQ(fmt("%x %X %8x|", 255u, 255u, 0x1234u), u"ff FF     1234|");
  EXPECT_EQ(fmt("%08x", 0xABCu), u"00000abc");
  EXPECT_EQ(fmt("%02.2d:%04.4d", 5, 42), u"05:0042");
  EXPECT_EQ(fmt("%7.7ld", 500000), u"0500000");
  EXPECT_EQ(fmt("%s%6.6ld", u".", 5), u".000005");
  EXPECT_EQ(fmt("%I64d %lld", int64_t(-9223372036854775807LL - 1), int64_t(1) << 40),
            u"-9223372036854775808 1099511627776");
  EXPECT_EQ(fmt("%I64u", uint64_t(18446744073709551615ULL)), u"18446744073709551615");
  EXPECT_EQ(fmt("%zu", size_t(12)), u"12");
  EXPECT_EQ(fmt("[%5s][%-5s][%.2s]", u"ab", u"ab", u"abcdef"), u"[   ab][ab   ][ab]");
  EXPECT_EQ(fmt("[%+d][% d][%-4d][%04d]", 3, 3, 3, -3), u"[+3][ 3][3   ][-003]");
  EXPECT_EQ(fmt("%c%c", u'\u00E9', 'x'), u"\u00E9x");
  EXPECT_EQ(fmt("%+#23.15e", 0.1), u" +1.000000000000000e-01");
  EXPECT_EQ(fmt("%.2f %g", 2.005, 0.5), u"2.00 0.5");
  EXPECT_EQ(fmt("100%%"), u"100%");
  EXPECT_EQ(fmt("%*d|%-*d|", 4, 1, 3, 2), u"   1|2  |");
  EXPECT_EQ(fmt("%#x %#o", 255u, 8u), u"0xff 010");
  EXPECT_EQ(fmt("%.0d|", 0), u"|");
  EXPECT_EQ(fmt("%q"), u"%q");
}

TEST(U16Format, BoundsAndWideFormat) {
  KOCHAR small[6];
  EXPECT_EQ(ko::u16_format(small, 6, "%s", u"abcdefgh"), 8u);
  EXPECT_EQ(std::u16string(small), u"abcde");
  EXPECT_EQ(ko::u16_format(small, 1, "%d", 123), 3u);
  EXPECT_EQ(small[0], 0);
  EXPECT_EQ(ko::u16_format(nullptr, 0, "%d", 12345), 5u);
  KOCHAR wide[64];
  ko::u16_format(wide, 64, u"ThreadId: %d, File: %s", 7, u"a.cpp");
  EXPECT_EQ(std::u16string(wide), u"ThreadId: 7, File: a.cpp");
}

}  // namespace

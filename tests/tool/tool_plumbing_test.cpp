// tool_plumbing_test.cpp: what every koshr subcommand shares: the one
// UTF-8 <-> UTF-16 conversion (repair of malformed input, round trip of any
// text), the one command-line parser (options, subcommands, operands), and
// the reading of typed decimals.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli.h"
#include "decimal_text.h"
#include "utf.h"

namespace {

TEST(ToolUtfTest, DecodesRepairsAndValidates) {
  struct Case {
    std::string utf8;
    std::u16string utf16;
    bool valid;
  } cases[] = {
      {"", u"", true},
      {"plain", u"plain", true},
      {"h\xC3\xA9", u"h\u00E9", true},
      {"\xE2\x82\xAC", u"\u20AC", true},
      {"\xF0\x9F\x98\x80", u"\U0001F600", true},
      {"\xFF" "a", u"\uFFFD" "a", false},
      {"\xC3", u"\uFFFD", false},                       // cut short
      {"\xE2\x82" "x", u"\uFFFD\uFFFD" "x", false},      // cut short before a plain byte
      {"\xC0\xAF", u"\uFFFD\uFFFD", false},             // overlong '/'
      {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},   // an encoded surrogate
      {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},  // beyond U+10FFFF
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.utf8);
    EXPECT_EQ(koshr_tool::utf8_to_utf16(c.utf8), c.utf16);
    EXPECT_EQ(koshr_tool::valid_utf8(c.utf8), c.valid);
    if (c.valid) {
      EXPECT_EQ(koshr_tool::utf16_to_utf8(c.utf16), c.utf8);
    }
  }
}

TEST(ToolUtfTest, EncodesLoneSurrogatesAsReplacementAndNullAsEmpty) {
  EXPECT_EQ(koshr_tool::utf16_to_utf8(std::u16string(u"a") + char16_t(0xD800) + u"b"), "a\xEF\xBF\xBD" "b");
  EXPECT_EQ(koshr_tool::utf16_to_utf8(std::u16string(1, char16_t(0xDC00))), "\xEF\xBF\xBD");
  EXPECT_EQ(koshr_tool::utf16_to_utf8(static_cast<const char16_t*>(nullptr)), "");
}

TEST(ToolArgumentsTest, SplitsOptionsSubcommandsAndOperands) {
  const koshr_tool::Syntax syntax{{{"--as", "FORMAT"}, {"--flag", nullptr}},
                                  {{"put", {{"-o", "DIR"}}}, {"ls", {}}}};
  struct Case {
    std::vector<std::string> args;
    bool ok;
    std::string why;
    std::string subcommand;
    std::vector<std::string> operands;
    std::string as;  // the value of --as
    bool flag, help;
  } cases[] = {
      {{"put", "a", "--as", "x", "b"}, true, "", "put", {"a", "b"}, "x", false, false},
      {{"--flag", "put", "-", "--as", "-y"}, true, "", "put", {"-"}, "-y", true, false},
      {{"ls", "--as=a=b", "-42", "-.5"}, true, "", "ls", {"-42", "-.5"}, "a=b", false, false},
      {{"ls", "--", "--flag", "-h"}, true, "", "ls", {"--flag", "-h"}, "", false, false},
      {{"-o", "d", "put", "--help"}, true, "", "put", {}, "", false, true},
      {{"--help"}, true, "", "", {}, "", false, true},
      {{"ls", "a", "--as"}, false, "--as needs a value", "ls", {"a"}, "", false, false},
      {{"ls", "--bogus", "--as"}, false, "unknown option --bogus", "ls", {}, "", false, false},
      {{"ls", "-o", "d"}, false, "unknown option -o", "ls", {}, "", false, false},
      {{"ls", "--flag=1"}, false, "--flag takes no value", "ls", {}, "", false, false},
      {{"rm", "a"}, false, "unknown subcommand 'rm'", "", {"rm", "a"}, "", false, false},
      {{"--flag"}, false, "missing subcommand", "", {}, "", false, false},
      {{"--flag", "--help"}, true, "", "", {}, "", false, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.args));
    koshr_tool::Arguments args;
    std::string why;
    EXPECT_EQ(koshr_tool::parse_command_line(syntax, c.args, &args, &why), c.ok);
    EXPECT_EQ(why, c.why);
    EXPECT_EQ(args.subcommand, c.subcommand);
    EXPECT_EQ(args.operands, c.operands);
    if (!c.ok) continue;
    EXPECT_EQ(args.value("--as"), c.as);
    EXPECT_EQ(args.has("--flag"), c.flag);
    EXPECT_EQ(args.help, c.help);
  }
}

TEST(ToolDecimalTest, ReadsSignDigitsAndScale) {
  struct Case {
    const char* text;
    uint8_t sign, scale;
    uint64_t lo64;
    uint32_t hi32;
  } cases[] = {
      {"-1234.5600", KODECIMAL_NEGATIVE, 4, 12345600, 0},
      {"+7", 0, 0, 7, 0},
      {".5", 0, 1, 5, 0},
      {"12.", 0, 0, 12, 0},
      {"0000000000000000000000000000000001", 0, 0, 1, 0},  // leading zeros are not digits kept
      {"9999999999999999999999999999", 0, 0, 0x3E2502610FFFFFFFull, 0x204FCE5E},
      {"0.0000000000000000000000000001", 0, 28, 1, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.text);
    KODECIMAL value;
    ASSERT_TRUE(koshr_tool::read_decimal(c.text, value));
    EXPECT_EQ(value.sign, c.sign);
    EXPECT_EQ(value.scale, c.scale);
    EXPECT_EQ(value.lo64, c.lo64);
    EXPECT_EQ(value.hi32, c.hi32);
  }
  // 29 significant digits, 29 after the point, no digits, odd characters.
  for (const char* text : {"99999999999999999999999999999", "0.00000000000000000000000000001",
                           "", "-", ".", "1.2.3", "1e5", " 1"}) {
    KODECIMAL value;
    EXPECT_FALSE(koshr_tool::read_decimal(text, value)) << text;
  }
}

}  // namespace

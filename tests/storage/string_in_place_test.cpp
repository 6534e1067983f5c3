// Editing in place (removal, both trimming modes, word capitalisation) and the
// single-character functions.
#include <koshr/strings.h>

#include <gtest/gtest.h>

#include <string>

namespace {

using Edit = KOCHAR* (*)(KOCHAR*, int);

struct TrimCase {
  Edit edit;
  int extended;
  std::u16string text, expected;
};

TEST(StringInPlace, Trims) {
  const TrimCase cases[] = {
      {kostg_str_trim, 0, u"  a b  ", u"a b"},
      {kostg_str_trim, 0, u"\x1A a\x1A", u"a"},
      {kostg_str_trim, 0, u"\ta\t", u"\ta\t"},
      {kostg_str_trim, 1, u"\ta\t", u"a"},
      {kostg_str_trim, 0, u"\uFEFFa", u"\uFEFFa"},
      {kostg_str_trim, 1, u"\uFEFFa", u"a"},
      {kostg_str_trim, 1, u"\u00A0\u2000\u200B\u3000 x \n\r\v\f", u"x"},
      {kostg_str_trim, 1, u"\u200Cx\u1FFF", u"\u200Cx\u1FFF"},
      {kostg_str_trim, 0, u"    ", u""},
      {kostg_str_trim, 1, u"\t \u3000", u""},
      {kostg_str_trim, 0, u"", u""},
      {kostg_str_trim_left, 0, u"  a  ", u"a  "},
      {kostg_str_trim_right, 0, u"  a  ", u"  a"},
      {kostg_str_trim_left, 1, u"\u3000\u3000", u""},
      {kostg_str_trim_right, 1, u"a\u00A0b\u00A0", u"a\u00A0b"},
  };
  for (const auto& c : cases) {
    std::u16string text = c.text;
    EXPECT_EQ(c.edit(text.data(), c.extended), text.data());
    EXPECT_EQ(std::u16string(text.c_str()), c.expected) << c.extended;
  }
  EXPECT_EQ(kostg_str_trim(nullptr, 1), nullptr);
}

TEST(StringInPlace, RemovesEveryOccurrence) {
  const struct {
    std::u16string text;
    KOCHAR ch;
    std::u16string expected;
  } cases[] = {
      {u"a,b,,c,", u',', u"abc"},          {u",,,", u',', u""}, {u"abc", u'x', u"abc"},
      {u"\u263Ax\u263A", u'\u263A', u"x"}, {u"abc", 0, u"abc"},
  };
  for (const auto& c : cases) {
    std::u16string text = c.text;
    EXPECT_EQ(kostg_str_remove_char(text.data(), c.ch), text.data());
    EXPECT_EQ(std::u16string(text.c_str()), c.expected);
  }
}

TEST(StringInPlace, CapitalisesWords) {
  const struct {
    std::u16string text, expected;
  } cases[] = {
      {u"hello_WORLD", u"Hello World"},
      {u"1ST-place", u"1st Place"},
      {u"tab\tline\nreturn\rend", u"Tab\tLine\nReturn\rEnd"},
      {u"o'neil mcDONALD", u"O'neil Mcdonald"},
      {u"__a--b", u"  A  B"},
      {u"\u00E9COLE \u00C9T\u00C9", u"\u00C9cole \u00C9t\u00E9"},
      {u"", u""},
  };
  for (const auto& c : cases) {
    std::u16string text = c.text;
    EXPECT_EQ(kostg_str_wordcap(text.data()), text.data());
    EXPECT_EQ(text, c.expected);
  }
}

TEST(StringInPlace, SingleCharacters) {
  EXPECT_EQ(std::u16string({kostg_ansitoupper(u'a'), kostg_ansitoupper(u'\u00E9'),
                            kostg_ansitolower(u'\u0416'), kostg_ansitolower(u'1')}),
            u"A\u00C9\u04361");
  EXPECT_EQ(kostg_lchrcmp(u'a', u'a') | kostg_lchrcmpi(u'a', u'A'), 0);
  EXPECT_TRUE(kostg_lchrcmp(u'a', u'b') < 0 && kostg_lchrcmp(u'b', u'a') > 0 &&
              kostg_lchrcmp(u'a', u'A') != 0 && kostg_lchrcmpi(u'a', u'B') < 0);
}

}  // namespace

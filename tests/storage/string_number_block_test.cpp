// Number-parsing wrappers, the huge block and string functions, DDE memory.
#include <koshr/strings.h>

#include "platform/platform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

namespace {

TEST(StringNumbers, UnsignedParserWraps) {
  const struct {
    const KOCHAR* text;
    uint32_t value;
  } cases[] = {
      {u"  42abc", 42},
      {u"-1", 0},
      {u"+7", 0},
      {u"\t\n 9", 9},
      {u"", 0},
      {u"abc", 0},
      {u"4294967295", 4294967295u},
      {u"4294967296", 0},
      {u"4294967306", 10},
      {u"00012", 12},
      {u"\u0661", 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(kostg_atou_imp(c.text), c.value) << testing::PrintToString(std::u16string(c.text));
    EXPECT_EQ(kostg_atoul_imp(c.text), c.value);
  }
  EXPECT_EQ(kostg_atou_imp(nullptr), 0u);
}

TEST(StringNumbers, SignedParsersClampAt32Bits) {
  const struct {
    const KOCHAR* text;
    int32_t value;
  } cases[] = {{u" -123x", -123},
               {u"2147483648", INT32_MAX},
               {u"-2147483649", INT32_MIN},
               {u"0x10", 0},
               {u"", 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(kostg_atoi_imp(c.text), c.value);
    EXPECT_EQ(kostg_atol_imp(c.text), c.value);
  }
  KOCHAR text[] = u"0x1Fzz";
  KOCHAR* end = nullptr;
  EXPECT_EQ(kostg_strtol_imp(text, &end, 16), 31);
  EXPECT_EQ(end, text + 4);
  EXPECT_EQ(kostg_strtoul_imp(text, &end, 0), 31u);
  EXPECT_EQ(kostg_strtoul_imp(u"4294967296", nullptr, 10), UINT32_MAX);
  KOCHAR real[] = u" 2.5e2rest";
  EXPECT_DOUBLE_EQ(kostg_strtod_imp(real, &end), 250.0);
  EXPECT_EQ(end, real + 6);
  EXPECT_DOUBLE_EQ(kostg_atof_imp(u"-0.125"), -0.125);
  EXPECT_EQ(kostg_strtol_imp(nullptr, &end, 10), 0);
  EXPECT_EQ(end, nullptr);
}

TEST(StringNumbers, RemovesFiles) {
  std::string path = testing::TempDir() + "kostg_remove_imp.tmp";
  std::u16string wide(path.begin(), path.end());
  ko::os::FileHandle file =
      ko::os::file_open(wide.c_str(), ko::os::kFileWrite | ko::os::kFileCreate);
  ASSERT_NE(file, ko::os::kInvalidFile);
  ko::os::file_close(file);
  EXPECT_EQ(kostg_remove_imp(wide.c_str()), 0);
  EXPECT_EQ(kostg_remove_imp(wide.c_str()), -1);
  EXPECT_EQ(kostg_remove_imp(nullptr), -1);
}

TEST(StringHuge, MemoryBlocks) {
  const struct {
    const char *a, *b;
    uint32_t n;
    int16_t result;
  } compares[] = {{"abc", "abd", 3, -1},
                  {"abc", "abd", 2, 0},
                  {"\xFF", "\x01", 1, 254},
                  {"\x01", "\xFF", 1, -254},
                  {"x", "y", 0, 0}};
  for (const auto& c : compares)
    EXPECT_EQ(kostg_huge_memcmp(c.a, c.b, c.n), c.result) << c.a << " " << c.b;

  // memcpy copies front to back even over itself: the first byte repeats.
  char spread[] = "abcdef";
  EXPECT_EQ(kostg_huge_memcpy(spread + 1, spread, 4), spread + 1);
  EXPECT_STREQ(spread, "aaaaaf");
  const struct {
    int to, from;
    const char* expected;
  } moves[] = {{1, 0, "aabcdf"}, {0, 1, "bcdeef"}, {0, 0, "abcdef"}, {4, 0, "abcdabcd"}};
  for (const auto& m : moves) {
    char text[16] = "abcdef";
    EXPECT_EQ(kostg_huge_memmove(text + m.to, text + m.from, 4), text + m.to);
    EXPECT_STREQ(text, m.expected);
  }
  char filled[5] = "abcd";
  EXPECT_EQ(kostg_huge_memset(filled, 'z', 3), filled);
  EXPECT_STREQ(filled, "zzzd");
}

TEST(StringHuge, Strings) {
  const KOCHAR* text = u"hello";
  EXPECT_EQ(std::tuple(kostg_huge_strlen(text), kostg_huge_strlen(u"")), std::tuple(5u, 0u));
  EXPECT_EQ(kostg_huge_strchr(text, u'l'), text + 2);
  EXPECT_EQ(kostg_huge_strstr(text, u"llo"), text + 2);
  EXPECT_EQ(kostg_huge_strstr(text, u""), text);
  const KOCHAR zeros[] = {u'a', 0, u'c', u'd'};
  EXPECT_EQ(KOUNI_memchr(zeros, u'c', 4), zeros + 2);
  EXPECT_TRUE(!kostg_huge_strchr(text, u'z') && !kostg_huge_strchr(text, 0) &&
              !kostg_huge_strstr(text, u"lo!") && !KOUNI_memchr(zeros, u'c', 2) &&
              !KOUNI_memchr(zeros, u'a', 0) && !KOUNI_memchr(nullptr, u'a', 4));
  KOCHAR copy[8];
  EXPECT_EQ(kostg_huge_strcpy(copy, u"copy"), copy);
  EXPECT_EQ(std::u16string(copy), u"copy");
}

TEST(StringHuge, BoundedCopyAlwaysTerminates) {
  const struct {
    const KOCHAR* source;
    uint32_t n;
    std::u16string written;
  } cases[] = {
      {u"abcdef", 3, std::u16string(u"abc\0", 4)}, {u"ab", 5, std::u16string(u"ab\0\0\0", 5)},
      {u"abc", 3, std::u16string(u"abc\0", 4)},    {u"", 2, std::u16string(u"\0\0", 2)},
      {u"abc", 0, std::u16string(u"\0", 1)},
  };
  for (const auto& c : cases) {
    KOCHAR out[10];
    std::fill(out, out + 10, u'#');
    EXPECT_EQ(kostg_huge_strncpy(out, c.source, c.n), out);
    EXPECT_EQ(std::u16string(out, c.written.size()), c.written);
    EXPECT_EQ(out[c.written.size()], u'#');
  }
}

TEST(StringDde, BlocksCarryTheirHandle) {
  auto* data = static_cast<char*>(kostg_dde_alloc(100));
  ASSERT_NE(data, nullptr);
  std::memset(data, 'x', 100);
  void* handle = kostg_dde_get_handle(data);
  ASSERT_NE(handle, nullptr);
  EXPECT_GE(ko::os::global_size(handle), 108u);
  EXPECT_EQ(kostg_dde_lock(handle), data);
  kostg_dde_unlock(handle);
  kostg_dde_free(data);
  EXPECT_TRUE(!kostg_dde_get_handle(nullptr) && !kostg_dde_lock(nullptr));
}

}  // namespace

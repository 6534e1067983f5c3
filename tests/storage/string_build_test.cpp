// Duplicating strings into pools and build buffers with their two growth rules.
#include <koshr/strings.h>

#include "storage/block_heap.h"

#include <gtest/gtest.h>

#include <string>

#include "storage_fixture.h"

namespace {

class StringPools : public ko_test::StorageTest {};

using Duplicator = KOCHAR* (*)(KostgContext*, const KOCHAR*, KostgSubpool*);

TEST_F(StringPools, DuplicatesCopyWithTerminator) {
  const Duplicator duplicators[] = {kostg_strdup, kostg_unicodestrdup, kostg_strtounicodedup,
                                    kostg_unicodetostrdup};
  for (Duplicator dup : duplicators) {
    for (const KOCHAR* text : {u"", u"a", u"\u263A text \U0001F600"}) {
      KOCHAR* copy = dup(storage_, text, subpool_);
      ASSERT_NE(copy, nullptr);
      EXPECT_NE(copy, text);
      EXPECT_EQ(std::u16string(copy), text);
      EXPECT_GE(kostg_sz(storage_, copy), (std::u16string(text).size() + 1) * sizeof(KOCHAR));
    }
  }
  EXPECT_EQ(kostg_strdup(storage_, nullptr, subpool_), nullptr);
}

TEST_F(StringPools, DuplicatesOutsideAnyPoolAndAnsi) {
  KOCHAR* copy = kostg_strdup_malloc(u"outside");
  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(std::u16string(copy), u"outside");
  EXPECT_GE(ko::KoHeap_blockSize(copy), sizeof(u"outside"));
  ko::KoHeap_free(copy);
  EXPECT_STREQ(kostg_strtoansidup(storage_, u"plain text", subpool_), "plain text");
  EXPECT_EQ(std::u16string(kostg_ansitostrdup(storage_, "back again", nullptr)), u"back again");
  EXPECT_TRUE(!kostg_strdup_malloc(nullptr) && !kostg_strtoansidup(storage_, nullptr, subpool_) &&
              !kostg_ansitostrdup(storage_, nullptr, subpool_));
}

// Both growth rules, step by step: (capacity, length) before, what is appended,
// (capacity, length) after.
struct BuildStep {
  uint32_t capacity_before, length_before;
  std::u16string addition;
  uint32_t capacity_after, length_after;
};

TEST_F(StringPools, TextGrowthRule) {
  const BuildStep steps[] = {
      {0, 0, u"abc", 0 + 512 + 3, 3},                               // empty buffer
      {515, 3, std::u16string(511, u'x'), 515, 514},                // 512 free > 511 added
      {515, 514, u"y", 515 + 512 + 1, 515},                         // 1 free <= 1 added
      {4000, 3000, std::u16string(1000, u'z'), 4000 + 1000 + 1000, 4000},  // a quarter beats 512
      {100000, 99999, u"ab", 100000 + 25000 + 2, 100001},
      {4000, 3999, u"", 4000, 3999},                                // 1 free > 0 added
      {4000, 4000, u"", 4000 + 1000, 4000},                         // full: even nothing grows it
  };
  for (const auto& step : steps) {
    SCOPED_TRACE(testing::Message() << step.capacity_before << "/" << step.length_before);
    uint32_t capacity = step.capacity_before, length = step.length_before;
    KOCHAR* buffer = nullptr;
    if (capacity) {
      buffer = static_cast<KOCHAR*>(kostg_alc(storage_, capacity * 2 + 2, subpool_));
      std::fill(buffer, buffer + length, u'.');
      buffer[length] = 0;
    }
    KOCHAR* at = kostg_unicodestr_build(storage_, subpool_, &buffer, &capacity, &length, step.addition.c_str());
    EXPECT_EQ(std::pair(capacity, length), std::pair(step.capacity_after, step.length_after));
    ASSERT_NE(buffer, nullptr);
    EXPECT_EQ(at, buffer + step.length_before);
    EXPECT_EQ(std::u16string(buffer), std::u16string(step.length_before, u'.') + step.addition);
    EXPECT_GE(kostg_sz(storage_, buffer), capacity * 2u);
  }
}

TEST_F(StringPools, BuildingAppendsInOrder) {
  KOCHAR* buffer = nullptr;
  uint32_t capacity = 0, length = 0;
  std::u16string expected;
  for (int i = 0; i < 300; ++i) {
    const KOCHAR* piece = (i % 3 == 0) ? u"alpha " : (i % 3 == 1) ? u"\u263A" : u"";
    switch (i % 4) {
      case 0: kostg_str_build(storage_, subpool_, &buffer, &capacity, &length, piece); break;
      case 1: EXPECT_EQ(kostg_str_build_huge(storage_, subpool_, &buffer, &capacity, &length, piece), 0); break;
      case 2: kostg_unicodestr_build(storage_, nullptr, &buffer, &capacity, &length, piece); break;
      default: kostg_str_build_char(storage_, subpool_, &buffer, &capacity, &length, u'-'); piece = u"-";
    }
    expected += piece;
    ASSERT_EQ(length, expected.size());
    ASSERT_LT(length, capacity);
  }
  EXPECT_EQ(std::u16string(buffer), expected);
  KOCHAR* const kept_buffer = buffer;
  const uint32_t kept_capacity = capacity;
  EXPECT_EQ(kostg_unicodestr_build(storage_, subpool_, &buffer, &capacity, &length, nullptr), nullptr);
  EXPECT_TRUE(buffer == kept_buffer && capacity == kept_capacity && length == expected.size()) << "null adds nothing";
}

TEST_F(StringPools, CharGrowthRule) {
  // capacity - length < 2 grows by exactly 501 units, whatever the size.
  const struct { uint32_t capacity, length, capacity_after; } cases[] = {
      {0, 0, 501}, {501, 499, 501}, {501, 500, 1002}, {10000, 9999, 10501}};
  for (const auto& c : cases) {
    uint32_t capacity = c.capacity, length = c.length;
    KOCHAR* buffer = capacity ? static_cast<KOCHAR*>(kostg_alc(storage_, capacity * 2 + 2, subpool_)) : nullptr;
    kostg_str_build_char(storage_, subpool_, &buffer, &capacity, &length, u'q');
    EXPECT_EQ(std::pair(capacity, length), std::pair(c.capacity_after, c.length + 1));
    EXPECT_EQ(std::u16string(buffer + c.length, 2), std::u16string(u"q\0", 2));
  }
}

}  // namespace

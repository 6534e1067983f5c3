// name_index_unit_test.cpp: the index answers only for the exact name a
// record holds and only while the node cache's change count stands.
#include "library/name_index.h"

#include "library/node.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "storage_fixture.h"

namespace {

using ko::CachedNode;
using ko::EntryRef;

class NameIndexUnitTest : public ko_test::StorageTest {
 protected:
  void SetUp() override {
    StorageTest::SetUp();
    pool_.context = storage_;
    index_.attach(pool_);
  }

  // A node of its own holding one record named `name`.
  EntryRef node_with(const std::u16string& name) {
    nodes_.emplace_back(3072);
    CachedNode node{};
    node.bytes = nodes_.back().data();
    ko::init_node(node.bytes, kGeometry, 0);
    uint32_t pos = ko::append_record(node.bytes, kGeometry, name.c_str(), 0);
    cached_.push_back(node);
    return {nullptr, pos};
  }

  static constexpr ko::NodeGeometry kGeometry{3072, 3040, 4608};
  ko::PoolRef pool_;
  ko::NameIndex index_;
  std::vector<std::vector<uint8_t>> nodes_;
  std::vector<CachedNode> cached_;
};

TEST_F(NameIndexUnitTest, AnswersTheExactNameWhileNothingChanged) {
  struct Case {
    const char16_t* stored;      // the record's name
    const char16_t* remembered;  // the name the walk searched for
    uint64_t remembered_at;
    const char16_t* asked;
    uint64_t asked_at;
    bool hit;
  } cases[] = {
      {u"a.txt", u"a.txt", 5, u"a.txt", 5, true},
      {u"a.txt", u"a.txt", 5, u"a.txt", 6, false},               // a node changed since
      {u"\u00e9t\u00e9.txt", u"\u00e9t\u00e9.txt", 5, u"\u00c9t\u00c9.txt", 5, false},  // other case
      {u"\u00c9t\u00c9.txt", u"\u00e9t\u00e9.txt", 5, u"\u00e9t\u00e9.txt", 5, false},  // found by folding
      {u"a.txt", u"a.txt", 5, u"a.tx", 5, false},
      {u"a.txt", u"a.txt", 5, u"a.txtx", 5, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "case " << (&c - cases));
    ko::NameIndex index;
    index.attach(pool_);
    EntryRef stored = node_with(c.stored);
    stored.node = &cached_.back();
    std::u16string remembered = c.remembered, asked = c.asked;
    index.remember(remembered.c_str(), remembered.size() + 1, c.remembered_at, stored);
    EntryRef found{nullptr, 0};
    EXPECT_EQ(index.find(asked.c_str(), asked.size() + 1, c.asked_at, &found), c.hit);
    if (c.hit) {
      EXPECT_TRUE(found.node == stored.node && found.pos == stored.pos);
    }
  }
}

TEST_F(NameIndexUnitTest, KeepsEveryNameAcrossGrowthAndForgetsAllOnAChange) {
  std::vector<std::u16string> names;
  for (int i = 0; i < 2000; ++i) names.push_back(u"n" + std::u16string(1, char16_t(u'a' + i % 26)) +
                                                 std::u16string(1, char16_t(0x100 + i)) + u".txt");
  cached_.reserve(names.size());
  std::vector<EntryRef> refs;
  for (const auto& n : names) {
    refs.push_back(node_with(n));
    refs.back().node = &cached_.back();
    index_.remember(n.c_str(), n.size() + 1, 7, refs.back());
  }
  for (size_t i = 0; i < names.size(); ++i) {
    EntryRef found{nullptr, 0};
    ASSERT_TRUE(index_.find(names[i].c_str(), names[i].size() + 1, 7, &found)) << i;
    EXPECT_EQ(found.node, refs[i].node);
  }
  EntryRef found{nullptr, 0};
  for (const auto& n : names) ASSERT_FALSE(index_.find(n.c_str(), n.size() + 1, 8, &found));
  // Remembered again under the new count, one name answers and the rest stay stale.
  index_.remember(names[3].c_str(), names[3].size() + 1, 8, refs[3]);
  EXPECT_TRUE(index_.find(names[3].c_str(), names[3].size() + 1, 8, &found));
  EXPECT_FALSE(index_.find(names[4].c_str(), names[4].size() + 1, 8, &found));
}

}  // namespace

// Hash tables: the key hash and where keys land, duplicate and unique keys,
// the search position that searchNext and remove continue from, the
// read-only search, emptying, statistics, composite keys and null tables.
#include <koshr/hashtable.h>

#include <memory>
#include <vector>

#include "containers/string_hash.h"
#include "test_support.h"

namespace {

// An item: its key and a tag telling duplicates apart.
struct Record {
  std::u16string key;
  int tag;
};

const void* record_key(void* item, void*) { return static_cast<Record*>(item)->key.c_str(); }
int tag_of(void* item) { return item ? static_cast<Record*>(item)->tag : 0; }

// 0x2000 or 0x3000, then nine pairs (1, 2): each pair rotates twice and
// cancels its own XOR, leaving the first unit rotated 18 times.
std::u16string rotated_key(char16_t start) {
  std::u16string key(1, start);
  for (int i = 0; i < 9; ++i) key += u"\x0001\x0002";
  return key;
}

TEST(StringHash, RotatesXorsAndFoldsTheSign) {
  struct Case {
    std::u16string key;
    uint32_t hash;
  };
  for (const Case& c : {Case{u"", 0}, Case{u"A", 65}, Case{u"AB", 0xC0}, Case{u"ABC", 0x1C3},
                        Case{rotated_key(0x3000), 0x40000000},  // 0xC0000000 negated
                        Case{rotated_key(0x2000), 0}}) {        // 0x80000000 stays negative
    EXPECT_EQ(ko::string_hash(c.key.c_str()), c.hash);
  }
  EXPECT_EQ(ko::string_hash(nullptr), 0u);
}

// ASCII text hashes as the published 32-bit FNV-1a vectors of its bytes; a
// wider unit is XORed in whole.
TEST(StringHash, Fnv1aStepsOverUnitsToTheCountOrTheTerminator) {
  struct Case {
    const KOCHAR* text;
    size_t units;
    uint32_t hash;
  };
  for (const Case& c : {Case{u"", SIZE_MAX, 0x811C9DC5}, Case{u"a", SIZE_MAX, 0xE40C292C},
                        Case{u"foobar", SIZE_MAX, 0xBF9CF968}, Case{u"foobar", 1, 0xE30C2799},
                        Case{u"ab\0cd", 9, 0x4D2505CA}, Case{u"\u00E9t\u00E9", 3, 0xA39E1B7B}}) {
    EXPECT_EQ(ko::fnv1a(c.text, c.units), c.hash) << c.units;
  }
}

class HashTableTest : public StorageTest {
 protected:
  // A table holding the keys, tagged 1, 2, ... in order of insertion.
  ShHashTable* make(uint32_t buckets, std::vector<std::u16string> keys) {
    ShHashTable* table = shhash_new(buckets, record_key, 0, 0, storage_, subpool_);
    for (auto& key : keys) {
      records.push_back(std::make_unique<Record>(Record{key, int(records.size()) + 1}));
      EXPECT_EQ(shhash_insert(table, records.back().get()), 1);
    }
    return table;
  }
  std::vector<std::unique_ptr<Record>> records;
};

TEST_F(HashTableTest, WalkGoesByBucketThenInsertionOrder) {
  struct Case {
    uint32_t buckets;
    std::vector<std::u16string> keys;  // tagged 1, 2, ... in this order
    std::vector<int> walk;
  };
  const Case cases[] = {
      {16, {u"A", u"AB"}, {2, 1}},  // bucket 1, bucket 0
      // 65 % 7 = 2, 2^30 % 7 = 1, 0 % 7 = 0: a mishandled sign lands them elsewhere.
      {7, {u"A", rotated_key(0x3000), rotated_key(0x2000)}, {3, 2, 1}},
      {1, {u"x", u"y", u"x"}, {1, 2, 3}},
  };
  for (const Case& c : cases) {
    records.clear();
    ShHashTable* table = make(c.buckets, c.keys);
    std::vector<int> walk;
    for (void* it = shhash_get_first(table); it; it = shhash_get_next(table)) walk.push_back(tag_of(it));
    EXPECT_EQ(walk, c.walk);
  }
}

TEST_F(HashTableTest, SearchPositionsCarryOverToSearchNextAndRemove) {
  ShHashTable* table = make(16, {u"A", u"AB", u"A", u"A"});  // tags 1, 3, 4 share bucket 1
  EXPECT_EQ(tag_of(shhash_search(table, u"A")), 1);
  EXPECT_EQ(tag_of(shhash_search_unique(table, u"AB")), 2) << "read-only: moves nothing";
  EXPECT_EQ(tag_of(shhash_searchNext(table, u"A")), 3);
  EXPECT_EQ(tag_of(shhash_remove(table)), 3);
  EXPECT_EQ(tag_of(shhash_searchNext(table, u"A")), 0) << "remove moved on to tag 4";
  EXPECT_EQ(tag_of(shhash_search(table, u"a")), 0) << "keys are case-sensitive";
  EXPECT_EQ(tag_of(shhash_remove(table)), 0) << "a failed search leaves no position";
  EXPECT_EQ(tag_of(shhash_search(table, u"A")), 1);
  EXPECT_EQ(tag_of(shhash_searchNext(table, u"A")), 4);
  EXPECT_EQ(tag_of(shhash_searchNext(table, u"A")), 0);
  ASSERT_NE(shhash_searchSlot(table, u"A"), nullptr);
  EXPECT_EQ(shlist_get_count(shhash_searchSlot(table, u"A")), 2u);
  EXPECT_EQ(shhash_searchSlot(table, u"unused"), nullptr);
}

TEST_F(HashTableTest, UniqueTablesRefuseKnownKeysAndHaveNoNext) {
  ShHashTable* table = shhash_new(8, record_key, 1, 0, storage_, subpool_);
  Record first{u"k", 1}, again{u"k", 2};
  EXPECT_EQ(shhash_insert(table, &first), 1);
  EXPECT_EQ(shhash_insert(table, &again), 2);
  ShHashStatistics stats;
  EXPECT_EQ(shhash_statistics(table, &stats)->longest_chain, 1u);
  EXPECT_EQ(shhash_search(table, u"k"), &first);
  EXPECT_EQ(shhash_searchNext(table, u"k"), nullptr);
}

TEST_F(HashTableTest, EmptyingClearingAndTraversal) {
  ShHashTable* table = make(8, {u"only"});
  shhash_search(table, u"only");
  shhash_remove(table);
  EXPECT_EQ(shhash_get_first(table), nullptr) << "its bucket list exists but is empty";
  EXPECT_EQ(shhash_traversal(table, nullptr, nullptr), 1) << "empty: visit not called";
  ShHashTable* full = make(3, {u"b", u"c", u"d", u"e"});
  std::pair<int, int> visits{0, 2};  // visits so far, the visit that returns 0
  EXPECT_EQ(shhash_traversal(full, &visits, [](void*, void* arg) {
              auto* v = static_cast<std::pair<int, int>*>(arg);
              return v->first++ == v->second ? 0 : 5;
            }), 0);
  EXPECT_EQ(visits.first, 3) << "stops across buckets";
  EXPECT_EQ(shhash_clear(table), table);
  EXPECT_NE(shhash_searchSlot(table, u"only"), nullptr) << "count 0: clear freed nothing";
  Record again{u"again", 9};
  shhash_insert(table, &again);
  shhash_clear(table);
  EXPECT_EQ(shhash_searchSlot(table, u"again"), nullptr);
}

TEST_F(HashTableTest, StatisticsReportLoadChainsAndTheLongest) {
  struct Case {
    uint32_t buckets;
    std::vector<std::u16string> keys;
    double load, chain;
    uint32_t longest;
  };
  const Case cases[] = {
      {100, {u"0", u"1", u"2", u"3", u"4", u"5", u"6", u"7", u"8", u"9"}, 1.0, 1.0, 1},
      {1, {u"a", u"b", u"c", u"d"}, 4.0, 4.0, 4},
      {16, {u"A", u"A", u"AB"}, 1.0, 1.5, 2},
      {0, {}, 1.0, 0.0, 0},
  };
  for (const Case& c : cases) {
    ShHashStatistics stats{};
    EXPECT_EQ(shhash_statistics(make(c.buckets, c.keys), &stats), &stats);
    EXPECT_DOUBLE_EQ(stats.load, c.load);
    EXPECT_DOUBLE_EQ(stats.chain_length, c.chain);
    EXPECT_EQ(stats.longest_chain, c.longest);
  }
}

TEST_F(HashTableTest, KeysComeFromTheKeyFunctionWithItsArgumentOrAreTheItems) {
  int calls = 0;
  ShHashTable* keyed = shhash_new_arg(8, [](void* item, void* arg) -> const void* {
    ++*static_cast<int*>(arg);
    return static_cast<Record*>(item)->key.c_str();
  }, 0, 0, storage_, subpool_, &calls);
  Record r{u"x", 1};
  shhash_insert(keyed, &r);
  EXPECT_EQ(shhash_search(keyed, u"x"), &r);
  EXPECT_GT(calls, 0);
  ShHashTable* itself = shhash_new(8, nullptr, 0, 0, storage_, subpool_);
  KOCHAR text[] = u"self";
  shhash_insert(itself, text);
  EXPECT_EQ(shhash_search(itself, u"self"), text);
}

TEST_F(HashTableTest, CompositeKeysCompareStringByString) {
  auto key = [&](std::initializer_list<const char16_t*> parts) {
    shlistx* list = shlist_new(storage_, subpool_);
    for (const char16_t* p : parts) shlist_insert(list, const_cast<char16_t*>(p));
    return list;
  };
  EXPECT_EQ(ko::composite_hash(key({u"A", u"B"})), ko::string_hash(u"AB"));
  EXPECT_EQ(ko::composite_hash(key({})), 0u);
  ShHashTable* table = shhash_new(16, nullptr, 0, 1, storage_, subpool_);
  EXPECT_EQ(shhash_insert(table, key({u"dbo", u"orders"})), 1);
  for (auto [probe, found] : {std::pair{key({u"dbo", u"orders"}), true}, {key({u"dbo"}), false},
                              {key({u"dbo", u"orders", u"x"}), false}, {key({u"dbo", u"Orders"}), false},
                              {key({u"db", u"oorders"}), false}}) {
    EXPECT_EQ(shhash_search(table, probe) != nullptr, found);
    EXPECT_EQ(shhash_search_unique(table, probe) != nullptr, found);
  }
}

TEST_F(HashTableTest, NullAndBucketlessTablesAreRefused) {
  Record r{u"x", 1};
  ShHashStatistics stats;
  for (ShHashTable* table : {static_cast<ShHashTable*>(nullptr), make(0, {})}) {
    EXPECT_EQ(shhash_insert(table, &r), 0);
    EXPECT_TRUE(!shhash_search(table, u"x") && !shhash_searchNext(table, u"x") &&
                !shhash_search_unique(table, u"x") && !shhash_searchSlot(table, u"x") &&
                !shhash_remove(table) && !shhash_get_first(table) && !shhash_get_next(table));
    EXPECT_EQ(shhash_clear(table), table);
    shhash_delete(table);
  }
  EXPECT_EQ(shhash_traversal(nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(shhash_statistics(nullptr, &stats), nullptr);
}

}  // namespace

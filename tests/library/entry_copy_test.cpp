// entry_copy_test.cpp: copying, moving, changing, listing and versioning
// entries, and the source-control data.
#include "library_fixture.h"

#include <cstring>

using namespace library_test;

namespace {

class EntryCopyTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    a_path_ = create("a.kol");
    b_path_ = create("b.kol");
    a_ = open(a_path_);
    b_ = open(b_path_);
    ASSERT_EQ(put(a_, "one.dat", pattern(3000, 1), u"first"), 0);
    ASSERT_EQ(put(a_, "two.txt", pattern(10, 2)), 0);
  }
  void TearDown() override {
    EXPECT_EQ(LMI_CloseLibrary(a_), 0);
    EXPECT_EQ(LMI_CloseLibrary(b_), 0);
    expect_sound(a_path_);
    expect_sound(b_path_);
    LibraryTest::TearDown();
  }
  std::string comment_of(LMI_HANDLE lib, const char* name) {
    std::u16string n = u16(name);
    LMI_ENTRY_INFO_EX ex;
    return LMI_EntryInfoExtended(lib, n.data(), &ex) == 0 ? narrow(ex.comment) : "<missing>";
  }
  std::u16string a_path_, b_path_;
  LMI_HANDLE a_ = nullptr, b_ = nullptr;
};

TEST_F(EntryCopyTest, CopyWithinAndAcross) {
  struct Case {
    bool across;
    const char16_t* from;
    const char16_t* to;  // null: the same name
    const char* result;
  } cases[] = {{false, u"One.dat", u"three.dat", "three.dat"}, {true, u"one.dat", nullptr, "one.dat"},
               {true, u"one.dat", u"renamed.dat", "renamed.dat"}};
  for (const Case& c : cases) {
    LMI_HANDLE to = c.across ? b_ : a_;
    std::u16string from(c.from), target(c.to ? c.to : u"");
    ASSERT_EQ(LMI_CopyEntry(a_, from.data(), to, c.to ? target.data() : nullptr), 0) << c.result;
    EXPECT_EQ(get(to, c.result), pattern(3000, 1));
    EXPECT_EQ(comment_of(to, c.result), "first");
  }
  EXPECT_EQ(get(a_, "one.dat"), pattern(3000, 1));
  KOCHAR missing[] = u"none.dat";
  EXPECT_EQ(LMI_CopyEntry(a_, missing, b_, nullptr), -12);
  EXPECT_EQ(LMI_CopyEntry(nullptr, missing, b_, nullptr), -6);
}

TEST_F(EntryCopyTest, CopySequentialTakesAllOrTheNamed) {
  EXPECT_EQ(LMI_CopyEntrySequential(a_, b_, nullptr, 0), 2);
  EXPECT_EQ(get(b_, "two.txt"), pattern(10, 2));
  KOCHAR one[] = u"one.dat";
  KOCHAR* names[] = {one};
  LMI_HANDLE c = open(create("c.kol"));
  EXPECT_EQ(LMI_CopyEntrySequential(a_, c, names, 1), 1);
  LMI_LIST_ITEM* items;
  EXPECT_EQ(LMI_ListEntries(c, storage_, &items), 1);
  kostg_fee(storage_, items);
  LMI_CloseLibrary(c);
}

TEST_F(EntryCopyTest, MoveRenamesOrTransfers) {
  KOCHAR one[] = u"one.dat", moved[] = u"moved.dat", two[] = u"two.txt";
  ASSERT_EQ(LMI_MoveEntry(a_, one, a_, moved), 0);
  EXPECT_EQ(LMI_EntryExists(a_, one), -12);
  EXPECT_EQ(get(a_, "moved.dat"), pattern(3000, 1));
  ASSERT_EQ(LMI_MoveEntry(a_, two, b_, nullptr), 0);
  EXPECT_EQ(LMI_EntryExists(a_, two), -12);
  EXPECT_EQ(get(b_, "two.txt"), pattern(10, 2));
}

TEST_F(EntryCopyTest, ModifyChangesOnlyTheComment) {
  KOCHAR one[] = u"one.dat";
  struct Case {
    const char16_t* comment;
    const char* expected;
  } cases[] = {{u"changed", "changed"}, {u"", ""}, {u"  again ", "again"}};
  for (const Case& c : cases) {
    ASSERT_EQ(LMI_ModifyEntry(a_, one, c.comment), 0);
    EXPECT_EQ(comment_of(a_, "one.dat"), c.expected);
    EXPECT_EQ(get(a_, "one.dat"), pattern(3000, 1));
  }
  EXPECT_EQ(LMI_ModifyEntry(a_, one, nullptr), -10);
}

TEST_F(EntryCopyTest, ListingExtendedCarriesComments) {
  LMI_LIST_ITEM* items = nullptr;
  ASSERT_EQ(LMI_ListEntriesExtended(a_, storage_, &items), 2);
  EXPECT_EQ(narrow(items[0].name), "one.dat");
  EXPECT_EQ(narrow(items[0].comment), "first");
  EXPECT_EQ(items[0].objectSize, 3000u);
  EXPECT_EQ(items[0].dataSize, 3010u);
  EXPECT_EQ(narrow(items[1].comment), "");
  EXPECT_EQ(narrow(items[1].version), "0600");
  kostg_fee(storage_, items);
  EXPECT_EQ(LMI_ListEntries(a_, nullptr, &items), -19);
  EXPECT_EQ(LMI_ListEntries(a_, storage_, nullptr), -7);
  EXPECT_EQ(LMI_ListEntries(nullptr, storage_, &items), -6);
}

TEST_F(EntryCopyTest, EntryVersions) {
  KOCHAR one[] = u"one.dat", two[] = u"two.txt";
  KOCHAR version[5];
  ASSERT_EQ(LMI_GetEntryVersion(a_, one, version), 0);
  EXPECT_EQ(narrow(version), "0600");
  EXPECT_EQ(LMI_SetEntryVersion(a_, one, u"0712"), 0);
  EXPECT_EQ(LMI_SetEntryVersion(a_, one, u"07a2"), -10);
  EXPECT_EQ(LMI_SetEntryVersion(a_, one, u"07123"), -10);
  KOCHAR* both[] = {one, two};
  EXPECT_EQ(LMI_SetEntryVersionList(a_, both, 2, u"0500"), 2);
  ASSERT_EQ(LMI_CloseLibrary(a_), 0);
  a_ = open(a_path_);
  ASSERT_EQ(LMI_GetEntryVersion(a_, two, version), 0);
  EXPECT_EQ(narrow(version), "0500");
  EXPECT_EQ(LMI_DeleteEntryVersion(a_, two), 0);
  ASSERT_EQ(LMI_GetEntryVersion(a_, two, version), 0);
  EXPECT_EQ(narrow(version), "0600");
  EXPECT_EQ(LMI_GetEntryVersion(a_, two, nullptr), -7);
  KOCHAR none[] = u"none";
  EXPECT_EQ(LMI_GetEntryVersion(a_, none, version), -12);
}

TEST_F(EntryCopyTest, SourceControlData) {
  std::vector<uint8_t> scc(4 + 2 * 516, 0);
  std::memcpy(scc.data(), "SCC*", 4);
  const char16_t names[2][8] = {u"one.dat", u"two.txt"};
  for (int r = 0; r < 2; ++r) {
    std::memcpy(scc.data() + 4 + r * 516, names[r], 16);
    std::memcpy(scc.data() + 4 + r * 516 + 256, u"v1", 4);
    scc[4 + r * 516 + 512] = uint8_t(r + 1);
  }
  EXPECT_EQ(LMI_SetSCCDataBuffer(a_, scc.data(), 7), -10);
  ASSERT_EQ(LMI_SetSCCDataBuffer(a_, scc.data(), uint32_t(scc.size())), 0);
  ASSERT_EQ(LMI_CloseLibrary(a_), 0);
  a_ = open(a_path_);
  void* back = nullptr;
  uint32_t length = 0;
  ASSERT_EQ(LMI_GetSCCDataBuffer(a_, storage_, &back, &length), 0);
  ASSERT_EQ(length, scc.size());
  EXPECT_EQ(std::memcmp(back, scc.data(), length), 0);
  kostg_fee(storage_, back);
  LMI_SCC_RECORD* records = nullptr;
  ASSERT_EQ(LMI_ListSccMetadata(a_, storage_, &records), 2);
  EXPECT_EQ(narrow(records[1].name), "two.txt");
  EXPECT_EQ(narrow(records[1].data), "v1");
  EXPECT_EQ(records[1].flags, 2u);
  kostg_fee(storage_, records);
  ASSERT_EQ(LMI_DeleteSccMetadata(a_), 0);
  ASSERT_EQ(LMI_GetSCCDataBuffer(a_, storage_, &back, &length), 0);
  EXPECT_EQ(back, nullptr);
  EXPECT_EQ(length, 0u);
}

TEST_F(EntryCopyTest, LibraryListLocatesEntries) {
  ASSERT_EQ(put(b_, "only_b.dat", pattern(1, 1)), 0);
  ASSERT_EQ(LMI_CloseLibrary(a_), 0);
  ASSERT_EQ(LMI_CloseLibrary(b_), 0);
  const KOCHAR* paths[] = {a_path_.c_str(), b_path_.c_str()};
  ASSERT_EQ(LMI_SynchronizeLibraryList(storage_, paths, 2), 0);
  KOCHAR one[] = u"ONE.dat", only_b[] = u"only_b.dat", none[] = u"none.dat";
  EXPECT_EQ(LMI_LocateEntry(one), 0);
  EXPECT_EQ(LMI_LocateEntry(only_b), 1);
  EXPECT_EQ(LMI_LocateEntry(none), -12);
  // The answer is remembered until the name's cache entry is removed.
  a_ = open(a_path_);
  ASSERT_EQ(put(a_, "only_b.dat", pattern(1, 1)), 0);
  ASSERT_EQ(LMI_CloseLibrary(a_), 0);
  EXPECT_EQ(LMI_LocateEntry(only_b), 1);
  EXPECT_EQ(LMI_RemoveLibraryHashEntry(only_b), 0);
  EXPECT_EQ(LMI_RemoveLibraryHashEntry(only_b), -12);
  EXPECT_EQ(LMI_LocateEntry(only_b), 0);
  ASSERT_EQ(LMI_SynchronizeLibraryList(storage_, nullptr, 0), 0);
  EXPECT_EQ(LMI_LocateEntry(one), -12);
  a_ = open(a_path_);
  b_ = open(b_path_);
}

}  // namespace

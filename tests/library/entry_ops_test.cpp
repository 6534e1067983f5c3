// entry_ops_test.cpp: opening, reading, writing and looking up entries.
#include "library_fixture.h"

using namespace library_test;

namespace {

class EntryOpsTest : public LibraryTest {
 protected:
  void SetUp() override {
    LibraryTest::SetUp();
    lib_path_ = create();
    lib_ = open(lib_path_);
    ASSERT_NE(lib_, nullptr);
  }
  void TearDown() override {
    if (lib_) {
      EXPECT_EQ(LMI_CloseLibrary(lib_), 0);
    }
    expect_sound(lib_path_);
    LibraryTest::TearDown();
  }
  std::u16string lib_path_;
  LMI_HANDLE lib_ = nullptr;
};

TEST_F(EntryOpsTest, RoundTripsOfManySizes) {
  const size_t sizes[] = {0, 1, 501, 502, 503, 1004, 16383, 16384, 16385, 100000, 300000};
  for (size_t size : sizes) ASSERT_EQ(put(lib_, "e" + std::to_string(size) + ".dat", pattern(size, uint32_t(size))), 0);
  for (size_t size : sizes) EXPECT_EQ(get(lib_, "e" + std::to_string(size) + ".dat"), pattern(size, uint32_t(size))) << size;
  ASSERT_EQ(LMI_CloseLibrary(lib_), 0);
  lib_ = open(lib_path_, LMI_MODE_READ);
  for (size_t size : sizes) EXPECT_EQ(get(lib_, "e" + std::to_string(size) + ".dat"), pattern(size, uint32_t(size))) << size;
}

TEST_F(EntryOpsTest, OpenEntryRefusals) {
  ASSERT_EQ(put(lib_, "a.dat", pattern(10, 1)), 0);
  KOCHAR a[] = u"a.dat", b[] = u"b.dat";
  ASSERT_EQ(LMI_OpenEntry(lib_, a, LMI_ENTRY_READ, nullptr), 0);
  struct Case {
    LMI_HANDLE lib;
    KOCHAR* name;
    int mode;
    int32_t rc;
  } busy[] = {{lib_, b, LMI_ENTRY_READ, -16}, {nullptr, b, LMI_ENTRY_READ, -6}};
  for (const Case& c : busy) EXPECT_EQ(LMI_OpenEntry(c.lib, c.name, c.mode, nullptr), c.rc);
  EXPECT_EQ(LMI_EntryExists(lib_, b), -16);
  EXPECT_EQ(LMI_CloseEntry(lib_), 0);
  Case idle[] = {{lib_, nullptr, LMI_ENTRY_READ, -10}, {lib_, b, 2, -9}, {lib_, b, LMI_ENTRY_READ, -12}};
  for (const Case& c : idle) EXPECT_EQ(LMI_OpenEntry(c.lib, c.name, c.mode, nullptr), c.rc);
  EXPECT_EQ(LMI_CloseEntry(lib_), -14);
  uint8_t byte;
  EXPECT_EQ(LMI_ReadEntry(lib_, &byte, 1), -13);
  EXPECT_EQ(LMI_WriteEntry(lib_, &byte, 1), -13);

  LMI_HANDLE ro = open(lib_path_, LMI_MODE_READ);
  EXPECT_EQ(LMI_OpenEntry(ro, b, LMI_ENTRY_WRITE, nullptr), -15);
  LMI_CloseLibrary(ro);
  LMI_HANDLE header_mode = open(lib_path_, LMI_MODE_HEADER);
  EXPECT_EQ(LMI_OpenEntry(header_mode, a, LMI_ENTRY_READ, nullptr), -14);
  LMI_CloseLibrary(header_mode);
}

TEST_F(EntryOpsTest, NamesAreCaseInsensitiveAndLowerCasedInPlace) {
  ASSERT_EQ(put(lib_, "report.txt", pattern(20, 2)), 0);
  KOCHAR asked[] = u"Report.TXT";
  EXPECT_EQ(LMI_EntryExists(lib_, asked), 0);
  EXPECT_EQ(narrow(asked), "report.txt");
  KOCHAR other[] = u"Summary.txt";
  EXPECT_EQ(LMI_EntryExists(lib_, other), -12);
  EXPECT_EQ(LMI_EntryExists(nullptr, other), -6);
  EXPECT_EQ(LMI_EntryExists(lib_, nullptr), -10);
  EXPECT_EQ(get(lib_, "REPORT.txt"), pattern(20, 2));
}

TEST_F(EntryOpsTest, MixedCaseRulesOfTheDirectory) {
  // Only ASCII letters are lower-cased; other letters keep their case.
  ASSERT_EQ(put(lib_, "a.dat", pattern(1, 1)), 0);
  ASSERT_EQ(put(lib_, "\xE9.dat", pattern(2, 2)), 0);  // e-acute, the root's highest
  KOCHAR upper[] = {0xC9, u'.', u'd', u'a', u't', 0};   // E-acute
  EXPECT_EQ(LMI_EntryExists(lib_, upper), 0) << "a name equal to the highest but for case is found";
  LMI_ENTRY_INFO info;
  ASSERT_EQ(LMI_EntryInformation(lib_, upper, &info), 0);
  EXPECT_EQ(info.name[0], 0xE9);
  EXPECT_EQ(info.objectSize, 2u);
}

TEST_F(EntryOpsTest, InformationCountsTheObjectOnly) {
  ASSERT_EQ(put(lib_, "c.dat", pattern(100, 4), u"hello"), 0);
  KOCHAR name[] = u"C.DAT";
  LMI_ENTRY_INFO info;
  ASSERT_EQ(LMI_EntryInformation(lib_, name, &info), 0);
  EXPECT_EQ(info.objectSize, 100u);
  EXPECT_EQ(narrow(info.name), "c.dat");
  EXPECT_NEAR(double(info.timeStamp), double(time(nullptr)), 5.0);
  EXPECT_EQ(LMI_EntryInformation(lib_, name, nullptr), -7);
  EXPECT_EQ(LMI_EntryInformation(lib_, nullptr, &info), -10);
  KOCHAR missing[] = u"x.dat";
  EXPECT_EQ(LMI_EntryInformation(lib_, missing, &info), -12);
  // With an entry open only that entry may be asked about.
  ASSERT_EQ(LMI_OpenEntry(lib_, name, LMI_ENTRY_READ, nullptr), 0);
  EXPECT_EQ(LMI_EntryInformation(lib_, missing, &info), -16);
  KOCHAR same[] = u"c.DAT";
  EXPECT_EQ(LMI_EntryInformation(lib_, same, &info), 0);
  LMI_CloseEntry(lib_);
}

TEST_F(EntryOpsTest, RewritingKeepsOrReplacesTheComment) {
  struct Step {
    const char16_t* comment;  // given at the rewrite
    const char* kept;         // comment afterwards
  } steps[] = {{u"  first  ", "first"}, {u"", "first"}, {nullptr, "first"}, {u"second", "second"}, {u"   ", ""}};
  for (const Step& s : steps) {
    std::u16string n = u"d.dat";
    ASSERT_EQ(LMI_OpenEntry(lib_, n.data(), LMI_ENTRY_WRITE, s.comment), 0);
    ASSERT_EQ(LMI_WriteEntry(lib_, "xyz", 3), 3);
    ASSERT_EQ(LMI_CloseEntry(lib_), 0);
    LMI_ENTRY_INFO_EX ex;
    ASSERT_EQ(LMI_EntryInfoExtended(lib_, n.data(), &ex), 0);
    EXPECT_EQ(narrow(ex.comment), s.kept);
    EXPECT_EQ(ex.objectSize, 3u);
    EXPECT_EQ(ex.commentLength, std::string(s.kept).size());
  }
  std::u16string long_comment(300, u'c');
  std::u16string n = u"e.dat";
  ASSERT_EQ(LMI_OpenEntry(lib_, n.data(), LMI_ENTRY_WRITE, long_comment.c_str()), 0);
  ASSERT_EQ(LMI_CloseEntry(lib_), 0);
  LMI_ENTRY_INFO_EX ex;
  ASSERT_EQ(LMI_EntryInfoExtended(lib_, n.data(), &ex), 0);
  EXPECT_EQ(ex.commentLength, 256);
  EXPECT_EQ(ex.dataSize, 512u);
}

TEST_F(EntryOpsTest, FindEntryOpensTheLibraryItself) {
  ASSERT_EQ(put(lib_, "f.dat", pattern(5, 5)), 0);
  ASSERT_EQ(LMI_CloseLibrary(lib_), 0);
  lib_ = nullptr;
  KOCHAR f[] = u"F.dat", g[] = u"g.dat";
  EXPECT_EQ(LMI_FindEntry(storage_, f, lib_path_.c_str()), 0);
  EXPECT_EQ(LMI_FindEntry(storage_, g, lib_path_.c_str()), -3);
  EXPECT_EQ(LMI_FindEntry(storage_, f, nullptr), -10);
  EXPECT_EQ(LMI_FindEntry(storage_, nullptr, lib_path_.c_str()), -10);
  EXPECT_EQ(LMI_FindEntry(storage_, f, path("none.kol").c_str()), -6);
}

TEST_F(EntryOpsTest, ReadingInPieces) {
  Bytes data = pattern(5000, 9);
  ASSERT_EQ(put(lib_, "p.dat", data, u"note"), 0);
  KOCHAR n[] = u"p.dat";
  ASSERT_EQ(LMI_OpenEntry(lib_, n, LMI_ENTRY_READ, nullptr), 0);
  Bytes back;
  const uint32_t pieces[] = {1, 7, 501, 502, 503, 3000, 10000};
  for (uint32_t piece : pieces) {
    Bytes chunk(piece);
    int32_t got = LMI_ReadEntry(lib_, chunk.data(), piece);
    ASSERT_GE(got, 0);
    back.insert(back.end(), chunk.begin(), chunk.begin() + got);
  }
  EXPECT_EQ(LMI_ReadEntry(lib_, back.data(), 10), 0);
  LMI_CloseEntry(lib_);
  EXPECT_EQ(back, data);
}

}  // namespace

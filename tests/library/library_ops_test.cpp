// library_ops_test.cpp: creating, opening, typing and deleting libraries.
#include "library_fixture.h"

#include <koshr/host.h>

#include <cstring>

using namespace library_test;

namespace {

class LibraryOpsTest : public LibraryTest {};

TEST_F(LibraryOpsTest, CreateNamesAndRefusals) {
  struct Case {
    const char* given;
    int32_t rc;
    const char* file;  // the file that must exist afterwards, "" for none
  } cases[] = {
      {"Lib", 0, "lib.kol"},         {"x.txt", -10, ""},    {"Comp.KOD", 0, "comp.kod"},
      {"index.idx", 0, "index.idx"}, {"t.tmp", 0, "t.tmp"}, {"b.bin", 0, "b.bin"},
  };
  for (const Case& c : cases) {
    std::u16string p = path(c.given);
    EXPECT_EQ(LMI_CreateLibrary(storage_, p.data(), u"note"), c.rc) << c.given;
    if (*c.file) {
      EXPECT_TRUE(std::filesystem::exists(file(c.file))) << c.given;
      EXPECT_EQ(narrow(p.c_str()).substr(narrow(p.c_str()).size() - std::strlen(c.given)),
                std::string(c.file).substr(0, std::strlen(c.given)))
          << "the caller's buffer is lower-cased";
      expect_sound(path(c.file));
    }
  }
  std::u16string again = path("lib.kol");
  std::vector<uint8_t> before = file_bytes("lib.kol");
  EXPECT_EQ(LMI_CreateLibrary(storage_, again.data(), u"other"), -2);
  EXPECT_EQ(file_bytes("lib.kol"), before);
  EXPECT_EQ(LMI_CreateLibrary(storage_, nullptr, nullptr), -10);
  EXPECT_EQ(LMI_CreateLibrary(nullptr, again.data(), nullptr), -19);
}

// New libraries record no type: it comes from the extension until changed.
TEST_F(LibraryOpsTest, CommentVersionAndTypeByName) {
  struct Case {
    const char* name;
    bool prefixed;
    int32_t type;
  } cases[] = {{"a.kod", true, 2},      {"b.idx", true, 2},  {"c.kol", false, 1},
               {"kodom1.kol", true, 1}, {"d.tmp", false, 3}, {"e.bin", false, 2}};
  for (const Case& c : cases) {
    std::u16string p = create(c.name, u"mine");
    EXPECT_EQ(LMI_GetLibraryType(storage_, p.c_str()), c.type) << c.name;
    LMI_HANDLE h = open(p, LMI_MODE_READ);
    ASSERT_NE(h, nullptr) << c.name;
    LMI_LIBRARY_INFO info;
    ASSERT_EQ(LMI_LibraryInformation(h, &info), 0);
    std::string expected = c.prefixed ? std::string(koshr_version()) + "mine" : "mine";
    EXPECT_EQ(narrow(info.comment), expected) << c.name;
    EXPECT_EQ(narrow(info.version), "0600");
    EXPECT_EQ(info.sccDataLength, 0u);
    EXPECT_EQ(LMI_CloseLibrary(h), 0);
  }
  std::u16string p = path("c.kol");
  EXPECT_EQ(LMI_ChangeLibraryType(storage_, p.c_str(), 3), 0);
  EXPECT_EQ(LMI_GetLibraryType(storage_, p.c_str()), 3);
  EXPECT_EQ(LMI_GetLibraryType(storage_, path("none.kol").c_str()), 0);
  expect_sound(p);
}

TEST_F(LibraryOpsTest, OpenRefusesWhatIsNoLibrary) {
  ko_test::write_bytes(folder_.file("junk.kol"), std::string(6000, 'x'));
  EXPECT_EQ(LMI_OpenLibrary(storage_, path("junk.kol").c_str(), LMI_MODE_READ, 0), nullptr);
  EXPECT_EQ(LMI_OpenLibrary(storage_, path("missing.kol").c_str(), LMI_MODE_READ, 0), nullptr);
  std::u16string p = create();
  EXPECT_EQ(LMI_OpenLibrary(nullptr, p.c_str(), LMI_MODE_READ, 0), nullptr);
  EXPECT_EQ(LMI_OpenLibrary(storage_, p.c_str(), 4, 0), nullptr);
  EXPECT_EQ(LMI_CloseLibrary(nullptr), -6);
}

TEST_F(LibraryOpsTest, ModifyLibraryNeedsModeThreeAndClearsSourceControl) {
  std::u16string p = create("m.kol", u"old");
  LMI_HANDLE h = open(p, LMI_MODE_READWRITE);
  const char scc[] = "SCC*";
  ASSERT_EQ(LMI_SetSCCDataBuffer(h, scc, 4), 0);
  LMI_LIBRARY_INFO info{};
  KOCHAR text[] = u"new comment";
  info.comment = text;
  EXPECT_EQ(LMI_ModifyLibrary(h, &info), -15);
  EXPECT_EQ(LMI_ModifyLibrary(h, nullptr), -7);
  EXPECT_EQ(LMI_ModifyLibrary(nullptr, &info), -6);
  LMI_CloseLibrary(h);
  h = open(p, LMI_MODE_HEADER);
  ASSERT_EQ(LMI_LibraryInformation(h, &info), 0);
  EXPECT_EQ(info.sccDataLength, 4u);
  info.comment = text;
  EXPECT_EQ(LMI_ModifyLibrary(h, &info), 0);
  LMI_CloseLibrary(h);
  h = open(p, LMI_MODE_READ);
  ASSERT_EQ(LMI_LibraryInformation(h, &info), 0);
  EXPECT_EQ(narrow(info.comment), "new comment");
  EXPECT_EQ(info.sccDataLength, 0u) << "the clearing reaches the source-control fields";
  LMI_CloseLibrary(h);
  // The source-control chain is now referenced by nothing: only a leak.
  for (auto& f : check(p)) EXPECT_EQ(f.first, LMI_CHECK_LEAKED) << f.second;
}

TEST_F(LibraryOpsTest, DeleteLibraryOnlyDeletesLibraries) {
  std::u16string p = create();
  ko_test::write_bytes(folder_.file("plain.txt"), "not a library");
  EXPECT_EQ(LMI_DeleteLibrary(storage_, path("plain.txt").c_str()), -3);
  EXPECT_TRUE(std::filesystem::exists(file("plain.txt")));
  EXPECT_EQ(LMI_DeleteLibrary(storage_, p.c_str()), 0);
  EXPECT_FALSE(std::filesystem::exists(file("lib.kol")));
  EXPECT_EQ(LMI_DeleteLibrary(storage_, nullptr), -10);
  EXPECT_EQ(LMI_DeleteLibrary(nullptr, p.c_str()), -19);
}

TEST_F(LibraryOpsTest, LibrarySpaceCountsBlocks) {
  std::u16string p = create();
  LMI_HANDLE h = open(p);
  LMI_SPACE_INFO space;
  ASSERT_EQ(LMI_LibrarySpace(h, &space), 0);
  EXPECT_EQ(space.blocksUsed, 9u);
  EXPECT_EQ(space.blocksFree, 0u);
  ASSERT_EQ(put(h, "a.txt", pattern(1004, 3)), 0);
  ASSERT_EQ(LMI_CloseLibrary(h), 0);
  h = open(p);
  ASSERT_EQ(LMI_LibrarySpace(h, &space), 0);
  EXPECT_EQ(space.blocksUsed, 11u);
  EXPECT_EQ(space.bitmapBlocks, 1u);
  LMI_CloseLibrary(h);
}

}  // namespace

// names_and_paths_test.cpp: one path limit for every function that takes a
// library path (never a path cut short to name another file), and empty or
// overlong entry names refused as invalid names everywhere.
#include "library_fixture.h"

#include <functional>

using namespace library_test;

namespace {

class NamesAndPathsTest : public LibraryTest {};

TEST_F(NamesAndPathsTest, EveryPathFunctionRefusesAPathOverTheLimit) {
  std::u16string p = create();
  std::u16string too_long = p + std::u16string(1024, u'x');
  too_long.resize(1024);
  EXPECT_EQ(LMI_CreateLibrary(storage_, too_long.data(), nullptr), LMI_E_NAME);
  EXPECT_EQ(LMI_OpenLibrary(storage_, too_long.c_str(), LMI_MODE_READ, 0), nullptr);
  std::u16string entry = u"a.dat";
  EXPECT_EQ(LMI_FindEntry(storage_, entry.data(), too_long.c_str()), LMI_E_NAME);
  EXPECT_EQ(LMI_DeleteLibrary(storage_, too_long.c_str()), LMI_E_NAME);
  EXPECT_EQ(LMI_ChangeLibraryType(storage_, too_long.c_str(), LMI_TYPE_COMPILED), LMI_E_NAME);
  EXPECT_EQ(LMI_CheckLibrary(storage_, too_long.c_str(), nullptr, nullptr), LMI_E_NAME);
}

#ifndef _WIN32
// Windows needs its long-path prefix for such paths; the limit itself is
// shared and tested above on both targets.
TEST_F(NamesAndPathsTest, APathOneUnitOverTheLimitDoesNotOpenTheLibraryItWouldBeCutTo) {
  // Directories of 200 characters until the library's path is exactly 1023 units.
  std::filesystem::path dir = folder_.path();
  while (dir.string().size() + 1 + 200 + 1 + 10 < 1023) dir /= std::string(200, 'd');
  std::filesystem::create_directories(dir);
  size_t room = 1023 - dir.string().size() - 1 - 4;
  std::u16string p = u16((dir / (std::string(room, 'n') + ".kol")).string());
  ASSERT_EQ(p.size(), 1023u);
  ASSERT_EQ(LMI_CreateLibrary(storage_, p.data(), nullptr), 0) << "the longest path is usable";
  LMI_HANDLE h = open(p, LMI_MODE_READ);
  ASSERT_NE(h, nullptr);
  LMI_CloseLibrary(h);
  std::u16string longer = p + u"x";
  EXPECT_EQ(open(longer, LMI_MODE_READ), nullptr);
  EXPECT_EQ(open(longer, LMI_MODE_READWRITE), nullptr);
  EXPECT_EQ(LMI_DeleteLibrary(storage_, longer.c_str()), LMI_E_NAME);
  EXPECT_TRUE(std::filesystem::exists(narrow(p.c_str())));
}
#endif

TEST_F(NamesAndPathsTest, EmptyAndOverlongEntryNamesAreInvalid) {
  std::u16string p = create();
  LMI_HANDLE h = open(p);
  ASSERT_EQ(put(h, "a.dat", pattern(10, 1)), 0);
  LMI_HANDLE other = open(create("other.kol"));
  const std::u16string overlong(LMI_MAX_NAME + 1, u'n');
  for (const std::u16string& bad : {std::u16string(), overlong}) {
    SCOPED_TRACE(bad.size());
    std::u16string a = u"a.dat";
    auto call = [&](const std::function<int32_t(KOCHAR*)>& f) {
      std::u16string copy = bad;
      return f(copy.data());
    };
    LMI_ENTRY_INFO info;
    LMI_ENTRY_INFO_EX info_ex;
    KOCHAR version[5];
    const std::pair<const char*, std::function<int32_t(KOCHAR*)>> calls[] = {
        {"open for writing",
         [&](KOCHAR* n) { return LMI_OpenEntry(h, n, LMI_ENTRY_WRITE, nullptr); }},
        {"open for reading",
         [&](KOCHAR* n) { return LMI_OpenEntry(h, n, LMI_ENTRY_READ, nullptr); }},
        {"exists", [&](KOCHAR* n) { return LMI_EntryExists(h, n); }},
        {"information", [&](KOCHAR* n) { return LMI_EntryInformation(h, n, &info); }},
        {"extended information", [&](KOCHAR* n) { return LMI_EntryInfoExtended(h, n, &info_ex); }},
        {"delete", [&](KOCHAR* n) { return LMI_DeleteEntry(h, n); }},
        {"modify", [&](KOCHAR* n) { return LMI_ModifyEntry(h, n, u"c"); }},
        {"set version", [&](KOCHAR* n) { return LMI_SetEntryVersion(h, n, u"0700"); }},
        {"get version", [&](KOCHAR* n) { return LMI_GetEntryVersion(h, n, version); }},
        {"copy from", [&](KOCHAR* n) { return LMI_CopyEntry(h, n, other, nullptr); }},
        {"copy to", [&](KOCHAR* n) { return LMI_CopyEntry(h, a.data(), other, n); }},
        {"move to", [&](KOCHAR* n) { return LMI_MoveEntry(h, a.data(), h, n); }},
        {"find", [&](KOCHAR* n) { return LMI_FindEntry(storage_, n, p.c_str()); }},
    };
    for (auto& [what, f] : calls) EXPECT_EQ(call(f), LMI_E_NAME) << what;
  }
  EXPECT_EQ(LMI_CloseLibrary(other), 0);
  EXPECT_EQ(get(h, "a.dat"), pattern(10, 1));
  EXPECT_EQ(LMI_CloseLibrary(h), 0);
  expect_sound(p);
}

}  // namespace

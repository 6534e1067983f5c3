// executable_test.cpp: libraries carried inside executables, found through
// the trailer, also behind a certificate table; resource files as entries.
#include "library_fixture.h"

#include <algorithm>
#include <cstring>
#include <map>

using namespace library_test;

namespace {

class ExecutableTest : public LibraryTest {};

TEST_F(ExecutableTest, BuildAppendFillAndReopen) {
  write_file("stub.exe", pe_stub(0));
  std::u16string exe = path("app.exe");
  ASSERT_EQ(LMI_CreateExecutable(storage_, exe.c_str(), path("stub.exe").c_str()), 0);
  EXPECT_EQ(LMI_CreateExecutable(storage_, exe.c_str(), nullptr), -2);
  LMI_HANDLE h = LMI_AppendExecutable(storage_, exe.c_str(), u"bundled");
  ASSERT_NE(h, nullptr);
  ASSERT_EQ(put(h, "report.txt", pattern(5000, 1)), 0);
  ASSERT_EQ(LMI_CloseExecutable(h), 0);
  EXPECT_EQ(LMI_CloseExecutable(nullptr), -6);
  Bytes image = file_bytes("app.exe");
  ASSERT_EQ(std::memcmp(image.data(), pe_stub(0).data(), 1024), 0) << "the stub stays as it was";
  ASSERT_EQ(std::memcmp(image.data() + image.size() - 512, "TRL*", 4), 0);
  EXPECT_EQ(u16_at(image, image.size() - 508), 1024);
  expect_sound(exe);

  // Reopened for writing: cut back to the trailer, which comes back at close.
  h = open(exe);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(get(h, "report.txt"), pattern(5000, 1));
  ASSERT_EQ(put(h, "notes.dat", pattern(700, 2)), 0);
  ASSERT_EQ(LMI_CloseLibrary(h), 0);
  h = open(exe, LMI_MODE_READ);
  EXPECT_EQ(get(h, "notes.dat"), pattern(700, 2));
  EXPECT_EQ(get(h, "report.txt"), pattern(5000, 1));
  LMI_CloseLibrary(h);
  expect_sound(exe);
  Bytes again = file_bytes("app.exe");
  EXPECT_EQ(std::memcmp(again.data() + again.size() - 512, "TRL*", 4), 0);
}

// Every kind of host keeps its library reachable through writes: a file that
// is no executable at all, an executable, and a signed one (whose signature
// no longer holds once the file changes: its certificate table goes and the
// directory entry announcing it is cleared). Signed before the library was
// added, or after.
TEST_F(ExecutableTest, EveryHostKeepsItsLibraryThroughWrites) {
  Bytes plain = pattern(1000, 9);
  plain[0] = 'Q';
  Bytes signed_stub = pe_stub(1000);
  signed_stub.insert(signed_stub.end(), 1000, 0xCE);
  struct Case {
    const char* what;
    Bytes host;
    bool sign_after;
    bool is_signed;
  };
  const Case cases[] = {
      {"a host that is no executable", plain, false, false},
      {"an executable", pe_stub(0), false, false},
      {"an executable signed after the library was added", pe_stub(0), true, true},
      {"an executable signed before the library was added", signed_stub, false, true},
  };
  const size_t security_entry = 0x80 + 24 + 112 + 8 * 4;
  int n = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string name = "host" + std::to_string(n++) + ".bin";
    write_file(name, c.host);
    std::u16string p = path(name);
    LMI_HANDLE h = LMI_AppendExecutable(storage_, p.c_str(), nullptr);
    ASSERT_NE(h, nullptr);
    ASSERT_EQ(put(h, "a.dat", pattern(3000, 1)), 0);
    ASSERT_EQ(LMI_CloseExecutable(h), 0);
    if (c.sign_after) sign_file(name, 1000);
    std::map<std::string, Bytes> entries{{"a.dat", pattern(3000, 1)}};
    // Read first, so that a fresh signature is found behind too, then written.
    for (int round = 0;; ++round) {
      h = open(p, LMI_MODE_READ);
      ASSERT_NE(h, nullptr) << "round " << round << ": the library is lost";
      for (auto& [e, data] : entries) EXPECT_EQ(get(h, e), data) << e;
      LMI_CloseLibrary(h);
      expect_sound(p);
      if (round == 2) break;
      std::string entry = "b" + std::to_string(round) + ".dat";
      h = open(p);
      ASSERT_NE(h, nullptr) << "round " << round;
      ASSERT_EQ(put(h, entry, pattern(1200, uint32_t(round))), 0);
      ASSERT_EQ(LMI_CloseLibrary(h), 0);
      entries[entry] = pattern(1200, uint32_t(round));
    }
    Bytes image = file_bytes(name);
    size_t kept = c.is_signed ? security_entry : c.host.size();
    EXPECT_TRUE(std::equal(c.host.begin(), c.host.begin() + long(kept), image.begin()))
        << "the host stays";
    if (c.is_signed) {
      for (size_t i = security_entry; i < security_entry + 8; ++i) EXPECT_EQ(image[i], 0) << i;
    }
    EXPECT_EQ(std::memcmp(image.data() + image.size() - 512, "TRL*", 4), 0);
  }
}

TEST_F(ExecutableTest, ResourceFilesBecomeEntries) {
  std::u16string p = create();
  LMI_HANDLE h = open(p);
  write_file("Logo.BMP", pattern(70000, 5));
  write_file("small.ico", pattern(30, 6));
  std::u16string logo = path("Logo.BMP"), small = path("small.ico"), missing = path("none.ico");
  const KOCHAR* files[] = {logo.c_str(), small.c_str()};
  EXPECT_EQ(LMI_CopyResourceFiles(h, files, 2), 2);
  EXPECT_EQ(get(h, "logo.bmp"), pattern(70000, 5));
  EXPECT_EQ(get(h, "small.ico"), pattern(30, 6));
  const KOCHAR* bad[] = {missing.c_str()};
  EXPECT_EQ(LMI_CopyResourceFiles(h, bad, 1), -3);
  LMI_CloseLibrary(h);
  expect_sound(p);
}

}  // namespace

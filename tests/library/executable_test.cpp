// executable_test.cpp: libraries carried inside executables, found through
// the trailer, also behind a certificate table; resource files as entries.
#include "library_fixture.h"

#include <cstring>

using namespace library_test;

namespace {

void put_u32(Bytes& b, size_t at, uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + size_t(i)] = uint8_t(v >> (8 * i));
}

// A minimal PE32+ image whose security directory announces `certificates` bytes.
Bytes pe_stub(uint32_t certificates) {
  Bytes b(1024, 0);
  b[0] = 'M';
  b[1] = 'Z';
  put_u32(b, 0x3C, 0x80);
  std::memcpy(b.data() + 0x80, "PE\0\0", 4);
  b[0x80 + 20] = 240;  // size of the optional header
  size_t optional = 0x80 + 24;
  b[optional] = 0x0B;
  b[optional + 1] = 0x02;
  put_u32(b, optional + 108, 16);  // data directories
  put_u32(b, optional + 112 + 8 * 4, 0x5000);
  put_u32(b, optional + 112 + 8 * 4 + 4, certificates);
  return b;
}

class ExecutableTest : public LibraryTest {
 protected:
  void write_file(const std::string& name, const Bytes& b) {
    std::ofstream(file(name), std::ios::binary).write(reinterpret_cast<const char*>(b.data()), std::streamsize(b.size()));
  }
};

TEST_F(ExecutableTest, BuildAppendFillAndReopen) {
  write_file("stub.exe", pe_stub(0));
  std::u16string exe = path("app.exe");
  ASSERT_EQ(LMI_CreateExecutable(pool_, exe.c_str(), path("stub.exe").c_str()), 0);
  EXPECT_EQ(LMI_CreateExecutable(pool_, exe.c_str(), nullptr), -2);
  LMI_HANDLE h = LMI_AppendExecutable(pool_, exe.c_str(), u"bundled");
  ASSERT_NE(h, nullptr);
  ASSERT_EQ(put(h, "w_main.srw", pattern(5000, 1)), 0);
  ASSERT_EQ(LMI_CloseExecutable(h), 0);
  Bytes image = file_bytes("app.exe");
  ASSERT_EQ(std::memcmp(image.data(), pe_stub(0).data(), 1024), 0) << "the stub stays as it was";
  ASSERT_EQ(std::memcmp(image.data() + image.size() - 512, "TRL*", 4), 0);
  EXPECT_EQ(image[image.size() - 508] | image[image.size() - 507] << 8, 1024);
  expect_sound(exe);

  // Reopened for writing: cut back to the trailer, which comes back at close.
  h = open(exe);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(get(h, "w_main.srw"), pattern(5000, 1));
  ASSERT_EQ(put(h, "d_two.srd", pattern(700, 2)), 0);
  ASSERT_EQ(LMI_CloseLibrary(h), 0);
  h = open(exe, LMI_MODE_READ);
  EXPECT_EQ(get(h, "d_two.srd"), pattern(700, 2));
  EXPECT_EQ(get(h, "w_main.srw"), pattern(5000, 1));
  LMI_CloseLibrary(h);
  expect_sound(exe);
  Bytes again = file_bytes("app.exe");
  EXPECT_EQ(std::memcmp(again.data() + again.size() - 512, "TRL*", 4), 0);
}

TEST_F(ExecutableTest, FoundBehindACertificateTable) {
  write_file("stub.exe", pe_stub(0));
  std::u16string exe = path("signed.exe");
  ASSERT_EQ(LMI_CreateExecutable(pool_, exe.c_str(), path("stub.exe").c_str()), 0);
  LMI_HANDLE h = LMI_AppendExecutable(pool_, exe.c_str(), nullptr);
  ASSERT_EQ(put(h, "a.srd", pattern(100, 3)), 0);
  ASSERT_EQ(LMI_CloseExecutable(h), 0);
  // Sign it: announce a 1000-byte certificate table and append it.
  Bytes image = file_bytes("signed.exe");
  Bytes header = pe_stub(1000);
  std::memcpy(image.data(), header.data(), header.size());
  image.insert(image.end(), 1000, 0xCE);
  write_file("signed.exe", image);
  h = open(exe, LMI_MODE_READ);
  ASSERT_NE(h, nullptr);
  EXPECT_EQ(get(h, "a.srd"), pattern(100, 3));
  LMI_CloseLibrary(h);
  EXPECT_EQ(LMI_CloseExecutable(nullptr), -6);
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

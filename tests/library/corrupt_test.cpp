// corrupt_test.cpp: truncated and damaged libraries give error codes and
// check findings, never a crash or a read outside the file.
#include "library_fixture.h"

#include <cstring>
#include <functional>

using namespace library_test;

namespace {

class CorruptTest : public LibraryTest {
 protected:
  // A library with one entry "a.dat" of 2000 bytes (its record first in the root).
  Bytes sound() {
    std::u16string p = create("sound.kol");
    LMI_HANDLE h = open(p);
    EXPECT_EQ(put(h, "a.dat", pattern(2000, 1)), 0);
    EXPECT_EQ(put(h, "b.dat", pattern(10, 2)), 0);
    LMI_CloseLibrary(h);
    return file_bytes("sound.kol");
  }
  void write(const Bytes& b) {
    write_file("bad.kol", b);
  }
};

constexpr size_t kRecord = 1536 + 32;

TEST_F(CorruptTest, DamageGivesCodesAndFindings) {
  struct Case {
    const char* what;
    std::function<void(Bytes&)> damage;
    bool opens;
    int32_t read_rc;  // reading a.dat, when the library opens
  } cases[] = {
      {"truncated header", [](Bytes& b) { b.resize(1000); }, false, 0},
      {"truncated root", [](Bytes& b) { b.resize(3000); }, false, 0},
      {"root magic", [](Bytes& b) { b[1536] = 'X'; }, false, 0},
      {"root free count", [](Bytes& b) { put_u32(b, 1536 + 16, 0xFFFF); }, false, 0},
      {"product name", [](Bytes& b) { b[6] = 'X'; }, false, 0},
      {"data link outside the file", [](Bytes& b) { put_u32(b, kRecord + 12, 0x7FFFFE00); }, true, -3},
      {"data link into the header", [](Bytes& b) { put_u32(b, kRecord + 12, 512); }, true, -3},
      {"data length too long", [](Bytes& b) { put_u32(b, kRecord + 16, 0x10000000); }, true, 0},
      {"cyclic chain", [](Bytes& b) {
         uint32_t first = u32_at(b, kRecord + 12);
         put_u32(b, first + 4, first);
         put_u32(b, kRecord + 16, 0x00100000);
       }, true, 0},
      {"bitmap chain loop", [](Bytes& b) { put_u32(b, 1024 + 4, 1024); }, true, 0},
      {"child link to nowhere", [](Bytes& b) { put_u32(b, 1536 + 4, 0x7FFFF000); }, true, 0},
  };
  Bytes good = sound();
  for (const Case& c : cases) {
    Bytes b = good;
    c.damage(b);
    write(b);
    std::u16string p = path("bad.kol");
    LMI_HANDLE h = open(p, LMI_MODE_READ);
    EXPECT_EQ(h != nullptr, c.opens) << c.what;
    if (h) {
      int32_t rc;
      get(h, "a.dat", &rc);
      if (c.read_rc) {
        EXPECT_EQ(rc, c.read_rc) << c.what;
      }
      LMI_LIST_ITEM* items = nullptr;
      int32_t count = LMI_ListEntriesExtended(h, storage_, &items);
      kostg_fee(storage_, items);
      EXPECT_LE(count, 2) << c.what;
      LMI_CloseLibrary(h);
      // Writing into it must not crash either, and must not make it worse to read.
      h = open(p);
      if (h) {
        put(h, "c.dat", pattern(700, 3));
        std::u16string b_name = u"b.dat";
        LMI_DeleteEntry(h, b_name.data());
        LMI_CloseLibrary(h);
      }
    }
    EXPECT_FALSE(check(p).empty()) << c.what << ": check found nothing";
  }
}

TEST_F(CorruptTest, CheckNamesWhatIsWrong) {
  Bytes good = sound();
  struct Case {
    const char* what;
    std::function<void(Bytes&)> damage;
    const char* finding;
    int severity;
  } cases[] = {
      {"a leaked block", [](Bytes& b) { b.resize(b.size() + 512, 0); b[1032 + 3] |= 0x01; }, "marked used but nothing", LMI_CHECK_LEAKED},
      {"a used block marked free", [](Bytes& b) { b[1033] &= 0x7F; }, "in use but marked free", LMI_CHECK_DAMAGE},
      {"a short chain", [](Bytes& b) { put_u32(b, kRecord + 16, 2100); }, "the chain holds", LMI_CHECK_DAMAGE},
  };
  for (const Case& c : cases) {
    Bytes b = good;
    c.damage(b);
    write(b);
    auto findings = check(path("bad.kol"));
    bool seen = false;
    for (auto& f : findings) seen |= f.second.find(c.finding) != std::string::npos && f.first == c.severity;
    EXPECT_TRUE(seen) << c.what << ": " << (findings.empty() ? "nothing" : findings[0].second);
  }
  EXPECT_EQ(LMI_CheckLibrary(storage_, nullptr, nullptr, nullptr), -10);
  EXPECT_EQ(LMI_CheckLibrary(storage_, path("missing.kol").c_str(), nullptr, nullptr), -6);
}

}  // namespace

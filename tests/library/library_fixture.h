// library_fixture.h: the storage fixture with a scratch folder, and helpers
// that put and get whole entries, shared by the library tests.
#ifndef KOSHR_TESTS_LIBRARY_FIXTURE_H
#define KOSHR_TESTS_LIBRARY_FIXTURE_H

#include <gtest/gtest.h>
#include <koshr/library.h>

#include <cstring>
#include <string>
#include <vector>

#include "platform/byte_order.h"
#include "scratch_folder.h"
#include "storage_fixture.h"

namespace library_test {

inline std::u16string u16(const std::string& s) {
  std::u16string out;
  for (unsigned char c : s) out += char16_t(c);
  return out;
}
inline std::string narrow(const KOCHAR* s) {
  std::string out;
  for (; s && *s; ++s) out += char(*s);
  return out;
}

using Bytes = std::vector<uint8_t>;

inline Bytes pattern(size_t size, uint32_t seed) {
  Bytes b(size);
  uint32_t x = seed * 2654435761u + 1;
  for (auto& v : b) {
    x = x * 1103515245u + 12345u;
    v = uint8_t(x >> 16);
  }
  return b;
}

// The little-endian fields of a file's bytes.
inline uint16_t u16_at(const Bytes& b, size_t at) { return ko::load_le16(&b[at]); }
inline uint32_t u32_at(const Bytes& b, size_t at) { return ko::load_le32(&b[at]); }
inline void put_u32(Bytes& b, size_t at, uint32_t v) { ko::store_le32(&b[at], v); }

// A minimal PE32+ image whose security directory announces `certificates` bytes.
inline Bytes pe_stub(uint32_t certificates) {
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

class LibraryTest : public ko_test::StorageTest {
 protected:
  std::string file(const std::string& name) const { return folder_.file(name).string(); }
  std::u16string path(const std::string& name) const { return u16(file(name)); }

  // Creates name.kol with an optional comment; returns the path of the file.
  std::u16string create(const std::string& name = "lib.kol", const std::u16string& comment = u"") {
    std::u16string p = path(name);
    EXPECT_EQ(LMI_CreateLibrary(storage_, p.data(), comment.c_str()), 0);
    return p;
  }
  LMI_HANDLE open(const std::u16string& p, int mode = LMI_MODE_READWRITE) {
    return LMI_OpenLibrary(storage_, p.c_str(), mode, 0);
  }

  static int32_t put(LMI_HANDLE lib, const std::string& name, const Bytes& data, const std::u16string& comment = u"") {
    std::u16string n = u16(name);
    int32_t rc = LMI_OpenEntry(lib, n.data(), LMI_ENTRY_WRITE, comment.c_str());
    if (rc) return rc;
    int32_t wrote = data.empty() ? 0 : LMI_WriteEntry(lib, data.data(), uint32_t(data.size()));
    int32_t closed = LMI_CloseEntry(lib);
    return wrote < 0 ? wrote : closed;
  }
  // The object bytes of an entry, or the error code in *rc.
  static Bytes get(LMI_HANDLE lib, const std::string& name, int32_t* rc = nullptr) {
    std::u16string n = u16(name);
    Bytes out;
    int32_t r = LMI_OpenEntry(lib, n.data(), LMI_ENTRY_READ, nullptr);
    if (r == 0) {
      uint8_t chunk[1000];
      int32_t got;
      while ((got = LMI_ReadEntry(lib, chunk, sizeof chunk)) > 0) out.insert(out.end(), chunk, chunk + got);
      if (got < 0) r = got;
      LMI_CloseEntry(lib);
    }
    if (rc) *rc = r;
    return out;
  }
  void write_file(const std::string& name, const Bytes& b) const {
    ko_test::write_bytes(folder_.file(name), std::string(b.begin(), b.end()));
  }
  // Signs an executable made from pe_stub: its header announces a
  // certificate table of that size, which is appended.
  void sign_file(const std::string& name, uint32_t certificates) const {
    Bytes image = file_bytes(name);
    Bytes header = pe_stub(certificates);
    std::memcpy(image.data(), header.data(), header.size());
    image.insert(image.end(), certificates, 0xCE);
    write_file(name, image);
  }
  Bytes file_bytes(const std::string& name) const {
    const std::string bytes = ko_test::read_bytes(folder_.file(name));
    return Bytes(bytes.begin(), bytes.end());
  }
  // Findings of LMI_CheckLibrary: (severity, text).
  std::vector<std::pair<int, std::string>> check(const std::u16string& p) {
    std::vector<std::pair<int, std::string>> findings;
    int32_t rc = LMI_CheckLibrary(storage_, p.c_str(),
                                  [](void* ctx, int severity, const char* text) {
                                    static_cast<std::vector<std::pair<int, std::string>>*>(ctx)->push_back(
                                        {severity, text});
                                  },
                                  &findings);
    if (rc < 0) findings.push_back({LMI_CHECK_DAMAGE, "check failed: " + std::to_string(rc)});
    return findings;
  }
  void expect_sound(const std::u16string& p) {
    auto findings = check(p);
    for (auto& f : findings) ADD_FAILURE() << f.second;
  }

  ko_test::ScratchFolder folder_{"lib"};
};

}  // namespace library_test

#endif

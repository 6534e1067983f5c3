// Reading a data blob back: start positions, the round trip of every value
// type against a golden file, each reader's bound (GetULong's short one
// included), the character flag, strings and nested blobs, the used size an
// iterator keeps, its reference on the blob, and null arguments.
#include <koshr/datablob.h>

#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <vector>

#include "test_support.h"

namespace {

std::vector<uint8_t> golden() {
  std::ifstream in(KOSHR_TEST_DATA "/containers/datablob_values.bin", std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A blob holding exactly `bytes` (header included), loaded by a block write.
SH_MI_DATA_BLOB* blob_of(const std::vector<uint8_t>& bytes) {
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  shmi_DataBlob_SetSize(blob, 0);
  std::memcpy(shmi_DataBlob_DoingBlockWrite(blob, uint32_t(bytes.size())), bytes.data(), bytes.size());
  shmi_DataBlob_Advance(blob, uint32_t(bytes.size()));
  return blob;
}

// A header followed by `values`.
SH_MI_DATA_BLOB* blob_with(std::vector<uint8_t> values, uint8_t char_flag = 1) {
  std::vector<uint8_t> bytes = {0x00, 0x0A, 'M', 'I', 'B', 'L', 'O', 'B', 0x00, char_flag};
  bytes.insert(bytes.end(), values.begin(), values.end());
  return blob_of(bytes);
}

struct IteratorTest : StorageTest {
  void TearDown() override {
    for (SH_IMI_BLOB_ITER* it : iterators) shmi_DataIter_Release(it);
    for (SH_MI_DATA_BLOB* b : blobs) shmi_DataBlob_Release(b);
    StorageTest::TearDown();
  }
  SH_IMI_BLOB_ITER* iterate(SH_MI_DATA_BLOB* blob) {
    blobs.push_back(blob);
    iterators.push_back(shmi_DataBlob_GetDataIterator(blob));
    return iterators.back();
  }
  std::vector<SH_MI_DATA_BLOB*> blobs;
  std::vector<SH_IMI_BLOB_ITER*> iterators;
};

TEST_F(IteratorTest, StartsBehindTheHeaderOnlyWhenValuesFollow) {
  SH_IMI_BLOB_ITER* empty = iterate(shmi_CreateDataBlob());
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(empty), 0u);
  EXPECT_EQ(shmi_DataIter_GetSize(empty), 10u);
  SH_IMI_BLOB_ITER* one = iterate(blob_with({0x42}));
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(one), 10u);
  EXPECT_EQ(shmi_DataIter_GetSize(one), 11u);
  shmi_DataIter_Advance(one, 1);
  EXPECT_EQ(shmi_DataIter_Reset(one), SHMI_S_OK);
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(one), 10u);
}

TEST_F(IteratorTest, EveryValueTypeRoundTripsThroughTheGoldenBytes) {
  SH_MI_DATA_BLOB* written = shmi_CreateDataBlob();
  blobs.push_back(written);
  KODECIMAL decimal{0, 4, KODECIMAL_NEGATIVE, 0, 1234567};
  KODATETIME when{250000, 124, 1, 29, 13, 45, 7, 0};
  const uint8_t nested[] = {3, 0, 0, 0, 1, 2, 3};
  shmi_DataBlob_addByte(written, 0x7F);
  shmi_DataBlob_addBool(written, 1);
  shmi_DataBlob_addUShort(written, 0xBEEF);
  shmi_DataBlob_addShort(written, -300);
  shmi_DataBlob_addULong(written, 4000000000u);
  shmi_DataBlob_addLong(written, -123456);
  shmi_DataBlob_addFloat(written, -0.25f);
  shmi_DataBlob_addDouble(written, 3.141592653589793);
  shmi_DataBlob_addChar(written, u'\u03A9');
  shmi_DataBlob_addString(written, u"Hi");
  shmi_DataBlob_addString(written, nullptr);
  shmi_DataBlob_addDecimal(written, &decimal);
  shmi_DataBlob_addShBlob(written, nested);
  shmi_DataBlob_addBytes(written, "XYZ", 3);
  shmi_DataBlob_addDateTime(written, &when);
  std::vector<uint8_t> expected = golden();
  ASSERT_EQ(expected.size(), 89u);
  ASSERT_EQ(shmi_DataBlob_GetSize(written), expected.size());
  EXPECT_EQ(std::memcmp(written->GetBuffer(), expected.data(), expected.size()), 0);

  SH_IMI_BLOB_ITER* it = iterate(blob_of(expected));
  uint8_t byte = 0;
  int flag = 0;
  uint16_t ushort = 0;
  int16_t sshort = 0;
  uint32_t ulong = 0;
  int32_t slong = 0;
  float single = 0;
  double real = 0;
  KOCHAR unit = 0;
  KOCHAR* text = nullptr;
  KOCHAR sentinel[] = u"sentinel";
  KOCHAR* no_text = sentinel;
  KODECIMAL dec{};
  void* inner = nullptr;
  char raw[3];
  KODATETIME dt{};
  ASSERT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetBool(it, &flag), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetUShort(it, &ushort), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetShort(it, &sshort), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetULong(it, &ulong), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetLong(it, &slong), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetFloat(it, &single), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetDouble(it, &real), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetChar(it, &unit), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetString(it, context, pool, &text), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetString(it, context, pool, &no_text), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetDecimal(it, &dec), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetShBlob(it, context, pool, &inner), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetBytes(it, raw, 3), SHMI_S_OK);
  ASSERT_EQ(shmi_DataIter_GetDateTime(it, &dt), SHMI_S_OK);
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), 89u);
  EXPECT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_E_NODATA);

  EXPECT_EQ(byte, 0x7F);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(ushort, 0xBEEF);
  EXPECT_EQ(sshort, -300);
  EXPECT_EQ(ulong, 4000000000u);
  EXPECT_EQ(slong, -123456);
  EXPECT_EQ(single, -0.25f);
  EXPECT_EQ(real, 3.141592653589793);
  EXPECT_EQ(unit, u'\u03A9');
  EXPECT_EQ(narrow(text), "Hi");
  EXPECT_EQ(no_text, nullptr);
  EXPECT_EQ(std::memcmp(&dec, &decimal, sizeof dec), 0);
  EXPECT_EQ(std::memcmp(inner, nested, sizeof nested), 0);
  EXPECT_EQ(std::string(raw, 3), "XYZ");
  EXPECT_EQ(std::memcmp(&dt, &when, sizeof dt), 0);
}

// Each reader against the bytes left before the end: enough, or one short.
TEST_F(IteratorTest, ReadersNeedTheirBytesAndReadNothingWithoutThem) {
  using Read = std::function<int32_t(SH_IMI_BLOB_ITER*)>;
  struct Case {
    const char* name;
    Read read;
    uint32_t needs;     // bytes the bound asks for
    uint32_t advances;  // bytes the position moves on success
  };
  uint8_t b;
  int flag;
  int16_t s;
  uint16_t us;
  int32_t l;
  uint32_t ul;
  float f;
  double d;
  KOCHAR c;
  KODECIMAL dec;
  KODATETIME dt;
  char raw[5];
  const Case cases[] = {
      {"byte", [&](auto it) { return shmi_DataIter_GetByte(it, &b); }, 1, 1},
      {"bool", [&](auto it) { return shmi_DataIter_GetBool(it, &flag); }, 1, 1},
      {"short", [&](auto it) { return shmi_DataIter_GetShort(it, &s); }, 2, 2},
      {"ushort", [&](auto it) { return shmi_DataIter_GetUShort(it, &us); }, 2, 2},
      {"long", [&](auto it) { return shmi_DataIter_GetLong(it, &l); }, 4, 4},
      {"ulong asks for only two", [&](auto it) { return shmi_DataIter_GetULong(it, &ul); }, 2, 4},
      {"float", [&](auto it) { return shmi_DataIter_GetFloat(it, &f); }, 4, 4},
      {"double", [&](auto it) { return shmi_DataIter_GetDouble(it, &d); }, 8, 8},
      {"char", [&](auto it) { return shmi_DataIter_GetChar(it, &c); }, 2, 2},
      {"decimal", [&](auto it) { return shmi_DataIter_GetDecimal(it, &dec); }, 16, 16},
      {"datetime", [&](auto it) { return shmi_DataIter_GetDateTime(it, &dt); }, 11, 11},
      {"bytes", [&](auto it) { return shmi_DataIter_GetBytes(it, raw, 5); }, 5, 5},
      {"advance", [&](auto it) { return shmi_DataIter_Advance(it, 3); }, 3, 3},
  };
  for (const Case& c : cases) {
    for (uint32_t left : {c.needs - 1, c.needs}) {
      SCOPED_TRACE(std::string(c.name) + ", bytes left " + std::to_string(left));
      SH_IMI_BLOB_ITER* it = iterate(blob_with(std::vector<uint8_t>(20, 0x11)));
      ASSERT_EQ(shmi_DataIter_MoveTo(it, 30 - left), left ? SHMI_S_OK : SHMI_E_NODATA);
      if (left == 0) shmi_DataIter_Advance(it, 20);
      uint32_t before = shmi_DataIter_GetCurrentPosition(it);
      EXPECT_EQ(c.read(it), left < c.needs ? SHMI_E_NODATA : SHMI_S_OK);
      EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), before + (left < c.needs ? 0 : c.advances));
    }
  }
}

TEST_F(IteratorTest, ULongWithTwoBytesLeftTakesZerosBeyondTheEnd) {
  SH_IMI_BLOB_ITER* it = iterate(blob_with({0x12, 0x34}));
  uint32_t value = 0;
  uint8_t byte;
  EXPECT_EQ(shmi_DataIter_GetULong(it, &value), SHMI_S_OK);
  EXPECT_EQ(value, 0x12340000u);
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), 14u);
  EXPECT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_E_NODATA);
  EXPECT_EQ(shmi_DataIter_MoveTo(it, 11), SHMI_S_OK);
  EXPECT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_S_OK);
  EXPECT_EQ(byte, 0x34);
}

TEST_F(IteratorTest, MoveToStaysBelowTheUsedSize) {
  SH_IMI_BLOB_ITER* it = iterate(blob_with({1, 2, 3}));
  struct Case {
    uint32_t position;
    int32_t status;
    uint32_t after;
  };
  for (const Case c : {Case{0, SHMI_S_OK, 0}, Case{12, SHMI_S_OK, 12}, Case{13, SHMI_E_NODATA, 12},
                       Case{0xFFFFFFFF, SHMI_E_NODATA, 12}}) {
    EXPECT_EQ(shmi_DataIter_MoveTo(it, c.position), c.status) << c.position;
    EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), c.after);
  }
  EXPECT_EQ(*shmi_DataIter_GetBlockPointer(it), 3);
}

TEST_F(IteratorTest, BoolIsTrueOnlyForOne) {
  SH_IMI_BLOB_ITER* it = iterate(blob_with({0, 1, 2, 0xFF}));
  std::vector<int> seen;
  for (int value = -1; shmi_DataIter_GetBool(it, &value) == SHMI_S_OK;) seen.push_back(value);
  EXPECT_EQ(seen, (std::vector<int>{0, 1, 0, 0}));
}

TEST_F(IteratorTest, CharactersNeedTheCharacterFlag) {
  SH_IMI_BLOB_ITER* it = iterate(blob_with({0, 0, 0, 1, 0, 0}, 0));
  KOCHAR c = 0;
  KOCHAR* text = nullptr;
  uint16_t us = 0;
  EXPECT_EQ(shmi_DataIter_GetChar(it, &c), SHMI_E_NOCHARS);
  EXPECT_EQ(shmi_DataIter_GetString(it, context, pool, &text), SHMI_E_NOCHARS);
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), 10u);
  EXPECT_EQ(shmi_DataIter_GetUShort(it, &us), SHMI_S_OK) << "other readers do not care";
}

TEST_F(IteratorTest, StringsAndNestedBlobsCheckTheirLength) {
  struct Case {
    const char* name;
    std::vector<uint8_t> values;
    int32_t status;
    const char* text;  // narrowed result, "-" for null
  };
  const Case cases[] = {
      {"terminated", {0, 0, 0, 2, 0, 'x', 0, 0}, SHMI_S_OK, "x"},
      {"stored without terminator", {0, 0, 0, 2, 0, 'x', 0, 'y'}, SHMI_S_OK, "xy"},
      {"count zero", {0, 0, 0, 0}, SHMI_S_OK, ""},
      {"null string", {0xFF, 0xFF, 0xFF, 0xFF}, SHMI_S_OK, "-"},
      {"one unit short", {0, 0, 0, 3, 0, 'x', 0, 0}, SHMI_E_NODATA, "-"},
      {"huge count", {0x7F, 0xFF, 0xFF, 0xFF, 0, 'x'}, SHMI_E_NODATA, "-"},
      {"count cut off", {0, 0, 0}, SHMI_E_NODATA, "-"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    for (KostgContext* where : {context, static_cast<KostgContext*>(nullptr)}) {
      SH_IMI_BLOB_ITER* it = iterate(blob_with(c.values));
      KOCHAR sentinel[] = u"sentinel";
      KOCHAR* text = sentinel;
      EXPECT_EQ(shmi_DataIter_GetString(it, where, pool, &text), c.status);
      EXPECT_EQ(narrow(text), c.text);
      EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), c.status ? 10u : 10u + uint32_t(c.values.size()));
      if (!where) kostg_fee(context, text);
    }
  }
  struct BlobCase {
    std::vector<uint8_t> values;
    int32_t status;
    uint32_t length;
  };
  for (const BlobCase& c : {BlobCase{{0, 0, 0, 2, 7, 8}, SHMI_S_OK, 2}, BlobCase{{0, 0, 0, 0}, SHMI_S_OK, 0},
                            BlobCase{{0, 0, 0, 3, 7, 8}, SHMI_E_NODATA, 0},
                            BlobCase{{0xFF, 0xFF, 0xFF, 0xFF}, SHMI_E_NODATA, 0}}) {
    SH_IMI_BLOB_ITER* it = iterate(blob_with(c.values));
    void* block = nullptr;
    EXPECT_EQ(shmi_DataIter_GetShBlob(it, nullptr, nullptr, &block), c.status);
    ASSERT_EQ(block != nullptr, c.status == SHMI_S_OK);
    if (!block) continue;
    uint32_t length;
    std::memcpy(&length, block, 4);
    EXPECT_EQ(length, c.length);
    EXPECT_EQ(std::memcmp(static_cast<uint8_t*>(block) + 4, c.values.data() + 4, length), 0);
    kostg_fee(context, block);
  }
}

TEST_F(IteratorTest, KeepsTheSizeItSawAndAReferenceOnTheBlob) {
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  shmi_DataBlob_addByte(blob, 1);
  SH_IMI_BLOB_ITER* it = nullptr;
  ASSERT_EQ(shmi_DataBlob_GetBlobIterator(blob, &it), SHMI_S_OK);
  iterators.push_back(it);
  EXPECT_EQ(it->GetBlob(), static_cast<SH_IMI_BLOB*>(blob));
  std::vector<uint8_t> more(9000, 2);
  shmi_DataBlob_addBytes(blob, more.data(), uint32_t(more.size()));  // moves the buffer
  EXPECT_EQ(shmi_DataIter_GetSize(it), 11u);
  EXPECT_EQ(shmi_DataBlob_Release(blob), 1u) << "the iterator still holds the blob";
  uint8_t byte = 0;
  EXPECT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_S_OK);
  EXPECT_EQ(byte, 1);
  EXPECT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_E_NODATA);
}

TEST_F(IteratorTest, QueryInterfaceOffersTheIteratorAndUnknownOnly) {
  SH_IMI_BLOB_ITER* it = iterate(shmi_CreateDataBlob());
  void* object = nullptr;
  EXPECT_EQ(it->QueryInterface(IID_SH_IMI_BLOB_ITER, &object), SHMI_S_OK);
  EXPECT_EQ(object, it);
  EXPECT_EQ(shmi_DataIter_Release(it), 1u);
  EXPECT_EQ(it->QueryInterface(IID_SH_IMI_BLOB, &object), SHMI_E_NOINTERFACE);
  EXPECT_EQ(object, nullptr);
  EXPECT_EQ(shmi_DataIter_AddRef(it), 2u);
  EXPECT_EQ(shmi_DataIter_Release(it), 1u);
}

TEST_F(IteratorTest, NullArgumentsAreRefused) {
  SH_IMI_BLOB_ITER* it = iterate(blob_with(std::vector<uint8_t>(32, 0)));
  using Call = std::function<int32_t(SH_IMI_BLOB_ITER*)>;
  const std::vector<std::pair<const char*, Call>> readers = {
      {"char", [](auto i) { return shmi_DataIter_GetChar(i, nullptr); }},
      {"string", [](auto i) { return shmi_DataIter_GetString(i, nullptr, nullptr, nullptr); }},
      {"byte", [](auto i) { return shmi_DataIter_GetByte(i, nullptr); }},
      {"bool", [](auto i) { return shmi_DataIter_GetBool(i, nullptr); }},
      {"short", [](auto i) { return shmi_DataIter_GetShort(i, nullptr); }},
      {"ushort", [](auto i) { return shmi_DataIter_GetUShort(i, nullptr); }},
      {"long", [](auto i) { return shmi_DataIter_GetLong(i, nullptr); }},
      {"ulong", [](auto i) { return shmi_DataIter_GetULong(i, nullptr); }},
      {"float", [](auto i) { return shmi_DataIter_GetFloat(i, nullptr); }},
      {"double", [](auto i) { return shmi_DataIter_GetDouble(i, nullptr); }},
      {"decimal", [](auto i) { return shmi_DataIter_GetDecimal(i, nullptr); }},
      {"shblob", [](auto i) { return shmi_DataIter_GetShBlob(i, nullptr, nullptr, nullptr); }},
      {"bytes", [](auto i) { return shmi_DataIter_GetBytes(i, nullptr, 1); }},
      {"datetime", [](auto i) { return shmi_DataIter_GetDateTime(i, nullptr); }},
      {"reset", [](auto i) { return shmi_DataIter_Reset(i); }},
      {"moveto", [](auto i) { return shmi_DataIter_MoveTo(i, 10); }},
      {"advance", [](auto i) { return shmi_DataIter_Advance(i, 0); }},
  };
  for (const auto& [name, call] : readers) {
    SCOPED_TRACE(name);
    EXPECT_EQ(call(nullptr), SHMI_E_POINTER) << "null iterator";
    if (std::string(name) != "reset" && std::string(name) != "moveto" && std::string(name) != "advance") {
      EXPECT_EQ(call(it), SHMI_E_POINTER) << "null output";
      EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), 10u);
    }
  }
  EXPECT_EQ(shmi_DataIter_GetBytes(it, nullptr, 0), SHMI_S_OK) << "nothing to copy";
  EXPECT_EQ(shmi_DataIter_AddRef(nullptr), 0u);
  EXPECT_EQ(shmi_DataIter_Release(nullptr), 0u);
  EXPECT_EQ(shmi_DataIter_GetSize(nullptr), 0u);
  EXPECT_EQ(shmi_DataIter_GetCurrentPosition(nullptr), 0u);
  EXPECT_EQ(shmi_DataIter_GetBlockPointer(nullptr), nullptr);
  EXPECT_EQ(shmi_DataBlob_GetBlobIterator(blobs[0], nullptr), SHMI_E_POINTER);
}

}  // namespace

// The data blob's writing side: the header, each value type's bytes (read
// back through an iterator), growth, block writes, SetSize and Reset,
// references, QueryInterface, the slot order and null blobs.
#include <koshr/datablob.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <vector>

#include "test_support.h"

namespace {

std::string hex(const uint8_t* bytes, size_t size) {
  std::string out;
  char two[4];
  for (size_t i = 0; i < size; ++i) out += (std::snprintf(two, sizeof two, i ? " %02X" : "%02X", bytes[i]), two);
  return out;
}

std::string values_hex(SH_MI_DATA_BLOB* blob) {  // the bytes behind the header
  return hex(blob->GetBuffer() + 10, shmi_DataBlob_GetSize(blob) - 10);
}

struct BlobTest : StorageTest {
  void TearDown() override {
    EXPECT_EQ(shmi_DataBlob_Release(blob), 0u);
    StorageTest::TearDown();
  }
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
};

// A value written by add<Type>, its bytes, read back equal by Get<Type>.
#define SCALAR(Type, CType, value, bytes)                                   \
  Case {                                                                    \
    #Type, [](auto b) { shmi_DataBlob_add##Type(b, value); }, bytes,         \
        [](auto it) { CType v; return !shmi_DataIter_Get##Type(it, &v) && v == CType(value); } \
  }

TEST_F(BlobTest, EachValueTypeHasItsBytesAndReadsBack) {
  const uint8_t nested[] = {3, 0, 0, 0, 0xAA, 0xBB, 0xCC};  // native length 3
  KODECIMAL decimal{0, 2, KODECIMAL_NEGATIVE, 0x01020304, 0x1122334455667788ull};
  KODATETIME when{123456, 124, 11, 31, 23, 59, 58, 0};
  using Write = std::function<void(SH_MI_DATA_BLOB*)>;
  using Read = std::function<bool(SH_IMI_BLOB_ITER*)>;
  struct Case {
    const char* name;
    Write write;
    const char* bytes;
    Read reads_back;
  };
  auto text_is = [this](SH_IMI_BLOB_ITER* it, const char* expected) {
    KOCHAR* text = nullptr;
    return !shmi_DataIter_GetString(it, storage_, subpool_, &text) && narrow(text) == expected;
  };
  const Case cases[] = {
      SCALAR(Byte, uint8_t, 0xFE, "FE"),
      SCALAR(Bool, int, 1, "01"),
      {"bool from any non-zero", [](auto b) { shmi_DataBlob_addBool(b, 7); }, "01",
       [](auto it) { int v; return !shmi_DataIter_GetBool(it, &v) && v == 1; }},
      SCALAR(UShort, uint16_t, 0x1234, "12 34"),
      SCALAR(Short, int16_t, -2, "FF FE"),
      SCALAR(ULong, uint32_t, 0xDEADBEEF, "DE AD BE EF"),
      SCALAR(Long, int32_t, -1, "FF FF FF FF"),
      SCALAR(Float, float, 1.5f, "3F C0 00 00"),
      SCALAR(Double, double, -2.0, "C0 00 00 00 00 00 00 00"),
      SCALAR(Char, KOCHAR, u'\u20AC', "20 AC"),
      {"string", [](auto b) { shmi_DataBlob_addString(b, u"ab"); }, "00 00 00 03 00 61 00 62 00 00",
       [&](auto it) { return text_is(it, "ab"); }},
      {"null string", [](auto b) { shmi_DataBlob_addString(b, nullptr); }, "FF FF FF FF",
       [&](auto it) { return text_is(it, "-"); }},
      {"decimal", [&](auto b) { shmi_DataBlob_addDecimal(b, &decimal); },
       "00 00 80 02 03 04 01 02 77 88 55 66 33 44 11 22",
       [&](auto it) { KODECIMAL v; return !shmi_DataIter_GetDecimal(it, &v) && !std::memcmp(&v, &decimal, 16); }},
      {"nested blob", [&](auto b) { shmi_DataBlob_addShBlob(b, nested); }, "00 00 00 03 AA BB CC",
       [&](auto it) {
         void* v = nullptr;
         return !shmi_DataIter_GetShBlob(it, storage_, subpool_, &v) && !std::memcmp(v, nested, sizeof nested);
       }},
      {"null nested blob", [](auto b) { shmi_DataBlob_addShBlob(b, nullptr); }, "00 00 00 00",
       [&](auto it) { void* v = nullptr; return !shmi_DataIter_GetShBlob(it, nullptr, nullptr, &v) && (kostg_fee(storage_, v), true); }},
      {"bytes", [](auto b) { shmi_DataBlob_addBytes(b, "xyz", 3); }, "78 79 7A",
       [](auto it) { char v[3]; return !shmi_DataIter_GetBytes(it, v, 3) && !std::memcmp(v, "xyz", 3); }},
      {"datetime", [&](auto b) { shmi_DataBlob_addDateTime(b, &when); }, "00 01 E2 40 00 7C 0B 1F 17 3B 3A",
       [&](auto it) { KODATETIME v; return !shmi_DataIter_GetDateTime(it, &v) && !std::memcmp(&v, &when, 12); }},
      {"nothing to write",
       [](auto b) {
         shmi_DataBlob_addBytes(b, "xyz", 0);
         shmi_DataBlob_addBytes(b, nullptr, 5);
         shmi_DataBlob_addDecimal(b, nullptr);
         shmi_DataBlob_addDateTime(b, nullptr);
       },
       "", [](auto it) { return shmi_DataIter_GetSize(it) == 10; }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    SH_MI_DATA_BLOB* fresh = shmi_CreateDataBlob();
    c.write(fresh);
    EXPECT_EQ(values_hex(fresh), c.bytes);
    SH_IMI_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(fresh);
    EXPECT_TRUE(c.reads_back(it));
    EXPECT_EQ(shmi_DataIter_GetCurrentPosition(it), shmi_DataBlob_GetSize(fresh) > 10 ? shmi_DataBlob_GetSize(fresh) : 0);
    shmi_DataIter_Release(it);
    shmi_DataBlob_Release(fresh);
  }
  blob->addUShort(0x1234);  // the member writes are the same writes
  blob->addString(u"a");
  EXPECT_EQ(values_hex(blob), "12 34 00 00 00 02 00 61 00 00");
}

TEST_F(BlobTest, CapacityGrowsInStepsOf8192OnceAWriteReachesIt) {
  std::vector<uint8_t> data(20000, 0x5A);
  for (auto [bytes, capacity] : {std::pair{4085u, 4096u}, {4086u, 12288u}, {5000u, 12288u},
                                 {12278u, 12288u}, {20000u, 20480u}}) {
    SH_MI_DATA_BLOB* fresh = shmi_CreateDataBlob();
    shmi_DataBlob_addBytes(fresh, data.data(), bytes);
    EXPECT_EQ(fresh->GetCapacity(), capacity) << bytes;
    EXPECT_EQ(shmi_DataBlob_GetSize(fresh), 10 + bytes);
    EXPECT_TRUE(10 + bytes == capacity || fresh->GetBuffer()[10 + bytes] == 0) << "zero-filled";
    shmi_DataBlob_Release(fresh);
  }
}

TEST_F(BlobTest, ReservationsBlockWritesSetSizeAndReset) {
  EXPECT_EQ(hex(blob->GetBuffer(), shmi_DataBlob_GetSize(blob)), "00 0A 4D 49 42 4C 4F 42 00 01")
      << "the header alone";
  EXPECT_EQ(shmi_DataBlob_Reserve(blob, 2), 12u);
  EXPECT_EQ(shmi_DataBlob_Reserve(blob, 1), 12u) << "already reserved";
  uint8_t* at = shmi_DataBlob_DoingBlockWrite(blob, 3);
  ASSERT_EQ(at, blob->GetBuffer() + 10);
  std::memcpy(at, "abc", 3);
  EXPECT_EQ(shmi_DataBlob_Advance(blob, 3), SHMI_S_OK);
  EXPECT_EQ(shmi_DataBlob_Advance(blob, 2), SHMI_S_OK) << "skipped bytes are zero";
  shmi_DataBlob_addByte(blob, 'd');
  EXPECT_EQ(values_hex(blob), "61 62 63 00 00 64");
  EXPECT_EQ(shmi_DataBlob_SetSize(blob, 12), SHMI_S_OK);
  shmi_DataBlob_addByte(blob, 'e');
  EXPECT_EQ(shmi_DataBlob_SetSize(blob, 15), SHMI_S_OK);
  EXPECT_EQ(values_hex(blob), "61 62 65 00 00") << "the cut bytes come back as zeros";
  EXPECT_EQ(shmi_DataBlob_Reset(blob), SHMI_S_OK);
  shmi_DataBlob_addByte(blob, 'f');
  EXPECT_EQ(values_hex(blob), "66 62 65 00 00") << "Reset keeps the used size";
  EXPECT_EQ(shmi_DataBlob_SetSize(blob, 9000), SHMI_S_OK);
  EXPECT_EQ(blob->GetCapacity(), 12288u);
  EXPECT_EQ(shmi_DataBlob_GetBlockPointer(blob), blob->GetBuffer() + 9000);
}

TEST_F(BlobTest, ReferencesAndQueryInterface) {
  EXPECT_EQ(shmi_DataBlob_AddRef(blob), 2u);
  EXPECT_EQ(shmi_DataBlob_Release(blob), 1u);
  SH_IMI_BLOB_ITER* it = shmi_DataBlob_GetDataIterator(blob);
  for (auto [object, own] : {std::pair<IKO_Unknown*, KOGUID>{blob, IID_SH_IMI_BLOB}, {it, IID_SH_IMI_BLOB_ITER}}) {
    void* found = nullptr;
    for (KOGUID iid : {IID_IKO_Unknown, own}) {
      EXPECT_EQ(object->QueryInterface(iid, &found), SHMI_S_OK);
      EXPECT_EQ(object->Release(), object == blob ? 2u : 1u) << "the query added a reference";
    }
    KOGUID other = own == IID_SH_IMI_BLOB ? IID_SH_IMI_BLOB_ITER : IID_SH_IMI_BLOB;
    EXPECT_EQ(object->QueryInterface(other, &found), SHMI_E_NOINTERFACE);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(object->QueryInterface(own, nullptr), SHMI_E_POINTER);
  }
  EXPECT_EQ(shmi_DataIter_Release(it), 0u);
  EXPECT_EQ(shmi_DataBlob_AddRef(blob), 2u) << "the iterator gave its reference back";
  shmi_DataBlob_Release(blob);
}

TEST_F(BlobTest, InterfaceSlotsAreInTheirOrder) {
  // Callers built against the interface call its operations by slot.
  void** table = *reinterpret_cast<void***>(static_cast<SH_IMI_BLOB*>(blob));
  EXPECT_EQ(reinterpret_cast<uint32_t (*)(SH_IMI_BLOB*)>(table[4])(blob), 10u);              // GetSize
  EXPECT_EQ(reinterpret_cast<uint32_t (*)(SH_IMI_BLOB*)>(table[13])(blob), 1u);              // char flag
  EXPECT_EQ(reinterpret_cast<uint32_t (*)(SH_IMI_BLOB*, uint32_t)>(table[14])(blob, 5), 15u);  // Reserve
}

TEST(BlobFlat, NullBlobsAreRefused) {
  SH_IMI_BLOB_ITER* it = nullptr;
  EXPECT_TRUE(!shmi_DataBlob_AddRef(nullptr) && !shmi_DataBlob_Release(nullptr) &&
              !shmi_DataBlob_GetDataIterator(nullptr) && !shmi_DataBlob_Reserve(nullptr, 4) &&
              !shmi_DataBlob_DoingBlockWrite(nullptr, 4) && !shmi_DataBlob_GetSize(nullptr) &&
              !shmi_DataBlob_GetBlockPointer(nullptr));
  for (int32_t status : {shmi_DataBlob_GetBlobIterator(nullptr, &it), shmi_DataBlob_Reset(nullptr),
                         shmi_DataBlob_SetSize(nullptr, 4), shmi_DataBlob_Advance(nullptr, 4)})
    EXPECT_EQ(status, SHMI_E_POINTER);
  shmi_DataBlob_addString(nullptr, u"x");
  shmi_DataBlob_addBytes(nullptr, "x", 1);
}

}  // namespace

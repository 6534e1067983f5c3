// The data blob's writing side: the header, the byte encoding of every value
// type, growth, reservations and block writes, Reset and SetSize, reference
// counting, QueryInterface and the flat functions' null objects.
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
  for (size_t i = 0; i < size; ++i) {
    std::snprintf(two, sizeof two, i ? " %02X" : "%02X", bytes[i]);
    out += two;
  }
  return out;
}

// The bytes after the 10-byte header.
std::string values_hex(SH_MI_DATA_BLOB* blob) {
  return hex(blob->GetBuffer() + 10, shmi_DataBlob_GetSize(blob) - 10);
}

struct BlobTest : testing::Test {
  void SetUp() override { ASSERT_NE(blob, nullptr); }
  void TearDown() override { EXPECT_EQ(shmi_DataBlob_Release(blob), 0u); }
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
};

TEST_F(BlobTest, NewBlobHoldsOnlyTheHeader) {
  EXPECT_EQ(hex(blob->GetBuffer(), shmi_DataBlob_GetSize(blob)), "00 0A 4D 49 42 4C 4F 42 00 01");
  EXPECT_EQ(blob->GetCapacity(), 4096u);
  EXPECT_EQ(shmi_DataBlob_GetBlockPointer(blob), blob->GetBuffer() + 10);
  EXPECT_EQ(blob->HasCharacters(), 1u);
}

TEST_F(BlobTest, EachValueTypeHasItsEncoding) {
  static const KOCHAR kAb[] = u"ab";
  static const KOCHAR kEmpty[] = u"";
  const uint8_t nested[] = {3, 0, 0, 0, 0xAA, 0xBB, 0xCC};  // native length 3
  const uint8_t empty_nested[] = {0, 0, 0, 0};
  KODECIMAL decimal{};
  decimal.scale = 2;
  decimal.sign = KODECIMAL_NEGATIVE;
  decimal.hi32 = 0x01020304;
  decimal.lo64 = 0x1122334455667788ull;
  KODATETIME when{123456, 124, 11, 31, 23, 59, 58, 0xEE};
  struct Case {
    const char* name;
    std::function<void(SH_MI_DATA_BLOB*)> write;
    const char* bytes;
  };
  const Case cases[] = {
      {"byte", [](auto b) { shmi_DataBlob_addByte(b, 0xFE); }, "FE"},
      {"bool true", [](auto b) { shmi_DataBlob_addBool(b, 7); }, "01"},
      {"bool false", [](auto b) { shmi_DataBlob_addBool(b, 0); }, "00"},
      {"ushort", [](auto b) { shmi_DataBlob_addUShort(b, 0x1234); }, "12 34"},
      {"short", [](auto b) { shmi_DataBlob_addShort(b, -2); }, "FF FE"},
      {"ulong", [](auto b) { shmi_DataBlob_addULong(b, 0xDEADBEEF); }, "DE AD BE EF"},
      {"long", [](auto b) { shmi_DataBlob_addLong(b, -1); }, "FF FF FF FF"},
      {"float", [](auto b) { shmi_DataBlob_addFloat(b, 1.5f); }, "3F C0 00 00"},
      {"double", [](auto b) { shmi_DataBlob_addDouble(b, -2.0); }, "C0 00 00 00 00 00 00 00"},
      {"char", [](auto b) { shmi_DataBlob_addChar(b, u'\u20AC'); }, "20 AC"},
      {"string", [](auto b) { shmi_DataBlob_addString(b, kAb); }, "00 00 00 03 00 61 00 62 00 00"},
      {"empty string", [](auto b) { shmi_DataBlob_addString(b, kEmpty); }, "00 00 00 01 00 00"},
      {"null string", [](auto b) { shmi_DataBlob_addString(b, nullptr); }, "FF FF FF FF"},
      {"decimal", [&](auto b) { shmi_DataBlob_addDecimal(b, &decimal); },
       "00 00 80 02 03 04 01 02 77 88 55 66 33 44 11 22"},
      {"nested blob", [&](auto b) { shmi_DataBlob_addShBlob(b, nested); }, "00 00 00 03 AA BB CC"},
      {"empty nested blob", [&](auto b) { shmi_DataBlob_addShBlob(b, empty_nested); }, "00 00 00 00"},
      {"null nested blob", [](auto b) { shmi_DataBlob_addShBlob(b, nullptr); }, "00 00 00 00"},
      {"bytes", [](auto b) { shmi_DataBlob_addBytes(b, "xyz", 3); }, "78 79 7A"},
      {"no bytes", [](auto b) { shmi_DataBlob_addBytes(b, "xyz", 0); }, ""},
      {"null bytes", [](auto b) { shmi_DataBlob_addBytes(b, nullptr, 5); }, ""},
      {"datetime", [&](auto b) { shmi_DataBlob_addDateTime(b, &when); },
       "00 01 E2 40 00 7C 0B 1F 17 3B 3A"},
      {"null decimal and datetime",
       [](auto b) {
         shmi_DataBlob_addDecimal(b, nullptr);
         shmi_DataBlob_addDateTime(b, nullptr);
       },
       ""},
  };
  for (const Case& c : cases) {
    SH_MI_DATA_BLOB* fresh = shmi_CreateDataBlob();
    c.write(fresh);
    EXPECT_EQ(values_hex(fresh), c.bytes) << c.name;
    shmi_DataBlob_Release(fresh);
  }
}

TEST_F(BlobTest, MemberWritesMatchTheFlatOnes) {
  blob->addUShort(0x1234);
  blob->addString(u"a");
  blob->addBool(1);
  EXPECT_EQ(values_hex(blob), "12 34 00 00 00 02 00 61 00 00 01");
}

TEST_F(BlobTest, CapacityGrowsInStepsOf8192) {
  struct Case {
    uint32_t bytes;  // written after the header
    uint32_t capacity;
  };
  const Case cases[] = {
      {4085, 4096},      // ends at 4095: still fits
      {4086, 12288},     // ends exactly at the capacity: grows
      {5000, 12288},
      {20000, 20480},
      {12278, 12288},    // grows once, to exactly the end
  };
  std::vector<uint8_t> data(20000, 0x5A);
  for (const Case& c : cases) {
    SH_MI_DATA_BLOB* fresh = shmi_CreateDataBlob();
    shmi_DataBlob_addBytes(fresh, data.data(), c.bytes);
    EXPECT_EQ(fresh->GetCapacity(), c.capacity) << c.bytes;
    EXPECT_EQ(shmi_DataBlob_GetSize(fresh), 10 + c.bytes);
    EXPECT_EQ(fresh->GetBuffer()[9 + c.bytes], 0x5A);
    if (10 + c.bytes < c.capacity) {
      EXPECT_EQ(fresh->GetBuffer()[10 + c.bytes], 0) << "the grown part is zero-filled";
    }
    shmi_DataBlob_Release(fresh);
  }
}

TEST_F(BlobTest, ReserveRaisesTheUsedSizeWithoutMoving) {
  EXPECT_EQ(shmi_DataBlob_Reserve(blob, 6), 16u);
  EXPECT_EQ(shmi_DataBlob_Reserve(blob, 2), 16u) << "already reserved";
  EXPECT_EQ(shmi_DataBlob_GetBlockPointer(blob), blob->GetBuffer() + 10);
  shmi_DataBlob_addByte(blob, 1);
  EXPECT_EQ(values_hex(blob), "01 00 00 00 00 00");
}

TEST_F(BlobTest, BlockWritesFillAndAdvance) {
  uint8_t* at = shmi_DataBlob_DoingBlockWrite(blob, 3);
  ASSERT_EQ(at, blob->GetBuffer() + 10);
  at[0] = 'a', at[1] = 'b', at[2] = 'c';
  EXPECT_EQ(shmi_DataBlob_Advance(blob, 3), SHMI_S_OK);
  shmi_DataBlob_addByte(blob, 'd');
  EXPECT_EQ(values_hex(blob), "61 62 63 64");
  EXPECT_EQ(shmi_DataBlob_Advance(blob, 2), SHMI_S_OK) << "skipping leaves zeros";
  shmi_DataBlob_addByte(blob, 'e');
  EXPECT_EQ(values_hex(blob), "61 62 63 64 00 00 65");
}

TEST_F(BlobTest, ResetRewritesTheHeaderAndKeepsTheUsedSize) {
  shmi_DataBlob_addLong(blob, 0x01020304);
  EXPECT_EQ(shmi_DataBlob_Reset(blob), SHMI_S_OK);
  EXPECT_EQ(shmi_DataBlob_GetSize(blob), 14u);
  shmi_DataBlob_addByte(blob, 9);
  EXPECT_EQ(values_hex(blob), "09 02 03 04");
}

TEST_F(BlobTest, SetSizeCutsOrExtendsAndMovesThePosition) {
  shmi_DataBlob_addLong(blob, -1);
  EXPECT_EQ(shmi_DataBlob_SetSize(blob, 12), SHMI_S_OK);
  shmi_DataBlob_addByte(blob, 7);
  EXPECT_EQ(values_hex(blob), "FF FF 07");
  EXPECT_EQ(shmi_DataBlob_SetSize(blob, 15), SHMI_S_OK);
  EXPECT_EQ(values_hex(blob), "FF FF 07 00 00") << "the cut bytes come back as zeros";
  EXPECT_EQ(shmi_DataBlob_SetSize(blob, 9000), SHMI_S_OK);
  EXPECT_EQ(blob->GetCapacity(), 12288u);
  EXPECT_EQ(shmi_DataBlob_GetBlockPointer(blob), blob->GetBuffer() + 9000);
}

TEST_F(BlobTest, LoadingSavedBytesThroughABlockWrite) {
  // A saved blob without the character flag: the flag comes with the bytes.
  const uint8_t saved[] = {0x00, 0x0A, 'M', 'I', 'B', 'L', 'O', 'B', 0x00, 0x00, 0x00, 0x41};
  shmi_DataBlob_SetSize(blob, 0);
  std::memcpy(shmi_DataBlob_DoingBlockWrite(blob, sizeof saved), saved, sizeof saved);
  shmi_DataBlob_Advance(blob, sizeof saved);
  EXPECT_EQ(shmi_DataBlob_GetSize(blob), sizeof saved);
  EXPECT_EQ(blob->HasCharacters(), 0u);
  EXPECT_EQ(hex(blob->GetBuffer(), sizeof saved), hex(saved, sizeof saved));
}

TEST_F(BlobTest, ReferencesKeepTheBlobAlive) {
  EXPECT_EQ(shmi_DataBlob_AddRef(blob), 2u);
  EXPECT_EQ(shmi_DataBlob_AddRef(blob), 3u);
  EXPECT_EQ(shmi_DataBlob_Release(blob), 2u);
  EXPECT_EQ(shmi_DataBlob_Release(blob), 1u);
}

TEST_F(BlobTest, QueryInterfaceOffersTheBlobAndUnknownOnly) {
  struct Case {
    KOGUID iid;
    int32_t status;
  };
  const Case cases[] = {{IID_IKO_Unknown, SHMI_S_OK},
                        {IID_SH_IMI_BLOB, SHMI_S_OK},
                        {IID_SH_IMI_BLOB_ITER, SHMI_E_NOINTERFACE}};
  for (const Case& c : cases) {
    void* object = &object;
    EXPECT_EQ(blob->QueryInterface(c.iid, &object), c.status);
    if (c.status == SHMI_S_OK) {
      EXPECT_EQ(object, static_cast<SH_IMI_BLOB*>(blob));
      blob->Release();
    } else {
      EXPECT_EQ(object, nullptr);
    }
  }
  EXPECT_EQ(blob->QueryInterface(IID_SH_IMI_BLOB, nullptr), SHMI_E_POINTER);
  EXPECT_EQ(blob->AddRef(), 2u) << "failed queries took no reference";
  blob->Release();
}

TEST_F(BlobTest, InterfaceSlotsAreInTheirOrder) {
  // The operations sit at fixed places in the virtual table: callers built
  // against the interface call them by slot.
  using Slot = void*;
  Slot* table = *reinterpret_cast<Slot**>(static_cast<SH_IMI_BLOB*>(blob));
  auto size_slot = reinterpret_cast<uint32_t (*)(SH_IMI_BLOB*)>(table[4]);
  auto reserve_slot = reinterpret_cast<uint32_t (*)(SH_IMI_BLOB*, uint32_t)>(table[14]);
  auto flag_slot = reinterpret_cast<uint32_t (*)(SH_IMI_BLOB*)>(table[13]);
  EXPECT_EQ(size_slot(blob), 10u);
  EXPECT_EQ(reserve_slot(blob, 5), 15u);
  EXPECT_EQ(flag_slot(blob), 1u);
}

TEST(BlobFlat, NullObjectsAreRefused) {
  SH_IMI_BLOB_ITER* iterator = nullptr;
  EXPECT_EQ(shmi_DataBlob_AddRef(nullptr), 0u);
  EXPECT_EQ(shmi_DataBlob_Release(nullptr), 0u);
  EXPECT_EQ(shmi_DataBlob_GetDataIterator(nullptr), nullptr);
  EXPECT_EQ(shmi_DataBlob_Reserve(nullptr, 4), 0u);
  EXPECT_EQ(shmi_DataBlob_DoingBlockWrite(nullptr, 4), nullptr);
  EXPECT_EQ(shmi_DataBlob_GetBlobIterator(nullptr, &iterator), SHMI_E_POINTER);
  EXPECT_EQ(shmi_DataBlob_GetSize(nullptr), 0u);
  EXPECT_EQ(shmi_DataBlob_Reset(nullptr), SHMI_E_POINTER);
  EXPECT_EQ(shmi_DataBlob_SetSize(nullptr, 4), SHMI_E_POINTER);
  EXPECT_EQ(shmi_DataBlob_GetBlockPointer(nullptr), nullptr);
  EXPECT_EQ(shmi_DataBlob_Advance(nullptr, 4), SHMI_E_POINTER);
  shmi_DataBlob_addByte(nullptr, 1);
  shmi_DataBlob_addString(nullptr, u"x");
  shmi_DataBlob_addBytes(nullptr, "x", 1);
}

}  // namespace

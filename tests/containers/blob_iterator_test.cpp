// Reading a data blob back: where an iterator starts, each reader's bound
// (GetULong's short one included), MoveTo, booleans, the character flag,
// strings and nested blobs of any stored length, the size an iterator keeps
// and null arguments.
#include <koshr/datablob.h>

#include <cstring>
#include <functional>
#include <tuple>
#include <vector>

#include "test_support.h"

namespace {

struct IteratorTest : StorageTest {
  // An iterator over a header (character flag as given) followed by
  // `values`, loaded as a saved blob is: SetSize(0), a block write, Advance.
  SH_IMI_BLOB_ITER* over(std::vector<uint8_t> values, uint8_t char_flag = 1) {
    std::vector<uint8_t> bytes = {0x00, 0x0A, 'M', 'I', 'B', 'L', 'O', 'B', 0x00, char_flag};
    bytes.insert(bytes.end(), values.begin(), values.end());
    SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
    shmi_DataBlob_SetSize(blob, 0);
    std::memcpy(shmi_DataBlob_DoingBlockWrite(blob, uint32_t(bytes.size())), bytes.data(), bytes.size());
    shmi_DataBlob_Advance(blob, uint32_t(bytes.size()));
    iterators.push_back(shmi_DataBlob_GetDataIterator(blob));
    shmi_DataBlob_Release(blob);  // the iterator keeps it alive
    return iterators.back();
  }
  void TearDown() override {
    for (SH_IMI_BLOB_ITER* it : iterators) EXPECT_EQ(shmi_DataIter_Release(it), 0u);
    StorageTest::TearDown();
  }
  std::vector<SH_IMI_BLOB_ITER*> iterators;
};

uint32_t position(SH_IMI_BLOB_ITER* it) { return shmi_DataIter_GetCurrentPosition(it); }

TEST_F(IteratorTest, ReadersNeedTheirBytesAndReadNothingWithoutThem) {
  struct Case {
    const char* name;
    std::function<int32_t(SH_IMI_BLOB_ITER*)> read;
    uint32_t needs, advances;
  };
#define READER(Type, CType, needs, advances) \
  Case { #Type, [](auto it) { CType v; return shmi_DataIter_Get##Type(it, &v); }, needs, advances }
  const Case cases[] = {
      READER(Byte, uint8_t, 1, 1),       READER(Bool, int, 1, 1),
      READER(Short, int16_t, 2, 2),      READER(UShort, uint16_t, 2, 2),
      READER(Long, int32_t, 4, 4),       READER(ULong, uint32_t, 2, 4),  // checks for only two
      READER(Float, float, 4, 4),        READER(Double, double, 8, 8),
      READER(Char, KOCHAR, 2, 2),        READER(Decimal, KODECIMAL, 16, 16),
      READER(DateTime, KODATETIME, 11, 11),
      {"bytes", [](auto it) { char v[5]; return shmi_DataIter_GetBytes(it, v, 5); }, 5, 5},
      {"advance", [](auto it) { return shmi_DataIter_Advance(it, 3); }, 3, 3},
  };
  for (const Case& c : cases) {
    for (uint32_t left : {c.needs - 1, c.needs}) {
      SCOPED_TRACE(testing::Message() << c.name << ", bytes left " << left);
      SH_IMI_BLOB_ITER* it = over(std::vector<uint8_t>(20, 0x11));  // 30 bytes in all
      shmi_DataIter_Advance(it, 20 - left);
      uint32_t before = position(it);
      EXPECT_EQ(c.read(it), left < c.needs ? SHMI_E_NODATA : SHMI_S_OK);
      EXPECT_EQ(position(it), before + (left < c.needs ? 0 : c.advances));
    }
  }
}

TEST_F(IteratorTest, ULongWithTwoBytesLeftTakesZerosAndMoveToGoesBack) {
  SH_IMI_BLOB_ITER* it = over({0x12, 0x34});
  uint32_t value = 0;
  uint8_t byte = 0;
  EXPECT_EQ(shmi_DataIter_GetULong(it, &value), SHMI_S_OK);
  EXPECT_EQ(value, 0x12340000u);
  EXPECT_EQ(position(it), 14u) << "two past the used size";
  EXPECT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_E_NODATA);
  for (auto [to, status, after] : {std::tuple{11u, SHMI_S_OK, 11u}, {12u, SHMI_E_NODATA, 11u},
                                   {0xFFFFFFFFu, SHMI_E_NODATA, 11u}, {0u, SHMI_S_OK, 0u}}) {
    EXPECT_EQ(shmi_DataIter_MoveTo(it, to), status) << to;
    EXPECT_EQ(position(it), after);
  }
  EXPECT_EQ(*shmi_DataIter_GetBlockPointer(it), 0x00);
  shmi_DataIter_MoveTo(it, 11);
  EXPECT_EQ(*shmi_DataIter_GetBlockPointer(it), 0x34);
}

TEST_F(IteratorTest, BoolIsTrueOnlyForOneAndCharactersNeedTheFlag) {
  SH_IMI_BLOB_ITER* bools = over({0, 1, 2, 0xFF});
  std::vector<int> seen;
  for (int value; shmi_DataIter_GetBool(bools, &value) == SHMI_S_OK;) seen.push_back(value);
  EXPECT_EQ(seen, (std::vector<int>{0, 1, 0, 0}));
  SH_IMI_BLOB_ITER* flagless = over({0, 0, 0, 1, 0, 0}, 0);
  KOCHAR c = 0;
  KOCHAR* text = nullptr;
  int32_t number = 0;
  EXPECT_EQ(shmi_DataIter_GetChar(flagless, &c), SHMI_E_NOCHARS);
  EXPECT_EQ(shmi_DataIter_GetString(flagless, storage_, subpool_, &text), SHMI_E_NOCHARS);
  EXPECT_EQ(shmi_DataIter_GetLong(flagless, &number), SHMI_S_OK) << "other readers do not need it";
}

TEST_F(IteratorTest, StringsAndNestedBlobsNeedTheirWholeLength) {
  struct Case {
    std::vector<uint8_t> values;
    int32_t status;
    const char* text;  // narrowed, "-" for null
  };
  const Case cases[] = {
      {{0, 0, 0, 2, 0, 'x', 0, 0}, SHMI_S_OK, "x"},
      {{0, 0, 0, 2, 0, 'x', 0, 'y'}, SHMI_S_OK, "xy"},  // stored without terminator
      {{0, 0, 0, 0}, SHMI_S_OK, ""},
      {{0xFF, 0xFF, 0xFF, 0xFF}, SHMI_S_OK, "-"},
      {{0, 0, 0, 3, 0, 'x', 0, 0}, SHMI_E_NODATA, "-"},
      {{0x7F, 0xFF, 0xFF, 0xFF, 0, 'x'}, SHMI_E_NODATA, "-"},
      {{0, 0, 0}, SHMI_E_NODATA, "-"},
  };
  for (const Case& c : cases) {
    for (KostgContext* where : {storage_, static_cast<KostgContext*>(nullptr)}) {
      SH_IMI_BLOB_ITER* it = over(c.values);
      KOCHAR sentinel[] = u"sentinel";
      KOCHAR* text = sentinel;
      EXPECT_EQ(shmi_DataIter_GetString(it, where, subpool_, &text), c.status);
      EXPECT_EQ(narrow(text), c.text);
      EXPECT_EQ(position(it), c.status ? 10u : 10u + uint32_t(c.values.size()));
      kostg_fee(storage_, text);
    }
  }
  for (auto [values, status] : {std::pair<std::vector<uint8_t>, int32_t>{{0, 0, 0, 2, 7, 8}, SHMI_S_OK},
                                {{0, 0, 0, 0}, SHMI_S_OK}, {{0, 0, 0, 3, 7, 8}, SHMI_E_NODATA},
                                {{0xFF, 0xFF, 0xFF, 0xFF}, SHMI_E_NODATA}}) {
    void* block = nullptr;
    EXPECT_EQ(shmi_DataIter_GetShBlob(over(values), nullptr, nullptr, &block), status);
    ASSERT_EQ(block != nullptr, status == SHMI_S_OK);
    uint32_t length = block ? *static_cast<uint32_t*>(block) : 0;
    EXPECT_TRUE(!block || (length == values[3] && !std::memcmp(static_cast<uint8_t*>(block) + 4, &values[4], length)));
    kostg_fee(storage_, block);
  }
}

TEST_F(IteratorTest, StartsBehindTheHeaderAndKeepsTheSizeItSaw) {
  SH_MI_DATA_BLOB* blob = shmi_CreateDataBlob();
  SH_IMI_BLOB_ITER* header_only = shmi_DataBlob_GetDataIterator(blob);
  iterators.push_back(header_only);
  EXPECT_EQ(position(header_only), 0u);
  EXPECT_EQ(shmi_DataIter_GetSize(header_only), 10u);
  shmi_DataBlob_addByte(blob, 1);
  SH_IMI_BLOB_ITER* it = nullptr;
  ASSERT_EQ(shmi_DataBlob_GetBlobIterator(blob, &it), SHMI_S_OK);
  iterators.push_back(it);
  EXPECT_EQ(position(it), 10u);
  EXPECT_EQ(it->GetBlob(), static_cast<SH_IMI_BLOB*>(blob));
  std::vector<uint8_t> more(9000, 2);
  shmi_DataBlob_addBytes(blob, more.data(), uint32_t(more.size()));  // moves the buffer
  shmi_DataBlob_Release(blob);
  uint8_t byte = 0;
  EXPECT_EQ(shmi_DataIter_GetSize(it), 11u);
  EXPECT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_S_OK);
  EXPECT_EQ(byte, 1);
  EXPECT_EQ(shmi_DataIter_GetByte(it, &byte), SHMI_E_NODATA);
  EXPECT_EQ(shmi_DataIter_Reset(it), SHMI_S_OK);
  EXPECT_EQ(position(it), 10u);
}

TEST_F(IteratorTest, NullArgumentsAreRefused) {
  SH_IMI_BLOB_ITER* it = over(std::vector<uint8_t>(32, 0));
  for (SH_IMI_BLOB_ITER* target : {it, static_cast<SH_IMI_BLOB_ITER*>(nullptr)}) {
    for (int32_t status :
         {shmi_DataIter_GetChar(target, nullptr), shmi_DataIter_GetString(target, storage_, subpool_, nullptr),
          shmi_DataIter_GetByte(target, nullptr), shmi_DataIter_GetBool(target, nullptr),
          shmi_DataIter_GetShort(target, nullptr), shmi_DataIter_GetUShort(target, nullptr),
          shmi_DataIter_GetLong(target, nullptr), shmi_DataIter_GetULong(target, nullptr),
          shmi_DataIter_GetFloat(target, nullptr), shmi_DataIter_GetDouble(target, nullptr),
          shmi_DataIter_GetDecimal(target, nullptr), shmi_DataIter_GetShBlob(target, storage_, subpool_, nullptr),
          shmi_DataIter_GetBytes(target, nullptr, 1), shmi_DataIter_GetDateTime(target, nullptr)})
      EXPECT_EQ(status, SHMI_E_POINTER);
  }
  EXPECT_EQ(position(it), 10u);
  EXPECT_EQ(shmi_DataIter_GetBytes(it, nullptr, 0), SHMI_S_OK) << "nothing to copy";
  EXPECT_TRUE(!shmi_DataIter_AddRef(nullptr) && !shmi_DataIter_Release(nullptr) &&
              !shmi_DataIter_GetSize(nullptr) && !position(nullptr) && !shmi_DataIter_GetBlockPointer(nullptr));
  for (int32_t status : {shmi_DataIter_Reset(nullptr), shmi_DataIter_MoveTo(nullptr, 1), shmi_DataIter_Advance(nullptr, 1)})
    EXPECT_EQ(status, SHMI_E_POINTER);
}

}  // namespace

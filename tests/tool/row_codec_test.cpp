// row_codec_test.cpp: the binary form of cells: every type read back exactly
// through buffers smaller than a cell, and damaged bytes (cut anywhere, a
// bad presence byte, an impossible length) refused without a crash.
#include <gtest/gtest.h>

#include <cstring>

#include "row_codec.h"

namespace {

using koshr_tool::ByteInput;
using koshr_tool::ByteOutput;
using koshr_tool::CellValue;

struct Case {
  uint8_t type;
  CellValue cell;
};

std::vector<Case> cases() {
  CellValue text, number, decimal, when, missing;
  text.missing = number.missing = decimal.missing = when.missing = false;
  text.text = u"a \"name\" \U0001F600";
  number.number = -2.5e300;
  decimal.decimal = KODECIMAL{0, 2, KODECIMAL_NEGATIVE, 7, 123456789};
  when.when = KODATETIME{999999, 2024, 2, 29, 23, 59, 58, 0};
  when.text = u"'2024-02-29 23:59:58.999999'";
  return {{KOSAVE_STRING, text},    {KOSAVE_DOUBLE, number}, {KOSAVE_DECIMAL, decimal},
          {KOSAVE_DATETIME, when},  {KOSAVE_DATE, when},     {KOSAVE_TIME, when},
          {KOSAVE_STRING, missing}, {KOSAVE_DOUBLE, missing}};
}

// The bytes of every case, in order.
std::vector<uint8_t> encode(size_t chunk) {
  std::vector<uint8_t> bytes;
  ByteOutput out(
      [&](const uint8_t* data, size_t size) {
        bytes.insert(bytes.end(), data, data + size);
        return true;
      },
      chunk);
  for (const Case& c : cases()) koshr_tool::put_cell(out, c.cell, c.type);
  EXPECT_TRUE(out.flush());
  return bytes;
}

ByteInput reader(const std::vector<uint8_t>& bytes, size_t chunk) {
  auto at = std::make_shared<size_t>(0);
  return ByteInput(
      [&bytes, at](uint8_t* data, size_t capacity) {
        size_t part = std::min(capacity, bytes.size() - *at);
        if (part != 0) std::memcpy(data, bytes.data() + *at, part);
        *at += part;
        return part;
      },
      chunk);
}

TEST(RowCodecTest, ReadsBackEveryTypeThroughAnyBufferSize) {
  std::vector<uint8_t> whole = encode(1 << 16);
  for (size_t chunk : {size_t(1), size_t(3), size_t(64), size_t(1) << 16}) {
    EXPECT_EQ(encode(chunk), whole) << chunk;
    ByteInput in = reader(whole, chunk);
    for (const Case& c : cases()) {
      CellValue cell;
      ASSERT_TRUE(koshr_tool::get_cell(in, cell, c.type)) << chunk;
      EXPECT_EQ(cell.missing, c.cell.missing);
      if (c.cell.missing) continue;
      bool dated = c.type != KOSAVE_STRING && c.type != KOSAVE_DOUBLE && c.type != KOSAVE_DECIMAL;
      EXPECT_EQ(cell.text, c.cell.text);
      EXPECT_EQ(cell.number, c.type == KOSAVE_DOUBLE ? c.cell.number : 0);
      if (c.type == KOSAVE_DECIMAL) {
        EXPECT_EQ(std::memcmp(&cell.decimal, &c.cell.decimal, sizeof cell.decimal), 0);
      }
      if (dated) {
        EXPECT_EQ(std::memcmp(&cell.when, &c.cell.when, sizeof cell.when), 0);
      }
    }
    CellValue after;
    EXPECT_FALSE(koshr_tool::get_cell(in, after, KOSAVE_STRING)) << "nothing after the last";
  }
}

TEST(RowCodecTest, RefusesDamagedBytes) {
  std::vector<uint8_t> whole = encode(1 << 16);
  // Cut anywhere: the cells before the cut read, the one it falls in fails.
  for (size_t cut = 0; cut < whole.size(); ++cut) {
    std::vector<uint8_t> part(whole.begin(), whole.begin() + long(cut));
    ByteInput in = reader(part, 7);
    CellValue cell;
    bool all = true;
    for (const Case& c : cases()) all = all && koshr_tool::get_cell(in, cell, c.type);
    EXPECT_FALSE(all) << cut;
  }
  const std::vector<std::vector<uint8_t>> damaged = {
      {2},                                  // neither missing nor present
      {1, 0xff, 0xff, 0xff, 0xff, 'a', 0},  // a length no string has
      {1, 3, 0, 0, 0, 'a', 0, 'b', 0}       // a length beyond the bytes
  };
  for (const auto& bytes : damaged) {
    ByteInput in = reader(bytes, 4);
    CellValue cell;
    EXPECT_FALSE(koshr_tool::get_cell(in, cell, KOSAVE_STRING));
  }
}

}  // namespace

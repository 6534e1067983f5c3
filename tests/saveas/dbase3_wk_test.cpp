/*
 * dbase3_wk_test.cpp: the binary exporters, dBase III and worksheet: golden
 * files pin the bytes, and the layout rules and limits are checked field by
 * field.
 */
#include <cstring>

#include "saveas/export_table.h"

namespace saveas_test {
namespace {

class BinaryTest : public SaveTest {};

uint32_t le16(const std::string& bytes, size_t at) {
  return uint8_t(bytes[at]) | uint32_t(uint8_t(bytes[at + 1])) << 8;
}

Table dbase_table() {
  return Table{{{u"name", 8, KOSAVE_STRING},
                {u"quantity_in_stock", 0, KOSAVE_DOUBLE},
                {u"stamp", 0, KOSAVE_DATETIME},
                {u"day", 0, KOSAVE_DATE},
                {u"at", 0, KOSAVE_TIME},
                {u"price", 2, KOSAVE_DECIMAL},
                {u"whole", 0, KOSAVE_DECIMAL}},
               {{Cell(u"Widget"), Cell(3.0), Cell(date_time(2024, 3, 5, 13, 45, 7)),
                 Cell(date_time(1999, 12, 31)), Cell(date_time(2000, 1, 1, 8, 5, 9)),
                 Cell(decimal(1999, 2)), Cell(decimal(7, 0))},
                {Cell(u"a string longer than eight"), Cell(-0.5), Cell(), Cell(), Cell(), Cell(),
                 Cell()}}};
}

TEST_F(BinaryTest, Dbase3MatchesGoldenFile) {
  CKO_SaveDbase3 dbase;
  std::string bytes = export_bytes(dbase, "t.dbf", dbase_table(), 0);
  ASSERT_GT(bytes.size(), 4u);
  // The export date changes from day to day: the golden file holds zeros there.
  bytes.replace(1, 3, std::string(3, '\0'));
  expect_golden(bytes, "table.dbf");
}

TEST_F(BinaryTest, Dbase3HeaderAndFieldLayout) {
  Table table{{{u"twelve_chars", 0, KOSAVE_STRING}, {u"b", 300, KOSAVE_STRING}},
              {{Cell(u"x"), Cell(u"y")}}};
  CKO_SaveDbase3 dbase;
  std::string bytes = export_bytes(dbase, "l.dbf", table, 0);
  ASSERT_EQ(bytes.size(), 97u + 1 + 255 + 255 + 1);
  EXPECT_EQ(bytes[0], 3);
  EXPECT_EQ(le16(bytes, 8), 97u);
  EXPECT_EQ(le16(bytes, 10), 511u);
  EXPECT_EQ(uint8_t(bytes[96]), 0x0D);
  EXPECT_EQ(bytes.substr(32, 11), std::string("TWELVE_CHA\0", 11));
  EXPECT_EQ(uint8_t(bytes[32 + 16]), 255);  // width 0
  EXPECT_EQ(uint8_t(bytes[64 + 16]), 255);  // width 300
  EXPECT_EQ(bytes[97], ' ');
  EXPECT_EQ(bytes.substr(98, 2), "x ");
  EXPECT_EQ(uint8_t(bytes.back()), 0x1A);

  struct DecimalCase {
    int32_t width;
    int length;
    int decimals;
  } decimals[] = {{2, 17, 2}, {0, 16, 0}, {300, 17, 255}};
  for (const DecimalCase& c : decimals) {
    Table one{{{u"d", c.width, KOSAVE_DECIMAL}}, {}};
    std::string header = export_bytes(dbase, "d.dbf", one, 0);
    ASSERT_GE(header.size(), 64u);
    EXPECT_EQ(header[32 + 11], 'N');
    EXPECT_EQ(uint8_t(header[32 + 16]), c.length) << c.width;
    EXPECT_EQ(uint8_t(header[32 + 17]), c.decimals) << c.width;
  }
}

TEST_F(BinaryTest, Dbase3Limits) {
  CKO_SaveDbase3 dbase;
  std::u16string file = path("limits.dbf").u16string();
  struct Case {
    uint32_t rows;
    int32_t columns;
    bool accepted;
  } cases[] = {{1000000000, 128, true}, {1000000001, 1, false}, {1, 129, false}, {0, 0, true}};
  for (const Case& c : cases) {
    KoSaveContext* save = dbase.Begin(pool_, subpool_, file.c_str(), c.rows, c.columns, 0, 0);
    EXPECT_EQ(save != nullptr, c.accepted) << c.rows << " x " << c.columns;
    if (save) dbase.End(save);
  }
  // The record may hold 4,000 bytes of fields: 15 full string fields, and a
  // 16th pushes it over.
  KoSaveContext* save = dbase.Begin(pool_, subpool_, file.c_str(), 0, 17, 0, 0);
  ASSERT_NE(save, nullptr);
  for (int i = 0; i < 15; ++i) EXPECT_EQ(dbase.AddColumn(save, u"s", 255, KOSAVE_STRING), 1);
  EXPECT_EQ(dbase.AddColumn(save, u"t", 175, KOSAVE_STRING), 1);  // 3,999
  EXPECT_EQ(dbase.AddColumn(save, u"u", 2, KOSAVE_STRING), 0);    // 4,001
  dbase.End(save);
}

Table wk_table() {
  return Table{{{u"Name", 0, KOSAVE_STRING}, {u"Qty", 300, KOSAVE_DOUBLE}, {u"Price", 2, KOSAVE_DECIMAL}},
               {{Cell(u"Widget"), Cell(3.0), Cell(decimal(1999, 2))},
                {Cell(std::u16string(300, u'w')), Cell(), Cell(decimal(-42, 0))}}};
}

TEST_F(BinaryTest, WorksheetMatchesGoldenFile) {
  CKO_SaveWk wk;
  expect_golden(export_bytes(wk, "t.wk1", wk_table(), KOSAVE_COLUMN_NAMES), "table.wk1");
}

TEST_F(BinaryTest, WorksheetRecords) {
  CKO_SaveWk wk;
  Table table{{{u"A", 1, KOSAVE_STRING}, {u"Name", 1, KOSAVE_STRING}},
              {{Cell(), Cell()}, {Cell(), Cell()}, {Cell(), Cell()}}};
  std::string bytes = export_bytes(wk, "r.wk1", table, KOSAVE_COLUMN_NAMES);
  EXPECT_EQ(bytes.substr(0, 18),
            std::string("\x00\x00\x02\x00\x06\x04\x06\x00\x08\x00\x00\x00\x00\x00\x02\x00\x03\x00", 18));
  // The second header label: "Name" at column 1, row 0.
  EXPECT_EQ(bytes.substr(18 + 12, 15),
            std::string("\x0F\x00\x0B\x00\x71\x01\x00\x00\x00'Name\x00", 15));
  EXPECT_EQ(bytes.substr(bytes.size() - 4), std::string("\x01\x00\x00\x00", 4));

  Table numbers{{{u"n", 0, KOSAVE_DOUBLE}}, {{Cell(2.5)}}};
  bytes = export_bytes(wk, "n.wk1", numbers, 0);
  double value = 2.5;
  std::string body("\x0E\x00\x0D\x00\x71\x00\x00\x00\x00", 9);
  body.append(reinterpret_cast<const char*>(&value), 8);
  EXPECT_EQ(bytes.substr(18, 17), body);

  Table long_label{{{u"s", 0, KOSAVE_STRING}}, {{Cell(std::u16string(300, u'z'))}}};
  bytes = export_bytes(wk, "l.wk1", long_label, 0);
  EXPECT_EQ(le16(bytes, 18), 0x0Fu);
  EXPECT_EQ(le16(bytes, 20), 246u);
  EXPECT_EQ(bytes.substr(18 + 4 + 5, 1), "'");
  EXPECT_EQ(bytes.substr(18 + 4 + 6, 239), std::string(239, 'z'));
  EXPECT_EQ(bytes[18 + 4 + 6 + 239], '\0');
}

}  // namespace
}  // namespace saveas_test

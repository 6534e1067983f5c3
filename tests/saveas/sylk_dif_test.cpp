/*
 * sylk_dif_test.cpp: the SYLK and DIF exporters: golden files pin the bytes,
 * and the records the formats' readers depend on are checked one by one.
 */
#include "saveas/export_table.h"

namespace saveas_test {
namespace {

class SylkDifTest : public SaveTest {};

// Strings and numbers only: their bytes do not depend on regional settings.
Table golden_table() {
  return Table{{{u"Name", 10, KOSAVE_STRING}, {u"Qty", 0, KOSAVE_DOUBLE}, {u"Price", 2, KOSAVE_DECIMAL}},
               {{Cell(u"Widget"), Cell(3.0), Cell(decimal(1999, 2))},
                {Cell(u"say \"hi\""), Cell(-0.5), Cell()},
                {Cell(), Cell(), Cell(decimal(-42, 0))}}};
}

TEST_F(SylkDifTest, SylkMatchesGoldenFile) {
  CKO_SaveSylk sylk;
  expect_golden(export_bytes(sylk, "t.slk", golden_table(), KOSAVE_COLUMN_NAMES), "header.slk");
  expect_golden(export_bytes(sylk, "t.slk", golden_table(), 0), "plain.slk");
}

TEST_F(SylkDifTest, SylkRecordsNumberRowsFromTheHeader) {
  Table table{{{u"A", 5, KOSAVE_STRING}, {u"B", 5, KOSAVE_STRING}},
              {{Cell(u"a1"), Cell(u"b1")}, {Cell(u"a2"), Cell(u"b2")}, {Cell(u"a3"), Cell(u"b3")}}};
  CKO_SaveSylk sylk;
  EXPECT_EQ(export_bytes(sylk, "r.slk", table, KOSAVE_COLUMN_NAMES),
            "ID;PKO\r\nB;Y3;X2\r\n"
            "C;Y1;X1;K\"A\"\r\nC;X2;K\"B\"\r\n"
            "C;Y2;X1;K\"a1\"\r\nC;X2;K\"b1\"\r\n"
            "C;Y3;X1;K\"a2\"\r\nC;X2;K\"b2\"\r\n"
            "C;Y4;X1;K\"a3\"\r\nC;X2;K\"b3\"\r\n"
            "E\r\n");
  std::string plain = export_bytes(sylk, "r.slk", table, 0);
  EXPECT_EQ(plain.substr(0, 26), "ID;PKO\r\nB;Y3;X2\r\nC;Y1;X1;K");
}

TEST_F(SylkDifTest, DifMatchesGoldenFile) {
  CKO_SaveDif dif;
  std::string bytes = export_bytes(dif, "t.dif", golden_table(), 0);
  // The TABLE item holds the file name as given, here in a scratch folder.
  std::string name = utf8(path("t.dif").u16string());
  size_t at = bytes.find(name);
  ASSERT_NE(at, std::string::npos);
  expect_golden(bytes.replace(at, name.size(), "t.dif"), "table.dif");
}

TEST_F(SylkDifTest, DifItems) {
  Table table{{{u"S", 5, KOSAVE_STRING}, {u"N", 0, KOSAVE_DOUBLE}}, {{Cell(u"a\"b"), Cell(2.0)}}};
  CKO_SaveDif dif;
  std::filesystem::path file = path("items.dif");
  ASSERT_EQ(run(dif, file, table, KOSAVE_COLUMN_NAMES).end_result, 1);
  std::string name = utf8(file.u16string());
  EXPECT_EQ(read_bytes(file),
            "TABLE\r\n0,1\r\n\"" + name + "\"\r\n"
            "VECTORS\r\n0,2\r\n\"\"\r\n"
            "TUPLES\r\n0,1\r\n\"\"\r\n"
            "LABEL\r\n1,1\r\n\"S\"\r\n"
            "LABEL\r\n2,1\r\n\"N\"\r\n"
            "DATA\r\n0,0\r\n\"\"\r\n"
            "-1,0\r\nBOT\r\n"
            "1,0\r\n\"a\"\"b\"\r\n"
            "0,2\r\nV\r\n"
            "-1,0\r\nEOD\r\n");
  // No rows: the header, the labels, DATA and EOD all the same.
  table.rows.clear();
  ASSERT_EQ(run(dif, file, table, 0).end_result, 1);
  EXPECT_EQ(read_bytes(file),
            "TABLE\r\n0,1\r\n\"" + name + "\"\r\n"
            "VECTORS\r\n0,2\r\n\"\"\r\n"
            "TUPLES\r\n0,0\r\n\"\"\r\n"
            "LABEL\r\n1,1\r\n\"S\"\r\n"
            "LABEL\r\n2,1\r\n\"N\"\r\n"
            "DATA\r\n0,0\r\n\"\"\r\n"
            "-1,0\r\nEOD\r\n");
}

}  // namespace
}  // namespace saveas_test

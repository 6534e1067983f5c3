// sylk_dif_test.cpp: the SYLK and DIF exporters: golden files pin the bytes
// (SYLK with and without the header row), and a DIF file with no rows.
#include "saveas/export_table.h"

namespace saveas_test {
namespace {

class SylkDifTest : public SaveTest {};

// Strings and numbers only: their bytes do not depend on regional settings.
Table golden_table() {
  return Table{
      {{u"Name", 10, KOSAVE_STRING}, {u"Qty", 0, KOSAVE_DOUBLE}, {u"Price", 2, KOSAVE_DECIMAL}},
      {{Cell(u"Widget"), Cell(3.0), Cell(decimal(1999, 2))},
       {Cell(u"say \"hi\""), Cell(-0.5), Cell()},
       {Cell(), Cell(), Cell(decimal(-42, 0))}}};
}

TEST_F(SylkDifTest, SylkMatchesGoldenFile) {
  CKO_SaveSylk sylk;
  expect_golden(export_bytes(sylk, "t.slk", golden_table(), KOSAVE_COLUMN_NAMES), "header.slk");
  expect_golden(export_bytes(sylk, "t.slk", golden_table(), 0), "plain.slk");
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

// No rows: the header, the labels (which the flags do not decide), DATA and
// EOD all the same, and no BOT.
TEST_F(SylkDifTest, DifWithoutRows) {
  Table table{{{u"S", 5, KOSAVE_STRING}, {u"N", 0, KOSAVE_DOUBLE}}, {}};
  CKO_SaveDif dif;
  std::filesystem::path file = path("items.dif");
  ASSERT_EQ(run(dif, file, table, KOSAVE_COLUMN_NAMES).end_result, 1);
  EXPECT_EQ(read_bytes(file), "TABLE\r\n0,1\r\n\"" + utf8(file.u16string()) +
                                  "\"\r\n"
                                  "VECTORS\r\n0,2\r\n\"\"\r\n"
                                  "TUPLES\r\n0,0\r\n\"\"\r\n"
                                  "LABEL\r\n1,1\r\n\"S\"\r\n"
                                  "LABEL\r\n2,1\r\n\"N\"\r\n"
                                  "DATA\r\n0,0\r\n\"\"\r\n"
                                  "-1,0\r\nEOD\r\n");
}

}  // namespace
}  // namespace saveas_test

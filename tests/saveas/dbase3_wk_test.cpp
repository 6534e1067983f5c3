// dbase3_wk_test.cpp: the binary exporters, dBase III and worksheet: golden
// files pin the bytes; the cuts, limits and row placement the golden tables
// do not reach are checked field by field.
#include "platform/byte_order.h"
#include "saveas/export_table.h"

namespace saveas_test {
namespace {

class BinaryTest : public SaveTest {};

uint32_t le16(const std::string& bytes, size_t at) {
  return ko::load_le16(reinterpret_cast<const uint8_t*>(bytes.data()) + at);
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

// What the golden table does not reach: a field name cut at ten characters
// and widths of 0 or over 255 (strings and decimals) held at 255.
TEST_F(BinaryTest, Dbase3FieldNamesAndWidthsAreCut) {
  Table table{{{u"twelve_chars", 0, KOSAVE_STRING},
               {u"b", 300, KOSAVE_STRING},
               {u"d", 300, KOSAVE_DECIMAL}},
              {{Cell(u"x"), Cell(u"y"), Cell()}}};
  CKO_SaveDbase3 dbase;
  std::string bytes = export_bytes(dbase, "l.dbf", table, 0);
  ASSERT_EQ(bytes.size(), 129u + 1 + 255 + 255 + 17 + 1);
  EXPECT_EQ(le16(bytes, 10), 528u);
  EXPECT_EQ(bytes.substr(32, 11), std::string("TWELVE_CHA\0", 11));
  EXPECT_EQ(uint8_t(bytes[32 + 16]), 255);  // width 0
  EXPECT_EQ(uint8_t(bytes[64 + 16]), 255);  // width 300
  EXPECT_EQ(bytes.substr(96 + 11, 7), std::string("N\0\0\0\0\x11\xFF", 7)) << "17 long, 255 places";
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
    KoSaveContext* save = dbase.Begin(storage_, subpool_, file.c_str(), c.rows, c.columns, 0, 0);
    EXPECT_EQ(save != nullptr, c.accepted) << c.rows << " x " << c.columns;
    if (save) dbase.End(save);
  }
  // The record may hold 4,000 bytes of fields: 15 full string fields, and a
  // 16th pushes it over.
  KoSaveContext* save = dbase.Begin(storage_, subpool_, file.c_str(), 0, 17, 0, 0);
  ASSERT_NE(save, nullptr);
  for (int i = 0; i < 15; ++i) EXPECT_EQ(dbase.AddColumn(save, u"s", 255, KOSAVE_STRING), 1);
  EXPECT_EQ(dbase.AddColumn(save, u"t", 175, KOSAVE_STRING), 1);  // 3,999
  EXPECT_EQ(dbase.AddColumn(save, u"u", 2, KOSAVE_STRING), 0);    // 4,001
  dbase.End(save);
}

// A python3 that can import dbfread, or empty.
std::string python_with_dbfread() {
  for (const char* python : {"python3", "/usr/bin/python3"}) {
    if (!have_program(python)) continue;
    int status = 0;
    run_command(std::string(python) + " -c 'import dbfread' 2>/dev/null", &status);
    if (status == 0) return python;
  }
  return {};
}

// Numbers keep their value: "[GENERAL]" text when it shows every digit within
// the field, else exact plain digits, else the overflow mark, counted and
// located for the caller. dbfread reads every file back (None for the mark).
TEST_F(BinaryTest, Dbase3NumbersKeepTheirValueOrAreMarked) {
  struct Row {
    Cell value;
    const char* field;      // right-aligned in the field; "*" for the overflow mark
    const char* read_back;  // dbfread's value, as Python's repr
  };
  struct Case {
    Column column;
    std::vector<Row> rows;
    uint32_t overflows;
    uint32_t first_overflow_row;
  };
  const std::vector<Case> cases = {
      {{u"n", 0, KOSAVE_DOUBLE},
       {{Cell(3.0), "3", "3"},
        {Cell(1234567890123456.0), "1234567890123456", "1234567890123456"},
        {Cell(9007199254740993.0), "9007199254740992", "9007199254740992"},  // the double's value
        {Cell(1e15), "1E+15", "1000000000000000.0"},
        {Cell(12345678901234567.0), "*", "None"},
        {Cell(-1234567890123456.0), "*", "None"},
        {Cell(123456789012345.6), "123456789012346", "123456789012346"},  // fraction rounded
        {Cell(1.0 / 3), "0.33333333333333", "0.33333333333333"},
        {Cell(-2.0 / 3), "-0.6666666666667", "-0.6666666666667"},
        {Cell(1.2345678901234567e-7), "0.00000012345679", "1.2345679e-07"},
        {Cell(-1e-20), "-1E-20", "-1e-20"},
        {Cell(-0.5), "-0.5", "-0.5"},
        {Cell(0.1 + 0.2), "0.3", "0.3"},
        {Cell(0.000001234), "1.234E-06", "1.234e-06"},
        {Cell(1e20), "1E+20", "1e+20"},
        {Cell(), "0", "0"}},
       2,
       4},
      {{u"d", 0, KOSAVE_DECIMAL},
       {{Cell(decimal(7, 0)), "7", "7"},
        {Cell(decimal(1234567890123456, 0)), "1234567890123456", "1234567890123456"},
        {Cell(decimal(-123456789012345, 0)), "-123456789012345", "-123456789012345"},
        {Cell(decimal(1000000000000000, 0)), "1E+15", "1000000000000000.0"},
        {Cell(decimal(12345678901234567, 0)), "*", "None"},
        {Cell(decimal(150, 2)), "1.5", "1.5"}},
       1,
       4},
      {{u"p", 2, KOSAVE_DECIMAL},
       {{Cell(decimal(1999, 2)), "19.99", "19.99"},
        {Cell(decimal(99999999999999999, 0)), "99999999999999999", "99999999999999999"},
        {Cell(decimal(1234567890123456, 1)), "123456789012345.6", "123456789012345.6"},
        {Cell(decimal(123456789012345678, 1)), "12345678901234568", "12345678901234568"},
        {Cell(decimal(123456789012345678, 3)), "123456789012345.7", "123456789012345.7"},
        {Cell(decimal(99999999999999999, 2)), "1000000000000000", "1000000000000000"},
        {Cell(decimal(-1234567890123456789, 1)), "*", "None"}},
       1,
       6},
  };
  const std::string python = python_with_dbfread();
  write_bytes(path("read.py"),
              "import dbfread, sys\n"
              "for record in dbfread.DBF(sys.argv[1], load=True):\n"
              "  print(repr(list(record.values())[0]))\n");
  for (const Case& c : cases) {
    const std::string name = utf8(c.column.name);
    SCOPED_TRACE(name);
    Table table{{c.column}, {}};
    for (const Row& row : c.rows) table.rows.push_back({row.value});
    const std::filesystem::path file = path(name + ".dbf");
    CKO_SaveDbase3 dbase;
    const ExportResult result = run(dbase, file, table, 0);
    EXPECT_EQ(result.end_result, 1);
    EXPECT_EQ(result.overflow_count, c.overflows);
    EXPECT_EQ(result.overflow_row, c.first_overflow_row);
    EXPECT_EQ(result.overflow_column, 0);
    const std::string bytes = read_bytes(file);
    const size_t length = c.column.width ? 17 : 16;
    ASSERT_EQ(bytes.size(), 65 + c.rows.size() * (length + 1) + 1);
    std::string expected_read;
    for (size_t r = 0; r < c.rows.size(); ++r) {
      const std::string text = c.rows[r].field;
      const std::string field =
          text == "*" ? std::string(length, '*') : std::string(length - text.size(), ' ') + text;
      EXPECT_EQ(bytes.substr(65 + r * (length + 1) + 1, length), field) << "row " << r;
      expected_read += std::string(c.rows[r].read_back) + "\n";
    }
    if (python.empty()) continue;
    int status = 0;
    const std::string read = run_command(
        python + " '" + path("read.py").string() + "' '" + file.string() + "' 2>&1", &status);
    EXPECT_EQ(status, 0) << read;
    EXPECT_EQ(read, expected_read);
  }
  if (python.empty()) GTEST_SKIP() << "no python3 with dbfread: the files were not read back";
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

// The golden file has a header row; without one the data starts in row 0.
TEST_F(BinaryTest, WorksheetDataStartsInRowZeroWithoutHeader) {
  CKO_SaveWk wk;
  Table numbers{{{u"n", 0, KOSAVE_DOUBLE}}, {{Cell(2.5)}}};
  std::string bytes = export_bytes(wk, "n.wk1", numbers, 0);
  double value = 2.5;
  std::string body("\x0E\x00\x0D\x00\x71\x00\x00\x00\x00", 9);
  body.append(reinterpret_cast<const char*>(&value), 8);
  EXPECT_EQ(bytes.substr(18, 17), body);
}

}  // namespace
}  // namespace saveas_test

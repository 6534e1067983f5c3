// delimited_test.cpp: the comma-separated, tab-separated and clipboard
// exporters: quoting, header line, missing values, fraction suffixes, and
// Python's csv module reading the files back field for field.
#include <koshr/format.h>
#include <koshr/host.h>

#include "saveas/export_table.h"

namespace saveas_test {
namespace {

class DelimitedTest : public SaveTest {};

Table one_string(const std::u16string& text) {
  return Table{{{u"s", 10, KOSAVE_STRING}}, {{Cell(text)}}};
}

TEST_F(DelimitedTest, QuotesStringsByEachExportersRule) {
  struct Case {
    std::u16string value;
    std::string csv;
    std::string text;
  } cases[] = {
      {u"plain", "plain", "plain"},
      {u"a,b", "\"a,b\"", "a,b"},
      {u"\"x\"", "\"\"\"x\"\"\"", "\"\"\"x\"\"\""},
      {u"\t", "\t", "\"\t\""},
      {u"a\"b", "\"a\"\"b\"", "a\"b"},
      {u"\"lead", "\"\"\"lead\"", "\"\"\"lead\""},
      {u"line\nbreak", "\"line\nbreak\"", "\"line\nbreak\""},
      {u"cr\rhere", "\"cr\rhere\"", "\"cr\rhere\""},
      {u"", "", ""},
  };
  CKO_SaveCsv csv;
  CKO_SaveText text;
  for (const Case& c : cases) {
    SCOPED_TRACE(utf8(c.value));
    EXPECT_EQ(export_bytes(csv, "q.csv", one_string(c.value), 0), c.csv + "\r\n");
    EXPECT_EQ(export_bytes(text, "q.txt", one_string(c.value), 0), c.text + "\r\n");
  }
}

TEST_F(DelimitedTest, HeaderNamesAreNeverQuotedAndEveryRowKeepsItsFields) {
  Table table{{{u"a,b", 5, KOSAVE_STRING}, {u"n", 0, KOSAVE_STRING}, {u"c", 0, 99}},
              {{Cell(u"x"), Cell(), Cell(u"ignored")}, {Cell(), Cell(u"y"), Cell()}}};
  CKO_SaveCsv csv;
  EXPECT_EQ(export_bytes(csv, "h.csv", table, KOSAVE_COLUMN_NAMES),
            "a,b,n,c\r\nx,,\r\n,y,\r\n");
  CKO_SaveText text;
  EXPECT_EQ(export_bytes(text, "h.txt", table, 0), "x\t\t\r\n\ty\t\r\n");
  // No rows write nothing, no columns not even the header line.
  EXPECT_EQ(export_bytes(csv, "e.csv", Table{table.columns, {}}, 0), "");
  EXPECT_EQ(export_bytes(csv, "e.csv", Table{}, KOSAVE_COLUMN_NAMES), "");
}

// The rendering of a value through one default format, as the engine gives it.
std::u16string engine_rendering(const char16_t* format, const KODATETIME& value) {
  KOFMTCODE compiled[39];
  EXPECT_EQ(shformatCmplDateTimeMask(format, compiled, 39, nullptr), 0);
  KOCHAR out[300];
  int n = shformatDateTime(compiled, &value, out, 300);
  return std::u16string(out, n > 0 ? size_t(n) : 0);
}

TEST_F(DelimitedTest, FractionSuffixesDifferBetweenCommaAndTabFiles) {
  KODATETIME whole = date_time(2024, 3, 5, 13, 45, 7);
  KODATETIME half = date_time(2024, 3, 5, 13, 45, 7, 500000);
  KODATETIME tiny = date_time(2024, 3, 5, 13, 45, 7, 10);
  std::string stamp = utf8(engine_rendering(u"[SHORTDATE] [TIME]", whole));
  std::string time = utf8(engine_rendering(u"[TIME]", whole));
  std::string date = utf8(engine_rendering(u"[SHORTDATE]", whole));
  ASSERT_FALSE(stamp.empty());
  Table table{{{u"dt", 0, KOSAVE_DATETIME}, {u"t", 0, KOSAVE_TIME}, {u"d", 0, KOSAVE_DATE}},
              {{Cell(whole), Cell(whole), Cell(half)},
               {Cell(half), Cell(half), Cell(whole)},
               {Cell(tiny), Cell(tiny), Cell()}}};
  CKO_SaveCsv csv;
  EXPECT_EQ(export_bytes(csv, "f.csv", table, 0),
            stamp + "," + time + "," + date + "\r\n" +     //
                stamp + ":05," + time + ":05," + date + "\r\n" +  //
                stamp + ":000001," + time + ":000001,\r\n");
  CKO_SaveText text;
  EXPECT_EQ(export_bytes(text, "f.txt", table, 0),
            stamp + "\t" + time + "\t" + date + "\r\n" +     //
                stamp + ".5\t" + time + ".5\t" + date + "\r\n" +  //
                stamp + ".00001\t" + time + ".00001\t\r\n");
}

TEST_F(DelimitedTest, CultureStringDecidesTheDefaultDateFormats) {
  std::u16string file = path("culture.csv").u16string();
  KoSaveContext* save = osSaveBegin32Web(storage_, subpool_, file.c_str(), 1, 2, 0, KOSAVE_ENCODING_UTF8,
                                         u"sShortDate=yyyy-mm-dd\tsTime=.");
  ASSERT_NE(save, nullptr);
  CKO_SaveCsv csv;
  KODATETIME when = date_time(2024, 3, 5, 13, 45, 7);
  EXPECT_EQ(csv.AddColumn(save, u"d", 0, KOSAVE_DATE), 1);
  EXPECT_EQ(csv.AddColumn(save, u"dt", 0, KOSAVE_DATETIME), 1);
  EXPECT_EQ(csv.WriteValue(save, &when), 1);
  EXPECT_EQ(csv.WriteValue(save, &when), 1);
  EXPECT_EQ(csv.End(save), 1);
  EXPECT_EQ(read_bytes(path("culture.csv")), "2024-03-05,2024-03-05 13.45.07\r\n");
}

TEST_F(DelimitedTest, NumbersRenderThroughTheGeneralFormat) {
  KOFMTCODE general[39];
  ASSERT_EQ(shformatCmplNumericMask(u"[GENERAL]", general, 39, nullptr), 0);
  double number = -1234.5;
  KODECIMAL money = decimal(123456, 2);
  KOCHAR expected_double[40], expected_decimal[40];
  shformatDouble(general, number, expected_double, 31);
  shformatDecimal(general, &money, expected_decimal, 31);
  Table table{{{u"d", 0, KOSAVE_DOUBLE}, {u"m", 2, KOSAVE_DECIMAL}}, {{Cell(number), Cell(money)}}};
  CKO_SaveCsv csv;
  EXPECT_EQ(export_bytes(csv, "n.csv", table, 0),
            utf8(expected_double) + "," + utf8(expected_decimal) + "\r\n");
}

TEST_F(DelimitedTest, ClipboardGetsTheTabSeparatedTextOrNothing) {
  CKO_SaveClip clip;
  KODATETIME half = date_time(2024, 3, 5, 13, 45, 7, 500000);
  std::u16string stamp = engine_rendering(u"[SHORTDATE] [TIME]", half);
  Table table{{{u"name", 9, KOSAVE_STRING}, {u"when", 0, KOSAVE_DATETIME}},
              {{Cell(u"a\tb"), Cell(half)}}};
  ExportResult result = run(clip, {}, table, KOSAVE_COLUMN_NAMES);
  EXPECT_EQ(result.failed_step, -1);
  EXPECT_EQ(result.end_result, 1);
  EXPECT_EQ(std::u16string(koshr_clipboard_text()),
            u"name\twhen\r\n\"a\tb\"\t" + stamp + u":05\r\n");

  // A long export grows the buffer many times over.
  Table big{{{u"s", 9, KOSAVE_STRING}}, {}};
  for (int i = 0; i < 3000; ++i) big.rows.push_back({Cell(u"row " + std::u16string(i % 50, u'x'))});
  EXPECT_EQ(run(clip, {}, big, 0).end_result, 1);
  std::u16string expected;
  for (const auto& row : big.rows) expected += std::get<std::u16string>(row[0]) + u"\r\n";
  EXPECT_EQ(std::u16string(koshr_clipboard_text()), expected);

  EXPECT_EQ(run(clip, {}, Table{{{u"s", 1, KOSAVE_STRING}}, {}}, 0).end_result, 1);
  EXPECT_EQ(std::u16string(koshr_clipboard_text()), u"");
}

// Python's csv module reads the files back, field for field.
TEST_F(DelimitedTest, PythonCsvReadsBothFilesBack) {
  if (!have_program("python3")) GTEST_SKIP() << "python3 not available";
  Table table{{{u"name", 20, KOSAVE_STRING}, {u"note", 40, KOSAVE_STRING}}, {}};
  const std::u16string values[] = {u"plain",  u"a,b",        u"\"quoted\"",  u"tab\there",
                                   u"multi\r\nline", u"caf\u00e9 \u20ac", u"",  u"\"lead",
                                   u"trail\"", u"x\ny"};
  for (const auto& a : values) {
    for (const auto& b : values) table.rows.push_back({Cell(a), Cell(b)});
  }
  const char* script =
      "import csv,sys\n"
      "d = '\\t' if sys.argv[2] == 'tab' else ','\n"
      "with open(sys.argv[1], newline='', encoding='utf-8') as f:\n"
      "  for row in csv.reader(f, delimiter=d):\n"
      "    sys.stdout.write('\\x1f'.join(row) + '\\x1e')\n";
  write_bytes(path("read.py"), script);
  std::string expected = utf8(table.columns[0].name) + "\x1f" + utf8(table.columns[1].name) + "\x1e";
  for (const auto& row : table.rows) {
    expected += utf8(std::get<std::u16string>(row[0])) + "\x1f" +
                utf8(std::get<std::u16string>(row[1])) + "\x1e";
  }
  CKO_SaveCsv csv;
  CKO_SaveText text;
  using Writer = std::pair<const char*, IKO_SaveFileType*>;
  for (auto [kind, chosen] : {Writer{"comma", &csv}, Writer{"tab", &text}}) {
    std::filesystem::path file = path(std::string("read.") + kind);
    ASSERT_EQ(run(*chosen, file, table, KOSAVE_COLUMN_NAMES).end_result, 1);
    int status = 0;
    std::string read_back = run_command(
        "python3 '" + path("read.py").string() + "' '" + file.string() + "' " + kind, &status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(read_back, expected) << kind;
  }
}

}  // namespace
}  // namespace saveas_test

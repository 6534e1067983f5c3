// saveas_tool_test.cpp: `koshr saveas` and what it is made of: the RFC 4180
// reader on good, truncated and corrupt input, column inference, and the
// command itself (no partial file after an error).
#include <cstdio>

#include "csv_reader.h"
#include "saveas/export_table.h"
#include "saveas_columns.h"

namespace saveas_test {
namespace {

using Records = std::vector<std::vector<std::string>>;

Records read_all(const std::string& text, std::string* error) {
  koshr_tool::CsvReader reader(text);
  Records records;
  std::vector<std::string> fields;
  while (reader.next(fields)) records.push_back(fields);
  *error = reader.error();
  return records;
}

TEST(CsvReaderTest, ReadsRecordsAndNamesTheLineOfAFault) {
  struct Case {
    std::string text;
    Records records;
    std::string error;
  } cases[] = {
      {"a,b\r\n1,2\r\n", {{"a", "b"}, {"1", "2"}}, ""},
      {"a,b\n1,2", {{"a", "b"}, {"1", "2"}}, ""},
      {"\xEF\xBB\xBF"
       "x\n",
       {{"x"}},
       ""},
      {"a,\"b,c\"\n\"q\"\"x\",\"multi\r\nline\"\n", {{"a", "b,c"}, {"q\"x", "multi\r\nline"}}, ""},
      {"a,,\n", {{"a", "", ""}}, ""},
      {"", {}, ""},
      {"a\n\"open\n\nstill", {{"a"}}, "line 2: a quoted field is never closed"},
      {"a\nb\"c\n", {{"a"}}, "line 2: a quote inside a field that does not start with one"},
      {"a\n\"x\"y\n", {{"a"}}, "line 2: text after the closing quote of a field"},
      {"a\n\"two\nlines\",\xFF\n", {{"a"}}, "line 2: the text is not UTF-8"},
      {"\xC3\n", {}, "line 1: the text is not UTF-8"},
  };
  for (const Case& c : cases) {
    std::string error;
    EXPECT_EQ(read_all(c.text, &error), c.records) << c.text;
    EXPECT_EQ(error, c.error) << c.text;
    // Streamed from a file through windows of 1 to 4 bytes: the same records and error.
    for (size_t window = 1; window <= 4 && !c.text.empty(); ++window) {
      std::FILE* file = std::tmpfile();
      ASSERT_NE(file, nullptr);
      std::fwrite(c.text.data(), 1, c.text.size(), file);
      std::rewind(file);
      koshr_tool::CsvReader reader(file, window);
      Records records;
      std::vector<std::string> fields;
      while (reader.next(fields)) records.push_back(fields);
      EXPECT_EQ(records, c.records) << c.text << " window " << window;
      EXPECT_EQ(reader.error(), c.error) << c.text << " window " << window;
      std::fclose(file);
    }
  }
}

std::vector<koshr_tool::ExportColumn> infer(const std::vector<std::string>& names,
                                            const Records& rows) {
  koshr_tool::ColumnInference inference(names.size());
  for (const auto& row : rows) inference.add(row);
  return inference.columns(names);
}

TEST(CsvReaderTest, InfersColumnTypes) {
  std::vector<std::string> names = {"when",  "day",   "at",   "money",
                                    "ratio", "count", "word", "empty"};
  Records rows = {
      {"2024-03-05T13:45:07", "2024-03-05", "13:45", "1.50", "1e3", "12", "hello", ""},
      {"2024-03-05 01:02:03.25", "2000-02-29", "08:00:01.5", "-2.25", "0.5", "-7", "é€", ""},
      {"", "", "", "", "", "", "", ""}};
  auto columns = infer(names, rows);
  ASSERT_EQ(columns.size(), names.size());
  const std::pair<uint8_t, int32_t> expected[] = {
      {KOSAVE_DATETIME, 0}, {KOSAVE_DATE, 0},    {KOSAVE_TIME, 0},   {KOSAVE_DECIMAL, 2},
      {KOSAVE_DOUBLE, 0},   {KOSAVE_DECIMAL, 0}, {KOSAVE_STRING, 5}, {KOSAVE_STRING, 1}};
  for (size_t i = 0; i < columns.size(); ++i) {
    EXPECT_EQ(columns[i].type, expected[i].first) << names[i];
    EXPECT_EQ(columns[i].width, expected[i].second) << names[i];
  }
  // Differing decimals, an impossible date and a bad time all fall back.
  auto mixed =
      infer({"a", "b", "c"}, {{"1.5", "2023-02-29", "24:00"}, {"1.25", "2024-01-01", "10:00"}});
  EXPECT_EQ(mixed[0].type, KOSAVE_DOUBLE);
  EXPECT_EQ(mixed[1].type, KOSAVE_STRING);
  EXPECT_EQ(mixed[2].type, KOSAVE_STRING);
}

TEST(CsvReaderTest, ParsesColumnLists) {
  std::vector<koshr_tool::ExportColumn> columns;
  std::string why;
  ASSERT_TRUE(
      koshr_tool::parse_column_list("id:decimal:0,name:string:20,at:datetime", columns, why));
  ASSERT_EQ(columns.size(), 3u);
  EXPECT_EQ(columns[0].type, KOSAVE_DECIMAL);
  EXPECT_EQ(columns[1].width, 20);
  EXPECT_EQ(columns[2].type, KOSAVE_DATETIME);
  EXPECT_FALSE(koshr_tool::parse_column_list("id:number", columns, why));
  EXPECT_NE(why.find("unknown type 'number'"), std::string::npos);
  EXPECT_FALSE(koshr_tool::parse_column_list("id:string:x", columns, why));
  EXPECT_FALSE(koshr_tool::parse_column_list("id", columns, why));
}

#ifdef KOSHR_TOOL
class SaveasToolTest : public SaveTest {
 protected:
  // `koshr saveas` from one scratch file to another; its exit status, and
  // its standard output and error in *output.
  int saveas(const std::string& from, const std::string& to, std::string* output,
             const std::string& options = "") {
    int status = 0;
    *output = run_command(std::string(KOSHR_TOOL) + " saveas '" + path(from).string() + "' '" +
                              path(to).string() + "'" + options + " 2>&1",
                          &status);
    return status;
  }
};

TEST_F(SaveasToolTest, MalformedInputNamesTheLineAndLeavesNoFile) {
  std::string wide;  // beyond the format's limits: fails in the library
  for (int i = 0; i < 130; ++i) wide += (i ? ",c" : "c") + std::to_string(i);
  const struct {
    const char* file;
    std::string text;
    const char* message;
  } cases[] = {
      {"bad.csv", "a,b\n1,2\n3,\"4\n", "line 3: a quoted field is never closed"},
      {"short.csv", "a,b\n1,2\n3\n", "line 3: 1 fields where the first line names 2"},
      {"wide.csv", wide + "\n" + std::string(129, ',') + "\n", ""},
      {"huge.csv", "id,amount\n1,5.25\n2,123456789012345678901234.25\n3,9876543210987654321098.5\n",
       "row 2, column amount: the number does not fit its field (2 values in all)"}};
  for (const auto& c : cases) {
    write_bytes(path(c.file), c.text);
    std::string output;
    EXPECT_NE(saveas(c.file, "out.dbf", &output), 0) << c.file;
    EXPECT_NE(output.find(c.message), std::string::npos) << output;
  }
  using Entries = std::filesystem::directory_iterator;
  EXPECT_EQ(std::distance(Entries(folder_.path()), Entries()), 4) << "the four inputs only";
}

TEST_F(SaveasToolTest, SavesWithInferredOrGivenTypes) {
  write_bytes(path("goods.csv"),
              "name,qty,price,day\nWidget,3,19.99,2024-03-05\n\"a, b\",1e3,4.50,\n");
  std::string output;
  ASSERT_EQ(saveas("goods.csv", "goods.sql", &output), 0) << output;
  EXPECT_EQ(read_bytes(path("goods.sql")),
            "CREATE TABLE goods (\r\n\tname char(6),\r\n\tqty float,\r\n\tprice decimal(16, "
            "2),\r\n\tday date);"
            "\r\nINSERT INTO goods VALUES (\r\n\t'Widget',\r\n\t3,\r\n\t19.99,\r\n\t'2024-03-05');"
            "\r\nINSERT INTO goods VALUES (\r\n\t'a, b',\r\n\t1000,\r\n\t4.5,\r\n\tNULL);\r\n");
  ASSERT_EQ(saveas("goods.csv", "goods.out", &output,
                   " --as csv --header --columns name:string,qty:string,price:string,day:string"),
            0)
      << output;
  EXPECT_EQ(read_bytes(path("goods.out")),
            "name,qty,price,day\r\nWidget,3,19.99,2024-03-05\r\n\"a, b\",1e3,4.50,\r\n");
  EXPECT_NE(saveas("goods.csv", "x.out", &output), 0);
  EXPECT_NE(output.find("no format for this extension"), std::string::npos);
}

TEST_F(SaveasToolTest, TheCultureReachesEveryNumberOfTheTextWriters) {
  write_bytes(path("n.csv"), "price,ratio,at\n19.99,1.5,2024-03-05 10:11:12.5\n");
  const struct {
    const char* out;
    const char* expected;
  } cases[] = {{"n.txt", "19,99\t1,5\t3/5/24 10.11.12,5\r\n"},
               {"n-saved.csv", "19,99,1,5,3/5/24 10.11.12.05\r\n"}};
  for (const auto& c : cases) {
    std::string output;
    ASSERT_EQ(saveas("n.csv", c.out, &output, " --culture \"$(printf 'sDecimal=,\\tsTime=.')\""), 0)
        << output;
    EXPECT_EQ(read_bytes(path(c.out)), c.expected) << c.out;
  }
}
#endif

}  // namespace
}  // namespace saveas_test

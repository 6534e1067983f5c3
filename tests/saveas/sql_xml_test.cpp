// sql_xml_test.cpp: the SQL and XML exporters, judged by sqlite3 (which runs
// the script and gives the values back) and xmllint (which must accept the
// document), and their exact text where the readers would not notice.
#include "platform/byte_order.h"
#include "saveas/export_table.h"

namespace saveas_test {
namespace {

class SqlXmlTest : public SaveTest {};

std::string from_utf16le(const std::string& bytes) {
  std::u16string text;
  const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
  for (size_t i = 0; i + 1 < bytes.size(); i += 2) text += char16_t(ko::load_le16(data + i));
  return utf8(text);
}

TEST_F(SqlXmlTest, SqlScriptText) {
  Table table{{{u"name", 10, KOSAVE_STRING}, {u"amount", 2, KOSAVE_DECIMAL}},
              {{Cell(u"O'Brien"), Cell()}}};
  CKO_SaveSql sql;
  EXPECT_EQ(export_bytes(sql, "t.sql", table, KOSAVE_COLUMN_NAMES),
            "CREATE TABLE t (\r\n\tname char(10),\r\n\tamount decimal(16, 2));"
            "\r\nINSERT INTO t VALUES (\r\n\t'O''Brien',\r\n\tNULL);\r\n");
}

TEST_F(SqlXmlTest, Sqlite3RunsTheScriptAndTheValuesComeBack) {
  if (!have_program("sqlite3")) GTEST_SKIP() << "sqlite3 not available";
  Table table{{{u"name", 20, KOSAVE_STRING},
               {u"qty", 0, KOSAVE_DOUBLE},
               {u"price", 2, KOSAVE_DECIMAL},
               {u"day", 0, KOSAVE_DATE},
               {u"at", 0, KOSAVE_TIME}},
              {{Cell(u"Widget"), Cell(3.0), Cell(decimal(1999, 2)), Cell(u"'2024-03-05'"),
                Cell(u"'13:45:07'")},
               {Cell(u"it's \u00e9"), Cell(-0.5), Cell(decimal(-42, 0)), Cell(), Cell()},
               {Cell(), Cell(), Cell(), Cell(u"NULL"), Cell(u"'00:00:01'")}}};
  CKO_SaveSql sql;
  std::filesystem::path file = path("goods.sql");
  ASSERT_EQ(run(sql, file, table, 0).end_result, 1);
  int status = 0;
  std::string out =
      run_command("sqlite3 -separator '|' :memory: \".read '" + file.string() +
                      "'\" 'SELECT name, qty, price, day, at FROM goods ORDER BY rowid;'",
                  &status);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(out,
            "Widget|3.0|19.99|2024-03-05|13:45:07\n"
            "it's \xC3\xA9|-0.5|-42||\n"
            "||||00:00:01\n");
}

TEST_F(SqlXmlTest, XmlDocumentText) {
  Table table{{{u"(None)", 5, KOSAVE_STRING}, {u"n", 0, KOSAVE_DOUBLE}},
              {{Cell(u"a &amp; b < c"), Cell()}, {Cell(u"\"&lt;\">"), Cell()}}};
  CKO_SaveXml xml;
  std::string bytes =
      export_bytes(xml, "my data.xml", table, KOSAVE_COLUMN_NAMES, KOSAVE_ENCODING_ANSI);
  ASSERT_GE(bytes.size(), 2u);
  EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE");
  EXPECT_EQ(from_utf16le(bytes.substr(2)),
            "<?xml version=\"1.0\" encoding=\"UTF-16LE\"?>\r\n"
            "<my_data>\r\n"
            "\t<my_data_row>\r\n\t\t<column>a &amp; b &lt; "
            "c</column>\r\n\t\t<n></n>\r\n\t</my_data_row>\r\n"
            "\t<my_data_row>\r\n\t\t<column>&quot;&amp;lt;&quot;&gt;</column>\r\n\t\t<n></n>\r\n"
            "\t</my_data_row>\r\n"
            "</my_data>\r\n");
}

TEST_F(SqlXmlTest, XmllintAcceptsTheDocument) {
  if (!have_program("xmllint")) GTEST_SKIP() << "xmllint not available";
  Table table{{{u"name", 20, KOSAVE_STRING},
               {u"qty", 0, KOSAVE_DOUBLE},
               {u"stamp", 0, KOSAVE_DATETIME},
               {u"price", 2, KOSAVE_DECIMAL}},
              {}};
  const std::u16string names[] = {
      u"plain", u"<tag>", u"a & b", u"\"quoted\"", u"caf\u00e9 \U0001F600", u"&amp;"};
  for (int i = 0; i < 6; ++i) {
    table.rows.push_back({Cell(names[i]), Cell(i * 0.25),
                          Cell(date_time(2024, 1, 2, 3, 4, 5, 120000)), Cell(decimal(i * 101, 2))});
  }
  table.rows.push_back({Cell(), Cell(), Cell(), Cell()});
  CKO_SaveXml xml;
  std::filesystem::path file = path("export.xml");
  ASSERT_EQ(run(xml, file, table, 0).end_result, 1);
  int status = 0;
  run_command("xmllint --noout '" + file.string() + "' 2>&1", &status);
  EXPECT_EQ(status, 0);
  std::string names_back =
      run_command("xmllint --xpath '//export_row/name/text()' '" + file.string() + "'", &status);
  EXPECT_EQ(status, 0);
  EXPECT_NE(names_back.find("caf\xC3\xA9 \xF0\x9F\x98\x80"), std::string::npos);
}

}  // namespace
}  // namespace saveas_test

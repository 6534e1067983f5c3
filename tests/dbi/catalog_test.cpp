// The extended-attribute catalog: tables built by the driver through the
// shared row reader, edit-style descriptions and the attribute readers.
#include "dbi/catalog_row_reader.h"
#include "dbi/catalog_tables.h"
#include "dbi_test_support.h"

#include <tuple>

namespace {

using dbi_test::Driver;
using dbi_test::narrow;

DbiCatalogValue text(const char16_t* column, const char16_t* value) {
  return DbiCatalogValue{column, DBI_VALUE_TEXT, value, 0};
}
DbiCatalogValue number(const char16_t* column, int64_t value) {
  return DbiCatalogValue{column, DBI_VALUE_INTEGER, nullptr, value};
}
DbiCatalogValue null(const char16_t* column) { return DbiCatalogValue{column, DBI_VALUE_NULL, nullptr, 0}; }

// Edit-style rows: name, text, type, sequence, work, flags.
std::vector<DbiCatalogValue> style_rows(
    std::initializer_list<std::tuple<const char16_t*, const char16_t*, int, int, const char16_t*>> rows) {
  std::vector<DbiCatalogValue> values;
  for (const auto& [name, edit, type, sequence, work] : rows) {
    values.push_back(text(u"KOE_NAME", name));
    values.push_back(edit != nullptr ? text(u"koe_edit", edit) : null(u"koe_edit"));
    values.push_back(number(u"koe_type", type));
    values.push_back(number(u"koe_seqn", sequence));
    values.push_back(work != nullptr ? text(u"koe_work", work) : null(u"koe_work"));
    values.push_back(number(u"koe_flag", 0x10));
  }
  return values;
}

class CatalogTest : public dbi_test::DriverTest {
 protected:
  DbiEditStyle* style(DbiContext* context, const char16_t* name) {
    DbiEditStyleHolder holder{storage_, nullptr, reinterpret_cast<DbiEditStyle*>(this)};
    DBI_EditStyleInfo(context, &holder, name);
    return holder.style;
  }
};

TEST_F(CatalogTest, FormatAndValidationTablesAreUniqueByName) {
  DbiContext* context = connected();
  Driver driver(context->module);
  driver.rows(DBI_CATALOG_FORMATS,
              {text(u"kof_frmt", u"#,##0"), text(u"kof_name", u"money"), number(u"KOF_TYPE", 70000),
               number(u"kof_cntr", 70000), text(u"kof_frmt", u"0.0"), text(u"kof_name", u"money"),
               number(u"kof_type", 2), null(u"kof_cntr")},
              4);
  driver.rows(DBI_CATALOG_VALIDATION,
              {text(u"kov_name", u"positive"), text(u"kov_vald", u"x > 0"), text(u"kov_type", u"3"),
               text(u"kov_msg", u"must be positive")},
              4);
  DBI_FormatHash(context);
  DBI_ValidHash(context);
  EXPECT_EQ(driver.operations(), (std::vector<int32_t>{DBI_OP_FORMAT_TABLE, DBI_OP_VALIDATION_TABLE}));
  auto* format = static_cast<DbiFormatRecord*>(shhash_search(context->format_table, u"money"));
  ASSERT_NE(format, nullptr);
  EXPECT_EQ(std::tuple(narrow(format->format), format->type, format->counter),
            std::tuple("#,##0", static_cast<int16_t>(70000), 70000));
  auto* rule = static_cast<DbiValidationRecord*>(shhash_search(context->validation_table, u"positive"));
  ASSERT_NE(rule, nullptr);
  EXPECT_EQ(std::tuple(rule->type, narrow(rule->message)), std::tuple(3, "must be positive"));
  DBI_FreeValidHash(context, &context->format_table);
  EXPECT_EQ(context->format_table, nullptr);
  driver.reset();
}

TEST_F(CatalogTest, CatalogAccessOffAsksNothing) {
  DbiContext* context = connected();
  context->catalog_access_off = 1;
  context->return_code = 5;
  context->result = 5;
  DBI_EditStyleHash(context);
  EXPECT_EQ(std::tuple(context->edit_style_table, context->return_code, context->result),
            std::tuple(nullptr, 0, 0));
  EXPECT_TRUE(Driver(context->module).calls().empty());
}

TEST_F(CatalogTest, EditStylesBuildTheirDescriptions) {
  DbiContext* context = connected();
  Driver driver(context->module);
  driver.rows(DBI_CATALOG_EDIT_STYLES,
              style_rows({
                  {u"yesno", u"12", 86, 1, nullptr},
                  {u"yesno", u"Yes", 86, 2, nullptr},
                  {u"yesno", u"Y", 86, 3, nullptr},
                  {u"yesno", u"No", 86, 4, nullptr},
                  {u"yesno", u"N", 86, 5, nullptr},
                  {u"lonely", u"", 86, 1, nullptr},
                  {u"radio", u"3", 87, 1, u"Left"},
                  {u"paths", u"0", 86, 1, nullptr},
                  {u"paths", u"a/b", 86, 2, nullptr},
                  {u"paths", u"skipped", 86, 1, nullptr},
                  {u"paths", nullptr, 86, 4, nullptr},
                  {u"check", u"Agree", 85, 1, u"L"},
                  {u"check", u"Y", 85, 2, nullptr},
                  {u"check", u"N", 85, 3, nullptr},
                  {u"mask", u"###-####", 88, 1, u"1"},
                  {u"list", u"customers", 89, 1, nullptr},
                  {u"field", u"40", 90, 1, u"[general]"},
                  {u"formatted", u"dd/mm/yyyy", 91, 1, u"Required"},
                  {u"odd", u"1", 84, 1, nullptr},
                  {u"a-style-name-longer-than-thirty-one", u"1", 87, 1, nullptr},
              }),
              6);
  DBI_EditStyleHash(context);
  ASSERT_NE(context->edit_style_table, nullptr);

  const DbiEditStyle* yesno = style(context, u"yesno");
  ASSERT_NE(yesno, nullptr);
  EXPECT_EQ(std::tuple(yesno->type, yesno->setting, yesno->flags, narrow(yesno->code_table)),
            std::tuple(86, int16_t{12}, 0x10, "Yes\tY/No\tN/"));
  const DbiEditStyle* radio = style(context, u"radio");
  ASSERT_NE(radio, nullptr);
  EXPECT_EQ(std::tuple(radio->setting, radio->option, radio->code_table),
            std::tuple(int16_t{3}, u'L', nullptr));
  const DbiEditStyle* check = style(context, u"check");
  ASSERT_NE(check, nullptr);
  EXPECT_EQ(std::tuple(narrow(check->text), narrow(check->extra), narrow(check->code_table)),
            std::tuple("Agree", "L", "Y\tN/"));
  for (const char16_t* name : {u"paths", u"mask", u"field", u"formatted"})
    ASSERT_NE(style(context, name), nullptr) << narrow(name);
  EXPECT_EQ(narrow(style(context, u"paths")->code_table), "a//b\t\t");
  EXPECT_EQ(narrow(style(context, u"mask")->text), "###-####");
  EXPECT_EQ(std::tuple(style(context, u"field")->setting, narrow(style(context, u"field")->extra)),
            std::tuple(int16_t{40}, "[general]"));
  EXPECT_EQ(style(context, u"formatted")->option, u'R');
  for (const char16_t* name : {u"lonely", u"list", u"odd", u"unknown"})
    EXPECT_EQ(style(context, name), nullptr) << narrow(name);
  EXPECT_EQ(narrow(style(context, u"a-style-name-longer-than-thirty-one")->name),
            "a-style-name-longer-than-thirty");
  driver.reset();
}

TEST_F(CatalogTest, EditUpdateCallsTheDriverAndRereadsTheStyles) {
  DbiContext* context = connected();
  Driver driver(context->module);
  DBI_EditStyleHash(context);
  int record = 0;
  DBI_EditUpdate(context, &record, 2);
  const auto calls = driver.calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(
      std::tuple(calls[1].operation, calls[1].sub_operation, calls[1].edit_record,
                 calls[2].operation),
      std::tuple(DBI_OP_EDIT_UPDATE, 2, static_cast<void*>(&record), DBI_OP_EDIT_STYLE_TABLE));
}

class AttributeReaderTest : public dbi_test::ContextTest {};

TEST_F(AttributeReaderTest, TableAttributesReadFontGroupsByName) {
  DbiContext* context = bare_context();
  DbiTableAttributes table{};
  const DbiCatalogValue row[] = {
      number(u"KOD_FHGT", -12),  text(u"kod_fitl", u"yes"), text(u"kod_funl", u"N"),
      text(u"koh_fwgt", u"700"), null(u"kol_fhgt"),
      text(u"kol_ffce", u"A face name that is longer than thirty-one characters"),
      text(u"kot_cmnt", u"orders"), text(u"unknown", u"x"),
  };
  ko::dbi::read_table_attributes(context, &table, row, sizeof row / sizeof row[0]);
  EXPECT_EQ(std::tuple(table.data.height, table.data.italic, table.data.underline,
                       table.heading.weight, table.label.height),
            std::tuple(-12, 1, 0, 700, 0));
  EXPECT_EQ(narrow(table.label.face), "A face name that is longer than");
  EXPECT_EQ(narrow(table.comment), "orders");
}

TEST_F(AttributeReaderTest, ColumnRowsApplyOnlyAfterTheirName) {
  DbiContext* context = bare_context();
  DbiColumnAttributes columns[2] = {};
  columns[0].name = u"id";
  columns[1].name = u"Name";
  const DbiCatalogValue first[] = {text(u"koc_labl", u"ignored"), text(u"koc_cnam", u"name"),
                                   text(u"koc_hdr", u""), text(u"koc_init", u"x"),
                                   text(u"koc_bmap", u"Y"), number(u"koc_wdth", 80)};
  ko::dbi::read_column_attributes(context, columns, 2, first, 6);
  EXPECT_EQ(std::tuple(columns[1].label, columns[1].heading, narrow(columns[1].initial),
                       columns[1].bitmap, columns[1].width),
            std::tuple(nullptr, nullptr, "x", 1, 80));
  const DbiCatalogValue last[] = {text(u"koc_labl", u"Ident"), text(u"koc_cnam", u"id")};
  ko::dbi::read_column_attributes(context, columns, 2, last, 2);
  EXPECT_EQ(columns[0].label, nullptr);
  const DbiCatalogValue unknown[] = {text(u"koc_cnam", u"gone"), text(u"koc_labl", u"x")};
  ko::dbi::read_column_attributes(context, columns, 2, unknown, 2);
  EXPECT_EQ(columns[0].label, nullptr);
}

TEST(CatalogNames, RecognisesTheFiveTablesInAnyCase) {
  for (const char16_t* name : {u"kocattbl", u"KOCATCOL", u"KoCatEdt", u"kocatfmt", u"kocatvld"}) {
    EXPECT_TRUE(ko::dbi::is_catalog_table(name)) << narrow(name);
  }
  for (const char16_t* name : {u"kocat", u"kocattbls", u"orders", u""}) {
    EXPECT_FALSE(ko::dbi::is_catalog_table(name)) << narrow(name);
  }
}

}  // namespace

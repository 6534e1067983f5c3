// test_driver.cpp: a database driver for the tests, built as a shared
// library (koTST; koTRA with the tracing entry name; koNOE with no entry).
//
// It records each operation it receives and answers it: log-in, connect and
// disconnect with the return code the test set, the transaction-server probe
// and the native handle through the result word, closed statements and
// assertions by what they carry, and the catalog tables by feeding the rows
// the test set through the front end's row reader (context->services).
#include <string>
#include <vector>

#include "../test_driver.h"

#if defined(_WIN32)
#define TEST_DRIVER_EXPORT extern "C" __declspec(dllexport)
#else
#define TEST_DRIVER_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace {

struct Answer {
  int32_t operation;
  int32_t return_code;
  int32_t sql_code;
  intptr_t result;
};

struct StoredValue {
  std::u16string column;
  int32_t kind;
  std::u16string text;
  int64_t integer;
};

struct Rows {
  int32_t catalog;
  uint32_t per_row;
  std::vector<StoredValue> values;
};

std::vector<TestDriverCall> g_calls;
std::vector<Answer> g_answers;
std::vector<Rows> g_rows;
int g_native_handle;

void append(KOCHAR* out, const KOCHAR* text) {
  size_t at = 0;
  while (out[at] != 0) ++at;
  for (size_t i = 0; text != nullptr && text[i] != 0 && at + 1 < TEST_DRIVER_TEXT; ++i)
    out[at++] = text[i];
  out[at] = 0;
}

void describe_parameters(DbiContext* context, TestDriverCall& call) {
  auto* list = reinterpret_cast<shlistx*>(context->result);
  for (void* item = context->services->list_first(list); item != nullptr;
       item = context->services->list_next(list)) {
    const auto* parm = static_cast<const DbiParm*>(item);
    append(call.text, parm->name);
    append(call.text, u"=");
    append(call.text, parm->text != nullptr ? parm->text : u"(null)");
    const std::string number = std::to_string(parm->number);
    append(call.text, u"#");
    append(call.text, std::u16string(number.begin(), number.end()).c_str());
    append(call.text, u";");
  }
}

void join(KOCHAR* out, KOCHAR* const* strings, int count) {
  for (int i = 0; i < count; ++i) {
    if (i > 0) append(out, u"|");
    append(out, strings[i] != nullptr ? strings[i] : u"(null)");
  }
}

ShHashTable* catalog_table(DbiContext* context, int32_t catalog) {
  ShHashTable* table = context->services->catalog_new_table(context, catalog);
  for (const Rows& rows : g_rows) {
    if (rows.catalog != catalog || rows.per_row == 0) continue;
    std::vector<DbiCatalogValue> row(rows.per_row);
    for (size_t start = 0; start + rows.per_row <= rows.values.size(); start += rows.per_row) {
      for (uint32_t i = 0; i < rows.per_row; ++i) {
        const StoredValue& value = rows.values[start + i];
        row[i] =
            DbiCatalogValue{value.column.c_str(), value.kind, value.text.c_str(), value.integer};
      }
      context->services->catalog_add_row(context, table, catalog, row.data(), rows.per_row);
    }
  }
  return table;
}

[[maybe_unused]] int32_t dispatch(DbiContext* context) {
  TestDriverCall call{};
  call.operation = context->operation;
  call.sub_operation = context->sub_operation;
  call.edit_record = context->edit_record;
  for (const Answer& answer : g_answers) {
    if (answer.operation != context->operation) continue;
    context->return_code = answer.return_code;
    context->sql_code = answer.sql_code;
    context->result = answer.result;
  }
  switch (context->operation) {
    case DBI_OP_CONNECT:
      join(call.text, context->connect, 4);
      break;
    case DBI_OP_LOGIN:
      join(call.text, context->login, 3);
      break;
    case DBI_OP_NEW_PARAMETERS:
      describe_parameters(context, call);
      break;
    case DBI_OP_NATIVE_HANDLE:
      context->result = reinterpret_cast<intptr_t>(&g_native_handle);
      break;
    case DBI_OP_CLOSE_STATEMENT:
      call.statement = reinterpret_cast<SqlCacheEntry*>(context->result)->statement;
      context->result = 0;
      break;
    case DBI_OP_ASSERTION: {
      const auto* assertion = reinterpret_cast<const DbiAssertion*>(context->result);
      append(call.text, assertion->source);
      append(call.text, u": ");
      append(call.text, assertion->text);
      context->return_code = -7;
      context->result = 0;
      break;
    }
    case DBI_OP_PARSE:
      append(call.text, context->statement);
      break;
    case DBI_OP_FORMAT_TABLE:
      context->result = reinterpret_cast<intptr_t>(catalog_table(context, DBI_CATALOG_FORMATS));
      break;
    case DBI_OP_VALIDATION_TABLE:
      context->result = reinterpret_cast<intptr_t>(catalog_table(context, DBI_CATALOG_VALIDATION));
      break;
    case DBI_OP_EDIT_STYLE_TABLE:
      context->result = reinterpret_cast<intptr_t>(catalog_table(context, DBI_CATALOG_EDIT_STYLES));
      break;
    default:
      break;
  }
  g_calls.push_back(call);
  return 0;
}

}  // namespace

#if defined(TEST_DRIVER_ENTRY)
TEST_DRIVER_EXPORT int32_t TEST_DRIVER_ENTRY(DbiContext* context) { return dispatch(context); }
#endif

TEST_DRIVER_EXPORT void TestDriver_Reset(void) {
  g_calls.clear();
  g_answers.clear();
  g_rows.clear();
}

TEST_DRIVER_EXPORT const TestDriverCall* TestDriver_Calls(int32_t* count) {
  *count = static_cast<int32_t>(g_calls.size());
  return g_calls.data();
}

TEST_DRIVER_EXPORT void TestDriver_SetAnswer(int32_t operation, int32_t return_code,
                                             int32_t sql_code, intptr_t result) {
  g_answers.push_back(Answer{operation, return_code, sql_code, result});
}

TEST_DRIVER_EXPORT void TestDriver_SetRows(int32_t catalog, const DbiCatalogValue* values,
                                           uint32_t per_row, uint32_t rows) {
  Rows stored{catalog, per_row, {}};
  for (uint32_t i = 0; i < per_row * rows; ++i) {
    const DbiCatalogValue& value = values[i];
    stored.values.push_back(StoredValue{value.column, value.kind,
                                        value.text != nullptr ? value.text : u"", value.integer});
  }
  g_rows.push_back(std::move(stored));
}

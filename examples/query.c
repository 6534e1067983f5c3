/*
 * query.c: a database query through the library's ODBC driver: a SQLite file
 * made, filled with bound parameters and read back block by block.
 * Usage: query [DATABASE-FILE] (default orders.db; needs unixODBC's SQLite3
 * driver, Debian's libsqliteodbc). The driver module koODB is loaded from
 * the folder of the library itself.
 */
#include <koshr/dbi.h>
#include <koshr/dbi_sql.h>
#include <koshr/storage.h>
#include <koshr/strings.h>

#include <stdio.h>

/* Every call reports in the context: return code 0, else a message. */
static int failed(DbiContext* context, const char* what) {
  if (context->return_code == 0) return 0;
  char message[1024];
  kostg_UCS2toUTF8(message, context->message, sizeof message);
  fprintf(stderr, "query: %s: %s\n", what, message);
  return 1;
}

static void print_value(const DbiValue* value) {
  char text[256];
  switch (value->type) {
    case DBI_TYPE_NULL:
      printf("%-10s", "NULL");
      break;
    case DBI_TYPE_INTEGER:
      printf("%-10d", (int)value->as.integer);
      break;
    case DBI_TYPE_BIGINT:
      printf("%-10lld", (long long)value->as.bigint);
      break;
    case DBI_TYPE_DOUBLE:
      printf("%-10g", value->as.dbl);
      break;
    case DBI_TYPE_TEXT:
      kostg_UCS2toUTF8(text, value->as.text, sizeof text);
      printf("%-10s", text);
      break;
    default:
      printf("%-10s", "(other)");
      break;
  }
}

int main(int argc, char** argv) {
  const char* file = argc > 1 ? argv[1] : "orders.db";
  remove(file);
  char dbparm[600];
  snprintf(dbparm, sizeof dbparm, "ConnectString='Driver=SQLite3;Database=%s'", file);
  KOCHAR parameters[600];
  if (kostg_UTF8toUCS2(NULL, dbparm) >= 600) return 2;
  kostg_UTF8toUCS2(parameters, dbparm);

  KostgContext* pool = kostg_begin(0);
  DbiContext* context = NULL;
  DBI_LogIn(pool, u"ODBC", NULL, NULL, NULL, parameters, DBI_LOAD_OWN_FOLDER, &context);
  if (context == NULL || failed(context, "log in")) return 1;

  int64_t rows = 0;
  DBI_ExecuteSQL(context, u"CREATE TABLE orders (item TEXT, quantity INTEGER)", &rows);
  if (failed(context, "create")) return 1;
  DbiStatement* insert = NULL;
  DBI_Prepare(context, u"INSERT INTO orders VALUES (?, ?)", &insert);
  if (failed(context, "prepare")) return 1;
  const KOCHAR* items[] = {u"Widget", u"Gadget", u"Sprocket"};
  for (int i = 0; i < 3; ++i) {
    DbiValue values[2] = {{0}};
    values[0].type = DBI_TYPE_TEXT;
    values[0].as.text = items[i];
    values[0].length = (uint32_t)kostg_huge_strlen(items[i]);
    values[1].type = DBI_TYPE_INTEGER;
    values[1].as.integer = 3 * (i + 1);
    DBI_BindParameters(context, insert, values, 2);
    DBI_Execute(context, insert);
    if (failed(context, "insert")) return 1;
  }
  DBI_CloseStatement(context, insert);

  DbiStatement* select = NULL;
  DBI_Prepare(context, u"SELECT item, quantity FROM orders WHERE quantity > ? ORDER BY item",
              &select);
  DbiValue minimum = {0};
  minimum.type = DBI_TYPE_INTEGER;
  minimum.as.integer = 4;
  DBI_BindParameters(context, select, &minimum, 1);
  DBI_Execute(context, select);
  const DbiColumnDescriptor* columns = NULL;
  uint32_t count = 0;
  DBI_DescribeColumns(context, select, &columns, &count);
  if (failed(context, "select")) return 1;
  for (uint32_t c = 0; c < count; ++c) {
    char name[128];
    kostg_UCS2toUTF8(name, columns[c].name, sizeof name);
    printf("%-10s", name);
  }
  printf("\n");
  for (;;) {
    DbiRowBlock block;
    DBI_FetchBlock(context, select, 0, &block);
    if (failed(context, "fetch")) return 1;
    if (block.rows == 0) break;
    for (uint32_t r = 0; r < block.rows; ++r) {
      for (uint32_t c = 0; c < block.columns; ++c)
        print_value(&block.values[r * block.columns + c]);
      printf("\n");
    }
  }
  DBI_CloseStatement(context, select);
  DBI_Disconnect(context);
  kostg_end(pool);
  return 0;
}

// catalog.h: the five catalog tables in the database: creating them, reading
// three of them into the front end's tables, changing edit-style rows.
#ifndef KOSHR_DRIVERS_ODBC_CATALOG_H
#define KOSHR_DRIVERS_ODBC_CATALOG_H

#include <koshr/dbi.h>

namespace ko::odbc {

// 410: CREATE TABLE IF NOT EXISTS for each table, in one transaction.
void create_catalog_tables(DbiContext* context);
// 89, 90, 215: the table's rows through the front end's row reader; a
// missing table gives an empty table. The new table goes into the result word.
void read_catalog(DbiContext* context, int32_t catalog);
// 217: the DbiEditStyleRow in context->edit_record, by context->sub_operation.
void update_edit_style(DbiContext* context);

}  // namespace ko::odbc

#endif

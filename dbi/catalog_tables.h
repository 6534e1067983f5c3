/*
 * catalog_tables.h: the in-memory catalog tables a driver builds.
 */
#ifndef KOSHR_DBI_CATALOG_TABLES_H
#define KOSHR_DBI_CATALOG_TABLES_H

#include <koshr/dbi.h>

namespace ko::dbi {

// True for "kocattbl", "kocatcol", "kocatedt", "kocatfmt", "kocatvld" in any case.
bool is_catalog_table(const KOCHAR* table);
// A new empty table of 259 buckets in the connection's pool: unique keys for
// formats and validation rules, every row kept for edit styles.
ShHashTable* new_catalog_table(DbiContext* context, int32_t catalog);
// Reads a row into a new record and files it under its name; false when the
// row has no name or a unique table already holds it.
bool add_catalog_row(DbiContext* context, ShHashTable* table, int32_t catalog,
                     const DbiCatalogValue* values, uint32_t count);

}  // namespace ko::dbi

#endif

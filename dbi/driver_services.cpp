/*
 * driver_services.cpp: the table of front-end services every context hands
 * its driver (context->services), so that a driver reads parameter and
 * descriptor lists and files catalog rows with this library's own code
 * without linking to it.
 */
#include "dbi/driver_services.h"

#include <koshr/dbi.h>
#include <koshr/lists.h>

#include "dbi/catalog_row_reader.h"
#include "dbi/catalog_tables.h"

namespace ko::dbi {
namespace {

int32_t catalog_name_test(const KOCHAR* table) { return is_catalog_table(table) ? 1 : 0; }

int32_t add_row(DbiContext* context, ShHashTable* table, int32_t catalog,
                const DbiCatalogValue* values, uint32_t count) {
  return add_catalog_row(context, table, catalog, values, count) ? 1 : 0;
}

shlistx* parse_parameters(DbiContext* context) {
  shlistx* list = nullptr;
  DBI_ParseParms(context, &list);
  return list;
}

DbiParm* find_parameter(DbiContext* context, shlistx* list, const KOCHAR* keyword) {
  DbiParm* record = nullptr;
  DBI_GetParm(context, list, keyword, &record);
  return record;
}

void free_parameters(DbiContext* context, shlistx** list) { DBI_FreeParmList(context, list); }

const DbiServices kServices = {
    sizeof(DbiServices),     &shlist_get_first,  &shlist_get_next, &shlist_get_count,
    &catalog_name_test,      &new_catalog_table, &add_row,         &read_table_attributes,
    &read_column_attributes, &parse_parameters,  &find_parameter,  &DBI_YesTrue1,
    &free_parameters,
};

}  // namespace

const DbiServices* driver_services() { return &kServices; }

}  // namespace ko::dbi

/*
 * catalog_tables.cpp: the catalog names and the three hash tables built
 * from kocatfmt, kocatvld and kocatedt (DBI_FormatHash, DBI_ValidHash,
 * DBI_EditStyleHash, DBI_FreeValidHash).
 *
 * The driver runs the catalog query, feeds each row to add_catalog_row and
 * leaves the table in the result word; the connection keeps one slot per
 * table and replaces it whole. Every record begins with its name (the hash
 * key) and its catalog number, by which it is freed.
 */
#include "dbi/catalog_tables.h"

#include <cstddef>
#include <initializer_list>

#include "dbi/catalog_row_reader.h"
#include "dbi/context_memory.h"
#include "dbi/driver_call.h"
#include "platform/utf16.h"

namespace ko::dbi {
namespace {

constexpr uint32_t kBuckets = 259;

// The fields every catalog record starts with.
struct RecordHead {
  KOCHAR* name;
  int32_t catalog;
};
static_assert(offsetof(DbiFormatRecord, catalog) == offsetof(RecordHead, catalog));
static_assert(offsetof(DbiValidationRecord, catalog) == offsetof(RecordHead, catalog));
static_assert(offsetof(DbiEditStyleRow, catalog) == offsetof(RecordHead, catalog));

const void* record_name(void* item, void*) { return static_cast<RecordHead*>(item)->name; }

void free_record(DbiContext* context, void* item) {
  auto* head = static_cast<RecordHead*>(item);
  const CatalogShape* shape = catalog_shape(head->catalog);
  if (shape != nullptr) free_catalog_texts(context, *shape, item);
  release(context, item);
}

void rebuild(DbiContext* context, ShHashTable** slot, int32_t operation) {
  DBI_FreeValidHash(context, slot);
  if (context->catalog_access_off != 0) {
    context->return_code = 0;
    context->result = 0;
    return;
  }
  context->result = 0;
  call_driver(context, operation);
  *slot = reinterpret_cast<ShHashTable*>(context->result);
}

}  // namespace

bool is_catalog_table(const KOCHAR* table) {
  if (table == nullptr) return false;
  for (const char* name : {"kocattbl", "kocatcol", "kocatedt", "kocatfmt", "kocatvld"}) {
    if (u16icmp_ascii(table, name) == 0) return true;
  }
  return false;
}

ShHashTable* new_catalog_table(DbiContext* context, int32_t catalog) {
  if (context == nullptr || catalog_shape(catalog) == nullptr) return nullptr;
  const int unique = catalog == DBI_CATALOG_EDIT_STYLES ? 0 : 1;
  return shhash_new(kBuckets, &record_name, unique, 0, context->storage, context->subpool);
}

bool add_catalog_row(DbiContext* context, ShHashTable* table, int32_t catalog,
                     const DbiCatalogValue* values, uint32_t count) {
  const CatalogShape* shape = catalog_shape(catalog);
  if (context == nullptr || table == nullptr || shape == nullptr) return false;
  void* record = alloc_zeroed(context, shape->record_size);
  if (record == nullptr) return false;
  static_cast<RecordHead*>(record)->catalog = catalog;
  read_catalog_row(context, *shape, record, values, count);
  if (static_cast<RecordHead*>(record)->name == nullptr || shhash_insert(table, record) != 1) {
    free_record(context, record);
    return false;
  }
  return true;
}

}  // namespace ko::dbi

using namespace ko::dbi;

int32_t DBI_FreeValidHash(DbiContext* context, ShHashTable** slot) {
  if (slot == nullptr || *slot == nullptr) return 0;
  for (void* item = shhash_get_first(*slot); item != nullptr; item = shhash_get_next(*slot)) {
    free_record(context, item);
  }
  shhash_delete(*slot);
  *slot = nullptr;
  return 0;
}

int32_t DBI_FormatHash(DbiContext* context) {
  if (context != nullptr) rebuild(context, &context->format_table, DBI_OP_FORMAT_TABLE);
  return 0;
}

int32_t DBI_ValidHash(DbiContext* context) {
  if (context != nullptr) rebuild(context, &context->validation_table, DBI_OP_VALIDATION_TABLE);
  return 0;
}

int32_t DBI_EditStyleHash(DbiContext* context) {
  if (context != nullptr) rebuild(context, &context->edit_style_table, DBI_OP_EDIT_STYLE_TABLE);
  return 0;
}

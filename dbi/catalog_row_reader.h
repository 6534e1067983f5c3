/*
 * catalog_row_reader.h: reading one row of a catalog table into its record.
 *
 * A driver hands a row as (column name, value) pairs in whatever order its
 * result set delivers them; columns are matched by name, case ignored, and
 * null values are skipped. This is the one reader every driver feeds, either
 * linked in or through context->services.
 */
#ifndef KOSHR_DBI_CATALOG_ROW_READER_H
#define KOSHR_DBI_CATALOG_ROW_READER_H

#include <koshr/dbi.h>

#include <cstddef>

namespace ko::dbi {

enum class ColumnKind {
  kShort,         // 16-bit signed integer
  kLong,          // 32-bit signed integer
  kText,          // pool copy
  kNonEmptyText,  // pool copy, kept only when not empty
  kYesNo,         // 1 when the text begins with Y (any case), 16-bit
  kFaceName       // at most 31 characters into a fixed buffer
};

struct ColumnLayout {
  const char* column;
  ColumnKind kind;
  size_t offset;  // of the field in the record
};

struct CatalogShape {
  int32_t catalog;
  const ColumnLayout* columns;
  size_t column_count;
  size_t record_size;
};

// The shape of DBI_CATALOG_FORMATS, _VALIDATION or _EDIT_STYLES; null otherwise.
const CatalogShape* catalog_shape(int32_t catalog);

// Stores the row's values that `shape` names into `record`.
void read_catalog_row(DbiContext* context, const CatalogShape& shape, void* record,
                      const DbiCatalogValue* values, uint32_t count);
// Frees the texts of a record of that shape.
void free_catalog_texts(DbiContext* context, const CatalogShape& shape, void* record);

// A kocattbl row into a table's attributes.
void read_table_attributes(DbiContext* context, DbiTableAttributes* table,
                           const DbiCatalogValue* values, uint32_t count);
// A kocatcol row into the column record named by its koc_cnam; the columns
// before koc_cnam in the row are ignored.
void read_column_attributes(DbiContext* context, DbiColumnAttributes* columns,
                            uint32_t column_count, const DbiCatalogValue* values, uint32_t count);

}  // namespace ko::dbi

#endif

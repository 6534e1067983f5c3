/*
 * catalog_row_reader.cpp: the column layouts of the five catalog tables and
 * the reader that fills records from driver rows.
 *
 * Integers arrive as integers or as decimal text and are cut to the
 * column's width (short: 16 bits, long: 32 bits). A Y/N column is true when
 * its text begins with "Y" in either case. Face names keep 31 characters.
 * "koc_hdr" and "koc_init" stay unset when their text is empty.
 */
#include "dbi/catalog_row_reader.h"

#include <cstddef>

#include "dbi/context_memory.h"
#include "platform/platform.h"
#include "platform/utf16.h"

namespace ko::dbi {
namespace {

const ColumnLayout kFormatColumns[] = {
    {"kof_name", ColumnKind::kText, offsetof(DbiFormatRecord, name)},
    {"kof_frmt", ColumnKind::kText, offsetof(DbiFormatRecord, format)},
    {"kof_type", ColumnKind::kShort, offsetof(DbiFormatRecord, type)},
    {"kof_cntr", ColumnKind::kLong, offsetof(DbiFormatRecord, counter)},
};

const ColumnLayout kValidationColumns[] = {
    {"kov_name", ColumnKind::kText, offsetof(DbiValidationRecord, name)},
    {"kov_vald", ColumnKind::kText, offsetof(DbiValidationRecord, rule)},
    {"kov_type", ColumnKind::kShort, offsetof(DbiValidationRecord, type)},
    {"kov_cntr", ColumnKind::kLong, offsetof(DbiValidationRecord, counter)},
    {"kov_msg", ColumnKind::kText, offsetof(DbiValidationRecord, message)},
};

const ColumnLayout kEditStyleColumns[] = {
    {"koe_name", ColumnKind::kText, offsetof(DbiEditStyleRow, name)},
    {"koe_edit", ColumnKind::kText, offsetof(DbiEditStyleRow, edit)},
    {"koe_type", ColumnKind::kShort, offsetof(DbiEditStyleRow, type)},
    {"koe_cntr", ColumnKind::kLong, offsetof(DbiEditStyleRow, counter)},
    {"koe_work", ColumnKind::kText, offsetof(DbiEditStyleRow, work)},
    {"koe_seqn", ColumnKind::kShort, offsetof(DbiEditStyleRow, sequence)},
    {"koe_flag", ColumnKind::kLong, offsetof(DbiEditStyleRow, flags)},
};

#define KO_FONT(prefix, group)                                                                 \
  {prefix "fhgt", ColumnKind::kShort, offsetof(DbiTableAttributes, group.height)},             \
      {prefix "fwgt", ColumnKind::kShort, offsetof(DbiTableAttributes, group.weight)},         \
      {prefix "fitl", ColumnKind::kYesNo, offsetof(DbiTableAttributes, group.italic)},         \
      {prefix "funl", ColumnKind::kYesNo, offsetof(DbiTableAttributes, group.underline)},      \
      {prefix "fchr", ColumnKind::kShort, offsetof(DbiTableAttributes, group.charset)},        \
      {prefix "fptc", ColumnKind::kShort, offsetof(DbiTableAttributes, group.pitch_family)}, { \
    prefix "ffce", ColumnKind::kFaceName, offsetof(DbiTableAttributes, group.face)             \
  }

const ColumnLayout kTableColumns[] = {
    KO_FONT("kod_", data),
    KO_FONT("koh_", heading),
    KO_FONT("kol_", label),
    {"kot_cmnt", ColumnKind::kText, offsetof(DbiTableAttributes, comment)},
};

const ColumnLayout kColumnColumns[] = {
    {"koc_labl", ColumnKind::kText, offsetof(DbiColumnAttributes, label)},
    {"koc_lpos", ColumnKind::kShort, offsetof(DbiColumnAttributes, label_position)},
    {"koc_hdr", ColumnKind::kNonEmptyText, offsetof(DbiColumnAttributes, heading)},
    {"koc_hpos", ColumnKind::kShort, offsetof(DbiColumnAttributes, heading_position)},
    {"koc_jtfy", ColumnKind::kShort, offsetof(DbiColumnAttributes, justify)},
    {"koc_mask", ColumnKind::kText, offsetof(DbiColumnAttributes, mask)},
    {"koc_case", ColumnKind::kShort, offsetof(DbiColumnAttributes, case_setting)},
    {"koc_hght", ColumnKind::kShort, offsetof(DbiColumnAttributes, height)},
    {"koc_wdth", ColumnKind::kShort, offsetof(DbiColumnAttributes, width)},
    {"koc_ptrn", ColumnKind::kText, offsetof(DbiColumnAttributes, pattern)},
    {"koc_bmap", ColumnKind::kYesNo, offsetof(DbiColumnAttributes, bitmap)},
    {"koc_init", ColumnKind::kNonEmptyText, offsetof(DbiColumnAttributes, initial)},
    {"koc_cmnt", ColumnKind::kText, offsetof(DbiColumnAttributes, comment)},
    {"koc_edit", ColumnKind::kText, offsetof(DbiColumnAttributes, edit_style)},
};

#undef KO_FONT

template <size_t N>
constexpr CatalogShape shape_of(int32_t catalog, const ColumnLayout (&columns)[N], size_t size) {
  return CatalogShape{catalog, columns, N, size};
}

const CatalogShape kShapes[] = {
    shape_of(DBI_CATALOG_FORMATS, kFormatColumns, sizeof(DbiFormatRecord)),
    shape_of(DBI_CATALOG_VALIDATION, kValidationColumns, sizeof(DbiValidationRecord)),
    shape_of(DBI_CATALOG_EDIT_STYLES, kEditStyleColumns, sizeof(DbiEditStyleRow)),
};
const CatalogShape kTableShape =
    shape_of(DBI_CATALOG_TABLES, kTableColumns, sizeof(DbiTableAttributes));
const CatalogShape kColumnShape =
    shape_of(DBI_CATALOG_COLUMNS, kColumnColumns, sizeof(DbiColumnAttributes));

bool same_name(const KOCHAR* column, const char* name) {
  return column != nullptr && u16icmp_ascii(column, name) == 0;
}

int32_t integer_of(const DbiCatalogValue& value) {
  if (value.kind == DBI_VALUE_INTEGER) return static_cast<int32_t>(value.integer);
  return value.text != nullptr ? u16_to_i32(value.text, nullptr, 10) : 0;
}

template <typename T>
T& field(void* record, size_t offset) {
  return *reinterpret_cast<T*>(static_cast<char*>(record) + offset);
}

void store(DbiContext* context, const ColumnLayout& layout, void* record,
           const DbiCatalogValue& value) {
  const KOCHAR* text = value.kind == DBI_VALUE_TEXT && value.text != nullptr ? value.text : u"";
  switch (layout.kind) {
    case ColumnKind::kShort:
      field<int16_t>(record, layout.offset) = static_cast<int16_t>(integer_of(value));
      break;
    case ColumnKind::kLong:
      field<int32_t>(record, layout.offset) = integer_of(value);
      break;
    case ColumnKind::kNonEmptyText:
      if (text[0] == 0) break;
      [[fallthrough]];
    case ColumnKind::kText: {
      KOCHAR*& slot = field<KOCHAR*>(record, layout.offset);
      release(context, slot);
      slot = duplicate(context, text);
      break;
    }
    case ColumnKind::kYesNo:
      field<int16_t>(record, layout.offset) = (text[0] == u'Y' || text[0] == u'y') ? 1 : 0;
      break;
    case ColumnKind::kFaceName:
      u16lcpy(&field<KOCHAR>(record, layout.offset), text, DBI_FACE_LENGTH);
      break;
  }
}

void read_value(DbiContext* context, const CatalogShape& shape, void* record,
                const DbiCatalogValue& value) {
  if (value.kind == DBI_VALUE_NULL) return;
  for (size_t i = 0; i < shape.column_count; ++i) {
    if (same_name(value.column, shape.columns[i].column)) {
      store(context, shape.columns[i], record, value);
      return;
    }
  }
}

}  // namespace

const CatalogShape* catalog_shape(int32_t catalog) {
  for (const CatalogShape& shape : kShapes) {
    if (shape.catalog == catalog) return &shape;
  }
  return nullptr;
}

void read_catalog_row(DbiContext* context, const CatalogShape& shape, void* record,
                      const DbiCatalogValue* values, uint32_t count) {
  for (uint32_t i = 0; values != nullptr && i < count; ++i) {
    read_value(context, shape, record, values[i]);
  }
}

void free_catalog_texts(DbiContext* context, const CatalogShape& shape, void* record) {
  for (size_t i = 0; i < shape.column_count; ++i) {
    const ColumnLayout& layout = shape.columns[i];
    if (layout.kind == ColumnKind::kText || layout.kind == ColumnKind::kNonEmptyText) {
      KOCHAR*& slot = field<KOCHAR*>(record, layout.offset);
      release(context, slot);
      slot = nullptr;
    }
  }
}

void read_table_attributes(DbiContext* context, DbiTableAttributes* table,
                           const DbiCatalogValue* values, uint32_t count) {
  if (table != nullptr) read_catalog_row(context, kTableShape, table, values, count);
}

void read_column_attributes(DbiContext* context, DbiColumnAttributes* columns,
                            uint32_t column_count, const DbiCatalogValue* values, uint32_t count) {
  if (columns == nullptr || values == nullptr) return;
  DbiColumnAttributes* target = nullptr;
  bool named = false;
  for (uint32_t i = 0; i < count; ++i) {
    const DbiCatalogValue& value = values[i];
    if (value.kind == DBI_VALUE_NULL) continue;
    if (!named) {
      if (!same_name(value.column, "koc_cnam") || value.kind != DBI_VALUE_TEXT) continue;
      named = true;
      for (uint32_t c = 0; c < column_count && target == nullptr; ++c) {
        if (columns[c].name != nullptr && value.text != nullptr &&
            os::collate_nocase(columns[c].name, value.text) == 0) {
          target = &columns[c];
        }
      }
      if (target == nullptr) return;
      continue;
    }
    read_value(context, kColumnShape, target, value);
  }
}

}  // namespace ko::dbi

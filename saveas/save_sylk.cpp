/*
 * save_sylk.cpp: CKO_SaveSylk, the SYLK spreadsheet interchange format.
 *
 * 8-bit text, one record per line, every line ending in CR LF:
 *
 *   ID;PKO                       identification
 *   B;Y<rows>;X<columns>         bounds: the row and column counts given to Begin
 *   C;Y<row>;X1;K<value>         first cell of a row (row and column 1-based)
 *   C;X<column>;K<value>         every further cell of the row
 *   E                            end
 *
 * Strings, dates and times are quoted text cells (a double-quote character
 * inside is doubled); numbers stand bare. With flag 1 the column names fill
 * row 1 and the data starts in row 2. The text is narrowed one unit at a time
 * to one byte of the code page ('?' for what needs more).
 */
#include "saveas/save_context.h"

namespace {

using ko::FractionSuffix;

bool write_cell_head(KoSaveContext* context) {
  int32_t column = context->current_column + 1;
  if (column == 1)
    return ko::save_write_format(context, "C;Y%ld;X%d;K", context->rows_written + 1, 1);
  return ko::save_write_format(context, "C;X%d;K", column);
}

bool write_value(KoSaveContext* context, uint8_t type, const void* value) {
  KOCHAR rendered[ko::kRenderCapacity];
  size_t length;
  switch (type) {
    case KOSAVE_DOUBLE: {
      double number = value ? *static_cast<const double*>(value) : 0.0;
      length = ko::save_render_double(context, number, rendered, ko::kNumberTextMax + 1);
      return ko::save_write(context, rendered, length);
    }
    case KOSAVE_DECIMAL:
      if (!value) return ko::save_write_ascii(context, "0.0");
      length = ko::save_render(context, type, value, FractionSuffix::kNone, rendered);
      return ko::save_write(context, rendered, length);
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME:
      ko::save_render(context, type, value, FractionSuffix::kTimeSeparator7, rendered);
      return ko::save_write_quoted(context, rendered, u'"');
    default:
      // Strings, and cells of a type this format has no form for, as text.
      bool text = type == KOSAVE_STRING && value;
      return ko::save_write_quoted(context, text ? static_cast<const KOCHAR*>(value) : u"", u'"');
  }
}

}  // namespace

KoSaveContext* CKO_SaveSylk::Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                                   uint32_t rowCount, int32_t columnCount, uint32_t flags,
                                   int32_t encoding) {
  m_encoding = encoding;
  KoSaveContext* context = ko::save_begin(pool, owner, fileName, rowCount, columnCount, flags,
                                          ko::kEncodingAnsiSingleByte, nullptr);
  if (!context) return nullptr;
  if (!ko::save_write_format(context, "ID;PKO\r\nB;Y%ld;X%d\r\n", int32_t(rowCount), columnCount)) {
    return ko::save_abandon(context);
  }
  return context;
}

int CKO_SaveSylk::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                            uint8_t type) {
  ko::SaveColumn* column = ko::save_store_column(context, name, width, type);
  if (!column) return 0;
  bool names = context->flags & KOSAVE_COLUMN_NAMES;
  if (names &&
      !(write_cell_head(context) && ko::save_write_ascii(context, "\"") &&
        ko::save_write(context, column->name) && ko::save_write_ascii(context, "\"\r\n"))) {
    return 0;
  }
  if (ko::save_next_column(context) && names) ++context->rows_written;
  return 1;
}

int CKO_SaveSylk::WriteValue(KoSaveContext* context, const void* value) {
  if (!ko::save_usable(context)) return 0;
  uint8_t type = context->columns[context->current_column].type;
  if (!write_cell_head(context) || !write_value(context, type, value) ||
      !ko::save_write_ascii(context, "\r\n")) {
    return 0;
  }
  if (ko::save_next_column(context)) ++context->rows_written;
  return 1;
}

int CKO_SaveSylk::End(KoSaveContext* context) {
  if (!context) return 0;
  return ko::save_end(context, ko::save_write_ascii(context, "E\r\n"));
}

/*
 * save_dif.cpp: CKO_SaveDif, the DIF spreadsheet interchange format.
 *
 * Every item is lines ending in CR LF, written through the text file in the
 * caller's encoding:
 *
 *   TABLE / 0,1 / "<file name>"        header items: name, "<a>,<b>", string
 *   VECTORS / 0,<columns> / ""
 *   TUPLES / 0,<rows> / ""
 *   LABEL / <column>,1 / "<name>"      one per column, whatever the flags
 *   DATA / 0,0 / ""
 *   -1,0 / BOT                         before every row
 *   1,0 / "<text>"                     a string, date or time (quotes doubled)
 *   0,<number> / V                     a double or decimal
 *   -1,0 / EOD                         the end
 */
#include "saveas/save_context.h"

namespace {

bool write_text_item(KoSaveContext* context, const KOCHAR* text) {
  return ko::save_write_ascii(context, "1,0\r\n") && ko::save_write_quoted(context, text, u'"') &&
         ko::save_write_ascii(context, "\r\n");
}

bool write_number_item(KoSaveContext* context, const KOCHAR* number, size_t length) {
  return ko::save_write_ascii(context, "0,") && ko::save_write(context, number, length) &&
         ko::save_write_ascii(context, "\r\nV\r\n");
}

bool write_value(KoSaveContext* context, uint8_t type, const void* value) {
  KOCHAR rendered[ko::kRenderCapacity];
  switch (type) {
    case KOSAVE_STRING:
      return write_text_item(context, value ? static_cast<const KOCHAR*>(value) : u"");
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME:
      ko::save_render(context, type, value, ko::FractionSuffix::kTimeSeparator7, rendered);
      return write_text_item(context, rendered);
    case KOSAVE_DOUBLE: {
      double number = value ? *static_cast<const double*>(value) : 0.0;
      return write_number_item(
          context, rendered,
          ko::save_render_double(context, number, rendered, ko::kNumberTextMax + 1));
    }
    case KOSAVE_DECIMAL:
      if (!value) return write_number_item(context, u"0.0", 3);
      return write_number_item(
          context, rendered,
          ko::save_render(context, type, value, ko::FractionSuffix::kNone, rendered));
    default:
      return true;
  }
}

}  // namespace

KoSaveContext* CKO_SaveDif::Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                                  uint32_t rowCount, int32_t columnCount, uint32_t flags,
                                  int32_t encoding) {
  m_encoding = encoding;
  KoSaveContext* context =
      osSaveBegin32(pool, owner, fileName, rowCount, columnCount, flags, encoding);
  if (!context) return nullptr;
  bool ok = ko::save_write_ascii(context, "TABLE\r\n0,1\r\n\"") &&
            ko::save_write(context, fileName ? fileName : u"") &&
            ko::save_write_ascii(context, "\"\r\n") &&
            ko::save_write_format(context, "VECTORS%s0,%d%s\"\"%s", u"\r\n", columnCount, u"\r\n",
                                  u"\r\n") &&
            ko::save_write_format(context, "TUPLES%s0,%ld%s\"\"%s", u"\r\n", int32_t(rowCount),
                                  u"\r\n", u"\r\n");
  return ok ? context : ko::save_abandon(context);
}

int CKO_SaveDif::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                           uint8_t type) {
  ko::SaveColumn* column = ko::save_store_column(context, name, width, type);
  if (!column) return 0;
  if (!ko::save_write_format(context, "LABEL%s%d,1%s\"", u"\r\n", context->current_column + 1,
                             u"\r\n") ||
      !ko::save_write(context, column->name) || !ko::save_write_ascii(context, "\"\r\n")) {
    return 0;
  }
  if (ko::save_next_column(context) && !ko::save_write_ascii(context, "DATA\r\n0,0\r\n\"\"\r\n")) {
    return 0;
  }
  return 1;
}

int CKO_SaveDif::WriteValue(KoSaveContext* context, const void* value) {
  if (!ko::save_usable(context)) return 0;
  if (context->current_column == 0 && !ko::save_write_ascii(context, "-1,0\r\nBOT\r\n")) return 0;
  if (!write_value(context, context->columns[context->current_column].type, value)) return 0;
  if (ko::save_next_column(context)) ++context->rows_written;
  return 1;
}

int CKO_SaveDif::End(KoSaveContext* context) {
  if (!context) return 0;
  return ko::save_end(context, ko::save_write_ascii(context, "-1,0\r\nEOD\r\n"));
}

/*
 * save_sql.cpp: CKO_SaveSql, a SQL script that creates the table and inserts
 * the rows, written through the text file in the caller's encoding:
 *
 *   CREATE TABLE <base name> (
 *   <TAB><name> char(<width>),          one line per column, typed by column
 *   <TAB><name> decimal(16, <width>));
 *   INSERT INTO <base name> VALUES (
 *   <TAB>'text',                        one line per value
 *   <TAB>NULL);
 *   (CR LF)
 *
 * Datetime, date and time values arrive as ready-made text and are written as
 * they stand (the caller supplies whatever literal its database reads).
 */
#include "saveas/save_context.h"

namespace {

constexpr const KOCHAR* kLineEnd = u"\r\n";

bool write_column_line(KoSaveContext* context, const ko::SaveColumn& column) {
  switch (column.type) {
    case KOSAVE_STRING:
      return ko::save_write_format(context, "%s\t%s char(%d)", kLineEnd, column.name, column.width);
    case KOSAVE_DOUBLE:
      return ko::save_write_format(context, "%s\t%s float", kLineEnd, column.name);
    case KOSAVE_DATETIME:
      return ko::save_write_format(context, "%s\t%s datetime", kLineEnd, column.name);
    case KOSAVE_DATE:
      return ko::save_write_format(context, "%s\t%s date", kLineEnd, column.name);
    case KOSAVE_TIME:
      return ko::save_write_format(context, "%s\t%s time", kLineEnd, column.name);
    case KOSAVE_DECIMAL:
      return ko::save_write_format(context, "%s\t%s decimal(16, %d)", kLineEnd, column.name,
                                   column.width);
    default:
      // A column of a type SQL has no name for is declared without a type.
      return ko::save_write_format(context, "%s\t%s", kLineEnd, column.name);
  }
}

bool write_value(KoSaveContext* context, uint8_t type, const void* value) {
  if (!value) return ko::save_write_ascii(context, "NULL");
  KOCHAR rendered[ko::kRenderCapacity];
  switch (type) {
    case KOSAVE_STRING:
      return ko::save_write_quoted(context, static_cast<const KOCHAR*>(value), u'\'');
    case KOSAVE_DOUBLE:
    case KOSAVE_DECIMAL:
      return ko::save_write(
          context, rendered,
          ko::save_render(context, type, value, ko::FractionSuffix::kNone, rendered));
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME:
      return ko::save_write(context, static_cast<const KOCHAR*>(value));
    default:
      return true;
  }
}

}  // namespace

KoSaveContext* CKO_SaveSql::Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                                  uint32_t rowCount, int32_t columnCount, uint32_t flags,
                                  int32_t encoding) {
  m_encoding = encoding;
  KoSaveContext* context =
      osSaveBegin32(pool, owner, fileName, rowCount, columnCount, flags, encoding);
  if (!context) return nullptr;
  if (!ko::save_write_format(context, "CREATE TABLE %s (", context->base_name)) {
    return ko::save_abandon(context);
  }
  return context;
}

int CKO_SaveSql::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                           uint8_t type) {
  ko::SaveColumn* column = ko::save_store_column(context, name, width, type);
  if (!column || !write_column_line(context, *column)) return 0;
  bool last = ko::save_next_column(context);
  return ko::save_write_ascii(context, last ? ");" : ",") ? 1 : 0;
}

int CKO_SaveSql::WriteValue(KoSaveContext* context, const void* value) {
  if (!ko::save_usable(context)) return 0;
  bool opened = context->current_column == 0
                    ? ko::save_write_format(context, "%sINSERT INTO %s VALUES (%s\t", kLineEnd,
                                            context->base_name, kLineEnd)
                    : ko::save_write_format(context, ",%s\t", kLineEnd);
  if (!opened || !write_value(context, context->columns[context->current_column].type, value)) {
    return 0;
  }
  if (ko::save_next_column(context)) {
    if (!ko::save_write_ascii(context, ");")) return 0;
    ++context->rows_written;
  }
  return 1;
}

int CKO_SaveSql::End(KoSaveContext* context) {
  if (!context) return 0;
  return ko::save_end(context, ko::save_write_ascii(context, "\r\n"));
}

/*
 * save_wk.cpp: CKO_SaveWk, a worksheet file of WK1 records. Every record is
 * an opcode, a body length and the body, integers little-endian:
 *
 *   opcode  length  body
 *   0x0000  2       beginning of file: revision 0x0406
 *   0x0006  8       range: 0, 0, column count, row count (the counts
 *                   themselves, one past the last zero-based cell, kept so)
 *   0x000F  n + 7   label: format 0x71, column, row, "'", n bytes of text, 0
 *   0x000E  13      number: format 0x71, column, row, IEEE 754 double
 *   0x0001  0       end of file
 *
 * Rows and columns are zero-based; with flag 1 the column names are labels
 * in row 0 and the data starts in row 1. Dates and times are written as text
 * labels, not as serial numbers.
 */
#include <bit>

#include "platform/byte_order.h"
#include "platform/utf16.h"
#include "saveas/save_context.h"

namespace {

constexpr int32_t kWidthCap = 239;
constexpr size_t kLabelMax = 239;
constexpr uint8_t kFormatGeneral = 0x71;  // unprotected, special format, general
constexpr size_t kRecordHead = 4;
constexpr size_t kCellHead = 5;  // format byte, column, row

uint8_t* put_cell_head(uint8_t* out, uint32_t opcode, size_t body, int32_t column, int32_t row) {
  out = ko::store_le16(ko::store_le16(out, opcode), uint32_t(body));
  *out++ = kFormatGeneral;
  return ko::store_le16(ko::store_le16(out, uint32_t(column)), uint32_t(row));
}

bool write_label(KoSaveContext* context, int32_t column, int32_t row, const KOCHAR* text) {
  uint8_t record[kRecordHead + kCellHead + 1 + kLabelMax + 1];
  size_t units = ko::u16nlen(text, kLabelMax);
  uint8_t* body_text = record + kRecordHead + kCellHead + 1;
  size_t bytes = ko::narrow_to_ansi(text, units, reinterpret_cast<char*>(body_text), kLabelMax);
  uint8_t* out = put_cell_head(record, 0x000F, bytes + 7, column, row);
  *out = '\'';
  body_text[bytes] = 0;
  return ko::save_write_bytes(context, record, kRecordHead + bytes + 7);
}

bool write_number(KoSaveContext* context, int32_t column, int32_t row, double value) {
  uint8_t record[kRecordHead + 13];
  ko::store_le64(put_cell_head(record, 0x000E, 13, column, row), std::bit_cast<uint64_t>(value));
  return ko::save_write_bytes(context, record, sizeof record);
}

double decimal_to_double(const KODECIMAL& value) {
  double magnitude = double(value.hi32) * 18446744073709551616.0 + double(value.lo64);
  double scale = 1.0;
  for (int i = 0; i < value.scale; ++i) scale *= 10.0;
  magnitude /= scale;
  return value.sign & KODECIMAL_NEGATIVE ? -magnitude : magnitude;
}

bool write_cell(KoSaveContext* context, uint8_t type, const void* value) {
  if (!value) return true;
  int32_t column = context->current_column;
  int32_t row = context->rows_written;
  switch (type) {
    case KOSAVE_STRING:
      return write_label(context, column, row, static_cast<const KOCHAR*>(value));
    case KOSAVE_DOUBLE:
      return write_number(context, column, row, *static_cast<const double*>(value));
    case KOSAVE_DECIMAL:
      return write_number(context, column, row,
                          decimal_to_double(*static_cast<const KODECIMAL*>(value)));
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME: {
      KOCHAR rendered[ko::kRenderCapacity];
      ko::save_render(context, type, value, ko::FractionSuffix::kTimeSeparator7, rendered);
      return write_label(context, column, row, rendered);
    }
    default:
      return true;
  }
}

}  // namespace

KoSaveContext* CKO_SaveWk::Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                                 uint32_t rowCount, int32_t columnCount, uint32_t flags,
                                 int32_t encoding) {
  m_encoding = encoding;
  KoSaveContext* context = ko::save_begin(pool, owner, fileName, rowCount, columnCount, flags,
                                          ko::kEncodingBytes, nullptr);
  if (!context) return nullptr;
  uint8_t head[18];
  uint8_t* out = ko::store_le16(ko::store_le16(ko::store_le16(head, 0x0000), 2), 0x0406);
  out = ko::store_le16(ko::store_le16(out, 0x0006), 8);
  out = ko::store_le16(ko::store_le16(out, 0), 0);
  ko::store_le16(ko::store_le16(out, uint32_t(columnCount)), rowCount);
  return ko::save_write_bytes(context, head, sizeof head) ? context : ko::save_abandon(context);
}

int CKO_SaveWk::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width, uint8_t type) {
  if (width >= kWidthCap + 1 || (type == KOSAVE_STRING && width == 0)) width = kWidthCap;
  ko::SaveColumn* column = ko::save_store_column(context, name, width, type);
  if (!column) return 0;
  bool names = context->flags & KOSAVE_COLUMN_NAMES;
  if (names && !write_label(context, context->current_column, 0, column->name)) return 0;
  if (ko::save_next_column(context) && names) ++context->rows_written;
  return 1;
}

int CKO_SaveWk::WriteValue(KoSaveContext* context, const void* value) {
  if (!ko::save_usable(context)) return 0;
  if (!write_cell(context, context->columns[context->current_column].type, value)) return 0;
  if (ko::save_next_column(context)) ++context->rows_written;
  return 1;
}

int CKO_SaveWk::End(KoSaveContext* context) {
  if (!context) return 0;
  const uint8_t end_of_file[4] = {0x01, 0x00, 0x00, 0x00};
  return ko::save_end(context, ko::save_write_bytes(context, end_of_file, sizeof end_of_file));
}

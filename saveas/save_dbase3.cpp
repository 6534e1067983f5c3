/*
 * save_dbase3.cpp: CKO_SaveDbase3, a dBase III table file. Integers are
 * little-endian; text is 8-bit in the code page.
 *
 *   offset  size            content
 *   0       1               version, 3
 *   1       3               export date: year % 100, month 1-12, day
 *   4       4               record count (the row count given to Begin)
 *   8       2               header length: 32 x columns + 33
 *   10      2               record length: sum of the field lengths + 1
 *   12      20              zero
 *   32      32 x columns    field descriptors:
 *                             0  11  name, upper case, at most 10 bytes, zero-padded
 *                             11  1  type "C", "N" or "D"
 *                             12  4  zero
 *                             16  1  field length
 *                             17  1  decimal count
 *                             18 14  zero
 *   ...     1               0x0D
 *   header  record length   per record: 0x20 (not deleted), then each field,
 *   length  x records       exactly its length, text left-aligned and numbers
 *                           right-aligned in spaces
 *   end     1               0x1A
 *
 * A decimal column's width is its decimal count; its field length is fixed
 * at 17 (16 without decimals), kept as it stands: files already written so
 * are read back by their users.
 *
 * Numbers keep their value. One that "[GENERAL]" shows whole (at most 15
 * significant digits) within its field is written as it renders. Any other
 * (it needs the exponent form, more room, or more digits than "[GENERAL]"
 * keeps) is written in plain digits, exactly: all the digits of a decimal,
 * the fewest digits that read back as the same double, with fraction digits
 * beyond the field rounded away as a numeric field of that width holds them.
 * When the sign and integer digits alone do not fit, the field is all
 * asterisks, the overflow mark dBase readers know, and the context counts it
 * (osSaveOverflow): a cut integer part would store a different number.
 */
#include <algorithm>
#include <cstring>

#include "format/number_digits.h"
#include "format/regional.h"
#include "platform/byte_order.h"
#include "platform/platform.h"
#include "platform/utf16.h"
#include "saveas/save_context.h"
#include "storage/u16_format.h"

namespace {

constexpr uint32_t kMaxRows = 1000000000;
constexpr int32_t kMaxColumns = 128;
constexpr int kMaxRecordLength = 4000;
constexpr size_t kDescriptorSize = 32;
constexpr size_t kNameBytes = 10;
constexpr int kMaxFieldLength = 255;

// The field of a column, packed into the column entry's field info.
struct Field {
  char type;
  int length;
  int decimals;
};

int32_t pack(const Field& field) {
  return int32_t(uint8_t(field.type)) | field.length << 8 | field.decimals << 16;
}

Field unpack(int32_t info) { return {char(info & 0xFF), (info >> 8) & 0xFF, (info >> 16) & 0xFF}; }

int cap_length(int32_t width) {
  return width >= 1 && width <= kMaxFieldLength ? width : kMaxFieldLength;
}

Field field_for(uint8_t type, int32_t width) {
  switch (type) {
    case KOSAVE_STRING:
      return {'C', cap_length(width), 0};
    case KOSAVE_DOUBLE:
      return {'N', 16, 0};
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
      return {'D', 8, 0};
    case KOSAVE_TIME:
      return {'C', 8, 0};
    case KOSAVE_DECIMAL: {
      int decimals = width < 0 ? 0 : width > kMaxFieldLength ? kMaxFieldLength : width;
      return {'N', decimals ? 17 : 16, decimals};
    }
    default:
      return {'C', width < 0 ? 0 : width > kMaxFieldLength ? kMaxFieldLength : width, 0};
  }
}

int record_length(const KoSaveContext* context, int32_t columns) {
  int length = 0;
  for (int32_t i = 0; i < columns; ++i) length += unpack(context->columns[i].field_info).length;
  return length;
}

bool write_descriptors(KoSaveContext* context) {
  uint8_t head[22] = {};
  ko::store_le16(head, uint32_t(record_length(context, context->column_count) + 1));
  if (!ko::save_write_bytes(context, head, sizeof head)) return false;
  for (int32_t i = 0; i < context->column_count; ++i) {
    const ko::SaveColumn& column = context->columns[i];
    Field field = unpack(column.field_info);
    uint8_t descriptor[kDescriptorSize] = {};
    ko::narrow_to_ansi(column.name, ko::u16len(column.name), reinterpret_cast<char*>(descriptor),
                       kNameBytes);
    descriptor[11] = uint8_t(field.type);
    descriptor[16] = uint8_t(field.length);
    descriptor[17] = uint8_t(field.decimals);
    if (!ko::save_write_bytes(context, descriptor, sizeof descriptor)) return false;
  }
  const uint8_t terminator = 0x0D;
  return ko::save_write_bytes(context, &terminator, 1);
}

bool is_null_date(const KODATETIME& value) {
  return value.year == 0xFFFF || value.month >= 255 || value.day >= 255;
}

bool is_null_time(const KODATETIME& value) {
  return value.hour >= 255 || value.minute >= 255 || value.second >= 255;
}

// Places `length` rendered units at the right end of the field.
void right_align(KOCHAR* field, int field_length, const KOCHAR* text, size_t length) {
  if (length > size_t(field_length)) length = size_t(field_length);
  std::memcpy(field + field_length - length, text, length * sizeof(KOCHAR));
}

// The plain text of a finite number, without exponent: "-0.00012",
// "1234567890123456", "0". Fraction digits beyond the room are rounded away
// (half up, on the exact digits), as a numeric field of that width holds the
// number; the integer part is never cut. Its length, or 0 when the sign and
// integer digits alone are longer than `room`.
size_t plain_number(const ko::DigitString& value, KOCHAR* out, size_t room) {
  if (value.kind != ko::NumberKind::kFinite) return 0;
  int integer_digits = value.exponent > 0 ? value.exponent : 1;
  const int first = value.exponent - integer_digits;  // index of the first digit written
  const int fraction_room = std::max(0, int(room) - int(value.negative) - integer_digits - 1);
  const int fraction_digits = std::min(std::max(0, value.count - value.exponent), fraction_room);
  // Digits as written, one spare place in front for a carry.
  char digits[2 + kMaxFieldLength];
  int count = integer_digits + fraction_digits;
  if (count > int(sizeof digits) - 1) return 0;
  digits[0] = '0';
  for (int i = 0; i < count; ++i) digits[1 + i] = value.at(first + i);
  if (value.at(first + count) >= '5') {
    int i = count;
    while (digits[i] == '9') digits[i--] = '0';
    ++digits[i];
  }
  const char* written = digits + 1;
  if (digits[0] != '0') {
    written = digits;
    ++integer_digits;
    ++count;
  }
  int shown_fraction = count - integer_digits;
  while (shown_fraction > 0 && written[integer_digits + shown_fraction - 1] == '0')
    --shown_fraction;
  bool all_zero = true;
  for (int i = 0; i < integer_digits + shown_fraction; ++i)
    all_zero = all_zero && written[i] == '0';
  const bool negative = value.negative && !all_zero;
  const size_t length = size_t(negative) + size_t(integer_digits) +
                        (shown_fraction > 0 ? 1 + size_t(shown_fraction) : 0);
  if (length > room) return 0;
  KOCHAR* p = out;
  if (negative) *p++ = u'-';
  for (int i = 0; i < integer_digits; ++i) *p++ = KOCHAR(written[i]);
  if (shown_fraction > 0) {
    *p++ = u'.';
    for (int i = 0; i < shown_fraction; ++i) *p++ = KOCHAR(written[integer_digits + i]);
  }
  return length;
}

// Places a number in its field: the "[GENERAL]" text when it fits and shows
// every digit of `shown` (the value as the renderers read it), else the exact
// plain digits, else the overflow mark. False for the overflow mark.
bool place_number(KOCHAR* field, int length, const KOCHAR* rendered, size_t rendered_length,
                  const ko::DigitString& shown, const ko::DigitString& exact) {
  if (rendered_length <= size_t(length) && shown.count <= ko::kGeneralDigits) {
    right_align(field, length, rendered, rendered_length);
    return true;
  }
  KOCHAR plain[kMaxFieldLength];
  const size_t plain_length = plain_number(exact, plain, size_t(length));
  if (plain_length == 0) {
    for (int i = 0; i < length; ++i) field[i] = u'*';
    return false;
  }
  right_align(field, length, plain, plain_length);
  return true;
}

// Fills the field (already spaces) with the value. False when a number did
// not fit and the field holds the overflow mark.
bool fill_field(const KoSaveContext* context, uint8_t type, const void* value, KOCHAR* field,
                int length) {
  KOCHAR rendered[ko::kRenderCapacity];
  size_t rendered_length;
  ko::DigitString exact;
  switch (type) {
    case KOSAVE_STRING: {
      if (!value) return true;
      const auto* text = static_cast<const KOCHAR*>(value);
      size_t n = ko::u16nlen(text, size_t(length));
      std::memcpy(field, text, n * sizeof(KOCHAR));
      return true;
    }
    case KOSAVE_DOUBLE: {
      double number = value ? *static_cast<const double*>(value) : 0.0;
      rendered_length = ko::save_render_double(context, number, rendered, ko::kRenderCapacity);
      ko::DigitString shown;
      ko::digits_from_double(number, shown);
      ko::digits_from_double_shortest(number, exact);
      return place_number(field, length, rendered, rendered_length, shown, exact);
    }
    case KOSAVE_DECIMAL: {
      if (!value) return true;
      const auto& decimal = *static_cast<const KODECIMAL*>(value);
      rendered_length = ko::save_render_decimal(context, decimal, rendered, ko::kRenderCapacity);
      // The file's decimal point is always "."; the renderer writes the
      // regional separator.
      ko::RegionalSettings scratch;
      KOCHAR separator = ko::regional_settings(nullptr, scratch).decimal;
      for (size_t i = 0; i < rendered_length; ++i) {
        if (rendered[i] == separator) rendered[i] = u'.';
      }
      ko::digits_from_decimal(decimal, exact);
      return place_number(field, length, rendered, rendered_length, exact, exact);
    }
    case KOSAVE_DATETIME:
    case KOSAVE_DATE: {
      if (!value) return true;
      const auto& when = *static_cast<const KODATETIME*>(value);
      if (is_null_date(when)) return true;
      // Year, month 1-12, day.
      size_t n = ko::u16_format(rendered, ko::kRenderCapacity, "%04d%02d%02d", when.year + 1900,
                                when.month + 1, when.day);
      std::memcpy(field, rendered, (n < 8 ? n : 8) * sizeof(KOCHAR));
      return true;
    }
    case KOSAVE_TIME: {
      if (!value) return true;
      const auto& when = *static_cast<const KODATETIME*>(value);
      if (is_null_time(when)) return true;
      size_t n = ko::u16_format(rendered, ko::kRenderCapacity, "%02d:%02d:%02d", when.hour,
                                when.minute, when.second);
      std::memcpy(field, rendered, (n < 8 ? n : 8) * sizeof(KOCHAR));
      return true;
    }
    default:
      return true;
  }
}

}  // namespace

KoSaveContext* CKO_SaveDbase3::Begin(KostgContext* pool, KostgSubpool* owner,
                                     const KOCHAR* fileName, uint32_t rowCount, int32_t columnCount,
                                     uint32_t flags, int32_t encoding) {
  m_encoding = encoding;
  if (rowCount > kMaxRows || columnCount > kMaxColumns) return nullptr;
  KoSaveContext* context = ko::save_begin(pool, owner, fileName, rowCount, columnCount, flags,
                                          ko::kEncodingBytes, nullptr);
  if (!context) return nullptr;
  ko::os::LocalTime today = ko::os::local_now();
  uint8_t head[10] = {3, uint8_t(today.year % 100), uint8_t(today.month), uint8_t(today.day)};
  ko::store_le16(ko::store_le32(head + 4, rowCount), uint32_t(32 * columnCount + 33));
  bool ok = ko::save_write_bytes(context, head, sizeof head);
  // With no columns no AddColumn completes the header: only its terminator follows.
  const uint8_t terminator = 0x0D;
  if (ok && columnCount == 0) ok = ko::save_write_bytes(context, &terminator, 1);
  return ok ? context : ko::save_abandon(context);
}

int CKO_SaveDbase3::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                              uint8_t type) {
  ko::SaveColumn* column = ko::save_store_column(context, name, width, type);
  if (!column) return 0;
  for (KOCHAR* p = column->name; *p; ++p) *p = ko::os::char_upper(*p);
  column->field_info = pack(field_for(type, width));
  if (record_length(context, context->current_column + 1) > kMaxRecordLength) return 0;
  if (ko::save_next_column(context) && !write_descriptors(context)) return 0;
  return 1;
}

int CKO_SaveDbase3::WriteValue(KoSaveContext* context, const void* value) {
  if (!ko::save_usable(context)) return 0;
  const uint8_t not_deleted = 0x20;
  if (context->current_column == 0 && !ko::save_write_bytes(context, &not_deleted, 1)) return 0;
  const ko::SaveColumn& column = context->columns[context->current_column];
  int length = unpack(column.field_info).length;
  KOCHAR field[kMaxFieldLength];
  for (int i = 0; i < length; ++i) field[i] = u' ';
  if (!fill_field(context, column.type, value, field, length)) ko::save_note_overflow(context);
  char bytes[kMaxFieldLength];
  size_t narrowed = ko::narrow_to_ansi(field, size_t(length), bytes, size_t(length));
  std::memset(bytes + narrowed, ' ', size_t(length) - narrowed);
  if (!ko::save_write_bytes(context, bytes, size_t(length))) return 0;
  if (ko::save_next_column(context)) ++context->rows_written;
  return 1;
}

int CKO_SaveDbase3::End(KoSaveContext* context) {
  if (!context) return 0;
  const uint8_t end_of_file = 0x1A;
  return ko::save_end(context, ko::save_write_bytes(context, &end_of_file, 1));
}

/*
 * save_context.h: the save context every exporter works over, and what the
 * exporters share: column and row bookkeeping, the output (file or clipboard
 * buffer), quoting, rendering of numbers and dates, and the fraction suffixes.
 *
 * One pool allocation holds the context and, right behind it, one entry per
 * column:
 *
 *   KoSaveContext                      pool, owner, counts, flags, base name,
 *                                      the four compiled default formats,
 *                                      the output file, the clipboard buffer
 *   SaveColumn[column count]           name (pool copy), width, field info, type
 *
 * The writers (save_*.cpp) hold only what makes their format.
 */
#ifndef KOSHR_SAVEAS_SAVE_CONTEXT_H
#define KOSHR_SAVEAS_SAVE_CONTEXT_H

#include <koshr/saveas.h>

#include <cstddef>
#include <cstdint>

#include "saveas/save_file.h"

namespace ko {

constexpr size_t kCompiledFormatCodes = 39;
constexpr size_t kBaseNameMax = 259;
// Rendering buffers: numbers take at most 30 characters, dates 299, and a
// fraction suffix (a separator of up to 10 characters and 7 digits) may follow.
constexpr size_t kNumberTextMax = 30;
constexpr size_t kDateTextMax = 299;
constexpr size_t kRenderCapacity = kDateTextMax + 1 + 10 + 7;

struct SaveColumn {
  KOCHAR* name;
  int32_t width;
  int32_t field_info;  // the exporter's own (dBase: type, length, decimals)
  uint8_t type;
};

// How a datetime or time value with a non-zero sub-second field ends.
enum class FractionSuffix {
  kNone,
  kTimeSeparator7,    // the profile's sTime and seven digits, trailing zeros cut
  kDecimalSeparator6  // the process's decimal separator and six digits, trailing zeros cut
};

}  // namespace ko

struct KoSaveContext {
  KostgContext* pool;
  KostgSubpool* owner;
  uint32_t row_count;
  int32_t total_width;
  int32_t column_count;
  int32_t current_column;
  int32_t rows_written;
  uint32_t flags;
  KOCHAR base_name[ko::kBaseNameMax + 1];
  uint16_t number_format[ko::kCompiledFormatCodes];
  uint16_t date_format[ko::kCompiledFormatCodes];
  uint16_t time_format[ko::kCompiledFormatCodes];
  uint16_t datetime_format[ko::kCompiledFormatCodes];
  KOCHAR* culture;  // a pool copy of the culture string, or null: numbers render under it
  bool has_file;
  ko::SaveFile file;
  KOCHAR* clip_text;
  size_t clip_capacity;     // bytes
  size_t clip_length;       // characters
  uint32_t overflow_count;  // values written as their field's overflow marker
  uint32_t overflow_row;    // the first of them: record (0-based) and column
  int32_t overflow_column;
  ko::SaveColumn* columns;
};

namespace ko {

// The common start of every Begin: the context, and the file in the given
// encoding (kEncodingBytes for the binary exporters). Null when the file
// cannot be created or the arguments are unusable.
KoSaveContext* save_begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* file_name,
                          uint32_t row_count, int32_t column_count, uint32_t flags,
                          int32_t encoding, const KOCHAR* culture);
// The common end of a Begin that failed to write its header: closes the file
// without flushing and frees the context; returns null for the caller.
KoSaveContext* save_abandon(KoSaveContext* context);
// Closes the file (flushing when asked and nothing failed), frees the
// context; 1 when everything reached the disk.
int save_finish(KoSaveContext* context, bool flush);
// The end of an export whose closing record was (or was not) written: a
// flushing close when it was, otherwise a close without flushing and 0.
inline int save_end(KoSaveContext* context, bool closing_written) {
  if (closing_written) return save_finish(context, true);
  save_finish(context, false);
  return 0;
}

// Compiles the four default formats into the context (under the culture
// string when there is one).
void save_compile_formats(KoSaveContext* context, const KOCHAR* culture);

// The file's name without its folder (osFileGetFileName): up to `capacity` - 1
// units after the last "/", "\\" or ":".
void osFileGetFileName(const KOCHAR* path, KOCHAR* out, size_t capacity);

// The base name of a file name: no folder, no extension, at most 259 units.
void save_base_name(const KOCHAR* file_name, KOCHAR* out);

// Stores a column in the entry of the current column (a pool copy of the
// name, width, type) and adds its width to the total. The entry, or null
// when the context has no room or no memory.
SaveColumn* save_store_column(KoSaveContext* context, const KOCHAR* name, int32_t width,
                              uint8_t type);
// Moves on to the next column; true when that completed a line (the current
// column wrapped to 0).
bool save_next_column(KoSaveContext* context);
// Records that the value of the current column of the current record did not
// fit its field and was written as the field's overflow marker.
void save_note_overflow(KoSaveContext* context);
// True when the context can take a value or a column.
inline bool save_usable(const KoSaveContext* context) {
  return context && context->column_count > 0;
}

// Output: UTF-16 text to the file, or to the clipboard buffer when the
// context has no file. True when all of it was accepted.
bool save_write(KoSaveContext* context, const KOCHAR* text, size_t length);
bool save_write(KoSaveContext* context, const KOCHAR* text);
bool save_write_ascii(KoSaveContext* context, const char* text);
bool save_write_format(KoSaveContext* context, const char* format, ...);
// Bytes to the file (binary exporters).
bool save_write_bytes(KoSaveContext* context, const void* data, size_t size);
// `quote`, the text with every `quote` in it written twice, `quote`.
bool save_write_quoted(KoSaveContext* context, const KOCHAR* text, KOCHAR quote);

// Renders a value of a number or date column (types 2 to 6) with the
// context's default formats into `out` (kRenderCapacity units); returns the
// length. A missing value or another type renders nothing.
size_t save_render(const KoSaveContext* context, uint8_t type, const void* value,
                   FractionSuffix suffix, KOCHAR* out);
// Renders a double or a decimal into at most `capacity` - 1 units.
size_t save_render_double(const KoSaveContext* context, double value, KOCHAR* out, size_t capacity);
size_t save_render_decimal(const KoSaveContext* context, const KODECIMAL& value, KOCHAR* out,
                           size_t capacity);
// Renders a datetime through one of the context's date formats.
size_t save_render_datetime(const KoSaveContext* context, const uint16_t* format,
                            const KODATETIME& value, KOCHAR* out, size_t capacity);
// Appends the fraction suffix for `subsecond` (nothing when it is 0) behind
// `length` units of `out`; returns the new length. Under a culture its
// separator comes from the culture's "sTime" or "sDecimal".
size_t save_append_fraction(const KoSaveContext* context, uint32_t subsecond, FractionSuffix suffix,
                            KOCHAR* out, size_t length);

}  // namespace ko

#endif

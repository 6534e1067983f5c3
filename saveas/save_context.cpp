/*
 * save_context.cpp: creating and releasing the save context, the column and
 * row bookkeeping, and the output every exporter writes through.
 */
#include "saveas/save_context.h"

#include <cstdarg>
#include <cstring>

#include <koshr/strings.h>

#include "platform/utf16.h"
#include "storage/u16_format.h"

namespace ko {
namespace {

constexpr size_t kClipGrowthMin = 4000;  // bytes
constexpr size_t kFormattedPieceMax = 300;

bool is_path_separator(KOCHAR c) { return c == u'/' || c == u'\\' || c == u':'; }

// Appends to the clipboard buffer. It grows when the free bytes are not more
// than the bytes to add, by twice those bytes or 4,000, whichever is larger,
// and always stays terminated.
bool clip_append(KoSaveContext* context, const KOCHAR* text, size_t length) {
  size_t add = length * sizeof(KOCHAR);
  size_t free_bytes = context->clip_capacity - context->clip_length * sizeof(KOCHAR);
  if (free_bytes <= add) {
    size_t growth = 2 * add > kClipGrowthMin ? 2 * add : kClipGrowthMin;
    size_t capacity = context->clip_capacity + growth;
    void* grown = context->clip_text
                      ? kostg_realc(context->pool, context->clip_text, capacity, context->owner)
                      : kostg_alc(context->pool, capacity, context->owner);
    if (!grown) return false;
    context->clip_text = static_cast<KOCHAR*>(grown);
    context->clip_capacity = capacity;
  }
  std::memcpy(context->clip_text + context->clip_length, text, add);
  context->clip_length += length;
  context->clip_text[context->clip_length] = 0;
  return true;
}

}  // namespace

void osFileGetFileName(const KOCHAR* path, KOCHAR* out, size_t capacity) {
  const KOCHAR* name = path ? path : u"";
  for (const KOCHAR* p = name; *p; ++p) {
    if (is_path_separator(*p)) name = p + 1;
  }
  u16lcpy(out, name, capacity);
}

void save_base_name(const KOCHAR* file_name, KOCHAR* out) {
  out[0] = 0;
  if (!file_name || !file_name[0]) return;
  // From the last "." (or the last character) back to just after a separator.
  const KOCHAR* dot = u16rchr(file_name, u'.');
  size_t begin = (dot ? size_t(dot - file_name) : u16len(file_name) - 1) + 1;
  while (begin > 0 && !is_path_separator(file_name[begin - 1])) --begin;
  const KOCHAR* start = file_name + begin;
  size_t n = 0;
  while (n < kBaseNameMax && start[n] && start[n] != u'.') {
    out[n] = start[n];
    ++n;
  }
  out[n] = 0;
}

KoSaveContext* save_begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* file_name,
                          uint32_t row_count, int32_t column_count, uint32_t flags,
                          int32_t encoding, const KOCHAR* culture) {
  if (!pool || column_count < 0) return nullptr;
  uint64_t size = sizeof(KoSaveContext) + uint64_t(column_count) * sizeof(SaveColumn);
  auto* context = static_cast<KoSaveContext*>(kostg_alc(pool, size, owner));
  if (!context) return nullptr;
  std::memset(static_cast<void*>(context), 0, size);
  context->file.handle = os::kInvalidFile;
  if (file_name && !(flags & KOSAVE_NO_FILE)) {
    if (!osFileOpenNew32(&context->file, pool, owner, file_name, encoding)) {
      kostg_fee(pool, context);
      return nullptr;
    }
    context->has_file = true;
  }
  context->pool = pool;
  context->owner = owner;
  context->row_count = row_count;
  context->column_count = column_count;
  context->flags = flags;
  context->columns = reinterpret_cast<SaveColumn*>(context + 1);
  if (culture) {
    // The renderers read the culture at every value, so it must outlive the caller's string.
    context->culture = kostg_strdup(pool, culture, owner);
    if (!context->culture) return save_abandon(context);
  }
  save_compile_formats(context, culture);
  save_base_name(file_name, context->base_name);
  return context;
}

KoSaveContext* save_abandon(KoSaveContext* context) {
  save_finish(context, false);
  return nullptr;
}

int save_finish(KoSaveContext* context, bool flush) {
  if (!context) return 0;
  int result = context->has_file ? osFileClose(&context->file, context->pool, flush) : 1;
  context->has_file = false;
  osSaveEnd(context);
  return result;
}

SaveColumn* save_store_column(KoSaveContext* context, const KOCHAR* name, int32_t width,
                              uint8_t type) {
  if (!save_usable(context)) return nullptr;
  SaveColumn* column = &context->columns[context->current_column];
  if (column->name) kostg_fee(context->pool, column->name);
  column->name = nullptr;
  column->name = kostg_strdup(context->pool, name ? name : u"", context->owner);
  if (!column->name) return nullptr;
  column->width = width;
  column->type = type;
  context->total_width += width;
  return column;
}

void save_note_overflow(KoSaveContext* context) {
  if (context->overflow_count == 0) {
    context->overflow_row = uint32_t(context->rows_written);
    context->overflow_column = context->current_column;
  }
  if (context->overflow_count != UINT32_MAX) ++context->overflow_count;
}

bool save_next_column(KoSaveContext* context) {
  if (++context->current_column < context->column_count) return false;
  context->current_column = 0;
  return true;
}

bool save_write(KoSaveContext* context, const KOCHAR* text, size_t length) {
  if (length == 0) return true;
  if (context->has_file) return osFileWrite32(&context->file, text, length) == length;
  return clip_append(context, text, length);
}

bool save_write(KoSaveContext* context, const KOCHAR* text) {
  return save_write(context, text, u16len(text));
}

bool save_write_ascii(KoSaveContext* context, const char* text) {
  return save_write_format(context, "%hs", text);
}

bool save_write_format(KoSaveContext* context, const char* format, ...) {
  KOCHAR piece[kFormattedPieceMax];
  va_list args;
  va_start(args, format);
  size_t length = u16_vformat(piece, kFormattedPieceMax, format, args);
  va_end(args);
  if (length >= kFormattedPieceMax) length = kFormattedPieceMax - 1;
  return save_write(context, piece, length);
}

bool save_write_bytes(KoSaveContext* context, const void* data, size_t size) {
  // Without a file (flag 4) the bytes have nowhere to go and are dropped.
  return !context->has_file || osFileWrite(&context->file, data, size) == size;
}

bool save_write_quoted(KoSaveContext* context, const KOCHAR* text, KOCHAR quote) {
  if (!save_write(context, &quote, 1)) return false;
  const KOCHAR* run = text;
  for (const KOCHAR* p = text; *p; ++p) {
    if (*p != quote) continue;
    // Write up to and including the quote, then the quote once more.
    if (!save_write(context, run, size_t(p - run) + 1) || !save_write(context, &quote, 1)) {
      return false;
    }
    run = p + 1;
  }
  return save_write(context, run) && save_write(context, &quote, 1);
}

}  // namespace ko

using namespace ko;

KOSHR_EXTERN_C KOSHR_API KoSaveContext* osSaveBegin32(KostgContext* pool, KostgSubpool* owner,
                                                      const KOCHAR* fileName, uint32_t rowCount,
                                                      int32_t columnCount, uint32_t flags,
                                                      int32_t encoding) {
  return save_begin(pool, owner, fileName, rowCount, columnCount, flags, encoding, nullptr);
}

KOSHR_EXTERN_C KOSHR_API KoSaveContext* osSaveBegin32Web(KostgContext* pool, KostgSubpool* owner,
                                                         const KOCHAR* fileName, uint32_t rowCount,
                                                         int32_t columnCount, uint32_t flags,
                                                         int32_t encoding, const KOCHAR* culture) {
  return save_begin(pool, owner, fileName, rowCount, columnCount, flags, encoding, culture);
}

KOSHR_EXTERN_C KOSHR_API uint32_t osSaveOverflow(const KoSaveContext* context, uint32_t* firstRow,
                                                 int32_t* firstColumn) {
  if (!context || context->overflow_count == 0) return 0;
  if (firstRow) *firstRow = context->overflow_row;
  if (firstColumn) *firstColumn = context->overflow_column;
  return context->overflow_count;
}

KOSHR_EXTERN_C KOSHR_API void osSaveEnd(KoSaveContext* context) {
  if (!context) return;
  KostgContext* pool = context->pool;
  if (context->has_file) osFileClose(&context->file, pool, false);
  for (int32_t i = 0; i < context->column_count; ++i) {
    if (context->columns[i].name) kostg_fee(pool, context->columns[i].name);
  }
  if (context->clip_text) kostg_fee(pool, context->clip_text);
  if (context->culture) kostg_fee(pool, context->culture);
  kostg_fee(pool, context);
}

/*
 * save_delimited.cpp: column names, values and line ends of the delimited
 * exporters (see save_delimited.h).
 */
#include "saveas/save_delimited.h"

namespace ko {
namespace {

constexpr KOCHAR kLineEnd[] = {u'\r', u'\n'};

// Writes the separator, or the line end after the last column. True when the
// write went through; `line_done` tells which one it was.
bool end_field(KoSaveContext* context, KOCHAR separator, bool& line_done) {
  line_done = save_next_column(context);
  return line_done ? save_write(context, kLineEnd, 2) : save_write(context, &separator, 1);
}

}  // namespace

bool tab_separated_needs_quotes(const KOCHAR* text) {
  if (text[0] == u'"') return true;
  for (; *text; ++text) {
    if (*text == u'\t' || *text == u'\r' || *text == u'\n') return true;
  }
  return false;
}

int delimited_add_column(KoSaveContext* context, const KOCHAR* name, int32_t width, uint8_t type,
                         const DelimitedStyle& style) {
  SaveColumn* column = save_store_column(context, name, width, type);
  if (!column) return 0;
  bool line_done = false;
  if (context->flags & KOSAVE_COLUMN_NAMES) {
    // Column names are written as they stand, never quoted.
    if (!save_write(context, column->name)) return 0;
    return end_field(context, style.separator, line_done) ? 1 : 0;
  }
  save_next_column(context);
  return 1;
}

int delimited_write_value(KoSaveContext* context, const void* value, const DelimitedStyle& style) {
  if (!save_usable(context)) return 0;
  uint8_t type = context->columns[context->current_column].type;
  if (type == KOSAVE_STRING && value) {
    const auto* text = static_cast<const KOCHAR*>(value);
    bool ok = style.needs_quotes(text) ? save_write_quoted(context, text, u'"')
                                       : save_write(context, text);
    if (!ok) return 0;
  } else {
    // A rendered value goes out with its separator or line end in one write.
    KOCHAR rendered[kRenderCapacity + 2];
    size_t length = save_render(context, type, value, style.suffix, rendered);
    bool line_done = save_next_column(context);
    if (line_done) {
      rendered[length++] = kLineEnd[0];
      rendered[length++] = kLineEnd[1];
      ++context->rows_written;
    } else {
      rendered[length++] = style.separator;
    }
    return save_write(context, rendered, length) ? 1 : 0;
  }
  bool line_done = false;
  if (!end_field(context, style.separator, line_done)) return 0;
  if (line_done) ++context->rows_written;
  return 1;
}

}  // namespace ko

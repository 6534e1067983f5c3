/*
 * save_delimited.h: the line-per-row exporters (comma-separated, tab-separated,
 * clipboard), which differ only in their separator, their quoting rule and
 * their fraction suffix.
 *
 *   [name SEP name ... name CR LF]          when flag 1 asks for column names
 *   value SEP value ... value CR LF         one line per row
 */
#ifndef KOSHR_SAVEAS_SAVE_DELIMITED_H
#define KOSHR_SAVEAS_SAVE_DELIMITED_H

#include "saveas/save_context.h"

namespace ko {

struct DelimitedStyle {
  KOCHAR separator;
  bool (*needs_quotes)(const KOCHAR* text);
  FractionSuffix suffix;
};

// AddColumn and WriteValue of the delimited exporters.
int delimited_add_column(KoSaveContext* context, const KOCHAR* name, int32_t width, uint8_t type,
                         const DelimitedStyle& style);
int delimited_write_value(KoSaveContext* context, const void* value, const DelimitedStyle& style);

// The tab-separated quoting rule (text file and clipboard): a leading
// double-quote character, or a TAB, CR or LF anywhere.
bool tab_separated_needs_quotes(const KOCHAR* text);

}  // namespace ko

#endif

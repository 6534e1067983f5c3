/*
 * text_blanks.h: the blanks of SQL and DBParm text.
 */
#ifndef KOSHR_DBI_TEXT_BLANKS_H
#define KOSHR_DBI_TEXT_BLANKS_H

#include <koshr/types.h>

namespace ko::dbi {

// Blanks of SQL and DBParm text: tab, line feed, carriage return, space.
inline bool is_space_tab_or_line_break(KOCHAR c) {
  return c == u' ' || c == u'\t' || c == u'\n' || c == u'\r';
}

}  // namespace ko::dbi

#endif

/*
 * keyword_compare.h: whether a keyword stands at a position of SQL text as
 * a word.
 */
#ifndef KOSHR_DBI_KEYWORD_COMPARE_H
#define KOSHR_DBI_KEYWORD_COMPARE_H

#include <koshr/types.h>

namespace ko::dbi {

// The word rule of DBI_DoCompare. `start` is the first character of the
// text: at that position there is no character before, which counts as no
// word start. A null `start` means the character before is always there.
bool keyword_at(const KOCHAR* start, const KOCHAR* position, const KOCHAR* keyword);

}  // namespace ko::dbi

#endif

/*
 * keyword_compare.h: whether a keyword stands at a position of SQL text as
 * a word.
 */
#ifndef KOSHR_DBI_KEYWORD_COMPARE_H
#define KOSHR_DBI_KEYWORD_COMPARE_H

#include <koshr/types.h>

namespace ko::dbi {

// The word rule of DBI_DoCompare. The character before `position` is read,
// so a scan may start in the middle of a statement (after "select ", say)
// and still see its first word as a word; the caller owns that character.
bool keyword_at(const KOCHAR* position, const KOCHAR* keyword);

}  // namespace ko::dbi

#endif

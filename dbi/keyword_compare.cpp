/*
 * keyword_compare.cpp: the word comparison of the SQL keyword scanner
 * (DBI_DoCompare) and the prefix comparisons (DBI_DoCompareFirst,
 * DBI_DoCompareFirstWithSkip).
 *
 * A keyword of two or more characters matches only as a word: the character
 * before it must be a blank or "," and the one after it a blank, "," or the
 * end. So "(" and operators neither start nor end words: in "x,where" the
 * keyword where is found, in "(where" it is not. A one-character keyword
 * matches wherever the character stands; kept so, callers look for "=".
 */
#include "dbi/keyword_compare.h"

#include <koshr/dbi.h>

#include "dbi/text_blanks.h"
#include "platform/platform.h"

namespace ko::dbi {
namespace {

bool is_word_end(KOCHAR c) { return c == 0 || c == u',' || is_space_tab_or_line_break(c); }
bool same_letter(KOCHAR a, KOCHAR b) { return a == b || os::char_upper(a) == os::char_upper(b); }

}  // namespace

bool keyword_at(const KOCHAR* position, const KOCHAR* keyword) {
  if (keyword[0] != 0 && keyword[1] == 0) return same_letter(position[0], keyword[0]);
  // The conditions are tested cheapest first: most candidates sit inside a
  // word and fail on the character before them.
  const KOCHAR before = position[-1];
  if (before != u',' && !is_space_tab_or_line_break(before)) return false;
  size_t length = 0;
  for (; keyword[length] != 0; ++length) {
    if (position[length] == 0) return false;
  }
  if (!is_word_end(position[length])) return false;
  for (size_t i = 0; i < length; ++i) {
    if (!same_letter(position[i], keyword[i])) return false;
  }
  return true;
}

namespace {

int32_t compare_first(KOCHAR* text, const KOCHAR* keyword) {
  size_t length = 0;
  while (keyword[length] != 0) {
    if (text[length] == 0) return 0;
    ++length;
  }
  if (!is_word_end(text[length])) return 0;
  const KOCHAR kept = text[length];
  text[length] = 0;
  const bool equal = os::collate_nocase(text, keyword) == 0;
  text[length] = kept;
  return equal ? 1 : 0;
}

}  // namespace
}  // namespace ko::dbi

int32_t DBI_DoCompare(const KOCHAR* position, const KOCHAR* keyword) {
  if (position == nullptr || keyword == nullptr) return 0;
  return ko::dbi::keyword_at(position, keyword) ? 1 : 0;
}

int32_t DBI_DoCompareFirst(KOCHAR* text, const KOCHAR* keyword) {
  if (text == nullptr || keyword == nullptr) return 0;
  return ko::dbi::compare_first(text, keyword);
}

int32_t DBI_DoCompareFirstWithSkip(KOCHAR* text, const KOCHAR* keyword) {
  if (text == nullptr || keyword == nullptr) return 0;
  while (ko::dbi::is_space_tab_or_line_break(*text)) ++text;
  return ko::dbi::compare_first(text, keyword);
}

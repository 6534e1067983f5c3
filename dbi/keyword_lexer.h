/*
 * keyword_lexer.h: the four-state lexer the SQL keyword scans share.
 *
 * It walks the text one character at a time:
 *   normal     blanks are skipped; '' is skipped as a pair; ' enters the
 *              single-quoted state, " the double-quoted state, / * the
 *              comment state; any other character is a candidate, handed to
 *              the scan, which says how far to move on (0: stop here);
 *   single     '' is skipped as a pair, ' returns to normal;
 *   double     " returns to normal;
 *   comment    * / returns to normal.
 * Line comments are not recognised. Text that ends inside a literal or a
 * comment simply ends the scan. The lexer never moves past the terminator.
 */
#ifndef KOSHR_DBI_KEYWORD_LEXER_H
#define KOSHR_DBI_KEYWORD_LEXER_H

#include <koshr/types.h>

#include <cstddef>

#include "dbi/text_blanks.h"

namespace ko::dbi {

// `step` characters on from `p`, stopping at the terminator.
inline const KOCHAR* move_on(const KOCHAR* p, size_t step) {
  while (step-- > 0 && *p != 0) ++p;
  return p;
}

// Runs `candidate(position) -> size_t` at each candidate character; returns
// the position where a call answered 0, or null when the text ran out.
template <typename Candidate>
const KOCHAR* lex_keywords(const KOCHAR* text, Candidate&& candidate) {
  enum class State { kNormal, kSingleQuoted, kDoubleQuoted, kComment };
  State state = State::kNormal;
  const KOCHAR* p = text;
  while (*p != 0) {
    switch (state) {
      case State::kNormal:
        if (is_space_tab_or_line_break(*p)) {
          ++p;
        } else if (*p == u'\'') {
          if (p[1] == u'\'') {
            p += 2;
          } else {
            state = State::kSingleQuoted;
            ++p;
          }
        } else if (*p == u'"') {
          state = State::kDoubleQuoted;
          ++p;
        } else if (*p == u'/' && p[1] == u'*') {
          state = State::kComment;
          p += 2;
        } else {
          const size_t step = candidate(p);
          if (step == 0) return p;
          p = move_on(p, step);
        }
        break;
      case State::kSingleQuoted:
        if (*p == u'\'' && p[1] == u'\'') {
          p += 2;
        } else {
          if (*p == u'\'') state = State::kNormal;
          ++p;
        }
        break;
      case State::kDoubleQuoted:
        if (*p == u'"') state = State::kNormal;
        ++p;
        break;
      case State::kComment:
        if (*p == u'*' && p[1] == u'/') {
          state = State::kNormal;
          p += 2;
        } else {
          ++p;
        }
        break;
    }
  }
  return nullptr;
}

}  // namespace ko::dbi

#endif

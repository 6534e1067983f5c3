/*
 * keyword_scan.cpp: finding a keyword outside literals and comments
 * (DBI_LookForKeyWord), classifying a query (DBI_ParseKeyWords) and the
 * driver's full parse (DBI_Parse, operation 76).
 *
 * The classification looks at the text after SELECT: it is an aggregate,
 * distinct, grouped or union query when "group by", "union" or "distinct"
 * occur, or when the first word is avg, count, max, min or sum followed by a
 * word end. Only the first word is tested, and count( is not count: both are
 * kept as callers know them.
 */
#include <koshr/dbi.h>

#include <initializer_list>

#include "dbi/driver_call.h"
#include "dbi/keyword_compare.h"
#include "dbi/keyword_lexer.h"
#include "dbi/text_blanks.h"
#include "platform/utf16.h"

int32_t DBI_LookForKeyWord(DbiContext* context, const KOCHAR* keyword, const KOCHAR* text,
                           int32_t* found, uint32_t* position, uint32_t* length) {
  using namespace ko::dbi;
  if (found != nullptr) *found = 0;
  if (position != nullptr) *position = 0;
  if (length != nullptr) *length = 0;
  if (context != nullptr) {
    context->scan_text = text;
    context->keyword_position = 0;
    context->keyword_length = 0;
  }
  if (text == nullptr || text[0] == 0 || keyword == nullptr || keyword[0] == 0) return 0;
  const KOCHAR* hit =
      lex_keywords(text, [&](const KOCHAR* p) -> size_t { return keyword_at(p, keyword) ? 0 : 1; });
  if (hit == nullptr) return 0;
  const auto at = static_cast<uint32_t>(hit - text);
  const auto size = static_cast<uint32_t>(ko::u16len(keyword));
  if (found != nullptr) *found = 1;
  if (position != nullptr) *position = at;
  if (length != nullptr) *length = size;
  if (context != nullptr) {
    context->keyword_position = at;
    context->keyword_length = size;
  }
  return 0;
}

int32_t DBI_ParseKeyWords(DbiContext* context, const KOCHAR* text, int32_t* flag) {
  using namespace ko::dbi;
  if (flag == nullptr) return 0;
  *flag = 0;
  if (context != nullptr) {
    context->scan_text = text;
    context->keyword_position = 0;
    context->keyword_length = 0;
  }
  if (text == nullptr) return 0;
  bool from_passed = false;
  bool decided = false;
  const KOCHAR* stop = lex_keywords(text, [&](const KOCHAR* p) -> size_t {
    if (keyword_at(p, u"from")) {
      from_passed = true;
      return 5;
    }
    if (keyword_at(p, u"group")) {
      const KOCHAR* q = move_on(p, 5);
      while (is_space_tab_or_line_break(*q)) ++q;
      if (keyword_at(q, u"by")) {
        decided = true;
        return 0;
      }
      return static_cast<size_t>(q - p);
    }
    if (keyword_at(p, u"union") || keyword_at(p, u"distinct")) {
      decided = true;
      return 0;
    }
    return from_passed ? 1 : 0;
  });
  if (decided) {
    *flag = 1;
  } else if (stop != nullptr) {
    for (const KOCHAR* aggregate : {u"avg", u"count", u"max", u"min", u"sum"}) {
      if (keyword_at(stop, aggregate)) *flag = 1;
    }
  }
  return 0;
}

int32_t DBI_Parse(DbiContext* context, const KOCHAR* statement) {
  if (context == nullptr) return 0;
  context->statement = statement;
  ko::dbi::call_driver(context, DBI_OP_PARSE);
  return 0;
}

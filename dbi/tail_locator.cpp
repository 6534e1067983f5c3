/*
 * tail_locator.cpp: where the tail of a SELECT begins (DBI_ParseBasicSelect):
 * the WHERE, GROUP BY, HAVING or ORDER BY part.
 *
 * "where" wins when found past the first character. Otherwise the earlier
 * of "group" and "having" is the tail, and "order" only when neither is
 * there. Each scan leaves its own result in the context, so after a search
 * that reached "order" the context holds the position of "order".
 */
#include <koshr/dbi.h>

namespace {

uint32_t keyword_position(DbiContext* context, const KOCHAR* keyword, const KOCHAR* text) {
  int32_t found = 0;
  uint32_t position = 0;
  DBI_LookForKeyWord(context, keyword, text, &found, &position, nullptr);
  return found != 0 ? position : 0;
}

uint32_t tail_position(DbiContext* context, const KOCHAR* select) {
  const uint32_t where = keyword_position(context, u"where", select);
  if (where != 0) return where;
  const uint32_t group = keyword_position(context, u"group", select);
  const uint32_t having = keyword_position(context, u"having", select);
  const uint32_t order = keyword_position(context, u"order", select);
  if (group != 0 && having != 0) return group < having ? group : having;
  if (group != 0) return group;
  if (having != 0) return having;
  return order;
}

}  // namespace

int32_t DBI_ParseBasicSelect(DbiContext* context, const KOCHAR* select, const KOCHAR** tail) {
  const uint32_t position = select != nullptr ? tail_position(context, select) : 0;
  const KOCHAR* result = position != 0 ? select + position : nullptr;
  if (context != nullptr) context->tail = result;
  if (tail != nullptr) *tail = result;
  return 0;
}

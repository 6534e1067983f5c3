/*
 * dbparm_replace.cpp: rewriting one keyword's value in the stored DBParm
 * text (DBI_ReplaceDbParm).
 *
 * Items are separated by commas outside quotes. An item matches when it
 * starts with the keyword (case ignored) directly followed by "="; its old
 * value runs to the next comma outside quotes (a doubled quote is one
 * literal quote). The value is inserted as given, so the caller supplies any
 * quotes. Without a match the keyword is appended. The old text is zeroed
 * before it is freed, since it may hold a password.
 */
#include <koshr/dbi.h>

#include <cstring>
#include <initializer_list>
#include <utility>

#include "dbi/context_memory.h"
#include "platform/platform.h"
#include "platform/utf16.h"

namespace ko::dbi {
namespace {

// The end of the value or item that starts at `p`: the first comma outside
// quotes, or the terminator.
const KOCHAR* end_of_item(const KOCHAR* p) {
  bool quoted = false;
  while (*p != 0) {
    if (*p == u'\'') {
      if (p[1] == u'\'') {
        p += 2;
        continue;
      }
      quoted = !quoted;
    } else if (*p == u',' && !quoted) {
      break;
    }
    ++p;
  }
  return p;
}

bool starts_with_keyword(const KOCHAR* item, const KOCHAR* keyword, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (item[i] == 0 || os::char_upper(item[i]) != os::char_upper(keyword[i])) return false;
  }
  return item[length] == u'=';
}

KOCHAR* concatenate(DbiContext* context,
                    std::initializer_list<std::pair<const KOCHAR*, size_t>> parts) {
  size_t total = 0;
  for (const auto& part : parts) total += part.second;
  auto* text = static_cast<KOCHAR*>(alloc_zeroed(context, (total + 1) * sizeof(KOCHAR)));
  if (text == nullptr) return nullptr;
  size_t at = 0;
  for (const auto& part : parts) {
    std::memcpy(text + at, part.first, part.second * sizeof(KOCHAR));
    at += part.second;
  }
  return text;
}

}  // namespace

KOCHAR* replace_parameter(DbiContext* context, const KOCHAR* stored, const KOCHAR* keyword,
                          const KOCHAR* value) {
  const size_t keyword_length = u16len(keyword);
  const size_t value_length = u16len(value);
  if (stored == nullptr || stored[0] == 0) {
    return concatenate(context, {{keyword, keyword_length}, {u"=", 1}, {value, value_length}});
  }
  for (const KOCHAR* item = stored;;) {
    if (starts_with_keyword(item, keyword, keyword_length)) {
      const KOCHAR* old_value = item + keyword_length + 1;
      const KOCHAR* rest = end_of_item(old_value);
      return concatenate(context, {{stored, static_cast<size_t>(old_value - stored)},
                                   {value, value_length},
                                   {rest, u16len(rest)}});
    }
    item = end_of_item(item);
    if (*item == 0) break;
    ++item;
  }
  return concatenate(context, {{stored, u16len(stored)},
                               {u",", 1},
                               {keyword, keyword_length},
                               {u"=", 1},
                               {value, value_length}});
}

}  // namespace ko::dbi

int32_t DBI_ReplaceDbParm(DbiContext* context, const KOCHAR* keyword, const KOCHAR* value) {
  if (context == nullptr || keyword == nullptr) return 0;
  KOCHAR* text =
      ko::dbi::replace_parameter(context, context->dbparm, keyword, value != nullptr ? value : u"");
  if (text == nullptr) return 0;
  ko::dbi::release_secret(context, context->dbparm);
  context->dbparm = text;
  return 0;
}

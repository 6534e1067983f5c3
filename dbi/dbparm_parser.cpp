/*
 * dbparm_parser.cpp: the DBParm string parser (DBI_ParseParms).
 *
 * A DBParm string is a list of keywords, each optionally followed by "=" and
 * a value: Keyword='quoted text' gives a text value ('' stands for one
 * quote), Keyword=123 a numeric value. The parser is a character state
 * machine whose oddities callers rely on and are kept as they are:
 *   - a comma does not end a keyword (A,B=1 names the keyword "A,B");
 *   - a keyword followed by "," or by another keyword without "=" is
 *     dropped; only the last keyword of the string survives without "=";
 *   - an unquoted value that is not all digits drops its record, unless it
 *     is the last item, which is then kept without a value;
 *   - Keyword='' keeps the record with no value.
 * A name or value over 1024 characters stops the process (a fatal range
 * error), as it always has. The work buffer is zeroed before returning,
 * since values may be passwords.
 */
#include <koshr/dbi.h>
#include <koshr/lists.h>

#include "dbi/context_memory.h"
#include "dbi/dbparm_records.h"
#include "dbi/runtime_services.h"
#include "dbi/text_blanks.h"
#include "platform/platform.h"
#include "platform/resources.h"
#include "platform/utf16.h"

namespace ko::dbi {
namespace {

constexpr size_t kMaxItem = 1024;

[[noreturn]] void range_error() {
  const KOCHAR* text = resource_string("DBI_PARM_TOO_LONG");
  os::fatal_exit(text != nullptr ? text : u"DBParm item too long");
}

class ParmParser {
 public:
  ParmParser(DbiContext* context, const KOCHAR* text) : context_(context), p_(text) {}
  ~ParmParser() { wipe(work_, sizeof work_); }
  ParmParser(const ParmParser&) = delete;
  ParmParser& operator=(const ParmParser&) = delete;

  shlistx* run() {
    skip_blanks();
    if (*p_ == 0) return nullptr;
    list_ = shlist_new(context_->storage, nullptr);
    if (list_ == nullptr) return nullptr;
    for (;;) {
      skip_blanks();
      const KOCHAR c = *p_;
      if (c == 0) break;
      if (c == u'=') {
        ++p_;
        read_value();
      } else {
        if (c == u',') ++p_;
        drop();
        read_keyword();
      }
    }
    append();
    return list_;
  }

 private:
  void skip_blanks() {
    while (is_space_tab_or_line_break(*p_)) ++p_;
  }

  void keep(size_t& length, KOCHAR c) {
    if (length == kMaxItem) range_error();
    work_[length++] = c;
  }

  // A keyword runs to a blank, "=" or the end. An empty one makes no record.
  void read_keyword() {
    skip_blanks();
    size_t length = 0;
    while (*p_ != 0 && !is_space_tab_or_line_break(*p_) && *p_ != u'=') keep(length, *p_++);
    if (length == 0) return;
    pending_ = new_parm(context_, work_, length);
  }

  void read_value() {
    skip_blanks();
    const KOCHAR c = *p_;
    if (c == 0) return;
    if (c == u',') {
      ++p_;
      append();
      read_keyword();
    } else if (c == u'\'') {
      if (p_[1] == u'\'' && p_[2] != u'\'') {
        p_ += 2;
        append();
      } else {
        ++p_;
        read_quoted();
      }
    } else {
      read_unquoted();
    }
  }

  void read_quoted() {
    size_t length = 0;
    while (*p_ != 0) {
      if (*p_ == u'\'') {
        if (p_[1] != u'\'') {
          ++p_;
          break;
        }
        ++p_;
      }
      keep(length, *p_++);
    }
    if (pending_ != nullptr) pending_->text = duplicate(context_, work_, length);
    append();
  }

  void read_unquoted() {
    size_t length = 0;
    while (ascii_is_digit(*p_)) keep(length, *p_++);
    work_[length] = 0;
    skip_blanks();
    if (*p_ == 0 || *p_ == u',') {
      if (pending_ != nullptr) pending_->number = u16_to_i32(work_, nullptr, 10);
      append();
      return;
    }
    while (*p_ != 0 && *p_ != u',') ++p_;
    if (*p_ == u',') drop();
  }

  void append() {
    if (pending_ != nullptr) shlist_insert(list_, pending_);
    pending_ = nullptr;
  }

  void drop() {
    free_parm(context_, pending_);
    pending_ = nullptr;
  }

  DbiContext* context_;
  const KOCHAR* p_;
  shlistx* list_ = nullptr;
  DbiParm* pending_ = nullptr;
  KOCHAR work_[kMaxItem + 1] = {};
};

// The text to parse: the stored DBParm, or for a context opened from a
// security connection string, that string's "DBParm" property (a pool copy
// the caller frees). Null when there is none.
KOCHAR* parameter_text(DbiContext* context, bool& owned) {
  owned = false;
  if (context->security_connect == nullptr) return context->dbparm;
  const KOCHAR* value = nullptr;
  size_t length = 0;
  if (!runtime_services().security_property(context->security_connect, "DBParm", &value, &length)) {
    return nullptr;
  }
  owned = true;
  return duplicate(context, value, length);
}

}  // namespace

shlistx* parse_parameters(DbiContext* context, const KOCHAR* text) {
  if (context == nullptr || text == nullptr) return nullptr;
  return ParmParser(context, text).run();
}

}  // namespace ko::dbi

int32_t DBI_ParseParms(DbiContext* context, shlistx** list) {
  if (list != nullptr) *list = nullptr;
  if (context == nullptr) return 0;
  bool owned = false;
  KOCHAR* text = ko::dbi::parameter_text(context, owned);
  shlistx* parsed = ko::dbi::parse_parameters(context, text);
  if (owned) ko::dbi::release_secret(context, text);
  context->parms = parsed;
  if (list != nullptr) *list = parsed;
  return 0;
}

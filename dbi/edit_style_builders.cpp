/*
 * edit_style_builders.cpp: the description of one edit style, assembled from
 * its kocatedt rows (DBI_EditStyleInfo).
 *
 * The first row of a style carries its type, flags, main text and extra
 * text; the rows after it are code-table items. Each type has its builder,
 * which says what the first row's texts mean and whether the code table is
 * required (no description without one), optional or not used:
 *
 *   type  style            first text   work text     code table
 *   85    check box        label        extra         required (on, off, other)
 *   86    drop-down list   number       -             required
 *   87    radio buttons    number       option char   optional
 *   88    edit mask        mask         extra         optional (spin items)
 *   89    data list        source name  extra         required (display, data)
 *   90    edit field       number       extra         optional
 *   91    formatted edit   format       option char   not used
 *
 * Code table: the rows after the first, counted from 0 whether skipped or
 * not; a row whose sequence number is 1 is skipped; every other row gives its
 * text with each "/" doubled, closed by a tab after an even count and by "/"
 * after an odd one: display, tab, data, "/", display, tab, data, "/" ...
 */
#include <koshr/dbi.h>
#include <koshr/strings.h>

#include <cstring>

#include "platform/utf16.h"

namespace {

enum class FirstText { kNumber, kText };
enum class WorkText { kNone, kOption, kExtra };
enum class CodeTable { kRequired, kOptional, kUnused };

struct Builder {
  int32_t type;
  FirstText first_text;
  WorkText work_text;
  CodeTable code_table;
};

constexpr Builder kBuilders[] = {
    {DBI_EDIT_CHECK_BOX, FirstText::kText, WorkText::kExtra, CodeTable::kRequired},
    {DBI_EDIT_DROP_DOWN_LIST, FirstText::kNumber, WorkText::kNone, CodeTable::kRequired},
    {DBI_EDIT_RADIO_BUTTONS, FirstText::kNumber, WorkText::kOption, CodeTable::kOptional},
    {DBI_EDIT_MASK, FirstText::kText, WorkText::kExtra, CodeTable::kOptional},
    {DBI_EDIT_DATA_LIST, FirstText::kText, WorkText::kExtra, CodeTable::kRequired},
    {DBI_EDIT_FIELD, FirstText::kNumber, WorkText::kExtra, CodeTable::kOptional},
    {DBI_EDIT_FORMATTED, FirstText::kText, WorkText::kOption, CodeTable::kUnused},
};

struct Pool {
  KostgContext* storage;
  KostgSubpool* subpool;
};

KOCHAR* copy_text(const Pool& pool, const KOCHAR* text) {
  return text != nullptr ? kostg_strdup(pool.storage, text, pool.subpool) : nullptr;
}

int16_t number_of(const KOCHAR* text) {
  if (text == nullptr || text[0] == 0) return 0;
  KOCHAR digits[32];
  ko::u16lcpy(digits, text, 32);
  return static_cast<int16_t>(ko::u16_to_i32(digits, nullptr, 10));
}

// The code table of the rows after the first (the table is positioned on the
// first row); null when no row gave an item.
KOCHAR* build_code_table(const Pool& pool, ShHashTable* table, const KOCHAR* name) {
  KOCHAR* buffer = nullptr;
  uint32_t capacity = 0;
  uint32_t length = 0;
  uint32_t counter = 0;
  for (void* item = shhash_searchNext(table, name); item != nullptr;
       item = shhash_searchNext(table, name), ++counter) {
    const auto* row = static_cast<const DbiEditStyleRow*>(item);
    if (row->sequence == 1) continue;
    for (const KOCHAR* p = row->edit != nullptr ? row->edit : u""; *p != 0; ++p) {
      kostg_str_build_char(pool.storage, pool.subpool, &buffer, &capacity, &length, *p);
      if (*p == u'/')
        kostg_str_build_char(pool.storage, pool.subpool, &buffer, &capacity, &length, u'/');
    }
    kostg_str_build_char(pool.storage, pool.subpool, &buffer, &capacity, &length,
                         counter % 2 == 0 ? u'\t' : u'/');
  }
  return buffer;
}

void free_style(const Pool& pool, DbiEditStyle* style) {
  kostg_fee(pool.storage, style->text);
  kostg_fee(pool.storage, style->extra);
  kostg_fee(pool.storage, style->code_table);
  kostg_fee(pool.storage, style);
}

DbiEditStyle* build(const Builder& builder, const Pool& pool, ShHashTable* table,
                    const DbiEditStyleRow* first, const KOCHAR* name) {
  auto* style =
      static_cast<DbiEditStyle*>(kostg_alc(pool.storage, sizeof(DbiEditStyle), pool.subpool));
  if (style == nullptr) return nullptr;
  std::memset(style, 0, sizeof *style);
  style->type = builder.type;
  style->flags = first->flags;
  ko::u16lcpy(style->name, name, DBI_FACE_LENGTH);
  if (builder.first_text == FirstText::kNumber) {
    style->setting = number_of(first->edit);
  } else {
    style->text = copy_text(pool, first->edit);
  }
  if (builder.work_text == WorkText::kOption) {
    style->option = first->work != nullptr ? first->work[0] : KOCHAR(0);
  } else if (builder.work_text == WorkText::kExtra) {
    style->extra = copy_text(pool, first->work);
  }
  if (builder.code_table == CodeTable::kUnused) return style;
  style->code_table = build_code_table(pool, table, name);
  if (builder.code_table == CodeTable::kRequired && style->code_table == nullptr) {
    free_style(pool, style);
    return nullptr;
  }
  return style;
}

}  // namespace

int32_t DBI_EditStyleInfo(DbiContext* context, DbiEditStyleHolder* holder, const KOCHAR* style) {
  if (holder == nullptr) return 0;
  holder->style = nullptr;
  if (context == nullptr || context->edit_style_table == nullptr || style == nullptr) return 0;
  ShHashTable* table = context->edit_style_table;
  const auto* first = static_cast<const DbiEditStyleRow*>(shhash_search(table, style));
  if (first == nullptr) return 0;
  for (const Builder& builder : kBuilders) {
    if (builder.type == first->type) {
      holder->style = build(builder, Pool{holder->storage, holder->subpool}, table, first, style);
      break;
    }
  }
  return 0;
}

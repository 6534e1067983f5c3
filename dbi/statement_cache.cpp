/*
 * statement_cache.cpp: the per-connection cache of prepared statements.
 *
 * An entry is keyed by its SQL text without leading blanks, compared
 * exactly. It is either checked out (in use by the driver's cursor, in no
 * list) or waiting in the cache's list, most recently returned first. A hit
 * checks the entry out, so a second request for the same text misses until
 * it comes back. Returning an entry evicts from the tail (least recently
 * returned) until there is room: a cache never holds more than its capacity,
 * except that a cache of capacity 0 keeps the one entry returned last until
 * the next comes back, as it always has. Evicted, flushed and discarded
 * entries have their statements closed by the driver (operation 247, entry
 * in the result word, which is restored afterwards).
 */
#include "dbi/statement_cache.h"

#include <koshr/lists.h>

#include "containers/string_hash.h"
#include "dbi/context_memory.h"
#include "dbi/driver_call.h"
#include "dbi/text_blanks.h"
#include "platform/utf16.h"

namespace ko::dbi {
namespace {

void close_statement(DbiContext* context, SqlCacheEntry* entry) {
  const intptr_t saved = context->result;
  context->sub_operation = 0;
  context->result = reinterpret_cast<intptr_t>(entry);
  call_driver(context, DBI_OP_CLOSE_STATEMENT);
  context->result = saved;
}

void close_and_free(DbiContext* context, SqlCacheEntry* entry) {
  close_statement(context, entry);
  free_cache_entry(context, entry, true);
}

// Reports a broken call through the driver (operation 241), leaving the
// context's state as it was.
void report_assertion(DbiContext* context, const KOCHAR* text) {
  DbiAssertion assertion{text, u"kodbi6"};
  const int32_t operation = context->operation;
  const int32_t return_code = context->return_code;
  const intptr_t result = context->result;
  const int32_t sql_code = context->sql_code;
  KOCHAR message[DBI_MESSAGE_LENGTH];
  u16lcpy(message, context->message, DBI_MESSAGE_LENGTH);
  context->result = reinterpret_cast<intptr_t>(&assertion);
  call_driver(context, DBI_OP_ASSERTION);
  context->operation = operation;
  context->return_code = return_code;
  context->result = result;
  context->sql_code = sql_code;
  u16lcpy(context->message, message, DBI_MESSAGE_LENGTH);
}

const KOCHAR* skip_blanks(const KOCHAR* text) {
  while (is_space_tab_or_line_break(*text)) ++text;
  return text;
}

void read_capacity(DbiContext* context) {
  shlistx* list = nullptr;
  DBI_ParseParms(context, &list);
  if (list == nullptr) return;
  DbiParm* record = nullptr;
  DBI_GetParm(context, list, u"SQLCache", &record);
  if (record != nullptr) context->sql_cache->capacity = static_cast<uint32_t>(record->number);
  DBI_FreeParmList(context, &list);
}

}  // namespace

void free_cache_entry(DbiContext* context, SqlCacheEntry* entry, bool free_record) {
  release(context, entry->text);
  free_description(context, entry->description);
  wipe(entry, sizeof *entry);
  if (free_record) release(context, entry);
}

void cache_post_connect(DbiContext* context) {
  if (context->sql_cache == nullptr) DBI_SQLCacheBegin(context, 0, &context->sql_cache);
  if (context->sql_cache != nullptr) read_capacity(context);
}
}  // namespace ko::dbi

using namespace ko::dbi;

int32_t DBI_SQLCacheBegin(DbiContext* context, uint32_t capacity, SqlCache** out) {
  if (out == nullptr) return 0;
  *out = nullptr;
  auto* cache = alloc_record<SqlCache>(context);
  if (cache == nullptr) return 0;
  cache->entries = shlist_new(context->storage, context->subpool);
  cache->capacity = capacity;
  *out = cache;
  return 0;
}

int32_t DBI_SQLCacheFlushEntries(DbiContext* context, SqlCache* cache) {
  if (context == nullptr || cache == nullptr) return 0;
  for (void* item = shlist_get_first(cache->entries); item != nullptr;
       item = shlist_get_first(cache->entries)) {
    close_and_free(context, static_cast<SqlCacheEntry*>(item));
    shlist_remove(cache->entries);
  }
  return 0;
}

int32_t DBI_SQLCacheEnd(DbiContext* context, SqlCache* cache) {
  if (context == nullptr || cache == nullptr) return 0;
  DBI_SQLCacheFlushEntries(context, cache);
  shlist_delete(cache->entries);
  wipe(cache, sizeof *cache);
  release(context, cache);
  if (context->sql_cache == cache) context->sql_cache = nullptr;
  return 0;
}

int32_t DBI_SQLCacheRegisterSQLStatement(DbiContext* context, const KOCHAR* sql, void* statement,
                                         SqlCacheEntry** out) {
  if (out == nullptr) return 0;
  *out = nullptr;
  if (sql == nullptr) return 0;
  auto* entry = alloc_record<SqlCacheEntry>(context);
  if (entry == nullptr) return 0;
  const KOCHAR* key = skip_blanks(sql);
  entry->text = duplicate(context, key);
  entry->key_hash = ko::fnv1a(key);
  entry->statement = statement;
  *out = entry;
  return 0;
}

int32_t DBI_SQLCacheRequestSqlStatement(DbiContext* context, SqlCache* cache, const KOCHAR* sql,
                                        SqlCacheEntry** out) {
  if (out == nullptr) return 0;
  *out = nullptr;
  if (cache == nullptr || sql == nullptr) return 0;
  const KOCHAR* key = skip_blanks(sql);
  const uint32_t key_hash = ko::fnv1a(key);
  for (void* item = shlist_get_first(cache->entries); item != nullptr;
       item = shlist_get_next(cache->entries)) {
    auto* entry = static_cast<SqlCacheEntry*>(item);
    if (entry->key_hash == key_hash && entry->text != nullptr &&
        ko::u16cmp(entry->text, key) == 0) {
      shlist_remove(cache->entries);
      ++entry->uses;
      ++cache->hits;
      *out = entry;
      return 0;
    }
  }
  ++cache->misses;
  return 0;
}

int32_t DBI_SQLCacheMakeSQLStatementAvailable(DbiContext* context, SqlCacheEntry* entry,
                                              SqlCache* cache) {
  if (context == nullptr || cache == nullptr) return 0;
  if (entry == nullptr) {
    report_assertion(context, u"assertion failed! pEntry && pList");
    return 0;
  }
  shlistx* list = cache->entries;
  for (;;) {
    const uint32_t count = shlist_get_count(list);
    if (count >= 1 && count < cache->capacity) {
      shlist_get_first(list);
      shlist_addbefore(list, entry);
      return 0;
    }
    if (count == 0) break;
    auto* evicted = static_cast<SqlCacheEntry*>(shlist_get_last(list));
    close_and_free(context, evicted);
    shlist_remove(list);
  }
  shlist_insert(list, entry);
  return 0;
}

int32_t DBI_SQLCacheDiscardEntry(DbiContext* context, SqlCacheEntry* entry, int64_t free_entry) {
  if (context == nullptr || entry == nullptr) return 0;
  close_statement(context, entry);
  free_cache_entry(context, entry, static_cast<int32_t>(free_entry) != 0);
  return 0;
}

int32_t DBI_SQLCacheSetSelectCacheSize(DbiContext* context) {
  if (context != nullptr && context->sql_cache != nullptr) read_capacity(context);
  return 0;
}

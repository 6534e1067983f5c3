/*
 * statement_cache.h: the connection's statement cache as the rest of the
 * interface sees it.
 */
#ifndef KOSHR_DBI_STATEMENT_CACHE_H
#define KOSHR_DBI_STATEMENT_CACHE_H

#include <koshr/dbi.h>

namespace ko::dbi {

// After a successful connect or log-in: makes the connection's cache (capacity
// 0) when it has none and sizes it from "SQLCache".
void cache_post_connect(DbiContext* context);
// Frees an entry's text and description, clears it and, when asked, frees it.
void free_cache_entry(DbiContext* context, SqlCacheEntry* entry, bool free_record);
// Frees a cached description: its compact records, their texts and the list.
void free_description(DbiContext* context, shlistx* description);

}  // namespace ko::dbi

#endif

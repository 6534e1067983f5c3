/*
 * cache_statistics.cpp: the statement cache's statistics text
 * (DBI_SQLCacheStatistics). One buffer serves the whole process and is
 * overwritten by every call, as callers have always read it.
 */
#include <koshr/dbi.h>
#include <koshr/lists.h>

#include "storage/u16_format.h"

namespace {

KOCHAR g_statistics[128];

}  // namespace

const KOCHAR* DBI_SQLCacheStatistics(DbiContext* context, int32_t store) {
  g_statistics[0] = 0;
  if (context == nullptr) return g_statistics;
  const SqlCache* cache = context->sql_cache;
  if (cache != nullptr && (cache->hits != 0 || cache->misses != 0)) {
    ko::u16_format(g_statistics, sizeof g_statistics / sizeof g_statistics[0],
                   "%lu Cache Hits,%lu Cache Misses,%lu entries in Cache", cache->hits,
                   cache->misses, shlist_get_count(cache->entries));
  }
  if (store != 0) context->cache_statistics = g_statistics;
  return g_statistics;
}

// The statement cache through the test driver: keys, check-out, the
// least-recently-used return with its capacity-0 rule, closing statements,
// descriptions and statistics.
#include <koshr/lists.h>

#include <tuple>

#include "dbi_test_support.h"

namespace {

using dbi_test::Driver;
using dbi_test::narrow;

class StatementCacheTest : public dbi_test::DriverTest {
 protected:
  SqlCacheEntry* entry(DbiContext* context, const char16_t* sql, intptr_t statement) {
    SqlCacheEntry* made = nullptr;
    DBI_SQLCacheRegisterSQLStatement(context, sql, reinterpret_cast<void*>(statement), &made);
    return made;
  }
  std::vector<intptr_t> waiting(SqlCache* cache) {
    std::vector<intptr_t> out;
    for (void* item = shlist_get_first(cache->entries); item != nullptr;
         item = shlist_get_next(cache->entries)) {
      out.push_back(reinterpret_cast<intptr_t>(static_cast<SqlCacheEntry*>(item)->statement));
    }
    return out;
  }
  std::vector<intptr_t> closed(DbiContext* context) {
    std::vector<intptr_t> out;
    for (const auto& call : Driver(context->module).calls()) {
      if (call.operation == DBI_OP_CLOSE_STATEMENT)
        out.push_back(reinterpret_cast<intptr_t>(call.statement));
    }
    return out;
  }
};

TEST_F(StatementCacheTest, KeysAreExactTextAfterLeadingBlanks) {
  DbiContext* context = connected(u"SQLCache=4");
  SqlCache* cache = context->sql_cache;
  DBI_SQLCacheMakeSQLStatementAvailable(context, entry(context, u"SELECT 1", 1), cache);
  SqlCacheEntry* found = nullptr;
  DBI_SQLCacheRequestSqlStatement(context, cache, u"select 1", &found);
  EXPECT_EQ(found, nullptr);
  DBI_SQLCacheRequestSqlStatement(context, cache, u" \t\r\nSELECT 1", &found);
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(std::tuple(narrow(found->text), found->uses), std::tuple("SELECT 1", 1u));
  SqlCacheEntry* second = nullptr;
  DBI_SQLCacheRequestSqlStatement(context, cache, u"SELECT 1", &second);
  EXPECT_EQ(std::tuple(second, cache->hits, cache->misses), std::tuple(nullptr, 1u, 2u));
  EXPECT_EQ(narrow(DBI_SQLCacheStatistics(context, 1)),
            "1 Cache Hits,2 Cache Misses,0 entries in Cache");
  EXPECT_EQ(context->cache_statistics, DBI_SQLCacheStatistics(context, 0));
}

TEST_F(StatementCacheTest, ReturningEntriesEvictsTheLeastRecentlyReturned) {
  const struct {
    const char16_t* parameters;
    std::vector<intptr_t> waiting;
    std::vector<intptr_t> closed;
  } cases[] = {
      {u"SQLCache=2", {3, 2}, {1}},   {u"SQLCache=0", {3}, {1, 2}},   {u"SQLCache=1", {3}, {1, 2}},
      {u"SQLCache='5'", {3}, {1, 2}}, {u"SQLCache=5", {3, 2, 1}, {}},
  };
  for (const auto& c : cases) {
    DbiContext* context = connected(c.parameters);
    for (intptr_t statement : {1, 2, 3}) {
      const std::u16string sql = u"select " + std::u16string(1, char16_t(u'0' + statement));
      DBI_SQLCacheMakeSQLStatementAvailable(context, entry(context, sql.c_str(), statement),
                                            context->sql_cache);
    }
    EXPECT_EQ(waiting(context->sql_cache), c.waiting) << narrow(c.parameters);
    EXPECT_EQ(closed(context), c.closed) << narrow(c.parameters);
  }
}

TEST_F(StatementCacheTest, ClosingAStatementKeepsTheResultWord) {
  DbiContext* context = connected(u"SQLCache=3");
  DBI_SQLCacheMakeSQLStatementAvailable(context, entry(context, u"a", 1), context->sql_cache);
  context->result = 1234;
  context->sub_operation = 9;
  DBI_SQLCacheFlushEntries(context, context->sql_cache);
  EXPECT_EQ(context->result, 1234);
  const auto calls = Driver(context->module).calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(std::tuple(calls[0].sub_operation, calls[0].statement),
            std::tuple(0, reinterpret_cast<void*>(1)));
  EXPECT_EQ(shlist_get_count(context->sql_cache->entries), 0u);
}

TEST_F(StatementCacheTest, NullEntryIsReportedAsAnAssertionWithoutChangingTheContext) {
  DbiContext* context = connected();
  context->operation = 55;
  context->return_code = 3;
  context->result = 77;
  context->sql_code = -9;
  DBI_SQLCacheMakeSQLStatementAvailable(context, nullptr, context->sql_cache);
  const auto calls = Driver(context->module).calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(std::tuple(calls[0].operation, narrow(calls[0].text)),
            std::tuple(DBI_OP_ASSERTION, "kodbi6: assertion failed! pEntry && pList"));
  EXPECT_EQ(
      std::tuple(context->operation, context->return_code, context->result, context->sql_code),
      std::tuple(55, 3, 77, -9));
  EXPECT_EQ(shlist_get_count(context->sql_cache->entries), 0u);
}

TEST_F(StatementCacheTest, DiscardClosesAndFreesOnlyWhenAsked) {
  DbiContext* context = connected();
  SqlCacheEntry* kept = entry(context, u"a", 5);
  DBI_SQLCacheDiscardEntry(context, kept, int64_t{1} << 32);
  EXPECT_EQ(std::tuple(kept->text, kept->statement), std::tuple(nullptr, nullptr));
  DBI_SQLCacheDiscardEntry(context, entry(context, u"b", 6), 1);
  EXPECT_EQ(closed(context), (std::vector<intptr_t>{5, 6}));
}

TEST_F(StatementCacheTest, DescriptionsRoundTripTheKeptAttributes) {
  DbiContext* context = connected();
  SqlCacheEntry* made = entry(context, u"select a, b", 1);
  EXPECT_EQ(DBI_SQLCacheRequestDescribe(context, made), nullptr);
  DbiColumnDescriptor columns[2] = {};
  KOCHAR a[] = u"a", text[] = u"text";
  columns[0].name = a;
  columns[0].type_name = text;
  int32_t* attributes = &columns[0].sql_type;
  for (int i = 0; i < 12; ++i) attributes[i] = i + 1;
  columns[0].bind_type = 99;
  columns[1].key_column = 7;
  shlistx* list = shlist_new(storage_, nullptr);
  shlist_insert(list, &columns[0]);
  shlist_insert(list, &columns[1]);
  DBI_SQLCacheRegisterDescribe(context, made, list);
  shlistx* expanded = DBI_SQLCacheRequestDescribe(context, made);
  ASSERT_EQ(shlist_get_count(expanded), 2u);
  auto* first = static_cast<DbiColumnDescriptor*>(shlist_get_first(expanded));
  EXPECT_EQ(std::tuple(narrow(first->name), narrow(first->type_name), first->sql_type,
                       first->key_column, first->bind_type),
            std::tuple("a", "text", 1, 12, 0))
      << "the bind type is not kept";
  auto* second = static_cast<DbiColumnDescriptor*>(shlist_get_next(expanded));
  EXPECT_EQ(std::tuple(second->name, second->key_column), std::tuple(nullptr, 7));
  shlist_delete(list);
}

TEST_F(StatementCacheTest, StatisticsAndNullCaches) {
  DbiContext* context = connected();
  EXPECT_EQ(narrow(DBI_SQLCacheStatistics(context, 0)), "");
  SqlCacheEntry* found = nullptr;
  DBI_SQLCacheRequestSqlStatement(context, context->sql_cache, u"x", &found);
  EXPECT_EQ(narrow(DBI_SQLCacheStatistics(context, 0)),
            "0 Cache Hits,1 Cache Misses,0 entries in Cache");
  DBI_SQLCacheRequestSqlStatement(context, nullptr, u"x", &found);
  EXPECT_EQ(found, nullptr);
  EXPECT_EQ(DBI_SQLCacheEnd(context, nullptr), 0);
  DBI_SQLCacheEnd(context, context->sql_cache);
  EXPECT_EQ(context->sql_cache, nullptr);
  EXPECT_EQ(narrow(DBI_SQLCacheStatistics(context, 0)), "");
  DBI_SQLCacheSetSelectCacheSize(context);
  EXPECT_EQ(context->sql_cache, nullptr);
}

}  // namespace

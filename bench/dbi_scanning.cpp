// Benchmarks: parsing a 20-keyword DBParm string, and locating the tail of a
// 2 KB SELECT beside a plain substring search for " where " in the same text
// (the search a user might write instead, blind to literals and comments).
#include <benchmark/benchmark.h>
#include <koshr/dbi.h>
#include <koshr/lists.h>
#include <koshr/strings.h>

#include <cstring>
#include <string>

namespace {

std::u16string twenty_keywords() {
  std::u16string text;
  for (int i = 0; i < 20; ++i) {
    if (i > 0) text += u", ";
    const std::string n = std::to_string(i);
    const std::u16string index(n.begin(), n.end());
    text += i % 2 == 0 ? u"Keyword" + index + u"=" + index + index
                       : u"Option" + index + u"='value ''" + index + u"'''";
  }
  return text;
}

std::u16string two_kilobyte_select() {
  // The scan reads the character before the text: the statement follows a blank.
  std::u16string select = u" select ";
  for (int i = 0; select.size() < 1900; ++i) {
    const std::string n = std::to_string(i);
    select +=
        u"t.column_" + std::u16string(n.begin(), n.end()) + u" /* note, where */, 'it''s where' ";
    select += u"as alias_" + std::u16string(n.begin(), n.end()) + u", ";
  }
  select += u"x from orders t where t.total > 10 order by 1";
  return select;
}

struct Connection {
  Connection() : storage(kostg_begin(0)) {
    std::memset(&context, 0, sizeof context);
    context.storage = storage;
  }
  ~Connection() { kostg_end(storage); }
  KostgContext* storage;
  DbiContext context;
};

void BM_DbParmParse20Keywords(benchmark::State& state) {
  Connection connection;
  const std::u16string text = twenty_keywords();
  connection.context.dbparm = kostg_strdup(connection.storage, text.c_str(), nullptr);
  for (auto _ : state) {
    shlistx* list = nullptr;
    DBI_ParseParms(&connection.context, &list);
    benchmark::DoNotOptimize(list);
    DBI_FreeParmList(&connection.context, &list);
  }
}
BENCHMARK(BM_DbParmParse20Keywords);

void BM_TailOf2KbSelect(benchmark::State& state) {
  Connection connection;
  const std::u16string select = two_kilobyte_select();
  for (auto _ : state) {
    const KOCHAR* tail = nullptr;
    DBI_ParseBasicSelect(&connection.context, select.c_str() + 1, &tail);
    benchmark::DoNotOptimize(tail);
  }
}
BENCHMARK(BM_TailOf2KbSelect);

void BM_PeerSubstringSearch2KbSelect(benchmark::State& state) {
  const std::u16string select = two_kilobyte_select();
  for (auto _ : state) benchmark::DoNotOptimize(select.find(u" where "));
}
BENCHMARK(BM_PeerSubstringSearch2KbSelect);

}  // namespace

BENCHMARK_MAIN();

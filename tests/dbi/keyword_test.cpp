// SQL keyword scanning: the word rule, the lexer's literals and comments,
// the tail of a SELECT and the query classification.
#include "dbi_test_support.h"

namespace {

using dbi_test::narrow;

TEST(KeywordCompare, WordRuleAtAPosition) {
  const struct {
    const char16_t* text;  // the keyword is compared at text + 1
    const char16_t* keyword;
    int32_t expected;
  } cases[] = {
      {u" where a", u"where", 1},
      {u",WHERE", u"where", 1},
      {u" where,", u"where", 1},
      {u"(where", u"where", 0},
      {u" where(", u"where", 0},
      {u"somewhere", u"where", 0},
      {u" wher", u"where", 0},
      {u"a=b", u"=", 1},
      {u"(=)", u"=", 1},
      {u" x", u"X", 1},
      {u" selected", u"select", 0},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(DBI_DoCompare(c.text + 1, c.keyword), c.expected) << narrow(c.text);
  }
}

TEST(KeywordCompare, PrefixComparisonRestoresTheText) {
  const struct {
    std::u16string text;
    int32_t first, with_skip;
  } cases[] = {{u"  Select a", 0, 1}, {u"selecta", 0, 0}, {u"sel", 0, 0}, {u"select", 1, 1}};
  for (const auto& c : cases) {
    std::u16string text = c.text;
    SCOPED_TRACE(narrow(c.text.c_str()));
    EXPECT_EQ(DBI_DoCompareFirst(text.data(), u"select"), c.first);
    EXPECT_EQ(DBI_DoCompareFirstWithSkip(text.data(), u"SELECT"), c.with_skip);
    EXPECT_EQ(text, c.text);
  }
}

class ScanTest : public dbi_test::ContextTest {};

TEST_F(ScanTest, LookForKeyWordSkipsLiteralsAndComments) {
  const struct {
    const char16_t* text;  // scanned from text + 1: the first character stands before the text
    const char16_t* keyword;
    int32_t found;
    uint32_t position;
  } cases[] = {
      {u" select a from t where b = 'where'", u"where", 1, 16},
      {u" select 'it''s where' from t", u"where", 0, 0},
      {u" select a /* where */ from t", u"where", 0, 0},
      {u" select a -- note\n where", u"where", 1, 18},
      {u" select \"where\" from t", u"where", 0, 0},
      {u" select a,where", u"WHERE", 1, 9},
      {u" where x = 1", u"where", 1, 0},
      {u",where x = 1", u"where", 1, 0},
      {u"(where x = 1", u"where", 0, 0},
      {u" select 'open", u"open", 0, 0},
      {u" ", u"where", 0, 0},
  };
  DbiContext* context = bare_context();
  for (const auto& c : cases) {
    int32_t found = -1;
    uint32_t position = 99, length = 99;
    DBI_LookForKeyWord(context, c.keyword, c.text + 1, &found, &position, &length);
    EXPECT_EQ(found, c.found) << narrow(c.text);
    EXPECT_EQ(position, c.position) << narrow(c.text);
    EXPECT_EQ(length, c.found ? ko::u16len(c.keyword) : 0u);
    EXPECT_EQ(context->keyword_position, c.position);
  }
  int32_t found = -1;
  DBI_LookForKeyWord(nullptr, u"x", nullptr, &found, nullptr, nullptr);
  EXPECT_EQ(found, 0);
}

TEST_F(ScanTest, ParseBasicSelectFindsTheTail) {
  const struct {
    const char16_t* select;  // scanned from select + 1
    const char* tail;
  } cases[] = {
      {u" select a from t where b = 1 order by a", "where b = 1 order by a"},
      {u" select a from t group by a having count(*) > 1 order by a",
       "group by a having count(*) > 1 order by a"},
      {u" select a from t having x > 1 group by a", "having x > 1 group by a"},
      {u" select a from t order by a", "order by a"},
      {u" select a from t", "(none)"},
      {u" select 'where' from t", "(none)"},
      {u" where b = 1", "(none)"},
      {u" where b = 1 order by b", "order by b"},
  };
  DbiContext* context = bare_context();
  for (const auto& c : cases) {
    const KOCHAR* tail = u"stale";
    DBI_ParseBasicSelect(context, c.select + 1, &tail);
    EXPECT_EQ(tail == nullptr ? "(none)" : narrow(tail), c.tail) << narrow(c.select);
    EXPECT_EQ(context->tail, tail);
  }
}

// A driver hands over the text after SELECT, with or without the blank that
// follows the word: the first word is read as a word either way.
TEST_F(ScanTest, ParseKeyWordsClassifiesByTheFirstWordAndClauses) {
  const struct {
    const char16_t* select;
    int32_t flag;
  } cases[] = {
      {u"select distinct a from t", 1},
      {u"select count (*) from t", 1},
      {u"select count(x) from t", 0},
      {u"select union select b from u", 1},
      {u"select a from t union select b from u", 0},
      {u"select group by a", 1},
      {u"select group  by a", 1},
      {u"select group a", 0},
      {u"select from t group by a", 1},
      {u"select from t where x = 1", 0},
      {u"select a, sum(b) from t", 0},
      {u"select max x from t", 1},
      {u"select a from t where b = 'union'", 0},
      {u"select a from /* distinct */ t", 0},
      {u"select a from", 0},
      {u"select(distinct a)", 0},
  };
  DbiContext* context = bare_context();
  for (const auto& c : cases) {
    for (const size_t after : {size_t{6}, size_t{7}}) {
      int32_t flag = -1;
      DBI_ParseKeyWords(context, c.select + after, &flag);
      EXPECT_EQ(flag, c.flag) << narrow(c.select) << " from character " << after;
    }
  }
  int32_t flag = -1;
  DBI_ParseKeyWords(context, u" " + 1, &flag);
  EXPECT_EQ(flag, 0);
}

class ParseTest : public dbi_test::DriverTest {};

TEST_F(ParseTest, ParseHandsTheStatementToTheDriver) {
  DbiContext* context = connected();
  DBI_Parse(context, u"select a from t");
  const auto calls = dbi_test::Driver(context->module).calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].operation, DBI_OP_PARSE);
  EXPECT_EQ(narrow(calls[0].text), "select a from t");
}

}  // namespace

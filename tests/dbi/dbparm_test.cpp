// The DBParm parser, look-ups and editing of the stored text.
#include <koshr/lists.h>

#include "dbi_test_support.h"

namespace {

using dbi_test::narrow;

class DbParmTest : public dbi_test::ContextTest {
 protected:
  // "name=text#number;" per record, "(no list)" when the parse gives none.
  std::string parse(const char16_t* text) { return parse(bare_context(text)); }
  std::string parse(DbiContext* context) {
    shlistx* list = reinterpret_cast<shlistx*>(this);  // written even when there is no list
    DBI_ParseParms(context, &list);
    EXPECT_EQ(context->parms, list);
    if (list == nullptr) return "(no list)";
    std::string out;
    for (void* item = shlist_get_first(list); item != nullptr; item = shlist_get_next(list)) {
      const auto* parm = static_cast<DbiParm*>(item);
      out += narrow(parm->name) + "=" + narrow(parm->text) + "#" + std::to_string(parm->number) + ";";
    }
    DBI_FreeParmList(context, &list);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(context->parms, nullptr);
    return out;
  }
};

TEST_F(DbParmTest, ParsesTheGrammarWithItsKeptQuirks) {
  const struct {
    const char16_t* text;
    const char* records;
  } cases[] = {
      {u"DisableBind=1", "DisableBind=(null)#1;"},
      {u"DisableBind='Yes'", "DisableBind=Yes#0;"},
      {u"DisableBind=Yes,Other=2", "Other=(null)#2;"},
      {u"DisableBind=Yes", "DisableBind=(null)#0;"},
      {u"A='it''s'", "A=it's#0;"},
      {u"A=''", "A=(null)#0;"},
      {u"A=''x", "A=(null)#0;x=(null)#0;"},
      {u"A='''b'", "A='b#0;"},
      {u"A, B='x'", "B=x#0;"},
      {u"A,B=1", "A,B=(null)#1;"},
      {u"A B", "B=(null)#0;"},
      {u"A", "A=(null)#0;"},
      {u"A=,B=2", "A=(null)#0;B=(null)#2;"},
      {u" \tA = 12 ,\r\n B = 'x y' ", "A=(null)#12;B=x y#0;"},
      {u"A=1 2", "A=(null)#0;"},
      {u"A=1 2,B=3", "B=(null)#3;"},
      {u"A='x',a='y'", "A=x#0;a=y#0;"},
      {u"A='open", "A=open#0;"},
      {u"A=99999999999", "A=(null)#2147483647;"},
      {u"A=1,=5", "A=(null)#1;"},
      {u"A=1,", "A=(null)#1;"},
      {u"", "(no list)"},
      {u" \t\r\n", "(no list)"},
      {nullptr, "(no list)"},
  };
  for (const auto& c : cases) EXPECT_EQ(parse(c.text), c.records) << narrow(c.text);
}

TEST_F(DbParmTest, SecurityConnectionStringsSupplyTheParameters) {
  const struct {
    const char16_t* connect;
    const char* records;
  } cases[] = {
      {u"Server=s; dbparm = {SQLCache=3,Name='a;b'} ;User=u", "SQLCache=(null)#3;Name=a;b#0;"},
      {u"DBParm=Last;Other=1", "Last=(null)#0;"},
      {u"Server=s;User=u", "(no list)"},
  };
  for (const auto& c : cases) {
    DbiContext* context = bare_context(u"Ignored=1");
    KOCHAR connect[64];
    ko::u16lcpy(connect, c.connect, 64);
    context->security_connect = connect;
    EXPECT_EQ(parse(context), c.records) << narrow(c.connect);
  }
}

TEST_F(DbParmTest, ItemsOfExactly1024CharactersAreAccepted) {
  const std::u16string name(1024, u'k');
  const std::u16string text = name + u"='" + std::u16string(1024, u'v') + u"'";
  EXPECT_EQ(parse(text.c_str()).size(), 1024 + 1 + 1024 + 3);
}

#if GTEST_HAS_DEATH_TEST
TEST_F(DbParmTest, ItemsOver1024CharactersStopTheProcess) {
  const std::u16string long_name(1025, u'k');
  const std::u16string long_value = u"A='" + std::u16string(1025, u'v') + u"'";
  const std::u16string long_digits = u"A=" + std::u16string(1025, u'7');
  EXPECT_DEATH(parse(long_name.c_str()), "");
  EXPECT_DEATH(parse(long_value.c_str()), "");
  EXPECT_DEATH(parse(long_digits.c_str()), "");
}
#endif

TEST_F(DbParmTest, GetParmFindsTheFirstRecordIgnoringCase) {
  DbiContext* context = bare_context(u"Alpha='1',ALPHA='2',Beta=3");
  shlistx* list = nullptr;
  DBI_ParseParms(context, &list);
  DbiParm* record = nullptr;
  DBI_GetParm(context, list, u"alpha", &record);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(narrow(record->text), "1");
  DBI_GetParm(context, list, u"gamma", &record);
  EXPECT_EQ(record, nullptr);
  DBI_GetParm(context, nullptr, u"alpha", &record);
  EXPECT_EQ(record, nullptr);
  DBI_FreeParmList(context, &list);
}

TEST_F(DbParmTest, YesTrue1) {
  KOCHAR yes[] = u"yes", truth[] = u"TRUE", y[] = u"Y", no[] = u"No";
  const struct {
    DbiParm record;
    int32_t expected;
  } cases[] = {
      {{nullptr, nullptr, 1, 0, {}}, 1}, {{nullptr, yes, 0, 0, {}}, 1},
      {{nullptr, truth, 0, 0, {}}, 1},   {{nullptr, y, 0, 0, {}}, 0},
      {{nullptr, no, 0, 0, {}}, 0},      {{nullptr, nullptr, 0, 0, {}}, 0},
      {{nullptr, no, -1, 0, {}}, 1},
  };
  for (const auto& c : cases) EXPECT_EQ(DBI_YesTrue1(&c.record), c.expected) << narrow(c.record.text);
  EXPECT_EQ(DBI_YesTrue1(nullptr), 0);
}

TEST_F(DbParmTest, ReplaceRewritesOrAppendsTheKeyword) {
  const struct {
    const char16_t* stored;
    const char16_t* keyword;
    const char16_t* value;
    const char* expected;
  } cases[] = {
      {u"A='1',B='2'", u"B", u"'3'", "A='1',B='3'"},
      {u"A='1',B='2'", u"C", u"'3'", "A='1',B='2',C='3'"},
      {u"", u"C", u"'3'", "C='3'"},
      {nullptr, u"C", u"'3'", "C='3'"},
      {u"a='x,y',b=2", u"B", u"5", "a='x,y',b=5"},
      {u"A='it''s,B=1',B=2", u"B", u"9", "A='it''s,B=1',B=9"},
      {u"AB=1,A=2", u"A", u"3", "AB=1,A=3"},
      {u"A=1, B=2", u"B", u"3", "A=1, B=2,B=3"},
      {u"A=1", u"A", nullptr, "A="},
  };
  for (const auto& c : cases) {
    DbiContext* context = bare_context(c.stored);
    DBI_ReplaceDbParm(context, c.keyword, c.value);
    EXPECT_EQ(narrow(context->dbparm), c.expected) << narrow(c.stored);
  }
  DBI_ReplaceDbParm(nullptr, u"A", u"1");
}

}  // namespace

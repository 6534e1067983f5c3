// Driver naming and loading, opening a connection, and the operations the
// front end forwards to the driver, all through the test drivers.
#include <cstdlib>
#include <tuple>

#include "dbi_test_support.h"

namespace {

using dbi_test::Driver;
using dbi_test::narrow;

std::string library_name(const char16_t* dbms, KOCHAR* parameters = nullptr) {
  KOCHAR name[DBI_NAME_LENGTH + 16];
  DBI_LibraryName(nullptr, nullptr, name, dbms, parameters);
  return narrow(name);
}

std::string suffix() { return narrow(ko::os::module_suffix()); }

TEST(LibraryName, NamesTheDriverByTheFirstThreeCharacters) {
  const struct {
    const char16_t* dbms;
    const char* file;
  } cases[] = {
      {u"ODBC", "koODB"},    {u"ADO.Net", "koADO"}, {u"MSOLEDBSQL", "komsoledbsql"},
      {u"mso", "komsoledbsql"}, {u"INF", "koI10"}, {u"Or", "koOr"}, {u"", "ko"},
  };
  for (const auto& c : cases) EXPECT_EQ(library_name(c.dbms), c.file + suffix()) << narrow(c.dbms);
}

TEST(LibraryName, TheInfDriverLowerCasesTheCallersTextInPlace) {
  KOCHAR parameters[] = u"Driver='ISQLT15A',Other='X'";
  EXPECT_EQ(library_name(u"INF server", parameters), "koI15" + suffix());
  EXPECT_EQ(narrow(parameters), "driver='isqlt15a',other='x'");
  KOCHAR other[] = u"Driver='isqlt10'";
  EXPECT_EQ(library_name(u"inf", other), "koI10" + suffix());
}

TEST(LibraryName, ManagedRuntimeUsesTheGlPrefixForAdoOnly) {
  ko::dbi::RuntimeServices managed = ko::dbi::default_runtime_services();
  managed.environment_code = [] { return 0x00020007u; };
  ko::dbi::set_runtime_services(&managed);
  EXPECT_EQ(library_name(u"ADO.Net"), "glADO" + suffix());
  EXPECT_EQ(library_name(u"ODBC"), "koODB" + suffix());
  ko::dbi::set_runtime_services(nullptr);
}

class ConnectionTest : public dbi_test::DriverTest {};

TEST_F(ConnectionTest, LogInLoadsTheDriverAndCallsIt) {
  DbiContext* context = log_in(u"commitondisconnect='no',UseContextObject='yes'");
  ASSERT_EQ(context->return_code, 0) << narrow(context->message);
  ASSERT_NE(context->module, nullptr);
  EXPECT_EQ(
      std::tuple(narrow(context->dbms), context->commit_on_disconnect, context->use_context_object),
      std::tuple("TST", 0, 1));
  const auto calls = Driver(context->module).calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(std::tuple(calls[0].operation, narrow(calls[0].text)),
            std::tuple(DBI_OP_LOGIN, "user|server|secret"));
  EXPECT_NE(context->sql_cache, nullptr);
  // The switches' defaults: with no parameters at all, commit on disconnect is off.
  EXPECT_EQ(log_in(nullptr)->commit_on_disconnect, 0);
  const DbiContext* other = log_in(u"Other=1");
  EXPECT_EQ(std::tuple(other->commit_on_disconnect, other->use_context_object), std::tuple(1, 0));
  log_in(u"ThreadSafe='no'");
  log_in(u"ThreadSafe=1");
  int32_t flag = 0;
  EXPECT_EQ(std::tuple(DBI_ThreadSafeEnabled(&flag), flag), std::tuple(1, 1));
}

TEST_F(ConnectionTest, MissingDriversGiveTheWrongVendorMessage) {
  for (const char16_t* dbms : {u"XYZ missing", u"NOE no entry", u"SQL family"}) {
    DbiContext* context = log_in(nullptr, dbms);
    ASSERT_NE(context, nullptr);
    EXPECT_EQ(std::tuple(context->return_code, context->sql_code, context->driver),
              std::tuple(DBI_RC_ERROR, -1, nullptr));
    EXPECT_NE(narrow(context->message).find(narrow(dbms)), std::string::npos) << narrow(context->message);
  }
}

TEST_F(ConnectionTest, TracingDriverIsCalledThroughItsOwnEntryAndGetsTheHexPassword) {
  DbiContext* context = log_in(nullptr, u"TRA  NVQ");
  ASSERT_EQ(context->return_code, 0) << narrow(context->message);
  const auto calls = Driver(context->module).calls();
  ASSERT_EQ(calls.size(), 1u);
  const std::string login = narrow(calls[0].text);
  EXPECT_EQ(login.substr(0, 12), "user|server|");
  EXPECT_EQ(login.size(), 12u + 4 * 6);
  EXPECT_EQ(login.find("secret"), std::string::npos);
}

TEST_F(ConnectionTest, InProcessNamesLoadNothingAndUseTheRuntimeDriver) {
  static int calls = 0;
  ko::dbi::RuntimeServices runtime = ko::dbi::default_runtime_services();
  runtime.in_process_driver = [](DbiContext* context) -> int32_t {
    ++calls;
    context->return_code = 0;
    return 0;
  };
  ko::dbi::set_runtime_services(&runtime);
  DbiContext* context = log_in(nullptr, u"ADO.Net");
  ko::dbi::set_runtime_services(nullptr);
  EXPECT_EQ(std::tuple(context->module, context->return_code, calls), std::tuple(nullptr, 0, 1));
  EXPECT_EQ(log_in(nullptr, u"ADO.NET")->return_code, DBI_RC_ERROR) << "the name is case-sensitive";
}

TEST_F(ConnectionTest, ConnectStoresTheStringsAndSizesTheCache) {
  DbiContext* context = connected(u"SQLCache=7");
  context->sql_cache->capacity = 0;
  DBI_Connect(context, u"a", nullptr, u"c", nullptr);
  DBI_Connect(context, nullptr, u"b", nullptr, nullptr);
  const auto calls = Driver(context->module).calls();
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(narrow(calls[1].text), "a|b|c|(null)");
  EXPECT_EQ(context->sql_cache->capacity, 7u);
}

TEST_F(ConnectionTest, FailedLogInMakesNoCache) {
  Driver driver(log_in()->module);
  driver.reset();
  driver.answer(DBI_OP_LOGIN, 100, -5);
  DbiContext* context = log_in(u"SQLCache=3");
  EXPECT_EQ(context->return_code, 100);
  EXPECT_EQ(context->sql_cache, nullptr);
  driver.reset();
}

TEST_F(ConnectionTest, NewDBParmHandsTheParsedListToTheDriver) {
  DbiContext* context = connected();
  DBI_NewDBParm(context, u"SQLCache=4,Name='x',Dropped=Yes,Last");
  DBI_NewDBParm(context, u"   ");
  const auto calls = Driver(context->module).calls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(std::tuple(calls[0].operation, narrow(calls[0].text)),
            std::tuple(DBI_OP_NEW_PARAMETERS, "SQLCache=(null)#4;Name=x#0;Last=(null)#0;"));
  EXPECT_EQ(std::tuple(context->sql_cache->capacity, context->parms), std::tuple(4u, nullptr));
}

TEST_F(ConnectionTest, DBHandleReturnsTheDriversAnswer) {
  DbiContext* context = connected();
  void* handle = nullptr;
  DBI_DBHandle(context, &handle);
  EXPECT_NE(handle, nullptr);
  EXPECT_EQ(Driver(context->module).operations(), std::vector<int32_t>{DBI_OP_NATIVE_HANDLE});
}

TEST_F(ConnectionTest, DisconnectClosesCachedStatementsFirst) {
  DbiContext* context = connected(u"SQLCache=5");
  SqlCacheEntry* entry = nullptr;
  DBI_SQLCacheRegisterSQLStatement(context, u"select 1", &entry, &entry);
  DBI_SQLCacheMakeSQLStatementAvailable(context, entry, context->sql_cache);
  DBI_LookForKeyWord(context, u"1", u"select 1", nullptr, nullptr, nullptr);
  DBI_Disconnect(context);
  EXPECT_EQ(Driver(context->module).operations(),
            (std::vector<int32_t>{DBI_OP_CLOSE_STATEMENT, DBI_OP_DISCONNECT}));
  EXPECT_EQ(std::tuple(context->sql_cache, context->scan_text, context->keyword_position),
            std::tuple(nullptr, nullptr, 0u));
}

TEST_F(ConnectionTest, TransactionServerProbeDecidesTheLogIn) {
  using dbi_test::ServerRuntime;
  const ko::dbi::RuntimeServices runtime = ServerRuntime::services();
  void* module = log_in()->module;
  Driver driver(module);
  const struct {
    intptr_t answer;
    bool in_transaction;
    bool from_server;
    const char16_t* parameters;
    int32_t return_code;
    int16_t context_transaction;
    int disabled;
    int enabled;
  } cases[] = {
      {1, true, false, u"UseContextObject=1", 0, 1, 0, 0},
      {0, true, true, nullptr, DBI_RC_ERROR, 0, 1, 0},
      {0, true, true, u"UseContextObject=1", DBI_RC_ERROR, 0, 0, 0},
      {1, true, true, nullptr, 0, 0, 1, 1},
      {0, false, false, nullptr, 0, 0, 0, 0},
  };
  for (const auto& c : cases) {
    driver.reset();
    driver.answer(DBI_OP_TXN_SERVER_PROBE, 0, 0, c.answer);
    ServerRuntime::in_transaction = c.in_transaction;
    ServerRuntime::from_server = c.from_server;
    ServerRuntime::disabled = ServerRuntime::enabled = 0;
    ko::dbi::set_runtime_services(&runtime);
    DbiContext* context = log_in(c.parameters);
    ko::dbi::set_runtime_services(nullptr);
    EXPECT_EQ(std::tuple(context->return_code, context->context_object_transaction,
                         ServerRuntime::disabled, ServerRuntime::enabled),
              std::tuple(c.return_code, c.context_transaction, c.disabled, c.enabled));
    const auto operations = driver.operations();
    ASSERT_EQ(operations.size(), c.return_code == 0 ? 2u : 1u);
    EXPECT_EQ(operations.front(), DBI_OP_TXN_SERVER_PROBE);
  }
  driver.reset();
}

TEST(DriverLoading, OwnFolderFlagLoadsAndFreesOnRequestUnlessUnderTheTransactionServer) {
  uint32_t flags = DBI_LOAD_OWN_FOLDER;
  const std::u16string file = u"koTST" + std::u16string(ko::os::module_suffix());
  void* module = DBI_LoadDBInterface(file.c_str(), &flags);
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(flags, uint32_t{DBI_LOAD_OWN_FOLDER});
  EXPECT_NE(ko::os::module_symbol(module, "KO_DB_Rout"), nullptr);
  EXPECT_EQ(DBI_FreeDBInterface(module, flags), 0);
  uint32_t none = 0;
  EXPECT_NE(DBI_LoadDBInterface(file.c_str(), &none), nullptr);
  EXPECT_EQ(DBI_LoadDBInterface(u"koMissing.dll", &none), nullptr);
  EXPECT_EQ(DBI_LoadDBInterface(nullptr, &none), nullptr);
  const ko::dbi::RuntimeServices runtime = dbi_test::ServerRuntime::services();
  ko::dbi::set_runtime_services(&runtime);
  flags = DBI_LOAD_OWN_FOLDER | 1u;
  EXPECT_NE(DBI_LoadDBInterface(file.c_str(), &flags), nullptr);
  ko::dbi::set_runtime_services(nullptr);
  EXPECT_EQ(flags, 1u) << "the transaction server clears the own-folder flag";
}

TEST(VendorRegistry, RegistersAndRemovesVendors) {
#ifndef _WIN32
  const std::string registry = ::testing::TempDir() + "koshr_dbi_registry.ini";
  setenv("KOSHR_REGISTRY", registry.c_str(), 1);
#endif
  EXPECT_EQ(static_cast<uint32_t>(DBI_RegisterVendor(nullptr, u"x")), 0x80070057u);
  EXPECT_EQ(static_cast<uint32_t>(DBI_RegisterVendor(u"", u"x")), 0x80070057u);
  EXPECT_EQ(static_cast<uint32_t>(DBI_UnRegisterVendor(u"")), 0x80070057u);
  ASSERT_EQ(DBI_RegisterVendor(u"KoshrTestVendor", u"koTST"), 0);
  KOCHAR value[64] = {};
  const KOCHAR* key = u"Software\\Velmora\\Korvane\\25.0\\Vendors";
  ASSERT_TRUE(ko::os::registry_get_string(ko::os::Hive::kLocalMachine, key, u"KoshrTestVendor",
                                          value, 64));
  EXPECT_EQ(narrow(value), "koTST");
  EXPECT_EQ(DBI_UnRegisterVendor(u"KoshrTestVendor"), 0);
  EXPECT_FALSE(ko::os::registry_get_string(ko::os::Hive::kLocalMachine, key, u"KoshrTestVendor",
                                           value, 64));
}

TEST(NullArguments, EveryEntryPointReturnsZeroWithoutTouchingMemory) {
  DbiContext* context = reinterpret_cast<DbiContext*>(&context);
  void* handle = &handle;
  SqlCache* cache = reinterpret_cast<SqlCache*>(&cache);
  shlistx* list = nullptr;
  EXPECT_EQ(DBI_LogIn(nullptr, u"TST", nullptr, nullptr, nullptr, nullptr, 0, &context) |
                DBI_LibraryName(nullptr, nullptr, nullptr, u"ODBC", nullptr) |
                DBI_FreeDBInterface(nullptr, DBI_LOAD_OWN_FOLDER) |
                DBI_Connect(nullptr, u"a", u"b", u"c", u"d") | DBI_Disconnect(nullptr) |
                DBI_NewDBParm(nullptr, u"A=1") | DBI_DBHandle(nullptr, &handle) |
                DBI_ParseParms(nullptr, nullptr) | DBI_GetParm(nullptr, nullptr, nullptr, nullptr) |
                DBI_FreeParmList(nullptr, &list) | DBI_FreeParmList(nullptr, nullptr) |
                DBI_DoCompare(nullptr, u"x") | DBI_DoCompareFirst(nullptr, u"x") |
                DBI_ParseKeyWords(nullptr, nullptr, nullptr) |
                DBI_ParseBasicSelect(nullptr, nullptr, nullptr) | DBI_Parse(nullptr, u"select 1") |
                DBI_SQLCacheBegin(nullptr, 5, &cache) | DBI_SQLCacheFlushEntries(nullptr, nullptr) |
                DBI_SQLCacheRegisterSQLStatement(nullptr, u"x", nullptr, nullptr) |
                DBI_SQLCacheRegisterDescribe(nullptr, nullptr, nullptr) |
                DBI_SQLCacheMakeSQLStatementAvailable(nullptr, nullptr, nullptr) |
                DBI_SQLCacheDiscardEntry(nullptr, nullptr, 1) |
                DBI_SQLCacheSetSelectCacheSize(nullptr) | DBI_FormatHash(nullptr) |
                DBI_ValidHash(nullptr) | DBI_EditStyleHash(nullptr) |
                DBI_FreeValidHash(nullptr, nullptr) | DBI_EditStyleInfo(nullptr, nullptr, u"x") |
                DBI_EditUpdate(nullptr, nullptr, 1),
            0);
  EXPECT_TRUE(!context && !handle && !cache && !DBI_SQLCacheRequestDescribe(nullptr, nullptr));
  EXPECT_EQ(dbi_test::narrow(DBI_SQLCacheStatistics(nullptr, 1)), "");
}

}  // namespace

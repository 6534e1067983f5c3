// dbi_test_support.h: what the database-interface tests share: the storage
// fixture, a bare connection context for the parts that need no driver, the
// test driver's recording interface and a runtime whose transaction-server
// answers a test sets.
#ifndef KOSHR_TESTS_DBI_SUPPORT_H
#define KOSHR_TESTS_DBI_SUPPORT_H

#include <gtest/gtest.h>
#include <koshr/dbi.h>
#include <koshr/storage.h>

#include <cstring>
#include <string>
#include <vector>

#include "dbi/runtime_services.h"
#include "platform/platform.h"
#include "platform/utf16.h"
#include "storage_fixture.h"
#include "test_driver.h"

namespace dbi_test {

inline std::string narrow(const KOCHAR* text) {
  if (text == nullptr) return "(null)";
  std::string out;
  for (; *text != 0; ++text) out += *text < 128 ? static_cast<char>(*text) : '?';
  return out;
}

// The test driver of a loaded module, read through its exported functions.
class Driver {
 public:
  explicit Driver(void* module) : module_(module) {}
  template <typename F>
  F function(const char* name) const {
    return reinterpret_cast<F>(ko::os::module_symbol(module_, name));
  }
  void reset() const { function<TestDriverReset>("TestDriver_Reset")(); }
  void answer(int32_t operation, int32_t rc, int32_t sql_code = 0, intptr_t result = 0) const {
    function<TestDriverSetAnswer>("TestDriver_SetAnswer")(operation, rc, sql_code, result);
  }
  void rows(int32_t catalog, const std::vector<DbiCatalogValue>& values, uint32_t per_row) const {
    function<TestDriverSetRows>("TestDriver_SetRows")(catalog, values.data(), per_row,
                                                      static_cast<uint32_t>(values.size() / per_row));
  }
  std::vector<TestDriverCall> calls() const {
    int32_t count = 0;
    const TestDriverCall* first = function<TestDriverCalls>("TestDriver_Calls")(&count);
    return std::vector<TestDriverCall>(first, first + count);
  }
  std::vector<int32_t> operations() const {
    const std::vector<TestDriverCall> all = calls();
    std::vector<int32_t> out(all.size());
    for (size_t i = 0; i < all.size(); ++i) out[i] = all[i].operation;
    return out;
  }

 private:
  void* module_;
};

// The storage fixture, and connection contexts that need no driver.
class ContextTest : public ko_test::StorageTest {
 protected:
  // A bare connection context on the test's storage, no driver.
  DbiContext* bare_context(const char16_t* dbparm = nullptr) {
    auto* context = static_cast<DbiContext*>(kostg_alc(storage_, sizeof(DbiContext), nullptr));
    std::memset(context, 0, sizeof *context);
    context->storage = storage_;
    if (dbparm != nullptr) {
      const size_t bytes = (ko::u16len(dbparm) + 1) * sizeof(KOCHAR);
      context->dbparm = static_cast<KOCHAR*>(kostg_alc(storage_, bytes, nullptr));
      std::memcpy(context->dbparm, dbparm, bytes);
    }
    return context;
  }
};

// A connection logged in through the koTST driver.
class DriverTest : public ContextTest {
 protected:
  // Every test starts with a driver that has recorded nothing.
  void SetUp() override {
    ContextTest::SetUp();
    Driver(log_in()->module).reset();
  }
  DbiContext* log_in(const char16_t* parameters = nullptr, const char16_t* dbms = u"TST") {
    DbiContext* context = nullptr;
    DBI_LogIn(storage_, dbms, u"user", u"server", u"secret", parameters, 0, &context);
    return context;
  }
  // Logs in and clears the driver's record.
  DbiContext* connected(const char16_t* parameters = nullptr) {
    DbiContext* context = log_in(parameters);
    EXPECT_EQ(context->return_code, 0) << narrow(context->message);
    Driver(context->module).reset();
    return context;
  }
};

// A runtime under the transaction server, with the answers a test sets.
struct ServerRuntime {
  static inline bool in_transaction = false;
  static inline bool from_server = false;
  static inline int disabled = 0;
  static inline int enabled = 0;
  static ko::dbi::RuntimeServices services() {
    ko::dbi::RuntimeServices runtime = ko::dbi::default_runtime_services();
    runtime.under_transaction_server = [] { return true; };
    runtime.transaction_active = [] { return in_transaction; };
    runtime.connection_from_server = [] { return from_server; };
    runtime.disable_commit = [] { ++disabled; };
    runtime.enable_commit = [] { ++enabled; };
    return runtime;
  }
};

}  // namespace dbi_test

#endif

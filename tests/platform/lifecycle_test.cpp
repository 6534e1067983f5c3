// The load sequence, the subsystem registry and the string table.
#include "platform/lifecycle.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/platform.h"
#include "platform/resources.h"

namespace {

// Constant-initialised: the initialisers below run before dynamic globals.
const char* g_init_order[8];
int g_init_count = 0;

void note(const char* name) {
  if (g_init_count < 8) g_init_order[g_init_count++] = name;
}
void init_late_order() { note("late order"); }
void init_early_order() { note("early order"); }
void init_same_order_second() { note("same order second"); }
void init_registered_after_load() { note("after load"); }

}  // namespace

// Registered in this file out of order on purpose: the registry sorts them.
KO_SUBSYSTEM(test_late, 900, &init_late_order, nullptr);
KO_SUBSYSTEM(test_early, 800, &init_early_order, nullptr);
KO_SUBSYSTEM(test_same_order, 900, &init_same_order_second, nullptr);

namespace {

const ko::StringResource kRows[] = {
    {65001, "IDS_TEST_FIRST", u"First text"},
    {65002, "IDS_TEST_SECOND", u"Second"},
};

}  // namespace

KO_STRING_TABLE(platform_test, kRows);

namespace {

TEST(Lifecycle, LoadRanTheInitialisersInOrder) {
  EXPECT_TRUE(ko::library_loaded());
  std::vector<std::string> seen(g_init_order, g_init_order + g_init_count);
  EXPECT_EQ(seen, (std::vector<std::string>{"early order", "late order", "same order second"}));
  uint32_t major = 0;
  ko::os::os_version(&major, nullptr, nullptr);
  EXPECT_EQ(ko::os_version_major(), major);
  EXPECT_GT(major, 0u);
}

TEST(Lifecycle, LateRegistrationRunsAtOnce) {
  static ko::Subsystem late{"late", 1, &init_registered_after_load, nullptr};
  const int before = g_init_count;
  ko::SubsystemRegistrar registrar(late);
  ASSERT_EQ(g_init_count, before + 1);
  EXPECT_STREQ(g_init_order[before], "after load");
}

// A lock that is not recursive never returns from the second process_lock();
// the locking runs on a thread of its own so that the test fails instead of
// hanging. The stuck thread keeps the lock, so no later test could run.
TEST(Lifecycle, ProcessLockIsRecursive) {
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> finished = done->get_future();
  std::thread([done] {
    ko::os::process_lock();
    ko::os::process_lock();
    ko::os::process_unlock();
    ko::os::process_unlock();
    done->set_value();
  }).detach();
  if (finished.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
    ADD_FAILURE() << "a second process_lock() on the same thread did not return";
    std::fflush(stdout);
    std::_Exit(1);
  }
}

TEST(Resources, LookupsByNumberAndName) {
  EXPECT_EQ(std::u16string(ko::resource_string(65001)), u"First text");
  EXPECT_EQ(std::u16string(ko::resource_string("IDS_TEST_SECOND")), u"Second");
  EXPECT_EQ(ko::resource_id("IDS_TEST_SECOND"), 65002u);
  EXPECT_EQ(ko::resource_id("IDS_NONE"), 0u);
  EXPECT_EQ(ko::resource_string(65999), nullptr);
  EXPECT_EQ(ko::resource_string(static_cast<const char*>(nullptr)), nullptr);

  KOCHAR out[6];
  EXPECT_EQ(ko::load_string(65001, out, 6), 5u);
  EXPECT_EQ(std::u16string(out), u"First");
  EXPECT_EQ(ko::load_string(65999, out, 6), 0u);
  EXPECT_EQ(out[0], 0);
  EXPECT_EQ(ko::load_string(65001, nullptr, 6), 0u);
}

}  // namespace

// System-heap mode. The switch is one-way for the whole process, so every test
// runs in a fresh child process (gtest's threadsafe death-test style).
#include <koshr/storage.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>
#endif

namespace {

// Creates the outside switch for this process, as a build tool would.
void create_outside_switch() {
#if defined(_WIN32)
  std::wstring name =
      L"KOBuild_Use_NewCompilerHeap_EventName_" + std::to_wstring(GetCurrentProcessId());
  CreateEventW(nullptr, TRUE, FALSE, name.c_str());
#else
  std::string name = "/KOBuild_Use_NewCompilerHeap_EventName_" + std::to_string(getpid());
  sem_t* event = sem_open(name.c_str(), O_CREAT, 0600, 0);
  if (event != SEM_FAILED) sem_close(event);
#endif
}

void remove_outside_switch() {
#if !defined(_WIN32)
  std::string name = "/KOBuild_Use_NewCompilerHeap_EventName_" + std::to_string(getpid());
  sem_unlink(name.c_str());
#endif
}

// Counts what differs from the runtime-heap behaviour; 0 when all is well.
int system_heap_failures() {
  int failures = 0;
  KostgContext* context = kostg_begin(0);
  KostgSubpool* pool = kostg_new_pool(context);
  failures += kostg_alc(context, 0, pool) != nullptr;
  auto* block = static_cast<char*>(kostg_alc(context, 100, pool));
  failures += block == nullptr || kostg_sz(context, block) < 100;
  std::memcpy(block, "system heap", 12);
  block = static_cast<char*>(kostg_realc(context, block, 5000, pool));
  failures += block == nullptr || std::strcmp(block, "system heap") != 0;
  void* other = kostg_realc(context, nullptr, 30, nullptr);
  failures += other == nullptr;
  failures += kostg_realc(context, other, 0, nullptr) != nullptr;
  // Pools and contexts are bookkeeping only: nothing is released.
  failures += kostg_free_pool(context, pool) != 1;
  failures += kostg_end(context) != 1;
  failures += std::strcmp(block, "system heap") != 0;
  // Blocks came from the runtime heap, so free() takes them.
  std::free(block);
  void* named = kostg_alc(nullptr, 10, nullptr);  // the mode needs no context
  failures += named == nullptr;
  kostg_fee(nullptr, named);
  return failures;
}

TEST(SystemHeap, SwitchSendsEveryCallToTheRuntimeHeap) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        UseNewCompilerHeap(1);
        UseNewCompilerHeap(0);  // never turns the mode off again
        std::_Exit(system_heap_failures());
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(SystemHeap, OutsideSwitchIsSeenByTheFirstCall) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        create_outside_switch();
        int failures = system_heap_failures();
        remove_outside_switch();
        std::_Exit(failures);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(SystemHeap, OutsideSwitchIsLookedForOnce) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        KostgContext* context = kostg_begin(0);
        void* before = kostg_alc(context, 9, nullptr);
        create_outside_switch();
        // Still the pool heap, whose 9-byte requests get 16-byte blocks.
        void* after = kostg_alc(context, 9, kostg_new_pool(context));
        remove_outside_switch();
        int failures = kostg_sz(context, before) != 16 || kostg_sz(context, after) != 16;
        std::_Exit(failures);
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace

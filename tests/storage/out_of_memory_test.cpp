// Heap failures: the two failure texts and the storage layer's out-of-memory
// handler chain, driven through a host prompt handler.
#include <koshr/host.h>
#include <koshr/storage.h>

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "storage/block_heap.h"
#include "storage/out_of_memory.h"

namespace {

struct Prompt {
  int calls = 0;
  std::u16string text;
  std::u16string caption = u"unset";
  unsigned style = 0;
  int answer = 2;
  bool lift_limit = false;
};
Prompt g_prompt;

int answer_prompt(const KOCHAR* text, const KOCHAR* caption, unsigned style) {
  ++g_prompt.calls;
  g_prompt.text = text ? text : u"";
  g_prompt.caption = caption ? caption : u"(null)";
  g_prompt.style = style;
  if (g_prompt.lift_limit) ko::KoHeap_setLimit(0);
  return g_prompt.answer;
}

std::string g_recorded_text;
int record_event(ko::KoHeapEvent* event, void*) {
  g_recorded_text = event->text;
  return 0;
}

// A size no cache holds: above the cache bound, so every such run is mapped.
constexpr uint64_t kUncachedSize = 48ull << 20;

class HeapFailure : public ::testing::Test {
 protected:
  void SetUp() override {
    context = kostg_begin(0);  // installs the storage handler
    pool = kostg_new_pool(context);
    g_prompt = Prompt{};
    previous_prompt = koshr_set_prompt_handler(&answer_prompt);
  }
  void TearDown() override {
    ko::KoHeap_setLimit(0);
    koshr_set_prompt_handler(previous_prompt);
    kostg_end(context);
  }
  void cap_mapping() { ko::KoHeap_setLimit(ko::KoHeap_mappedBytes() + (1 << 20)); }

  KostgContext* context = nullptr;
  KostgSubpool* pool = nullptr;
  KOSHR_PROMPT_HANDLER previous_prompt = nullptr;
};

TEST_F(HeapFailure, FailureTexts) {
  ko::KoHeapErrorHandler storage = ko::KoHeap_setErrorHandler(&record_event);
  const uint64_t max = ko::KoHeap_maxBlock();
  struct Case {
    uint64_t size;
    bool capped;
    std::string text;
  };
  const Case cases[] = {
      {max + 1, false,
       "allocPerm(" + std::to_string(max + 1) +
           ") failed: buddy system maximum size = " + std::to_string(max)},
      {kUncachedSize, true,
       "allocFromPool MemAllocPtr(type void*, size " + std::to_string(kUncachedSize) + ") failed"},
  };
  for (const Case& c : cases) {
    g_recorded_text.clear();
    if (c.capped) cap_mapping();
    EXPECT_EQ(kostg_alc(context, c.size, pool), nullptr);
    ko::KoHeap_setLimit(0);
    EXPECT_EQ(g_recorded_text, c.text);
  }
  // A moving reallocation names its site with the fields in their kept order.
  void* block = kostg_alc(context, 100, pool);
  cap_mapping();
  EXPECT_EQ(kostg_realc(context, block, kUncachedSize, pool), nullptr);
  EXPECT_EQ(g_recorded_text, "allocFromPool MemFreePtr(type MemReAllocPtr, size " +
                                 std::to_string(kUncachedSize) + ") failed");
  ko::KoHeap_setErrorHandler(storage);
}

TEST_F(HeapFailure, TooLargeFailsWithoutAsking) {
  EXPECT_EQ(kostg_alc(context, ko::KoHeap_maxBlock() + 1, pool), nullptr);
  EXPECT_EQ(kostg_realc(context, kostg_alc(context, 8, pool), ko::KoHeap_maxBlock() + 1, pool),
            nullptr);
  EXPECT_EQ(g_prompt.calls, 0);
}

TEST_F(HeapFailure, RetryAsksAgainAndSucceeds) {
  g_prompt.answer = 4;  // Retry
  g_prompt.lift_limit = true;
  cap_mapping();
  void* block = kostg_alc(context, kUncachedSize, pool);
  EXPECT_NE(block, nullptr);
  // Retry/Cancel, stop icon, task-modal; no caption.
  EXPECT_EQ(std::tuple(g_prompt.calls, g_prompt.text, g_prompt.caption, g_prompt.style),
            std::tuple(1, u"Out of Memory", u"", 0x5u | 0x10u | 0x2000u));
  kostg_fee(context, block);
}

TEST_F(HeapFailure, CancelEndsTheProcess) {
  g_prompt.answer = 2;  // Cancel
  cap_mapping();
  EXPECT_DEATH(kostg_alc(context, kUncachedSize, pool), "Insufficient memory to continue.");
}

// The handler registered before the storage one gets every other code.
ko::KoHeapEvent* g_forwarded_event;
void* g_forwarded_argument;
int earlier_handler(ko::KoHeapEvent* event, void* argument) {
  g_forwarded_event = event;
  g_forwarded_argument = argument;
  return 42;
}

int handler_chain_failures() {
  ko::KoHeap_setErrorHandler(&earlier_handler);
  ko::install_out_of_memory_handler();
  int argument = 0;
  struct Case {
    uint32_t code;
    int result;
    bool forwarded;
  };
  const Case cases[] = {{4, 0, false}, {1, 42, true}, {3, 42, true}, {99, 42, true}};
  int failures = 0;
  for (const Case& c : cases) {
    g_forwarded_event = nullptr;
    ko::KoHeapEvent event{c.code, "event", 0, nullptr};
    int result = ko::storage_out_of_memory(&event, &argument);
    bool forwarded = g_forwarded_event == &event && g_forwarded_argument == &argument;
    if (result != c.result || forwarded != c.forwarded) ++failures;
  }
  return failures;
}

TEST(HeapFailureChain, OtherCodesGoToTheEarlierHandler) {
  // A fresh process, so that the storage handler is installed over ours.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::exit(handler_chain_failures()), ::testing::ExitedWithCode(0), "");
}

}  // namespace

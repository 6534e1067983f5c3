// Host-facing services: the prompt handler, the clipboard, automation
// strings, global memory, modules and process facts.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

#include "platform/platform.h"

namespace {

using namespace ko::os;

std::u16string g_last_prompt;

int answer_retry(const KOCHAR* text, const KOCHAR* caption, unsigned style) {
  g_last_prompt = std::u16string(caption) + u": " + text;
  return style == (kBoxRetryCancel | kBoxIconExclamation) ? kAnswerRetry : kAnswerOk;
}

TEST(HostServices, PromptHandlerAnswers) {
  const KOSHR_PROMPT_HANDLER before = koshr_set_prompt_handler(&answer_retry);
  EXPECT_EQ(ask_user(u"Disk full", u"Library", kBoxRetryCancel | kBoxIconExclamation),
            kAnswerRetry);
  EXPECT_EQ(g_last_prompt, u"Library: Disk full");
  EXPECT_EQ(ask_user(nullptr, nullptr, kBoxOk), kAnswerOk);
  EXPECT_EQ(koshr_set_prompt_handler(before), &answer_retry);
#ifndef _WIN32
  EXPECT_EQ(ask_user(u"anyone?", u"Library", kBoxRetryCancel), kAnswerCancel);
#endif
}

TEST(HostServices, ClipboardKeepsTheText) {
  ASSERT_TRUE(clipboard_set_text(u"row 1\trow 2"));
  KOCHAR out[32];
  EXPECT_EQ(clipboard_get_text(out, 32), 11u);
  EXPECT_EQ(std::u16string(out), u"row 1\trow 2");
  EXPECT_EQ(std::u16string(koshr_clipboard_text()), u"row 1\trow 2");
  EXPECT_EQ(clipboard_get_text(out, 4), 11u);
  EXPECT_EQ(std::u16string(out), u"row");
}

TEST(HostServices, AutomationStringLayout) {
  KOCHAR* text = sys_alloc_string(u"hello");
  ASSERT_NE(text, nullptr);
  uint32_t prefix;
  std::memcpy(&prefix, reinterpret_cast<char*>(text) - 4, 4);
  EXPECT_EQ(std::tuple(prefix, sys_string_len(text), sys_string_byte_len(text), text[5]),
            std::tuple(10u, 5u, 10u, u'\0'));
  sys_free_string(text);

  KOCHAR* cut = sys_alloc_string_len(u"hello", 2);
  EXPECT_EQ(std::u16string(cut), u"he");
  sys_free_string(cut);
  KOCHAR* bytes = sys_alloc_string_byte_len("abc", 3);
  EXPECT_EQ(std::tuple(sys_string_byte_len(bytes), sys_string_len(bytes)), std::tuple(3u, 1u));
  EXPECT_EQ(std::memcmp(bytes, "abc\0\0", 5), 0);
  sys_free_string(bytes);
  EXPECT_EQ(sys_alloc_string(nullptr), nullptr);
  EXPECT_EQ(sys_string_len(nullptr), 0u);
  sys_free_string(nullptr);
}

TEST(HostServices, GlobalMemory) {
  void* handle = global_alloc(kGlobalMoveable | kGlobalZeroInit, 100);
  ASSERT_NE(handle, nullptr);
  EXPECT_GE(global_size(handle), 100u);
  auto* bytes = static_cast<unsigned char*>(global_lock(handle));
  ASSERT_NE(bytes, nullptr);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(bytes[i], 0);
  global_unlock(handle);
  EXPECT_EQ(global_free(handle), nullptr);
}

TEST(HostServices, ModulesLoadByTheirWindowsName) {
#ifdef _WIN32
  const KOCHAR* system_module = u"kernel32.dll";
  const char* symbol = "GetTickCount";
#else
  const KOCHAR* system_module = u"libm.so.6";
  const char* symbol = "cos";
#endif
  ModuleHandle module = module_load(system_module, 0);
  ASSERT_NE(module, nullptr);
  EXPECT_NE(module_symbol(module, symbol), nullptr);
  EXPECT_EQ(module_symbol(module, "no_such_symbol_here"), nullptr);
  EXPECT_EQ(last_error(), kErrorProcNotFound);
  module_free(module);
  EXPECT_EQ(module_load(u"koshr_no_such_module.dll", 0), nullptr);
  EXPECT_EQ(last_error(), kErrorModNotFound);
  EXPECT_EQ(module_load(nullptr, 0), nullptr);

  // Named the Windows way, found beside the test program on both systems.
  ModuleHandle own = module_load(u"koshr_test_module.dll", 0);
  ASSERT_NE(own, nullptr);
  auto answer = reinterpret_cast<int (*)()>(module_symbol(own, "koshr_test_module_answer"));
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  module_free(own);

  KOCHAR path[1024];
  EXPECT_GT(executable_path(path, 1024), 0u);
  EXPECT_GT(own_module_path(path, 1024), 0u);
  EXPECT_EQ(executable_path(path, 4), 3u);
}

TEST(HostServices, ProcessFacts) {
  EXPECT_NE(process_id(), 0u);
  EXPECT_NE(thread_id(), 0u);
  const LocalTime now = local_now();
  EXPECT_GE(now.year, 2024);
  EXPECT_TRUE(now.month >= 1 && now.month <= 12);
  EXPECT_TRUE(now.microsecond >= 0 && now.microsecond < 1000000);
  EXPECT_TRUE(now.weekday >= 0 && now.weekday <= 6);
  EXPECT_FALSE(named_event_exists(u"koshr-no-such-event"));
  char value[8];
  EXPECT_FALSE(env_get("KOSHR_SURELY_UNSET_VARIABLE", value, sizeof value));
}

}  // namespace

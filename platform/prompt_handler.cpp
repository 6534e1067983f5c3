/*
 * prompt_handler.cpp: the host's prompt handler, the library's only way of
 * asking a user when the host says there is none (a server, a test).
 */
#include <atomic>

#include "platform/platform.h"

namespace {

std::atomic<KOSHR_PROMPT_HANDLER> g_prompt_handler{nullptr};

}  // namespace

KOSHR_EXTERN_C KOSHR_API KOSHR_PROMPT_HANDLER
koshr_set_prompt_handler(KOSHR_PROMPT_HANDLER handler) {
  return g_prompt_handler.exchange(handler);
}

namespace ko::os {

KOSHR_PROMPT_HANDLER prompt_handler() { return g_prompt_handler.load(); }

}  // namespace ko::os

/*
 * out_of_memory.cpp: what the storage layer does when the block heap fails.
 */
#include "storage/out_of_memory.h"

#include <mutex>

#include "platform/platform.h"

namespace ko {

namespace {
KoHeapErrorHandler g_previous_handler = nullptr;
std::once_flag g_installed;
}  // namespace

int storage_out_of_memory(KoHeapEvent* event, void* argument) {
  switch (event->code) {
    case kHeapEventOutOfMemory:
      if (os::ask_user(u"Out of Memory", nullptr,
                       os::kBoxRetryCancel | os::kBoxIconStop | os::kBoxTaskModal) ==
          os::kAnswerCancel)
        os::fatal_exit(u"Insufficient memory to continue.");
      return 1;
    case kHeapEventTooLarge:
      return 0;
    default:
      return g_previous_handler ? g_previous_handler(event, argument) : 0;
  }
}

void install_out_of_memory_handler() {
  std::call_once(g_installed,
                 [] { g_previous_handler = KoHeap_setErrorHandler(&storage_out_of_memory); });
}

}  // namespace ko

/*
 * system_heap.cpp: the system-heap switch and its one-shot outside check.
 *
 * Both are plain flags that only ever go from off to on (relaxed atomics, so
 * that a first test racing on two threads is still well defined).
 */
#include "storage/system_heap.h"

#include <atomic>

#include <koshr/storage.h>

#include "platform/platform.h"
#include "storage/u16_format.h"

namespace ko {

namespace {
std::atomic<bool> g_system_heap{false};
std::atomic<bool> g_outside_checked{false};
}  // namespace

bool system_heap_mode() {
  if (g_system_heap.load(std::memory_order_relaxed)) return true;
  if (g_outside_checked.load(std::memory_order_relaxed)) return false;
  g_outside_checked.store(true, std::memory_order_relaxed);
  KOCHAR name[80];
  u16_format(name, 80, "%hs_%u", "KOBuild_Use_NewCompilerHeap_EventName", os::process_id());
  if (os::named_event_exists(name)) g_system_heap.store(true, std::memory_order_relaxed);
  return g_system_heap.load(std::memory_order_relaxed);
}

}  // namespace ko

KOSHR_EXTERN_C KOSHR_API void UseNewCompilerHeap(uint32_t flag) {
  if (flag != 0) ko::g_system_heap.store(true, std::memory_order_relaxed);
}

/*
 * system_heap.cpp: the system-heap switch and its one-shot outside check.
 *
 * Both live in one word that only ever moves forward (a relaxed atomic, so that
 * a first test racing on two threads is still well defined). The switch set by
 * UseNewCompilerHeap before the first test means the outside is never asked.
 */
#include "storage/system_heap.h"

#include <atomic>

#include <koshr/storage.h>

#include "platform/platform.h"
#include "storage/u16_format.h"

namespace ko {

KO_HIDDEN_DATA std::atomic<SystemHeap> g_system_heap{SystemHeap::kUnchecked};

bool check_outside_switch() {
  KOCHAR name[80];
  u16_format(name, 80, "%hs_%u", "KOBuild_Use_NewCompilerHeap_EventName", os::process_id());
  SystemHeap found = os::named_event_exists(name) ? SystemHeap::kOn : SystemHeap::kOff;
  // Unchecked moves to what was found, unless the switch was set meanwhile.
  SystemHeap expected = SystemHeap::kUnchecked;
  g_system_heap.compare_exchange_strong(expected, found, std::memory_order_relaxed);
  return g_system_heap.load(std::memory_order_relaxed) == SystemHeap::kOn;
}

}  // namespace ko

KOSHR_EXTERN_C KOSHR_API void UseNewCompilerHeap(uint32_t flag) {
  if (flag != 0) ko::g_system_heap.store(ko::SystemHeap::kOn, std::memory_order_relaxed);
}

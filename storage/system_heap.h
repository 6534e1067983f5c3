/*
 * system_heap.h: system-heap mode, the process-wide switch that sends every
 * kostg_ call to the C runtime heap.
 */
#ifndef KOSHR_STORAGE_SYSTEM_HEAP_H
#define KOSHR_STORAGE_SYSTEM_HEAP_H

#include <atomic>
#include <cstdint>

#include "storage/hidden_data.h"

namespace ko {

// The switch and the one-shot outside check in one word: it only ever moves
// from unchecked to off (checked) or on.
enum class SystemHeap : uint8_t { kUnchecked, kOff, kOn };
extern KO_HIDDEN_DATA std::atomic<SystemHeap> g_system_heap;

// Looks for the outside switch, a named event
// "KOBuild_Use_NewCompilerHeap_EventName_<pid>"; made once per process.
bool check_outside_switch();

// True when the mode is on. The first test in the process also looks for the
// outside switch.
inline bool system_heap_mode() {
  SystemHeap state = g_system_heap.load(std::memory_order_relaxed);
  if (state == SystemHeap::kOff) return false;
  return state == SystemHeap::kOn || check_outside_switch();
}

}  // namespace ko

#endif

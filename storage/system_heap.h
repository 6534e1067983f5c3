/*
 * system_heap.h: system-heap mode, the process-wide switch that sends every
 * kostg_ call to the C runtime heap.
 */
#ifndef KOSHR_STORAGE_SYSTEM_HEAP_H
#define KOSHR_STORAGE_SYSTEM_HEAP_H

namespace ko {

// True when the mode is on. The first test in the process also looks for the
// outside switch, a named event "KOBuild_Use_NewCompilerHeap_EventName_<pid>".
bool system_heap_mode();

}  // namespace ko

#endif

/*
 * write_fault.cpp: write-fault injection, the full-disk stand-in for tests.
 *
 * The fault point is reached after `after_calls` calls or `after_bytes` bytes,
 * whichever comes first. kFail refuses the write that would cross it and every
 * later one; kShort lets that write store the bytes up to the point and
 * returns the short count once, then refuses every later write.
 */
#include "platform/write_fault.h"

#include <mutex>

#include "platform/platform.h"

namespace ko::os {
namespace {

struct FaultState {
  std::mutex mutex;
  WriteFault fault;
  uint64_t calls = 0;
  uint64_t bytes = 0;
  bool reached = false;  // the fault point lies behind us
};

FaultState& state() {
  static FaultState instance;
  return instance;
}

void reset(const WriteFault& fault) {
  FaultState& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.fault = fault;
  s.calls = 0;
  s.bytes = 0;
  s.reached = false;
}

}  // namespace

void set_write_fault(const WriteFault& fault) { reset(fault); }

void clear_write_fault() { reset(WriteFault{}); }

uint64_t write_calls_seen() {
  FaultState& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  return s.calls;
}

int64_t write_fault_admit(size_t size) {
  FaultState& s = state();
  std::lock_guard<std::mutex> lock(s.mutex);
  const uint64_t call_index = s.calls++;
  if (s.fault.kind == WriteFaultKind::kNone) return static_cast<int64_t>(size);
  if (s.reached) return -1;
  const bool calls_exhausted = call_index >= s.fault.after_calls;
  const uint64_t bytes_left = s.fault.after_bytes - s.bytes;  // after_bytes >= bytes always
  if (!calls_exhausted && size <= bytes_left && s.bytes < s.fault.after_bytes) {
    s.bytes += size;
    return static_cast<int64_t>(size);
  }
  s.reached = true;
  if (s.fault.kind == WriteFaultKind::kFail) return -1;
  const uint64_t allowed = calls_exhausted ? 0 : bytes_left;
  s.bytes += allowed;
  return static_cast<int64_t>(allowed);
}

}  // namespace ko::os

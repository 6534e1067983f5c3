/*
 * spin_lock.h: the 32-bit spin lock of the pool records and the block heap.
 *
 * Taking it is an atomic exchange with 1; while the exchange returns non-zero
 * the thread busy-waits a count that doubles from 1, and once the count would
 * pass 1024 it gives up its time slice and starts again at 1. Releasing it is
 * an atomic exchange with 0. The word is a plain u32, so a record can embed it
 * at a fixed offset.
 *
 * try_lock (one exchange, no waiting) lets the heap go elsewhere instead of
 * waiting behind a holder that the scheduler has put to sleep.
 */
#ifndef KOSHR_STORAGE_SPIN_LOCK_H
#define KOSHR_STORAGE_SPIN_LOCK_H

#include <atomic>
#include <cstdint>

#include "platform/platform.h"

namespace ko {

inline void cpu_relax() {
#if defined(__x86_64__) || defined(__i386__)
  __builtin_ia32_pause();
#elif defined(__aarch64__)
  asm volatile("yield");
#endif
}

class SpinLock {
 public:
  static constexpr uint32_t kMaxBusyWait = 1024;

  bool try_lock() { return word_.exchange(1, std::memory_order_acquire) == 0; }

  void lock() {
    uint32_t wait = 1;
    while (word_.exchange(1, std::memory_order_acquire) != 0) {
      if (wait > kMaxBusyWait) {
        os::yield_thread();
        wait = 1;
        continue;
      }
      for (uint32_t i = 0; i < wait; ++i) cpu_relax();
      wait *= 2;
    }
  }

  void unlock() { word_.exchange(0, std::memory_order_release); }

  // Clears the word without the release protocol (a record being torn down).
  void clear() { word_.store(0, std::memory_order_relaxed); }

 private:
  std::atomic<uint32_t> word_{0};
};
static_assert(sizeof(SpinLock) == 4, "the lock is one 32-bit word");

class SpinGuard {
 public:
  explicit SpinGuard(SpinLock& lock) : lock_(lock) { lock_.lock(); }
  ~SpinGuard() { lock_.unlock(); }
  SpinGuard(const SpinGuard&) = delete;
  SpinGuard& operator=(const SpinGuard&) = delete;

 private:
  SpinLock& lock_;
};

}  // namespace ko

#endif

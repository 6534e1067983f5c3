/*
 * process.cpp: process services on POSIX: named events (a named semaphore of
 * the same name), ids, yielding, debugger output (stderr), the OS version
 * (the kernel release), the environment, the clock, and the process-wide
 * critical section (a recursive mutex).
 */
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <sys/utsname.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/platform.h"
#include "platform/posix/utf8_text.h"

namespace ko::os {

bool named_event_exists(const KOCHAR* name) {
  if (name == nullptr || name[0] == 0) return false;
  try {
    // A semaphore name is one path component: separators become '_'.
    std::string native = "/" + to_utf8(name);
    for (size_t i = 1; i < native.size(); ++i) {
      if (native[i] == '/' || native[i] == '\\') native[i] = '_';
    }
#ifdef __linux__
    // Linux keeps named semaphores as files "sem.<name>" in /dev/shm; asking
    // for the file spares the mapping (and glibc's first-call set-up) of
    // sem_open, which is most of the first block call of a process.
    return ::access(("/dev/shm/sem." + native.substr(1)).c_str(), F_OK) == 0;
#else
    sem_t* semaphore = ::sem_open(native.c_str(), 0);
    if (semaphore == SEM_FAILED) return false;
    ::sem_close(semaphore);
    return true;
#endif
  } catch (...) {
    return false;
  }
}

uint32_t process_id() { return static_cast<uint32_t>(::getpid()); }

uint32_t thread_id() { return static_cast<uint32_t>(::syscall(SYS_gettid)); }

void yield_thread() { ::sched_yield(); }

void debug_output(const char* text) {
  if (text == nullptr) return;
  std::fputs(text, stderr);
  std::fflush(stderr);
}

void os_version(uint32_t* major, uint32_t* minor, uint32_t* build) {
  unsigned parts[3] = {0, 0, 0};
  struct utsname name;
  if (::uname(&name) == 0) std::sscanf(name.release, "%u.%u.%u", &parts[0], &parts[1], &parts[2]);
  if (major != nullptr) *major = parts[0];
  if (minor != nullptr) *minor = parts[1];
  if (build != nullptr) *build = parts[2];
}

bool env_get(const char* name, char* out, size_t capacity) {
  if (name == nullptr) return false;
  const char* value = std::getenv(name);
  if (value == nullptr) return false;
  const size_t length = std::strlen(value);
  if (out == nullptr || length >= capacity) return false;
  std::memcpy(out, value, length + 1);
  return true;
}

namespace {

LocalTime to_local_time(const struct tm& parts, long nanoseconds) {
  return LocalTime{parts.tm_year + 1900,
                   parts.tm_mon + 1,
                   parts.tm_mday,
                   parts.tm_hour,
                   parts.tm_min,
                   parts.tm_sec,
                   static_cast<int>(nanoseconds / 1000),
                   parts.tm_wday};
}

}  // namespace

LocalTime local_now() {
  struct timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  struct tm parts;
  ::localtime_r(&now.tv_sec, &parts);
  return to_local_time(parts, now.tv_nsec);
}

LocalTime utc_now() {
  struct timespec now;
  ::clock_gettime(CLOCK_REALTIME, &now);
  struct tm parts;
  ::gmtime_r(&now.tv_sec, &parts);
  return to_local_time(parts, now.tv_nsec);
}

namespace {

pthread_mutex_t g_process_lock;
bool g_process_lock_created = false;

}  // namespace

void process_lock_create() {
  if (g_process_lock_created) return;
  pthread_mutexattr_t attributes;
  ::pthread_mutexattr_init(&attributes);
  ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE);
  ::pthread_mutex_init(&g_process_lock, &attributes);
  ::pthread_mutexattr_destroy(&attributes);
  g_process_lock_created = true;
}

void process_lock_destroy() {
  if (!g_process_lock_created) return;
  ::pthread_mutex_destroy(&g_process_lock);
  g_process_lock_created = false;
}

void process_lock() {
  if (g_process_lock_created) ::pthread_mutex_lock(&g_process_lock);
}

void process_unlock() {
  if (g_process_lock_created) ::pthread_mutex_unlock(&g_process_lock);
}

}  // namespace ko::os

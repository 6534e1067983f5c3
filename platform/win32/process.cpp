/*
 * process.cpp: process services on Windows: named events, ids, yielding,
 * debugger output, the true OS version (RtlGetVersion, which no manifest
 * bends), the environment, the clock with microseconds, and the process-wide
 * critical section.
 */
#include <cstring>

#include "platform/platform.h"
#include "platform/win32/win32_support.h"

namespace ko::os {

bool named_event_exists(const KOCHAR* name) {
  if (name == nullptr || name[0] == 0) return false;
  HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, wide(name));
  if (event == nullptr) return false;
  CloseHandle(event);
  return true;
}

uint32_t process_id() { return GetCurrentProcessId(); }

uint32_t thread_id() { return GetCurrentThreadId(); }

void yield_thread() { SwitchToThread(); }

void debug_output(const char* text) {
  if (text != nullptr) OutputDebugStringA(text);
}

void os_version(uint32_t* major, uint32_t* minor, uint32_t* build) {
  using RtlGetVersionFunction = LONG(WINAPI*)(OSVERSIONINFOW*);
  OSVERSIONINFOW info{};
  info.dwOSVersionInfoSize = sizeof info;
  auto rtl_get_version = reinterpret_cast<RtlGetVersionFunction>(
      reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion")));
  if (rtl_get_version != nullptr) rtl_get_version(&info);
  if (major != nullptr) *major = info.dwMajorVersion;
  if (minor != nullptr) *minor = info.dwMinorVersion;
  if (build != nullptr) *build = info.dwBuildNumber;
}

bool env_get(const char* name, char* out, size_t capacity) {
  if (name == nullptr || out == nullptr || capacity == 0) return false;
  const DWORD length = GetEnvironmentVariableA(name, out, api_size(capacity));
  return length > 0 && length < capacity;
}

namespace {

LocalTime to_local_time(const FILETIME& time) {
  SYSTEMTIME parts;
  FileTimeToSystemTime(&time, &parts);
  const uint64_t ticks = (uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
  return LocalTime{parts.wYear,
                   parts.wMonth,
                   parts.wDay,
                   parts.wHour,
                   parts.wMinute,
                   parts.wSecond,
                   static_cast<int>((ticks / 10) % 1000000),
                   parts.wDayOfWeek};
}

}  // namespace

LocalTime local_now() {
  FILETIME utc;
  FILETIME local;
  GetSystemTimePreciseAsFileTime(&utc);
  FileTimeToLocalFileTime(&utc, &local);
  return to_local_time(local);
}

LocalTime utc_now() {
  FILETIME utc;
  GetSystemTimePreciseAsFileTime(&utc);
  return to_local_time(utc);
}

namespace {

CRITICAL_SECTION g_process_lock;
bool g_process_lock_created = false;

}  // namespace

void process_lock_create() {
  if (g_process_lock_created) return;
  InitializeCriticalSection(&g_process_lock);
  g_process_lock_created = true;
}

void process_lock_destroy() {
  if (!g_process_lock_created) return;
  DeleteCriticalSection(&g_process_lock);
  g_process_lock_created = false;
}

void process_lock() {
  if (g_process_lock_created) EnterCriticalSection(&g_process_lock);
}

void process_unlock() {
  if (g_process_lock_created) LeaveCriticalSection(&g_process_lock);
}

}  // namespace ko::os

/*
 * library_main.cpp: the shared library's own translation unit, linked into
 * libkoshr.so / koshr.dll only (never into the static folders the tests
 * link). It holds the exit procedure kept for old callers and, on Windows,
 * the DLL entry point; the load and unload sequence itself is lifecycle.cpp.
 */
#include <koshr/host.h>

#include "platform/lifecycle.h"

#ifdef _WIN32
#include <windows.h>

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
  if (reason == DLL_PROCESS_ATTACH) {
    DisableThreadLibraryCalls(instance);
    ko::library_load();
  } else if (reason == DLL_PROCESS_DETACH) {
    ko::library_unload();
  }
  return TRUE;
}
#endif

KOSHR_EXTERN_C KOSHR_API int WEP(int exit_type) { return 1; }

/*
 * thread_exit.cpp (win32): thread-exit hooks are fiber-local storage slots
 * whose callback is the hook's function; the system calls it with the slot's
 * value when the thread ends.
 */
#include <windows.h>

#include "platform/platform.h"

namespace ko::os {

uintptr_t thread_exit_hook_create(void (*on_exit)(void* value)) {
  // The callback's convention is the one convention of x64.
  DWORD index = FlsAlloc(reinterpret_cast<PFLS_CALLBACK_FUNCTION>(on_exit));
  if (index == FLS_OUT_OF_INDEXES) return 0;
  return uintptr_t(index) + 1;
}

void thread_exit_hook_set(uintptr_t hook, void* value) {
  if (hook != 0) FlsSetValue(DWORD(hook - 1), value);
}

void thread_exit_hook_delete(uintptr_t hook) {
  if (hook != 0) FlsFree(DWORD(hook - 1));
}

}  // namespace ko::os

/*
 * thread_exit.cpp (posix): thread-exit hooks are pthread keys whose
 * destructor is the hook's function.
 */
#include <pthread.h>

#include "platform/platform.h"

namespace ko::os {

uintptr_t thread_exit_hook_create(void (*on_exit)(void* value)) {
  pthread_key_t key;
  if (pthread_key_create(&key, on_exit) != 0) return 0;
  return uintptr_t(key) + 1;
}

void thread_exit_hook_set(uintptr_t hook, void* value) {
  if (hook != 0) pthread_setspecific(pthread_key_t(hook - 1), value);
}

void thread_exit_hook_delete(uintptr_t hook) {
  if (hook != 0) pthread_key_delete(pthread_key_t(hook - 1));
}

}  // namespace ko::os

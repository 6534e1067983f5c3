/*
 * lifecycle.cpp: the load and unload sequence and the subsystem registry.
 *
 * Load: the process-wide critical section, the OS version, then every
 * registered subsystem's initialiser in ascending order (registration order
 * among equals). Unload: the teardowns in the reverse order, the image
 * browser's window class, then the critical section. A constructor/destructor pair here (this file
 * is in every program that links the platform folder) runs the sequence; the Windows DLL's DllMain
 * calls it as well, which is harmless: both steps run once.
 */
#include "platform/lifecycle.h"

#include <atomic>

#include "platform/platform.h"

namespace ko {
namespace {

// Constant-initialised, so usable before any dynamic initialiser has run.
Subsystem* g_subsystems = nullptr;  // sorted by order
std::atomic<bool> g_loaded{false};
uint32_t g_os_major = 0;
uint32_t g_os_minor = 0;

void run_teardowns_from(Subsystem* subsystem) {
  if (subsystem == nullptr) return;
  run_teardowns_from(subsystem->next);
  if (subsystem->teardown != nullptr) subsystem->teardown();
}

}  // namespace

SubsystemRegistrar::SubsystemRegistrar(Subsystem& subsystem) {
  Subsystem** link = &g_subsystems;
  while (*link != nullptr && (*link)->order <= subsystem.order) link = &(*link)->next;
  subsystem.next = *link;
  *link = &subsystem;
  if (g_loaded.load() && subsystem.init != nullptr) subsystem.init();
}

void library_load() {
  if (g_loaded.exchange(true)) return;
  os::process_lock_create();
  uint32_t build = 0;
  os::os_version(&g_os_major, &g_os_minor, &build);
  for (Subsystem* subsystem = g_subsystems; subsystem != nullptr; subsystem = subsystem->next) {
    if (subsystem->init != nullptr) subsystem->init();
  }
}

void library_unload() {
  if (!g_loaded.exchange(false)) return;
  run_teardowns_from(g_subsystems);
  os::unregister_window_class(u"SHIMAGEBROWSER80");
  os::process_lock_destroy();
}

bool library_loaded() { return g_loaded.load(); }

uint32_t os_version_major() { return g_os_major; }

uint32_t os_version_minor() { return g_os_minor; }

}  // namespace ko

namespace {

__attribute__((constructor)) void load_on_start() { ko::library_load(); }

__attribute__((destructor)) void unload_on_exit() { ko::library_unload(); }

}  // namespace

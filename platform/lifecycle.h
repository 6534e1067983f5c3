/*
 * lifecycle.h: what runs when the library is loaded and unloaded.
 *
 * At load the library creates its process-wide critical section, records the
 * OS version, and then runs the initialiser of every subsystem in ascending
 * order; at unload the teardowns run in the reverse order and the critical
 * section goes. A subsystem plugs in with one line in its own source:
 *
 *   KO_SUBSYSTEM(format_intl, 50, &load_regional_settings, nullptr);
 *
 * Registrations run first among the static initialisers (KO_INIT_FIRST), so
 * every subsystem linked in is known before the load sequence starts; one
 * registered after load (a module loaded later) has its initialiser run at
 * once. The load sequence may run before other files' C++ globals are
 * constructed: initialisers use only constant-initialised state (or their
 * own function-local statics).
 */
#ifndef KOSHR_PLATFORM_LIFECYCLE_H
#define KOSHR_PLATFORM_LIFECYCLE_H

#include <cstdint>

namespace ko {

struct Subsystem {
  const char* name;
  int order;           // lower runs first at load, last at unload
  void (*init)();      // may be null
  void (*teardown)();  // may be null
  Subsystem* next = nullptr;
};

class SubsystemRegistrar {
 public:
  explicit SubsystemRegistrar(Subsystem& subsystem);
};

// Called by DllMain / the ELF constructor and destructor; safe to call twice.
void library_load();
void library_unload();
bool library_loaded();

// The OS version recorded at load.
uint32_t os_version_major();
uint32_t os_version_minor();

}  // namespace ko

// Runs a static initialiser before the default ones.
#define KO_INIT_FIRST __attribute__((init_priority(101)))

#define KO_SUBSYSTEM(id, order, init, teardown)                         \
  static ::ko::Subsystem ko_subsystem_##id{#id, order, init, teardown}; \
  static ::ko::SubsystemRegistrar ko_subsystem_registrar_##id KO_INIT_FIRST(ko_subsystem_##id)

#endif

/*
 * runtime_services.h: what the database interface asks of the runtime that
 * hosts it.
 *
 * The front end needs a few answers it cannot give itself: the text of a
 * message key, the runtime's environment code, the transaction server's
 * state, the decoding of a security connection string, the hex encryption of
 * passwords, the in-process driver that serves "ADO.Net" names, the shared
 * driver-side connection object and the closing of a trace file. A host
 * installs its own table with set_runtime_services; the defaults below make
 * a plain process work: our own message texts, no transaction server, no
 * in-process driver.
 */
#ifndef KOSHR_DBI_RUNTIME_SERVICES_H
#define KOSHR_DBI_RUNTIME_SERVICES_H

#include <koshr/dbi.h>

#include <cstddef>
#include <cstdint>

namespace ko::dbi {

struct RuntimeServices {
  // A printf-style format for a message key ("DBI_WRONG_VENDOR"); never null.
  const KOCHAR* (*message_text)(const char* key);
  // The runtime's environment code; upper 16 bits 2 is the managed runtime.
  uint32_t (*environment_code)();

  // Transaction server: running under it, a transaction active, the
  // connection handed out by the server, and its commit switch.
  bool (*under_transaction_server)();
  bool (*transaction_active)();
  bool (*connection_from_server)();
  void (*disable_commit)();
  void (*enable_commit)();

  // Encrypts a password into hex text: at most `capacity` units written,
  // terminator included.
  void (*encrypt_to_hex)(const KOCHAR* clear, KOCHAR* out, size_t capacity);
  // Finds a property of a security connection string; points `value` into
  // the string. False when the string holds no such property.
  bool (*security_property)(const KOCHAR* connect, const char* property, const KOCHAR** value,
                            size_t* length);

  // Serves the operations of in-process ("ADO.Net") connections.
  int32_t (*in_process_driver)(DbiContext* context);
  // The shared driver-side connection object of a new context, or null.
  void* (*create_connection_object)(DbiContext* context);
  // Closes the trace file named in the context.
  void (*close_trace_file)(DbiContext* context);
};

const RuntimeServices& runtime_services();
// Installs a host's table (null restores the defaults); returns the previous one.
const RuntimeServices* set_runtime_services(const RuntimeServices* services);
// The defaults, for a host that replaces only some entries.
const RuntimeServices& default_runtime_services();

}  // namespace ko::dbi

#endif

/*
 * driver_call.cpp: calling the driver of a connection context.
 */
#include "dbi/driver_call.h"

#include "dbi/runtime_services.h"
#include "platform/utf16.h"

namespace ko::dbi {

bool is_in_process(const KOCHAR* dbms) {
  if (dbms == nullptr) return false;
  return u16str(dbms, u"ADO.Net") != nullptr || u16str(dbms, u"ADO.NET") != nullptr;
}

void call_driver(DbiContext* context, int32_t operation) {
  context->operation = operation;
  if (context->driver != nullptr) {
    context->driver(context);
  } else if (is_in_process(context->dbms)) {
    runtime_services().in_process_driver(context);
  }
}

}  // namespace ko::dbi

/*
 * driver_call.h: calling the driver of a connection context.
 */
#ifndef KOSHR_DBI_DRIVER_CALL_H
#define KOSHR_DBI_DRIVER_CALL_H

#include <koshr/dbi.h>

namespace ko::dbi {

// Writes the operation code and calls the driver: the loaded entry, or the
// runtime's in-process driver for "ADO.Net" names. Nothing happens without
// either.
void call_driver(DbiContext* context, int32_t operation);
// Whether a DBMS name is served in-process ("ADO.Net" or "ADO.NET").
bool is_in_process(const KOCHAR* dbms);

}  // namespace ko::dbi

#endif

// diagnostics.h: reporting errors into the connection context.
//
// The message buffer gets "SSSSS: text", the SQLSTATE first, so a host can
// tell the class of the error without parsing the database's wording; the
// SQL code is the database's native error number, or -1 when it gives none.
#ifndef KOSHR_DRIVERS_ODBC_DIAGNOSTICS_H
#define KOSHR_DRIVERS_ODBC_DIAGNOSTICS_H

#include <koshr/dbi.h>

#include "drivers/odbc/odbc_api.h"

namespace ko::odbc {

// Reads the handle's first diagnostic record into the context as an error.
// Returns true when the SQLSTATE says the connection itself is gone.
bool report_diagnostics(DbiContext* context, SQLSMALLINT handle_type, SQLHANDLE handle);

// Rewrites the error in the context as a lost connection ("08S01"), keeping
// the database's text, for drivers that report it under another SQLSTATE.
void report_connection_lost(DbiContext* context);

// An error the driver raises itself.
void report_error(DbiContext* context, const char* sqlstate, const KOCHAR* text);
void report_error(DbiContext* context, const char* sqlstate, const char* text);

void clear_error(DbiContext* context);

}  // namespace ko::odbc

#endif

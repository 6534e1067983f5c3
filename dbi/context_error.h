/*
 * context_error.h: raising an interface error on a connection context.
 */
#ifndef KOSHR_DBI_CONTEXT_ERROR_H
#define KOSHR_DBI_CONTEXT_ERROR_H

#include <koshr/dbi.h>

namespace ko::dbi {

// Formats the message of `key` with `argument` into the message buffer and
// sets return code 999 and SQL code -1.
void raise_error(DbiContext* context, const char* key, const KOCHAR* argument);

}  // namespace ko::dbi

#endif

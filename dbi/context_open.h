/*
 * context_open.h: opening a connection context, the routine behind
 * DBI_LogIn and the cursor-connect calls.
 */
#ifndef KOSHR_DBI_CONTEXT_OPEN_H
#define KOSHR_DBI_CONTEXT_OPEN_H

#include <koshr/dbi.h>

namespace ko::dbi {

// A new context (null only when the pool cannot give one). On a failed load
// it carries return code 999 and the "DBI_WRONG_VENDOR" message.
DbiContext* open_context(KostgContext* pool, const KOCHAR* dbms, const KOCHAR* login1,
                         const KOCHAR* login2, const KOCHAR* password, const KOCHAR* parameters,
                         uint32_t flags, bool encrypt_password);

// The process-wide flag the "ThreadSafe" keyword sets (never cleared).
int32_t thread_safe_flag();

}  // namespace ko::dbi

#endif

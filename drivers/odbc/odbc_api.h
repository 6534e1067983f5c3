// odbc_api.h: the ODBC headers as the driver uses them, and the one cast
// between our UTF-16 text and the API's wide characters (both are 16-bit
// units on every target the driver is built for).
#ifndef KOSHR_DRIVERS_ODBC_API_H
#define KOSHR_DRIVERS_ODBC_API_H

#if defined(_WIN32)
#include <windows.h>
#endif
#include <koshr/types.h>
#include <sql.h>
#include <sqlext.h>

static_assert(sizeof(SQLWCHAR) == sizeof(KOCHAR), "wide ODBC text is UTF-16");

namespace ko::odbc {

inline SQLWCHAR* wide(const KOCHAR* text) {
  return reinterpret_cast<SQLWCHAR*>(const_cast<KOCHAR*>(text));
}

inline bool succeeded(SQLRETURN code) {
  return code == SQL_SUCCESS || code == SQL_SUCCESS_WITH_INFO;
}

}  // namespace ko::odbc

#endif

/*
 * driver_file_name.cpp: the driver library file name of a DBMS name
 * (DBI_LibraryName).
 *
 * The name is a prefix ("ko", or "gl" for the managed runtime's ADO
 * drivers), a body chosen by the first three characters of the DBMS name,
 * and the platform's module suffix:
 *
 *   DBMS code   body                                   file (Windows)
 *   MSO         msoledbsql                             komsoledbsql.dll
 *   INF         I15 when the DBParm text holds         koI15.dll / koI10.dll
 *               "isqlt15a" (any case), else I10
 *   other       the three characters as written        ODBC -> koODB.dll
 *
 * For INF the caller's DBParm text is lower-cased in place before the
 * search; callers have always seen it so and it is kept.
 */
#include <koshr/dbi.h>

#include "dbi/runtime_services.h"
#include "platform/platform.h"
#include "platform/utf16.h"

int32_t DBI_LibraryName(void*, void*, KOCHAR* name, const KOCHAR* dbms, KOCHAR* parameters) {
  if (name == nullptr) return 0;
  KOCHAR code[4] = {};
  for (size_t i = 0; i < 3 && dbms != nullptr && dbms[i] != 0; ++i) code[i] = dbms[i];

  const uint32_t environment = ko::dbi::runtime_services().environment_code();
  const bool managed_ado = (environment >> 16) == 2 && ko::u16icmp_ascii(code, "ADO") == 0;
  ko::u16lcpy(name, managed_ado ? u"gl" : u"ko", DBI_NAME_LENGTH + 1);

  const KOCHAR* body = code;
  if (ko::u16icmp_ascii(code, "MSO") == 0) {
    body = u"msoledbsql";
  } else if (ko::u16icmp_ascii(code, "INF") == 0) {
    body = u"I10";
    if (parameters != nullptr) {
      for (KOCHAR* p = parameters; *p != 0; ++p) *p = ko::os::char_lower(*p);
      if (ko::u16str(parameters, u"isqlt15a") != nullptr) body = u"I15";
    }
  }
  ko::u16cpy(name + ko::u16len(name), body);
  ko::u16cpy(name + ko::u16len(name), ko::os::module_suffix());
  return 0;
}

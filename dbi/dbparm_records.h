/*
 * dbparm_records.h: making, parsing and releasing DbiParm records.
 */
#ifndef KOSHR_DBI_DBPARM_RECORDS_H
#define KOSHR_DBI_DBPARM_RECORDS_H

#include <koshr/dbi.h>

#include <cstddef>

namespace ko::dbi {

// A zeroed record named by the first `length` units of `name`.
DbiParm* new_parm(DbiContext* context, const KOCHAR* name, size_t length);
// Frees the name, zeroes and frees the text value, clears and frees the record.
void free_parm(DbiContext* context, DbiParm* record);
// Parses DBParm text into a new list of records (null for empty or blank text).
shlistx* parse_parameters(DbiContext* context, const KOCHAR* text);

}  // namespace ko::dbi

#endif

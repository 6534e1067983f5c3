/*
 * entry_name.h: how the directory compares entry names.
 *
 * Names are lower-cased in place (ASCII A-Z only) before any search. The
 * directory then mixes two comparisons on purpose, and callers rely on the
 * mixture: a node's lowest name is compared case-sensitively (ordinal UTF-16),
 * its highest name and the scan of its records case-insensitively (ordinal
 * after folding each unit to lower case). On lower-cased ASCII names the two
 * agree; they differ only for other letters in different cases.
 */
#ifndef KOSHR_LIBRARY_ENTRY_NAME_H
#define KOSHR_LIBRARY_ENTRY_NAME_H

#include <koshr/types.h>

#include <cstddef>
#include <cstdint>

namespace ko {

// A name an entry can have: given, not empty, at most LMI_MAX_NAME units.
bool name_is_valid(const KOCHAR* name);
void lower_name_in_place(KOCHAR* name);
// Ordinal comparison of `a` (a terminated string) with `b` (`b_units` units, possibly
// unterminated).
int compare_name_exact(const KOCHAR* a, const KOCHAR* b, size_t b_units);
int compare_name_nocase(const KOCHAR* a, const KOCHAR* b, size_t b_units);
// The same between two stored names.
int compare_names_exact(const KOCHAR* a, size_t a_units, const KOCHAR* b, size_t b_units);
int compare_names_nocase(const KOCHAR* a, size_t a_units, const KOCHAR* b, size_t b_units);
// A hash of the name folded as compare_names_nocase folds it: names equal
// there have equal keys, so a scan compares only names whose keys match.
uint32_t name_key(const KOCHAR* name, size_t units);

}  // namespace ko

#endif

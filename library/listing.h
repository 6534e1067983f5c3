/*
 * listing.h: the entries of a library in directory order, and the extended
 * description of one entry; shared by the listing, copying and export code.
 */
#ifndef KOSHR_LIBRARY_LISTING_H
#define KOSHR_LIBRARY_LISTING_H

#include "library/entry_record.h"
#include "library/library_handle.h"

namespace ko {

// Every entry's record in directory order (ordered by name), as references
// into the handle's cached nodes, in one block from the handle's pool; the
// name units they take, terminators included, go to *name_units.
int32_t collect_entries(LmiLibrary* lib, EntryRef** refs, uint32_t* count, size_t* name_units);
// Every entry, ordered by name, into one block from `pool` (the items, then
// their strings); the count or a negative code. With `extended` the comments
// are read too.
int32_t list_entries(LmiLibrary* lib, const PoolRef& pool, bool extended, LMI_LIST_ITEM** items);
// Name, comment, version, time and sizes of one entry.
int32_t describe_entry(LmiLibrary* lib, const EntryRef& e, LMI_ENTRY_INFO_EX* info);

}  // namespace ko

#endif

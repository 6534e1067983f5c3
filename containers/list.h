/*
 * list.h: the list record behind the shlistx handle.
 *
 * The hash tables read it directly on their hot path; everyone else goes
 * through the shlist_ functions.
 */
#ifndef KOSHR_CONTAINERS_LIST_H
#define KOSHR_CONTAINERS_LIST_H

#include <koshr/lists.h>

struct shlistx {
  ShListNode* first;  // null when the list is empty
  ShListNode* last;
  ShListNode* current;  // null: no current position
  KostgContext* context;
  KostgSubpool* pool;  // may be null
  uint32_t count;
};

namespace ko {

// The lstrcmpW order on items that are strings: the comparator used when a
// caller gives none.
int collate_items(const void* a, const void* b);

}  // namespace ko

#endif

/*
 * koshr/lists.h: circular doubly linked lists of opaque item pointers with a
 * cursor (the current position), and the heap sort they use.
 *
 * A list and its nodes come from the storage context and sub-pool it is made
 * with; items are the caller's and are never copied or freed (except by
 * shlist_deleteFree). Unless said otherwise a null list gives 0 (or null) and
 * changes nothing. An "item" result is the node's item, 0 when there is none.
 */
#ifndef KOSHR_LISTS_H
#define KOSHR_LISTS_H

#include <koshr/storage.h>

/* A node: 24 bytes. The nodes form a ring (the first node's prev is the last
 * node, the last node's next the first); a single node points to itself. */
typedef struct ShListNode {
  struct ShListNode* prev;
  struct ShListNode* next;
  void* item;
} ShListNode;

typedef struct shlistx shlistx;

/* Negative when a sorts before b. Items are passed as they are stored. */
typedef int (*SHLIST_COMPARE)(const void* a, const void* b);
typedef int (*SHLIST_COMPARE_PARAM)(void* param, const void* a, const void* b);
/* Visits one item; returning 0 stops the traversal. */
typedef int (*SHLIST_VISIT)(void* item, void* arg);

/* Sort flags. */
#define SHLIST_SORT_REBUILD 1   /* relink the list in sorted order */
#define SHLIST_SORT_FREEARRAY 2 /* shlist_sort_param: free the array, return null */
#define SHLIST_SORT_DETACH 4    /* empty the list (alone: leave it empty) */

KOSHR_BEGIN_C

/* Making and destroying. */
KOSHR_API shlistx* shlist_new(KostgContext* context, KostgSubpool* pool);
KOSHR_API void shlist_delete(shlistx* list);
KOSHR_API int shlist_deleteFree(shlistx* list);

/* Moving the current position. */
KOSHR_API void* shlist_get_first(shlistx* list);
KOSHR_API void* shlist_get_last(shlistx* list);
KOSHR_API void* shlist_get_next(shlistx* list);
KOSHR_API void* shlist_get_prev(shlistx* list);
KOSHR_API void* shlist_get_curr(shlistx* list);
KOSHR_API ShListNode* shlist_curr_node(shlistx* list);
KOSHR_API ShListNode* shlist_get_handle(shlistx* list);
KOSHR_API void shlist_set_current(shlistx* list, ShListNode* node);
KOSHR_API uint32_t shlist_get_count(shlistx* list);

/* Adding: 1 when added (the new node becomes current), 0 when refused. */
KOSHR_API int shlist_addafter(shlistx* list, void* item);
KOSHR_API int shlist_insert_at_curr(shlistx* list, void* item);
KOSHR_API int shlist_putafter(shlistx* list, ShListNode* node);
KOSHR_API int shlist_insert(shlistx* list, void* item);
KOSHR_API int shlist_addbefore(shlistx* list, void* item);

/* Changing and removing. */
KOSHR_API void* shlist_update(shlistx* list, void* item);
KOSHR_API void* shlist_remove(shlistx* list);

/* Visiting and sorting. A null compare sorts the items as strings (lstrcmpW). */
KOSHR_API int shlist_traversal(shlistx* list, void* arg, SHLIST_VISIT visit);
KOSHR_API int shlist_sort(shlistx* list, SHLIST_COMPARE compare, int flags);
KOSHR_API void** shlist_sort_param(shlistx* list, void* param, SHLIST_COMPARE_PARAM compare,
                                   int flags);

/* Ascending binary-heap sort of a pointer array; an element moves only when
 * compare returns a negative number. Not stable. A null compare is lstrcmpW. */
KOSHR_API void sh_heapsort(void** array, uint32_t count, SHLIST_COMPARE compare);
KOSHR_API void sh_heapsort_param(void* param, void** array, uint32_t count,
                                 SHLIST_COMPARE_PARAM compare);

KOSHR_END_C

#endif

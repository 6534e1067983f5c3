/*
 * list_sort.cpp: sorting a list through an array of its items.
 *
 * The items are copied into an array from the list's context and sub-pool
 * and heap-sorted there. Without flags the list is left as it was; with
 * SHLIST_SORT_REBUILD or SHLIST_SORT_DETACH its nodes are freed as they are
 * read, and REBUILD appends the items again in sorted order (the last item
 * ends as the current one). shlist_sort_param hands the sorted array to the
 * caller unless SHLIST_SORT_FREEARRAY is set.
 */
#include "containers/list.h"

namespace {

// Fills an array with the items, first to last; with `detach` the nodes are
// freed as they are read and the list is left empty. Null when the list is
// empty or the array cannot be allocated.
void** take_items(shlistx* list, bool detach) {
  if (!list || list->count == 0) return nullptr;
  auto** array = static_cast<void**>(
      kostg_alc(list->context, uint64_t(list->count) * sizeof(void*), list->pool));
  if (!array) return nullptr;
  ShListNode* node = list->first;
  for (uint32_t i = 0; i < list->count; ++i) {
    ShListNode* next = node->next;
    array[i] = node->item;
    if (detach) kostg_fee(list->context, node);
    node = next;
  }
  if (detach) {
    list->first = list->last = list->current = nullptr;
    list->count = 0;
  }
  return array;
}

// Sorts the items with `sort`, emptying and rebuilding the list as the flags
// say; returns the sorted array (null for an empty list).
template <typename Sort>
void** sort_items(shlistx* list, int flags, Sort sort) {
  bool detach = (flags & (SHLIST_SORT_REBUILD | SHLIST_SORT_DETACH)) != 0;
  uint32_t count = list ? list->count : 0;
  void** array = take_items(list, detach);
  if (!array) return nullptr;
  sort(array, count);
  if (flags & SHLIST_SORT_REBUILD)
    for (uint32_t i = 0; i < count; ++i) shlist_insert(list, array[i]);
  return array;
}

}  // namespace

extern "C" {

int shlist_sort(shlistx* list, SHLIST_COMPARE compare, int flags) {
  void** array = sort_items(
      list, flags, [compare](void** items, uint32_t n) { sh_heapsort(items, n, compare); });
  if (array) kostg_fee(list->context, array);
  return 0;
}

void** shlist_sort_param(shlistx* list, void* param, SHLIST_COMPARE_PARAM compare, int flags) {
  void** array = sort_items(list, flags, [param, compare](void** items, uint32_t n) {
    sh_heapsort_param(param, items, n, compare);
  });
  if (array && (flags & SHLIST_SORT_FREEARRAY)) {
    kostg_fee(list->context, array);
    return nullptr;
  }
  return array;
}

}  // extern "C"

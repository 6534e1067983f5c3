/*
 * heap_sort.cpp: ascending binary-heap sort of a pointer array.
 *
 * A max-heap is built in place and its root swapped behind the shrinking
 * heap. While sifting, an element moves only when the comparator calls it
 * smaller (a negative result), so equal elements stay where they are during
 * a sift; the sort is still not stable. Both entry points share one sift,
 * parameterised by how the comparator is called.
 */
#include <koshr/lists.h>

#include "containers/list.h"

namespace {

template <typename Less>
void sift_down(void** array, uint32_t root, uint32_t count, Less less) {
  for (;;) {
    uint64_t child = 2 * uint64_t(root) + 1;
    if (child >= count) return;
    if (child + 1 < count && less(array[child], array[child + 1])) ++child;
    if (!less(array[root], array[child])) return;
    void* moved = array[root];
    array[root] = array[child];
    array[child] = moved;
    root = uint32_t(child);
  }
}

template <typename Less>
void heap_sort(void** array, uint32_t count, Less less) {
  if (!array || count < 2) return;
  for (uint32_t start = count / 2; start-- > 0;) sift_down(array, start, count, less);
  for (uint32_t end = count - 1; end > 0; --end) {
    void* top = array[0];
    array[0] = array[end];
    array[end] = top;
    sift_down(array, 0, end, less);
  }
}

}  // namespace

extern "C" {

void sh_heapsort(void** array, uint32_t count, SHLIST_COMPARE compare) {
  if (!compare) compare = ko::collate_items;
  heap_sort(array, count, [compare](const void* a, const void* b) { return compare(a, b) < 0; });
}

void sh_heapsort_param(void* param, void** array, uint32_t count, SHLIST_COMPARE_PARAM compare) {
  if (!compare) {
    sh_heapsort(array, count, nullptr);
    return;
  }
  heap_sort(array, count,
            [param, compare](const void* a, const void* b) { return compare(param, a, b) < 0; });
}

}  // extern "C"

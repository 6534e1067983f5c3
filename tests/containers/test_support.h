// What the containers tests share: the storage fixture, and readable forms of
// strings and lists.
#ifndef KOSHR_TESTS_CONTAINERS_TEST_SUPPORT_H
#define KOSHR_TESTS_CONTAINERS_TEST_SUPPORT_H

#include <gtest/gtest.h>
#include <koshr/lists.h>

#include <string>

#include "storage_fixture.h"

using ko_test::StorageTest;

inline std::string narrow(const void* text) {
  std::string out;
  if (!text) return "-";
  for (auto* p = static_cast<const KOCHAR*>(text); *p; ++p) out += char(*p);
  return out;
}

// A list of strings as "a [b] c": first to last, the current item in
// brackets. Checks on the way that the ring closes both ways after count
// nodes; leaves the cursor where it was.
inline std::string list_contents(shlistx* list) {
  std::string out;
  ShListNode* current = shlist_curr_node(list);
  uint32_t count = shlist_get_count(list);
  if (count == 0) {
    EXPECT_EQ(shlist_get_first(list), nullptr);
    return out;
  }
  shlist_get_first(list);
  ShListNode* first = shlist_curr_node(list);
  ShListNode* node = first;
  for (uint32_t i = 0; i < count; ++i, node = node->next) {
    EXPECT_EQ(node->next->prev, node);
    if (!out.empty()) out += ' ';
    if (node == current) out += '[';
    out += narrow(node->item);
    if (node == current) out += ']';
  }
  EXPECT_EQ(node, first) << "the ring does not close after count nodes";
  shlist_set_current(list, current);
  return out;
}

#endif

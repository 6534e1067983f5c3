/*
 * list.cpp: circular doubly linked lists with a cursor.
 *
 * The nodes form a ring: first->prev is the last node and last->next the
 * first, so the ends are recognised by comparing with first and last, never
 * by null links. Nodes come from the list's context and sub-pool; items are
 * the caller's.
 */
#include "containers/list.h"

#include "platform/platform.h"

namespace {

ShListNode* new_node(shlistx* list, void* item) {
  auto* node = static_cast<ShListNode*>(kostg_alc(list->context, sizeof(ShListNode), list->pool));
  if (node) node->item = item;
  return node;
}

void link_alone(shlistx* list, ShListNode* node) {
  node->prev = node;
  node->next = node;
  list->first = node;
  list->last = node;
}

void link_after(ShListNode* at, ShListNode* node) {
  node->next = at->next;
  node->prev = at;
  at->next->prev = node;
  at->next = node;
}

void link_before(ShListNode* at, ShListNode* node) {
  node->next = at;
  node->prev = at->prev;
  at->prev->next = node;
  at->prev = node;
}

void unlink(ShListNode* node) {
  node->prev->next = node->next;
  node->next->prev = node->prev;
}

void free_nodes(shlistx* list, bool free_items) {
  ShListNode* node = list->first;
  for (uint32_t i = 0; node && i < list->count; ++i) {
    ShListNode* next = node->next;
    if (free_items) kostg_fee(list->context, node->item);
    kostg_fee(list->context, node);
    node = next;
  }
}

}  // namespace

int ko::collate_items(const void* a, const void* b) {
  return ko::os::collate(static_cast<const KOCHAR*>(a), static_cast<const KOCHAR*>(b));
}

extern "C" {

shlistx* shlist_new(KostgContext* context, KostgSubpool* pool) {
  auto* list = static_cast<shlistx*>(kostg_alc(context, sizeof(shlistx), pool));
  if (!list) return nullptr;
  *list = shlistx{nullptr, nullptr, nullptr, context, pool, 0};
  return list;
}

void shlist_delete(shlistx* list) {
  if (!list) return;
  free_nodes(list, false);
  kostg_fee(list->context, list);
}

int shlist_deleteFree(shlistx* list) {
  if (!list) return 0;
  free_nodes(list, true);
  kostg_fee(list->context, list);
  return 0;
}

void* shlist_get_first(shlistx* list) {
  if (!list || !list->first) return nullptr;
  list->current = list->first;
  return list->current->item;
}

void* shlist_get_last(shlistx* list) {
  if (!list || !list->last) return nullptr;
  list->current = list->last;
  return list->current->item;
}

void* shlist_get_next(shlistx* list) {
  if (!list) return nullptr;
  if (!list->current || list->current == list->last) {
    list->current = nullptr;
    return nullptr;
  }
  list->current = list->current->next;
  return list->current->item;
}

void* shlist_get_prev(shlistx* list) {
  if (!list) return nullptr;
  if (!list->current || list->current == list->first) {
    list->current = nullptr;
    return nullptr;
  }
  list->current = list->current->prev;
  return list->current->item;
}

void* shlist_get_curr(shlistx* list) {
  return list && list->current ? list->current->item : nullptr;
}

ShListNode* shlist_curr_node(shlistx* list) { return list ? list->current : nullptr; }

ShListNode* shlist_get_handle(shlistx* list) { return list ? list->current : nullptr; }

void shlist_set_current(shlistx* list, ShListNode* node) {
  if (list) list->current = node;
}

uint32_t shlist_get_count(shlistx* list) { return list ? list->count : 0; }

int shlist_putafter(shlistx* list, ShListNode* node) {
  if (!list || !node) return 0;
  if (!list->first) {
    link_alone(list, node);
  } else if (!list->current) {
    kostg_fee(list->context, node);
    return 0;
  } else {
    link_after(list->current, node);
    if (list->current == list->last) list->last = node;
  }
  list->current = node;
  ++list->count;
  return 1;
}

int shlist_addafter(shlistx* list, void* item) {
  if (!list) return 0;
  ShListNode* node = new_node(list, item);
  return node ? shlist_putafter(list, node) : 0;
}

int shlist_insert_at_curr(shlistx* list, void* item) { return shlist_addafter(list, item); }

int shlist_insert(shlistx* list, void* item) {
  if (!list) return 0;
  if (list->first) list->current = list->last;
  return shlist_addafter(list, item);
}

int shlist_addbefore(shlistx* list, void* item) {
  if (!list || (list->first && !list->current)) return 0;
  ShListNode* node = new_node(list, item);
  if (!node) return 0;
  if (!list->first) {
    link_alone(list, node);
  } else {
    link_before(list->current, node);
    if (list->current == list->first) list->first = node;
  }
  list->current = node;
  ++list->count;
  return 1;
}

void* shlist_update(shlistx* list, void* item) {
  if (!list || !list->current) return nullptr;
  void* previous = list->current->item;
  list->current->item = item;
  return previous;
}

void* shlist_remove(shlistx* list) {
  if (!list || !list->current) return nullptr;
  ShListNode* node = list->current;
  void* item = node->item;
  if (list->count <= 1) {
    list->first = list->last = list->current = nullptr;
  } else {
    unlink(node);
    if (node == list->first) {
      list->first = node->next;
      list->current = list->first;
    } else if (node == list->last) {
      list->last = node->prev;
      list->current = nullptr;
    } else {
      list->current = node->next;
    }
  }
  --list->count;
  kostg_fee(list->context, node);
  return item;
}

int shlist_traversal(shlistx* list, void* arg, SHLIST_VISIT visit) {
  if (!list) return 0;
  if (!list->first) return 1;
  if (!visit) return 0;
  int result = 1;
  for (ShListNode* node = list->first;; node = node->next) {
    result = visit(node->item, arg);
    if (result == 0 || node == list->last) break;
  }
  return result;
}

}  // extern "C"

/*
 * resources.cpp: the string table, assembled from the rows each family
 * registers. Lookups walk the registered tables; the first row of a number or
 * name wins.
 */
#include "platform/resources.h"

#include <cstring>

#include "platform/utf16.h"

namespace ko {
namespace {

StringTable* g_tables = nullptr;  // constant-initialised: registrations may run early

template <typename Match>
const StringResource* find_row(Match match) {
  for (const StringTable* table = g_tables; table != nullptr; table = table->next) {
    for (size_t i = 0; i < table->count; ++i) {
      if (match(table->rows[i])) return &table->rows[i];
    }
  }
  return nullptr;
}

const StringResource* find_by_id(uint32_t id) {
  return find_row([id](const StringResource& row) { return row.id == id; });
}

const StringResource* find_by_name(const char* name) {
  if (name == nullptr) return nullptr;
  return find_row([name](const StringResource& row) { return std::strcmp(row.name, name) == 0; });
}

}  // namespace

StringTableRegistrar::StringTableRegistrar(StringTable& table) {
  StringTable** link = &g_tables;
  while (*link != nullptr) link = &(*link)->next;
  table.next = nullptr;
  *link = &table;
}

const KOCHAR* resource_string(uint32_t id) {
  const StringResource* row = find_by_id(id);
  return row != nullptr ? row->text : nullptr;
}

const KOCHAR* resource_string(const char* name) {
  const StringResource* row = find_by_name(name);
  return row != nullptr ? row->text : nullptr;
}

uint32_t resource_id(const char* name) {
  const StringResource* row = find_by_name(name);
  return row != nullptr ? row->id : 0;
}

size_t load_string(uint32_t id, KOCHAR* out, size_t capacity) {
  if (out == nullptr || capacity == 0) return 0;
  const StringResource* row = find_by_id(id);
  if (row == nullptr) {
    out[0] = 0;
    return 0;
  }
  return u16lcpy(out, row->text, capacity);
}

}  // namespace ko

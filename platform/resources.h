/*
 * resources.h: the library's string table.
 *
 * Every user-visible message has a resource number and a name (IDS_...). Each
 * family keeps its own rows in its own source and registers them:
 *
 *   static const ko::StringResource kRows[] = {{21301, "IDS_LM_RETRY", u"..."}};
 *   KO_STRING_TABLE(library, kRows);
 *
 * Lookups go by number or by name; both targets use the same compiled-in rows.
 */
#ifndef KOSHR_PLATFORM_RESOURCES_H
#define KOSHR_PLATFORM_RESOURCES_H

#include <koshr/types.h>

#include <cstddef>
#include <cstdint>

#include "platform/lifecycle.h"

namespace ko {

struct StringResource {
  uint32_t id;
  const char* name;
  const KOCHAR* text;
};

struct StringTable {
  const StringResource* rows;
  size_t count;
  StringTable* next = nullptr;
};

class StringTableRegistrar {
 public:
  explicit StringTableRegistrar(StringTable& table);
};

// The text of a resource, or null when there is none.
const KOCHAR* resource_string(uint32_t id);
const KOCHAR* resource_string(const char* name);
// The number of a named resource, 0 when unknown.
uint32_t resource_id(const char* name);
// LoadStringW: copies at most capacity-1 units; returns the count copied.
size_t load_string(uint32_t id, KOCHAR* out, size_t capacity);

}  // namespace ko

// Registered before the default static initialisers, so a subsystem
// initialiser run at load already finds every table.
#define KO_STRING_TABLE(id, rows)                                                      \
  static ::ko::StringTable ko_string_table_##id{rows, sizeof(rows) / sizeof(rows[0])}; \
  static ::ko::StringTableRegistrar ko_string_table_registrar_##id KO_INIT_FIRST(      \
      ko_string_table_##id)

#endif

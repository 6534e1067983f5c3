// Fuzz target: locating the tail of a SELECT. The scan reads the character
// before the text, so the input's first unit stands before the statement.
#include "dbi_fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  size_t units = 0;
  auto text = dbi_fuzz::text_of(data, size, &units);
  if (units == 0) return 0;
  const KOCHAR* tail = nullptr;
  DBI_ParseBasicSelect(dbi_fuzz::bare_context(nullptr), text.get() + 1, &tail);
  return 0;
}

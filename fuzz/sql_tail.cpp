// Fuzz target: locating the tail of a SELECT.
#include "dbi_fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  auto text = dbi_fuzz::text_of(data, size);
  const KOCHAR* tail = nullptr;
  DBI_ParseBasicSelect(dbi_fuzz::bare_context(nullptr), text.get(), &tail);
  return 0;
}

// Fuzz target: KO_HEAP_* setting texts, which come from the environment.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "storage/heap_settings.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  const uint64_t fallback = 64;
  uint64_t value = ko::parse_heap_setting(text.c_str(), fallback, 16, 4096, true);
  if (value != fallback && (value < 16 || value > 4096 || (value & (value - 1)) != 0)) std::abort();
  value = ko::parse_heap_setting(text.c_str(), 7, 0, 1 << 20, false);
  if (value > (1 << 20)) std::abort();
  return 0;
}

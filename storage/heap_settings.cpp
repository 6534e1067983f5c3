/*
 * heap_settings.cpp: reading the KO_HEAP_* environment variables.
 */
#include "storage/heap_settings.h"

#include "platform/platform.h"

namespace ko {

uint64_t parse_heap_setting(const char* text, uint64_t fallback, uint64_t min, uint64_t max,
                            bool power_of_two) {
  if (!text || !*text) return fallback;
  uint64_t value = 0;
  for (const char* p = text; *p; ++p) {
    if (*p < '0' || *p > '9') return fallback;
    value = value * 10 + uint64_t(*p - '0');
    if (value > max) return fallback;
  }
  if (value < min) return fallback;
  if (power_of_two && (value & (value - 1)) != 0) return fallback;
  return value;
}

namespace {

// One variable's text, or null when unset (the buffer is the caller's).
struct EnvText {
  char text[32];
  const char* get(const char* name) {
    return os::env_get(name, text, sizeof text) ? text : nullptr;
  }
};

}  // namespace

HeapSettings read_heap_settings() {
  HeapSettings settings;
  EnvText env;
  settings.page_size = parse_heap_setting(env.get("KO_HEAP_PAGE_KB"), 64, 16, 4096, true) << 10;
  settings.cache_bytes = parse_heap_setting(env.get("KO_HEAP_CACHE_MB"), 32, 0, 1 << 20, false)
                         << 20;
  settings.max_run = parse_heap_setting(env.get("KO_HEAP_MAX_BLOCK_MB"), 1024, 1, 65536, true)
                     << 20;
  settings.limit_bytes = parse_heap_setting(env.get("KO_HEAP_LIMIT_MB"), 0, 0, 1 << 24, false)
                         << 20;
  settings.thread_cache = parse_heap_setting(env.get("KO_HEAP_THREAD_CACHE"), 1, 0, 1, false) != 0;
  return settings;
}

}  // namespace ko

/*
 * heap_settings.h: the block heap's settings, read once from the KO_HEAP_*
 * environment variables when the heap is first initialised.
 *
 *   KO_HEAP_PAGE_KB       page size in KB, a power of two from 16 to 4096 (64)
 *   KO_HEAP_CACHE_MB      memory kept for reuse after pools are released (32)
 *   KO_HEAP_MAX_BLOCK_MB  largest block, a power of two from 1 to 65536 (1024)
 *   KO_HEAP_LIMIT_MB      most memory the heap maps at once, 0 for no limit (0)
 *   KO_HEAP_THREAD_CACHE  0 turns the per-thread block caches off (1)
 *
 * A value that is missing, not a number or out of range gives the default.
 */
#ifndef KOSHR_STORAGE_HEAP_SETTINGS_H
#define KOSHR_STORAGE_HEAP_SETTINGS_H

#include <cstdint>

namespace ko {

struct HeapSettings {
  uint64_t page_size = 64 * 1024;
  uint64_t cache_bytes = 32ull << 20;
  uint64_t max_run = 1ull << 30;  // the largest block's run, header included
  uint64_t limit_bytes = 0;
  bool thread_cache = true;
};

// Parses one setting's text; the default when `text` is null or invalid.
uint64_t parse_heap_setting(const char* text, uint64_t fallback, uint64_t min, uint64_t max,
                            bool power_of_two);
HeapSettings read_heap_settings();

}  // namespace ko

#endif

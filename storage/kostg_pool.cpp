/*
 * kostg_pool.cpp: storage contexts, sub-pools and block calls (kostg_).
 *
 * A context lives inside its own default pool, together with the name buffer
 * and the head record of its ring of sub-pools:
 *
 *   KostgContext  default pool | page size u32 | creation flags u32 (0x8000)
 *                 | reserved u64 | ring head
 *   KostgSubpool  next | prev | MemPool | name (128 bytes, "@SP@" + name)
 *
 * The ring is circular and doubly linked; its head is the default pool's
 * record, and a new sub-pool goes directly after the head. A sub-pool's record
 * comes from the default pool, its name buffer from its own pool.
 */
#include <koshr/storage.h>

#include <cstdlib>
#include <cstring>

#include "platform/platform.h"
#include "platform/utf16.h"
#include "storage/block_heap.h"
#include "storage/mem_pool.h"
#include "storage/out_of_memory.h"
#include "storage/system_heap.h"

struct KostgSubpool {
  KostgSubpool* next;
  KostgSubpool* prev;
  ko::MemPool* pool;
  KOCHAR* name;
};

struct KostgContext {
  ko::MemPool* default_pool;
  uint32_t page_size;
  uint32_t creation_flags;
  uint64_t reserved;
  KostgSubpool* ring;
};

namespace {

constexpr uint32_t kDefaultPageSize = 16384;
constexpr size_t kNameBytes = 128;
constexpr size_t kNameUnits = kNameBytes / sizeof(KOCHAR);
constexpr size_t kNameBound = 60;
constexpr KOCHAR kNamePrefix[] = u"@SP@";

uint32_t generation_counter = 2;

// What the 8-byte fixed path needs of the default pool, kept beside the
// context so that the path reads one record: the pool's id and where a thread
// cache keeps its 8-byte class. Both hold for the context's life.
struct FixedPath {
  uint64_t pool_id;
  uint32_t cache_offset;
};

struct ContextRecords {
  KostgContext context;
  KostgSubpool head;
  FixedPath fixed;
};

ContextRecords* records_of(KostgContext* context) {
  return reinterpret_cast<ContextRecords*>(context);
}

KostgContext* begin_context(uint16_t page_size, bool fast) {
  ko::install_out_of_memory_handler();
  ko::MemPool* pool = ko::MemPoolInit(ko::kMemContextPoolFlags);
  if (!pool) return nullptr;
  uint32_t settled_page_size = page_size ? page_size : kDefaultPageSize;
  ko::MemPoolSetFixedBlockSize(pool, 8);
  ko::MemPoolSetPageSize(pool, settled_page_size);
  ko::MemPoolSetThreshold(pool, 0);
  if (!fast) ko::MemPoolSetFast(pool, 0);
  auto* name = static_cast<KOCHAR*>(ko::MemAllocPtr(pool, kNameBytes, ko::kMemZeroFill));
  // The context, the ring head and the fixed path share one block: a fresh pool maps a page
  // per size class it touches, and that is most of what creating a context costs.
  auto* records =
      static_cast<ContextRecords*>(ko::MemAllocPtr(pool, sizeof(ContextRecords), ko::kMemZeroFill));
  if (!name || !records) {
    ko::MemPoolFree(pool);
    return nullptr;
  }
  KostgContext* context = &records->context;
  KostgSubpool* head = &records->head;
  ko::u16cpy(name, u"@SP@<default>");
  *head = KostgSubpool{head, head, pool, name};
  *context = KostgContext{pool, settled_page_size, ko::kMemSubpoolFlags, 0, head};
  records->fixed =
      FixedPath{pool->heap_pool->id.load(std::memory_order_relaxed), pool->heap_pool->cache_offset};
  return context;
}

KostgSubpool* new_subpool(KostgContext* context, uint16_t page_size, bool fast) {
  if (!context) return nullptr;
  bool system_heap = ko::system_heap_mode();
  KostgSubpool* head = context->ring;
  auto* record = static_cast<KostgSubpool*>(
      system_heap ? std::malloc(sizeof(KostgSubpool))
                  : ko::MemAllocPtr(head->pool, sizeof(KostgSubpool), 0));
  if (!record) return nullptr;
  ko::MemPool* pool = ko::MemPoolInit(context->creation_flags);
  auto* name = static_cast<KOCHAR*>(!pool         ? nullptr
                                    : system_heap ? std::malloc(kNameBytes)
                                                  : ko::MemAllocPtr(pool, kNameBytes, 0));
  if (!name) {
    ko::MemPoolFree(pool);
    if (system_heap)
      std::free(record);
    else
      ko::MemFreePtr(record);
    return nullptr;
  }
  ko::MemPoolSetPageSize(pool, page_size ? page_size : context->page_size);
  ko::MemPoolSetThreshold(pool, 0);
  if (!fast) ko::MemPoolSetFast(pool, 0);
  ko::u16cpy(name, u"@SP@<none>");
  *record = KostgSubpool{head->next, head, pool, name};
  head->next->prev = record;
  head->next = record;
  return record;
}

void unlink(KostgSubpool* record) {
  record->prev->next = record->next;
  record->next->prev = record->prev;
}

uint64_t block_size(void* block) {
  return ko::system_heap_mode() ? ko::os::runtime_block_size(block) : ko::KoHeap_blockSize(block);
}

// Stops the process on purpose: a string handed to kostg_fast_strlen must end
// exactly at the end of its block.
[[noreturn]] void fault_on_purpose() {
  volatile int* volatile target = nullptr;
  *target = 0;
  std::abort();
}

}  // namespace

// ---------------------------------------------------------------- contexts and sub-pools

KOSHR_EXTERN_C KOSHR_API KostgContext* kostg_begin(uint16_t pageSize) {
  return begin_context(pageSize, true);
}

KOSHR_EXTERN_C KOSHR_API KostgContext* kostg_begin_allocflags(uint16_t pageSize, uint32_t) {
  return begin_context(pageSize, true);
}

KOSHR_EXTERN_C KOSHR_API KostgContext* kostg_begin_nofast(uint16_t pageSize) {
  return begin_context(pageSize, false);
}

KOSHR_EXTERN_C KOSHR_API int kostg_end(KostgContext* context) {
  if (!context) return 0;
  if (ko::system_heap_mode()) return 1;
  KostgSubpool* head = context->ring;
  while (head->next != head) {
    KostgSubpool* record = head->next;
    unlink(record);
    ko::MemPoolFree(record->pool);
    ko::MemFreePtr(record);
  }
  ko::MemPoolFree(context->default_pool);
  return 1;
}

KOSHR_EXTERN_C KOSHR_API KostgSubpool* kostg_new_pool(KostgContext* context) {
  return new_subpool(context, 0, true);
}

KOSHR_EXTERN_C KOSHR_API KostgSubpool* kostg_new_pool_nofast(KostgContext* context) {
  return new_subpool(context, 0, false);
}

KOSHR_EXTERN_C KOSHR_API KostgSubpool* kostg_new_pool_with_size_nofast(KostgContext* context,
                                                                       uint16_t pageSize) {
  return new_subpool(context, pageSize, false);
}

KOSHR_EXTERN_C KOSHR_API int kostg_free_pool(KostgContext* context, KostgSubpool* pool) {
  if (!context || !pool || pool == context->ring) return 0;
  if (ko::system_heap_mode()) return 1;
  unlink(pool);
  ko::MemPoolFree(pool->pool);
  ko::MemFreePtr(pool);
  return 1;
}

KOSHR_EXTERN_C KOSHR_API KOCHAR* kostg_set_pool_name(KostgContext* context, KostgSubpool* pool,
                                                     const KOCHAR* name) {
  KostgSubpool* target = pool ? pool : context ? context->ring : nullptr;
  if (!target) return nullptr;
  KOCHAR* buffer = target->name;
  std::memcpy(buffer, kNamePrefix, 4 * sizeof(KOCHAR));
  // Copies up to 60 units and pads with terminators, then forces the 64th
  // unit to a terminator: a pool keeps at most 59 units of its name.
  size_t i = 0;
  for (; name && i < kNameBound && name[i]; ++i) buffer[4 + i] = name[i];
  for (; i < kNameBound; ++i) buffer[4 + i] = 0;
  buffer[kNameUnits - 1] = 0;
  return buffer;
}

KOSHR_EXTERN_C KOSHR_API int kostg_set_poolpagesize(KostgContext* context, uint32_t pageSize) {
  if (!context) return 0;
  context->page_size = pageSize;
  KostgSubpool* record = context->ring;
  do {
    ko::MemPoolSetPageSize(record->pool, pageSize);
    record = record->next;
  } while (record != context->ring);
  return 1;
}

// ---------------------------------------------------------------- blocks

// The block calls test the system-heap switch with one plain load; until the
// outside switch has been looked for (the first call in the process), or with
// the mode on, they go the long way round. Keeping that out of line leaves the
// pool paths with nothing to save across a call.
namespace {

[[gnu::noinline]] void* alloc_unchecked(KostgContext* context, uint64_t size, KostgSubpool* pool) {
  if (size == 0) return nullptr;
  if (ko::system_heap_mode()) return std::malloc(size);
  return kostg_alc(context, size, pool);
}

// The fixed path when the thread's cache has no 8-byte block of the default
// pool at hand.
[[gnu::noinline]] void* alloc_fixed_uncached(KostgContext* context) {
  return ko::MemAllocFS(context->default_pool);
}

[[gnu::noinline]] void free_unchecked(KostgContext* context, void* block) {
  if (ko::system_heap_mode())
    std::free(block);
  else
    kostg_fee(context, block);
}

bool system_heap_settled_off() {
  return ko::g_system_heap.load(std::memory_order_relaxed) == ko::SystemHeap::kOff;
}

}  // namespace

KOSHR_EXTERN_C KOSHR_API void* kostg_alc(KostgContext* context, uint64_t size, KostgSubpool* pool) {
  if (!system_heap_settled_off()) [[unlikely]]
    return alloc_unchecked(context, size, pool);
  // Laid out for the two hot cases, a sub-pool block and the 8-byte fixed
  // path: each runs straight through. A zero size gives null either way.
  if (pool) [[likely]] {
    // One test for both ends: the small sizes the cache serves, or else zero
    // (null) and the large sizes.
    if (size - 1 >= ko::kMaxSmallBlock) [[unlikely]]
      return size == 0 ? nullptr : ko::MemAllocPtr(pool->pool, size, 0);
    return ko::MemAllocPtr(pool->pool, size, 0);
  }
  if (size - 1 < 8) [[likely]] {
    // The default pool's fixed block size is 8 from kostg_begin on (nothing
    // changes it), so its fixed path is the 8-byte class of its thread cache.
    if (!context) [[unlikely]]
      return nullptr;
    const FixedPath& fixed = records_of(context)->fixed;
    ko::CachedClass& cached = ko::cached_class_at(fixed.cache_offset);
    if (cached.pool_id == fixed.pool_id) [[likely]] {
      if (cached.top != cached.base) [[likely]]
        return *--cached.top;
    }
    return alloc_fixed_uncached(context);
  }
  if (size == 0 || !context) return nullptr;
  return ko::MemAllocPtr(context->default_pool, size, 0);
}

KOSHR_EXTERN_C KOSHR_API void kostg_fee(KostgContext* context, void* block) {
  if (!block) return;
  if (!system_heap_settled_off()) [[unlikely]]
    return free_unchecked(context, block);
  ko::MemFreePtr(block);
}

KOSHR_EXTERN_C KOSHR_API void* kostg_realc(KostgContext* context, void* block, uint64_t size,
                                           KostgSubpool* pool) {
  if (ko::system_heap_mode()) {
    if (!block) return std::malloc(size);
    if (size == 0) {
      std::free(block);
      return nullptr;
    }
    return std::realloc(block, size);
  }
  if (!block) return kostg_alc(context, size, pool);
  if (size == 0) {
    ko::MemFreePtr(block);
    return nullptr;
  }
  return ko::MemReAllocPtr(block, size, 0);
}

KOSHR_EXTERN_C KOSHR_API uint32_t kostg_sz(KostgContext*, void* block) {
  if (!block) return 0;
  return static_cast<uint32_t>(block_size(block));
}

KOSHR_EXTERN_C KOSHR_API uint32_t kostg_fast_strlen(const KOCHAR* text) {
  if (!text) return 0;
  if (text[0] == 0) return 0;
  if (text[1] == 0) return 1;
  uint32_t n = static_cast<uint32_t>(block_size(const_cast<KOCHAR*>(text)) / 2);
  // Index n is one past the block; the four probes are kept as they are.
  for (uint32_t index : {n - 3, n - 2, n - 1, n})
    if (text[index] == 0) return index;
  fault_on_purpose();
}

// ---------------------------------------------------------------- generations and statistics

KOSHR_EXTERN_C KOSHR_API uint32_t kostg_nextGeneration(void) { return generation_counter++; }

KOSHR_EXTERN_C KOSHR_API int64_t kostg_stat(KostgContext* context, uint64_t* counters) {
  if (!counters) return 0;
  for (int i = 0; i < 6; ++i) counters[i] = 0;
  auto add_pool = [counters](ko::MemPool* pool) {
    int64_t held = ko::KoHeap_poolSize(pool ? pool->heap_pool : nullptr);
    if (held != -1) counters[2] += uint64_t(held);
    // The heap keeps no per-block records, so there are no used or free
    // blocks to count (counters 0, 4 and 5 stay 0).
  };
  if (!context) {
    add_pool(ko::process_default_pool());
  } else {
    KostgSubpool* record = context->ring;
    do {
      add_pool(record->pool);
      record = record->next;
    } while (record != context->ring);
  }
  counters[1] = counters[3] = counters[2];
  return int64_t(counters[2]);
}

KOSHR_EXTERN_C KOSHR_API int kostg_write_debug(void) { return 1; }

KOSHR_EXTERN_C KOSHR_API void kostg_dumpLeaks(void) {}

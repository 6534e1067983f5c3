/*
 * block_heap.cpp: the block heap.
 *
 * Memory comes from the platform in pages of one size (KO_HEAP_PAGE_KB, 64 KB
 * by default), carved from regions of 128 pages reserved in one call each,
 * and each aligned to that size, so that masking a block's address
 * finds the header at the start of its page. Small blocks carry no header of
 * their own:
 *
 *   page (aligned to the page size)
 *   +0   PageHeader (64 bytes): magic, size class, owning pool, links,
 *        bytes mapped, block size
 *   +64  block, block, block, ... all of the page's one size class
 *
 * Small size classes run in 8-byte steps to 256 bytes, then in four steps per
 * doubling to 8 KB (52 classes). A larger block gets a run of its own: a
 * mapping aligned to the page size whose header is followed by the block, so
 * masking the block's address finds the run's header too. Run sizes grow in
 * four steps per doubling up to the largest class (KO_HEAP_MAX_BLOCK_MB).
 *
 * A pool keeps, per size class, a spin lock, a free list threaded through the
 * freed blocks, the unused tail of its newest page and the list of its pages;
 * large runs sit on one doubly linked list under a lock of their own. The
 * per-thread caches of thread_cache.cpp sit in front of these lists. Releasing
 * a pool hands its pages and runs to a process-wide cache bounded by
 * KO_HEAP_CACHE_MB (the rest is unmapped) without looking at any block.
 */
#include "storage/block_heap.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "platform/platform.h"
#include "storage/alloc_sites.h"
#include "storage/block_heap_internal.h"
#include "storage/heap_settings.h"
#include "storage/spin_lock.h"
#include "storage/thread_cache.h"

namespace ko {

namespace {

constexpr unsigned kRunCacheSlots = 128;

struct HeapGlobals {
  HeapSettings settings;
  SpinLock cache_lock;
  PageHeader* cached_pages = nullptr;
  PageHeader* cached_runs[kRunCacheSlots] = {};
  uint64_t cached_bytes = 0;
  std::atomic<uint64_t> mapped_bytes{0};
  std::atomic<uint64_t> limit_bytes{0};
  SpinLock region_lock;
  char* region_next = nullptr;  // the uncarved rest of the newest region
  char* region_end = nullptr;
  SpinLock structs_lock;
  KoHeapPool* spare_structs = nullptr;
  std::atomic<uint64_t> next_pool_id{1};
  std::atomic<KoHeapErrorHandler> handler{nullptr};
};

HeapGlobals g_heap;
KoHeapPool g_process_pool;
std::once_flag g_init_once;

int report_to_debug_output(KoHeapEvent* event, void*) {
  os::debug_output(event->text);
  os::debug_output("\n");
  return 0;
}

void init_heap() {
  g_heap.settings = read_heap_settings();
  g_heap.limit_bytes.store(g_heap.settings.limit_bytes, std::memory_order_relaxed);
  g_heap.handler.store(&report_to_debug_output, std::memory_order_relaxed);
  g_page_mask = ~uintptr_t(g_heap.settings.page_size - 1);
  uint64_t id = g_heap.next_pool_id.fetch_add(1);
  g_process_pool.cache_offset = cache_offset_of(id, 0);
  g_process_pool.id.store(id, std::memory_order_relaxed);
}

void ensure_heap() { std::call_once(g_init_once, init_heap); }

uint64_t max_block() { return g_heap.settings.max_run - kPageHeaderBytes; }

// ---------------------------------------------------------------- mappings

// Pages and runs up to a quarter of a region are carved from regions of
// kRegionPages pages, reserved one at a time: a fresh pool's pages then cost
// no system call each. Larger runs get mappings of their own.
constexpr uint64_t kRegionPages = 128;

uint64_t region_bytes() { return kRegionPages * g_heap.settings.page_size; }

// Carves `bytes` at the next page boundary of the newest region, reserving a
// new region when the rest is too short (the old rest goes back unused).
void* carve(uint64_t bytes) {
  const uint64_t page = g_heap.settings.page_size;
  SpinGuard guard(g_heap.region_lock);
  uintptr_t next = reinterpret_cast<uintptr_t>(g_heap.region_next);
  uintptr_t start = (next + page - 1) & ~uintptr_t(page - 1);
  if (!next || start + bytes > reinterpret_cast<uintptr_t>(g_heap.region_end)) {
    auto* fresh = static_cast<char*>(os::pages_reserve(region_bytes(), page));
    if (!fresh) return nullptr;
    if (next) os::pages_discard(g_heap.region_next, size_t(g_heap.region_end - g_heap.region_next));
    g_heap.region_end = fresh + region_bytes();
    start = reinterpret_cast<uintptr_t>(fresh);
  }
  g_heap.region_next = reinterpret_cast<char*>(start + bytes);
  return reinterpret_cast<void*>(start);
}

bool is_carved(uint64_t bytes) { return bytes <= region_bytes() / 4; }

// Fresh, zero-filled memory for a page or run.
void* map_bytes(uint64_t bytes) {
  uint64_t limit = g_heap.limit_bytes.load(std::memory_order_relaxed);
  uint64_t before = g_heap.mapped_bytes.fetch_add(bytes, std::memory_order_relaxed);
  if (limit != 0 && before + bytes > limit) {
    g_heap.mapped_bytes.fetch_sub(bytes, std::memory_order_relaxed);
    return nullptr;
  }
  void* base = is_carved(bytes) ? carve(bytes) : os::pages_map(bytes, g_heap.settings.page_size);
  if (!base) g_heap.mapped_bytes.fetch_sub(bytes, std::memory_order_relaxed);
  return base;
}

void unmap_bytes(void* base, uint64_t bytes) {
  if (is_carved(bytes))
    os::pages_discard(base, bytes);
  else
    os::pages_unmap(base, bytes);
  g_heap.mapped_bytes.fetch_sub(bytes, std::memory_order_relaxed);
}

// Large runs grow in four steps per doubling; the slot numbers them.
uint64_t large_run_bytes(uint64_t block_size) {
  uint64_t run = (kPageHeaderBytes + block_size + 4095) & ~uint64_t(4095);
  if (run <= 16384) return run;
  unsigned log2 = 63 - unsigned(__builtin_clzll(run));
  uint64_t step = uint64_t(1) << (log2 - 2);
  return (run + step - 1) & ~(step - 1);
}

unsigned run_cache_slot(uint64_t run) {
  unsigned log2 = 63 - unsigned(__builtin_clzll(run));
  return 4 * (log2 - 12) + unsigned((run >> (log2 - 2)) & 3);
}

PageHeader* take_mapping(uint64_t bytes, bool is_page) {
  {
    SpinGuard guard(g_heap.cache_lock);
    PageHeader** slot = is_page ? &g_heap.cached_pages : &g_heap.cached_runs[run_cache_slot(bytes)];
    if (PageHeader* cached = *slot) {
      *slot = cached->next;
      g_heap.cached_bytes -= bytes;
      return cached;
    }
  }
  return static_cast<PageHeader*>(map_bytes(bytes));
}

// Gives a chain of pages and runs back: into the cache while it has room, the
// rest to the platform.
void give_back(PageHeader* chain) {
  PageHeader* overflow = nullptr;
  {
    SpinGuard guard(g_heap.cache_lock);
    while (chain) {
      PageHeader* next = chain->next;
      if (g_heap.cached_bytes + chain->run_bytes <= g_heap.settings.cache_bytes) {
        bool is_page = chain->size_class != kLargeClass;
        PageHeader** slot =
            is_page ? &g_heap.cached_pages : &g_heap.cached_runs[run_cache_slot(chain->run_bytes)];
        chain->next = *slot;
        *slot = chain;
        g_heap.cached_bytes += chain->run_bytes;
      } else {
        chain->next = overflow;
        overflow = chain;
      }
      chain = next;
    }
  }
  while (overflow) {
    PageHeader* next = overflow->next;
    unmap_bytes(overflow, overflow->run_bytes);
    overflow = next;
  }
}

// ---------------------------------------------------------------- failures

void report(uint32_t code, const char* text, uint64_t size, const KoHeapSite* site) {
  KoHeapEvent event{code, text, size, site};
  KoHeapErrorHandler handler = g_heap.handler.load(std::memory_order_acquire);
  if (handler) handler(&event, nullptr);
}

// Asks the handler whether to try again after an allocation failed.
bool retry_after_failure(uint64_t size, const KoHeapSite* site) {
  char text[256];
  std::snprintf(text, sizeof text, "allocFromPool %s(type %s, size %lu) failed",
                site && site->allocator ? site->allocator : "alloc",
                site && site->type ? site->type : "void*", static_cast<unsigned long>(size));
  KoHeapEvent event{kHeapEventOutOfMemory, text, size, site};
  KoHeapErrorHandler handler = g_heap.handler.load(std::memory_order_acquire);
  int answer = handler ? handler(&event, nullptr) : 0;
  heap_dump_state();
  return answer == 1;
}

void report_too_large(uint64_t size, const KoHeapSite* site) {
  char text[160];
  std::snprintf(text, sizeof text, "allocPerm(%lu) failed: buddy system maximum size = %lu",
                static_cast<unsigned long>(size), static_cast<unsigned long>(max_block()));
  report(kHeapEventTooLarge, text, size, site);
}

PageHeader* header_of(const void* block) {
  auto* header = reinterpret_cast<PageHeader*>(reinterpret_cast<uintptr_t>(block) & g_page_mask);
  if (header->magic != kPageMagic) {
    report(kHeapEventBadBlock, "KoHeap: pointer is not a heap block", 0, nullptr);
    return nullptr;
  }
  return header;
}

// ---------------------------------------------------------------- large runs

void* alloc_large(KoHeapPool* pool, uint64_t size) {
  uint64_t bytes = large_run_bytes(size);
  PageHeader* run = take_mapping(bytes, false);
  if (!run) return nullptr;
  run->magic = kPageMagic;
  run->size_class = kLargeClass;
  run->pool = pool;
  run->pool_id = kNoCachedPool;
  run->cache_offset = cache_offset_of(0, 0);
  run->run_bytes = bytes;
  run->block_size = bytes - kPageHeaderBytes;
  {
    SpinGuard guard(pool->runs_lock);
    run->prev = nullptr;
    run->next = pool->runs;
    if (pool->runs) pool->runs->prev = run;
    pool->runs = run;
  }
  pool->held_bytes.fetch_add(bytes, std::memory_order_relaxed);
  return reinterpret_cast<char*>(run) + kPageHeaderBytes;
}

void free_large(PageHeader* run) {
  KoHeapPool* pool = run->pool;
  {
    SpinGuard guard(pool->runs_lock);
    if (run->prev)
      run->prev->next = run->next;
    else
      pool->runs = run->next;
    if (run->next) run->next->prev = run->prev;
  }
  pool->held_bytes.fetch_sub(run->run_bytes, std::memory_order_relaxed);
  run->next = nullptr;
  give_back(run);
}

void* alloc_any(KoHeapPool* pool, uint64_t size, const KoHeapSite* site) {
  if (size > max_block()) {
    report_too_large(size, site);
    return nullptr;
  }
  for (;;) {
    void* block = size <= kMaxSmallBlock ? thread_cache_alloc(pool, small_class_of(size))
                                         : alloc_large(pool, size);
    if (block) return block;
    if (!retry_after_failure(size, site)) return nullptr;
  }
}

}  // namespace

KO_HIDDEN_DATA uintptr_t g_page_mask = ~uintptr_t(0);

bool heap_thread_cache_enabled() { return g_heap.settings.thread_cache; }

void* heap_map_zeroed(uint64_t bytes) { return map_bytes((bytes + 4095) & ~uint64_t(4095)); }

void heap_unmap_zeroed(void* base, uint64_t bytes) {
  unmap_bytes(base, (bytes + 4095) & ~uint64_t(4095));
}

// Refills a class's shared state with a fresh page; called with the class lock held.
bool add_page(KoHeapPool* pool, unsigned size_class) {
  ClassState& state = pool->classes[size_class];
  uint64_t page_size = g_heap.settings.page_size;
  PageHeader* page = take_mapping(page_size, true);
  if (!page) return false;
  uint32_t size = kClasses.size[size_class];
  page->magic = kPageMagic;
  page->size_class = size_class;
  page->pool = pool;
  page->pool_id = pool->id.load(std::memory_order_relaxed);
  page->cache_offset = cache_offset_of(page->pool_id, size_class);
  page->prev = nullptr;
  page->run_bytes = page_size;
  page->block_size = size;
  page->next = state.pages;
  state.pages = page;
  char* first = reinterpret_cast<char*>(page) + kPageHeaderBytes;
  state.bump = first;
  state.bump_end = first + (page_size - kPageHeaderBytes) / size * size;
  pool->held_bytes.fetch_add(page_size, std::memory_order_relaxed);
  return true;
}

void* shared_alloc(KoHeapPool* pool, unsigned size_class) {
  ClassState& state = pool->classes[size_class];
  uint32_t size = kClasses.size[size_class];
  SpinGuard guard(state.lock);
  if (void* block = state.free) {
    state.free = *static_cast<void**>(block);
    return block;
  }
  if (state.bump_end - state.bump < ptrdiff_t(size) && !add_page(pool, size_class)) return nullptr;
  void* block = state.bump;
  state.bump += size;
  return block;
}

void shared_free(KoHeapPool* pool, unsigned size_class, void* block) {
  ClassState& state = pool->classes[size_class];
  SpinGuard guard(state.lock);
  *static_cast<void**>(block) = state.free;
  state.free = block;
}

void heap_dump_state() {
  uint64_t cached = KoHeap_cachedBytes();
  char text[200];
  std::snprintf(text, sizeof text,
                "KoHeap: %llu bytes mapped, %llu bytes cached, page %llu, largest block %llu\n",
                static_cast<unsigned long long>(g_heap.mapped_bytes.load()),
                static_cast<unsigned long long>(cached),
                static_cast<unsigned long long>(g_heap.settings.page_size),
                static_cast<unsigned long long>(max_block()));
  os::debug_output(text);
}

// ---------------------------------------------------------------- pools

KoHeapPool* KoHeap_allocPool(void* user_data) {
  ensure_heap();
  KoHeapPool* pool = nullptr;
  {
    SpinGuard guard(g_heap.structs_lock);
    if ((pool = g_heap.spare_structs)) g_heap.spare_structs = pool->next_spare;
  }
  if (!pool) {
    void* memory = alloc_any(&g_process_pool, sizeof(KoHeapPool), &kSiteCalloc);
    if (!memory) return nullptr;
    pool = new (memory) KoHeapPool;
  }
  pool->user_data = user_data;
  uint64_t id = g_heap.next_pool_id.fetch_add(1, std::memory_order_relaxed);
  pool->cache_offset = cache_offset_of(id, 0);
  pool->id.store(id, std::memory_order_release);
  return pool;
}

void KoHeap_freePool(KoHeapPool* pool) {
  if (!pool || pool == &g_process_pool) return;
  thread_cache_forget(pool);
  // Once the id is gone no thread cache hands blocks back to this pool; taking
  // each class lock once waits out a hand-back already under way.
  pool->id.store(kNoCachedPool, std::memory_order_release);
  PageHeader* chain = pool->runs;
  for (ClassState& state : pool->classes) {
    state.lock.lock();
    state.lock.unlock();
    PageHeader* page = state.pages;
    while (page) {
      PageHeader* next = page->next;
      page->next = chain;
      chain = page;
      page = next;
    }
    state.free = nullptr;
    state.bump = state.bump_end = nullptr;
    state.pages = nullptr;
  }
  pool->runs = nullptr;
  pool->user_data = nullptr;
  pool->held_bytes.store(0, std::memory_order_relaxed);
  give_back(chain);
  SpinGuard guard(g_heap.structs_lock);
  pool->next_spare = g_heap.spare_structs;
  g_heap.spare_structs = pool;
}

int64_t KoHeap_poolSize(const KoHeapPool* pool) {
  if (!pool) return -1;
  return int64_t(pool->held_bytes.load(std::memory_order_relaxed));
}

void* KoHeap_poolUserData(const KoHeapPool* pool) { return pool ? pool->user_data : nullptr; }

// ---------------------------------------------------------------- blocks

void* KoHeap_allocFromPool(KoHeapPool* pool, uint64_t size, const KoHeapSite* site) {
  if (!pool) return nullptr;
  return alloc_any(pool, size == 0 ? 1 : size, site);
}

void* KoHeap_alloc(uint64_t size, const KoHeapSite* site) {
  ensure_heap();
  return alloc_any(&g_process_pool, size == 0 ? 1 : size, site);
}

void* KoHeap_calloc(uint64_t count, uint64_t size) {
  if (size != 0 && count > UINT64_MAX / size) return nullptr;
  uint64_t bytes = count * size;
  void* block = KoHeap_alloc(bytes, &kSiteCalloc);
  if (block) std::memset(block, 0, bytes);
  return block;
}

void* KoHeap_realloc(void* block, uint64_t size) {
  if (!block) return KoHeap_alloc(size, &kSiteRealloc);
  if (size == 0) {
    KoHeap_free(block);
    return nullptr;
  }
  if (KoHeap_resizeInPlace(block, size)) return block;
  KoHeapPool* pool = KoHeap_blockPool(block);
  if (!pool) return nullptr;
  void* moved = alloc_any(pool, size, &kSiteRealloc);
  if (!moved) return nullptr;
  uint64_t old_size = KoHeap_blockSize(block);
  std::memcpy(moved, block, old_size < size ? old_size : size);
  KoHeap_free(block);
  return moved;
}

void KoHeap_free(void* block) {
  if (!block) return;
  PageHeader* header = header_of(block);
  if (!header) return;
  if (header->size_class == kLargeClass)
    free_large(header);
  else
    thread_cache_free(header->pool, header->size_class, block);
}

uint64_t KoHeap_blockSize(const void* block) {
  if (!block) return 0;
  PageHeader* header = header_of(block);
  return header ? header->block_size : 0;
}

uint64_t KoHeap_minSize(const void* block) {
  if (!block) return 0;
  PageHeader* header = header_of(block);
  if (!header) return 0;
  if (header->size_class == kLargeClass) {
    uint64_t half = header->block_size / 2;
    return half > kMaxSmallBlock ? half : kMaxSmallBlock + 1;
  }
  return header->size_class == 0 ? 1 : kClasses.size[header->size_class - 1] + 1;
}

uint64_t KoHeap_maxSize(const void* block) { return KoHeap_blockSize(block); }

bool KoHeap_resizeInPlace(void* block, uint64_t size) {
  return block && size >= KoHeap_minSize(block) && size <= KoHeap_maxSize(block);
}

KoHeapPool* KoHeap_blockPool(const void* block) {
  if (!block) return nullptr;
  PageHeader* header = header_of(block);
  return header ? header->pool : nullptr;
}

KoHeapErrorHandler KoHeap_setErrorHandler(KoHeapErrorHandler handler) {
  ensure_heap();
  return g_heap.handler.exchange(handler, std::memory_order_acq_rel);
}

uint64_t KoHeap_maxBlock() {
  ensure_heap();
  return max_block();
}

uint64_t KoHeap_cachedBytes() {
  ensure_heap();
  SpinGuard guard(g_heap.cache_lock);
  return g_heap.cached_bytes;
}

uint64_t KoHeap_mappedBytes() { return g_heap.mapped_bytes.load(std::memory_order_relaxed); }

uint64_t KoHeap_setLimit(uint64_t bytes) {
  ensure_heap();
  return g_heap.limit_bytes.exchange(bytes, std::memory_order_relaxed);
}

}  // namespace ko

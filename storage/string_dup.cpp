/*
 * string_dup.cpp: duplicating strings into a storage context's pools, as
 * UTF-16 copies or converted to and from ansi text.
 *
 * The ansi converters follow the runtime's wcstombs / mbstowcs: text that does
 * not convert gives a count of -1, so the size asked of the pool is 0 and the
 * result is null.
 */
#include <koshr/strings.h>

#include "platform/utf16.h"
#include "storage/block_heap.h"
#include "storage/locale_conversion.h"

#include <cstring>

namespace {

constexpr ko::KoHeapSite kSiteStrdupMalloc{"KOCHAR*", "kostg_strdup_malloc", "KoHeap_free",
                                           "string_dup.cpp", 0};

KOCHAR* copy_into_pool(KostgContext* context, const KOCHAR* text, KostgSubpool* pool) {
  if (!text) return nullptr;
  size_t bytes = (ko::u16len(text) + 1) * sizeof(KOCHAR);
  auto* copy = static_cast<KOCHAR*>(kostg_alc(context, bytes, pool));
  if (copy) std::memcpy(copy, text, bytes);
  return copy;
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API KOCHAR* kostg_strdup(KostgContext* context, const KOCHAR* text, KostgSubpool* pool) {
  return copy_into_pool(context, text, pool);
}

// A block of the heap outside any pool, freed with KoHeap_free. Copies
// without testing the allocation: callers rely on it never failing.
KOSHR_API KOCHAR* kostg_strdup_malloc(const KOCHAR* text) {
  if (!text) return nullptr;
  size_t bytes = (ko::u16len(text) + 1) * sizeof(KOCHAR);
  auto* copy = static_cast<KOCHAR*>(ko::KoHeap_alloc(bytes, &kSiteStrdupMalloc));
  std::memcpy(copy, text, bytes);
  return copy;
}

// Copies without testing the allocation: callers rely on it never failing.
KOSHR_API KOCHAR* kostg_unicodestrdup(KostgContext* context, const KOCHAR* text,
                                      KostgSubpool* pool) {
  if (!text) return nullptr;
  size_t bytes = (ko::u16len(text) + 1) * sizeof(KOCHAR);
  auto* copy = static_cast<KOCHAR*>(kostg_alc(context, bytes, pool));
  std::memcpy(copy, text, bytes);
  return copy;
}

KOSHR_API KOCHAR* kostg_strtounicodedup(KostgContext* context, const KOCHAR* text,
                                        KostgSubpool* pool) {
  return copy_into_pool(context, text, pool);
}

KOSHR_API KOCHAR* kostg_unicodetostrdup(KostgContext* context, const KOCHAR* text,
                                        KostgSubpool* pool) {
  return copy_into_pool(context, text, pool);
}

KOSHR_API char* kostg_strtoansidup(KostgContext* context, const KOCHAR* text, KostgSubpool* pool) {
  if (!text) return nullptr;
  size_t bytes = ko::locale_wcstombs(nullptr, text, ko::kZeroTerminated, 0);
  auto* ansi = static_cast<char*>(kostg_alc(context, bytes + 1, pool));
  if (ansi) ko::locale_wcstombs(ansi, text, ko::kZeroTerminated, bytes + 1);
  return ansi;
}

KOSHR_API KOCHAR* kostg_ansitostrdup(KostgContext* context, const char* ansi, KostgSubpool* pool) {
  if (!ansi) return nullptr;
  size_t units = ko::locale_mbstowcs(nullptr, ansi, ko::kZeroTerminated, 0);
  auto* text = static_cast<KOCHAR*>(kostg_alc(context, (units + 1) * sizeof(KOCHAR), pool));
  if (text) ko::locale_mbstowcs(text, ansi, ko::kZeroTerminated, units + 1);
  return text;
}

KOSHR_END_C

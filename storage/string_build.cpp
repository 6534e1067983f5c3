/*
 * string_build.cpp: build buffers, strings grown by appending.
 *
 * The caller owns three variables: the buffer (a pool block, or null before
 * the first append), its capacity and the text's length, both in units. Text
 * appends grow the capacity by a quarter (at least 512 units) plus the
 * addition; single units grow it by 501. Both rules are kept as they are:
 * callers size their first buffers after them. A failed reallocation is not
 * tested; the caller's buffer pointer becomes null.
 */
#include <koshr/strings.h>

#include "platform/utf16.h"

#include <cstring>

namespace {

constexpr int32_t kMinimumGrowth = 512;
constexpr uint32_t kCharGrowth = 501;

void* grow(KostgContext* context, KostgSubpool* pool, KOCHAR* buffer, uint32_t capacity) {
  return kostg_realc(context, buffer, uint64_t(capacity) * sizeof(KOCHAR), pool);
}

// Appends text at buffer[length]; returns where it landed, null when the
// caller passed no text or no buffer variables.
KOCHAR* append_text(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer, uint32_t* capacity,
                    uint32_t* length, const KOCHAR* text) {
  if (!buffer || !capacity || !length || !text) return nullptr;
  auto added = uint32_t(ko::u16len(text));
  if (int32_t(*capacity - *length) <= int32_t(added)) {
    int32_t quarter = int32_t(*capacity * 25u) / 100;
    *capacity += uint32_t(quarter > kMinimumGrowth ? quarter : kMinimumGrowth) + added;
    *buffer = static_cast<KOCHAR*>(grow(context, pool, *buffer, *capacity));
  }
  KOCHAR* at = *buffer + *length;
  std::memcpy(at, text, (size_t(added) + 1) * sizeof(KOCHAR));
  *length += added;
  return at;
}

}  // namespace

KOSHR_BEGIN_C

KOSHR_API void kostg_str_build(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer,
                               uint32_t* capacity, uint32_t* length, const KOCHAR* text) {
  append_text(context, pool, buffer, capacity, length, text);
}

KOSHR_API int kostg_str_build_huge(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer,
                                   uint32_t* capacity, uint32_t* length, const KOCHAR* text) {
  append_text(context, pool, buffer, capacity, length, text);
  return 0;
}

KOSHR_API KOCHAR* kostg_unicodestr_build(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer,
                                         uint32_t* capacity, uint32_t* length, const KOCHAR* text) {
  return append_text(context, pool, buffer, capacity, length, text);
}

KOSHR_API void kostg_str_build_char(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer,
                                    uint32_t* capacity, uint32_t* length, KOCHAR ch) {
  if (!buffer || !capacity || !length) return;
  if (int32_t(*capacity - *length) < 2) {
    *capacity += kCharGrowth;
    *buffer = static_cast<KOCHAR*>(grow(context, pool, *buffer, *capacity));
  }
  (*buffer)[*length] = ch;
  (*buffer)[*length + 1] = 0;
  *length += 1;
}

KOSHR_END_C

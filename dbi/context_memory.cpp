/*
 * context_memory.cpp: pool memory and strings of a connection context.
 */
#include "dbi/context_memory.h"

#include <koshr/storage.h>

#include <cstring>

#include "platform/utf16.h"

namespace ko::dbi {

void* alloc_zeroed(DbiContext* context, size_t size) {
  if (context == nullptr || context->storage == nullptr) return nullptr;
  void* block = kostg_alc(context->storage, size, context->subpool);
  if (block != nullptr) std::memset(block, 0, size);
  return block;
}

KOCHAR* duplicate(DbiContext* context, const KOCHAR* text) {
  if (text == nullptr) return nullptr;
  return duplicate(context, text, u16len(text));
}

KOCHAR* duplicate(DbiContext* context, const KOCHAR* text, size_t length) {
  if (text == nullptr || context == nullptr || context->storage == nullptr) return nullptr;
  auto* copy = static_cast<KOCHAR*>(
      kostg_alc(context->storage, (length + 1) * sizeof(KOCHAR), context->subpool));
  if (copy == nullptr) return nullptr;
  std::memcpy(copy, text, length * sizeof(KOCHAR));
  copy[length] = 0;
  return copy;
}

void release(DbiContext* context, void* block) {
  // A block goes back to the pool that owns it; the context is not consulted.
  if (block != nullptr) kostg_fee(context != nullptr ? context->storage : nullptr, block);
}

void wipe(void* memory, size_t size) {
  volatile unsigned char* bytes = static_cast<volatile unsigned char*>(memory);
  for (size_t i = 0; i < size; ++i) bytes[i] = 0;
}

void release_secret(DbiContext* context, KOCHAR* text) {
  if (text == nullptr) return;
  wipe(text, u16len(text) * sizeof(KOCHAR));
  release(context, text);
}

}  // namespace ko::dbi

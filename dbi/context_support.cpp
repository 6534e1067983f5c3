/*
 * context_support.cpp: pool access, error raising and driver calls for a
 * connection context.
 */
#include "dbi/context_support.h"

#include <koshr/strings.h>

#include <cstring>

#include "dbi/runtime_services.h"
#include "platform/utf16.h"
#include "storage/u16_format.h"

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

void raise_error(DbiContext* context, const char* key, const KOCHAR* argument) {
  u16_format(context->message, DBI_MESSAGE_LENGTH, runtime_services().message_text(key),
             argument != nullptr ? argument : u"");
  context->return_code = DBI_RC_ERROR;
  context->sql_code = -1;
}

bool is_in_process(const KOCHAR* dbms) {
  if (dbms == nullptr) return false;
  return u16str(dbms, u"ADO.Net") != nullptr || u16str(dbms, u"ADO.NET") != nullptr;
}

void call_driver(DbiContext* context, int32_t operation) {
  context->operation = operation;
  if (context->driver != nullptr) {
    context->driver(context);
  } else if (is_in_process(context->dbms)) {
    runtime_services().in_process_driver(context);
  }
}

}  // namespace ko::dbi

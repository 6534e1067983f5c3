/*
 * blob_memory.cpp: the process-lifetime storage context of data blobs.
 */
#include "containers/blob_memory.h"

namespace {

KostgContext* blob_context() {
  static KostgContext* const context = kostg_begin(0);
  return context;
}

}  // namespace

void* ko::blob_memory_alloc(uint64_t size) {
  KostgContext* context = blob_context();
  return context ? kostg_alc(context, size, nullptr) : nullptr;
}

void* ko::blob_memory_realloc(void* block, uint64_t size) {
  KostgContext* context = blob_context();
  return context ? kostg_realc(context, block, size, nullptr) : nullptr;
}

void ko::blob_memory_free(void* block) { kostg_fee(blob_context(), block); }

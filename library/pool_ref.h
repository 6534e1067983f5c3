/*
 * pool_ref.h: where a library handle's memory comes from.
 *
 * A handle carves one sub-pool out of the caller's context at open and keeps
 * every buffer there; closing the handle releases the sub-pool in one call.
 */
#ifndef KOSHR_LIBRARY_POOL_REF_H
#define KOSHR_LIBRARY_POOL_REF_H

#include <koshr/storage.h>

#include <cstddef>

namespace ko {

struct PoolRef {
  KostgContext* context = nullptr;
  KostgSubpool* subpool = nullptr;

  void* alloc(size_t size) const { return size ? kostg_alc(context, size, subpool) : nullptr; }
  void* grow(void* block, size_t size) const { return kostg_realc(context, block, size, subpool); }
  void free(void* block) const { kostg_fee(context, block); }
  template <typename T>
  T* alloc_array(size_t count) const {
    return static_cast<T*>(alloc(count * sizeof(T)));
  }
};

}  // namespace ko

#endif

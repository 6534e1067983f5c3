/*
 * data_blob.h: what the blob's own family reaches inside SH_MI_DATA_BLOB for.
 */
#ifndef KOSHR_CONTAINERS_DATA_BLOB_H
#define KOSHR_CONTAINERS_DATA_BLOB_H

#include <koshr/datablob.h>

namespace ko {

constexpr uint32_t kBlobHeaderSize = 10;
constexpr uint32_t kBlobInitialCapacity = 4096;
constexpr uint32_t kBlobGrowthStep = 8192;

struct DataBlobAccess {
  // A blob holding only its header, with a reference count of 1; null when
  // it cannot be allocated.
  static SH_MI_DATA_BLOB* create();
  static const uint8_t* buffer(const SH_MI_DATA_BLOB* blob) { return blob->buffer_; }
  static uint32_t capacity(const SH_MI_DATA_BLOB* blob) { return blob->capacity_; }
};

// A new iterator over `blob` (reference count 1, holding a reference on the
// blob); null when it cannot be allocated.
SH_IMI_BLOB_ITER* make_blob_iterator(SH_MI_DATA_BLOB* blob);

}  // namespace ko

#endif

/*
 * data_blob.h: what the blob's own family reaches inside SH_MI_DATA_BLOB for.
 */
#ifndef KOSHR_CONTAINERS_DATA_BLOB_H
#define KOSHR_CONTAINERS_DATA_BLOB_H

#include <koshr/datablob.h>

#include "storage/block_heap.h"

namespace ko {

constexpr uint32_t kBlobHeaderSize = 10;
constexpr uint32_t kBlobInitialCapacity = 4096;
constexpr uint32_t kBlobGrowthStep = 8192;

// Blobs outlive any caller's storage context: they, their iterators and
// their buffers live in the block heap, outside any pool. So do strings and
// nested blobs that a reader hands out without a context; callers give those
// back with kostg_fee.
inline constexpr KoHeapSite kSiteDataBlob{"SH_MI_DATA_BLOB", "shmi_CreateDataBlob", "Release",
                                          "data_blob.cpp", 0};
inline constexpr KoHeapSite kSiteBlobIterator{"SH_MI_DATA_BLOB_ITER", "GetDataIterator", "Release",
                                              "blob_iterator.cpp", 0};
inline constexpr KoHeapSite kSiteBlobValue{"void*", "GetString", "kostg_fee", "blob_iterator.cpp",
                                           0};

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

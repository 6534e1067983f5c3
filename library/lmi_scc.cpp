/*
 * lmi_scc.cpp: the source-control data of a library.
 *
 * One optional stream, chained like an entry's data but reached from the
 * header (first block at 0x22E, length at 0x232). It starts with "SCC*" and
 * holds one 516-byte record per entry under source control:
 *
 *   0    256  entry name, 128 UTF-16LE units, zero-padded
 *   256  256  the source-control system's text for it, 128 units, zero-padded
 *   512  4    the source-control system's status bits
 *
 * A chain without the magic counts as absent and is never freed.
 */
#include <koshr/library.h>

#include "library/commit.h"
#include "library/data_block.h"
#include "library/handle_lifecycle.h"
#include "platform/byte_order.h"

#include <cstring>

using namespace ko;

namespace {

constexpr uint32_t kSccRecordSize = 516;

uint32_t scc_start(const LmiLibrary* lib) { return load_le32(lib->header + kHeaderSccStart); }
uint32_t scc_length(const LmiLibrary* lib) { return load_le32(lib->header + kHeaderSccLength); }

// Starts the reader on the stream when it exists and carries its magic.
int32_t open_scc(LmiLibrary* lib, bool* present) {
  *present = false;
  if (!scc_start(lib) || scc_length(lib) < 4) return 0;
  int32_t rc = lib->writer.flush();
  if (rc) return rc;
  refresh_file_size(lib);
  char magic[4];
  lib->reader.begin(scc_start(lib), scc_length(lib));
  if (lib->reader.read(magic, 4) != 4 || std::memcmp(magic, "SCC*", 4) != 0) return 0;
  *present = true;
  lib->reader.begin(scc_start(lib), scc_length(lib));
  return 0;
}

int32_t writable(LMI_HANDLE library) {
  if (!library) return LMI_E_NO_HANDLE;
  if (library->entry.state != EntryState::kNone) return LMI_E_BUSY;
  if (library->mode == LMI_MODE_READ) return LMI_E_FORBIDDEN;
  return 0;
}

// Points the header at a new stream (0, 0 for none), then frees the old one.
int32_t replace_scc(LmiLibrary* lib, uint32_t first, uint32_t length) {
  bool present;
  int32_t rc = open_scc(lib, &present);
  if (rc) return rc;
  uint32_t old_start = scc_start(lib), old_length = scc_length(lib);
  if ((rc = commit(lib)) != 0) return rc;
  store_le32(lib->header + kHeaderSccStart, first);
  store_le32(lib->header + kHeaderSccLength, length);
  if ((rc = write_header(lib)) != 0) return rc;
  if (present) release_chain_later(lib, old_start, old_length);
  return commit(lib);
}

}  // namespace

KOSHR_API int32_t LMI_DeleteSccMetadata(LMI_HANDLE library) {
  int32_t rc = writable(library);
  return rc ? rc : replace_scc(library, 0, 0);
}

KOSHR_API int32_t LMI_GetSCCDataBuffer(LMI_HANDLE library, KostgContext* pool, void** buffer, uint32_t* length) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!buffer || !length) return LMI_E_NO_RESULT;
  if (!pool) return LMI_E_NO_POOL;
  *buffer = nullptr;
  *length = 0;
  if (library->entry.state != EntryState::kNone) return LMI_E_BUSY;
  bool present;
  int32_t rc = open_scc(library, &present);
  if (rc || !present) return rc;
  uint32_t size = scc_length(library);
  void* data = kostg_alc(pool, size, nullptr);
  if (!data) return LMI_E_DISK_FULL;
  int32_t got = library->reader.read(data, size);
  if (got != int32_t(size)) {
    kostg_fee(pool, data);
    return LMI_E_IO;
  }
  *buffer = data;
  *length = size;
  return LMI_OK;
}

KOSHR_API int32_t LMI_SetSCCDataBuffer(LMI_HANDLE library, const void* buffer, uint32_t length) {
  int32_t rc = writable(library);
  if (rc) return rc;
  if (!buffer || length < 4 || std::memcmp(buffer, "SCC*", 4) != 0 || (length - 4) % kSccRecordSize)
    return LMI_E_NAME;
  library->writer.begin_stream();
  uint32_t first = 0;
  rc = library->writer.write(static_cast<const uint8_t*>(buffer), length, library->bitmap);
  if (rc == 0) rc = library->writer.finish_stream(library->bitmap, &first);
  if (rc) {
    library->writer.abandon_stream(library->bitmap);
    return rc;
  }
  return replace_scc(library, first, length);
}

KOSHR_API int32_t LMI_ListSccMetadata(LMI_HANDLE library, KostgContext* pool, LMI_SCC_RECORD** records) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!records) return LMI_E_NO_RESULT;
  *records = nullptr;
  void* raw = nullptr;
  uint32_t length = 0;
  int32_t rc = LMI_GetSCCDataBuffer(library, pool, &raw, &length);
  if (rc || !raw) return rc;
  uint32_t count = (length - 4) / kSccRecordSize;
  LMI_SCC_RECORD* out = count ? static_cast<LMI_SCC_RECORD*>(kostg_alc(pool, sizeof(LMI_SCC_RECORD) * count, nullptr)) : nullptr;
  const uint8_t* at = static_cast<const uint8_t*>(raw) + 4;
  for (uint32_t i = 0; out && i < count; ++i, at += kSccRecordSize) {
    for (int k = 0; k < 128; ++k) {
      out[i].name[k] = KOCHAR(load_le16(at + 2 * k));
      out[i].data[k] = KOCHAR(load_le16(at + 256 + 2 * k));
    }
    out[i].name[127] = out[i].data[127] = 0;
    out[i].flags = load_le32(at + 512);
  }
  kostg_fee(pool, raw);
  if (count && !out) return LMI_E_DISK_FULL;
  *records = out;
  return int32_t(count);
}

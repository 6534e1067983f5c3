/*
 * handle_lifecycle.cpp: building a handle from a file and taking it down.
 */
#include "library/handle_lifecycle.h"

#include <koshr/library.h>

#include "library/block_io.h"
#include "library/commit.h"
#include "library/exe_trailer.h"
#include "library/node.h"
#include "platform/utf16.h"

#include <new>

namespace ko {
namespace {

constexpr uint32_t kDefaultWriteBuffer = 16384;

// The handle, its header buffer and its first tables come in one allocation
// of the block heap's small sizes (up to 8 KB).
static_assert(sizeof(LmiLibrary) <= 8192, "a handle stays one small block");

// "RepairEmptyBlock" in the ko section of ko.ini, read once per process.
int repair_empty_block() {
  static const int value = os::private_profile_int(u"ko", u"RepairEmptyBlock", 1);
  return value;
}

// "kovm.dll" stands for the running virtual machine's own file.
size_t resolve_path(const KOCHAR* path, KOCHAR* out, size_t capacity) {
  if (u16icmp_ascii(path, "kovm.dll") == 0) return os::executable_path(out, capacity);
  return u16lcpy(out, path, capacity);
}

void destroy(LmiLibrary* lib) {
  if (lib->file != os::kInvalidFile) os::file_close(lib->file);
  PoolRef pool = lib->pool;
  lib->~LmiLibrary();
  kostg_free_pool(pool.context, pool.subpool);
}

// Before a block at or past the trailer is handed out, the trailer moves
// beyond it (with some room, so that a growing library moves it seldom): the
// file ends in a trailer at every moment, and a process killed at any point
// leaves the library reachable.
int32_t move_trailer(void* context, uint64_t end, uint64_t* guarded) {
  constexpr uint64_t kRoom = 64 * kBlockSize;
  LmiLibrary* lib = static_cast<LmiLibrary*>(context);
  uint64_t at = end + kRoom;
  if (at > 0xFFFFFE00u) at = end;
  if (at > 0xFFFFFE00u) return LMI_E_DISK_FULL;
  uint8_t trailer[kBlockSize];
  build_trailer(trailer, lib->base);
  int32_t rc = library_write(lib->file, trailer, kBlockSize, at);
  if (rc) return rc;
  lib->trailer_at = uint32_t(at);
  *guarded = at;
  return 0;
}

// At close the trailer comes back to the end of the last block in use: a
// fresh one is written there first, then the file is cut behind it.
int32_t settle_trailer(LmiLibrary* lib) {
  if (!lib->bitmap.loaded()) return 0;
  uint64_t end = lib->bitmap.used_end();
  if (end >= lib->trailer_at) return 0;
  uint8_t trailer[kBlockSize];
  build_trailer(trailer, lib->base);
  int32_t rc = library_write(lib->file, trailer, kBlockSize, end);
  if (rc) return rc;
  lib->trailer_at = uint32_t(end);
  return os::file_truncate(lib->file, end + kBlockSize) ? 0 : LMI_E_IO;
}

}  // namespace

bool library_path_fits(const KOCHAR* path) {
  return u16nlen(path, kMaxLibraryPath) < kMaxLibraryPath;
}

void refresh_file_size(LmiLibrary* lib) {
  int64_t size = os::file_size(lib->file);
  lib->nodes.set_file_size(size);
  lib->reader.set_file_size(size);
}

LmiLibrary* open_handle(KostgContext* context, const KOCHAR* path, int mode, uint32_t buffer_size) {
  if (!context || !path || mode < LMI_MODE_READ || mode > LMI_MODE_HEADER) return nullptr;
  KostgSubpool* subpool = kostg_new_pool(context);
  if (!subpool) return nullptr;
  PoolRef pool{context, subpool};
  void* memory = pool.alloc(sizeof(LmiLibrary));
  if (!memory) {
    kostg_free_pool(context, subpool);
    return nullptr;
  }
  LmiLibrary* lib = new (memory) LmiLibrary;
  lib->pool = pool;
  lib->mode = mode;

  KOCHAR resolved[kMaxLibraryPath];
  if (!library_path_fits(path) || resolve_path(path, resolved, kMaxLibraryPath) == 0) {
    destroy(lib);
    return nullptr;
  }
  lib->file = os::file_open(resolved, mode == LMI_MODE_READ ? os::kFileRead : os::kFileRead | os::kFileWrite);
  if (lib->file == os::kInvalidFile) {
    destroy(lib);
    return nullptr;
  }
  // The file's first bytes serve both the search for an executable's trailer
  // and, for a library standing alone, as the header buffer itself.
  int64_t got = library_read(lib->file, lib->header, kHeaderBufferSize, 0);
  LibraryPlace place = locate_library(lib->file, lib->header, got < 0 ? 0 : size_t(got));
  lib->base = place.base;
  // Whatever the host file is, a library found through its trailer is
  // written like one inside an executable: its blocks may grow over the
  // trailer's place, and the trailer moves ahead of them (move_trailer).
  lib->in_host = place.has_trailer;
  lib->trailer_at = place.trailer_offset;
  int64_t file_size = place.file_size;
  if (lib->in_host && mode != LMI_MODE_READ) {
    if (drop_certificate_table(lib->file, place, &lib->trailer_at) != 0) {
      destroy(lib);
      return nullptr;
    }
    file_size = place.trailer_offset;
  }

  // One read covers the header, the first bitmap block and either size of
  // root node; a file with 1024-byte nodes may end before the whole buffer.
  if (lib->base != 0 || lib->in_host)
    got = library_read(lib->file, lib->header, kHeaderBufferSize, lib->base);
  if (got < int64_t(kFirstReadSize) || !header_names_product(lib->header)) {
    destroy(lib);
    return nullptr;
  }
  lib->geometry = geometry_for_version(lib->header + kHeaderVersion);
  if (lib->geometry.node_size == 3072 && got != int64_t(kHeaderBufferSize)) {
    destroy(lib);
    return nullptr;
  }
  if (!node_is_sound(lib->header + kRootOffset, lib->geometry)) {
    destroy(lib);
    return nullptr;
  }
  lib->bitmap.attach(pool, lib->file, lib->base, lib->header + kFirstBitmapOffset);
  if (lib->in_host && mode != LMI_MODE_READ) lib->bitmap.guard_growth(&move_trailer, lib, lib->trailer_at);
  lib->nodes.attach(pool, lib->file, lib->base, lib->geometry, lib->header + kRootOffset);
  lib->names.attach(pool);
  // A read-only handle never writes: it gets no write buffer.
  bool ready = lib->nodes.root() && lib->reader.attach(pool, lib->file, lib->base) &&
               (mode == LMI_MODE_READ ||
                lib->writer.attach(pool, lib->file, buffer_size ? buffer_size : kDefaultWriteBuffer));
  if (!ready) {
    destroy(lib);
    return nullptr;
  }
  lib->nodes.set_file_size(file_size);
  lib->reader.set_file_size(file_size);
  return lib;
}

int32_t close_handle(LmiLibrary* lib) {
  int32_t rc = 0;
  if (lib->entry.state != EntryState::kNone) rc = LMI_CloseEntry(lib);
  if (lib->mode != LMI_MODE_READ) {
    int32_t committed = commit(lib);
    if (!rc) rc = committed;
    if (!rc && repair_empty_block() != 1) rc = lib->bitmap.trim_empty_tail();
    if (lib->in_host) {
      int32_t settled = settle_trailer(lib);
      if (!rc) rc = settled;
    }
  }
  destroy(lib);
  return rc;
}

}  // namespace ko

/*
 * lmi_library.cpp: the exported operations on whole libraries.
 */
#include <koshr/library.h>
#include <koshr/version.h>

#include "library/bitmap.h"
#include "library/block_io.h"
#include "library/commit.h"
#include "library/entry_name.h"
#include "library/handle_lifecycle.h"
#include "library/node.h"
#include "platform/byte_order.h"
#include "platform/utf16.h"
#include "storage/u16_format.h"

#include <cstring>

using namespace ko;

namespace {

// LMI_GetKOLBinaryType's answer for a file that is not a library file, or
// one that cannot be read; not one of the LMI_E_* failures.
constexpr int32_t kNotALibraryFile = -1;

// The extension's start within a path, null when the file name has none.
const KOCHAR* extension_of(const KOCHAR* path) {
  const KOCHAR* dot = u16rchr(path, u'.');
  if (!dot) return nullptr;
  for (const KOCHAR* p = dot; *p; ++p) {
    if (*p == u'/' || *p == u'\\') return nullptr;
  }
  return dot;
}

// The file name within a path. Only it is lower-cased: directories keep their
// case, which matters where the file system tells cases apart.
KOCHAR* file_name_of(KOCHAR* path) {
  KOCHAR* name = path;
  for (KOCHAR* p = path; *p; ++p) {
    if (*p == u'/' || *p == u'\\') name = p + 1;
  }
  return name;
}

// LMI_GetLibraryType's answer from the extension alone.
int32_t type_by_extension(const KOCHAR* path) {
  const KOCHAR* ext = extension_of(path);
  if (!ext) return 0;
  if (u16icmp_ascii(ext, ".kod") == 0) return 2;
  if (u16icmp_ascii(ext, ".kol") == 0) return 1;
  if (u16icmp_ascii(ext, ".tmp") == 0) return 3;
  return 2;
}

bool version_prefixed(const KOCHAR* path, int type) {
  return type == 2 || (type == 1 && u16istr_ascii(path, u"kodom"));
}

}  // namespace

KOSHR_API int32_t LMI_CreateLibrary(KostgContext* pool, KOCHAR* path, const KOCHAR* comment) {
  if (!path) return LMI_E_NAME;
  if (!pool) return LMI_E_NO_POOL;
  KOCHAR full[kMaxLibraryPath];
  if (!library_path_fits(path)) return LMI_E_NAME;
  u16lcpy(full, path, kMaxLibraryPath);
  const KOCHAR* ext = extension_of(full);
  int type;
  if (!ext) {
    if (u16len(full) + 4 >= kMaxLibraryPath) return LMI_E_NAME;
    u16lcat(full, u".kol", kMaxLibraryPath);
    type = 1;
  } else if (u16icmp_ascii(ext, ".kod") == 0 || u16icmp_ascii(ext, ".idx") == 0) {
    type = 2;
  } else if (u16icmp_ascii(ext, ".kol") == 0) {
    type = 1;
  } else if (u16icmp_ascii(ext, ".tmp") == 0) {
    type = 3;
  } else if (u16icmp_ascii(ext, ".bin") == 0) {
    type = 0;
  } else {
    return LMI_E_NAME;
  }
  lower_name_in_place(file_name_of(path));
  lower_name_in_place(file_name_of(full));
  os::FileHandle probe = os::file_open(full, os::kFileRead);
  if (probe != os::kInvalidFile) {
    os::file_close(probe);
    return LMI_E_EXISTS;
  }
  KOCHAR text[LMI_MAX_LIB_COMMENT + 1];
  if (version_prefixed(full, type)) {
    u16_format(text, LMI_MAX_LIB_COMMENT + 1, "%hs%s", KOSHR_VERSION_STRING, comment ? comment : u"");
  } else {
    u16lcpy(text, comment ? comment : u"", LMI_MAX_LIB_COMMENT + 1);
  }
  os::FileHandle file = os::file_open(full, os::kFileRead | os::kFileWrite | os::kFileCreate | os::kFileTruncate);
  if (file == os::kInvalidFile) return LMI_E_CREATE_FAILED;
  uint8_t head[kRootOffset];
  build_new_header(head, uint16_t(type), text, seconds_since_1970());
  uint8_t root[3072];
  init_node(root, geometry_for_version(head + kHeaderVersion), 0);
  bool written = library_write(file, head, sizeof head, 0) == 0 &&
                 library_write(file, root, sizeof root, kRootOffset) == 0;
  os::file_close(file);
  if (!written) {
    os::file_delete(full);
    return LMI_E_CREATE_FAILED;
  }
  return LMI_OK;
}

KOSHR_API LMI_HANDLE LMI_OpenLibrary(KostgContext* pool, const KOCHAR* path, int mode, uint32_t bufferSize) {
  return open_handle(pool, path, mode, bufferSize);
}

KOSHR_API int32_t LMI_CloseLibrary(LMI_HANDLE library) {
  if (!library) return LMI_E_NO_HANDLE;
  return close_handle(library);
}

KOSHR_API int32_t LMI_DeleteLibrary(KostgContext* pool, const KOCHAR* path) {
  if (!path) return LMI_E_NAME;
  if (!pool) return LMI_E_NO_POOL;
  if (!library_path_fits(path)) return LMI_E_NAME;
  LmiLibrary* lib = open_handle(pool, path, LMI_MODE_READ, 0);
  if (!lib) return LMI_E_IO;
  close_handle(lib);
  return os::file_delete(path) ? LMI_OK : LMI_E_IO;
}

KOSHR_API int32_t LMI_LibraryInformation(LMI_HANDLE library, LMI_LIBRARY_INFO* info) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!info) return LMI_E_NO_RESULT;
  const uint8_t* h = library->header;
  info->sccDataLength = load_le32(h + kHeaderSccLength);
  info->timeStamp = load_le32(h + kHeaderTime);
  info->comment = reinterpret_cast<KOCHAR*>(library->header + kHeaderComment);
  for (int i = 0; i < 4; ++i) info->version[i] = KOCHAR(load_le16(h + kHeaderVersion + 2 * i));
  info->version[4] = 0;
  info->type = load_le16(h + kHeaderType) & 3;
  return LMI_OK;
}

KOSHR_API int32_t LMI_ModifyLibrary(LMI_HANDLE library, LMI_LIBRARY_INFO* info) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!info) return LMI_E_NO_RESULT;
  if (library->mode != LMI_MODE_HEADER) return LMI_E_FORBIDDEN;
  if (!info->comment) return LMI_OK;
  KOCHAR comment[LMI_MAX_LIB_COMMENT + 1];
  u16lcpy(comment, info->comment, LMI_MAX_LIB_COMMENT + 1);
  // The clearing deliberately runs 1024 bytes, over the source-control link
  // and length and into the in-memory bitmap block; only the header is written.
  std::memset(library->header + kHeaderComment, 0, 1024);
  for (size_t i = 0; comment[i]; ++i) store_le16(library->header + kHeaderComment + 2 * i, comment[i]);
  return write_header(library);
}

KOSHR_API int32_t LMI_GetLibraryType(KostgContext* pool, const KOCHAR* path) {
  LmiLibrary* lib = open_handle(pool, path, LMI_MODE_READ, 0);
  if (!lib) return 0;
  int32_t type = load_le16(lib->header + kHeaderType) & 3;
  close_handle(lib);
  return type ? type : type_by_extension(path);
}

KOSHR_API int32_t LMI_ChangeLibraryType(KostgContext* pool, const KOCHAR* path, int type) {
  if (!path) return LMI_E_NAME;
  if (!pool) return LMI_E_NO_POOL;
  if (!library_path_fits(path)) return LMI_E_NAME;
  LmiLibrary* lib = open_handle(pool, path, LMI_MODE_READWRITE, 0);
  if (!lib) return LMI_E_NO_HANDLE;
  uint16_t field = load_le16(lib->header + kHeaderType);
  int32_t rc = 0;
  if ((field & 3) != (type & 3)) {
    store_le16(lib->header + kHeaderType, uint16_t((field & ~3u) | (type & 3)));
    rc = write_header(lib);
  }
  int32_t closed = close_handle(lib);
  return rc ? rc : closed;
}

KOSHR_API int32_t LMI_GetKOLBinaryType(KostgContext* pool, const KOCHAR* path) {
  if (!path) return kNotALibraryFile;
  os::FileHandle file = os::file_open(path, os::kFileRead);
  if (file == os::kInvalidFile) return kNotALibraryFile;
  uint8_t first[6];
  int64_t got = os::file_read_at(file, first, 6, 0);
  os::file_close(file);
  if (got != 6 || std::memcmp(first, "HDR*K", 5) != 0) return kNotALibraryFile;
  if (first[5] == 'o') return 1;
  return first[5] == 0 ? 0 : kNotALibraryFile;
}

KOSHR_API int32_t LMI_LibrarySpace(LMI_HANDLE library, LMI_SPACE_INFO* info) {
  if (!library) return LMI_E_NO_HANDLE;
  if (!info) return LMI_E_NO_RESULT;
  int32_t rc = library->bitmap.load();
  if (rc) return rc;
  uint32_t covered, used, bitmaps;
  library->bitmap.count(&covered, &used, &bitmaps);
  int64_t size = os::file_size(library->file);
  uint32_t in_file = size > library->base ? uint32_t((size - library->base + kBlockSize - 1) / kBlockSize) : 0;
  info->blocksTotal = in_file > used ? in_file : used;
  info->blocksUsed = used;
  info->blocksFree = info->blocksTotal - used;
  info->bitmapBlocks = bitmaps;
  return LMI_OK;
}

/*
 * handle_lifecycle.h: opening and closing a library handle.
 */
#ifndef KOSHR_LIBRARY_HANDLE_LIFECYCLE_H
#define KOSHR_LIBRARY_HANDLE_LIFECYCLE_H

#include "library/library_handle.h"

namespace ko {

// Units a library path may take, its terminator included: longer paths are
// refused (LMI_E_NAME, or no handle), never cut to name another file.
constexpr size_t kMaxLibraryPath = 1024;
bool library_path_fits(const KOCHAR* path);

// A handle on the library in `path` (or the executable it names), null when
// the file cannot be opened or holds no Unicode library.
LmiLibrary* open_handle(KostgContext* context, const KOCHAR* path, int mode, uint32_t buffer_size);
// Closes the open entry, commits, writes the trailer of an executable and
// releases everything; the first failure code or 0.
int32_t close_handle(LmiLibrary* lib);
// Re-reads the file size after writes that may have grown the file.
void refresh_file_size(LmiLibrary* lib);

}  // namespace ko

#endif

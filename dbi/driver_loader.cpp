/*
 * driver_loader.cpp: loading and freeing a driver library
 * (DBI_LoadDBInterface, DBI_FreeDBInterface).
 *
 * With DBI_LOAD_OWN_FOLDER the driver is taken from this library's own
 * folder first and is freed when the caller asks; without it a driver that
 * is already loaded is reused, the own folder is tried (also with the
 * altered search path), then the normal search. Under the transaction server
 * the flag is cleared and drivers stay loaded. Critical-error boxes are
 * suppressed while a path is tried.
 */
#include <koshr/dbi.h>

#include "dbi/runtime_services.h"
#include "platform/platform.h"
#include "platform/utf16.h"

namespace {

constexpr size_t kMaxPath = 261;

// The own folder's path joined with `file`, with the separator the own
// module's path uses; false when it is not available or too long.
bool own_folder_path(const KOCHAR* file, KOCHAR* path) {
  KOCHAR own[kMaxPath + 1];
  const size_t length = ko::os::own_module_path(own, kMaxPath + 1);
  if (length == 0 || length > kMaxPath) return false;
  size_t folder = length;
  while (folder > 0 && own[folder - 1] != u'\\' && own[folder - 1] != u'/') --folder;
  if (folder == 0) return false;
  own[folder] = 0;
  if (folder + ko::u16len(file) > kMaxPath) return false;
  ko::u16cpy(path, own);
  ko::u16cpy(path + folder, file);
  return true;
}

void* load_quietly(const KOCHAR* path, unsigned flags) {
  const unsigned previous = ko::os::set_error_mode(1);
  void* module = ko::os::module_load(path, flags);
  ko::os::set_error_mode(previous);
  return module;
}

}  // namespace

void* DBI_LoadDBInterface(const KOCHAR* file, uint32_t* flags) {
  if (file == nullptr || file[0] == 0) return nullptr;
  if (flags != nullptr && ko::dbi::runtime_services().under_transaction_server()) {
    *flags &= ~uint32_t{DBI_LOAD_OWN_FOLDER};
  }
  const bool own_folder = flags != nullptr && (*flags & DBI_LOAD_OWN_FOLDER) != 0;
  KOCHAR path[kMaxPath + 1];
  if (!own_folder_path(file, path)) return ko::os::module_load(file, 0);

  void* module = nullptr;
  if (own_folder) {
    module = load_quietly(path, 0);
  } else {
    module = ko::os::module_loaded(file);
    if (module != nullptr) return module;
    module = load_quietly(path, 0);
    if (module == nullptr) module = load_quietly(path, ko::os::kModuleAlteredSearchPath);
  }
  return module != nullptr ? module : ko::os::module_load(file, 0);
}

int32_t DBI_FreeDBInterface(void* module, uint32_t flags) {
  if (module != nullptr && (flags & DBI_LOAD_OWN_FOLDER) != 0 &&
      !ko::dbi::runtime_services().under_transaction_server()) {
    ko::os::module_free(module);
  }
  return 0;
}

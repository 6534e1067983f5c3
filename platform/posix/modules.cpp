/*
 * modules.cpp: shared objects through dlopen. A module named "x.dll" is
 * loaded as "x.so"; a bare name is looked for beside the executable, then
 * beside this library, then along the system's search path, as Windows looks
 * in the application's folder first.
 */
#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <string>

#include "platform/platform.h"
#include "platform/posix/config_paths.h"
#include "platform/posix/last_error.h"
#include "platform/posix/utf8_text.h"
#include "platform/utf16.h"

namespace ko::os {
namespace {

std::string native_own_module_path() {
  Dl_info info;
  if (::dladdr(reinterpret_cast<void*>(&own_module_path), &info) == 0 ||
      info.dli_fname == nullptr) {
    return {};
  }
  std::string path = info.dli_fname;
  if (path.empty() || path[0] != '/') {
    char real[PATH_MAX];
    if (::realpath(path.c_str(), real) != nullptr) path = real;
  }
  return path;
}

void* open_module(const std::string& path) { return ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL); }

}  // namespace

ModuleHandle module_load(const KOCHAR* name, unsigned flags) {
  if (name == nullptr || name[0] == 0) {
    set_last_error(kErrorInvalidParameter);
    return nullptr;
  }
  try {
    std::string file = to_utf8(name);
    const size_t length = file.size();
    if (length > 4 && u16icmp_ascii(name + u16len(name) - 4, ".dll") == 0) {
      file.replace(length - 4, 4, ".so");
    }
    void* module = nullptr;
    if (file.find('/') != std::string::npos) {
      module = open_module(file);
    } else {
      for (const std::string& folder :
           {folder_of(native_executable_path()), folder_of(native_own_module_path())}) {
        if (module == nullptr && !folder.empty()) module = open_module(folder + file);
      }
      if (module == nullptr) module = open_module(file);
    }
    if (module == nullptr) set_last_error(kErrorModNotFound);
    return module;
  } catch (...) {
    set_last_error(kErrorNotEnoughMemory);
    return nullptr;
  }
}

void* module_symbol(ModuleHandle module, const char* name) {
  if (module == nullptr || name == nullptr) {
    set_last_error(kErrorInvalidHandle);
    return nullptr;
  }
  void* symbol = ::dlsym(module, name);
  if (symbol == nullptr) set_last_error(kErrorProcNotFound);
  return symbol;
}

void module_free(ModuleHandle module) {
  if (module != nullptr) ::dlclose(module);
}

const KOCHAR* module_suffix() { return u".so"; }

size_t own_module_path(KOCHAR* out, size_t capacity) {
  try {
    return copy_utf8_out(native_own_module_path(), out, capacity);
  } catch (...) {
    return 0;
  }
}

size_t executable_path(KOCHAR* out, size_t capacity) {
  try {
    return copy_utf8_out(native_executable_path(), out, capacity);
  } catch (...) {
    return 0;
  }
}

}  // namespace ko::os

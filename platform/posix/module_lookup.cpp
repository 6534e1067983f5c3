/*
 * module_lookup.cpp: finding an already loaded shared object by file name,
 * and the error-mode switch (kept as a value: POSIX shows no boxes).
 */
#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <cstring>
#include <string>

#include "platform/platform.h"
#include "platform/utf16.h"

namespace ko::os {
namespace {

struct Search {
  const char* file;
  std::string path;
};

int match_object(struct dl_phdr_info* info, size_t, void* data) {
  auto* search = static_cast<Search*>(data);
  if (info->dlpi_name == nullptr || info->dlpi_name[0] == 0) return 0;
  const char* slash = std::strrchr(info->dlpi_name, '/');
  const char* base = slash != nullptr ? slash + 1 : info->dlpi_name;
  if (std::strcmp(base, search->file) != 0) return 0;
  search->path = info->dlpi_name;
  return 1;
}

std::atomic<unsigned> g_error_mode{0};

}  // namespace

ModuleHandle module_loaded(const KOCHAR* name) {
  if (name == nullptr || name[0] == 0) return nullptr;
  char file[1024];
  if (utf16_to_utf8(name, SIZE_MAX, file, sizeof file) >= sizeof file) return nullptr;
  const size_t length = std::strlen(file);
  if (length > 4 && u16icmp_ascii(name + u16len(name) - 4, ".dll") == 0) {
    std::strcpy(file + length - 4, ".so");
  }
  Search search{file, {}};
  if (std::strchr(file, '/') != nullptr) {
    search.path = file;
  } else if (::dl_iterate_phdr(&match_object, &search) == 0) {
    return nullptr;
  }
  void* module = ::dlopen(search.path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (module != nullptr) ::dlclose(module);
  return module;
}

unsigned set_error_mode(unsigned mode) { return g_error_mode.exchange(mode); }

}  // namespace ko::os

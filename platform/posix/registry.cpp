/*
 * registry.cpp: the registry as an INI file, $KOSHR_REGISTRY, else
 * $XDG_CONFIG_HOME/korvane/registry.ini (else ~/.config/korvane/...).
 *
 * One section per key, named by hive and path; one entry per string value,
 * the default value under the empty name:
 *
 *   [HKEY_LOCAL_MACHINE\Software\Vendor\Product]
 *   =default value
 *   Name=value
 *
 * A key exists when its section or a section below it does. Every change is
 * read, modified and written back whole through a temporary file renamed over
 * the store, so a reader never sees half a file.
 */
#include <cstdlib>
#include <mutex>
#include <vector>

#include "platform/ini_file.h"
#include "platform/platform.h"
#include "platform/posix/config_paths.h"
#include "platform/posix/file_bytes.h"
#include "platform/posix/last_error.h"
#include "platform/utf16.h"

namespace ko::os {
namespace {

std::mutex& store_mutex() {
  static std::mutex mutex;
  return mutex;
}

std::string store_path() {
  const char* path = std::getenv("KOSHR_REGISTRY");
  return path != nullptr && path[0] != 0 ? std::string(path) : config_file_path("registry.ini");
}

IniFile read_store() {
  std::string bytes;
  if (!read_file_bytes(store_path(), &bytes)) return IniFile{};
  return IniFile::parse(bytes.data(), bytes.size());
}

bool write_store(const IniFile& store) {
  return replace_file_bytes(store_path(), store.serialize());
}

// "HKEY_CURRENT_USER\path" with the path's outer backslashes removed; empty
// for a null path.
std::u16string section_name(Hive hive, const KOCHAR* key_path) {
  if (key_path == nullptr) return {};
  std::u16string path = key_path;
  while (!path.empty() && path.front() == u'\\') path.erase(path.begin());
  while (!path.empty() && path.back() == u'\\') path.pop_back();
  std::u16string name = hive == Hive::kLocalMachine ? u"HKEY_LOCAL_MACHINE" : u"HKEY_CURRENT_USER";
  if (!path.empty()) name += u"\\" + path;
  return name;
}

// The part of `section` below `key` ("key\rest" gives "rest"); null when
// `section` is not below `key`.
const KOCHAR* below(const std::u16string& section, const std::u16string& key) {
  if (section.size() <= key.size() + 1 || section[key.size()] != u'\\') return nullptr;
  return ini_same_name(key, section.substr(0, key.size()).c_str())
             ? section.c_str() + key.size() + 1
             : nullptr;
}

// Runs a guarded operation; false (not enough memory) when it throws.
template <typename Operation>
bool guarded(Operation operation) {
  try {
    std::lock_guard<std::mutex> lock(store_mutex());
    return operation();
  } catch (...) {
    set_last_error(kErrorNotEnoughMemory);
    return false;
  }
}

const KOCHAR* value_key(const KOCHAR* value_name) {
  return value_name != nullptr ? value_name : u"";
}

}  // namespace

bool registry_get_string(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name, KOCHAR* out,
                         size_t capacity) {
  if (key_path == nullptr || out == nullptr || capacity == 0) {
    set_last_error(kErrorInvalidParameter);
    return false;
  }
  return guarded([&] {
    std::u16string value;
    if (!read_store().get(section_name(hive, key_path).c_str(), value_key(value_name), &value)) {
      set_last_error(kErrorFileNotFound);
      return false;
    }
    if (value.size() >= capacity) {
      set_last_error(kErrorMoreData);
      return false;
    }
    value.copy(out, value.size());
    out[value.size()] = 0;
    return true;
  });
}

bool registry_set_string(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name,
                         const KOCHAR* value) {
  if (key_path == nullptr || value == nullptr) {
    set_last_error(kErrorInvalidParameter);
    return false;
  }
  return guarded([&] {
    IniFile store = read_store();
    if (!store.set(section_name(hive, key_path).c_str(), value_key(value_name), value)) {
      set_last_error(kErrorInvalidParameter);
      return false;
    }
    return write_store(store);
  });
}

bool registry_delete_value(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name) {
  if (key_path == nullptr) {
    set_last_error(kErrorInvalidParameter);
    return false;
  }
  return guarded([&] {
    IniFile store = read_store();
    if (!store.remove_key(section_name(hive, key_path).c_str(), value_key(value_name))) {
      set_last_error(kErrorFileNotFound);
      return false;
    }
    return write_store(store);
  });
}

bool registry_delete_key(Hive hive, const KOCHAR* key_path) {
  if (key_path == nullptr) {
    set_last_error(kErrorInvalidParameter);
    return false;
  }
  return guarded([&] {
    IniFile store = read_store();
    const std::u16string key = section_name(hive, key_path);
    std::vector<std::u16string> doomed;
    for (const IniFile::Section& section : store.sections()) {
      if (ini_same_name(section.name, key.c_str()) || below(section.name, key) != nullptr) {
        doomed.push_back(section.name);
      }
    }
    if (doomed.empty()) {
      set_last_error(kErrorFileNotFound);
      return false;
    }
    for (const std::u16string& name : doomed) store.remove_section(name.c_str());
    return write_store(store);
  });
}

bool registry_enum_subkey(Hive hive, const KOCHAR* key_path, uint32_t index, KOCHAR* out,
                          size_t capacity) {
  if (key_path == nullptr || out == nullptr || capacity == 0) {
    set_last_error(kErrorInvalidParameter);
    return false;
  }
  return guarded([&] {
    const IniFile store = read_store();
    const std::u16string key = section_name(hive, key_path);
    std::vector<std::u16string> children;
    for (const IniFile::Section& section : store.sections()) {
      const KOCHAR* rest = below(section.name, key);
      if (rest == nullptr) continue;
      const KOCHAR* slash = u16chr(rest, u'\\');
      const std::u16string child(rest, slash != nullptr ? slash : rest + u16len(rest));
      bool known = false;
      for (const std::u16string& seen : children)
        known = known || ini_same_name(seen, child.c_str());
      if (!known && !child.empty()) children.push_back(child);
    }
    if (index >= children.size()) {
      set_last_error(kErrorNoMoreItems);
      return false;
    }
    const std::u16string& child = children[index];
    if (child.size() >= capacity) {
      set_last_error(kErrorMoreData);
      return false;
    }
    child.copy(out, child.size());
    out[child.size()] = 0;
    return true;
  });
}

}  // namespace ko::os

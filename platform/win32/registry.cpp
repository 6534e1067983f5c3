/*
 * registry.cpp: string values in the Windows registry. Deleting a key takes
 * its subkeys with it, as the posix store does.
 */
#include "platform/platform.h"
#include "platform/win32/win32_support.h"

namespace ko::os {
namespace {

HKEY root(Hive hive) {
  return hive == Hive::kLocalMachine ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

// Records a registry status as the thread's last error; true for success.
bool succeeded(LSTATUS status) {
  if (status == ERROR_SUCCESS) return true;
  SetLastError(static_cast<DWORD>(status));
  return false;
}

bool refuse() {
  SetLastError(ERROR_INVALID_PARAMETER);
  return false;
}

}  // namespace

bool registry_get_string(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name, KOCHAR* out,
                         size_t capacity) {
  if (key_path == nullptr || out == nullptr || capacity == 0) return refuse();
  DWORD bytes = api_size(capacity) * sizeof(KOCHAR);
  return succeeded(RegGetValueW(root(hive), wide(key_path), wide(value_name), RRF_RT_REG_SZ,
                                nullptr, out, &bytes));
}

bool registry_set_string(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name,
                         const KOCHAR* value) {
  if (key_path == nullptr || value == nullptr) return refuse();
  HKEY key = nullptr;
  if (!succeeded(RegCreateKeyExW(root(hive), wide(key_path), 0, nullptr, 0, KEY_SET_VALUE, nullptr,
                                 &key, nullptr))) {
    return false;
  }
  const DWORD bytes = static_cast<DWORD>((lstrlenW(wide(value)) + 1) * sizeof(KOCHAR));
  const bool done = succeeded(RegSetValueExW(key, wide(value_name), 0, REG_SZ,
                                             reinterpret_cast<const BYTE*>(value), bytes));
  RegCloseKey(key);
  return done;
}

bool registry_delete_value(Hive hive, const KOCHAR* key_path, const KOCHAR* value_name) {
  if (key_path == nullptr) return refuse();
  return succeeded(RegDeleteKeyValueW(root(hive), wide(key_path), wide(value_name)));
}

bool registry_delete_key(Hive hive, const KOCHAR* key_path) {
  if (key_path == nullptr) return refuse();
  return succeeded(RegDeleteTreeW(root(hive), wide(key_path)));
}

bool registry_enum_subkey(Hive hive, const KOCHAR* key_path, uint32_t index, KOCHAR* out,
                          size_t capacity) {
  if (key_path == nullptr || out == nullptr || capacity == 0) return refuse();
  HKEY key = nullptr;
  if (!succeeded(RegOpenKeyExW(root(hive), wide(key_path), 0, KEY_ENUMERATE_SUB_KEYS, &key))) {
    return false;
  }
  DWORD length = api_size(capacity);
  const bool done =
      succeeded(RegEnumKeyExW(key, index, wide(out), &length, nullptr, nullptr, nullptr, nullptr));
  RegCloseKey(key);
  return done;
}

}  // namespace ko::os

/*
 * vendor_registry.cpp: registering outside driver vendors in the machine
 * registry (DBI_RegisterVendor, DBI_UnRegisterVendor). Each vendor is a
 * string value under one key; results are HRESULTs.
 */
#include <koshr/dbi.h>

#include "platform/platform.h"

namespace {

constexpr const KOCHAR* kVendorsKey = u"Software\\Velmora\\Korvane\\25.0\\Vendors";
constexpr int32_t kInvalidArgument = static_cast<int32_t>(0x80070057u);
constexpr int32_t kFailure = static_cast<int32_t>(0x80004005u);

bool bad_name(const KOCHAR* name) { return name == nullptr || name[0] == 0; }

}  // namespace

int32_t DBI_RegisterVendor(const KOCHAR* name, const KOCHAR* value) {
  if (bad_name(name)) return kInvalidArgument;
  return ko::os::registry_set_string(ko::os::Hive::kLocalMachine, kVendorsKey, name,
                                     value != nullptr ? value : u"")
             ? 0
             : kFailure;
}

int32_t DBI_UnRegisterVendor(const KOCHAR* name) {
  if (bad_name(name)) return kInvalidArgument;
  return ko::os::registry_delete_value(ko::os::Hive::kLocalMachine, kVendorsKey, name) ? 0
                                                                                       : kFailure;
}

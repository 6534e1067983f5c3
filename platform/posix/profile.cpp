/*
 * profile.cpp: the user's profile (win.ini) and the private profile (ko.ini)
 * as INI files read by ko::IniFile, with the Windows profile functions'
 * results: defaults lose their trailing blanks, a null key lists the
 * section's keys and a null section lists the sections (each name
 * terminated, the list ended by one more terminator), truncated text keeps
 * its terminator.
 *
 * The profile is $KOSHR_PROFILE, else $XDG_CONFIG_HOME/korvane/win.ini (else
 * ~/.config/korvane/win.ini); a missing file reads as empty. Every call reads
 * the file afresh, so a change shows at once, except inside a ProfileSnapshot,
 * where the thread's calls share the file as the first of them read it.
 */
#include <cstdlib>
#include <vector>

#include "platform/ini_file.h"
#include "platform/platform.h"
#include "platform/posix/config_paths.h"
#include "platform/posix/file_bytes.h"
#include "platform/posix/utf8_text.h"
#include "platform/utf16.h"

namespace ko::os {
namespace {

std::string profile_path() {
  const char* path = std::getenv("KOSHR_PROFILE");
  return path != nullptr && path[0] != 0 ? std::string(path) : config_file_path("win.ini");
}

IniFile read_ini(const std::string& path) {
  std::string bytes;
  if (!read_file_bytes(path, &bytes)) return IniFile{};
  return IniFile::parse(bytes.data(), bytes.size());
}

thread_local unsigned t_snapshot_depth = 0;
thread_local IniFile* t_snapshot = nullptr;  // read at the snapshot's first call

// The profile as this call sees it: the thread's snapshot, or `fresh`, read now.
const IniFile& profile_ini(IniFile& fresh) {
  if (t_snapshot_depth == 0) return fresh = read_ini(profile_path());
  if (t_snapshot == nullptr) t_snapshot = new IniFile(read_ini(profile_path()));
  return *t_snapshot;
}

size_t copy_value(const std::u16string& value, KOCHAR* out, size_t capacity) {
  const size_t count = value.size() < capacity ? value.size() : capacity - 1;
  value.copy(out, count);
  out[count] = 0;
  return count;
}

// Names one after another, each terminated, then one more terminator. When
// they do not fit, the last one is cut and two terminators end the buffer.
size_t copy_name_list(const std::vector<const std::u16string*>& names, KOCHAR* out,
                      size_t capacity) {
  out[0] = 0;
  if (capacity < 2) return 0;
  out[1] = 0;
  size_t used = 0;
  for (const std::u16string* name : names) {
    if (used + name->size() + 1 >= capacity) {
      const size_t room = capacity - 2 - used;
      name->copy(out + used, room);
      out[capacity - 2] = 0;
      out[capacity - 1] = 0;
      return capacity - 2;
    }
    name->copy(out + used, name->size());
    used += name->size();
    out[used++] = 0;
  }
  out[used] = 0;
  return used;
}

size_t ini_string(const IniFile& ini, const KOCHAR* section, const KOCHAR* key,
                  const KOCHAR* fallback, KOCHAR* out, size_t capacity) {
  std::vector<const std::u16string*> names;
  if (section == nullptr) {
    for (const IniFile::Section& each : ini.sections()) names.push_back(&each.name);
    return copy_name_list(names, out, capacity);
  }
  const IniFile::Section* found = ini.find_section(section);
  if (key == nullptr) {
    if (found != nullptr) {
      for (const IniFile::Entry& entry : found->entries) names.push_back(&entry.key);
    }
    return copy_name_list(names, out, capacity);
  }
  const IniFile::Entry* entry = found != nullptr ? IniFile::find_entry(*found, key) : nullptr;
  if (entry != nullptr) return copy_value(IniFile::unquote(entry->raw_value), out, capacity);
  std::u16string text = fallback != nullptr ? fallback : u"";
  while (!text.empty() && text.back() == u' ') text.pop_back();
  return copy_value(text, out, capacity);
}

int ini_int(const IniFile& ini, const KOCHAR* section, const KOCHAR* key, int fallback) {
  std::u16string value;
  if (section == nullptr || key == nullptr || !ini.get(section, key, &value) || value.empty()) {
    return fallback;
  }
  return u16_to_i32(value.c_str(), nullptr, 10);
}

}  // namespace

size_t profile_string(const KOCHAR* section, const KOCHAR* key, const KOCHAR* fallback, KOCHAR* out,
                      size_t capacity) {
  if (out == nullptr || capacity == 0) return 0;
  try {
    IniFile fresh;
    return ini_string(profile_ini(fresh), section, key, fallback, out, capacity);
  } catch (...) {
    out[0] = 0;
    return 0;
  }
}

int profile_int(const KOCHAR* section, const KOCHAR* key, int fallback) {
  try {
    IniFile fresh;
    return ini_int(profile_ini(fresh), section, key, fallback);
  } catch (...) {
    return fallback;
  }
}

ProfileSnapshot::ProfileSnapshot() { ++t_snapshot_depth; }

ProfileSnapshot::~ProfileSnapshot() {
  if (--t_snapshot_depth == 0) {
    delete t_snapshot;
    t_snapshot = nullptr;
  }
}

int private_profile_int(const KOCHAR* section, const KOCHAR* key, int fallback,
                        const KOCHAR* file) {
  try {
    const std::string folder = folder_of(native_executable_path());
    std::string path = file != nullptr ? to_utf8(file) : std::string("ko.ini");
    if (path.find('/') == std::string::npos) path = folder + path;
    return ini_int(read_ini(path), section, key, fallback);
  } catch (...) {
    return fallback;
  }
}

}  // namespace ko::os

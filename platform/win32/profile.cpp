/*
 * profile.cpp: the user's profile (win.ini) and the private profile ko.ini
 * beside the executable, through the Windows profile functions.
 */
#include "platform/platform.h"
#include "platform/utf16.h"
#include "platform/win32/win32_support.h"

namespace ko::os {

size_t profile_string(const KOCHAR* section, const KOCHAR* key, const KOCHAR* fallback, KOCHAR* out,
                      size_t capacity) {
  if (out == nullptr || capacity == 0) return 0;
  return GetProfileStringW(wide(section), wide(key), fallback != nullptr ? wide(fallback) : L"",
                           wide(out), api_size(capacity));
}

// Windows serves the profile from memory: a snapshot has nothing to share.
ProfileSnapshot::ProfileSnapshot() {}
ProfileSnapshot::~ProfileSnapshot() {}

int profile_int(const KOCHAR* section, const KOCHAR* key, int fallback) {
  return static_cast<int>(GetProfileIntW(wide(section), wide(key), fallback));
}

int private_profile_int(const KOCHAR* section, const KOCHAR* key, int fallback,
                        const KOCHAR* file) {
  KOCHAR path[MAX_PATH + 16];
  if (file == nullptr) {
    executable_path(path, MAX_PATH);
    KOCHAR* slash = const_cast<KOCHAR*>(u16rchr(path, u'\\'));
    u16lcpy(slash != nullptr ? slash + 1 : path, u"ko.ini", 8);
    file = path;
  }
  return static_cast<int>(GetPrivateProfileIntW(wide(section), wide(key), fallback, wide(file)));
}

}  // namespace ko::os

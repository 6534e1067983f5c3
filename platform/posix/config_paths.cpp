/*
 * config_paths.cpp: the executable's path and folder, the user's configuration folder.
 */
#include "platform/posix/config_paths.h"

#include <unistd.h>

#include <climits>
#include <cstdlib>

namespace ko::os {

std::string native_executable_path() {
  char buffer[PATH_MAX];
  const ssize_t n = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  return n > 0 ? std::string(buffer, static_cast<size_t>(n)) : std::string();
}

std::string folder_of(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string config_file_path(const char* file) {
  std::string folder;
  const char* xdg = std::getenv("XDG_CONFIG_HOME");
  if (xdg != nullptr && xdg[0] == '/') {
    folder = xdg;
  } else {
    const char* home = std::getenv("HOME");
    folder = std::string(home != nullptr ? home : "") + "/.config";
  }
  return folder + "/korvane/" + file;
}

}  // namespace ko::os

/*
 * config_paths.h: where the posix backend finds its files: the executable's folder and
 * the user's configuration folder.
 */
#ifndef KOSHR_PLATFORM_POSIX_CONFIG_PATHS_H
#define KOSHR_PLATFORM_POSIX_CONFIG_PATHS_H

#include <string>

namespace ko::os {

// The running executable's path (from /proc/self/exe); empty when unknown.
std::string native_executable_path();
// The folder part of a path, with its trailing slash; empty when none.
std::string folder_of(const std::string& path);

// $XDG_CONFIG_HOME/korvane/<file>, else ~/.config/korvane/<file>.
std::string config_file_path(const char* file);

}  // namespace ko::os

#endif

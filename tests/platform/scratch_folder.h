// A scratch folder per test process, and environment settings for tests.
#ifndef KOSHR_TESTS_PLATFORM_SCRATCH_FOLDER_H
#define KOSHR_TESTS_PLATFORM_SCRATCH_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "platform/platform.h"

namespace ko_test {

inline std::filesystem::path scratch_folder() {
  static const std::filesystem::path folder = [] {
    auto path = std::filesystem::temp_directory_path() /
                ("koshr_platform_test_" + std::to_string(ko::os::process_id()));
    std::filesystem::create_directories(path);
    return path;
  }();
  return folder;
}

inline std::u16string scratch_file(const std::string& name) {
  return (scratch_folder() / name).u16string();
}

inline void write_text_file(const std::filesystem::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

inline void set_env(const char* name, const std::string& value) {
#ifdef _WIN32
  _putenv_s(name, value.c_str());
#else
  setenv(name, value.c_str(), 1);
#endif
}

}  // namespace ko_test

#endif

// scratch_folder.h: a folder of its own for a test's files, gone with
// everything in it when the test is done, and whole-file reads and writes.
#ifndef KOSHR_TESTS_COMMON_SCRATCH_FOLDER_H
#define KOSHR_TESTS_COMMON_SCRATCH_FOLDER_H

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <system_error>

namespace ko_test {

class ScratchFolder {
 public:
  // A new empty folder in the temporary folder, named after `purpose`.
  explicit ScratchFolder(const std::string& purpose) {
    std::random_device seed;
    path_ = std::filesystem::temp_directory_path() /
            ("koshr_" + purpose + "_" + std::to_string(seed()) + "_" + std::to_string(seed()));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  std::filesystem::path file(const std::string& name) const { return path_ / name; }

 private:
  std::filesystem::path path_;
};

// One folder for the whole test program, for files that outlive a test.
inline const ScratchFolder& process_scratch_folder() {
  static const ScratchFolder folder("test");
  return folder;
}

inline std::string read_bytes(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void write_bytes(const std::filesystem::path& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

}  // namespace ko_test

#endif

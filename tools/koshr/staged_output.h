/*
 * staged_output.h: where an export writes before its target exists.
 *
 * The file is written in a fresh folder beside the target, under the
 * target's own name (exporters derive table and element names from it), and
 * only commit() moves it over the target. Whatever stops the export first,
 * a failure, an exception or SIGINT/SIGTERM, removes the folder and the
 * partial file; the target is never touched. One staged output exists at a
 * time in the process (the tool runs one export).
 */
#ifndef KOSHR_TOOL_STAGED_OUTPUT_H
#define KOSHR_TOOL_STAGED_OUTPUT_H

#include <csignal>
#include <filesystem>
#include <string>

namespace koshr_tool {

class StagedOutput {
 public:
  StagedOutput() = default;
  StagedOutput(const StagedOutput&) = delete;
  StagedOutput& operator=(const StagedOutput&) = delete;
  ~StagedOutput();

  // Makes the folder beside `target` and arms the signal cleanup; false
  // with `why` when the folder cannot be made.
  bool open(const std::string& target, std::string& why);
  // The folder, and the file's name inside it.
  const std::filesystem::path& folder() const { return folder_; }
  std::filesystem::path file_name() const { return target_.filename(); }
  // Moves the written file over the target; false with `why`.
  bool commit(std::string& why);

 private:
  static constexpr int kSignals[] = {SIGINT, SIGTERM};
  static constexpr size_t kSignalCount = sizeof kSignals / sizeof kSignals[0];
  // Gives the signals back their earlier handlers.
  void disarm();

  std::filesystem::path target_;
  std::filesystem::path folder_;
  bool armed_ = false;
  void (*previous_[kSignalCount])(int) = {};
};

}  // namespace koshr_tool

#endif

/*
 * staged_output.cpp: the staging folder of an export and its removal on
 * SIGINT and SIGTERM (see staged_output.h).
 *
 * The handler may only make async-signal-safe calls, so the two paths it
 * removes are kept ready as plain character arrays; it then lets the signal
 * end the process as it would have without the handler.
 */
#include "staged_output.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <random>

#ifdef _WIN32
#include <direct.h>
#else
#include <unistd.h>
#endif

namespace koshr_tool {
namespace {

namespace fs = std::filesystem;

constexpr size_t kPathMax = 4096;
char g_staged_file[kPathMax];
char g_staged_folder[kPathMax];

extern "C" void remove_staged_and_reraise(int signal_number) {
#ifdef _WIN32
  std::remove(g_staged_file);
  _rmdir(g_staged_folder);
#else
  unlink(g_staged_file);
  rmdir(g_staged_folder);
#endif
  std::signal(signal_number, SIG_DFL);
  std::raise(signal_number);
}

bool copy_path(const fs::path& path, char* out) {
  std::string text = path.string();
  if (text.size() >= kPathMax) return false;
  std::memcpy(out, text.c_str(), text.size() + 1);
  return true;
}

}  // namespace

bool StagedOutput::open(const std::string& target, std::string& why) {
  target_ = fs::absolute(target);
  std::random_device seed;
  fs::path folder = target_.parent_path() / (".koshr-export-" + std::to_string(seed()));
  // The handler is armed before the folder exists, so no moment is left in
  // which a signal would end the process with the folder in place.
  if (copy_path(folder / target_.filename(), g_staged_file) && copy_path(folder, g_staged_folder)) {
    for (size_t i = 0; i < kSignalCount; ++i) {
      previous_[i] = std::signal(kSignals[i], remove_staged_and_reraise);
      // A signal the caller chose to ignore (a background job's SIGINT) stays ignored.
      if (previous_[i] == SIG_IGN) std::signal(kSignals[i], SIG_IGN);
    }
    armed_ = true;
  }
  std::error_code error;
  if (!fs::create_directory(folder, error)) {
    disarm();
    why = "cannot create a file there (" + error.message() + ")";
    return false;
  }
  folder_ = folder;
  return true;
}

void StagedOutput::disarm() {
  for (size_t i = 0; armed_ && i < kSignalCount; ++i) std::signal(kSignals[i], previous_[i]);
  armed_ = false;
  g_staged_file[0] = g_staged_folder[0] = 0;
}

bool StagedOutput::commit(std::string& why) {
  std::error_code error;
  fs::rename(folder_ / target_.filename(), target_, error);
  if (!error) return true;
  why = "cannot move the file into place (" + error.message() + ")";
  return false;
}

StagedOutput::~StagedOutput() {
  if (folder_.empty()) return;
  disarm();
  std::error_code error;
  fs::remove_all(folder_, error);
}

}  // namespace koshr_tool

/*
 * cmd_demo.cpp: `koshr demo`, a short tour of the library's main jobs. Each
 * family adds its own stop (KOSHR_DEMO_STOP); the tour runs them in order in
 * a fresh folder of its own, which it names and leaves behind so that every
 * command shown can be run again there.
 */
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <system_error>

#include "command.h"

namespace koshr_tool {
namespace {

const char kUsage[] =
    "usage: koshr demo\n"
    "\n"
    "A guided tour of the library's main jobs on bundled sample data. It works in a\n"
    "new folder under the system's temporary folder, says which, and leaves it\n"
    "there: every command the tour shows can be run again as shown.\n";

// A folder no one else has: created anew, never reused.
bool make_fresh_folder(std::filesystem::path* folder, std::string* why) {
  std::random_device seed;
  std::error_code error;
  std::filesystem::path base = std::filesystem::temp_directory_path(error);
  if (error) {
    *why = error.message();
    return false;
  }
  for (int attempt = 0; attempt < 100; ++attempt) {
    char name[32];
    std::snprintf(name, sizeof name, "koshr-demo-%08x", unsigned(seed()));
    *folder = base / name;
    if (std::filesystem::create_directory(*folder, error)) return true;
    if (error) break;
  }
  *why = error ? error.message() : "no unused name";
  return false;
}

int run_demo(const Arguments& args) {
  if (int status = check_operands(args, 0, 0, "")) return status;
  std::filesystem::path folder;
  std::string why;
  if (!make_fresh_folder(&folder, &why)) return fail("demo: cannot create its folder", why);
  std::printf("The tour works in %s and leaves it there for you to try.\n",
              folder.string().c_str());
  auto stops = demo_stops();
  std::stable_sort(stops.begin(), stops.end(),
                   [](const auto* a, const auto* b) { return a->order < b->order; });
  int failures = 0;
  int number = 0;
  for (const auto* stop : stops) {
    std::printf("\n== %d. %s\n\n", ++number, stop->title);
    std::fflush(stdout);
    if (stop->run(folder.string()) != 0) {
      ++failures;
      std::fprintf(stderr, "koshr: demo: stop '%s' failed\n", stop->title);
    }
    std::fflush(stdout);
  }
  std::printf("\n%d stop%s, %d failed. The files are in %s\n", number, number == 1 ? "" : "s",
              failures, folder.string().c_str());
  return failures ? 1 : 0;
}

const Command kDemo{"demo", "a tour of the library's main jobs", kUsage, &run_demo, {}};
KOSHR_COMMAND(kDemo);

}  // namespace
}  // namespace koshr_tool

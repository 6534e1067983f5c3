/*
 * cmd_demo.cpp: `koshr demo`, a short tour of the library's main jobs. Each
 * family adds its own stop (KOSHR_DEMO_STOP); the tour runs them in order.
 */
#include <algorithm>
#include <cstdio>

#include "command.h"

namespace {

const char kUsage[] = "usage: koshr demo\n\nA guided tour of the library's main jobs on bundled sample data.\n";

int run_demo(int, char**) {
  auto stops = koshr_tool::demo_stops();
  std::stable_sort(stops.begin(), stops.end(),
                   [](const auto* a, const auto* b) { return a->order < b->order; });
  int failures = 0;
  int number = 0;
  for (const auto* stop : stops) {
    std::printf("\n== %d. %s\n\n", ++number, stop->title);
    std::fflush(stdout);
    if (stop->run() != 0) {
      ++failures;
      std::fprintf(stderr, "koshr: demo: stop '%s' failed\n", stop->title);
    }
  }
  std::printf("\n%d stop%s, %d failed.\n", number, number == 1 ? "" : "s", failures);
  return failures ? 1 : 0;
}

const koshr_tool::Command kDemo{"demo", "a tour of the library's main jobs", kUsage, &run_demo};
KOSHR_COMMAND(kDemo);

}  // namespace

/*
 * main.cpp: the koshr command-line tool's entry point: --help, --version and
 * dispatch to the registered subcommands, whose --help it answers.
 */
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "command.h"
#include <koshr/host.h>

namespace koshr_tool {

std::vector<const Command*>& commands() {
  static std::vector<const Command*> list;
  return list;
}

std::vector<const DemoStop*>& demo_stops() {
  static std::vector<const DemoStop*> list;
  return list;
}

int fail(const std::string& what, const std::string& why) {
  std::fprintf(stderr, "koshr: %s: %s\n", what.c_str(), why.c_str());
  return 1;
}

}  // namespace koshr_tool

namespace {

bool is_help(const char* arg) {
  return std::strcmp(arg, "-h") == 0 || std::strcmp(arg, "--help") == 0;
}

void print_usage(FILE* out) {
  auto list = koshr_tool::commands();
  std::sort(list.begin(), list.end(),
            [](const auto* a, const auto* b) { return std::strcmp(a->name, b->name) < 0; });
  std::fprintf(out,
               "usage: koshr <command> [arguments]\n"
               "\n"
               "The KOSHR support library's main jobs from the command line.\n"
               "\n"
               "commands:\n");
  for (const auto* command : list) std::fprintf(out, "  %-10s %s\n", command->name, command->summary);
  std::fprintf(out,
               "\n"
               "  --help     this text; 'koshr <command> --help' tells about one command\n"
               "  --version  the library's version\n");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    print_usage(stderr);
    return 2;
  }
  if (is_help(argv[1])) {
    print_usage(stdout);
    return 0;
  }
  if (std::strcmp(argv[1], "--version") == 0) {
    std::printf("koshr %s\n", koshr_version());
    return 0;
  }
  for (const auto* command : koshr_tool::commands()) {
    if (std::strcmp(command->name, argv[1]) != 0) continue;
    if (std::any_of(argv + 2, argv + argc, is_help)) {
      std::fputs(command->usage, stdout);
      return 0;
    }
    return command->run(argc - 1, argv + 1);
  }
  std::fprintf(stderr, "koshr: %s: unknown command (see 'koshr --help')\n", argv[1]);
  return 2;
}

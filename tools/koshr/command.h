/*
 * command.h: how the koshr tool finds its subcommands and demo stops.
 *
 * Each subcommand lives in its own source and registers itself with one line:
 *
 *   static const koshr_tool::Command kLib{"lib", "read and write library files", kUsage, &run_lib};
 *   KOSHR_COMMAND(kLib);
 *
 * main.cpp answers `koshr <command> --help` (or -h anywhere in its arguments)
 * with the command's usage text; the command itself never sees those.
 *
 * and a demo stop the same way with KOSHR_DEMO_STOP(order, title, function).
 * main.cpp knows none of them by name.
 */
#ifndef KOSHR_TOOL_COMMAND_H
#define KOSHR_TOOL_COMMAND_H

#include <string>
#include <vector>

namespace koshr_tool {

// A subcommand gets its own arguments (argv[0] is the subcommand's name) and
// returns the process exit status.
using CommandFunction = int (*)(int argc, char** argv);

struct Command {
  const char* name;
  const char* summary;
  const char* usage;  // the full usage text, starting "usage: koshr <name>"
  CommandFunction run;
};

struct DemoStop {
  int order;
  const char* title;
  int (*run)();  // prints its part of the tour; non-zero on failure
};

std::vector<const Command*>& commands();
std::vector<const DemoStop*>& demo_stops();

struct CommandRegistrar {
  explicit CommandRegistrar(const Command& command) { commands().push_back(&command); }
};
struct DemoStopRegistrar {
  explicit DemoStopRegistrar(const DemoStop& stop) { demo_stops().push_back(&stop); }
};

// Reports a failure the tool's way ("koshr: <what>: <why>") and returns 1.
int fail(const std::string& what, const std::string& why);

}  // namespace koshr_tool

#define KOSHR_TOOL_CONCAT2(a, b) a##b
#define KOSHR_TOOL_CONCAT(a, b) KOSHR_TOOL_CONCAT2(a, b)
#define KOSHR_COMMAND(command) \
  static ::koshr_tool::CommandRegistrar KOSHR_TOOL_CONCAT(command_registrar_, __LINE__)(command)
#define KOSHR_DEMO_STOP(order, title, function)                                              \
  static const ::koshr_tool::DemoStop KOSHR_TOOL_CONCAT(demo_stop_, __LINE__){order, title, \
                                                                              function};    \
  static ::koshr_tool::DemoStopRegistrar KOSHR_TOOL_CONCAT(demo_stop_registrar_, __LINE__)( \
      KOSHR_TOOL_CONCAT(demo_stop_, __LINE__))

#endif

/*
 * command.h: how the koshr tool finds its subcommands and demo stops.
 *
 * Each subcommand lives in its own source and registers itself with one line:
 *
 *   static const koshr_tool::Command kLib{"lib", "read and write library files", kUsage,
 *                                         &run_lib, {{{"--comment", "TEXT"}}, {{"new"}, ...}}};
 *   KOSHR_COMMAND(kLib);
 *
 * The dispatcher parses the command line by the command's Syntax before the
 * command runs: unknown options, missing values and unknown subcommands are
 * usage errors (exit 2) and --help prints the usage text; the command sees
 * only a well-formed Arguments. The same declarations give `koshr help`, the
 * man page and the bash completion, so a new command needs nothing else.
 *
 * A demo stop registers the same way with KOSHR_DEMO_STOP(order, title,
 * function). main.cpp knows none of them by name.
 *
 * The conventions every command keeps: usage errors exit 2 with one line
 * "koshr: <command>: <problem>" and the usage lines (usage_error); failures
 * exit 1 with "koshr: <what>: <why>", the why being the system's reason
 * wherever there is one (fail).
 */
#ifndef KOSHR_TOOL_COMMAND_H
#define KOSHR_TOOL_COMMAND_H

#include <string>
#include <vector>

#include "cli.h"

namespace koshr_tool {

// A subcommand gets its parsed command line and returns the exit status.
using CommandFunction = int (*)(const Arguments& args);

struct Command {
  const char* name;
  const char* summary;
  const char* usage;  // the full usage text, starting "usage: koshr <name>"
  CommandFunction run;
  Syntax syntax;
};

struct DemoStop {
  int order;
  const char* title;
  // Prints its part of the tour, working in the tour's own folder (which it
  // leaves for the user to try the commands shown); non-zero on failure.
  int (*run)(const std::string& folder);
};

std::vector<const Command*>& commands();
std::vector<const DemoStop*>& demo_stops();

// The registered commands sorted by name.
std::vector<const Command*> sorted_commands();
// The command called `name`, or null.
const Command* find_command(const std::string& name);

struct CommandRegistrar {
  explicit CommandRegistrar(const Command& command) { commands().push_back(&command); }
};
struct DemoStopRegistrar {
  explicit DemoStopRegistrar(const DemoStop& stop) { demo_stops().push_back(&stop); }
};

// What a whole command line asks for, found without running anything.
struct Invocation {
  enum Kind { kRun, kHelp, kVersion, kUsageError } kind = kUsageError;
  const Command* command = nullptr;  // null for the tool's own usage
  Arguments args;
  std::string why;  // the problem, for kUsageError
};

// Reads argv[1..]: the command, then its arguments by its Syntax.
Invocation resolve_command_line(const std::vector<std::string>& args);

// Runs what resolve_command_line found and returns the exit status.
int dispatch(const Invocation& invocation);

// Reports a failure the tool's way ("koshr: <what>: <why>") and returns 1.
int fail(const std::string& what, const std::string& why);

// Reports a misuse ("koshr: <command>: <why>" and the usage lines) and returns 2.
int usage_error(const Arguments& args, const std::string& why);

// Checks the number of operands: a usage error ("expects <expects>" when
// fewer than `least`, "unexpected argument X" when more than `most`), else 0.
int check_operands(const Arguments& args, size_t least, size_t most, const std::string& expects);

// The tool's own usage text (its commands and global options).
std::string tool_usage();

enum class Access { kRead, kWrite, kCreate };
// The system's reason why `path` cannot be opened for reading, for writing or
// created anew (e.g. "No such file or directory"); "" when it can.
std::string open_problem(const std::string& path, Access access);

// Runs a command as if typed after "koshr" (for the demo's replayable stops).
int run_command_line(const std::vector<std::string>& args);

}  // namespace koshr_tool

#define KOSHR_TOOL_CONCAT2(a, b) a##b
#define KOSHR_TOOL_CONCAT(a, b) KOSHR_TOOL_CONCAT2(a, b)
#define KOSHR_COMMAND(command) \
  static ::koshr_tool::CommandRegistrar KOSHR_TOOL_CONCAT(command_registrar_, __LINE__)(command)
#define KOSHR_DEMO_STOP(order, title, function)                                             \
  static const ::koshr_tool::DemoStop KOSHR_TOOL_CONCAT(demo_stop_, __LINE__){order, title, \
                                                                              function};    \
  static ::koshr_tool::DemoStopRegistrar KOSHR_TOOL_CONCAT(                                 \
      demo_stop_registrar_, __LINE__)(KOSHR_TOOL_CONCAT(demo_stop_, __LINE__))

#endif

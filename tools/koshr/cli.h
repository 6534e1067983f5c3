/*
 * cli.h: what every koshr subcommand does with its command line: options
 * and positionals apart, misuse reported with the usage text, a whole input
 * read from a file or stdin, bytes written to stdout unchanged, and whether
 * stderr is a terminal.
 */
#ifndef KOSHR_TOOL_CLI_H
#define KOSHR_TOOL_CLI_H

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace koshr_tool {

// One option a subcommand takes: a flag when `value` is null, else it takes
// the next argument into *value. *given (when not null) is set when it appears.
// An option that may come again collects its values in *values instead.
struct Option {
  const char* name;
  std::string* value;
  bool* given;
  std::vector<std::string>* values = nullptr;
};

// Splits argv[1..] into the options named and the positionals. With
// `strict`, any other argument starting with '-' (but "-" itself) is a
// mistake; without it, such arguments are positionals (negative numbers).
// False with `why` ("--as needs a value", "unknown option -x") on a mistake.
bool parse_arguments(int argc, char** argv, std::initializer_list<Option> options, bool strict,
                     std::vector<std::string>* positional, std::string* why);

// Prints `usage` on stderr and returns 2, the status of a misused command.
int misuse(const char* usage);

// The whole of a file, or of stdin for "" or "-", as bytes; false when it
// cannot be read.
bool read_input(const std::string& path, std::string* out);

// Writes bytes to stdout as they are (no newline translation on Windows).
void write_stdout(std::string_view bytes);

// True when stderr is a terminal (progress shown there only then).
bool stderr_is_terminal();

}  // namespace koshr_tool

#endif

/*
 * cli.h: the koshr tool's one command-line parser, and the plumbing every
 * subcommand shares: a whole input read from a file or stdin, bytes written
 * to stdout unchanged, and whether stderr is a terminal.
 *
 * The parser knows nothing of the commands themselves: it reads a Syntax (the
 * options and subcommands a command declares) so that the dispatcher, the
 * help texts, the man page, the bash completion and the fuzz target all read
 * the same declarations.
 */
#ifndef KOSHR_TOOL_CLI_H
#define KOSHR_TOOL_CLI_H

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace koshr_tool {

// An option: a flag when `value` is null, else it takes a value, named `value`
// in help texts ("--as FORMAT" or "--as=FORMAT").
struct OptionSyntax {
  const char* name;
  const char* value;
};

// A subcommand word and the options it takes besides its command's own.
struct SubcommandSyntax {
  const char* name;
  std::vector<OptionSyntax> options;
};

// What a command accepts: options anywhere before "--", and, when it has
// subcommands, one of them as its first operand.
struct Syntax {
  std::vector<OptionSyntax> options;
  std::vector<SubcommandSyntax> subcommands;
};

// A parsed command line.
class Arguments {
 public:
  std::string command;     // the command's words, e.g. "lib new", for messages
  const char* usage = "";  // the command's usage text
  std::string subcommand;  // empty for a command without subcommands
  std::vector<std::string> operands;
  bool help = false;  // -h or --help was given

  bool has(std::string_view option) const;
  // The option's value, or "" when it was not given.
  const std::string& value(std::string_view option) const;
  // Every value of an option that may come more than once, in order.
  std::vector<std::string> values(std::string_view option) const;
  void set(std::string option, std::string value);

 private:
  std::vector<std::pair<std::string, std::string>> given_;
};

// Splits `args` (what follows the command's name) by `syntax`: "--" ends the
// options; "-" and negative numbers ("-5", "-.5") are operands; a value comes
// in the next argument or after '='. False with `why` ("unknown option -x",
// "--as needs a value", "unknown subcommand 'x'") on a mistake.
bool parse_command_line(const Syntax& syntax, const std::vector<std::string>& args, Arguments* out,
                        std::string* why);

// The usage lines that open a usage text (up to its first empty line).
std::string usage_head(const char* usage);

// The whole of a file, or of stdin for "" or "-", as bytes; false with the
// system's reason when it cannot be read.
bool read_input(const std::string& path, std::string* out, std::string* why = nullptr);

// Writes bytes to stdout as they are (no newline translation on Windows).
void write_stdout(std::string_view bytes);

// True when stderr is a terminal (progress shown there only then).
bool stderr_is_terminal();

}  // namespace koshr_tool

#endif

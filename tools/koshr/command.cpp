/*
 * command.cpp: the command registry and the dispatcher: a command line
 * resolved to a command and its parsed arguments, help and usage errors
 * answered the same way for every command (see command.h).
 */
#include "command.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include <koshr/host.h>

#include "utf.h"

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

namespace koshr_tool {

std::vector<const Command*>& commands() {
  static std::vector<const Command*> list;
  return list;
}

std::vector<const DemoStop*>& demo_stops() {
  static std::vector<const DemoStop*> list;
  return list;
}

std::vector<const Command*> sorted_commands() {
  auto list = commands();
  std::sort(list.begin(), list.end(),
            [](const auto* a, const auto* b) { return std::strcmp(a->name, b->name) < 0; });
  return list;
}

const Command* find_command(const std::string& name) {
  for (const Command* command : commands()) {
    if (name == command->name) return command;
  }
  return nullptr;
}

std::string tool_usage() {
  std::string text =
      "usage: koshr <command> [arguments]\n"
      "       koshr help [COMMAND [SUBCOMMAND]]\n"
      "\n"
      "The KOSHR support library's main jobs from the command line.\n"
      "\n"
      "commands:\n";
  for (const Command* command : sorted_commands()) {
    char line[160];
    std::snprintf(line, sizeof line, "  %-10s %s\n", command->name, command->summary);
    text += line;
  }
  text +=
      "\n"
      "  -h, --help  this text; 'koshr help COMMAND' or 'koshr COMMAND --help' tells\n"
      "              about one command\n"
      "  --version   the library's version\n"
      "\n"
      "A misused command exits with status 2, a failed one with status 1.\n";
  return text;
}

Invocation resolve_command_line(const std::vector<std::string>& args) {
  Invocation out;
  std::vector<std::string> rest = args;
  if (!rest.empty() && (rest[0] == "-h" || rest[0] == "--help")) rest[0] = "help";
  if (rest.empty()) {
    out.why = "missing command";
    return out;
  }
  if (rest[0] == "--version") {
    if (rest.size() > 1) {
      out.why = "--version takes no arguments";
      return out;
    }
    out.kind = Invocation::kVersion;
    return out;
  }
  out.command = find_command(rest[0]);
  if (out.command == nullptr) {
    out.why = (rest[0].size() > 1 && rest[0][0] == '-' ? "unknown option " : "unknown command ") +
              rest[0];
    return out;
  }
  out.args.command = out.command->name;
  out.args.usage = out.command->usage;
  rest.erase(rest.begin());
  bool parsed = parse_command_line(out.command->syntax, rest, &out.args, &out.why);
  if (!out.args.subcommand.empty()) out.args.command += " " + out.args.subcommand;
  if (!parsed) return out;
  out.kind = out.args.help ? Invocation::kHelp : Invocation::kRun;
  return out;
}

int dispatch(const Invocation& invocation) {
  switch (invocation.kind) {
    case Invocation::kRun:
      return invocation.command->run(invocation.args);
    case Invocation::kHelp:
      std::fputs(invocation.command->usage, stdout);
      return 0;
    case Invocation::kVersion:
      std::printf("koshr %s\n", koshr_version());
      return 0;
    case Invocation::kUsageError:
      break;
  }
  if (invocation.command != nullptr) return usage_error(invocation.args, invocation.why);
  std::fprintf(stderr, "koshr: %s\n%s", invocation.why.c_str(),
               usage_head(tool_usage().c_str()).c_str());
  return 2;
}

int run_command_line(const std::vector<std::string>& args) {
  return dispatch(resolve_command_line(args));
}

int fail(const std::string& what, const std::string& why) {
  std::fprintf(stderr, "koshr: %s: %s\n", what.c_str(), why.c_str());
  return 1;
}

int usage_error(const Arguments& args, const std::string& why) {
  std::fprintf(stderr, "koshr: %s: %s\n%s", args.command.c_str(), why.c_str(),
               usage_head(args.usage).c_str());
  return 2;
}

int check_operands(const Arguments& args, size_t least, size_t most, const std::string& expects) {
  if (args.operands.size() < least) return usage_error(args, "expects " + expects);
  if (args.operands.size() > most)
    return usage_error(args, "unexpected argument " + args.operands[most]);
  return 0;
}

std::string open_problem(const std::string& path, Access access) {
  std::error_code error;
  std::filesystem::path file(utf8_to_utf16(path));
  if (access != Access::kCreate && std::filesystem::is_directory(file, error)) {
    return std::strerror(EISDIR);
  }
  int flags = access == Access::kRead    ? O_RDONLY
              : access == Access::kWrite ? O_RDWR
                                         : O_RDWR | O_CREAT | O_EXCL;
#ifdef _WIN32
  int fd =
      _wopen(reinterpret_cast<const wchar_t*>(file.u16string().c_str()), flags | O_BINARY, 0666);
#else
  int fd = open(path.c_str(), flags, 0666);
#endif
  if (fd < 0) return std::strerror(errno);
#ifdef _WIN32
  _close(fd);
#else
  close(fd);
#endif
  if (access == Access::kCreate) std::filesystem::remove(file, error);
  return "";
}

}  // namespace koshr_tool

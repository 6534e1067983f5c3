/*
 * cli.cpp: the tool's command-line parser and shared plumbing (see cli.h).
 */
#include "cli.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace koshr_tool {

bool Arguments::has(std::string_view option) const {
  for (const auto& given : given_) {
    if (given.first == option) return true;
  }
  return false;
}

const std::string& Arguments::value(std::string_view option) const {
  static const std::string kNone;
  for (auto it = given_.rbegin(); it != given_.rend(); ++it) {
    if (it->first == option) return it->second;
  }
  return kNone;
}

std::vector<std::string> Arguments::values(std::string_view option) const {
  std::vector<std::string> out;
  for (const auto& given : given_) {
    if (given.first == option) out.push_back(given.second);
  }
  return out;
}

void Arguments::set(std::string option, std::string value) {
  given_.emplace_back(std::move(option), std::move(value));
}

namespace {

bool is_number(std::string_view arg) {
  size_t digit = arg.size() > 1 && arg[1] == '.' ? 2 : 1;
  return arg.size() > digit && arg[0] == '-' && arg[digit] >= '0' && arg[digit] <= '9';
}

const OptionSyntax* find_option(const std::vector<OptionSyntax>& options, std::string_view name) {
  for (const OptionSyntax& option : options) {
    if (name == option.name) return &option;
  }
  return nullptr;
}

}  // namespace

bool parse_command_line(const Syntax& syntax, const std::vector<std::string>& args, Arguments* out,
                        std::string* why) {
  // Options are looked up once the subcommand is known: a subcommand's own
  // options may come before it, so they are checked after the split.
  struct Pending {
    std::string name;
    std::string value;
  };
  std::vector<Pending> options;
  bool operands_only = false;
  // A mistake in the options is reported once the subcommand is known, so the
  // message can name it.
  std::string mistake;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& arg = args[i];
    if (operands_only || arg.size() < 2 || arg[0] != '-' || is_number(arg)) {
      out->operands.push_back(arg);
      continue;
    }
    if (arg == "--") {
      operands_only = true;
      continue;
    }
    if (arg == "-h" || arg == "--help") {
      out->help = true;
      continue;
    }
    size_t equals = arg.rfind("--", 0) == 0 ? arg.find('=') : std::string::npos;
    std::string name = arg.substr(0, equals);
    // Whether the option takes a value is known from any declaration of it.
    const OptionSyntax* declared = find_option(syntax.options, name);
    for (const SubcommandSyntax& sub : syntax.subcommands) {
      if (declared == nullptr) declared = find_option(sub.options, name);
    }
    if (declared == nullptr) {
      if (mistake.empty()) mistake = "unknown option " + name;
    } else if (declared->value == nullptr) {
      if (equals != std::string::npos && mistake.empty()) mistake = name + " takes no value";
      options.push_back({name, ""});
    } else if (equals != std::string::npos) {
      options.push_back({name, arg.substr(equals + 1)});
    } else if (i + 1 < args.size()) {
      options.push_back({name, args[++i]});
    } else if (mistake.empty()) {
      mistake = name + " needs a value";
    }
  }
  const SubcommandSyntax* sub = nullptr;
  if (!syntax.subcommands.empty()) {
    if (out->operands.empty()) {
      if (mistake.empty() && out->help) return true;
      *why = mistake.empty() ? "missing subcommand" : mistake;
      return false;
    }
    for (const SubcommandSyntax& known : syntax.subcommands) {
      if (out->operands.front() == known.name) sub = &known;
    }
    if (sub == nullptr) {
      *why = "unknown subcommand '" + out->operands.front() + "'";
      return false;
    }
    out->subcommand = sub->name;
    out->operands.erase(out->operands.begin());
  }
  if (!mistake.empty()) {
    *why = mistake;
    return false;
  }
  for (Pending& option : options) {
    if (find_option(syntax.options, option.name) == nullptr &&
        (sub == nullptr || find_option(sub->options, option.name) == nullptr)) {
      *why = "unknown option " + option.name;
      return false;
    }
    out->set(std::move(option.name), std::move(option.value));
  }
  return true;
}

std::string usage_head(const char* usage) {
  std::string_view text = usage;
  size_t end = text.find("\n\n");
  return std::string(text.substr(0, end == std::string_view::npos ? text.size() : end + 1));
}

bool read_input(const std::string& path, std::string* out, std::string* why) {
  errno = 0;
  if (path.empty() || path == "-") {
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    char chunk[65536];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, stdin)) > 0) out->append(chunk, got);
    if (std::ferror(stdin) && why) *why = std::strerror(errno ? errno : EIO);
    return !std::ferror(stdin);
  }
  std::error_code error;
  std::filesystem::path file(path);
  if (std::filesystem::is_directory(file, error)) {
    if (why) *why = std::strerror(EISDIR);
    return false;
  }
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    if (why) *why = std::strerror(errno ? errno : ENOENT);
    return false;
  }
  out->assign(std::istreambuf_iterator<char>(in), {});
  return true;
}

void write_stdout(std::string_view bytes) {
  std::fflush(stdout);
#ifdef _WIN32
  int previous = _setmode(_fileno(stdout), _O_BINARY);
#endif
  std::fwrite(bytes.data(), 1, bytes.size(), stdout);
  std::fflush(stdout);
#ifdef _WIN32
  _setmode(_fileno(stdout), previous);
#endif
}

bool stderr_is_terminal() {
#ifdef _WIN32
  return _isatty(_fileno(stderr)) != 0;
#else
  return isatty(fileno(stderr)) != 0;
#endif
}

}  // namespace koshr_tool

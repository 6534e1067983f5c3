/*
 * cli.cpp: the subcommands' shared command-line plumbing (see cli.h).
 */
#include "cli.h"

#include <cstdio>
#include <fstream>
#include <iterator>

#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#else
#include <unistd.h>
#endif

namespace koshr_tool {

bool parse_arguments(int argc, char** argv, std::initializer_list<Option> options, bool strict,
                     std::vector<std::string>* positional, std::string* why) {
  for (int i = 1; i < argc; ++i) {
    std::string arg = argv[i];
    const Option* known = nullptr;
    for (const Option& option : options) {
      if (arg == option.name) known = &option;
    }
    if (known == nullptr) {
      if (strict && arg.size() > 1 && arg[0] == '-') {
        *why = "unknown option " + arg;
        return false;
      }
      positional->push_back(arg);
      continue;
    }
    if (known->value != nullptr || known->values != nullptr) {
      if (i + 1 >= argc) {
        *why = arg + " needs a value";
        return false;
      }
      ++i;
      if (known->value != nullptr) *known->value = argv[i];
      if (known->values != nullptr) known->values->push_back(argv[i]);
    }
    if (known->given != nullptr) *known->given = true;
  }
  return true;
}

int misuse(const char* usage) {
  std::fputs(usage, stderr);
  return 2;
}

bool read_input(const std::string& path, std::string* out) {
  if (path.empty() || path == "-") {
#ifdef _WIN32
    _setmode(_fileno(stdin), _O_BINARY);
#endif
    char chunk[65536];
    size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, stdin)) > 0) out->append(chunk, got);
    return !std::ferror(stdin);
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) return false;
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

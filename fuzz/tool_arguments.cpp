// Fuzz target: the koshr tool's command-line parser and dispatcher's choice,
// on argument lists cut from the input at NUL bytes. Nothing is run; every
// result must be a command to run, a help text or a usage error with its
// reason.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "command.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<std::string> args(1);
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      args.emplace_back();
    } else {
      args.back() += char(data[i]);
    }
  }
  koshr_tool::Invocation invocation = koshr_tool::resolve_command_line(args);
  switch (invocation.kind) {
    case koshr_tool::Invocation::kRun:
    case koshr_tool::Invocation::kHelp:
      if (invocation.command == nullptr && invocation.kind == koshr_tool::Invocation::kRun) abort();
      break;
    case koshr_tool::Invocation::kVersion:
      break;
    case koshr_tool::Invocation::kUsageError:
      if (invocation.why.empty()) abort();
      break;
  }
  return 0;
}

/*
 * cmd_driver.cpp: `koshr driver DBMS [DBPARM]`, the driver library that
 * serves a DBMS name.
 */
#include <cstdio>

#include <koshr/dbi.h>

#include "cli.h"
#include "command.h"
#include "utf.h"

namespace {

const char kUsage[] =
    "usage: koshr driver DBMS [DBPARM]\n"
    "\n"
    "Prints the file name of the driver library that serves DBMS (chosen by its\n"
    "first three characters; for INF the DBParm text decides between versions).\n";

int run_driver(const koshr_tool::Arguments& args) {
  const auto& operands = args.operands;
  if (int status = koshr_tool::check_operands(args, 1, 2, "DBMS")) return status;
  bool with_parameters = operands.size() == 2;
  std::u16string parameters =
      with_parameters ? koshr_tool::utf8_to_utf16(operands[1]) : std::u16string();
  KOCHAR name[DBI_NAME_LENGTH + 16];
  DBI_LibraryName(nullptr, nullptr, name, koshr_tool::utf8_to_utf16(operands[0]).c_str(),
                  with_parameters ? parameters.data() : nullptr);
  std::printf("%s\n", koshr_tool::utf16_to_utf8(name).c_str());
  return 0;
}

const koshr_tool::Command kDriver{
    "driver", "the driver library that serves a DBMS", kUsage, &run_driver, {}};
KOSHR_COMMAND(kDriver);

}  // namespace

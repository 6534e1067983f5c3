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

int run_driver(int argc, char** argv) {
  if (argc < 2 || argc > 3) return koshr_tool::misuse(kUsage);
  std::u16string parameters = argc == 3 ? koshr_tool::utf8_to_utf16(argv[2]) : std::u16string();
  KOCHAR name[DBI_NAME_LENGTH + 16];
  DBI_LibraryName(nullptr, nullptr, name, koshr_tool::utf8_to_utf16(argv[1]).c_str(),
                  argc == 3 ? parameters.data() : nullptr);
  std::printf("%s\n", koshr_tool::utf16_to_utf8(name).c_str());
  return 0;
}

const koshr_tool::Command kDriver{"driver", "the driver library that serves a DBMS", kUsage,
                                  &run_driver};
KOSHR_COMMAND(kDriver);

}  // namespace

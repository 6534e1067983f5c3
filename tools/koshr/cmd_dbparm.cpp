/*
 * cmd_dbparm.cpp: `koshr dbparm`, the connection-parameter (DBParm) parser
 * and editor in a person's hands.
 *
 *   koshr dbparm TEXT                         one line per record kept:
 *                                             name, text value, numeric value
 *   koshr dbparm --replace KEYWORD VALUE TEXT the text with KEYWORD set to VALUE
 */
#include <koshr/lists.h>

#include <cstdio>

#include "cli.h"
#include "command.h"
#include "scratch_connection.h"
#include "utf.h"

namespace {

const char kUsage[] =
    "usage: koshr dbparm TEXT\n"
    "       koshr dbparm --replace KEYWORD VALUE TEXT\n"
    "\n"
    "Parses a DBParm string and prints one line per record kept, tab-separated:\n"
    "the keyword, its quoted text value ('-' when none) and its numeric value.\n"
    "With --replace, prints TEXT with KEYWORD set to VALUE (give VALUE its quotes).\n";

void print_records(DbiContext* context) {
  shlistx* list = nullptr;
  DBI_ParseParms(context, &list);
  for (void* item = shlist_get_first(list); item != nullptr; item = shlist_get_next(list)) {
    const auto* parm = static_cast<const DbiParm*>(item);
    std::printf("%s\t%s\t%d\n", koshr_tool::utf16_to_utf8(parm->name).c_str(),
                parm->text != nullptr ? koshr_tool::utf16_to_utf8(parm->text).c_str() : "-",
                parm->number);
  }
  DBI_FreeParmList(context, &list);
}

int run_dbparm(const koshr_tool::Arguments& args) {
  const auto& operands = args.operands;
  if (args.has("--replace")) {
    if (int status = koshr_tool::check_operands(args, 2, 2, "--replace KEYWORD VALUE TEXT"))
      return status;
    koshr_tool::ScratchConnection context(koshr_tool::utf8_to_utf16(operands[1]));
    DBI_ReplaceDbParm(context.get(), koshr_tool::utf8_to_utf16(args.value("--replace")).c_str(),
                      koshr_tool::utf8_to_utf16(operands[0]).c_str());
    std::printf("%s\n", koshr_tool::utf16_to_utf8(context->dbparm).c_str());
    return 0;
  }
  if (int status = koshr_tool::check_operands(args, 1, 1, "TEXT")) return status;
  // A name or value over 1024 characters stops the process, as the parser does
  // in every program that uses it.
  koshr_tool::ScratchConnection context(koshr_tool::utf8_to_utf16(operands[0]));
  print_records(context.get());
  return 0;
}

const koshr_tool::Command kDbParm{"dbparm",
                                  "parse and edit connection parameters",
                                  kUsage,
                                  &run_dbparm,
                                  {{{"--replace", "KEYWORD"}}, {}}};
KOSHR_COMMAND(kDbParm);

}  // namespace

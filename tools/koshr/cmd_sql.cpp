/*
 * cmd_sql.cpp: `koshr sql`, the SQL keyword scanner in a person's hands.
 *
 *   koshr sql tail TEXT           the WHERE, GROUP BY, HAVING or ORDER BY part
 *   koshr sql find KEYWORD TEXT   where KEYWORD first stands as a word outside
 *                                 literals and comments (characters from 0)
 *   koshr sql classify TEXT       whether a SELECT is an aggregate, distinct,
 *                                 grouped or union query
 */
#include <cstdio>
#include <string>

#include "cli.h"
#include "command.h"
#include "scratch_connection.h"
#include "utf.h"

namespace {

const char kUsage[] =
    "usage: koshr sql tail TEXT\n"
    "       koshr sql find KEYWORD TEXT\n"
    "       koshr sql classify TEXT\n"
    "\n"
    "tail      prints the WHERE, GROUP BY, HAVING or ORDER BY part of a SELECT\n"
    "          (exit status 1 when there is none)\n"
    "find      prints the position of KEYWORD as a word outside literals and\n"
    "          comments, counted in characters from 0 (exit status 1 when absent)\n"
    "classify  prints 'aggregate' for an aggregate, distinct, grouped or union\n"
    "          SELECT, else 'plain'\n";

// The scans read the character before the text they are given: the text
// goes after a blank, as it would stand in a statement.
std::u16string after_blank(const std::u16string& text) { return u" " + text; }

int tail(const std::u16string& select) {
  const std::u16string buffer = after_blank(select);
  const KOCHAR* found = nullptr;
  DBI_ParseBasicSelect(nullptr, buffer.c_str() + 1, &found);
  if (found == nullptr) return 1;
  std::printf("%s\n", koshr_tool::utf16_to_utf8(found).c_str());
  return 0;
}

int find(const std::u16string& keyword, const std::u16string& text) {
  const std::u16string buffer = after_blank(text);
  int32_t found = 0;
  uint32_t position = 0;
  DBI_LookForKeyWord(nullptr, keyword.c_str(), buffer.c_str() + 1, &found, &position, nullptr);
  if (found == 0) return 1;
  std::printf("%u\n", position);
  return 0;
}

// The classification reads what follows the word SELECT.
int classify(const std::u16string& select) {
  std::u16string buffer = after_blank(select);
  size_t start = buffer.find_first_not_of(u" \t\r\n");
  if (start == std::u16string::npos || DBI_DoCompareFirst(buffer.data() + start, u"select") == 0) {
    start = 1;
  } else {
    start += 6;
  }
  int32_t flag = 0;
  DBI_ParseKeyWords(nullptr, buffer.c_str() + start, &flag);
  std::printf("%s\n", flag != 0 ? "aggregate" : "plain");
  return 0;
}

int run_sql(const koshr_tool::Arguments& args) {
  const auto& operands = args.operands;
  size_t wanted = args.subcommand == "find" ? 2 : 1;
  const char* expects = wanted == 2 ? "KEYWORD TEXT" : "TEXT";
  if (int status = koshr_tool::check_operands(args, wanted, wanted, expects)) return status;
  if (args.subcommand == "tail") return tail(koshr_tool::utf8_to_utf16(operands[0]));
  if (args.subcommand == "find") {
    return find(koshr_tool::utf8_to_utf16(operands[0]), koshr_tool::utf8_to_utf16(operands[1]));
  }
  return classify(koshr_tool::utf8_to_utf16(operands[0]));
}

const koshr_tool::Command kSql{"sql",
                               "find keywords and clauses in SQL text",
                               kUsage,
                               &run_sql,
                               {{}, {{"tail", {}}, {"find", {}}, {"classify", {}}}}};
KOSHR_COMMAND(kSql);

int demo(const std::string&) {
  const std::u16string select =
      u"select name, sum(total) from orders where note <> 'where' group by name";
  const std::u16string buffer = after_blank(select);
  const KOCHAR* found = nullptr;
  DBI_ParseBasicSelect(nullptr, buffer.c_str() + 1, &found);
  std::printf("SQL      %s\ntail     %s\n", koshr_tool::utf16_to_utf8(select).c_str(),
              koshr_tool::utf16_to_utf8(found).c_str());
  KOCHAR name[DBI_NAME_LENGTH + 16];
  DBI_LibraryName(nullptr, nullptr, name, u"ODBC", nullptr);
  std::printf("driver   ODBC is served by %s\n", koshr_tool::utf16_to_utf8(name).c_str());
  koshr_tool::ScratchConnection context(u"SQLCache=20, DisableBind=1, Password='it''s'");
  DBI_ReplaceDbParm(context.get(), u"SQLCache", u"50");
  std::printf("DBParm   %s\n", koshr_tool::utf16_to_utf8(context->dbparm).c_str());
  return found != nullptr ? 0 : 1;
}

KOSHR_DEMO_STOP(60, "Database interface: DBParm, driver names and SQL clauses", demo);

}  // namespace

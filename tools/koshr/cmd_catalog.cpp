/*
 * cmd_catalog.cpp: `koshr catalog`, the five catalog tables in a database:
 * created by the driver's own statements (`init`), and the display formats,
 * validation rules and edit styles read back the way an application reads
 * them, through the database interface's catalog reads (`show`).
 */
#include <koshr/hashtable.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include "cli.h"
#include "command.h"
#include "db_session.h"
#include "text_table.h"
#include "utf.h"

namespace koshr_tool {
namespace {

const char kUsage[] =
    "usage: koshr catalog init --connect CONNECTION-STRING [--dbms ODBC] [--dbparm TEXT]\n"
    "       koshr catalog show --connect CONNECTION-STRING [--dbms ODBC] [--dbparm TEXT]\n"
    "\n"
    "init  creates the catalog tables kocattbl, kocatcol, kocatfmt, kocatvld and\n"
    "      kocatedt where they do not exist yet\n"
    "show  prints the display formats, validation rules and edit styles they hold\n";

std::string text(const KOCHAR* value) { return value ? utf16_to_utf8(value) : ""; }

// The records of a catalog table, in their tables' key order.
template <class Record>
std::vector<const Record*> records(ShHashTable* table) {
  std::vector<const Record*> out;
  if (!table) return out;
  for (void* item = shhash_get_first(table); item; item = shhash_get_next(table)) {
    out.push_back(static_cast<const Record*>(item));
  }
  return out;
}

std::string show(DbiContext* context) {
  DBI_FormatHash(context);
  DBI_ValidHash(context);
  DBI_EditStyleHash(context);
  std::string out = "Display formats (kocatfmt)\n";
  auto formats = records<DbiFormatRecord>(context->format_table);
  std::sort(formats.begin(), formats.end(),
            [](auto* a, auto* b) { return text(a->name) < text(b->name); });
  TextTable format_table({"name", "format", "type"}, {false, false, true});
  for (const DbiFormatRecord* row : formats) {
    format_table.add({text(row->name), text(row->format), std::to_string(row->type)});
  }
  out += format_table.render() + "\nValidation rules (kocatvld)\n";
  auto rules = records<DbiValidationRecord>(context->validation_table);
  std::sort(rules.begin(), rules.end(),
            [](auto* a, auto* b) { return text(a->name) < text(b->name); });
  TextTable rule_table({"name", "rule", "type", "message"}, {false, false, true, false});
  for (const DbiValidationRecord* row : rules) {
    rule_table.add(
        {text(row->name), text(row->rule), std::to_string(row->type), text(row->message)});
  }
  out += rule_table.render() + "\nEdit styles (kocatedt)\n";
  auto styles = records<DbiEditStyleRow>(context->edit_style_table);
  std::stable_sort(styles.begin(), styles.end(), [](auto* a, auto* b) {
    return std::make_tuple(text(a->name), a->sequence) <
           std::make_tuple(text(b->name), b->sequence);
  });
  TextTable style_table({"name", "seq", "type", "text", "work", "flags"},
                        {false, true, true, false, false, true});
  for (const DbiEditStyleRow* row : styles) {
    style_table.add({text(row->name), std::to_string(row->sequence), std::to_string(row->type),
                     text(row->edit), text(row->work), std::to_string(row->flags)});
  }
  return out + style_table.render();
}

int run_catalog(const Arguments& args) {
  ConnectOptions connect;
  connect.connect = args.value("--connect");
  if (args.has("--dbms")) connect.dbms = args.value("--dbms");
  connect.dbparm = args.value("--dbparm");
  if (int status = check_operands(args, 0, 0, "")) return status;
  if (!args.has("--connect")) return usage_error(args, "--connect is missing");
  std::string why;
  std::string what = "catalog " + args.subcommand;
  DbSession session;
  if (!session.open(connect, why)) return fail(what, why);
  if (args.subcommand == "init") {
    DBI_CreateCatalogTables(session.context());
    if (session.failed()) return fail(what, session.error());
    std::printf("the catalog tables are ready\n");
    return 0;
  }
  std::string listing = show(session.context());
  if (session.failed()) return fail(what, session.error());
  write_stdout(listing);
  return 0;
}

const Command kCatalog{
    "catalog",
    "create or show the catalog tables of a database",
    kUsage,
    &run_catalog,
    {{{"--connect", "CONNECTION-STRING"}, {"--dbms", "NAME"}, {"--dbparm", "TEXT"}},
     {{"init", {}}, {"show", {}}}}};
KOSHR_COMMAND(kCatalog);

}  // namespace
}  // namespace koshr_tool

/*
 * cmd_query.cpp: `koshr query`, SQL run on a database through the library's
 * database interface, its result shown as a table or streamed through the
 * save-as exporters; and the demo stop that queries a SQLite file.
 *
 * With --as the rows go from the driver's fetch blocks straight into the
 * export (export_stream.h), typed by the columns the driver describes, so
 * memory does not grow with the result; the file appears only when the
 * export is complete. This process fetches, a child process writes
 * (export_process.h).
 */
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "cli.h"
#include "column_formats.h"
#include "command.h"
#include "db_session.h"
#include "db_values.h"
#include "export_process.h"
#include "staged_output.h"
#include "text_table.h"
#include "utf.h"

namespace koshr_tool {
namespace {

namespace fs = std::filesystem;

const char kUsage[] =
    "usage: koshr query --connect CONNECTION-STRING [--dbms ODBC] [--dbparm TEXT]\n"
    "                   [--param VALUE]... [--as FORMAT] [-o OUT] [--formats] SQL\n"
    "\n"
    "Runs SQL on a database and shows its result as a table, or saves it.\n"
    "\n"
    "  --connect TEXT  the ODBC connection string, e.g.\n"
    "                  'Driver=SQLite3;Database=/tmp/orders.db'\n"
    "  --dbms NAME     the database interface's driver (default ODBC)\n"
    "  --dbparm TEXT   more DBParm text for the driver, e.g. \"FetchBlockSize=512\"\n"
    "  --param VALUE   a value for the next '?' in SQL, in order; a whole number\n"
    "                  goes as an integer, anything else as text\n"
    "  --as FORMAT     table (the default), or a format of 'koshr saveas': csv, text,\n"
    "                  sylk, dif, sql, xml, dbase3 or wk1; with -o taken from OUT's\n"
    "                  extension when not given\n"
    "  -o OUT          write to OUT instead of standard output; OUT appears only\n"
    "                  when the whole result is written\n"
    "  --formats       show each column through the display format the catalog\n"
    "                  (kocatcol) gives it\n"
    "\n"
    "A statement without a result prints the number of rows it changed. NULL shows\n"
    "as NULL in a table and as an empty or missing value in a saved file.\n"
    "An export streams (DBParm Streaming='Yes' unless --dbparm names Streaming), so\n"
    "SQLite's expression columns such as count(*) may come out as text.\n";

struct Options {
  ConnectOptions connect;
  std::vector<std::string> params;
  std::string format, output, sql;
  bool output_given = false, formats = false;
};

int parse_options(const Arguments& args, Options& options) {
  options.connect.connect = args.value("--connect");
  if (args.has("--dbms")) options.connect.dbms = args.value("--dbms");
  options.connect.dbparm = args.value("--dbparm");
  options.params = args.values("--param");
  options.format = args.value("--as");
  options.output = args.value("-o");
  options.output_given = args.has("-o");
  options.formats = args.has("--formats");
  if (int status = check_operands(args, 1, 1, "SQL")) return status;
  if (!args.has("--connect")) return usage_error(args, "--connect is missing");
  options.sql = args.operands[0];
  return 0;
}

// A parameter: a whole number that fits 64 bits goes as an integer.
DbiValue parameter_value(const std::string& text, const std::u16string& wide) {
  DbiValue value{};
  char* end = nullptr;
  errno = 0;
  long long number = text.empty() ? 0 : std::strtoll(text.c_str(), &end, 10);
  bool plain = !text.empty() && *end == 0 && errno == 0 && text[0] != '+' &&
               !(text.size() > 1 && text[text[0] == '-'] == '0') && text.find(' ') == text.npos;
  if (plain) {
    value.type = DBI_TYPE_BIGINT;
    value.as.bigint = number;
  } else {
    value.type = DBI_TYPE_TEXT;
    value.length = uint32_t(wide.size());
    value.as.text = wide.c_str();
  }
  return value;
}

// The rows of an executed statement, block by block, as export cells.
class QueryRows final : public RowSource {
 public:
  QueryRows(DbStatement& statement, const std::vector<ExportColumn>& columns,
            const ColumnFormats* formats, bool dates_as_text)
      : statement_(statement),
        columns_(columns),
        formats_(formats),
        dates_as_text_(dates_as_text) {}
  bool next(std::vector<CellValue>& row, std::string& why) override {
    if (at_ == block_.rows) {
      if (!statement_.fetch(block_, why) || block_.rows == 0) return false;
      at_ = 0;
    }
    const DbiValue* values = block_.values + size_t(at_++) * block_.columns;
    ++row_number_;
    row.resize(columns_.size());
    for (size_t c = 0; c < columns_.size(); ++c) {
      if (formats_ && formats_->has(c)) {
        // A formatted column exports the text as shown.
        row[c].missing = values[c].type == DBI_TYPE_NULL;
        row[c].text = utf8_to_utf16(formats_->render(c, values[c]));
      } else if (!export_cell(values[c], columns_[c], dates_as_text_, row[c], why)) {
        why = "row " + std::to_string(row_number_) + ", column " + columns_[c].name + ": " + why;
        return false;
      }
    }
    return true;
  }

 private:
  DbStatement& statement_;
  const std::vector<ExportColumn>& columns_;
  const ColumnFormats* formats_;
  bool dates_as_text_;
  DbiRowBlock block_{};
  uint32_t at_ = 0;
  uint64_t row_number_ = 0;
};

// The whole result as an aligned table.
bool show_table(DbStatement& statement, const DbiColumnDescriptor* columns, uint32_t count,
                const ColumnFormats* formats, std::string& text, std::string& why) {
  std::vector<std::string> names;
  std::vector<bool> right;
  for (uint32_t c = 0; c < count; ++c) {
    names.push_back(utf16_to_utf8(columns[c].name));
    right.push_back(numeric_type(columns[c].data_type) && !(formats && formats->has(c)));
  }
  TextTable table(names, right);
  DbiRowBlock block{};
  while (statement.fetch(block, why) && block.rows > 0) {
    for (uint32_t r = 0; r < block.rows; ++r) {
      const DbiValue* values = block.values + size_t(r) * block.columns;
      std::vector<std::string> row;
      for (uint32_t c = 0; c < count; ++c) {
        row.push_back(formats ? formats->render(c, values[c]) : value_text(values[c]));
      }
      table.add(std::move(row));
    }
  }
  if (!why.empty()) return false;
  text = table.render();
  return true;
}

// Writes text to OUT through a staging folder, or to stdout.
bool write_text(const Options& options, const std::string& text, std::string& why) {
  if (!options.output_given) {
    write_stdout(text);
    return true;
  }
  StagedOutput staged;
  if (!staged.open(options.output, why)) return false;
  fs::path file = staged.folder() / staged.file_name();
  std::FILE* out = std::fopen(file.string().c_str(), "wb");
  bool written = out && std::fwrite(text.data(), 1, text.size(), out) == text.size();
  if (out && std::fclose(out) != 0) written = false;
  if (!written) {
    why = "cannot write the file";
    return false;
  }
  return staged.commit(why);
}

int run_query(const Arguments& args) {
  Options options;
  if (int status = parse_options(args, options)) return status;
  const SaveFormat* format = nullptr;
  bool table = options.format == "table" || (options.format.empty() && !options.output_given);
  if (!table) {
    format = find_save_format(options.format, options.output);
    if (!format) {
      return usage_error(args, options.format.empty() ? "no format for the extension of " +
                                                            options.output + " (give --as)"
                                                      : "unknown format '" + options.format + "'");
    }
  }

  options.connect.stream_results = !table;
  std::string why;
  DbSession session;
  if (!session.open(options.connect, why)) return fail("query", why);
  std::u16string sql = utf8_to_utf16(options.sql);
  DbStatement statement(session, sql);
  std::vector<std::u16string> wide;
  for (const std::string& param : options.params) wide.push_back(utf8_to_utf16(param));
  std::vector<DbiValue> values;
  for (size_t i = 0; i < wide.size(); ++i)
    values.push_back(parameter_value(options.params[i], wide[i]));
  const DbiColumnDescriptor* columns = nullptr;
  uint32_t count = 0;
  if (!statement.prepared(why) || (!values.empty() && !statement.bind(values, why)) ||
      !statement.execute(why) || !statement.describe(columns, count, why)) {
    return fail("query", why);
  }
  if (count == 0) {
    int64_t rows = statement.rows_affected();
    std::string text =
        rows < 0 ? "done\n" : std::to_string(rows) + (rows == 1 ? " row" : " rows") + " affected\n";
    if (!write_text(options, text, why)) return fail("query: " + options.output, why);
    return 0;
  }
  ColumnFormats formats;
  if (options.formats && !formats.load(session, sql, columns, count, why)) {
    return fail("query: --formats", why);
  }
  const ColumnFormats* shown = options.formats ? &formats : nullptr;
  if (table) {
    std::string text;
    if (!show_table(statement, columns, count, shown, text, why)) return fail("query", why);
    if (!write_text(options, text, why)) return fail("query: " + options.output, why);
    return 0;
  }

  std::vector<ExportColumn> export_columns;
  for (uint32_t c = 0; c < count; ++c) {
    export_columns.push_back(export_column(columns[c]));
    if (shown && shown->has(c))
      export_columns.back() = {export_columns.back().name, KOSAVE_STRING, -1};
  }
  ExportSettings settings;
  settings.format = format;
  settings.flags = KOSAVE_COLUMN_NAMES;
  settings.to_stdout = !options.output_given;
  settings.output =
      options.output_given ? options.output : std::string("query") + format->extension;
  QueryRows rows(statement, export_columns, shown, format->dates_as_text);
  ExportOutcome outcome = stream_export_apart(settings, export_columns, rows, -1);
  if (!outcome.ok) {
    return fail(
        outcome.source_failed || !options.output_given ? "query" : "query: " + options.output,
        outcome.why);
  }
  return 0;
}

const Command kQuery{"query",
                     "run SQL on a database; show or save the result",
                     kUsage,
                     &run_query,
                     {{{"--connect", "CONNECTION-STRING"},
                       {"--dbms", "NAME"},
                       {"--dbparm", "TEXT"},
                       {"--param", "VALUE"},
                       {"--as", "FORMAT"},
                       {"-o", "OUT"},
                       {"--formats", nullptr}},
                      {}}};
KOSHR_COMMAND(kQuery);

// The tour's stop: a SQLite file made, filled and read back with the very
// commands shown, left in the demo's folder to try more on.
int demo_query(const std::string& folder) {
  std::string connect = "Driver=SQLite3;Database=" + (fs::path(folder) / "shop.db").string();
  DbSession probe;
  std::string why;
  if (!probe.open({connect, "ODBC", ""}, why)) {
    std::printf("(no SQLite ODBC driver here: %s)\n", why.c_str());
    return 0;
  }
  std::string out = (fs::path(folder) / "orders.xml").string();
  const std::vector<std::vector<std::string>> steps = {
      {"query", "--connect", connect,
       "CREATE TABLE orders (id integer PRIMARY KEY, item varchar(20), price numeric(12,2), "
       "placed timestamp)"},
      {"query", "--connect", connect,
       "INSERT INTO orders VALUES (1, 'Widget', 19.99, '2024-03-05 10:15:00'), "
       "(2, 'Gadget', 4.50, NULL), (3, 'Sprocket', 0.35, '2024-04-01 08:00:00')"},
      {"query", "--connect", connect, "--param", "1", "SELECT * FROM orders WHERE price > ?"},
      {"query", "--connect", connect, "--as", "csv", "SELECT item, price FROM orders"},
      {"query", "--connect", connect, "-o", out, "SELECT * FROM orders"},
  };
  for (const auto& step : steps) {
    std::string line = "$ koshr";
    for (const std::string& word : step) {
      bool plain = word.find_first_of(" ;*>'") == std::string::npos;
      char quote = word.find('\'') == std::string::npos ? '\'' : '"';
      line += " " + (plain ? word : quote + word + quote);
    }
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
    if (run_command_line(step) != 0) return 1;
  }
  std::error_code error;
  std::printf("  (%s: %llu bytes)\n", out.c_str(),
              static_cast<unsigned long long>(fs::file_size(out, error)));
  return 0;
}

KOSHR_DEMO_STOP(65, "Databases: a SQLite file queried, its rows shown and saved", demo_query);

}  // namespace
}  // namespace koshr_tool

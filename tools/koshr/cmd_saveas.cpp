/*
 * cmd_saveas.cpp: `koshr saveas`, a CSV file saved through one of the
 * library's exporters, and the demo stop that saves a table in every format.
 *
 * The file is read twice, streaming both times: a first pass checks it,
 * counts its rows and infers the column types (and a string column's width)
 * from every field; the second converts the rows one at a time into the
 * export (export_stream.h). Nothing holds the table, so memory stays flat
 * whatever the file's size. Standard input is first copied to an anonymous
 * temporary file so it too can be read twice.
 */
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli.h"
#include "command.h"
#include "csv_reader.h"
#include "export_stream.h"
#include "saveas_columns.h"
#include "utf.h"

namespace koshr_tool {
namespace {

namespace fs = std::filesystem;

const char kUsage[] =
    "usage: koshr saveas IN.csv OUT [--as FORMAT] [--columns NAME:TYPE[:WIDTH],...]\n"
    "                    [--header] [--culture TEXT] [--encoding NAME]\n"
    "       koshr saveas --clipboard IN.csv [--columns ...] [--header] [--culture TEXT]\n"
    "\n"
    "Saves a CSV file (RFC 4180, UTF-8, first line naming the columns) through one of\n"
    "the library's exporters.\n"
    "\n"
    "  --as FORMAT     csv, text, sylk, dif, sql, xml, dbase3 or wk1; by default taken\n"
    "                  from OUT's extension (.csv .txt .slk .dif .sql .xml .dbf .wk1)\n"
    "  --columns LIST  the type of every column, in order: string, double, datetime,\n"
    "                  date, time or decimal; WIDTH is a string's width or a decimal's\n"
    "                  scale. Without it types are inferred from the data (ISO 8601\n"
    "                  dates and times, fixed-decimal numbers as decimal, other numbers\n"
    "                  as double, the rest as strings as wide as their longest value)\n"
    "  --header        write the column names first\n"
    "  --culture TEXT  regional settings as key=value pairs separated by TAB\n"
    "                  (csv, text and clipboard output)\n"
    "  --encoding NAME ansi, utf8 (default), utf8-bom, utf16le or utf16be\n"
    "                  (csv, text, dif and sql output)\n"
    "  --clipboard     put tab-separated text on the clipboard instead of a file\n"
    "                  (on Linux the library's clipboard is printed on stdout)\n";

struct Options {
  std::string input, output, format, columns, culture, encoding = "utf8";
  bool header = false, clipboard = false, columns_given = false, culture_given = false;
};

int parse_options(const Arguments& args, Options& options) {
  options.format = args.value("--as");
  options.columns = args.value("--columns");
  options.columns_given = args.has("--columns");
  options.culture = args.value("--culture");
  options.culture_given = args.has("--culture");
  if (args.has("--encoding")) options.encoding = args.value("--encoding");
  options.header = args.has("--header");
  options.clipboard = args.has("--clipboard");
  size_t wanted = options.clipboard ? 1 : 2;
  const char* expects = options.clipboard ? "IN.csv" : "IN.csv OUT";
  if (int status = check_operands(args, wanted, wanted, expects)) return status;
  options.input = args.operands[0];
  if (!options.clipboard) options.output = args.operands[1];
  return 0;
}

// The input, open for reading from its start, and able to start again.
class InputFile {
 public:
  bool open(const std::string& path) {
    if (!path.empty() && path != "-") {
      file_ = std::fopen(path.c_str(), "rb");
      return file_ != nullptr;
    }
    file_ = std::tmpfile();
    if (!file_) return false;
    char block[1 << 16];
    for (size_t got; (got = std::fread(block, 1, sizeof block, stdin)) > 0;) {
      if (std::fwrite(block, 1, got, file_) != got) return false;
    }
    return !std::ferror(stdin) && rewind();
  }
  bool rewind() { return std::fseek(file_, 0, SEEK_SET) == 0; }
  std::FILE* get() const { return file_; }
  ~InputFile() {
    if (file_) std::fclose(file_);
  }

 private:
  std::FILE* file_ = nullptr;
};

// The first pass: the column names, the row count and the column types.
struct Survey {
  std::vector<std::string> names;
  std::vector<ExportColumn> columns;
  int64_t rows = 0;
};

int survey_input(const Options& options, std::FILE* file, Survey& survey) {
  std::string where = "saveas: " + options.input;
  CsvReader reader(file);
  if (!reader.next(survey.names)) {
    return fail(where, reader.error().empty()
                           ? "the file is empty: its first line must name the columns"
                           : reader.error());
  }
  size_t width = survey.names.size();
  ColumnInference inference(width);
  std::vector<std::string> record;
  while (reader.next(record)) {
    if (record.size() != width) {
      return fail(where, "line " + std::to_string(reader.line()) + ": " +
                             std::to_string(record.size()) + " fields where the first line names " +
                             std::to_string(width));
    }
    inference.add(record);
    ++survey.rows;
  }
  if (!reader.error().empty()) return fail(where, reader.error());
  if (!options.columns_given) {
    survey.columns = inference.columns(survey.names);
    return 0;
  }
  std::string why;
  if (!parse_column_list(options.columns, survey.columns, why))
    return fail("saveas: --columns", why);
  if (survey.columns.size() != width) {
    return fail("saveas: --columns", std::to_string(survey.columns.size()) +
                                         " columns given, the file has " + std::to_string(width));
  }
  for (size_t c = 0; c < width; ++c) {
    if (survey.columns[c].width < 0) survey.columns[c].width = inference.longest(c);
  }
  return 0;
}

// The second pass: the records after the names, converted to the columns' types.
class CsvRows final : public RowSource {
 public:
  CsvRows(std::FILE* file, const std::vector<ExportColumn>& columns)
      : reader_(file), columns_(columns) {
    reader_.next(fields_);
  }
  bool next(std::vector<CellValue>& row, std::string& why) override {
    if (!reader_.next(fields_)) {
      why = reader_.error();
      return false;
    }
    if (fields_.size() != columns_.size()) {
      why = "line " + std::to_string(reader_.line()) + ": the file changed while it was read";
      return false;
    }
    row.resize(columns_.size());
    for (size_t c = 0; c < columns_.size(); ++c) {
      if (!convert_field(columns_[c], fields_[c], row[c], why)) {
        why =
            "line " + std::to_string(reader_.line()) + ", column " + columns_[c].name + ": " + why;
        return false;
      }
    }
    return true;
  }

 private:
  CsvReader reader_;
  const std::vector<ExportColumn>& columns_;
  std::vector<std::string> fields_;
};

int run_saveas(const Arguments& args) {
  Options options;
  if (int status = parse_options(args, options)) return status;
  InputFile input;
  if (!input.open(options.input)) {
    std::string why = options.input.empty() || options.input == "-"
                          ? "cannot copy standard input to a temporary file"
                          : open_problem(options.input, Access::kRead);
    return fail("saveas: " + options.input, why.empty() ? "cannot open the file" : why);
  }
  Survey survey;
  if (int status = survey_input(options, input.get(), survey)) return status;

  ExportSettings settings;
  settings.flags = options.header ? KOSAVE_COLUMN_NAMES : 0;
  settings.culture_given = options.culture_given;
  settings.culture = options.culture;
  std::string where = "saveas: clipboard";
  if (!options.clipboard) {
    where = "saveas: " + options.output;
    settings.output = options.output;
    settings.format = find_save_format(options.format, options.output);
    if (!settings.format) {
      return fail(where, options.format.empty() ? "no format for this extension (give --as)"
                                                : "unknown format '" + options.format + "'");
    }
    settings.encoding = encoding_from_name(options.encoding);
    if (settings.encoding < 0) {
      return fail("saveas: --encoding", "unknown encoding '" + options.encoding + "'");
    }
    std::string name = settings.format->name;
    if (options.culture_given && name != "csv" && name != "text") {
      return fail("saveas: --culture", "only csv, text and clipboard output take a culture");
    }
  }
  if (!input.rewind()) return fail("saveas: " + options.input, "cannot read the file again");
  CsvRows rows(input.get(), survey.columns);
  ExportOutcome outcome = stream_export(settings, survey.columns, rows, survey.rows);
  if (!outcome.ok)
    return fail(outcome.source_failed ? "saveas: " + options.input : where, outcome.why);
  return 0;
}

const Command kSaveas{"saveas",
                      "save a CSV file as text, SYLK, DIF, SQL, XML, dBase III or worksheet",
                      kUsage,
                      &run_saveas,
                      {{{"--as", "FORMAT"},
                        {"--columns", "LIST"},
                        {"--culture", "TEXT"},
                        {"--encoding", "NAME"},
                        {"--header", nullptr},
                        {"--clipboard", nullptr}},
                       {}}};
KOSHR_COMMAND(kSaveas);

// ---------------------------------------------------------------- demo stop

// Each export is run with the command line it shows, so it can be replayed.
int demo_saveas(const std::string& demo_folder) {
  const char sample[] =
      "item,quantity,price,delivered,note\r\n"
      "Widget,3,19.99,2024-03-05,\"small, blue\"\r\n"
      "Gadget,12,4.50,2024-03-07,\"the \"\"big\"\" one\"\r\n"
      "Sprocket,7,0.35,2024-04-01,\r\n";
  fs::path folder = fs::path(utf8_to_utf16(demo_folder));
  std::error_code error;
  fs::path input = folder / "goods.csv";
  std::ofstream(input, std::ios::binary) << sample;
  std::printf("A table of %d rows (%s) saved in every format:\n\n", 3, input.string().c_str());
  int failures = 0;
  for (const SaveFormat& format : save_formats()) {
    std::string out = (folder / (std::string("goods") + format.extension)).string();
    if (format.extension == std::string(".csv")) out = (folder / "goods-saved.csv").string();
    std::printf("$ koshr saveas %s %s --header\n", input.string().c_str(), out.c_str());
    if (run_command_line({"saveas", input.string(), out, "--header"}) != 0) {
      ++failures;
      continue;
    }
    std::printf("  (%llu bytes)\n", static_cast<unsigned long long>(fs::file_size(out, error)));
  }
  std::string script, script_file = (folder / "goods.sql").string();
  read_input(script_file, &script);
  std::printf("\n$ cat %s\n%s\n", script_file.c_str(), script.c_str());
  return failures;
}

KOSHR_DEMO_STOP(50, "Save as: one table in every export format", demo_saveas);

}  // namespace
}  // namespace koshr_tool

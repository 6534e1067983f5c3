/*
 * cmd_saveas.cpp: `koshr saveas`, a CSV file saved through one of the
 * library's exporters, and the demo stop that saves a table in every format.
 *
 * The input is read whole and checked before anything is written; the output
 * is written in a fresh folder beside OUT and renamed into place only when
 * the export succeeded, so a failure never leaves a partial file behind.
 */
#include <koshr/host.h>
#include <koshr/saveas.h>
#include <koshr/storage.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "cli.h"
#include "command.h"
#include "csv_reader.h"
#include "saveas_columns.h"
#include "utf.h"

namespace koshr_tool {
namespace {

namespace fs = std::filesystem;

struct Format {
  const char* name;
  const char* extension;
  std::unique_ptr<IKO_SaveFileType, void (*)(IKO_SaveFileType*)> (*make)();
};

template <class T>
std::unique_ptr<IKO_SaveFileType, void (*)(IKO_SaveFileType*)> make_writer() {
  return {new T, [](IKO_SaveFileType* writer) { delete static_cast<T*>(writer); }};
}

const Format kFormats[] = {
    {"csv", ".csv", make_writer<CKO_SaveCsv>},   {"text", ".txt", make_writer<CKO_SaveText>},
    {"sylk", ".slk", make_writer<CKO_SaveSylk>}, {"dif", ".dif", make_writer<CKO_SaveDif>},
    {"sql", ".sql", make_writer<CKO_SaveSql>},   {"xml", ".xml", make_writer<CKO_SaveXml>},
    {"dbase3", ".dbf", make_writer<CKO_SaveDbase3>}, {"wk1", ".wk1", make_writer<CKO_SaveWk>},
};

const struct {
  const char* name;
  int32_t number;
} kEncodings[] = {{"ansi", KOSAVE_ENCODING_ANSI},
                  {"utf8", KOSAVE_ENCODING_UTF8},
                  {"utf8-bom", KOSAVE_ENCODING_UTF8_BOM},
                  {"utf16le", KOSAVE_ENCODING_UTF16LE_BOM},
                  {"utf16be", KOSAVE_ENCODING_UTF16BE_BOM}};

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

struct Table {
  std::vector<ColumnSpec> columns;
  std::vector<std::vector<CellValue>> rows;
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

int read_table(const Options& options, Table& table) {
  std::string text, why;
  if (!read_input(options.input, &text, &why)) return fail("saveas: " + options.input, why);
  CsvReader reader(text);
  std::vector<std::string> names;
  if (!reader.next(names)) {
    return fail("saveas: " + options.input,
                reader.error().empty() ? "the file is empty: its first line must name the columns"
                                       : reader.error());
  }
  std::vector<std::vector<std::string>> fields;
  std::vector<size_t> lines;
  std::vector<std::string> record;
  while (reader.next(record)) {
    if (record.size() != names.size()) {
      return fail("saveas: " + options.input,
                  "line " + std::to_string(reader.line()) + ": " + std::to_string(record.size()) +
                      " fields where the first line names " + std::to_string(names.size()));
    }
    fields.push_back(record);
    lines.push_back(reader.line());
  }
  if (!reader.error().empty()) return fail("saveas: " + options.input, reader.error());

  if (options.columns_given) {
    std::string why;
    if (!parse_column_list(options.columns, table.columns, why)) return fail("saveas: --columns", why);
    if (table.columns.size() != names.size()) {
      return fail("saveas: --columns", std::to_string(table.columns.size()) + " columns given, the file has " +
                                           std::to_string(names.size()));
    }
    for (ColumnSpec& column : table.columns) {
      if (column.width >= 0) continue;
      size_t c = size_t(&column - table.columns.data());
      column.width = 1;
      for (const auto& row : fields) column.width = std::max(column.width, int32_t(utf8_to_utf16(row[c]).size()));
    }
  } else {
    table.columns = infer_columns(names, fields);
  }
  for (size_t r = 0; r < fields.size(); ++r) {
    std::vector<CellValue> row(names.size());
    for (size_t c = 0; c < names.size(); ++c) {
      std::string why;
      if (!convert_field(table.columns[c], fields[r][c], row[c], why)) {
        return fail("saveas: " + options.input,
                    "line " + std::to_string(lines[r]) + ", column " + table.columns[c].name + ": " + why);
      }
    }
    table.rows.push_back(std::move(row));
  }
  return 0;
}

// A progress bar on stderr for long exports, when stderr is a terminal.
class Progress {
 public:
  explicit Progress(size_t total) : total_(total), shown_(total >= 20000 && stderr_is_terminal()) {}
  void update(size_t done) {
    if (!shown_) return;
    int percent = int(done * 100 / total_);
    if (percent == last_) return;
    last_ = percent;
    int filled = percent * 40 / 100;
    std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(size_t(filled), '#').c_str(),
                 std::string(size_t(40 - filled), ' ').c_str(), percent);
    std::fflush(stderr);
  }
  ~Progress() {
    if (shown_ && last_ >= 0) std::fputs("\r\033[K", stderr);
  }

 private:
  size_t total_;
  bool shown_;
  int last_ = -1;
};

// Drives the writer over the table; the name of the failed step, or empty.
std::string export_table(IKO_SaveFileType& writer, KoSaveContext* save, const Table& table,
                         bool dates_as_text) {
  std::string failed;
  for (const ColumnSpec& column : table.columns) {
    std::u16string name = utf8_to_utf16(column.name);
    if (!writer.AddColumn(save, name.c_str(), column.width, column.type)) {
      failed = "writing column " + column.name;
      break;
    }
  }
  Progress progress(table.rows.size());
  for (size_t r = 0; failed.empty() && r < table.rows.size(); ++r) {
    for (size_t c = 0; c < table.columns.size(); ++c) {
      uint8_t type = table.columns[c].type;
      if (!writer.WriteValue(save, table.rows[r][c].pointer(type, dates_as_text))) {
        failed = "writing row " + std::to_string(r + 1);
        break;
      }
    }
    progress.update(r + 1);
  }
  if (!writer.End(save) && failed.empty()) failed = "closing the file";
  return failed;
}

const Format* find_format(const Options& options) {
  std::string wanted = options.format;
  for (const Format& format : kFormats) {
    if (!wanted.empty() ? wanted == format.name
                        : fs::path(options.output).extension().string() == format.extension) {
      return &format;
    }
  }
  return nullptr;
}

struct Pool {
  KostgContext* context = kostg_begin(4096);
  ~Pool() {
    if (context) kostg_end(context);
  }
};

int save_to_clipboard(const Options& options, const Table& table, uint32_t flags) {
  Pool pool;
  CKO_SaveClip clip;
  std::u16string culture = utf8_to_utf16(options.culture);
  uint32_t rows = uint32_t(table.rows.size());
  int32_t columns = int32_t(table.columns.size());
  KoSaveContext* save =
      options.culture_given
          ? osSaveBegin32Web(pool.context, nullptr, nullptr, rows, columns, flags, 0, culture.c_str())
          : clip.Begin(pool.context, nullptr, nullptr, rows, columns, flags, 0);
  if (!save) return fail("saveas: clipboard", "the export could not start");
  std::string failed = export_table(clip, save, table, false);
  if (!failed.empty()) return fail("saveas: clipboard", failed);
#ifndef _WIN32
  write_stdout(utf16_to_utf8(koshr_clipboard_text()));
#endif
  return 0;
}

int save_to_file(const Options& options, const Table& table, uint32_t flags) {
  const Format* format = find_format(options);
  if (!format) {
    return fail("saveas: " + options.output,
                options.format.empty() ? "no format for this extension (give --as)"
                                       : "unknown format '" + options.format + "'");
  }
  int32_t encoding = -1;
  for (const auto& known : kEncodings) {
    if (options.encoding == known.name) encoding = known.number;
  }
  if (encoding < 0) return fail("saveas: --encoding", "unknown encoding '" + options.encoding + "'");
  std::string name = format->name;
  bool plain_text = name == "csv" || name == "text";
  if (options.culture_given && !plain_text) {
    return fail("saveas: --culture", "only csv, text and clipboard output take a culture");
  }

  // The export goes into a fresh folder beside OUT, under OUT's own name (the
  // exporters derive table and element names from it), then moves into place.
  fs::path output = fs::absolute(options.output);
  std::random_device seed;
  fs::path folder = output.parent_path() / (".koshr-saveas-" + std::to_string(seed()));
  std::error_code error;
  if (!fs::create_directory(folder, error)) {
    return fail("saveas: " + options.output, "cannot create a file there (" + error.message() + ")");
  }
  fs::path previous = fs::current_path();
  fs::current_path(folder, error);
  if (error) {
    fs::remove_all(folder, error);
    return fail("saveas: " + options.output, "cannot write in " + folder.string());
  }
  std::u16string file_name = output.filename().u16string();
  std::u16string culture = utf8_to_utf16(options.culture);
  Pool pool;
  auto writer = format->make();
  uint32_t rows = uint32_t(table.rows.size());
  int32_t columns = int32_t(table.columns.size());
  KoSaveContext* save =
      options.culture_given
          ? osSaveBegin32Web(pool.context, nullptr, file_name.c_str(), rows, columns, flags, encoding,
                             culture.c_str())
          : writer->Begin(pool.context, nullptr, file_name.c_str(), rows, columns, flags, encoding);
  std::string failed = save ? export_table(*writer, save, table, name == "sql")
                            : "the file could not be created, or the table is beyond this format's limits";
  fs::current_path(previous, error);
  if (failed.empty()) fs::rename(folder / output.filename(), output, error);
  if (failed.empty() && error) failed = "cannot move the file into place (" + error.message() + ")";
  fs::remove_all(folder, error);
  if (!failed.empty()) return fail("saveas: " + options.output, failed);
  return 0;
}

int run_saveas(const Arguments& args) {
  Options options;
  if (int status = parse_options(args, options)) return status;
  Table table;
  if (int status = read_table(options, table)) return status;
  uint32_t flags = options.header ? KOSAVE_COLUMN_NAMES : 0;
  return options.clipboard ? save_to_clipboard(options, table, flags)
                           : save_to_file(options, table, flags);
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
  for (const Format& format : kFormats) {
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

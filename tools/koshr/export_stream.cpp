/*
 * export_stream.cpp: rows streamed through an exporter into a staged file
 * (see export_stream.h).
 */
#include "export_stream.h"

#include <koshr/host.h>
#include <koshr/storage.h>

#include <cstdio>
#include <filesystem>
#include <thread>

#include "cli.h"
#include "read_ahead.h"
#include "row_spool.h"
#include "staged_output.h"
#include "utf.h"

namespace koshr_tool {
namespace {

namespace fs = std::filesystem;

template <class T>
std::unique_ptr<IKO_SaveFileType, void (*)(IKO_SaveFileType*)> make_writer() {
  return {new T, [](IKO_SaveFileType* writer) { delete static_cast<T*>(writer); }};
}

const struct {
  const char* name;
  int32_t number;
} kEncodings[] = {{"ansi", KOSAVE_ENCODING_ANSI},
                  {"utf8", KOSAVE_ENCODING_UTF8},
                  {"utf8-bom", KOSAVE_ENCODING_UTF8_BOM},
                  {"utf16le", KOSAVE_ENCODING_UTF16LE_BOM},
                  {"utf16be", KOSAVE_ENCODING_UTF16BE_BOM}};

constexpr int64_t kProgressFrom = 20000;  // rows before a progress line is worth showing
constexpr uint64_t kCountEvery = 65536;   // rows between updates of a bare count

struct Pool {
  KostgContext* context = kostg_begin(4096);
  ~Pool() {
    if (context) kostg_end(context);
  }
};

// Drives the writer over the rows; the failure, if any.
ExportOutcome write_rows(IKO_SaveFileType& writer, KoSaveContext* save,
                         const std::vector<ExportColumn>& columns, RowSource& rows,
                         int64_t row_count, bool dates_as_text) {
  ExportOutcome outcome;
  auto failed = [&](std::string why) {
    outcome.ok = false;
    outcome.why = std::move(why);
  };
  for (const ExportColumn& column : columns) {
    std::u16string name = utf8_to_utf16(column.name);
    if (!writer.AddColumn(save, name.c_str(), column.width, column.type)) {
      failed("writing column " + column.name);
      break;
    }
  }
  Progress progress(row_count);
  std::vector<CellValue> row;
  uint64_t done = 0;
  while (outcome.ok) {
    std::string why;
    if (!rows.next(row, why)) {
      if (!why.empty()) {
        failed(why);
        outcome.source_failed = true;
      }
      break;
    }
    ++done;
    for (size_t c = 0; c < columns.size(); ++c) {
      if (!writer.WriteValue(save, row[c].pointer(columns[c].type, dates_as_text))) {
        failed("writing row " + std::to_string(done));
        break;
      }
    }
    progress.update(done);
  }
  // A value the format could only mark as too wide would lose data: the
  // export fails rather than leave a file that looks complete.
  uint32_t overflow_row = 0;
  int32_t overflow_column = 0;
  uint32_t overflows = osSaveOverflow(save, &overflow_row, &overflow_column);
  if (overflows != 0 && outcome.ok) {
    failed("row " + std::to_string(uint64_t(overflow_row) + 1) + ", column " +
           columns[size_t(overflow_column)].name + ": the number does not fit its field" +
           (overflows > 1 ? " (" + std::to_string(overflows) + " values in all)" : ""));
  }
  if (!writer.End(save) && outcome.ok) failed("closing the file");
  return outcome;
}

bool copy_to_stdout(const fs::path& file) {
  std::FILE* in = std::fopen(file.string().c_str(), "rb");
  if (!in) return false;
  std::string block(1 << 16, '\0');
  for (size_t got; (got = std::fread(block.data(), 1, block.size(), in)) > 0;) {
    write_stdout(std::string_view(block.data(), got));
  }
  bool read = !std::ferror(in);
  std::fclose(in);
  return read && std::fflush(stdout) == 0 && !std::ferror(stdout);
}

}  // namespace

const std::vector<SaveFormat>& save_formats() {
  static const std::vector<SaveFormat> formats = {
      {"csv", ".csv", false, false, make_writer<CKO_SaveCsv>},
      {"text", ".txt", false, false, make_writer<CKO_SaveText>},
      {"sylk", ".slk", true, false, make_writer<CKO_SaveSylk>},
      {"dif", ".dif", true, false, make_writer<CKO_SaveDif>},
      {"sql", ".sql", true, true, make_writer<CKO_SaveSql>},
      {"xml", ".xml", false, false, make_writer<CKO_SaveXml>},
      {"dbase3", ".dbf", true, false, make_writer<CKO_SaveDbase3>},
      {"wk1", ".wk1", true, false, make_writer<CKO_SaveWk>},
  };
  return formats;
}

const SaveFormat* find_save_format(const std::string& name, const std::string& output) {
  for (const SaveFormat& format : save_formats()) {
    if (!name.empty() ? name == format.name
                      : fs::path(output).extension().string() == format.extension) {
      return &format;
    }
  }
  return nullptr;
}

int32_t encoding_from_name(const std::string& name) {
  for (const auto& known : kEncodings) {
    if (name == known.name) return known.number;
  }
  return -1;
}

ExportOutcome stream_export(const ExportSettings& settings, std::vector<ExportColumn> columns,
                            RowSource& rows, int64_t row_count) {
  bool sizes_ahead = settings.format && settings.format->sizes_ahead;
  bool widths_unknown = false;
  for (const ExportColumn& column : columns) widths_unknown |= column.width < 0;
  // The rows are read on a thread of their own from the first one asked
  // for: by then the exporter has begun (it changes the working folder for a
  // moment), or the spool takes them all before it does.
  ReadAheadRows ahead(rows, settings.read_ahead && std::thread::hardware_concurrency() > 1);
  RowSpool spool(columns);
  RowSource* source = &ahead;
  if (sizes_ahead && (row_count < 0 || widths_unknown)) {
    std::string why;
    if (!spool.fill(ahead, why)) return {false, true, why};
    row_count = spool.row_count();
    for (size_t c = 0; c < columns.size(); ++c) {
      if (columns[c].width < 0) columns[c].width = spool.longest(c);
    }
    source = &spool;
  }
  // Formats that write no widths take any; a width must not be negative.
  for (ExportColumn& column : columns) {
    if (column.width < 0) column.width = 1;
  }
  auto rows_ahead = uint32_t(row_count < 0 ? 0 : row_count);
  auto column_count = int32_t(columns.size());
  std::u16string culture = utf8_to_utf16(settings.culture);
  Pool pool;

  if (!settings.format) {
    CKO_SaveClip clip;
    KoSaveContext* save = settings.culture_given
                              ? osSaveBegin32Web(pool.context, nullptr, nullptr, rows_ahead,
                                                 column_count, settings.flags, 0, culture.c_str())
                              : clip.Begin(pool.context, nullptr, nullptr, rows_ahead, column_count,
                                           settings.flags, 0);
    if (!save) return {false, false, "the export could not start"};
    ExportOutcome outcome = write_rows(clip, save, columns, *source, row_count, false);
#ifndef _WIN32
    if (outcome.ok) write_stdout(utf16_to_utf8(koshr_clipboard_text()));
#endif
    return outcome;
  }

  // Standard output gets the finished file from a staging folder in the
  // temporary folder, so a failure prints nothing.
  StagedOutput staged;
  std::string why;
  fs::path target =
      settings.to_stdout ? fs::temp_directory_path() / settings.output : fs::path(settings.output);
  if (!staged.open(target.string(), why)) return {false, false, why};
  // The exporters derive names from the file name they are given, so the
  // file is created under the target's own name from inside the folder.
  std::error_code error;
  fs::path previous = fs::current_path();
  fs::current_path(staged.folder(), error);
  if (error) return {false, false, "cannot write in " + staged.folder().string()};
  std::u16string file_name = staged.file_name().u16string();
  auto writer = settings.format->make();
  KoSaveContext* save =
      settings.culture_given
          ? osSaveBegin32Web(pool.context, nullptr, file_name.c_str(), rows_ahead, column_count,
                             settings.flags, settings.encoding, culture.c_str())
          : writer->Begin(pool.context, nullptr, file_name.c_str(), rows_ahead, column_count,
                          settings.flags, settings.encoding);
  fs::current_path(previous, error);
  if (!save) {
    return {false, false,
            "the file could not be created, or the table is beyond this format's limits"};
  }
  ExportOutcome outcome =
      write_rows(*writer, save, columns, *source, row_count, settings.format->dates_as_text);
  if (!outcome.ok) return outcome;
  if (settings.to_stdout) {
    if (!copy_to_stdout(staged.folder() / staged.file_name())) {
      return {false, false, "cannot write to standard output"};
    }
  } else if (!staged.commit(why)) {
    return {false, false, why};
  }
  return outcome;
}

Progress::Progress(int64_t total)
    : total_(total), shown_((total < 0 || total >= kProgressFrom) && stderr_is_terminal()) {}

void Progress::update(uint64_t done) {
  if (!shown_) return;
  if (total_ < 0) {
    if (done % kCountEvery != 0) return;
    std::fprintf(stderr, "\r%llu rows", static_cast<unsigned long long>(done));
    last_ = int64_t(done);
  } else {
    int64_t percent = total_ ? int64_t(done) * 100 / total_ : 100;
    if (percent == last_) return;
    last_ = percent;
    int filled = int(percent * 40 / 100);
    std::fprintf(stderr, "\r[%s%s] %3d%%", std::string(size_t(filled), '#').c_str(),
                 std::string(size_t(40 - filled), ' ').c_str(), int(percent));
  }
  std::fflush(stderr);
}

Progress::~Progress() {
  if (shown_ && last_ >= 0) std::fputs("\r\033[K", stderr);
}

}  // namespace koshr_tool

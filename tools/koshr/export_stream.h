/*
 * export_stream.h: the tool's one way of saving rows through the library's
 * exporters, used by `koshr saveas` and `koshr query --as`.
 *
 * Columns (name and type) and a source of rows go in; the rows stream one at
 * a time into the exporter, so memory stays flat whatever their number, and
 * are read ahead on a thread of their own (read_ahead.h) while the exporter
 * writes the ones before them; rows from a database driver are read in this
 * process while a child writes them instead (export_process.h). A format
 * that writes the row count or the column widths ahead gets them from
 * the caller or, when the caller cannot know them, from a spool on disk. The
 * file is staged (staged_output.h): a failed or interrupted export leaves
 * the target as it was.
 */
#ifndef KOSHR_TOOL_EXPORT_STREAM_H
#define KOSHR_TOOL_EXPORT_STREAM_H

#include <koshr/saveas.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "saveas_columns.h"

namespace koshr_tool {

struct SaveFormat {
  const char* name;
  const char* extension;
  bool sizes_ahead;    // the row count or column widths are written before the rows
  bool dates_as_text;  // dates and times go as SQL literals
  std::unique_ptr<IKO_SaveFileType, void (*)(IKO_SaveFileType*)> (*make)();
};

// Every file format, in the order the tool lists them.
const std::vector<SaveFormat>& save_formats();
// The format named `name`, or when `name` is empty the one `output`'s
// extension names; null when there is none.
const SaveFormat* find_save_format(const std::string& name, const std::string& output);
// The encoding number of `name` ("utf8", ...); -1 when unknown.
int32_t encoding_from_name(const std::string& name);

// Where rows come from. next() fills `row` with one value per column and
// returns true; false at the end, or on a failure with `why` set. An export
// calls it from a thread of its own (stream_export) or from the caller's
// (stream_export_apart), one call at a time.
class RowSource {
 public:
  virtual ~RowSource() = default;
  virtual bool next(std::vector<CellValue>& row, std::string& why) = 0;
};

struct ExportSettings {
  std::string output;                  // the target; empty for the clipboard
  bool to_stdout = false;              // the finished file goes to stdout, named `output`
  const SaveFormat* format = nullptr;  // null for the clipboard
  uint32_t flags = 0;
  int32_t encoding = KOSAVE_ENCODING_UTF8;
  bool culture_given = false;
  std::string culture;     // UTF-8, key=value pairs separated by TAB
  bool read_ahead = true;  // read the rows on a thread of their own (read_ahead.h)
};

struct ExportOutcome {
  bool ok = true;
  bool source_failed = false;  // the rows failed, not the output
  std::string why;
};

// Streams the rows into the exporter. `row_count` is the number of rows
// when known, else negative; a string column of width -1 has no known width.
ExportOutcome stream_export(const ExportSettings& settings, std::vector<ExportColumn> columns,
                            RowSource& rows, int64_t row_count);

// A progress line on stderr for long exports, when stderr is a terminal: a
// bar when the total is known, else the count of rows.
class Progress {
 public:
  explicit Progress(int64_t total);
  ~Progress();
  void update(uint64_t done);

 private:
  int64_t total_;
  bool shown_;
  int64_t last_ = -1;
};

}  // namespace koshr_tool

#endif

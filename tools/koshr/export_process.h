/*
 * export_process.h: an export split across two processes, for rows that
 * come from a database driver: this process fetches the rows and a child
 * process renders and writes them (POSIX).
 *
 * Why not a thread, as stream_export reads ahead: while a process has one
 * thread, the C library takes an uncontended mutex without atomic
 * operations, and database drivers lock around nearly every call, several
 * times per value; a second thread makes every one of those locks atomic and
 * the fetch, the slower half, a fifth slower. A child keeps the fetching
 * process single-threaded and still overlaps the two halves.
 *
 * The rows cross in the binary form of row_codec.h through a ring of slots
 * in shared memory (pipes carry only which slot is full and which is free
 * again), followed by an end marker or a failure marker with its reason.
 * The child runs stream_export as it would run in this process (staged
 * output, the writer, the progress line, the rename on success), touches
 * nothing else this process holds (a database connection) and ends with
 * _exit, reporting its outcome through a third pipe. A child that stops early (a write
 * failed) ends the fetch; a child killed by a signal passes the signal on
 * to this process, so the command ends as a single process would; SIGINT or
 * SIGTERM here stops the child, whose staging cleanup removes the partial
 * file, and waits for it. Where there is no fork (Windows), on a machine of
 * one core and for the clipboard, the export runs in this process.
 */
#ifndef KOSHR_TOOL_EXPORT_PROCESS_H
#define KOSHR_TOOL_EXPORT_PROCESS_H

#include "export_stream.h"

namespace koshr_tool {

// As stream_export, with the rows rendered and written by a child process.
ExportOutcome stream_export_apart(const ExportSettings& settings, std::vector<ExportColumn> columns,
                                  RowSource& rows, int64_t row_count);

}  // namespace koshr_tool

#endif

/*
 * read_ahead.h: a source of rows read ahead on a thread of its own, so an
 * export reads the next rows (a database fetch, a CSV file) while the rows
 * before them are rendered and written; the export then takes about as long
 * as the slower of the two halves instead of their sum.
 *
 * Rows travel in blocks through a fixed set of them: the reading thread
 * fills a free block and queues it, the writer takes queued blocks in order
 * and gives each back once written, so memory stays at a few blocks
 * whatever the number of rows. Every call into the wrapped source happens on
 * the reading thread once the first row is asked for (a database connection
 * is used by one thread at a time); the caller may use the source again once
 * this object is gone. The end of the rows, or a failure with its reason,
 * reaches the writer after the rows read before it. Destroying the object
 * early (the output failed) stops the reading thread after the block it is
 * reading and waits for it.
 */
#ifndef KOSHR_TOOL_READ_AHEAD_H
#define KOSHR_TOOL_READ_AHEAD_H

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "export_stream.h"

namespace koshr_tool {

class ReadAheadRows final : public RowSource {
 public:
  // Without `threaded` (the default on a machine of one core, where a
  // second thread only adds the cost of handing rows over) the rows come
  // straight from the source on the caller's thread.
  explicit ReadAheadRows(RowSource& source,
                         bool threaded = std::thread::hardware_concurrency() > 1);
  ReadAheadRows(const ReadAheadRows&) = delete;
  ReadAheadRows& operator=(const ReadAheadRows&) = delete;
  ~ReadAheadRows() override;
  bool next(std::vector<CellValue>& row, std::string& why) override;

 private:
  struct Block {
    std::vector<std::vector<CellValue>> rows;
    size_t count = 0;
    bool last = false;  // the source ended (or failed, with `why`) after these rows
    std::string why;
  };
  void start();
  void read_blocks();
  void fill(Block& block);

  RowSource& source_;
  bool threaded_;
  std::vector<Block> blocks_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Block*> free_, queued_;  // guarded by mutex_
  bool stop_ = false;                 // guarded by mutex_
  Block* current_ = nullptr;          // the block the writer takes rows from
  size_t at_ = 0;
  std::thread reader_;
};

}  // namespace koshr_tool

#endif

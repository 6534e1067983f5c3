/*
 * read_ahead.cpp: rows read ahead on a thread of their own (see
 * read_ahead.h).
 */
#include "read_ahead.h"

#include <new>

#ifndef _WIN32
#include <csignal>

#include <pthread.h>
#endif

namespace koshr_tool {
namespace {

// Four blocks: one being read, one being written and two queued between
// them, to ride out a pause on either side. A block of 512 rows makes the
// handing over (a lock and a wake-up) rare next to the rows' own work.
constexpr size_t kBlocks = 4;
constexpr size_t kRowsPerBlock = 512;

}  // namespace

ReadAheadRows::ReadAheadRows(RowSource& source, bool threaded)
    : source_(source), threaded_(threaded), blocks_(threaded ? kBlocks : 0) {
  for (Block& block : blocks_) {
    block.rows.resize(kRowsPerBlock);
    free_.push_back(&block);
  }
}

ReadAheadRows::~ReadAheadRows() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  changed_.notify_one();
  if (reader_.joinable()) reader_.join();
}

void ReadAheadRows::start() {
#ifndef _WIN32
  // SIGINT and SIGTERM stay with the main thread, whose handler removes a
  // staged file: the reading thread starts with them blocked.
  sigset_t blocked, previous;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGINT);
  sigaddset(&blocked, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &blocked, &previous);
#endif
  reader_ = std::thread(&ReadAheadRows::read_blocks, this);
#ifndef _WIN32
  pthread_sigmask(SIG_SETMASK, &previous, nullptr);
#endif
}

void ReadAheadRows::fill(Block& block) {
  block.count = 0;
  block.last = false;
  block.why.clear();
  try {
    while (block.count < block.rows.size()) {
      if (!source_.next(block.rows[block.count], block.why)) {
        block.last = true;
        return;
      }
      ++block.count;
    }
  } catch (const std::bad_alloc&) {
    block.last = true;
    block.why = "out of memory";
  }
}

void ReadAheadRows::read_blocks() {
  for (bool last = false; !last;) {
    Block* block = nullptr;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      changed_.wait(lock, [this] { return stop_ || !free_.empty(); });
      if (stop_) return;
      block = free_.front();
      free_.pop_front();
    }
    fill(*block);
    last = block->last;
    {
      std::lock_guard<std::mutex> lock(mutex_);
      queued_.push_back(block);
    }
    changed_.notify_one();
  }
}

bool ReadAheadRows::next(std::vector<CellValue>& row, std::string& why) {
  if (!threaded_) return source_.next(row, why);
  while (!current_ || at_ == current_->count) {
    if (current_ && current_->last) {
      why = current_->why;
      return false;
    }
    if (!reader_.joinable()) start();
    std::unique_lock<std::mutex> lock(mutex_);
    if (current_) {
      free_.push_back(current_);
      changed_.notify_one();
    }
    changed_.wait(lock, [this] { return !queued_.empty(); });
    current_ = queued_.front();
    queued_.pop_front();
    at_ = 0;
  }
  // The row changes hands with the writer's previous one, whose buffers the
  // block keeps for a later row.
  row.swap(current_->rows[at_++]);
  return true;
}

}  // namespace koshr_tool

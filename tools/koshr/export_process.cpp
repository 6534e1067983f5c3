/*
 * export_process.cpp: the fetching parent and the writing child of an
 * export (see export_process.h).
 */
#include "export_process.h"

#include <thread>

#ifndef _WIN32
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>

#include "row_codec.h"
#endif

namespace koshr_tool {

#ifdef _WIN32

ExportOutcome stream_export_apart(const ExportSettings& settings, std::vector<ExportColumn> columns,
                                  RowSource& rows, int64_t row_count) {
  return stream_export(settings, std::move(columns), rows, row_count);
}

#else

namespace {

// The rows travel through a ring of slots in memory shared with the child:
// the kernel copies only the small notes that pass a slot on or give it
// back, not the rows themselves (through a pipe, the kernel's copies of the
// rows took about as much time as the split saves).
constexpr size_t kSlotSize = 1 << 18;
constexpr size_t kSlots = 8;
enum Marker : uint8_t { kRow = 1, kEnd = 2, kFailed = 3 };
constexpr int kStopSignals[] = {SIGINT, SIGTERM};

volatile pid_t g_child = 0;

extern "C" void stop_child_and_reraise(int signal_number) {
  pid_t child = g_child;
  if (child > 0) {
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
  }
  std::signal(signal_number, SIG_DFL);
  std::raise(signal_number);
}

bool write_all(int fd, const void* data, size_t size) {
  auto bytes = static_cast<const uint8_t*>(data);
  while (size > 0) {
    ssize_t wrote = write(fd, bytes, size);
    if (wrote < 0 && errno == EINTR) continue;
    if (wrote <= 0) return false;
    bytes += wrote;
    size -= size_t(wrote);
  }
  return true;
}

// Exactly `size` bytes; false at the end or on a failure.
bool read_all(int fd, void* data, size_t size) {
  auto bytes = static_cast<uint8_t*>(data);
  while (size > 0) {
    ssize_t got = read(fd, bytes, size);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    bytes += got;
    size -= size_t(got);
  }
  return true;
}

// The parent's end of the ring: a slot is filled and its size sent on
// `full`; a slot comes back as a byte on `empty`, and all start free.
ByteOutput ring_output(uint8_t* ring, int full, int empty) {
  struct State {
    size_t next = 0, free = kSlots;
  };
  auto state = std::make_shared<State>();
  return ByteOutput(
      [=](const uint8_t* data, size_t size) {
        while (size > 0) {
          uint8_t token;
          if (state->free == 0 && !read_all(empty, &token, 1)) return false;
          if (state->free > 0) --state->free;
          auto part = uint32_t(std::min(size, kSlotSize));
          std::memcpy(ring + state->next * kSlotSize, data, part);
          if (!write_all(full, &part, sizeof part)) return false;
          state->next = (state->next + 1) % kSlots;
          data += part;
          size -= part;
        }
        return true;
      },
      kSlotSize);
}

// The child's end: a slot's bytes as they are announced, the slot given
// back at once.
ByteInput ring_input(const uint8_t* ring, int full, int empty) {
  auto next = std::make_shared<size_t>(0);
  return ByteInput(
      [=](uint8_t* data, size_t capacity) -> size_t {
        uint32_t size = 0;
        if (!read_all(full, &size, sizeof size) || size > capacity) return 0;
        std::memcpy(data, ring + *next * kSlotSize, size);
        *next = (*next + 1) % kSlots;
        const uint8_t token = 0;
        write_all(empty, &token, 1);
        return size;
      },
      kSlotSize);
}

ByteOutput fd_output(int fd) {
  return ByteOutput([fd](const uint8_t* data, size_t size) { return write_all(fd, data, size); },
                    kSlotSize);
}

ByteInput fd_input(int fd) {
  return ByteInput(
      [fd](uint8_t* data, size_t capacity) -> size_t {
        ssize_t got;
        while ((got = read(fd, data, capacity)) < 0 && errno == EINTR) {
        }
        return got < 0 ? 0 : size_t(got);
      },
      kSlotSize);
}

void put_text(ByteOutput& out, const std::string& text) {
  CellValue cell;
  cell.missing = false;
  cell.text.assign(text.begin(), text.end());
  put_cell(out, cell, KOSAVE_STRING);
}

bool get_text(ByteInput& in, std::string& text) {
  CellValue cell;
  if (!get_cell(in, cell, KOSAVE_STRING)) return false;
  text.assign(cell.text.begin(), cell.text.end());
  return true;
}

// The rows as the child reads them.
class RingRows final : public RowSource {
 public:
  RingRows(ByteInput in, const std::vector<ExportColumn>& columns) : in_(std::move(in)) {
    for (const ExportColumn& column : columns) types_.push_back(column.type);
  }
  bool next(std::vector<CellValue>& row, std::string& why) override {
    uint8_t marker = 0;
    if (in_.get(&marker, 1) && marker == kRow) {
      row.resize(types_.size());
      for (size_t c = 0; c < types_.size(); ++c) {
        if (!get_cell(in_, row[c], types_[c])) return ended_early(why);
      }
      return true;
    }
    std::signal(SIGPIPE, SIG_DFL);
    if (marker == kEnd) return false;
    if (marker == kFailed && get_text(in_, why)) return false;
    return ended_early(why);
  }

 private:
  static bool ended_early(std::string& why) {
    std::signal(SIGPIPE, SIG_DFL);
    why = "the rows ended early";
    return false;
  }
  ByteInput in_;
  std::vector<uint8_t> types_;
};

// The pipes between the two processes, each end closed by the process that
// does not use it.
struct Pipes {
  int full[2] = {-1, -1};    // parent to child: a slot is filled
  int empty[2] = {-1, -1};   // child to parent: a slot is free again
  int result[2] = {-1, -1};  // child to parent: the outcome
  bool open() {
    return pipe2(full, O_CLOEXEC) == 0 && pipe2(empty, O_CLOEXEC) == 0 &&
           pipe2(result, O_CLOEXEC) == 0;
  }
  void close_ends(std::initializer_list<int*> ends) {
    for (int* end : ends) {
      if (*end >= 0) close(*end);
      *end = -1;
    }
  }
  void close_child_ends() { close_ends({&full[0], &empty[1], &result[1]}); }
  void close_parent_ends() { close_ends({&full[1], &empty[0], &result[0]}); }
};

[[noreturn]] void run_child(const uint8_t* ring, const Pipes& pipes, ExportSettings settings,
                            std::vector<ExportColumn> columns, int64_t row_count) {
  // A parent gone (even by SIGKILL) must end the export through its cleanup,
  // not by SIGPIPE on giving a slot back; the rows' end restores the
  // signal for the output.
  std::signal(SIGPIPE, SIG_IGN);
  ExportOutcome outcome;
  try {
    RingRows rows(ring_input(ring, pipes.full[0], pipes.empty[1]), columns);
    settings.read_ahead = false;
    outcome = stream_export(settings, std::move(columns), rows, row_count);
  } catch (const std::exception& error) {
    outcome = {false, false, error.what()};
  } catch (...) {
    outcome = {false, false, "the export failed"};
  }
  std::fflush(nullptr);
  ByteOutput result = fd_output(pipes.result[1]);
  uint8_t flags[] = {uint8_t(outcome.ok), uint8_t(outcome.source_failed)};
  result.put(flags, sizeof flags);
  put_text(result, outcome.why);
  result.flush();
  _exit(outcome.ok ? 0 : 1);
}

// Sends every row, then the end or the failure; false when the source failed.
bool send_rows(ByteOutput out, const std::vector<ExportColumn>& columns, RowSource& rows,
               std::string& why) {
  std::vector<CellValue> row;
  const uint8_t row_marker = kRow;
  while (!out.failed() && rows.next(row, why)) {
    out.put(&row_marker, 1);
    for (size_t c = 0; c < columns.size(); ++c) put_cell(out, row[c], columns[c].type);
  }
  bool source_failed = !why.empty();
  if (!out.failed()) {
    const uint8_t last = source_failed ? kFailed : kEnd;
    out.put(&last, 1);
    if (source_failed) put_text(out, why);
    out.flush();
  }
  return !source_failed;
}

bool read_outcome(int fd, ExportOutcome& outcome) {
  ByteInput in = fd_input(fd);
  uint8_t flags[2] = {};
  if (!in.get(flags, sizeof flags) || !get_text(in, outcome.why)) return false;
  outcome.ok = flags[0] != 0;
  outcome.source_failed = flags[1] != 0;
  return true;
}

}  // namespace

ExportOutcome stream_export_apart(const ExportSettings& settings, std::vector<ExportColumn> columns,
                                  RowSource& rows, int64_t row_count) {
  if (!settings.format || std::thread::hardware_concurrency() < 2) {
    return stream_export(settings, std::move(columns), rows, row_count);
  }
  void* shared =
      mmap(nullptr, kSlots * kSlotSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) return stream_export(settings, std::move(columns), rows, row_count);
  auto ring = static_cast<uint8_t*>(shared);
  Pipes pipes;
  pid_t child = -1;
  // SIGINT and SIGTERM wait until this process knows its child and has its
  // handler in place; a stop that came sooner would leave the child
  // writing on its own.
  sigset_t stops, mask;
  sigemptyset(&stops);
  for (int signal_number : kStopSignals) sigaddset(&stops, signal_number);
  sigprocmask(SIG_BLOCK, &stops, &mask);
  if (pipes.open()) {
    // What sits in this process's buffers must not be written twice.
    std::fflush(nullptr);
    child = fork();
  }
  if (child < 0) {
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    pipes.close_child_ends();
    pipes.close_parent_ends();
    munmap(shared, kSlots * kSlotSize);
    return stream_export(settings, std::move(columns), rows, row_count);
  }
  if (child == 0) {
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    pipes.close_parent_ends();
    run_child(ring, pipes, settings, std::move(columns), row_count);
  }
  pipes.close_child_ends();

  g_child = child;
  struct sigaction stop {
  }, ignore{}, previous[2], previous_pipe;
  stop.sa_handler = stop_child_and_reraise;
  sigemptyset(&stop.sa_mask);
  for (size_t i = 0; i < 2; ++i) {
    sigaction(kStopSignals[i], nullptr, &previous[i]);
    // A signal the caller chose to ignore (a background job's SIGINT) stays ignored.
    if (previous[i].sa_handler != SIG_IGN) sigaction(kStopSignals[i], &stop, nullptr);
  }
  sigprocmask(SIG_SETMASK, &mask, nullptr);
  // A child gone early shows as EPIPE on the next write, not as a signal.
  ignore.sa_handler = SIG_IGN;
  sigemptyset(&ignore.sa_mask);
  sigaction(SIGPIPE, &ignore, &previous_pipe);

  std::string why;
  bool rows_read = send_rows(ring_output(ring, pipes.full[1], pipes.empty[0]), columns, rows, why);
  pipes.close_ends({&pipes.full[1]});
  ExportOutcome outcome;
  bool reported = read_outcome(pipes.result[0], outcome);
  pipes.close_parent_ends();
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  g_child = 0;
  munmap(shared, kSlots * kSlotSize);
  sigaction(SIGPIPE, &previous_pipe, nullptr);
  for (size_t i = 0; i < 2; ++i) sigaction(kStopSignals[i], &previous[i], nullptr);

  if (!rows_read) return {false, true, why};
  if (WIFSIGNALED(status)) {
    // The command ends as it would have with the export in this process.
    std::signal(WTERMSIG(status), SIG_DFL);
    std::raise(WTERMSIG(status));
    return {false, false, "the export stopped on signal " + std::to_string(WTERMSIG(status))};
  }
  if (!reported) return {false, false, "the export stopped"};
  if (outcome.ok && WEXITSTATUS(status) != 0) return {false, false, "the export did not finish"};
  return outcome;
}

#endif

}  // namespace koshr_tool

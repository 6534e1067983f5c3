// Files: positional and sequential I/O, error codes, and the write-fault
// seam that stands in for a full disk.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/platform.h"
#include "scratch_folder.h"

namespace {

using namespace ko::os;

class Files : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* test = ::testing::UnitTest::GetInstance()->current_test_info()->name();
    path_ = ko_test::process_scratch_folder().file(test).u16string();
    file_ = file_open(path_.c_str(), kFileRead | kFileWrite | kFileCreate | kFileTruncate);
    ASSERT_NE(file_, kInvalidFile);
  }
  void TearDown() override {
    clear_write_fault();
    file_close(file_);
    file_delete(path_.c_str());
  }
  std::string content() {
    std::string bytes(static_cast<size_t>(file_size(file_)), '\0');
    EXPECT_EQ(file_read_at(file_, bytes.data(), bytes.size(), 0),
              static_cast<int64_t>(bytes.size()));
    return bytes;
  }

  std::u16string path_;
  FileHandle file_ = kInvalidFile;
};

TEST_F(Files, PositionalAndSequentialAccess) {
  EXPECT_EQ(file_write_at(file_, "hello world", 11, 0), 11);
  EXPECT_EQ(file_write_at(file_, "W", 1, 6), 1);
  EXPECT_EQ(file_size(file_), 11);
  char buffer[32] = {};
  EXPECT_EQ(file_read_at(file_, buffer, sizeof buffer, 6), 5);  // short at end of file
  EXPECT_EQ(std::string(buffer), "World");
  EXPECT_EQ(file_read_at(file_, buffer, 4, 100), 0);

  EXPECT_EQ(file_seek(file_, 0, 2), 11);
  EXPECT_EQ(file_write(file_, "!", 1), 1);
  EXPECT_EQ(file_seek(file_, -6, 1), 6);
  EXPECT_EQ(file_read(file_, buffer, 6), 6);
  EXPECT_EQ(std::string(buffer, 6), "World!");
  EXPECT_EQ(file_seek(file_, 0, 7), -1);

  EXPECT_TRUE(file_truncate(file_, 5));
  EXPECT_TRUE(file_flush(file_));
  EXPECT_EQ(content(), "hello");
}

TEST_F(Files, OpeningFollowsTheFlags) {
  const std::u16string missing = ko_test::process_scratch_folder().file("missing.bin").u16string();
  EXPECT_EQ(file_open(missing.c_str(), kFileRead), kInvalidFile);
  EXPECT_EQ(last_error(), kErrorFileNotFound);
  EXPECT_FALSE(file_exists(missing.c_str()));
  EXPECT_EQ(file_open(path_.c_str(), kFileWrite | kFileCreate | kFileExclusive), kInvalidFile);
  EXPECT_EQ(last_error(), kErrorFileExists);
  EXPECT_EQ(file_open(nullptr, kFileRead), kInvalidFile);
  EXPECT_EQ(file_open(path_.c_str(), 0), kInvalidFile);
  EXPECT_EQ(file_read_at(kInvalidFile, nullptr, 0, 0), -1);
  EXPECT_EQ(last_error(), kErrorInvalidHandle);

  const std::u16string renamed = ko_test::process_scratch_folder().file("renamed.bin").u16string();
  ASSERT_EQ(file_write_at(file_, "x", 1, 0), 1);
  EXPECT_TRUE(file_rename(path_.c_str(), renamed.c_str()));
  EXPECT_TRUE(file_exists(renamed.c_str()));
  EXPECT_FALSE(file_exists(path_.c_str()));
  EXPECT_TRUE(file_rename(renamed.c_str(), path_.c_str()));

  KOCHAR text[128];
  EXPECT_GT(error_text(kErrorFileNotFound, text, 128), 0u);
}

TEST_F(Files, WriteFaultsStopWritesAtTheFaultPoint) {
  struct Row {
    const char* name;
    WriteFault fault;
    std::vector<int64_t> results;  // of four writes of 4 bytes each
    std::string stored;
  };
  const Row rows[] = {
      {"none", {WriteFaultKind::kNone, 0, 0}, {4, 4, 4, 4}, "aaaabbbbccccdddd"},
      {"fail after 2 calls", {WriteFaultKind::kFail, 2, UINT64_MAX}, {4, 4, -1, -1}, "aaaabbbb"},
      {"fail after 0 calls", {WriteFaultKind::kFail, 0, UINT64_MAX}, {-1, -1, -1, -1}, ""},
      {"fail after 6 bytes", {WriteFaultKind::kFail, UINT64_MAX, 6}, {4, -1, -1, -1}, "aaaa"},
      {"fail after 8 bytes", {WriteFaultKind::kFail, UINT64_MAX, 8}, {4, 4, -1, -1}, "aaaabbbb"},
      {"short after 6 bytes", {WriteFaultKind::kShort, UINT64_MAX, 6}, {4, 2, -1, -1}, "aaaabb"},
      {"short after 8 bytes", {WriteFaultKind::kShort, UINT64_MAX, 8}, {4, 4, 0, -1}, "aaaabbbb"},
      {"short after 1 call", {WriteFaultKind::kShort, 1, UINT64_MAX}, {4, 0, -1, -1}, "aaaa"},
      {"calls first", {WriteFaultKind::kShort, 1, 7}, {4, 0, -1, -1}, "aaaa"},
      {"bytes first", {WriteFaultKind::kShort, 3, 5}, {4, 1, -1, -1}, "aaaab"},
  };
  for (const Row& row : rows) {
    ASSERT_TRUE(file_truncate(file_, 0));
    set_write_fault(row.fault);
    std::vector<int64_t> results;
    uint64_t offset = 0;
    for (const char* chunk : {"aaaa", "bbbb", "cccc", "dddd"}) {
      const int64_t written = file_write_at(file_, chunk, 4, offset);
      if (written < 0) {
        EXPECT_EQ(last_error(), kErrorDiskFull) << row.name;
      }
      offset += written > 0 ? static_cast<uint64_t>(written) : 0;
      results.push_back(written);
    }
    EXPECT_EQ(write_calls_seen(), 4u) << row.name;
    clear_write_fault();
    EXPECT_EQ(results, row.results) << row.name;
    EXPECT_EQ(content(), row.stored) << row.name;
  }
}

TEST_F(Files, SequentialWritesMeetTheSameFault) {
  set_write_fault({WriteFaultKind::kShort, UINT64_MAX, 3});
  EXPECT_EQ(file_write(file_, "abcdef", 6), 3);
  EXPECT_EQ(file_write(file_, "gh", 2), -1);
  clear_write_fault();
  EXPECT_EQ(write_calls_seen(), 0u);
  EXPECT_EQ(file_write(file_, "gh", 2), 2);
  EXPECT_EQ(content(), "abcgh");
}

}  // namespace

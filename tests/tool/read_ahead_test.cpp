// read_ahead_test.cpp: rows read ahead on their own thread (or, on one core,
// straight from the source) reach the writer all, in order and unchanged,
// across block boundaries; a failure arrives after exactly the rows read
// before it, with its reason; and a writer that stops early ends the reading
// thread without another call to the source.
#include <gtest/gtest.h>

#include <atomic>

#include "read_ahead.h"

namespace saveas_test {
namespace {

using koshr_tool::CellValue;

// Rows numbered from 0, one text and one number each; breaks at `fail_at`.
class CountingRows final : public koshr_tool::RowSource {
 public:
  CountingRows(size_t total, size_t fail_at) : total_(total), fail_at_(fail_at) {}
  bool next(std::vector<CellValue>& row, std::string& why) override {
    ++calls;
    if (at_ == fail_at_) why = "row " + std::to_string(at_) + " broke";
    if (at_ == fail_at_ || at_ == total_) return false;
    row.resize(2);
    row[0].missing = at_ % 5 == 0;
    row[0].text.assign(at_ % 7, u'x');
    row[1].number = double(at_);
    ++at_;
    return true;
  }
  std::atomic<size_t> calls{0};

 private:
  size_t total_, fail_at_;
  size_t at_ = 0;
};

TEST(ReadAheadTest, EveryRowArrivesInOrderThenTheEndOrTheFailure) {
  const struct {
    size_t total, fail_at;
  } cases[] = {{0, SIZE_MAX},   {1, SIZE_MAX},    {511, SIZE_MAX}, {512, SIZE_MAX},
               {513, SIZE_MAX}, {5000, SIZE_MAX}, {5000, 0},       {5000, 1},
               {5000, 512},     {5000, 2049},     {5000, 4999}};
  for (bool threaded : {true, false}) {
    for (const auto& test : cases) {
      CountingRows source(test.total, test.fail_at);
      koshr_tool::ReadAheadRows rows(source, threaded);
      std::vector<CellValue> row;
      std::string why;
      size_t seen = 0;
      bool same = true;
      while (rows.next(row, why)) {
        same = same && row.size() == 2 && row[0].missing == (seen % 5 == 0) &&
               row[0].text == std::u16string(seen % 7, u'x') && row[1].number == double(seen);
        ++seen;
      }
      std::string label = std::to_string(test.total) + " rows, failing at " +
                          std::to_string(test.fail_at) + (threaded ? ", threaded" : "");
      EXPECT_TRUE(same) << label;
      EXPECT_EQ(seen, std::min(test.total, test.fail_at)) << label;
      EXPECT_EQ(why,
                test.fail_at < test.total ? "row " + std::to_string(test.fail_at) + " broke" : "")
          << label;
      EXPECT_FALSE(rows.next(row, why)) << label << ": the end stays the end";
    }
  }
}

TEST(ReadAheadTest, AWriterThatStopsEarlyEndsTheReading) {
  for (size_t taken : {size_t(0), size_t(1), size_t(3000)}) {
    CountingRows source(10000000, SIZE_MAX);
    {
      koshr_tool::ReadAheadRows rows(source, true);
      std::vector<CellValue> row;
      std::string why;
      for (size_t i = 0; i < taken; ++i) ASSERT_TRUE(rows.next(row, why));
    }
    size_t calls = source.calls;
    // The reading thread stops within the few blocks it may hold ahead.
    EXPECT_LT(calls, taken + 4 * 512 + 1) << taken;
    EXPECT_EQ(source.calls, calls) << "the source is not called once the reader is gone";
  }
}

}  // namespace
}  // namespace saveas_test

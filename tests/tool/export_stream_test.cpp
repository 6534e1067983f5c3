// export_stream_test.cpp: the tool's streaming export: rows put aside and
// read back exactly, a stream of unknown length saved byte for byte as one
// whose count and widths were known, and a signal during an export leaving
// neither the staging folder nor a partial file, the target untouched; the
// same through the export split across two processes.
#include <csignal>
#include <cstring>

#include "export_process.h"
#include "export_stream.h"
#include "row_spool.h"
#include "saveas/export_table.h"
#include "staged_output.h"

namespace saveas_test {
namespace {

using koshr_tool::CellValue;
using koshr_tool::ExportColumn;

class VectorRows final : public koshr_tool::RowSource {
 public:
  explicit VectorRows(std::vector<std::vector<CellValue>> rows, size_t fail_at = SIZE_MAX)
      : rows_(std::move(rows)), fail_at_(fail_at) {}
  bool next(std::vector<CellValue>& row, std::string& why) override {
    if (at_ == fail_at_) why = "the source broke";
    if (at_ == fail_at_ || at_ == rows_.size()) return false;
    row = rows_[at_++];
    return true;
  }

 private:
  std::vector<std::vector<CellValue>> rows_;
  size_t fail_at_;
  size_t at_ = 0;
};

// The export in this process, and with a child process writing.
using Export = koshr_tool::ExportOutcome (*)(const koshr_tool::ExportSettings&,
                                             std::vector<ExportColumn>, koshr_tool::RowSource&,
                                             int64_t);
const Export kExports[] = {koshr_tool::stream_export, koshr_tool::stream_export_apart};

const std::vector<ExportColumn> kColumns = {{"name", KOSAVE_STRING, -1},
                                            {"ratio", KOSAVE_DOUBLE, 0},
                                            {"price", KOSAVE_DECIMAL, 2},
                                            {"at", KOSAVE_DATETIME, 0}};

std::vector<std::vector<CellValue>> sample_rows() {
  std::vector<std::vector<CellValue>> rows;
  const char16_t* names[] = {u"Widget", u"", u"a \"long\" name \U0001F600", u"x"};
  for (int r = 0; r < 4; ++r) {
    std::vector<CellValue> row(4);
    for (CellValue& cell : row) cell.missing = r == 1;
    row[0].text = names[r];
    row[1].number = r * 1.25 - 3;
    row[2].decimal = decimal(1999 + r, 2);
    row[3].when = date_time(2024, 3, 5 + r, 10, 11, 12, 500000 * r);
    row[3].text = u"'2024-03-0" + std::u16string(1, char16_t(u'5' + r)) + u"'";
    rows.push_back(row);
  }
  return rows;
}

TEST(RowSpoolTest, ReadsBackEveryValueAndMeasuresStrings) {
  VectorRows source(sample_rows());
  koshr_tool::RowSpool spool(kColumns);
  std::string why;
  ASSERT_TRUE(spool.fill(source, why)) << why;
  EXPECT_EQ(spool.row_count(), 4u);
  EXPECT_EQ(spool.longest(0), 16);  // the emoji takes two units
  std::vector<CellValue> row;
  for (const auto& expected : sample_rows()) {
    ASSERT_TRUE(spool.next(row, why)) << why;
    for (size_t c = 0; c < expected.size(); ++c) {
      EXPECT_EQ(row[c].missing, expected[c].missing);
      if (expected[c].missing) continue;
      EXPECT_EQ(row[c].text, c == 0 || c == 3 ? expected[c].text : u"");
      EXPECT_EQ(row[c].number, c == 1 ? expected[c].number : 0);
      EXPECT_EQ(std::memcmp(&row[c].when, &expected[c].when, sizeof row[c].when), 0);
      EXPECT_EQ(std::memcmp(&row[c].decimal, &expected[c].decimal, sizeof row[c].decimal), 0);
    }
  }
  EXPECT_FALSE(spool.next(row, why));
  EXPECT_EQ(why, "");

  VectorRows broken(sample_rows(), 2);
  koshr_tool::RowSpool failed(kColumns);
  EXPECT_FALSE(failed.fill(broken, why));
  EXPECT_EQ(why, "the source broke");
}

TEST_F(SaveTest, UnknownCountAndWidthsSaveAsKnownOnes) {
  std::vector<ExportColumn> known = kColumns;
  known[0].width = 16;
  for (const koshr_tool::SaveFormat& format : koshr_tool::save_formats()) {
    // Unknown in this process, known, unknown through a child process.
    std::string bytes[3];
    for (int pass = 0; pass < 3; ++pass) {
      std::filesystem::path out = path(std::to_string(pass) + "/t" + format.extension);
      std::filesystem::create_directories(out.parent_path());
      koshr_tool::ExportSettings settings;
      settings.output = out.string();
      settings.format = &format;
      settings.flags = KOSAVE_COLUMN_NAMES;
      VectorRows rows(sample_rows());
      bool knows = pass == 1;
      auto outcome = kExports[pass / 2](settings, knows ? known : kColumns, rows, knows ? 4 : -1);
      ASSERT_TRUE(outcome.ok) << format.name << ": " << outcome.why;
      bytes[pass] = read_bytes(out);
    }
    EXPECT_EQ(bytes[0], bytes[1]) << format.name;
    EXPECT_EQ(bytes[0], bytes[2]) << format.name;
    EXPECT_FALSE(bytes[0].empty()) << format.name;
  }
}

TEST_F(SaveTest, AFailedSourceLeavesTheTargetAsItWas) {
  write_bytes(path("t.dbf"), "before");
  write_bytes(path("t.csv"), "before");
  for (Export export_rows : kExports) {
    for (const char* name : {"t.dbf", "t.csv"}) {
      koshr_tool::ExportSettings settings;
      settings.output = path(name).string();
      settings.format = koshr_tool::find_save_format("", name);
      VectorRows rows(sample_rows(), 3);
      auto outcome = export_rows(settings, kColumns, rows, -1);
      EXPECT_FALSE(outcome.ok);
      EXPECT_TRUE(outcome.source_failed);
      EXPECT_EQ(outcome.why, "the source broke");
      EXPECT_EQ(read_bytes(path(name)), "before");
    }
  }
  using Entries = std::filesystem::directory_iterator;
  EXPECT_EQ(std::distance(Entries(folder_.path()), Entries()), 2) << "no staging folder left";
}

TEST_F(SaveTest, AWriteFailureIsTheWritersMessage) {
  for (Export export_rows : kExports) {
    koshr_tool::ExportSettings settings;
    settings.output = path("no/such/folder/t.csv").string();
    settings.format = koshr_tool::find_save_format("csv", "");
    VectorRows rows(sample_rows());
    auto outcome = export_rows(settings, kColumns, rows, -1);
    EXPECT_FALSE(outcome.ok);
    EXPECT_FALSE(outcome.source_failed);
    EXPECT_EQ(outcome.why.rfind("cannot create a file there", 0), 0u) << outcome.why;
  }
}

#ifndef _WIN32
TEST_F(SaveTest, ASignalRemovesTheStagedFileAndKeepsTheTarget) {
  write_bytes(path("target.csv"), "before");
  for (int signal_number : {SIGINT, SIGTERM}) {
    EXPECT_EXIT(
        {
          koshr_tool::StagedOutput staged;
          std::string why;
          if (!staged.open(path("target.csv").string(), why)) std::_Exit(3);
          write_bytes(staged.folder() / staged.file_name(), "partial");
          std::raise(signal_number);
        },
        ::testing::KilledBySignal(signal_number), "");
  }
  EXPECT_EQ(read_bytes(path("target.csv")), "before");
  using Entries = std::filesystem::directory_iterator;
  EXPECT_EQ(std::distance(Entries(folder_.path()), Entries()), 1) << "only the target";
}
#endif

}  // namespace
}  // namespace saveas_test

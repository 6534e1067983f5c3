// write_fault_test.cpp: every exporter under a failing disk. For each write
// call of a clean run, the same export is repeated with the disk failing at
// that call: the step that made the call must be the one refused (Begin
// returning none, AddColumn or WriteValue returning 0, or End returning 0),
// and the export must still release its file.
#include "platform/platform.h"
#include "saveas/export_table.h"
#include "saveas/save_context.h"

namespace saveas_test {
namespace {

class WriteFaultTest : public SaveTest {
 protected:
  void TearDown() override {
    ko::os::clear_write_fault();
    ko::save_set_buffer_size(0);
    SaveTest::TearDown();
  }
};

// The process's open file descriptors; 0 where they cannot be listed (under
// Wine the listing is the emulator's, which opens and closes its own).
size_t open_descriptors() {
#ifdef _WIN32
  return 0;
#else
  std::error_code error;
  std::filesystem::directory_iterator it("/proc/self/fd", error);
  if (error) return 0;
  size_t n = 0;
  for (; it != std::filesystem::directory_iterator(); ++it) ++n;
  return n;
#endif
}

Table mixed_table() {
  Table table{{{u"name", 12, KOSAVE_STRING},
               {u"price", 0, KOSAVE_DOUBLE},
               {u"stamp", 0, KOSAVE_DATETIME},
               {u"day", 0, KOSAVE_DATE},
               {u"at", 0, KOSAVE_TIME},
               {u"amount", 2, KOSAVE_DECIMAL}},
              {}};
  for (int i = 0; i < 2; ++i) {
    table.rows.push_back({Cell(u"row \"" + std::u16string(size_t(i), u'x') + u"\""), Cell(i * 1.25),
                          Cell(date_time(2024, 1 + i, 2, 3, 4, 5, uint32_t(i) * 100)),
                          Cell(date_time(2024, 1, 1 + i)), Cell(date_time(2000, 1, 1, i, 30, 0)),
                          Cell(decimal(12345 * i, 2))});
  }
  table.rows.push_back({Cell(), Cell(), Cell(), Cell(), Cell(), Cell()});
  return table;
}

TEST_F(WriteFaultTest, EachWriterStopsAtTheFailingWriteAndReleasesItsFile) {
  CKO_SaveCsv csv;
  CKO_SaveText text;
  CKO_SaveSylk sylk;
  CKO_SaveDif dif;
  CKO_SaveSql sql;
  CKO_SaveXml xml;
  CKO_SaveDbase3 dbf;
  CKO_SaveWk wk1;
  const std::pair<const char*, IKO_SaveFileType*> writers[] = {
      {"csv", &csv}, {"text", &text}, {"sylk", &sylk}, {"dif", &dif},
      {"sql", &sql}, {"xml", &xml},   {"dbf", &dbf},   {"wk1", &wk1},
  };
  const Table table = mixed_table();
  // A tiny buffer makes nearly every piece its own write call.
  ko::save_set_buffer_size(8);
  for (auto [name, writer] : writers) {
    for (uint32_t flags : {0u, uint32_t(KOSAVE_COLUMN_NAMES)}) {
      std::filesystem::path file = path(std::string("fault.") + name);
      ko::os::clear_write_fault();
      ExportResult clean = run(*writer, file, table, flags);
      ASSERT_EQ(clean.failed_step, -1) << name;
      ASSERT_EQ(clean.end_result, 1) << name;
      uint64_t calls = clean.writes_after_step.back();
      ASSERT_GT(calls, 10u) << name;
      size_t descriptors = open_descriptors();
      for (auto kind : {ko::os::WriteFaultKind::kFail, ko::os::WriteFaultKind::kShort}) {
        for (uint64_t k = 0; k < calls; ++k) {
          ko::os::set_write_fault({kind, k});
          ExportResult faulty = run(*writer, file, table, flags);
          ko::os::clear_write_fault();
          // The step whose write calls took the count past k is the one refused.
          size_t step = 0;
          while (clean.writes_after_step[step] <= k) ++step;
          int expected_step = step + 1 == clean.writes_after_step.size() ? -1 : int(step);
          EXPECT_EQ(faulty.failed_step, expected_step) << name << " failing call " << k;
          if (expected_step == -1) {
            EXPECT_EQ(faulty.end_result, 0) << name << " call " << k;
          }
          EXPECT_EQ(open_descriptors(), descriptors) << name << " call " << k;
        }
      }
    }
  }
}

}  // namespace
}  // namespace saveas_test

// export_table.h: what the save-as tests share: the storage fixture, a
// scratch folder for each test, a table of typed values driven through any exporter, and
// the helpers that hand output files to the programs that read them.
#ifndef KOSHR_TESTS_SAVEAS_EXPORT_TABLE_H
#define KOSHR_TESTS_SAVEAS_EXPORT_TABLE_H

#include <gtest/gtest.h>
#include <koshr/saveas.h>
#include <koshr/storage.h>

#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "platform/utf16.h"
#include "scratch_folder.h"
#include "storage_fixture.h"

namespace saveas_test {

// A cell: missing, text, double, date-time or decimal.
using Cell = std::variant<std::monostate, std::u16string, double, KODATETIME, KODECIMAL>;

struct Column {
  std::u16string name;
  int32_t width;
  uint8_t type;
};

struct Table {
  std::vector<Column> columns;
  std::vector<std::vector<Cell>> rows;
};

KODATETIME date_time(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                     uint32_t microsecond = 0);
KODECIMAL decimal(int64_t units, uint8_t scale);

// Where an export stopped: -1 when it ran through, otherwise the step that
// was refused (0 Begin, then each AddColumn and WriteValue in order).
struct ExportResult {
  int failed_step = -1;
  int end_result = 0;
  // osSaveOverflow just before End: the count, and the first row and column.
  uint32_t overflow_count = 0;
  uint32_t overflow_row = UINT32_MAX;
  int32_t overflow_column = -1;
  // The platform's count of file-write calls after each step, End last.
  std::vector<uint64_t> writes_after_step;
};

class SaveTest : public ko_test::StorageTest {
 protected:
  SaveTest() : StorageTest(4096) {}

  std::filesystem::path path(const std::string& name) const { return folder_.file(name); }
  // Drives `writer` over the table; stops at the first refused step and
  // always ends the export when Begin succeeded.
  ExportResult run(IKO_SaveFileType& writer, const std::filesystem::path& file, const Table& table,
                   uint32_t flags, int32_t encoding = KOSAVE_ENCODING_UTF8) const;
  // The same, into a new file named `name`; returns the file's bytes.
  std::string export_bytes(IKO_SaveFileType& writer, const std::string& name, const Table& table,
                           uint32_t flags, int32_t encoding = KOSAVE_ENCODING_UTF8) const;

  ko_test::ScratchFolder folder_{"saveas"};
};

using ko_test::read_bytes;
using ko_test::write_bytes;
// Runs a shell command; its standard output, and its exit status in *status.
std::string run_command(const std::string& command, int* status);
bool have_program(const char* name);
// UTF-8 through the platform's conversion, itself checked in utf16_test.
inline std::string utf8(std::u16string_view text) {
  std::string out(ko::utf16_to_utf8(text.data(), text.size(), nullptr, 0), '\0');
  ko::utf16_to_utf8(text.data(), text.size(), out.data(), out.size() + 1);
  return out;
}
// The file of a golden output in tests/data/saveas/.
std::filesystem::path golden(const std::string& name);
// Compares with a golden file; KOSHR_UPDATE_GOLDEN=1 rewrites it instead.
void expect_golden(const std::string& bytes, const std::string& name);

}  // namespace saveas_test

#endif

// export_table.cpp: the shared save-as test helpers (see export_table.h).
#include "saveas/export_table.h"

#include <array>
#include <cstdio>
#include <cstdlib>

#include "platform/platform.h"

namespace saveas_test {

KODATETIME date_time(int year, int month, int day, int hour, int minute, int second,
                     uint32_t microsecond) {
  return KODATETIME{microsecond, uint16_t(year - 1900), uint8_t(month - 1), uint8_t(day),
                    uint8_t(hour),  uint8_t(minute),      uint8_t(second),    0};
}

KODECIMAL decimal(int64_t units, uint8_t scale) {
  return KODECIMAL{0, scale, uint8_t(units < 0 ? KODECIMAL_NEGATIVE : 0), 0,
                   units < 0 ? uint64_t(-units) : uint64_t(units)};
}

namespace {

const void* value_pointer(const Cell& cell) {
  switch (cell.index()) {
    case 1: return std::get<std::u16string>(cell).c_str();
    case 2: return &std::get<double>(cell);
    case 3: return &std::get<KODATETIME>(cell);
    case 4: return &std::get<KODECIMAL>(cell);
    default: return nullptr;
  }
}

}  // namespace

ExportResult SaveTest::run(IKO_SaveFileType& writer, const std::filesystem::path& file,
                           const Table& table, uint32_t flags, int32_t encoding) const {
  ExportResult result;
  std::u16string name = file.empty() ? std::u16string() : file.u16string();
  KoSaveContext* save =
      writer.Begin(storage_, subpool_, file.empty() ? nullptr : name.c_str(), uint32_t(table.rows.size()),
                   int32_t(table.columns.size()), flags, encoding);
  result.writes_after_step.push_back(ko::os::write_calls_seen());
  if (!save) {
    result.failed_step = 0;
    return result;
  }
  int step = 0;
  bool ok = true;
  for (const Column& column : table.columns) {
    ++step;
    ok = writer.AddColumn(save, column.name.c_str(), column.width, column.type) == 1;
    result.writes_after_step.push_back(ko::os::write_calls_seen());
    if (!ok) break;
  }
  for (size_t r = 0; ok && r < table.rows.size(); ++r) {
    for (const Cell& cell : table.rows[r]) {
      ++step;
      ok = writer.WriteValue(save, value_pointer(cell)) == 1;
      result.writes_after_step.push_back(ko::os::write_calls_seen());
      if (!ok) break;
    }
  }
  if (!ok) result.failed_step = step;
  result.overflow_count = osSaveOverflow(save, &result.overflow_row, &result.overflow_column);
  result.end_result = writer.End(save);
  result.writes_after_step.push_back(ko::os::write_calls_seen());
  return result;
}

std::string SaveTest::export_bytes(IKO_SaveFileType& writer, const std::string& name,
                                   const Table& table, uint32_t flags, int32_t encoding) const {
  std::filesystem::path file = path(name);
  ExportResult result = run(writer, file, table, flags, encoding);
  EXPECT_EQ(result.failed_step, -1) << name;
  EXPECT_EQ(result.end_result, 1) << name;
  return read_bytes(file);
}

std::string run_command(const std::string& command, int* status) {
  std::string output;
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) {
    *status = -1;
    return output;
  }
  std::array<char, 4096> chunk;
  size_t n;
  while ((n = fread(chunk.data(), 1, chunk.size(), pipe)) > 0) output.append(chunk.data(), n);
  *status = pclose(pipe);
  return output;
}

bool have_program(const char* name) {
#ifdef _WIN32
  (void)name;
  return false;  // the readers are Linux programs; under Wine their checks are skipped
#else
  int status = 0;
  run_command(std::string("command -v ") + name + " >/dev/null 2>&1", &status);
  return status == 0;
#endif
}

std::filesystem::path golden(const std::string& name) {
  return std::filesystem::path(KOSHR_TEST_DATA) / "saveas" / name;
}

void expect_golden(const std::string& bytes, const std::string& name) {
  const char* update = std::getenv("KOSHR_UPDATE_GOLDEN");
  if (update && update[0] == '1') {
    write_bytes(golden(name), bytes);
    return;
  }
  std::string expected = read_bytes(golden(name));
  ASSERT_FALSE(expected.empty()) << "missing golden file " << name;
  EXPECT_EQ(bytes, expected) << "output differs from " << name;
}

}  // namespace saveas_test

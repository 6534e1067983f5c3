// Fuzz target for library files: arbitrary bytes are opened as a library,
// listed, every entry read, the file checked, and then changed (an entry put,
// one removed) and checked again. Corrupt structures must give error codes,
// never a crash, a hang or a read outside the file.
#include <koshr/library.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

std::u16string scratch_path() {
  std::string p = "/tmp/koshr_fuzz_library_" + std::to_string(getpid()) + ".kol";
  return std::u16string(p.begin(), p.end());
}

bool write_file(const std::u16string& path, const uint8_t* data, size_t size) {
  std::string narrow(path.begin(), path.end());
  FILE* f = std::fopen(narrow.c_str(), "wb");
  if (!f) return false;
  bool ok = std::fwrite(data, 1, size, f) == size;
  return std::fclose(f) == 0 && ok;
}

void read_everything(KostgContext* pool, LMI_HANDLE lib) {
  LMI_LIST_ITEM* items = nullptr;
  int32_t count = LMI_ListEntriesExtended(lib, pool, &items);
  static uint8_t buffer[1 << 16];
  for (int32_t i = 0; i < count; ++i) {
    std::u16string name = items[i].name;
    if (LMI_OpenEntry(lib, name.data(), LMI_ENTRY_READ, nullptr) != 0) continue;
    // A corrupt length may claim gigabytes: a bounded read is enough.
    for (int round = 0; round < 16 && LMI_ReadEntry(lib, buffer, sizeof buffer) > 0; ++round) {
    }
    LMI_CloseEntry(lib);
  }
  kostg_fee(pool, items);
  void* scc = nullptr;
  uint32_t length = 0;
  if (LMI_GetSCCDataBuffer(lib, pool, &scc, &length) == 0) kostg_fee(pool, scc);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::u16string path = scratch_path();
  static KostgContext* pool = kostg_begin(0);
  if (size > (1 << 20) || !write_file(path, data, size)) return 0;
  LMI_GetKOLBinaryType(pool, path.c_str());
  LMI_CheckLibrary(pool, path.c_str(), nullptr, nullptr);
  if (LMI_HANDLE lib = LMI_OpenLibrary(pool, path.c_str(), LMI_MODE_READ, 0)) {
    read_everything(pool, lib);
    LMI_CloseLibrary(lib);
  }
  if (LMI_HANDLE lib = LMI_OpenLibrary(pool, path.c_str(), LMI_MODE_READWRITE, 0)) {
    std::u16string name = u"fuzz_entry.dat";
    if (LMI_OpenEntry(lib, name.data(), LMI_ENTRY_WRITE, u"comment") == 0) {
      LMI_WriteEntry(lib, data, uint32_t(size < 3000 ? size : 3000));
      LMI_CloseEntry(lib);
    }
    LMI_LIST_ITEM* items = nullptr;
    if (LMI_ListEntries(lib, pool, &items) > 0) {
      std::u16string first = items[0].name;
      LMI_DeleteEntry(lib, first.data());
    }
    kostg_fee(pool, items);
    read_everything(pool, lib);
    LMI_CloseLibrary(lib);
    LMI_CheckLibrary(pool, path.c_str(), nullptr, nullptr);
  }
  return 0;
}

// Fuzz target for the hex-ASCII reader: arbitrary text (read as UTF-16LE) goes
// to LMI_EntryFromHexAscii; whatever it stores must read back, and the
// library must stay sound.
#include <koshr/library.h>

#include <unistd.h>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/byte_order.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static KostgContext* pool = kostg_begin(0);
  static std::u16string path = [] {
    std::string p = "/tmp/koshr_fuzz_hex_" + std::to_string(getpid()) + ".kol";
    std::u16string wide(p.begin(), p.end());
    unlink(p.c_str());
    LMI_CreateLibrary(pool, wide.data(), nullptr);
    return wide;
  }();
  std::u16string text(size / 2, u'\0');
  for (size_t i = 0; i < text.size(); ++i) text[i] = ko::load_le16(data + 2 * i);
  // Half the inputs get the marker in front, so the decoder is reached often.
  if (size % 2) text = u"\r\nStart of Korvane Binary Data Section : Do NOT Edit\r\n" + text;
  LMI_HANDLE lib = LMI_OpenLibrary(pool, path.c_str(), LMI_MODE_READWRITE, 0);
  if (!lib) std::abort();
  std::u16string name = u"fuzz.bin";
  int32_t rc = LMI_EntryFromHexAscii(lib, name.data(), text.c_str(), uint32_t(text.size()));
  if (rc == 0) {
    // Every piece gives whole words, and what was stored reads back in full.
    LMI_ENTRY_INFO info;
    if (LMI_EntryInformation(lib, name.data(), &info) != 0 || info.objectSize % 4) std::abort();
    static uint8_t back[1 << 16];
    uint32_t total = 0;
    int32_t got;
    if (LMI_OpenEntry(lib, name.data(), LMI_ENTRY_READ, nullptr) != 0) std::abort();
    while ((got = LMI_ReadEntry(lib, back, sizeof back)) > 0) total += uint32_t(got);
    LMI_CloseEntry(lib);
    if (got < 0 || total != info.objectSize) std::abort();
  }
  if (LMI_CloseLibrary(lib) != 0) std::abort();
  if (LMI_CheckLibrary(pool, path.c_str(), nullptr, nullptr) != 0) std::abort();
  return 0;
}

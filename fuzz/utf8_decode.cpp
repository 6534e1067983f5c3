// Fuzz target: kostg_UTF8toUCS2 (and kostg_UCS2toUTF8 on what it gives) over
// arbitrary bytes. The text and the destinations are sized exactly, so any
// read past the terminator or write past the counted size is caught.
#include <koshr/strings.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<char> utf8(data, data + size);
  utf8.push_back(0);
  int64_t units = kostg_UTF8toUCS2(nullptr, utf8.data());
  std::vector<KOCHAR> text(size_t(units) + 1);
  if (kostg_UTF8toUCS2(text.data(), utf8.data()) != units) std::abort();
  if (text[size_t(units)] != 0) std::abort();

  int64_t bytes = kostg_UCS2toUTF8(nullptr, text.data(), 0);
  std::vector<char> again(size_t(bytes) + 1);
  if (kostg_UCS2toUTF8(again.data(), text.data(), bytes) != bytes) std::abort();
  if (bytes > 1 && kostg_UCS2toUTF8(again.data(), text.data(), bytes - 1) != 0) std::abort();
  return 0;
}

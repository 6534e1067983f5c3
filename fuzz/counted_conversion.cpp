// Fuzz target: the counted ansi conversions over arbitrary bytes with
// embedded zeros, and the forced multibyte conversion. Inputs and outputs are
// sized exactly, so nothing may be read past the count or written past the
// size the counting call gave.
#include <koshr/strings.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "platform/byte_order.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* ansi = reinterpret_cast<const char*>(data);
  int64_t units = kostg_ansitostr_with_zero(nullptr, ansi, int64_t(size));
  if (units < 0) std::abort();
  std::vector<KOCHAR> text(size_t(units) + 1);
  if (kostg_ansitostr_with_zero(text.data(), ansi, int64_t(size)) != units) std::abort();

  int64_t bytes = kostg_strtoansi_with_zero(nullptr, text.data(), units);
  if (bytes >= 0) {
    std::vector<char> back(size_t(bytes) + 1);
    int64_t written = kostg_strtoansi_with_zero(back.data(), text.data(), units);
    if (written < 0 || written > bytes) std::abort();
  }

  // The same bytes read as UTF-16 units (an odd last byte dropped).
  std::vector<KOCHAR> wide(size / 2);
  for (size_t i = 0; i < wide.size(); ++i) wide[i] = ko::load_le16(data + 2 * i);
  int64_t wide_bytes = kostg_strtoansi_with_zero(nullptr, wide.data(), int64_t(wide.size()));
  if (wide_bytes >= 0) {
    std::vector<char> out(size_t(wide_bytes) + 1);
    kostg_strtoansi_with_zero(out.data(), wide.data(), int64_t(wide.size()));
  }

  std::vector<char> terminated(ansi, ansi + size);
  terminated.push_back(0);
  size_t count = size % 64;
  std::vector<KOCHAR> forced(count + 1);
  int lossy = 0;
  size_t n = mbstowcs_force(forced.data(), terminated.data(), count, &lossy);
  if (n != size_t(-1) && n > count + 1) std::abort();
  return 0;
}

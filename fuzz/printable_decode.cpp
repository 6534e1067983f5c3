// Fuzz target: printable decoding over arbitrary bytes, in place and into a
// pool. Decoding then encoding then decoding again gives the same units (up
// to the first zero unit, where the encoded text ends).
#include <koshr/strings.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<char> printable(data, data + size);
  printable.push_back(0);
  size_t bytes = std::char_traits<char>::length(printable.data());
  std::vector<KOCHAR> text(bytes + 1);
  kostg_printabletostr(text.data(), printable.data());
  std::u16string decoded(text.data());

  std::vector<char> encoded(decoded.size() * 6 + 1);
  kostg_strtoprintable(encoded.data(), decoded.c_str());
  std::vector<KOCHAR> back(std::char_traits<char>::length(encoded.data()) + 1);
  kostg_printabletostr(back.data(), encoded.data());
  if (decoded != back.data()) std::abort();

  KostgContext* context = kostg_begin(0);
  if (context) {
    KOCHAR* copy = kostg_printabletostrdup(context, printable.data(), nullptr);
    if (copy && decoded != copy) std::abort();
    kostg_end(context);
  }
  return 0;
}

// Fuzz target: arbitrary format text through the three compilers into
// buffers of random capacity, then random values through whatever compiles,
// into outputs of random capacity. Buffers are allocated at their exact size
// so the sanitizer catches any write past them.
#include <koshr/format.h>

#include <cstdint>
#include <cstring>
#include <vector>

namespace {

struct Input {
  const uint8_t* data;
  size_t size;
  uint64_t take(int bytes) {
    uint64_t value = 0;
    for (int i = 0; i < bytes && size; ++i, ++data, --size) value = value << 8 | *data;
    return value;
  }
};

void render_all(const std::vector<KOFMTCODE>& compiled, int kind, Input& in) {
  int capacity = int(in.take(1) % 80) + 1;
  std::vector<KOCHAR> out(capacity);
  uint64_t bits = in.take(8);
  double number;
  std::memcpy(&number, &bits, sizeof number);
  const KOCHAR* culture = (bits & 1) ? u"sDecimal=,\tsThousand=.\tsGrouping=0" : nullptr;
  if (kind == 0) {
    shformatDoubleWeb(compiled.data(), number, out.data(), capacity, culture);
    shformatDouble(compiled.data(), double(int64_t(bits) % 100000) / 100, out.data(), capacity);
    shformatRealWeb(compiled.data(), float(number), out.data(), capacity, culture);
    shformatLonglongWeb(compiled.data(), int64_t(bits), out.data(), capacity, culture);
    KODECIMAL decimal{0, uint8_t(bits % 29), uint8_t(bits & 0x80), uint32_t(bits >> 32), bits};
    shformatDecimalWeb(compiled.data(), &decimal, out.data(), capacity, culture);
    shformatDecimal(compiled.data(), nullptr, out.data(), capacity);
  } else if (kind == 1) {
    KODATETIME when;
    std::memcpy(&when, &bits, 8);
    when.hour = uint8_t(bits >> 3);
    when.minute = uint8_t(bits >> 11);
    when.second = uint8_t(bits >> 19);
    shformatDateTimeWeb(compiled.data(), &when, out.data(), capacity, culture);
    shformatDateTime(compiled.data(), nullptr, out.data(), capacity);
  } else {
    const KOCHAR value[] = {KOCHAR(bits), KOCHAR(bits >> 16), u'x', 0};
    shformatString(compiled.data(), value, out.data(), capacity);
    shformatString(compiled.data(), nullptr, out.data(), capacity);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in{data, size};
  int capacity = int(in.take(2) % 600) + 1;
  size_t text_size = in.take(2) % 2048;
  if (text_size > in.size) text_size = in.size;
  std::vector<KOCHAR> format(text_size + 1, 0);
  // Mostly ASCII (where the format characters are), sometimes any unit.
  for (size_t i = 0; i < text_size; ++i) {
    uint64_t byte = in.take(1);
    format[i] = byte < 0xF0 ? KOCHAR(byte & 0x7F) : KOCHAR(in.take(2));
    if (format[i] == 0) format[i] = u'0';
  }
  for (int kind = 0; kind < 3; ++kind) {
    std::vector<KOFMTCODE> compiled(capacity);
    int code = kind == 0 ? shformatCmplNumericMaskWeb(format.data(), compiled.data(), capacity,
                                                      (capacity & 1) ? u"iCountry=2" : nullptr)
               : kind == 1
                   ? shformatCmplDateTimeMask(format.data(), compiled.data(), capacity, nullptr)
                   : shformatCmplStringMask(format.data(), compiled.data(), capacity);
    if (code == 0) render_all(compiled, kind, in);
  }
  KODATETIME parsed;
  shdtParseStringEx(format.data(), u"dd.mm.yyyy hh:mm:ss.ffffff AM/PM", &parsed);
  shdtParse(format.data(), &parsed);
  KOCHAR value[8];
  getCultureValueStr(format.data(), u"sDecimal", u"?", value, int(capacity % 8) + 1);
  return 0;
}

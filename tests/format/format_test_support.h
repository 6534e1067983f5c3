// Helpers shared by the display-format tests: compile-and-render in one call.
#ifndef KOSHR_TESTS_FORMAT_SUPPORT_H
#define KOSHR_TESTS_FORMAT_SUPPORT_H

#include <koshr/format.h>

#include <string>

namespace format_test {

// A culture with the settings the expectations are written for.
inline const KOCHAR* kUsCulture = u"sDecimal=.\tsThousand=,\tsCurrency=$\tiCurrency=0\tiNegCurr=0";

inline std::u16string error_text(int error) {
  std::string text = "error " + std::to_string(error);
  return std::u16string(text.begin(), text.end());
}

inline std::u16string number(const KOCHAR* format, double value,
                             const KOCHAR* culture = kUsCulture) {
  KOFMTCODE compiled[512];
  if (int error = shformatCmplNumericMaskWeb(format, compiled, 512, culture)) {
    return error_text(error);
  }
  KOCHAR out[256];
  shformatDoubleWeb(compiled, value, out, 256, culture);
  return out;
}

inline std::u16string datetime(const KOCHAR* format, const KODATETIME* value,
                               const KOCHAR* culture = kUsCulture) {
  KOFMTCODE compiled[512];
  if (int error = shformatCmplDateTimeMaskWeb(format, compiled, 512, culture)) {
    return error_text(error);
  }
  KOCHAR out[256];
  shformatDateTimeWeb(compiled, value, out, 256, culture);
  return out;
}

inline KODATETIME make(int year, int month, int day, int hour = 0, int minute = 0, int second = 0,
                       int microsecond = 0) {
  KODATETIME value{};
  shdtBuildTime(&value, year, month, day, hour, minute, second, microsecond);
  return value;
}

}  // namespace format_test

#endif

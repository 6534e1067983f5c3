/*
 * cmd_fmt.cpp: `koshr fmt`, values rendered through a display format, and
 * `koshr fmt --check`, a format's compile code and message; plus the
 * display-format stop of the demo.
 */
#include <koshr/format.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "cli.h"
#include "command.h"
#include "decimal_text.h"
#include "utf.h"

namespace {

constexpr int kCompiledCodes = 4096;
constexpr int kOutputUnits = 1024;

enum class ValueType { kNumber, kDecimal, kDate, kTime, kDateTime, kString };

bool parse_type(const char* name, ValueType* type) {
  static const struct {
    const char* name;
    ValueType type;
  } kTypes[] = {{"number", ValueType::kNumber},     {"decimal", ValueType::kDecimal},
                {"date", ValueType::kDate},         {"time", ValueType::kTime},
                {"datetime", ValueType::kDateTime}, {"string", ValueType::kString}};
  for (const auto& t : kTypes) {
    if (std::strcmp(name, t.name) == 0) return *type = t.type, true;
  }
  return false;
}

int compile(const std::u16string& format, ValueType type, const char16_t* culture,
            KOFMTCODE* compiled) {
  switch (type) {
    case ValueType::kNumber:
    case ValueType::kDecimal:
      return shformatCmplNumericMaskWeb(format.c_str(), compiled, kCompiledCodes, culture);
    case ValueType::kString:
      return shformatCmplStringMask(format.c_str(), compiled, kCompiledCodes);
    default:
      return shformatCmplDateTimeMaskWeb(format.c_str(), compiled, kCompiledCodes, culture);
  }
}

std::string message_of(int code) {
  KOCHAR text[SHFORMAT_ERROR_TEXT_MAX];
  shformatErrorString(text, code);
  return koshr_tool::utf16_to_utf8(text);
}

int render(const KOFMTCODE* compiled, ValueType type, const std::string& value,
           const char16_t* culture, std::string* rendered) {
  KOCHAR out[kOutputUnits];
  switch (type) {
    case ValueType::kNumber: {
      char* end = nullptr;
      double number = std::strtod(value.c_str(), &end);
      if (value.empty() || *end)
        return koshr_tool::fail("reading \"" + value + "\"", "not a number");
      shformatDoubleWeb(compiled, number, out, kOutputUnits, culture);
      break;
    }
    case ValueType::kDecimal: {
      KODECIMAL decimal;
      if (!koshr_tool::read_decimal(value, decimal)) {
        return koshr_tool::fail("reading \"" + value + "\"", "not a decimal of at most 28 digits");
      }
      shformatDecimalWeb(compiled, &decimal, out, kOutputUnits, culture);
      break;
    }
    case ValueType::kString:
      shformatString(compiled, koshr_tool::utf8_to_utf16(value).c_str(), out, kOutputUnits);
      break;
    default: {
      KODATETIME when;
      if (!shdtParse(koshr_tool::utf8_to_utf16(value).c_str(), &when)) {
        return koshr_tool::fail("reading \"" + value + "\"", "not a date, time or date-time");
      }
      shformatDateTimeWeb(compiled, &when, out, kOutputUnits, culture);
      break;
    }
  }
  *rendered = koshr_tool::utf16_to_utf8(out);
  return 0;
}

const char kUsage[] =
    "usage: koshr fmt FORMAT VALUE... [--type TYPE] [--culture TEXT]\n"
    "       koshr fmt --check FORMAT [--type TYPE]\n"
    "\n"
    "Renders each VALUE through the display format FORMAT, one per line, or\n"
    "with --check prints the format's compile code and message (exit 0 only\n"
    "for a valid format).\n"
    "\n"
    "  --type TYPE     number (default), decimal, date, time, datetime or string\n"
    "  --culture TEXT  regional settings as key=value pairs separated by TABs\n"
    "                  (e.g. $'sDecimal=,\\tsThousand=.'); default: the user's\n"
    "\n"
    "Values: numbers and decimals as decimal text (-1234.5), dates as\n"
    "2024-03-05, times as 13:45:07.250000, date-times as 2024-03-05T13:45:07.\n";

int run_fmt(const koshr_tool::Arguments& args) {
  ValueType type = ValueType::kNumber;
  bool check = args.has("--check"), have_culture = args.has("--culture");
  const std::string& type_name = args.value("--type");
  const std::vector<std::string>& positional = args.operands;
  if (args.has("--type") && !parse_type(type_name.c_str(), &type)) {
    return koshr_tool::usage_error(args, "unknown type \"" + type_name + "\"");
  }
  std::u16string culture = koshr_tool::utf8_to_utf16(args.value("--culture"));
  if (int status = check ? koshr_tool::check_operands(args, 1, 1, "FORMAT")
                         : koshr_tool::check_operands(args, 2, SIZE_MAX, "FORMAT VALUE...")) {
    return status;
  }
  const char16_t* culture_text = have_culture ? culture.c_str() : nullptr;
  std::vector<KOFMTCODE> compiled(kCompiledCodes);
  int code = compile(koshr_tool::utf8_to_utf16(positional[0]), type, culture_text, compiled.data());
  if (check) {
    std::printf("%d %s\n", code, message_of(code).c_str());
    return code == 0 ? 0 : 1;
  }
  if (code != 0) {
    return koshr_tool::fail("compiling \"" + positional[0] + "\"",
                            message_of(code) + " (code " + std::to_string(code) + ")");
  }
  for (size_t i = 1; i < positional.size(); ++i) {
    std::string rendered;
    if (int failed = render(compiled.data(), type, positional[i], culture_text, &rendered)) {
      return failed;
    }
    std::printf("%s\n", rendered.c_str());
  }
  return 0;
}

const koshr_tool::Command kFmt{
    "fmt",
    "render values through a display format",
    kUsage,
    &run_fmt,
    {{{"--check", nullptr}, {"--type", "TYPE"}, {"--culture", "TEXT"}}, {}}};
KOSHR_COMMAND(kFmt);

int demo_formats(const std::string&) {
  const char16_t* german =
      u"sDecimal=,\tsThousand=.\tsCurrency=EUR\tiCurrency=3\tiNegCurr=8"
      u"\tsShortDate=dd.MM.yyyy\tsTime=:";
  struct Row {
    const char* format;
    ValueType type;
    const char* value;
  } rows[] = {
      {"#,##0.00", ValueType::kNumber, "1234567.891"},
      {"#,##0.00;(#,##0.00);\\z\\e\\r\\o", ValueType::kNumber, "-42.5"},
      {"0.00E+00", ValueType::kNumber, "0.000123456"},
      {"0.0%", ValueType::kNumber, "0.256"},
      {"[currency]", ValueType::kDecimal, "-1234.50"},
      {"[GENERAL]", ValueType::kNumber, "0.30000000000000004"},
      {"dddd, mmmm d, yyyy", ValueType::kDate, "2024-03-05"},
      {"[SHORTDATE] [TIME]", ValueType::kDateTime, "2024-03-05T13:45:07"},
      {"h:mm:ss.fff AM/PM", ValueType::kTime, "13:45:07.250000"},
      {"(@@@) @@@-@@@@", ValueType::kString, "5551234567"},
  };
  std::printf("%-34s %-22s %-30s %s\n", "format", "value", "user settings", "German culture");
  std::vector<KOFMTCODE> compiled(kCompiledCodes);
  for (const Row& row : rows) {
    std::string plain, cultured;
    std::u16string format = koshr_tool::utf8_to_utf16(row.format);
    if (compile(format, row.type, nullptr, compiled.data()) != 0 ||
        render(compiled.data(), row.type, row.value, nullptr, &plain) != 0 ||
        compile(format, row.type, german, compiled.data()) != 0 ||
        render(compiled.data(), row.type, row.value, german, &cultured) != 0) {
      return 1;
    }
    std::printf("%-34s %-22s %-30s %s\n", row.format, row.value, plain.c_str(), cultured.c_str());
  }
  KOFMTCODE small[64];
  int code = shformatCmplDateTimeMask(u"fffffff", small, 64, nullptr);
  std::printf("\ncompiling \"fffffff\": code %d, \"%s\"\n", code, message_of(code).c_str());
  return 0;
}

KOSHR_DEMO_STOP(40, "Display formats: numbers, dates and strings through format texts",
                demo_formats);

}  // namespace

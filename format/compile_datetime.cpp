/*
 * compile_datetime.cpp: the date, time and datetime format compiler.
 *
 * Letters are read case-insensitively in runs: m (month, or minutes after an
 * hour or before seconds), d, y, h, s, f (fractions of a second) and the
 * AM/PM designators. Quotes, "\" and every other character make literals;
 * "[SHORTDATE]", "[LONGDATE]", "[DATE]", "[TIME]" and "[GENERAL]" are
 * replaced in place by the regional patterns; ";" separates up to three
 * sections (codes 29 to 31).
 */
#include <koshr/format.h>

#include <iterator>

#include "format/code_writer.h"
#include "format/format_tables.h"
#include "format/regional.h"
#include "platform/utf16.h"

namespace ko {
namespace {

constexpr int kDateSections = kLastSection - kDateFirstSection + 1;
constexpr size_t kDateFormatMax = 1000;
constexpr int kMaxFractionDigits = 6;

class DateTimeCompiler {
 public:
  DateTimeCompiler(KOFMTCODE* compiled, int capacity, const RegionalSettings& settings)
      : out_(compiled, capacity), settings_(settings) {}

  int compile(const KOCHAR* text, size_t length) {
    begin_section();
    int error = run(text, length, 0);
    if (error == 0) end_section();
    return out_.close(error);
  }

 private:
  void begin_section() {
    section_start_ = out_.begin_section(KOFMTCODE(kDateFirstSection + section_index_));
    flags_ = 0;
    hour_seen_ = false;
  }
  void end_section() { out_.end_section(section_start_, flags_, 0); }
  void literal(KOCHAR c) {
    out_.put(kCodeLiteral);
    out_.put(c);
  }

  // Compiles `text`; `depth` is 1 inside an expanded predefined name.
  int run(const KOCHAR* text, size_t length, int depth) {
    size_t pos = 0;
    while (pos < length) {
      KOCHAR c = text[pos];
      KOCHAR lower = ascii_lower(c);
      size_t count = 1;
      while (pos + count < length && ascii_lower(text[pos + count]) == lower) ++count;
      int error = 0;
      switch (lower) {
        case u'm': {
          bool minutes = hour_seen_ || (pos + 3 < length && ascii_lower(text[pos + 3]) == u's');
          if (minutes) {
            if (count > 2) return SHFORMAT_ERR_MINUTE;
            out_.put(count == 1 ? kCodeMinute : kCodeMinute2);
          } else {
            if (count > 4) return SHFORMAT_ERR_MONTH;
            static constexpr KOFMTCODE kMonth[] = {kCodeMonth, kCodeMonth2, kCodeMonthAbbr,
                                                   kCodeMonthName};
            out_.put(kMonth[count - 1]);
          }
          break;
        }
        case u'd': {
          if (count > 4) return SHFORMAT_ERR_DAY;
          static constexpr KOFMTCODE kDay[] = {kCodeDay, kCodeDay2, kCodeDayAbbr, kCodeDayName};
          out_.put(kDay[count - 1]);
          break;
        }
        case u'y':
          if (count != 2 && count != 4) return SHFORMAT_ERR_YEAR;
          out_.put(count == 2 ? kCodeYear2 : kCodeYear4);
          break;
        case u'h':
          if (count > 2) return SHFORMAT_ERR_HOUR;
          out_.put(count == 1 ? kCodeHour : kCodeHour2);
          hour_seen_ = true;
          break;
        case u's':
          if (count > 2) return SHFORMAT_ERR_SECOND;
          out_.put(count == 1 ? kCodeSecond : kCodeSecond2);
          break;
        case u'f':
          if (count > kMaxFractionDigits) return SHFORMAT_ERR_FRACTION;
          out_.put(kCodeSubsecond);
          out_.put(KOFMTCODE(count));
          break;
        case u'a':
          error = designator(text + pos, length - pos, &count);
          break;
        default:
          count = 1;
          error = other(text, length, pos, depth, &count);
          break;
      }
      if (error) return error;
      pos += count;
    }
    return 0;
  }

  int designator(const KOCHAR* text, size_t length, size_t* used) {
    struct Form {
      const char* text;
      KOFMTCODE code;
    };
    static constexpr Form kForms[] = {{"AM/PM", kCodeAmPm},
                                      {"am/pm", kCodeAmPm},
                                      {"A/P", kCodeAmPmUpper},
                                      {"a/p", kCodeAmPmLower}};
    for (const Form& form : kForms) {
      size_t n = 0;
      while (form.text[n] && n < length && text[n] == KOCHAR(form.text[n])) ++n;
      if (form.text[n] == 0) {
        out_.put(form.code);
        flags_ |= kSectionTwelveHour;
        *used = n;
        return 0;
      }
    }
    return SHFORMAT_ERR_AMPM;
  }

  int other(const KOCHAR* text, size_t length, size_t pos, int depth, size_t* used) {
    KOCHAR c = text[pos];
    switch (c) {
      case u'\\':
        if (pos + 1 >= length) return SHFORMAT_ERR_EOS;
        literal(text[pos + 1]);
        *used = 2;
        return 0;
      case u'\'':
      case u'"': {
        size_t close = pos + 1;
        while (close < length && text[close] != c) ++close;
        if (close >= length) return SHFORMAT_ERR_EOS;
        for (size_t i = pos + 1; i < close; ++i) literal(text[i]);
        *used = close + 1 - pos;
        return 0;
      }
      case u'[': {
        size_t close = pos + 1;
        while (close < length && text[close] != u']') ++close;
        if (close >= length) return SHFORMAT_ERR_EOS;
        *used = close + 1 - pos;
        return bracket(text + pos + 1, close - pos - 1, depth);
      }
      case u';':
        end_section();
        if (++section_index_ >= kDateSections) return SHFORMAT_ERR_SECTION;
        begin_section();
        return 0;
      default:
        literal(c);
        return 0;
    }
  }

  int bracket(const KOCHAR* name, size_t length, int depth) {
    if (length > kBracketNameMax) return SHFORMAT_ERR_KEY;
    KOCHAR digits[kBracketNameMax];
    size_t count = 0;
    int colour = read_colour(name, length, digits, &count);
    if (colour >= 0) return colour;  // a colour changes nothing in the text
    PredefinedName predefined = find_predefined_name(name, length);
    if (predefined == PredefinedName::kNone || depth > 0) return SHFORMAT_ERR_KEY;
    KOCHAR time_format[2 * kSeparatorMax + 16];
    build_time_format(settings_.time_separator, time_format, std::size(time_format));
    switch (predefined) {
      case PredefinedName::kShortDate:
      case PredefinedName::kDate:
        return expand(settings_.short_date);
      case PredefinedName::kLongDate:
        return expand(settings_.long_date);
      case PredefinedName::kTime:
        return expand(time_format);
      case PredefinedName::kGeneral:
        if (int error = expand(settings_.short_date)) return error;
        literal(u' ');
        return expand(time_format);
      case PredefinedName::kNone:
        break;
    }
    return SHFORMAT_ERR_KEY;
  }

  int expand(const KOCHAR* pattern) { return run(pattern, u16len(pattern), 1); }

  CodeWriter out_;
  const RegionalSettings& settings_;
  int section_index_ = 0;
  int section_start_ = 0;
  KOFMTCODE flags_ = 0;
  bool hour_seen_ = false;
};

int compile_datetime(const KOCHAR* format, KOFMTCODE* compiled, int capacity,
                     const KOCHAR* culture) {
  if (int error = check_compile_arguments(format, compiled, capacity)) return error;
  RegionalSettings scratch;
  const RegionalSettings& settings = regional_settings(culture, scratch);
  DateTimeCompiler compiler(compiled, capacity, settings);
  return compiler.compile(format, u16nlen(format, kDateFormatMax));
}

}  // namespace

}  // namespace ko

extern "C" KOSHR_API int shformatCmplDateTimeMask(const KOCHAR* format, KOFMTCODE* compiled,
                                                  int capacity, const KOCHAR* culture) {
  return ko::compile_datetime(format, compiled, capacity, culture);
}

extern "C" KOSHR_API int shformatCmplDateTimeMaskWeb(const KOCHAR* format, KOFMTCODE* compiled,
                                                     int capacity, const KOCHAR* culture) {
  return ko::compile_datetime(format, compiled, capacity, culture);
}

/*
 * compile_number.cpp: the number-format compiler.
 *
 * One pass over the format text, a small state machine per section, appending
 * codes through a CodeWriter (format_codes.h has the layout). "#" and "0" are
 * digit positions, "," between digit positions groups, "." starts the
 * fraction, "%" and "E+0" make a percentage or scientific section, brackets
 * hold colours and keywords, quotes and "\" make literals. Any other
 * character either stays a literal or, when the profile's iCountry is 1,
 * switches the section to text mode, where "#" and "0" become single digit
 * positions among literals ("###-####").
 */
#include <koshr/format.h>

#include "format/code_writer.h"
#include "format/format_tables.h"
#include "format/regional.h"
#include "platform/utf16.h"

namespace ko {
namespace {

constexpr size_t kNumberFormatMax = 1000;
constexpr KOFMTCODE kNumberSections = kLastSection - kNumberFirstSection + 1;

// The regional negative currency patterns, by iNegCurr: "$" is the symbol,
// "n" the number, anything else a literal.
constexpr const char* kNegativeCurrency[16] = {
    "($n)", "-$n",  "$-n",  "$n-",  "(n$)", "-n$",  "n-$",   "n$-",
    "-n $", "-$ n", "n $-", "$ n-", "$ -n", "n- $", "($ n)", "(n $)",
};

enum class Run { kNone, kInteger, kFraction, kExponent };

class NumberCompiler {
 public:
  NumberCompiler(KOFMTCODE* compiled, int capacity, const RegionalSettings& settings,
                 KOCHAR grouping_char, const KOCHAR* currency_symbol, int* comma_positions,
                 int max_positions)
      : out_(compiled, capacity),
        settings_(settings),
        grouping_char_(grouping_char),
        currency_symbol_(currency_symbol),
        comma_positions_(comma_positions),
        max_positions_(max_positions) {}

  int compile(const KOCHAR* text, size_t length) {
    text_ = text;
    length_ = length;
    begin_section();
    int error = 0;
    while (pos_ < length_ && error == 0) error = step();
    if (error == 0) end_section();
    return out_.close(error);
  }

 private:
  KOCHAR peek(size_t ahead) const { return pos_ + ahead < length_ ? text_[pos_ + ahead] : 0; }
  static bool is_digit_position(KOCHAR c) { return c == u'#' || c == u'0'; }

  void begin_section() {
    section_start_ = out_.begin_section(KOFMTCODE(kNumberFirstSection + section_index_));
    flags_ = 0;
    digits_ = 0;
    has_point_ = false;
    only_plain_runs_ = true;
    run_ = Run::kNone;
  }
  void end_section() {
    out_.end_section(section_start_, flags_, digits_);
    if (KOFMTCODE* section = out_.section_at(section_start_)) record_number_layout(section);
  }

  // Any element other than an ungrouped integer run rules out text mode.
  void element(KOFMTCODE code) {
    out_.put(code);
    only_plain_runs_ = false;
    run_ = Run::kNone;
  }
  void literal(KOCHAR c) {
    element(kCodeLiteral);
    out_.put(c);
  }

  void digit_position(bool mandatory, bool single) {
    Run kind = run_ == Run::kExponent ? Run::kExponent
               : has_point_           ? Run::kFraction
                                      : Run::kInteger;
    if (run_ != kind || single) {
      run_at_ = out_.size() + 1;
      if (kind == Run::kInteger) {
        out_.put(kCodeDigits);
        out_.put(0);
        out_.put(0);
        out_.put(0);
      } else {
        if (kind == Run::kFraction) only_plain_runs_ = false;
        out_.put(kCodeFraction);
        out_.put(0);
        out_.put(0);
      }
      run_ = kind;
    }
    if (mandatory) out_.add(run_at_, 1);
    out_.add(run_at_ + 1, 1);
    ++digits_;
  }

  int step() {
    KOCHAR c = text_[pos_];
    if (text_mode_) return text_mode_step(c);
    if (is_digit_position(c)) {
      digit_position(c == u'0', false);
      ++pos_;
      return 0;
    }
    switch (c) {
      case u',':
        if (run_ == Run::kInteger && is_digit_position(peek(1))) {
          out_.set(run_at_ + 2, 1);
          only_plain_runs_ = false;
          if (comma_positions_ && comma_count_ < max_positions_) {
            comma_positions_[comma_count_++] = int(pos_);
          }
          ++pos_;
          return 0;
        }
        break;
      case u'.':
        if (has_point_) return SHFORMAT_ERR_PERIOD;
        if (run_ == Run::kExponent) return SHFORMAT_ERR_CHAR;
        has_point_ = true;
        element(kCodePoint);
        ++pos_;
        return 0;
      case u'%':
        if (flags_ & (kSectionPercent | kSectionScientific)) return SHFORMAT_ERR_CHAR;
        flags_ |= kSectionPercent;
        literal(u'%');
        ++pos_;
        return 0;
      case u'E':
      case u'e':
        if ((peek(1) == u'+' || peek(1) == u'-') && is_digit_position(peek(2))) {
          if (flags_ & (kSectionPercent | kSectionScientific)) return SHFORMAT_ERR_CHAR;
          flags_ |= kSectionScientific;
          element(kCodeExponent);
          out_.put(peek(1));
          out_.put(c);
          run_at_ = out_.size();
          out_.put(0);
          out_.put(0);
          run_ = Run::kExponent;
          pos_ += 2;
          return 0;
        }
        break;
      case u'\\':
        if (pos_ + 1 >= length_) return SHFORMAT_ERR_EOS;
        literal(text_[pos_ + 1]);
        pos_ += 2;
        return 0;
      case u'\'':
        return quoted();
      case u'[':
        return bracket();
      case u';':
        return next_section();
      case u' ':
      case u'(':
      case u')':
      case u'+':
      case u':':
      case u'-':
        literal(c);
        ++pos_;
        return 0;
      default:
        break;
    }
    return other_character(c);
  }

  int other_character(KOCHAR c) {
    size_t symbol_length = u16len(currency_symbol_);
    if (symbol_length && pos_ + symbol_length <= length_ &&
        u16ncmp(text_ + pos_, currency_symbol_, symbol_length) == 0) {
      for (size_t i = 0; i < symbol_length; ++i) literal(currency_symbol_[i]);
      pos_ += symbol_length;
      return 0;
    }
    if (settings_.country == 1) {
      if (!only_plain_runs_) return SHFORMAT_ERR_CHAR;
      text_mode_ = true;
      flags_ |= kSectionTextMode;
    }
    literal(c);
    ++pos_;
    return 0;
  }

  int text_mode_step(KOCHAR c) {
    switch (c) {
      case u'#':
      case u'0':
        digit_position(c == u'0', true);
        break;
      case u'.':
        if (has_point_) return SHFORMAT_ERR_PERIOD;
        has_point_ = true;
        element(kCodePoint);
        break;
      case u',':
        literal(grouping_char_);
        break;
      case u'\\':
        if (pos_ + 1 >= length_) return SHFORMAT_ERR_EOS;
        literal(text_[++pos_]);
        break;
      case u';':
        return next_section();
      default:
        literal(c);
        break;
    }
    ++pos_;
    return 0;
  }

  int quoted() {
    size_t close = pos_ + 1;
    while (close < length_ && text_[close] != u'\'') ++close;
    if (close >= length_) return SHFORMAT_ERR_EOS;
    for (size_t i = pos_ + 1; i < close; ++i) literal(text_[i]);
    pos_ = close + 1;
    return 0;
  }

  int next_section() {
    end_section();
    text_mode_ = false;
    if (++section_index_ >= kNumberSections) return SHFORMAT_ERR_SECTION;
    ++pos_;
    begin_section();
    return 0;
  }

  int bracket() {
    size_t start = pos_ + 1;
    size_t close = start;
    while (close < length_ && text_[close] != u']') ++close;
    if (close >= length_) return SHFORMAT_ERR_EOS;
    const KOCHAR* name = text_ + start;
    size_t length = close - start;
    pos_ = close + 1;
    if (length > kBracketNameMax) return SHFORMAT_ERR_KEY;
    KOCHAR digits[kBracketNameMax];
    size_t count = 0;
    int colour = read_colour(name, length, digits, &count);
    if (colour >= 0) {
      if (colour == 0) colour_digits(digits, count);
      return colour;
    }
    switch (find_number_keyword(name, length)) {
      case FormatKeyword::kCurrency:
        return currency_keyword();
      case FormatKeyword::kEnglish:
        flags_ |= kSectionEnglish;
        element(kCodeEnglish);
        return 0;
      case FormatKeyword::kGeneral:
        flags_ |= kSectionGeneral;
        element(kCodeGeneral);
        return 0;
      case FormatKeyword::kNone:
        break;
    }
    return SHFORMAT_ERR_KEY;
  }

  void colour_digits(const KOCHAR* digits, size_t count) {
    element(kCodeColourStart);
    out_.put_text(digits, count);
    out_.put(kCodeColourEnd);
  }

  void currency_text(const KOCHAR* text, size_t length) {
    element(kCodeCurrency);
    out_.put(KOFMTCODE(length));
    out_.put_text(text, length);
  }

  // The money number: "#,##0" (or "0" without money grouping) and the
  // regional count of decimals.
  int currency_number() {
    element(kCodeDigits);
    bool grouped = settings_.money_grouping != 0;
    out_.put(1);
    out_.put(grouped ? 4 : 1);
    out_.put(grouped ? 1 : 0);
    digits_ += grouped ? 4 : 1;
    if (settings_.currency_digits > 0) {
      if (has_point_) return SHFORMAT_ERR_PERIOD;
      has_point_ = true;
      element(kCodePoint);
      element(kCodeFraction);
      out_.put(KOFMTCODE(settings_.currency_digits));
      out_.put(KOFMTCODE(settings_.currency_digits));
      digits_ += settings_.currency_digits;
    }
    run_ = Run::kNone;
    return 0;
  }

  int currency_keyword() {
    if (section_index_ == 0 || section_index_ == 2) {
      bool before = settings_.currency_position == 0 || settings_.currency_position == 2;
      if (before) currency_text(settings_.currency, settings_.currency_length);
      int error = currency_number();
      if (!before) currency_text(settings_.currency, settings_.currency_length);
      return error;
    }
    if (section_index_ != 1) return SHFORMAT_ERR_KEY;
    const KOCHAR* symbol = settings_.currency_symbol;
    for (const char* p = kNegativeCurrency[settings_.negative_currency]; *p; ++p) {
      if (*p == '$') {
        currency_text(symbol, u16len(symbol));
      } else if (*p == 'n') {
        if (int error = currency_number()) return error;
      } else {
        literal(KOCHAR(*p));
      }
    }
    return 0;
  }

  CodeWriter out_;
  const RegionalSettings& settings_;
  KOCHAR grouping_char_;
  const KOCHAR* currency_symbol_;
  int* comma_positions_;
  int max_positions_;
  int comma_count_ = 0;

  const KOCHAR* text_ = nullptr;
  size_t length_ = 0;
  size_t pos_ = 0;

  int section_index_ = 0;
  int section_start_ = 0;
  KOFMTCODE flags_ = 0;
  int digits_ = 0;
  bool has_point_ = false;
  bool only_plain_runs_ = true;
  bool text_mode_ = false;
  Run run_ = Run::kNone;
  int run_at_ = 0;
};

int compile_number(const KOCHAR* format, KOFMTCODE* compiled, int capacity, const KOCHAR* culture,
                   int* comma_positions, int max_positions) {
  if (comma_positions) {
    for (int i = 0; i < max_positions; ++i) comma_positions[i] = -1;
  }
  if (int error = check_compile_arguments(format, compiled, capacity)) return error;
  RegionalSettings scratch;
  const RegionalSettings& settings = regional_settings(culture, scratch);
  KOCHAR grouping = culture ? settings.thousand : process_grouping_character();
  const KOCHAR* symbol = culture ? settings.currency_symbol : process_currency_symbol();
  // An empty format, and the regional currency format on its own, stand for
  // whole formats.
  if (!*format) format = u"[GENERAL]";
  if (u16icmp_ascii(format, "[currency]") == 0) format = u"[currency];[currency]";
  NumberCompiler compiler(compiled, capacity, settings, grouping, symbol, comma_positions,
                          max_positions);
  return compiler.compile(format, u16nlen(format, kNumberFormatMax));
}

}  // namespace
}  // namespace ko

extern "C" KOSHR_API int shformatCmplNumericMask(const KOCHAR* format, KOFMTCODE* compiled,
                                                 int capacity, const KOCHAR* culture) {
  return ko::compile_number(format, compiled, capacity, culture, nullptr, 0);
}

extern "C" KOSHR_API int shformatCmplNumericMaskWeb(const KOCHAR* format, KOFMTCODE* compiled,
                                                    int capacity, const KOCHAR* culture) {
  return ko::compile_number(format, compiled, capacity, culture, nullptr, 0);
}

extern "C" KOSHR_API int shformatCmplNumericMaskWebCommasPos(const KOCHAR* format,
                                                             KOFMTCODE* compiled, int capacity,
                                                             const KOCHAR* culture,
                                                             int* comma_positions,
                                                             int max_positions) {
  return ko::compile_number(format, compiled, capacity, culture, comma_positions, max_positions);
}

/*
 * render_number.cpp: rendering decimals, doubles, floats and 64-bit integers
 * through a compiled number format.
 *
 * The value first becomes a DigitString (number_digits.h). The section is
 * chosen by the value: the first for positive values, the second (when
 * present) for negative ones, which then show their sign only through the
 * section's own literals, the third (when present) for zero, the fourth for a
 * null value. A negative value through a format without a negative section
 * gets a "-" in front. The digits are rounded half away from zero to the
 * section's decimals; a negative value that rounds to zero renders as zero.
 * Then the section's elements are played in order.
 */
#include <koshr/format.h>

#include "format/format_codes.h"
#include "format/number_digits.h"
#include "format/regional.h"
#include "format/text_output.h"

namespace ko {
namespace {

constexpr int kPositiveSection = 0;
constexpr int kNegativeSection = 1;
constexpr int kZeroSection = 2;
constexpr int kNullSection = 3;

struct Separators {
  KOCHAR decimal;
  KOCHAR grouping;
  int group_size;
};

// What the renderer needs to know of a section, read from its header.
struct SectionLayout {
  const KOFMTCODE* header;

  const KOFMTCODE* begin() const { return header + kSectionHeaderSize; }
  const KOFMTCODE* end() const { return header + header[kHeaderLength]; }
  KOFMTCODE flags() const { return header[kHeaderFlags]; }
  int integer_total() const { return header[kHeaderIntegerTotal]; }
  int integer_mandatory_span() const { return header[kHeaderIntegerMandatory]; }
  int first_run_mandatory() const { return header[kHeaderFirstRunMandatory]; }
  int fraction_total() const { return header[kHeaderFractionTotal]; }
  int fraction_mandatory_span() const { return header[kHeaderFractionMandatory]; }
  bool has_digits() const { return integer_total() + fraction_total() > 0; }
};

bool is_scientific(const SectionLayout& layout) { return layout.flags() & kSectionScientific; }

// Digits before the point of a scientific mantissa.
int mantissa_integer_digits(const SectionLayout& layout) {
  if (layout.first_run_mandatory() > 0) return layout.first_run_mandatory();
  return layout.integer_total() > 0 ? 1 : 0;
}

// Rounds the value to what the section shows. Returns the exponent of a
// scientific section (0 otherwise).
int round_for_section(const SectionLayout& layout, DigitString& value) {
  if (!layout.has_digits()) return 0;
  if (is_scientific(layout)) {
    if (value.is_zero()) return 0;
    int before_point = mantissa_integer_digits(layout);
    round_digits(value, before_point + layout.fraction_total());
    return value.exponent - before_point;
  }
  round_digits(value, value.exponent + layout.fraction_total());
  return 0;
}

class SectionPlayer {
 public:
  SectionPlayer(const SectionLayout& layout, const DigitString& rounded,
                const DigitString& original, int scientific_exponent, const Separators& separators,
                TextOutput& out)
      : layout_(layout),
        value_(rounded),
        original_(original),
        exponent_(scientific_exponent),
        separators_(separators),
        out_(out) {
    if (layout.flags() & kSectionEnglish)
      separators_ = Separators{u'.', u',', separators.group_size};
    integer_digits_ = is_scientific(layout)
                          ? (value_.is_zero() ? 0 : mantissa_integer_digits(layout))
                          : (value_.exponent > 0 ? value_.exponent : 0);
    shown_integer_ = integer_digits_ > layout.integer_mandatory_span()
                         ? integer_digits_
                         : layout.integer_mandatory_span();
    int last_nonzero = 0;
    for (int j = 0; j < layout.fraction_total(); ++j) {
      if (fraction_digit(j) != '0') last_nonzero = j + 1;
    }
    shown_fraction_ = last_nonzero > layout.fraction_mandatory_span()
                          ? last_nonzero
                          : layout.fraction_mandatory_span();
    int group = separators_.group_size;
    next_group_ = group > 0 ? shown_integer_ % group : -1;
  }

  void play() {
    int integer_position = 0;
    int fraction_position = 0;
    bool first_run = true;
    for (const KOFMTCODE* p = layout_.begin(); p < layout_.end() && *p != kCodeEnd;
         p = next_element(p, layout_.end())) {
      switch (*p) {
        case kCodeDigits:
          if (p + 3 >= layout_.end()) return;
          integer_run(integer_position, p[2], p[3] != 0, first_run);
          integer_position += p[2];
          first_run = false;
          break;
        case kCodeFraction:
          if (p + 2 >= layout_.end()) return;
          for (int j = 0; j < p[2]; ++j, ++fraction_position) {
            if (fraction_position < shown_fraction_)
              out_.put(KOCHAR(fraction_digit(fraction_position)));
          }
          break;
        case kCodePoint:
          out_.put(separators_.decimal);
          break;
        case kCodeLiteral:
          if (p + 1 < layout_.end()) out_.put(p[1]);
          break;
        case kCodeCurrency:
          for (int i = 0; p + 1 < layout_.end() && i < p[1] && p + 2 + i < layout_.end(); ++i) {
            out_.put(p[2 + i]);
          }
          break;
        case kCodeExponent:
          if (p + 4 < layout_.end()) exponent(p[1], p[2], p[3]);
          break;
        case kCodeGeneral:
          general();
          break;
        default:
          break;
      }
    }
  }

 private:
  char integer_digit(int index_from_left) const {
    int offset = shown_integer_ - integer_digits_;
    return index_from_left < offset ? '0' : value_.at(index_from_left - offset);
  }
  char fraction_digit(int j) const {
    return value_.at(is_scientific(layout_) ? integer_digits_ + j : value_.exponent + j);
  }

  // Digits are written left to right, so the next separator position only
  // moves forward.
  void put_integer_digit(int index, bool grouped) {
    if (index == next_group_) {
      if (grouped && index > 0) out_.put(separators_.grouping);
      next_group_ += separators_.group_size;
    }
    out_.put(KOCHAR(integer_digit(index)));
  }

  // The digits are right-aligned against the integer positions; digits that
  // overflow them all go into the first run.
  void integer_run(int first_position, int total, bool grouped, bool first_run) {
    int shift = layout_.integer_total() - shown_integer_;
    if (first_run) {
      for (int index = 0; index < -shift; ++index) put_integer_digit(index, grouped);
    }
    for (int position = first_position; position < first_position + total; ++position) {
      int index = position - shift;
      if (index >= 0) put_integer_digit(index, grouped);
    }
  }

  void exponent(KOFMTCODE sign_mode, KOFMTCODE letter, int mandatory) {
    out_.put(letter);
    if (exponent_ < 0) {
      out_.put(u'-');
    } else if (sign_mode == u'+') {
      out_.put(u'+');
    }
    out_.put_number(uint64_t(exponent_ < 0 ? -exponent_ : exponent_),
                    mandatory > 0 ? mandatory : 1);
  }

  // Up to 15 significant digits without trailing zeros; exponent form below
  // 1E-5 and from 1E+15 up.
  void general() {
    DigitString digits = original_;
    round_digits(digits, kGeneralDigits);
    if (digits.is_zero()) {
      out_.put(u'0');
      return;
    }
    int e = digits.exponent;
    if (e > -5 && e <= kGeneralDigits) {
      if (e <= 0) {
        out_.put(u'0');
        out_.put(separators_.decimal);
        out_.repeat(u'0', -e);
        for (int i = 0; i < digits.count; ++i) out_.put(KOCHAR(digits.digits[i]));
        return;
      }
      for (int i = 0; i < e; ++i) out_.put(KOCHAR(digits.at(i)));
      if (digits.count > e) {
        out_.put(separators_.decimal);
        for (int i = e; i < digits.count; ++i) out_.put(KOCHAR(digits.digits[i]));
      }
      return;
    }
    out_.put(KOCHAR(digits.digits[0]));
    if (digits.count > 1) {
      out_.put(separators_.decimal);
      for (int i = 1; i < digits.count; ++i) out_.put(KOCHAR(digits.digits[i]));
    }
    out_.put(u'E');
    out_.put(e - 1 < 0 ? u'-' : u'+');
    out_.put_number(uint64_t(e - 1 < 0 ? 1 - e : e - 1), 2);
  }

  const SectionLayout& layout_;
  const DigitString& value_;
  const DigitString& original_;
  int exponent_;
  Separators separators_;
  TextOutput& out_;
  int integer_digits_ = 0;
  int shown_integer_ = 0;
  int shown_fraction_ = 0;
  int next_group_ = -1;  // index of the next digit preceded by a grouping character
};

int render_number(const KOFMTCODE* program, DigitString& value, KOCHAR* out, int capacity,
                  const KOCHAR* culture) {
  if (!program || !out || capacity <= 0) return -1;
  TextOutput output(out, capacity);
  SectionList list;
  list_sections(program, list);
  int sections = list.count;
  if (sections == 0) {
    output.finish();
    return -1;
  }
  switch (value.kind) {
    case NumberKind::kNaN:
      output.put_ascii("NaN");
      return output.finish();
    case NumberKind::kInfinity:
      output.put_ascii(value.negative ? "-Infinity" : "Infinity");
      return output.finish();
    case NumberKind::kNull:
      if (sections <= kNullSection) return output.finish();
      break;
    case NumberKind::kFinite:
      break;
  }
  RegionalSettings scratch;
  const RegionalSettings& settings = regional_settings(culture, scratch);
  Separators separators{culture ? settings.decimal : process_decimal_separator(),
                        culture ? settings.thousand : process_grouping_character(),
                        settings.grouping};

  int index = kPositiveSection;
  if (value.kind == NumberKind::kNull) {
    index = kNullSection;
    value = DigitString();
  } else if (value.is_zero()) {
    index = sections > kZeroSection ? kZeroSection : kPositiveSection;
  } else if (value.negative && sections > kNegativeSection) {
    index = kNegativeSection;
  }
  bool minus = value.negative && index == kPositiveSection;
  SectionLayout layout{list.sections[index]};
  if ((layout.flags() & kSectionPercent) && !value.is_zero()) value.exponent += 2;
  // The value is rounded in place; a general element needs it unrounded.
  DigitString unrounded;
  if (layout.flags() & kSectionGeneral) unrounded = value;
  int exponent = round_for_section(layout, value);
  if (value.negative && value.is_zero() && layout.has_digits()) {
    value = DigitString();
    unrounded = value;
    minus = false;
    layout =
        SectionLayout{list.sections[sections > kZeroSection ? kZeroSection : kPositiveSection]};
    exponent = 0;
  }
  if (minus) output.put(u'-');
  SectionPlayer(layout, value, unrounded, exponent, separators, output).play();
  return output.finish();
}

}  // namespace
}  // namespace ko

using ko::DigitString;

extern "C" KOSHR_API int shformatDecimalWeb(const KOFMTCODE* compiled, const KODECIMAL* value,
                                            KOCHAR* out, int capacity, const KOCHAR* culture) {
  DigitString digits;
  if (value) {
    ko::digits_from_decimal(*value, digits);
  } else {
    digits.kind = ko::NumberKind::kNull;
  }
  return ko::render_number(compiled, digits, out, capacity, culture);
}

extern "C" KOSHR_API int shformatDecimal(const KOFMTCODE* compiled, const KODECIMAL* value,
                                         KOCHAR* out, int capacity) {
  return shformatDecimalWeb(compiled, value, out, capacity, nullptr);
}

extern "C" KOSHR_API int shformatDoubleWeb(const KOFMTCODE* compiled, double value, KOCHAR* out,
                                           int capacity, const KOCHAR* culture) {
  DigitString digits;
  ko::digits_from_double(value, digits);
  return ko::render_number(compiled, digits, out, capacity, culture);
}

extern "C" KOSHR_API int shformatDouble(const KOFMTCODE* compiled, double value, KOCHAR* out,
                                        int capacity) {
  return shformatDoubleWeb(compiled, value, out, capacity, nullptr);
}

extern "C" KOSHR_API int shformatRealWeb(const KOFMTCODE* compiled, float value, KOCHAR* out,
                                         int capacity, const KOCHAR* culture) {
  DigitString digits;
  ko::digits_from_float(value, digits);
  return ko::render_number(compiled, digits, out, capacity, culture);
}

extern "C" KOSHR_API int shformatReal(const KOFMTCODE* compiled, float value, KOCHAR* out,
                                      int capacity) {
  return shformatRealWeb(compiled, value, out, capacity, nullptr);
}

extern "C" KOSHR_API int shformatLonglongWeb(const KOFMTCODE* compiled, int64_t value, KOCHAR* out,
                                             int capacity, const KOCHAR* culture) {
  DigitString digits;
  ko::digits_from_int64(value, digits);
  return ko::render_number(compiled, digits, out, capacity, culture);
}

extern "C" KOSHR_API int shformatLonglong(const KOFMTCODE* compiled, int64_t value, KOCHAR* out,
                                          int capacity) {
  return shformatLonglongWeb(compiled, value, out, capacity, nullptr);
}

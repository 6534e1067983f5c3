/*
 * format_codes.h: the layout of a compiled format.
 *
 * A compiled format is a flat program of 16-bit codes in the caller's buffer:
 *
 *   section:  [section code][length][flags][digit count][layout x5]  element...
 *   ...       (one block per ";"-separated section)
 *   end:      [kCodeEnd][0]
 *
 * The section code numbers the sections from 27 (numbers) or 29 (dates,
 * times, strings) upward, so the last allowed section is always 31; `length`
 * counts the codes of the whole block, header included, so a renderer skips
 * to section n without reading elements. `digit count` is the total of digit
 * positions of a number section; the five layout codes sum up its digit
 * runs (see NumberLayout) so that rendering needs no pass over them.
 *
 * Elements are a code followed by its operands:
 *
 *   kCodeDigits     [mandatory][total][grouped]   integer digit run
 *   kCodeFraction   [mandatory][total]            fraction digit run
 *   kCodePoint                                    decimal separator
 *   kCodeLiteral    [character]
 *   kCodeCurrency   [length][characters...]       currency insertion point
 *   kCodeExponent   [sign mode][letter][mandatory][total]
 *   kCodeColourStart [digits...] kCodeColourEnd   colour as decimal digits
 *   kCodeGeneral, kCodeEnglish                    markers
 *   kCodeStringChar                               "@": next character of the value
 *   kCodeYear2 ... kCodeAmPm                      date and time fields
 *   kCodeSubsecond  [count of "f"]
 *
 * Element codes start at 40 so they never read as section codes.
 */
#ifndef KOSHR_FORMAT_FORMAT_CODES_H
#define KOSHR_FORMAT_FORMAT_CODES_H

#include <koshr/format.h>

namespace ko {

constexpr KOFMTCODE kNumberFirstSection = 27;
constexpr KOFMTCODE kDateFirstSection = 29;
constexpr KOFMTCODE kLastSection = 31;
constexpr int kSectionHeaderSize = 9;

// Offsets in a section header.
enum : int {
  kHeaderLength = 1,
  kHeaderFlags = 2,
  kHeaderDigits = 3,
  kHeaderIntegerTotal = 4,       // integer digit positions
  kHeaderIntegerMandatory = 5,   // of them, counted from the right, those that always show
  kHeaderFirstRunMandatory = 6,  // "0" positions of the first integer run
  kHeaderFractionTotal = 7,      // fraction digit positions
  kHeaderFractionMandatory = 8,  // of them, counted from the left, those that always show
};

inline bool is_section_code(KOFMTCODE code) {
  return code >= kNumberFirstSection && code <= kLastSection;
}

// Section flags.
enum : KOFMTCODE {
  kSectionPercent = 1,
  kSectionScientific = 2,
  kSectionTextMode = 4,
  kSectionTwelveHour = 8,
  kSectionEnglish = 16,
  kSectionGeneral = 32,
};

enum : KOFMTCODE {
  kCodeEnd = 1,
  kCodeDigits = 40,
  kCodeFraction,
  kCodePoint,
  kCodeLiteral,
  kCodeCurrency,
  kCodeExponent,
  kCodeColourStart,
  kCodeColourEnd,
  kCodeGeneral,
  kCodeEnglish,
  kCodeStringChar,
  kCodeYear2,
  kCodeYear4,
  kCodeMonth,
  kCodeMonth2,
  kCodeMonthAbbr,
  kCodeMonthName,
  kCodeDay,
  kCodeDay2,
  kCodeDayAbbr,
  kCodeDayName,
  kCodeHour,
  kCodeHour2,
  kCodeMinute,
  kCodeMinute2,
  kCodeSecond,
  kCodeSecond2,
  kCodeSubsecond,
  kCodeAmPm,       // s1159 / s2359
  kCodeAmPmUpper,  // "A" / "P"
  kCodeAmPmLower,  // "a" / "p"
};

// The number of operands that follow an element code (colour digits and
// currency text excepted: they are walked by their own rules).
inline int element_operand_count(KOFMTCODE code) {
  switch (code) {
    case kCodeDigits:
      return 3;
    case kCodeFraction:
      return 2;
    case kCodeLiteral:
    case kCodeSubsecond:
      return 1;
    case kCodeExponent:
      return 4;
    default:
      return 0;
  }
}

// Sums up the digit runs of a complete number section into its header.
void record_number_layout(KOFMTCODE* section);

// Every section of a compiled program, found in one walk.
struct SectionList {
  const KOFMTCODE* sections[kLastSection - kNumberFirstSection + 1];
  int count = 0;
};
void list_sections(const KOFMTCODE* program, SectionList& out);

// Finds section `index` (0-based) of a compiled program; null when the
// program has fewer sections. `count`, when not null, receives the number of
// sections.
const KOFMTCODE* find_section(const KOFMTCODE* program, int index, int* count);

// The code following the element at `element` (renderers call this for every
// element, so it is inline).
inline const KOFMTCODE* next_element(const KOFMTCODE* element, const KOFMTCODE* section_end) {
  const KOFMTCODE* p = element + 1;
  switch (*element) {
    case kCodeColourStart:
      while (p < section_end && *p != kCodeColourEnd) ++p;
      return p < section_end ? p + 1 : section_end;
    case kCodeCurrency:
      p += p < section_end ? 1 + *p : 0;
      break;
    default:
      p += element_operand_count(*element);
      break;
  }
  return p < section_end ? p : section_end;
}

}  // namespace ko

#endif

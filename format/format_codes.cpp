/*
 * format_codes.cpp: finding the sections of a compiled format, and the
 * layout summary of a number section.
 */
#include "format/format_codes.h"

namespace ko {

const KOFMTCODE* find_section(const KOFMTCODE* program, int index, int* count) {
  const KOFMTCODE* found = nullptr;
  int sections = 0;
  const KOFMTCODE* p = program;
  while (p && is_section_code(*p) && p[1] >= kSectionHeaderSize) {
    if (sections == index) found = p;
    ++sections;
    p += p[1];
  }
  if (count) *count = sections;
  return found;
}

void list_sections(const KOFMTCODE* program, SectionList& out) {
  out.count = 0;
  const KOFMTCODE* p = program;
  constexpr int kMax = int(sizeof out.sections / sizeof out.sections[0]);
  while (p && out.count < kMax && is_section_code(*p) && p[1] >= kSectionHeaderSize) {
    out.sections[out.count++] = p;
    p += p[1];
  }
}

void record_number_layout(KOFMTCODE* section) {
  const KOFMTCODE* end = section + section[kHeaderLength];
  int integer_total = 0, first_mandatory = -1, first_run_mandatory = 0;
  int fraction_total = 0, fraction_mandatory = 0;
  for (const KOFMTCODE* p = section + kSectionHeaderSize; p < end; p = next_element(p, end)) {
    if (*p == kCodeDigits && p + 3 < end) {
      int mandatory = p[1], total = p[2];
      if (mandatory > 0 && first_mandatory < 0) {
        first_mandatory = integer_total + total - mandatory;
        first_run_mandatory = mandatory;
      }
      integer_total += total;
    } else if (*p == kCodeFraction && p + 2 < end) {
      if (p[1] > 0) fraction_mandatory = fraction_total + p[1];
      fraction_total += p[2];
    }
  }
  section[kHeaderIntegerTotal] = KOFMTCODE(integer_total);
  section[kHeaderIntegerMandatory] =
      KOFMTCODE(first_mandatory < 0 ? 0 : integer_total - first_mandatory);
  section[kHeaderFirstRunMandatory] = KOFMTCODE(first_run_mandatory);
  section[kHeaderFractionTotal] = KOFMTCODE(fraction_total);
  section[kHeaderFractionMandatory] = KOFMTCODE(fraction_mandatory);
}

}  // namespace ko

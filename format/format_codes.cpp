/*
 * format_codes.cpp: walking a compiled format, section by section and
 * element by element.
 */
#include "format/format_codes.h"

namespace ko {

int element_operand_count(KOFMTCODE code) {
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

const KOFMTCODE* next_element(const KOFMTCODE* element, const KOFMTCODE* section_end) {
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

/*
 * string_char.cpp: case and comparison of single characters, through the
 * locale-aware string functions (each character is taken as a one-character
 * string). The "ansi" in the names is historical: they work on any unit.
 */
#include <koshr/strings.h>

#include "platform/platform.h"

KOSHR_BEGIN_C

KOSHR_API KOCHAR kostg_ansitoupper(KOCHAR ch) { return ko::os::char_upper(ch); }

KOSHR_API KOCHAR kostg_ansitolower(KOCHAR ch) { return ko::os::char_lower(ch); }

KOSHR_API int kostg_lchrcmp(KOCHAR a, KOCHAR b) {
  const KOCHAR left[2] = {a, 0};
  const KOCHAR right[2] = {b, 0};
  return ko::os::collate(left, right);
}

KOSHR_API int kostg_lchrcmpi(KOCHAR a, KOCHAR b) {
  const KOCHAR left[2] = {a, 0};
  const KOCHAR right[2] = {b, 0};
  return ko::os::collate_nocase(left, right);
}

KOSHR_END_C

/*
 * render_string.cpp: rendering a string through a compiled string format.
 *
 * Each "@" takes the next character of the value; characters of the value
 * left over when the "@" run out are not shown, and "@" past the end of the
 * value show nothing. A null value renders through the second section when
 * there is one, and as an empty text otherwise.
 */
#include <koshr/format.h>

#include "format/format_codes.h"
#include "format/text_output.h"

extern "C" KOSHR_API int shformatString(const KOFMTCODE* compiled, const KOCHAR* value, KOCHAR* out,
                                        int capacity) {
  using namespace ko;
  if (!compiled || !out || capacity <= 0) return -1;
  TextOutput output(out, capacity);
  const KOFMTCODE* section = find_section(compiled, value ? 0 : 1, nullptr);
  if (!section) return value ? -1 : output.finish();
  const KOFMTCODE* end = section + section[kHeaderLength];
  const KOCHAR* next = value ? value : u"";
  for (const KOFMTCODE* p = section + kSectionHeaderSize; p < end && *p != kCodeEnd;
       p = next_element(p, end)) {
    if (*p == kCodeStringChar) {
      if (*next) output.put(*next++);
    } else if (*p == kCodeLiteral && p + 1 < end) {
      output.put(p[1]);
    }
  }
  return output.finish();
}

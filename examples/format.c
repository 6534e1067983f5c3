/*
 * format.c: display formats: a number and a date rendered through format
 * texts, once with the user's regional settings and once with settings given
 * in the call.
 */
#include <koshr/format.h>
#include <koshr/strings.h>

#include <stdio.h>

static void print(const char* label, const KOCHAR* text) {
  char utf8[256];
  kostg_UCS2toUTF8(utf8, text, sizeof utf8);
  printf("%-22s %s\n", label, utf8);
}

int main(void) {
  const KOCHAR* german = u"sDecimal=,\tsThousand=.";
  KOFMTCODE compiled[512];
  KOCHAR out[128];

  if (shformatCmplNumericMaskWeb(u"#,##0.00", compiled, 512, NULL) != 0) return 1;
  shformatDoubleWeb(compiled, 1234567.891, out, 128, NULL);
  print("#,##0.00", out);
  if (shformatCmplNumericMaskWeb(u"#,##0.00", compiled, 512, german) != 0) return 1;
  shformatDoubleWeb(compiled, 1234567.891, out, 128, german);
  print("#,##0.00 (de)", out);

  KODATETIME when;
  if (!shdtParse(u"2024-03-05T13:45:07", &when)) return 1;
  if (shformatCmplDateTimeMaskWeb(u"dddd, mmmm d, yyyy h:mm", compiled, 512, NULL) != 0) return 1;
  shformatDateTimeWeb(compiled, &when, out, 128, NULL);
  print("dddd, mmmm d, yyyy h:mm", out);
  return 0;
}

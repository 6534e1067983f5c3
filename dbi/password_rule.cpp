/*
 * password_rule.cpp: the DBMS names whose drivers take the password in its
 * hex-encrypted form. The tracing drivers ("TRA", "TRS") name the driver they
 * trace as the next word of the DBMS name, as in "TRA NVQ".
 */
#include "dbi/password_rule.h"

#include "dbi/text_blanks.h"
#include "platform/utf16.h"

namespace ko::dbi {
namespace {

bool code_is(const KOCHAR* text, const char* code) {
  for (size_t i = 0; i < 3; ++i) {
    if (text[i] == 0 || ascii_upper(text[i]) != KOCHAR(code[i])) return false;
  }
  return true;
}

}  // namespace

bool password_wants_encryption(const KOCHAR* dbms) {
  if (dbms == nullptr) return false;
  if (code_is(dbms, "NVQ")) return true;
  if (!code_is(dbms, "TRA") && !code_is(dbms, "TRS")) return false;
  const KOCHAR* blank = dbms;
  while (*blank != 0 && !is_space_tab_or_line_break(*blank)) ++blank;
  while (is_space_tab_or_line_break(*blank)) ++blank;
  return code_is(blank, "NVQ");
}

}  // namespace ko::dbi

/*
 * password_rule.h: which connections keep their password hex-encrypted.
 */
#ifndef KOSHR_DBI_PASSWORD_RULE_H
#define KOSHR_DBI_PASSWORD_RULE_H

#include <koshr/types.h>

namespace ko::dbi {

// True for DBMS code "NVQ", and for "TRA" or "TRS" (the tracing drivers)
// when the first word after the DBMS name's first blank begins with "NVQ".
bool password_wants_encryption(const KOCHAR* dbms);

}  // namespace ko::dbi

#endif

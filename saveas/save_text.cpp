/*
 * save_text.cpp: CKO_SaveText, tab-separated values in a file.
 *
 * Fields are separated by TAB, lines end with CR LF. A string is quoted when
 * it begins with a double-quote character or holds a TAB, CR or LF; a
 * datetime or time with a sub-second part ends with the decimal separator and
 * six digits (unlike the comma-separated file, on purpose).
 */
#include "saveas/save_delimited.h"

namespace {

constexpr ko::DelimitedStyle kTextStyle{u'\t', &ko::tab_separated_needs_quotes,
                                        ko::FractionSuffix::kDecimalSeparator6};

}  // namespace

KoSaveContext* CKO_SaveText::Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                                   uint32_t rowCount, int32_t columnCount, uint32_t flags,
                                   int32_t encoding) {
  m_encoding = encoding;
  return osSaveBegin32(pool, owner, fileName, rowCount, columnCount, flags, encoding);
}

int CKO_SaveText::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                            uint8_t type) {
  return ko::delimited_add_column(context, name, width, type, kTextStyle);
}

int CKO_SaveText::WriteValue(KoSaveContext* context, const void* value) {
  return ko::delimited_write_value(context, value, kTextStyle);
}

int CKO_SaveText::End(KoSaveContext* context) { return ko::save_finish(context, true); }

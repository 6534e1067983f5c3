/*
 * save_csv.cpp: CKO_SaveCsv, comma-separated values.
 *
 * Fields are separated by ",", lines end with CR LF. A string is quoted when
 * it holds a comma, a double-quote character, CR or LF; a datetime or time
 * with a sub-second part ends with the time separator and seven digits.
 */
#include "saveas/save_delimited.h"

namespace {

bool csv_needs_quotes(const KOCHAR* text) {
  for (; *text; ++text) {
    if (*text == u',' || *text == u'"' || *text == u'\n' || *text == u'\r') return true;
  }
  return false;
}

constexpr ko::DelimitedStyle kCsvStyle{u',', &csv_needs_quotes,
                                       ko::FractionSuffix::kTimeSeparator7};

}  // namespace

KoSaveContext* CKO_SaveCsv::Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                                  uint32_t rowCount, int32_t columnCount, uint32_t flags,
                                  int32_t encoding) {
  m_encoding = encoding;
  return osSaveBegin32(pool, owner, fileName, rowCount, columnCount, flags, encoding);
}

int CKO_SaveCsv::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                           uint8_t type) {
  return ko::delimited_add_column(context, name, width, type, kCsvStyle);
}

int CKO_SaveCsv::WriteValue(KoSaveContext* context, const void* value) {
  return ko::delimited_write_value(context, value, kCsvStyle);
}

int CKO_SaveCsv::End(KoSaveContext* context) { return ko::save_finish(context, true); }

/*
 * lmi_export_header.cpp: the lines an exported entry's text starts with.
 *
 *   $KOExportHeader$<name>CR LF
 *   $KOExportComments$<escaped comment>CR LF    (only for a non-blank comment)
 */
#include <koshr/library.h>

#include "platform/platform.h"
#include "platform/utf16.h"
#include "storage/u16_format.h"

#include <cstring>

namespace {

void trim_in_place(KOCHAR* text) {
  size_t start = 0, length = ko::u16len(text);
  while (start < length && ko::os::char_is_space(text[start])) ++start;
  while (length > start && ko::os::char_is_space(text[length - 1])) --length;
  std::memmove(text, text + start, 2 * (length - start));
  text[length - start] = 0;
}

}  // namespace

KOSHR_API int32_t LMI_Build_Export_Header(KostgContext* pool, LMI_ENTRY_INFO_EX* info, KOCHAR* buffer,
                                          uint32_t* length) {
  if (!pool) return LMI_E_NO_POOL;
  if (!info || !buffer || !length) return LMI_E_NO_RESULT;
  info->name[LMI_MAX_NAME] = 0;
  info->comment[LMI_MAX_COMMENT] = 0;
  trim_in_place(info->comment);
  size_t used = ko::u16_format(buffer, LMI_EXPORT_HEADER_MAX, "%s%s\r\n", u"$KOExportHeader$", info->name);
  if (info->comment[0]) {
    KOCHAR* escaped = LMI_EncryptSpecialChars(pool, info->comment);
    if (!escaped) return LMI_E_DISK_FULL;
    used += ko::u16_format(buffer + used, LMI_EXPORT_HEADER_MAX - used, "%s%s\r\n", u"$KOExportComments$", escaped);
    kostg_fee(pool, escaped);
  }
  *length = uint32_t(used);
  return LMI_OK;
}

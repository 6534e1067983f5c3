/*
 * save_clip.cpp: CKO_SaveClip, tab-separated text placed on the clipboard.
 *
 * The lines are those of the tab-separated file except for the fraction
 * suffix, which is the comma-separated one (time separator, seven digits).
 * The text gathers in the context's clipboard buffer; End hands it to the
 * clipboard as Unicode text, or only empties the clipboard when there is none.
 */
#include "platform/platform.h"
#include "saveas/save_delimited.h"

namespace {

constexpr ko::DelimitedStyle kClipStyle{u'\t', &ko::tab_separated_needs_quotes,
                                        ko::FractionSuffix::kTimeSeparator7};

}  // namespace

KoSaveContext* CKO_SaveClip::Begin(KostgContext* pool, KostgSubpool* owner, const KOCHAR* fileName,
                                   uint32_t rowCount, int32_t columnCount, uint32_t flags,
                                   int32_t encoding) {
  m_encoding = encoding;
  return osSaveBegin32(pool, owner, nullptr, rowCount, columnCount, flags, encoding);
}

int CKO_SaveClip::AddColumn(KoSaveContext* context, const KOCHAR* name, int32_t width,
                            uint8_t type) {
  return ko::delimited_add_column(context, name, width, type, kClipStyle);
}

int CKO_SaveClip::WriteValue(KoSaveContext* context, const void* value) {
  return ko::delimited_write_value(context, value, kClipStyle);
}

int CKO_SaveClip::End(KoSaveContext* context) {
  if (!context) return 0;
  ko::os::clipboard_set_text(context->clip_length ? context->clip_text : nullptr);
  ko::save_finish(context, false);
  return 1;
}

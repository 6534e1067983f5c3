/*
 * save_render.cpp: the default formats of an export and the rendering of
 * number and date values through them, shared by every exporter.
 *
 * Four formats are compiled once per export into the context, 39 codes each:
 * "[GENERAL]" for numbers, "[SHORTDATE]", "[TIME]" and "[SHORTDATE] [TIME]".
 * Datetime and time values whose sub-second field is not zero end with a
 * fraction suffix; two forms exist and both are kept, because files already
 * written with each are read back by their users:
 *
 *   kTimeSeparator7     the profile's "sTime" (read afresh for each value)
 *                       and "%7.7ld" of the sub-second value, e.g. ":05"
 *   kDecimalSeparator6  the process's decimal separator and "%6.6ld", e.g. ".5"
 *
 * An export begun under a culture string renders every number, date and
 * fraction separator under it, as the format engine's own culture twins do.
 *
 * In both, trailing "0" characters are then cut.
 */
#include <koshr/format.h>

#include "format/regional.h"
#include "platform/utf16.h"
#include "saveas/save_context.h"
#include "storage/u16_format.h"

namespace ko {
namespace {

size_t clamp_length(int rendered) { return rendered > 0 ? size_t(rendered) : 0; }

}  // namespace

void save_compile_formats(KoSaveContext* context, const KOCHAR* culture) {
  constexpr int kCodes = int(kCompiledFormatCodes);
  if (culture) {
    shformatCmplNumericMaskWeb(u"[GENERAL]", context->number_format, kCodes, culture);
    shformatCmplDateTimeMaskWeb(u"[SHORTDATE] [TIME]", context->datetime_format, kCodes, culture);
    shformatCmplDateTimeMaskWeb(u"[SHORTDATE]", context->date_format, kCodes, culture);
    shformatCmplDateTimeMaskWeb(u"[TIME]", context->time_format, kCodes, culture);
  } else {
    shformatCmplNumericMask(u"[GENERAL]", context->number_format, kCodes, nullptr);
    shformatCmplDateTimeMask(u"[SHORTDATE] [TIME]", context->datetime_format, kCodes, nullptr);
    shformatCmplDateTimeMask(u"[SHORTDATE]", context->date_format, kCodes, nullptr);
    shformatCmplDateTimeMask(u"[TIME]", context->time_format, kCodes, nullptr);
  }
}

size_t save_render_double(const KoSaveContext* context, double value, KOCHAR* out,
                          size_t capacity) {
  const uint16_t* format = context->number_format;
  return clamp_length(context->culture
                          ? shformatDoubleWeb(format, value, out, int(capacity), context->culture)
                          : shformatDouble(format, value, out, int(capacity)));
}

size_t save_render_decimal(const KoSaveContext* context, const KODECIMAL& value, KOCHAR* out,
                           size_t capacity) {
  const uint16_t* format = context->number_format;
  return clamp_length(context->culture
                          ? shformatDecimalWeb(format, &value, out, int(capacity), context->culture)
                          : shformatDecimal(format, &value, out, int(capacity)));
}

size_t save_render_datetime(const KoSaveContext* context, const uint16_t* format,
                            const KODATETIME& value, KOCHAR* out, size_t capacity) {
  return clamp_length(
      context->culture ? shformatDateTimeWeb(format, &value, out, int(capacity), context->culture)
                       : shformatDateTime(format, &value, out, int(capacity)));
}

size_t save_append_fraction(const KoSaveContext* context, uint32_t subsecond, FractionSuffix suffix,
                            KOCHAR* out, size_t length) {
  if (subsecond == 0 || suffix == FractionSuffix::kNone) return length;
  KOCHAR separator[kSeparatorMax + 1];
  const char* digits;
  if (suffix == FractionSuffix::kTimeSeparator7) {
    profile_time_separator(separator, kSeparatorMax + 1);
    digits = "%s%7.7ld";
  } else {
    separator[0] = process_decimal_separator();
    separator[1] = 0;
    digits = "%s%6.6ld";
  }
  if (context->culture) {
    KOCHAR defaulted[kSeparatorMax + 1];
    u16lcpy(defaulted, separator, kSeparatorMax + 1);
    const KOCHAR* key = suffix == FractionSuffix::kTimeSeparator7 ? u"sTime" : u"sDecimal";
    getCultureValueStr(context->culture, key, defaulted, separator, int(kSeparatorMax + 1));
  }
  size_t room = kRenderCapacity - length;
  size_t added = u16_format(out + length, room, digits, separator, int32_t(subsecond));
  length += added < room ? added : room - 1;
  while (length > 0 && out[length - 1] == u'0') --length;
  out[length] = 0;
  return length;
}

size_t save_render(const KoSaveContext* context, uint8_t type, const void* value,
                   FractionSuffix suffix, KOCHAR* out) {
  out[0] = 0;
  if (!value) return 0;
  switch (type) {
    case KOSAVE_DOUBLE:
      return save_render_double(context, *static_cast<const double*>(value), out,
                                kNumberTextMax + 1);
    case KOSAVE_DECIMAL:
      return save_render_decimal(context, *static_cast<const KODECIMAL*>(value), out,
                                 kNumberTextMax + 1);
    case KOSAVE_DATETIME:
    case KOSAVE_DATE:
    case KOSAVE_TIME: {
      const auto& when = *static_cast<const KODATETIME*>(value);
      const uint16_t* format = type == KOSAVE_DATETIME ? context->datetime_format
                               : type == KOSAVE_DATE   ? context->date_format
                                                       : context->time_format;
      size_t length = save_render_datetime(context, format, when, out, kDateTextMax + 1);
      return type == KOSAVE_DATE
                 ? length
                 : save_append_fraction(context, when.subsecond, suffix, out, length);
    }
    default:
      return 0;
  }
}

}  // namespace ko

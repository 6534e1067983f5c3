/*
 * regional.h: the regional conventions the format engine works with.
 *
 * Two sources feed one record (RegionalSettings): a culture string, read
 * afresh on every call that passes one, or the "intl" section of the user's
 * profile, read on first use and kept for the process. Beside the record the
 * process keeps three values of its own (decimal separator, grouping
 * character, currency symbol), loaded by koshr_intl at library load.
 *
 * The date and time conventions (sShortDate, sLongDate, sDate, sTime) come
 * from the registry key "Control Panel\International" of the current user,
 * and from the profile when the registry has no value.
 */
#ifndef KOSHR_FORMAT_REGIONAL_H
#define KOSHR_FORMAT_REGIONAL_H

#include <koshr/types.h>

#include <cstddef>

namespace ko {

constexpr size_t kCurrencySymbolMax = 10;
constexpr size_t kDesignatorMax = 4;
constexpr size_t kDatePatternMax = 80;
constexpr size_t kSeparatorMax = 10;

struct RegionalSettings {
  KOCHAR decimal;                                  // sDecimal, first character
  KOCHAR thousand;                                 // sThousand, first character
  int currency_position;                           // iCurrency 0-3
  KOCHAR currency_symbol[kCurrencySymbolMax + 1];  // sCurrency as given
  KOCHAR currency[kCurrencySymbolMax + 2];         // the symbol with the space of patterns 2 and 3
  size_t currency_length;
  int grouping;                              // sGrouping: 0 or 3
  int money_grouping;                        // sMonGrouping: 0 or 3
  int currency_digits;                       // iCurrDigits
  int negative_currency;                     // iNegCurr 0-15
  KOCHAR am[kDesignatorMax + 1];             // s1159
  KOCHAR pm[kDesignatorMax + 1];             // s2359
  int country;                               // iCountry
  KOCHAR short_date[kDatePatternMax + 1];    // sShortDate
  KOCHAR long_date[kDatePatternMax + 1];     // sLongDate
  KOCHAR date_separator[kSeparatorMax + 1];  // sDate
  KOCHAR time_separator[kSeparatorMax + 1];  // sTime
};

// The record of a culture string, or of the profile when `culture` is null.
// The profile record is read once and kept; the returned reference stays
// valid for the process when culture is null, and lives in `scratch` otherwise.
const RegionalSettings& regional_settings(const KOCHAR* culture, RegionalSettings& scratch);

// Fills a record from a culture string (every key missing from it takes its
// default).
void read_culture_settings(const KOCHAR* culture, RegionalSettings& out);

// The process's own values, loaded by koshr_intl.
KOCHAR process_decimal_separator();
KOCHAR process_grouping_character();
const KOCHAR* process_currency_symbol();

// The profile's "sTime" ("intl" section, at most 10 characters, default ":"),
// read afresh on every call. Returns the length copied.
size_t profile_time_separator(KOCHAR* out, size_t capacity);

// The regional time format built from a time separator: "hh'sep'mm'sep'ss"
// (doubled quote when the separator starts with one). Returns the length.
size_t build_time_format(const KOCHAR* separator, KOCHAR* out, size_t capacity);

}  // namespace ko

#endif

/*
 * koshr/format.h: the display-format engine, the regional settings that feed
 * it, and the operations on date-time values.
 *
 * A format text ("#,##0.00", "[currency]", "mm/dd/yyyy hh:mm:ss", "@@@-@@")
 * is compiled once into a caller-supplied buffer of 16-bit codes, then values
 * are rendered through it as often as needed. Compilers return a small error
 * code (0 = valid, see shformatErrorString); renderers write at most
 * capacity-1 characters and always terminate the output (capacity > 0).
 *
 * A culture string, where a function takes one, is a list of key=value pairs
 * separated by TAB characters ("sDecimal=,\tsThousand=."), with "!!" for "!"
 * and "!t" for a TAB inside a value. Without one (null), the user's regional
 * settings (the "intl" section of the profile) apply.
 */
#ifndef KOSHR_FORMAT_H
#define KOSHR_FORMAT_H

#include <koshr/types.h>

/* One code of a compiled format. */
typedef uint16_t KOFMTCODE;

/* Compile error codes (shformatErrorString turns them into sentences). */
#define SHFORMAT_OK 0
#define SHFORMAT_ERR_SIZE 1    /* compiled buffer too small */
#define SHFORMAT_ERR_COLOR 2   /* "[12a]" */
#define SHFORMAT_ERR_SECTION 3 /* too many ";" sections */
#define SHFORMAT_ERR_CHAR 4    /* character not allowed where it stands */
#define SHFORMAT_ERR_KEY 5     /* unknown "[name]" */
#define SHFORMAT_ERR_PERIOD 6  /* second "." in a section */
#define SHFORMAT_ERR_EOS 7     /* text ends inside a bracket, quote or after "\" */
#define SHFORMAT_ERR_INTERNAL 8
#define SHFORMAT_ERR_MONTH 9
#define SHFORMAT_ERR_DAY 10
#define SHFORMAT_ERR_YEAR 11
#define SHFORMAT_ERR_HOUR 12
#define SHFORMAT_ERR_SECOND 13
#define SHFORMAT_ERR_MINUTE 14
#define SHFORMAT_ERR_AMPM 15
#define SHFORMAT_ERR_FRACTION 16 /* more than six "f" */

/* shformatErrorString writes at most this many units, terminator included. */
#define SHFORMAT_ERROR_TEXT_MAX 256

/* getCultureValueStr / getCultureValueInt results. */
#define SHCULTURE_OK 0
#define SHCULTURE_NOT_FOUND (-1) /* key not in the culture string */
#define SHCULTURE_BAD (-2)       /* no culture string, or no "=" after the key */
#define SHCULTURE_TOO_LONG (-3)  /* value does not fit; the default stays */

/* A date-time value in the platform's SYSTEMTIME layout (month 1-12,
 * day of week 0 = Sunday). */
typedef struct KOSYSTEMTIME {
  uint16_t wYear;
  uint16_t wMonth;
  uint16_t wDayOfWeek;
  uint16_t wDay;
  uint16_t wHour;
  uint16_t wMinute;
  uint16_t wSecond;
  uint16_t wMilliseconds;
} KOSYSTEMTIME;

KOSHR_BEGIN_C

/* ---- compilers. `capacity` counts codes. The base compilers take a culture
 * string or null; the Web twins are the same compilers named for callers that
 * always carry one. */
KOSHR_API int shformatCmplNumericMask(const KOCHAR* format, KOFMTCODE* compiled, int capacity,
                                      const KOCHAR* culture);
KOSHR_API int shformatCmplNumericMaskWeb(const KOCHAR* format, KOFMTCODE* compiled, int capacity,
                                         const KOCHAR* culture);
/* Also records, in comma_positions (max_positions entries, unused ones set to
 * -1), the index in `format` of every "," that switched grouping on. */
KOSHR_API int shformatCmplNumericMaskWebCommasPos(const KOCHAR* format, KOFMTCODE* compiled,
                                                  int capacity, const KOCHAR* culture,
                                                  int* comma_positions, int max_positions);
KOSHR_API int shformatCmplDateTimeMask(const KOCHAR* format, KOFMTCODE* compiled, int capacity,
                                       const KOCHAR* culture);
KOSHR_API int shformatCmplDateTimeMaskWeb(const KOCHAR* format, KOFMTCODE* compiled, int capacity,
                                          const KOCHAR* culture);
KOSHR_API int shformatCmplStringMask(const KOCHAR* format, KOFMTCODE* compiled, int capacity);

/* Writes the message of a compile error code into `out`, which must hold
 * SHFORMAT_ERROR_TEXT_MAX units; returns its length. */
KOSHR_API int shformatErrorString(KOCHAR* out, int code);

/* ---- renderers. Each returns the length written (without terminator), or
 * -1 when the compiled format or the output is unusable. A null value pointer
 * is a null value. */
KOSHR_API int shformatDecimal(const KOFMTCODE* compiled, const KODECIMAL* value, KOCHAR* out,
                              int capacity);
KOSHR_API int shformatDecimalWeb(const KOFMTCODE* compiled, const KODECIMAL* value, KOCHAR* out,
                                 int capacity, const KOCHAR* culture);
KOSHR_API int shformatDouble(const KOFMTCODE* compiled, double value, KOCHAR* out, int capacity);
KOSHR_API int shformatDoubleWeb(const KOFMTCODE* compiled, double value, KOCHAR* out, int capacity,
                                const KOCHAR* culture);
KOSHR_API int shformatReal(const KOFMTCODE* compiled, float value, KOCHAR* out, int capacity);
KOSHR_API int shformatRealWeb(const KOFMTCODE* compiled, float value, KOCHAR* out, int capacity,
                              const KOCHAR* culture);
KOSHR_API int shformatLonglong(const KOFMTCODE* compiled, int64_t value, KOCHAR* out, int capacity);
KOSHR_API int shformatLonglongWeb(const KOFMTCODE* compiled, int64_t value, KOCHAR* out,
                                  int capacity, const KOCHAR* culture);
KOSHR_API int shformatDateTime(const KOFMTCODE* compiled, const KODATETIME* value, KOCHAR* out,
                               int capacity);
KOSHR_API int shformatDateTimeWeb(const KOFMTCODE* compiled, const KODATETIME* value, KOCHAR* out,
                                  int capacity, const KOCHAR* culture);
KOSHR_API int shformatString(const KOFMTCODE* compiled, const KOCHAR* value, KOCHAR* out,
                             int capacity);

/* ---- culture strings and regional settings. */
KOSHR_API int getCultureValueStr(const KOCHAR* culture, const KOCHAR* key,
                                 const KOCHAR* default_value, KOCHAR* out, int capacity);
KOSHR_API int getCultureValueInt(const KOCHAR* culture, const KOCHAR* key, int default_value,
                                 int* out);
/* Re-reads the process's decimal separator, grouping character and currency
 * symbol (and the cached profile record) from the profile; runs at load. */
KOSHR_API void koshr_intl(void);
/* 1 when `text` is a number written with "." decimals and "," grouping
 * (optional blanks, sign, digits, fraction, exponent), whatever the region. */
KOSHR_API int shIsValidRealNoLocale(const KOCHAR* text);

/* ---- date-time values. Flag results are 1 (done) and 0 (refused). */
KOSHR_API int shdtNow(KODATETIME* out);
/* "yyyy-mm-dd hh:mm:ss", with ".ffffff" when the sub-second is not zero;
 * null fields show as "?". Returns the length written. */
KOSHR_API int shdtString(const KODATETIME* value, KOCHAR* out, int capacity);
/* Reads ISO 8601 text ("2024-03-05", "13:45:07.25", "2024-03-05T13:45:07",
 * with "T" or a blank between date and time) or a date in the regional
 * short-date order (e.g. "3/5/2024"), optionally followed by a time
 * ("h:mm[:ss[.ffffff]] [AM/PM]"). A date only leaves the time at midnight; a
 * time only leaves the date fields null. Years run from 1900 to 9999. */
KOSHR_API int shdtParse(const KOCHAR* text, KODATETIME* out);
/* The same, with the short-date order and designators from a culture string. */
KOSHR_API int shdtParseEx(const KOCHAR* text, KODATETIME* out, const KOCHAR* culture);
/* Reads text laid out by a date-time format ("dd.mm.yyyy hh:mm"); with a
 * null or empty format, as shdtParse does. */
KOSHR_API int shdtParseStringEx(const KOCHAR* text, const KOCHAR* format, KODATETIME* out);
/* The same; with a null or empty format the date order comes from the locale
 * id (1033 month-day-year, 2057/1031/1036/... day-month-year, 1041/2052/1042
 * year-month-day, 0 the user's short-date order). */
KOSHR_API int shdtParseStringExWithLcid(const KOCHAR* text, const KOCHAR* format, KODATETIME* out,
                                        uint32_t lcid);
/* Parses like shdtParse and writes the value back as shdtString does. */
KOSHR_API int shdtParseToString(const KOCHAR* text, KOCHAR* out, int capacity);
/* Day name of day_of_week (0 = Sunday), full or abbreviated; returns the length. */
KOSHR_API int shdtDayName(int day_of_week, int abbreviated, KOCHAR* out, int capacity);
/* 0 = Sunday ... 6 = Saturday; -1 for a null or invalid date. */
KOSHR_API int shdtDayOfWeek(const KODATETIME* value);
/* Differences `to` - `from`: whole days between the dates, seconds and
 * milliseconds between the instants. A null operand gives 0. */
KOSHR_API int32_t shdtDiffDate(const KODATETIME* from, const KODATETIME* to);
KOSHR_API int64_t shdtDiffTime(const KODATETIME* from, const KODATETIME* to);
KOSHR_API int64_t shdtDiffMSec(const KODATETIME* from, const KODATETIME* to);
/* `value` moved by `days` days (time of day kept). */
KOSHR_API int shdtRelativeDate(const KODATETIME* value, int32_t days, KODATETIME* out);
/* Builds a value from calendar fields (month 1-12); refuses invalid ones. */
KOSHR_API int shdtBuildTime(KODATETIME* out, int year, int month, int day, int hour, int minute,
                            int second, int32_t microsecond);
KOSHR_API int shdtBuildTimeFromSystemTime(const KOSYSTEMTIME* system_time, KODATETIME* out);
KOSHR_API int shdtBuildSystemTimeFromSHTime(const KODATETIME* value, KOSYSTEMTIME* out);
/* Modified Julian Day: days since 1858-11-17 (INT32_MIN for a null or
 * invalid date), the time of day as a fraction of a day, and both together
 * (-1.0 for a null or invalid value). */
KOSHR_API int32_t shdtToMJDDate(const KODATETIME* value);
KOSHR_API double shdtToMJDTime(const KODATETIME* value);
KOSHR_API double shdtToMJDTimestamp(const KODATETIME* value);
/* The date of a Modified Julian Day number, at midnight. */
KOSHR_API int shMJDDateTodt(int32_t mjd, KODATETIME* out);

KOSHR_END_C

#endif

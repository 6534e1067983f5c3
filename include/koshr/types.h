/*
 * koshr/types.h: the types every KOSHR family shares.
 *
 * Text crossing the interface is zero-terminated UTF-16 (KOCHAR). The
 * date-time and decimal values are laid out exactly as the data blob and the
 * exporters read them, so they can be copied as bytes.
 */
#ifndef KOSHR_TYPES_H
#define KOSHR_TYPES_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
typedef char16_t KOCHAR;
#define KOSHR_EXTERN_C extern "C"
#define KOSHR_BEGIN_C extern "C" {
#define KOSHR_END_C }
#else
#include <uchar.h>
typedef char16_t KOCHAR;
#define KOSHR_EXTERN_C
#define KOSHR_BEGIN_C
#define KOSHR_END_C
#endif

#if defined(_WIN32)
#if defined(KOSHR_BUILDING)
#define KOSHR_API __declspec(dllexport)
#else
#define KOSHR_API __declspec(dllimport)
#endif
#else
#define KOSHR_API __attribute__((visibility("default")))
#endif

/*
 * A date-time value. A field at 255 or more (65535 for the year) marks the
 * value null.
 *
 *   offset 0  u32 sub-second, in microseconds
 *   offset 4  u16 year, counted from 1900
 *   offset 6  u8  month 0-11
 *   offset 7  u8  day 1-31
 *   offset 8  u8  hour 0-23
 *   offset 9  u8  minute 0-59
 *   offset 10 u8  second 0-59
 *   offset 11 u8  spare
 */
typedef struct KODATETIME {
  uint32_t subsecond;
  uint16_t year;
  uint8_t month;
  uint8_t day;
  uint8_t hour;
  uint8_t minute;
  uint8_t second;
  uint8_t spare;
} KODATETIME;

/*
 * A decimal value, laid out as the platform's DECIMAL: a 96-bit magnitude
 * scaled by 10^-scale, negative when sign is 0x80.
 *
 *   offset 0  u16 reserved
 *   offset 2  u8  scale 0-28
 *   offset 3  u8  sign (0 or 0x80)
 *   offset 4  u32 high 32 bits of the magnitude
 *   offset 8  u64 low 64 bits of the magnitude
 */
typedef struct KODECIMAL {
  uint16_t reserved;
  uint8_t scale;
  uint8_t sign;
  uint32_t hi32;
  uint64_t lo64;
} KODECIMAL;

#define KODECIMAL_NEGATIVE 0x80

#ifdef __cplusplus
static_assert(sizeof(KODATETIME) == 12, "date-time layout");
static_assert(sizeof(KODECIMAL) == 16, "decimal layout");
#endif

#endif

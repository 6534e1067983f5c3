/*
 * koshr/strings.h: string and character-set utilities (the kostg_ string family).
 *
 * A string is zero-terminated UTF-16 (KOCHAR); lengths and counts are in code
 * units unless a byte count is said. "ansi" text is zero-terminated 8-bit text
 * in the current multibyte code page; "printable" text is the library's 8-bit
 * form of any UTF-16 string: units below 256 as themselves, others as "U+XXXX",
 * and a literal "U+" doubled to "U+U+".
 *
 * Duplicates come from a storage context's pools (koshr/storage.h): a null
 * sub-pool means the context's default pool. None of these functions keeps
 * state between calls.
 */
#ifndef KOSHR_STRINGS_H
#define KOSHR_STRINGS_H

#include <koshr/storage.h>
#include <koshr/types.h>

KOSHR_BEGIN_C

/* ---- Duplicating. The result is a pool block, null when allocation fails. */

/* (length + 1) units, copied with the terminator. */
KOSHR_API KOCHAR* kostg_strdup(KostgContext* context, const KOCHAR* text, KostgSubpool* pool);
/* The same from the block heap outside any pool; null text gives null. */
KOSHR_API KOCHAR* kostg_strdup_malloc(const KOCHAR* text);
/* UTF-16 to UTF-16 copies, as kostg_strdup. kostg_unicodestrdup does not check
   its allocation. */
KOSHR_API KOCHAR* kostg_unicodestrdup(KostgContext* context, const KOCHAR* text,
                                      KostgSubpool* pool);
KOSHR_API KOCHAR* kostg_strtounicodedup(KostgContext* context, const KOCHAR* text,
                                        KostgSubpool* pool);
KOSHR_API KOCHAR* kostg_unicodetostrdup(KostgContext* context, const KOCHAR* text,
                                        KostgSubpool* pool);
/* To and from ansi text in the current locale. */
KOSHR_API char* kostg_strtoansidup(KostgContext* context, const KOCHAR* text, KostgSubpool* pool);
KOSHR_API KOCHAR* kostg_ansitostrdup(KostgContext* context, const char* ansi, KostgSubpool* pool);
/* To and from printable text; null input gives null. */
KOSHR_API char* kostg_strtoprintabledup(KostgContext* context, const KOCHAR* text,
                                        KostgSubpool* pool);
KOSHR_API KOCHAR* kostg_printabletostrdup(KostgContext* context, const char* printable,
                                          KostgSubpool* pool);

/* ---- Build buffers. The caller owns *buffer (a pool block or null), its
   capacity and its length, both in units; the buffer always holds a terminator
   after the text. */

KOSHR_API void kostg_str_build(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer,
                               uint32_t* capacity, uint32_t* length, const KOCHAR* text);
/* The same; returns 0. */
KOSHR_API int kostg_str_build_huge(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer,
                                   uint32_t* capacity, uint32_t* length, const KOCHAR* text);
/* The same; returns the appended text inside the buffer. */
KOSHR_API KOCHAR* kostg_unicodestr_build(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer,
                                         uint32_t* capacity, uint32_t* length, const KOCHAR* text);
/* Appends one unit. */
KOSHR_API void kostg_str_build_char(KostgContext* context, KostgSubpool* pool, KOCHAR** buffer,
                                    uint32_t* capacity, uint32_t* length, KOCHAR ch);

/* ---- In place; each returns its first argument. */

KOSHR_API KOCHAR* kostg_str_remove_char(KOCHAR* text, KOCHAR ch);
/* extended 0 trims space and 0x1A; non-zero trims every white space character,
   0xA0, 0x2000-0x200B, 0x3000 and 0xFEFF. */
KOSHR_API KOCHAR* kostg_str_trim_left(KOCHAR* text, int extended);
KOSHR_API KOCHAR* kostg_str_trim_right(KOCHAR* text, int extended);
KOSHR_API KOCHAR* kostg_str_trim(KOCHAR* text, int extended);
/* Word capitalisation; '-' and '_' become spaces. */
KOSHR_API KOCHAR* kostg_str_wordcap(KOCHAR* text);
/* Printable encoding into a caller buffer of at least 6 bytes per unit plus 1,
   and decoding into a caller buffer of at least (byte length + 1) units. */
KOSHR_API char* kostg_strtoprintable(char* dest, const KOCHAR* text);
KOSHR_API KOCHAR* kostg_printabletostr(KOCHAR* dest, const char* printable);

/* ---- Single characters (locale-aware, despite the names). */

KOSHR_API KOCHAR kostg_ansitoupper(KOCHAR ch);
KOSHR_API KOCHAR kostg_ansitolower(KOCHAR ch);
KOSHR_API int kostg_lchrcmp(KOCHAR a, KOCHAR b);
KOSHR_API int kostg_lchrcmpi(KOCHAR a, KOCHAR b);

/* ---- Conversions with counts. */

/* Each unit encoded by itself in 1 to 3 bytes (surrogates are not paired).
   dest null: the byte count needed, terminator excluded. destSize non-zero and
   below that count: 0, nothing written. Otherwise writes the bytes and a
   terminator (one byte beyond a destSize equal to the count) and returns the
   count. Null text gives 0. */
KOSHR_API int64_t kostg_UCS2toUTF8(char* dest, const KOCHAR* text, int64_t destSize);
/* dest null: the unit count the decoding gives. Otherwise decodes, terminates
   and returns the units written. Values are truncated to 16 bits. Null utf8
   gives 0. */
KOSHR_API int64_t kostg_UTF8toUCS2(KOCHAR* dest, const char* utf8);
/* Counted buffers that may hold zeros: each zero becomes one zero, each run
   between zeros is converted. dest null counts. Null source gives -1. */
KOSHR_API int64_t kostg_ansitostr_with_zero(KOCHAR* dest, const char* ansi, int64_t byteCount);
KOSHR_API int64_t kostg_strtoansi_with_zero(char* dest, const KOCHAR* text, int64_t unitCount);
/* Multibyte to UTF-16; where the plain conversion fails, converts character by
   character with '?' for each byte that does not convert and sets *lossy to 1.
   Returns the units written, or (size_t)-1 when the plain conversion fails on
   a null dest. */
KOSHR_API size_t mbstowcs_force(KOCHAR* dest, const char* src, size_t count, int* lossy);

/* ---- Automation strings: a 32-bit byte length stands before the text. Free
   them with kostg_freebstr (or, on Windows, the platform's SysFreeString). */

KOSHR_API KOCHAR* kostg_ansitobstr(const char* ansi);
KOSHR_API KOCHAR* kostg_unicodetobstr(const KOCHAR* text);
KOSHR_API KOCHAR* kostg_strtobstr(const KOCHAR* text);
/* An addition of ours: frees an automation string of this library (SysFreeString
   on Windows, where any automation string may be given; our own allocator
   elsewhere, where the platform has none). Null is ignored. */
KOSHR_API void kostg_freebstr(KOCHAR* text);

/* ---- Number parsing (long is 32 bits, as on Windows) and files. */

KOSHR_API int32_t kostg_atoi_imp(const KOCHAR* text);
KOSHR_API int32_t kostg_atol_imp(const KOCHAR* text);
KOSHR_API double kostg_atof_imp(const KOCHAR* text);
KOSHR_API double kostg_strtod_imp(const KOCHAR* text, KOCHAR** end);
KOSHR_API int32_t kostg_strtol_imp(const KOCHAR* text, KOCHAR** end, int base);
KOSHR_API uint32_t kostg_strtoul_imp(const KOCHAR* text, KOCHAR** end, int base);
/* Unsigned decimal, no sign accepted, wrapping at 32 bits. */
KOSHR_API uint32_t kostg_atou_imp(const KOCHAR* text);
KOSHR_API uint32_t kostg_atoul_imp(const KOCHAR* text);
/* Deletes a file: 0 on success, -1 on failure. */
KOSHR_API int kostg_remove_imp(const KOCHAR* path);

/* ---- Block functions with 32-bit counts. */

/* 0 when equal, else the difference of the first differing bytes (a - b). */
KOSHR_API int16_t kostg_huge_memcmp(const void* a, const void* b, uint32_t n);
KOSHR_API void* kostg_huge_memcpy(void* dest, const void* src, uint32_t n);
KOSHR_API void* kostg_huge_memmove(void* dest, const void* src, uint32_t n);
KOSHR_API void* kostg_huge_memset(void* dest, int c, uint32_t n);
/* Searching for the terminator gives null. */
KOSHR_API KOCHAR* kostg_huge_strchr(const KOCHAR* text, KOCHAR ch);
KOSHR_API KOCHAR* kostg_huge_strcpy(KOCHAR* dest, const KOCHAR* src);
KOSHR_API uint32_t kostg_huge_strlen(const KOCHAR* text);
/* Copies at most n units, then a terminator and zero fill: up to n + 1 units
   are written. */
KOSHR_API KOCHAR* kostg_huge_strncpy(KOCHAR* dest, const KOCHAR* src, uint32_t n);
/* An empty pattern gives text. */
KOSHR_API KOCHAR* kostg_huge_strstr(const KOCHAR* text, const KOCHAR* pattern);
/* Null text or n = 0 gives null. */
KOSHR_API KOCHAR* KOUNI_memchr(const KOCHAR* text, KOCHAR ch, uint32_t n);

/* ---- DDE memory: a global block whose first 8 bytes hold its own handle. */

KOSHR_API void* kostg_dde_alloc(uint16_t size);
KOSHR_API void kostg_dde_free(void* p);
KOSHR_API void* kostg_dde_get_handle(void* p);
KOSHR_API void* kostg_dde_lock(void* handle);
KOSHR_API int kostg_dde_unlock(void* handle);

KOSHR_END_C

#endif

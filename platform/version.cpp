/*
 * version.cpp: the library's own version text, the one koshr/version.h was
 * generated with.
 */
#include <koshr/host.h>
#include <koshr/version.h>

KOSHR_EXTERN_C KOSHR_API const char* koshr_version(void) { return KOSHR_VERSION_STRING; }

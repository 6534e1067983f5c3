/*
 * version.cpp: the library's own version text, set by the build.
 */
#include <koshr/host.h>

KOSHR_EXTERN_C KOSHR_API const char* koshr_version(void) { return KOSHR_VERSION_TEXT; }

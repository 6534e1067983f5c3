/*
 * culture_string.h: the format engine's own reading of a culture string,
 * beside the exported getCultureValueStr and getCultureValueInt.
 */
#ifndef KOSHR_FORMAT_CULTURE_STRING_H
#define KOSHR_FORMAT_CULTURE_STRING_H

#include <koshr/types.h>

namespace ko {

// The first character of the value of `key`, unescaped, however long the
// value is (as the profile gives the first character of a long value);
// `fallback` when the key is missing, has no "=" or an empty value.
KOCHAR culture_first_character(const KOCHAR* culture, const KOCHAR* key, KOCHAR fallback);

}  // namespace ko

#endif

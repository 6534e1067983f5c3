/*
 * magic.h: the four-byte ASCII magics ("HDR*", "NOD*", ...) that open the
 * blocks of a library file.
 */
#ifndef KOSHR_LIBRARY_MAGIC_H
#define KOSHR_LIBRARY_MAGIC_H

#include <cstdint>
#include <cstring>

namespace ko {

inline bool has_magic(const uint8_t* p, const char* magic) { return std::memcmp(p, magic, 4) == 0; }
inline void put_magic(uint8_t* p, const char* magic) { std::memcpy(p, magic, 4); }

}  // namespace ko

#endif

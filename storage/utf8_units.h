/*
 * utf8_units.h: the per-unit rules of the exported UTF-16 <-> UTF-8
 * conversions, shared by the plain loops (utf8_conversion.cpp) and the vector
 * kernels (utf8_vector.cpp).
 *
 *   encoding: every unit by itself, surrogates included (a pair gives 6 bytes)
 *     below 0x80    0xxxxxxx
 *     below 0x800   110xxxxx 10xxxxxx
 *     otherwise     1110xxxx 10xxxxxx 10xxxxxx
 *
 *   decoding: the lead byte alone decides the length, tested in this order
 *     < 0x80                 1 byte
 *     lead & 0xE0 == 0xC0    2 bytes   (lead & 0x1F) + 6 bits of the next
 *     lead & 0xF0 == 0xE0    3 bytes   (lead & 0x0F) + 6 bits of each next
 *     lead & 0xF1 == 0xF0    4 bytes   also catches 0xF8 0xFA 0xFC 0xFE
 *     lead & 0xFD == 0xF8    5 bytes   (never reached after the test above)
 *     lead & 0xFE == 0xFC    6 bytes   (reached by 0xFD only)
 *     anything else          1 byte consumed, the output unit left untouched
 *   The value is kept to its low 16 bits. Continuation bytes are not checked.
 *   A sequence cut short by the terminator reads the missing bytes as zeros
 *   and ends the text: nothing past the terminator is ever read.
 */
#ifndef KOSHR_STORAGE_UTF8_UNITS_H
#define KOSHR_STORAGE_UTF8_UNITS_H

#include <koshr/types.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace ko::utf8 {

constexpr uint8_t kInvalidLead = 0xFF;

struct LeadRule {
  uint8_t continuation_bytes;
  uint8_t value_mask;
};

constexpr LeadRule lead_rule(unsigned lead) {
  if (lead < 0x80) return {0, 0x7F};
  if ((lead & 0xE0) == 0xC0) return {1, 0x1F};
  if ((lead & 0xF0) == 0xE0) return {2, 0x0F};
  if ((lead & 0xF1) == 0xF0) return {3, 0x0F};
  if ((lead & 0xFD) == 0xF8) return {4, 0x03};
  if ((lead & 0xFE) == 0xFC) return {5, 0x01};
  return {kInvalidLead, 0};
}

inline constexpr std::array<LeadRule, 256> kLeadRules = [] {
  std::array<LeadRule, 256> rules{};
  for (unsigned lead = 0; lead < 256; ++lead) rules[lead] = lead_rule(lead);
  return rules;
}();

inline unsigned char* encode_unit(unsigned char* out, unsigned c) {
  if (c < 0x80) {
    *out++ = static_cast<unsigned char>(c);
  } else if (c < 0x800) {
    *out++ = static_cast<unsigned char>(0xC0 | (c >> 6));
    *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
  } else {
    *out++ = static_cast<unsigned char>(0xE0 | (c >> 12));
    *out++ = static_cast<unsigned char>(0x80 | ((c >> 6) & 0x3F));
    *out++ = static_cast<unsigned char>(0x80 | (c & 0x3F));
  }
  return out;
}

// Decodes the sequence at utf8[i] (i < bytes, the text's length) into
// *unit, unless its lead is invalid; returns the bytes it spans, which may
// reach past `bytes` when the terminator cut it short.
template <bool kWrite>
inline size_t decode_step(KOCHAR* unit, const unsigned char* utf8, size_t i, size_t bytes) {
  LeadRule rule = kLeadRules[utf8[i]];
  if (rule.continuation_bytes == kInvalidLead) return 1;
  if constexpr (kWrite) {
    uint32_t value = utf8[i] & rule.value_mask;
    for (size_t k = 1; k <= rule.continuation_bytes; ++k) {
      unsigned next = i + k < bytes ? utf8[i + k] : 0;
      value = (value << 6) | (next & 0x3F);
    }
    *unit = KOCHAR(value);
  }
  return 1 + size_t(rule.continuation_bytes);
}

// The vector kernels (x86-64); each returns how far it got, leaving the tail
// to the plain loop.
struct Progress {
  size_t consumed;  // input units or bytes
  size_t produced;  // output bytes or units
};
// The text's length in units and its encoded size in bytes, in one pass.
bool vector_scan(const KOCHAR* text, size_t* units, size_t* encoded_bytes);
// Encodes while at least 24 bytes of room remain in `out`.
Progress vector_encode(const KOCHAR* text, size_t units, unsigned char* out, size_t room);
// Decodes (or only counts, when dest is null) while 64 input bytes remain.
Progress vector_decode(KOCHAR* dest, const unsigned char* utf8, size_t bytes);

}  // namespace ko::utf8

#endif
